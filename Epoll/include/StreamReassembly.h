// Cutting a byte stream into messages, without sockets.
#pragma once

#include "Game/NetMessage.h"

// What comes out of a stream. Thread: that of the caller of FeedStream.
class StreamSink {
  public:
    // A whole message with its header as received; the bytes may be changed and lie at any
    // address. False stops: the connection is closing and the rest is dropped.
    virtual bool OnMessage(char* message, long length) = 0;
    // A header that no message can have; the stream ends here.
    virtual void OnBadIdentity(const tagMsgHeader& header) = 0;
    virtual void OnBadLength(long length) = 0;
    // The bytes that are left form only the start of a message of this length.
    virtual void OnIncomplete(long length, long left) = 0;
    // So many messages came in one read that something must be wrong.
    virtual void OnTooMany() = 0;

  protected:
    ~StreamSink() = default;
};

// Feeds what one read brought. held (BUFFER_SIZE bytes) and heldLength carry a partial message
// from call to call. Whole messages are handed over where they lie in `bytes`, which is why they
// may be changed; only one cut by the end of a read is copied.
void FeedStream(char* held, long& heldLength, char* bytes, long length, StreamSink& sink);
