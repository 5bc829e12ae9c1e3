// A program that a test runs in a directory of its own.
#pragma once

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <optional>
#include <string>
#include <vector>

#include "Files.h"
#include "Waiting.h"

// Owns the process and the directory, where its "stdout" and "stderr" are kept.
// Thread: the test's main thread, for the process ends with the thread that started it.
class ChildProcess {
  public:
    ChildProcess() = default;
    ~ChildProcess() { Kill(); }
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    const std::filesystem::path& Directory() const { return m_directory.Path(); }
    // On "stdout" or "stderr", so far.
    std::string Said(const char* name) const { return ReadFile(m_directory / name); }
    pid_t Pid() const { return m_pid; }

    // Starts it; returns at once.
    void Start(const std::vector<std::string>& command) {
        std::vector<char*> arguments;
        for (const std::string& argument : command)
            arguments.push_back(const_cast<char*>(argument.c_str()));
        arguments.push_back(nullptr);
        // What an earlier process wrote would be taken for this one's.
        const int files[] = {open("/dev/null", O_RDONLY | O_CLOEXEC), Create("stdout"),
                             Create("stderr")};
        const pid_t parent = getpid();
        m_status.reset();
        m_pid = fork();
        if (m_pid == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            if (getppid() != parent) _exit(1);
            for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
                dup2(files[fd], fd);
            // Sockets of the test would outlive it in the program.
            close_range(STDERR_FILENO + 1, ~0u, 0);
            execvp(arguments[0], arguments.data());
            _exit(127);
        }
        for (const int fd : files)
            close(fd);
    }
    void Signal(int signal) const {
        if (m_pid > 0) kill(m_pid, signal);  // below, it would be everybody's signal
    }
    void Kill() {
        Signal(SIGKILL);
        if (m_pid > 0) waitpid(m_pid, nullptr, 0);
        m_pid = -1;
    }
    // Also when it was never started.
    bool Ended() {
        int status = 0;
        if (m_pid > 0 && waitpid(m_pid, &status, WNOHANG) == m_pid) {
            m_status = status;
            m_pid = -1;
        }
        return m_pid <= 0;
    }
    // Its exit status, -1 when a signal ended it; nothing when it is still there after `seconds`.
    std::optional<int> AwaitEnd(double seconds = 10) {
        Eventually([&] { return Ended(); }, seconds);
        if (!m_status) return {};
        return WIFEXITED(*m_status) ? WEXITSTATUS(*m_status) : -1;
    }

  private:
    int Create(const char* name) const {
        return open((m_directory / name).c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    }

    TempFolder m_directory;
    pid_t m_pid = -1;
    std::optional<int> m_status;  // as waitpid has it
};

struct Ended {
    std::optional<int> status;
    std::string output;  // both of its outputs
};

// A shell's command.
inline Ended Shell(const std::string& command) {
    ChildProcess shell;
    shell.Start({"sh", "-c", "exec 2>&1; " + command});
    const auto status = shell.AwaitEnd(60);
    return {status, shell.Said("stdout")};
}
