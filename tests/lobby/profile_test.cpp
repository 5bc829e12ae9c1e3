#include "config_server_msg.h"
#include "lobby_world.h"

namespace {

struct ProfileOp {
    const char* name;
    uint16_t type, resultType;
    size_t size, transSize, handleAt;
    size_t resultSize, resultTransSize, resultHandleAt;
    const char* okText;
    const char* failText;
};

constexpr ProfileOp kOps[] = {
    {"password", 0xE1, 0xE2, 80, 112, 96, 10, 28, 12,
     "[ERROR] [QueueServerHandler::OnModifyPasswd:] userid[10001]修改密码操作成功.... [0]",
     " 修改密码操作失败.... [5]"},
    {"nickname", 0xE3, 0xE3, 44, 60, 44, 44, 60, 44, "userid[10001]修改昵称操作成功.... [0]",
     " 修改昵称操作失败.... [5]"},
    {"gender", 0xE4, 0xE4, 16, 32, 16, 16, 32, 16, "userid[10001]修改性别操作成功.... [0]",
     " 修改性别操作失败.... [5]"},
    {"signature", 0xE5, 0xE5, 140, 156, 140, 140, 156, 140,
     "userid[10001]修改个性签名操作成功.... [0]", " 修改个性签名操作失败.... [5]"},
    {"face", 0xE6, 0xE6, 16, 32, 16, 16, 32, 16, "userid[10001]修改头像操作成功.... [0]",
     " userid[10001]修改头像操作失败.... [5]"},
    {"mobile", 0xE7, 0xE7, 28, 44, 28, 28, 44, 28, "userid[10001]绑定手机操作成功.... [0]",
     " 绑定手机操作失败.... [5]"},
    {"realname", 0xE8, 0xE8, 288, 304, 288, 288, 304, 288, "userid[10001]实名认证操作成功.... [0]",
     " 实名认证操作失败.... [5]"},
    {"frame", 0xE9, 0xE9, 16, 32, 16, 16, 32, 16, "userid[10001]修改相框操作成功.... [0]",
     " 修改相框操作失败.... [5]"},
};

}  // namespace

class ProfileTest : public LobbyTest, public ::testing::WithParamInterface<ProfileOp> {
  protected:
    const ProfileOp& op = GetParam();
};

// Without the face frame, which no client asks for, and without the password, which never closes.
class ProfileRequestTest : public ProfileTest {};
class ProfileCloseTest : public ProfileTest {};

TEST_P(ProfileRequestTest, IsWrapped) {
    LobbyPlayer* player = Online(10001);
    const std::string request = Pattern(op.size, 10001);
    DeliverBytes(player, op.type, request);
    const Sent sent = Only(Link(QUEUE));
    ASSERT_EQ(sent.type, op.type);
    ASSERT_EQ(sent.bytes.size(), op.transSize);
    EXPECT_EQ(Body(sent.bytes, op.size), Body(request));
    EXPECT_EQ(sent.At<uint64_t>(op.handleAt), NodeHandle(player));
    EXPECT_EQ(sent.At<uint64_t>(op.handleAt + 8), player->m_ulPlayerNodeId);
    if (op.type == 0xE1) {
        EXPECT_STREQ(&sent.bytes[80], "10.1.2.3");
    }
    EXPECT_TRUE(Nothing(player));
}

TEST_P(ProfileCloseTest, MalformedRequestClosesWithoutAWord) {
    const std::string good = Pattern(op.size, 10001);
    for (const std::string& bytes :
         {good.substr(0, op.size - 1), good + "x", Pattern(op.size, 10002), good.substr(0, 8)}) {
        LobbyPlayer* player = Online(10001);
        EXPECT_EQ(LogOf([&] { DeliverBytes(player, op.type, bytes); }), "");
        EXPECT_TRUE(net.IsClosed(player));
        EXPECT_TRUE(Nothing(Link(QUEUE)));
        net.Settle();
    }
}

TEST_P(ProfileTest, WithoutTheQueueLink) {
    LobbyPlayer* player = Online(10001);
    net.failCreatePort = QUEUE;
    net.Hangup(Link(QUEUE));
    const std::string log = LogOf([&] { DeliverBytes(player, op.type, Pattern(op.size, 10001)); });
    EXPECT_EQ(Has(log, "SendData fail---- UserId [10001] "), op.type != 0xE1 && op.type != 0xE9);
    EXPECT_TRUE(Nothing(player));
}

TEST_P(ProfileTest, ResultIsUnwrappedAndLogged) {
    LobbyPlayer* player = Online(10001);
    for (const int code : {0, 5}) {
        std::string result = Pattern(op.resultTransSize, code);
        PutSession(result, op.resultHandleAt, player);
        const std::string log = LogOf([&] { DeliverBytes(Link(QUEUE), op.resultType, result); });
        EXPECT_TRUE(Has(log, code == 0 ? op.okText : op.failText)) << log;
        const Sent sent = Only(player);
        EXPECT_EQ(sent.type, op.resultType);
        ASSERT_EQ(sent.bytes.size(), op.resultSize);
        EXPECT_EQ(Body(sent.bytes), Body(result, op.resultSize));
        result.push_back('x');
        EXPECT_TRUE(Has(LogOf([&] { DeliverBytes(Link(QUEUE), op.resultType, result); }),
                        "_trans) " + std::to_string(op.resultTransSize) + " !=  length "));
        result.pop_back();
        PutSession(result, op.resultHandleAt, NodeHandle(player), 0);
        DeliverBytes(Link(QUEUE), op.resultType, result);
        EXPECT_TRUE(Nothing(player));
    }
}

constexpr auto kName = [](const auto& row) { return row.param.name; };
INSTANTIATE_TEST_SUITE_P(Profile, ProfileTest, ::testing::ValuesIn(kOps), kName);
INSTANTIATE_TEST_SUITE_P(Profile, ProfileRequestTest, ::testing::ValuesIn(kOps, kOps + 7), kName);
INSTANTIATE_TEST_SUITE_P(Profile, ProfileCloseTest, ::testing::ValuesIn(kOps + 1, kOps + 7), kName);

TEST_F(LobbyTest, PasswordRequestsKeepSixSeconds) {
    LobbyPlayer* player = Online(10001);
    const auto relayed = [&](const std::string& bytes) {
        DeliverBytes(player, 0xE1, bytes);
        return Received(Link(QUEUE)).size() == 1;
    };
    const std::string good = Pattern(80, 10001);
    EXPECT_TRUE(relayed(good));
    g_testNow += 5;
    EXPECT_FALSE(relayed(good));
    const Sent tooSoon = Only(player);
    EXPECT_EQ(tooSoon.type, 0xE2);
    EXPECT_EQ(Body(tooSoon.bytes), std::string("\4\0", 2));
    g_testNow += 1;
    EXPECT_TRUE(relayed(good));
    g_testNow += 6;
    EXPECT_FALSE(relayed(good.substr(0, 79)));  // renews the stamp all the same
    EXPECT_TRUE(Nothing(player));
    g_testNow += 5;
    EXPECT_FALSE(relayed(good));
    EXPECT_EQ(Only(player).At<uint8_t>(8), 4);
    g_testNow += 1;
    EXPECT_FALSE(relayed(Pattern(80, 10002)));
    EXPECT_EQ(Only(player).At<uint8_t>(8), 1);
    EXPECT_FALSE(net.IsClosed(player));
}

TEST_F(LobbyTest, PasswordsAreLoggedAsTextOnly) {
    LobbyPlayer* player = Online(10001);
    tagModifyPassWordReq req{};
    req.iUserID = 10001;
    std::memcpy(req.szOldPassWd, "%s%n%s%n%s%n%s%n%s%n%s%n%s%n%s%n%", 33);
    std::strcpy(req.szNewPassWd, "%999999d");
    const std::string log = LogOf([&] { net.Deliver(player, 0xE1, req); });
    EXPECT_TRUE(Has(log,
                    "userid[10001] 修改密码old[%s%n%s%n%s%n%s%n%s%n%s%n%s%n%s%n%]new["
                    "%999999d] IP[10.1.2.3]!!!"))
        << log;
}

TEST_F(LobbyTest, ForbiddenNamesAreRefusedByTheLobby) {
    LobbyPlayer* player = Online(10001);
    ModifyNickNameReq nick{};
    nick.iUserId = 10001;
    const char* cases[] = {"bad", "xxbadxx", "小猪头儿"};
    for (const char* name : cases) {
        std::strncpy(nick.szNickName, name, sizeof(nick.szNickName));
        net.Deliver(player, 0xE3, nick);
        const Sent answer = Only(player);
        EXPECT_EQ(answer.type, 0xE3);
        EXPECT_EQ(Body(answer.bytes), std::string("\1", 1) + std::string(35, '\0'));
    }
    // A fragment in the last three bytes of a field without terminator.
    ModifyPersonalSignatureReq signature{};
    signature.iUserId = 10001;
    std::memset(signature.szPersonalSignature, 'x', 125);
    std::memcpy(signature.szPersonalSignature + 125, "bad", 3);
    net.Deliver(player, 0xE5, signature);
    EXPECT_EQ(Body(Only(player).bytes), std::string("\1", 1) + std::string(131, '\0'));
    EXPECT_TRUE(Nothing(Link(QUEUE)));
}

TEST_F(LobbyTest, FaceFrameNeedsItsVipLevel) {
    LobbyPlayer* player = Online(10001);
    lobby->m_mapConfigVipLevel = {{1, 100}, {2, 500}};
    lobby->m_mapConfigVipFrame[7] = {7, 1};
    ModifyFaceFrameReq req{};
    req.iUserId = 10001;
    req.iFrameId = 7;
    const auto ask = [&] {
        lobby->GetLobbyClientHandler()->HandleModifyFaceFrameReq(player, &req, sizeof(req));
    };
    player->iAllYuanBaoAmount = 99;
    ask();
    EXPECT_EQ(Only(player).At<int32_t>(8), 1);
    player->iAllYuanBaoAmount = 100;
    ask();
    EXPECT_EQ(Only(Link(QUEUE)).type, 0xE9);
}
