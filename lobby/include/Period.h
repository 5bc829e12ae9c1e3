// The pace of the lobby's periodic jobs.
#pragma once

#include <optional>

// True, with the stamp renewed, when `period` seconds have passed since the stamp. A clock that was
// set back starts the period anew: the job would otherwise rest for as long as the clock went back.
inline bool PeriodPassed(long& stamp, long now, long period) {
    if (now < stamp) stamp = now;
    if (now - stamp < period) return false;
    stamp = now;
    return true;
}

// The same for a job that is not to run at once: the first call only sets the stamp.
// Thread: one at a time.
class Period {
  public:
    // now in seconds; the period may be another one each time.
    bool Passed(long now, long period) {
        if (!m_stamp) m_stamp = now;
        return PeriodPassed(*m_stamp, now, period);
    }

  private:
    std::optional<long> m_stamp;
};
