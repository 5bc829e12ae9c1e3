// What a session that the queue server has not confirmed may do: whatever does not ask for the
// token. The lobby leaves the rest to the queue server, see docs/security.md.
#include "LobbyTest.h"
#include "PublisherMsg.h"
#include "activitySystem/ActivityClientMsg.h"
#include "activitySystem/ActivitySystem.h"
#include "compete_msg.h"
#include "config_server_msg.h"

class UnconfirmedTest : public LobbyTest {
  protected:
    uint16_t Relayed(LobbyPlayer* player, uint16_t type, const std::string& bytes) {
        net.Deliver(player, type, bytes);
        return Only(Link(QUEUE)).type;
    }
    // Only a notice; what it asked for is left unanswered.
    LobbyPlayer* Unconfirmed(int userId) {
        LobbyPlayer* player = Login(userId);
        Received(Link(QUEUE));
        return player;
    }
};

TEST_F(UnconfirmedTest, RequestsAreRelayedForTheUserItNames) {
    LobbyPlayer* player = Unconfirmed(10001);
    const std::tuple<uint16_t, size_t, uint16_t> kRows[] = {
        {0xD5, 68, 0xD8}, {0xD7, 40, 0xDA}, {0xE1, 80, 0xE1},  {0xE3, 44, 0xE3},  {0xE4, 16, 0xE4},
        {0xE6, 16, 0xE6}, {0xE7, 28, 0xE7}, {0xE8, 288, 0xE8}, {0xEA, 12, 0xA003}};
    for (const auto& [type, size, relayed] : kRows)
        EXPECT_EQ(Relayed(player, type, Pattern(size, 10001)), relayed) << type;
    auto* nobody = static_cast<LobbyPlayer*>(net.Connect());
    EXPECT_EQ(Relayed(nobody, 0xE4, Pattern(16, 0)), 0xE4) << "as user 0, before any notice";
    g_testNow -= 100;  // a clock that is set back makes every request one too soon
    EXPECT_EQ(Relayed(player, 0xD5, Pattern(68, 10001)), 0);
    g_testNow += 100;
}

// Neither needs a login: the refresh brings the account's coins, a transfer takes them away.
TEST_F(UnconfirmedTest, ARefreshOrATransferFillsItsCoinsAndATransferSendsThem) {
    LobbyPlayer* player = Unconfirmed(10001);
    ExchangeGameCoinReq exchange{};
    exchange.iRecvUserID = 10002;
    exchange.llExhangeCoin = 900;
    EXPECT_EQ(Relayed(player, 0x50, BytesOf(exchange)), 0);
    std::string refreshed = BytesOf(RechargeRefresRes_trans{});
    RechargeReFreshCoinRes coins{};
    coins.llCurGameCoin = 700;
    refreshed.replace(8, sizeof(coins) - 8, BytesOf(coins).substr(8));
    PutSession(refreshed, sizeof(coins), player);
    net.Deliver(Link(QUEUE), 0xA004, refreshed);
    QueueExchangeCoinRes incoming{};
    SetSession(incoming, Online(10003));
    incoming.iUserIDRecv = 10001;
    incoming.llExchangeCoin = 200;
    net.Deliver(Link(QUEUE), 0x5A51, incoming);
    EXPECT_EQ(player->llGameCoin, 900);
    EXPECT_EQ(Relayed(player, 0x50, BytesOf(exchange)), 0x5A50);
}

TEST_F(UnconfirmedTest, ItGetsTheUsersPushesAndItsCloseTakesSubscriptionsProgressAndMark) {
    LobbyPlayer* real = Online(10001);
    WebFarmSubscribeKeyRes keys{};
    keys.bInit = 1;
    keys.iCount = 1;
    net.Deliver(Link(CONFIG), 0xAD29, BytesOf(keys) + "key" + Zeros(125));
    net.Deliver(real, 0xF2, Zeros(16) + "key" + Zeros(125));
    tagDBActivityConfigData row{};
    row.iActivityId = 20180901;
    row.isOpen = 1;
    net.Deliver(Link(DATA), ACT_CONFIG_RES,
                BytesOf(tagDBSiteActivityList{{}, 1, 1}) + BytesOf(row));
    tagDBUserActivityProgressData record{};
    record.iUserId = 10001;
    record.iActivityId = 20180901;
    net.Deliver(
        Link(DATA), ACT_PROGRESS_RES,
        BytesOf(tagDBActivityProgressList{{}, NodeHandle(real), *real, 1, 1}) + BytesOf(record));
    const auto hasProgress = [] {
        tagDBUserActivityProgressData* found = nullptr;
        ActivitySystem::getInstance()->FindProgressByUserID(10001, 20180901, &found);
        return found != nullptr;
    };
    ASSERT_EQ(lobby->m_mapPlayerToStrKey.count(10001), 1u);
    ASSERT_TRUE(hasProgress());
    LobbyPlayer* fake = Unconfirmed(10001);
    char push[12] = {};
    lobby->SendMsgToPlayerByID(10001, 0xB5, push, sizeof(push));
    EXPECT_EQ(Only(fake).type, 0xB5);
    EXPECT_TRUE(fake->m_bDelOnline);
    net.Hangup(fake);
    EXPECT_EQ(lobby->m_mapPlayerToStrKey.count(10001), 0u);
    EXPECT_FALSE(hasProgress());
    EXPECT_EQ(lobby->GetPlayerByUserID(10001), real);
}

TEST_F(UnconfirmedTest, TheTournamentIsToldForAnyUserWithoutALogin) {
    ClientLobbyCompeteReq req{};
    req.iUserID = 10001;
    auto* nobody = static_cast<LobbyPlayer*>(net.Connect());
    net.Deliver(nobody, 0xF0, req);
    EXPECT_EQ(Only(Link(QUEUE)).As<CompeteLobbyUserInfoReq>().iUserID, 10001);
}

// A wrong bank password (151) lifts the two seconds: as many guesses as the queue server answers.
TEST_F(UnconfirmedTest, BankPasswordsAreGuessedAtThePaceOfTheQueueServer) {
    LobbyPlayer* player = Unconfirmed(10001);
    std::string wrong = Zeros(44);
    wrong[8] = static_cast<char>(151);
    PutSession(wrong, 28, player);
    for (int guess = 0; guess < 3; ++guess) {
        EXPECT_EQ(Relayed(player, 0xD3, Pattern(48, 10001)), 0xD6);
        EXPECT_EQ(Relayed(player, 0xD3, Pattern(48, 10001)), 0);
        net.Deliver(Link(QUEUE), 0xD7, wrong);
    }
}
