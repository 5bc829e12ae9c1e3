// The queueing side of NetSender, called by any thread.
#include "NetSender.h"

#include <arpa/inet.h>
#include <sys/epoll.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <new>

#include "Common/Clock.h"
#include "Common/Log.h"
#include "Common/Text.h"
#include "Common/Thread.h"
#include "EPOLLBuffer.h"
#include "Epoll/NetMetrics.h"
#include "WriteHold.h"

namespace {

constexpr unsigned kSenderPauseUs = 1000;
constexpr long kSmallMessage = 512;
constexpr long kTwoFrameHeads = 2 * WEBSOCKET_MAX_HEAD;

// A raw record of the recycler, or null.
tagSendBuffer* TakeBuffer() {
    WriteHold* hold = WriteHold::Mine();
    if (tagSendBuffer* spare = hold != nullptr ? hold->TakeSpare() : nullptr) return spare;
    try {
        return g_SendFactory.CreateNode();
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

// The number of the first message in a filled buffer; 0 for what is none.
uint16_t TypeOf(const tagSendBuffer* buffer) {
    if (buffer->ucFrame != WEBSOCKET_DATA_FRAME) return 0;
    tagMsgHeader header;
    std::memcpy(&header, buffer->szSendBuffer, sizeof(header));
    return ntohs(header.type);
}

// Writes the head of the frame for so many bytes where there is room for the longest; returns its
// length.
long PutFrameHead(char* to, uint64_t payload) {
    uint8_t head[WEBSOCKET_MAX_HEAD] = {};
    const size_t size = BuildWebSocketHead(payload, head);
    std::memcpy(to, head, sizeof(head));
    return static_cast<long>(size);
}

// Puts a block's first message into its frame, so that others may follow in theirs.
void FrameFirst(tagSendBuffer* block) {
    char head[WEBSOCKET_MAX_HEAD];
    const auto size = static_cast<size_t>(PutFrameHead(head, block->ulLength));
    std::memmove(block->szSendBuffer + size, block->szSendBuffer, block->ulLength);
    std::memcpy(block->szSendBuffer, head, size);
    block->ulLength += size;
    block->ucFrame = FRAMED_ALREADY;
}

EPOLLBuffer* BufferOf(IPlayerNode* node) {
    EPOLLContext* context = nullptr;
    return node->GetContext(&context) ? static_cast<EPOLLBuffer*>(context) : nullptr;
}

}  // namespace

NetSender::NetSender(INetProvider* netProvider, IGameProvider* gameProvider,
                     unsigned long maxSendCount, const NetLimits& limits)
    : m_lpNetProvider(netProvider),
      m_lpGameProvider(gameProvider),
      m_ulMaxSendCount(static_cast<long>(maxSendCount != 0 ? maxSendCount : kDefaultRing)),
      m_lMaxClientSendCount(limits.clientSendCount != 0 ? static_cast<long>(limits.clientSendCount)
                                                        : m_ulMaxSendCount),
      m_bKeepFullLinks(limits.keepFullLinks) {}

NetSender::~NetSender() {
    m_bExit = true;
    m_Doorbell.Ring();
    while (m_lThreadCount > 0)
        ::usleep(kSenderPauseUs);
    if (m_iSendPoll >= 0) ::close(m_iSendPoll);
}

bool NetSender::Initialize() {
    if (m_iSendPoll < 0) {
        m_iSendPoll = ::epoll_create1(EPOLL_CLOEXEC);
        if (m_iSendPoll < 0) return false;
        m_Doorbell.Open(m_iSendPoll);
    }
    if (m_lThreadCount == 0) {
        ++m_lThreadCount;
        if (!CreateThread(nullptr, 0, SendThread, this)) --m_lThreadCount;
    }
    return m_lThreadCount > 0;
}

char* NetSender::FillHeader(unsigned short type, void* data, long& length, long encode, char* dst,
                            long dstCapacity) {
    auto* body = static_cast<char*>(data);
    if (data == nullptr || length <= 0) {
        length = HEADER_SIZE;
    } else if (encode != ENCODE_NONE) {
        if (length < HEADER_SIZE) return nullptr;
        const long size = m_lpGameProvider->Encode(body + HEADER_SIZE, length - HEADER_SIZE, encode,
                                                   dst + HEADER_SIZE, dstCapacity - HEADER_SIZE);
        if (size < 0) {
            __log(_ALL, "NetSender::FillHeader", "Encode Error ! (%s), (type = %x)",
                  m_lpGameProvider->GetEncodeName(encode), static_cast<unsigned>(type));
            return nullptr;
        }
        length = size + HEADER_SIZE;
    } else {
        if (length > SEND_BUFFER || length > dstCapacity) return nullptr;
        std::memcpy(dst, data, static_cast<size_t>(length));
    }
    tagMsgHeader header{};
    header.identity = MSG_IDENTITY;
    header.encode = static_cast<uint8_t>(encode);
    header.length = htons(static_cast<uint16_t>(length));
    header.version = MSG_VERSION;
    header.type = htons(type);
    std::memcpy(dst, &header, sizeof(header));
    return dst;
}

void* NetSender::AllocMassData(unsigned long count, unsigned short type, void* data, long length,
                               long encode) {
    constexpr const char* kTag = "NetSender::AllocMassData";
    if (count == 0) {
        __log(_ALL, kTag, "type[%x], ulCount = 0, error", static_cast<unsigned>(type));
        return nullptr;
    }
    tagSendBuffer* buffer = TakeBuffer();
    if (buffer == nullptr) {
        __log(_ALL, kTag, "type[%x], lpData = NULL, g_SendFactory.CreateNode() error",
              static_cast<unsigned>(type));
        return nullptr;
    }
    if (FillHeader(type, data, length, encode, buffer->szSendBuffer, SEND_BUFFER) == nullptr) {
        __log(_ALL, kTag, "type[%x], FillHeader() error", static_cast<unsigned>(type));
        g_SendFactory.FreeNode(buffer);
        return nullptr;
    }
    buffer->ulLength = static_cast<uint64_t>(length);
    buffer->ulReferenceCount = count;
    buffer->ucFrame = WEBSOCKET_DATA_FRAME;
    buffer->usMessages = 1;
    return buffer;
}

void* NetSender::AllocMassData(unsigned long count, void* data, long length) {
    constexpr const char* kTag = "NetSender::AllocMassData";
    if (count == 0) {
        __log(_ALL, kTag, "ulCount = 0, error !");
        return nullptr;
    }
    if (length > SEND_BUFFER) {
        __log(_ALL, kTag, "SEND_BUFFER[%d] < len[%d] !", static_cast<int>(SEND_BUFFER),
              static_cast<int>(length));
        return nullptr;
    }
    tagSendBuffer* buffer = TakeBuffer();
    if (buffer == nullptr) {
        __log(_ALL, kTag, "lpData = NULL, g_SendFactory.CreateNode() error !");
        return nullptr;
    }
    if (data == nullptr || length < 0) length = 0;
    if (length > 0) std::memcpy(buffer->szSendBuffer, data, static_cast<size_t>(length));
    buffer->ulLength = static_cast<uint64_t>(length);
    buffer->ulReferenceCount = count;
    buffer->ucFrame = WEBSOCKET_DATA_FRAME;
    buffer->usMessages = 1;
    return buffer;
}

bool NetSender::SendMassData(IPlayerNode* node, void* massData) {
    constexpr const char* kTag = "NetSender::SendMassData";
    if (node == nullptr) {
        __log(_ALL, kTag, "lpPlayerNode = NULL");
        return false;
    }
    if (massData == nullptr) {
        __log(_ALL, kTag, "node[%08x], lpMassData = NULL", PtrTag(node));
        return false;
    }
    if (AddData(node, static_cast<tagSendBuffer*>(massData)) == Adding::Queued) return true;
    __log(_ALL, kTag, "node[%08x], AddData() error", PtrTag(node));
    return false;
}

bool NetSender::SendData(IPlayerNode* node, unsigned short type, void* data, long length,
                         long encode) {
    return SendTyped(node, type, data, length, encode, 0);
}

bool NetSender::SendIfRoom(IPlayerNode* node, unsigned short type, void* data, long length,
                           long encode, long room) {
    return SendTyped(node, type, data, length, encode, room);
}

bool NetSender::SendTyped(IPlayerNode* node, unsigned short type, void* data, long length,
                          long encode, long room) {
    constexpr const char* kTag = "NetSender::SendData";
    if (ShareBlock(node, type, data, length, encode, room)) return true;
    auto* buffer = static_cast<tagSendBuffer*>(AllocMassData(1, type, data, length, encode));
    if (buffer == nullptr) {
        __log(_ALL, kTag, "node[%08x], type[%x], lpData = NULL, AllocMassData() error",
              PtrTag(node), static_cast<unsigned>(type));
        CloseFailed(node);
        return false;
    }
    const Adding result = AddData(node, buffer, room, true);
    if (result == Adding::Queued) return true;
    __log(_ALL, kTag, "node[%08x], type[%x], AddData() error", PtrTag(node),
          static_cast<unsigned>(type));
    if (result == Adding::Failed) CloseFailed(node);
    DropReference(buffer);
    return false;
}

bool NetSender::SendData(IPlayerNode* node, void* data, long length) {
    constexpr const char* kTag = "NetSender::SendData";
    if (length > SEND_BUFFER) {
        __log(_ALL, kTag, "node[%08x], SEND_BUFFER[%d] < len[%d]", PtrTag(node),
              static_cast<int>(SEND_BUFFER), static_cast<int>(length));
        CloseFailed(node);
        return false;
    }
    auto* buffer = static_cast<tagSendBuffer*>(AllocMassData(1, data, length));
    if (buffer == nullptr) {
        __log(_ALL, kTag, "node[%08x], lpData = NULL, g_SendFactory.CreateNode() error",
              PtrTag(node));
        CloseFailed(node);
        return false;
    }
    const Adding result = AddData(node, buffer);
    if (result == Adding::Queued) return true;
    __log(_ALL, kTag, "node[%08x], AddData() error", PtrTag(node));
    if (result == Adding::Failed) CloseFailed(node);
    DropReference(buffer);
    return false;
}

bool NetSender::SendControl(IPlayerNode* node, unsigned char opcode, const void* data,
                            long length) {
    constexpr uint8_t kFinal = 0x80;
    auto* buffer = static_cast<tagSendBuffer*>(AllocMassData(1, const_cast<void*>(data), length));
    if (buffer != nullptr) {
        buffer->ucFrame = kFinal | opcode;
        if (AddData(node, buffer) == Adding::Queued) return true;
        DropReference(buffer);
    }
    Close(node);
    return false;
}

// Writes a small message into the block that the last one of this thread to the same receiver waits
// in, to a WebSocket each in its frame. False: nothing was done, it needs a block of its own.
bool NetSender::ShareBlock(IPlayerNode* node, unsigned short type, void* data, long length,
                           long encode, long room) {
    WriteHold* hold = WriteHold::Mine();
    if (hold == nullptr || node == nullptr || encode != ENCODE_NONE || length > kSmallMessage) {
        return false;
    }
    EPOLLBuffer* context = BufferOf(node);
    if (context == nullptr) return false;
    const LockGuard guard(context->m_lockSend);
    const bool frames = context->GetWebStocketStatus() == WEBSOCKET_UPGRADED;
    tagSendBuffer* block =
        context->OpenFor(std::max(length, HEADER_SIZE) + (frames ? kTwoFrameHeads : 0));
    const long pending = context->m_lSendCount.load(std::memory_order_relaxed);
    const bool client = context->m_bAcceptClient;
    if (block == nullptr || context->m_bClosed) return false;
    if (pending + room >= MostPending(client)) return false;
    if (frames && block->ucFrame != FRAMED_ALREADY) {
        if (block->usMessages > 1) return false;  // from before it became a WebSocket
        FrameFirst(block);
    }
    char* to = block->szSendBuffer + block->ulLength;
    if (data == nullptr || length <= 0) length = HEADER_SIZE;
    const long head = frames ? PutFrameHead(to, static_cast<uint64_t>(length)) : 0;
    FillHeader(type, data, length, encode, to + head, kSmallMessage);
    block->ulLength += static_cast<uint64_t>(head + length);
    ++block->usMessages;
    context->m_lSendCount.store(pending + 1, std::memory_order_relaxed);
    if (auto* metrics = g_NetMetrics.Get()) metrics->Of(client).out.Add(type);
    hold->CountQueued();
    return true;
}

NetSender::Adding NetSender::AddData(IPlayerNode* node, tagSendBuffer* buffer, long room,
                                     bool shared) {
    constexpr const char* kTag = "NetSender::AddData";
    if (node == nullptr) {
        __log(_ALL, kTag, "lpPlayerNode = NULL");
        return Adding::Failed;
    }
    EPOLLBuffer* context = BufferOf(node);
    if (context == nullptr) {
        __log(_ALL, kTag, "node[%08x], lpContext = NULL", PtrTag(node));
        return Adding::Failed;
    }
    const LockGuard guard(context->m_lockSend);
    if (context->m_bClosed) {
        __log(_ALL, kTag, "node[%08x], has been closed", PtrTag(node));
        return Adding::Failed;
    }
    auto* metrics = g_NetMetrics.Get();
    const bool client = context->m_bAcceptClient;
    const long most = MostPending(client);
    const long pending = context->m_lSendCount;
    if (pending + room >= most) {
        __log(_ALL, kTag, "node[%08x], m_lMaxSendCount - 1 [%ld] <= send count[%ld]", PtrTag(node),
              most, pending);
        if (room > 0 || (m_bKeepFullLinks && !client)) return Adding::Refused;
        if (metrics != nullptr) metrics->CountClose(NetClose::SendRing);
        return Adding::Failed;
    }
    // Counted first: the consumer may be done with the buffer before this returns.
    if (metrics != nullptr) metrics->Of(client).out.Add(TypeOf(buffer));
    context->Append(buffer);
    context->m_bSendData = true;
    if (WriteHold* hold = WriteHold::Mine()) {
        hold->CountQueued();
        if (shared && context->IsKindKnown()) context->Open(buffer);
    }
    if (pending == 0) HandOver(context);  // otherwise the consumer is at it
    return Adding::Queued;
}

// Puts a connection whose ring was idle before the consumer. That costs no system call: the send
// epoll is asked only about sockets that turn out to be full.
void NetSender::HandOver(EPOLLBuffer* context) {
    LinkReady(context);
    WriteHold* hold = WriteHold::Mine();
    if (hold == nullptr || !hold->Hold(this)) m_Doorbell.Ring();
}

void NetSender::LinkReady(EPOLLBuffer* context) {
    context->m_bReady = true;
    EPOLLBuffer* head = m_lpReady.load();
    do {
        context->m_lpNextReady = head;
    } while (!m_lpReady.compare_exchange_weak(head, context));
}

void NetSender::Close(IPlayerNode* node) {
    bool closed = false;
    // Also when sending had failed before: from now on nothing is delivered any more.
    if (EPOLLBuffer* context = EndSending(node, closed)) context->CloseContext();
}

void NetSender::CloseFailed(IPlayerNode* node) {
    bool closed = false;
    EPOLLBuffer* context = EndSending(node, closed);
    if (context != nullptr && !closed) context->CloseAfterReading();
}

EPOLLBuffer* NetSender::EndSending(IPlayerNode* node, bool& closed) {
    constexpr const char* kTag = "NetSender::Close";
    if (node == nullptr) {
        __log(_ALL, kTag, "node[%08x], NULL == lpPlayerNode", PtrTag(node));
        return nullptr;
    }
    EPOLLBuffer* context = BufferOf(node);
    if (context == nullptr) {
        __log(_ALL, kTag, "node[%08x], NULL == lpContext", PtrTag(node));
        return nullptr;
    }
    closed = context->m_bClosed.exchange(true);
    __log(_ALL, kTag, "node[%08x], m_bClosed[%d]", PtrTag(node), closed);
    return context;
}

void NetSender::OnClosed(IPlayerNode* node) {
    constexpr const char* kTag = "NetSender::OnClosed";
    if (node == nullptr) {
        __log(_ALL, "NetSender::OnClose", "node[%08x], lpPlayerNode = NULL", PtrTag(node));
        return;
    }
    EPOLLBuffer* context = BufferOf(node);
    if (context == nullptr) {
        __log(_ALL, "NetSender::OnClose", "node[%08x], lpContext = NULL", PtrTag(node));
        return;
    }
    {
        const LockGuard guard(context->m_lockSend);
        context->m_bClosed = true;
        if (context->m_bReleasing) return;
        context->m_bReleasing = true;
        if (context->m_bSendData) {
            PushCloseMarker(context, node);
            return;
        }
    }
    __log(_ALL, kTag, "release node[%08x]", PtrTag(node));
    m_lpNetProvider->ReleaseContext(context);
}

// The send thread releases the context behind the marker; m_lockSend is held.
void NetSender::PushCloseMarker(EPOLLBuffer* context, IPlayerNode* node) {
    constexpr const char* kTag = "NetSender::OnClosed";
    __log(_ALL, kTag, "node[%08x],lpBuffer->m_bClosed=%d,[%08x]", PtrTag(node),
          context->m_bClosed.load(), PtrTag(context));
    // Listed and marked in one step: the send thread must neither find it listed without its
    // marker nor release it before it is listed.
    const LockGuard guard(m_lockClosing);
    LinkClosing(context);
    context->Append(nullptr);
    if (context->m_lSendCount == 1) HandOver(context);
}
