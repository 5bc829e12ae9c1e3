// The real LobbyServer in a directory of its own.
#pragma once

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>

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

// Owns the process and its directory. Thread: the test's main thread, for the process ends with
// the thread that started it.
class LobbyProcess {
  public:
    LobbyProcess() {
        std::string path = (std::filesystem::temp_directory_path() / "lobbyXXXXXX").string();
        if (mkdtemp(path.data()) == nullptr) throw std::runtime_error("no directory for the lobby");
        m_directory = path;
        // A copy: the process works in the directory of its executable.
        std::filesystem::copy_file(LOBBY_SERVER_BINARY, m_directory / "LobbyServer");
    }
    ~LobbyProcess() {
        if (m_pid > 0) kill(m_pid, SIGKILL);
        if (m_pid > 0) waitpid(m_pid, nullptr, 0);
        std::error_code ignored;
        std::filesystem::remove_all(m_directory, ignored);
    }
    LobbyProcess(const LobbyProcess&) = delete;
    LobbyProcess& operator=(const LobbyProcess&) = delete;

    void Write(const std::string& name, const std::string& text) {
        std::ofstream(m_directory / name) << text;
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
    void Start() {
        const std::string program = m_directory / "LobbyServer";
        const std::string out = m_directory / "stdout", err = m_directory / "stderr";
        const pid_t parent = getpid();
        m_status.reset();
        Write("stdout", "");  // what an earlier process wrote would be taken for this one's
        Write("stderr", "");
        m_pid = fork();
        if (m_pid != 0) return;
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (getppid() != parent) _exit(1);
        dup2(open("/dev/null", O_RDONLY), STDIN_FILENO);
        dup2(open(out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644), STDOUT_FILENO);
        dup2(open(err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644), STDERR_FILENO);
        // Sockets of the simulator would outlive it in the lobby.
        close_range(STDERR_FILENO + 1, ~0u, 0);
        execl(program.c_str(), program.c_str(), static_cast<char*>(nullptr));
        _exit(127);
    }
    // True when it serves clients; false when it ended instead, or took too long.
    bool AwaitServing() {
        Eventually([&] { return LogHas("listen and start service success") || Ended(); }, 30);
        return !Ended() && LogHas("listen and start service success");
    }

    void Terminate() {
        if (m_pid > 0) kill(m_pid, SIGTERM);  // below, it would be everybody's signal
    }
    // Also when it was never started.
    bool Ended() {
        if (m_pid <= 0) return true;
        int status = 0;
        if (!m_status && waitpid(m_pid, &status, WNOHANG) == m_pid) {
            m_status = status;
            m_pid = -1;
        }
        return m_status.has_value();
    }
    // Its exit status, -1 when a signal ended it; nothing when it is still there after `seconds`.
    std::optional<int> AwaitEnd(double seconds = 5) {
        Eventually([&] { return Ended(); }, seconds);
        if (!m_status) return {};
        return WIFEXITED(*m_status) ? WEXITSTATUS(*m_status) : -1;
    }
    pid_t Pid() const { return m_pid; }

    std::string Output() const { return Read("stdout"); }
    std::string Errors() const { return Read("stderr"); }
    std::string LogFile(const std::string& name) const { return Read("log/" + name); }
    bool LogHas(const std::string& text) const { return Output().find(text) != std::string::npos; }

  private:
    std::string Read(const std::string& name) const {
        std::ifstream file(m_directory / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    std::filesystem::path m_directory;
    pid_t m_pid = -1;
    std::optional<int> m_status;
};
