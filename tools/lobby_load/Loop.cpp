#include "Loop.h"

#include <sys/epoll.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <system_error>

Loop::Loop() : m_epoll(epoll_create1(EPOLL_CLOEXEC)), m_events(1024) {
    if (m_epoll < 0) throw std::system_error(errno, std::system_category(), "epoll");
    // The default slack of 50 us would show in every latency of an open loop.
    prctl(PR_SET_TIMERSLACK, 1);
}

Loop::~Loop() {
    close(m_epoll);
}

Nanos Loop::Now() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<Nanos>(now.tv_sec) * kSecond + static_cast<Nanos>(now.tv_nsec);
}

bool Loop::Watch(int fd, uint32_t events, Handler* handler) {
    epoll_event event{};
    event.events = events;
    event.data.ptr = handler;
    return epoll_ctl(m_epoll, EPOLL_CTL_ADD, fd, &event) == 0;
}

void Loop::Change(int fd, uint32_t events, Handler* handler) {
    epoll_event event{};
    event.events = events;
    event.data.ptr = handler;
    epoll_ctl(m_epoll, EPOLL_CTL_MOD, fd, &event);
}

int Loop::Wait() {
    Nanos left = kSecond / 10;
    if (!m_timers.empty()) {
        const Nanos now = Now();
        left = m_timers.top().when > now ? std::min(left, m_timers.top().when - now) : 0;
    }
    const int room = static_cast<int>(m_events.size());
    if (!m_coarseWait) {
        const timespec wait{0, static_cast<long>(left)};
        const int ready = epoll_pwait2(m_epoll, m_events.data(), room, &wait, nullptr);
        if (ready >= 0 || errno != ENOSYS) return ready;
        m_coarseWait = true;
    }
    return epoll_wait(m_epoll, m_events.data(), room, static_cast<int>(left / kMilli));
}

void Loop::RunTimers() {
    const Nanos now = Now();
    while (!m_timers.empty() && m_timers.top().when <= now && !m_stop) {
        const Timer timer = m_timers.top();
        m_timers.pop();
        timer.target->OnTimer(timer.token, timer.when);
    }
}

void Loop::Run() {
    m_stop = false;
    while (!m_stop && !s_interrupted) {
        const int ready = Wait();
        for (int i = 0; i < ready && !m_stop; ++i)
            static_cast<Handler*>(m_events[i].data.ptr)->OnReady(m_events[i].events);
        RunTimers();
    }
}
