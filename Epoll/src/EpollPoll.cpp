// The poll threads: reading for the worker, or standing in for one that reads for itself.
#include <sys/epoll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <mutex>

#include "Common/Log.h"
#include "Epoll.h"
#include "Epoll/NetMetrics.h"
#include "ThreadStack.h"

namespace {

constexpr int kMaxEvents = 1000;
// So many events at once are work for one thread more.
constexpr int kManyEvents = 64;
// A poll thread that woke for fewer events lets some more come together when it may.
constexpr int kFewEvents = 16;
constexpr long kMaxGatherUs = 1000;
constexpr unsigned kRefusedUs = 1000;
constexpr long kStreamGatherUs = 100;
// A poll thread reads so many blocks of a connection before it goes on to the next.
constexpr int kBlocksPerTurn = 16;
// How often a worker that reads for itself is looked at: often while it has much to do. While it
// has nothing to do that is its timer, too.
constexpr long kMinWatchMs = 4;
constexpr long kMaxWatchMs = 16;

// The peer sends no more.
bool IsClose(const epoll_event& event) {
    return (event.events & (EPOLLRDHUP | EPOLLHUP | EPOLLERR)) != 0;
}

}  // namespace

void* Epoll::PollRoutine(void* self) {
    ThreadStack stack("poll");
    auto* epoll = static_cast<Epoll*>(self);
    epoll->WorkerReads() ? epoll->WatchWorker() : epoll->PollWait();
    --epoll->m_lThreadCount;
    return nullptr;
}

Epoll::TakenEvents::TakenEvents(int most, int blocks)
    : room(most), blocksPerTurn(blocks), events(std::make_unique<epoll_event[]>(most)) {}

Epoll::TakenEvents::~TakenEvents() = default;

void Epoll::PollWait() {
    TakenEvents taken(kMaxEvents, kBlocksPerTurn);
    bool leave = false;
    while (!leave) {
        // What is left in the sockets is reported over and over.
        if (!MayReadClients()) ::usleep(kRefusedUs);
        WaitForEvents(taken);
        ResumeListeners(taken.paused);
        bool accepted = false;
        bool stream = false;
        for (; taken.Left(); ++taken.next) {
            const epoll_event& event = taken.events[taken.next];
            leave |= event.data.u64 == 0;  // only the wake-up socket has no context
            accepted |= (event.data.u64 & kListenerTag) != 0;
            stream |= OnEvent(event, taken);
        }
        if (taken.count > 0 && taken.count <= kFewEvents && !accepted && !leave) Gather(stream);
    }
    ::sem_post(&m_semHelp);  // the next thread sees for itself that it is to leave
}

// Lets more events come together where nobody is kept waiting by that, but no stream: its socket
// would be full long before.
void Epoll::Gather(bool stream) {
    const long time = std::min(GatherTime(), stream ? kStreamGatherUs : kMaxGatherUs);
    if (time > 0) ::usleep(static_cast<unsigned>(time));
}

// One thread waits at the epoll instance, and does alone what it can: a thread woken for every
// event costs more than reading does. The others look when there is much at once.
void Epoll::WaitForEvents(TakenEvents& taken) {
    const std::unique_lock lead(m_lockLead, std::try_to_lock);
    int timeout = -1;
    if (!taken.paused.listeners.empty()) {
        timeout = static_cast<int>(kStarvedPause.count());
    } else if (!lead) {
        ::sem_wait(&m_semHelp);
        timeout = 0;
    }
    TakeEvents(taken, timeout);
    int called = 0;
    if (taken.count >= kManyEvents && ::sem_getvalue(&m_semHelp, &called) == 0 && called == 0) {
        ::sem_post(&m_semHelp);
    }
}

void Epoll::TakeEvents(TakenEvents& taken, int timeoutMs) {
    epoll_event* const events = taken.events.get();
    const int left = taken.count - taken.next;
    std::copy_n(events + taken.next, left, events);
    taken.next = taken.closes = 0;
    taken.count = left;
    if (left == taken.room) return;
    const int count = ::epoll_wait(m_iPoll, events + left, taken.room - left, timeoutMs);
    if (count < 0 && errno != EINTR) {
        __log(_ERROR, "Epoll::PollWait", "epoll_wait() error, %s", std::strerror(errno));
        ::usleep(1000);
    }
    taken.count += std::max(count, 0);
    // The others keep their order.
    int others = 0;
    for (int i = 0; i < taken.count; ++i) {
        if (!IsClose(events[i])) std::swap(events[others++], events[i]);
    }
}

void Epoll::ServeNext(TakenEvents& taken) {
    const epoll_event& event = taken.events[taken.next++];
    taken.closes += IsClose(event);
    OnEvent(event, taken);
}

void Epoll::WatchWorker() {
    TakenEvents taken(kMaxEvents, kBlocksPerTurn);
    unsigned long seen = WorkerProgress();
    long pauseMs = kMaxWatchMs;
    while (!m_bStopWatch) {
        WatchPause(pauseMs);
        ResumeListeners(taken.paused);
        const unsigned long progress = WorkerProgress();
        const unsigned long passes = progress - seen;
        seen = progress;
        // One that waits has passed at every ring.
        if (passes == 0) StandIn(taken, progress);
        m_WorkerBell.Ring();
        const bool busy = passes == 0 || passes > 2 * static_cast<unsigned long>(pauseMs);
        pauseMs = busy ? kMinWatchMs : std::min(2 * pauseMs, kMaxWatchMs);
    }
}

// Ends early when the poll threads are to end.
void Epoll::WatchPause(long milliseconds) {
    constexpr long kNanos = 1000000000;
    timespec end{};
    ::clock_gettime(CLOCK_MONOTONIC, &end);
    end.tv_nsec += milliseconds * 1000000;
    end.tv_sec += end.tv_nsec / kNanos;
    end.tv_nsec %= kNanos;
    ::sem_clockwait(&m_semHelp, CLOCK_MONOTONIC, &end);
}

// Accepts and reads until the worker is back: what comes meanwhile is queued for it.
void Epoll::StandIn(TakenEvents& taken, unsigned long progress) {
    const std::unique_lock lead(m_lockLead, std::try_to_lock);
    if (!lead) return;  // it reads or waits, however slowly
    if (auto* metrics = g_NetMetrics.Get()) metrics->standIns.Add();
    while (WorkerProgress() == progress && !m_bLeadWanted && !m_bStopWatch) {
        TakeEvents(taken, 1);
        while (taken.Left())
            ServeNext(taken);
        ResumeListeners(taken.paused);
    }
}
