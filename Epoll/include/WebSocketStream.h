// Both directions of the WebSocket framing, without sockets: cutting received bytes into payloads
// and building the header of a frame to send.
#pragma once

#include <cstddef>
#include <cstdint>

#include "websocket_request.h"

// Room for carried bytes, and one more than the largest buffered total.
inline constexpr long WEBSOCKET_BUFFER = 4096;

// Cuts what an upgraded connection receives into frame payloads. Between reads an incomplete
// frame lives in the connection (the carried bytes); the object itself holds only work space, so
// one serves every connection. Points at the parser it uses. Thread: message worker.
//
// Accounting: however many payloads one Receive delivers, it stands for one queued record, so
// the connection's m_lRecvCount goes down by exactly one per Receive. Lowering it per frame as
// well would make the count drift until a long-lived connection closes itself or loses its limit.
class WebSocketStream {
  public:
    enum class Result {
        Ok,          // all bytes used up or carried
        CloseFirst,  // close the node, log "222222": close frame first, or an oversized one
        CloseLater,  // close the node, log "33333": close frame behind others
    };

    explicit WebSocketStream(Websocket_Request& request) : m_Request(request) {}
    WebSocketStream(const WebSocketStream&) = delete;
    WebSocketStream& operator=(const WebSocketStream&) = delete;

    // Adds `length` fresh bytes (1 to 4096) to the connection's carried bytes (a block of
    // WEBSOCKET_BUFFER) and hands every payload that is complete to `deliver(char* payload, long
    // length)`, in order; the pointer is valid during that call. deliver returns false when the
    // connection is closing: the remaining bytes are then dropped.
    // After a Close result get_opcode and get_payload_length of the parser and Total() hold the
    // figures for the log line. The rest of the bytes behind an empty frame is dropped, which is
    // required.
    template <class Deliver>
    Result Receive(char* carried, long& carriedLength, const char* fresh, long length,
                   Deliver&& deliver) {
        Step step = Begin(carried, carriedLength, fresh, length);
        while (step == Step::Payload) {
            if (!deliver(m_lpFrame, static_cast<long>(m_Request.get_payload_length()))) {
                carriedLength = 0;
                return Result::Ok;
            }
            step = Next(carried, carriedLength);
        }
        if (step == Step::CloseFirst) return Result::CloseFirst;
        return step == Step::CloseLater ? Result::CloseLater : Result::Ok;
    }

    // Carried plus fresh bytes of the last Receive.
    long Total() const { return m_lTotal; }

  private:
    enum class Step { Payload, Done, CloseFirst, CloseLater };

    // Gathers the bytes and opens the first frame.
    Step Begin(char* carried, long& carriedLength, const char* fresh, long length);
    // Opens the frame behind the one just delivered.
    Step Next(char* carried, long& carriedLength);
    // The payload to m_lpFrame; Done when it is empty.
    Step Open(long& carriedLength);

    Websocket_Request& m_Request;
    char m_szWork[WEBSOCKET_BUFFER];  // here, not on the worker's small stack
    long m_lTotal = 0;
    long m_lLeft = 0;           // bytes behind m_lpFrame, its own included
    char* m_lpFrame = nullptr;  // frame being opened, in m_szWork
};

// First byte of the frame around a message: final, binary.
inline constexpr uint8_t WEBSOCKET_DATA_FRAME = 0x82;
// Longest header of a frame the lobby sends.
inline constexpr size_t WEBSOCKET_MAX_HEAD = 10;

// Writes the header of a final, unmasked binary frame and returns its size: 2, 4 or 10 bytes with
// the length in 1, 2 or 8 of them. Any thread.
size_t BuildWebSocketHead(uint64_t payloadLength, uint8_t (&head)[WEBSOCKET_MAX_HEAD]);
