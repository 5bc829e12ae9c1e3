#include "websocket_request.h"

#include <cstdio>
#include <cstring>

namespace {

constexpr uint32_t kMaxPayload = 8191;

// Big-endian number of `width` bytes.
uint32_t ReadNumber(const char* bytes, int width) {
    uint32_t value = 0;
    for (int i = 0; i < width; ++i)
        value = value << 8 | static_cast<uint8_t>(bytes[i]);
    return value;
}

}  // namespace

void UnmaskPayload(char* to, const char* from, size_t length, const uint8_t (&key)[4]) {
    uint64_t wide = 0;
    std::memcpy(&wide, key, sizeof(key));
    std::memcpy(reinterpret_cast<char*>(&wide) + sizeof(key), key, sizeof(key));
    size_t i = 0;
    for (; i + sizeof(wide) <= length; i += sizeof(wide)) {
        uint64_t word = 0;
        std::memcpy(&word, from + i, sizeof(word));
        word ^= wide;
        std::memcpy(to + i, &word, sizeof(word));
    }
    for (; i < length; ++i)
        to[i] = static_cast<char>(static_cast<uint8_t>(from[i]) ^ key[i % sizeof(key)]);
}

bool Websocket_Request::fetch_websocket_info(const char* frame, long available) {
    reset();
    if (available < 1) return false;
    fetch_fin(frame);
    fetch_opcode(frame);
    if (available < 2) return false;
    fetch_mask(frame);
    return fetch_payload_length(frame, available) && fetch_masking_key(frame, available);
}

void Websocket_Request::fetch_fin(const char* frame) {
    fin_ = static_cast<uint8_t>(frame[pos_]) >> 7;
}

void Websocket_Request::fetch_opcode(const char* frame) {
    opcode_ = static_cast<uint8_t>(frame[pos_]) & 0x0F;
    pos_ += 1;
}

void Websocket_Request::fetch_mask(const char* frame) {
    mask_ = static_cast<uint8_t>(frame[pos_]) >> 7;
}

bool Websocket_Request::fetch_payload_length(const char* frame, long available) {
    const uint8_t shortLength = static_cast<uint8_t>(frame[pos_]) & 0x7F;
    pos_ += 1;
    // Only 4 of the 8 bytes that follow a 127 are read: required, and harmless, since a frame
    // that needs this form exceeds every limit of the receive path.
    const int width = shortLength == 126 ? 2 : shortLength == 127 ? 4 : 0;
    if (available < pos_ + width) return false;
    payload_length_ = width > 0 ? ReadNumber(frame + pos_, width) : shortLength;
    pos_ += width;
    return true;
}

bool Websocket_Request::fetch_masking_key(const char* frame, long available) {
    if (mask_ == 0) return true;
    if (available < pos_ + 4) return false;
    std::memcpy(masking_key_, frame + pos_, sizeof(masking_key_));
    pos_ += 4;
    return true;
}

bool Websocket_Request::has_frame(long available) const {
    return available >= pos_ + static_cast<long>(payload_length_);
}

void Websocket_Request::fetch_payload(char* frame, int& pos) {
    if (payload_length_ > kMaxPayload) return;
    if (mask_ == 1) {
        UnmaskPayload(frame, frame + pos, payload_length_, masking_key_);
    } else {
        std::memmove(frame, frame + pos, payload_length_);
    }
    head_length_ = static_cast<uint8_t>(pos);
    pos += static_cast<int>(payload_length_);
}

void Websocket_Request::reset() {
    fin_ = 0;
    opcode_ = 0;
    mask_ = 0;
    std::memset(masking_key_, 0, sizeof(masking_key_));
    pos_ = 0;
    payload_length_ = 0;
    head_length_ = 0;
}

void Websocket_Request::print() const {
    std::printf("WEBSOCKET PROTOCOL\n FIN: %d\nOPCODE: %d\nMASK: %d\nPAYLOADLEN: %d\n", fin_,
                opcode_, mask_, static_cast<int>(payload_length_));
}
