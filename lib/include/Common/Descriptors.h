// Public header: how many files and sockets the process may have open.
#pragma once

#include <sys/resource.h>

#include <algorithm>

// Makes room for so many descriptors, or for all there may be, as far as the system lets this user;
// the hard limit is raised for root only. Returns how many there may be. Thread: main, before there
// are others.
inline rlim_t RaiseDescriptorLimit(rlim_t needed = RLIM_INFINITY) {
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur >= needed) return limit.rlim_cur;
    rlimit wanted{needed, std::max(needed, limit.rlim_max)};
    if (setrlimit(RLIMIT_NOFILE, &wanted) == 0) return needed;
    wanted = {std::min(needed, limit.rlim_max), limit.rlim_max};
    setrlimit(RLIMIT_NOFILE, &wanted);
    return wanted.rlim_cur;
}
