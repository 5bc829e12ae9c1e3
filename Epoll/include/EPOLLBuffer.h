// The context the framework creates for every connection.
#pragma once

#include <atomic>
#include <memory>
#include <mutex>

#include "EPOLLReceiver.h"
#include "NodeManager/NodeRecords.h"

class IPlayerNode;

// A connection with its partial message, its send ring and its node. Owns the node and the ring;
// the buffers in the ring are references into g_SendFactory.
// The ring has any number of producers, one at a time under m_lockSend, and one consumer, the
// send thread. Its count hands entries over: the producer that raises it from 0 arms the socket,
// and from then to 0 the consumer alone touches m_lCurrentPos, m_lSendPos and the socket's arming.
class EPOLLBuffer : public EPOLLReceiver {
  public:
    EPOLLBuffer(IPlayerNode* node, unsigned long maxSendCount);
    ~EPOLLBuffer() override;

    void Initialize() override;
    void Release() override;

    IPlayerNode* Node() const { return m_lpPlayerNode; }

  private:
    friend class EPOLLMessager;
    friend class NetSender;

    void DropPending();

    // Message worker only. Both members hide those of the base, which hold partial frames.
    char m_szBuffer[4096];  // partial message carried over between reads
    long m_lLength = 0;

    std::mutex m_lockSend;              // serialises producers; before the sender's m_lockClosing
    bool m_bSendData = false;           // added to the send epoll once; guarded by m_lockSend
    std::atomic<bool> m_bClosed{true};  // no further sends are accepted; hides the base's flag
    bool m_bReleasing = false;          // OnClosed was called; guarded by m_lockSend
    tagSendBuffer** m_lpSendBuffer = nullptr;  // m_lMaxSendCount slots; null is the close marker
    const long m_lMaxSendCount;
    long m_lTailPos = 0;                // next free slot; guarded by m_lockSend
    std::atomic<long> m_lSendCount{0};  // entries pending

    // Send thread only.
    long m_lCurrentPos = 0;   // slot being sent
    long m_lSendPos = 0;      // bytes of that buffer already sent
    bool m_bBlocked = false;  // waits for room in the socket

    // Closed connections the send thread still owes something; guarded by its m_lockClosing.
    EPOLLBuffer* m_lpNextClosing = nullptr;
    EPOLLBuffer* m_lpPriorClosing = nullptr;
    long m_lCloseTime = 0;  // seconds since boot

    IPlayerNode* const m_lpPlayerNode;  // owned; may be null
};
