#include "LobbyTest.h"
#include "log_server_msg.h"

class CoinsTest : public LobbyTest {
  protected:
    // A consume notice that claims `claimed` bytes of text.
    static std::string Consume(int32_t userId, const std::string& text, int32_t claimed) {
        return BytesOf(ConsumeSucessNotice{{}, userId, 0, 0, claimed}) + text;
    }
    std::string SendConsume(const std::string& text, int32_t claimed) {
        return LogOf([&] { net.Deliver(Link(WEB), 0xB2, Consume(10001, text, claimed)); });
    }
    void Exchange(LobbyPlayer* giver, int32_t receiver, int64_t amount) {
        net.Deliver(giver, 0x50, ExchangeGameCoinReq{{}, receiver, amount});
    }
    void ExchangeResult(LobbyPlayer* giver, int32_t receiver, int64_t amount, int32_t error) {
        const int32_t from = giver->m_iUserID;
        net.Deliver(
            Link(QUEUE), 0x5A51,
            QueueExchangeCoinRes{{}, NodeHandle(giver), *giver, error, from, receiver, amount});
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
    EXPECT_TRUE(Has(LogOf([&] { net.Deliver(Link(WEB), 0xB1, Zeros(27)); }),
                    "length[27] != RechargeSucessNoticeDef[28]!!"));
}

// Nor does it matter whether the login is confirmed; what it brings may be transferred.
TEST_F(CoinsTest, RefreshResultOverwritesTheSessionWhateverItsCode) {
    LobbyPlayer* player = Login(10001);
    Received(Link(QUEUE));
    Exchange(player, 10002, 1);
    EXPECT_EQ(Only(player).At<int32_t>(8), 3);
    net.Deliver(Link(QUEUE), 0xA004,
                RechargeRefresRes_trans{{}, 0, 9, 1, 2, 3, NodeHandle(player), *player});
    EXPECT_EQ((std::array{player->llGameCoin, player->llControlNum, player->llBankCoin}),
              (std::array{1L, 2L, 3L}));
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
    const struct {
        std::string text;
        int32_t claimed;
        const char* log;
        int32_t before = 0, after = 0;  // of the props
    } cases[] = {
        {gain, INT32_MAX, "vecsize[1]", 7, 8},
        {gain, -1, "vecsize[1]", INT32_MAX, INT32_MIN},
        {gain, 10, "get wsGainList error, root[{\"wsGainLi]"},
        {gain, 0, "node is nil.lpPlayerNode[0x"},
        {some, 500, "userid[10001], vecsize[4]", 1, 6},
        {some, 500, "userid[10001] get type or value error", 1, 6},
        {"{}", 2, "get wsGainList error"},
        {R"({"wsGainList":[]})", 17, "GetJsonArray error!"},
        // Whose members are no elements.
        {R"({"wsGainList":{"x":{"type":4,"number":3}}})", 42, "GetJsonArray error!"},
        {R"({"wsGainList":5})", 16, "GetJsonArray error!"},
        {R"({"wsGainList":"x"})", 18, "GetJsonArray error!"},
        {R"({"wsGainList":null})", 19, "GetJsonArray error!"},
        {R"({"wsGainList":[[{"type":4,"number":3}]]})", 40, "get type or value error"},
        {R"({"wsGainList":[1,[],"a",null]})", 30, "vecsize[4]"},
        {deep, static_cast<int32_t>(deep.size()), "get wsGainList error"},
        {huge, static_cast<int32_t>(huge.size()), "get wsGainList error"},
        {std::string(4072, '%'), 4072, "get wsGainList error"},
        {Zeros(4072), 4072, "get wsGainList error"},
    };
    for (const auto& c : cases) {
        player->iFriendPropNum = c.before;
        const std::string log = SendConsume(c.text, c.claimed);
        EXPECT_TRUE(Has(log, c.log)) << c.text.substr(0, 40) << "\n" << log;
        EXPECT_TRUE(Has(log, "ConsumeSucessNotice userid:10001!!!\n"));
        EXPECT_EQ(player->iFriendPropNum, c.after) << c.text.substr(0, 40);
        EXPECT_EQ(Got(player), One(0xA7, Consume(10001, c.text, c.claimed)));
    }
    EXPECT_TRUE(Has(SendConsume("", 5), "length[24] <= ConsumeSucessNotice[24]!!"));
    EXPECT_TRUE(Nothing(player));
}

TEST(CoinNotices, AreDroppedWithoutALobby) {
    LobbyClientHandler handler(nullptr);
    LobbyPlayer player;
    char notice[32] = {};
    const std::string log = LogOf([&] {
        handler.HandleRechargeSucessNotice(notice, 28);
        handler.HandleConsumeSucessNotice(notice, 25);
        handler.HandleSychUserDataMsg(notice, 28);
        handler.HandleSychUserDataMsg(&player, notice, 28);
        handler.HandleRechargeRefreshCoinReq(&player, notice, 12);
    });
    EXPECT_EQ(log, "");
    EXPECT_EQ(player.iLastRefreshCoinTime, 0);
}

TEST_F(CoinsTest, UserDataSyncIsForwardedUnchanged) {
    LobbyPlayer* player = Online(10001);
    std::string msg = Pattern(28, 10001);
    const std::string log = LogOf([&] { net.Deliver(Link(WEB), 0xB3, msg); });
    EXPECT_TRUE(Has(log, "ConsumeSucessNotice userid:10001!!!\n"));
    EXPECT_EQ(Got(player), One(0xB3, msg));
    lobby->HandleSychUserDataMsg(player, msg.data(), 28);
    EXPECT_EQ(Got(player), One(0xB3, msg));
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
        const Sent answer = Only(giver);
        EXPECT_EQ(answer.At<int32_t>(8), code);
        EXPECT_EQ(answer.At<int64_t>(12), amount);
        EXPECT_EQ(answer.At<int64_t>(20), 1000);
    }
    Exchange(giver, 10002, 1000);
    EXPECT_EQ(Got(Link(QUEUE)), One(0x5A50, BytesOf(expected)));
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
    const struct {
        int64_t giver, receiver, amount;
        int32_t to, error;
        int64_t giverAfter, receiverAfter;
    } cases[] = {
        {1000, 1000, 300, 10002, 0, 700, 1300},
        {1000, 1000, 300, 10002, 9, 1000, 1000},
        {1000, 1000, 300, 4711, 0, 700, 1000},
        {1000, 1000, 300, 10001, 0, 1000, 1000},  // both roles in one session
        {INT64_MIN, INT64_MAX, INT64_MAX, 10002, 0, 1, -2},
        {INT64_MIN, INT64_MAX, INT64_MIN, 10002, 0, 0, -1},
    };
    for (const auto& c : cases) {
        giver->llGameCoin = c.giver;
        receiver->llGameCoin = c.receiver;
        ExchangeResult(giver, c.to, c.amount, c.error);
        EXPECT_EQ(giver->llGameCoin, c.giverAfter);
        EXPECT_EQ(receiver->llGameCoin, c.receiverAfter);
        EXPECT_EQ(Received(giver).back().At<int32_t>(8), c.error);
        const UserExchangeCoinLog record{{}, 0, 0, 10001, c.to, c.amount, {}, {}, 0};
        EXPECT_EQ(Got(Link(LOG)), c.error == 0 ? One(0x5A48, BytesOf(record)) : Messages());
        EXPECT_EQ(Received(receiver).size(), c.to == 10002 && c.error == 0 ? 1u : 0u);
    }
}

TEST_F(CoinsTest, ExchangeForAGoneGiverBooksNothing) {
    LobbyPlayer* giver = Online(10001);
    LobbyPlayer* second = Online(10001);
    QueueExchangeCoinRes result{};
    SetSession(result, giver);
    result.iUserIDRecv = 10001;
    result.llExchangeCoin = 5;
    for (const bool gone : {false, true}) {
        if (gone) net.Hangup(giver);
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
    EXPECT_TRUE(
        Has(LogOf([&] { lobby->GetQueueServerHandler()->OnUserExchangeCoinRes(nullptr, 0); }),
            "[OnUserExchangeCoinRes] node is nil"));
}
