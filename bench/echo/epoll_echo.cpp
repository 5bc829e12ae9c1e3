// The same protocol on nothing but epoll, TCP and WebSocket on one port: one thread that reads,
// answers and writes. What a socket does not take at once ends its connection: no reader is slow
// in these loads.
// Usage: epoll_echo port
#include <netinet/tcp.h>
#include <sys/epoll.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>

#include "Common/Descriptors.h"
#include "EchoStream.h"

namespace {

struct Connection {
    int fd;
    EchoStream stream;
    std::string out;
};

int Listen(uint16_t port) {
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK, 0);
    const int on = 1;
    ::setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on));
    ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));  // accepted sockets inherit it
    const sockaddr_in addr{AF_INET, htons(port), {htonl(INADDR_LOOPBACK)}, {}};
    if (::bind(fd, reinterpret_cast<const sockaddr*>(&addr), sizeof(addr)) != 0) return -1;
    return ::listen(fd, 4096) == 0 ? fd : -1;
}

void Watch(int poll, int fd, void* data) {
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.ptr = data;
    ::epoll_ctl(poll, EPOLL_CTL_ADD, fd, &event);
}

void Accept(int poll, int listener) {
    int fd;
    while ((fd = ::accept4(listener, nullptr, nullptr, SOCK_NONBLOCK)) >= 0)
        Watch(poll, fd, new Connection{fd, {}, {}});
}

// False when the connection is over.
bool Serve(Connection& connection) {
    static char buffer[65536];
    const ssize_t length = ::recv(connection.fd, buffer, sizeof(buffer), 0);
    if (length <= 0) return length < 0 && errno == EAGAIN;
    connection.out.clear();
    if (!connection.stream.Take(buffer, static_cast<size_t>(length), connection.out)) return false;
    const auto size = static_cast<ssize_t>(connection.out.size());
    return size == 0 || ::send(connection.fd, connection.out.data(), connection.out.size(),
                               MSG_NOSIGNAL) == size;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) return std::fprintf(stderr, "usage: epoll_echo port\n"), 2;
    RaiseDescriptorLimit(30064);
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigprocmask(SIG_BLOCK, &signals, nullptr);
    int term = ::signalfd(-1, &signals, 0);
    int listener = Listen(static_cast<uint16_t>(std::strtol(argv[1], nullptr, 10)));
    if (listener < 0) return std::perror("epoll_echo"), 1;
    const int poll = ::epoll_create1(0);
    Watch(poll, listener, &listener);
    Watch(poll, term, &term);
    std::printf("ready\n");
    std::fflush(stdout);
    for (epoll_event events[512];;) {
        const int count = ::epoll_wait(poll, events, 512, -1);
        for (int i = 0; i < count; ++i) {
            if (events[i].data.ptr == &term) return 0;
            if (events[i].data.ptr == &listener) {
                Accept(poll, listener);
                continue;
            }
            auto* connection = static_cast<Connection*>(events[i].data.ptr);
            if (Serve(*connection)) continue;
            ::close(connection->fd);
            delete connection;
        }
    }
}
