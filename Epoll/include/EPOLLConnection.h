// One socket of the reactor: a listener, an accepted client or an outbound link.
#pragma once

#include <netinet/in.h>

#include <atomic>
#include <cstdint>

#include "Common/Thread.h"
#include "Epoll/EPOLLNet.h"
#include "SendBatch.h"

class Epoll;

inline constexpr uint16_t WEBSOCKET_NONE = 0;      // plain TCP, or nothing seen yet
inline constexpr uint16_t WEBSOCKET_UPGRADED = 2;  // every byte travels in frames

// The socket, its addresses and its place in the reactor's list. Owns the descriptor from
// AllocateContext to CloseSocket.
// Thread: reads on the poll thread that got the event, sends on its queue's consumer, CloseContext
// on any. Life: pooled by EPOLLContextManager; Initialize and Release bracket each use.
class EPOLLConnection : public EPOLLContext {
  public:
    EPOLLConnection() = default;
    ~EPOLLConnection() override;
    EPOLLConnection(const EPOLLConnection&) = delete;
    EPOLLConnection& operator=(const EPOLLConnection&) = delete;

    // The framework keeps the address of the connection's node here.
    void SetContextAssociate(unsigned long value) override { m_ulAssociate = value; }
    unsigned long GetContextAssociate() override { return m_ulAssociate; }
    sockaddr_in* GetContextAddrIn(bool local) override;
    bool RecvData() override;
    // Without sendAll one attempt: bytes taken, or -1 and errno. With sendAll length or -1. On an
    // upgraded connection the bytes go out in one frame; an attempt that stops inside a frame is
    // resumed by the next call, whose data must continue where this one stopped.
    long SendData(void* data, long length, bool sendAll, sockaddr_in* addr) override;
    long SendData(void* data, long length, bool sendAll, char* host, unsigned short port) override;
    long Shutdown(long how) override;
    // Begins closing, once: nothing more is read, and the close is reported by the poll thread
    // (at once when the connection was never registered). What is queued for sending still goes.
    void CloseContext() override;
    // As CloseContext of this class, but what the peer sent before is still read and delivered: for
    // a connection that failed while sending. Any thread.
    void CloseAfterReading();
    bool IsClosed() override { return m_bClosed.load(std::memory_order_acquire); }
    long setsockopt(long level, long name, const char* value, long length) override;
    long getsockopt(long level, long name, char* value, long* length) override;
    long SetKeepAlive(unsigned long on, unsigned long idle, unsigned long interval,
                      unsigned long count) override;
    long SetCustomHeader() override;
    long SetRecvAll(char* interfaceName) override;
    void Initialize() override;
    void Release() override;

    // Writes bytes that are framed already (or need no frame). With sendAll until all are
    // written, waiting on a full socket: not for the framework's own threads. Returns payload or
    // -1; without sendAll the result of one attempt.
    virtual long SendWebSocketData(void* data, long total, long payload, bool sendAll,
                                   sockaddr_in* addr);

    uint16_t GetWebStocketStatus() const { return m_usWebSocketStatus.load(); }
    void SetWebSocketStatus(uint16_t status) { m_usWebSocketStatus.store(status); }
    // One attempt to write a batch: bytes of frames and payloads taken, or -1 and errno. Send
    // thread; a connection gets its data either this way or through SendData.
    long SendBatched(SendBatch& batch);
    OutgoingFrame& Frame() { return m_Frame; }  // consumer

    int Socket() const { return m_socket; }
    bool IsListener() const { return m_bBind && m_lProtocol == IPPROTO_TCP; }
    bool IsAcceptClient() const { return m_bAcceptClient; }
    Epoll* Reactor() const { return m_lpEPOLLNet; }

  protected:
    friend class Epoll;
    friend class EPOLLContextManager;
    friend class EPOLLServer;

    void CloseSocket();
    long SendFramePart(const char* data, long length);
    long SendParts(iovec* parts, size_t count);

    char m_szBuffer[4096];  // carried bytes of an incomplete frame; message worker only
    unsigned long m_ulAssociate = 0;
    std::atomic<unsigned long> m_ulConnectionCount{0};
    std::atomic<unsigned long>* m_lpulConnections = nullptr;  // the listener's count
    unsigned long m_ulMaxConnections = 0;
    sockaddr_in m_addrLocal{};
    sockaddr_in m_addrRemote{};
    EPOLLConnection* m_lpPreContext = nullptr;   // live list; guarded by the reactor's lock
    EPOLLConnection* m_lpNextContext = nullptr;  // live list; guarded by the reactor's lock
    EPOLLConnection* m_lpNextFree = nullptr;     // guarded by the context manager's lock
    Epoll* m_lpEPOLLNet = nullptr;               // not owned
    // From here to the buffer of EPOLLBuffer stands what a message touches on its way: with many
    // connections each line of the cache and each page that is spared is time.
    long m_lLength = 0;  // bytes held in m_szBuffer
    int m_socket = -1;
    std::atomic<unsigned> m_ulEvents{0};          // since a poll thread began to read
    std::atomic<bool> m_bClosed{true};            // true in the pool too
    bool m_bRecvData GUARDED_BY(m_Lock) = false;  // registered with the poll; false in the pool
    bool m_bReported GUARDED_BY(m_Lock) = false;  // closed, by a poll thread
    std::atomic<bool> m_bReadToEnd{false};  // more than data came: a short read is not the end
    std::atomic<bool> m_bReadOut{false};    // closed, but read once more before that is reported
    bool m_bAcceptClient = false;           // constant once allocated
    bool m_bBind = false;                   // constant once allocated
    bool m_bEndOfStream = false;            // nothing is left to read; poll thread
    std::atomic<uint16_t> m_usWebSocketStatus{WEBSOCKET_NONE};
    long m_lProtocol = 0;
    CMutex m_Lock;

    OutgoingFrame m_Frame{};  // being written; consumer of the queue only
};
