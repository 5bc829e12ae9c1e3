#include "BackEnd.h"

#include <boost/asio/write.hpp>

#include "Platform.h"

namespace sim {

using asio::ip::tcp;
using boost::system::error_code;

const char* NameOf(ServerKind kind) {
    static constexpr const char* names[SERVERS] = {"queue", "center", "config",
                                                   "web",   "data",   "log"};
    return names[static_cast<size_t>(kind)];
}

catalog::Direction ToServer(ServerKind kind) {
    using enum catalog::Direction;
    static constexpr catalog::Direction directions[SERVERS] = {
        LobbyToQueue, LobbyToCenter, LobbyToConfig, LobbyToWeb, LobbyToData, LobbyToLog};
    return directions[static_cast<size_t>(kind)];
}

catalog::Direction ToLobby(ServerKind kind) {
    using enum catalog::Direction;
    static constexpr catalog::Direction directions[SERVERS] = {
        QueueToLobby, CenterToLobby, ConfigToLobby, WebToLobby, DataToLobby, LobbyToLog};
    return directions[static_cast<size_t>(kind)];
}

Link::Link(tcp::socket socket, BackEnd& server, unsigned number)
    : m_socket(std::move(socket)), m_server(&server), m_number(number) {
    wire::KeepPrivate(m_socket.native_handle());
    error_code ignored;
    m_socket.set_option(tcp::no_delay(true), ignored);
}

void Link::Read() {
    m_socket.async_read_some(asio::buffer(m_buffer),
                             [self = shared_from_this()](const error_code& error, size_t size) {
                                 if (self->m_server == nullptr) return;
                                 if (error) {
                                     self->m_server->OnClosed(*self, "closed by the lobby");
                                 } else {
                                     self->OnRead(size);
                                 }
                             });
}

void Link::OnRead(size_t size) {
    std::vector<Message> messages;
    const bool whole = m_splitter.Feed({m_buffer.data(), size}, messages);
    for (const Message& message : messages) {
        if (m_server == nullptr) return;  // a handler closed it
        m_server->OnMessage(*this, message);
    }
    if (m_server == nullptr) return;
    if (whole) {
        Read();
    } else {
        m_server->OnClosed(*this, "closed: not the platform's protocol");
    }
}

void Link::Send(wire::Bytes bytes) {
    if (m_server == nullptr) return;
    m_server->OnSent(*this, bytes);
    m_out.push_back(std::move(bytes));
    if (m_out.size() == 1) Write();
}

void Link::Write() {
    asio::async_write(m_socket, asio::buffer(m_out.front()),
                      [self = shared_from_this()](const error_code& error, size_t) {
                          if (error || self->m_server == nullptr) return;
                          self->m_out.pop_front();
                          if (!self->m_out.empty()) self->Write();
                      });
}

void Link::Close() {
    m_server = nullptr;
    error_code ignored;
    m_socket.close(ignored);
}

BackEnd::BackEnd(Platform& platform, ServerKind kind)
    : m_platform(platform), m_kind(kind), m_acceptor(platform.Io()), m_resume(platform.Io()) {}

BackEnd::~BackEnd() {
    for (const auto& link : m_links)
        link->Close();
}

void BackEnd::Listen(uint16_t port) {
    Open(port);
    m_port = m_acceptor.local_endpoint().port();
}

void BackEnd::Open(uint16_t port) {
    const tcp::endpoint endpoint(asio::ip::address_v4::loopback(), port);
    m_acceptor.open(tcp::v4());
    wire::KeepPrivate(m_acceptor.native_handle());
    m_acceptor.set_option(tcp::acceptor::reuse_address(true));
    m_acceptor.bind(endpoint);
    m_acceptor.listen();
    Accept();
}

void BackEnd::Accept() {
    m_acceptor.async_accept([this](const error_code& error, tcp::socket socket) {
        if (error == asio::error::operation_aborted || !m_acceptor.is_open()) return;
        if (!error) {
            const auto link = std::make_shared<Link>(std::move(socket), *this, ++m_lastNumber);
            m_links.insert(link);
            m_platform.Print(m_kind, link->Number(), "connected");
            link->Start();
        }
        Accept();
    });
}

void BackEnd::Drop(std::chrono::milliseconds refuse) {
    error_code ignored;
    m_acceptor.close(ignored);
    for (const auto& link : m_links) {
        m_platform.Print(m_kind, link->Number(), "dropped");
        link->Close();
    }
    m_links.clear();
    m_resume.cancel();
    if (refuse.count() == 0) return;
    m_resume.expires_after(refuse);
    m_resume.async_wait([this](const error_code& error) {
        if (!error) Resume();
    });
}

void BackEnd::Resume() {
    m_resume.cancel();
    if (m_acceptor.is_open()) return;
    try {
        Open(m_port);
    } catch (const boost::system::system_error& error) {  // somebody else took the port meanwhile
        m_platform.Print(m_kind, 0, std::string("cannot listen again: ") + error.what());
    }
}

void BackEnd::SendAll(const wire::Bytes& bytes, const Link* except) {
    for (const auto& link : m_links) {
        if (link.get() != except) link->Send(bytes);
    }
}

void BackEnd::On(uint16_t type, Handler handler) {
    if (!m_handlers.emplace(type, std::move(handler)).second) {
        throw std::logic_error(std::string(NameOf(m_kind)) + ": two rows for one message type");
    }
}

World& BackEnd::TheWorld() {
    return m_platform.TheWorld();
}

// Lobbies are checked by the catalogue's sizes, as a real server would check them.
bool BackEnd::SizeIsRight(const Message& message) {
    const catalog::Message* row = catalog::Find(ToServer(m_kind), message.type);
    return row == nullptr || row->varies || row->size == message.bytes.size();
}

void BackEnd::OnMessage(Link& link, const Message& message) {
    const auto direction = ToServer(m_kind);
    m_platform.Print(m_kind, link.Number(), "-> " + catalog::Describe(direction, message.bytes));
    if (m_platform.Intercepted(m_kind, link, message)) return;
    if (!SizeIsRight(message)) {
        m_platform.Print(
            m_kind, link.Number(),
            "!! wrong size, " + std::to_string(message.bytes.size()) + " bytes: ignored");
        return;
    }
    const auto handler = m_handlers.find(message.type);
    // A keep-alive is not answered: lobbies echo every one they get.
    if (handler != m_handlers.end()) handler->second(link, message);
}

void BackEnd::OnSent(const Link& link, const wire::Bytes& bytes) {
    m_platform.Print(m_kind, link.Number(), "<- " + catalog::Describe(ToLobby(m_kind), bytes));
}

void BackEnd::OnClosed(Link& link, const char* why) {
    m_platform.Print(m_kind, link.Number(), why);
    const auto self = link.shared_from_this();
    link.Close();
    m_links.erase(self);
}

}  // namespace sim
