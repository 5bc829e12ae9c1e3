// A thread that tests, sets and deletes the marks of its users.
#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "RegistryJob.h"

// What threads have done, for the message worker to fetch. Thread: any.
class RegistryDone {
  public:
    void Put(RegistryJobList& jobs);
    // Costs next to nothing when there is none.
    RegistryJobList Take();

  private:
    std::atomic<bool> m_bAny{false};
    std::mutex m_lock;
    RegistryJobList m_list;  // guarded by m_lock
};

// Deals with all its jobs that wait at the time in two round trips to Redis, one to test and one to
// set or delete; those of one user in the order they came, one in each such turn. Started by its
// constructor, with all signals blocked. Owned by OnlineRegistry.
class RegistryThread {
  public:
    using Clock = std::chrono::steady_clock;

    // wake is called when somebody who enters is done. All three must outlive it.
    RegistryThread(LobbyRedisServer& registry, RegistryDone& done, std::function<void()> wake);
    // Without End, waits for all jobs to be done.
    ~RegistryThread();
    RegistryThread(const RegistryThread&) = delete;
    RegistryThread& operator=(const RegistryThread&) = delete;

    // Message worker, or whoever follows it.
    void Put(RegistryJob* job);
    // Ends the thread once its jobs are done, or soon after the deadline; Rest then gives what is
    // left. Main, after the last Put.
    void End(Clock::time_point deadline);
    RegistryJobList Rest();

  private:
    void Loop();
    bool AwaitJobs();
    void ChooseBatch();
    void DoBatch();

    static constexpr size_t kBatch = 256;
    static constexpr size_t kStamps = 1024;
    // Nobody waits for the leaving of one who never entered: so long more of them come together.
    static constexpr std::chrono::milliseconds kGather{5};

    LobbyRedisServer& m_registry;
    RegistryDone& m_done;
    const std::function<void()> m_wake;

    std::mutex m_lock;
    std::condition_variable m_changed;
    RegistryJobList m_waiting;       // guarded by m_lock
    bool m_bUrgent = false;          // guarded by m_lock: others than bare ones are waiting
    bool m_bEnd = false;             // guarded by m_lock
    Clock::time_point m_deadline{};  // guarded by m_lock; of the end

    // The thread's own.
    RegistryJobList m_own;
    std::vector<RegistryJob*> m_batch;
    std::vector<MarkTask*> m_tasks;
    MarkRequests m_requests;
    std::array<uint32_t, kStamps> m_stamps{};  // by user: the last turn that has one of his jobs
    uint32_t m_turn = 0;
    std::thread m_thread;
};
