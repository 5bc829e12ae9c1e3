#include "Catalog.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iterator>

#include "Game/NetMessage.h"
#include "Layouts.h"

namespace catalog {
namespace {

bool Before(const Message& a, const Message& b) {
    return std::pair(a.direction, a.type) < std::pair(b.direction, b.type);
}

Rows Build() {
    Rows all;
    for (Rows part : {AccountRows(), DirectoryRows(), PushRows(), ActivityRows()}) {
        all.insert(all.end(), std::make_move_iterator(part.begin()),
                   std::make_move_iterator(part.end()));
    }
    for (size_t i = 0; i < DIRECTIONS; ++i) {
        all.push_back(Bare(static_cast<Direction>(i), MSG_KEEP_ALIVE, "keep-alive"));
        if (all.back().direction == Direction::ClientToLobby) all.back().answer = MSG_KEEP_ALIVE;
    }
    std::sort(all.begin(), all.end(), Before);
    const auto same = [](const Message& a, const Message& b) {
        return a.direction == b.direction && a.type == b.type;
    };
    const auto twice = std::adjacent_find(all.begin(), all.end(), same);
    if (twice != all.end()) {
        std::fprintf(stderr, "message catalogue: %s 0x%04X is described twice (%s, %s)\n",
                     NameOf(twice->direction), twice->type, twice->name.c_str(),
                     std::next(twice)->name.c_str());
        std::abort();
    }
    return all;
}

}  // namespace

const char* NameOf(Direction direction) {
    static constexpr const char* names[DIRECTIONS] = {
        "client->lobby", "lobby->client", "lobby->queue",  "queue->lobby", "lobby->center",
        "center->lobby", "lobby->config", "config->lobby", "lobby->web",   "web->lobby",
        "lobby->log",    "lobby->data",   "data->lobby"};
    return names[static_cast<size_t>(direction)];
}

const char* NameOf(Kind kind) {
    static constexpr const char* names[] = {"bool", "i8",  "u8",  "i16",  "u16",   "i32",
                                            "u32",  "i64", "u64", "char", "bytes", "record"};
    return names[static_cast<size_t>(kind)];
}

std::span<const Message> All() {
    static const Rows all = Build();
    return all;
}

const Message* Find(Direction direction, uint16_t type) {
    const auto all = All();
    const Message wanted{direction, type, "", nullptr, 0, false, "", 0};
    const auto at = std::lower_bound(all.begin(), all.end(), wanted, Before);
    return at != all.end() && at->direction == direction && at->type == type ? &*at : nullptr;
}

}  // namespace catalog
