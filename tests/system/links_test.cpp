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
    for (const ServerKind kind : sim::ALL_SERVERS) {
        platform.Do([&] { platform.Server(kind).Drop({}); });
        player->KeepAlive();
        ASSERT_TRUE(Eventually([&] { return lobby.LogHas("server has been closed"); }));
        // At a moment the keeper does not choose.
        platform.Do([&] { platform.Server(kind).Resume(); });
        const double away = SecondsOf(
            [&] { EXPECT_TRUE(Eventually([&] { return Links(kind) == 1; })) << NameOf(kind); });
        EXPECT_LT(away, 2 * SLOWER) << NameOf(kind);
        player->KeepAlive();
    }
    EXPECT_EQ(player->Take(5, BANK_PASSWORD).ucResultType, 0);
    EXPECT_EQ(CountSeen(ServerKind::Center, MSG_CENTER_REGISTER_REQ), 2u);
    EXPECT_EQ(CountSeen(ServerKind::Data, ACT_REGISTER_REQ), 2u);
    EXPECT_EQ(CountSeen(ServerKind::Web, MSG_WEB_REGISTER_REQ), 2u);
    EXPECT_FALSE(player->ServerList().empty());
}

TEST_F(LinkTest, LoginWithoutTheQueueServerWaitsForANewConnection) {
    Serve();
    auto bystander = LoggedIn(10002);
    platform.Do([&] { platform.Server(ServerKind::Queue).Drop({}); });
    ASSERT_TRUE(Eventually([&] { return lobby.LogHas("authen server has been closed"); }));
    auto player = Connect(10001);
    player->SendLogin();
    player->KeepAlive();  // not answered, not closed
    platform.Do([&] { platform.Server(ServerKind::Queue).Resume(); });
    ASSERT_TRUE(Eventually([&] { return Links(ServerKind::Queue) == 1; }));
    player.reset();
    // The link is connected a moment before the lobby sends on it.
    ASSERT_TRUE(Eventually([&] {
        auto again = Connect(10001);
        again->SendLogin();
        again->KeepAlive();
        return CountSeen(ServerKind::Queue, USER_INFO_L2Q) > 1;
    }));
    EXPECT_EQ(Connect(10001)->Login().ucErrNo, 0);
    EXPECT_EQ(bystander->Save(5).ucResultType, 0);
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
    const auto marksWork = [&] {
        return Eventually(
            [&] {
                auto player = LoggedIn(10005);
                return Online(10005) == "1";
            },
            30);
    };
    auto stayer = LoggedIn(10003);
    redis.Hang();
    for (int i = 0; i < 5; ++i)
        work();
    redis.Resume();
    EXPECT_TRUE(marksWork());
    redis.Stop();
    for (int i = 0; i < 5; ++i)
        work();
    redis.Start();
    EXPECT_TRUE(marksWork());
    EXPECT_LT(slowest, 2 * SLOWER);
    RecordProperty("slowest_ms", static_cast<int>(slowest * 1000));
    stayer->KeepAlive();
}
