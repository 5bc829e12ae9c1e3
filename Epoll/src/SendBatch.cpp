#include "SendBatch.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr long kSmall = 512;

}  // namespace

void SendBatch::Start(bool framed, OutgoingFrame& frame, long position) {
    m_bFramed = framed || frame.Begun();
    m_lpFrame = &frame;
    m_lPosition = position;
    m_lBytes = 0;
    m_iEntries = 0;
    m_iParts = 0;
    m_lJoined = 0;
}

bool SendBatch::Add(tagSendBuffer* entry) {
    if (m_iEntries == kMaxEntries || m_lBytes >= kMaxBytes) return false;
    const bool first = m_iEntries == 0;
    auto left = static_cast<long>(entry->ulLength);
    if (NeedsFrame(entry)) {
        OutgoingFrame& frame = m_Frames[m_iEntries];
        if (first && m_lpFrame->Begun()) {
            frame = *m_lpFrame;
        } else {
            frame.Begin(left, entry->ucFrame);
        }
        AddPart(reinterpret_cast<char*>(frame.head) + frame.headSent, frame.HeadLeft());
        left = frame.payloadLeft;
    }
    AddPart(entry->szSendBuffer + (first ? m_lPosition : 0), left);
    m_Entries[m_iEntries++] = entry;
    return true;
}

void SendBatch::AddPart(char* data, long length) {
    if (length <= 0) return;
    m_lBytes += length;
    if (m_iParts > 0 && Join(data, length)) return;
    m_Parts[m_iParts++] = {data, static_cast<size_t>(length)};
}

// Puts a small part behind the last one, in one place with it. A lone part stays where it is.
bool SendBatch::Join(const char* data, long length) {
    iovec& last = m_Parts[m_iParts - 1];
    char* end = m_szJoined + m_lJoined;
    if (length > kSmall || m_lJoined + kSmall + length > kMaxBytes) return false;
    if (static_cast<char*>(last.iov_base) + last.iov_len != end) {
        if (last.iov_len > kSmall) return false;
        std::memcpy(end, last.iov_base, last.iov_len);
        last.iov_base = end;
        end += last.iov_len;
    }
    std::memcpy(end, data, static_cast<size_t>(length));
    last.iov_len += static_cast<size_t>(length);
    m_lJoined = end + length - m_szJoined;
    return true;
}

int SendBatch::Settle(long sent, long& position) {
    if (sent == m_lBytes && m_iEntries > 0) {
        m_lpFrame->Reset();
        position = 0;
        return m_iEntries;
    }
    for (int i = 0; i < m_iEntries; ++i) {
        OutgoingFrame& frame = m_Frames[i];
        const bool framed = NeedsFrame(m_Entries[i]);
        const long head = framed ? frame.HeadLeft() : 0;
        const long payload = framed ? frame.payloadLeft : static_cast<long>(m_Entries[i]->ulLength);
        if (sent >= head + payload) {
            sent -= head + payload;
            m_lPosition = 0;
            m_lpFrame->Reset();
            continue;
        }
        const long ofHead = std::min(sent, head);
        const long ofPayload = sent - ofHead;
        m_lPosition += ofPayload;
        if (framed) {
            frame.headSent += ofHead;
            frame.payloadLeft -= ofPayload;
            *m_lpFrame = frame;
        } else {
            // The length belongs to the buffer, not to the connection: a partial send shortens
            // what the other holders of a shared buffer will send. That is required.
            m_Entries[i]->ulLength -= static_cast<uint64_t>(ofPayload);
        }
        position = m_lPosition;
        return i;
    }
    position = m_lPosition;
    return m_iEntries;
}
