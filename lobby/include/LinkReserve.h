// The places that clients' requests leave free in the links' rings.
#pragma once

#include <cstdint>

// Kept by LobbyServer for all links together. Thread: message worker; `places` is constant once the
// lobby is constructed.
struct LinkReserve {
    long places = 0;       // messages; 0: none, nothing is refused for it
    uint64_t refused = 0;  // messages since the start
    long told = 0;         // seconds since boot of the line last logged about that
};
