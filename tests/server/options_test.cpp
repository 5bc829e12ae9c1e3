// The keys of LobbyServer.cfg that switch extras on.
#include "LobbyTest.h"
#include "MessageLimits.h"

TEST(MessageLimits, TakesGoodLinesAndNamesTheFaultOfOthers) {
    const char* const cases[][3] = {{"0x00D5", "20/10s drop", "none"},
                                    {"162", "1/1m CLOSE", "none"},
                                    {"Any", "1000000/1440m  drop \t", "none"},
                                    {"213", "20/10s drop", "second"},
                                    {"any", "1/1s drop", "second"},
                                    {"0x0", "1/1s drop", "type"},
                                    {"0x10000", "1/1s drop", "type"},
                                    {"0xD5x", "1/1s drop", "type"},
                                    {"1", "", "form"},
                                    {"1", "20/10 drop", "form"},
                                    {"1", "20/10sdrop", "form"},
                                    {"1", "20/10s kick", "form"},
                                    {"1", "20/10s drop now", "form"},
                                    {"1", "-1/10s drop", "form"},
                                    {"1", "0/10s drop", "count"},
                                    {"1", "1000001/10s drop", "count"},
                                    {"1", "99999999999/10s drop", "form"},
                                    {"1", "1/0s drop", "window"},
                                    {"1", "1/86401s drop", "window"},
                                    {"1", "1/71582789m drop", "window"}};
    MessageLimits limits;
    for (const auto& [key, value, expected] : cases) {
        const char* fault = limits.Add(key, value);
        EXPECT_TRUE(Has(fault != nullptr ? fault : "none", expected)) << key << "=" << value;
    }
    for (int type = 1; type <= 21; ++type)
        EXPECT_EQ(limits.Add(std::to_string(type), "1/1s drop"), nullptr) << type;
    EXPECT_NE(limits.Add("22", "1/1s drop"), nullptr);
}

TEST(MessageLimits, CountsPerTypeAndWindow) {
    MessageLimits limits;
    ASSERT_EQ(limits.Add("7", "2/10s drop"), nullptr);
    ASSERT_EQ(limits.Add("any", "3/5s close"), nullptr);
    MessageLimits::Usage usage;
    // '.' within the limit, 'F' the first beyond it, 'x' a further one.
    const std::tuple<long, uint16_t, char> steps[] = {
        {100, 7, '.'}, {109, 7, '.'}, {109, 7, 'F'}, {109, 7, 'x'}, {109, 8, '.'},
        {110, 7, '.'}, {110, 9, '.'}, {111, 1, '.'}, {113, 8, 'F'}, {114, 8, '.'},
        {118, 8, '.'}, {119, 7, '.'}, {119, 7, 'F'}, {120, 7, '.'}, {131, 7, '.'}};
    for (const auto& [now, type, result] : steps) {
        const auto [rule, first] = limits.Count(usage, type, now);
        EXPECT_EQ(rule == nullptr ? '.' : first ? 'F' : 'x', result) << now << ": " << type;
    }
}

namespace {

class LimitsTest : public LobbyTest {
  protected:
    LimitsTest()
        : LobbyTest("[limits]\n; a line of text\n;0xF0F1=1/1s close\n0xF0F1=3/10s drop\n") {}
    size_t EchoesOf(IPlayerNode* node, int count) {
        for (int i = 0; i < count; ++i)
            net.Deliver(node, 0xF0F1, Zeros(8));
        return Got(node).size();
    }
};

}  // namespace

TEST_F(LimitsTest, DropsWhatIsBeyondAndLogsItOnce) {
    LobbyPlayer *player = Online(1), *other = Online(2);
    const std::string line =
        "userid[1], type[0xf0f1] more than count[3] in seconds[10], dropped\x1b";
    const std::string log = LogOf([&] { EXPECT_EQ(EchoesOf(player, 6), 3u); });
    EXPECT_EQ(Count(log, line), 1u) << log;
    EXPECT_EQ(EchoesOf(other, 3), 3u);
    EXPECT_EQ(EchoesOf(Link(QUEUE), 9), 9u) << "links have no limits";
    g_testNow += 9;
    EXPECT_EQ(EchoesOf(player, 1), 0u);
    g_testNow += 1;
    EXPECT_EQ(EchoesOf(player, 4), 3u);
    // The next connection on the same record begins anew.
    net.Hangup(player);
    IPlayerNode* next = net.Connect();
    ASSERT_EQ(next, player);
    EXPECT_EQ(EchoesOf(next, 4), 3u);
    EXPECT_FALSE(net.IsClosed(next));
}

// What a start says of its configuration.
TEST_F(LobbyTest, StartNamesFaultyExtrasAndIgnoresThem) {
    lobby.reset();
    const std::string guard = "reaches the guard of the sweep: with [5000] clients";
    const std::pair<std::string, std::vector<std::string>> cases[] = {
        {"[limits]\n0xZZ=1/1s drop\nany=nonsense\n;1=x\n2=1/1s drop\n",
         {"'0xZZ' = '1/1s drop' is ignored, ", "'any' = 'nonsense' is ignored, "}},
        {"trusted_proxies=10.0.0.0/8, 127.0.0.1,2001:db8::/32\nproxy_protocol=1\n", {}},
        {"trusted_proxies=10.0.0.0/8\nproxy_protocol=2\n", {}},
        {"trusted_proxies=10.0.0.0/8,proxy.local\n",
         {"'trusted_proxies' = 'proxy.local' is ignored, "}},
        {"trusted_proxies=127.0.0.1\nproxy_protocol=3\n", {"'proxy_protocol' = '3' is ignored, "}},
        {"proxy_protocol=1\n", {"'proxy_protocol' = '1' is ignored, "}},
        {"maxconnection=4999\n[log]\nwarnings=1\n", {guard}},
        {"maxconnection=4998\n[log]\nwarnings=1\n", {}},
        {"[log]\nwarnings=1\n", {guard}},
        {"[log]\nwarnings=1\n[network]\ninterval=-1\n", {}},
        {"maxconnection=4999\n[log]\nwarnings=0\n", {}},
        {"", {}}};
    for (const auto& [config, said] : cases) {
        WriteFile("LobbyServer.cfg",
                  "[Redis]\nredis_server=127.0.0.1:1\n[listen]\naddr=127.0.0.1:9100\n" + config);
        MemoryNet other;
        testing::internal::CaptureStderr();
        const std::string log = LogOf([&] {
            LobbyServer second(other.Parts());
            other.Attach(&second);
            EXPECT_EQ(second.StartLobbyService(), 0);
        });
        const std::string errors = testing::internal::GetCapturedStderr();
        for (const std::string& text : said)
            EXPECT_TRUE(Has(log, text)) << config << log;
        const size_t ignored = Count(log, "is ignored, ") / 2;  // plain and coloured
        EXPECT_EQ(ignored + Count(log, guard) / 2, said.size()) << config << log;
        EXPECT_EQ(Count(errors, "section ["), ignored + 1) << errors;
        EXPECT_TRUE(Has(errors, "[Redis], key \"redis_server\": Connection refused\n"));
    }
}
