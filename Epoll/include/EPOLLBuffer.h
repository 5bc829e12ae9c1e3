// The context the framework creates for every connection.
#pragma once

#include <atomic>
#include <memory>

#include "EPOLLReceiver.h"
#include "LightLock.h"
#include "NodeManager/NodeRecords.h"

class IPlayerNode;

// So many messages may wait for a connection whose maxSendCount is 0.
constexpr unsigned long kDefaultRing = 100;

// A connection with its partial message, its send ring and its node. Owns the node and the ring;
// the buffers in the ring are references into g_SendFactory.
// The ring has any number of producers and one consumer at a time, which takes and settles many
// entries under one lock. Its count hands entries over: the producer that raises it from 0 hands
// the connection to the consumer, which has it until the count is 0 again.
// Small messages that wait share a block: whoever queues one behind an open block writes it there,
// for a WebSocket behind the head of its frame.
// The consumer closes a block when it takes it. Counted are messages, whatever they share.
// The ring begins small and grows with the largest queue the connection ever had.
class EPOLLBuffer : public EPOLLReceiver {
  public:
    EPOLLBuffer(IPlayerNode* node, unsigned long maxSendCount);
    ~EPOLLBuffer() override LOCK_UNSEEN;

    void Initialize() override LOCK_UNSEEN;  // nobody else knows it yet
    void Release() override;

    long Unsent() const override { return m_lEntries.load(std::memory_order_relaxed); }
    IPlayerNode* Node() const { return m_lpPlayerNode; }

  private:
    friend class EPOLLMessager;
    friend class NetSender;

    void Append(tagSendBuffer* entry) NEEDS_LOCK(m_lockSend);
    // What is appended next may share the entry's block.
    void Open(tagSendBuffer* entry) NEEDS_LOCK(m_lockSend) { m_lpOpen = entry; }
    // The block that has room for so many bytes more, or null.
    tagSendBuffer* OpenFor(long length) const NEEDS_LOCK(m_lockSend);
    void Grow() NEEDS_LOCK(m_lockSend);
    void DropPending() NEEDS_LOCK(m_lockSend);
    // The consumer: settles `done` entries (whose references are given up already) and `messages`,
    // and copies up to `room` of the oldest pending entries. Returns how many; 0 when the ring is
    // idle, which is then touched no more.
    long Advance(long done, long messages, tagSendBuffer** entries, long room);

    long m_lLength = 0;                 // bytes held in m_szBuffer
    IPlayerNode* const m_lpPlayerNode;  // owned; may be null
    LightLock m_lockSend;               // serialises producers; before the sender's m_lockClosing
    std::atomic<bool> m_bClosed{true};  // no further sends are accepted; hides the base's flag
    bool m_bSendData GUARDED_BY(m_lockSend) = false;   // something was queued once
    bool m_bReleasing GUARDED_BY(m_lockSend) = false;  // OnClosed was called
    // The slots; a null entry is the close marker.
    tagSendBuffer** m_lpSendBuffer GUARDED_BY(m_lockSend) = nullptr;
    long m_lSlots GUARDED_BY(m_lockSend) = 0;
    const long m_lMaxSendCount;                                // the slots grow to this
    long m_lCurrentPos GUARDED_BY(m_lockSend) = 0;             // slot being sent
    long m_lTailPos GUARDED_BY(m_lockSend) = 0;                // next free slot
    tagSendBuffer* m_lpOpen GUARDED_BY(m_lockSend) = nullptr;  // the newest entry, or null
    std::atomic<long> m_lEntries{0};                           // pending; changed under m_lockSend
    std::atomic<long> m_lSendCount{0};  // messages in them, 0 when there are none; the same

    EPOLLBuffer* m_lpNextReady = nullptr;  // list of the sender; its owner is whoever links
    std::atomic<bool> m_bReady{false};     // in that list, or set aside
    long m_lResumeTime = 0;                // uptime at which what was set aside goes on

    // The consumer only.
    long m_lSendPos = 0;      // bytes of the current buffer already sent
    bool m_bBlocked = false;  // waits for room in the socket
    bool m_bPolled = false;   // the send epoll knows the socket

    // Closed connections the send thread still owes something; guarded by its m_lockClosing.
    EPOLLBuffer* m_lpNextClosing = nullptr;
    EPOLLBuffer* m_lpPriorClosing = nullptr;
    long m_lCloseTime = 0;  // seconds since boot

    // Message worker only. What arrives goes through two buffers: the base's members of these names
    // hold a WebSocket frame that is not complete, these the message that the frames' payload, or
    // plain TCP, has begun. A plain connection leaves the base's empty.
    char m_szBuffer[4096];  // partial message carried over between reads
};
