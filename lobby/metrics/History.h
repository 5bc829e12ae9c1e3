// The last ten minutes of a few figures.
#pragma once

#include <string>
#include <vector>

#include "Common/ThreadSafety.h"

struct LobbyMetrics;
class ProcessCounters;

// Takes a sample when it is told to, and gives the figures between them. Owned by the endpoint;
// points at the counters. Thread: any.
class History {
  public:
    static constexpr int kPeriod = 5;  // seconds
    static constexpr size_t kSamples = 600 / kPeriod + 1;

    explicit History(const ProcessCounters& counters) : m_counters(counters) {}
    void Take();
    // "name":[oldest, ..., newest], for every figure.
    std::string ToJson() const;

  private:
    struct Sample {
        double time;  // monotonic seconds
        double players, connections, logins, requests, refusals, bytes, passes, passSeconds;
        double buffers, memory, cpu;
    };
    Sample Look() const;

    const ProcessCounters& m_counters;
    mutable Mutex m_lock;
    std::vector<Sample> m_samples GUARDED_BY(m_lock);  // oldest first, kSamples at most
};
