// The figures a lobby serves, against what really happened.
#include <cjson/cJSON.h>
#include <gmock/gmock.h>
#include <httplib.h>

#include <regex>
#include <set>
#include <sstream>

#include "SystemTest.h"

namespace {

using Names = std::set<std::string>;

// The first group of every match in the text.
std::vector<std::string> Matches(const std::string& text, const char* pattern) {
    const std::regex expression(pattern, std::regex::ECMAScript | std::regex::multiline);
    return {std::sregex_token_iterator(text.begin(), text.end(), expression, 1), {}};
}
Names NamesOf(const std::string& text, const char* pattern) {
    const auto found = Matches(text, pattern);
    return {found.begin(), found.end()};
}

// One scrape: samples by "name{labels}".
struct Scrape {
    std::map<std::string, double> samples;
    Names families, names;  // names: of samples, whatever their labels

    explicit Scrape(const std::string& text = "") {
        std::istringstream lines(text);
        for (std::string line; std::getline(lines, line);) {
            const size_t blank = line.rfind(' ');
            if (line.starts_with("# TYPE ")) families.insert(line.substr(7, blank - 7));
            if (line.starts_with('#') || blank == std::string::npos) continue;
            samples[line.substr(0, blank)] = std::stod(line.substr(blank + 1));
            names.insert(line.substr(0, line.find_first_of("{ ")));
        }
    }
    double operator[](const std::string& sample) const {
        const auto found = samples.find(sample);
        return found != samples.end() ? found->second : -1;
    }
};

std::string MessagesOf(const char* peer, const char* direction, const char* type) {
    return std::string("lobby_messages_total{peer=\"") + peer + "\",direction=\"" + direction +
           "\",type=\"" + type + "\"}";
}

}  // namespace

class MetricsTest : public SystemTest {
  protected:
    void ServeWithMetrics(const std::string& addr = "127.0.0.1:0") {
        LobbySettings settings = Settings();
        settings["metrics"]["addr"] = addr;
        settings["log"]["level"] = "DEBUG";
        port = Serve(lobby, settings);
    }
    // The lobby logs the port the system chose for it.
    int MetricsPort() const {
        const std::string log = lobby.Output(), words = "metrics success, host[127.0.0.1], port[";
        const size_t at = log.find(words);
        return at == std::string::npos ? 0 : std::atoi(&log[at + words.size()]);
    }
    Scrape Get() {
        httplib::Client http("127.0.0.1", MetricsPort());
        const auto answer = http.Get("/metrics");
        return Scrape(answer ? answer->body : "");
    }
    // The scrape in which the sample has that value; the last one when it never does.
    Scrape GetWhen(const std::string& sample, double value) {
        Scrape scrape;
        Eventually([&] { return (scrape = Get())[sample] == value; });
        EXPECT_EQ(scrape[sample], value) << sample;
        return scrape;
    }

    // The names of the threads of the lobby's process, when the last of them has been started.
    std::vector<std::string> ThreadNames() const {
        EXPECT_TRUE(Eventually([&] { return lobby.LogHas("Create RedisThread Success"); }));
        std::vector<std::string> names;
        for (const auto& task : std::filesystem::directory_iterator(Proc() + "/task"))
            names.push_back(ReadFile(task.path() / "comm"));
        return names;
    }
    long HttpThreads() const {
        return std::ranges::count_if(
            ThreadNames(), [](const std::string& name) { return name.starts_with("civet"); });
    }
    long ListeningSockets() const {
        Names own;
        std::error_code gone;
        for (const auto& entry : std::filesystem::directory_iterator(Proc() + "/fd"))
            own.insert(std::filesystem::read_symlink(entry.path(), gone));
        std::ifstream table(Proc() + "/net/tcp");
        long count = 0;
        for (std::string line; std::getline(table, line);) {
            std::istringstream words(line);
            const std::vector<std::string> word{std::istream_iterator<std::string>(words), {}};
            // Its state and its inode.
            count += word.at(3) == "0A" && own.contains("socket:[" + word.at(9) + "]");
        }
        return count;
    }
    std::string Proc() const { return "/proc/" + std::to_string(lobby.Pid()); }
};

TEST_F(MetricsTest, OffThereIsNoPortAndNoThread) {
    Serve();
    EXPECT_EQ(ListeningSockets(), 1);
    EXPECT_EQ(HttpThreads(), 0);
    EXPECT_FALSE(lobby.LogHas("metrics"));
    const size_t threads = ThreadNames().size();
    lobby.Terminate();
    ASSERT_TRUE(lobby.AwaitEnd(10));
    ServeWithMetrics();
    EXPECT_EQ(ListeningSockets(), 2);
    EXPECT_GT(HttpThreads(), 0);
    EXPECT_EQ(ThreadNames().size(), threads + static_cast<size_t>(HttpThreads()) + 1);
}

TEST_F(MetricsTest, AnAddressThatCannotBeUsedIsLoggedAndTheLobbyServes) {
    for (const std::string& addr :
         {redis.Address(), std::string("127.0.0.1"), std::string("127.0.0.1:65536"),
          std::string("no host:9109"), std::string("198.51.100.1:0")}) {
        SCOPED_TRACE(addr);
        ServeWithMetrics(addr);
        EXPECT_TRUE(lobby.LogHas("no metrics !"));
        EXPECT_NE(lobby.Errors().find("section [metrics], key \"addr\""), std::string::npos);
        EXPECT_EQ(HttpThreads(), 0);
        EXPECT_NO_THROW(LoggedIn(10001));
        lobby.Terminate();
        EXPECT_EQ(lobby.AwaitEnd(10), 0);
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
    kill(lobby.Pid(), SIGUSR1);
    EXPECT_TRUE(says("\"draining\":true"));
    EXPECT_EQ(health().substr(0, 3), "503");
    player.reset();
    EXPECT_EQ(lobby.AwaitEnd(10), 0);
}

// Two of them were enough to keep it from answering for seconds, and 200 for minutes.
TEST_F(MetricsTest, SilentConnectionsHoldItUpForSecondsOnly) {
    ServeWithMetrics();
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_port = htons(static_cast<uint16_t>(MetricsPort()));
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    std::vector<int> silent(200);
    for (int& each : silent) {
        each = socket(AF_INET, SOCK_STREAM, 0);
        ASSERT_EQ(connect(each, reinterpret_cast<sockaddr*>(&addr), sizeof(addr)), 0);
    }
    httplib::Client http("127.0.0.1", MetricsPort());
    http.set_read_timeout(10 * SLOWER);  // as long as a scraper waits
    const auto answer = http.Get("/metrics");
    EXPECT_TRUE(answer && answer->status == 200);
    for (const int each : silent)
        close(each);
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
    EXPECT_EQ(Get()["lobby_link_up{link=\"queue\"}"], 1);
    platform.Do([&] { platform.Server(ServerKind::Queue).Drop({}); });
    GetWhen("lobby_link_up{link=\"queue\"}", 0);
    platform.Do([&] { platform.Server(ServerKind::Queue).Resume(); });
    GetWhen("lobby_link_up{link=\"queue\"}", 1);
    const Scrape scrape = GetWhen("lobby_sessions", 1);

    const std::map<std::string, double> expected = {
        {"lobby_refused_total{reason=\"disabled_user\"}", 1},
        {"lobby_refused_total{reason=\"unknown_type\"}", 1},
        {"lobby_refused_total{reason=\"maintenance\"}", 0},
        {"lobby_logins_total{result=\"0\"}", 3},
        {"lobby_logins_total{result=\"2\"}", 1},
        {"lobby_kickouts_total", 1},
        {"lobby_throttled_total{type=\"0x00D3\"}", 1},
        {"lobby_forced_closes_total{reason=\"bad_message\"}", 1},
        {"lobby_forced_closes_total{reason=\"send_ring\"}", 0},
        {"lobby_websocket_upgrades_total", 1},
        {"lobby_link_reconnects_total{link=\"queue\"}", 1},
        {"lobby_link_drops_total{link=\"queue\"}", 1},
        {"lobby_link_reconnects_total{link=\"center\"}", 0},
        {"lobby_redis_errors_total{reason=\"no_reply\"}", 0},
        {"lobby_connections", 1},
        {"lobby_sessions", 1},
        // Its number is the sender's invention: it gets no series of its own.
        {MessagesOf("client", "in", "other"), 1},
        {"lobby_accepted_connections_total", 5},
        {MessagesOf("client", "in", "0x00A1"), 5},
        {MessagesOf("backend", "out", "0xA001"), 4},
        {MessagesOf("client", "out", "0x00A6"), 4},
        {MessagesOf("client", "out", "0xF0F1"), 1},
    };
    for (const auto& [sample, value] : expected)
        EXPECT_EQ(scrape[sample], value) << sample;
    EXPECT_GT(scrape["lobby_worker_pass_seconds_sum"], 0);
    EXPECT_GE(scrape["lobby_redis_command_seconds_count"], 7);
    EXPECT_LE(scrape["lobby_buffers{pool=\"send\",state=\"in_use\"}"], 70);
    EXPECT_GE(scrape["lobby_buffers{pool=\"send\",state=\"free\"}"], 0);
    GetWhen("lobby_receive_queue_depth", 0);
    GetWhen("lobby_send_queue_depth", 0);
    GetWhen("lobby_buffers{pool=\"receive\",state=\"in_use\"}", 0);

    redis.Stop();
    EXPECT_EQ(LoggedIn(10003)->UserId(), 10003);
    EXPECT_GE(Get()["lobby_redis_errors_total{reason=\"no_connection\"}"], 1);
}

TEST_F(MetricsTest, DocumentAndDashboardNameWhatIsServed) {
    ServeWithMetrics();
    const Scrape scrape = Get();
    const std::string source = PROJECT_SOURCE_DIR;

    std::string document = ReadFile(source + "/docs/metrics.md");
    document.erase(document.find("\n## "));
    const Names served = scrape.families;
    // The tables' first cells, where such a cell is nothing but a name.
    EXPECT_EQ(NamesOf(document, "^\\| `([a-z_]+)` \\|"), served);

    const std::string dashboard = ReadFile(source + "/deploy/grafana/lobby.json");
    cJSON* const json = cJSON_Parse(dashboard.c_str());
    EXPECT_TRUE(json) << cJSON_GetErrorPtr();
    cJSON_Delete(json);
    auto expressions = Matches(dashboard, "\"expr\": *\"((?:[^\"\\\\]|\\\\.)*)\"");
    for (const std::string& rule : Matches(ReadFile(source + "/deploy/prometheus/lobby-alerts.yml"),
                                           "expr: (.*[a-z]_[a-z].*)"))
        expressions.push_back(rule);
    EXPECT_GT(expressions.size(), 10u);
    for (const std::string& expression : expressions) {
        const auto names = Matches(expression, "\\b((?:lobby|process)_[a-z_]+)");
        EXPECT_FALSE(names.empty()) << expression;
        for (const std::string& name : names)
            EXPECT_TRUE(scrape.names.contains(name)) << expression;
    }
    EXPECT_EQ(NamesOf(dashboard, "\"uid\": *\"([^\"]*)\""), (Names{"lobby", "${datasource}"}));
}
