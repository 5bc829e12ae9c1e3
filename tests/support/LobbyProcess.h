// The real LobbyServer in a directory of its own.
#pragma once

#include <chrono>
#include <fstream>
#include <iterator>
#include <map>
#include <thread>

#include "ChildProcess.h"

#ifdef LOBBY_SANITIZED
inline constexpr int SLOWER = 5;  // instrumented builds get that much more time
#else
inline constexpr int SLOWER = 1;
#endif

// Waits for a condition, at most `seconds` (more in instrumented builds); its last value.
template <class Condition>
bool Eventually(Condition condition, double seconds = 10) {
    using Clock = std::chrono::steady_clock;
    const auto limit = std::chrono::milliseconds(static_cast<long>(seconds * 1000 * SLOWER));
    for (const auto end = Clock::now() + limit; Clock::now() < end;) {
        if (condition()) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return condition();
}

// Section and key to value. An empty value leaves the key out.
using LobbySettings = std::map<std::string, std::map<std::string, std::string>>;

// Thread: the test's main thread.
class LobbyProcess {
  public:
    LobbyProcess() {  // a copy: the process works in the directory of its executable
        std::filesystem::copy_file(LOBBY_SERVER_BINARY, Directory() / "LobbyServer");
    }

    void Write(const std::string& name, const std::string& text) {
        std::ofstream(Directory() / name) << text;
    }
    void Configure(const LobbySettings& settings) {
        std::string text;
        for (const auto& [section, keys] : settings) {
            text += "[" + section + "]\n";
            for (const auto& [key, value] : keys) {
                if (!value.empty()) text += key + "=" + value + "\n";
            }
        }
        Write("LobbyServer.cfg", text);
    }

    // Starts it; returns at once.
    void Start() { m_process.Start({Directory() / "LobbyServer"}); }
    // True when it serves clients; false when it ended instead, or took too long.
    bool AwaitServing() {
        Eventually([&] { return LogHas("listen and start service success") || Ended(); }, 30);
        return !Ended() && LogHas("listen and start service success");
    }

    void Terminate() { m_process.Signal(SIGTERM); }
    // Also when it was never started.
    bool Ended() { return m_process.Ended(); }
    // Its exit status, -1 when a signal ended it; nothing when it is still there after `seconds`.
    std::optional<int> AwaitEnd(double seconds = 5) {
        Eventually([&] { return Ended(); }, seconds);
        const auto status = m_process.Status();
        if (!status) return {};
        return WIFEXITED(*status) ? WEXITSTATUS(*status) : -1;
    }
    pid_t Pid() const { return m_process.Pid(); }
    const std::filesystem::path& Directory() const { return m_process.Directory(); }

    std::string Output() const { return Read("stdout"); }
    std::string Errors() const { return Read("stderr"); }
    std::string LogFile(const std::string& name) const { return Read("log/" + name); }
    bool LogHas(const std::string& text) const { return Output().find(text) != std::string::npos; }

  private:
    std::string Read(const std::string& name) const {
        std::ifstream file(Directory() / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    ChildProcess m_process;
};
