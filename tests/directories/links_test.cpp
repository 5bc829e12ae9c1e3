#include "DirectoryWorld.h"

namespace {

bool Has(const std::string& log, const std::string& text) {
    return log.find(text) != std::string::npos;
}

tagServerInfo Server(uint16_t game, uint16_t id) {
    tagServerInfo info{};
    info.usGameID = game;
    info.usServerID = id;
    info.usLevel = 1;
    std::memset(info.szServerName, 'n', sizeof(info.szServerName));
    return info;
}

tagServerInfoNotice Servers(uint16_t count, uint16_t held) {
    tagServerInfoNotice msg{};
    msg.usListCount = count;
    for (uint16_t i = 0; i < held; ++i)
        msg.ServerInfoList[i] = Server(1, uint16_t(i + 1));
    return msg;
}

}  // namespace

TEST_F(DirectoryTest, EachLinkOpensWithItsFirstMessage) {
    ASSERT_EQ(first[CENTER].size(), 1u);
    EXPECT_EQ(first[CENTER][0].type, 0xA0);
    EXPECT_EQ(first[CENTER][0].bytes.size(), 20u);
    EXPECT_EQ(first[CENTER][0].At<int32_t>(8), 3);
    ASSERT_EQ(first[WEB].size(), 1u);
    EXPECT_EQ(first[WEB][0].type, 0xA1);
    EXPECT_EQ(first[WEB][0].bytes, std::string(16, '\0'));
    ASSERT_EQ(first[CONFIG].size(), 1u);
    EXPECT_EQ(first[CONFIG][0].type, 0xAD14);
    EXPECT_EQ(first[CONFIG][0].bytes.size(), 8u);
    EXPECT_TRUE(first[LOG].empty());
}

TEST_F(DirectoryTest, KeepAliveGoesToLinksThatAreUp) {
    auto* const center = lobby->GetCenterServerHandler();
    auto* const log = lobby->GetLogServerHandler();
    center->KeepAlive();
    lobby->GetConfigServerHandler()->KeepAlive();
    lobby->GetWebServerHandler()->KeepAlive();
    log->KeepAlive();
    for (const Port port : {CENTER, CONFIG, WEB, LOG}) {
        const auto sent = Received(Link(port));
        ASSERT_EQ(sent.size(), 1u);
        EXPECT_EQ(sent[0].type, 0xF0F1);
    }
    net.failCreatePort = LOG;
    IPlayerNode* const node = Link(LOG);
    net.Hangup(node);
    EXPECT_EQ(static_cast<IPlayerNode*>(log->m_lpLogServer), nullptr);
    log->KeepAlive();
    char record[48] = {};
    EXPECT_TRUE(Has(LogOf([&] { log->SendMsgToLogServer(0x5A48, record, sizeof(record)); }),
                    "send msg to logserver type[23112] length[48] failed."));
    EXPECT_TRUE(Received(node).empty());
}

TEST_F(DirectoryTest, LostLinksAreReopenedAndRegisteredAgain) {
    const struct {
        Port port;
        const char* line;
        uint16_t type;
    } cases[] = {{CENTER, "center server has been closed ! bClosed[1], node[0x", 0xA0},
                 {WEB, "web server has been closed ! bClosed[1], node[0x", 0xA1},
                 {CONFIG, "config server has been closed ! bClosed[1], node[0x", 0xAD14}};
    lobby->GetCenterServerHandler()->m_ServerList.m_gameServerMap[3] = Server(1, 3);
    for (const auto& c : cases) {
        IPlayerNode* const node = Link(c.port);
        EXPECT_TRUE(Has(LogOf([&] { net.Hangup(node); }), c.line));
        ASSERT_TRUE(WaitForLink(c.port)) << c.line;
        std::vector<MemoryNet::Sent> sent;
        for (int i = 0; i < 200 && sent.empty(); ++i) {
            sent = Received(Link(c.port));
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        ASSERT_FALSE(sent.empty()) << c.line;
        EXPECT_EQ(sent[0].type, c.type);
    }
    EXPECT_EQ(lobby->GetCenterServerHandler()->m_ServerList.m_gameServerMap.size(), 1u);
}

TEST_F(DirectoryTest, FailedWebConnectStillTriesToRegister) {
    net.failCreatePort = WEB;
    net.Hangup(Link(WEB));
    const std::string log = LogOf([&] {
        EXPECT_EQ(lobby->GetWebServerHandler()->ConnectServer(), -1);
        EXPECT_EQ(lobby->GetWebServerHandler()->RegisteWebServer(nullptr), 1);
    });
    EXPECT_TRUE(Has(log, "register bulletin server!!!"));
}

TEST_F(DirectoryTest, CenterNoticesOfTheWrongSizeCloseTheLink) {
    net.failCreatePort = CENTER;  // a closed link stays closed until it has been looked at
    auto& handler = *lobby->GetCenterServerHandler();
    const struct {
        uint16_t type;
        size_t size;
        bool shorterToo;
        const char* line;
    } cases[] = {{0x9001, 1172, true, "length[1173] < sizeof(1172)"},
                 {0x9002, 16, false,
                  "[CenterServerHandler::OnCenterServerInfoUpdate] buffer length "
                  "is not match ! length[17] != sizeof(16)"},
                 {0x9004, 12, false, "length[13] != sizeof(12)"},
                 {0xC805, 14, false, "length[15] != sizeof(14)"},
                 {0x9100, 12, false,
                  "[CenterServerHandler::OnCenterServerInfoNotice] buffer length "
                  "is not match ! length[13] < sizeof(12)"}};
    for (const auto& c : cases) {
        for (const int off : {0, -1, 1}) {
            const std::string log = LogOf(
                [&] { DeliverCut(CENTER, c.type, tagServerInfoNotice{}, c.size + size_t(off)); });
            const bool closes = off > 0 || (off < 0 && !c.shorterToo);
            EXPECT_EQ(net.IsClosed(Link(CENTER)), closes) << std::hex << c.type << ' ' << off;
            EXPECT_EQ(Has(log, c.line), off > 0) << log;
            if (!closes) continue;
            net.Settle();
            net.failCreatePort = 0;  // the keeper opens it again
            ASSERT_TRUE(WaitForLink(CENTER));
            net.failCreatePort = CENTER;
        }
    }
    EXPECT_TRUE(handler.m_ServerList.m_gameServerMap.empty());
    DeliverBytes(Link(CENTER), 0x9999, std::string(8, '\0'));  // swallowed
    EXPECT_FALSE(handler.OnNetMessage(Login(1), 0x9001, nullptr, 0));
    EXPECT_FALSE(handler.OnNetMessage(nullptr, 0x9001, nullptr, 0));
}

TEST_F(DirectoryTest, CenterFeedsTheDirectories) {
    auto& handler = *lobby->GetCenterServerHandler();
    auto& shown = handler.m_ServerList.m_showSiteMap;
    tagLoginMobileCenterSiteGameListMsg games{};
    games.iListCount = 50;
    for (int i = 0; i < 50; ++i)
        games.GameList[i] = {7, i + 1, 1, 0, {}, {}};
    net.Deliver(Link(CENTER), 0x9005, games);
    EXPECT_EQ(handler.m_GameSiteList.m_gameSiteMap.size(), 50u);
    for (const int count : {51, -1}) {
        games.iListCount = count;
        games.GameList[0].iSiteID = 8;
        EXPECT_TRUE(
            Has(LogOf([&] { net.Deliver(Link(CENTER), 0x9005, games); }),
                "LoginMibileCenterSiteGameListMsg size[" + std::to_string(count) + "] error!"));
        EXPECT_EQ(handler.m_GameSiteList.m_gameSiteMap.size(), 50u);
    }

    net.Deliver(Link(CENTER), 0x9001, Servers(10, 10));
    EXPECT_EQ(shown[7].size(), 10u);
    DeliverCut(CENTER, 0x9001, Servers(0, 0), 12);
    tagServerCloseNotice close{{}, 1, 4, 9};
    net.Deliver(Link(CENTER), 0xC805, close);
    EXPECT_EQ(shown[7][3].ucOpenFlag, 9);
    tagUpdateServerInfo update{{}, 1, 4, 321, 9};
    net.Deliver(Link(CENTER), 0x9002, update);
    EXPECT_EQ(shown[7][3].usOnlineCount, 0);
    handler.refreshShowGameList();
    EXPECT_EQ(shown[7][3].usOnlineCount, 321);
    tagTerminateNotice end{{}, 99, 4};  // the game id does not matter
    net.Deliver(Link(CENTER), 0x9004, end);
    EXPECT_EQ(shown[7].size(), 9u);

    tagLoginCenterSiteGameTerminateNotice withdraw{};
    withdraw.iSiteGameListCount = 1;
    withdraw.siteGameInfo[0] = {7, 1};
    net.Deliver(Link(CENTER), 0x9006, withdraw);
    EXPECT_EQ(handler.m_GameSiteList.m_gameSiteMap.size(), 49u);
    EXPECT_EQ(shown[7].size(), 9u);  // until the next rebuild
    handler.refreshShowGameList();
    EXPECT_EQ(shown.count(7), 0u);
}

TEST_F(DirectoryTest, CountsBeyondTheMessageReadNothingOutsideIt) {
    auto& handler = *lobby->GetCenterServerHandler();
    tagSiteMobileGameList offer{7, 1, 1, 0, {}, {}};
    handler.m_GameSiteList.InsertInfo(offer);
    DeliverCut(CENTER, 0x9001, Servers(65535, 3), 12 + 2 * 116 + 40);
    EXPECT_EQ(handler.m_ServerList.m_gameServerMap.size(), 3u);
    EXPECT_EQ(handler.m_ServerList.m_showSiteMap[7].size(), 3u);

    tagLoginMobileCenterSiteGameListMsg games{};
    tagLoginCenterSiteGameTerminateNotice withdraw{};
    games.iListCount = withdraw.iSiteGameListCount = 50;
    games.GameList[0].iSiteID = 3;
    for (const size_t size : {8, 9, 12, 13, 92}) {
        DeliverCut(CENTER, 0x9005, games, size);
        DeliverCut(CENTER, 0x9006, withdraw, size);
        DeliverCut(CENTER, 0x9001, Servers(65535, 1), size);
    }
    handler.OnCenterServerGameListNotice(nullptr, 0);
    handler.OnCenterSiteGameTerminateNotice(nullptr, 0);
    handler.OnCenterServerInfoNotice(nullptr, 0);
    EXPECT_FALSE(net.IsClosed(Link(CENTER)));

    SysBulletinNotice bulletins{};
    bulletins.usBulletNum = 65535;
    for (const size_t size : {8, 9, 10, 11, 542, 543, 2670}) {
        DeliverCut(WEB, 0xB5, bulletins, size);
    }
    EXPECT_EQ(lobby->GetWebServerHandler()->m_lBulletinItem.Size(), 9u);
    WebFarmSubscribeKeyRes keys{{}, 1, 0};
    const std::pair<int, size_t> lists[] = {{INT32_MAX, 2}, {-1, 0}, {INT32_MIN, 0}, {1, 1}};
    for (const auto& [count, expected] : lists) {
        keys.iCount = count;
        DeliverCut(CONFIG, 0xAD29, keys, 16 + 128 + 5);
        EXPECT_EQ(lobby->m_lSubscribeKeyInfo.size(), expected);
    }
    lobby->GetConfigServerHandler()->OnSubscribeKeyRes(nullptr, 16);
}

TEST_F(DirectoryTest, KickOutOfTheCenterClosesTheSession) {
    LobbyPlayer* const player = Login(42);
    NoticeLobbyKickOut msg{};
    msg.iUserID = 42;
    DeliverCut(CENTER, 0x9100, msg, 16);
    EXPECT_FALSE(net.IsClosed(player));
    ASSERT_TRUE(net.IsClosed(Link(CENTER)));
    net.Settle();
    ASSERT_TRUE(WaitForLink(CENTER));
    net.Deliver(Link(CENTER), 0x9100, msg);
    EXPECT_TRUE(net.IsClosed(player));
    const auto sent = Received(player);
    ASSERT_EQ(sent.size(), 1u);
    EXPECT_EQ(sent[0].type, 0xA8);
}

TEST_F(DirectoryTest, VipTablesBecomeVisibleWithTheLastMessage) {
    tagVipFrameConfig frames{{}, 0, 2, {{1, 10}, {2, 20}}};
    net.Deliver(Link(CONFIG), 0xAD15, frames);
    EXPECT_TRUE(lobby->m_mapConfigVipFrame.empty());
    frames = {{}, 1, 2, {{2, 21}, {3, 30}}};
    const std::string log = LogOf([&] { net.Deliver(Link(CONFIG), 0xAD15, frames); });
    EXPECT_TRUE(Has(log, "vip frame_id[3], open_level[30]"));
    ASSERT_EQ(lobby->m_mapConfigVipFrame.size(), 3u);
    EXPECT_EQ(lobby->m_mapConfigVipFrame[2].iLimitLv, 21);
    frames = {{}, 1, 0, {}};
    for (int i = 0; i < 2; ++i) {
        net.Deliver(Link(CONFIG), 0xAD15, frames);
        EXPECT_TRUE(lobby->m_mapConfigVipFrame.empty());
    }

    tagVipLevelConfigRes levels{{}, 1, 65535, {{1, 100}}};
    net.Deliver(Link(CONFIG), 0xAD11, levels);
    EXPECT_EQ(lobby->m_mapConfigVipLevel, (std::map<int, int>{{0, 0}, {1, 100}}));
    tagVipPhotoConfigRes photos{{}, 1, 1, {{6, 2}}};
    net.Deliver(Link(CONFIG), 0xAD13, photos);
    EXPECT_EQ(lobby->m_mapConfigVipPhoto[6].iLimitLv, 2);

    for (const size_t size : {171, 173}) {
        levels.item[0].iRecharge = 999;
        const std::string text =
            "buffer length is not match ! length[" + std::to_string(size) + "] = sizeof(172)";
        EXPECT_TRUE(Has(LogOf([&] { DeliverCut(CONFIG, 0xAD11, levels, size); }), text));
    }
    EXPECT_EQ(lobby->m_mapConfigVipLevel[1], 100);
    EXPECT_FALSE(net.IsClosed(Link(CONFIG)));
    EXPECT_TRUE(Has(LogOf([&] { DeliverBytes(Link(CONFIG), 0xAD99, std::string(8, '\0')); }),
                    "config server rsp type invalid! type[ad99]"));
}

TEST_F(DirectoryTest, StopSwitchEmptiesTheLobbyUntilItIsZeroAgain) {
    lobby->GetConfigServerHandler()->SendLobbyStopSwitchReqToConfig();
    const auto sent = Received(Link(CONFIG));
    ASSERT_EQ(sent.size(), 1u);
    EXPECT_EQ(sent[0].type, 0xAD26);

    LobbyPlayer* const player = Login(9);
    tagLobbyStopSwitchRes stop{{}, 1};
    DeliverCut(CONFIG, 0xAD27, stop, 13);
    EXPECT_EQ(lobby->m_iLobbyStopSwitch, 0);
    net.Deliver(Link(CONFIG), 0xAD27, stop);
    net.Tick(g_testNow);
    net.Tick(g_testNow += 5);
    EXPECT_TRUE(net.IsClosed(player));
    net.Settle();
    EXPECT_TRUE(net.IsClosed(Login(9)));
    stop.iStopSwitch = 0;
    net.Deliver(Link(CONFIG), 0xAD27, stop);
    EXPECT_FALSE(net.IsClosed(Login(9)));
}

TEST_F(DirectoryTest, BulletinsGoOutFiveAtATimeAtTheirPace) {
    LobbyPlayer* const players[] = {Login(1), Login(2)};
    WinCoinBulletinNotice win;
    std::memset(&win, 'x', sizeof(win));
    for (int i = 0; i < 7; ++i) {
        win.iUserId = i;
        net.Deliver(Link(WEB), 0xB4, win);
    }
    auto& web = *lobby->GetWebServerHandler();
    web.OnTimer(g_testNow);  // starts the clock
    web.OnTimer(g_testNow + 29);
    EXPECT_TRUE(Received(players[0]).empty());
    web.OnTimer(g_testNow + 30);
    web.OnTimer(g_testNow + 59);
    for (LobbyPlayer* player : players) {
        const auto sent = Received(player);
        ASSERT_EQ(sent.size(), 1u);
        EXPECT_EQ(sent[0].type, 0xB4);
        ASSERT_EQ(sent[0].bytes.size(), 3272u);
        const auto msg = sent[0].As<WinBulletinNotice>();
        EXPECT_EQ(msg.usBulletNum, 5);
        EXPECT_EQ(msg.bulletinItem[0].iUserId, 6);
        EXPECT_EQ(msg.bulletinItem[4].iUserId, 2);
        EXPECT_EQ(msg.bulletinItem[0].szContent[511], 'x');
        EXPECT_EQ(msg.bulletinItem[0].cChannelId[0], '\0');
    }
    web.OnTimer(g_testNow + 60);
    EXPECT_EQ(Received(players[0])[0].bytes.size(), 12 + 652 * 2u);
    web.OnTimer(g_testNow + 90);  // an empty pass also counts
    net.Deliver(Link(WEB), 0xB4, win);
    web.OnTimer(g_testNow + 119);
    EXPECT_TRUE(Received(players[0]).empty());
}

TEST_F(DirectoryTest, WinBulletinsOfTheWrongSizeAreDropped) {
    for (const size_t size : {639, 641}) {
        const std::string text =
            "buffer length is not match ! length[" + std::to_string(size) + "] != sizeof(576)";
        EXPECT_TRUE(
            Has(LogOf([&] { DeliverCut(WEB, 0xB4, WinCoinBulletinNotice{}, size); }), text));
    }
    EXPECT_EQ(lobby->GetWebServerHandler()->m_lBulletinItem.Size(), 0u);
    EXPECT_TRUE(Has(LogOf([&] { DeliverBytes(Link(WEB), 0xB9, std::string(8, '\0')); }),
                    "webserver response type invalid ! node[0x"));
}

TEST_F(DirectoryTest, SystemBulletinsKeepTheirOrder) {
    SysBulletinNotice msg{};
    msg.usBulletNum = 3;
    for (int i = 0; i < 3; ++i) {
        msg.bulletinItem[i].usBulletType = uint16_t(i);
        std::memset(msg.bulletinItem[i].cChannelId, 'c', sizeof(msg.bulletinItem[i].cChannelId));
        std::memset(msg.bulletinItem[i].szContent, 't', sizeof(msg.bulletinItem[i].szContent));
    }
    net.Deliver(Link(WEB), 0xB5, msg);
    auto& queue = lobby->GetWebServerHandler()->m_lBulletinItem;
    ASSERT_EQ(queue.Size(), 3u);
    for (int i = 0; i < 3; ++i) {
        WinCoinBulletinNotice_2 item;
        ASSERT_TRUE(queue.Take(item));
        EXPECT_EQ(item.usBulletType, i);
        EXPECT_EQ(item.cChannelId[16], 'c');
        EXPECT_EQ(item.szContent[511], 't');
    }
}
