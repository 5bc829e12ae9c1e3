// Public header: the 8-byte header of every message and the limits on a message.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#pragma pack(push, 4)

// Every message of every peer starts with this header; the body follows as a fixed-layout
// little-endian structure chosen by type.
struct tagMsgHeader {
    uint8_t identity;  // always 5
    uint8_t encode;    // codec of the body: 0 none, 1 AES
    uint16_t length;   // whole message in bytes, 8..4096; big-endian on the wire
    uint8_t version;   // 3 on send, not checked on receipt
    uint8_t reserve;   // 0 on send, not checked on receipt
    uint16_t type;     // message number; big-endian on the wire
};

#pragma pack(pop)

using MsgHeader = tagMsgHeader;

static_assert(sizeof(tagMsgHeader) == 8);
static_assert(offsetof(tagMsgHeader, length) == 2 && offsetof(tagMsgHeader, type) == 6);
static_assert(std::is_standard_layout_v<tagMsgHeader> &&
              std::is_trivially_copyable_v<tagMsgHeader>);

inline constexpr long HEADER_SIZE = 8;     // smallest legal length: the header alone
inline constexpr long BUFFER_SIZE = 4096;  // largest legal length
inline constexpr long SEND_BUFFER = 4096;  // capacity of one send buffer

inline constexpr uint8_t MSG_IDENTITY = 5;
inline constexpr uint8_t MSG_VERSION = 3;

// Payload codecs.
inline constexpr long ENCODE_NONE = 0;
inline constexpr long ENCODE_AES = 1;

// Keep-alive, header only, any direction.
inline constexpr uint16_t MSG_KEEP_ALIVE = 0xF0F1;
