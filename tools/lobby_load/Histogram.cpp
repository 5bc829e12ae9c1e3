#include "Histogram.h"

#include <algorithm>
#include <bit>
#include <cmath>

size_t Histogram::BucketOf(uint64_t value) {
    if (value < kSub) return value;
    // The value's top kSubBits + 1 bits: the first is always 1, the others choose the bucket.
    const int shift = std::bit_width(value) - (kSubBits + 1);
    return static_cast<size_t>(shift) * kSub + (value >> shift);
}

uint64_t Histogram::UpperEnd(size_t bucket) {
    if (bucket < 2 * kSub) return bucket;
    const size_t shift = bucket / kSub - 1;
    return ((bucket - shift * kSub + 1) << shift) - 1;
}

void Histogram::Add(uint64_t value) {
    ++m_buckets[BucketOf(value)];
    ++m_count;
    m_sum += static_cast<double>(value);
    m_max = std::max(m_max, value);
}

void Histogram::Merge(const Histogram& other) {
    for (size_t i = 0; i < kBuckets; ++i)
        m_buckets[i] += other.m_buckets[i];
    m_count += other.m_count;
    m_sum += other.m_sum;
    m_max = std::max(m_max, other.m_max);
}

double Histogram::Mean() const {
    return m_count > 0 ? m_sum / static_cast<double>(m_count) : 0;
}

uint64_t Histogram::Percentile(double share) const {
    if (m_count == 0) return 0;
    const auto wanted = std::max<uint64_t>(
        1, static_cast<uint64_t>(std::ceil(share * static_cast<double>(m_count))));
    uint64_t seen = 0;
    for (size_t i = 0; i < kBuckets; ++i) {
        seen += m_buckets[i];
        if (seen >= wanted) return std::min(UpperEnd(i), m_max);
    }
    return m_max;
}
