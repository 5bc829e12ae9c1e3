// A connection as the message worker sees it.
#pragma once

#include <atomic>

#include "EPOLLConnection.h"

// Adds what the receive path keeps per connection. Thread: message worker, but for m_lRecvCount.
class EPOLLReceiver : public EPOLLConnection {
  public:
    void Initialize() override;

  protected:
    friend class EPOLLServer;

    long m_lRecvTime = 0;               // seconds since boot at the last data
    std::atomic<long> m_lRecvCount{0};  // buffers queued; poll thread adds, worker subtracts
    EPOLLReceiver* m_lpNext = nullptr;  // client list
    EPOLLReceiver* m_lpPrior = nullptr;
    bool m_bListed = false;      // in the client list
    bool m_bFirstData = true;    // no data seen: only the first can be an upgrade request
    bool m_bCallClosed = false;  // the close was reported upward
};
