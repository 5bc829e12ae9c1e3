// From received bytes to messages for the application.
#pragma once

#include "Game/NetGame.h"
#include "StreamReassembly.h"

class EPOLLBuffer;
class TypeCounters;

// Cuts each connection's bytes into messages, opens encoded ones and calls the provider; makes the
// contexts. Owns nothing but its work buffer; points at the provider.
// Thread: message worker, but OnCreateContext (poll threads or the creating thread).
class EPOLLMessager : public INetMessager, private StreamSink {
  public:
    // maxSendCount 0 means 100.
    EPOLLMessager(IGameProvider* provider, unsigned long maxSendCount);

    // length at most 4096; the bytes may be changed.
    void OnReadCompleted(EPOLLContext* context, void* buffer, long length) override;
    void OnConnectionClosed(EPOLLContext* context, bool flag) override;
    void OnTimer(long now) override;
    EPOLLContext* OnCreateContext() override;

  private:
    bool OnMessage(char* message, long length) override;
    void OnBadIdentity(const tagMsgHeader& header) override;
    void OnBadLength(long length) override;
    void OnIncomplete(long length, long left) override;
    void OnTooMany() override;
    bool Decode(char*& message, long& length, long encode);
    unsigned Tag() const;

    IGameProvider* const m_lpGameProvider;  // not owned
    const unsigned long m_ulMaxSendCount;
    EPOLLBuffer* m_lpCurrent = nullptr;    // the connection whose bytes are being cut
    TypeCounters* m_lpCounters = nullptr;  // of its messages; null while nobody reads them
    char m_szDecode[BUFFER_SIZE];          // here, not on the worker's small stack
};
