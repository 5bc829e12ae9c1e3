// The notation of the lobby's fuzz input: a list of operations, each a byte for what and who,
// followed by what it needs. Written down once for the target and for the seeds.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "Catalog.h"

namespace ops {

// Low four bits of an operation's first byte; the others say which client. Frequent kinds have
// several numbers.
enum Kind : uint8_t {
    Connect = 0,
    Login = 1,          // connects if need be, sends the notice, has the queue server confirm
    ClientMessage = 2,  // ... 5: row, body
    LinkMessage = 6,    // ... 9: row, body
    ClientRaw = 10,     // type word, body
    LinkRaw = 11,       // link, type word, body
    CloseClient = 12,
    CloseLink = 13,  // link
    Tick = 14,       // step of time
    Disturb = 15,    // what
};
inline constexpr unsigned CLIENTS = 8;
inline constexpr int FIRST_USER = 10001;

// A body: flags, then what they ask for.
enum BodyFlag : uint8_t {
    SizeNear = 1,        // a signed byte is added to the row's size
    SizeAny = 2,         // a word is the size
    HandleMask = 0x0C,   // whose session a handle field names: the client's (0), or
    AsGiven = 0x04,      // what the bytes say
    StaleId = 0x08,      // the client's with the id before its own
    LinksOwn = 0x0C,     // the queue server's own link
    KeepUser = 0x10,     // user fields stay as the bytes say, else they name the client's user
    FillOnes = 0x20,     // 0xFF where no bytes are given, else 0
    SecondPatch = 0x40,  // offset word, count, bytes: goes over the rest
};

inline constexpr long STEPS[] = {0,   1,    1,     2,  5,     10,   26,     181,
                                 901, 1801, 86400, -1, -3600, 3600, -86400, 40};

inline std::vector<const catalog::Message*> RowsTo(std::span<const catalog::Direction> directions) {
    std::vector<const catalog::Message*> rows;
    for (const catalog::Message& row : catalog::All()) {
        for (const catalog::Direction direction : directions) {
            if (row.direction == direction) rows.push_back(&row);
        }
    }
    return rows;
}
inline const std::vector<const catalog::Message*>& ClientRows() {
    static constexpr catalog::Direction from[] = {catalog::Direction::ClientToLobby};
    static const auto rows = RowsTo(from);
    return rows;
}
inline const std::vector<const catalog::Message*>& LinkRows() {
    using enum catalog::Direction;
    static constexpr catalog::Direction from[] = {QueueToLobby, CenterToLobby, ConfigToLobby,
                                                  WebToLobby, DataToLobby};
    static const auto rows = RowsTo(from);
    return rows;
}

}  // namespace ops
