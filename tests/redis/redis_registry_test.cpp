#include "BaseTest.h"
#include "Common/Log.h"
#include "LobbyRedisServer.h"
#include "RedisServer.h"
#include "ThreadStack.h"

namespace {

using testing::HasSubstr;
using testing::Not;

const std::string kKey = "Lobby:OnLine:UserID:10001";

bool Start(LobbyRedisServer& registry, int port, std::string passwd = "",
           std::string host = "127.0.0.1") {
    return registry.StartRedisServer(host.data(), static_cast<unsigned>(port), passwd.data(), 2);
}

struct Logged : testing::Environment {
    void SetUp() override { InitializeLog("none.cfg", "redis_registry_test.log"); }
};
[[maybe_unused]] const auto* const kLogged = testing::AddGlobalTestEnvironment(new Logged);

TEST(APHashRedis, MatchesTheFormula) {
    const std::pair<const char*, unsigned int> rows[] = {
        {"", 0U},
        {"a", 97U},
        {"ab", 2147284991U},
        {kKey.c_str(), 677297122U},
        {"Lobby:OnLine:UserID:-2147483648", 1321147969U},
        {"\xe4\xb8\x8d\xff", 2147138932U}};
    for (const auto& [key, hash] : rows)
        EXPECT_EQ(APHashRedis(key), hash) << key;
}

TEST(LobbyRedisServer, MarksTestsAndClearsAUser) {
    RedisServer server("pass");
    LobbyRedisServer registry;
    const std::string started = LogOf([&] { EXPECT_TRUE(Start(registry, server.Port(), "pass")); });
    const std::string port = std::to_string(server.Port());
    EXPECT_THAT(started,
                AllOf(HasSubstr("Start RedisList1 0, 127.0.0.1, " + port + ", pass, 8, 2, 0"),
                      HasSubstr("GameRedis::Start ip:port[127.0.0.1:" + port + "]"),
                      Not(HasSubstr("failed"))));

    using Operation = int (LobbyRedisServer::*)(int);
    const auto expect = [&](Operation operation, int result, const std::string& logged) {
        EXPECT_THAT(LogOf([&] { EXPECT_EQ((registry.*operation)(10001), result); }),
                    HasSubstr(logged));
    };
    constexpr Operation kInsert = &LobbyRedisServer::InsertLobbyOnline;
    constexpr Operation kDelete = &LobbyRedisServer::DelLobbyOnline;
    expect(&LobbyRedisServer::IsLobbyOnline, 0, "");
    expect(kInsert, 1, "insert lobby online info userid[10001] success!");
    EXPECT_EQ(server.Command("GET " + kKey), "1");
    server.Command("EXPIRE " + kKey + " 5");
    expect(kInsert, 1, "");
    EXPECT_EQ(server.Command("TTL " + kKey), "259200");
    expect(&LobbyRedisServer::IsLobbyOnline, 1, "userid[10001] lobby online");
    expect(kDelete, 1, "userid: 10001 del lobby onlineinfo sucess!");
    EXPECT_EQ(server.Command("EXISTS " + kKey), "0");
    expect(kDelete, 0, "key: " + kKey + " 不存在");
    EXPECT_EQ(registry.InsertLobbyOnline(-1), 1);
    EXPECT_EQ(server.Command("EXISTS Lobby:OnLine:UserID:-1"), "1");
}

// A pass of its own begins two seconds after the one before.
TEST(LobbyRedisServer, WhoMeetsALossHasTheConnectionsOpenedAtOnce) {
    RedisServer server;
    LobbyRedisServer registry;
    Start(registry, server.Port());
    MarkRequests work;
    MarkTask entering{.userId = 10001, .enters = true};
    MarkTask* const tasks[] = {&entering};
    const std::function<void()> operations[] = {
        [&] { registry.IsLobbyOnline(10001); }, [&] { registry.InsertLobbyOnline(10001); },
        [&] { registry.DelLobbyOnline(10001); }, [&] { registry.Run(tasks, 1, work); }};
    for (const auto& operation : operations) {
        server.Command("CLIENT KILL TYPE normal");
        operation();
        EXPECT_TRUE(
            Eventually([&] { return Count(server.Command("CLIENT LIST"), "\n") == 8 + 1; }, 1.5));
    }
}

TEST(LobbyRedisServer, WithoutConfigurationEveryOperationFailsAndLogs) {
    LobbyRedisServer registry;
    EXPECT_EQ(registry.InsertLobbyOnline(1), 0) << "before the start";
    EXPECT_TRUE(Start(registry, 0, "", ""));
    EXPECT_EQ(registry.IsLobbyOnline(1), 0);
    EXPECT_EQ(registry.DelLobbyOnline(1), 0);
    EXPECT_THAT(LogOf([&] { EXPECT_EQ(registry.InsertLobbyOnline(1), 0); }),
                HasSubstr("insert lobby online info userid[1] failed!"));
}

TEST(LobbyRedisServer, SaysWhyItFoundNoRedisAtTheStart) {
    const RedisServer server("pass");
    const struct {
        const char* host;
        int port;
        bool password;
        const char* says;
    } cases[] = {{"127.0.0.1", RedisServer::FreePort(), false, "Connection refused"},
                 {"127.0.0.1", server.Port(), true, "WRONGPASS"},
                 {"no.such.host.invalid", server.Port(), false, "ame "}};
    for (const auto& c : cases) {
        LobbyRedisServer registry;
        Start(registry, c.port, c.password ? "wrong" : "", c.host);
        EXPECT_EQ(registry.StartError().password, c.password);
        EXPECT_THAT(registry.StartError().text, HasSubstr(c.says));
    }
    LobbyRedisServer registry;
    Start(registry, server.Port(), "pass");
    EXPECT_EQ(registry.StartError().text, "");
}

// The message worker has 16 KiB; a command once read its reply into as much.
TEST(LobbyRedisServer, OperationsFitTheStackOfTheWorker) {
    RedisServer server;
    LobbyRedisServer registry;
    Start(registry, server.Port());
    for (const bool hung : {false, true}) {  // then the outage is logged from the command
        if (hung) server.Hang();
        OnThreads(1, [&] {
            const ThreadStack stack("registry");
            registry.InsertLobbyOnline(1);
            registry.IsLobbyOnline(1);
            registry.DelLobbyOnline(1);
        });
    }
    for (const ThreadStack::Mark& mark : ThreadStack::Report()) {
        std::printf("%s: %zu of %zu bytes\n", mark.name.c_str(), mark.used, mark.size);
        EXPECT_GE(mark.size - mark.used, 3u * 1024) << mark.name;
    }
}

}  // namespace
