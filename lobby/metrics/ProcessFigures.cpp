#include <sys/resource.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <ctime>
#include <filesystem>
#include <fstream>

#include "Family.h"

double ResidentBytes() {
    std::ifstream statm("/proc/self/statm");
    double total = 0, resident = 0;
    statm >> total >> resident;
    return resident * static_cast<double>(sysconf(_SC_PAGESIZE));
}

namespace {

double OpenDescriptors() {
    std::error_code ignored;
    const std::filesystem::directory_iterator entries("/proc/self/fd", ignored);
    return static_cast<double>(std::distance(begin(entries), end(entries)));
}

double MaxDescriptors() {
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    return static_cast<double>(limit.rlim_cur);
}

double CpuSeconds() {
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

}  // namespace

void AddProcessFigures(std::vector<prometheus::MetricFamily>& all, double startTime) {
    GaugeFamily(all, "process_resident_memory_bytes", "Resident memory.").Add(ResidentBytes());
    GaugeFamily(all, "process_open_fds", "Open file descriptors.").Add(OpenDescriptors());
    GaugeFamily(all, "process_max_fds", "Limit of open file descriptors.").Add(MaxDescriptors());
    CounterFamily(all, "process_cpu_seconds_total", "CPU time of all threads.").Add(CpuSeconds());
    struct statvfs disk {};
    if (statvfs("log", &disk) == 0) {
        const auto block = static_cast<double>(disk.f_frsize);
        GaugeFamily(all, "lobby_log_disk_free_bytes", "Room for the log.")
            .Add(static_cast<double>(disk.f_bavail) * block);
        GaugeFamily(all, "lobby_log_disk_bytes", "Size of the file system the log is on.")
            .Add(static_cast<double>(disk.f_blocks) * block);
    }
    GaugeFamily(all, "process_start_time_seconds", "Start, in seconds since 1970.").Add(startTime);
}
