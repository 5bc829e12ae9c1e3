// The figures a lobby serves, against what really happened.
#include <cjson/cJSON.h>
#include <gmock/gmock.h>
#include <httplib.h>

#include <regex>
#include <set>

#include "SystemTest.h"

namespace {

using Names = std::set<std::string>;

// The first group of every match in the text.
Names Matches(const std::string& text, const char* pattern) {
    const std::regex expression(pattern, std::regex::ECMAScript | std::regex::multiline);
    return {std::sregex_token_iterator(text.begin(), text.end(), expression, 1), {}};
}

// One scrape: samples by "name{labels}".
struct Scrape {
    std::string text;

    double operator[](const std::string& sample) const {
        const size_t at = text.find("\n" + sample + " ");
        return at == std::string::npos ? -1 : std::stod(text.substr(at + sample.size() + 2));
    }
};

}  // namespace

class MetricsTest : public SystemTest {
  protected:
    void ServeWithMetrics(const std::string& addr = "127.0.0.1:0") {
        config["metrics"]["addr"] = addr;
        config["log"]["level"] = "DEBUG";
        Serve();
    }
    // The lobby logs the port the system chose for it.
    uint16_t MetricsPort() const {
        const std::string log = lobby.Output(), words = "metrics success, host[127.0.0.1], port[";
        const size_t at = log.find(words);
        if (at == std::string::npos) return 0;
        return static_cast<uint16_t>(std::atoi(&log[at + words.size()]));
    }
    Scrape Get() {
        httplib::Client http("127.0.0.1", MetricsPort());
        const auto answer = http.Get("/metrics");
        return {answer ? answer->body : ""};
    }
    // The scrape in which the sample has that value; the last one when it never does.
    Scrape GetWhen(const std::string& sample, double value) {
        Scrape scrape;
        Eventually([&] { return (scrape = Get())[sample] == value; });
        EXPECT_EQ(scrape[sample], value) << sample;
        return scrape;
    }

    // When the last thread of the lobby's process has been started.
    long HttpThreads() const {
        EXPECT_TRUE(Eventually([&] { return lobby.LogHas("Create RedisThread Success"); }));
        const std::string tasks = "/proc/" + std::to_string(lobby.Pid()) + "/task";
        return std::ranges::count_if(std::filesystem::directory_iterator(tasks), [](auto& task) {
            return ReadFile(task.path() / "comm").starts_with("civet");
        });
    }
};

TEST_F(MetricsTest, WithoutAnAddressThatCanBeUsedThereIsNoThreadAndTheLobbyServes) {
    for (const std::string addr : {"", "no host:9109", "127.0.0.1:0"}) {
        SCOPED_TRACE(addr);
        ServeWithMetrics(addr);
        EXPECT_EQ(lobby.LogHas("no metrics !"), addr == "no host:9109");
        EXPECT_EQ(Has(lobby.Errors(), "section [metrics], key \"addr\""), addr == "no host:9109");
        EXPECT_EQ(lobby.LogHas("metrics"), addr != "");
        // A thread takes its name itself, when it runs.
        EXPECT_TRUE(addr == "127.0.0.1:0" ? Eventually([&] { return HttpThreads() > 0; })
                                          : HttpThreads() == 0);
        EXPECT_NO_THROW(LoggedIn(10001));
        lobby.Terminate();
        EXPECT_EQ(lobby.AwaitEnd(), 0);
    }
}

TEST_F(MetricsTest, HealthAndThePortThatWasTaken) {
    std::optional<RedisServer> other(std::in_place);
    const int taken = other->Port();
    ServeWithMetrics("127.0.0.1:" + std::to_string(taken));
    EXPECT_TRUE(lobby.LogHas("info[Address already in use: another program has this port"));
    other.reset();
    EXPECT_TRUE(Eventually([&] { return MetricsPort() == taken; }, 15));
    httplib::Client http("127.0.0.1", taken);
    const auto health = [&] {
        const auto answer = http.Get("/healthz");
        return answer ? std::to_string(answer->status) + answer->body : "";
    };
    const auto says = [&](const std::string& text) {
        return Eventually([&] { return health().find(text) != std::string::npos; });
    };
    EXPECT_TRUE(says("\"links\":{\"center\":{\"up\":true,")) << health();
    EXPECT_TRUE(says("\"redis\":{\"up\":true,")) << health();
    EXPECT_EQ(health().substr(0, 17), "200{\"ready\":true,");
    redis.Stop();
    EXPECT_EQ(LoggedIn(10001)->UserId(), 10001);
    EXPECT_TRUE(says("\"redis\":{\"up\":false,")) << health();
    platform.Do([&] { platform.Server(ServerKind::Queue).Drop({}); });
    EXPECT_TRUE(says("\"queue\":{\"up\":false,")) << health();
    EXPECT_EQ(health().substr(0, 3), "200");  // another lobby would have neither
    EXPECT_EQ(http.Post("/")->status, 405);
    EXPECT_EQ(http.Get("/../etc/passwd")->status, 404);
    auto player = Connect(10002);
    lobby.Signal(SIGUSR1);
    EXPECT_TRUE(says("\"draining\":true"));
    EXPECT_EQ(health().substr(0, 3), "503");
    player.reset();
    EXPECT_EQ(lobby.AwaitEnd(), 0);
}

// Two of them were enough to keep it from answering for seconds, and 200 for minutes.
TEST_F(MetricsTest, SilentConnectionsHoldItUpForSecondsOnly) {
    ServeWithMetrics();
    std::vector<std::unique_ptr<Player>> silent;
    while (silent.size() < 200)
        silent.push_back(Connect(1, MetricsPort()));
    httplib::Client http("127.0.0.1", MetricsPort());
    http.set_read_timeout(10 * SLOWER);  // as long as a scraper waits
    const auto answer = http.Get("/metrics");
    EXPECT_TRUE(answer && answer->status == 200);
}

TEST_F(MetricsTest, RefusalsClosesKicksAndLinksAreCounted) {
    lobby.Write("disconnectuserid.cfg",
                "[disconnectcount]\nusernum=1\n[disconnect]\nuser0=10009\n");
    ServeWithMetrics();
    EXPECT_THROW(Connect(10009)->Login(), client::ConnectionLost);
    EXPECT_EQ(Connect(10001)->Login("no such token").ucErrNo, 2);
    auto first = LoggedIn(10001);
    auto second = Connect(10001, 0, client::Transport::WebSocket);
    EXPECT_EQ(second->Login().ucErrNo, 0);
    EXPECT_TRUE(Closed(*first));
    EXPECT_EQ(second->BankLogin(BANK_PASSWORD).ucResultType, 0);
    const UserBankLoginReq again{};
    second->Line().Send(BANK_LOGIN_C2S, again);
    second->Line().Send(0x1234);
    second->KeepAlive();
    auto faulty = LoggedIn(10002);
    faulty->Line().SendRaw(wire::Bytes(8));
    EXPECT_TRUE(Closed(*faulty));
    EXPECT_EQ(Get()[R"(lobby_link_up{link="queue"})"], 1);
    platform.Do([&] { platform.Server(ServerKind::Queue).Drop({}); });
    GetWhen(R"(lobby_link_up{link="queue"})", 0);
    platform.Do([&] { platform.Server(ServerKind::Queue).Resume(); });
    GetWhen(R"(lobby_link_up{link="queue"})", 1);
    const Scrape scrape = GetWhen("lobby_sessions", 1);

    const std::pair<std::string, double> expected[] = {
        {R"(lobby_refused_total{reason="disabled_user"})", 1},
        {R"(lobby_refused_total{reason="unknown_type"})", 1},
        {R"(lobby_refused_total{reason="maintenance"})", 0},
        {R"(lobby_logins_total{result="0"})", 3},
        {R"(lobby_logins_total{result="2"})", 1},
        {"lobby_kickouts_total", 1},
        {R"(lobby_throttled_total{type="0x00D3"})", 1},
        {R"(lobby_forced_closes_total{reason="bad_message"})", 1},
        {R"(lobby_forced_closes_total{reason="send_ring"})", 0},
        {"lobby_websocket_upgrades_total", 1},
        {R"(lobby_link_reconnects_total{link="queue"})", 1},
        {R"(lobby_link_drops_total{link="queue"})", 1},
        {R"(lobby_link_reconnects_total{link="center"})", 0},
        {R"(lobby_redis_errors_total{reason="no_reply"})", 0},
        {"lobby_connections", 1},
        {"lobby_sessions", 1},
        // Its number is the sender's invention: it gets no series of its own.
        {R"(lobby_messages_total{peer="client",direction="in",type="other"})", 1},
        {"lobby_accepted_connections_total", 5},
        {R"(lobby_messages_total{peer="client",direction="in",type="0x00A1"})", 5},
        {R"(lobby_messages_total{peer="backend",direction="out",type="0xA001"})", 4},
        {R"(lobby_messages_total{peer="client",direction="out",type="0x00A6"})", 4},
        {R"(lobby_messages_total{peer="client",direction="out",type="0xF0F1"})", 1},
    };
    for (const auto& [sample, value] : expected)
        EXPECT_EQ(scrape[sample], value) << sample;
    EXPECT_GT(scrape["lobby_worker_pass_seconds_sum"], 0);
    EXPECT_GE(scrape["lobby_redis_command_seconds_count"], 7);
    EXPECT_LE(scrape[R"(lobby_buffers{pool="send",state="in_use"})"], 70);
    GetWhen("lobby_receive_queue_depth", 0);
    GetWhen("lobby_send_queue_depth", 0);
    GetWhen(R"(lobby_buffers{pool="receive",state="in_use"})", 0);

    redis.Stop();
    EXPECT_EQ(LoggedIn(10003)->UserId(), 10003);
    EXPECT_GE(Get()[R"(lobby_redis_errors_total{reason="no_connection"})"], 1);
}

TEST_F(MetricsTest, DocumentAndDashboardNameWhatIsServed) {
    ServeWithMetrics();
    const std::string served = Get().text;
    const Names samples = Matches(served, "^([a-z_]+)[{ ]");

    std::string document = ReadFile(PROJECT_SOURCE_DIR "/docs/metrics.md");
    document.erase(document.find("\n## "));
    // The tables' first cells, where such a cell is nothing but a name.
    EXPECT_EQ(Matches(document, "^\\| `([a-z_]+)` \\|"), Matches(served, "^# TYPE ([a-z_]+)"));

    const std::string dashboard = ReadFile(PROJECT_SOURCE_DIR "/deploy/grafana/lobby.json");
    cJSON* const json = cJSON_Parse(dashboard.c_str());
    EXPECT_TRUE(json) << cJSON_GetErrorPtr();
    cJSON_Delete(json);
    auto expressions = Matches(dashboard, "\"expr\": *\"((?:[^\"\\\\]|\\\\.)*)\"");
    expressions.merge(Matches(ReadFile(PROJECT_SOURCE_DIR "/deploy/prometheus/lobby-alerts.yml"),
                              "expr: (.*[a-z]_[a-z].*)"));
    EXPECT_GT(expressions.size(), 10u);
    for (const std::string& expression : expressions) {
        const auto names = Matches(expression, "\\b((?:lobby|process)_[a-z_]+)");
        EXPECT_FALSE(names.empty()) << expression;
        for (const std::string& name : names)
            EXPECT_TRUE(samples.contains(name)) << expression;
    }
    EXPECT_EQ(Matches(dashboard, "\"uid\": *\"([^\"]*)\""), (Names{"lobby", "${datasource}"}));
}
