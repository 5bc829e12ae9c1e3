// Profile operations, coin notices and refresh, coin exchange, log records.
#include <gmock/gmock.h>

#include <random>

#include "QueueServer.h"
#include "SystemTest.h"
#include "log_server_msg.h"

class AccountTest : public SystemTest {};

TEST_F(AccountTest, ProfileChangesReachTheAccount) {
    Serve();
    auto player = LoggedIn(10001);
    EXPECT_EQ(player->Nickname("blue heron").iError, 0);
    EXPECT_EQ(player->Gender(2).iGender, 2);
    EXPECT_EQ(TextOf(player->Signature("up the river").szPersonalSignature), "up the river");
    EXPECT_EQ(player->FaceId(77).iFaceId, 77);
    EXPECT_EQ(TextOf(player->Mobile("13800001111").szMobileNumber), "13800001111");
    EXPECT_EQ(player->RealName("Li", "123456789012345678").iError, 0);
    EXPECT_EQ(player->Password("123456", "secret").ucResultType, 0);
    const sim::Player account = Account(10001);
    EXPECT_EQ(account.nickname + "," + account.signature + "," + account.mobile + "," +
                  account.realName + "," + account.identity + "," + account.password,
              "blue heron,up the river,13800001111,Li,123456789012345678,secret");
    EXPECT_EQ(account.gender, 2);
    EXPECT_EQ(account.faceId, 77);
    const auto password =
        Seen(ServerKind::Queue, MODIFY_PASSWORD_L2Q).As<ModifyPassWordReq_trans>();
    EXPECT_EQ(TextOf(password.szClientIP), "127.0.0.1");
    // Pushed by the queue server; no client may ask for it.
    ModifyFaceFrameRes_trans frame{};
    frame.base.iFrameId = 9;
    frame.ulPlayerNode = password.ulPlayerNode;
    frame.ulPlayerNodeId = password.ulPlayerNodeId;
    platform.Do([&] { platform.Server(ServerKind::Queue).SendAll(MODIFY_FACE_FRAME_Q2L, frame); });
    EXPECT_EQ(player->AwaitPush(MODIFY_FACE_FRAME_S2C).As<ModifyFaceFrameRes>().iFrameId, 9);
}

TEST_F(AccountTest, ProfileRefusals) {
    lobby.Write("SensitiveName.cfg", "[config]\nSensitiveName=crook,admin\n");
    Serve();
    auto player = LoggedIn(10001);
    EXPECT_EQ(player->Nickname("player10002").iError, sim::NICKNAME_TAKEN);
    EXPECT_EQ(player->Mobile("not digits").iError, sim::BAD_TEXT);
    EXPECT_EQ(player->RealName("Li", "short").iError, sim::BAD_TEXT);
    EXPECT_EQ(player->Nickname("the crooked one").iError, 1);
    EXPECT_EQ(player->Signature("ask admin").iError, 1);
    EXPECT_EQ(player->Password("wrong", "x").ucResultType, sim::WRONG_PASSWORD);
    EXPECT_EQ(player->Password("123456", "x").ucResultType, PASSWORD_TOO_SOON);
    EXPECT_EQ(Account(10001).password, "123456");
}

TEST_F(AccountTest, NoticesOfTheWebServerReachThePlayer) {
    Serve();
    auto player = LoggedIn(10001);
    auto other = LoggedIn(10002);
    platform.DoCommand("recharge 10001 250");
    const auto refresh = player->AwaitPush(REFRESH_COIN_S2C).As<RechargeReFreshCoinRes>();
    EXPECT_EQ(+refresh.llCurGameCoin, 10250);
    EXPECT_EQ(+refresh.llTotalRechageNum, 250);
    EXPECT_EQ(+refresh.llBankCoin, 100000);
    for (const std::string text : {R"({"wsGainList":[{"type":4,"number":3}]})", "not JSON"}) {
        platform.DoCommand("consume 10001 " + text);
        const Message consume = player->AwaitPush(CONSUME_NOTICE_S2C);
        EXPECT_EQ(consume.As<ConsumeSucessNotice>().iSize, std::ssize(text));
        EXPECT_EQ(std::string(consume.bytes.begin() + 24, consume.bytes.end()), text);
    }
    platform.DoCommand("sync 10001 7 -9");
    const auto sync = player->AwaitPush(SYCH_USER_DATA_S2C).As<SychUserLobbyData>();
    EXPECT_EQ(sync.dataType, 7);
    EXPECT_EQ(sync.dataValue, -9);
    other->OnPush([](const Message& message) { ADD_FAILURE() << message.type; });
    other->KeepAlive();
}

TEST_F(AccountTest, ExchangeTellsBothPlayersAndTheLogServer) {
    Serve();
    auto giver = LoggedIn(10001);
    auto receiver = LoggedIn(10002);
    const std::pair<int32_t, int64_t> refused[] = {
        {10001, 5},     {10001, -5},        {10002, 0},        {10002, -5},
        {10002, 10001}, {10002, INT64_MIN}, {10002, INT64_MAX}};
    for (const auto& [to, amount] : refused) {
        const auto res = giver->Exchange(to, amount);
        EXPECT_EQ(res.iErrorCode, to == 10001 ? EXCHANGE_TO_SELF : EXCHANGE_BAD_AMOUNT);
        EXPECT_EQ(+res.llExhangeCoin, amount);
        EXPECT_EQ(+res.llFirstMoney, 10000);
    }
    EXPECT_EQ(giver->Exchange(99, 5).iErrorCode, sim::EXCHANGE_NO_RECEIVER);
    giver = LoggedIn(10001);
    const auto res = giver->Exchange(10002, 3000);  // refusals before have not moved the stamp
    EXPECT_EQ(res.iErrorCode, 0);
    EXPECT_EQ(+res.llFirstMoney, 7000);
    const auto notify = receiver->AwaitPush(EXCHANGE_COIN_NOTIFY_S2C).As<ExchangeGameCoinNotify>();
    EXPECT_EQ(notify.iFromUserID, 10001);
    EXPECT_EQ(+notify.llExhangeCoin, 3000);
    EXPECT_EQ(+notify.llFirstMoney, 3500);
    EXPECT_EQ(giver->Exchange(10002, 1).iErrorCode, EXCHANGE_TOO_SOON);
    Seen(ServerKind::Log, MSG_LOG_USER_EXCHANGE_COIN);
    EXPECT_EQ(CountSeen(ServerKind::Log, MSG_LOG_USER_EXCHANGE_COIN), 1u);
    EXPECT_THAT(platform.DoCommand("records"),
                testing::HasSubstr("iSenderID=10001 iReceiverID=10002 llExchangeCoin=3000"));
}

// Every exchange on a session of its own: a session may give once in five seconds.
TEST_F(AccountTest, TenThousandExchangesKeepTheSumOfAllCoins) {
    constexpr int players = 50, rounds = 400 / SLOWER, givers = 25;
    platform.Do([&] { platform.TheWorld().AddPlayers(20001, players); });
    Serve();
    const int64_t before = AllCoins();
    std::map<int, int64_t> coins;  // what the answers say
    for (int id = 20001; id <= 20000 + players; ++id)
        coins[id] = Account(id).coin;
    std::map<int, std::unique_ptr<Player>> online;
    std::minstd_rand random(1);
    size_t done = 0;
    for (int round = 0; round < rounds; ++round) {
        const int first = static_cast<int>(random() % 2) * givers + 20001;
        for (int id = first; id < first + givers; ++id) {
            online.erase(id);
            online[id] = Connect(id);
            online[id]->SendLogin();
        }
        for (int id = first; id < first + givers; ++id)
            online[id]->Await(LOBBY_AUTHEN_RES_S2C);
        for (int id = first; id < first + givers; ++id) {
            const int to = 20001 + static_cast<int>(random() % players);
            const int64_t amount = static_cast<int64_t>(random() % 4000) - 100;
            const auto res = online[id]->Exchange(to, amount);
            if (id == to || amount <= 0 || amount > coins[id]) {
                EXPECT_NE(res.iErrorCode, 0);
                continue;
            }
            EXPECT_EQ(res.iErrorCode, 0);
            EXPECT_EQ(+res.llFirstMoney, coins[id] -= amount);
            coins[to] += amount;
            ++done;
            if (!online.contains(to)) continue;
            const Message notify = online[to]->AwaitPush(EXCHANGE_COIN_NOTIFY_S2C);
            EXPECT_EQ(+notify.As<ExchangeGameCoinNotify>().llFirstMoney, coins[to]);
        }
    }
    EXPECT_GT(done, static_cast<size_t>(rounds * givers / 2));
    EXPECT_EQ(AllCoins(), before);
    for (const auto& [id, coin] : coins)
        EXPECT_EQ(Account(id).coin, coin);
    EXPECT_TRUE(
        Eventually([&] { return CountSeen(ServerKind::Log, MSG_LOG_USER_EXCHANGE_COIN) == done; }));
}
