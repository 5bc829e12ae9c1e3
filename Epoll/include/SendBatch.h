// Several queued messages in one system call, without sockets.
#pragma once

#include <sys/uio.h>

#include "NodeManager/NodeRecords.h"
#include "WebSocketStream.h"

// The frame around a message that is being written. Once an attempt to write it was made it must
// go out as it is, whatever becomes of a shared buffer meanwhile. Thread: consumer of the queues.
struct OutgoingFrame {
    uint8_t head[WEBSOCKET_MAX_HEAD];
    long headSize;  // 0: no frame begun
    long headSent;
    long payloadLeft;

    bool Begun() const { return headSize > 0; }
    long HeadLeft() const { return headSize - headSent; }
    void Begin(long payload, uint8_t first = WEBSOCKET_DATA_FRAME) {
        headSize = static_cast<long>(BuildWebSocketHead(static_cast<uint64_t>(payload), head));
        head[0] = first;
        headSent = 0;
        payloadLeft = payload;
    }
    void Reset() { headSize = headSent = payloadLeft = 0; }
};

// Gathers the first messages of a connection's queue for one write and, when the kernel has said
// how much it took, settles positions, frames and lengths exactly as if every message had been
// given to a call of its own. Points at the messages and the connection's frame between Start and
// Settle. Thread: consumer of the queues; one object serves every connection.
class SendBatch {
  public:
    static constexpr int kMaxEntries = 64;

    SendBatch() = default;
    SendBatch(const SendBatch&) = delete;
    SendBatch& operator=(const SendBatch&) = delete;

    // framed: each message travels in a frame of its own, and has one already or gets it here.
    // frame: the connection's, which the first message continues if it is begun. position: bytes of
    // that message already written.
    void Start(bool framed, OutgoingFrame& frame, long position);
    // Appends a message; false, and not appended, when the batch holds enough.
    bool Add(tagSendBuffer* entry);
    int Entries() const { return m_iEntries; }
    iovec* Parts() { return m_Parts; }
    int PartCount() const { return m_iParts; }

    // Accounts for `sent` bytes; 0 when the socket took none. Returns how many messages are
    // written whole; position becomes that of the message behind them.
    int Settle(long sent, long& position);

  private:
    bool NeedsFrame(const tagSendBuffer* entry) const {
        return m_bFramed && entry->ucFrame != FRAMED_ALREADY;
    }
    void AddPart(char* data, long length);
    bool Join(const char* data, long length);

    // More than a socket of the framework takes at once.
    static constexpr long kMaxBytes = 16384;

    bool m_bFramed = false;
    OutgoingFrame* m_lpFrame = nullptr;
    long m_lPosition = 0;
    long m_lBytes = 0;
    int m_iEntries = 0;
    int m_iParts = 0;
    tagSendBuffer* m_Entries[kMaxEntries];
    OutgoingFrame m_Frames[kMaxEntries];  // of the entries, when framed
    iovec m_Parts[2 * kMaxEntries];
    // Small parts, one behind the other: the kernel takes longer for each part than for its bytes.
    char m_szJoined[kMaxBytes];
    long m_lJoined = 0;
};
