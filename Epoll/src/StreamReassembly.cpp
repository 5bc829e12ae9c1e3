#include "StreamReassembly.h"

#include <arpa/inet.h>

#include <algorithm>
#include <cstring>

namespace {

constexpr int kMessageGuard = 5000;
constexpr long kFault = -1;

// The message's length as its header states it, or kFault after telling the sink.
long CheckHeader(const char* message, StreamSink& sink) {
    tagMsgHeader header;
    std::memcpy(&header, message, sizeof(header));
    if (header.identity != MSG_IDENTITY) {
        sink.OnBadIdentity(header);
        return kFault;
    }
    const long length = ntohs(header.length);
    if (length < HEADER_SIZE || length > BUFFER_SIZE) {
        sink.OnBadLength(length);
        return kFault;
    }
    return length;
}

void Hold(char* held, long& heldLength, const char*& bytes, long& length, long count) {
    std::memcpy(held + heldLength, bytes, static_cast<size_t>(count));
    heldLength += count;
    bytes += count;
    length -= count;
}

// Continues the message held. True when the bytes that follow it, if any, are to be looked at.
bool CompleteHeld(char* held, long& heldLength, const char*& bytes, long& length,
                  StreamSink& sink) {
    if (heldLength < HEADER_SIZE) {
        Hold(held, heldLength, bytes, length, std::min(HEADER_SIZE - heldLength, length));
        if (heldLength < HEADER_SIZE) return false;
    }
    const long whole = CheckHeader(held, sink);
    if (whole == kFault) {
        heldLength = 0;
        return false;
    }
    Hold(held, heldLength, bytes, length, std::min(whole - heldLength, length));
    if (heldLength < whole) return false;
    heldLength = 0;
    return sink.OnMessage(held, whole);
}

}  // namespace

// A message that lies whole in the block is handed on where it lies; only what a block begins and
// does not end is copied. The guard is far above what a block of 4 KiB can hold.
void FeedStream(char* held, long& heldLength, char* bytes, long length, StreamSink& sink) {
    if (length <= 0) return;
    const char* rest = bytes;
    if (heldLength > 0 && !CompleteHeld(held, heldLength, rest, length, sink)) return;
    char* at = bytes + (rest - bytes);
    int messages = 0;
    while (length >= HEADER_SIZE) {
        if (++messages > kMessageGuard) {
            sink.OnTooMany();
            messages = 0;
        }
        const long whole = CheckHeader(at, sink);
        if (whole == kFault) return;
        if (length < whole) {
            sink.OnIncomplete(whole, length);
            break;
        }
        if (!sink.OnMessage(at, whole)) return;
        at += whole;
        length -= whole;
    }
    std::memcpy(held, at, static_cast<size_t>(length));
    heldLength = length;
}
