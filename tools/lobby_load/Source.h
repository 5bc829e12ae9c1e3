// Sockets enough for tens of thousands of connections from one machine.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

// The server's address, and the loopback addresses its clients come from.
class Source {
  public:
    // host is an IPv4 address. Throws std::invalid_argument when it is none.
    Source(const std::string& host, uint16_t port);

    // A non-blocking socket whose connect has begun; -1 with errno set on failure. Towards
    // loopback the number of the connection chooses the source address: each pair of addresses
    // has fewer than 28,000 ports in the usual range, and closed connections block theirs for a
    // minute.
    int Connect(uint64_t number) const;

  private:
    uint32_t m_address;  // host order
    uint16_t m_port;
};

// A connected socket that blocks, to an IPv4 address, with a receive buffer of so many bytes (0:
// the usual); -1 when it is refused.
int ConnectBlocking(const std::string& host, uint16_t port, int receiveBuffer = 0);

// Raises the limit on open descriptors to hold so many connections; throws std::runtime_error
// when that is not allowed.
void AllowDescriptors(size_t connections);
