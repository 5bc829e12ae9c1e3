#include <thread>

#include "LobbyTest.h"
#include "SessionList.h"
#include "activitySystem/ActivitySystem.h"

TEST_F(LobbyTest, EveryClientMessageNumberHasItsHandlerAndNoOther) {
    LobbyPlayer* player = Online(1);
    const std::set<int> known = {0x50, 0xA1, 0xD3, 0xD5,   0xD7,   0xD9,   0xE1,
                                 0xE3, 0xE4, 0xE5, 0xE6,   0xE7,   0xE8,   0xEA,
                                 0xF0, 0xF2, 0xF3, 0x9000, 0x9002, 0xE012, 0xF0F1};
    for (int type = 0; type <= 0xFFFF; ++type) {
        if (type > 0x200 && !known.contains(type) && type % 0x101 != 0) continue;
        const std::string log = LogOf([&] { net.Deliver(player, type, Zeros(8)); });
        EXPECT_EQ(Has(log, "client  response type invalid !"), !known.contains(type))
            << std::hex << type;
        EXPECT_TRUE(Nothing(player) || known.contains(type)) << std::hex << type;
        if (net.IsClosed(player)) {
            net.Settle();
            player = Online(1);
        }
    }
}

TEST_F(LobbyTest, LinksLoseUnknownTypesAndAreClosedFor9000) {
    for (const Port link : LINKS) {
        net.Deliver(Link(link), 0x1234, Zeros(8));
        EXPECT_FALSE(net.IsClosed(Link(link))) << link;
    }
    net.failCreatePort = CENTER;
    net.Deliver(Link(CENTER), 0x9000, Zeros(8));
    EXPECT_TRUE(net.IsClosed(Link(CENTER)));
    EXPECT_TRUE(Has(LogOf([&] { lobby->OnNetMessage(nullptr, 1, nullptr, 0); }),
                    "OnNetMessage lpPlayerNode == NULL"));
}

TEST_F(LobbyTest, PeriodicJobsKeepTheirPace) {
    LobbyPlayer* players[] = {Online(1), Online(2)};
    std::map<std::pair<int, int>, std::vector<long>> sent;  // when, by link and type
    const time_t start = g_testNow;
    for (; g_testNow <= start + 360; ++g_testNow) {
        net.Tick(g_testNow);
        for (const Port link : LINKS) {
            for (const Sent& one : Got(Link(link)))
                sent[{link, one.type}].push_back(g_testNow - start);
        }
    }
    for (const Port link : LINKS)
        EXPECT_EQ((sent[{link, 0xF0F1}].size()), 14u) << link;  // 25, 50 .. 350
    EXPECT_EQ((sent[{CONFIG, 0xAD26}].size()), 36u);
    EXPECT_EQ((sent[{CONFIG, 0xAD28}]), (std::vector<long>{180, 360}));
    players[0]->m_bDelOnline = false;
    lobby->m_iLobbyStopSwitch = 1;
    net.Tick(start + 364);
    EXPECT_FALSE(net.IsClosed(players[0]));
    net.Tick(start + 365);
    for (LobbyPlayer* player : players) {
        const std::array notice{0, 0, player->m_iUserID, 1};
        EXPECT_EQ(Got(player), One(0xA8, notice));
        EXPECT_TRUE(net.IsClosed(player));
        EXPECT_TRUE(player->m_bDelOnline);
    }
}

// A fault while a link comes up must neither lose it nor leave a dead node in its place.
TEST_F(LobbyTest, LinkThatCannotReceiveIsClosedAndOpenedAgain) {
    net.failCreatePort = QUEUE;
    net.Hangup(Link(QUEUE));
    net.failRecvPort = QUEUE;
    net.failCreatePort = 0;
    ASSERT_TRUE(WaitForLink(QUEUE));
    IPlayerNode* broken = Link(QUEUE);
    ASSERT_TRUE(Eventually([&] { return net.IsClosed(broken); }));
    net.failRecvPort = 0;
    net.Settle();
    ASSERT_TRUE(WaitForLink(QUEUE));
    EXPECT_FALSE(net.IsClosed(Link(QUEUE)));
}

TEST_F(LobbyTest, StartOpensLinksInOrderAndTheListenerLast) {
    const std::vector<std::pair<int, unsigned long>> expected{
        {CENTER, 5000}, {WEB, 5000}, {QUEUE, 5000},  {DATA, 5000},
        {CONFIG, 5000}, {LOG, 5000}, {LISTEN, 10000}};
    EXPECT_EQ(net.opened, expected);
    EXPECT_EQ(lobby->m_iPort, LISTEN);
    EXPECT_EQ(std::pair(net.interval, net.timeout), std::pair(20ul, 120ul));
}

TEST_F(LobbyTest, FailedLinkOrListenerEndsTheStart) {
    lobby.reset();
    for (const Port bad : {CENTER, QUEUE, LOG, LISTEN}) {
        for (const bool connects : {false, true}) {
            MemoryNet other;
            (connects ? other.failRecvPort : other.failCreatePort) = bad;
            LobbyServer second(other.Parts());
            other.Attach(&second);
            ::testing::internal::CaptureStderr();
            EXPECT_EQ(second.Start(), -1) << bad;
            const std::string errors = ::testing::internal::GetCapturedStderr();
            EXPECT_EQ(Has(errors, "Connection refused"), !connects) << errors;
            if (connects) continue;
            EXPECT_EQ(other.opened.size(), bad == LISTEN ? 6u : size_t{bad} - CENTER);
        }
    }
}

struct WorkerTest : LobbyTest {
    RelayGuard relays;
    FarmKeys keys;
    GameSiteList sites;
    BulletinQueue bulletins;
    ServerList servers;
    CompeteConfig schedule;
    SessionList sessions;
    LinkList links;
    tagSiteMobileGameList site{};
    TerminateGameSiteInfo siteKey{};
    tagServerInfo info{};
    tagUpdateServerInfo update{};
    tagServerCloseNotice close{};
    tagTerminateNotice end{};
    WinCoinBulletinNotice_2 bulletin{};
    LobbyActivitySingleProgressUpdate progress{};
};

// Only debug and sanitizer builds look.
TEST_F(WorkerTest, NobodyElseCallsWhatBelongsToTheWorker) {
    if (!kThreadsChecked) GTEST_SKIP();
    const auto process = std::exchange(
        g_OnForeignThread, [](const char* function) { throw std::runtime_error(function); });
    LobbyPlayer* const player = Online(1);
    LobbyServer& server = *lobby;
    LobbyClientHandler* const clients = server.GetLobbyClientHandler();
    WebServerHandler* const web = server.GetWebServerHandler();
    ActivitySystem* const activities = ActivitySystem::getInstance();
    const std::pair<const char*, std::function<void()>> calls[] = {
        {"OnNetMessage", [&] { server.OnNetMessage(player, 1, nullptr, 0); }},
        {"OnClosed", [&] { server.OnClosed(player, true); }},
        {"OnTimer", [&] { server.OnTimer(1); }},
        {"OnLobbyClientConnectNotice", [&] { server.OnLobbyClientConnectNotice(player, 0, 0); }},
        {"CheckforClientIsReady", [&] { server.CheckforClientIsReady(player, 0); }},
        {"KickOutLobbyPlayer", [&] { server.KickOutLobbyPlayer(1, nullptr); }},
        {"KickOutAllLobbyPlayer", [&] { server.KickOutAllLobbyPlayer(); }},
        {"publish", [&] { server.publish("", {}); }},
        {"MayAsk", [&] { relays.MayAsk(*player, true); }},
        {"Refuse", [&] { relays.Refuse(player, 1, ""); }},
        {"OnTimer", [&] { activities->OnTimer(1); }},
        {"SetActivityConfig", [&] { activities->SetActivityConfig({}, true); }},
        {"UpdateLobbyActivityProgress", [&] { activities->UpdateLobbyActivityProgress(progress); }},
        {"RemoveActivityProgress", [&] { activities->RemoveActivityProgress(player); }},
        {"IsAllowed", [&] { keys.IsAllowed(""); }},
        {"Subscribe", [&] { keys.Subscribe(*player, ""); }},
        {"Unsubscribe", [&] { keys.Unsubscribe(*player, ""); }},
        {"DropEarly", [&] { keys.DropEarly(*player); }},
        {"SubscribersOf", [&] { keys.SubscribersOf(""); }},
        {"InsertInfo", [&] { sites.InsertInfo(site); }},
        {"DeleteInfo", [&] { sites.DeleteInfo(siteKey); }},
        {"Push", [&] { bulletins.Push(bulletin); }},
        {"Take", [&] { bulletins.Take(bulletin); }},
        {"InsertInfo", [&] { servers.InsertInfo(info, sites, false); }},
        {"UpdateInfo", [&] { servers.UpdateInfo(update, sites); }},
        {"CloseInfo", [&] { servers.CloseInfo(close, sites); }},
        {"DeleteInfo", [&] { servers.DeleteInfo(end, sites, false); }},
        {"refreshShowGameList", [&] { servers.refreshShowGameList(sites); }},
        {"SendServerList", [&] { servers.SendServerList(&server, player, sites); }},
        {"Level", [&] { server.GetVipLevel(1); }},
        {"OnTimer", [&] { schedule.OnTimer(1); }},
        {"Insert", [&] { sessions.Insert(player); }},
        {"Remove", [&] { sessions.Remove(player); }},
        {"Of", [&] { sessions.Of(1); }},
        {"OnNetMessage", [&] { clients->OnNetMessage(player, 1, nullptr, 0); }},
        {"OnLobbyClientConnectNotice", [&] { clients->OnLobbyClientConnectNotice(player); }},
        {"OnClosed", [&] { clients->OnClosed(player, true); }},
        {"SendMsgToPlayerByID", [&] { clients->SendMsgToPlayerByID(1, 1, nullptr, 0); }},
        {"SendMsgToAllLobbyClent", [&] { clients->SendMsgToAllLobbyClent(1, nullptr, 0); }},
        {"SendMsgToLogServer",
         [&] { server.GetLogServerHandler()->SendMsgToLogServer(1, nullptr, 0); }},
        {"Take", [&] { links.Take(player, 1, nullptr, 0); }},
        {"KeepAlive", [&] { web->KeepAlive(); }},
        {"OnClosed", [&] { web->OnClosed(player, true); }},
        {"OnTimer", [&] { web->OnTimer(1); }}};
    const WorkerThread here;
    for (const auto& [name, call] : calls) {
        std::string noticed;
        std::thread([&noticed, &call = call] {
            try {
                call();
            } catch (const std::runtime_error& fault) {
                noticed = fault.what();
            }
        }).join();
        EXPECT_EQ(noticed, name);
    }
    g_OnForeignThread = process;
}
