#include "Link.h"

#include <arpa/inet.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>

#include "Game/NetMessage.h"
#include "WebSocketClient.h"

namespace {

// Shared by all connections of the thread: what is read is dealt with at once.
std::array<char, 65536> s_readBuffer;

void Keep(std::string& part, std::string_view rest) {
    if (rest.empty()) {
        std::string().swap(part);  // an idle connection holds no buffer
    } else {
        part.assign(rest);
    }
}

}  // namespace

bool IsEcho(std::string_view message, size_t size) {
    return message.size() == size || message.size() == sizeof(tagMsgHeader);
}

void FillHeader(void* message, uint16_t type, size_t size) {
    tagMsgHeader header{};
    header.identity = MSG_IDENTITY;
    header.length = htons(static_cast<uint16_t>(size));
    header.version = MSG_VERSION;
    header.type = htons(type);
    std::memcpy(message, &header, sizeof(header));
}

void Link::Open(const Source& source, uint64_t number) {
    Close();
    m_fd = source.Connect(number);
    if (m_fd < 0) return m_owner.OnLost(*this, errno == EMFILE ? "no descriptor" : "connect");
    m_state = State::Connecting;
    const int window = 4096;
    if (m_slow) setsockopt(m_fd, SOL_SOCKET, SO_RCVBUF, &window, sizeof(window));
    if (!m_loop.Watch(m_fd, EPOLLOUT, this)) Lose("epoll");
}

void Link::Close() {
    if (m_fd >= 0) close(m_fd);
    m_fd = -1;
    m_state = State::Closed;
    m_waitsForRoom = false;
    for (std::string* buffer : {&m_out, &m_raw, &m_part})
        std::string().swap(*buffer);
}

void Link::Lose(const char* why) {
    Close();
    m_owner.OnLost(*this, why);
}

void Link::Send(uint16_t type, void* message, size_t size) {
    FillHeader(message, type, size);
    Append({static_cast<const char*>(message), size});
}

void Link::Append(std::string_view message) {
    if (m_webSocket && m_state == State::Open) {
        websocket::AppendFrame(m_out, message);
    } else {
        m_out.append(message);
    }
}

void Link::Flush() {
    if (m_out.empty() || m_fd < 0 || m_waitsForRoom) return;
    const ssize_t sent = send(m_fd, m_out.data(), m_out.size(), MSG_NOSIGNAL);
    if (sent < 0 && errno != EAGAIN) return;  // the read side will report the loss
    if (sent == static_cast<ssize_t>(m_out.size())) {
        // The usual case: keep the memory of a busy connection, not of an idle one.
        m_out.clear();
        if (m_out.capacity() > 16384) m_out.shrink_to_fit();
        return;
    }
    if (sent > 0) m_out.erase(0, static_cast<size_t>(sent));
    m_waitsForRoom = true;
    m_loop.Change(m_fd, EPOLLIN | EPOLLOUT, this);
}

void Link::ReadOn() {
    if (m_fd >= 0)
        m_loop.Change(m_fd, m_waitsForRoom ? EPOLLIN | EPOLLOUT : uint32_t{EPOLLIN}, this);
}

void Link::OnReady(uint32_t events) {
    if (m_state == State::Closed) return;
    if (m_state == State::Connecting) return OnConnected();
    if ((events & EPOLLOUT) != 0 && m_waitsForRoom) {
        m_waitsForRoom = false;
        m_loop.Change(m_fd, m_slow ? 0 : uint32_t{EPOLLIN}, this);
        Flush();
    }
    if ((events & (EPOLLIN | EPOLLHUP | EPOLLERR)) != 0) Read();
}

void Link::OnConnected() {
    int error = 0;
    socklen_t size = sizeof(error);
    getsockopt(m_fd, SOL_SOCKET, SO_ERROR, &error, &size);
    if (error != 0) return Lose(error == ECONNREFUSED ? "refused" : "connect");
    m_loop.Change(m_fd, EPOLLIN, this);
    if (!m_webSocket) {
        m_state = State::Open;
        return m_owner.OnOpen(*this);
    }
    m_state = State::Upgrading;
    Append(websocket::UpgradeRequest());
    Flush();
}

void Link::Read() {
    constexpr size_t kSlowPiece = 512;
    const ssize_t got =
        recv(m_fd, s_readBuffer.data(), m_slow ? kSlowPiece : s_readBuffer.size(), 0);
    if (m_slow && got > 0) m_loop.Change(m_fd, m_waitsForRoom ? uint32_t{EPOLLOUT} : 0, this);
    if (got < 0 && (errno == EAGAIN || errno == EINTR)) return;
    if (got <= 0) return Lose(got == 0 ? "closed by server" : "reset");
    OnBytes({s_readBuffer.data(), static_cast<size_t>(got)});
    if (m_state == State::Open) m_owner.OnDrained(*this);
}

void Link::OnBytes(std::string_view bytes) {
    if (m_state == State::Upgrading) return OnUpgradeAnswer(bytes);
    if (m_webSocket) return OnFrames(bytes);
    OnStream(bytes);
}

void Link::OnUpgradeAnswer(std::string_view bytes) {
    m_raw.append(bytes);
    size_t size = 0;
    switch (websocket::ReadUpgrade(m_raw, size)) {
        case websocket::Upgrade::Incomplete:
            return;
        case websocket::Upgrade::Refused:
            return Lose("upgrade refused");
        case websocket::Upgrade::Accepted:
            break;
    }
    const std::string behind = m_raw.substr(size);
    m_raw.clear();
    m_state = State::Open;
    m_owner.OnOpen(*this);
    if (!behind.empty() && m_state == State::Open) OnFrames(behind);
}

void Link::OnFrames(std::string_view bytes) {
    static std::string s_payload;
    std::string joined;
    if (!m_raw.empty()) {
        joined = m_raw.append(bytes);
        bytes = joined;
    }
    s_payload.clear();
    bool closed = false;
    const size_t used = websocket::OpenFrames(bytes, s_payload, closed);
    Keep(m_raw, bytes.substr(used));
    OnStream(s_payload);
    if (closed && m_state == State::Open) Lose("closed by server");
}

void Link::OnStream(std::string_view bytes) {
    std::string joined;
    if (!m_part.empty()) {
        joined = m_part.append(bytes);
        bytes = joined;
    }
    const size_t used = Cut(bytes);
    if (m_state == State::Open) Keep(m_part, bytes.substr(used));
}

size_t Link::Cut(std::string_view bytes) {
    size_t used = 0;
    while (m_state == State::Open && bytes.size() - used >= sizeof(tagMsgHeader)) {
        tagMsgHeader header;
        std::memcpy(&header, bytes.data() + used, sizeof(header));
        const size_t length = ntohs(header.length);
        if (header.identity != MSG_IDENTITY || length < sizeof(header)) {
            Lose("bad header");
            break;
        }
        if (bytes.size() - used < length) break;
        m_owner.OnMessage(*this, ntohs(header.type), bytes.substr(used, length));
        used += length;
    }
    return used;
}
