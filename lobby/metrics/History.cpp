#include "History.h"

#include <cstdio>
#include <ctime>

#include "Collector.h"
#include "Family.h"

namespace {

double Seconds(clockid_t clock) {
    timespec now{};
    clock_gettime(clock, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

// The two counters are read one after the other while others count: what went in between may be
// more than what came, which is no level below zero.
double Level(const Counter& gone, const Counter& come) {
    const uint64_t less = gone.Value(), more = come.Value();
    return more > less ? static_cast<double>(more - less) : 0;
}

template <class Counters>
double Sum(const Counters& counters) {
    uint64_t sum = 0;
    for (const Counter& counter : counters)
        sum += counter.Value();
    return static_cast<double>(sum);
}

}  // namespace

History::Sample History::Look() const {
    const NetMetrics& net = m_counters.net;
    const LobbyMetrics& lobby = m_counters.lobby;
    Sample now{};
    now.time = Seconds(CLOCK_MONOTONIC);
    now.players = static_cast<double>(lobby.sessions.Value());
    now.connections = Level(net.clientsClosed, net.clientsOpened);
    now.logins = Sum(lobby.logins);
    now.requests = static_cast<double>(net.clients.in.Total());
    now.refusals = Sum(lobby.refusals) + static_cast<double>(lobby.throttled.Total()) +
                   static_cast<double>(lobby.rateLimited.Total());
    now.bytes = static_cast<double>(net.bytesIn.Value() + net.bytesOut.Value());
    for (size_t i = 0; i <= DurationCounter::kBounds.size(); ++i)
        now.passes += static_cast<double>(net.pass.InBucket(i));
    now.passSeconds = static_cast<double>(net.pass.SumNanos()) * 1e-9;
    now.buffers = Level(g_SendBlocks.returned, g_SendBlocks.taken) +
                  Level(g_ReceiveBlocks.returned, g_ReceiveBlocks.taken);
    now.memory = ResidentBytes();
    now.cpu = Seconds(CLOCK_PROCESS_CPUTIME_ID);
    return now;
}

// Erasing from the front moves the other 120 samples, once in five seconds.
void History::Take() {
    const Sample now = Look();
    const LockGuard lock(m_lock);
    if (m_samples.size() == kSamples) m_samples.erase(m_samples.begin());
    m_samples.push_back(now);
}

std::string History::ToJson() const {
    std::vector<Sample> samples;
    {
        const LockGuard lock(m_lock);
        samples = m_samples;
    }
    std::string json;
    const auto add = [&](const char* name, auto figure) {
        json += json.empty() ? "\"" : ",\"";
        json += std::string(name) + "\":[";
        for (size_t i = 1; i < samples.size(); ++i) {
            char text[32];
            std::snprintf(text, sizeof(text), i > 1 ? ",%.6g" : "%.6g",
                          figure(samples[i - 1], samples[i]));
            json += text;
        }
        json += ']';
    };
    const auto level = [&](const char* name, double Sample::*value) {
        add(name, [=](const Sample&, const Sample& now) { return now.*value; });
    };
    const auto rate = [&](const char* name, double Sample::*value) {
        add(name, [=](const Sample& before, const Sample& now) {
            return (now.*value - before.*value) / (now.time - before.time);
        });
    };
    level("players", &Sample::players);
    level("connections", &Sample::connections);
    rate("logins", &Sample::logins);
    rate("requests", &Sample::requests);
    rate("refusals", &Sample::refusals);
    rate("bytes", &Sample::bytes);
    level("buffers", &Sample::buffers);
    level("memory", &Sample::memory);
    rate("cpu", &Sample::cpu);
    rate("busy", &Sample::passSeconds);
    add("pass", [](const Sample& before, const Sample& now) {
        const double passes = now.passes - before.passes;
        return passes > 0 ? (now.passSeconds - before.passSeconds) / passes * 1e6 : 0;
    });
    return json;
}
