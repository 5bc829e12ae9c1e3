// Logging in: results, the online mark, duplicate logins, moving between lobbies; links that go
// away and come back.
#include "SystemTest.h"
#include "queue_server_msg.h"

class SessionTest : public SystemTest {};

TEST_F(SessionTest, LoginGivesTheAccountAndSetsTheOnlineMarkUntilTheClientLeaves) {
    Serve();
    auto refused = Connect(10001);
    EXPECT_EQ(refused->Login("no such token").ucErrNo, 2);
    refused->KeepAlive();
    EXPECT_EQ(Connect(77)->Login().ucErrNo, 1);
    EXPECT_EQ(Online(10001), "$-1");
    auto player = Connect(10001);
    const LobbyAuthenRes res = player->Login();
    EXPECT_EQ(res.ucErrNo, 0);
    EXPECT_EQ(TextOf(res.szReserve2), "account10001");
    EXPECT_EQ(Online(10001), "1");
    const long expiry = std::atol(redis.Command("TTL Lobby:OnLine:UserID:10001").c_str() + 1);
    EXPECT_TRUE(expiry > 259000 && expiry <= 259200) << expiry;
    player.reset();
    EXPECT_TRUE(AwaitOffline(10001));
}

TEST_F(SessionTest, TheLoginConfirmedLastStaysWhicheverConnectedFirst) {
    Serve();
    std::function<void()> answer;  // of the first login, held back
    platform.Do([&] {
        const auto hold = [&](sim::Link& link, const Message& message) {
            if (answer) return false;
            const auto req = message.As<UserInfoReq>();
            UserInfoRes res{};
            res.ulPlayerNode = req.ulPlayerNode;
            res.ulPlayerNodeId = req.ulPlayerNodeId;
            answer = [&link, res] { link.Send(USER_INFO_Q2L, res); };
            return true;
        };
        platform.Intercept(ServerKind::Queue, USER_INFO_L2Q, hold);
    });
    // Of two sessions of a user the mark belongs to the one that stays.
    const auto expectKicked = [this](std::unique_ptr<Player> loser, Player& winner) {
        const auto notice = loser->AwaitPush(LOBBY_KICK_OUT_S2C).As<LobbyKickOutNotice>();
        EXPECT_EQ(notice.iUserID, 10001);
        EXPECT_FALSE(notice.bStopSwitch);
        EXPECT_TRUE(Closed(*loser));
        loser.reset();
        winner.KeepAlive();
        EXPECT_EQ(Online(10001), "1");
    };
    auto early = Connect(10001);
    early->SendLogin();
    Seen(ServerKind::Queue, USER_INFO_L2Q);
    auto late = LoggedIn(10001);
    platform.Do([&] { answer(); });
    EXPECT_EQ(early->Await(LOBBY_AUTHEN_RES_S2C).As<LobbyAuthenRes>().ucErrNo, 0);
    expectKicked(std::move(late), *early);
    auto last = LoggedIn(10001);
    expectKicked(std::move(early), *last);
    last.reset();
    EXPECT_TRUE(AwaitOffline(10001));
}

TEST_F(SessionTest, PlayerMovesToAnotherLobbyAndIsPutOutOfTheFirst) {
    Serve();
    LobbyProcess other;
    const uint16_t otherPort = Serve(other, Settings());
    auto here = LoggedIn(10001);
    auto there = LoggedIn(10001, otherPort);
    EXPECT_EQ(here->AwaitPush(LOBBY_KICK_OUT_S2C).As<LobbyKickOutNotice>().iUserID, 10001);
    EXPECT_TRUE(Closed(*here));
    there->KeepAlive();
    EXPECT_EQ(CountSeen(ServerKind::Center, MSG_CENTER_KICK_OUT), 1u);
    EXPECT_EQ(Online(10001), "1");
    EXPECT_EQ(there->Take(5, BANK_PASSWORD).ucResultType, 0);
}

TEST_F(SystemTest, EveryLinkIsBackSoonAfterItsServerAndNoPlayerIsDisconnected) {
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
        const double away = Took([&, k = kind] {
            platform.Do([&] { platform.Server(k).Resume(); });
            EXPECT_TRUE(Eventually(
                [&] { return platform.Do([&] { return platform.Server(k).Links(); }) == 1; }));
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
