// What the server under load costs.
#pragma once

#include <sys/types.h>
#include <ctime>

// Watches another process of this machine. Thread: one.
class ServerProcess {
  public:
    // pid 0: nothing is watched, and every figure is 0.
    explicit ServerProcess(pid_t pid);

    bool Watched() const { return m_pid > 0; }
    // CPU time of all its threads so far, in seconds.
    double CpuSeconds() const;
    // Resident memory, in bytes.
    double ResidentBytes() const;

  private:
    pid_t m_pid;
    clockid_t m_clock = CLOCK_MONOTONIC;
};
