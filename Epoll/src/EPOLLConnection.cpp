// A socket's life: made by the pool, Initialize for every use, registered with the poll by
// RecvData, closed for reading by CloseContext, given back by the sender once its ring is settled;
// Release closes the descriptor, and the object waits in the pool for the next.
//
// A frame's bytes pass through two buffers, for bytes may end anywhere: m_szBuffer of this class
// holds what has come of a WebSocket frame that is not whole yet, m_szBuffer of EPOLLBuffer what
// the payloads have brought of a message. A plain connection uses the second alone. Going out there
// is no buffer: m_Frame remembers how far a frame was taken by the socket, and the next attempt
// goes on from there.
#include "EPOLLConnection.h"

#include <arpa/inet.h>
#include <net/if.h>
#include <netinet/tcp.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <vector>

#include "Epoll.h"

using Guard = LockGuard<CMutex>;

EPOLLConnection::~EPOLLConnection() {
    if (m_socket >= 0) ::close(m_socket);
}

void EPOLLConnection::Initialize() {
    m_lLength = 0;
    m_socket = -1;
    m_ulConnectionCount = 0;
    m_lpulConnections = nullptr;
    m_ulMaxConnections = 0;
    m_bAcceptClient = false;
    m_bBind = false;
    m_bEndOfStream = false;
    m_lProtocol = IPPROTO_TCP;
    m_addrLocal = {};
    m_addrRemote = {};
    m_lpPreContext = nullptr;
    m_lpNextContext = nullptr;
    SetWebSocketStatus(WEBSOCKET_NONE);
    m_Frame.Reset();
    m_bClosed = false;
}

void EPOLLConnection::Release() {
    CloseSocket();
}

sockaddr_in* EPOLLConnection::GetContextAddrIn(bool local) {
    return local ? &m_addrLocal : &m_addrRemote;
}

bool EPOLLConnection::RecvData() {
    Guard guard(m_Lock);
    if (m_bRecvData || m_bClosed) return m_bRecvData && !m_bClosed;
    if (m_lProtocol != IPPROTO_TCP) m_bReadToEnd = true;
    m_bRecvData = m_lpEPOLLNet->Arm(this, true);
    return m_bRecvData;
}

void EPOLLConnection::CloseContext() {
    Guard guard(m_Lock);
    if (m_bClosed.exchange(true)) return;
    ::shutdown(m_socket, SHUT_RD);
    if (!m_bRecvData) m_lpEPOLLNet->OnConnectionClosed(this, true, &m_addrLocal);
}

void EPOLLConnection::CloseAfterReading() {
    m_bReadOut = true;
    EPOLLConnection::CloseContext();
}

void EPOLLConnection::CloseSocket() {
    Guard guard(m_Lock);
    if (m_socket >= 0) {
        // Closing a socket with unread bytes resets it, and the reset would overtake what was
        // written last: throw away what is there first.
        constexpr size_t kDiscard = 65536;
        for (int i = 0; i < 4 && !m_bEndOfStream && !m_bBind; ++i) {
            if (::recv(m_socket, nullptr, kDiscard, MSG_TRUNC | MSG_DONTWAIT) <= 0) break;
        }
        ::close(m_socket);
    }
    m_socket = -1;
    m_bClosed = true;
    // Here and not with the others at the next use: a late event may be looking at them.
    m_bRecvData = false;
    m_bReported = false;
    m_bReadToEnd = false;
    m_bReadOut = false;
    SetWebSocketStatus(WEBSOCKET_NONE);
    std::memset(m_szBuffer, 0, static_cast<size_t>(m_lLength));
    m_lLength = 0;
}

long EPOLLConnection::SendData(void* data, long length, bool sendAll, sockaddr_in* addr) {
    if (GetWebStocketStatus() != WEBSOCKET_UPGRADED) {
        return SendWebSocketData(data, length, length, sendAll, addr);
    }
    if (!sendAll) return SendFramePart(static_cast<const char*>(data), length);
    uint8_t head[WEBSOCKET_MAX_HEAD];
    const size_t headSize = BuildWebSocketHead(static_cast<uint64_t>(length), head);
    std::vector<char> frame(head, head + headSize);
    const char* payload = static_cast<const char*>(data);
    frame.insert(frame.end(), payload, payload + length);
    return SendWebSocketData(frame.data(), static_cast<long>(frame.size()), length, true, addr);
}

long EPOLLConnection::SendData(void* data, long length, bool sendAll, char* host,
                               unsigned short port) {
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_port = htons(port);
    addr.sin_addr.s_addr = static_cast<in_addr_t>(dns2ip(host));
    return SendData(data, length, sendAll, &addr);
}

long EPOLLConnection::SendWebSocketData(void* data, long total, long payload, bool sendAll,
                                        sockaddr_in* addr) {
    // A connected stream takes no address.
    const auto* to = m_lProtocol == IPPROTO_TCP ? nullptr : reinterpret_cast<sockaddr*>(addr);
    const socklen_t toSize = to != nullptr ? sizeof(*addr) : 0;
    const char* from = static_cast<const char*>(data);
    long sent = 0;
    do {
        const ssize_t n = ::sendto(m_socket, from + sent, static_cast<size_t>(total - sent),
                                   MSG_NOSIGNAL, to, toSize);
        if (!sendAll) return n;
        if (n >= 0) {
            sent += n;
        } else if (errno == EAGAIN) {
            ::usleep(1);
        } else if (errno != EINTR) {
            return -1;
        }
    } while (sent < total);
    return payload;
}

// One attempt to write the rest of the frame begun, or a new frame around all of the data.
long EPOLLConnection::SendFramePart(const char* data, long length) {
    if (!m_Frame.Begun()) m_Frame.Begin(length);
    iovec parts[2];
    parts[0] = {m_Frame.head + m_Frame.headSent, static_cast<size_t>(m_Frame.HeadLeft())};
    parts[1] = {const_cast<char*>(data),
                static_cast<size_t>(std::min(length, m_Frame.payloadLeft))};
    const long sent = SendParts(parts, 2);
    if (sent < 0) return -1;

    const long head = std::min(sent, m_Frame.HeadLeft());
    m_Frame.headSent += head;
    m_Frame.payloadLeft -= sent - head;
    if (m_Frame.HeadLeft() == 0 && m_Frame.payloadLeft == 0) {
        m_Frame.Reset();
    } else if (sent == head) {  // the socket is full, and took nothing of the payload
        errno = EAGAIN;
        return -1;
    }
    return sent - head;
}

long EPOLLConnection::SendBatched(SendBatch& batch) {
    iovec* parts = batch.Parts();
    if (batch.PartCount() != 1) return SendParts(parts, static_cast<size_t>(batch.PartCount()));
    return ::send(m_socket, parts->iov_base, parts->iov_len, MSG_NOSIGNAL | MSG_DONTWAIT);
}

long EPOLLConnection::SendParts(iovec* parts, size_t count) {
    msghdr message{};
    message.msg_iov = parts;
    message.msg_iovlen = count;
    return ::sendmsg(m_socket, &message, MSG_NOSIGNAL | MSG_DONTWAIT);
}

long EPOLLConnection::Shutdown(long how) {
    return ::shutdown(m_socket, static_cast<int>(how));
}

long EPOLLConnection::setsockopt(long level, long name, const char* value, long length) {
    return ::setsockopt(m_socket, static_cast<int>(level), static_cast<int>(name), value,
                        static_cast<socklen_t>(length));
}

long EPOLLConnection::getsockopt(long level, long name, char* value, long* length) {
    auto size = static_cast<socklen_t>(*length);
    const int result =
        ::getsockopt(m_socket, static_cast<int>(level), static_cast<int>(name), value, &size);
    *length = size;
    return result;
}

long EPOLLConnection::SetKeepAlive(unsigned long on, unsigned long idle, unsigned long interval,
                                   unsigned long count) {
    struct Option {
        int level, name;
        unsigned long value;
    };
    const Option options[] = {{SOL_SOCKET, SO_KEEPALIVE, on},
                              {IPPROTO_TCP, TCP_KEEPIDLE, idle},
                              {IPPROTO_TCP, TCP_KEEPINTVL, interval},
                              {IPPROTO_TCP, TCP_KEEPCNT, count}};
    long result = 0;
    for (const Option& option : options) {
        const int value = static_cast<int>(option.value);
        result = ::setsockopt(m_socket, option.level, option.name, &value, sizeof(value));
        if (result != 0) break;
    }
    return result;
}

long EPOLLConnection::SetCustomHeader() {
    const int on = 1;
    return ::setsockopt(m_socket, IPPROTO_IP, IP_HDRINCL, &on, sizeof(on));
}

long EPOLLConnection::SetRecvAll(char* interfaceName) {
    ifreq request{};
    if (interfaceName == nullptr) return -1;
    std::strncpy(request.ifr_name, interfaceName, sizeof(request.ifr_name) - 1);
    const int result = ::ioctl(m_socket, SIOCGIFFLAGS, &request);
    if (result < 0) return result;
    request.ifr_flags = static_cast<short>(request.ifr_flags | IFF_PROMISC);
    return ::ioctl(m_socket, SIOCSIFFLAGS, &request);
}
