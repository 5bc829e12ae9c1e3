// Operators filter by these lines, each with its level, its tag and every figure in its place: what
// a step logs stands whole in log_lines.txt, under its name.
#include <deque>
#include <functional>
#include <regex>

#include "LobbyTest.h"
#include "PublisherMsg.h"
#include "activitySystem/Activity_Data_Msg.h"
#include "compete_msg.h"

namespace {

class LogLines : public LobbyTest {
  protected:
    using Work = std::function<void()>;

    // Its node is told as NAME, without 0x as NAME-SHORT, in decimals as NAME-NUMBER, and its id is
    // one that nothing else has; other nodes are told as NODE.
    template <class Node>
    Node* Named(Node* node, const std::string& name) {
        const unsigned tag = PtrTag(node);
        char text[32];
        // Where a node is meant, for it may be 0.
        std::snprintf(text, sizeof(text), "Node\\[%d\\]", static_cast<int>(tag));
        m_told.emplace_front(text, "Node[" + name + "-NUMBER]");
        std::snprintf(text, sizeof(text), "node\\[%x\\]", tag);
        m_told.emplace_front(text, "node[" + name + "-SHORT]");
        std::snprintf(text, sizeof(text), "0x%08x", tag);
        m_told.emplace_front(text, name);
        static_cast<LobbyPlayer*>(static_cast<IPlayerNode*>(node))->m_ulPlayerNodeId = 7777;
        return node;
    }
    void Expect(const std::vector<std::pair<std::string, Work>>& steps) {
        for (const auto& [name, work] : steps) {
            std::string log = LogOf(work);
            log = std::regex_replace(log, m_dress, "") + (log.ends_with('\n') ? "" : "\n");
            for (const auto& [own, told] : m_told)
                log = std::regex_replace(log, std::regex(own), told);
            std::string expected = m_all.substr(m_all.find("\n== " + name + '\n') + 1);
            expected.erase(expected.find("\n== ") + 1);
            EXPECT_EQ("== " + name + '\n' + log, expected);
        }
    }
    Work By(IPlayerNode* node, uint16_t type, const auto& msg) {
        return [this, node, type, msg] { net.Deliver(node, type, msg); };
    }
    Work From(Port port, uint16_t type, const auto& msg) { return By(Link(port), type, msg); }

  private:
    const std::string m_all = ReadFile(LOG_LINES) + "== ";
    const std::regex m_dress{
        "\r|\x1b\\[\\d+m[^\x1b]*\x1b\\[0m\r?\n?|\\d{4}(-\\d\\d){2} \\d\\d(:\\d\\d){2} "};
    std::deque<std::pair<std::string, std::string>> m_told{{"0x[0-9a-f]{8}", "NODE"}};
};

}  // namespace

TEST_F(LogLines, OfTheDirectories) {
    tagServerInfoNotice servers{};
    servers.usListCount = 1;
    servers.ServerInfoList[0] = {1,  2,  "room", "10.9.8.7", 11, 12, 13, 14,
                                 15, 16, 17,     18,         19, 20, 21, "dsn"};
    const tagLoginMobileCenterSiteGameListMsg games{{}, 1, {{7, 1, 1, 30, "game", "kind"}}};
    LobbyPlayer* const player = Named(Login(10003, 7), "PLAYER");
    WriteFile("compete_info.cfg",
              "[compete_info]\nmonth_open_day=1\nmonth_open_hour=2\nmonth_open_minute=3\n"
              "month_award_coin=4\nmonth_user_num=1,2,3,4,5\nday_open_hour=6\nday_open_minute=7\n"
              "day_award_coin=8\nday_max_free_count=9\nday_compete_cost_coin=10\n"
              "day_user_num=1,2\n");
    Expect({
        {"games of a site", From(CENTER, 0x9005, games)},
        {"too many games", From(CENTER, 0x9005, Zeros(8) + BytesOf(51))},
        {"too many games gone", From(CENTER, 0x9006, Zeros(8) + BytesOf(52))},
        {"a server", From(CENTER, 0x9001, servers)},
        {"the server again", From(CENTER, 0x9001, servers)},
        {"list asked for", By(player, 0x9002, GameServerInfoReq{{}, 10003})},
        {"list asked for by another", By(player, 0x9002, GameServerInfoReq{{}, 5})},
        {"server changed", From(CENTER, 0x9002, tagUpdateServerInfo{{}, 1, 2, 40, 41})},
        {"unknown server changed", From(CENTER, 0x9002, tagUpdateServerInfo{{}, 5, 6, 0, 0})},
        {"unknown server closed", From(CENTER, 0xC805, tagServerCloseNotice{{}, 5, 6, 9})},
        {"unknown server gone", From(CENTER, 0x9004, tagTerminateNotice{{}, 5, 6})},
        {"vip level", From(CONFIG, 0xAD11, tagVipLevelConfigRes{{}, 1, 1, {{1, 100}}})},
        {"vip frame", From(CONFIG, 0xAD15, tagVipFrameConfig{{}, 1, 1, {{3, 30}}})},
        {"vip photo", From(CONFIG, 0xAD13, tagVipPhotoConfigRes{{}, 1, 1, {{6, 2}}})},
        {"unknown type from the center", From(CENTER, 0x9999, Zeros(8))},
        {"unknown type from the web", From(WEB, 0xB9, Zeros(8))},
        {"unknown type from the queue", From(QUEUE, 0x1234, Zeros(8))},
        {"unknown type from the configuration", From(CONFIG, 0xAD99, Zeros(8))},
        {"stop switch", From(CONFIG, 0xAD27, tagLobbyStopSwitchRes{{}, 0})},
        {"tournament", [&] { lobby->m_competeConfig.ReadConfig(); }},
    });
    g_testNow += 2;
    Expect({{"list asked for too soon", By(player, 0x9002, GameServerInfoReq{{}, 10003})}});
}

TEST_F(LogLines, OfSessionsAndCoins) {
    LobbyPlayer* const player = Named(Online(10002), "PLAYER");
    IPlayerNode* const stranger = Named(net.Connect(), "STRANGER");
    const auto exchanged = [&](int to) {
        QueueExchangeCoinRes res{{}, 0, 0, 0, 10002, to, 30};
        SetSession(res, player);
        return From(QUEUE, 0x5A51, res);
    };
    RechargeRefresRes_trans refreshed{{}, 5, 9, 1, 2, 3, 0, 0};
    SetSession(refreshed, player);
    Online(10004);
    char bytes[12] = {};
    const std::string text = R"({"wsGainList":[{"type":4,"number":3}]})";
    const ConsumeSucessNotice consume{{}, 10002, 7, 8, static_cast<int>(text.size())};
    Expect({
        {"notice", [&] { Login(10009, 8); }},
        {"second notice", [&] { Notice(player, 1); }},
        {"notice of a disabled account", [&] { Notice(stranger, 667); }},
        {"notice cut", By(net.Connect(), 0xA1, Zeros(67))},
        {"login answered", From(QUEUE, USER_INFO_Q2L, InfoFor(player))},
        {"refreshed", From(QUEUE, 0xA004, refreshed)},
        {"recharged", From(WEB, 0xB1, RechargeSucessNotice{{}, 10002, 7, 8, 4, 6})},
        {"synchronized", From(WEB, 0xB3, SychUserLobbyData{{}, 10002, 7, 8, 9, 10})},
        {"recharged, cut", From(WEB, 0xB1, Zeros(27))},
        {"consumed without a text", From(WEB, 0xB2, consume)},
        {"consumed", From(WEB, 0xB2, BytesOf(consume) + text)},
        {"message to nobody", [&] { lobby->SendMsgToPlayerByID(5, 0xB5, bytes, 12); }},
        {"message of nothing", [&] { lobby->SendMsgToPlayerByID(10002, 0xB5, nullptr, 12); }},
        {"message", [&] { lobby->SendMsgToPlayerByID(10002, 0xB5, bytes, 12); }},
        {"take, cut", By(player, BANK_GET_COIN_C2S, Zeros(5))},
        {"exchange with oneself", By(player, 0x50, ExchangeGameCoinReq{{}, 10002, 5})},
        {"exchange of too much", By(player, 0x50, ExchangeGameCoinReq{{}, 10005, 900})},
        {"exchange", By(player, 0x50, ExchangeGameCoinReq{{}, 10005, 1})},
    });
    g_testNow += 3;
    Expect({
        {"exchange too soon", By(player, 0x50, ExchangeGameCoinReq{{}, 10006, 1})},
        {"exchanged without bytes",
         [&] { lobby->GetQueueServerHandler()->OnUserExchangeCoinRes(nullptr, 0); }},
        {"exchanged with someone elsewhere", exchanged(10005)},
        {"exchanged", exchanged(10004)},
    });
    lobby->m_iLobbyStopSwitch = 3;
    Expect({{"notice in a maintenance", [&] { Login(10010); }}});
}

TEST_F(LogLines, OfFarmMessagesAndActivities) {
    constexpr int kActivity = 20180901;
    LobbyPlayer* const player = Named(Online(10002), "PLAYER");
    const ClientSubscribeMsg subscribe{{}, 0, 0, "farm"};
    const BulletinTransferFarmNotice farm{{}, 3, 100, 9, "farm", {}};
    tagDBActivityConfigData row{};
    row.iActivityId = kActivity;
    row.isOpen = 1;
    const tagDBUserActivityProgressData record{1,  2,  kActivity, 4,  5,  6,  7,  8,  9,  10,
                                               11, 12, 13,        14, 15, 16, 17, 18, 19, 20};
    const tagDBActivityProgressList head{{}, NodeHandle(player), *player, 1, 0};
    const auto records = From(DATA, 0xD013, BytesOf(head) + BytesOf(record));
    const LobbyActivitySingleProgressUpdateRes stray{{}, 41, 42, 43,     44, 45,
                                                     46, 47, 48, record, 0,  0};
    const auto book = [&] { lobby->UpdateActivityUserPropInfo(1, 2, 3, 4, 5, 6, 7); };
    Expect({
        {"keys",
         From(CONFIG, 0xAD29, BytesOf(WebFarmSubscribeKeyRes{{}, 1, 1}) + "farm" + Zeros(124))},
        {"subscribed", By(player, 0xF2, subscribe)},
        {"subscribed again", By(player, 0xF2, subscribe)},
        {"published", From(WEB, 0xCF, farm)},
        {"unsubscribed", By(player, 0xF3, subscribe)},
        {"unsubscribed, too long", By(player, 0xF3, Zeros(145))},
        {"account types", From(DATA, 0xD009, UserAccountTypeConfig{{}, 1, 2, 3, 4, 5, 6})},
        {"no account types", From(DATA, 0xD009, UserAccountTypeConfig{})},
        {"activity", From(DATA, 0xD011, BytesOf(tagDBSiteActivityList{{}, 1, 1}) + BytesOf(row))},
        {"progress", records},
        {"progress again", records},
        {"stray progress", From(DATA, 0xD021, stray)},
        {"booking", book},
    });
    const tagDBUpdateUserPropInfo booking{{}, 1, 2, 0, 0, 3, 6, 5, 4, 7, "", 0, 0, 0};
    EXPECT_EQ(Got(Link(QUEUE)), One(0xD084, booking));
    net.failSend = [](IPlayerNode*, uint16_t) { return true; };
    Expect({{"booking that fails", book}});
    net.Hangup(player);
}

TEST_F(LogLines, OfClosesAndOfWhatIsToBeSentOnLostLinks) {
    LobbyPlayer* const stays = Online(31);
    LobbyPlayer* const player = Named(Online(10002), "PLAYER");
    Expect({{"kick-out", From(CENTER, 0x9100, NoticeLobbyKickOut{{}, 10002})},
            {"close of a player", [&] { net.Hangup(player, false); }}});
    lobby->m_Reconnect.Stop();  // it would open them again, and say so, meanwhile
    static constexpr const char* kNames[] = {"CENTER", "WEB", "QUEUE", "DATA", "CONFIG", "LOG"};
    for (int port = CENTER; port <= LOG; ++port) {
        const std::string name = kNames[port - CENTER];
        IPlayerNode* const link = Named(Link(Port(port)), name);
        Expect({{"close of " + name, [&] { net.Hangup(link, port % 2 != 0); }}});
    }
    net.failCreatePort = WEB;
    char record[48] = {};
    Expect({
        {"registration is lost", [&] { lobby->GetWebServerHandler()->ConnectServer(); }},
        {"record is lost",
         [&] { lobby->GetLogServerHandler()->SendMsgToLogServer(0x5A48, record, 48); }},
        {"tournament is lost", By(stays, 0xF0, ClientLobbyCompeteReq{{}, 32})},
    });
}
