// The real LobbyServer in a directory of its own.
#pragma once

#include <map>

#include "ChildProcess.h"

// Section and key to value. An empty value leaves the key out.
using LobbySettings = std::map<std::string, std::map<std::string, std::string>>;

// Thread: the test's main thread.
class LobbyProcess : public ChildProcess {
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
    void Start() { ChildProcess::Start({Directory() / "LobbyServer"}); }
    // True when it serves clients and has Redis; false when it ended instead, or took too long. It
    // listens first: who logs in before Redis is there enters unregistered.
    bool AwaitServing() {
        Eventually([&] { return LogHas("Create RedisThread Success") || Ended(); }, 30);
        return !Ended() && LogHas("listen and start service success");
    }

    void Terminate() const { Signal(SIGTERM); }

    std::string Output() const { return Said("stdout"); }
    std::string Errors() const { return Said("stderr"); }
    std::string LogFile(const std::string& name) const {
        return ReadFile(Directory() / "log" / name);
    }
    bool LogHas(const std::string& text) const { return Has(Output(), text); }
};
