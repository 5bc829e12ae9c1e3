// The network provider: the reactor plus the message worker.
#pragma once

#include <atomic>
#include <memory>
#include <utility>
#include <vector>

#include "EPOLLReceiver.h"
#include "Epoll.h"
#include "Epoll/NetLimits.h"
#include "Epoll/ProxyTrust.h"
#include "HandShark.h"
#include "NodeManager/NodeRecords.h"
#include "WebSocketStream.h"

class GameProvider;
class INetMessager;

// Turns every reactor event into a record, hands the records to one message worker in the order
// they came, and there keeps the idle list, upgrades WebSockets and feeds the messager.
// On purpose: only the first data of an accepted client may ask for an upgrade, as later data and a
// link's may well contain the word; a record is taken off the connection's receive count once, when
// it is done, however many frames it held; after the application's Close nothing more of the
// connection is delivered, not even the rest of the same record.
// Owns the record queue and its recycler; points at messager and provider.
//
// Order with a worker that reads for itself: its own records wait in a list of its own, which is
// handled before the queue, and it reads only when both are empty, under m_lockLead. So what it
// reads is younger than what was queued, and what a poll thread queues later is younger still.
//
// Thread: the reactor hooks on the thread that reads (or where a close arose); the private
// functions on the message worker unless marked.
class EPOLLServer : public Epoll, public INetProvider {
  public:
    // Without a messager a context is a bare EPOLLReceiver, released as soon as it is closed.
    // maxRecvCount 0 means 100.
    EPOLLServer(GameProvider* provider, INetMessager* messager, unsigned long maxRecvCount);
    ~EPOLLServer() override;

    // True: the worker reads for itself, and data ends its pause at once; false: it looks every
    // millisecond at what the poll threads read. Before Initialize.
    void SetWakeup(bool wakeup) { m_bWakeup = wakeup; }
    // See GameProvider. Before Initialize.
    void SetWebSocket(bool standard) { m_bWebSocket = standard; }
    // Whose word about clients' addresses is taken. Before Initialize.
    void SetProxyTrust(ProxyTrust trust) { m_Trust = std::move(trust); }
    // Before Initialize.
    void SetLimits(const NetLimits& limits);
    // interval all ones: no idle list, no sweeps. Main.
    bool Initialize(unsigned long interval, unsigned long timeout, unsigned long threads,
                    unsigned long contexts, unsigned long buffers) override;
    bool Initialize(unsigned long threads, unsigned long contexts, unsigned long buffers) override {
        return Epoll::Initialize(threads, contexts, buffers);
    }
    void Shutdown() override;
    // Any thread; called by the send side once it is done with a closed connection.
    void ReleaseContext(EPOLLContext* context) override;
    void CancelConnects() override { Epoll::CancelConnects(); }
    // Ends the pause of a worker that reads, or keeps it from the next; another looks every
    // millisecond anyway.
    void WakeWorker() override;

    EPOLLContext* OnCreateConnection() override;
    void OnConnectionEstablished(EPOLLContext* context, sockaddr_in* addr) override;
    void OnReadCompleted(EPOLLContext* context, void* buffer, long length,
                         sockaddr_in* addr) override;
    void OnConnectionClosed(EPOLLContext* context, bool closed, sockaddr_in* addr) override;
    bool WorkerReads() const override { return m_bWakeup; }
    unsigned long WorkerProgress() const override {
        return m_ulProgress.load(std::memory_order_relaxed);
    }
    long GatherTime() const override;
    unsigned long CloseGrace() const override { return m_ulTimeout; }
    bool MayReadClients() const override { return !IsBudgetSpent(); }
    long Clients() const override { return m_lClients; }
    // Not without a worker: nobody would hear of the connection.
    bool CanCreate() const override { return m_lThreadCount > 0 && Epoll::CanCreate(); }

    // Contexts announced and released so far; for logs only. Any thread.
    long Established() const { return m_lEstablished; }
    long Released() const { return m_lRelease; }

  private:
    static void* ThreadProc(void* self);
    void StopWorker();                                                   // main
    void QueueRecord(EPOLLContext* context, void* buffer, long length);  // any thread
    void DiscardRecords();

    void DoNetMsg();
    DataBuffer* NextRecord();
    DataBuffer* NextQueued();
    DataBuffer* ReadRecord();
    void AppendOwn(DataBuffer* record);
    DataBuffer* NewRecord();  // any thread
    void KeepRecord(DataBuffer* record);
    bool TakeBatch();
    bool MoreAtHand() const;
    void MeasurePass();
    void HandleRecord(const DataBuffer& record);
    void OnEstablished(EPOLLReceiver* receiver);
    void OnData(EPOLLReceiver* receiver, char* data, long length);
    void DispatchData(EPOLLReceiver* receiver, char* data, long length);
    void OnFrames(EPOLLReceiver* receiver, char* data, long length);
    void HandShark(EPOLLReceiver* receiver, const char* request, long length);
    // WebSocket clients as their libraries expect to be served.
    bool BeginsRequest(const EPOLLReceiver* receiver, const char* data) const;
    void TakeRequest(EPOLLReceiver* receiver, char* data, long length);
    void RefuseRequest(EPOLLReceiver* receiver, const char* reason);
    void TakeFrames(EPOLLReceiver* receiver, char* data, long length);
    void Answer(EPOLLReceiver* receiver, uint8_t opcode, const void* data, long length);
    void EndWebSocket(EPOLLReceiver* receiver, uint16_t status);
    bool IsProxy(const EPOLLReceiver* receiver) const;
    bool TakeProxyHeader(EPOLLReceiver* receiver, char*& data, long& length);
    void TakeForwardedClient(EPOLLReceiver* receiver, const char* request, long length);
    void SetClient(EPOLLReceiver* receiver, const CIpAddress& address, uint16_t port);
    void CloseNode(EPOLLReceiver* receiver);
    void CloseConnections(EPOLLReceiver* receiver, long count, long length);
    void Unlist(EPOLLReceiver* receiver);
    bool SweepsEnabled() const { return m_ulInterval != ~0UL; }
    void Pause();
    bool IsBudgetSpent() const;  // any thread
    void Relieve();
    bool SweepIfDue(bool idle);
    void Sweep(long now);
    void PauseUntilSignal();

    // One wake of the worker takes so many records off the queue in one go.
    static constexpr long kBatch = 64;
    // A worker that reads for itself takes so many events at once, that it sees past a crowd that
    // leaves to those who stay; and of each connection so many blocks: more would let a flood wait
    // in memory, and others behind it.
    static constexpr int kEvents = 4096;
    static constexpr int kOwnBlocks = 1;

    // Set on the worker's thread.
    static constinit thread_local const EPOLLServer* t_lpWorkerOf;

    std::unique_ptr<NodeManager<DataBuffer>> m_lpNode;
    std::atomic<bool> m_bQueued{false};  // set behind every record put into m_lpNode
    std::unique_ptr<NodeFactory<DataBuffer>> m_lpFactory;
    bool m_bWakeup = false;                      // constant after Initialize
    bool m_bWebSocket = false;                   // constant after Initialize
    ProxyTrust m_Trust;                          // constant after Initialize
    std::atomic<bool> m_bWoken{false};           // by WakeWorker, since the last pause
    std::atomic<unsigned long> m_ulProgress{0};  // set by the worker
    // For the poll threads that read while it pauses; set by the worker.
    std::atomic<bool> m_bPausing{false};
    std::atomic<long> m_lPauseEnd{0};  // CLOCK_MONOTONIC, microseconds
    std::atomic<bool> m_bExit{false};
    std::atomic<long> m_lThreadCount{0};
    std::atomic<long> m_lEstablished{0};
    std::atomic<long> m_lRelease{0};
    std::atomic<long> m_lClients{0};
    const long m_ulMaxRecvCount;
    long m_lMaxClientRecvCount;    // constant after Initialize
    unsigned long m_ulBudget = 0;  // buffers, 0: any number; constant after Initialize
    std::atomic<unsigned long> m_ulTimeout{~0UL};   // seconds
    std::atomic<unsigned long> m_ulInterval{~0UL};  // seconds
    INetMessager* const m_lpNetMessager;            // not owned, may be null
    GameProvider* const m_lpGameProvider;           // not owned, may be null

    // Message worker only.
    EPOLLReceiver* m_lpClientList = nullptr;
    EPOLLReceiver* m_lpClientTail = nullptr;
    long m_lClientCount = 0;
    long m_lUptime = 0;          // seconds since boot, as of this pass
    long m_lSweepTime = 0;       // seconds since boot
    uint64_t m_ulPassBegin = 0;  // nanoseconds; 0: not begun, or not measured
    bool m_bShutdownSwept = false;
    bool m_bRelieving = false;  // more is to be closed
    long m_lRelieveTime = 0;    // milliseconds: by then the closed ones' buffers are free
    long m_lDropping = 0;       // messages of clients closed until then
    std::vector<std::pair<long, EPOLLReceiver*>> m_Holders;  // work space of Relieve
    long m_lUnflushed = 0;                                   // passes since the last flush
    DataBuffer* m_lpBatch[kBatch];
    long m_lBatchCount = 0;
    long m_lBatchPos = 0;
    DataBuffer* m_lpOwn = nullptr;  // records of what it read itself, oldest first
    DataBuffer* m_lpOwnTail = nullptr;
    DataBuffer* m_lpSpare = nullptr;          // a record for what it reads next
    std::unique_ptr<TakenEvents> m_lpEvents;  // with m_bWakeup
    HEADER_MAP m_mapHeader;
    Websocket_Request m_Request;
    WebSocketStream m_Stream{m_Request};
    SHA1 m_Sha1;
    char m_szResponse[WEBSOCKET_RESPONSE_SIZE];
};
