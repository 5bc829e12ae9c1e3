#include "RegistryThread.h"

void RegistryDone::Put(RegistryJobList& jobs) {
    const LockGuard lock(m_lock);
    m_list.Append(jobs);
    m_bAny.store(true, std::memory_order_release);
}

RegistryJobList RegistryDone::Take() {
    if (!m_bAny.load(std::memory_order_acquire)) return {};
    const LockGuard lock(m_lock);
    m_bAny.store(false, std::memory_order_relaxed);
    return std::exchange(m_list, {});
}

RegistryThread::RegistryThread(LobbyRedisServer& registry, RegistryDone& done,
                               std::function<void()> wake)
    : m_registry(registry), m_done(done), m_wake(std::move(wake)) {
    m_batch.reserve(kBatch);
    m_tasks.reserve(kBatch);
    m_thread = ThreadWithoutSignals([this] { Loop(); });
}

RegistryThread::~RegistryThread() {
    if (m_thread.joinable()) End(Clock::time_point::max());
}

void RegistryThread::Put(RegistryJob* job) {
    bool wake = !job->bBare;
    {
        const LockGuard lock(m_lock);
        wake = wake || m_waiting.Empty();
        m_bUrgent = m_bUrgent || !job->bBare;
        m_waiting.Push(job);
    }
    if (wake) m_changed.notify_one();
}

void RegistryThread::End(Clock::time_point deadline) {
    {
        const LockGuard lock(m_lock);
        m_bEnd = true;
        m_deadline = deadline;
    }
    m_changed.notify_one();
    m_thread.join();
}

RegistryJobList RegistryThread::Rest() {
    return std::exchange(m_own, {});
}

void RegistryThread::Loop() {
    while (AwaitJobs()) {
        ChooseBatch();
        DoBatch();
    }
}

// False when the thread is to end. What waits is taken over at once, so that the worker, which puts
// jobs, never waits for a look through all of them.
bool RegistryThread::AwaitJobs() {
    WaitLock lock(m_lock);
    const auto any = [this]() NEEDS_LOCK(m_lock) { return m_bEnd || !m_waiting.Empty(); };
    const auto urgent = [this]() NEEDS_LOCK(m_lock) { return m_bEnd || m_bUrgent; };
    if (m_own.Empty()) {
        m_changed.wait(lock, any);
        m_changed.wait_for(lock, kGather, urgent);
    }
    m_bUrgent = false;
    m_own.Append(m_waiting);
    return !m_own.Empty() && !(m_bEnd && Clock::now() >= m_deadline);
}

// At most one job of a user, his oldest; the others stay in their order. Users who share a stamp
// are treated as one. Ids below 1 never enter, so that theirs have no order to keep.
void RegistryThread::ChooseBatch() {
    ++m_turn;
    m_batch.clear();
    RegistryJobList later;
    while (m_batch.size() < kBatch && !m_own.Empty()) {
        RegistryJob* job = m_own.Pop();
        const int user = job->task.userId;
        uint32_t& stamp = m_stamps[static_cast<uint32_t>(user) % kStamps];
        if (user > 0 && stamp == m_turn) {
            later.Push(job);
            continue;
        }
        if (user > 0) stamp = m_turn;
        m_batch.push_back(job);
    }
    later.Append(m_own);
    m_own = later;
}

// A leaving whose own entering found another session's mark deletes nothing: that mark is not his.
void RegistryThread::DoBatch() {
    m_tasks.clear();
    for (RegistryJob* job : m_batch) {
        const bool others = job->lpEntering != nullptr && job->lpEntering->task.online;
        if (!others) m_tasks.push_back(&job->task);
    }
    if (!m_tasks.empty()) m_registry.Run(m_tasks.data(), m_tasks.size(), m_requests);
    RegistryJobList done;
    bool entered = false;
    for (RegistryJob* job : m_batch) {
        entered = entered || job->task.enters;
        done.Push(job);
    }
    m_done.Put(done);
    if (entered) m_wake();
}
