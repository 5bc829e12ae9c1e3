// The registry of players online, beside the message worker.
#pragma once

#include <atomic>
#include <chrono>
#include <deque>
#include <memory>
#include <vector>

#include "RegistryThread.h"

class LobbyPlayer;
class LobbyServer;

// Hands sessions that enter or leave to threads that wait for Redis, each user's always to the same
// one, so that his marks are tested, set and deleted in the order of his sessions. What is found
// comes back to the worker, which only then completes the login.
//
// A session that closes while it is being entered leaves behind that entering. One that closes
// while a newer one of its user is being entered leaves its mark to that one.
//
// Until Start everything is done at once, on the worker: without Redis nothing waits. Owned by
// LobbyServer. What waits is bounded; beyond it logins go unregistered and marks stay, which is
// logged. Thread: message worker, except where said.
class OnlineRegistry {
  public:
    using Clock = RegistryThread::Clock;

    explicit OnlineRegistry(LobbyServer& server) : m_server(server) {}
    OnlineRegistry(const OnlineRegistry&) = delete;
    OnlineRegistry& operator=(const OnlineRegistry&) = delete;

    // Starts the threads. Main.
    void Start();
    // The lobby begins to end: from now on counts who stays in the registry. Main.
    void BeginStop();
    // Waits until all who left are out of the registry, or it has taken too long since BeginStop,
    // ends the threads and logs how many marks stay. Main, once the worker has ended.
    void Stop();

    // A confirmed session enters. QueueServerHandler::OnEntered follows, unless it closes before.
    void Enter(LobbyPlayer* player);
    // A session has closed that is to take its mark with it.
    void Leave(LobbyPlayer* player);
    // Completes what the threads have done. On every tick.
    void Deliver();

  private:
    // One waits for the others of its turn only, and lost connections are to leave some over.
    static constexpr size_t kThreads = 2;
    static constexpr size_t kMostJobs = 65536;
    static constexpr size_t kMostBareJobs = 8192;

    // Null when too many wait.
    RegistryJob* Take(const LobbyPlayer* player, bool bare);
    void Put(RegistryJob* job);
    void GiveBack(RegistryJob* job);
    void Settle(RegistryJob* job);
    // Without the threads.
    void EnterAtOnce(LobbyPlayer* player);
    // The job of a session of the same user that is being entered, and newer than this one's.
    RegistryJob* NewerEntering(const LobbyPlayer* player) const;
    void CompleteEntering(RegistryJob* job);

    LobbyServer& m_server;
    RegistryDone m_done;
    std::vector<std::unique_ptr<RegistryThread>> m_threads;  // set by Start
    std::atomic<bool> m_bStarted{false};

    std::deque<RegistryJob> m_jobs;  // all that were ever needed at a time
    RegistryJobList m_free;
    size_t m_taken = 0;
    size_t m_bare = 0;  // of them
    uint64_t m_ulSerial = 0;
    bool m_bBehind = false;          // too many waited, and it was logged
    std::atomic<long> m_lStayed{0};  // marks whose session left
    long m_lStayedBefore = 0;        // when the lobby began to end; main
    Clock::time_point m_stopEnd{};   // main
};
