// A connection as the message worker sees it.
#pragma once

#include <atomic>

#include "EPOLLConnection.h"

// Adds what the receive path keeps per connection. Thread: message worker, but for m_lRecvCount.
class EPOLLReceiver : public EPOLLConnection {
  public:
    void Initialize() override;
    // Also ends the delivery of what was read already.
    void CloseContext() override;
    // Closed on purpose: no further message of it may reach the application. A connection that is
    // closed because it outran the worker still has delivered what was queued. Any thread.
    bool IsStopped() const { return m_bStopped.load(std::memory_order_acquire); }

  protected:
    friend class EPOLLServer;

    long m_lRecvTime = 0;  // seconds since boot at the last data
    std::atomic<bool> m_bStopped{false};
    std::atomic<long> m_lRecvCount{0};  // buffers queued; poll thread adds, worker subtracts
    EPOLLReceiver* m_lpNext = nullptr;  // client list
    EPOLLReceiver* m_lpPrior = nullptr;
    bool m_bListed = false;      // in the client list
    bool m_bFirstData = true;    // no data seen: only the first can be an upgrade request
    bool m_bCallClosed = false;  // the close was reported upward
};
