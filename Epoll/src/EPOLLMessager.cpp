#include "EPOLLMessager.h"

#include <arpa/inet.h>
#include <unistd.h>

#include <cstddef>
#include <cstring>

#include "Common/Log.h"
#include "Common/Text.h"
#include "Common/WorkerThread.h"
#include "EPOLLBuffer.h"
#include "Epoll.h"
#include "Epoll/NetMetrics.h"

namespace {

constexpr unsigned kSweepGuardSeconds = 10;
constexpr const char* kReadTag = "EPOLLMessage::OnReadCompleted";

void CountBadMessage() {
    if (auto* metrics = g_NetMetrics.Get()) metrics->CountClose(NetClose::BadMessage);
}

}  // namespace

EPOLLMessager::EPOLLMessager(IGameProvider* provider, unsigned long maxSendCount)
    : m_lpGameProvider(provider),
      m_ulMaxSendCount(maxSendCount != 0 ? maxSendCount : kDefaultRing) {}

EPOLLContext* EPOLLMessager::OnCreateContext() {
    IPlayerNode* node = m_lpGameProvider != nullptr ? m_lpGameProvider->OnCreatePlayer() : nullptr;
    auto* context = new EPOLLBuffer(node, m_ulMaxSendCount);
    __log(_ALL, "EPOLLMessager::OnCreateContext", "ctx = %08x, node = %08x", PtrTag(context),
          PtrTag(node));
    return context;
}

void EPOLLMessager::OnTimer(long now) {
    static thread_local const WorkerThread worker;  // who calls back is the application's worker
    if (m_lpGameProvider != nullptr) m_lpGameProvider->OnTimer(now);
}

void EPOLLMessager::OnConnectionClosed(EPOLLContext* context, bool flag) {
    auto* connection = static_cast<EPOLLBuffer*>(context);
    if (m_lpGameProvider != nullptr && connection->Node() != nullptr) {
        m_lpGameProvider->OnClosed(connection->Node(), flag);
    } else {
        connection->Reactor()->FreeConnection(connection);  // nobody else would
    }
}

// The application may take the bytes as they are; most leave them to be cut into messages here.
void EPOLLMessager::OnReadCompleted(EPOLLContext* context, void* buffer, long length) {
    if (m_lpGameProvider == nullptr || context == nullptr || buffer == nullptr || length < 1) {
        __log(_ALL, kReadTag, "m_lpGameProvider[%x], lpContext[%x], buffer[%x], length[%d]",
              PtrTag(m_lpGameProvider), PtrTag(context), PtrTag(buffer), static_cast<int>(length));
        return;
    }
    m_lpCurrent = static_cast<EPOLLBuffer*>(context);
    auto* metrics = g_NetMetrics.Get();
    m_lpCounters = metrics != nullptr ? &metrics->Of(m_lpCurrent->m_bAcceptClient).in : nullptr;
    void* held = m_lpCurrent->m_szBuffer;
    if (m_lpGameProvider->OnReadComplete(m_lpCurrent->Node(), held, m_lpCurrent->m_lLength, buffer,
                                         length)) {
        return;
    }
    FeedStream(m_lpCurrent->m_szBuffer, m_lpCurrent->m_lLength, static_cast<char*>(buffer), length,
               *this);
}

// False ends the look at this block: a callback has closed the connection, or what follows bytes
// that do not decipher is not to be trusted either.
bool EPOLLMessager::OnMessage(char* message, long length) {
    tagMsgHeader header;
    std::memcpy(&header, message, sizeof(header));
    if (header.encode != ENCODE_NONE && length > HEADER_SIZE &&
        !Decode(message, length, header.encode)) {
        CountBadMessage();
        m_lpCurrent->CloseContext();
        return false;
    }
    // The application sees the delivered length in host order, the rest of the header as it came.
    const auto delivered = static_cast<uint16_t>(length);
    std::memcpy(message + offsetof(tagMsgHeader, length), &delivered, sizeof(delivered));
    const uint16_t type = ntohs(header.type);
    if (m_lpCounters != nullptr) m_lpCounters->Add(type);
    m_lpGameProvider->OnNetMessage(m_lpCurrent->Node(), type, message, length);
    return !m_lpCurrent->IsStopped();
}

// Points message at its opened form in the work buffer.
bool EPOLLMessager::Decode(char*& message, long& length, long encode) {
    std::memcpy(m_szDecode, message, static_cast<size_t>(HEADER_SIZE));
    const long size = m_lpGameProvider->Decode(message + HEADER_SIZE, length - HEADER_SIZE, encode,
                                               m_szDecode + HEADER_SIZE, BUFFER_SIZE - HEADER_SIZE);
    if (size < 0) {
        __log(_ALL, kReadTag, "node[%08x], Decode Error ! (%s)", Tag(),
              m_lpGameProvider->GetEncodeName(encode));
        return false;
    }
    message = m_szDecode;
    length = size + HEADER_SIZE;
    return true;
}

void EPOLLMessager::OnBadIdentity(const tagMsgHeader& header) {
    __log(_ALL, kReadTag,
          "node[%08x], IDENTIFY is not match. (%d != %d), encode[%d], length[%d], version[%d], "
          "type[%x]",
          Tag(), header.identity, MSG_IDENTITY, header.encode, header.length, header.version,
          static_cast<unsigned>(header.type));
    CountBadMessage();
    m_lpCurrent->CloseContext();
}

void EPOLLMessager::OnBadLength(long length) {
    __log(_ALL, kReadTag,
          "node[%08x], message length(%d) greater than BUFFER_SIZE(%d) or less than "
          "HEADER_SIZE(%d).",
          Tag(), static_cast<int>(length), static_cast<int>(BUFFER_SIZE),
          static_cast<int>(HEADER_SIZE));
    CountBadMessage();
    m_lpCurrent->CloseContext();
}

void EPOLLMessager::OnIncomplete(long length, long left) {
    __log(_ALL, kReadTag, "node[%08x], length[%d] >= len[%d]  ", Tag(), static_cast<int>(length),
          static_cast<int>(left));
}

// A deliberate brake for a stream gone mad.
void EPOLLMessager::OnTooMany() {
    __log(_ERROR, kReadTag, "iTestBug > 5000");
    ::sleep(kSweepGuardSeconds);
}

unsigned EPOLLMessager::Tag() const {
    return PtrTag(m_lpCurrent->Node());
}
