// Serving the reactor's events: accepting, reading, reporting closes.
#include <sys/epoll.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstring>

#include "Common/Log.h"
#include "Common/Text.h"
#include "EPOLLConnection.h"
#include "Epoll.h"

namespace {

using Guard = LockGuard<CMutex>;

// What reads so much at once has more to come.
constexpr long kStreamBytes = 1024;
// One connection or listener is left for the next after so many steps: re-arming reports at once
// what is still there, and closing from another thread need not wait for a flood to end.
constexpr int kStepsPerEvent = 16;

}  // namespace

bool Epoll::OnEvent(const epoll_event& event, TakenEvents& taken) {
    auto* context = reinterpret_cast<EPOLLConnection*>(event.data.u64 & ~kListenerTag);
    if (context == nullptr) return false;
    if ((event.data.u64 & kListenerTag) != 0) {
        ServeListener(context, taken.paused);
        return false;
    }
    if ((event.events & ~uint32_t{EPOLLIN}) != 0) context->m_bReadToEnd = true;
    // Where the count was not 0, another poll thread is at this connection; it sees by the count
    // that something came meanwhile, and looks at the socket once more.
    return context->m_ulEvents.fetch_add(1) == 0 && ServeConnection(context, taken.blocksPerTurn);
}

void Epoll::ServeListener(EPOLLConnection* listener, Paused& paused) {
    const Accepting result = AcceptClients(listener);
    // Not while accepting: the reactor's lock comes before a context's.
    Guard guard(listener->m_Lock);
    if (result == Accepting::Pause) {
        paused.listeners.push_back(listener);
        paused.until = std::chrono::steady_clock::now() + kStarvedPause;
    } else if (result == Accepting::Closed) {
        OnConnectionClosed(listener, listener->m_bClosed, listener->GetContextAddrIn(true));
    } else if (!Arm(listener, false)) {
        OnConnectionClosed(listener, true, listener->GetContextAddrIn(true));
    }
}

void Epoll::ResumeListeners(Paused& paused) {
    if (paused.listeners.empty() || std::chrono::steady_clock::now() < paused.until) return;
    for (EPOLLConnection* listener : paused.listeners) {
        Guard guard(listener->m_Lock);
        if (!Arm(listener, false)) {
            OnConnectionClosed(listener, true, listener->GetContextAddrIn(true));
        }
    }
    paused.listeners.clear();
}

Epoll::Accepting Epoll::AcceptClients(EPOLLConnection* listener) {
    for (int i = 0; i < kStepsPerEvent * 4; ++i) {
        if (listener->m_bClosed) return Accepting::Closed;
        sockaddr_in remote{};
        socklen_t size = sizeof(remote);
        const int socket = ::accept4(listener->m_socket, reinterpret_cast<sockaddr*>(&remote),
                                     &size, SOCK_NONBLOCK | SOCK_CLOEXEC);
        if (socket < 0) return OnAcceptError(listener, errno);
        m_bStarved = false;
        AddClient(socket, remote, listener);
    }
    return Accepting::Rearm;
}

Epoll::Accepting Epoll::OnAcceptError(EPOLLConnection* listener, int error) {
    switch (error) {
        case EAGAIN:
        case EINTR:
        case ECONNABORTED:  // that client has gone; the next may be waiting
        case EPROTO:
            return Accepting::Rearm;
        case EMFILE:
        case ENFILE:
        case ENOBUFS:
        case ENOMEM:
            if (!m_bStarved.exchange(true)) {
                __log(_ERROR, "Epoll::PollWait", "context[%08x], accept() error, %s, waiting",
                      PtrTag(listener), std::strerror(error));
            }
            return Accepting::Pause;
        default:
            return Accepting::Closed;
    }
}

void Epoll::AddClient(int socket, const sockaddr_in& remote, EPOLLConnection* listener) {
    EPOLLConnection* context = m_lpEpollContext->AllocateContext(socket);
    context->m_addrRemote = remote;
    context->m_addrLocal = listener->m_addrLocal;
    if (context->m_addrLocal.sin_addr.s_addr == htonl(INADDR_ANY)) {  // which of all, then
        socklen_t size = sizeof(context->m_addrLocal);
        ::getsockname(socket, reinterpret_cast<sockaddr*>(&context->m_addrLocal), &size);
    }
    context->m_bAcceptClient = true;
    AddAConnection(context, listener);
}

bool Epoll::ServeConnection(EPOLLConnection* context, int blocks) {
    // The lock is held to the end: the context is not released, and so not used anew, before
    // this thread has let go of it.
    Guard guard(context->m_Lock);
    // An event may be late, the connection reported closed or its context in use for another.
    const bool live = context->m_bRecvData && !context->m_bReported && !context->IsListener();
    long bytes = 0;
    const Reading reading = live ? ReadSome(context, blocks, bytes) : Reading::Emptied;
    const bool missed = context->m_ulEvents.exchange(0) != 1;
    if (!live) return false;
    if (reading == Reading::Ended || context->m_bClosed) {
        ReportClosed(context, context->m_bClosed);
    } else if ((reading == Reading::Left || missed) && !Arm(context, false)) {
        ReportClosed(context, true);
    }
    return bytes >= kStreamBytes;
}

void Epoll::ReportClosed(EPOLLConnection* context, bool closed) {
    context->m_bReported = true;
    OnConnectionClosed(context, closed, context->GetContextAddrIn(false));
}

// Reads what is there, within bounds, and adds up the bytes. A context that is closed is read no
// further, whatever the kernel still holds for it, unless its sending failed: the bounds are above
// what a socket of the framework can hold, so what had come by then is delivered.
Epoll::Reading Epoll::ReadSome(EPOLLConnection* context, int blocks, long& bytes) {
    if (context->m_bAcceptClient && !context->m_bClosed && !MayReadClients()) return Reading::Left;
    if (context->m_bReadOut) blocks = kStepsPerEvent;
    for (int i = 0;
         i < kStepsPerEvent && blocks > 0 && (!context->m_bClosed || context->m_bReadOut); ++i) {
        void* buffer = m_lpEpollBuffer->AllocateBuffer();
        const ssize_t length = ::recvfrom(context->m_socket, buffer, EPOLLBufferManager::kBlockSize,
                                          MSG_DONTWAIT, nullptr, nullptr);
        if (length > 0) {
            bytes += length;
            OnReadCompleted(context, buffer, length, &context->m_addrRemote);
            // A short read has emptied the socket; what comes after it is an event of its own.
            if (length < EPOLLBufferManager::kBlockSize && !context->m_bReadToEnd) {
                return Reading::Emptied;
            }
            if (length == EPOLLBufferManager::kBlockSize) --blocks;
            continue;
        }
        const int error = errno;
        m_lpEpollBuffer->FreeBuffer(buffer);
        if (length < 0 && error == EAGAIN) return Reading::Emptied;
        if (length < 0 && error == EINTR) return Reading::Left;
        context->m_bEndOfStream = true;
        return Reading::Ended;
    }
    return Reading::Left;
}
