// What a WebSocket client sends, as its library means it, without sockets.
#pragma once

#include <cstdint>

inline constexpr uint8_t WEBSOCKET_CONTINUATION = 0x0;
inline constexpr uint8_t WEBSOCKET_TEXT = 0x1;
inline constexpr uint8_t WEBSOCKET_BINARY = 0x2;
inline constexpr uint8_t WEBSOCKET_CLOSE = 0x8;
inline constexpr uint8_t WEBSOCKET_PING = 0x9;
inline constexpr uint8_t WEBSOCKET_PONG = 0xA;

inline constexpr uint16_t WEBSOCKET_PROTOCOL_ERROR = 1002;
inline constexpr uint16_t WEBSOCKET_UNSUPPORTED_DATA = 1003;

// One connection's incoming frames, cut by reads anywhere. Binary payload passes through as it
// comes, whatever the size of its frame, since the stream inside has lengths of its own; control
// frames are gathered. Nothing of a frame is kept but its header, so nothing is copied.
// Owned by the connection, and cleared with it. Thread: message worker.
class WebSocketInput {
  public:
    enum class Event : uint8_t {
        Nothing,  // every byte is used up
        Payload,  // a piece of binary data
        Ping,     // the piece is what the pong has to bring back
        Close,    // the piece is what the peer sent along, its status first
        Fault     // the stream is over; Status says why
    };

    // Takes bytes off the front of [data, data + length), which must not be used before the next
    // event is asked for, and opens them in place. piece is valid until the next call. After Close
    // and Fault no more may be asked.
    Event Next(char*& data, long& length, char*& piece, long& pieceLength);
    // What a close frame is to say after a Fault.
    uint16_t Status() const { return m_usStatus; }
    uint8_t Opcode() const { return m_szHead[0] & 0x0F; }

  private:
    static constexpr uint8_t kHead = 14;  // the longest: length in 8 bytes, and a mask
    static constexpr long kControl = 125;

    Event TakeHead(char*& data, long& length);
    Event Open();
    Event Fail(uint16_t status);
    uint8_t HeadSize() const;
    bool IsControl() const { return Opcode() >= WEBSOCKET_CLOSE; }
    long TakePayload(char*& data, long& length);
    Event EndControl(char*& piece, long& pieceLength);

    uint64_t m_ulLeft = 0;  // of the payload
    uint16_t m_usStatus = 0;
    uint8_t m_ucHead = 0;        // bytes of the header that have come
    bool m_bOpen = false;        // the header is whole
    bool m_bFragmented = false;  // a message goes on in the next data frame
    uint8_t m_ucControl = 0;     // bytes of the control frame that have come
    uint8_t m_szHead[kHead] = {};
    uint8_t m_szMask[4] = {};  // turned so that it begins with the next byte's
    char m_szControl[kControl] = {};
};
