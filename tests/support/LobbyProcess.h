// The real LobbyServer in a directory of its own.
#pragma once

#include <map>

#include "ChildProcess.h"
#include "Waiting.h"

// Section and key to value. An empty value leaves the key out.
using LobbySettings = std::map<std::string, std::map<std::string, std::string>>;

// Thread: the test's main thread.
class LobbyProcess {
  public:
    LobbyProcess() {  // a copy: the process works in the directory of its executable
        std::filesystem::copy_file(LOBBY_SERVER_BINARY, Directory() / "LobbyServer");
    }

    void Write(const std::string& name, const std::string& text) {
        WriteFile(Directory() / name, text);
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

    std::string Output() const { return m_process.Said("stdout"); }
    std::string Errors() const { return m_process.Said("stderr"); }
    std::string LogFile(const std::string& name) const {
        return ReadFile(Directory() / "log" / name);
    }
    bool LogHas(const std::string& text) const { return Has(Output(), text); }

  private:
    ChildProcess m_process;
};
