// Faults of the surroundings while the lobby serves, and SIGTERM at any moment.
#include <fcntl.h>
#include <sys/stat.h>

#include "HostileTest.h"

class FaultTest : public UnderAttack {
  protected:
    using tcp = boost::asio::ip::tcp;
    static void StartLogged(LobbyProcess& process, LobbySettings settings) {
        settings["log"] = {{"level", "ALL"}};
        settings["listen"]["addr"] = "127.0.0.1:" + std::to_string(RedisServer::FreePort());
        process.Configure(settings);
        process.Start();
    }
};

TEST_F(FaultTest, AFullLogDiskAndAConsoleThatNobodyReadsStopNothing) {
    const auto console = lobby.Directory() / "stdout";
    ASSERT_EQ(mkfifo(console.c_str(), 0600), 0);
    const int pipe = open(console.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
    LobbySettings settings = AttackSettings();
    settings["log"] = {{"level", "ALL"}, {"FileName", "../../../../../../../../dev/full"}};
    settings["limits"] = {};
    ServeQuietly(settings);
    char text[4096] = {};
    const auto fill = [&] {
        while (write(pipe, text, sizeof(text)) > 0) {
        }
    };
    fill();
    EXPECT_LT(SlowestDuring([&] {
                  for (int i = 0; i < 20; ++i)
                      ExpectServed(20001 + i);
              }),
              AT_ONCE);
    std::string seen;
    EXPECT_TRUE(Eventually([&] {
        bystander->KeepAlive();  // prints lines
        for (ssize_t n; (n = read(pipe, text, sizeof(text))) > 0;)
            seen.append(text, static_cast<size_t>(n));
        return Has(seen, "] lines were not taken by the console\r\n");
    }));
    EXPECT_FALSE(Has(seen, "userid[20001]")) << "the pipe was not full";
    fill();
    lobby.Terminate();
    EXPECT_EQ(lobby.AwaitEnd(5), 0);
    close(pipe);
}

TEST_F(FaultTest, ABackEndThatHangsUpIsTriedOnceASecond) {
    tcp::acceptor logs(platform.Io(), {boost::asio::ip::address_v4::loopback(), 0});
    LobbySettings settings = AttackSettings();
    settings["connect"]["log_server"] = "127.0.0.1:" + std::to_string(logs.local_endpoint().port());
    auto first = std::async(std::launch::async, [&] { return logs.accept(); });
    ServeQuietly(settings);
    tcp::socket longer(platform.Io());
    EXPECT_GE(Took([&] {
                  first.get().close();
                  logs.accept().close();
                  longer = logs.accept();
              }),
              0.99);
    std::this_thread::sleep_for(milliseconds(1100));
    longer.close();
    EXPECT_LT(Took([&] { longer = logs.accept(); }), 0.9 * SLOWER) << "not at once, as ever";
}

// Before main has run the signal's own effect ends the process; afterwards it ends in order.
TEST_F(FaultTest, TerminationInEveryPhaseOfTheStart) {
    for (const int ms : {0, 1, 2, 4, 6, 8, 10, 15, 20, 30, 50, 100, 200}) {
        LobbyProcess process;
        StartLogged(process, AttackSettings());
        std::this_thread::sleep_for(milliseconds(ms));
        process.Terminate();
        const auto status = process.AwaitEnd(5);
        ASSERT_TRUE(status) << ms << " ms: still there";
        if (process.LogHas("starting LobbyServer")) {
            EXPECT_EQ(*status, 0) << ms << " ms: " << process.Errors();
            EXPECT_TRUE(process.LogHas("has been exit !")) << ms << " ms";
        }
    }
}

// A peer whose queue of connects is full holds a connect for its whole time-out.
TEST_F(FaultTest, TerminationWhileAConnectHangs) {
    for (const auto& [section, key] : {std::pair("connect", "center_server"),
                                       {"connect", "log_server"},
                                       {"Redis", "redis_server"}}) {
        tcp::acceptor full(platform.Io(), tcp::v4());
        full.bind({boost::asio::ip::address_v4::loopback(), 0});
        full.listen(0);
        const auto address = full.local_endpoint();
        std::deque<tcp::socket> fill;
        for (int i = 0; i < 4; ++i) {
            fill.emplace_back(full.get_executor(), tcp::v4()).native_non_blocking(true);
            connect(fill.back().native_handle(), address.data(), address.size());
        }
        LobbyProcess process;
        LobbySettings settings = AttackSettings();
        settings["Redis"]["timeout"] = "30";
        settings[section][key] = "127.0.0.1:" + std::to_string(address.port());
        StartLogged(process, settings);
        EXPECT_TRUE(Eventually([&] { return process.LogHas("starting LobbyServer"); }));
        std::this_thread::sleep_for(milliseconds(200));
        EXPECT_FALSE(process.Ended()) << "the connect does not hang";
        process.Terminate();
        EXPECT_EQ(process.AwaitEnd(2), 0) << key;
    }
}
