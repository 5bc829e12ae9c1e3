// Clients that mean harm, by name.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>

#include "Wire.h"

inline std::string Text(const wire::Bytes& bytes) {
    return {bytes.begin(), bytes.end()};
}

// Whom to harm.
struct Target {
    uint16_t port;      // a lobby on this machine
    int32_t firstUser;  // 200 users of its platform from here on may be used
    // A command of the simulated platform.
    std::function<void(const std::string& line)> platform;
};

// Returns within a few seconds with every connection of its own closed. Throws std::runtime_error
// when the lobby takes no connections.
struct HostileClient {
    const char* name;
    void (*run)(const Target& target);
    // The lobby's figures, all that begin so, which tell that it was refused, closed or counted; by
    // how much they grow at least.
    const char* figure;
    double least;
};

std::span<const HostileClient> HostileClients();
