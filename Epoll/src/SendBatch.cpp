#include "SendBatch.h"

#include <algorithm>

void SendBatch::Start(bool framed, OutgoingFrame& frame, long position) {
    m_bFramed = framed || frame.Begun();
    m_lpFrame = &frame;
    m_lPosition = position;
    m_lBytes = 0;
    m_iEntries = 0;
    m_iParts = 0;
}

bool SendBatch::Add(tagSendBuffer* entry) {
    if (m_iEntries == kMaxEntries || m_lBytes >= kMaxBytes) return false;
    const bool first = m_iEntries == 0;
    auto left = static_cast<long>(entry->ulLength);
    if (m_bFramed) {
        OutgoingFrame& frame = m_Frames[m_iEntries];
        if (first && m_lpFrame->Begun()) {
            frame = *m_lpFrame;
        } else {
            frame.Begin(left);
        }
        AddPart(frame.head + frame.headSent, frame.HeadLeft());
        left = frame.payloadLeft;
    }
    AddPart(entry->szSendBuffer + (first ? m_lPosition : 0), left);
    m_Entries[m_iEntries++] = entry;
    return true;
}

void SendBatch::AddPart(void* data, long length) {
    if (length <= 0) return;
    m_Parts[m_iParts++] = {data, static_cast<size_t>(length)};
    m_lBytes += length;
}

int SendBatch::Settle(long sent, long& position) {
    for (int i = 0; i < m_iEntries; ++i) {
        OutgoingFrame& frame = m_Frames[i];
        const long head = m_bFramed ? frame.HeadLeft() : 0;
        const long payload =
            m_bFramed ? frame.payloadLeft : static_cast<long>(m_Entries[i]->ulLength);
        if (sent >= head + payload) {
            sent -= head + payload;
            m_lPosition = 0;
            m_lpFrame->Reset();
            continue;
        }
        const long ofHead = std::min(sent, head);
        const long ofPayload = sent - ofHead;
        m_lPosition += ofPayload;
        if (m_bFramed) {
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
