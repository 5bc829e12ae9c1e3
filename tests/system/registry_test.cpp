// The registry of players online: order under duplicate logins, a late Redis, lost connections.
#include <random>

#include "RedisProxy.h"
#include "SystemTest.h"

class RegistryTest : public SystemTest {
  protected:
    RegistryTest() {
        platform.Do([&] { platform.TheWorld().AddPlayers(20001, 1000); });
        RaiseDescriptorLimit();
    }
    void ServeBehindProxy() {
        LobbySettings settings = Settings();
        settings["Redis"]["redis_server"] = proxy.Address();
        settings["network"]["wakeup"] = "1";
        port = Serve(lobby, settings);
    }

    RedisProxy proxy{redis.Port()};
};

// What the marks must be at the end follows from who was answered and who is still connected.
class OrderTest : public RegistryTest {
  protected:
    struct User {
        std::unique_ptr<Player> older;  // answered before `newest` connected
        std::unique_ptr<Player> newest;
        bool answered = false;  // the newest
    };

    void Open(size_t at) {
        users[at].newest = Connect(UserId(at));
        users[at].newest->SendLogin();
        users[at].answered = false;
    }
    void AwaitAnswer(User& user) {
        if (user.newest == nullptr) return;
        if (!std::exchange(user.answered, true)) {
            ASSERT_EQ(user.newest->Await(LOBBY_AUTHEN_RES_S2C).As<LobbyAuthenRes>().ucErrNo, 0);
        }
        // Only one session of a user stays.
        EXPECT_TRUE(!user.older || Closed(*user.older));
        user.older.reset();
    }
    // A session closes at any moment, but for the newer of two: it is answered first, for a session
    // that leaves before it was confirmed takes the user's mark with it.
    void Step() {
        const size_t at = random() % users.size();
        User& user = users[at];
        if (!user.newest) {
            Open(at);
        } else if (user.older) {
            if (random() % 2) user.older.reset();
            AwaitAnswer(user);
            if (random() % 4 == 0) user.newest.reset();
        } else if (random() % 3 == 0) {
            user.newest.reset();
        } else {
            AwaitAnswer(user);
            user.older = std::move(user.newest);
            Open(at);
            if (random() % 2) return;
            std::this_thread::sleep_for(std::chrono::microseconds(random() % 8000));
            user.older.reset();
        }
    }
    void ExpectMarksOfTheSessions() {
        for (User& user : users)
            AwaitAnswer(user);
        const auto right = [&] {
            for (size_t at = 0; at < users.size(); ++at) {
                if ((Online(UserId(at)) == "1") != (users[at].newest != nullptr)) return false;
            }
            return true;
        };
        EXPECT_TRUE(Eventually(right));
    }
    static int32_t UserId(size_t at) { return 20001 + static_cast<int32_t>(at); }

    std::vector<User> users{50};
    std::minstd_rand random{20240611};
};

TEST_F(OrderTest, MarksAreThoseOfTheSessionsWhateverTheOrder) {
    ServeBehindProxy();
    for (const int ms : {0, 3, 0}) {
        proxy.SetDelay(milliseconds(ms));
        for (int step = 0; step < 1500 && !HasFailure(); ++step)
            Step();
        ExpectMarksOfTheSessions();
    }
}
