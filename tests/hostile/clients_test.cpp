// Clients that mean harm, against the real lobby: another player is served meanwhile and at once
// afterwards, and nothing has grown.
#include <sys/resource.h>

#include "HostileClients.h"
#include "HostileTest.h"

class HostileClientTest : public UnderAttack {};

TEST_F(HostileClientTest, EveryOneOfThemLeavesTheOthersServedAndNothingBehind) {
    ServeQuietly(CountedSettings());
    const Target target{port, 20001, [this](const std::string& line) { platform.DoCommand(line); }};
    const int64_t coins = AllCoins();
    ExpectServed();
    const long descriptors = DescriptorsOfAll();
    long resident = 0;
    for (const int round : {1, 2}) {  // the first fills the pools
        for (const HostileClient& client : HostileClients()) {
            SCOPED_TRACE(client.name);
            const double before = Figure(client.figure);
            EXPECT_LT(SlowestDuring([&] { client.run(target); }), AT_ONCE);
            ExpectServed();
            EXPECT_TRUE(FallsTo(descriptors)) << Descriptors() << ", before " << descriptors;
            EXPECT_GE(Figure(client.figure) - before, client.least) << client.figure;
            EXPECT_TRUE(Eventually([&] { return Figure("lobby_connections ") == 1; }));
            ASSERT_FALSE(lobby.Ended());
        }
        if (round == 1) resident = ResidentKiB();
    }
    if (SLOWER == 1) {  // sanitizers keep what was freed, and report what is lost
        EXPECT_LT(ResidentKiB(), resident + 16 * 1024) << "memory grows with every attack";
    }
    EXPECT_EQ(AllCoins(), coins);
}

TEST_F(HostileClientTest, ConnectsBeyondTheLimitAreTurnedAwayAndHoldNoPlace) {
    LobbySettings settings = AttackSettings();
    settings["listen"]["maxconnection"] = "40";
    ServeQuietly(settings);
    for (int round = 0; round < 2; ++round) {
        std::vector<std::unique_ptr<Player>> crowd;
        int refused = 0;
        for (int i = 0; i < 120; ++i) {
            try {
                crowd.push_back(Connect(1));
                crowd.back()->KeepAlive();
            } catch (const client::ConnectionLost&) {
                ++refused;
            }
        }
        EXPECT_EQ(refused, 120 - 40);  // the limit plus one, and one is the bystander
        bystander->KeepAlive();
        crowd.clear();
        EXPECT_TRUE(Eventually([&] { return Reachable(); }));
        ExpectServed();
    }
}

TEST_F(HostileClientTest, WithoutDescriptorsClientsWaitAndAreServedWhenSomeAreFree) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the check of object types opens a pipe and reports where it cannot";
#endif
    ServeQuietly(CountedSettings());
    const auto few = static_cast<rlim_t>(Descriptors() + 10);
    const rlimit limit{few, few};
    ASSERT_EQ(prlimit(lobby.Pid(), RLIMIT_NOFILE, &limit, nullptr), 0);
    std::vector<std::unique_ptr<Player>> crowd;
    for (int i = 0; i < 100; ++i)
        crowd.push_back(Connect(1));  // the kernel accepts for it
    EXPECT_LT(SlowestDuring([&] {
                  platform.Do([&] { platform.Server(ServerKind::Web).Drop({}); });
                  std::this_thread::sleep_for(milliseconds(1200));
                  platform.Do([&] { platform.Server(ServerKind::Web).Resume(); });
              }),
              AT_ONCE);
    crowd.erase(crowd.begin(), crowd.end() - 1);
    crowd.back()->KeepAlive();  // one of those that waited
    bystander->KeepAlive();
    crowd.clear();
    EXPECT_TRUE(Eventually([&] { return Reachable(); }));
    ExpectServed();
    EXPECT_TRUE(Eventually([&] { return AllLinked(); }));
}
