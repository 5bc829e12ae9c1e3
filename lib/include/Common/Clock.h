// Public header: the two clocks every time-dependent rule of the process reads, and one to measure.
#pragma once

#include <ctime>

// Where the time comes from. Both functions must be callable from any thread.
struct ClockSource {
    time_t (*now)();   // seconds since the epoch
    long (*uptime)();  // seconds since boot, never stepped
};

// Seconds since the epoch. Any thread.
time_t ClockNow();

// Seconds since boot. Any thread.
long ClockUptime();

// Of the kernel's clock that waits go by, whatever the source of the two above: for measuring and
// for waits. Any thread.
inline long MonotonicNanos() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * 1'000'000'000 + now.tv_nsec;
}

// Replaces the source of both clocks, so that tests move time by hand; a default-constructed
// source (null functions) restores the system's clocks. Any thread.
void SetClockSource(const ClockSource& source);
