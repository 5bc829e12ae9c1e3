// Links and Redis that go away and come back while players work.
#include "SystemTest.h"
#include "queue_server_msg.h"

class LinkTest : public SystemTest {
  protected:
    double SecondsOf(const std::function<void()>& action) {
        const auto start = Clock::now();
        action();
        return std::chrono::duration<double>(Clock::now() - start).count();
    }
    size_t Links(ServerKind kind) {
        return platform.Do([&] { return platform.Server(kind).Links(); });
    }
};

TEST_F(LinkTest, EveryLinkIsBackSoonAfterItsServerAndNoPlayerIsDisconnected) {
    Serve();
    auto player = LoggedIn(10001);
    constexpr std::pair<ServerKind, const char*> kLinks[] = {
        {ServerKind::Queue, "authen"},  {ServerKind::Center, "center"},
        {ServerKind::Config, "config"}, {ServerKind::Web, "web"},
        {ServerKind::Data, "database"}, {ServerKind::Log, "log"}};
    for (const auto& [kind, name] : kLinks) {
        SCOPED_TRACE(name);
        platform.Do([&, k = kind] { platform.Server(k).Drop({}); });
        player->KeepAlive();
        const std::string line = std::string(name) + " server has been closed !";
        ASSERT_TRUE(Eventually([&] { return lobby.LogHas(line); }));
        // At a moment the keeper does not choose.
        const double away = SecondsOf([&, k = kind] {
            platform.Do([&] { platform.Server(k).Resume(); });
            EXPECT_TRUE(Eventually([&] { return Links(k) == 1; }));
        });
        EXPECT_LT(away, 2 * SLOWER);
        player->KeepAlive();
    }
    EXPECT_EQ(player->Take(5, BANK_PASSWORD).ucResultType, 0);
    EXPECT_EQ(CountSeen(ServerKind::Center, MSG_CENTER_REGISTER_REQ), 2u);
    EXPECT_EQ(CountSeen(ServerKind::Data, ACT_REGISTER_REQ), 2u);
    EXPECT_EQ(CountSeen(ServerKind::Web, MSG_WEB_REGISTER_REQ), 2u);
    EXPECT_FALSE(player->ServerList().empty());
}

TEST_F(LinkTest, ASilentRedisHoldsNobodyUpAndIsUsedAgainWhenItIsBack) {
    Serve();
    double slowest = 0;
    const auto work = [&] {
        slowest = std::max(slowest, SecondsOf([&] {
                               auto player = LoggedIn(10001);
                               EXPECT_EQ(player->Take(1, BANK_PASSWORD).ucResultType, 0);
                               EXPECT_EQ(player->Save(1).ucResultType, 0);
                           }));
    };
    auto stayer = LoggedIn(10003);
    for (const bool hangs : {true, false}) {
        hangs ? redis.Hang() : redis.Stop();
        for (int i = 0; i < 5; ++i)
            work();
        hangs ? redis.Resume() : redis.Start();
        EXPECT_TRUE(Eventually(
            [&] {
                auto player = LoggedIn(10005);
                return Online(10005) == "1";
            },
            30));
    }
    EXPECT_LT(slowest, 2 * SLOWER);
    RecordProperty("slowest_ms", static_cast<int>(slowest * 1000));
    stayer->KeepAlive();
}
