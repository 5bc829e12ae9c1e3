// Clients that mean harm, by name.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>

// Whom to harm.
struct Target {
    uint16_t port;      // a lobby on this machine
    int32_t firstUser;  // 200 users of its platform from here on may be used
    // A command of the simulated platform.
    std::function<void(const std::string& line)> platform;
};

// Returns within a few seconds with every connection of its own closed. What the lobby does to
// these clients (closing them, not answering) is its own affair. Throws std::runtime_error when
// it takes no connections.
struct HostileClient {
    const char* name;
    void (*run)(const Target& target);
};

std::span<const HostileClient> HostileClients();
