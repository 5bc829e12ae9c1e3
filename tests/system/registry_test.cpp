// The registry of players online: order under duplicate logins, a late Redis, lost connections.
#include <random>

#include "RedisProxy.h"
#include "SystemTest.h"
#include "activitySystem/Activity_Data_Msg.h"

class RegistryTest : public SystemTest {
  protected:
    RegistryTest() {
        platform.Do([&] { platform.TheWorld().AddPlayers(20001, 9000); });
    }
    void ServeBehindProxy() {
        config["Redis"]["redis_server"] = proxy.Address();
        Serve();
    }
    std::string Marks() const { return redis.Command("DBSIZE"); }

    RedisProxy proxy{redis.Port()};
};

// Closes while an entering is under way: the account was asked for its activities just before.
TEST_F(RegistryTest, ClosesAmidALoginLeaveTheMarksRight) {
    ServeBehindProxy();
    size_t confirmed = 0;
    const auto enter = [&](int32_t user) {
        auto player = Connect(user);
        player->SendLogin();
        Seen(ServerKind::Data, ACT_PROGRESS_REQ, confirmed++);
        return player;
    };
    // What was handed over before is done when this is answered, for it takes the same way.
    const auto settle = [&] { enter(20003)->Await(LOBBY_AUTHEN_RES_S2C); };
    auto older = enter(20001);
    older->Await(LOBBY_AUTHEN_RES_S2C);
    proxy.SetDelay(milliseconds(100));
    enter(20001).reset();
    settle();
    older->KeepAlive();
    EXPECT_EQ(Online(20001), "1") << "of the older session";
    auto newer = enter(20001);
    older.reset();
    newer->Await(LOBBY_AUTHEN_RES_S2C);
    settle();
    EXPECT_EQ(Online(20001), "1") << "of the newer session";
    newer.reset();
    enter(20005).reset();
    EXPECT_TRUE(AwaitOffline(20001));
    EXPECT_TRUE(AwaitOffline(20005));
}

TEST_F(RegistryTest, LostConnectionsAndAbsencesOfRedisCostNoOtherMarks) {
    ServeBehindProxy();
    std::vector<std::unique_ptr<Player>> older, newer;
    for (auto* players : {&older, &newer}) {
        for (int i = 0; i < 8; ++i) {
            std::jthread killer([&] {
                std::this_thread::sleep_for(milliseconds(i));
                proxy.Kill(static_cast<size_t>(i), i % 2 == 0);
            });
            std::ranges::move(LogIn(20001 + i * 50, 50), std::back_inserter(*players));
        }
    }
    for (auto& player : older)
        EXPECT_TRUE(Closed(*player));
    EXPECT_EQ(Marks(), "400");
    auto bystander = LoggedIn(20500);
    // Some 500 logins a second meanwhile: nobody is refused.
    const std::jthread stream([this](const std::stop_token& over) {
        for (int32_t user = 21001; !over.stop_requested(); ++user) {
            EXPECT_NO_THROW(LoggedIn(user));
            std::this_thread::sleep_for(milliseconds(1));
        }
    });
    for (const bool hangs : {true, false}) {
        hangs ? redis.Hang() : redis.Stop();
        EXPECT_NO_THROW(LoggedIn(20600)) << "without the registry";
        bystander->KeepAlive();
        hangs ? redis.Resume() : redis.Start();
        // In use again within seconds, and exactly.
        EXPECT_TRUE(Eventually([&] {
            auto player = LoggedIn(20601);
            return Online(20601) == "1";
        }));
        auto first = LoggedIn(20602);
        auto second = LoggedIn(20602);
        EXPECT_TRUE(Closed(*first));
        EXPECT_EQ(Online(20602), "1");
    }
    // A line per outage, not per command; a busy machine may see one more.
    const size_t outages = Count(lobby.Output(), "does not answer");
    EXPECT_GE(outages, 2u);
    EXPECT_LE(outages, 5u);
    EXPECT_LE(Count(lobby.Output(), "commands are sent"), outages + 1);
}

TEST_F(RegistryTest, NobodyWaitsForALateRedisAndTheEndComesInTime) {
    constexpr int count = 500;
    ServeBehindProxy();
    auto bystander = LoggedIn(20999);
    auto players = LogIn(20001, count);
    proxy.SetDelay(milliseconds(20));  // 20 s for all of them, one after the other
    players.clear();
    double longest = 0;
    while (Marks() != "1")
        longest = std::max(longest, Took([&] { bystander->KeepAlive(); }));
    EXPECT_LT(longest, 2 * SLOWER);
    for (const bool hangs : {false, true}) {
        if (hangs) ServeBehindProxy();
        players = LogIn(20001, count);
        if (hangs) redis.Hang();
        lobby.Terminate();
        EXPECT_EQ(lobby.AwaitEnd(5), 0);
        EXPECT_EQ(lobby.LogHas("500 marks stay in Redis"), hangs);
        EXPECT_TRUE(hangs || Marks() == "0");
    }
    redis.Resume();
}

// What the marks must be at the end follows from who was answered and who is still connected.
class OrderTest : public RegistryTest {
  protected:
    struct User {
        int32_t id;
        std::unique_ptr<Player> older;  // answered before `newest` connected
        std::unique_ptr<Player> newest;
        bool answered = false;  // the newest
    };

    OrderTest() {
        for (int32_t id = 20001; id <= 20050; ++id)
            users.push_back({id, nullptr, nullptr});
    }
    void Open(User& user) {
        user.newest = Connect(user.id);
        user.newest->SendLogin();
        user.answered = false;
    }
    static void AwaitAnswer(User& user) {
        if (user.newest == nullptr) return;
        if (!std::exchange(user.answered, true)) {
            ASSERT_EQ(user.newest->Await(LOBBY_AUTHEN_RES_S2C).As<LobbyAuthenRes>().ucErrNo, 0);
        }
        // Only one session of a user stays.
        EXPECT_TRUE(!user.older || Closed(*user.older));
        user.older.reset();
    }
    // The older of two closes at any moment, another when it was answered: one that leaves before
    // takes the user's mark with it, or is kicked out in the place of one that is still to come.
    void Step(int late) {
        User& user = users[random() % users.size()];
        if (!user.newest) {
            Open(user);
        } else if (user.older) {
            if (random() % 2) user.older.reset();
            AwaitAnswer(user);
            if (random() % 4 == 0) user.newest.reset();
        } else if (AwaitAnswer(user); random() % 3 == 0) {
            user.newest.reset();
        } else {
            user.older = std::move(user.newest);
            Open(user);
            if (random() % 2) return;
            std::this_thread::sleep_for(std::chrono::microseconds(random() % (2000 * (late + 1))));
            user.older.reset();
        }
    }

    std::vector<User> users;
    std::minstd_rand random{20240611};
};

TEST_F(OrderTest, MarksAreThoseOfTheSessionsWhateverTheOrder) {
    ServeBehindProxy();
    for (const int ms : {0, 3, 0}) {
        proxy.SetDelay(milliseconds(ms));
        for (int step = 0; step < 1000 && !HasFailure(); ++step)
            Step(ms);
        std::ranges::for_each(users, AwaitAnswer);
        const auto right = [this](const User& user) {
            return (Online(user.id) == "1") == (user.newest != nullptr);
        };
        EXPECT_TRUE(Eventually([&] { return std::ranges::all_of(users, right); })) << ms;
    }
}
