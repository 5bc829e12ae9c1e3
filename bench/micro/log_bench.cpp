// A log line: filtered out, and written to console and file.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>

#include "Common/Log.h"

namespace {

// The console of the measured lines; the report of the benchmark goes where it always went.
class NoConsole {
  public:
    NoConsole() : m_console(dup(STDOUT_FILENO)) {
        std::fflush(stdout);
        const int null = open("/dev/null", O_WRONLY | O_CLOEXEC);
        dup2(null, STDOUT_FILENO);
        close(null);
    }
    ~NoConsole() {
        std::fflush(stdout);
        dup2(m_console, STDOUT_FILENO);
        close(m_console);
    }
    NoConsole(const NoConsole&) = delete;
    NoConsole& operator=(const NoConsole&) = delete;

  private:
    int m_console;
};

// level=ERROR.
void OpenLog() {
    static const int s_opened = InitializeLog("lobby_echo.cfg", "lobby_micro.log");
    benchmark::DoNotOptimize(s_opened);
}

void Line(LOG_LEVEL level, int i) {
    __log(level, "LobbyServer::OnNetMessage", "userid[%d] node[0x%08x] gameCoin[%lld]", i, 0xBEEFu,
          123456789LL);
}

void LogFiltered(benchmark::State& state) {
    OpenLog();
    int i = 0;
    for (auto _ : state)
        Line(_DEBUG, ++i);
}
BENCHMARK(LogFiltered);

void LogWritten(benchmark::State& state) {
    OpenLog();
    const NoConsole quiet;
    int i = 0;
    for (auto _ : state)
        Line(_ERROR, ++i);
}
BENCHMARK(LogWritten)->MinTime(0.1);

}  // namespace
