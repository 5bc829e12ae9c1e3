// The pace of the lobby's periodic jobs.
#pragma once

// True, with the stamp renewed, when `period` seconds have passed since the stamp. A clock that was
// set back starts the period anew: the job would otherwise rest for as long as the clock went back.
inline bool PeriodPassed(long& stamp, long now, long period) {
    if (now < stamp) stamp = now;
    if (now - stamp < period) return false;
    stamp = now;
    return true;
}
