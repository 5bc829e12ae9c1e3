// Requests that are wrapped for the queue server, and results unwrapped for their clients.
#include "BankInfoDef.h"
#include "LobbyTest.h"

namespace {

struct Relay {
    const char* name;
    uint16_t type, queueType, answerType, resultType;
    size_t size, handleAt, wrapped;  // of the request; wrapped with account data or without
    size_t resultSize, resultHandleAt;
    int gap;           // seconds between two requests; 0: any
    int tooSoon;       // the answer's code; 0: not answered
    int otherUser;     // the same; 0: closed, as for a wrong length
    const char* tag;   // of the outcome
    const char* what;  // succeeded or failed; null: nothing is said
    const char* sizeTag;
};
void PrintTo(const Relay& relay, std::ostream* out) {
    *out << relay.name;
}

constexpr Relay Profile(const char* name, uint16_t type, size_t size, const char* tag,
                        const char* what) {
    return {name, type, type, type, type, size, size, size + 16,
            size, size, 0,    0,    0,    tag,  what, tag};
}

// Borrowed tags are what log readers filter by.
constexpr Relay kRelays[] = {
    {"bank_login", 0xD3, 0xD6, 0xD7, 0xD4, 48, 48, 64, 28, 28, 2, 0, 150, "", nullptr,
     "OnBankLoginRes"},
    {"take", 0xD5, 0xD8, 0xD9, 0xD6, 68, 68, 160, 20, 20, 2, 156, 150, "OnSaveCoinRes",
     "银行取钱操作", "OnBankLoginRes"},
    {"save", 0xD7, 0xDA, 0xDB, 0xD8, 40, 40, 132, 20, 20, 2, 156, 150, "OnSaveCoinRes",
     "银行存钱操作", "OnSaveCoinRes"},
    {"bank_password", 0xD9, 0xDC, 0xDD, 0xDA, 88, 88, 104, 10, 12, 2, 156, 150,
     "OnModifyBankPasswd", "银行修改密码操作", "OnModifyBankPasswd"},
    {"password", 0xE1, 0xE1, 0xE2, 0xE2, 80, 96, 112, 10, 12, 6, 4, 1, "OnModifyPasswd",
     "修改密码操作", "OnModifyBankPasswd"},
    Profile("nickname", 0xE3, 44, "OnModifyNickName", "修改昵称操作"),
    Profile("gender", 0xE4, 16, "OnModifyGender", "修改性别操作"),
    Profile("signature", 0xE5, 140, "OnModifyPersonalSignature", "修改个性签名操作"),
    Profile("face", 0xE6, 16, "OnModifyFaceId", "修改头像操作"),
    Profile("mobile", 0xE7, 28, "OnBindingMobile", "绑定手机操作"),
    Profile("realname", 0xE8, 288, "OnRealNameAuthen", "实名认证操作"),
    {"refresh", 0xEA, 0xA003, 0xA004, 0xEA, 12, 12, 28, 40, 40, 1, 0, 0, "", nullptr,
     "OnRechargeRefreshCoin"},
    // No client asks for it.
    Profile("frame", 0xE9, 16, "OnModifyFaceFrame", "修改相框操作"),
};

class StrangersTest : public LobbyTest {
  protected:
    StrangersTest() : LobbyTest("[network]\nstranger_rate=2\nlink_reserve=30\n") {}
    size_t Relayed(LobbyPlayer* player, int times = 1) {
        while (times-- > 0)
            net.Deliver(player, 0xE4, Pattern(16, player->m_iUserID));
        return Got(Link(QUEUE)).size();
    }
};

}  // namespace

TEST_F(StrangersTest, ShareANumberOfRequestsASecondAndLeaveRoomToOthers) {
    LobbyPlayer *const known = Online(1), *const stranger = Login(2), *const other = Login(3);
    Got(Link(QUEUE));
    for (int second = 0; second < 2; ++second, ++g_testNow) {
        EXPECT_EQ(Relayed(stranger) + Relayed(other, 2), 2u);
        EXPECT_EQ(Relayed(known, 9), 9u);
        EXPECT_EQ(net.roomLeft, 30);
        Login(4);
        EXPECT_EQ(Got(Link(QUEUE)).size(), 1u);
        EXPECT_EQ(net.roomLeft, 15) << "half for logins";
    }
}

class RelayTest : public LobbyTest, public ::testing::WithParamInterface<Relay> {
  protected:
    const Relay& op = GetParam();
    std::string Request(int userId = 10001) { return Pattern(op.size, userId); }
    bool Relayed(LobbyPlayer* player, const std::string& request) {
        net.Deliver(player, op.type, request);
        return Only(Link(QUEUE)).type == op.queueType;
    }
    void ExpectAnswer(LobbyPlayer* player, int code) {
        std::string answer = Zeros(op.resultSize);
        answer[8] = static_cast<char>(code);
        EXPECT_EQ(Got(player), code != 0 ? One(op.resultType, answer) : Messages());
    }
};
class RelayedRequest : public RelayTest {};
class RelayedResult : public RelayTest {};

// Also before its login is confirmed, and as user 0 before any notice: the lobby leaves that to the
// queue server, see docs/security.md.
TEST_P(RelayedRequest, IsWrappedAndKeepsItsGap) {
    EXPECT_TRUE(Relayed(static_cast<LobbyPlayer*>(net.Connect()), Request(0)));
    LobbyPlayer* const former = Online(10001);  // of whom nothing is left in the next session
    EXPECT_TRUE(Relayed(former, Request()));
    net.Hangup(former);
    LobbyPlayer* player = Login(10001);
    ASSERT_EQ(player, former);
    Got(Link(QUEUE));
    std::string wrapped = Request();
    wrapped.resize(op.wrapped);
    PutSession(wrapped, op.handleAt, NodeHandle(player), *player);
    if (op.type == 0xE1) wrapped.replace(80, 8, "10.1.2.3");
    for (const bool confirmed : {false, true}) {
        if (confirmed) {
            net.Deliver(Link(QUEUE), USER_INFO_Q2L, InfoFor(player));
            Got(player);
        }
        if (confirmed && op.wrapped > op.handleAt + 16) {
            wrapped.replace(op.handleAt + 16, 76,
                            std::string(64, 'o') + BytesOf(std::array{11, 12, 0xFFF3}));
        }
        const time_t stamp = g_testNow;
        for (const int pause : {-100, op.gap - 1}) {  // also when the clock is set back
            if (!confirmed || op.gap == 0) continue;
            g_testNow = stamp + pause;
            const std::string log = LogOf([&] { EXPECT_FALSE(Relayed(player, Request())); });
            EXPECT_TRUE(Has(log, "illegal---Gap Time [" + std::to_string(pause) + "]")) << log;
            ExpectAnswer(player, op.tooSoon);
        }
        g_testNow = stamp + op.gap;  // the refused ones did not move the stamp
        net.Deliver(player, op.type, Request());
        EXPECT_EQ(Got(Link(QUEUE)), One(op.queueType, wrapped));
        EXPECT_TRUE(Nothing(player));
    }
}

// The closes without a word are required, and that what is dropped renews the stamp.
TEST_P(RelayedRequest, IsClosedOrDroppedWhenItsLengthOrUserIsWrong) {
    const std::string good = Request(), longer = good + "x", foreign = Request(10002);
    for (const auto& bytes : {good.substr(0, op.size - 1), longer, good.substr(0, 8), foreign}) {
        LobbyPlayer* player = Online(10001);
        const std::string log = LogOf([&] { EXPECT_FALSE(Relayed(player, bytes)); });
        ExpectAnswer(player, bytes == foreign ? op.otherUser : 0);
        EXPECT_EQ(net.IsClosed(player), op.otherUser == 0);
        EXPECT_EQ(log.empty(), op.gap == 0) << log;
        if (op.otherUser != 0) {
            g_testNow += op.gap - 1;
            EXPECT_FALSE(Relayed(player, good));
            ExpectAnswer(player, op.tooSoon);
        }
        net.Settle();
    }
}

TEST_P(RelayedRequest, IsNotJudgedWithoutTheQueueLink) {
    LobbyPlayer* player = Online(10001);
    net.failCreatePort = QUEUE;
    net.Hangup(Link(QUEUE));
    const int user = op.otherUser != 0 ? 10002 : 10001;
    const std::string log = LogOf([&] { net.Deliver(player, op.type, Request(user)); });
    EXPECT_EQ(Has(log, "SendData fail---- UserId [10001] "), op.otherUser == 0) << log;
    EXPECT_TRUE(Nothing(player));
}

TEST_P(RelayedResult, IsUnwrappedAndLogged) {
    LobbyPlayer* player = Online(10001);
    std::string result;
    const auto deliver = [&] {
        return LogOf([&] { net.Deliver(Link(QUEUE), op.answerType, result); });
    };
    for (const int code : {0, 5}) {
        result = Pattern(op.resultHandleAt + 16, code);
        PutSession(result, op.resultHandleAt, NodeHandle(player), *player);
        const std::string log = deliver();
        EXPECT_EQ(Got(player), One(op.resultType, result.substr(0, op.resultSize)));
        const bool namesUser = code == 0 || op.type == 0xE6;
        const std::string outcome = std::string("[QueueServerHandler::") + op.tag + ":] " +
                                    (namesUser ? "userid[10001]" : "") +
                                    (op.what != nullptr ? op.what : "") +
                                    (code == 0 ? "成功.... [0]" : "失败.... [5]");
        // The bank says nothing of its successes; the password does at level ERROR.
        const bool said = op.what != nullptr && (code != 0 || op.gap != 2);
        EXPECT_EQ(Has(log, outcome), said) << log;
        EXPECT_EQ(Has(log, "[ERROR] " + outcome), said && (code != 0 || op.type == 0xE1)) << log;
    }
    const std::string id = std::to_string(player->m_ulPlayerNodeId);
    const std::string good = result, size = std::to_string(good.size());
    for (const size_t length : {good.size() - 1, good.size() + 1}) {
        result.resize(length);
        const std::string log = deliver();
        EXPECT_TRUE(Has(log, std::string("[QueueServerHandler::") + op.sizeTag + ":] sizeof("));
        EXPECT_TRUE(Has(log, "_trans) " + size + " !=  length " + std::to_string(length))) << log;
    }
    result = good;
    PutSession(result, op.resultHandleAt, NodeHandle(player), 0);
    EXPECT_TRUE(Has(deliver(), "pMsg->ulPlayerNodeId [0] != *pPlayerNode[" + id + "]"));
    PutSession(result, op.resultHandleAt, 0x1234567, 0);
    EXPECT_TRUE(Has(deliver(), "pMsg->ulPlayerNodeId [0] != *pPlayerNode[0]"));
    EXPECT_TRUE(Nothing(player));
    net.failSend = [&](IPlayerNode* node, uint16_t) { return node == player; };
    result = good;
    EXPECT_TRUE(Has(deliver(), "SendData fail----userid [10001] "));
}

constexpr auto kName = [](const auto& row) { return row.param.name; };
INSTANTIATE_TEST_SUITE_P(Queue, RelayedRequest, ::testing::ValuesIn(kRelays, std::end(kRelays) - 1),
                         kName);
INSTANTIATE_TEST_SUITE_P(Queue, RelayedResult, ::testing::ValuesIn(kRelays), kName);

TEST_F(LobbyTest, PasswordsAreLoggedAsTextOnly) {
    LobbyPlayer* player = Online(10001);
    tagModifyPassWordReq req{};
    req.iUserID = 10001;
    const std::string old = "%s%n%s%n%s%n%s%n%s%n%s%n%s%n%s%n%";  // fills its field
    old.copy(req.szOldPassWd, 33);
    std::strcpy(req.szNewPassWd, "%999999d");
    const std::string log = LogOf([&] { net.Deliver(player, 0xE1, req); });
    EXPECT_TRUE(Has(log, "userid[10001] 修改密码old[" + old + "]new[%999999d] IP[10.1.2.3]!!!"))
        << log;
}

// Of the two seconds between bank logins, which a wrong password (151) lifts: as many guesses as it
// answers.
TEST_F(LobbyTest, BankPasswordsAreGuessedAtThePaceOfTheQueueServer) {
    LobbyPlayer* player = Login(10001);
    Got(Link(QUEUE));
    std::string wrong = Zeros(44);
    wrong[8] = static_cast<char>(151);
    PutSession(wrong, 28, NodeHandle(player), *player);
    for (int guess = 0; guess < 3; ++guess) {
        for (const uint16_t relayed : {0xD6, 0}) {
            net.Deliver(player, 0xD3, Pattern(48, 10001));
            EXPECT_EQ(Only(Link(QUEUE)).type, relayed);
        }
        net.Deliver(Link(QUEUE), 0xD7, wrong);
    }
}

TEST_F(LobbyTest, ForbiddenNamesAreRefusedByTheLobby) {
    LobbyPlayer* player = Online(10001);
    const std::string unterminated = std::string(125, 'x') + "bad";
    const std::tuple<uint16_t, size_t, std::string> cases[] = {
        {0xE3, 44, "bad"}, {0xE3, 44, "小猪头儿"}, {0xE5, 140, unterminated}};
    for (const auto& [type, size, text] : cases) {
        std::string request = Pattern(size, 10001).substr(0, 12) + text;
        request.resize(size);
        net.Deliver(player, type, request);
        EXPECT_EQ(Got(player), One(type, Zeros(8) + '\1' + Zeros(size - 9))) << text;
    }
    EXPECT_TRUE(Nothing(Link(QUEUE)));
}

TEST_F(LobbyTest, AmountsBelowOneAreRefusedWhoeverAsks) {
    LobbyPlayer* player = Online(10001);
    for (const int64_t amount : {int64_t{0}, int64_t{-1}, INT64_MIN}) {
        g_testNow += 2;  // else it is too soon
        net.Deliver(player, 0xD5, GetBankCoinReq{{}, 10002, 0, 0, 0, amount, {}});
        EXPECT_EQ(Only(player).At<uint8_t>(8), 157) << amount;
        g_testNow += 2;
        net.Deliver(player, 0xD7, SaveCoinReq{{}, 10002, 0, 0, 0, amount, 0});
        EXPECT_EQ(Only(player).At<uint8_t>(8), 157) << amount;
    }
    EXPECT_TRUE(Nothing(Link(QUEUE)));
}

TEST_F(LobbyTest, FaceFrameNeedsItsVipLevel) {
    LobbyPlayer* player = Online(10001);
    lobby->m_mapConfigVipLevel = {{1, 100}, {2, 500}};
    lobby->m_mapConfigVipFrame[7] = {7, 1};
    ModifyFaceFrameReq req{{}, 10001, 7};
    for (const int spent : {99, 100}) {
        player->iAllYuanBaoAmount = spent;
        lobby->GetLobbyClientHandler()->HandleModifyFaceFrameReq(player, &req, sizeof(req));
        EXPECT_EQ(Only(player).At<int32_t>(8), spent == 99 ? 1 : 0);
        EXPECT_EQ(Only(Link(QUEUE)).type, spent == 99 ? 0 : 0xE9);
    }
}
