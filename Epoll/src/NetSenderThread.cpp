// The send thread of NetSender.
#include <arpa/inet.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <limits>
#include <memory>
#include <utility>

#include "Common/Clock.h"
#include "Common/Log.h"
#include "Common/Text.h"
#include "EPOLLBuffer.h"
#include "Epoll.h"
#include "Epoll/NetMetrics.h"
#include "NetSender.h"
#include "ThreadStack.h"
#include "WriteHold.h"

namespace {

constexpr int kMaxSendEvents = 1000;
// How often closed connections are looked at whose peers do not read.
constexpr int kTickMs = 50;
constexpr int kSendGuardSeconds = 10;
constexpr long kNoLimit = std::numeric_limits<long>::max();

// Of the frame of one message.
long FrameHeadSize(const char* head) {
    return static_cast<uint8_t>(head[1]) < 126 ? 2 : 4;
}

// How many of a shared block's messages end behind `from` bytes of it and not behind `to`.
long MessagesIn(const tagSendBuffer* block, long from, long to) {
    long count = 0;
    for (long end = 0;;) {
        tagMsgHeader header;
        if (block->ucFrame == FRAMED_ALREADY) end += FrameHeadSize(block->szSendBuffer + end);
        std::memcpy(&header, block->szSendBuffer + end, sizeof(header));
        end += ntohs(header.length);
        if (end > to) return count;
        if (end > from) ++count;
    }
}

}  // namespace

void* NetSender::SendThread(void* self) {
    ThreadStack stack("send");
    static_cast<NetSender*>(self)->OnSend();
    return nullptr;
}

void NetSender::OnSend() {
    auto events = std::make_unique<epoll_event[]>(kMaxSendEvents);
    while (!m_bExit) {
        m_Doorbell.BeforeSleep();
        const int timeout = m_lpReady.load() == nullptr ? kTickMs : 0;
        const int count = ::epoll_wait(m_iSendPoll, events.get(), kMaxSendEvents, timeout);
        m_Doorbell.AfterSleep();
        const std::lock_guard drain(m_lockDrain);
        for (int i = 0; i < count; ++i) {
            auto* context = static_cast<EPOLLBuffer*>(events[i].data.ptr);
            if (context != nullptr) Drain(context, true);  // the doorbell has none
        }
        DrainReady(kNoLimit);
        if (m_lpAside != nullptr) ResumeAside();
        if (m_lClosing > 0) GiveUpClosed();
    }
    events.reset();
    --m_lThreadCount;
}

// On the thread that queued: spares waking another for what is done in no time.
void NetSender::WriteHere() {
    constexpr long kConnections = 64;
    if (const std::unique_lock drain(m_lockDrain, std::try_to_lock); drain) {
        DrainReady(kConnections);
    }
    // Behind the unlock: the send thread looks once more before it sleeps.
    if (m_lpReady.load() != nullptr) m_Doorbell.Ring();
}

// All that was handed over so far, oldest first.
EPOLLBuffer* NetSender::TakeReady() {
    EPOLLBuffer* newest = m_lpReady.exchange(nullptr);
    EPOLLBuffer* oldest = nullptr;
    while (newest != nullptr) {
        EPOLLBuffer* before = newest->m_lpNextReady;
        newest->m_lpNextReady = std::exchange(oldest, newest);
        newest = before;
    }
    return oldest;
}

// Serves what was handed over so far, in that order. With a limit what exceeds it is left, and of
// a connection all that exceeds one write.
void NetSender::DrainReady(long most) {
    EPOLLBuffer* oldest = TakeReady();
    for (long i = 0; oldest != nullptr; ++i) {
        // Unlinked first: as soon as its ring is empty it may be handed over anew.
        EPOLLBuffer* context = std::exchange(oldest, oldest->m_lpNextReady);
        if (i < most) {
            context->m_bReady = false;
            Drain(context, most == kNoLimit);
        } else {
            LinkReady(context);
        }
    }
}

// Writes the ring until it is empty, the socket is full or the close marker is reached. Not whole:
// only what one write can take; a longer ring is handed over again.
void NetSender::Drain(EPOLLBuffer* context, bool whole) {
    context->m_bBlocked = false;
    int passes = 0;
    Settled done;
    for (;;) {
        // At 0 the next producer hands the ring over anew: nothing of it may be touched then.
        const long count =
            context->Advance(done.entries, done.messages, m_lpEntries, SendBatch::kMaxEntries);
        if (count == 0) return;
        if (!whole && (passes > 0 || count == SendBatch::kMaxEntries)) return LinkReady(context);
        if (++passes > kPassGuard) {
            __log(_ERROR, "NetSender::OnSend", "iTestBug > 5000");
            SetAside(context);
            return;
        }
        if (m_lpEntries[0] == nullptr) {
            ReleaseClosed(context);
            return;
        }
        const Progress progress =
            SendEntries(context, std::min<long>(count, kPassGuard - passes + 1), done);
        passes += static_cast<int>(std::max(done.messages - 1, 0L));
        DropEntries(done);
        if (progress == Progress::Blocked) {
            context->Advance(done.entries, done.messages, m_lpEntries, 0);
            context->m_bBlocked = true;
            if (!Arm(context)) __log(_ALL, "NetSender::OnSend", "epoll_ctl(1) error");
            return;
        }
        if (progress == Progress::Failed) {
            context->Shutdown(SHUT_WR);
            context->CloseAfterReading();
        }
    }
}

// One event when the socket has room again.
bool NetSender::Arm(EPOLLBuffer* context) {
    epoll_event event{};
    event.events = EPOLLOUT | EPOLLONESHOT | EPOLLET;
    event.data.ptr = context;
    const int operation = context->m_bPolled ? EPOLL_CTL_MOD : EPOLL_CTL_ADD;
    const bool armed = ::epoll_ctl(m_iSendPoll, operation, context->Socket(), &event) == 0;
    context->m_bPolled = context->m_bPolled || armed;
    return armed;
}

// One system call for the entries before the close marker. done: what is written, or is to be
// dropped.
NetSender::Progress NetSender::SendEntries(EPOLLBuffer* context, long count, Settled& done) {
    const long from = context->m_lSendPos;
    m_Batch.Start(context->GetWebStocketStatus() == WEBSOCKET_UPGRADED, context->Frame(),
                  context->m_lSendPos);
    for (long i = 0; i < count && m_lpEntries[i] != nullptr; ++i) {
        if (!m_Batch.Add(m_lpEntries[i])) break;
    }
    long sent = 0;
    do {
        sent = context->SendBatched(m_Batch);
    } while (sent < 0 && errno == EINTR);
    if (sent < 0 && errno != EAGAIN) {
        context->m_lSendPos = 0;
        context->Frame().Reset();
        done = {1, m_lpEntries[0]->usMessages};
        return Progress::Failed;
    }
    auto* metrics = g_NetMetrics.Get();
    if (metrics != nullptr && sent > 0) metrics->bytesOut.Add(static_cast<uint64_t>(sent));
    done.entries = m_Batch.Settle(std::max(sent, 0L), context->m_lSendPos);
    CountSettled(done, from, context->m_lSendPos);
    // Less than was offered: the socket is full.
    return done.entries < m_Batch.Entries() ? Progress::Blocked : Progress::Sent;
}

// from and to: bytes written of the first entry before, and of the one behind those done now.
void NetSender::CountSettled(Settled& done, long from, long to) {
    done.messages = 0;
    for (long i = 0; i < done.entries; ++i)
        done.messages += m_lpEntries[i]->usMessages;
    if (done.entries == m_Batch.Entries()) return;
    tagSendBuffer* next = m_lpEntries[done.entries];
    if (next->usMessages == 1) return;
    const long written = MessagesIn(next, done.entries == 0 ? from : 0, to);
    next->usMessages = static_cast<uint16_t>(next->usMessages - written);
    done.messages += written;
}

// Gives up the references of the oldest entries; what becomes free returns in one go.
void NetSender::DropEntries(const Settled& done) {
    auto* metrics = g_NetMetrics.Get();
    if (metrics != nullptr && done.messages > 0) {
        metrics->messagesSettled.Add(static_cast<uint64_t>(done.messages));
    }
    WriteHold* hold = WriteHold::Mine();
    tagSendBuffer* first = nullptr;
    tagSendBuffer* last = nullptr;
    uint64_t freed = 0;
    for (long i = 0; i < done.entries; ++i) {
        tagSendBuffer* entry = m_lpEntries[i];
        if (!WasLastReference(entry)) continue;
        if (hold != nullptr && hold->Keep(entry)) continue;
        entry->__p_next = std::exchange(first, entry);
        if (last == nullptr) last = entry;
        ++freed;
    }
    if (first != nullptr) g_SendFactory.FreeNodes(first, last, freed);
}

void NetSender::ReleaseClosed(EPOLLBuffer* context) {
    __log(_ALL, "NetSender::OnSend", "release node[%08x]", PtrTag(context->Node()));
    {
        const LockGuard guard(m_lockClosing);
        UnlinkClosing(context);
    }
    context->m_lEntries = 0;  // the marker is no buffer
    context->m_lSendCount = 0;
    if (context->m_bPolled) {
        ::epoll_ctl(m_iSendPoll, EPOLL_CTL_DEL, context->Socket(), nullptr);
    }
    m_lpNetProvider->ReleaseContext(context);
}

// A deliberate brake for a ring gone mad: nothing is sent from it for a while. The thread itself
// goes on, or any peer that lets thousands of messages pile up could silence all the others.
void NetSender::SetAside(EPOLLBuffer* context) {
    context->m_bReady = true;
    context->m_lResumeTime = ClockUptime() + kSendGuardSeconds;
    context->m_lpNextReady = std::exchange(m_lpAside, context);
}

void NetSender::ResumeAside() {
    const long now = ClockUptime();
    EPOLLBuffer* next = std::exchange(m_lpAside, nullptr);
    while (next != nullptr) {
        EPOLLBuffer* context = std::exchange(next, next->m_lpNextReady);
        if (now < context->m_lResumeTime && !context->Reactor()->IsShutdown()) {
            context->m_lpNextReady = std::exchange(m_lpAside, context);
            continue;
        }
        context->m_bReady = false;
        Drain(context, true);
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
        const LockGuard guard(m_lockClosing);
        const long now = ClockUptime();
        for (EPOLLBuffer* context = m_lpClosingList; context != nullptr && count < kMaxVictims;
             context = context->m_lpNextClosing) {
            if (IsHopeless(context, now)) victims[count++] = context;
        }
    }
    // Only this thread releases contexts with pending entries, so these still are what they were.
    for (int i = 0; i < count; ++i) {
        victims[i]->Shutdown(SHUT_RDWR);
        Drain(victims[i], true);
    }
}

bool NetSender::IsHopeless(EPOLLBuffer* context, long now) const {
    if (context->m_bReady) return false;  // its turn comes, perhaps after its brake
    constexpr long kShutdownGrace = 1;
    const auto age = static_cast<unsigned long>(now - context->m_lCloseTime);
    Epoll* reactor = context->Reactor();
    if (reactor->IsShutdown() && (context->m_bBlocked || age > kShutdownGrace)) return true;
    return age >= reactor->CloseGrace();
}
