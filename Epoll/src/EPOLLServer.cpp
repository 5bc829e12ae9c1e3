#include "EPOLLServer.h"

#include <unistd.h>

#include "Common/Clock.h"
#include "Common/Log.h"
#include "Common/Text.h"
#include "Epoll/NetMetrics.h"
#include "Game/NetGame.h"

namespace {

constexpr unsigned long kDefaultRecvCount = 100;
constexpr unsigned kWorkerPauseUs = 1000;

}  // namespace

constinit thread_local const EPOLLServer* EPOLLServer::t_lpWorkerOf = nullptr;

EPOLLServer::EPOLLServer(GameProvider* provider, INetMessager* messager, unsigned long maxRecvCount)
    : m_lpNode(NodeManager<DataBuffer>::CreateInstance(NODE_LINK, 0)),
      m_lpFactory(NodeFactory<DataBuffer>::CreateInstance()),
      m_ulMaxRecvCount(static_cast<long>(maxRecvCount != 0 ? maxRecvCount : kDefaultRecvCount)),
      m_lMaxClientRecvCount(m_ulMaxRecvCount),
      m_lpNetMessager(messager),
      m_lpGameProvider(provider) {}

EPOLLServer::~EPOLLServer() {
    EPOLLServer::Shutdown();
    StopWorker();  // it may run without the reactor ever having started
    DiscardRecords();
}

void EPOLLServer::SetLimits(const NetLimits& limits) {
    if (limits.clientRecvCount != 0) {
        m_lMaxClientRecvCount = static_cast<long>(limits.clientRecvCount);
    }
    m_ulBudget = limits.buffers;
    if (auto* metrics = g_NetMetrics.Get()) metrics->budget.Add(limits.buffers);
}

bool EPOLLServer::Initialize(unsigned long interval, unsigned long timeout, unsigned long threads,
                             unsigned long contexts, unsigned long buffers) {
    if (m_lThreadCount == 0) {
        m_bExit = false;
        // Before the thread reads them; without a thread nobody does.
        m_ulInterval = interval;
        m_ulTimeout = timeout;
        m_lSweepTime = ClockUptime();
        if (m_bWakeup) m_lpEvents = std::make_unique<TakenEvents>(kEvents, kOwnBlocks);
        ++m_lThreadCount;
        if (!CreateThread(nullptr, 0, ThreadProc, this)) {
            --m_lThreadCount;
            m_ulInterval = ~0UL;
            m_ulTimeout = ~0UL;
        }
    }
    const bool started = Epoll::Initialize(threads, contexts, buffers);
    return m_lThreadCount > 0 && started;
}

void EPOLLServer::Shutdown() {
    // The worker must see every close before it ends, and end before the contexts do.
    if (!BeginShutdown()) return;
    StopWorker();
    StopPolling();
    DiscardRecords();
    DestroyPools();
}

void EPOLLServer::StopWorker() {
    m_bExit = true;
    m_WorkerBell.Ring();
    while (m_lThreadCount > 0)
        ::usleep(kWorkerPauseUs);
}

// Gives back what nobody will handle any more. No other thread may be running.
void EPOLLServer::DiscardRecords() {
    while (DataBuffer* record = NextQueued()) {
        if (record->buffer != nullptr && Buffers() != nullptr)
            Buffers()->FreeBuffer(record->buffer);
        m_lpFactory->FreeNode(record);
    }
    m_lpFactory->FreeNode(std::exchange(m_lpSpare, nullptr));
}

void EPOLLServer::ReleaseContext(EPOLLContext* context) {
    ++m_lRelease;
    if (static_cast<EPOLLReceiver*>(context)->IsAcceptClient()) --m_lClients;
    FreeConnection(context);
}

EPOLLContext* EPOLLServer::OnCreateConnection() {
    if (m_lpNetMessager != nullptr) return m_lpNetMessager->OnCreateContext();
    return new EPOLLReceiver;
}

void EPOLLServer::OnConnectionEstablished(EPOLLContext* context, sockaddr_in*) {
    ++m_lEstablished;
    ++m_lClients;
    QueueRecord(context, nullptr, 0);
}

void EPOLLServer::OnReadCompleted(EPOLLContext* context, void* buffer, long length, sockaddr_in*) {
    auto* receiver = static_cast<EPOLLReceiver*>(context);
    const long queued = ++receiver->m_lRecvCount;
    const long most = receiver->m_bAcceptClient ? m_lMaxClientRecvCount : m_ulMaxRecvCount;
    if (most > queued) {
        QueueRecord(context, buffer, length);
        return;
    }
    __log(_ALL, "EPOLLServer::OnReadCompleted",
          "node[%08x], m_lMaxRecvCount[%d] <= m_lRecvCount[%d]",
          static_cast<unsigned>(receiver->m_ulAssociate), static_cast<int>(most),
          static_cast<int>(queued));
    --receiver->m_lRecvCount;
    if (auto* metrics = g_NetMetrics.Get()) metrics->CountClose(NetClose::ReceiveRing);
    Buffers()->FreeBuffer(buffer);
    receiver->EPOLLConnection::CloseContext();  // what is queued is still delivered
}

void EPOLLServer::OnConnectionClosed(EPOLLContext* context, bool closed, sockaddr_in*) {
    QueueRecord(context, nullptr, closed ? -1 : -2);
}

void EPOLLServer::QueueRecord(EPOLLContext* context, void* buffer, long length) {
    DataBuffer* record = NewRecord();
    record->lpContext = static_cast<EPOLLReceiver*>(context);
    record->buffer = buffer;
    record->lLength = length;
    if (auto* metrics = g_NetMetrics.Get()) metrics->recordsQueued.Add();
    if (m_bWakeup && t_lpWorkerOf == this) return AppendOwn(record);
    m_lpNode->SetNode(&record, 1);
    m_bQueued.store(true);
    if (m_bWakeup) m_WorkerBell.Ring();
}

void EPOLLServer::WakeWorker() {
    if (!m_bWakeup) return;
    m_bWoken.store(true);
    m_WorkerBell.Ring();
}
