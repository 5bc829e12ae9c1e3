// What the lobby counts above the network.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>

#include "Common/Metrics.h"
#include "Common/TypeCounters.h"
#include "LinkTable.h"

// Why a client was turned away.
enum class Refusal : uint8_t {
    Maintenance,    // login while the stop switch is set
    BadLength,      // connect notice of the wrong length
    DisabledUser,   // login of a disabled account
    BadUser,        // login with a user id below 1
    ForbiddenType,  // message number 0x9000
    UnknownType,    // message number without a handler; dropped
};
inline constexpr size_t REFUSALS = 6;

// The state and history of one back-end link.
struct LinkMetrics {
    UpDown up;
    Counter connects;  // successes; the first of them is the start
    Counter failures;  // attempts that failed
    Counter drops;
};

// The lobby's counters. Thread: any; mostly the message worker.
struct LobbyMetrics {
    explicit LobbyMetrics(const TypePlaces& places) : throttled(places), rateLimited(places) {}

    std::atomic<bool> serving{false};   // clients are let in
    std::atomic<bool> draining{false};  // no more
    std::atomic<int64_t> lastPass{0};   // of the message worker, epoch seconds
    std::array<Counter, 256> logins;    // by the code the client was told; 0 is success
    Counter sessions;                   // listed now: a level
    Counter kickOuts;
    Counter notRelayed;  // messages that a busy link refused
    std::array<Counter, REFUSALS> refusals;
    TypeCounters throttled;                // requests that came too soon after the one before
    TypeCounters rateLimited;              // requests above their configured rate
    std::array<LinkMetrics, LINKS> links;  // as in LINK_ROWS
};

// Set before the lobby starts.
inline MetricsSlot<LobbyMetrics> g_LobbyMetrics;

// The counters of the link with that key; null for another key, and while nobody reads them.
LinkMetrics* LinkMetricsOf(const char* key);

// Count, while somebody reads the counters.
inline void CountRefusal(Refusal reason) {
    if (auto* metrics = g_LobbyMetrics.Get()) metrics->refusals[static_cast<size_t>(reason)].Add();
}
inline void CountThrottled(uint16_t type) {
    if (auto* metrics = g_LobbyMetrics.Get()) metrics->throttled.Add(type);
}
inline void CountRateLimited(uint16_t type) {
    if (auto* metrics = g_LobbyMetrics.Get()) metrics->rateLimited.Add(type);
}
