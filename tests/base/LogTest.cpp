#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "Common/Clock.h"
#include "Common/Log.h"
#include "Common/Thread.h"
#include "LogCls.h"
#include "TempFile.h"

namespace {

namespace fs = std::filesystem;

std::atomic<time_t> g_time{0};

// 14 November 2026, 13:05:09 local time.
time_t Noon() {
    tm date{};
    date.tm_year = 126;
    date.tm_mon = 10;
    date.tm_mday = 14;
    date.tm_hour = 13;
    date.tm_min = 5;
    date.tm_sec = 9;
    date.tm_isdst = -1;
    return mktime(&date);
}

constexpr time_t kDay = 24 * 3600;

// Moves time by hand; file names carry the process's id, for log/ is shared by all tests.
class LogTest : public testing::Test {
  protected:
    LogTest() : m_name("base" + std::to_string(getpid())) {
        g_time = Noon();
        SetClockSource({[] { return g_time.load(); }, nullptr});
    }
    ~LogTest() override {
        ShutdownLog();
        SetClockSource({});
        for (const fs::path& path : Files())
            fs::remove(path);
    }

    int Start(const std::string& config, const char* name = nullptr) {
        TempFile file(config);
        return InitializeLog(file.Path(), name);
    }
    int Start(const std::string& config, const std::string& name) {
        return Start(config, name.c_str());
    }
    std::vector<fs::path> Files() const {
        std::vector<fs::path> files;
        if (!fs::is_directory("log")) return files;
        for (const auto& entry : fs::directory_iterator("log"))
            if (entry.path().filename().string().rfind(m_name, 0) == 0)
                files.push_back(entry.path());
        return files;
    }
    std::string File(const std::string& suffix) const { return ReadFile("log/" + m_name + suffix); }

    template <class Call>
    static std::string Console(Call call) {
        testing::internal::CaptureStdout();
        call();
        return testing::internal::GetCapturedStdout();
    }

    const std::string m_name;
};

TEST_F(LogTest, OneLineOnConsoleAndInFile) {
    ASSERT_EQ(Start("[log]\nFileName=" + m_name + ".log\n"), 1);
    const struct {
        LOG_LEVEL level;
        const char* colour;
        const char* text;
    } kLevels[] = {{_ALL, "00", "ALL"},
                   {_DEBUG, "32", "DEBUG"},
                   {_WARN, "33", "WARN"},
                   {_ERROR, "31", "ERROR"},
                   {static_cast<LOG_LEVEL>(9), "00", "Unknown"}};
    std::string file;
    for (const auto& row : kLevels) {
        const std::string body =
            "2026-11-14 13:05:09 [" + std::string(row.text) + "] [A::B] value 42";
        EXPECT_EQ(Console([&] { __log(row.level, "A::B", "value %d", 42); }),
                  "\x1b[" + std::string(row.colour) + "m" + body + "\x1b[0m\r\n");
        file += body + "\r\n";
    }
    EXPECT_EQ(File(".log"), file);
    EXPECT_EQ(Start("", m_name), 0) << "already open";
}

TEST_F(LogTest, Levels) {
    const struct {
        const char* config;
        bool debug, warn;
    } kCases[] = {{"[log]\nlevel=warn\n", false, true}, {"[log]\nlevel=ERROR\n", false, false},
                  {"[log]\nlevel=Debug\n", true, true}, {"[log]\nlevel=info\n", true, true},
                  {"[log]\nlevel=warn \n", true, true}, {"", true, true}};
    EXPECT_EQ(Console([] { __log(_ERROR, "t", "before"); }), "");
    for (const auto& row : kCases) {
        ASSERT_EQ(Start(row.config, m_name + ".log"), 1);
        EXPECT_EQ(!Console([] { __log(_DEBUG, "t", "x"); }).empty(), row.debug) << row.config;
        EXPECT_EQ(!Console([] { __log(_WARN, "t", "x"); }).empty(), row.warn) << row.config;
        EXPECT_EQ(LogEnabled(_ALL), row.debug && std::string(row.config) != "[log]\nlevel=Debug\n");
        EXPECT_TRUE(LogEnabled(_ERROR));
        ShutdownLog();
    }
}

TEST_F(LogTest, PercentSignsOfPeersDoNoHarm) {
    ASSERT_EQ(Start("", m_name + ".log"), 1);
    const char* text = "a%%b%n%s%c%5$d%";
    const std::string console = Console([&] { __log(_ALL, "t", "%s %%%%", text); });
    EXPECT_NE(console.find("[t] a%b%n%s%c%5$d% %\x1b[0m"), std::string::npos) << console;
    EXPECT_NE(File(".log").find("[t] a%%b%n%s%c%5$d% %%\r\n"), std::string::npos);
}

TEST_F(LogTest, LongLinesAreCutAndStayWhole) {
    ASSERT_EQ(Start("", m_name + ".log"), 1);
    const std::string longText(5000, 'x');
    const std::string directives = [] {
        std::string format;
        while (format.size() < 3000)
            format += "%-08.3d";
        return format;
    }();
    for (size_t pad = 0; pad < 9; ++pad) {
        const std::string tag(1 + pad, 't');
        for (const bool inFormat : {false, true}) {
            const std::string console = Console([&] {
                if (inFormat)
                    __log(_ALL, tag.c_str(), longText.c_str(), 0);
                else
                    __log(_ALL, tag.c_str(), "%s", longText.c_str());
            });
            EXPECT_EQ(console.size(), 2047u + 2);
            EXPECT_EQ(console.substr(console.size() - 7), "x\x1b[0m\r\n");
        }
        // Cut inside a directive at one of the paddings.
        std::string pieces = std::string(pad, '.') + std::string(1900, 'y') + "%-08.3lld" +
                             std::string(100, 'z') + directives;
        const std::string console = Console(
            [&] { __log(_ALL, "t", pieces.c_str(), 1LL, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12); });
        EXPECT_EQ(console.substr(console.size() - 6), "\x1b[0m\r\n");
    }
    const std::string file = File(".log");
    EXPECT_EQ(file.find('\x1b'), std::string::npos);
    EXPECT_EQ(file.rfind("2026-11-14 13:05:09 [ALL] [t] x", 0), 0u);
}

TEST_F(LogTest, JsonLinesBesideTheGivenFormat) {
    ASSERT_EQ(Start("[log]\nlevel=DEBUG\njson=1\nFileName=" + m_name + ".log\n"), 1);
    const std::string bad = "\xEF\xBF\xBD", nice = "\xE7\x8E\xA9\xF0\x9F\x98\x80";
    const struct {
        std::string text, escaped;
    } cases[] = {{"plain", "plain"},
                 {"a \"quote\" and C:\\dir", "a \\\"quote\\\" and C:\\\\dir"},
                 {"\r\n\t\x01\x1b[0m\x7f", "\\r\\n\\t\\u0001\\u001b[0m\\u007f"},
                 {nice, nice},
                 {"\xC0\xAF|\xFF|\xE7\x8E", bad + bad + "|" + bad + "|" + bad + bad},
                 {"\xED\xA0\x80", bad + bad + bad},
                 {"\xF4\x90\x80\x80|\xE0\x9F\xBF", bad + bad + bad + bad + "|" + bad + bad + bad}};
    setenv("TZ", "XXX-5:30", 1);
    tzset();
    g_time = 1'794'641'709;
    std::string expected;
    const std::string head =
        "{\"time\":\"2026-11-14T13:05:09+05:30\",\"level\":\"WARN\",\"tag\":\"A::B\"";
    for (const auto& row : cases) {
        Console([&] { __log(_WARN, "A::B", "%s", row.text.c_str()); });
        expected += head + ",\"text\":\"" + row.escaped + "\"}\n";
    }
    // Also the longest line in its longest form, from a thread with a small stack.
    Console([&] {
        __log(_ALL, "A::B", "below the level");
        CEvent done;
        done.Init(false, false);
        ASSERT_TRUE(CreateThread(
            nullptr, 0,
            [](void* event) -> void* {
                __log(_WARN, "A::B", "%s", std::string(3000, '\1').c_str());
                static_cast<CEvent*>(event)->Set();
                return nullptr;
            },
            &done));
        done.Wait();
    });
    unsetenv("TZ");
    tzset();
    expected += head + ",\"text\":\"";
    const std::string json = File(".json");
    ASSERT_EQ(json.substr(0, expected.size()), expected);
    const std::string last = json.substr(expected.size());
    EXPECT_EQ(last.size() % 6, 3u) << last;
    EXPECT_GT(last.size(), 6 * 2000u);
    EXPECT_EQ(last.substr(last.size() - 9), "\\u0001\"}\n");
    EXPECT_EQ(File(".log").find("{\"time\""), std::string::npos);
    Console([] {
        g_time += kDay;
        __log(_WARN, "t", "new");
    });
    EXPECT_EQ(File("20261114.json"), json);
    EXPECT_EQ(File(".json").find('\n'), File(".json").size() - 1);
}

TEST_F(LogTest, NameOfTheJsonFile) {
    for (const auto& [name, json] :
         {std::pair(".a.log", ".a.json"), {"", ".json"}, {".json", ".json.json"}}) {
        ASSERT_EQ(Start("[log]\njson=1\n", m_name + name), 1);
        Console([] { __log(_ALL, "t", "x"); });
        EXPECT_EQ(File(json).rfind("{\"time\":", 0), 0u) << name;
        ShutdownLog();
    }
    for (const char* off : {"[log]\njson=0\n", "[log]\njson=\n", ""}) {
        for (const fs::path& path : Files())
            fs::remove(path);
        ASSERT_EQ(Start(off, m_name), 1);
        Console([] { __log(_ALL, "t", "x"); });
        EXPECT_EQ(Files().size(), 1u) << off;
        ShutdownLog();
    }
}

TEST_F(LogTest, RollsOverAtMidnight) {
    const struct {
        const char* suffix;
        const char* rotated;
    } kCases[] = {{".log", "20261114.log"}, {"", "20261114"}, {".a.txt", ".a20261114.txt"}};
    for (const auto& row : kCases) {
        g_time = Noon();
        ASSERT_EQ(Start("", m_name + row.suffix), 1);
        Console([&] {
            __log(_ALL, "t", "old");
            g_time = Noon() + 2 * 3600;
            __log(_ALL, "t", "same day");
            g_time = Noon() + kDay;
            __log(_ALL, "t", "new");
        });
        EXPECT_NE(File(row.rotated).find("same day\r\n"), std::string::npos) << row.suffix;
        EXPECT_EQ(File(row.suffix), "2026-11-15 13:05:09 [ALL] [t] new\r\n");
        ShutdownLog();
        for (const fs::path& path : Files())
            fs::remove(path);
    }
}

TEST_F(LogTest, WholeMonthsApartDoNotRollOver) {
    ASSERT_EQ(Start("", m_name + ".log"), 1);
    Console([&] {
        __log(_ALL, "t", "november");
        g_time = Noon() + 30 * kDay;  // 14 December
        __log(_ALL, "t", "december");
    });
    EXPECT_EQ(Files().size(), 1u);
}

TEST_F(LogTest, FileThatCannotBeOpened) {
    EXPECT_EQ(Start("", "no/such/directory"), 0);
    EXPECT_NE(Console([] { __log(_ALL, "t", "console only"); }), "");
}

TEST_F(LogTest, ConsoleGoneAndDiskFullChangeNothing) {
    ASSERT_EQ(Start("", m_name + ".log"), 1);
    int broken[2];
    ASSERT_EQ(pipe(broken), 0);
    close(broken[0]);
    const int console = dup(STDOUT_FILENO);
    dup2(broken[1], STDOUT_FILENO);
    close(broken[1]);
    __log(_ALL, "t", "to nobody");
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    const rlimit full{20, limit.rlim_max};
    signal(SIGXFSZ, SIG_IGN);
    setrlimit(RLIMIT_FSIZE, &full);
    for (int i = 0; i < 1000; ++i)
        __log(_ALL, "t", "does not fit");
    setrlimit(RLIMIT_FSIZE, &limit);
    __log(_ALL, "t", "fits again");
    fflush(stdout);
    dup2(console, STDOUT_FILENO);
    close(console);
    EXPECT_NE(File(".log").find("fits again\r\n"), std::string::npos);
}

TEST_F(LogTest, KeepsErrno) {
    ASSERT_EQ(Start("", m_name + ".log"), 1);
    const std::string console = Console([] {
        errno = ENOENT;
        __log(_ALL, "t", "%m");
        EXPECT_EQ(errno, ENOENT);
    });
    EXPECT_NE(console.find("No such file"), std::string::npos);
}

// From framework threads, whose stack is small, with lines that fill every buffer.
TEST_F(LogTest, LinesOfManyThreadsDoNotInterleave) {
    ASSERT_EQ(Start("", m_name + ".log"), 1);
    CEvent done;
    done.Init(false, false);
    constexpr int kThreads = 4, kLines = 100;
    Console([&] {
        for (int i = 0; i < kThreads; ++i)
            ASSERT_TRUE(CreateThread(
                nullptr, 0,
                [](void* event) -> void* {
                    for (int line = 0; line < kLines; ++line)
                        __log(_ALL, "t", "%0*d %.17g", 500 + line * 20, line, 1.0 / 3);
                    static_cast<CEvent*>(event)->Set();
                    return nullptr;
                },
                &done));
        for (int i = 0; i < kThreads; ++i)
            done.Wait();
    });
    std::istringstream file(File(".log"));
    int lines = 0;
    for (std::string line; std::getline(file, line); ++lines)
        EXPECT_EQ(line.rfind("2026-11-14 13:05:09 [ALL] [t] 0", 0), 0u);
    EXPECT_EQ(lines, kThreads * kLines);
}

TEST_F(LogTest, ThreadedModeWritesEverythingInOrder) {
    const std::string path = fs::absolute("log/" + m_name + "t.log").string();
    fs::create_directory("log");
    {
        CLogCls log(path.c_str(), true, true, true);
        EXPECT_FALSE(log.InitLog(path.c_str(), false, false, false)) << "already open";
        std::vector<std::thread> producers;
        for (int p = 0; p < 3; ++p)
            producers.emplace_back([&log, p] {
                for (int i = 0; i < 500; ++i)
                    log._log("%d %d", p, i);
            });
        for (std::thread& producer : producers)
            producer.join();
        log._log("%s", std::string(3000, 'x').c_str());
        log._log_2("0123456789", 4);
    }
    std::istringstream file(ReadFile(path));
    int next[3] = {}, lines = 0;
    std::string line, last;
    for (; std::getline(file, line); ++lines) {
        int producer = 0, number = 0;
        if (lines < 1500) {
            ASSERT_EQ(sscanf(line.c_str() + 20, "%d %d", &producer, &number), 2);
            EXPECT_EQ(number, next[producer]++);
        }
        if (lines == 1500) {
            EXPECT_EQ(line.size(), 20u + 1023 + 1);
        }
        last = line;
    }
    EXPECT_EQ(lines, 1502);
    EXPECT_EQ(last, "2026-11-14 13:05:09 0123\r");
}

TEST_F(LogTest, ReopenedLogGoesOnWithItsFile) {
    fs::create_directory("log");
    const std::string path = fs::absolute("log/" + m_name + ".x").string();
    CLogCls log;
    log._log_2("closed", -1);
    for (const bool threaded : {false, true, false}) {
        ASSERT_TRUE(log.InitLog(path.c_str(), false, threaded, false));
        log._log("line");
        log.CloseLog();
        log._log("lost");
    }
    const std::string line = "2026-11-14 13:05:09 line\r\n";
    EXPECT_EQ(ReadFile(path), line + line + line);
}

}  // namespace
