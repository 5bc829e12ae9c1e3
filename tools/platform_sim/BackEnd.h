// What the six simulated back-end servers have in common.
#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>

#include <array>
#include <chrono>
#include <deque>
#include <functional>
#include <memory>
#include <set>
#include <unordered_map>

#include "Catalog.h"
#include "Wire.h"
#include "World.h"

namespace sim {

namespace asio = boost::asio;
using wire::Message;

enum class ServerKind : uint8_t { Queue, Center, Config, Web, Data, Log };
inline constexpr size_t SERVERS = 6;
inline constexpr std::array<ServerKind, SERVERS> ALL_SERVERS = {
    ServerKind::Queue, ServerKind::Center, ServerKind::Config,
    ServerKind::Web,   ServerKind::Data,   ServerKind::Log};

// "queue" and so on.
const char* NameOf(ServerKind kind);
catalog::Direction ToServer(ServerKind kind);
catalog::Direction ToLobby(ServerKind kind);  // the log server's own direction: it never sends

class BackEnd;
class Platform;

// The connection of one lobby to one server. Keeps itself alive while an operation is pending.
// Thread: the simulator's only, like everything here.
class Link : public std::enable_shared_from_this<Link> {
  public:
    Link(asio::ip::tcp::socket socket, BackEnd& server, unsigned number);

    void Start() { Read(); }
    // Queues whole messages; a closed link takes nothing.
    void Send(wire::Bytes bytes);
    void Send(std::vector<wire::Bytes> messages) {
        for (wire::Bytes& one : messages)
            Send(std::move(one));
    }
    template <class T>
    void Send(uint16_t type, const T& message) {
        Send(wire::Pack(type, message));
    }
    void Close();
    // Which of the server's connections it is, from 1.
    unsigned Number() const { return m_number; }

  private:
    void Read();
    void Write();
    void OnRead(size_t size);

    asio::ip::tcp::socket m_socket;
    BackEnd* m_server;  // null once closed
    unsigned m_number;
    wire::Splitter m_splitter;
    std::array<uint8_t, 16384> m_buffer;
    std::deque<wire::Bytes> m_out;
};

// One server: a listener, the lobbies connected to it and a table of what it answers. A message
// more is one row in the derived class's constructor and one function.
class BackEnd {
  public:
    BackEnd(Platform& platform, ServerKind kind);
    virtual ~BackEnd();
    BackEnd(const BackEnd&) = delete;
    BackEnd& operator=(const BackEnd&) = delete;

    // Opens the port, 0 for any free one. Throws boost::system::system_error.
    void Listen(uint16_t port);
    uint16_t Port() const { return m_port; }
    size_t Links() const { return m_links.size(); }

    // Goes away: closes every link and refuses new ones, for the time given or until Resume.
    void Drop(std::chrono::milliseconds refuse);
    void Resume();

    // To every lobby connected, but one.
    template <class T>
    void SendAll(uint16_t type, const T& message, const Link* except = nullptr) {
        SendAll(wire::Pack(type, message), except);
    }
    void SendAll(const wire::Bytes& bytes, const Link* except = nullptr);
    void SendAll(const std::vector<wire::Bytes>& messages) {
        for (const wire::Bytes& one : messages)
            SendAll(one);
    }

    // Called by links.
    void OnMessage(Link& link, const Message& message);
    void OnClosed(Link& link, const char* why);
    void OnSent(const Link& link, const wire::Bytes& bytes);

  protected:
    using Handler = std::function<void(Link&, const Message&)>;

    // Rows of the table: what to do with a message of that type. A type twice is refused.
    void On(uint16_t type, Handler handler);
    template <class S, class T>
    void On(uint16_t type, void (S::*handler)(Link&, const T&)) {
        On(type, [this, handler](Link& link, const Message& message) {
            (static_cast<S*>(this)->*handler)(link, message.As<T>());
        });
    }
    template <class S>
    void On(uint16_t type, void (S::*handler)(Link&, const Message&)) {
        On(type, [this, handler](Link& link, const Message& message) {
            (static_cast<S*>(this)->*handler)(link, message);
        });
    }
    template <class S>
    void On(uint16_t type, void (S::*handler)(Link&)) {
        On(type, [this, handler](Link& link, const Message&) {
            (static_cast<S*>(this)->*handler)(link);
        });
    }

    World& TheWorld();

    Platform& m_platform;

  private:
    void Open(uint16_t port);
    void Accept();
    bool SizeIsRight(const Message& message);

    const ServerKind m_kind;
    uint16_t m_port = 0;
    unsigned m_lastNumber = 0;
    asio::ip::tcp::acceptor m_acceptor;
    asio::steady_timer m_resume;
    std::set<std::shared_ptr<Link>> m_links;
    std::unordered_map<uint16_t, Handler> m_handlers;
};

}  // namespace sim
