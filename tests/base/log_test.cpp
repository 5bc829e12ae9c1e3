#include "Common/Log.h"

#include "BaseTest.h"
#include "Common/Clock.h"
#include "Common/LogCls.h"

namespace {

namespace fs = std::filesystem;

// Formats made at run time are what some cases are about.
#pragma GCC diagnostic ignored "-Wformat-nonliteral"

std::atomic<time_t> g_time{0};

constexpr time_t kNoon = 1'794'661'509;  // 14 November 2026, 13:05:09 of UTC
constexpr time_t kDay = 24 * 3600;

// Moves time by hand; file names carry the process's id, for log/ is shared by all tests.
class LogTest : public testing::Test {
  protected:
    LogTest() {
        SetZone("UTC0");
        g_time = kNoon;
        SetClockSource({[] { return g_time.load(); }, nullptr});
    }
    ~LogTest() override {
        Clear();
        SetClockSource({});
    }
    static void SetZone(const char* zone) {
        setenv("TZ", zone, 1);
        tzset();
    }
    // The log file's name is the configuration's where no suffix is given.
    int Start(const std::string& config = "", const char* suffix = nullptr) {
        const TempFile file("[log]\nFileName=" + m_name + ".log\n" + config);
        return InitializeLog(file.Path(), suffix ? (m_name + suffix).c_str() : nullptr);
    }
    std::string File(const std::string& suffix) const { return ReadFile("log/" + m_name + suffix); }
    // Ends it, and removes its files; the suffix of each, and how many lines it had.
    std::string Clear() {
        ShutdownLog();
        std::string files;
        std::error_code none;
        const fs::directory_iterator first("log", none), last;
        for (const fs::path& path : std::set<fs::path>(first, last)) {
            const std::string name = path.filename();
            if (!name.starts_with(m_name)) continue;
            const size_t lines = Count(ReadFile(path), "\n");
            files += name.substr(m_name.size()) + "=" + std::to_string(lines) + " ";
            fs::remove(path);
        }
        return files;
    }

    const std::string m_name = "base" + std::to_string(getpid()) + "_";
};

TEST_F(LogTest, OneLineOnConsoleAndInFileFromTheLevelOn) {
    const struct {
        LOG_LEVEL level;
        std::string colour, text;
    } kLevels[] = {{_ALL, "00", "ALL"},
                   {_DEBUG, "32", "DEBUG"},
                   {_WARN, "33", "WARN"},
                   {_ERROR, "31", "ERROR"},
                   {static_cast<LOG_LEVEL>(9), "00", "Unknown"}};
    const std::pair<const char*, LOG_LEVEL> kCases[] = {
        {"level=warn\n", _WARN}, {"level=ERROR\n", _ERROR}, {"level=Debug\n", _DEBUG},
        {"level=info\n", _ALL},  {"level=warn \n", _ALL},   {"", _ALL}};
    EXPECT_EQ(LogOf([] { __log(_ERROR, "t", "before"); }), "");
    for (const auto& [config, lowest] : kCases) {
        ASSERT_EQ(Start(config), 1);
        EXPECT_EQ(Start(config), 0) << "already open";
        std::string file;
        for (const auto& row : kLevels) {
            const bool written = row.level >= lowest;
            const std::string body = "2026-11-14 13:05:09 [" + row.text + "] [A::B] value 42";
            EXPECT_EQ(LogOf([&] { __log(row.level, "A::B", "value %d", 42); }),
                      written ? "\x1b[" + row.colour + "m" + body + "\x1b[0m\r\n" : "");
            EXPECT_EQ(LogEnabled(row.level), written);
            file += written ? body + "\r\n" : "";
        }
        EXPECT_EQ(File(".log"), file) << config;
        Clear();
    }
}

TEST_F(LogTest, PercentSignsOfPeersDoNoHarmAndErrnoIsKept) {
    ASSERT_EQ(Start(), 1);
    const char* text = "a%%b%n%s%c%5$d%";
    const std::string console = LogOf([&] {
        errno = ENOENT;
        __log(_ALL, "t", "%m %s %%%%", text);
        EXPECT_EQ(errno, ENOENT);
    });
    const std::string head = "[t] No such file or directory ";
    EXPECT_NE(console.find(head + "a%b%n%s%c%5$d% %\x1b[0m"), std::string::npos) << console;
    EXPECT_TRUE(File(".log").ends_with(head + "a%%b%n%s%c%5$d% %%\r\n"));
}

TEST_F(LogTest, LongLinesAreCutAndStayWhole) {
    ASSERT_EQ(Start(), 1);
    const std::string text(5000, 'x');
    std::string directives = std::string(1900, 'y') + "%-08.3lld" + std::string(100, 'z');
    while (directives.size() < 5000)
        directives += "%-08.3d";
    for (size_t pad = 0; pad < 9; ++pad) {
        const std::string tag(1 + pad, 't'), format = std::string(pad, '.') + directives;
        for (const char* whole : {text.c_str(), "%s"}) {
            const std::string line = LogOf([&] { __log(_ALL, tag.c_str(), whole, text.c_str()); });
            EXPECT_EQ(line.size(), 2047u + 2);
            EXPECT_TRUE(line.ends_with("x\x1b[0m\r\n"));
        }
        // Cut inside a directive at one of the paddings.
        const std::string line = LogOf(
            [&] { __log(_ALL, "t", format.c_str(), 1LL, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12); });
        EXPECT_TRUE(line.ends_with("\x1b[0m\r\n"));
    }
    EXPECT_FALSE(Has(File(".log"), "\x1b"));
}

// A key of a request with a line break and an escape sequence in it made a line of its own in the
// log, and had the terminal of whoever read it do as told.
TEST_F(LogTest, PeersMakeNoLinesAndTalkToNoTerminal) {
    ASSERT_EQ(Start("json=1\n"), 1);
    SetZone("XXX-5:30");
    g_time = kNoon - 5 * 3600 - 1800;
    const std::string bad = "\xEF\xBF\xBD", overlong = "\xC0\xAF|\xFF|\xE0\x9F\xBF|\xE7\x8E",
                      beyond = "\xED\xA0\x80|\xF4\x90\x80\x80|";
    const struct {
        const char* format;
        std::string text, line, json;
    } kCases[] = {
        {"key[%s]", "a\r\n[ERROR] [x] y\x1b[2J", R"(key[a\x0d\x0a[ERROR] [x] y\x1b[2J])",
         R"(key[a\r\n[ERROR] [x] y\u001b[2J])"},
        {"%s%c|", "\x7f\t\x01", R"(\x7f\x09\x01\x00|)", R"(\u007f\t\u0001\u0000|)"},
        {"%s\r\n", "end\r\n", "end\\x0d\\x0a\r\n", R"(end\r\n\r\n)"},
        {"%s\n\n", "own", "own\n\n", R"(own\n\n)"},
        {"%s", "玩家😀 \\x1b \"100%\"", "玩家😀 \\x1b \"100%\"", R"(玩家😀 \\x1b \"100%\")"},
        {"%s", overlong, overlong, bad + bad + "|" + bad + "|" + bad + bad + bad + "|" + bad + bad},
        {"%s", beyond, beyond, bad + bad + bad + "|" + bad + bad + bad + bad + "|"},
    };
    std::string file, json;
    for (const auto& row : kCases) {
        const std::string console =
            LogOf([&] { __log(_WARN, "A::B", row.format, row.text.c_str(), 0); });
        const std::string body = "2026-11-14 13:05:09 [WARN] [A::B] " + row.line;
        EXPECT_EQ(console, "\x1b[33m" + body + "\x1b[0m\r\n");
        file += body + "\r\n";
        json += R"({"time":"2026-11-14T13:05:09+05:30","level":"WARN","tag":"A::B","text":")" +
                row.json + "\"}\n";
    }
    EXPECT_EQ(File(".log"), file);
    EXPECT_EQ(File(".json"), json);
    const std::string cut =
        LogOf([] { __log(_ALL, "t", "%s", std::string(2000, '\x1b').c_str()); });
    EXPECT_TRUE(cut.size() > 2040 && cut.size() <= 2047 + 2) << cut.size();
    EXPECT_TRUE(cut.ends_with("\\x1b\x1b[0m\r\n"));
}

TEST_F(LogTest, JsonLinesAreCutAsTheOthers) {
    ASSERT_EQ(Start("level=DEBUG\njson=1\n"), 1);
    // The longest line in its longest form, from a thread with a small stack.
    LogOf([&] {
        __log(_ALL, "A::B", "below the level");
        OnThreads(1, [] { __log(_WARN, "A::B", "%s", std::string(3000, '\1').c_str()); });
    });
    const std::string json = File(".json"), text = json.substr(json.find("\\u0001"));
    EXPECT_EQ(text.size() % 6, 3u) << text;
    EXPECT_GT(text.size(), 6 * 2000u);
    EXPECT_TRUE(text.ends_with("\\u0001\"}\n"));
    SetZone("XXX3:30");
    LogOf([] { __log(_WARN, std::string(600, 't').c_str(), "west"); });
    EXPECT_TRUE(Has(File(".json"), "-03:30\",\"level\":\"WARN\",\"tag\":\"ttt"));
    EXPECT_TRUE(File(".json").ends_with("t\",\"text\":\"west\"}\n"));
}

TEST_F(LogTest, LinesBeyondTheBoundAreCountedAndToldOnce) {
    ASSERT_EQ(Start("level=DEBUG\nmost_lines=2\n"), 1);
    const std::string console = LogOf([] {
        for (int i = 0; i < 4; ++i) {
            __log(_ALL, "t", "below the level");
            __log(_WARN, "t", "warn %d", i);
            __log(_ERROR, "t", "error %d", i);
        }
        TellLeftOutLines();  // the second is not over
        g_time += 1;
        TellLeftOutLines();
        __log(_WARN, "t", "next");
        for (int i = 0; i < 3; ++i)
            __log(_DEBUG, "t", "debug %d", i);
        g_time += 60;
        __log(_WARN, "t", "last");
        TellLeftOutLines();
    });
    const std::string told = " [ERROR] [GLogService::TellLeftOut] lines left out in a second: ";
    const std::string first = "2026-11-14 13:05:09", second = "2026-11-14 13:05:10",
                      last = "2026-11-14 13:06:10";
    EXPECT_EQ(File(".log"), first + " [WARN] [t] warn 0\r\n" + first + " [ERROR] [t] error 0\r\n" +
                                second + told + "ALL[0], DEBUG[0], WARN[3], ERROR[3]\r\n" + second +
                                " [WARN] [t] next\r\n" + last + told +
                                "ALL[0], DEBUG[3], WARN[0], ERROR[0]\r\n" + last +
                                " [WARN] [t] last\r\n");
    EXPECT_EQ(std::count(console.begin(), console.end(), '\n'), 6);
    g_time += 1;
    LogOf([] {  // two lines' worth of bytes in one
        __log(_WARN, "t", "%s", std::string(300, 'x').c_str());
        __log(_WARN, "t", "too much");
    });
    EXPECT_TRUE(File(".log").ends_with("xx\r\n"));
}

TEST_F(LogTest, FilesRollOverWhenTheDayOfTheMonthChanges) {
    const struct {
        const char *config, *name;
        time_t later;
        const char* files;  // of the lines one is old, two are new
    } kCases[] = {
        {"", ".log", kDay, ".log=2 20261114.log=1 "},
        {"json=0\n", ".log", 2 * 3600, ".log=3 "},
        {"json=\n", ".log", 30 * kDay, ".log=3 "},  // 14 December
        {"json=1\n", "", kDay, "=2 .json=2 20261114=1 20261114.json=1 "},
        {"json=1\n", ".a.txt", kDay, ".a.json=2 .a.txt=2 .a20261114.json=1 .a20261114.txt=1 "},
        {"json=1\n", ".json", kDay, ".json=2 .json.json=2 .json20261114.json=1 20261114.json=1 "},
    };
    for (const auto& row : kCases) {
        g_time = kNoon;
        ASSERT_EQ(Start(row.config, row.name), 1);
        LogOf([] { __log(_ALL, "t", "old"); });
        ShutdownLog();  // a restart goes on with the file
        ASSERT_EQ(Start(row.config, row.name), 1);
        g_time += row.later;
        for (int i = 0; i < 2; ++i)
            LogOf([] { __log(_ALL, "t", "new"); });
        EXPECT_TRUE(File(row.name).ends_with("[t] new\r\n"));
        EXPECT_EQ(Clear(), row.files);
    }
}

TEST_F(LogTest, WithoutFileOrConsoleTheOtherIsWritten) {
    EXPECT_EQ(Start("", "no/such/directory"), 0);
    EXPECT_NE(LogOf([] { __log(_ALL, "t", "console only"); }), "");
    ASSERT_EQ(Start(), 1);
    int broken[2];
    ASSERT_EQ(pipe(broken), 0);
    close(broken[0]);
    const int console = dup(STDOUT_FILENO);
    dup2(broken[1], STDOUT_FILENO);
    __log(_ALL, "t", "to nobody");
    __log(_ALL, "t", "here");
    dup2(console, STDOUT_FILENO);
    close(console);
    close(broken[1]);
    EXPECT_TRUE(File(".log").ends_with("here\r\n"));
}

TEST_F(LogTest, LinesOfManyThreadsDoNotInterleave) {
    ASSERT_EQ(Start(), 1);
    LogOf([] {
        OnThreads(4, [] {
            for (int line = 0; line < 100; ++line)
                __log(_ALL, "t", "%0*d %.17g", 500 + line * 20, line, 1.0 / 3);
        });
    });
    const std::string file = File(".log");
    EXPECT_EQ(Count(file, "\n"), 400u);
    EXPECT_EQ(Count("\r\n" + file, "\r\n2026-11-14 13:05:09 [ALL] [t] 0"), 400u);
}

TEST_F(LogTest, BothModesWriteEverythingInOrderAndGoOnWithTheirFile) {
    const WorkingFolder folder;
    CLogCls log;
    log._log_2("closed", -1);
    for (const bool threaded : {true, false}) {
        SCOPED_TRACE(threaded);
        g_time = kNoon;
        ASSERT_TRUE(log.InitLog("x", true, threaded, false));  // anew
        EXPECT_FALSE(log.InitLog("x", false, false, false)) << "already open";
        std::atomic<int> producers{0};
        OnThreads(3, [&] {
            for (int i = 0, p = producers++; i < 500; ++i)
                log._log("%d %d", p, i);
        });
        log.CloseLog();
        log._log("lost");
        ASSERT_TRUE(log.InitLog("x", false, !threaded, false));
        g_time += kDay;  // not daily
        log._log("%s", std::string(3000, 'x').c_str());
        log._log_2("0123456789", 4);
        log.CloseLog();
        std::istringstream file(ReadFile("x"));
        int next[3] = {}, producer = 0, number = 0;
        std::string line;
        for (int i = 0; i < 1500 && std::getline(file, line); ++i) {
            ASSERT_EQ(sscanf(line.c_str(), "2026-11-14 13:05:09 %d %d", &producer, &number), 2);
            EXPECT_EQ(number, next[producer]++);
        }
        const std::string stamp = "2026-11-15 13:05:09 ";
        EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}),
                  stamp + std::string(1023, 'x') + "\r\n" + stamp + "0123\r\n");
    }
}

TEST_F(LogTest, ALogThatCannotBeReopenedGoesToTheConsole) {
    const WorkingFolder folder;
    const std::string old = "2026-11-14 13:05:09 old\r\n";
    for (const bool threaded : {false, true}) {
        g_time = kNoon;
        fs::create_directory("f");
        CLogCls log("f/x.log", false, threaded, true);
        log._log("old");
        EXPECT_TRUE(Eventually([&] { return ReadFile("f/x.log") == old; }));
        fs::remove_all("f");
        g_time += kDay;
        EXPECT_EQ(LogOf([&] {
                      log._log("new");
                      log.CloseLog();
                  }),
                  "2026-11-15 13:05:09 new\r\n");
    }
}

}  // namespace
