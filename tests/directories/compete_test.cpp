#include "DirectoryWorld.h"
#include "compete_msg.h"

namespace {

constexpr char kSchedule[] =
    "[compete_info]\nmonth_open_day=15\nmonth_open_hour=20\nmonth_open_minute=30\n"
    "month_award_coin=5000\nmonth_user_num=900,800,700,600,500,400,300,200,100\n"
    "day_open_hour=12\nday_open_minute=5\nday_award_coin=70\nday_max_free_count=3\n"
    "day_user_num=16,x,4\n";

// Noon, local time, of a day of July 2026.
time_t Noon(int day) {
    tm t{};
    t.tm_year = 126;
    t.tm_mon = 6;
    t.tm_mday = day;
    t.tm_hour = 12;
    t.tm_isdst = -1;
    return mktime(&t);
}

class CompeteTest : public DirectoryTest {};

}  // namespace

TEST_F(FolderTest, ScheduleIsReadAtOnceAndEveryFifteenMinutes) {
    Write("compete_info.cfg", kSchedule);
    CompeteConfig config;
    const std::string log = LogOf([&] { config.OnTimer(1'000'000); });
    EXPECT_EQ(config.m_usMonthTurnNum, 9);
    EXPECT_EQ(config.m_vDayTurnsUsers, (std::vector<int32_t>{16, 0, 4}));
    EXPECT_EQ(config.GetCalcMonthMinute(), 20 * 60 + 30);
    EXPECT_EQ(config.GetCalcDayMinute(), 12 * 60 + 5);
    EXPECT_EQ(config.m_iDayCompeteCostCoin, 1000);
    EXPECT_NE(log.find("\nday turn users:16, 0, 4\n"), std::string::npos);

    Write("compete_info.cfg",
          "[compete_info]\nday_compete_cost_coin=5\nday_open_hour=2147483647\n");
    config.OnTimer(1'000'899);
    EXPECT_EQ(config.m_iMonthOpenDay, 15);
    config.OnTimer(1'000'900);
    EXPECT_EQ(config.m_iMonthOpenDay, 0);
    EXPECT_EQ(config.m_usMonthTurnNum, 0);
    EXPECT_TRUE(config.m_vMonthTurnsUsers.empty());
    EXPECT_EQ(config.m_iDayCompeteCostCoin, 5);

    std::filesystem::remove("compete_info.cfg");
    EXPECT_NE(LogOf([&] { config.OnTimer(1'001'800); }).find("compete_info.cfg init failed"),
              std::string::npos);
    EXPECT_EQ(config.m_iDayCompeteCostCoin, 5);
}

TEST_F(CompeteTest, AnswerCarriesTheTournamentOfTheDay) {
    Write("compete_info.cfg", kSchedule);
    lobby->m_competeConfig.ReadConfig();
    LobbyPlayer* const player = Login(31);
    Received(Link(QUEUE));
    ClientLobbyCompeteReq req{{}, 31};
    net.Deliver(player, 0xF0, req);
    const auto asked = Received(Link(QUEUE));
    ASSERT_EQ(asked.size(), 1u);
    EXPECT_EQ(asked[0].type, 0xA005);
    EXPECT_EQ(asked[0].bytes.size(), 28u);
    EXPECT_EQ(asked[0].At<int32_t>(8), 31);

    CompeteLobbyUserInfoRes figures{{}, 2, 31, 1, 5, 6, 77, 8, 1, 4000, {}, 0, 0};
    std::memset(figures.szServerIp, '9', sizeof(figures.szServerIp));
    figures.ulPlayerNode = asked[0].At<uint64_t>(12);
    figures.ulPlayerNodeId = asked[0].At<uint64_t>(20);
    const struct {
        int day, type, openDay, hour, minute, award, turns;
        int users[8];
    } cases[] = {{14, 0, 0, 12, 5, 70, 3, {16, 0, 4}},
                 {15, 1, 15, 20, 30, 5000, 9, {900, 800, 700, 600, 500, 400, 300, 200}},
                 {16, 0, 0, 12, 5, 70, 3, {16, 0, 4}}};
    for (const auto& c : cases) {
        g_testNow = Noon(c.day);
        net.Deliver(Link(QUEUE), 0xA006, figures);
        const auto sent = Received(player);
        ASSERT_EQ(sent.size(), 1u);
        EXPECT_EQ(sent[0].type, 0xF1);
        EXPECT_EQ(sent[0].bytes.size(), 104u);
        const auto res = sent[0].As<LobbyClientCompeteRes>();
        EXPECT_EQ(res.usErrorCode, 2);
        EXPECT_EQ(res.usCompeteType, c.type);
        EXPECT_EQ(res.usOpenDay, c.openDay);
        EXPECT_EQ(res.usOpenHour, c.hour);
        EXPECT_EQ(res.usOpenMinute, c.minute);
        EXPECT_EQ(res.iAwardCoin, c.award);
        EXPECT_EQ(res.usTurnNum, c.turns);
        EXPECT_TRUE(std::equal(c.users, c.users + 8, res.iTurnsUsers));
        EXPECT_EQ(res.usDayMaxFreeCount, 3);
        EXPECT_EQ(res.iDayCompeteCostCoin, 1000);
        EXPECT_EQ(res.iCompeteMonthRank, 8);
        EXPECT_EQ(res.ucIsDisconnect, 1);
        EXPECT_EQ(res.usServerPort, 4000);
        EXPECT_EQ(res.szServerIp[15], '9');
    }

    DeliverCut(QUEUE, 0xA006, figures, 76);
    EXPECT_EQ(Received(player).size(), 1u);  // a wrong length is only logged
    DeliverCut(QUEUE, 0xA006, figures, 40);
    lobby->GetQueueServerHandler()->OnCompeteLobbyUserInfoRes(nullptr, 72);
    figures.ulPlayerNodeId += 1;
    EXPECT_NE(LogOf([&] { net.Deliver(Link(QUEUE), 0xA006, figures); }).find("!= *pPlayerNode["),
              std::string::npos);
    figures.ulPlayerNode = 0x1234;
    net.Deliver(Link(QUEUE), 0xA006, figures);
    EXPECT_TRUE(Received(player).empty());
}

TEST_F(CompeteTest, RequestWithoutAQueueLinkOnlyLogs) {
    LobbyPlayer* const player = Login(31);
    net.failCreatePort = QUEUE;
    net.Hangup(Link(QUEUE));
    ClientLobbyCompeteReq req{{}, 31};
    const std::string log = LogOf([&] { net.Deliver(player, 0xF0, req); });
    EXPECT_NE(log.find("[ERROR] [LobbyClientHandler::HandleClientCompeteInfoReq] userid[31] "
                       "len[12] size[12]"),
              std::string::npos);
}
