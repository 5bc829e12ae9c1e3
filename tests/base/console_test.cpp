#include "Console.h"

#include <fcntl.h>
#include <sys/socket.h>

#include "BaseTest.h"
#include "Common/Log.h"

namespace {

TEST(Console, DropsWholeLinesOfAReaderWhoStandsStillAndSaysHowMany) {
    for (const bool pipes : {true, false}) {
        int ends[2];
        ASSERT_EQ(pipes ? pipe(ends) : socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
        fcntl(ends[0], F_SETFL, O_NONBLOCK);
        std::string sent, line, got;
        const auto readAll = [&] {
            char bytes[65536];
            for (ssize_t n; (n = read(ends[0], bytes, sizeof(bytes))) > 0;)
                got.append(bytes, static_cast<size_t>(n));
        };
        Console console(ends[1]);
        const uint64_t before = g_ConsoleDropped.Value();
        line = std::string(5000, 'y') + "\n";  // more than goes out at once
        for (int i = 0; i < 3000; ++i)
            line += "x\n";
        for (size_t i = 0; g_ConsoleDropped.Value() == before; ++i) {
            console.Write(line.data(), line.size());
            sent += line;
            line = std::to_string(i) + std::string(i % 1000, '.') + "\n";
        }
        sent.resize(sent.rfind('\n', sent.size() - 2) + 1);  // the first that was not taken
        readAll();
        console.Write("last\n", 5);
        readAll();
        EXPECT_TRUE(got == sent + "[1] lines were not taken by the console\r\nlast\n")
            << got.substr(got.size() - 100);
        EXPECT_EQ(g_ConsoleDropped.Value() - before, 1u);
        close(ends[0]);
        close(ends[1]);
    }
}

}  // namespace
