// A client that sends as fast as its server takes it.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <thread>

// Sends the smallest message of a type over and over and throws the answers away. Owns its socket and its
// thread. Thread: its creator's.
class Flooder {
  public:
    // Throws std::runtime_error when the server refuses it.
    Flooder(const std::string& host, uint16_t port, uint16_t type);
    ~Flooder();
    Flooder(const Flooder&) = delete;
    Flooder& operator=(const Flooder&) = delete;

    // What the server has taken so far.
    uint64_t Messages() const { return m_sent / 8; }
    // The server has closed the connection.
    bool Lost() const { return m_lost; }

  private:
    void Run();

    int m_fd;
    const uint16_t m_type;
    std::atomic<bool> m_stop{false};
    std::atomic<bool> m_lost{false};
    std::atomic<uint64_t> m_sent{0};  // bytes
    std::thread m_thread;
};
