#include "BankInfoDef_Trans.h"
#include "lobby_world.h"

namespace {

struct BankOp {
    const char* name;
    uint16_t type, queueType, answerType, resultType;
    size_t size, transSize, resultSize, resultTransSize, resultHandleAt;
    size_t amountAt;   // 0: none
    size_t accountAt;  // 0: none
    int tooSoonCode;   // 0: not answered
};

constexpr BankOp kOps[] = {
    {"login", 0xD3, 0xD6, 0xD7, 0xD4, 48, 64, 28, 44, 28, 0, 0, 0},
    {"take", 0xD5, 0xD8, 0xD9, 0xD6, 68, 160, 20, 36, 20, 24, 84, 156},
    {"save", 0xD7, 0xDA, 0xDB, 0xD8, 40, 132, 20, 36, 20, 24, 56, 156},
    {"password", 0xD9, 0xDC, 0xDD, 0xDA, 88, 104, 10, 28, 12, 0, 0, 156},
};

}  // namespace

class BankTest : public LobbyTest, public ::testing::WithParamInterface<BankOp> {
  protected:
    const BankOp& op = GetParam();
    std::string Request(int userId = 10001) { return Pattern(op.size, userId); }
    std::string RequestOf(int64_t amount) {
        std::string bytes = Request();
        std::memcpy(&bytes[op.amountAt], &amount, 8);
        return bytes;
    }
    void ExpectRefusal(LobbyPlayer* player, int code) {
        const Sent answer = Only(player);
        EXPECT_EQ(answer.type, op.resultType);
        EXPECT_EQ(Body(answer.bytes),
                  std::string(1, static_cast<char>(code)) + std::string(op.resultSize - 9, '\0'));
        EXPECT_TRUE(Nothing(Link(QUEUE)));
    }
};

TEST_P(BankTest, RequestIsWrapped) {
    LobbyPlayer* player = Online(10001);
    DeliverBytes(player, op.type, Request());
    const Sent sent = Only(Link(QUEUE));
    ASSERT_EQ(sent.type, op.queueType);
    ASSERT_EQ(sent.bytes.size(), op.transSize);
    EXPECT_EQ(Body(sent.bytes, op.size), Body(Request()));
    EXPECT_EQ(sent.At<uint64_t>(op.size), NodeHandle(player));
    EXPECT_EQ(sent.At<uint64_t>(op.size + 8), player->m_ulPlayerNodeId);
    if (op.accountAt != 0) {
        EXPECT_EQ(sent.bytes.substr(op.accountAt, 64), std::string(64, 'o'));
        EXPECT_EQ(sent.At<int32_t>(op.accountAt + 64), 11);
        EXPECT_EQ(sent.At<int32_t>(op.accountAt + 68), 12);
        EXPECT_EQ(sent.At<uint32_t>(op.accountAt + 72), 0xFFF3u);
    }
    EXPECT_TRUE(Nothing(player));
}

TEST_P(BankTest, TwoSecondsApart) {
    LobbyPlayer* player = Online(10001);
    DeliverBytes(player, op.type, Request());
    Received(Link(QUEUE));
    g_testNow += 1;
    const std::string log = LogOf([&] { DeliverBytes(player, op.type, Request()); });
    EXPECT_TRUE(Has(log, "operate bank is illegal---Gap Time [1]"));
    if (op.tooSoonCode != 0) {
        ExpectRefusal(player, op.tooSoonCode);
    } else {
        EXPECT_TRUE(Nothing(player));
    }
    g_testNow += 1;  // the refused one did not move the stamp
    DeliverBytes(player, op.type, Request());
    EXPECT_EQ(Only(Link(QUEUE)).type, op.queueType);
}

TEST_P(BankTest, WrongLengthIsDroppedButRenewsTheStamp) {
    LobbyPlayer* player = Online(10001);
    for (const size_t size : {op.size - 1, op.size + 1, size_t{8}}) {
        std::string bytes = Request();
        bytes.resize(size, 'x');
        DeliverBytes(player, op.type, bytes);
        EXPECT_TRUE(Nothing(player));
        EXPECT_TRUE(Nothing(Link(QUEUE)));
        g_testNow += 1;
        DeliverBytes(player, op.type, Request());
        EXPECT_EQ(Received(player).size(), op.tooSoonCode != 0 ? 1u : 0u);
        EXPECT_TRUE(Nothing(Link(QUEUE)));
        EXPECT_FALSE(net.IsClosed(player));
        g_testNow += 2;
    }
}

TEST_P(BankTest, RefusalsAndTheirOrder) {
    LobbyPlayer* player = Online(10001);
    DeliverBytes(player, op.type, Request(10002));
    ExpectRefusal(player, 150);
    if (op.amountAt != 0) {
        for (const int64_t amount : {int64_t{0}, int64_t{-1}, INT64_MIN}) {
            g_testNow += 2;
            std::string bytes = RequestOf(amount);
            bytes[8] = 0;  // the amount is judged before the user
            DeliverBytes(player, op.type, bytes);
            ExpectRefusal(player, 157);
        }
        for (const int64_t amount : {int64_t{1}, INT64_MAX}) {
            g_testNow += 2;
            DeliverBytes(player, op.type, RequestOf(amount));
            EXPECT_EQ(Only(Link(QUEUE)).At<int64_t>(op.amountAt), amount);
        }
    }
    net.failCreatePort = QUEUE;
    net.Hangup(Link(QUEUE));
    g_testNow += 2;
    DeliverBytes(player, op.type, Request(10002));
    EXPECT_TRUE(Nothing(player)) << "without the link nothing is judged";
}

TEST_P(BankTest, ResultIsUnwrapped) {
    LobbyPlayer* player = Online(10001);
    std::string result = Pattern(op.resultTransSize, 153);
    PutSession(result, op.resultHandleAt, player);
    DeliverBytes(Link(QUEUE), op.answerType, result);
    const Sent sent = Only(player);
    EXPECT_EQ(sent.type, op.resultType);
    ASSERT_EQ(sent.bytes.size(), op.resultSize);
    EXPECT_EQ(Body(sent.bytes), Body(result, op.resultSize));

    const std::string shorter = result.substr(0, op.resultTransSize - 1);
    EXPECT_TRUE(Has(LogOf([&] { DeliverBytes(Link(QUEUE), op.answerType, shorter); }),
                    "_trans) " + std::to_string(op.resultTransSize) + " !=  length " +
                        std::to_string(op.resultTransSize - 1)));
    PutSession(result, op.resultHandleAt, NodeHandle(player), player->m_ulPlayerNodeId + 1);
    const std::string mismatch = "pMsg->ulPlayerNodeId [" +
                                 std::to_string(player->m_ulPlayerNodeId + 1) +
                                 "] != *pPlayerNode[" + std::to_string(player->m_ulPlayerNodeId);
    EXPECT_TRUE(Has(LogOf([&] { DeliverBytes(Link(QUEUE), op.answerType, result); }), mismatch));
    PutSession(result, op.resultHandleAt, 0x1234567, 0);
    EXPECT_TRUE(Has(LogOf([&] { DeliverBytes(Link(QUEUE), op.answerType, result); }),
                    "pMsg->ulPlayerNodeId [0] != *pPlayerNode[0]"));
    EXPECT_TRUE(Nothing(player));
}

INSTANTIATE_TEST_SUITE_P(Bank, BankTest, ::testing::ValuesIn(kOps),
                         [](const auto& row) { return row.param.name; });

TEST_F(LobbyTest, BankLoginResult151AllowsTheNextAtOnce) {
    LobbyPlayer* player = Online(10001);
    for (const int code : {0, 151}) {
        g_testNow += 2;
        DeliverBytes(player, 0xD3, Pattern(48, 10001));
        Received(Link(QUEUE));
        LoginBankResult_trans result{};
        result.base.ucResultType = static_cast<uint8_t>(code);
        SetSession(result, player);
        net.Deliver(Link(QUEUE), 0xD7, result);
        DeliverBytes(player, 0xD3, Pattern(48, 10001));
        EXPECT_EQ(Received(Link(QUEUE)).size(), code == 151 ? 1u : 0u);
    }
}

// Log readers filter by these tags, borrowed ones included.
TEST_F(LobbyTest, TakeCoinAnswerLogsUnderBorrowedTags) {
    LobbyPlayer* player = Online(10001);
    GetCoinResult_trans result{};
    result.base.ucResultType = 9;
    SetSession(result, player);
    EXPECT_TRUE(Has(LogOf([&] { net.Deliver(Link(QUEUE), 0xD9, result); }),
                    "[QueueServerHandler::OnSaveCoinRes:] 银行取钱操作失败.... [9]"));
    EXPECT_TRUE(Has(LogOf([&] { DeliverBytes(Link(QUEUE), 0xD9, std::string(35, '\0')); }),
                    "[QueueServerHandler::OnBankLoginRes:] sizeof(GetCoinResult_trans) 36 !=  "
                    "length 35"));
    net.failSend = [&](IPlayerNode* node, uint16_t) { return node == player; };
    EXPECT_TRUE(Has(LogOf([&] { net.Deliver(Link(QUEUE), 0xD9, result); }),
                    "SendData fail----userid [10001] "));
}
