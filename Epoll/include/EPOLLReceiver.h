// A connection as the message worker sees it.
#pragma once

#include <atomic>

#include "Common/IpAddress.h"
#include "EPOLLConnection.h"
#include "ProxyHeader.h"
#include "WebSocketInput.h"

// Adds what the receive path keeps per connection. Thread: message worker, but for m_lRecvCount.
class EPOLLReceiver : public EPOLLConnection {
  public:
    void Initialize() override;
    // Also ends the delivery of what was read already.
    void CloseContext() override;
    // Closed on purpose: no further message of it may reach the application. A connection that is
    // closed because it outran the worker, or because sending on it failed, still has delivered
    // what came before. Any thread.
    bool IsStopped() const { return m_bStopped.load(std::memory_order_acquire); }

    // Whether it is a WebSocket is settled: it is one, or what came first was none. Message worker.
    bool IsKindKnown() const {
        return !m_bFirstData || GetWebStocketStatus() == WEBSOCKET_UPGRADED;
    }

    // Buffers queued for it and not written yet. Any thread.
    virtual long Unsent() const { return 0; }

    // Who the client is: the peer, unless a trusted proxy named somebody else.
    CIpAddress Client() const;
    int ClientPort() const;
    // From now on the connection's remote address is this one. An IPv6 address does not fit there:
    // whoever asks for the remote address then still gets the proxy's.
    void SetClient(const CIpAddress& address, uint16_t port);

  protected:
    friend class EPOLLServer;

    long m_lRecvTime = 0;  // seconds since boot at the last data
    std::atomic<bool> m_bStopped{false};
    std::atomic<long> m_lRecvCount{0};  // buffers queued; poll thread adds, worker subtracts
    EPOLLReceiver* m_lpNext = nullptr;  // client list
    EPOLLReceiver* m_lpPrior = nullptr;
    bool m_bListed = false;       // in the client list
    bool m_bFirstData = true;     // no data seen: only the first can be an upgrade request
    bool m_bCallClosed = false;   // the close was reported upward
    bool m_bProxyHeader = false;  // the stream begins with a header that is not read yet

    WebSocketInput m_Input;  // frames, where they are taken as libraries mean them
    ProxyHeader m_Proxy;
    CIpAddress m_Client6;  // an IPv6 client behind a proxy; otherwise none
    uint16_t m_usPort6 = 0;
};
