#include "LobbyTest.h"
#include "activitySystem/Activity_Data_Msg.h"

namespace {

// Ten servers of game 1.
tagServerInfoNotice Servers(uint16_t count) {
    tagServerInfoNotice msg{};
    msg.usListCount = count;
    for (tagServerInfo& info : msg.ServerInfoList) {
        std::memset(info.szServerName, 'n', sizeof(info.szServerName));
        info.usGameID = info.usLevel = 1;
        info.usServerID = static_cast<uint16_t>(&info - msg.ServerInfoList + 1);
    }
    return msg;
}

// A win bulletin full of text that differs from field to field, but for its gap.
std::string WinBulletin(char userId) {
    std::string bytes(sizeof(WinCoinBulletinNotice), '\0');
    for (size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<char>('a' + i % 23);
    bytes[offsetof(WinCoinBulletinNotice, iUserId)] = userId;
    return bytes.replace(10, 2, Zeros(2));
}

}  // namespace

TEST_F(LobbyTest, LinksRegisterWhenTheyComeUpAndAgainWhenTheyAreBack) {
    const Messages data{{ACT_REGISTER_REQ, Zeros(16)},
                        {ACT_CONFIG_REQ, Zeros(12)},
                        {ACT_ACCOUNT_TYPE_REQ, Zeros(8)}};
    const std::map<int, Messages> opening{{CENTER, One(0xA0, tagServerRegisterReq{{}, 3, 0, 0})},
                                          {WEB, One(0xA1, Zeros(16))},
                                          {QUEUE, {}},
                                          {DATA, data},
                                          {CONFIG, One(0xAD14, Zeros(8))},
                                          {LOG, {}}};
    EXPECT_EQ(first, opening);
    auto& servers = lobby->GetCenterServerHandler()->m_ServerList.m_gameServerMap;
    servers[3] = {};
    for (const auto& [port, messages] : opening)
        net.Hangup(Link(Port(port)));
    for (const auto& [port, messages] : opening) {
        ASSERT_TRUE(WaitForLink(Port(port))) << port;
        Messages sent;
        EXPECT_TRUE(Eventually([&, &messages = messages, &port = port] {
            for (const auto& message : Got(Link(Port(port))))
                sent.push_back(message);
            return sent == messages;
        })) << port;
    }
    EXPECT_EQ(servers.size(), 1u);
}

TEST_F(LobbyTest, CenterFeedsTheDirectories) {
    auto& handler = *lobby->GetCenterServerHandler();
    auto& sites = handler.m_GameSiteList.m_gameSiteMap;
    auto& shown = handler.m_ServerList.m_showSiteMap;
    tagLoginMobileCenterSiteGameListMsg games{};
    for (int i = 0; i < 50; ++i)
        games.GameList[i] = {7, i + 1, 1, 0, {}, {}};
    for (const int count : {51, -1, 50}) {
        games.iListCount = count;
        net.Deliver(Link(CENTER), 0x9005, games);
        EXPECT_EQ(sites.size(), count == 50 ? 50u : 0u);
    }
    for (const int count : {51, -1})
        net.Deliver(Link(CENTER), 0x9006,
                    tagLoginCenterSiteGameTerminateNotice{{}, count, {{7, 1}}});
    EXPECT_EQ(sites.size(), 50u);

    net.Deliver(Link(CENTER), 0x9001, Servers(10));
    EXPECT_EQ(shown[7].size(), 10u);
    net.Deliver(Link(CENTER), 0xC805, tagServerCloseNotice{{}, 1, 4, 9});
    EXPECT_EQ(shown[7][3].ucOpenFlag, 9);
    net.Deliver(Link(CENTER), 0x9002, tagUpdateServerInfo{{}, 1, 4, 321, 9});
    EXPECT_EQ(shown[7][3].usOnlineCount, 0);
    handler.refreshShowGameList();
    EXPECT_EQ(shown[7][3].usOnlineCount, 321);
    net.Deliver(Link(CENTER), 0x9004, tagTerminateNotice{{}, 99, 4});  // whatever the game id
    EXPECT_EQ(shown[7].size(), 9u);
    net.Deliver(Link(CENTER), 0x9006, tagLoginCenterSiteGameTerminateNotice{{}, 1, {{7, 1}}});
    EXPECT_EQ(sites.size(), 49u);
    EXPECT_EQ(shown[7].size(), 9u);  // until the next rebuild
    handler.refreshShowGameList();
    EXPECT_EQ(shown.count(7), 0u);
}

TEST_F(LobbyTest, CountsBeyondTheMessageReadNothingOutsideIt) {
    auto& handler = *lobby->GetCenterServerHandler();
    tagSiteMobileGameList offer{7, 1, 1, 0, {}, {}};
    handler.m_GameSiteList.InsertInfo(offer);
    DeliverCut(CENTER, 0x9001, Servers(65535), 12 + 2 * 116 + 40);
    EXPECT_EQ(handler.m_ServerList.m_gameServerMap.size(), 3u);
    EXPECT_EQ(handler.m_ServerList.m_showSiteMap[7].size(), 3u);

    tagLoginMobileCenterSiteGameListMsg games{};
    tagLoginCenterSiteGameTerminateNotice withdraw{};
    games.iListCount = withdraw.iSiteGameListCount = 50;
    for (const size_t size : {8, 9, 12, 13, 92}) {
        DeliverCut(CENTER, 0x9005, games, size);
        DeliverCut(CENTER, 0x9006, withdraw, size);
        DeliverCut(CENTER, 0x9001, Servers(65535), size);
    }
    EXPECT_FALSE(net.IsClosed(Link(CENTER)));
    for (const size_t size : {8, 9, 10, 11, 542, 543, 2670})
        DeliverCut(WEB, 0xB5, SysBulletinNotice{{}, 65535, {}}, size);
    EXPECT_EQ(lobby->GetWebServerHandler()->m_lBulletinItem.Size(), 9u);
    const std::pair<int, size_t> lists[] = {{INT32_MAX, 2}, {-1, 0}, {INT32_MIN, 0}, {1, 1}};
    for (const auto& [count, expected] : lists) {
        DeliverCut(CONFIG, 0xAD29, WebFarmSubscribeKeyRes{{}, 1, count}, 16 + 128 + 5);
        EXPECT_EQ(lobby->m_lSubscribeKeyInfo.size(), expected);
    }
}

TEST_F(LobbyTest, VipTablesBecomeVisibleWithTheLastMessage) {
    net.Deliver(Link(CONFIG), 0xAD15, tagVipFrameConfig{{}, 0, 2, {{1, 10}, {2, 20}}});
    EXPECT_TRUE(lobby->m_mapConfigVipFrame.empty());
    net.Deliver(Link(CONFIG), 0xAD15, tagVipFrameConfig{{}, 1, 2, {{2, 21}, {3, 30}}});
    ASSERT_EQ(lobby->m_mapConfigVipFrame.size(), 3u);
    EXPECT_EQ(lobby->m_mapConfigVipFrame[2].iLimitLv, 21);
    for (int i = 0; i < 2; ++i) {
        net.Deliver(Link(CONFIG), 0xAD15, tagVipFrameConfig{{}, 1, 0, {}});
        EXPECT_TRUE(lobby->m_mapConfigVipFrame.empty());
    }

    net.Deliver(Link(CONFIG), 0xAD11, tagVipLevelConfigRes{{}, 1, 65535, {{1, 100}}});
    EXPECT_EQ(lobby->m_mapConfigVipLevel, (std::map<int, int>{{0, 0}, {1, 100}}));
    net.Deliver(Link(CONFIG), 0xAD13, tagVipPhotoConfigRes{{}, 1, 1, {{6, 2}}});
    EXPECT_EQ(lobby->m_mapConfigVipPhoto[6].iLimitLv, 2);
}

TEST_F(LobbyTest, WrongSizesAndTypesAreLoggedAndDroppedAndCloseTheCenter) {
    LobbyPlayer* const player = Login(0x01010101);  // whom the messages would name
    const struct {
        Port port;
        uint16_t type;
        size_t size;
        std::string before, after;  // the size in the log
    } cases[] = {
        {CENTER, 0x9001, 1172, "length[", "] < sizeof(1172)"},
        {CENTER, 0x9002, 16, "OnCenterServerInfoUpdate] buffer length is not match ! length[",
         "] != sizeof(16)"},
        {CENTER, 0x9004, 12, "length[", "] != sizeof(12)"},
        {CENTER, 0xC805, 14, "length[", "] != sizeof(14)"},
        {CENTER, 0x9100, 12, "OnCenterServerInfoNotice] buffer length is not match ! length[",
         "] < sizeof(12)"},
        {WEB, 0xB4, 640, "length[", "] != sizeof(576)"},
        {WEB, 0xCF, 1172, "length[", "] != FarmNoticeClientMsg[1172]"},
        {CONFIG, 0xAD11, 172, "length[", "] = sizeof(172)"},
        {CONFIG, 0xAD27, 12, "length[", "] = sizeof(12)"}};
    for (const auto& c : cases) {
        for (const size_t size : {c.size + 1, c.size - 1}) {
            if (c.type == 0x9001 && size < c.size) continue;  // the one that may be shorter
            const std::string log =
                LogOf([&] { net.Deliver(Link(c.port), c.type, std::string(size, 1)); });
            EXPECT_TRUE(Has(log, c.before + std::to_string(size) + c.after)) << log;
            EXPECT_EQ(net.Reopen(Link(c.port)), c.port == CENTER) << std::hex << c.type;
        }
    }
    EXPECT_TRUE(Nothing(player));
    EXPECT_TRUE(lobby->GetCenterServerHandler()->m_ServerList.m_gameServerMap.empty());
    EXPECT_EQ(lobby->GetWebServerHandler()->m_lBulletinItem.Size(), 0u);
    EXPECT_TRUE(lobby->m_mapConfigVipLevel.empty());
    EXPECT_EQ(lobby->m_iLobbyStopSwitch, 0);
    net.Deliver(Link(CENTER), 0x9100, NoticeLobbyKickOut{{}, 0x01010101});
    EXPECT_TRUE(net.IsClosed(player));
    EXPECT_EQ(Got(player).back().type, 0xA8);
}

TEST_F(LobbyTest, BulletinsGoOutFiveAtATimeAtTheirPace) {
    LobbyPlayer* const players[] = {Login(1), Login(2)};
    auto& web = *lobby->GetWebServerHandler();
    std::vector<std::string> win, sys;  // as items of the message to clients
    for (char id = 0; id < 7; ++id) {
        net.Deliver(Link(WEB), 0xB4, WinBulletin(id));
        win.push_back(WinBulletin(id).substr(8) + Zeros(20));
    }
    std::string notice = Zeros(8) + '\3' + '\0';
    for (const char* type : {"a", "b", "c"}) {
        const std::string text(512, 't'), channel(17, 'c');
        notice += type + Zeros(1) + text + channel + Zeros(1);
        sys.push_back(type + Zeros(119) + text + channel + Zeros(3));
    }
    const auto message = [](const std::vector<std::string>& items) {
        std::string bytes = Zeros(8) + char(items.size()) + Zeros(3);
        for (const std::string& item : items)
            bytes += item;
        return Messages{{0xB4, bytes}};
    };
    const std::pair<int, Messages> ticks[] = {
        {0, {}},  // starts the clock
        {29, {}},  {30, message({win[6], win[5], win[4], win[3], win[2]})},
        {59, {}},  {60, message({win[1], win[0]})},
        {90, {}},  // an empty pass also counts
        {119, {}}, {120, message(sys)}};
    for (const auto& [after, expected] : ticks) {
        web.OnTimer(g_testNow + after);
        if (after == 90) net.Deliver(Link(WEB), 0xB5, notice);
        for (LobbyPlayer* player : players)
            EXPECT_EQ(Got(player), expected) << after;
    }
}
