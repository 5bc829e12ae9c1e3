// The send side: queues of filled buffers per connection, written by one thread at a time.
#pragma once

#include <atomic>
#include <mutex>

#include "Doorbell.h"
#include "Game/NetGame.h"
#include "NodeManager/NodeRecords.h"
#include "SendBatch.h"

class EPOLLBuffer;

// Fills send buffers, queues them on connections and writes the queues; gives a closed connection
// back to the provider once its queue is settled. Owns its epoll instance; points at provider and
// network provider.
// Whoever holds m_lockDrain is the consumer of all queues: the send thread, or, while that sleeps,
// the message worker between two callbacks. The worker writes what a socket takes at once and
// leaves to the send thread all that would hold it up: full sockets, long queues, many receivers.
// Thread: the INetSender functions on any; the private ones on the consumer unless marked.
// A failed send closes the connection: a peer never sees a gap in its stream.
class NetSender : public INetSender {
  public:
    // maxSendCount 0 means 100; it must be what the contexts were made with.
    NetSender(INetProvider* netProvider, IGameProvider* gameProvider, unsigned long maxSendCount,
              const NetLimits& limits = {});
    // Ends the send thread.
    ~NetSender() override;
    NetSender(const NetSender&) = delete;
    NetSender& operator=(const NetSender&) = delete;

    bool Initialize() override;
    bool SendData(IPlayerNode* node, unsigned short type, void* data, long length,
                  long encode) override;
    bool SendData(IPlayerNode* node, void* data, long length) override;
    bool SendControl(IPlayerNode* node, unsigned char opcode, const void* data,
                     long length) override;
    bool SendIfRoom(IPlayerNode* node, unsigned short type, void* data, long length, long encode,
                    long room) override;
    // A tagSendBuffer with count references, or null.
    void* AllocMassData(unsigned long count, unsigned short type, void* data, long length,
                        long encode) override;
    void* AllocMassData(unsigned long count, void* data, long length) override;
    // False: not queued, and the reference stays the caller's.
    bool SendMassData(IPlayerNode* node, void* massData) override;
    void Close(IPlayerNode* node) override;
    void OnClosed(IPlayerNode* node) override;

    // Writes what was queued if the send thread is asleep, and wakes it for the rest. Any thread,
    // with no lock held.
    void WriteHere();

    // Builds one outgoing message in dst and returns dst, or null. length is the size of data,
    // header room included, and becomes the length on the wire. Any thread.
    char* FillHeader(unsigned short type, void* data, long& length, long encode, char* dst,
                     long dstCapacity);

  private:
    enum class Progress { Sent, Blocked, Failed };

    // So many entries in a row, and a ring rests for ten seconds. Only that ring: the thread serves
    // every other connection, too.
    static constexpr int kPassGuard = 5000;

    // Any thread.
    enum class Adding { Queued, Failed, Refused };  // Refused: the connection is to stay
    // shared: smaller messages may follow in the same block.
    Adding AddData(IPlayerNode* node, tagSendBuffer* buffer, long room = 0, bool shared = false);
    bool ShareBlock(IPlayerNode* node, unsigned short type, void* data, long length, long encode,
                    long room);
    long MostPending(bool client) const {
        return (client ? m_lMaxClientSendCount : m_ulMaxSendCount) - 1;
    }
    bool SendTyped(IPlayerNode* node, unsigned short type, void* data, long length, long encode,
                   long room);
    void CloseFailed(IPlayerNode* node);  // not asked for: what the peer sent is still delivered
    // Accepts no further sends; the node's context unless there is none. closed: nor did it before.
    EPOLLBuffer* EndSending(IPlayerNode* node, bool& closed);
    void PushCloseMarker(EPOLLBuffer* context, IPlayerNode* node);
    void HandOver(EPOLLBuffer* context);   // the context's m_lockSend is held
    void LinkReady(EPOLLBuffer* context);  // by whoever has the idle ring, or the consumer

    static void* SendThread(void* self);
    void OnSend();
    EPOLLBuffer* TakeReady();
    void DrainReady(long most);
    void Drain(EPOLLBuffer* context, bool whole);
    bool Arm(EPOLLBuffer* context);
    // What one write came to: entries that are done with, and messages in them or before the place
    // in the next one that was reached.
    struct Settled {
        long entries = 0;
        long messages = 0;
    };
    Progress SendEntries(EPOLLBuffer* context, long count, Settled& done);
    void CountSettled(Settled& done, long from, long to);
    void DropEntries(const Settled& done);
    void ReleaseClosed(EPOLLBuffer* context);
    void SetAside(EPOLLBuffer* context);
    void ResumeAside();

    // Closed connections whose peers do not read.
    void LinkClosing(EPOLLBuffer* context);    // any thread; m_lockClosing is held
    void UnlinkClosing(EPOLLBuffer* context);  // m_lockClosing is held
    void GiveUpClosed();
    bool IsHopeless(EPOLLBuffer* context, long now) const;

    INetProvider* const m_lpNetProvider;    // not owned
    IGameProvider* const m_lpGameProvider;  // not owned
    std::atomic<long> m_lThreadCount{0};
    const long m_ulMaxSendCount;
    const long m_lMaxClientSendCount;
    const bool m_bKeepFullLinks;
    std::atomic<bool> m_bExit{false};
    int m_iSendPoll = -1;
    Doorbell m_Doorbell;                           // ends the send thread's wait
    std::atomic<EPOLLBuffer*> m_lpReady{nullptr};  // handed over, newest first

    std::mutex m_lockDrain;  // the consumer's; before every other lock
    // The consumer only: the entries being written.
    tagSendBuffer* m_lpEntries[SendBatch::kMaxEntries];
    SendBatch m_Batch;
    EPOLLBuffer* m_lpAside = nullptr;  // rings under the brake

    std::mutex m_lockClosing;                // behind a context's m_lockSend
    EPOLLBuffer* m_lpClosingList = nullptr;  // guarded by m_lockClosing
    std::atomic<long> m_lClosing{0};
};
