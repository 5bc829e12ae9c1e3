// A player's connection to a lobby.
#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>

#include <chrono>
#include <deque>
#include <optional>
#include <stdexcept>
#include <string>

#include "Wire.h"

namespace client {

using Clock = std::chrono::steady_clock;
using wire::Message;

// The lobby closed the connection, or cannot be reached.
struct ConnectionLost : std::runtime_error {
    using std::runtime_error::runtime_error;
};
// The lobby did not answer in time.
struct TimedOut : std::runtime_error {
    using std::runtime_error::runtime_error;
};

enum class Transport { Tcp, WebSocket };

// Blocking, with a deadline on everything that waits. Over TCP the messages follow one another;
// over WebSocket each travels in one masked binary frame, while frames received may hold parts of
// messages or several. One thread.
class Connection {
  public:
    // Throws ConnectionLost or TimedOut.
    Connection(const std::string& host, uint16_t port, Transport transport,
               Clock::time_point deadline);

    // Throws ConnectionLost or TimedOut.
    void Send(uint16_t type, const void* message, size_t size);
    template <class T>
    void Send(uint16_t type, const T& message) {
        Send(type, &message, sizeof(message));
    }
    void Send(uint16_t type) { Send(type, nullptr, 0); }
    // Bytes as they are, for tests of bad input.
    void SendRaw(wire::View bytes, Clock::time_point deadline);
    void SendRaw(wire::View bytes) { SendRaw(bytes, Clock::now() + std::chrono::seconds(10)); }

    // The next message, or nothing when the deadline passes. Throws ConnectionLost.
    std::optional<Message> Receive(Clock::time_point deadline);
    // What can be had without waiting.
    std::optional<Message> Poll() { return Receive(Clock::now()); }
    // True when the lobby closes the connection before the deadline; messages are thrown away.
    bool WaitClosed(Clock::time_point deadline);

    int Handle() { return m_socket.native_handle(); }

  private:
    void Connect(const std::string& host, uint16_t port, Clock::time_point deadline);
    void Upgrade(Clock::time_point deadline);
    // Waits until the socket is ready; false when the deadline passes.
    bool Ready(short events, Clock::time_point deadline);
    // Reads what is there into m_raw; false when nothing came before the deadline.
    bool Fill(Clock::time_point deadline);
    void TakeFrames();

    boost::asio::io_context m_io;
    boost::asio::ip::tcp::socket m_socket{m_io};
    const Transport m_transport;
    std::string m_raw;  // received, not yet cut
    wire::Splitter m_splitter;
    std::deque<Message> m_messages;
};

}  // namespace client
