#include "Common/Clock.h"

#include <atomic>

namespace {

time_t SystemNow() {
    return time(nullptr);
}

// The boot clock is what the kernel reports as uptime, without a system call.
long SystemUptime() {
    timespec now{};
    clock_gettime(CLOCK_BOOTTIME, &now);
    return static_cast<long>(now.tv_sec);
}

std::atomic<time_t (*)()> g_now{&SystemNow};
std::atomic<long (*)()> g_uptime{&SystemUptime};

}  // namespace

time_t ClockNow() {
    return g_now.load(std::memory_order_acquire)();
}

long ClockUptime() {
    return g_uptime.load(std::memory_order_acquire)();
}

void SetClockSource(const ClockSource& source) {
    g_now.store(source.now ? source.now : &SystemNow, std::memory_order_release);
    g_uptime.store(source.uptime ? source.uptime : &SystemUptime, std::memory_order_release);
}
