// The same protocol on Boost.Asio: one io_context, one thread, asynchronous reads and writes.
// Every message is checked and answered by itself; the answers to what one read brought go out in
// one write.
// Usage: asio_echo port
#include <arpa/inet.h>

#include <utility>  // which boost/asio/awaitable.hpp forgets

#include <boost/asio.hpp>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <memory>
#include <string>
#include <string_view>

#include "Common/Descriptors.h"
#include "Game/NetMessage.h"

namespace asio = boost::asio;
using asio::ip::tcp;

namespace {

// One connection. Reads again when its answers are written, so that a slow reader cannot make
// it grow.
class Session : public std::enable_shared_from_this<Session> {
  public:
    explicit Session(tcp::socket socket) : m_socket(std::move(socket)) {
        m_socket.set_option(tcp::no_delay(true));
    }

    void Read() {
        m_socket.async_read_some(
            asio::buffer(m_in.data() + m_held, m_in.size() - m_held),
            [self = shared_from_this()](boost::system::error_code error, size_t length) {
                if (!error) self->OnRead(length);
            });
    }

  private:
    void OnRead(size_t length) {
        m_held += length;
        if (!HandleMessages()) return;  // the session ends, and its socket with it
        if (m_out.empty()) return Read();
        asio::async_write(m_socket, asio::buffer(m_out),
                          [self = shared_from_this()](boost::system::error_code error, size_t) {
                              if (error) return;
                              self->m_out.clear();
                              self->Read();
                          });
    }

    // False on a bad header.
    bool HandleMessages() {
        size_t used = 0;
        while (m_held - used >= sizeof(tagMsgHeader)) {
            tagMsgHeader header;
            std::memcpy(&header, m_in.data() + used, sizeof(header));
            const size_t length = ntohs(header.length);
            if (header.identity != MSG_IDENTITY || length < HEADER_SIZE || length > BUFFER_SIZE) {
                return false;
            }
            if (m_held - used < length) break;
            OnMessage(ntohs(header.type),
                      {m_in.data() + used + sizeof(header), length - sizeof(header)});
            used += length;
        }
        m_held -= used;
        std::memmove(m_in.data(), m_in.data() + used, m_held);
        return true;
    }

    void OnMessage(uint16_t type, std::string_view body) { Send(type, body); }

    void Send(uint16_t type, std::string_view body) {
        tagMsgHeader header{};
        header.identity = MSG_IDENTITY;
        header.length = htons(static_cast<uint16_t>(sizeof(header) + body.size()));
        header.version = MSG_VERSION;
        header.type = htons(type);
        m_out.append(reinterpret_cast<const char*>(&header), sizeof(header));
        m_out.append(body);
    }

    tcp::socket m_socket;
    std::array<char, 2 * BUFFER_SIZE> m_in;
    size_t m_held = 0;
    std::string m_out;
};

void Accept(tcp::acceptor& acceptor) {
    acceptor.async_accept([&acceptor](boost::system::error_code error, tcp::socket socket) {
        if (!error) std::make_shared<Session>(std::move(socket))->Read();
        Accept(acceptor);
    });
}

}  // namespace

int main(int argc, char** argv) try {
    if (argc < 2) return std::fprintf(stderr, "usage: asio_echo port\n"), 2;
    RaiseDescriptorLimit(30064);
    asio::io_context io(1);
    const auto port = static_cast<unsigned short>(std::strtol(argv[1], nullptr, 10));
    tcp::acceptor acceptor(io, tcp::endpoint(asio::ip::address_v4::loopback(), port));
    asio::signal_set signals(io, SIGTERM, SIGINT);
    signals.async_wait([&](boost::system::error_code, int) { io.stop(); });
    Accept(acceptor);
    std::printf("ready\n");
    std::fflush(stdout);
    io.run();
    return 0;
} catch (const std::exception& failure) {
    return std::fprintf(stderr, "asio_echo: %s\n", failure.what()), 1;
}
