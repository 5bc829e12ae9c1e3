#include "BaseTest.h"

#include "RedisDBSlice.h"
#include "RedisProxy.h"
#include "RedisServer.h"
#include "xredis/xRedisClient.h"

namespace {

constexpr auto FirstChar = [](const char* key) { return static_cast<unsigned int>(*key); };

RedisNode Node(const RedisServer& server, const char* passwd = "", unsigned int poolsize = 4) {
    return {0, "127.0.0.1", static_cast<unsigned int>(server.Port()), passwd, poolsize, 2, 0};
}

class RedisPoolTest : public testing::Test {
  public:
    bool Connect(const RedisNode& node) {
        return client.Init(2) && client.ConnectRedisCache(&node, 1, 0);
    }
    template <class Command>
    bool Run(const char* key, unsigned int type, unsigned int ioType, Command command) {
        RedisDBIdx index(&client);
        if (!index.CreateDBIndex(key, FirstChar, type)) return false;
        if (ioType > 0) index.SetIOType(ioType);
        const bool done = command(index);
        error = index.GetErrInfo();
        return done;
    }
    bool Exists(const char* key = "k", unsigned int type = 0, unsigned int ioType = 0) {
        return Run(key, type, ioType, [&](auto& index) { return client.exists(index, key); });
    }
    bool Set(const char* key = "k", int seconds = 60, unsigned int ioType = 0) {
        return Run(key, 0, ioType, [&](auto& i) { return client.setex(i, key, seconds, "1"); });
    }
    bool Del(const char* key = "k") {
        return Run(key, 0, 0, [&](auto& index) { return client.del(index, key); });
    }

    RedisServer server;
    xRedisClient client;
    std::string error;
};

TEST_F(RedisPoolTest, CommandsReportWhatTheServerDid) {
    ASSERT_TRUE(Connect(Node(server)));
    EXPECT_FALSE(Exists());
    EXPECT_EQ(error, "");
    EXPECT_TRUE(Set("k", 100));
    EXPECT_EQ(server.Command("GET k"), "1");
    EXPECT_TRUE(Exists());
    server.Command("EXPIRE k 5");
    EXPECT_TRUE(Set("k", 100));
    EXPECT_EQ(server.Command("TTL k"), "100");
    EXPECT_TRUE(Del());
    EXPECT_FALSE(Del());
    EXPECT_FALSE(Set("k", 0));
    EXPECT_NE(error.find("invalid expire"), std::string::npos) << error;
    EXPECT_TRUE(Set("a key\r\nwith any byte"));
    EXPECT_TRUE(Exists("a key\r\nwith any byte"));
}

TEST_F(RedisPoolTest, RoutingRefusesWhatIsNotThere) {
    RedisDBIdx index(&client);
    EXPECT_FALSE(index.CreateDBIndex("k", FirstChar, 0));
    EXPECT_FALSE(client.Init(129));
    ASSERT_TRUE(Connect(Node(server)));
    EXPECT_FALSE(client.Init(2));
    for (const unsigned int type : {1U, 2U, 128U, 129U, ~0U})
        EXPECT_FALSE(index.CreateDBIndex("k", FirstChar, type)) << type;
    EXPECT_FALSE(index.CreateDBIndex("k", nullptr, 0));
    EXPECT_FALSE(client.exists(index, "k"));
    EXPECT_EQ(index.GetErrInfo(), "get connection error");
    EXPECT_TRUE(client.ConnectRedisCache(nullptr, 0, 1));
    EXPECT_FALSE(client.ConnectRedisCache(nullptr, 0, 2));
    EXPECT_FALSE(Set("k", 9, 2));
    EXPECT_TRUE(Set("k", 9, 1)) << "no slaves: the master serves";
}

TEST_F(RedisPoolTest, KeysSpreadOverSlicesAndReadsOverSlaves) {
    RedisServer second;
    RedisNode nodes[] = {Node(second), Node(server), Node(second)};
    nodes[0].dbindex = 1;
    nodes[2].role = 1;  // stands in as slave of slice 0
    ASSERT_TRUE(client.Init(1));
    ASSERT_FALSE(client.ConnectRedisCache(nodes, 1, 0)) << "dbindex beyond the count";
    ASSERT_TRUE(client.ConnectRedisCache(nodes, 3, 0));
    // Hash modulo 3 slices: 'c' 0, 'a' 1, 'b' 2 (which no node serves).
    EXPECT_TRUE(Set("c"));
    EXPECT_TRUE(Set("a"));
    EXPECT_FALSE(Set("b"));
    EXPECT_EQ(server.Command("DBSIZE"), "1");
    EXPECT_EQ(server.Command("GET c"), "1");
    EXPECT_EQ(second.Command("GET a"), "1");

    EXPECT_FALSE(Exists("c", 0, 1));
    EXPECT_TRUE(Exists("a", 0, 1));
}

TEST_F(RedisPoolTest, PasswordIsNeededAndChecked) {
    RedisServer locked("se cret");
    EXPECT_FALSE(Connect(Node(locked, "wrong")));
    EXPECT_FALSE(Set());
    EXPECT_EQ(error, "get connection error");
    const RedisNode node = Node(locked, "se cret");
    EXPECT_TRUE(client.ConnectRedisCache(&node, 1, 0));
    EXPECT_TRUE(Set());

    const RedisNode open = Node(locked);
    EXPECT_TRUE(client.ConnectRedisCache(&open, 1, 1));
    EXPECT_FALSE(Exists("k", 1));
    EXPECT_TRUE(error.starts_with("NOAUTH")) << error;
}

TEST_F(RedisPoolTest, EveryConnectionLentMeansFailureAtOnce) {
    const std::atomic<bool> never{false};
    RedisDBSlice slice(0, 0);
    EXPECT_EQ(slice.Status(), 0U);
    ASSERT_TRUE(slice.AddNode(Node(server, "", 2), true, never));
    EXPECT_EQ(slice.Status(), 1U);
    RedisConnPtr first = slice.GetConn(0);
    const RedisConn* address = first.get();
    RedisConnPtr second = slice.GetConn(0);
    ASSERT_TRUE(first && second);
    RedisConnPtr none;
    EXPECT_LT(Took([&] { none = slice.GetConn(0); }), 0.25);
    EXPECT_FALSE(none);
    EXPECT_EQ(slice.Status(), 2U);
    slice.FreeConn(std::move(first), RedisOutcome::Answered);
    slice.FreeConn(std::move(second), RedisOutcome::Answered);
    EXPECT_EQ(slice.GetConn(0).get(), address);
}

// A hung server stalled the caller for the kernel's time-out, once per connection.
TEST_F(RedisPoolTest, HungServerCostsOneTimeOutThenNothingUntilItAnswers) {
    ASSERT_TRUE(Connect(Node(server)));
    ASSERT_TRUE(Set());
    server.Hang();
    EXPECT_LT(Took([&] { EXPECT_FALSE(Exists()); }), 1);
    EXPECT_EQ(error, "redis connection be closed");
    const auto fails = [&] {
        for (int i = 0; i < 20; ++i)
            EXPECT_FALSE(Exists());
    };
    EXPECT_LT(Took(fails), 0.25);
    EXPECT_EQ(error, "get connection error");
    EXPECT_LT(Took([&] { client.Keepalive(); }), 1.5);
    EXPECT_FALSE(Exists()) << "a connect to a hung server is no answer";
    server.Resume();
    client.Keepalive();
    // Were a late reply taken for the next one, an EXISTS of 1 would answer for a missing key.
    for (int i = 0; i < 8; ++i) {
        EXPECT_TRUE(Exists("k"));
        EXPECT_FALSE(Exists("missing"));
    }
    server.Stop();
    EXPECT_FALSE(Exists());
    client.Keepalive();
    server.Start();
    EXPECT_FALSE(Set()) << "commands never connect";
    client.Keepalive();
    for (int i = 0; i < 8; ++i)
        EXPECT_TRUE(Set());
}

// One dead connection took all of them out of use until the next ping.
TEST_F(RedisPoolTest, LostConnectionsCostNothingWhileOthersAreWell) {
    RedisProxy proxy(server.Port());
    RedisNode node = Node(server, "", 8);
    node.port = static_cast<unsigned int>(proxy.Port());
    ASSERT_TRUE(Connect(node));
    ASSERT_TRUE(Eventually([&] { return proxy.Count() == 8; }));
    for (int lost = 0; lost < 7; ++lost) {
        proxy.Kill(0, lost % 2 == 0);
        for (int i = 0; i < 8; ++i)
            EXPECT_TRUE(Set()) << error;
        EXPECT_EQ(proxy.Count(), static_cast<size_t>(7 - lost));
    }
    EXPECT_TRUE(client.WantsKeepalive());
    EXPECT_FALSE(client.WantsKeepalive());
    proxy.Kill(0, false);
    EXPECT_FALSE(Set());
    client.Keepalive();
    EXPECT_EQ(proxy.Count(), 8u);

    // Amid a batch: what had no answer yet is asked again on another connection.
    RedisDBIdx index(&client);
    ASSERT_TRUE(index.CreateDBIndex("k", FirstChar, 0));
    std::vector<RedisRequest> batch(100, {.verb = RedisRequest::Verb::Exists, .key = "k"});
    Set();
    proxy.SetDelay(50ms);
    std::thread killer([&] {
        std::this_thread::sleep_for(20ms);
        for (size_t i = 7; i > 0; --i)
            proxy.Kill(i, true);
    });
    client.Run(index, batch.data(), batch.size());
    killer.join();
    const auto answered = [](const RedisRequest& request) {
        return request.answered && request.done;
    };
    EXPECT_TRUE(std::ranges::all_of(batch, answered)) << index.GetErrInfo();
}

TEST_F(RedisPoolTest, SomeConnectionsRefusedLeaveTheOthersInUse) {
    server.Command("CONFIG SET maxclients 2");
    ASSERT_TRUE(Connect(Node(server, "", 4)));
    for (int pass = 0; pass < 4; ++pass)
        client.Keepalive();  // one refused is found per pass
    for (int pass = 0; pass < 6; ++pass) {
        EXPECT_TRUE(Set()) << error;
        client.Keepalive();
    }
}

TEST_F(RedisPoolTest, CommandsWaitForThePingOfTheOnlyConnection) {
    ASSERT_TRUE(Connect(Node(server, "", 1)));
    std::atomic<int> passes{0};
    std::thread keeper([&] {
        for (; passes < 300; ++passes)
            client.Keepalive();
    });
    int refused = 0;
    while (passes < 300)
        refused += Set() ? 0 : 1;
    keeper.join();
    EXPECT_EQ(refused, 0) << error;
}

}  // namespace
