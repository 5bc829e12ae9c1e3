// Time in tests: waiting for what is expected, and how long something took.
#pragma once

#include <chrono>
#include <thread>
#include <utility>

using std::chrono_literals::operator""s;
using std::chrono_literals::operator""ms;

#ifdef LOBBY_SANITIZED
inline constexpr int SLOWER = 5;  // instrumented builds get that much more time
#else
inline constexpr int SLOWER = 1;
#endif

// The seconds since it was made, or since it was last asked.
class Stopwatch {
  public:
    double Lap() {
        const auto now = Clock::now();
        return std::chrono::duration<double>(now - std::exchange(m_start, now)).count();
    }

  private:
    using Clock = std::chrono::steady_clock;
    Clock::time_point m_start = Clock::now();
};

// The seconds that it takes.
template <class Work>
double Took(Work work) {
    Stopwatch watch;
    work();
    return watch.Lap();
}

// Waits for a condition, at most `seconds` (more in instrumented builds); its last value.
template <class Condition>
bool Eventually(Condition condition, double seconds = 10) {
    using Clock = std::chrono::steady_clock;
    const auto limit = std::chrono::milliseconds(static_cast<long>(seconds * 1000 * SLOWER));
    for (const auto end = Clock::now() + limit; Clock::now() < end;) {
        if (condition()) return true;
        std::this_thread::sleep_for(1ms);
    }
    return condition();
}
