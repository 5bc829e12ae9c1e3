// The signals of the process.
#pragma once

#include <atomic>
#include <thread>

class LobbyServer;

// Waits for signals on a thread of its own: SIGTERM ends the process, SIGHUP reads the
// configuration again, SIGUSR1 drains the lobby. They stay blocked everywhere else: none is lost
// between two steps of the start, and what they cause may take its time, which a handler must not.
// Owned by main; the server must outlive it.
class SignalWaiter {
  public:
    // Blocks the signals in the calling thread, and in every thread it starts from here on.
    static void Block();

    explicit SignalWaiter(LobbyServer& server);
    ~SignalWaiter();
    SignalWaiter(const SignalWaiter&) = delete;
    SignalWaiter& operator=(const SignalWaiter&) = delete;

    // Once Start has succeeded; from now on SIGHUP and SIGUSR1 are obeyed. Returns when the process
    // is to end, by SIGTERM or because it is drained.
    void Wait();
    bool IsDrained() const { return m_bDrained; }

  private:
    void Run();
    void Take(int sig);
    void BeginDrain();
    void FollowDrain();
    void Stop();

    LobbyServer& m_Server;
    std::atomic<bool> m_bServing{false};
    std::atomic<bool> m_bStop{false};
    std::atomic<bool> m_bEnd{false};
    std::atomic<bool> m_bDrained{false};
    // The thread's own; seconds since boot, 0 while not draining.
    long m_lDrainBegin = 0;
    bool m_bListening = true;
    std::thread m_thread;
};
