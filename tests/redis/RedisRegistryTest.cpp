#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <memory>

#include "Common/Log.h"
#include "Common/Thread.h"
#include "LobbyRedisServer.h"
#include "RedisServer.h"
#include "RedisWait.h"

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
    EXPECT_THAT(started, HasSubstr("Start RedisList1 0, 127.0.0.1, " + port + ", pass, 8, 2, 0"));
    EXPECT_THAT(started, HasSubstr("GameRedis::Start ip:port[127.0.0.1:" + port + "]"));
    EXPECT_THAT(started, Not(HasSubstr("failed")));

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

TEST(LobbyRedisServer, FindsARedisThatComesAfterTheLobby) {
    RedisServer server("", false);
    LobbyRedisServer registry;
    EXPECT_THAT(LogOf([&] { EXPECT_TRUE(Start(registry, server)); }),
                HasSubstr("GameRedis::Start ip:port[127.0.0.1:" + std::to_string(server.Port()) +
                          "] failed"));
    EXPECT_EQ(registry.InsertLobbyOnline(1), 0);
    server.Start();
    EXPECT_TRUE(Within(10s, [&] { return registry.InsertLobbyOnline(1) == 1; }));
}

TEST(LobbyRedisServer, NeverStallsWhileRedisHangsOrRestarts) {
    RedisServer server;
    LobbyRedisServer registry;
    Start(registry, server);
    auto longest = 0ms;
    const auto login = [&] {
        bool stored = false;
        longest = std::max(longest, Took([&] {
                               registry.IsLobbyOnline(1);
                               stored = registry.InsertLobbyOnline(1) == 1;
                           }));
        return stored;
    };
    const std::string log = LogOf([&] {
        EXPECT_TRUE(login());
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
    EXPECT_EQ(Count(log, "commands are sent"), Count(log, "does not answer"));
}

TEST(LobbyRedisServer, EndsQuicklyWhileRedisHangs) {
    RedisServer server("pass");
    auto registry = std::make_unique<LobbyRedisServer>();
    Start(*registry, server, "pass");
    server.Hang();
    std::this_thread::sleep_for(2100ms);  // the keep-alive thread is amid its pass
    EXPECT_LT(Took([&] { registry.reset(); }), 1500ms);
}

#ifndef LOBBY_SANITIZED
// The message worker has 16 KiB; a command once read its reply into as much.
TEST(LobbyRedisServer, OperationsFitTheStackOfTheWorker) {
    RedisServer server;
    LobbyRedisServer registry;
    Start(registry, server);

    constexpr size_t kSize = 4 * kThreadStackSize;
    constexpr unsigned char kPaint = 0xA5;
    alignas(4096) static unsigned char stack[kSize];
    std::memset(stack, kPaint, kSize);
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstack(&attributes, stack, kSize);
    const auto work = [](void* argument) -> void* {
        auto* self = static_cast<LobbyRedisServer*>(argument);
        self->InsertLobbyOnline(1);
        self->IsLobbyOnline(1);
        self->DelLobbyOnline(1);
        return nullptr;
    };
    for (const bool hung : {false, true}) {  // then the outage is logged from the command
        if (hung) server.Hang();
        pthread_t thread{};
        ASSERT_EQ(pthread_create(&thread, &attributes, work, &registry), 0);
        pthread_join(thread, nullptr);
    }
    pthread_attr_destroy(&attributes);
    const size_t used = std::end(stack) - std::find_if(stack, std::end(stack),
                                                       [](auto byte) { return byte != kPaint; });
    std::printf("stack of a thread with registry operations: %zu bytes\n", used);
    EXPECT_LT(used, kThreadStackSize - 3 * 1024);
}
#endif

}  // namespace
