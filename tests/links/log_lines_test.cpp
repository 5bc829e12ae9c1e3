// Operators filter by these lines: each with its level, its tag, and every figure in its place.
#include <functional>

#include "LobbyTest.h"
#include "PublisherMsg.h"
#include "activitySystem/Activity_Data_Msg.h"

namespace {

class LogLines : public LobbyTest {
  protected:
    struct Row {
        std::function<void()> work;
        std::vector<std::string> lines;
    };
    static void Expect(const std::vector<Row>& rows) {
        for (const Row& row : rows) {
            const std::string log = LogOf(row.work);
            for (const std::string& line : row.lines)
                EXPECT_TRUE(Has(log, line)) << line << "\nis not in\n" << log;
        }
    }
    static std::string Tag(const IPlayerNode* node) {
        char text[16];
        std::snprintf(text, sizeof(text), "[0x%08x]", PtrTag(node));
        return text;
    }
    static std::string Id(const LobbyPlayer* player) {
        return "[" + std::to_string(player->m_ulPlayerNodeId) + "]";
    }
    template <class T>
    std::function<void()> From(Port port, uint16_t type, const T& msg) {
        return [this, port, type, msg] { net.Deliver(Link(port), type, msg); };
    }
};

}  // namespace

TEST_F(LogLines, OfTheDirectories) {
    tagServerInfoNotice servers{};
    servers.usListCount = 1;
    servers.ServerInfoList[0] = {1,  2,  "room", "10.9.8.7", 11, 12, 13, 14,
                                 15, 16, 17,     18,         19, 20, 21, "dsn"};
    const std::string figures =
        "[1],[2],[room],[11],[12],[13],[14],[15], [16],[17],[10.9.8.7],[dsn],[18],[19],[20],[21] ";
    tagLoginMobileCenterSiteGameListMsg games{};
    games.iListCount = 1;
    games.GameList[0] = {7, 1, 1, 30, "game", "kind"};
    LobbyPlayer* const player = Login(10003, 7);
    const auto ask = [&](int user) {
        return [=, this] { net.Deliver(player, 0x9002, GameServerInfoReq{{}, user}); };
    };
    Expect({
        {From(CENTER, 0x9005, games),
         {"[DEBUG] [CenterServerHandler::OnCenterServerGameListNotice] "
          "LoginMibileCenterSiteGameListMsg size[0], gameID[1], siteID[7], szGamename[game]!",
          "[DEBUG] [InsertInfo] siteId[7], gameID[1], gamekind[1], typeID[30], gameName[game], "
          "szTypeName[kind]!"}},
        {From(CENTER, 0x9001, servers),
         {"gameid[1] serverid[2] servername[room] telecomip[10.9.8.7] port[17]\n",
          "[DEBUG] [ServerList::InsertInfo:] " + figures,
          "[DEBUG] [ServerList::refreshShowGameList] 站点[7] info:" + figures}},
        {From(CENTER, 0x9001, servers),
         {"[WARN] [ServerList::InsertInfo:] GameID [1], ServerID [2] have exsit in the "
          "PlayerList! "}},
        {ask(10003),
         {"[DEBUG] [ServerList::SendServerList] userid[10003] loginsiteid[7] mapsize[1]...",
          "[DEBUG] [ServerList::SendServerList] siteid[7] serversize[1].",
          "[DEBUG] [ServerList::SendServerList] gameid[1] serverid[2] servername[room] "
          "serverip[10.9.8.7] serverport[17] servertype[18] listcount[1] ucOpenFlag[19]",
          "=================== 1111111111 usIsFinish[1]===================="}},
        {[&] {
             g_testNow += 2;
             ask(10003)();
         },
         {"[ERROR] [HandleClientServerInfoReq] userid[10003] now[1700000002] "
          "lasttime[1700000000]."}},
        {ask(5), {"[ERROR] [HandleClientServerInfoReq] 玩家错误 userid[10003] req_iUserID[5]"}},
        {From(CENTER, 0x9002, tagUpdateServerInfo{{}, 1, 2, 40, 41}),
         {"[DEBUG] [ServerList::UpdateInfo] usGameID[1], usServerID[2], ucOpenFlag[41]"}},
        {From(CENTER, 0x9002, tagUpdateServerInfo{{}, 5, 6, 0, 0}),
         {"[ERROR] [ServerList::UpdateInfo] gameMap find error ! game_id[5], server_id[6]"}},
        {From(CENTER, 0xC805, tagServerCloseNotice{{}, 5, 6, 9}),
         {"[DEBUG] [CenterServerHandler::OnCenterServerCloseNotice] server close notice, "
          "game_id[5], server_id[6]",
          "[ERROR] [ServerList::CloseInfo] gameMap find error ! game_id[5], server_id[6]"}},
        {From(CENTER, 0x9004, tagTerminateNotice{{}, 5, 6}),
         {"[DEBUG] [CenterServerHandler::OnCenterTerminateNotice] server close notice, "
          "game_id[5], server_id[6]",
          "[ERROR] [ServerList::DeleteInfo:] GameID[5] ServerID[6] delete fail! "}},
        {From(CONFIG, 0xAD11, tagVipLevelConfigRes{{}, 1, 1, {{1, 100}}}),
         {"[DEBUG] [ConfigServerHandler::OnVipLevelConfigRes] vip level[1], recharge[100]"}},
        {From(CONFIG, 0xAD13, tagVipPhotoConfigRes{{}, 1, 1, {{6, 2}}}),
         {"[DEBUG] [ConfigServerHandler::OnVipPhotoConfigRes] vip photo_id[6], open_level[2]"}},
        {From(CONFIG, 0xAD27, tagLobbyStopSwitchRes{{}, 0}),
         {"[DEBUG] [ConfigServerHandler::OnConfigLobbySwitchRes] config_server return "
          "stop_switch[0] Success!"}},
        {[&] {
             WriteFile("compete_info.cfg",
                       "[compete_info]\nmonth_open_day=1\nmonth_open_hour=2\n"
                       "month_open_minute=3\nmonth_award_coin=4\nmonth_user_num=1,2,3,4,5\n"
                       "day_open_hour=6\nday_open_minute=7\nday_award_coin=8\n"
                       "day_max_free_count=9\nday_compete_cost_coin=10\nday_user_num=1,2\n");
             lobby->m_competeConfig.ReadConfig();
         },
         {"[ALL] [CompeteConfig::ReadConfig] month: openday[1] openhour[2] openminute[3] "
          "awardcoin[4] calcminute[123] turnnum[5]",
          "[ALL] [CompeteConfig::ReadConfig] day: openhour[6] openminute[7] awardcoin[8] "
          "calcminute[367] turnnum[2] maxfreecount[9] day_compete_cost[10]"}},
    });
}

TEST_F(LogLines, OfSessionsAndCoins) {
    LobbyPlayer* const player = Online(10002);
    const std::string tag = Tag(player);
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
    const std::string notice = "[LobbyServer::OnLobbyClientConnectNotice] ";
    const std::string refuse = "[ERROR] [HandleClientExchangeCoinReq] userid[10002] exchagecoin[";
    Expect({
        {[&] { Login(10009, 8); }, {"[DEBUG] " + notice + "userid[10009],  lobbysiteid[8], node["}},
        {[&] { Notice(player, 1); },
         {"[DEBUG] [LobbyServer::OnGameClientConnectNotice] node[",
          "] 玩家[10002]已经注册过 m_cLoginType[1]!!!!!!!"}},
        {[&] { Login(667); }, {"[DEBUG] " + notice, "iUserID = [667] ---禁用账号!"}},
        {[&] { net.Deliver(net.Connect(), 0xA1, Zeros(67)); },
         {"[ERROR] " + notice, "buffer length is not match ! length[67] != sizeof[68]"}},
        {[&] {
             lobby->m_iLobbyStopSwitch = 3;
             Login(10010);
             lobby->m_iLobbyStopSwitch = 0;
         },
         {"[ERROR] " + notice + "lobby stop[3] 停机维护"}},
        {From(QUEUE, USER_INFO_Q2L, InfoFor(player)),
         {"HandleUserInfoRes userid:10002, iFriendPropNum[26]\n",
          "[DEBUG] [QueueServerHandler::HandleUserInfoRes:] error[0], userid[10002] node" + tag +
              " gameCoin[1000], bankCoin[500] controlnum[77]"}},
        {From(QUEUE, 0xA004, refreshed),
         {"[DEBUG] [QueueServerHandler::OnRechargeRefreshCoin:] iUserId[5], node" + tag +
              ", iError[9], llCurGameCoin[1],iTotalRechageNum[2], bankcoin[3]",
          "[WARN] [QueueServerHandler::OnRechargeRefreshCoin:] userid[10002] controlnum[77] "
          "gamecoin[1000] bankcoin[500] rechagenum[2] curgamecoin[1] curbankcoin[3]"}},
        {From(WEB, 0xB1, RechargeSucessNotice{{}, 10002, 7, 8, 4, 6}),
         {"[DEBUG] [LobbyClientHandler::HandleRechargeSucessNotice] "
          "收到玩家[10002]充值类型[4]获得[6]成功消息,gameid[7],serverid[8]!!!"}},
        {From(WEB, 0xB3, SychUserLobbyData{{}, 10002, 7, 8, 9, 10}),
         {"[DEBUG] [LobbyClientHandler::HandleSychUserDataMsg] "
          "收到玩家[10002],gameid[7], serverid[8], type[9], value[10]"}},
        {From(WEB, 0xB2, BytesOf(consume) + text),
         {"收到玩家[10002],gameid[7], serverid[8], 消耗道具成功消息szConsumeNotice[" + text +
              "]!!!",
          "[WARN] [LobbyClientHandler::CallBackRechargeSuccess] userid[10002] type[4], "
          "value[3]"}},
        {exchange(10002, 5), {refuse + "5] to idrecv[10002] 转账id非法"}},
        {exchange(10005, 900), {refuse + "900] to idrecv[10005] illegal, firstcoin[1]"}},
        {exchange(10005, 1),
         {"[WARN] [HandleClientExchangeCoinReq] userid[10002] firstmoney[1] exchagecoin[1] to "
          "idrecv[10005] illegal."}},
        {[&] {
             g_testNow += 3;
             exchange(10006, 1)();
         },
         {refuse + "1] to idrecv[10006] illegal, now[1700000003] lasttime[1700000000]."}},
        {exchanged(10005),
         {"[WARN] [OnUserExchangeCoinRes] sendid[10002] exchangecoin[30] receiverid[10005] not in "
          "lobby.",
          "[WARN] [OnUserExchangeCoinRes] from userid[10002] exhangecoin[30] to "
          "receiverid[10005] res."}},
        {exchanged(10004),
         {"[WARN] [OnUserExchangeCoinRes] receiverid[10004] online receive exchagecoin[30] from "
          "userid[10002]."}},
    });
}

TEST_F(LogLines, OfFarmMessagesAndActivities) {
    constexpr int kActivity = 20180901;
    LobbyPlayer* const player = Online(10002);
    const std::string id = Id(player);
    const std::string node =
        "[" + std::to_string(static_cast<int>(NodeHandle(player))) + "] key[farm] publish";
    ClientSubscribeMsg subscribe{};
    std::strcpy(subscribe.szKey, "farm");
    const auto request = [&](uint16_t type) {
        return [=, this] { net.Deliver(player, type, subscribe); };
    };
    const BulletinTransferFarmNotice farm{{}, 3, 100, 9, "farm", {}};
    tagDBActivityConfigData row{};
    row.iActivityId = kActivity;
    row.isOpen = 1;
    const tagDBUserActivityProgressData record{1,  2,  kActivity, 4,  5,  6,  7,  8,  9,  10,
                                               11, 12, 13,        14, 15, 16, 17, 18, 19, 20};
    const std::string records =
        BytesOf(tagDBActivityProgressList{{}, NodeHandle(player), *player, 1, 0}) + BytesOf(record);
    const std::string stray = "[ERROR] [ActivitySystem::UpdateLobbyActivityProgressRes] ";
    Expect({
        {From(CONFIG, 0xAD29, BytesOf(WebFarmSubscribeKeyRes{{}, 1, 1}) + "farm" + Zeros(124)),
         {"[DEBUG] [ConfigServerHandler::OnSubscribeKeyRes] init[1] count[1]",
          "[DEBUG] [ConfigServerHandler::OnSubscribeKeyRes] init[1] key[farm]"}},
        {request(0xF2),
         {"[DEBUG] [LobbyClientHandler::subscribe] userid[10002] ulPlayerNodeId" + id +
          " key[farm] subscribe "}},
        {request(0xF2),
         {"[DEBUG] [LobbyClientHandler::subscribe] userid[10002] ulPlayerNodeId" + id +
          " key[farm] modify subscribe success "}},
        {From(WEB, 0xCF, farm),
         {"[DEBUG] [WebServerHandler::HandleFarmTransferMsg] user_id[9] main_id[3] sub_id[100] "
          "msg_key[farm] 转发农场消息",
          "user_id[9] main_id[3] sub_id[100] msg_key[farm] 转发推送消息",
          "[DEBUG] [LobbyServer::publish] user_id[10002] ulPlayerNode" + node}},
        {request(0xF3),
         {"[DEBUG] [LobbyClientHandler::unsubscribe] userid[10002] ulPlayerNodeId" + id,
          "[DEBUG] [LobbyClientHandler::unsubscribe] userid[10002] key[farm] unsubscribe "
          "success"}},
        {From(DATA, ACT_ACCOUNT_TYPE_RES, UserAccountTypeConfig{{}, 1, 2, 3, 4, 5, 6}),
         {"[DEBUG] [ActivitySystem::SetUserAccountTypeConfig] highpay[1], highyb[2], lowpay[3], "
          "lowyb[4], machineindex[5], playtimes[6]"}},
        {From(DATA, ACT_ACCOUNT_TYPE_RES, UserAccountTypeConfig{}), {}},
        {From(DATA, ACT_CONFIG_RES, BytesOf(tagDBSiteActivityList{{}, 1, 1}) + BytesOf(row)),
         {"[DEBUG] [ActivitySystem::SetActivityConfig] iActivityId : 20180901"}},
        {From(DATA, ACT_PROGRESS_RES, records),
         {"userid:10002, AddActivityProgress,iActivityId[20180901]!!!!!\n",
          "[DEBUG] [ActivitySystem::AddActivityProgress] userid[1], gameid[2], "
          "activityid[20180901], gamecoin[4], lotterynum[5], diamondnum[6], redpacketnum[7], "
          "progress[8,9,10,11,12,13,14,15,16,17], datetime[18], updatetime[19], isupdate[20]"}},
        {From(DATA, ACT_PROGRESS_RES, records),
         {"[ERROR] [ActivitySystem::AddActivityProgress] userid:10002, activityid:20180901 "
          "exist!"}},
        {From(DATA, ACT_SINGLE_PROGRESS_RES,
              LobbyActivitySingleProgressUpdateRes{
                  {}, 41, 42, 43, 44, 45, 46, 47, 48, record, 0, 0}),
         {stray + "iUserId:1, iActivityId:20180901, iError:41, iProgress:42, iLevel:43, "
                  "iConfig:44, iGameCoin:45, iGameCoinSourceId:46, iYuanBaoNum:47, "
                  "iYuanBaoNumSourceId:48",
          stray + "userid[1], gameid[2], Activity_id[20180901],iGameCoin[4],iLotterynum[5],"
                  "iDiamondnum[6],iRedpacketnum[7],iProgress1[8],iProgress2[9],iUpdateTime[19], "
                  "result[41]!"}},
        {[&] { lobby->UpdateActivityUserPropInfo(1, 2, 3, 4, 5, 6, 7); }, {}},
        {[&] {
             net.failSend = [](IPlayerNode*, uint16_t) { return true; };
             lobby->UpdateActivityUserPropInfo(1, 2, 3, 4, 5, 6, 7);
             net.failSend = nullptr;
         },
         {"[ERROR] [LobbyServer::UpdateActivityUserPropInfo] UserId[1],GameId[0],SiteID[2],"
          "ActivityID[3],sourceid[4], type[6], value[5], ClientType[7]"}},
    });
    const tagDBUpdateUserPropInfo booking{{}, 1, 2, 0, 0, 3, 6, 5, 4, 7, "", 0, 0, 0};
    EXPECT_EQ(Got(Link(QUEUE)), (Messages{{0xD084, BytesOf(booking)}}));
    net.Hangup(player);
}

TEST_F(LogLines, OfCloses) {
    LobbyPlayer* const player = Online(10002);
    const std::string tag = Tag(player);
    Expect({
        {From(CENTER, 0x9100, NoticeLobbyKickOut{{}, 10002}),
         {"[DEBUG] [CenterServerHandler::OnCenterNoticeKickOut] recv kickout userid[10002]",
          "[DEBUG] [LobbyServer::KickOutLobbyPlayer] userid[10002] playernode" + tag + " kickout"}},
        {[&] { net.Hangup(player, false); },
         {"[DEBUG] [LobbyServer::OnClosed] lobby client userid[10002] node" + tag,
          "[WARN] [LobbyClientHandler::OnClosed] client has been closed ! userid[10002], "
          "siteid[0], node" +
              tag + ", bClosed[0]"}},
    });
    const std::pair<Port, const char*> links[] = {
        {CENTER, "[CenterServerHandler::OnClosed] center server"},
        {WEB, "[WebServerHandler::OnClosed] web server"},
        {QUEUE, "[QueueServerHandler::OnClosed] authen server"},
        {DATA, "[DataServerHandler::OnClosed] database server"},
        {CONFIG, "[ConfigServerHandler::OnClosed] config server"},
        {LOG, "[LogServerHandler::OnClosed] log server"}};
    bool flag = false;
    for (const auto& [port, words] : links) {
        IPlayerNode* const link = Link(port);
        flag = !flag;
        Expect({{[&] { net.Hangup(link, flag); },
                 {std::string("[ERROR] ") + words + " has been closed ! bClosed[" +
                  (flag ? "1" : "0") + "], node" + Tag(link)}}});
    }
}
