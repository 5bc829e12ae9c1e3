// The reactor: sockets, poll threads and the list of live connections.
#pragma once

#include <semaphore.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "Common/Thread.h"
#include "EPOLLManagers.h"
#include "Epoll/EPOLLNet.h"

class EPOLLConnection;
struct epoll_event;

// Opens sockets, accepts clients, reads what arrives and hands each filled block to a hook.
// Owns the epoll instance and, through the two managers, every context and receive block.
// Lock order: m_ContextLock before a context's m_Lock. Thread: see each function; the hooks run
// on poll threads, or where the event arose.
class Epoll : public virtual EPOLLNet {
  public:
    Epoll() { ::sem_init(&m_semHelp, 0, 0); }
    ~Epoll() override;
    Epoll(const Epoll&) = delete;
    Epoll& operator=(const Epoll&) = delete;

    // Starts the poll threads, once. contexts and buffers are hints that size nothing. Main.
    bool Initialize(unsigned long threads, unsigned long contexts, unsigned long buffers) override;
    // Closes everything and ends the poll threads, once. Main.
    void Shutdown() override;
    // The new context, registered nowhere yet, or null with errno set. Main or reconnect keeper.
    EPOLLContext* Create(bool listen, const char* host, unsigned short port,
                         unsigned long connectTimeoutMs, unsigned long maxConnections, long family,
                         long type, long protocol) override;
    EPOLLContext* Create(bool listen, sockaddr_in& addr, unsigned long connectTimeoutMs,
                         unsigned long maxConnections, long family, long type,
                         long protocol) override;

    virtual bool IsShutdown() { return m_bShutdown.load(); }
    virtual void CloseAllConnections();
    // closed: closing was begun on this side, or the socket could not be watched.
    virtual void OnConnectionClosed(EPOLLContext*, bool /*closed*/, sockaddr_in*) {}
    // Takes over the block.
    virtual void OnReadCompleted(EPOLLContext*, void* /*buffer*/, long /*length*/, sockaddr_in*) {}
    virtual EPOLLContext* OnCreateConnection();
    virtual void OnMaxLimitConnection(EPOLLContext*, sockaddr_in*, bool& /*accept*/) {}
    virtual void OnConnectionEstablished(EPOLLContext*, sockaddr_in*) {}
    // Microseconds in which nobody looks at what is read, so that the poll threads may let more
    // come together instead of waking for every message; 0: none.
    virtual long GatherTime() const { return 0; }
    // Seconds a closed connection may keep its unsent data waiting for a peer that does not read.
    virtual unsigned long CloseGrace() const { return ~0UL; }
    // Whether Create may open anything now.
    virtual bool CanCreate() const { return m_bStart && !m_bShutdown; }

    // Puts a context into the live list under its owner's limit; on failure it is released.
    // A listener is its own owner and counts itself, so that it admits its limit plus one.
    bool AddAConnection(EPOLLContext* context, EPOLLContext* owner);
    // Takes a context off the live list and releases it to the pool. Any thread.
    void FreeConnection(EPOLLContext* context);
    // Registers a socket (add), or has reported at once what it holds already. A listener is
    // registered for one event; a connection for good, which spares a call per read.
    bool Arm(EPOLLConnection* context, bool add);
    void CancelConnects() { m_bCancelConnects = true; }

  protected:
    // Shutdown in three steps, so that a derived class can end its own threads between them.
    bool BeginShutdown();
    void StopPolling();
    void DestroyPools();

    EPOLLBufferManager* Buffers() { return m_lpEpollBuffer.get(); }

  private:
    enum class Accepting { Rearm, Pause, Closed };
    enum class Reading { Emptied, Left, Ended };

    // In an event's data beside the listener's address: a late event must be told apart without
    // looking at its context.
    static constexpr uint64_t kListenerTag = 1;
    // Listeners of one poll thread that wait for descriptors, and until when.
    struct Paused {
        std::vector<EPOLLConnection*> listeners;
        std::chrono::steady_clock::time_point until;
    };

    static void* PollRoutine(void* self);
    void PollWait();
    int WaitForEvents(epoll_event* events, const Paused& paused);
    void ServeListener(EPOLLConnection* listener, Paused& paused);
    Accepting AcceptClients(EPOLLConnection* listener);
    Accepting OnAcceptError(EPOLLConnection* listener, int error);
    void AddClient(int socket, const sockaddr_in& remote, EPOLLConnection* listener);
    void ResumeListeners(Paused& paused);
    void Gather(bool stream);
    // Both: true when a connection had much to read.
    bool OnEvent(const epoll_event& event, Paused& paused);
    bool ServeConnection(EPOLLConnection* context);
    Reading ReadSome(EPOLLConnection* context, long& bytes);
    void ReportClosed(EPOLLConnection* context, bool closed);

    int OpenSocket(long family, long type, long protocol);
    bool Connect(int socket, const sockaddr_in& addr, unsigned long timeoutMs);
    unsigned long LiveConnections();

    std::atomic<bool> m_bStart{false};
    std::atomic<bool> m_bShutdown{false};
    std::atomic<bool> m_bCancelConnects{false};
    std::atomic<bool> m_bStarved{false};  // out of descriptors; one log line per episode
    int m_iPoll = -1;
    int m_iWake = -1;                       // becomes ready at shutdown
    std::mutex m_lockLead;                  // of the poll thread that waits at m_iPoll
    sem_t m_semHelp;                        // the others wait here
    unsigned long m_ulConnectionCount = 0;  // guarded by m_ContextLock
    std::atomic<long> m_lThreadCount{0};
    std::atomic<long> m_lCreating{0};  // calls of Create in progress
    std::unique_ptr<EPOLLContextManager> m_lpEpollContext;
    std::unique_ptr<EPOLLBufferManager> m_lpEpollBuffer;
    EPOLLConnection* m_lpContextList = nullptr;  // guarded by m_ContextLock
    CMutex m_ContextLock;
};

// First IPv4 address of a host name, network order; -1 (all ones) for a null host or a failed
// look-up. A name is resolved on a thread of its own, since the resolver needs far more stack
// than a framework thread has; gives up after some seconds. Any thread.
unsigned long dns2ip(const char* host);

// Adds and returns the old value.
long atomic_add(long volatile* value, long add);
