#include "PublisherMsg.h"
#include "compete_msg.h"
#include "lobby_world.h"

TEST_F(LobbyTest, KeepAliveIsEchoedToPeersAndClientsAlike) {
    LobbyPlayer* player = Online(1);
    for (IPlayerNode* node : {static_cast<IPlayerNode*>(player), Link(QUEUE), Link(LOG)}) {
        DeliverBytes(node, 0xF0F1, std::string(8, '\0'));
        const Sent echo = Only(node);
        EXPECT_EQ(echo.type, 0xF0F1);
        EXPECT_EQ(echo.bytes.size(), 8u);
    }
}

TEST_F(LobbyTest, Type9000ClosesWhoeverSendsIt) {
    LobbyPlayer* player = Online(1);
    DeliverBytes(player, 0x9000, std::string(8, '\0'));
    EXPECT_TRUE(net.IsClosed(player));
    net.failCreatePort = CENTER;
    DeliverBytes(Link(CENTER), 0x9000, std::string(8, '\0'));
    net.Settle();
    EXPECT_EQ(Link(CENTER), nullptr);
}

TEST_F(LobbyTest, EveryClientMessageNumberHasItsHandlerAndNoOther) {
    LobbyPlayer* player = Online(1);
    const std::set<int> known = {0x50, 0xA1, 0xD3, 0xD5,   0xD7,   0xD9,   0xE1,
                                 0xE3, 0xE4, 0xE5, 0xE6,   0xE7,   0xE8,   0xEA,
                                 0xF0, 0xF2, 0xF3, 0x9000, 0x9002, 0xE012, 0xF0F1};
    for (int type = 0; type <= 0xFFFF; ++type) {
        if (type > 0x200 && !known.contains(type) && type % 0x101 != 0) continue;
        const std::string log = LogOf([&] { DeliverBytes(player, type, std::string(8, '\0')); });
        EXPECT_EQ(Has(log, "client  response type invalid !"), !known.contains(type))
            << std::hex << type;
        EXPECT_TRUE(Received(player).empty() || known.contains(type)) << std::hex << type;
        if (net.IsClosed(player)) {
            net.Settle();
            player = Online(1);
        }
    }
}

TEST_F(LobbyTest, UnknownTypeFromTheQueueServerIsDropped) {
    const std::string log = LogOf([&] { DeliverBytes(Link(QUEUE), 0x1234, std::string(8, 0)); });
    EXPECT_TRUE(Has(log, "databaseserver response type invalid !"));
    EXPECT_NE(Link(QUEUE), nullptr);
    EXPECT_TRUE(Has(LogOf([&] { lobby->OnNetMessage(nullptr, 1, nullptr, 0); }),
                    "OnNetMessage lpPlayerNode == NULL"));
}

TEST_F(LobbyTest, UnsubscribeTakesExactly144Bytes) {
    LobbyPlayer* player = Online(1);
    lobby->m_lSubscribeKeyInfo.push_back({"farm"});
    ClientSubscribeMsg msg{};
    std::strcpy(msg.szKey, "farm");
    net.Deliver(player, 0xF2, msg);
    ASSERT_EQ(lobby->m_mapPlayerToStrKey[1].size(), 1u);
    std::string bytes(reinterpret_cast<char*>(&msg), sizeof(msg));
    for (const size_t size : {143u, 145u}) {
        bytes.resize(size, '\0');
        const std::string log = LogOf([&] { DeliverBytes(player, 0xF3, bytes); });
        EXPECT_TRUE(Has(
            log, "CLIENT_UNSUBSCRIBE_MSG_C2S size[144] != length[" + std::to_string(size) + "]"));
    }
    EXPECT_EQ(lobby->m_mapPlayerToStrKey[1].size(), 1u);
    net.Deliver(player, 0xF3, msg);
    EXPECT_TRUE(lobby->m_mapPlayerToStrKey[1].empty());
}

TEST_F(LobbyTest, PeriodicJobsKeepTheirPace) {
    const auto count = [&](Port port, uint16_t type) {
        long n = 0;
        for (const Sent& sent : Received(Link(port)))
            n += sent.type == type;
        return n;
    };
    long keepAlives[6] = {}, switches = 0, keys = 0;
    const time_t start = g_testNow;
    for (; g_testNow <= start + 360; ++g_testNow) {
        net.Tick(g_testNow);
        int i = 0;
        for (const Port port : {CENTER, WEB, QUEUE, DATA, LOG}) {
            keepAlives[i++] += count(port, 0xF0F1);
        }
        for (const Sent& sent : Received(Link(CONFIG))) {
            keepAlives[5] += sent.type == 0xF0F1;
            switches += sent.type == 0xAD26;
            keys += sent.type == 0xAD28;
        }
        if (g_testNow == start + 179) {
            EXPECT_EQ(keys, 0);
        }
        if (g_testNow == start + 180) {
            EXPECT_EQ(keys, 1);
        }
    }
    for (const long n : keepAlives)
        EXPECT_EQ(n, 14);  // 25, 50 .. 350
    EXPECT_EQ(switches, 36);
    EXPECT_EQ(keys, 2);
}

TEST_F(LobbyTest, EveryLostLinkIsReopened) {
    const struct {
        Port port;
        const char* text;
    } links[] = {{CENTER, "center server"}, {WEB, "web server"},       {QUEUE, "authen server"},
                 {DATA, "database server"}, {CONFIG, "config server"}, {LOG, "log server"}};
    for (const auto& link : links) {
        IPlayerNode* const node = Link(link.port);
        net.failCreatePort = link.port;
        EXPECT_TRUE(Has(LogOf([&] { net.Hangup(node); }),
                        std::string(link.text) + " has been closed ! bClosed[1], node[0x"));
        EXPECT_EQ(Link(link.port), nullptr);
        net.failCreatePort = 0;
    }
    for (const auto& link : links)
        EXPECT_TRUE(WaitForLink(link.port)) << link.text;
    EXPECT_EQ(lobby->SendMsgToDataServer(0xD014, nullptr, 0), 1);
}

// A fault while a link comes up must neither lose it nor leave a dead node in its place.
TEST_F(LobbyTest, LinkThatCannotReceiveIsClosedAndOpenedAgain) {
    net.failCreatePort = QUEUE;
    net.Hangup(Link(QUEUE));
    net.failRecvPort = QUEUE;
    net.failCreatePort = 0;
    ASSERT_TRUE(WaitForLink(QUEUE));
    IPlayerNode* broken = Link(QUEUE);
    while (!net.IsClosed(broken))
        std::this_thread::yield();
    net.failRecvPort = 0;
    net.Settle();
    ASSERT_TRUE(WaitForLink(QUEUE));
    while (lobby->GetQueueServerHandler()->m_lpQueueServer == nullptr)
        std::this_thread::yield();
    EXPECT_FALSE(net.IsClosed(Link(QUEUE)));
}

class StartTest : public FolderTest {
  protected:
    // Starts a lobby on the given configuration; its standard error.
    std::string Start(const std::string& config, long expected) {
        Write("LobbyServer.cfg", config);
        ::testing::internal::CaptureStderr();
        MemoryNet net;
        net.failCreatePort = failCreate;
        net.failRecvPort = failRecv;
        {
            LobbyServer lobby(net.Parts());
            net.Attach(&lobby);
            EXPECT_EQ(lobby.Start(), expected) << config;
            opened = net.OpenedNodes();
            port = lobby.m_iPort;
        }
        interval = net.interval;
        timeout = net.timeout;
        return ::testing::internal::GetCapturedStderr();
    }
    static std::string Config(const std::string& leaveOut = "") {
        std::string text = "[connect]\n";
        int number = 9001;
        for (const char* key : {"center_server", "bulletin_server", "queue_server", "data_server",
                                "config_server", "log_server"}) {
            if (key != leaveOut)
                text += std::string(key) + "=h" + ":" + std::to_string(number) + "\n";
            ++number;
        }
        text += "[listen]\n";
        if (leaveOut != "addr") text += "addr=0.0.0.0:9100\n";
        return text + "[Redis]\nredis_server=127.0.0.1:1\n";
    }
    int failCreate = 0, failRecv = 0, port = 0;
    unsigned long interval = 0, timeout = 0;
    std::vector<MemoryNet::Opened> opened;
};

TEST_F(StartTest, OpensLinksInOrderAndTheListenerLast) {
    EXPECT_EQ(Start(Config(), 0).find("[connect]"), std::string::npos);
    ASSERT_EQ(opened.size(), 7u);
    for (int i = 0; i < 6; ++i) {
        EXPECT_EQ(opened[i].port, 9001 + i);
        EXPECT_FALSE(opened[i].listen);
        EXPECT_EQ(opened[i].timeoutMs, 5000u);
    }
    EXPECT_TRUE(opened[6].listen);
    EXPECT_EQ(opened[6].maxConnections, 10000u);
    EXPECT_EQ(port, 9100);
    EXPECT_EQ(interval, 20u);
    EXPECT_EQ(timeout, 120u);
}

TEST_F(StartTest, MissingOrWrongAddressEndsTheStartWithAPlainSentence) {
    for (const char* key : {"center_server", "bulletin_server", "queue_server", "data_server",
                            "config_server", "log_server"}) {
        EXPECT_TRUE(Start(Config(key), -1)
                        .find("LobbyServer.cfg: section [connect], key \"" + std::string(key) +
                              "\": missing") == 0);
        for (const auto& node : opened)
            EXPECT_FALSE(node.listen);
    }
    EXPECT_TRUE(Start(Config("addr"), -1).find("section [listen], key \"addr\": missing") > 0);
    EXPECT_EQ(opened.size(), 6u);
    const char* wrong[][2] = {{"a-host-name-that-is-too-long.example:1", "longer than"},
                              {"nohost", "not of the form"},
                              {":80", "not of the form"}};
    for (const auto& w : wrong) {
        EXPECT_NE(Start("[connect]\ncenter_server=" + std::string(w[0]) + "\n", -1).find(w[1]),
                  std::string::npos)
            << w[0];
    }
}

TEST_F(StartTest, FailedLinkOrListenerEndsTheStart) {
    for (const int bad : {9001, 9003, 9006, 9100}) {
        failCreate = bad;
        EXPECT_NE(Start(Config(), -1).find("Connection refused"), std::string::npos);
        EXPECT_EQ(opened.size(), static_cast<size_t>(bad == 9100 ? 6 : bad - 9001));
        failCreate = 0;
        failRecv = bad;
        Start(Config(), -1);
        failRecv = 0;
    }
}

TEST(LobbyPlayerTest, InitializeClearsAllButTokenAndChannel) {
    LobbyPlayer player;
    player.Initialize();
    const uint64_t first = player.m_ulPlayerNodeId;
    player.m_iUserID = 5;
    player.m_cLoginType = 1;
    player.m_bDelOnline = false;
    player.iLastGetCoinTime = player.m_tLastExchangeCoinTime = 9;
    player.m_lpPrior = player.m_lpNext = &player;
    std::strcpy(player.m_szToken, "token");
    std::strcpy(player.m_szChannelID, "channel");
    std::strcpy(player.szOutAccount, "account");
    player.Initialize();
    EXPECT_GT(player.m_ulPlayerNodeId, first);
    EXPECT_EQ(player.m_iUserID + player.m_cLoginType, 0);
    EXPECT_TRUE(player.m_bDelOnline);
    EXPECT_EQ(player.iLastGetCoinTime + player.m_tLastExchangeCoinTime, 0);
    EXPECT_TRUE(player.m_lpPrior == nullptr && player.m_lpNext == nullptr);
    EXPECT_STREQ(player.m_szToken, "token");
    EXPECT_STREQ(player.m_szChannelID, "channel");
    EXPECT_STREQ(player.szOutAccount, "");
}
