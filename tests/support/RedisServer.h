// A real redis-server of a test's own, on a free loopback port.
#pragma once

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <thread>

// Owns the process and its temporary directory; keeps nothing on disk, so a restart is empty.
// Thread: the test's main thread, for the process ends with the thread that started it.
class RedisServer {
  public:
    // `start` false only reserves a port on which nobody listens, for Start later.
    explicit RedisServer(std::string password = "", bool start = true)
        : m_password(std::move(password)) {
        std::string path = (std::filesystem::temp_directory_path() / "redisXXXXXX").string();
        if (mkdtemp(path.data()) == nullptr) throw std::runtime_error("no directory for redis");
        m_directory = path;
        for (int attempt = 0; attempt < 5; ++attempt) {
            m_port = FreePort();
            if (!start || TryStart()) return;
        }
        std::filesystem::remove_all(m_directory);
        throw std::runtime_error("redis-server does not start");
    }
    ~RedisServer() {
        Stop();
        std::filesystem::remove_all(m_directory);
    }
    RedisServer(const RedisServer&) = delete;
    RedisServer& operator=(const RedisServer&) = delete;

    int Port() const { return m_port; }
    // The value of "redis_server" in LobbyServer.cfg.
    std::string Address() const { return "127.0.0.1:" + std::to_string(m_port); }

    // On the same port as before; returns when the server answers.
    void Start() {
        if (!TryStart()) throw std::runtime_error("redis-server does not start again");
    }
    void Stop() {
        if (m_pid < 0) return;
        kill(m_pid, SIGKILL);
        waitpid(m_pid, nullptr, 0);
        m_pid = -1;
    }
    void Restart() {
        Stop();
        Start();
    }
    // The hung server: its kernel still accepts connections, nothing is answered.
    void Hang() { Signal(SIGSTOP); }
    void Resume() { Signal(SIGCONT); }

    // The first line of the reply to an inline command ("GET key"), for a bulk its text; "" if
    // there is none within two seconds.
    std::string Command(const std::string& command) const {
        const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in address = Loopback(m_port);
        std::string lines;
        if (connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof(address)) == 0) {
            if (!m_password.empty()) Exchange(fd, "AUTH \"" + m_password + "\"");
            lines = Exchange(fd, command);
        }
        close(fd);
        const size_t end = lines.find("\r\n");
        if (end == std::string::npos) return "";
        if (lines[0] != '$' || lines[1] == '-') return lines.substr(0, end);
        return lines.substr(end + 2, lines.size() - end - 4);
    }

    static int FreePort() {
        const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in address = Loopback(0);
        socklen_t size = sizeof(address);
        if (bind(fd, reinterpret_cast<sockaddr*>(&address), size) == 0) {
            getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size);
        }
        close(fd);
        return ntohs(address.sin_port);
    }

  private:
    void Signal(int signal) const {
        if (m_pid > 0) kill(m_pid, signal);  // below, it would be everybody's signal
    }
    static sockaddr_in Loopback(int port) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<uint16_t>(port));
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        return address;
    }

    static bool Complete(const std::string& reply) {
        const size_t end = reply.find("\r\n");
        if (end == std::string::npos) return false;
        if (reply[0] != '$' || reply[1] == '-') return true;
        return reply.size() >= end + 4 + std::stoul(reply.substr(1));
    }

    static std::string Exchange(int fd, const std::string& command) {
        const std::string line = command + "\r\n";
        std::string reply;
        if (send(fd, line.data(), line.size(), MSG_NOSIGNAL) < 0) return reply;
        while (!Complete(reply)) {
            char bytes[4096];
            pollfd entry{fd, POLLIN, 0};
            if (poll(&entry, 1, 2000) <= 0) return "";
            const ssize_t received = recv(fd, bytes, sizeof(bytes), 0);
            if (received <= 0) return "";
            reply.append(bytes, static_cast<size_t>(received));
        }
        return reply;
    }

    bool TryStart() {
        const std::string port = std::to_string(m_port);
        const pid_t parent = getpid();
        m_pid = fork();
        if (m_pid == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            if (getppid() != parent) _exit(1);
            const int null = open("/dev/null", O_RDWR);
            dup2(null, STDIN_FILENO);
            dup2(null, STDOUT_FILENO);
            dup2(null, STDERR_FILENO);
            execlp("redis-server", "redis-server", "--bind", "127.0.0.1", "--port", port.c_str(),
                   "--dir", m_directory.c_str(), "--save", "", "--appendonly", "no",
                   "--requirepass", m_password.c_str(), static_cast<char*>(nullptr));
            _exit(127);
        }
        for (int i = 0; i < 1000; ++i) {
            if (waitpid(m_pid, nullptr, WNOHANG) == m_pid) {  // the port was taken
                m_pid = -1;
                return false;
            }
            if (Command("PING") == "+PONG") return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        Stop();
        return false;
    }

    std::string m_password;
    std::string m_directory;
    int m_port = 0;
    pid_t m_pid = -1;
};
