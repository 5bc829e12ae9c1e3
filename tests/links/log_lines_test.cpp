// Operators filter by these lines, each with its level, its tag and every figure in its place: what
// a step logs stands whole in log_lines.txt, under its name.
#include <deque>
#include <functional>
#include <regex>

#include "LobbyTest.h"
#include "PublisherMsg.h"
#include "activitySystem/Activity_Data_Msg.h"

namespace {

class LogLines : public LobbyTest {
  protected:
    using Work = std::function<void()>;

    // Its node is told as NAME, as NAME-NUMBER in decimals and as NAME-SHORT without zeros before,
    // and its id is one that nothing else has; other nodes are told as NODE.
    template <class Node>
    Node* Named(Node* node, const std::string& name) {
        char tag[24];
        std::snprintf(tag, sizeof(tag), "(0x)?%08x", PtrTag(node));
        m_told.emplace_front(std::regex(tag), name);
        m_meant.emplace_back(name + "-NUMBER", std::to_string(int(NodeHandle(node))));
        std::snprintf(tag, sizeof(tag), "%x", PtrTag(node));
        m_meant.emplace_back(name + "-SHORT", std::strlen(tag) == 8 ? name : tag);
        static_cast<LobbyPlayer*>(static_cast<IPlayerNode*>(node))->m_ulPlayerNodeId = 7777;
        return node;
    }
    void Expect(const std::vector<std::pair<std::string, Work>>& steps) {
        for (const auto& [name, work] : steps) {
            std::string log = LogOf(work);
            log = std::regex_replace(log, m_dress, "") + (log.ends_with('\n') ? "" : "\n");
            for (const auto& [own, told] : m_told)
                log = std::regex_replace(log, own, told);
            std::string expected = m_all.substr(m_all.find("\n== " + name + '\n') + 1);
            expected.erase(expected.find("\n== ") + 1);
            for (const auto& [told, own] : m_meant)
                expected = std::regex_replace(expected, std::regex(told), own);
            EXPECT_EQ("== " + name + '\n' + log, expected);
        }
    }
    Work From(Port port, uint16_t type, const auto& msg) {
        return [this, port, type, msg] { net.Deliver(Link(port), type, msg); };
    }

  private:
    const std::string m_all = ReadFile(LOG_LINES) + "== ";
    const std::regex m_dress{
        "\r|\x1b\\[\\d+m[^\x1b]*\x1b\\[0m\r?\n?|\\d{4}(-\\d\\d){2} \\d\\d(:\\d\\d){2} "};
    std::deque<std::pair<std::regex, std::string>> m_told{{std::regex("0x[0-9a-f]{8}"), "NODE"}};
    std::vector<std::pair<std::string, std::string>> m_meant;
};

}  // namespace

TEST_F(LogLines, OfTheDirectories) {
    tagServerInfoNotice servers{};
    servers.usListCount = 1;
    servers.ServerInfoList[0] = {1,  2,  "room", "10.9.8.7", 11, 12, 13, 14,
                                 15, 16, 17,     18,         19, 20, 21, "dsn"};
    tagLoginMobileCenterSiteGameListMsg games{};
    games.iListCount = 1;
    games.GameList[0] = {7, 1, 1, 30, "game", "kind"};
    LobbyPlayer* const player = Named(Login(10003, 7), "PLAYER");
    const auto ask = [&](int user) {
        return [=, this] { net.Deliver(player, 0x9002, GameServerInfoReq{{}, user}); };
    };
    WriteFile("compete_info.cfg",
              "[compete_info]\nmonth_open_day=1\nmonth_open_hour=2\nmonth_open_minute=3\n"
              "month_award_coin=4\nmonth_user_num=1,2,3,4,5\nday_open_hour=6\nday_open_minute=7\n"
              "day_award_coin=8\nday_max_free_count=9\nday_compete_cost_coin=10\n"
              "day_user_num=1,2\n");
    Expect({
        {"games of a site", From(CENTER, 0x9005, games)},
        {"a server", From(CENTER, 0x9001, servers)},
        {"the server again", From(CENTER, 0x9001, servers)},
        {"list asked for", ask(10003)},
        {"list asked for by another", ask(5)},
        {"server changed", From(CENTER, 0x9002, tagUpdateServerInfo{{}, 1, 2, 40, 41})},
        {"unknown server changed", From(CENTER, 0x9002, tagUpdateServerInfo{{}, 5, 6, 0, 0})},
        {"unknown server closed", From(CENTER, 0xC805, tagServerCloseNotice{{}, 5, 6, 9})},
        {"unknown server gone", From(CENTER, 0x9004, tagTerminateNotice{{}, 5, 6})},
        {"vip level", From(CONFIG, 0xAD11, tagVipLevelConfigRes{{}, 1, 1, {{1, 100}}})},
        {"vip photo", From(CONFIG, 0xAD13, tagVipPhotoConfigRes{{}, 1, 1, {{6, 2}}})},
        {"stop switch", From(CONFIG, 0xAD27, tagLobbyStopSwitchRes{{}, 0})},
        {"tournament", [&] { lobby->m_competeConfig.ReadConfig(); }},
    });
    g_testNow += 2;
    Expect({{"list asked for too soon", ask(10003)}});
}

TEST_F(LogLines, OfSessionsAndCoins) {
    LobbyPlayer* const player = Named(Online(10002), "PLAYER");
    IPlayerNode* const stranger = Named(net.Connect(), "STRANGER");
    const auto exchange = [&](int to, int64_t amount) {
        return [=, this] { net.Deliver(player, 0x50, ExchangeGameCoinReq{{}, to, amount}); };
    };
    const auto exchanged = [&](int to) {
        QueueExchangeCoinRes res{{}, 0, 0, 0, 10002, to, 30};
        SetSession(res, player);
        return From(QUEUE, 0x5A51, res);
    };
    RechargeRefresRes_trans refreshed{{}, 5, 9, 1, 2, 3, 0, 0};
    SetSession(refreshed, player);
    Online(10004);
    const std::string text = R"({"wsGainList":[{"type":4,"number":3}]})";
    const ConsumeSucessNotice consume{{}, 10002, 7, 8, static_cast<int>(text.size())};
    Expect({
        {"notice", [&] { Login(10009, 8); }},
        {"second notice", [&] { Notice(player, 1); }},
        {"notice of a disabled account", [&] { Notice(stranger, 667); }},
        {"notice cut", [&] { net.Deliver(net.Connect(), 0xA1, Zeros(67)); }},
        {"login answered", From(QUEUE, USER_INFO_Q2L, InfoFor(player))},
        {"refreshed", From(QUEUE, 0xA004, refreshed)},
        {"recharged", From(WEB, 0xB1, RechargeSucessNotice{{}, 10002, 7, 8, 4, 6})},
        {"synchronized", From(WEB, 0xB3, SychUserLobbyData{{}, 10002, 7, 8, 9, 10})},
        {"consumed", From(WEB, 0xB2, BytesOf(consume) + text)},
        {"exchange with oneself", exchange(10002, 5)},
        {"exchange of too much", exchange(10005, 900)},
        {"exchange", exchange(10005, 1)},
        {"exchange too soon",
         [&] {
             g_testNow += 3;
             exchange(10006, 1)();
         }},
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
    const auto request = [&](uint16_t type) {
        return [=, this] { net.Deliver(player, type, subscribe); };
    };
    const BulletinTransferFarmNotice farm{{}, 3, 100, 9, "farm", {}};
    tagDBActivityConfigData row{};
    row.iActivityId = kActivity;
    row.isOpen = 1;
    const tagDBUserActivityProgressData record{1,  2,  kActivity, 4,  5,  6,  7,  8,  9,  10,
                                               11, 12, 13,        14, 15, 16, 17, 18, 19, 20};
    const auto records =
        From(DATA, ACT_PROGRESS_RES,
             BytesOf(tagDBActivityProgressList{{}, NodeHandle(player), *player, 1, 0}) +
                 BytesOf(record));
    const LobbyActivitySingleProgressUpdateRes stray{{}, 41, 42, 43,     44, 45,
                                                     46, 47, 48, record, 0,  0};
    const auto book = [&] { lobby->UpdateActivityUserPropInfo(1, 2, 3, 4, 5, 6, 7); };
    Expect({
        {"keys",
         From(CONFIG, 0xAD29, BytesOf(WebFarmSubscribeKeyRes{{}, 1, 1}) + "farm" + Zeros(124))},
        {"subscribed", request(0xF2)},
        {"subscribed again", request(0xF2)},
        {"published", From(WEB, 0xCF, farm)},
        {"unsubscribed", request(0xF3)},
        {"account types",
         From(DATA, ACT_ACCOUNT_TYPE_RES, UserAccountTypeConfig{{}, 1, 2, 3, 4, 5, 6})},
        {"no account types", From(DATA, ACT_ACCOUNT_TYPE_RES, UserAccountTypeConfig{})},
        {"activity",
         From(DATA, ACT_CONFIG_RES, BytesOf(tagDBSiteActivityList{{}, 1, 1}) + BytesOf(row))},
        {"progress", records},
        {"progress again", records},
        {"stray progress", From(DATA, ACT_SINGLE_PROGRESS_RES, stray)},
        {"booking", book},
    });
    const tagDBUpdateUserPropInfo booking{{}, 1, 2, 0, 0, 3, 6, 5, 4, 7, "", 0, 0, 0};
    EXPECT_EQ(Got(Link(QUEUE)), (Messages{{0xD084, BytesOf(booking)}}));
    net.failSend = [](IPlayerNode*, uint16_t) { return true; };
    Expect({{"booking that fails", book}});
    net.Hangup(player);
}

TEST_F(LogLines, OfCloses) {
    LobbyPlayer* const player = Named(Online(10002), "PLAYER");
    Expect({{"kick-out", From(CENTER, 0x9100, NoticeLobbyKickOut{{}, 10002})},
            {"close of a player", [&] { net.Hangup(player, false); }}});
    lobby->m_Reconnect.Stop();  // it would open them again, and say so, meanwhile
    bool flag = false;
    for (const auto& [port, name] : {std::pair{CENTER, "CENTER"},
                                     {WEB, "WEB"},
                                     {QUEUE, "QUEUE"},
                                     {DATA, "DATA"},
                                     {CONFIG, "CONFIG"},
                                     {LOG, "LOG"}}) {
        IPlayerNode* const link = Named(Link(port), name);
        flag = !flag;
        Expect({{std::string("close of ") + name, [&] { net.Hangup(link, flag); }}});
    }
}
