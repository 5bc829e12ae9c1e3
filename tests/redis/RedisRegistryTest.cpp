#include <gmock/gmock.h>

#include <algorithm>
#include <memory>

#include "Common/Log.h"
#include "Common/Thread.h"
#include "LobbyRedisServer.h"
#include "RedisServer.h"
#include "RedisWait.h"
#include "ThreadStack.h"

namespace {

using testing::HasSubstr;
using testing::Not;

bool LogReady() {
    static const int ready = InitializeLog("none.cfg", "redis_registry_test.log");
    return ready == 1;
}

constexpr const char* kKey = "Lobby:OnLine:UserID:10001";

bool Start(LobbyRedisServer& registry, const RedisServer& server, std::string passwd = "") {
    char host[] = "127.0.0.1";
    return registry.StartRedisServer(host, static_cast<unsigned int>(server.Port()), passwd.data(),
                                     2);
}

template <typename Action>
std::string LogOf(Action action) {
    EXPECT_TRUE(LogReady());
    testing::internal::CaptureStdout();
    action();
    return testing::internal::GetCapturedStdout();
}

int Count(const std::string& text, const std::string& part) {
    int count = 0;
    for (size_t at = 0; (at = text.find(part, at)) != std::string::npos; ++at)
        ++count;
    return count;
}

TEST(APHashRedis, MatchesTheFormula) {
    const struct {
        const char* key;
        unsigned int hash;
    } cases[] = {
        {"", 0U},
        {"a", 97U},
        {"ab", 2147284991U},
        {"Lobby:OnLine:UserID:10001", 677297122U},
        {"Lobby:OnLine:UserID:-2147483648", 1321147969U},
        {"\xe4\xb8\x8d\xff", 2147138932U},
    };
    for (const auto& c : cases)
        EXPECT_EQ(APHashRedis(c.key), c.hash) << c.key;
}

TEST(LobbyRedisServer, MarksTestsAndClearsAUser) {
    RedisServer server("pass");
    LobbyRedisServer registry;
    const std::string started = LogOf([&] { EXPECT_TRUE(Start(registry, server, "pass")); });
    const std::string port = std::to_string(server.Port());
    EXPECT_THAT(started,
                AllOf(HasSubstr("Start RedisList1 0, 127.0.0.1, " + port + ", pass, 8, 2, 0"),
                      HasSubstr("GameRedis::Start ip:port[127.0.0.1:" + port + "]"),
                      Not(HasSubstr("failed"))));

    EXPECT_EQ(registry.IsLobbyOnline(10001), 0);
    EXPECT_THAT(LogOf([&] { EXPECT_EQ(registry.InsertLobbyOnline(10001), 1); }),
                HasSubstr("insert lobby online info userid[10001] success!"));
    EXPECT_EQ(server.Command(std::string("GET ") + kKey), "1");
    server.Command(std::string("EXPIRE ") + kKey + " 5");
    EXPECT_EQ(registry.InsertLobbyOnline(10001), 1);
    EXPECT_EQ(server.Command(std::string("TTL ") + kKey), ":259200");
    EXPECT_THAT(LogOf([&] { EXPECT_EQ(registry.IsLobbyOnline(10001), 1); }),
                HasSubstr("userid[10001] lobby online"));
    EXPECT_THAT(LogOf([&] { EXPECT_EQ(registry.DelLobbyOnline(10001), 1); }),
                HasSubstr("userid: 10001 del lobby onlineinfo sucess!"));
    EXPECT_EQ(server.Command(std::string("EXISTS ") + kKey), ":0");

    const std::string missing = LogOf([&] { EXPECT_EQ(registry.DelLobbyOnline(10001), 0); });
    EXPECT_THAT(missing, HasSubstr(std::string("key: ") + kKey + " 不存在"));
    EXPECT_THAT(missing, Not(HasSubstr("sucess")));
    EXPECT_EQ(registry.InsertLobbyOnline(-1), 1);
    EXPECT_EQ(server.Command("EXISTS Lobby:OnLine:UserID:-1"), ":1");
}

TEST(LobbyRedisServer, WithoutConfigurationEveryOperationFailsAndLogs) {
    LobbyRedisServer registry;
    EXPECT_EQ(registry.InsertLobbyOnline(1), 0) << "before the start";
    char empty[] = "";
    EXPECT_TRUE(registry.StartRedisServer(empty, 0, empty, 30));
    EXPECT_EQ(registry.IsLobbyOnline(1), 0);
    EXPECT_THAT(LogOf([&] { EXPECT_EQ(registry.InsertLobbyOnline(1), 0); }),
                HasSubstr("insert lobby online info userid[1] failed!"));
    EXPECT_EQ(registry.DelLobbyOnline(1), 0);
}

// Redis comes after the lobby, hangs, restarts, and hangs again while the lobby ends.
TEST(LobbyRedisServer, NeverStallsWhateverRedisDoes) {
    RedisServer server("pass", false);
    auto registry = std::make_unique<LobbyRedisServer>();
    auto longest = 0ms;
    const auto login = [&] {
        bool stored = false;
        longest = std::max(longest, Took([&] {
                               registry->IsLobbyOnline(1);
                               stored = registry->InsertLobbyOnline(1) == 1;
                           }));
        return stored;
    };
    EXPECT_THAT(LogOf([&] { EXPECT_TRUE(Start(*registry, server, "pass")); }),
                HasSubstr("GameRedis::Start ip:port[" + server.Address() + "] failed"));
    const std::string log = LogOf([&] {
        EXPECT_FALSE(login());
        server.Start();
        EXPECT_TRUE(Within(10s, login));
        server.Hang();
        EXPECT_FALSE(Within(3s, login)) << "nobody answers";
        server.Resume();
        EXPECT_TRUE(Within(10s, login));
        server.Stop();
        EXPECT_FALSE(login());
        server.Start();
        EXPECT_TRUE(Within(10s, login));
    });
    EXPECT_LT(longest, 1500ms);
    // One line per outage, not per command; a busy machine may see one more.
    EXPECT_THAT(Count(log, "does not answer"), testing::AllOf(testing::Ge(2), testing::Le(4)));
    EXPECT_THAT(Count(log, "commands are sent") - Count(log, "does not answer"), testing::Le(1));
    server.Hang();
    std::this_thread::sleep_for(2100ms);  // the keep-alive thread is amid its pass
    EXPECT_LT(Took([&] { registry.reset(); }), 1500ms);
}

// The message worker has 16 KiB; a command once read its reply into as much.
TEST(LobbyRedisServer, OperationsFitTheStackOfTheWorker) {
    struct {
        RedisServer server;
        LobbyRedisServer registry;
        CEvent done;
    } world;
    Start(world.registry, world.server);
    world.done.Init(false, false);
    const auto work = [](void* argument) -> void* {
        const ThreadStack stack("registry");
        auto* self = static_cast<decltype(world)*>(argument);
        for (const bool hung : {false, true}) {  // then the outage is logged from the command
            if (hung) self->server.Hang();
            self->registry.InsertLobbyOnline(1);
            self->registry.IsLobbyOnline(1);
            self->registry.DelLobbyOnline(1);
        }
        self->done.Set();
        return nullptr;
    };
    ASSERT_TRUE(CreateThread(nullptr, 0, work, &world));
    world.done.Wait();
    for (const ThreadStack::Mark& mark : ThreadStack::Report()) {
        std::printf("%s: %zu of %zu bytes\n", mark.name.c_str(), mark.used, mark.size);
        if (mark.name == "registry") {
            EXPECT_GE(mark.size - mark.used, 3u * 1024);
        }
    }
}

}  // namespace
