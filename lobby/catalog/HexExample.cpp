// A login byte by byte, for the protocol document.
#include <cstdio>
#include <cstring>

#include "Catalog.h"
#include "lobby_client_msg.h"

namespace catalog {
namespace {

using Bytes = std::vector<uint8_t>;

// The message as it travels.
template <class T>
Bytes Packed(uint16_t type, const T& message) {
    Bytes bytes(sizeof(message));
    std::memcpy(bytes.data(), &message, bytes.size());
    const uint8_t header[] = {MSG_IDENTITY,
                              0,
                              static_cast<uint8_t>(bytes.size() >> 8),
                              static_cast<uint8_t>(bytes.size()),
                              MSG_VERSION,
                              0,
                              static_cast<uint8_t>(type >> 8),
                              static_cast<uint8_t>(type)};
    std::copy(std::begin(header), std::end(header), bytes.begin());
    return bytes;
}

// Zeros at the end are counted, not written.
std::string Hex(const Bytes& bytes, size_t from, size_t to) {
    size_t end = to;
    while (end > from && bytes[end - 1] == 0)
        --end;
    if (to - end < 4) end = to;
    std::string out;
    char text[8];
    for (size_t i = from; i < end; ++i) {
        std::snprintf(text, sizeof(text), out.empty() ? "%02X" : " %02X", bytes[i]);
        out += text;
    }
    if (end == to) return out;
    return out + (out.empty() ? "" : " ") + "00 × " + std::to_string(to - end);
}

std::string Line(const Bytes& bytes, size_t from, size_t to, const std::string& meaning) {
    return "| " + std::to_string(from) + " | `" + Hex(bytes, from, to) + "` | " + meaning + " |\n";
}

std::string Table(const Message& message, const Bytes& bytes) {
    std::string out = "| Offset | Bytes | |\n|---|---|---|\n";
    out += Line(bytes, 0, 1, "`identity`") + Line(bytes, 1, 2, "`encode`: none");
    out += Line(bytes, 2, 4, "`length` " + std::to_string(bytes.size()) + ", big-endian");
    out += Line(bytes, 4, 5, "`version`") + Line(bytes, 5, 6, "`reserve`");
    out += Line(bytes, 6, 8, "`type`, big-endian");
    size_t at = 8;
    for (const Field& field : message.layout->fields) {
        if (field.offset > at) out += Line(bytes, at, field.offset, "padding");
        at = field.End();
        out += Line(bytes, field.offset, at, "`" + field.name + "`: " + field.meaning);
    }
    if (at < bytes.size()) out += Line(bytes, at, bytes.size(), "padding");
    return out + "\n";
}

}  // namespace

std::string LoginInHex() {
    tagLobbyClientConnectNotice notice{};
    notice.iUserID = 10001;
    notice.iLobbySiteID = 1;
    std::memcpy(notice.szToken, "token", 5);
    std::memcpy(notice.szChannelID, "web", 3);
    LobbyAuthenRes answer{};
    return "## A login in bytes\n\n"
           "Player 10001 logs in at site 1 with the token \"token\" and the channel \"web\". Over\n"
           "TCP these 68 bytes are the first the client sends:\n\n" +
           Table(*Find(Direction::ClientToLobby, CLIENT_CONNECT_NOTICE_C2S),
                 Packed(CLIENT_CONNECT_NOTICE_C2S, notice)) +
           "and when the platform knows him, this is the answer; a code that is not 0 says why\n"
           "not:\n\n" +
           Table(*Find(Direction::LobbyToClient, LOBBY_AUTHEN_RES_S2C),
                 Packed(LOBBY_AUTHEN_RES_S2C, answer));
}

}  // namespace catalog
