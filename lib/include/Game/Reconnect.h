// Public header: the thread that re-opens dropped outbound links.
#pragma once

#include <atomic>

#include "Common/Thread.h"
#include "Game/NetGame.h"

struct HostList;
template <class T>
class NodeManager;
template <class T>
class NodeFactory;

// Calls OnConnected for each queued request until it succeeds, one attempt per second in all: a
// request that failed goes behind the others. Equal requests are not merged. Owns the queue and
// its records; the parameters only pass through. The derived class's owner calls Stop before it
// destroys the object, since OnConnected may run until then.
class Reconnect {
  public:
    // retryMs: the pause behind an attempt that failed.
    explicit Reconnect(long retryMs = 1000);
    // Drops the requests still queued.
    virtual ~Reconnect();
    Reconnect(const Reconnect&) = delete;
    Reconnect& operator=(const Reconnect&) = delete;

    // Starts the keeper thread; true when it runs. Main thread, and before the first request:
    // one queued earlier waits for the next.
    bool Start();
    // Ends the keeper thread and waits for it, at most for one connect attempt (a pause between
    // attempts is cut short); true. Main thread.
    bool Stop();
    // Queues a request; false when no record could be made or queued, or the keeper was never
    // started. Any thread.
    bool SetParameter(void* param, int type);

    // Keeper thread: tries once to bring the link up; true when it is up again.
    virtual bool OnConnected(void* param, int type) = 0;

  private:
    static void* ThreadProc(void* self);
    void DoConnect();
    // Keeper thread: the pause, or until Stop.
    void SleepBeforeRetry() const;

    const long m_lRetryMs;
    std::atomic<bool> m_bExit{false};     // set by Stop, read by the keeper
    std::atomic<bool> m_bStart{false};    // the keeper thread runs; cleared by it at its end
    NodeManager<HostList>* m_lpHostList;  // owned
    NodeFactory<HostList>* m_lpFactory;   // owned
    CEvent m_event;                       // one count per request, and one from Stop
};
