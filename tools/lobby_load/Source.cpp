#include "Source.h"

#include <arpa/inet.h>
#include <netinet/tcp.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <stdexcept>

namespace {

constexpr uint64_t kPerAddress = 10000;
constexpr uint64_t kAddresses = 200;

// Only the source address; the port is chosen by connect, which knows which are free towards this
// server.
void BindTo(int fd, uint32_t address) {
    const int on = 1;
    setsockopt(fd, IPPROTO_IP, IP_BIND_ADDRESS_NO_PORT, &on, sizeof(on));
    sockaddr_in source{};
    source.sin_family = AF_INET;
    source.sin_addr.s_addr = htonl(address);
    // Where it fails, connect chooses the address, too.
    static_cast<void>(bind(fd, reinterpret_cast<sockaddr*>(&source), sizeof(source)));
}

}  // namespace

Source::Source(const std::string& host, uint16_t port) : m_port(port) {
    in_addr address{};
    if (inet_pton(AF_INET, host.c_str(), &address) != 1) {
        throw std::invalid_argument(host + " is not an IPv4 address");
    }
    m_address = ntohl(address.s_addr);
}

int Source::Connect(uint64_t number) const {
    const int fd = socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (fd < 0) return -1;
    const int on = 1;
    setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
    const bool loopback = (m_address >> 24) == IN_LOOPBACKNET;
    if (loopback) {
        const auto host = static_cast<uint32_t>(number / kPerAddress % kAddresses);
        BindTo(fd, INADDR_LOOPBACK + host);
    }
    sockaddr_in server{};
    server.sin_family = AF_INET;
    server.sin_port = htons(m_port);
    server.sin_addr.s_addr = htonl(m_address);
    if (connect(fd, reinterpret_cast<sockaddr*>(&server), sizeof(server)) == 0 ||
        errno == EINPROGRESS) {
        return fd;
    }
    const int error = errno;
    close(fd);
    errno = error;
    return -1;
}

int ConnectBlocking(const std::string& host, uint16_t port, int receiveBuffer) {
    const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (receiveBuffer > 0)
        setsockopt(fd, SOL_SOCKET, SO_RCVBUF, &receiveBuffer, sizeof(receiveBuffer));
    sockaddr_in server{};
    server.sin_family = AF_INET;
    server.sin_port = htons(port);
    inet_pton(AF_INET, host.c_str(), &server.sin_addr);
    if (connect(fd, reinterpret_cast<sockaddr*>(&server), sizeof(server)) == 0) return fd;
    close(fd);
    return -1;
}

void AllowDescriptors(size_t connections) {
    const rlim_t wanted = connections + 64;
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    if (limit.rlim_cur >= wanted) return;
    limit.rlim_cur = wanted;
    limit.rlim_max = std::max(limit.rlim_max, wanted);  // above the old one only for root
    if (setrlimit(RLIMIT_NOFILE, &limit) != 0) {
        throw std::runtime_error("cannot hold " + std::to_string(connections) +
                                 " connections: raise the limit on open files");
    }
}
