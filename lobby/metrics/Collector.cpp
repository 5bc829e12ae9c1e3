#include "Collector.h"

#include <algorithm>
#include <cstdio>
#include <limits>

#include "Catalog.h"
#include "Common/Clock.h"
#include "Common/Log.h"
#include "Family.h"

using Families = std::vector<prometheus::MetricFamily>;

namespace {

constexpr double kNanos = 1e9;

constexpr const char* kCloseNames[] = {"send_ring", "receive_ring", "idle",  "bad_message",
                                       "bad_frame", "limit",        "budget"};
static_assert(std::size(kCloseNames) == NET_CLOSES);

constexpr const char* kRefusalNames[] = {"maintenance", "bad_length",     "disabled_user",
                                         "bad_user",    "forbidden_type", "unknown_type"};
static_assert(std::size(kRefusalNames) == REFUSALS);

constexpr const char* kFaultNames[] = {"no_connection", "no_reply", "refused"};
static_assert(std::size(kFaultNames) == REDIS_FAULTS);

bool ToLobby(catalog::Direction direction) {
    return std::string_view(catalog::NameOf(direction)).ends_with(">lobby");
}

bool OfClient(catalog::Direction direction) {
    return direction == catalog::Direction::ClientToLobby ||
           direction == catalog::Direction::LobbyToClient;
}

// The message numbers for which `wanted` holds, each once, in order.
template <class Wanted>
std::vector<uint16_t> TypesWhere(Wanted wanted) {
    std::vector<uint16_t> types;
    for (const catalog::Message& message : catalog::All()) {
        if (wanted(message.direction)) types.push_back(message.type);
    }
    std::sort(types.begin(), types.end());
    types.erase(std::unique(types.begin(), types.end()), types.end());
    return types;
}

std::vector<uint16_t> TypesOf(bool client, bool in) {
    return TypesWhere(
        [&](auto direction) { return OfClient(direction) == client && ToLobby(direction) == in; });
}

std::string Hex(uint16_t type) {
    char text[8];
    std::snprintf(text, sizeof(text), "0x%04X", type);
    return text;
}

// One value per number: those listed always, the rest once there is something to show.
void AddTypes(Family& family, const TypeCounters& counters, const std::vector<uint16_t>& listed,
              const Labels& labels) {
    const auto add = [&](uint64_t value, std::string type) {
        Labels all = labels;
        all.push_back({"type", std::move(type)});
        family.Add(static_cast<double>(value), std::move(all));
    };
    for (const uint16_t type : counters.Places().Known()) {
        const uint64_t value = counters.Value(type);
        if (value > 0 || std::binary_search(listed.begin(), listed.end(), type)) {
            add(value, Hex(type));
        }
    }
    add(counters.Unknown(), "other");
}

template <size_t N>
void AddReasons(Family family, const std::array<Counter, N>& counters,
                const char* const (&names)[N]) {
    for (size_t i = 0; i < N; ++i)
        family.Add(counters[i], {{"reason", names[i]}});
}

// What came and has not gone yet. What has gone is to be read first.
double Level(uint64_t gone, uint64_t come) {
    return come > gone ? static_cast<double>(come - gone) : 0;
}

}  // namespace

void Family::Add(const DurationCounter& durations) {
    auto& histogram = m_family.metric.emplace_back().histogram;
    for (size_t i = 0; i <= DurationCounter::kBounds.size(); ++i) {
        histogram.sample_count += durations.InBucket(i);
        const bool last = i == DurationCounter::kBounds.size();
        histogram.bucket.push_back(
            {histogram.sample_count,
             last ? std::numeric_limits<double>::infinity()
                  : static_cast<double>(DurationCounter::kBounds[i]) / kNanos});
    }
    histogram.sample_sum = static_cast<double>(durations.SumNanos()) / kNanos;
}

// Never destroyed: threads may count until the process has gone.
ProcessCounters& ProcessCounters::Instance() {
    static auto* const counters = new ProcessCounters;
    return *counters;
}

ProcessCounters::ProcessCounters()
    : types(TypesWhere([](auto) { return true; })), net(types), lobby(types) {}

void ProcessCounters::Publish(bool counting) {
    g_NetMetrics.Set(counting ? &net : nullptr);
    g_RedisMetrics.Set(counting ? &redis : nullptr);
    g_LobbyMetrics.Set(counting ? &lobby : nullptr);
}

Collector::Collector()
    : m_counters(ProcessCounters::Instance()),
      m_clientIn(TypesOf(true, true)),
      m_clientOut(TypesOf(true, false)),
      m_backEndIn(TypesOf(false, true)),
      m_backEndOut(TypesOf(false, false)),
      m_startTime(ClockNow()) {}

// Everything is made anew at each scrape, from counters that others go on counting: figures of one
// scrape may be a message apart, and what a level is made of is read with what has gone first.
Families Collector::Collect() const {
    Families all;
    GaugeFamily(all, "lobby_build_info", "Always 1; the version is the label.")
        .Add(1, {{"version", LOBBY_VERSION}});
    AddCondition(all);
    AddClients(all);
    AddRequests(all);
    AddMessages(all);
    AddWorker(all);
    AddLinks(all);
    AddRedis(all);
    CounterFamily(all, "lobby_log_lines_left_out_total", "Lines beyond the log's most_lines")
        .Add(g_LogLeftOut);
    CounterFamily(all, "lobby_console_lines_dropped_total",
                  "Lines that whoever reads the console did not take.")
        .Add(g_ConsoleDropped);
    AddProcessFigures(all, static_cast<double>(m_startTime));
    return all;
}

void Collector::AddCondition(Families& all) const {
    const LobbyMetrics& lobby = m_counters.lobby;
    GaugeFamily(all, "lobby_ready", "1 while clients are let in.")
        .Add(lobby.serving && !lobby.draining ? 1 : 0);
    GaugeFamily(all, "lobby_draining", "1 when no more clients are let in, before the end.")
        .Add(lobby.draining ? 1 : 0);
    GaugeFamily(all, "lobby_worker_last_pass_timestamp_seconds",
                "When the message worker last looked at its queue, in seconds since 1970.")
        .Add(static_cast<double>(lobby.lastPass.load()));
    GaugeFamily(all, "lobby_redis_up", "1 while Redis answers.").Add(m_counters.redis.up ? 1 : 0);
}

void Collector::AddClients(Families& all) const {
    const NetMetrics& net = m_counters.net;
    const LobbyMetrics& lobby = m_counters.lobby;
    const uint64_t closed = net.clientsClosed.Value();
    GaugeFamily(all, "lobby_connections", "Clients connected, logged in or not.")
        .Add(Level(closed, net.clientsOpened.Value()));
    CounterFamily(all, "lobby_accepted_connections_total", "Clients accepted.")
        .Add(net.clientsOpened);
    CounterFamily(all, "lobby_websocket_upgrades_total", "Clients that became WebSockets.")
        .Add(net.upgrades);
    GaugeFamily(all, "lobby_sessions", "Sessions listed.").Add(lobby.sessions);
    Family logins =
        CounterFamily(all, "lobby_logins_total",
                      "Logins answered, by the code the client was told; 0 is success.");
    for (size_t code = 0; code < lobby.logins.size(); ++code) {
        if (code == 0 || lobby.logins[code].Value() > 0) {
            logins.Add(lobby.logins[code], {{"result", std::to_string(code)}});
        }
    }
    CounterFamily(all, "lobby_kickouts_total", "Sessions kicked out.").Add(lobby.kickOuts);
    AddReasons(CounterFamily(all, "lobby_forced_closes_total",
                             "Connections the network layer ended by itself."),
               net.closes, kCloseNames);
}

void Collector::AddRequests(Families& all) const {
    const LobbyMetrics& lobby = m_counters.lobby;
    AddReasons(CounterFamily(all, "lobby_refused_total", "Logins and messages turned away."),
               lobby.refusals, kRefusalNames);
    Family throttled = CounterFamily(all, "lobby_throttled_total",
                                     "Requests refused for coming too soon after the last.");
    AddTypes(throttled, lobby.throttled, m_clientIn, {});
    Family limited = CounterFamily(all, "lobby_rate_limited_total",
                                   "Client messages above their configured rate.");
    AddTypes(limited, lobby.rateLimited, m_clientIn, {});
    CounterFamily(all, "lobby_not_relayed_total", "Clients' messages that a busy link refused.")
        .Add(lobby.notRelayed);
}

void Collector::AddMessages(Families& all) const {
    const NetMetrics& net = m_counters.net;
    Family messages = CounterFamily(all, "lobby_messages_total",
                                    "Messages handled (in) and queued for sending (out).");
    const auto add = [&](const TypeCounters& counters, const Types& listed, const char* peer,
                         const char* direction) {
        AddTypes(messages, counters, listed, {{"peer", peer}, {"direction", direction}});
    };
    add(net.clients.in, m_clientIn, "client", "in");
    add(net.clients.out, m_clientOut, "client", "out");
    add(net.backEnds.in, m_backEndIn, "backend", "in");
    add(net.backEnds.out, m_backEndOut, "backend", "out");
    Family bytes =
        CounterFamily(all, "lobby_bytes_total", "Bytes of all peers, WebSocket framing included.");
    bytes.Add(net.bytesIn, {{"direction", "in"}});
    bytes.Add(net.bytesOut, {{"direction", "out"}});
}

void Collector::AddWorker(Families& all) const {
    const NetMetrics& net = m_counters.net;
    const uint64_t taken = net.recordsTaken.Value();
    const uint64_t settled = net.messagesSettled.Value();
    GaugeFamily(all, "lobby_receive_queue_depth", "Reads and closes that wait for the worker.")
        .Add(Level(taken, net.recordsQueued.Value()));
    GaugeFamily(all, "lobby_send_queue_depth", "Messages queued and not yet written.")
        .Add(Level(settled, net.clients.out.Total() + net.backEnds.out.Total()));
    Family buffers =
        GaugeFamily(all, "lobby_buffers", "Buffers of 4 KiB, kept once they are made.");
    const auto pool = [&](const PoolCounters& counters, const char* name) {
        const uint64_t returned = counters.returned.Value();
        const double inUse = Level(returned, counters.taken.Value());
        buffers.Add(inUse, {{"pool", name}, {"state", "in_use"}});
        buffers.Add(std::max(static_cast<double>(counters.made.Value()) - inUse, 0.0),
                    {{"pool", name}, {"state", "free"}});
    };
    pool(g_SendBlocks, "send");
    pool(g_ReceiveBlocks, "receive");
    GaugeFamily(all, "lobby_buffer_budget", "Buffers that may be in use; 0: any number.")
        .Add(net.budget);
    HistogramFamily(all, "lobby_worker_pass_seconds",
                    "Time the message worker spends on what one look at its queue brings.")
        .Add(net.pass);
    CounterFamily(all, "lobby_worker_stand_ins_total",
                  "Times a poll thread read for a message worker that was held up.")
        .Add(net.standIns);
}

// Every link is listed from the start, so that one which never came up shows as a 0 and not as a
// figure that is missing.
void Collector::AddLinks(Families& all) const {
    const auto& links = m_counters.lobby.links;
    const auto each = [&](Family family, auto value) {
        for (size_t row = 0; row < LINKS; ++row)
            family.Add(static_cast<double>(value(links[row])), {{"link", LINK_ROWS[row].metric}});
    };
    each(GaugeFamily(all, "lobby_link_up", "1 while the link to the back-end server is up."),
         [](const LinkMetrics& link) { return link.up ? 1 : 0; });
    each(CounterFamily(all, "lobby_link_reconnects_total", "Connects after the first."),
         [](const LinkMetrics& link) {
             const uint64_t connects = link.connects.Value();
             return connects > 0 ? connects - 1 : 0;
         });
    each(CounterFamily(all, "lobby_link_connect_failures_total", "Connects that failed."),
         [](const LinkMetrics& link) { return link.failures.Value(); });
    each(CounterFamily(all, "lobby_link_drops_total", "Times the link was lost."),
         [](const LinkMetrics& link) { return link.drops.Value(); });
}

void Collector::AddRedis(Families& all) const {
    HistogramFamily(all, "lobby_redis_command_seconds", "Time of the commands sent to Redis.")
        .Add(m_counters.redis.latency);
    AddReasons(CounterFamily(all, "lobby_redis_errors_total", "Redis commands that failed."),
               m_counters.redis.faults, kFaultNames);
}
