// Public header: how many lines a second may be written.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <ctime>

#include "Common/ThreadSafety.h"

// Counts the lines of the second that runs and, by level, those that are left out of it.
// Thread: any.
class LogBudget {
  public:
    static constexpr int kLevels = 4;
    static constexpr size_t kUnit = 256;
    using LeftOut = std::array<unsigned, kLevels>;  // lines of each level

    // Lines a second; 0 or less for any number, as at first. Starts anew.
    void SetMost(int lines);

    // Whether a line of that level may be written now.
    bool Admit(int level, time_t now);
    // The line that was admitted has so many bytes: each kUnit of them is a line more, so that the
    // bound holds for bytes as well.
    void Charge(size_t bytes);

    // Hands over, once, what a second that is past left out; false when there is nothing to tell.
    bool Collect(time_t now, LeftOut& leftOut);

  private:
    std::atomic<int> m_iMost{0};
    std::atomic<bool> m_bLeftOut{false};  // m_arrLeftOut has something
    Mutex m_lock;
    time_t m_tmSecond GUARDED_BY(m_lock) = 0;  // the one that is being counted
    int m_iWritten GUARDED_BY(m_lock) = 0;
    LeftOut m_arrLeftOut GUARDED_BY(m_lock){};
};
