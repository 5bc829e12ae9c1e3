// A WebSocket client that asks and never reads.
#pragma once

#include <cstdint>
#include <string>

// Fills its server's kernel buffer with echoes nobody takes, and then the server's own queue for
// it. Owns its socket. Thread: its creator's; the constructor blocks.
class StoppedReader {
  public:
    // Throws std::runtime_error when the server refuses it.
    StoppedReader(const std::string& host, uint16_t port);
    ~StoppedReader();
    StoppedReader(const StoppedReader&) = delete;
    StoppedReader& operator=(const StoppedReader&) = delete;

    // Bytes of echoes that the server still holds itself: above 0, its writes to this client do
    // not get on. 0 also when it has closed the connection. A server on this machine only.
    size_t HeldByServer() const;

  private:
    int m_fd;
    uint16_t m_ownPort = 0;
};
