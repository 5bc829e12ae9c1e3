// Parser of one WebSocket frame.
#pragma once

#include <climits>
#include <cstddef>
#include <cstdint>

// Unmasks `length` bytes; `to` is `from` or lies before it. Forward, so that no byte is overwritten
// before it is read. Any thread.
void UnmaskPayload(char* to, const char* from, size_t length, const uint8_t (&key)[4]);

// Reads a frame's header and opens its payload in place. Never reads past the bytes it is told
// of. Thread: message worker; one object serves all connections, since it keeps nothing from one
// frame to the next.
class Websocket_Request {
  public:
    Websocket_Request() { reset(); }

    // Parses the header of the frame that starts at `frame`, of which `available` bytes came;
    // without that number the frame must be known to be whole. True when the header is whole. On
    // false the fields that did arrive are valid (the opcode with the first byte, an extended
    // length only when complete) and the others are zero.
    bool fetch_websocket_info(const char* frame, long available = kWhole);

    // Its steps after a reset, in this order. Each reads at get_pos() and moves it behind what it
    // read; the two that may need more bytes than came are false then.
    void fetch_fin(const char* frame);
    void fetch_opcode(const char* frame);
    void fetch_mask(const char* frame);
    bool fetch_payload_length(const char* frame, long available = kWhole);
    bool fetch_masking_key(const char* frame, long available = kWhole);

    // Unmasks the payload of a whole frame to the frame's start, over its header, and moves the
    // position behind the frame. Call it once, after fetch_websocket_info returned true and
    // has_frame did. A payload above 8191 bytes is ignored.
    void fetch_payload(char* frame, int& pos);
    void fetch_payload(char* frame) { fetch_payload(frame, pos_); }

    // True when `available` bytes hold the whole frame whose header was parsed last.
    bool has_frame(long available) const;

    uint8_t get_opcode() const { return opcode_; }
    uint32_t get_payload_length() const { return payload_length_; }
    // Bytes of the frame parsed so far: its header, and its payload once that was fetched.
    int get_pos() const { return pos_; }

    void reset();
    // Writes the header's fields to standard output.
    void print() const;

  private:
    static constexpr long kWhole = LONG_MAX;

    uint8_t fin_;
    uint8_t opcode_;
    uint8_t mask_;
    uint8_t masking_key_[4];
    int pos_;  // read position in the frame
    uint32_t payload_length_;
    uint8_t head_length_;  // bytes of the frame's header, set with the payload
};

inline constexpr uint8_t WEBSOCKET_OPCODE_CLOSE = 8;
