// Public header: the thread that re-opens dropped outbound links.
#pragma once

#include <atomic>

#include "Common/Thread.h"
#include "Game/NetGame.h"

struct HostList;
template <class T> class NodeManager;
template <class T> class NodeFactory;

// Calls OnConnected for each queued request until it succeeds, one attempt per second in all.
class Reconnect {
  public:
    Reconnect();
    virtual ~Reconnect();
    Reconnect(const Reconnect&) = delete;
    Reconnect& operator=(const Reconnect&) = delete;

    // Starts the keeper thread; true when it runs. Main thread.
    bool Start();
    // Ends the keeper thread and waits for it: at most one sleep and one connect attempt; true.
    bool Stop();
    // Queues a request; false when no record could be made or queued. Any thread.
    bool SetParameter(void* param, int type);

    // Keeper thread: tries once to bring the link up; true when it is up again.
    virtual bool OnConnected(void* param, int type) = 0;

  private:
    static void* ThreadProc(void* self);
    void DoConnect();

    std::atomic<bool> m_bExit{false};
    std::atomic<bool> m_bStart{false};
    NodeManager<HostList>* m_lpHostList;  // owned
    NodeFactory<HostList>* m_lpFactory;   // owned
    CEvent m_event;
};
