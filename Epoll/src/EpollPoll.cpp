// The poll threads' side of the reactor.
#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <mutex>

#include "Common/Log.h"
#include "EPOLLConnection.h"
#include "Epoll.h"
#include "LogTag.h"
#include "ThreadStack.h"

namespace {

using Guard = std::lock_guard<CMutex>;

constexpr int kMaxEvents = 1000;
// So many events at once are work for one thread more.
constexpr int kManyEvents = 64;
// A poll thread that woke for fewer events lets some more come together when it may.
constexpr int kFewEvents = 16;
constexpr long kMaxGatherUs = 1000;
constexpr long kStreamGatherUs = 100;
// What reads so much at once has more to come.
constexpr long kStreamBytes = 1024;
// How long a listener waits when descriptors have run out.
constexpr std::chrono::milliseconds kStarvedPause(50);
// One connection or listener is left for the next after so many steps: re-arming reports at once
// what is still there, and closing from another thread need not wait for a flood to end.
constexpr int kStepsPerEvent = 16;

}  // namespace

void* Epoll::PollRoutine(void* self) {
    ThreadStack stack("poll");
    static_cast<Epoll*>(self)->PollWait();
    return nullptr;
}

void Epoll::PollWait() {
    auto events = std::make_unique<epoll_event[]>(kMaxEvents);
    Paused paused;
    bool leave = false;
    while (!leave) {
        const int count = WaitForEvents(events.get(), paused);
        ResumeListeners(paused);
        bool accepted = false;
        bool stream = false;
        for (int i = 0; i < count; ++i) {
            leave |= events[i].data.u64 == 0;  // only the wake-up socket has no context
            accepted |= (events[i].data.u64 & kListenerTag) != 0;
            stream |= OnEvent(events[i], paused);
        }
        if (count > 0 && count <= kFewEvents && !accepted && !leave) Gather(stream);
    }
    events.reset();
    ::sem_post(&m_semHelp);  // the next thread sees for itself that it is to leave
    --m_lThreadCount;
}

// Lets more events come together where nobody is kept waiting by that, but no stream: its socket
// would be full long before.
void Epoll::Gather(bool stream) {
    const long time = std::min(GatherTime(), stream ? kStreamGatherUs : kMaxGatherUs);
    if (time > 0) ::usleep(static_cast<unsigned>(time));
}

// One thread waits at the epoll instance, and does alone what it can: a thread woken for every
// event costs more than reading does. The others look when there is much at once.
int Epoll::WaitForEvents(epoll_event* events, const Paused& paused) {
    const std::unique_lock lead(m_lockLead, std::try_to_lock);
    int timeout = -1;
    if (!paused.listeners.empty()) {
        timeout = static_cast<int>(kStarvedPause.count());
    } else if (!lead) {
        ::sem_wait(&m_semHelp);
        timeout = 0;
    }
    const int count = ::epoll_wait(m_iPoll, events, kMaxEvents, timeout);
    if (count < 0 && errno != EINTR) {
        __log(_ERROR, "Epoll::PollWait", "epoll_wait() error, %s", std::strerror(errno));
        ::usleep(1000);
    }
    int called = 0;
    if (count >= kManyEvents && ::sem_getvalue(&m_semHelp, &called) == 0 && called == 0) {
        ::sem_post(&m_semHelp);
    }
    return count;
}

bool Epoll::OnEvent(const epoll_event& event, Paused& paused) {
    auto* context = reinterpret_cast<EPOLLConnection*>(event.data.u64 & ~kListenerTag);
    if (context == nullptr) return false;
    if ((event.data.u64 & kListenerTag) != 0) {
        ServeListener(context, paused);
        return false;
    }
    if ((event.events & ~uint32_t{EPOLLIN}) != 0) context->m_bReadToEnd = true;
    // Else another poll thread is at it, and has its socket looked at once more.
    return context->m_ulEvents.fetch_add(1) == 0 && ServeConnection(context);
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

bool Epoll::ServeConnection(EPOLLConnection* context) {
    // The lock is held to the end: the context is not released, and so not used anew, before
    // this thread has let go of it.
    Guard guard(context->m_Lock);
    // An event may be late, the connection reported closed or its context in use for another.
    const bool live = context->m_bRecvData && !context->m_bReported && !context->IsListener();
    long bytes = 0;
    const Reading reading = live ? ReadSome(context, bytes) : Reading::Emptied;
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
Epoll::Reading Epoll::ReadSome(EPOLLConnection* context, long& bytes) {
    for (int i = 0; i < kStepsPerEvent && (!context->m_bClosed || context->m_bReadOut); ++i) {
        void* buffer = m_lpEpollBuffer->AllocateBuffer();
        const ssize_t length = ::recvfrom(context->m_socket, buffer, EPOLLBufferManager::kBlockSize,
                                          MSG_DONTWAIT, nullptr, nullptr);
        if (length > 0) {
            bytes += length;
            OnReadCompleted(context, buffer, length, context->GetContextAddrIn(false));
            // A short read has emptied the socket; what comes after it is an event of its own.
            if (length < EPOLLBufferManager::kBlockSize && !context->m_bReadToEnd) {
                return Reading::Emptied;
            }
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
