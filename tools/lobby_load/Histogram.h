// Latencies in log-sized buckets.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

// Counts values (nanoseconds here, but any unit will do). 64 buckets for every doubling: a
// percentile is at most 1.6 % above the true value, the maximum is exact. Owns about 30 KiB and
// never allocates. Thread: one.
class Histogram {
  public:
    void Add(uint64_t value);
    void Merge(const Histogram& other);

    uint64_t Count() const { return m_count; }
    uint64_t Max() const { return m_max; }
    double Mean() const;
    // The value that the share (0 to 1) of all values does not exceed; 0 when there are none.
    uint64_t Percentile(double share) const;

  private:
    static constexpr int kSubBits = 6;
    static constexpr uint64_t kSub = 1u << kSubBits;
    static constexpr size_t kBuckets = (64 - kSubBits + 1) * kSub;

    static size_t BucketOf(uint64_t value);
    // The largest value of the bucket.
    static uint64_t UpperEnd(size_t bucket);

    std::array<uint64_t, kBuckets> m_buckets{};
    uint64_t m_count = 0;
    uint64_t m_max = 0;
    double m_sum = 0;
};
