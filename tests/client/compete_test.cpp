#include "LobbyTest.h"
#include "compete_msg.h"

namespace {

constexpr char kSchedule[] =
    "[compete_info]\nmonth_open_day=15\nmonth_open_hour=20\nmonth_open_minute=30\n"
    "month_award_coin=5000\nmonth_user_num=900,800,700,600,500,400,300,200,100\n"
    "day_open_hour=12\nday_open_minute=5\nday_award_coin=70\nday_max_free_count=3\n"
    "day_user_num=,16,,x,4\n";

constexpr time_t kNoon = 1'784'116'800;  // 15 July 2026 everywhere but on some islands

}  // namespace

TEST_F(LobbyTest, ScheduleIsReadAtOnceAndEveryFifteenMinutes) {
    WriteFile("compete_info.cfg", kSchedule);
    CompeteConfig config;
    config.OnTimer(1'000'000);
    EXPECT_EQ(config.m_vDayTurnsUsers, (std::vector<int32_t>{16, 0, 4}));
    EXPECT_EQ(config.GetCalcMonthMinute(), 20 * 60 + 30);
    EXPECT_EQ(config.GetCalcDayMinute(), 12 * 60 + 5);

    WriteFile("compete_info.cfg",
              "[compete_info]\nday_compete_cost_coin=5\nday_open_hour=2147483647\n");
    config.OnTimer(1'000'899);
    EXPECT_EQ(config.m_iMonthOpenDay, 15);
    config.OnTimer(1'000'900);
    EXPECT_EQ(config.m_iMonthOpenDay, 0);
    EXPECT_TRUE(config.m_vMonthTurnsUsers.empty());

    std::filesystem::remove("compete_info.cfg");
    EXPECT_TRUE(Has(LogOf([&] { config.OnTimer(1'001'800); }), "compete_info.cfg init failed"));
    EXPECT_EQ(config.m_iDayCompeteCostCoin, 5);
}

TEST_F(LobbyTest, AnswerCarriesTheTournamentOfTheDay) {
    static constexpr char kIp[] = "9999999999999999";  // fills its field
    static const LobbyClientCompeteRes daily{{}, 2, 0, 1,          5, 6,    77, 8,    70, 0,
                                             12, 5, 3, {16, 0, 4}, 3, 1000, 1,  4000, {}};
    static const LobbyClientCompeteRes monthly{
        {}, 2,    1,  1,    5,  6, 77,
        8,  5000, 15, 20,   30, 9, {900, 800, 700, 600, 500, 400, 300, 200},
        3,  1000, 1,  4000, {}};
    WriteFile("compete_info.cfg", kSchedule);
    lobby->m_competeConfig.ReadConfig();
    net.Deliver(net.Connect(), 0xF0, ClientLobbyCompeteReq{{}, 31});  // for anybody, of nobody
    EXPECT_EQ(Got(Link(QUEUE)).at(0).At<CompeteLobbyUserInfoReq>().iUserID, 31);
    LobbyPlayer* const player = Login(31);
    Got(Link(QUEUE));
    net.Deliver(player, 0xF0, ClientLobbyCompeteReq{{}, 31});
    const CompeteLobbyUserInfoReq asked{{}, 31, NodeHandle(player), *player};
    EXPECT_EQ(Got(Link(QUEUE)), One(0xA005, asked));

    CompeteLobbyUserInfoRes figures{
        {}, 2, 31, 1, 5, 6, 77, 8, 1, 4000, {}, asked.ulPlayerNode, asked.ulPlayerNodeId};
    std::memcpy(figures.szServerIp, kIp, 16);
    for (const auto& [day, expected] : {std::pair{-1, &daily}, {0, &monthly}, {1, &daily}}) {
        g_testNow = kNoon + day * 86400;
        net.Deliver(Link(QUEUE), 0xA006, figures);
        std::string bytes = BytesOf(*expected);
        bytes.replace(offsetof(LobbyClientCompeteRes, szServerIp), 16, kIp);
        EXPECT_EQ(Got(player), One(0xF1, bytes)) << day;
    }

    DeliverCut(QUEUE, 0xA006, figures, 76);
    EXPECT_EQ(Only(player).type, 0xF1);  // a wrong length is only logged
    DeliverCut(QUEUE, 0xA006, figures, 40);
    figures.ulPlayerNodeId += 1;
    EXPECT_TRUE(Has(LogOf([&] { net.Deliver(Link(QUEUE), 0xA006, figures); }), "!= *pPlayerNode["));
    EXPECT_TRUE(Nothing(player));
}
