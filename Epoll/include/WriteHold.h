// What a thread queues for sending, held until it has finished a piece of work.
#pragma once

#include <array>
#include <cstddef>

struct tagSendBuffer;
class NetSender;

// While a thread has one, what it queues on idle connections waits for its next Flush, which
// writes it, or hands it to the send thread. The buffers written there serve the thread's next
// messages while the processor still has them at hand. Owns those spare buffers; points at the
// sender. Thread: the one that made it, which flushes soon, and with no lock held.
class WriteHold {
  public:
    WriteHold();
    ~WriteHold();
    WriteHold(const WriteHold&) = delete;
    WriteHold& operator=(const WriteHold&) = delete;

    void Flush();
    // Enough is queued for its buffers to be wanted again.
    bool IsFull() const { return m_ulQueued >= m_lpSpares.size() / 2; }

    // The calling thread's, or null.
    static WriteHold* Mine();
    // False: another sender is held already.
    bool Hold(NetSender* sender);
    // A buffer holding whatever its last user left in it, or null.
    tagSendBuffer* TakeSpare() { return m_ulSpares > 0 ? m_lpSpares[--m_ulSpares] : nullptr; }
    // Takes a buffer nobody refers to any more; false when there are enough.
    bool Keep(tagSendBuffer* buffer);
    void CountQueued() { ++m_ulQueued; }

  private:
    NetSender* m_lpSender = nullptr;  // not owned; null: nothing is held
    size_t m_ulQueued = 0;            // messages since the last flush
    size_t m_ulSpares = 0;
    std::array<tagSendBuffer*, 64> m_lpSpares;
};
