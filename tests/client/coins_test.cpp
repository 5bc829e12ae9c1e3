#include "LobbyTest.h"
#include "log_server_msg.h"

class CoinsTest : public LobbyTest {
  protected:
    void Exchange(LobbyPlayer* giver, int32_t receiver, int64_t amount) {
        net.Deliver(giver, 0x50, ExchangeGameCoinReq{{}, receiver, amount});
    }
};

TEST_F(CoinsTest, RechargeNoticeAsksForARefreshOncePerSecond) {
    LobbyPlayer* player = Online(10001);
    RechargeSucessNotice notice{{}, 10001, 0, 0, 0, 0};
    for (const bool asked : {true, false, true}) {
        net.Deliver(Link(WEB), 0xB1, notice);
        EXPECT_EQ(Only(Link(QUEUE)).type, asked ? 0xA003 : 0);
        if (!asked) g_testNow += 1;
    }
    EXPECT_TRUE(Nothing(player));
    notice.userId = 4711;  // not here: no word
    EXPECT_FALSE(Has(LogOf([&] { net.Deliver(Link(WEB), 0xB1, notice); }), "[ERROR]"));
}

// Nor does it matter whether the login is confirmed; what it brings may be transferred.
TEST_F(CoinsTest, RefreshResultOverwritesTheSessionWhateverItsCode) {
    LobbyPlayer* player = Login(10001);
    Exchange(player, 10002, 1);
    EXPECT_EQ(Only(player).At<int32_t>(8), 3);
    net.Deliver(Link(QUEUE), 0xA004,
                RechargeRefresRes_trans{{}, 0, 9, 1, 2, 3, NodeHandle(player), *player});
    EXPECT_EQ((std::array{player->llGameCoin, player->llControlNum, player->llBankCoin}),
              (std::array{1L, 2L, 3L}));
    Got(Link(QUEUE));
    Exchange(player, 10002, 1);
    EXPECT_EQ(Only(Link(QUEUE)).type, 0x5A50);
}

// The text is neither terminated nor as long as its size says; only the message counts. It is
// forwarded unchanged whatever it holds.
TEST_F(CoinsTest, ConsumeTextsOfEveryKind) {
    LobbyPlayer* player = Online(10001);
    const std::string gain = R"({"wsGainList":[{"type":4,"number":1}]})";
    const std::string deep = "{\"wsGainList\":" + std::string(1900, '[');
    const std::string huge = "{\"wsGainList\":[" + std::string(3900, '1');
    const std::string some =
        R"({"wsGainList":[{"type":4,"number":3},{"type":1,"number":3},{"type":4},{"type":4,"number":2}]})";
    // What it claims, the props before and after, and the log.
    const std::tuple<std::string, int32_t, int32_t, int32_t, const char*> cases[] = {
        {gain, INT32_MAX, 7, 8, "vecsize[1]"},
        {gain, -1, INT32_MAX, INT32_MIN, "vecsize[1]"},
        {gain, 10, 0, 0, "get wsGainList error, root[{\"wsGainLi]"},
        {gain, 0, 0, 0, "node is nil.lpPlayerNode[0x"},
        {some, 500, 1, 6, "userid[10001], vecsize[4]"},
        {some, 500, 1, 6, "userid[10001] get type or value error"},
        {"{}", 2, 0, 0, "get wsGainList error"},
        {R"({"wsGainList":[]})", 17, 0, 0, "GetJsonArray error!"},
        // Whose members are no elements.
        {R"({"wsGainList":{"x":{"type":4,"number":3}}})", 42, 0, 0, "GetJsonArray error!"},
        {R"({"wsGainList":null})", 19, 0, 0, "GetJsonArray error!"},
        {R"({"wsGainList":[[{"type":4,"number":3}]]})", 40, 0, 0, "get type or value error"},
        {R"({"wsGainList":[1,[],"a",null]})", 30, 0, 0, "vecsize[4]"},
        {deep, INT32_MAX, 0, 0, "get wsGainList error"},
        {huge, INT32_MAX, 0, 0, "get wsGainList error"},
        {std::string(4072, '%'), 4072, 0, 0, "get wsGainList error"},
        {Zeros(4072), 4072, 0, 0, "get wsGainList error"},
    };
    for (const auto& [text, claimed, before, after, said] : cases) {
        SCOPED_TRACE(text.substr(0, 40));
        player->iFriendPropNum = before;
        const std::string notice = BytesOf(ConsumeSucessNotice{{}, 10001, 0, 0, claimed}) + text;
        const std::string log = LogOf([&] { net.Deliver(Link(WEB), 0xB2, notice); });
        EXPECT_TRUE(Has(log, said)) << log;
        EXPECT_EQ(player->iFriendPropNum, after);
        EXPECT_EQ(Got(player), One(0xA7, notice));
    }
    net.Deliver(Link(WEB), 0xB2, ConsumeSucessNotice{{}, 10001, 0, 0, 5});
    EXPECT_TRUE(Nothing(player));
}

TEST_F(CoinsTest, UserDataSyncIsForwardedUnchanged) {
    LobbyPlayer* player = Online(10001);
    std::string msg = Pattern(28, 10001);
    net.Deliver(Link(WEB), 0xB3, msg);
    lobby->HandleSychUserDataMsg(player, msg.data(), 28);
    EXPECT_EQ(Got(player), Messages(2, One(0xB3, msg)[0]));
    EXPECT_TRUE(Has(LogOf([&] { lobby->HandleSychUserDataMsg(player, msg.data(), 27); }),
                    "length[27] <= SychUserLobbyData[28]!!"));
    net.Deliver(Link(WEB), 0xB3, Pattern(29, 10001));
    EXPECT_TRUE(Nothing(player));
}

TEST_F(CoinsTest, ExchangesKeepFiveSeconds) {
    LobbyPlayer* giver = Online(10001);
    const QueueExchangeCoinReq expected{{}, NodeHandle(giver), *giver, 0, 0, 10001, 10002, 1000};
    // Refused, which leaves the stamp alone.
    const std::tuple<int32_t, int64_t, int32_t> refused[] = {
        {10001, 5, 4},    {10001, -5, 4},        {10002, 0, 3},        {10002, -5, 3},
        {10002, 1001, 3}, {10002, INT64_MIN, 3}, {10002, INT64_MAX, 3}};
    for (const auto& [to, amount, code] : refused) {
        Exchange(giver, to, amount);
        EXPECT_EQ(Got(giver), One(0x51, ExchangeGameCoinRes{{}, code, amount, 1000}));
    }
    Exchange(giver, 10002, 1000);
    EXPECT_EQ(Got(Link(QUEUE)), One(0x5A50, expected));
    g_testNow += 4;
    Exchange(giver, 10002, 1);
    EXPECT_EQ(Only(giver).At<int32_t>(8), 12);
    g_testNow += 1;
    Exchange(giver, 10002, 1);
    EXPECT_EQ(Only(Link(QUEUE)).type, 0x5A50);
}

// Sums at the ends of the range come out as two's complement arithmetic has them; the receiver may
// be in another lobby, or a second session of the giver.
TEST_F(CoinsTest, ExchangeResultsMoveCoinsBetweenTheSessions) {
    LobbyPlayer* giver = Online(10001);
    LobbyPlayer* receiver = Login(10002);  // whose login nobody confirmed
    const std::tuple<int64_t, int64_t, int64_t, int32_t, int32_t, int64_t, int64_t> cases[] = {
        {1000, 1000, 300, 10002, 0, 700, 1300},
        {1000, 1000, 300, 10002, 9, 1000, 1000},
        {1000, 1000, 300, 4711, 0, 700, 1000},
        {1000, 1000, 300, 10001, 0, 1000, 1000},  // both roles in one session
        {INT64_MIN, INT64_MAX, INT64_MAX, 10002, 0, 1, -2},
        {INT64_MIN, INT64_MAX, INT64_MIN, 10002, 0, 0, -1},
    };
    for (const auto& [has, hasToo, amount, to, error, left, leftToo] : cases) {
        SCOPED_TRACE(::testing::PrintToString(std::pair(amount, to)));
        giver->llGameCoin = has;
        receiver->llGameCoin = hasToo;
        net.Deliver(Link(QUEUE), 0x5A51,
                    QueueExchangeCoinRes{{}, NodeHandle(giver), *giver, error, 10001, to, amount});
        EXPECT_EQ(std::pair(giver->llGameCoin, receiver->llGameCoin), std::pair(left, leftToo));
        EXPECT_EQ(Got(giver).back(), One(0x51, ExchangeGameCoinRes{{}, error, amount, left})[0]);
        const ExchangeGameCoinNotify notice{{}, 10001, amount, leftToo};
        EXPECT_EQ(Got(receiver), to == 10002 && error == 0 ? One(0x52, notice) : Messages());
        const UserExchangeCoinLog record{{}, 0, 0, 10001, to, amount, {}, {}, 0};
        EXPECT_EQ(Got(Link(LOG)), error == 0 ? One(0x5A48, record) : Messages());
    }
}

TEST_F(CoinsTest, ExchangeForAGoneGiverBooksNothing) {
    LobbyPlayer* giver = Online(10001);
    LobbyPlayer* second = Online(10001);
    const uint64_t id = *giver;
    for (const bool gone : {false, true}) {
        if (gone) net.Hangup(giver);
        const QueueExchangeCoinRes result{{}, NodeHandle(giver), id, 0, 10001, 10001, 5};
        net.Deliver(Link(QUEUE), 0x5A51, result);
        EXPECT_EQ(second->llGameCoin, 1005);
        EXPECT_EQ(Nothing(Link(LOG)), gone);
    }
}

TEST_F(CoinsTest, ShortMessagesReadAsZerosPastTheirEnd) {
    LobbyPlayer* giver = Online(10001);
    net.Deliver(giver, 0x50, Zeros(8));
    EXPECT_EQ(Only(giver).At<int32_t>(8), 3);
    EXPECT_TRUE(Has(LogOf([&] { net.Deliver(Link(QUEUE), 0x5A51, std::string(9, '\1')); }),
                    "lpRes->ulPlayerNodeId [0] != *pPlayerNode[0]"));
}
