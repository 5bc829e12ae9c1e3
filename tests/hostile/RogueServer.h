// Something that is no back-end server, on the port of one.
#pragma once

#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

// Accepts on a loopback port and treats every connection alike. Owns the sockets and a thread,
// which end with it.
class RogueServer {
  public:
    // What is done with a new connection, which is closed when this returns false; reading is not
    // offered.
    using Treatment = std::function<bool(int fd)>;

    RogueServer(uint16_t port, Treatment treatment)
        : m_treatment(std::move(treatment)),
          m_listener(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        const int on = 1;
        setsockopt(m_listener, SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on));
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        if (bind(m_listener, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0 ||
            listen(m_listener, 16) != 0) {
            close(m_listener);
            throw std::runtime_error("no port for the rogue server");
        }
        m_thread = std::thread([this] { Run(); });
    }
    ~RogueServer() {
        m_end = true;
        m_thread.join();
        for (const int fd : m_connections)
            close(fd);
        close(m_listener);
    }
    RogueServer(const RogueServer&) = delete;
    RogueServer& operator=(const RogueServer&) = delete;

    int Accepted() const { return m_accepted; }

  private:
    void Run() {
        while (!m_end) {
            pollfd one{m_listener, POLLIN, 0};
            if (poll(&one, 1, 20) <= 0) continue;
            const int fd = accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
            if (fd < 0) continue;
            const timeval brief{0, 200000};
            setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &brief, sizeof(brief));
            ++m_accepted;
            if (m_treatment(fd)) {
                m_connections.push_back(fd);
            } else {
                close(fd);
            }
        }
    }

    const Treatment m_treatment;
    const int m_listener;
    std::atomic<bool> m_end{false};
    std::atomic<int> m_accepted{0};
    std::vector<int> m_connections;  // the thread's
    std::thread m_thread;
};
