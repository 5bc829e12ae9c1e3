#include "Status.h"

#include <string>

#include "Collector.h"
#include "Common/Clock.h"
#include "History.h"

namespace {

// A worker that has made no pass for so many seconds stands.
constexpr int64_t kWorkerSeconds = 10;

std::string Pair(const char* name, const std::string& value) {
    return std::string("\"") + name + "\":" + value;
}
std::string Flag(const char* name, bool value) {
    return Pair(name, value ? "true" : "false");
}
std::string Number(const char* name, int64_t value) {
    return Pair(name, std::to_string(value));
}

std::string StateOf(const UpDown& state) {
    return "{" + Flag("up", state) + "," + Number("since", state.Since()) + "," +
           Number("lost", state.Lost()) + "}";
}

struct Condition {
    bool ready;
    std::string json;
};

Condition ConditionOf(const ProcessCounters& counters) {
    const LobbyMetrics& lobby = counters.lobby;
    const int64_t age = ClockNow() - lobby.lastPass.load();
    const bool worker = age <= kWorkerSeconds;
    const bool draining = lobby.draining;
    const bool ready = lobby.serving && !draining && worker;
    std::string json = Flag("ready", ready) + "," + Flag("serving", lobby.serving) + "," +
                       Flag("draining", draining) + "," + Flag("worker", worker) + "," +
                       Number("worker_last_pass_seconds", age) + "," +
                       Pair("redis", StateOf(counters.redis.up)) + ",\"links\":{";
    for (size_t row = 0; row < LINKS; ++row) {
        if (json.back() != '{') json += ',';
        json += Pair(LINK_ROWS[row].metric, StateOf(lobby.links[row].up));
    }
    return {ready, json + "}"};
}

}  // namespace

HttpAnswer Health(const ProcessCounters& counters) {
    const Condition condition = ConditionOf(counters);
    return {condition.ready ? 200 : 503, "application/json", "{" + condition.json + "}\n"};
}

HttpAnswer Status(const ProcessCounters& counters, const History& history, int64_t start) {
    return {200, "application/json",
            "{" + Pair("version", "\"" LOBBY_VERSION "\"") + "," + Number("start", start) + "," +
                Number("now", ClockNow()) + "," + Number("period", History::kPeriod) + "," +
                ConditionOf(counters).json + ",\"series\":{" + history.ToJson() + "}}\n"};
}
