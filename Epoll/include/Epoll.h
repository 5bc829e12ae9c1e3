// The reactor: sockets, poll threads and the list of live connections.
#pragma once

#include <semaphore.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <vector>

#include "Common/Thread.h"
#include "Doorbell.h"
#include "EPOLLManagers.h"
#include "Epoll/EPOLLNet.h"
#include "LightLock.h"

class EPOLLConnection;
struct epoll_event;

// Opens sockets, accepts clients, reads what arrives and hands each filled block to a hook.
// Owns the epoll instance and, through the two managers, every context and receive block.
//
// Who reads: by default the poll threads, whatever the worker does. With WorkerReads the worker
// takes events and serves them one by one, each when what the last one brought is handled: what
// nobody has time for stays in its sender's socket. One poll thread watches then. It stands in,
// accepting and reading, only while the worker makes no progress for some milliseconds, and
// m_lockLead keeps the two apart.
//
// Reading from one connection can be paused in ServeConnection, before it reads: who leaves a
// socket unread there arms it again (Arm) when reading may go on, which reports what is there.
//
// Lock order: m_lockLead, m_ContextLock, a context's m_Lock. Thread: see each function; the hooks
// run on the thread that reads, or where the event arose.
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
    // The message worker serves the events itself. Constant after Initialize.
    virtual bool WorkerReads() const { return false; }
    // Another number after every piece of the worker's work. Any thread.
    virtual unsigned long WorkerProgress() const { return 0; }
    // Microseconds in which nobody looks at what is read, so that the poll threads may let more
    // come together instead of waking for every message; 0: none. Without WorkerReads.
    virtual long GatherTime() const { return 0; }
    // False: what clients send is left in their sockets for now.
    virtual bool MayReadClients() const { return true; }
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
    // See GameProvider. Before the first listener.
    void SetReusePort(bool reuse) { m_bReusePort = reuse; }
    void SetReceiveBuffer(int bytes);

  protected:
    // Shutdown in three steps, so that a derived class can end its own threads between them.
    bool BeginShutdown();
    void StopPolling();
    void DestroyPools();

    EPOLLBufferManager* Buffers() { return m_lpEpollBuffer.get(); }

    // Listeners that wait for descriptors with the thread that serves them, and until when.
    struct Paused {
        std::vector<EPOLLConnection*> listeners;
        std::chrono::steady_clock::time_point until;
    };
    // What one thread took from the epoll instance, and how it serves that.
    struct TakenEvents {
        TakenEvents(int most, int blocks);
        ~TakenEvents();
        bool Left() const { return next < count; }
        // Every few closes: those who stay are not to wait until everybody has gone.
        bool WantsLook() const { return Left() && closes >= kClosesPerLook; }

        static constexpr int kClosesPerLook = 16;

        const int room;
        const int blocksPerTurn;  // of one connection, before the next one's turn
        std::unique_ptr<epoll_event[]> events;
        int count = 0;
        int next = 0;
        int closes = 0;  // served since the last look
        Paused paused;
    };
    bool Started() const { return m_bStart; }
    // All with m_lockLead held, by a worker that reads or who stands in for it. The first adds to
    // what is left, closes last; the second serves one of them, if there is one.
    void TakeEvents(TakenEvents& taken, int timeoutMs);
    void ServeNext(TakenEvents& taken);
    void ResumeListeners(Paused& paused);
    Doorbell m_WorkerBell;  // of a worker that reads: it waits at m_iPoll
    LightLock m_lockLead;   // of the thread that waits at m_iPoll; with WorkerReads: or reads
    // A worker that reads takes the lock with this: who stands in for it then goes, though the
    // worker makes no progress while it waits for the lock.
    class Lead {
      public:
        explicit Lead(Epoll& epoll) : m_epoll(epoll) {
            m_epoll.m_bLeadWanted.store(true, std::memory_order_relaxed);
            m_epoll.m_lockLead.lock();
            m_epoll.m_bLeadWanted.store(false, std::memory_order_relaxed);
        }
        ~Lead() { m_epoll.m_lockLead.unlock(); }
        Lead(const Lead&) = delete;
        Lead& operator=(const Lead&) = delete;

      private:
        Epoll& m_epoll;
    };

  private:
    enum class Accepting { Rearm, Pause, Closed };
    enum class Reading { Emptied, Left, Ended };

    // In an event's data beside the listener's address: a late event must be told apart without
    // looking at its context.
    static constexpr uint64_t kListenerTag = 1;
    // How long a listener waits when descriptors have run out.
    static constexpr std::chrono::milliseconds kStarvedPause{50};

    // The poll threads, by default.
    static void* PollRoutine(void* self);
    void PollWait();
    void WaitForEvents(TakenEvents& taken);
    void Gather(bool stream);
    // The poll thread beside a worker that reads.
    void WatchWorker();
    void WatchPause(long milliseconds);
    void StandIn(TakenEvents& taken, unsigned long progress);

    // Whoever serves an event.
    void ServeListener(EPOLLConnection* listener, Paused& paused);
    Accepting AcceptClients(EPOLLConnection* listener);
    Accepting OnAcceptError(EPOLLConnection* listener, int error);
    void AddClient(int socket, const sockaddr_in& remote, EPOLLConnection* listener);
    // These two return true when the connection had much to read.
    bool OnEvent(const epoll_event& event, TakenEvents& taken);
    bool ServeConnection(EPOLLConnection* context, int blocks);
    Reading ReadSome(EPOLLConnection* context, int blocks, long& bytes);
    void ReportClosed(EPOLLConnection* context, bool closed);

    int OpenSocket(long family, long type, long protocol);
    bool Connect(int socket, const sockaddr_in& addr, unsigned long timeoutMs);
    unsigned long LiveConnections();

    std::atomic<bool> m_bStart{false};
    std::atomic<bool> m_bShutdown{false};
    bool m_bReusePort = false;    // constant once there is a listener
    int m_iReceiveBuffer = 4096;  // the same
    std::atomic<bool> m_bCancelConnects{false};
    std::atomic<bool> m_bStarved{false};  // out of descriptors; one log line per episode
    int m_iPoll = -1;
    int m_iWake = -1;  // becomes ready at shutdown
    sem_t m_semHelp;   // the poll threads not at m_iPoll wait here
    std::atomic<bool> m_bStopWatch{false};
    std::atomic<bool> m_bLeadWanted{false};  // set by the worker
    unsigned long m_ulConnectionCount = 0;   // guarded by m_ContextLock
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
