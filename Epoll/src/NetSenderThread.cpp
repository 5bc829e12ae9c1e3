// The send thread of NetSender.
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <memory>

#include "Common/Clock.h"
#include "Common/Log.h"
#include "EPOLLBuffer.h"
#include "Epoll.h"
#include "LogTag.h"
#include "NetSender.h"
#include "ThreadStack.h"

namespace {

constexpr int kMaxEvents = 1000;
// How often closed connections are looked at whose peers do not read.
constexpr int kTickMs = 50;
constexpr int kPassGuard = 5000;
constexpr int kGuardSeconds = 10;

}  // namespace

void* NetSender::SendThread(void* self) {
    ThreadStack stack("send");
    static_cast<NetSender*>(self)->OnSend();
    return nullptr;
}

void NetSender::OnSend() {
    auto events = std::make_unique<epoll_event[]>(kMaxEvents);
    while (!m_bExit) {
        const int count = ::epoll_wait(m_iSendPoll, events.get(), kMaxEvents, kTickMs);
        for (int i = 0; i < count; ++i) {
            auto* context = static_cast<EPOLLBuffer*>(events[i].data.ptr);
            if (context != nullptr) Drain(context);  // the wake-up has none
        }
        if (m_lClosing > 0) GiveUpClosed();
    }
    events.reset();
    --m_lThreadCount;
}

// Writes the ring until it is empty, the socket is full or the close marker is reached.
void NetSender::Drain(EPOLLBuffer* context) {
    if (context->m_lSendCount <= 0) return;
    context->m_bBlocked = false;
    int passes = 0;
    do {
        if (++passes > kPassGuard) {
            __log(_ERROR, "NetSender::OnSend", "iTestBug > 5000");
            passes = 0;
            GuardSleep();
        }
        tagSendBuffer* entry = context->m_lpSendBuffer[context->m_lCurrentPos];
        if (entry == nullptr) {
            ReleaseClosed(context);
            return;
        }
        const Progress progress = SendEntry(context, entry);
        if (progress == Progress::Blocked) {
            context->m_bBlocked = true;
            if (!Arm(context, false)) __log(_ALL, "NetSender::OnSend", "epoll_ctl(1) error");
            return;
        }
        FinishEntry(context, entry);
        if (progress == Progress::Failed) {
            context->Shutdown(SHUT_WR);
            context->CloseContext();
        }
        // At 0 the next producer hands the ring over anew: nothing of it may be touched then.
    } while (context->m_lSendCount.fetch_sub(1) > 1);
}

NetSender::Progress NetSender::SendEntry(EPOLLBuffer* context, tagSendBuffer* entry) {
    for (;;) {
        // A frame that has begun must become whole, whatever became of a shared buffer meanwhile.
        const long owed = context->FrameLeft();
        const bool framed = context->GetWebStocketStatus() == WEBSOCKET_UPGRADED;
        const long left = owed >= 0 ? owed : static_cast<long>(entry->ulLength);
        const long sent =
            context->SendData(entry->szSendBuffer + context->m_lSendPos, left, false, nullptr);
        if (sent < 0) {
            if (errno == EINTR) continue;
            return errno == EAGAIN ? Progress::Blocked : Progress::Failed;
        }
        if (sent >= left) return Progress::Sent;
        context->m_lSendPos += sent;
        // The length belongs to the buffer, not to the connection: a partial send shortens what
        // the other holders of a shared buffer will send. That is required.
        if (!framed) entry->ulLength -= static_cast<uint64_t>(sent);
    }
}

void NetSender::FinishEntry(EPOLLBuffer* context, tagSendBuffer* entry) {
    context->m_lCurrentPos = (context->m_lCurrentPos + 1) % m_ulMaxSendCount;
    context->m_lSendPos = 0;
    DropReference(entry);
}

void NetSender::ReleaseClosed(EPOLLBuffer* context) {
    __log(_ALL, "NetSender::OnSend", "release node[%08x]", PtrTag(context->Node()));
    {
        const std::lock_guard guard(m_lockClosing);
        UnlinkClosing(context);
    }
    context->m_lSendCount = 0;  // the marker is no buffer
    ::epoll_ctl(m_iSendPoll, EPOLL_CTL_DEL, context->Socket(), nullptr);
    m_lpNetProvider->ReleaseContext(context);
}

// A deliberate brake for a ring gone mad; it does not hold up the end of the thread.
void NetSender::GuardSleep() {
    constexpr int kSliceMs = 100;
    for (int i = 0; i < kGuardSeconds * 1000 / kSliceMs && !m_bExit; ++i) {
        ::usleep(kSliceMs * 1000);
    }
}

void NetSender::LinkClosing(EPOLLBuffer* context) {
    context->m_lCloseTime = ClockUptime();
    context->m_lpPriorClosing = nullptr;
    context->m_lpNextClosing = m_lpClosingList;
    if (m_lpClosingList != nullptr) m_lpClosingList->m_lpPriorClosing = context;
    m_lpClosingList = context;
    ++m_lClosing;
}

void NetSender::UnlinkClosing(EPOLLBuffer* context) {
    EPOLLBuffer* before = context->m_lpPriorClosing;
    EPOLLBuffer* behind = context->m_lpNextClosing;
    (before != nullptr ? before->m_lpNextClosing : m_lpClosingList) = behind;
    if (behind != nullptr) behind->m_lpPriorClosing = before;
    --m_lClosing;
}

// A connection that is closed on this side but whose peer takes nothing would keep its place for
// ever: after the idle time-out, or when everything shuts down, its unsent data is dropped.
void NetSender::GiveUpClosed() {
    constexpr int kMaxVictims = 32;
    EPOLLBuffer* victims[kMaxVictims];
    int count = 0;
    {
        const std::lock_guard guard(m_lockClosing);
        const long now = ClockUptime();
        for (EPOLLBuffer* context = m_lpClosingList; context != nullptr && count < kMaxVictims;
             context = context->m_lpNextClosing) {
            if (IsHopeless(context, now)) victims[count++] = context;
        }
    }
    // Only this thread releases contexts with pending entries, so these still are what they were.
    for (int i = 0; i < count; ++i) {
        victims[i]->Shutdown(SHUT_RDWR);
        Drain(victims[i]);
    }
}

bool NetSender::IsHopeless(EPOLLBuffer* context, long now) const {
    constexpr long kShutdownGrace = 1;
    const auto age = static_cast<unsigned long>(now - context->m_lCloseTime);
    Epoll* reactor = context->Reactor();
    if (reactor->IsShutdown() && (context->m_bBlocked || age > kShutdownGrace)) return true;
    return age >= reactor->CloseGrace();
}
