#include "WebSocketClient.h"

namespace websocket {
namespace {

constexpr uint8_t kFinalBinary = 0x82;
constexpr uint8_t kMasked = 0x80;
constexpr uint8_t kOpcodeClose = 8;
// What makes a server's answer one to the request below.
constexpr std::string_view kAccept = "s3pPLMBiTxaQ9kYGzzhZRbK+xOo=";

uint8_t ByteAt(std::string_view bytes, size_t i) {
    return static_cast<uint8_t>(bytes[i]);
}

// Bytes of the frame's header and its payload length; 0 when the header is not whole.
size_t ReadHead(std::string_view raw, uint64_t& length) {
    if (raw.size() < 2) return 0;
    const uint8_t shortLength = ByteAt(raw, 1) & 0x7F;
    const size_t extra = shortLength == 126 ? 2 : shortLength == 127 ? 8 : 0;
    if (raw.size() < 2 + extra) return 0;
    length = extra == 0 ? shortLength : 0;
    for (size_t i = 0; i < extra; ++i)
        length = length << 8 | ByteAt(raw, 2 + i);
    return 2 + extra;
}

// Must differ from frame to frame, but nobody here needs it to be unpredictable.
uint32_t NextMask() {
    static thread_local uint32_t state = 0x9E3779B9;
    state ^= state << 13;
    state ^= state >> 17;
    state ^= state << 5;
    return state;
}

}  // namespace

std::string_view UpgradeRequest() {
    return "GET / HTTP/1.1\r\nHost: lobby\r\nConnection: Upgrade\r\nUpgrade: websocket\r\n"
           "Sec-WebSocket-Version: 13\r\nSec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n\r\n";
}

Upgrade ReadUpgrade(std::string_view answer, size_t& size) {
    const size_t end = answer.find("\r\n\r\n");
    if (end == std::string_view::npos) return Upgrade::Incomplete;
    size = end + 4;
    const bool accepted = answer.starts_with("HTTP/1.1 101") && answer.find(kAccept) < end;
    return accepted ? Upgrade::Accepted : Upgrade::Refused;
}

void AppendFrame(std::string& to, std::string_view payload) {
    to.push_back(static_cast<char>(kFinalBinary));
    if (payload.size() < 126) {
        to.push_back(static_cast<char>(kMasked | payload.size()));
    } else {  // a message never reaches 65536 bytes
        to.push_back(static_cast<char>(kMasked | 126));
        to.push_back(static_cast<char>(payload.size() >> 8));
        to.push_back(static_cast<char>(payload.size()));
    }
    const uint32_t mask = NextMask();
    for (int i = 0; i < 4; ++i)
        to.push_back(static_cast<char>(mask >> (8 * i)));
    for (size_t i = 0; i < payload.size(); ++i)
        to.push_back(static_cast<char>(payload[i] ^ static_cast<char>(mask >> (8 * (i & 3)))));
}

size_t OpenFrames(std::string_view raw, std::string& payload, bool& closed) {
    size_t used = 0;
    while (!closed) {
        uint64_t length = 0;
        const size_t head = ReadHead(raw.substr(used), length);
        if (head == 0 || raw.size() - used - head < length) break;
        closed = (ByteAt(raw, used) & 0x0F) == kOpcodeClose;
        if (!closed) payload.append(raw.substr(used + head, length));
        used += head + length;
    }
    return used;
}

}  // namespace websocket
