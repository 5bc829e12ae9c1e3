#include "Connection.h"

#include <poll.h>

#include <algorithm>
#include <array>
#include <cerrno>

#include "WebSocketClient.h"

namespace client {
namespace {

using boost::asio::ip::tcp;
using boost::system::error_code;
using std::chrono::milliseconds;

wire::View BytesOf(std::string_view text) {
    return {reinterpret_cast<const uint8_t*>(text.data()), text.size()};
}

}  // namespace

Connection::Connection(const std::string& host, uint16_t port, Transport transport,
                       Clock::time_point deadline)
    : m_transport(transport) {
    Connect(host, port, deadline);
    if (transport == Transport::WebSocket) Upgrade(deadline);
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

void Connection::Upgrade(Clock::time_point deadline) {
    SendRaw(BytesOf(websocket::UpgradeRequest()), deadline);
    size_t size = 0;
    auto state = websocket::Upgrade::Incomplete;
    while ((state = websocket::ReadUpgrade(m_raw, size)) == websocket::Upgrade::Incomplete) {
        if (!Fill(deadline)) throw TimedOut("no answer to the WebSocket upgrade");
    }
    if (state == websocket::Upgrade::Refused) {
        throw ConnectionLost("the lobby refused the WebSocket upgrade");
    }
    m_raw.erase(0, size);
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
    if (m_transport == Transport::Tcp) return SendRaw(bytes);
    std::string frame;
    websocket::AppendFrame(frame, {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
    SendRaw(BytesOf(frame));
}

bool Connection::Fill(Clock::time_point deadline) {
    std::array<char, 16384> buffer;
    for (;;) {
        error_code error;
        const size_t size = m_socket.read_some(boost::asio::buffer(buffer), error);
        if (!error) {
            m_raw.append(buffer.data(), size);
            return true;
        }
        if (error != boost::asio::error::would_block) {
            throw ConnectionLost("the lobby closed the connection");
        }
        if (!Ready(POLLIN, deadline)) return false;
    }
}

// A close frame says no more than the end of the connection, which follows it.
void Connection::TakeFrames() {
    std::string stream;
    bool closed = false;
    if (m_transport == Transport::Tcp) {
        stream.swap(m_raw);
    } else {
        m_raw.erase(0, websocket::OpenFrames(m_raw, stream, closed));
    }
    std::vector<Message> messages;
    if (!m_splitter.Feed(BytesOf(stream), messages)) {
        throw ConnectionLost("the lobby sent something that is no message");
    }
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

}  // namespace client
