// Public header: what the Redis client counts.
#pragma once

#include "Common/Metrics.h"

// Why a command failed.
enum class RedisFault : uint8_t {
    NoConnection,  // none free, or the server is known to be away: nothing was sent
    NoReply,       // the connection was lost, or the time was up
    Refused,       // the server answered with an error
};
inline constexpr size_t REDIS_FAULTS = 3;

// Any thread.
struct RedisMetrics {
    void CountFault(RedisFault fault) { faults[static_cast<size_t>(fault)].Add(); }

    UpDown up;                // it answers
    DurationCounter latency;  // of every command that was sent, answered or not
    std::array<Counter, REDIS_FAULTS> faults;
};

inline MetricsSlot<RedisMetrics> g_RedisMetrics;
