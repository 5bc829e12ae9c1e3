#include "LobbyTest.h"
#include "activitySystem/Activity_Data_Msg.h"

TEST_F(LobbyTest, LoginFromNoticeToAnswer) {
    auto* player = static_cast<LobbyPlayer*>(net.Connect());
    tagLobbyClientConnectNotice notice{{}, 10001, 3, {}, {}};
    std::memset(notice.szToken, 't', sizeof(notice.szToken));  // not terminated
    notice.szToken[20] = 0;
    net.Deliver(player, 0xA1, notice);
    std::string asked = BytesOf(notice).substr(0, 12) + BytesOf(notice.szToken);
    asked.resize(64);
    PutSession(asked, 48, NodeHandle(player), *player);
    EXPECT_EQ(Got(Link(QUEUE)), One(0xA001, asked));

    UserInfoRes info = InfoFor(player);
    info.cError = 7;  // answered, and changes nothing
    net.Deliver(Link(QUEUE), 0xA002, info);
    EXPECT_EQ(Only(player).At<uint8_t>(8), 7);
    EXPECT_EQ(player->llGameCoin, 0);
    EXPECT_TRUE(Nothing(Link(DATA)));
    EXPECT_FALSE(net.IsClosed(player));

    info = InfoFor(player);
    info.szReserve1[0] = info.szReserve1[63] = '1';
    info.szReserve3[1] = info.szReserve3[63] = '3';
    net.Deliver(Link(QUEUE), 0xA002, info);
    const std::string answer = Zeros(12) + BytesOf(std::array{11, 12, 0xFFF3}) +
                               BytesOf(info.szReserve1) + std::string(64, 'o') +
                               BytesOf(info.szReserve3);
    EXPECT_EQ(Got(player), One(0xA6, answer));
    const tagDBUserActivityProgressReq progress{{}, NodeHandle(player), *player, 10001, 0};
    EXPECT_EQ(Got(Link(DATA)), One(0xD012, progress));
    EXPECT_EQ((std::vector<int64_t>{
                  player->llControlNum, player->iMachineIndex, player->iPlayGameTime,
                  player->iAllYuanBaoAmount, player->iAccountsourceid, player->isBindingmobile,
                  player->iFriendPropNum, player->llGameCoin, player->llBankCoin}),
              (std::vector<int64_t>{77, 21, 22, 23, 24, 25, 26, 1000, 500}));
    notice.iUserID = 10002;  // a second notice is ignored
    net.Deliver(player, 0xA1, notice);
    EXPECT_EQ(player->m_iUserID, 10001);
    EXPECT_TRUE(Nothing(Link(QUEUE)));
    EXPECT_FALSE(net.IsClosed(player));
}

TEST_F(LobbyTest, RefusedNoticesCloseTheirConnection) {
    const std::string good = BytesOf(tagLobbyClientConnectNotice{{}, 10001, 0, {}, {}});
    const std::string disabled = BytesOf(tagLobbyClientConnectNotice{{}, 667, 0, {}, {}});
    for (const auto& [bytes, stopSwitch] :
         {std::pair{good.substr(0, 67), 0}, {good + "x", 0}, {disabled, 0}, {good, 1}, {good, 2}}) {
        net.Deliver(Link(CONFIG), 0xAD27, tagLobbyStopSwitchRes{{}, stopSwitch});
        IPlayerNode* node = net.Connect();
        net.Deliver(node, 0xA1, bytes);
        EXPECT_TRUE(net.IsClosed(node)) << bytes.size() << ' ' << stopSwitch;
        EXPECT_EQ(static_cast<LobbyPlayer*>(node)->m_cLoginType, 0);
        net.Settle();
    }
    EXPECT_TRUE(Nothing(Link(QUEUE)));
    EXPECT_EQ(lobby->GetClientLobbyPlayer(), nullptr);
    net.Deliver(Link(CONFIG), 0xAD27, tagLobbyStopSwitchRes{{}, 0});
    EXPECT_FALSE(net.IsClosed(Login(10001)));
}

// A closed session's id is 0, and a forged 0 must not match it.
TEST_F(LobbyTest, LoginAnswersOfTheWrongLengthOrForNobodyChangeNothing) {
    LobbyPlayer* player = Login(10001);
    UserInfoRes info = InfoFor(player);
    for (const size_t length : {279, 281})
        DeliverCut(QUEUE, 0xA002, info, length);
    EXPECT_TRUE(Nothing(player));
    net.Hangup(player);
    info.ulPlayerNodeId = 0;
    net.Deliver(Link(QUEUE), 0xA002, info);
    EXPECT_EQ(player->llGameCoin, 0);
}

// A session refused for its user id was never linked; unlinking it as if it were the head cut off
// everybody else.
TEST_F(LobbyTest, CloseOfARefusedSessionLeavesTheListWhole) {
    Login(0);  // nobody is there to be closed
    EXPECT_EQ(net.closedNobody, 1);
    LobbyPlayer* a = Online(1);
    LobbyPlayer* b = Online(2);
    LobbyPlayer* c = Online(3);
    LobbyPlayer* refused = Login(-5);
    EXPECT_TRUE(net.IsClosed(c)) << "the newest listed session is the one that is closed";
    EXPECT_FALSE(net.IsClosed(refused));
    net.Hangup(refused);
    EXPECT_EQ(lobby->GetClientLobbyPlayer(), c);
    net.Settle();
    EXPECT_EQ(lobby->GetPlayerByUserID(3), nullptr);
    net.Hangup(a);
    EXPECT_EQ(lobby->GetPlayerByUserID(2), b);
    EXPECT_EQ(lobby->GetClientLobbyPlayer(), b);
    EXPECT_EQ(b->m_lpNext, nullptr);
    Notice(Link(WEB), 4);  // a link is unlinked by its close, too
    LobbyPlayer* d = Online(5);
    net.failCreatePort = WEB;
    net.Hangup(Link(WEB));
    EXPECT_EQ(lobby->GetPlayerByUserID(4), nullptr);
    EXPECT_EQ(d->m_lpNext, b);
}

// A look-up by user must find what a walk of the list finds, in whatever order sessions end.
TEST_F(LobbyTest, LookUpsFindTheNewestSessionOfAUser) {
    std::vector<LobbyPlayer*> open;
    std::mt19937 random(11);
    for (int step = 0; step < 200; ++step) {
        if (open.size() < 8 && random() % 3 != 0) {
            open.push_back(Login(1 + static_cast<int>(random() % 3)));
        } else if (!open.empty()) {
            const auto at = open.begin() + static_cast<long>(random() % open.size());
            net.Hangup(*at);
            open.erase(at);
        }
        for (int user = 1; user <= 3; ++user) {
            LobbyPlayer* walked = lobby->GetClientLobbyPlayer();
            while (walked != nullptr && walked->m_iUserID != user)
                walked = walked->m_lpNext;
            ASSERT_EQ(lobby->GetPlayerByUserID(user), walked);
        }
    }
}

TEST_F(LobbyTest, ClientWaitsWhileTheQueueServerIsAway) {
    LobbyPlayer* other = Online(1);
    net.failCreatePort = QUEUE;
    net.Hangup(Link(QUEUE));
    LobbyPlayer* waiting = Login(2);
    EXPECT_TRUE(Nothing(waiting));
    EXPECT_FALSE(net.IsClosed(waiting));
    net.Hangup(waiting);
    EXPECT_EQ(lobby->GetClientLobbyPlayer(), other);
    net.failCreatePort = 0;
    ASSERT_TRUE(WaitForLink(QUEUE));
    LobbyPlayer* again = Login(2);
    EXPECT_EQ(Only(Link(QUEUE)).At<uint64_t>(48), NodeHandle(again));
}

TEST_F(LobbyTest, SensitiveNamesAreReplacedAndDisabledUsersAppendedByTheReload) {
    EXPECT_EQ(lobby->m_vecStrSensitiveName, (std::vector<std::string>{"bad", "猪头"}));
    EXPECT_EQ(lobby->isContainSensitiveName("BAD ba d"), 0);
    WriteFile("SensitiveName.cfg", "[config]\nSensitiveName=new\n");
    net.Tick(g_testNow);
    net.Tick(g_testNow + 1799);
    EXPECT_EQ(lobby->m_vecStrSensitiveName.size(), 2u);
    net.Tick(g_testNow + 1800);
    EXPECT_EQ(lobby->m_vecStrSensitiveName, std::vector<std::string>{"new"});
    EXPECT_EQ(lobby->m_vcDisconnnetUserID, (std::vector<int32_t>{666, 667, 666, 667}));
}

// A value that fills the buffer does not fit with its terminator: no names at all.
TEST_F(LobbyTest, SensitiveNameListMayBeAMegabyteButNoLonger) {
    for (const size_t size : {1023999, 1024000}) {
        const std::string names = "first" + std::string(size - 9, ',') + "last";
        WriteFile("SensitiveName.cfg", "[config]\nSensitiveName=" + names + "\n");
        lobby->loadSensitiveNameCfg();
        EXPECT_EQ(lobby->m_vecStrSensitiveName.size(), size == 1023999 ? 2u : 0u);
    }
}

TEST_F(LobbyTest, VipLevelOfAnAmount) {
    lobby->m_mapConfigVipLevel = {{1, 100}, {2, 500}};
    const int cases[][2] = {{50, 0}, {100, 1}, {499, 1}, {500, 0}, {-1, 0}};
    for (const auto& c : cases)
        EXPECT_EQ(lobby->GetVipLevel(c[0]), c[1]) << c[0];
    lobby->m_mapConfigVipLevel = {{3, 100}};  // 1 and 2 are added, as 0
    EXPECT_EQ(lobby->GetVipLevel(99), 2);
    EXPECT_EQ(lobby->m_mapConfigVipLevel.size(), 3u);
    lobby->m_mapConfigVipLevel = {{-1, 5}, {0, 5}, {2, 50}};  // must end
    EXPECT_EQ(lobby->GetVipLevel(60), 0);
}

TEST_F(LobbyTest, BroadcastReachesEverySessionDespiteFailedSends) {
    LobbyPlayer* players[] = {Online(1), Online(2), Online(3)};
    net.failSend = [&](IPlayerNode* node, uint16_t) {
        const bool fails = node == players[1];
        if (fails) net.Hangup(node);  // the worst case: gone while the list is walked
        return fails;
    };
    char msg[12] = {};
    lobby->SendMsgToAllLobbyClent(0xB4, msg, sizeof(msg));
    net.failSend = nullptr;
    lobby->SendMsgToPlayerByID(3, 0xB5, msg, sizeof(msg));
    EXPECT_EQ(Only(players[0]).type, 0xB4);
    EXPECT_EQ(Got(players[2]), (Messages{{0xB4, Zeros(12)}, {0xB5, Zeros(12)}}));
}
