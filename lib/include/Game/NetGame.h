// Public header: the framework's interfaces and GameProvider, the one class an application of the
// framework derives from.
#pragma once

#include <netinet/in.h>
#include <sys/socket.h>

#include <memory>
#include <utility>

#include "Epoll/EPOLLNet.h"
#include "Epoll/NetLimits.h"
#include "Epoll/ProxyTrust.h"
#include "Game/NetMessage.h"

// The application's object for one connection, bound one-to-one to a pooled context for the
// context's whole life: SetContext once, Initialize each time the context is taken from its pool
// (on a poll thread or the creating thread), Release each time it goes back.
class IPlayerNode : public IObject {
  public:
    virtual void Initialize() = 0;
    virtual void Release() = 0;
    virtual void SetContext(EPOLLContext* context) = 0;
    virtual bool GetContext(EPOLLContext** context) = 0;
};

// What the framework calls back. All on the message worker unless said otherwise.
class IGameProvider : public IObject {
  public:
    virtual long Start() = 0;
    virtual bool OnReadComplete(IPlayerNode* node, void*& heldBuffer, long& heldLength,
                                void* buffer, long length) = 0;
    virtual void OnNetMessage(IPlayerNode* node, unsigned short type, void* message,
                              long length) = 0;
    virtual void OnClosed(IPlayerNode* node, bool flag) = 0;
    virtual void OnTimer(long now) = 0;
    // Poll thread or the creating thread.
    virtual IPlayerNode* OnCreatePlayer() = 0;
    virtual unsigned long GetPlayerAddrIn(IPlayerNode* node, sockaddr_in* addr, bool local) = 0;
    virtual const char* GetEncodeName(long encode) = 0;
    virtual long Encode(char* src, long length, long encode, char* dst, long capacity) = 0;
    virtual long Decode(char* src, long length, long encode, char* dst, long capacity) = 0;
};

// Turns received bytes into messages. Message worker, except OnCreateContext.
class INetMessager : public IObject {
  public:
    virtual void OnReadCompleted(EPOLLContext* context, void* buffer, long length) = 0;
    virtual void OnConnectionClosed(EPOLLContext* context, bool flag) = 0;
    virtual void OnTimer(long now) = 0;
    virtual EPOLLContext* OnCreateContext() = 0;
};

// Queues messages on connections and writes them later, from the send thread or between two
// callbacks of the message worker. Any thread.
class INetSender : public IObject {
  public:
    virtual bool Initialize() = 0;
    virtual bool SendData(IPlayerNode* node, unsigned short type, void* data, long length,
                          long encode) = 0;
    virtual bool SendData(IPlayerNode* node, void* data, long length) = 0;
    virtual void* AllocMassData(unsigned long count, unsigned short type, void* data, long length,
                                long encode) = 0;
    virtual void* AllocMassData(unsigned long count, void* data, long length) = 0;
    virtual bool SendMassData(IPlayerNode* node, void* massData) = 0;
    virtual void Close(IPlayerNode* node) = 0;
    virtual void OnClosed(IPlayerNode* node) = 0;
    // A WebSocket control frame behind what is queued already, for a connection that takes frames.
    // False: not queued, and the connection is closed.
    virtual bool SendControl(IPlayerNode* /*node*/, unsigned char /*opcode*/, const void* /*data*/,
                             long /*length*/) {
        return false;
    }
    // As the first SendData, but refused, and nothing closed, where the ring has no place for the
    // message and `room` more. A sender without rings takes it for an ordinary one.
    virtual bool SendIfRoom(IPlayerNode* node, unsigned short type, void* data, long length,
                            long encode, long /*room*/) {
        return SendData(node, type, data, length, encode);
    }
};

// The sweep for silent clients takes so many of them for a damaged list and suspends the message
// worker until a signal comes: an application admits fewer, or switches sweeps off.
inline constexpr long SWEEP_GUARD = 5000;

// The framework objects an application may bring along instead of the epoll ones, for tests that
// run the application on a network in memory.
struct NetParts {
    std::unique_ptr<INetMessager> messager;
    std::unique_ptr<INetProvider> provider;
    std::unique_ptr<INetSender> sender;
};

// Wires messager, network provider and sender together, and is what the application overrides.
// Owns the three. The send API and Close may be called from any thread; the callbacks of one
// provider never run concurrently with each other, except OnCreatePlayer.
class GameProvider : public IGameProvider {
  public:
    GameProvider() = default;
    explicit GameProvider(NetParts parts);
    ~GameProvider() override;
    GameProvider(const GameProvider&) = delete;
    GameProvider& operator=(const GameProvider&) = delete;

    // True: received data wakes the message worker at once; false, the default: it looks every
    // millisecond. OnTimer comes with every piece of work and while there is none about a thousand
    // times a second; with true, which lets the machine rest, some sixty times. Before Initialize.
    void SetWakeup(bool wakeup) { m_bWakeup = wakeup; }
    // The proxies that may name the address of their client, which then is the remote address of
    // its connection; none by default. Before Initialize.
    void SetProxyTrust(ProxyTrust trust) { m_Trust = std::move(trust); }
    // True: WebSocket clients are served as their libraries expect it: pings are answered, a close
    // is answered by a close, frames may have any size, a request may come in pieces and is refused
    // in words. False, the default: every frame but a close counts as data. Before Initialize.
    void SetWebSocket(bool standard) { m_bWebSocket = standard; }
    // Bytes of the receive buffer of each socket, at most 32768; 0, the default, is 4096, with
    // which most reads of many small messages cost an acknowledgement of their own. Before
    // Initialize.
    void SetReceiveBuffer(int bytes) { m_iReceiveBuffer = bytes; }
    // Before Initialize.
    void SetLimits(const NetLimits& limits) { m_Limits = limits; }
    // True: another process of the same user may listen on the listener's port beside this one.
    // Before Initialize.
    void SetReusePort(bool reuse) { m_bReusePort = reuse; }
    // Starts the framework's threads. Zero for maxRecvCount or maxSendCount means 100, zero for
    // threads one poll thread per processor. interval and timeout are seconds.
    bool Initialize(unsigned long maxRecvCount, unsigned long maxSendCount, unsigned long interval,
                    unsigned long timeout, unsigned long threads, unsigned long contexts,
                    unsigned long buffers);
    // Closes every connection and ends the reactor's threads; within seconds whatever peers do.
    void Shutdown();
    // Makes every connect in progress, and every later one, fail at once. Any thread.
    void CancelConnects();

    // Has OnTimer called soon although nothing is received: for an application whose other threads
    // have something for the message worker, which it fetches in OnTimer. Cheap while the worker is
    // busy. Any thread.
    void WakeWorker();

    // Opens a listener or an outbound link; the node of the new context, or null with errno set:
    // NET_UNRESOLVED when the host name has no address. A link whose peer acknowledges nothing for
    // half a minute is closed.
    IPlayerNode* Create(bool listen, const char* host, unsigned short port,
                        unsigned long connectTimeoutMs, unsigned long maxConnections, long family,
                        long type, long protocol);
    IPlayerNode* Create(bool listen, sockaddr_in& addr, unsigned long connectTimeoutMs,
                        unsigned long maxConnections, long family, long type, long protocol);
    // Registers the node's connection for reading; nothing arrives on a link or listener before.
    bool RecvData(IPlayerNode* node);

    // From now on the system gives new connections to the process that joined the listener's port
    // last, while those on their way still come here: close the listener a little later, and none
    // is lost. False when the port is not shared. Any thread.
    bool PassOnConnects(IPlayerNode* listener);
    // Clients connected, those included that are being closed. Any thread.
    long Clients() const { return m_lpNetProvider != nullptr ? m_lpNetProvider->Clients() : 0; }

    // data starts with 8 bytes of room for the header, counted by length.
    bool SendData(IPlayerNode* node, unsigned short type, void* data, long length, long encode);
    // As SendData, but refused, and nothing closed, where the connection's ring has no place for
    // the message and `room` more. For what others must not lose a connection over.
    bool SendIfRoom(IPlayerNode* node, unsigned short type, void* data, long length, long encode,
                    long room);
    // Bytes that already form whole messages.
    bool SendData(IPlayerNode* node, void* data, long length);
    // See INetSender.
    bool SendControl(IPlayerNode* node, unsigned char opcode, const void* data, long length);
    // One buffer for count receivers. A partial send on one of them shortens it for the others:
    // not for messages that must arrive whole at every receiver.
    void* AllocMassData(unsigned long count, unsigned short type, void* data, long length,
                        long encode);
    bool SendMassData(IPlayerNode* node, void* massData);
    // The close is reported later through OnClosed.
    void Close(IPlayerNode* node);

    // First IPv4 address of a host name, network order; -1 for a null host or a failed look-up.
    static unsigned long dns2ip(const char* host);
    // New value (inc, dec) and old value (xchg).
    static long atomic_inc(long volatile* value);
    static long atomic_dec(long volatile* value);
    static long atomic_xchg(long volatile* value, long next);

    bool OnReadComplete(IPlayerNode* node, void*& heldBuffer, long& heldLength, void* buffer,
                        long length) override;
    void OnNetMessage(IPlayerNode* node, unsigned short type, void* message, long length) override;
    void OnClosed(IPlayerNode* node, bool flag) override;
    void OnTimer(long now) override;
    // Remote (or local) address of the node's connection; -1 without node or context.
    unsigned long GetPlayerAddrIn(IPlayerNode* node, sockaddr_in* addr, bool local) override;
    const char* GetEncodeName(long encode) override;
    long Encode(char* src, long length, long encode, char* dst, long capacity) override;
    long Decode(char* src, long length, long encode, char* dst, long capacity) override;

  private:
    INetMessager* m_lpNetMessager = nullptr;  // owned
    INetProvider* m_lpNetProvider = nullptr;  // owned
    INetSender* m_lpNetSender = nullptr;      // owned
    bool m_bWakeup = false;                   // constant after Initialize
    bool m_bReusePort = false;                // constant after Initialize
    int m_iReceiveBuffer = 0;
    bool m_bWebSocket = false;  // constant after Initialize
    ProxyTrust m_Trust;         // moved on by Initialize
    NetLimits m_Limits;         // constant after Initialize
};
