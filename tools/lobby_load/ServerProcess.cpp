#include "ServerProcess.h"

#include <unistd.h>

#include <fstream>
#include <stdexcept>
#include <string>

ServerProcess::ServerProcess(pid_t pid) : m_pid(pid) {
    // The process's own CPU clock counts nanoseconds; /proc/<pid>/stat only hundredths.
    if (pid > 0 && clock_getcpuclockid(pid, &m_clock) != 0) {
        throw std::runtime_error("no process " + std::to_string(pid));
    }
}

double ServerProcess::CpuSeconds() const {
    timespec time{};
    if (m_pid <= 0 || clock_gettime(m_clock, &time) != 0) return 0;
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

double ServerProcess::ResidentBytes() const {
    if (m_pid <= 0) return 0;
    std::ifstream statm("/proc/" + std::to_string(m_pid) + "/statm");
    double total = 0, resident = 0;
    statm >> total >> resident;
    return resident * static_cast<double>(sysconf(_SC_PAGESIZE));
}
