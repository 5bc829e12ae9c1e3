#include "Epoll.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/tcp.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <mutex>

#include "Common/Log.h"
#include "EPOLLConnection.h"
#include "Epoll/NetMetrics.h"

namespace {

using Guard = std::lock_guard<CMutex>;

constexpr unsigned kPauseUs = 1000;
constexpr int kBacklog = 2147483647;
constexpr int kSendBuffer = 4096;
// What such a socket holds is read in one turn; see ReadSome.
constexpr int kMostReceiveBuffer = 32768;
// So long may what a link has sent go without an acknowledgement. With a message every 25 s a peer
// whose machine is gone is noticed within a minute; the kernel alone takes a quarter of an hour.
constexpr int kDeadPeerMs = 30000;

bool SetOption(int socket, int level, int name, int value) {
    return ::setsockopt(socket, level, name, &value, sizeof(value)) == 0;
}

bool SetNonBlocking(int socket) {
    const int flags = ::fcntl(socket, F_GETFL);
    return flags >= 0 && ::fcntl(socket, F_SETFL, flags | O_NONBLOCK) == 0;
}

// A connect to a free port of the ephemeral range may be given that very port to come from, and
// then has met itself: it would count as connected for ever.
bool IsOwnEnd(int socket) {
    sockaddr_in local{}, remote{};
    socklen_t localSize = sizeof(local), remoteSize = sizeof(remote);
    return ::getsockname(socket, reinterpret_cast<sockaddr*>(&local), &localSize) == 0 &&
           ::getpeername(socket, reinterpret_cast<sockaddr*>(&remote), &remoteSize) == 0 &&
           local.sin_port == remote.sin_port && local.sin_addr.s_addr == remote.sin_addr.s_addr;
}

bool RefuseOwnEnd(int socket) {
    if (!IsOwnEnd(socket)) return false;
    // Without a reset the port would stay taken when its server comes.
    const linger reset{1, 0};
    ::setsockopt(socket, SOL_SOCKET, SO_LINGER, &reset, sizeof(reset));
    errno = ECONNREFUSED;
    return true;
}

// Closes without losing the error that led here.
void CloseKeepingErrno(int socket) {
    const int error = errno;
    ::close(socket);
    errno = error;
}

unsigned long PollThreadCount(unsigned long wanted) {
    const long online = ::sysconf(_SC_NPROCESSORS_ONLN);
    const unsigned long processors = online > 0 ? static_cast<unsigned long>(online) : 1;
    return wanted != 0 && wanted <= 2 * (processors + 1) ? wanted : processors;
}

}  // namespace

Epoll::~Epoll() {
    if (BeginShutdown()) {
        StopPolling();
        DestroyPools();
    }
    ::sem_destroy(&m_semHelp);
}

EPOLLContext* Epoll::OnCreateConnection() {
    return new EPOLLConnection;
}

bool Epoll::Initialize(unsigned long threads, unsigned long /*contexts*/,
                       unsigned long /*buffers*/) {
    if (m_bStart || m_bShutdown) return m_bStart && !m_bShutdown;
    m_iPoll = ::epoll_create1(EPOLL_CLOEXEC);
    // Made now: when descriptors have run out by shutdown, the poll threads must still wake.
    m_iWake = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, IPPROTO_UDP);
    if (m_iPoll < 0 || m_iWake < 0 || (WorkerReads() && !m_WorkerBell.Open(m_iPoll))) {
        __log(_ERROR, "Epoll::Initialize", "epoll_create() error, %s", std::strerror(errno));
        DestroyPools();
        return false;
    }
    // The threads read both from the start.
    m_lpEpollContext = std::make_unique<EPOLLContextManager>(this);
    m_lpEpollBuffer = std::make_unique<EPOLLBufferManager>();
    for (unsigned long i = WorkerReads() ? 1 : PollThreadCount(threads); i > 0; --i) {
        ++m_lThreadCount;
        if (!CreateThread(nullptr, 0, PollRoutine, this)) --m_lThreadCount;
    }
    if (m_lThreadCount == 0) {
        DestroyPools();
        return false;
    }
    m_bStart = true;
    return true;
}

void Epoll::Shutdown() {
    if (!BeginShutdown()) return;
    StopPolling();
    DestroyPools();
}

// Ends accepting and creating, closes every connection and waits until all are released.
bool Epoll::BeginShutdown() {
    if (!m_bStart || m_bShutdown.exchange(true)) return false;
    CloseAllConnections();
    while (LiveConnections() > 0 || m_lCreating > 0)
        ::usleep(kPauseUs);
    return true;
}

void Epoll::StopPolling() {
    m_bStopWatch = true;
    ::sem_post(&m_semHelp);
    epoll_event event{};
    event.events = EPOLLOUT;  // level-triggered: wakes every thread, one after the other
    if (::epoll_ctl(m_iPoll, EPOLL_CTL_ADD, m_iWake, &event) != 0) {
        __log(_ERROR, "Epoll::Shutdown", "epoll_ctl() error, %s", std::strerror(errno));
    }
    while (m_lThreadCount > 0)
        ::usleep(kPauseUs);
}

void Epoll::DestroyPools() {
    if (m_iWake >= 0) ::close(m_iWake);
    if (m_iPoll >= 0) ::close(m_iPoll);
    m_iWake = -1;
    m_iPoll = -1;
    m_lpEpollContext.reset();
    m_lpEpollBuffer.reset();
    m_bStart = false;
}

void Epoll::CloseAllConnections() {
    Guard guard(m_ContextLock);
    for (EPOLLConnection* context = m_lpContextList; context != nullptr;
         context = context->m_lpNextContext) {
        context->CloseContext();
    }
}

unsigned long Epoll::LiveConnections() {
    Guard guard(m_ContextLock);
    return m_ulConnectionCount;
}

EPOLLContext* Epoll::Create(bool listen, const char* host, unsigned short port,
                            unsigned long connectTimeoutMs, unsigned long maxConnections,
                            long family, long type, long protocol) {
    if (!CanCreate()) return nullptr;  // before a name is looked up, which may take seconds
    sockaddr_in addr{};
    addr.sin_family = static_cast<sa_family_t>(family);
    addr.sin_port = htons(port);
    const unsigned long address = host != nullptr ? dns2ip(host) : htonl(INADDR_ANY);
    if (address == ~0UL) {
        errno = NET_UNRESOLVED;
        return nullptr;
    }
    addr.sin_addr.s_addr = static_cast<in_addr_t>(address);
    return Create(listen, addr, connectTimeoutMs, maxConnections, family, type, protocol);
}

EPOLLContext* Epoll::Create(bool listen, sockaddr_in& addr, unsigned long connectTimeoutMs,
                            unsigned long maxConnections, long family, long type, long protocol) {
    struct Creating {
        std::atomic<long>& count;
        explicit Creating(std::atomic<long>& c) : count(c) { ++count; }
        ~Creating() { --count; }
    } const creating(m_lCreating);
    if (!CanCreate()) return nullptr;

    const int socket = OpenSocket(family, type, protocol);
    if (socket < 0) return nullptr;
    const auto* to = reinterpret_cast<const sockaddr*>(&addr);
    bool opened = true;
    if (listen) {
        if (m_bReusePort) SetOption(socket, SOL_SOCKET, SO_REUSEPORT, 1);
        opened = ::bind(socket, to, sizeof(addr)) == 0 &&
                 (protocol != IPPROTO_TCP || ::listen(socket, kBacklog) == 0);
    } else if (protocol == IPPROTO_TCP) {
        opened = Connect(socket, addr, connectTimeoutMs) && !RefuseOwnEnd(socket);
        SetOption(socket, IPPROTO_TCP, TCP_USER_TIMEOUT, kDeadPeerMs);
    }
    if (!opened || !SetNonBlocking(socket)) {
        CloseKeepingErrno(socket);
        return nullptr;
    }
    EPOLLConnection* context = m_lpEpollContext->AllocateContext(socket);
    context->m_ulMaxConnections = maxConnections;
    context->m_bBind = listen;
    context->m_lProtocol = protocol;
    context->m_addrRemote = addr;
    socklen_t size = sizeof(context->m_addrLocal);
    ::getsockname(socket, reinterpret_cast<sockaddr*>(&context->m_addrLocal), &size);
    return AddAConnection(context, context) ? context : nullptr;
}

void Epoll::SetReceiveBuffer(int bytes) {
    if (bytes > 0) m_iReceiveBuffer = std::min(bytes, kMostReceiveBuffer);
}

int Epoll::OpenSocket(long family, long type, long protocol) {
    const int socket = ::socket(static_cast<int>(family), static_cast<int>(type) | SOCK_CLOEXEC,
                                static_cast<int>(protocol));
    if (socket < 0) return -1;
    if (!SetOption(socket, SOL_SOCKET, SO_REUSEADDR, 1) ||
        !SetOption(socket, SOL_SOCKET, SO_RCVBUF, m_iReceiveBuffer) ||
        !SetOption(socket, SOL_SOCKET, SO_SNDBUF, kSendBuffer)) {
        CloseKeepingErrno(socket);
        return -1;
    }
    // Messages are small and wait for nothing; accepted sockets inherit this with the sizes.
    if (protocol == IPPROTO_TCP) SetOption(socket, IPPROTO_TCP, TCP_NODELAY, 1);
    return socket;
}

// Polls a non-blocking connect once a millisecond: that keeps it stoppable at any moment.
bool Epoll::Connect(int socket, const sockaddr_in& addr, unsigned long timeoutMs) {
    const auto* to = reinterpret_cast<const sockaddr*>(&addr);
    if (timeoutMs == 0) return ::connect(socket, to, sizeof(addr)) == 0;
    if (!SetNonBlocking(socket)) return false;
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    for (bool first = true; !m_bCancelConnects && !m_bShutdown; first = false) {
        if (::connect(socket, to, sizeof(addr)) == 0 || errno == EISCONN) return true;
        if (!first && errno != EALREADY && errno != EINPROGRESS) return false;
        if (std::chrono::steady_clock::now() >= end) {
            errno = ETIMEDOUT;
            return false;
        }
        ::usleep(kPauseUs);
    }
    errno = ECANCELED;
    return false;
}

bool Epoll::AddAConnection(EPOLLContext* context, EPOLLContext* owner) {
    auto* connection = static_cast<EPOLLConnection*>(context);
    auto* limits = static_cast<EPOLLConnection*>(owner);
    sockaddr_in* remote = connection->GetContextAddrIn(false);
    Guard list(m_ContextLock);
    Guard guard(connection->m_Lock);
    bool accept = !m_bShutdown;
    // Strictly greater, and the listener's count of itself left out: a limit of N admits N + 1.
    const unsigned long itself = context != owner ? 1 : 0;
    if (accept && limits->m_ulConnectionCount > itself &&
        limits->m_ulConnectionCount - itself > limits->m_ulMaxConnections) {
        accept = false;
        if (auto* metrics = g_NetMetrics.Get()) metrics->CountClose(NetClose::Limit);
        OnMaxLimitConnection(context, remote, accept);
    }
    if (!accept) {
        m_lpEpollContext->FreeContext(connection);
        errno = ECONNABORTED;
        return false;
    }
    connection->m_lpNextContext = m_lpContextList;
    if (m_lpContextList != nullptr) m_lpContextList->m_lpPreContext = connection;
    m_lpContextList = connection;
    ++m_ulConnectionCount;
    ++limits->m_ulConnectionCount;
    if (connection->m_bAcceptClient) {
        connection->m_lpulConnections = &limits->m_ulConnectionCount;
        OnConnectionEstablished(context, remote);
        // Marked closed too: a later CloseContext must not report it a second time.
        if (!connection->RecvData() && !connection->m_bClosed.exchange(true)) {
            OnConnectionClosed(context, true, remote);
        }
    }
    return true;
}

void Epoll::FreeConnection(EPOLLContext* context) {
    auto* connection = static_cast<EPOLLConnection*>(context);
    Guard list(m_ContextLock);
    EPOLLConnection* before = connection->m_lpPreContext;
    EPOLLConnection* behind = connection->m_lpNextContext;
    (before != nullptr ? before->m_lpNextContext : m_lpContextList) = behind;
    if (behind != nullptr) behind->m_lpPreContext = before;
    std::atomic<unsigned long>* owner = connection->m_lpulConnections;
    m_lpEpollContext->FreeContext(connection);
    --m_ulConnectionCount;
    // The listener may be gone and its context in use again: never below zero.
    if (owner != nullptr && owner->load() > 0) --*owner;
}

bool Epoll::Arm(EPOLLConnection* context, bool add) {
    epoll_event event{};
    // What comes with these flags is not over with a read that leaves room in the block.
    event.events = EPOLLIN | EPOLLPRI | EPOLLRDHUP | EPOLLET;
    event.data.u64 = reinterpret_cast<uintptr_t>(context);
    if (context->IsListener()) {
        event.events = EPOLLIN | EPOLLONESHOT | EPOLLET;
        event.data.u64 |= kListenerTag;
    }
    return ::epoll_ctl(m_iPoll, add ? EPOLL_CTL_ADD : EPOLL_CTL_MOD, context->m_socket, &event) ==
           0;
}

long atomic_add(long volatile* value, long add) {
    return __atomic_fetch_add(value, add, __ATOMIC_SEQ_CST);
}
