// The figures a lobby serves, against what really happened.
#include <cjson/cJSON.h>
#include <gmock/gmock.h>
#include <httplib.h>

#include <memory>
#include <set>
#include <sstream>

#include "PlayerLoad.h"
#include "SystemTest.h"

using testing::AllOf;
using testing::Ge;
using testing::Le;

namespace {

// One scrape: samples by "name{labels}", and the names of the families.
struct Scrape {
    std::map<std::string, double> samples;
    std::set<std::string> families;

    double operator[](const std::string& sample) const {
        const auto found = samples.find(sample);
        return found != samples.end() ? found->second : -1;
    }
    bool Has(const std::string& name) const {  // a sample of that name, whatever its labels
        const auto found = samples.lower_bound(name);
        return found != samples.end() &&
               (found->first == name || found->first.starts_with(name + "{"));
    }
};

Scrape Parse(const std::string& text) {
    Scrape scrape;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        const std::string kType = "# TYPE ";
        if (line.starts_with(kType)) {
            scrape.families.insert(line.substr(kType.size(), line.rfind(' ') - kType.size()));
        } else if (!line.starts_with("#")) {
            const size_t blank = line.rfind(' ');
            scrape.samples[line.substr(0, blank)] = std::stod(line.substr(blank + 1));
        }
    }
    return scrape;
}

std::string MessagesOf(const char* peer, const char* direction, const char* type) {
    return std::string("lobby_messages_total{peer=\"") + peer + "\",direction=\"" + direction +
           "\",type=\"" + type + "\"}";
}

std::string ReadFile(const std::string& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

constexpr const char* kNameLetters = "abcdefghijklmnopqrstuvwxyz_";

// The names of figures in a PromQL expression.
std::set<std::string> NamesIn(const std::string& expression) {
    std::set<std::string> names;
    for (size_t at = 0; (at = expression.find_first_of(kNameLetters, at)) < expression.size();) {
        const size_t end =
            std::min(expression.find_first_not_of(kNameLetters, at), expression.size());
        const std::string word = expression.substr(at, end - at);
        if (word.starts_with("lobby_") || word.starts_with("process_")) names.insert(word);
        at = end;
    }
    return names;
}

// The first cells of a document's table rows, where such a cell is nothing but a name in backticks.
std::set<std::string> NamesInTable(const std::string& document) {
    std::set<std::string> names;
    std::istringstream lines(document);
    for (std::string line; std::getline(lines, line);) {
        if (!line.starts_with("| `")) continue;
        const std::string name = line.substr(3, line.find('`', 3) - 3);
        const bool alone = line.find("` |") == 3 + name.size();
        if (alone && name.find_first_not_of(kNameLetters) == std::string::npos) names.insert(name);
    }
    return names;
}

// The texts under that key, anywhere below the node.
void Collect(const cJSON* node, const std::string& key, std::vector<std::string>& found) {
    for (; node != nullptr; node = node->next) {
        if (node->string != nullptr && node->string == key && cJSON_IsString(node)) {
            found.emplace_back(node->valuestring);
        }
        Collect(node->child, key, found);
    }
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
        const std::string output = lobby.Output();
        const std::string line = "metrics success, host[127.0.0.1], port[";
        const size_t at = output.find(line);
        return at != std::string::npos ? std::stoi(output.substr(at + line.size())) : 0;
    }
    Scrape Get() {
        httplib::Client http("127.0.0.1", MetricsPort());
        const auto answer = http.Get("/metrics");
        return answer ? Parse(answer->body) : Scrape();
    }
    // The scrape in which the sample has that value; the last one when it never does.
    Scrape GetWhen(const std::string& sample, double value) {
        Scrape scrape;
        Eventually([&] { return (scrape = Get())[sample] == value; });
        EXPECT_EQ(scrape[sample], value) << sample;
        return scrape;
    }

    // Of the lobby's process, when the last of them has been started.
    std::vector<std::string> ThreadNames() const {
        EXPECT_TRUE(Eventually([&] { return lobby.LogHas("Create RedisThread Success"); }));
        std::vector<std::string> names;
        const std::string tasks = "/proc/" + std::to_string(lobby.Pid()) + "/task";
        for (const auto& task : std::filesystem::directory_iterator(tasks))
            names.push_back(ReadFile(task.path() / "comm"));
        return names;
    }
    long HttpThreads() const {
        const auto names = ThreadNames();
        return std::count_if(names.begin(), names.end(),
                             [](const std::string& name) { return name.starts_with("civet"); });
    }
    long ListeningSockets() const {
        const std::string process = "/proc/" + std::to_string(lobby.Pid());
        std::set<std::string> own;
        std::error_code gone;
        for (const auto& entry : std::filesystem::directory_iterator(process + "/fd"))
            own.insert(std::filesystem::read_symlink(entry.path(), gone));
        std::istringstream lines(ReadFile(process + "/net/tcp"));
        long listening = 0;
        for (std::string line; std::getline(lines, line);) {
            std::istringstream columns(line);
            std::vector<std::string> column{std::istream_iterator<std::string>(columns), {}};
            const bool listens = column.size() > 9 && column[3] == "0A";
            if (listens && own.contains("socket:[" + column[9] + "]")) ++listening;
        }
        return listening;
    }
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
    EXPECT_EQ(ThreadNames().size(), threads + static_cast<size_t>(HttpThreads()));
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

TEST_F(MetricsTest, AgreeWithTheLoadTool) {
    ServeWithMetrics();
    struct Settings load;
    load.mode = "players";
    load.port = port;
    load.connections = 24;
    load.firstUser = 10001;
    load.quiet = true;
    load.warmup = 0;
    load.seconds = 1.5;
    load.mix = "keepalive=4,gender=2,face=2,tournament=1";
    load.timeout = 10 * SLOWER;
    const Result result = [&] { return PlayerLoad(load).Run(); }();
    EXPECT_TRUE(result.errors.empty()) << result.errors.begin()->first;

    // An operation under way at the end is not among those the load tool has seen completed.
    const Scrape scrape = GetWhen("lobby_sessions", 0);  // the last that goes with a client
    const struct {
        const char* operation;
        const char* request;
        const char* answer;
    } rows[] = {{"keepalive", "0xF0F1", "0xF0F1"},
                {"gender", "0x00E4", "0x00E4"},
                {"face", "0x00E6", "0x00E6"},
                {"tournament", "0x00F0", "0x00F1"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.operation);
        const auto done = static_cast<double>(result.latency.at(row.operation).Count());
        EXPECT_GT(done, 0);
        const auto nearly = AllOf(Ge(done), Le(done + load.connections));
        EXPECT_THAT(scrape[MessagesOf("client", "in", row.request)], nearly);
        EXPECT_THAT(scrape[MessagesOf("client", "out", row.answer)], nearly);
    }
    const double gender = scrape[MessagesOf("client", "in", "0x00E4")];
    EXPECT_EQ(scrape[MessagesOf("backend", "out", "0x00E4")], gender);
    EXPECT_EQ(scrape[MessagesOf("client", "in", "other")], 0);

    const double players = load.connections;
    EXPECT_EQ(result.latency.at("login").Count(), players);
    EXPECT_EQ(scrape["lobby_logins_total{result=\"0\"}"], players);
    EXPECT_EQ(scrape["lobby_accepted_connections_total"], players);
    EXPECT_EQ(scrape[MessagesOf("client", "in", "0x00A1")], players);
    EXPECT_EQ(scrape[MessagesOf("client", "out", "0x00A6")], players);
    EXPECT_EQ(scrape[MessagesOf("backend", "out", "0xA001")], players);
    EXPECT_EQ(scrape["lobby_connections"], 0);
    GetWhen("lobby_receive_queue_depth", 0);
    GetWhen("lobby_send_queue_depth", 0);
    // Looked up and set at the login, looked up and deleted at the end.
    EXPECT_EQ(scrape["lobby_redis_command_seconds_count"], 4 * players);
    EXPECT_GT(scrape["lobby_worker_pass_seconds_sum"], 0);
    EXPECT_GE(scrape["lobby_bytes_total{direction=\"in\"}"],
              8 * scrape[MessagesOf("client", "in", "0xF0F1")]);
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
    };
    for (const auto& [sample, value] : expected)
        EXPECT_EQ(scrape[sample], value) << sample;

    redis.Stop();
    EXPECT_EQ(LoggedIn(10003)->UserId(), 10003);
    EXPECT_GE(Get()["lobby_redis_errors_total{reason=\"no_connection\"}"], 1);
}

TEST_F(MetricsTest, DocumentAndDashboardNameWhatIsServed) {
    ServeWithMetrics();
    Get();  // the endpoint's own figures include the scrapes before
    const Scrape scrape = Get();
    const std::string source = PROJECT_SOURCE_DIR;

    std::string document = ReadFile(source + "/docs/operations.md");
    document.erase(0, document.find("\n## Metrics\n") + 1);
    document.erase(document.find("\n## "));
    std::set<std::string> served;
    for (const std::string& family : scrape.families) {
        if (!family.starts_with("exposer_")) served.insert(family);  // prometheus-cpp's own
    }
    EXPECT_EQ(NamesInTable(document), served);

    const std::unique_ptr<cJSON, decltype(&cJSON_Delete)> dashboard(
        cJSON_Parse(ReadFile(source + "/deploy/grafana/lobby.json").c_str()), cJSON_Delete);
    ASSERT_TRUE(dashboard) << cJSON_GetErrorPtr();
    std::vector<std::string> expressions, sources;
    Collect(dashboard.get(), "expr", expressions);
    EXPECT_GT(expressions.size(), 10u);
    for (const std::string& expression : expressions) {
        const auto names = NamesIn(expression);
        EXPECT_FALSE(names.empty()) << expression;
        for (const std::string& name : names)
            EXPECT_TRUE(scrape.Has(name)) << expression;
    }
    Collect(dashboard.get(), "uid", sources);
    EXPECT_EQ(std::set(sources.begin(), sources.end()),
              (std::set<std::string>{"lobby", "${datasource}"}));
}
