#include "Connection.h"

#include <poll.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <random>

namespace client {
namespace {

using boost::asio::ip::tcp;
using boost::system::error_code;
using std::chrono::milliseconds;

// One masked binary frame, as a browser sends it.
wire::Bytes Frame(wire::View payload) {
    static thread_local std::minstd_rand random(std::random_device{}());
    wire::Bytes frame;
    frame.reserve(payload.size() + 8);
    frame.push_back(0x82);
    if (payload.size() < 126) {
        frame.push_back(static_cast<uint8_t>(0x80 | payload.size()));
    } else {
        frame.insert(frame.end(), {0x80 | 126, static_cast<uint8_t>(payload.size() >> 8),
                                   static_cast<uint8_t>(payload.size())});
    }
    const auto key = static_cast<uint32_t>(random());
    for (int shift = 0; shift < 32; shift += 8)
        frame.push_back(static_cast<uint8_t>(key >> shift));
    const size_t mask = frame.size() - 4;
    for (size_t i = 0; i < payload.size(); ++i) {
        frame.push_back(static_cast<uint8_t>(payload[i] ^ frame[mask + i % 4]));
    }
    return frame;
}

// Where a frame's payload lies; nothing while the frame is not complete.
struct Extent {
    size_t start;
    size_t size;
};
std::optional<Extent> Payload(wire::View raw) {
    if (raw.size() < 2) return {};
    const size_t shortLength = raw[1] & 0x7F;
    const size_t lengthBytes = shortLength == 126 ? 2 : shortLength == 127 ? 8 : 0;
    if (raw.size() < 2 + lengthBytes) return {};
    uint64_t size = lengthBytes ? 0 : shortLength;
    for (size_t i = 0; i < lengthBytes; ++i)
        size = size << 8 | raw[2 + i];
    if (raw.size() - 2 - lengthBytes < size) return {};
    return Extent{2 + lengthBytes, static_cast<size_t>(size)};
}

}  // namespace

Connection::Connection(const std::string& host, uint16_t port, Transport transport,
                       Clock::time_point deadline)
    : m_transport(transport) {
    Connect(host, port, deadline);
    if (transport == Transport::WebSocket) Upgrade(host, deadline);
}

void Connection::Connect(const std::string& host, uint16_t port, Clock::time_point deadline) {
    error_code error;
    tcp::resolver resolver(m_io);
    const auto found = resolver.resolve(tcp::v4(), host, std::to_string(port), error);
    if (error) throw ConnectionLost("cannot find " + host + ": " + error.message());
    m_socket.open(tcp::v4());
    wire::KeepPrivate(Handle());
    m_socket.set_option(tcp::no_delay(true));
    m_socket.non_blocking(true);
    m_socket.connect(*found.begin(), error);
    if (error == boost::asio::error::in_progress || error == boost::asio::error::would_block) {
        if (!Ready(POLLOUT, deadline)) throw TimedOut("connecting took too long");
        int failure = 0;
        socklen_t size = sizeof(failure);
        getsockopt(Handle(), SOL_SOCKET, SO_ERROR, &failure, &size);
        error.assign(failure, boost::system::system_category());
    }
    if (error) {
        throw ConnectionLost("cannot connect to " + host + ":" + std::to_string(port) + ": " +
                             error.message());
    }
}

void Connection::Upgrade(const std::string& host, Clock::time_point deadline) {
    const std::string request = "GET / HTTP/1.1\r\nHost: " + host +
                                "\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
                                "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n"
                                "Sec-WebSocket-Version: 13\r\n\r\n";
    SendRaw({reinterpret_cast<const uint8_t*>(request.data()), request.size()}, deadline);
    static constexpr std::string_view end = "\r\n\r\n";
    for (;;) {
        const auto at = std::search(m_raw.begin(), m_raw.end(), end.begin(), end.end());
        if (at != m_raw.end()) {
            const std::string answer(m_raw.begin(), at);
            m_raw.erase(m_raw.begin(), at + static_cast<long>(end.size()));
            if (answer.find(" 101 ") == std::string::npos ||
                answer.find("s3pPLMBiTxaQ9kYGzzhZRbK+xOo=") == std::string::npos) {
                throw ConnectionLost("the lobby refused the WebSocket upgrade");
            }
            return;
        }
        if (!Fill(deadline)) throw TimedOut("no answer to the WebSocket upgrade");
    }
}

bool Connection::Ready(short events, Clock::time_point deadline) {
    for (;;) {
        const auto left = std::chrono::ceil<milliseconds>(deadline - Clock::now()).count();
        pollfd one{Handle(), events, 0};
        const int ready = poll(&one, 1, static_cast<int>(std::clamp<long>(left, 0, 3600000)));
        if (ready > 0) return true;
        if (ready == 0) return false;
        if (errno != EINTR) throw ConnectionLost("poll failed");
    }
}

void Connection::SendRaw(wire::View bytes, Clock::time_point deadline) {
    while (!bytes.empty()) {
        error_code error;
        const size_t sent =
            m_socket.write_some(boost::asio::buffer(bytes.data(), bytes.size()), error);
        if (error == boost::asio::error::would_block) {
            if (!Ready(POLLOUT, deadline)) throw TimedOut("the lobby does not read");
            continue;
        }
        if (error) throw ConnectionLost("the lobby closed the connection");
        bytes = bytes.subspan(sent);
    }
}

void Connection::Send(uint16_t type, const void* message, size_t size) {
    const wire::Bytes bytes = wire::Pack(type, message, size);
    SendRaw(m_transport == Transport::WebSocket ? Frame(bytes) : bytes);
}

bool Connection::Fill(Clock::time_point deadline) {
    std::array<uint8_t, 16384> buffer;
    for (;;) {
        error_code error;
        const size_t size = m_socket.read_some(boost::asio::buffer(buffer), error);
        if (!error) {
            m_raw.insert(m_raw.end(), buffer.begin(), buffer.begin() + static_cast<long>(size));
            return true;
        }
        if (error != boost::asio::error::would_block) {
            throw ConnectionLost("the lobby closed the connection");
        }
        if (!Ready(POLLIN, deadline)) return false;
    }
}

void Connection::TakeFrames() {
    std::vector<Message> messages;
    bool whole = true;
    if (m_transport == Transport::Tcp) {
        whole = m_splitter.Feed(m_raw, messages);
        m_raw.clear();
    } else {
        while (const auto payload = Payload(m_raw)) {
            const wire::View raw(m_raw);
            whole = whole && m_splitter.Feed(raw.subspan(payload->start, payload->size), messages);
            m_raw.erase(m_raw.begin(),
                        m_raw.begin() + static_cast<long>(payload->start + payload->size));
        }
    }
    if (!whole) throw ConnectionLost("the lobby sent something that is no message");
    std::move(messages.begin(), messages.end(), std::back_inserter(m_messages));
}

std::optional<Message> Connection::Receive(Clock::time_point deadline) {
    TakeFrames();  // frames that came together with the upgrade's answer
    while (m_messages.empty()) {
        if (!Fill(deadline)) return {};
        TakeFrames();
    }
    Message message = std::move(m_messages.front());
    m_messages.pop_front();
    return message;
}

bool Connection::WaitClosed(Clock::time_point deadline) {
    try {
        while (Receive(deadline)) {
        }
        return false;
    } catch (const ConnectionLost&) {
        return true;
    }
}

void Connection::Close() {
    error_code ignored;
    m_socket.close(ignored);
}

}  // namespace client
