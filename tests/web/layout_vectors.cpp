// The C++ side of the check that both descriptions of the client messages agree.
//
// Without an argument: prints a line of JSON for each message between client and lobby, its bytes
// marked so that each tells its place, beside what they mean.
// With "read": decodes lines of "c2l HEX" or "l2c HEX" and prints each message as JSON.
#include <cstdio>
#include <cstring>
#include <iostream>
#include <string>
#include <vector>

#include "Catalog.h"
#include "Game/NetMessage.h"

namespace {

using Bytes = std::vector<uint8_t>;
using catalog::Direction;
using catalog::Field;
using catalog::Kind;

constexpr size_t FOLLOWING_TEXT = 40;

// Fills a message; every byte written differs from its neighbours.
class Marker {
  public:
    explicit Marker(Bytes& bytes) : m_bytes(bytes) {}

    void Fill(const catalog::Layout& layout, size_t base) {
        for (const Field& field : layout.fields) {
            if (!field.countField.empty()) SetCount(layout, base, field);
            if (field.kind == Kind::Text) {
                Text(base + field.offset, field.count);
            } else {
                for (size_t i = 0; i < field.count; ++i) Element(field, base + field.offset, i);
            }
        }
    }

  private:
    void Element(const Field& field, size_t at, size_t index) {
        if (field.record != nullptr) return Fill(*field.record, at + index * field.size);
        const bool isBool = field.kind == Kind::U8 && field.name.front() == 'b';
        for (size_t i = 0; i < field.size; ++i) {
            m_bytes[at + index * field.size + i] = isBool ? 1 : Next();
        }
    }

    // Terminated where the field has an end; the text that follows a structure has none.
    void Text(size_t at, size_t count) {
        const size_t length = count == 0 ? FOLLOWING_TEXT : count - 1;
        for (size_t i = 0; i < length; ++i) m_bytes[at + i] = static_cast<uint8_t>('a' + Next() % 26);
    }

    void SetCount(const catalog::Layout& layout, size_t base, const Field& counted) {
        const size_t count = counted.count == 0 ? FOLLOWING_TEXT : counted.count;
        for (const Field& field : layout.fields) {
            if (field.name != counted.countField) continue;
            for (size_t i = 0; i < field.size; ++i) {
                m_bytes[base + field.offset + i] = static_cast<uint8_t>(count >> (8 * i));
            }
        }
    }

    uint8_t Next() { return m_next = static_cast<uint8_t>(m_next + 37); }

    Bytes& m_bytes;
    uint8_t m_next = 0x70;
};

Bytes Marked(const catalog::Message& message) {
    size_t size = message.size;
    if (message.layout != nullptr && !message.layout->fields.empty()) {
        const Field& last = message.layout->fields.back();
        if (last.count == 0) size = last.offset + FOLLOWING_TEXT;
    }
    Bytes bytes(size);
    if (message.layout != nullptr) Marker(bytes).Fill(*message.layout, 0);
    const uint8_t header[] = {MSG_IDENTITY, ENCODE_NONE, static_cast<uint8_t>(size >> 8),
                              static_cast<uint8_t>(size), MSG_VERSION, 0,
                              static_cast<uint8_t>(message.type >> 8),
                              static_cast<uint8_t>(message.type)};
    static_assert(sizeof(header) == sizeof(tagMsgHeader));
    std::memcpy(bytes.data(), header, sizeof(header));
    return bytes;
}

void Write(const catalog::Message& message) {
    const Bytes bytes = Marked(message);
    std::printf("{\"direction\":\"%s\",\"hex\":\"",
                message.direction == Direction::ClientToLobby ? "c2l" : "l2c");
    for (const uint8_t byte : bytes) std::printf("%02x", static_cast<unsigned>(byte));
    std::printf("\",\"message\":%s}\n", catalog::DescribeJson(message.direction, bytes).c_str());
}

int Read() {
    std::string direction, hex;
    while (std::cin >> direction >> hex) {
        Bytes bytes;
        for (size_t i = 0; i + 1 < hex.size(); i += 2) {
            bytes.push_back(static_cast<uint8_t>(std::stoul(hex.substr(i, 2), nullptr, 16)));
        }
        const auto from = direction == "c2l" ? Direction::ClientToLobby : Direction::LobbyToClient;
        std::printf("%s\n", catalog::DescribeJson(from, bytes).c_str());
    }
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc > 1 && std::strcmp(argv[1], "read") == 0) return Read();
    for (const catalog::Message& message : catalog::All()) {
        const bool isClients = message.direction == Direction::ClientToLobby ||
                               message.direction == Direction::LobbyToClient;
        if (isClients) Write(message);
    }
    return 0;
}
