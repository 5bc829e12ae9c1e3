#include "lobby_world.h"
#include "log_server_msg.h"

class CoinsTest : public LobbyTest {
  protected:
    // A consume notice that claims `claimed` bytes of text.
    static std::string Consume(int32_t userId, const std::string& text, int32_t claimed) {
        ConsumeSucessNotice notice{};
        notice.userId = userId;
        notice.iSize = claimed;
        return std::string(reinterpret_cast<char*>(&notice), sizeof(notice)) + text;
    }
    std::string SendConsume(const std::string& text, int32_t claimed) {
        return LogOf([&] { DeliverBytes(Link(WEB), 0xB2, Consume(10001, text, claimed)); });
    }
    void Exchange(LobbyPlayer* giver, int32_t receiver, int64_t amount) {
        ExchangeGameCoinReq req{};
        req.iRecvUserID = receiver;
        req.llExhangeCoin = amount;
        net.Deliver(giver, 0x50, req);
    }
    void ExchangeResult(LobbyPlayer* giver, int32_t receiver, int64_t amount, int32_t error) {
        QueueExchangeCoinRes res{};
        SetSession(res, giver);
        res.iError = error;
        res.iUserIDFrom = giver->m_iUserID;
        res.iUserIDRecv = receiver;
        res.llExchangeCoin = amount;
        net.Deliver(Link(QUEUE), 0x5A51, res);
    }
};

TEST_F(CoinsTest, RefreshOncePerSecondWhoeverAsks) {
    LobbyPlayer* player = Online(10001);
    RechargeReFreshCoinReq req{};
    req.iUserId = 10001;
    net.Deliver(player, 0xEA, req);
    const Sent sent = Only(Link(QUEUE));
    ASSERT_EQ(sent.type, 0xA003);
    ASSERT_EQ(sent.bytes.size(), 28u);
    EXPECT_EQ(sent.At<int32_t>(8), 10001);
    EXPECT_EQ(sent.At<uint64_t>(12), NodeHandle(player));
    EXPECT_EQ(sent.At<uint64_t>(20), player->m_ulPlayerNodeId);
    RechargeSucessNotice notice{};
    notice.userId = 10001;
    net.Deliver(Link(WEB), 0xB1, notice);
    net.Deliver(player, 0xEA, req);
    EXPECT_TRUE(Nothing(Link(QUEUE)));
    g_testNow += 1;
    net.Deliver(Link(WEB), 0xB1, notice);
    EXPECT_EQ(Only(Link(QUEUE)).type, 0xA003);
    EXPECT_TRUE(Nothing(player));
    notice.userId = 4711;  // not here: no word
    EXPECT_FALSE(Has(LogOf([&] { net.Deliver(Link(WEB), 0xB1, notice); }), "[ERROR]"));
    EXPECT_TRUE(Has(LogOf([&] { DeliverBytes(Link(WEB), 0xB1, std::string(27, '\0')); }),
                    "length[27] != RechargeSucessNoticeDef[28]!!"));
}

TEST_F(CoinsTest, MalformedRefreshClosesTheClient) {
    for (const std::string& bytes : {Pattern(11, 10001), Pattern(13, 10001), Pattern(12, 10002)}) {
        LobbyPlayer* player = Online(10001);
        DeliverBytes(player, 0xEA, bytes);
        EXPECT_TRUE(net.IsClosed(player));
        EXPECT_TRUE(Nothing(Link(QUEUE)));
        net.Settle();
    }
}

TEST_F(CoinsTest, RefreshResultOverwritesTheSessionWhateverItsCode) {
    LobbyPlayer* player = Online(10001);
    std::string result = Pattern(56, 10001);
    PutSession(result, 40, player);
    DeliverBytes(Link(QUEUE), 0xA004, result);
    const Sent sent = Only(player);
    EXPECT_EQ(sent.type, 0xEA);
    EXPECT_EQ(Body(sent.bytes), Body(result, 40));
    EXPECT_NE(sent.At<int32_t>(12), 0);
    EXPECT_EQ(player->llGameCoin, sent.At<int64_t>(16));
    EXPECT_EQ(player->llControlNum, sent.At<int64_t>(24));
    EXPECT_EQ(player->llBankCoin, sent.At<int64_t>(32));
    EXPECT_TRUE(Has(LogOf([&] { DeliverBytes(Link(QUEUE), 0xA004, result.substr(0, 55)); }),
                    "sizeof(RechargeRefresReq_trans) 56 !=  length 55"));
    PutSession(result, 40, NodeHandle(player), 1u << 30);
    DeliverBytes(Link(QUEUE), 0xA004, result);
    EXPECT_TRUE(Nothing(player));
}

TEST_F(CoinsTest, ConsumeNoticeIsForwardedUnchangedAndItsGainsAreTaken) {
    LobbyPlayer* player = Online(10001);
    player->iFriendPropNum = 1;
    const std::string text =
        R"({"wsGainList":[{"type":4,"number":3},{"type":1,"number":3},{"type":4},{"type":4,"number":2}]})";
    const auto log = SendConsume(text, static_cast<int32_t>(text.size()));
    EXPECT_EQ(player->iFriendPropNum, 6);
    EXPECT_TRUE(Has(log, "userid[10001], vecsize[4]"));
    EXPECT_TRUE(Has(log, "userid[10001] get type or value error"));
    EXPECT_TRUE(Has(log, "ConsumeSucessNotice userid:10001!!!\n"));
    const Sent sent = Only(player);
    EXPECT_EQ(sent.type, 0xA7);
    EXPECT_EQ(Body(sent.bytes), Body(Consume(10001, text, static_cast<int32_t>(text.size()))));
}

// The text is neither terminated nor as long as its size says; only the message counts.
TEST_F(CoinsTest, ConsumeTextsOfEveryKind) {
    LobbyPlayer* player = Online(10001);
    const std::string gain = R"({"wsGainList":[{"type":4,"number":1}]})";
    const std::string deep = "{\"wsGainList\":" + std::string(1900, '[');
    const std::string huge = "{\"wsGainList\":[" + std::string(3900, '1');
    const struct {
        std::string text;
        int32_t claimed;
        const char* log;
    } cases[] = {
        {gain, INT32_MAX, "vecsize[1]"},
        {gain, -1, "vecsize[1]"},
        {gain, 10, "get wsGainList error, root[{\"wsGainLi]"},
        {gain, 0, "node is nil.lpPlayerNode[0x"},
        {"{", 1, "get wsGainList error"},
        {"{}", 2, "get wsGainList error"},
        {R"({"wsGainList":[]})", 17, "GetJsonArray error!"},
        {R"({"wsGainList":5})", 16, "GetJsonArray error!"},
        {R"({"wsGainList":[1,[],"a",null]})", 30, "vecsize[4]"},
        {deep, static_cast<int32_t>(deep.size()), "get wsGainList error"},
        {huge, static_cast<int32_t>(huge.size()), "get wsGainList error"},
        {std::string(4072, '%'), 4072, "get wsGainList error"},
        {std::string(4072, '\0'), 4072, "get wsGainList error"},
    };
    for (const auto& c : cases) {
        const std::string log = SendConsume(c.text, c.claimed);
        EXPECT_TRUE(Has(log, c.log)) << c.text.substr(0, 40) << "\n" << log;
        EXPECT_EQ(Only(player).bytes.size(), 24 + c.text.size());
    }
    EXPECT_EQ(player->iFriendPropNum, 2);
    player->iFriendPropNum = INT32_MAX;
    SendConsume(gain, 1000);
    EXPECT_EQ(player->iFriendPropNum, INT32_MIN);
    Received(player);
    EXPECT_TRUE(Has(SendConsume("", 5), "length[24] <= ConsumeSucessNotice[24]!!"));
    EXPECT_TRUE(Nothing(player));
}

TEST_F(CoinsTest, UserDataSyncIsForwardedUnchanged) {
    LobbyPlayer* player = Online(10001);
    std::string msg = Pattern(28, 10001);
    const std::string log = LogOf([&] { DeliverBytes(Link(WEB), 0xB3, msg); });
    EXPECT_TRUE(Has(log, "ConsumeSucessNotice userid:10001!!!\n"));
    const Sent sent = Only(player);
    EXPECT_EQ(sent.type, 0xB3);
    EXPECT_EQ(Body(sent.bytes), Body(msg));
    lobby->HandleSychUserDataMsg(player, msg.data(), 28);
    EXPECT_EQ(Only(player).type, 0xB3);
    EXPECT_TRUE(Has(LogOf([&] { lobby->HandleSychUserDataMsg(player, msg.data(), 27); }),
                    "length[27] <= SychUserLobbyData[28]!!"));
    DeliverBytes(Link(WEB), 0xB3, Pattern(29, 10001));
    EXPECT_TRUE(Nothing(player));
}

TEST_F(CoinsTest, ExchangeRefusalsAndTheirOrder) {
    LobbyPlayer* giver = Online(10001);
    const struct {
        int32_t receiver;
        int64_t amount;
        int32_t code;
    } cases[] = {{10001, 5, 4},         {10001, -5, 4},        {10002, 0, 3},   {10002, -1, 3},
                 {10002, INT64_MIN, 3}, {10002, INT64_MAX, 3}, {10002, 1001, 3}};
    for (const auto& c : cases) {
        Exchange(giver, c.receiver, c.amount);
        const Sent answer = Only(giver);
        EXPECT_EQ(answer.type, 0x51);
        ASSERT_EQ(answer.bytes.size(), 28u);
        EXPECT_EQ(answer.At<int32_t>(8), c.code);
        EXPECT_EQ(answer.At<int64_t>(12), c.amount);
        EXPECT_EQ(answer.At<int64_t>(20), 1000);
    }
    EXPECT_EQ(giver->m_tLastExchangeCoinTime, 0);
    EXPECT_TRUE(Nothing(Link(QUEUE)));
}

TEST_F(CoinsTest, ExchangesKeepFiveSeconds) {
    LobbyPlayer* giver = Online(10001);
    Exchange(giver, 10002, 1000);
    const Sent sent = Only(Link(QUEUE));
    ASSERT_EQ(sent.type, 0x5A50);
    ASSERT_EQ(sent.bytes.size(), 48u);
    EXPECT_EQ(sent.At<uint64_t>(8), NodeHandle(giver));
    EXPECT_EQ(sent.At<uint64_t>(16), giver->m_ulPlayerNodeId);
    EXPECT_EQ(sent.At<int64_t>(24), 0);
    EXPECT_EQ(sent.At<int32_t>(32), 10001);
    EXPECT_EQ(sent.At<int32_t>(36), 10002);
    EXPECT_EQ(sent.At<int64_t>(40), 1000);
    g_testNow += 4;
    Exchange(giver, 10002, 1);
    EXPECT_EQ(Only(giver).At<int32_t>(8), 12);
    g_testNow += 1;
    Exchange(giver, 10002, 1);
    EXPECT_EQ(Only(Link(QUEUE)).type, 0x5A50);
}

TEST_F(CoinsTest, ExchangeResultReachesBothPlayersAndTheLog) {
    LobbyPlayer* giver = Online(10001);
    LobbyPlayer* receiver = Online(10002);
    ExchangeResult(giver, 10002, 300, 0);
    const Sent notify = Only(receiver);
    EXPECT_EQ(notify.type, 0x52);
    ASSERT_EQ(notify.bytes.size(), 28u);
    EXPECT_EQ(notify.At<int32_t>(8), 10001);
    EXPECT_EQ(notify.At<int64_t>(12), 300);
    EXPECT_EQ(notify.At<int64_t>(20), 1300);
    const Sent answer = Only(giver);
    EXPECT_EQ(answer.At<int32_t>(8), 0);
    EXPECT_EQ(answer.At<int64_t>(20), 700);
    const Sent record = Only(Link(LOG));
    EXPECT_EQ(record.type, 0x5A48);
    ASSERT_EQ(record.bytes.size(), 100u);
    EXPECT_EQ(record.At<int32_t>(16), 10001);
    EXPECT_EQ(record.At<int32_t>(20), 10002);
    EXPECT_EQ(record.At<int64_t>(24), 300);
    EXPECT_EQ(record.bytes.substr(32), std::string(68, '\0'));

    ExchangeResult(giver, 10002, 300, 9);
    EXPECT_EQ(Only(giver).At<int32_t>(8), 9);
    EXPECT_EQ(giver->llGameCoin, 700);
    EXPECT_TRUE(Nothing(receiver));
    EXPECT_TRUE(Nothing(Link(LOG)));

    ExchangeResult(giver, 4711, 100, 0);  // in another lobby
    EXPECT_EQ(Only(giver).At<int64_t>(20), 600);
    EXPECT_EQ(Only(Link(LOG)).type, 0x5A48);
}

// Sums at the ends of the range come out as two's complement arithmetic has them.
TEST_F(CoinsTest, ExchangeAtTheEndsOfTheRange) {
    LobbyPlayer* giver = Online(10001);
    LobbyPlayer* receiver = Online(10002);
    giver->llGameCoin = INT64_MIN;
    receiver->llGameCoin = INT64_MAX;
    ExchangeResult(giver, 10002, INT64_MAX, 0);
    EXPECT_EQ(giver->llGameCoin, 1);
    EXPECT_EQ(receiver->llGameCoin, -2);
    ExchangeResult(giver, 10002, INT64_MIN, 0);
    EXPECT_EQ(giver->llGameCoin, INT64_MIN + 1);
    EXPECT_EQ(receiver->llGameCoin, INT64_MAX - 1);
}

TEST_F(CoinsTest, ExchangeForAGoneGiverOrHisOwnSecondSession) {
    LobbyPlayer* giver = Online(10001);
    LobbyPlayer* second = Online(10001);
    ExchangeResult(giver, 10001, 10, 0);
    EXPECT_EQ(giver->llGameCoin, 990);
    EXPECT_EQ(second->llGameCoin, 1010);
    ExchangeResult(second, 10001, 10, 0);  // both roles in one session
    EXPECT_EQ(second->llGameCoin, 1010);
    QueueExchangeCoinRes late{};
    SetSession(late, giver);
    late.iUserIDRecv = 10001;
    late.llExchangeCoin = 5;
    net.Hangup(giver);
    Received(Link(LOG));
    net.Deliver(Link(QUEUE), 0x5A51, late);
    EXPECT_EQ(second->llGameCoin, 1010);
    EXPECT_TRUE(Nothing(Link(LOG)));
}

TEST_F(CoinsTest, ShortMessagesReadAsZerosPastTheirEnd) {
    LobbyPlayer* giver = Online(10001);
    DeliverBytes(giver, 0x50, std::string(8, '\0'));
    EXPECT_EQ(Only(giver).At<int32_t>(8), 3);
    EXPECT_TRUE(Has(LogOf([&] { DeliverBytes(Link(QUEUE), 0x5A51, std::string(9, '\1')); }),
                    "lpRes->ulPlayerNodeId [0] != *pPlayerNode[0]"));
    EXPECT_TRUE(
        Has(LogOf([&] { lobby->GetQueueServerHandler()->OnUserExchangeCoinRes(nullptr, 0); }),
            "[OnUserExchangeCoinRes] node is nil"));
}
