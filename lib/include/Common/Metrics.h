// Public header: figures that one thread counts while another reads them.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>

#include "Common/Clock.h"

// Counts events. Any thread. A reader sees every count sooner or later, but no two counters as of
// the same moment.
class Counter {
  public:
    void Add(uint64_t count = 1) { m_value.fetch_add(count, std::memory_order_relaxed); }
    // Only where everybody who adds also takes away: a level instead of a count.
    void Take(uint64_t count = 1) { m_value.fetch_sub(count, std::memory_order_relaxed); }
    uint64_t Value() const { return m_value.load(std::memory_order_relaxed); }

  private:
    std::atomic<uint64_t> m_value{0};
};

// Spreads durations over fixed buckets, 5 microseconds to 2.5 seconds and above. Any thread.
class DurationCounter {
  public:
    // Upper bounds in nanoseconds, inclusive; what is above the last goes into one more bucket.
    static constexpr std::array<uint64_t, 18> kBounds = {
        5000,     10000,     25000,     50000,     100000,     250000,
        500000,   1000000,   2500000,   5000000,   10000000,   25000000,
        50000000, 100000000, 250000000, 500000000, 1000000000, 2500000000};

    void Add(uint64_t nanos) {
        size_t bucket = 0;
        while (bucket < kBounds.size() && nanos > kBounds[bucket])
            ++bucket;
        m_buckets[bucket].Add();
        m_sum.Add(nanos);
    }
    // Durations in that bucket alone.
    uint64_t InBucket(size_t bucket) const { return m_buckets[bucket].Value(); }
    uint64_t SumNanos() const { return m_sum.Value(); }

  private:
    std::array<Counter, kBounds.size() + 1> m_buckets;
    Counter m_sum;
};

// Whether something is up, since when, and when it was lost last; epoch seconds, 0 for never. One
// thread at a time sets it, any reads.
class UpDown {
  public:
    UpDown& operator=(bool up) {
        if (m_up.exchange(up, std::memory_order_relaxed) == up) return *this;
        const int64_t now = ClockNow();
        (up ? m_since : m_lost).store(now, std::memory_order_relaxed);
        return *this;
    }
    operator bool() const { return m_up.load(std::memory_order_relaxed); }
    int64_t Since() const { return m_since.load(std::memory_order_relaxed); }
    int64_t Lost() const { return m_lost.load(std::memory_order_relaxed); }

  private:
    std::atomic<bool> m_up{false};
    std::atomic<int64_t> m_since{0}, m_lost{0};
};

// Where the code that counts finds a layer's counters: empty, the default, while nobody reads
// them, so that counting costs one test. What is put in must live until the process ends: threads
// may still hold it when the slot is emptied. Any thread.
template <class T>
class MetricsSlot {
  public:
    T* Get() const { return m_lpMetrics.load(std::memory_order_acquire); }
    void Set(T* metrics) { m_lpMetrics.store(metrics, std::memory_order_release); }

  private:
    std::atomic<T*> m_lpMetrics{nullptr};
};
