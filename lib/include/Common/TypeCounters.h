// Public header: one counter per message number.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "Common/Metrics.h"

// Gives each message number the process knows a place of its own and all others, which peers may
// invent at will, place 0. Constant once made.
class TypePlaces {
  public:
    // Without duplicates.
    explicit TypePlaces(std::vector<uint16_t> known)
        : m_known(std::move(known)), m_places(std::make_unique<uint16_t[]>(kTypes)) {
        for (size_t i = 0; i < m_known.size(); ++i)
            m_places[m_known[i]] = static_cast<uint16_t>(i + 1);
    }
    size_t Of(uint16_t type) const { return m_places[type]; }
    const uint16_t* Table() const { return m_places.get(); }
    size_t Count() const { return m_known.size() + 1; }
    const std::vector<uint16_t>& Known() const { return m_known; }

  private:
    static constexpr size_t kTypes = 65536;

    std::vector<uint16_t> m_known;
    std::unique_ptr<uint16_t[]> m_places;
};

// Counts by message number, without a lock, a search or the heap. Points at the places. Any thread.
class TypeCounters {
  public:
    explicit TypeCounters(const TypePlaces& places)
        : m_lpTable(places.Table()),
          m_lpPlaces(&places),
          m_counters(std::make_unique<Counter[]>(places.Count())) {}
    void Add(uint16_t type) { m_counters[m_lpTable[type]].Add(); }
    // The number's count; that of all unknown numbers together for one that is not known.
    uint64_t Value(uint16_t type) const { return m_counters[m_lpPlaces->Of(type)].Value(); }
    uint64_t Unknown() const { return m_counters[0].Value(); }
    uint64_t Total() const {
        uint64_t total = 0;
        for (size_t i = 0; i < m_lpPlaces->Count(); ++i)
            total += m_counters[i].Value();
        return total;
    }
    const TypePlaces& Places() const { return *m_lpPlaces; }

  private:
    const uint16_t* const m_lpTable;  // the places' own, one step nearer
    const TypePlaces* const m_lpPlaces;
    std::unique_ptr<Counter[]> m_counters;
};
