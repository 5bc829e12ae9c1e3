// The message worker of EPOLLServer.
#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>
#include <string_view>
#include <utility>

#include "Common/Clock.h"
#include "Common/Log.h"
#include "Common/Text.h"
#include "EPOLLServer.h"
#include "Epoll/NetMetrics.h"
#include "Game/NetGame.h"
#include "ThreadStack.h"
#include "WriteHold.h"

namespace {

constexpr unsigned kIdleUs = 1000;
constexpr long kFlushEvery = 16;

}  // namespace

void* EPOLLServer::ThreadProc(void* self) {
    ThreadStack stack("worker");
    static_cast<EPOLLServer*>(self)->DoNetMsg();
    return nullptr;
}

void EPOLLServer::DoNetMsg() {
    // What the callbacks send is written in between them, here if the send thread is asleep.
    auto hold = std::make_unique<WriteHold>();
    t_lpWorkerOf = this;
    while (!m_bExit) {
        m_ulProgress.store(m_ulProgress.load(std::memory_order_relaxed) + 1,
                           std::memory_order_relaxed);
        DataBuffer* record = NextRecord();
        // For every record: what a handler takes its time for is not the silence of those behind
        // it.
        m_lUptime = ClockUptime();
        if (record != nullptr) {
            HandleRecord(*record);
            KeepRecord(record);
        }
        // On every pass; the application paces itself.
        if (m_lpNetMessager != nullptr) m_lpNetMessager->OnTimer(ClockNow());
        const bool swept = SweepIfDue(record == nullptr);
        const bool more = MoreAtHand();
        if (!more) MeasurePass();
        if (more && ++m_lUnflushed < kFlushEvery && !hold->IsFull()) continue;
        m_lUnflushed = 0;
        hold->Flush();
        if (m_bRelieving || IsBudgetSpent()) Relieve();
        // One that reads for itself sees for itself that nothing is left.
        if (!swept && (m_bWakeup ? !MoreAtHand() : record == nullptr)) Pause();
    }
    hold.reset();
    --m_lThreadCount;
}

// Until there may be something to do. One that reads for itself is rung for every tick, by the poll
// thread: setting a timer for each wait would cost more than many a wait itself. The other sleeps a
// millisecond.
void EPOLLServer::Pause() {
    m_ulPassBegin = 0;
    if (m_bWakeup && Started()) {
        const Lead lead(*this);
        ResumeListeners(m_lpEvents->paused);
        m_WorkerBell.BeforeSleep();
        // Looked at behind the bell: what comes from now on rings.
        const bool woken = m_bWoken.exchange(false);
        if (!woken && !m_bQueued.load() && !m_bExit) TakeEvents(*m_lpEvents, -1);
        m_WorkerBell.AfterSleep();
        return;
    }
    m_lPauseEnd.store(MonotonicNanos() / 1000 + kIdleUs, std::memory_order_relaxed);
    m_bPausing.store(true);
    ::usleep(kIdleUs);
    m_bPausing.store(false);
}

long EPOLLServer::GatherTime() const {
    constexpr long kBusyUs = 100;
    // The poll threads are to be back before the pause is over.
    constexpr long kEarlyUs = 150;
    if (!m_bPausing) return kBusyUs;
    return m_lPauseEnd.load(std::memory_order_relaxed) - MonotonicNanos() / 1000 - kEarlyUs;
}

DataBuffer* EPOLLServer::NextRecord() {
    if (DataBuffer* record = NextQueued()) return record;
    return m_lpEvents != nullptr && m_lpEvents->Left() ? ReadRecord() : nullptr;
}

// One record at a time, though several are taken off the queue under one lock.
DataBuffer* EPOLLServer::NextQueued() {
    if (m_lpOwn != nullptr) return std::exchange(m_lpOwn, m_lpOwn->__p_next);
    return m_lBatchPos < m_lBatchCount || TakeBatch() ? m_lpBatch[m_lBatchPos++] : nullptr;
}

// Serves events until one has brought something. What a poll thread queued meanwhile is older.
DataBuffer* EPOLLServer::ReadRecord() {
    const Lead lead(*this);
    while (m_lpOwn == nullptr && m_lpEvents->Left() && !TakeBatch()) {
        if (m_lpEvents->WantsLook()) TakeEvents(*m_lpEvents, 0);
        ServeNext(*m_lpEvents);
    }
    return NextQueued();
}

DataBuffer* EPOLLServer::NewRecord() {
    const bool own = t_lpWorkerOf == this && m_lpSpare != nullptr;
    return own ? std::exchange(m_lpSpare, nullptr) : m_lpFactory->CreateNode();
}

void EPOLLServer::KeepRecord(DataBuffer* record) {
    if (m_lpSpare != nullptr) return m_lpFactory->FreeNode(record);
    record->__p_next = nullptr;
    m_lpSpare = record;
}

void EPOLLServer::AppendOwn(DataBuffer* record) {
    if (m_lpOwn == nullptr) {
        m_lpOwn = record;
    } else {
        m_lpOwnTail->__p_next = record;
    }
    m_lpOwnTail = record;
    auto* metrics = g_NetMetrics.Get();
    if (metrics == nullptr) return;
    metrics->recordsTaken.Add();
    if (m_ulPassBegin == 0) m_ulPassBegin = MonotonicNanos();
}

bool EPOLLServer::TakeBatch() {
    // Mostly there is nothing, and a look costs less than the queue's lock.
    if (!m_bQueued.load() || !m_bQueued.exchange(false)) return false;
    m_lBatchPos = 0;
    m_lBatchCount = static_cast<long>(m_lpNode->GetNode(m_lpBatch, kBatch));
    if (m_lBatchCount > 0) m_bQueued.store(true);  // there may be more
    auto* metrics = g_NetMetrics.Get();
    if (metrics != nullptr) metrics->recordsTaken.Add(static_cast<uint64_t>(m_lBatchCount));
    if (metrics != nullptr && m_ulPassBegin == 0) m_ulPassBegin = MonotonicNanos();
    return m_lBatchCount > 0;
}

bool EPOLLServer::MoreAtHand() const {
    return m_lpOwn != nullptr || m_lBatchPos < m_lBatchCount ||
           (m_lpEvents != nullptr && m_lpEvents->Left());
}

// Once per look at the queue, not per record: reading the clock for each would cost too much. The
// end of a pass is the begin of the next, unless the worker pauses in between.
void EPOLLServer::MeasurePass() {
    auto* metrics = g_NetMetrics.Get();
    if (metrics == nullptr || m_ulPassBegin == 0) return;
    const uint64_t now = MonotonicNanos();
    metrics->pass.Add(now - m_ulPassBegin);
    m_ulPassBegin = now;
}

void EPOLLServer::HandleRecord(const DataBuffer& record) {
    EPOLLReceiver* receiver = record.lpContext;
    if (record.lLength > 0) {
        OnData(receiver, static_cast<char*>(record.buffer), record.lLength);
        --receiver->m_lRecvCount;
        Buffers()->FreeBuffer(record.buffer);
    } else if (record.lLength == 0) {
        OnEstablished(receiver);
    } else {
        constexpr int kCount = 1;
        __log(_ALL, "EPOLLServer::DoNetMsg",
              "count[%d] length[%d] node[%08x] context[%08x] shutdown[%d] isclosed[%d] bclosed[%d] "
              "websocket status[%d] 11111111...",
              kCount, static_cast<int>(record.lLength),
              static_cast<unsigned>(receiver->m_ulAssociate), PtrTag(receiver), IsShutdown(),
              receiver->IsClosed(), receiver->m_bCallClosed, receiver->GetWebStocketStatus());
        CloseConnections(receiver, kCount, record.lLength);
    }
}

void EPOLLServer::OnEstablished(EPOLLReceiver* receiver) {
    if (SweepsEnabled()) {
        receiver->m_lpPrior = m_lpClientTail;
        receiver->m_lpNext = nullptr;
        (m_lpClientTail != nullptr ? m_lpClientTail->m_lpNext : m_lpClientList) = receiver;
        m_lpClientTail = receiver;
        receiver->m_bListed = true;
        ++m_lClientCount;
        receiver->m_lRecvTime = m_lUptime;
    }
    receiver->m_bProxyHeader = m_Trust.header != ProxyTrust::Header::None && IsProxy(receiver);
    if (auto* metrics = g_NetMetrics.Get()) metrics->clientsOpened.Add();
    if (!LogEnabled(_ALL)) return;
    __log(_ALL, "EPOLLServer::DoNetMsg", "node[%08x], context[%08x] %s:%d connected......... [%d]",
          static_cast<unsigned>(receiver->m_ulAssociate), PtrTag(receiver),
          receiver->Client().Format().text, receiver->ClientPort(),
          static_cast<int>(m_lClientCount));
}

void EPOLLServer::OnData(EPOLLReceiver* receiver, char* data, long length) {
    receiver->m_lRecvTime = m_lUptime;
    if (auto* metrics = g_NetMetrics.Get()) metrics->bytesIn.Add(static_cast<uint64_t>(length));
    // What is behind the header is the first data.
    if (receiver->m_bProxyHeader && !TakeProxyHeader(receiver, data, length)) return;
    if (!receiver->IsStopped()) DispatchData(receiver, data, length);
    receiver->m_bFirstData = false;
}

void EPOLLServer::DispatchData(EPOLLReceiver* receiver, char* data, long length) {
    if (m_bWebSocket && receiver->GetWebStocketStatus() == WEBSOCKET_UPGRADED) {
        return TakeFrames(receiver, data, length);
    }
    if (m_bWebSocket && BeginsRequest(receiver, data)) return TakeRequest(receiver, data, length);
    // Only a client's first bytes can ask for an upgrade: later ones, and those of the back-end
    // servers, may well contain the word.
    const std::string_view bytes(data, static_cast<size_t>(length));
    if (!m_bWebSocket && receiver->m_bFirstData && receiver->m_bAcceptClient &&
        receiver->GetWebStocketStatus() == WEBSOCKET_NONE &&
        bytes.find("Connection") != std::string_view::npos) {
        HandShark(receiver, data, length);
    } else if (receiver->GetWebStocketStatus() == WEBSOCKET_UPGRADED) {
        OnFrames(receiver, data, length);
    } else if (m_lpNetMessager != nullptr) {
        m_lpNetMessager->OnReadCompleted(receiver, data, length);
    }
}

void EPOLLServer::HandShark(EPOLLReceiver* receiver, const char* request, long length) {
    TakeForwardedClient(receiver, request, length);
    __log(_ALL, "EPOLLServer::DoNetMsg", "node[%08x] context[%08x], %s:%d ReadCompleted...[%d][%d]",
          static_cast<unsigned>(receiver->m_ulAssociate), PtrTag(receiver),
          receiver->Client().Format().text, receiver->ClientPort(), static_cast<int>(length),
          receiver->GetWebStocketStatus());
    FetchHttpInfo(request, length, m_mapHeader);
    if (m_bWebSocket && !FetchKey(request, length, m_mapHeader)) {
        return RefuseRequest(receiver,
                             "This port speaks WebSocket and the lobby's own protocol. The header "
                             "Sec-WebSocket-Key, which begins a WebSocket, is missing.");
    }
    const long size = ParseStr(m_Sha1, m_mapHeader, m_szResponse);
    // Written before the state changes, so that no frame of the send thread can come first. The
    // socket is new and has room; one that has not gets no second attempt from this thread.
    const long sent = receiver->SendWebSocketData(m_szResponse, size, size, false, nullptr);
    receiver->SetWebSocketStatus(WEBSOCKET_UPGRADED);
    if (auto* metrics = g_NetMetrics.Get()) metrics->upgrades.Add();
    if (sent != size) CloseNode(receiver);
}

void EPOLLServer::OnFrames(EPOLLReceiver* receiver, char* data, long length) {
    const auto result = m_Stream.Receive(
        receiver->m_szBuffer, receiver->m_lLength, data, length, [&](char* payload, long size) {
            if (m_lpNetMessager != nullptr) {
                m_lpNetMessager->OnReadCompleted(receiver, payload, size);
            }
            return !receiver->IsStopped();
        });
    if (result == WebSocketStream::Result::Ok) return;
    auto* metrics = g_NetMetrics.Get();
    if (metrics != nullptr && m_Request.get_opcode() != WEBSOCKET_OPCODE_CLOSE) {
        metrics->CountClose(NetClose::BadFrame);
    }
    constexpr int kCount = 1;
    const auto node = static_cast<unsigned>(receiver->m_ulAssociate);
    if (result == WebSocketStream::Result::CloseFirst) {
        __log(_WARN, "EPOLLServer::DoNetMsg",
              "node[%08x] context[%08x] count[%d] length[%d] 222222, opcode[%d] payload_length[%d] "
              "buflen[%d], bufsize[%d], do close...",
              node, PtrTag(receiver), kCount, static_cast<int>(length), m_Request.get_opcode(),
              static_cast<int>(m_Request.get_payload_length()), static_cast<int>(m_Stream.Total()),
              static_cast<int>(WEBSOCKET_BUFFER));
    } else {
        __log(_WARN, "EPOLLServer::DoNetMsg",
              "node[%08x] context[%08x] count[%d] length[%d] 33333...", node, PtrTag(receiver),
              kCount, static_cast<int>(length));
    }
    CloseNode(receiver);
}

void EPOLLServer::CloseNode(EPOLLReceiver* receiver) {
    auto* node = reinterpret_cast<IPlayerNode*>(receiver->m_ulAssociate);
    if (m_lpGameProvider != nullptr && node != nullptr) m_lpGameProvider->Close(node);
    // Also when the node was closed before: a faulty stream is read no further.
    receiver->CloseContext();
}

void EPOLLServer::CloseConnections(EPOLLReceiver* receiver, long /*count*/, long length) {
    if (receiver->m_bCallClosed) return;
    auto* metrics = g_NetMetrics.Get();
    if (metrics != nullptr && receiver->m_bAcceptClient) metrics->clientsClosed.Add();
    const auto node = static_cast<unsigned>(receiver->m_ulAssociate);
    if (SweepsEnabled()) {
        if (!receiver->m_bAcceptClient) {
            __log(_ALL, "EPOLLServer::CloseConnections", " node[%08x] context[%08x] not accept",
                  node, PtrTag(receiver));
        }
        Unlist(receiver);
        __log(_ALL, "EPOLLServer::CloseConnections",
              "node[%08x] context[%08x], closed... [%d],lpContext->IsClosed()=%d", node,
              PtrTag(receiver), static_cast<int>(m_lClientCount), receiver->IsClosed());
    }
    // Before the report: the context may be released, and in use again, when that returns.
    receiver->m_bCallClosed = true;
    if (m_lpNetMessager == nullptr) {
        __log(_ALL, "EPOLLServer::CloseConnections", "release node[%08x] context[%08x]", node,
              PtrTag(receiver));
        ReleaseContext(receiver);
        return;
    }
    m_lpNetMessager->OnConnectionClosed(receiver, length == -1);
}

void EPOLLServer::Unlist(EPOLLReceiver* receiver) {
    if (!receiver->m_bListed) return;
    EPOLLReceiver* before = receiver->m_lpPrior;
    EPOLLReceiver* behind = receiver->m_lpNext;
    (before != nullptr ? before->m_lpNext : m_lpClientList) = behind;
    (behind != nullptr ? behind->m_lpPrior : m_lpClientTail) = before;
    receiver->m_bListed = false;
    --m_lClientCount;
}

bool EPOLLServer::SweepIfDue(bool idle) {
    if (!SweepsEnabled() || m_lpClientList == nullptr) return false;
    if (IsShutdown()) {
        // The reactor has closed every connection itself; going through the list before each of
        // the closes it queued would take a time that grows with the square of the clients.
        if (m_bShutdownSwept && !idle) return false;
        m_bShutdownSwept = true;
    } else if (static_cast<unsigned long>(m_lUptime - m_lSweepTime) < m_ulInterval) {
        return false;
    }
    Sweep(m_lUptime);
    return !IsShutdown();
}

void EPOLLServer::Sweep(long now) {
    const unsigned long timeout = m_ulTimeout;
    long visited = 0;
    for (EPOLLReceiver* client = m_lpClientList; client != nullptr; client = client->m_lpNext) {
        const bool shutdown = IsShutdown();
        if (shutdown || static_cast<unsigned long>(now - client->m_lRecvTime) >= timeout) {
            if (!shutdown && !client->IsClosed()) {
                if (auto* metrics = g_NetMetrics.Get()) metrics->CountClose(NetClose::Idle);
                __log(_ALL, "EPOLLServer::DoNetMsg", "node[%08x] context[%08x], timeout[%d, %d]",
                      static_cast<unsigned>(client->m_ulAssociate), PtrTag(client),
                      static_cast<int>(m_ulInterval), static_cast<int>(timeout));
            }
            client->Shutdown(SHUT_RDWR);
            client->CloseContext();
        }
        if (++visited % SWEEP_GUARD == 0) {
            // A deliberate trap for a corrupted list.
            __log(_ERROR, "EPOLLServer::DoNetMsg", "iTestBug > 5000, count[%d]",
                  static_cast<int>(visited));
            PauseUntilSignal();
        }
        __log(_ALL, "EPOLLServer::DoNetMsg", "iTestBug Receiver count[%d]",
              static_cast<int>(visited));
    }
    m_lSweepTime = now;
}

// As pause(), but a shutdown ends it too.
void EPOLLServer::PauseUntilSignal() {
    constexpr int kSliceMs = 100;
    while (!IsShutdown()) {
        if (::poll(nullptr, 0, kSliceMs) < 0 && errno == EINTR) return;
    }
}
