// The machine's clock is stepped by an hour, back or forwards, while players are in the lobby.
#include "LobbyTest.h"
#include "activitySystem/ActivitySystem.h"
#include "config_server_msg.h"

// A clock set back by an hour silenced the lobby for that hour: no keep-alive went to any link, so
// that back-end servers dropped it, and the stop switch was not asked for.
TEST_F(DirectoryTest, PeriodicJobsGoOnWhicheverWayTheClockIsStepped) {
    LobbyPlayer* const player = Login(10001);
    const auto pass = [&](int seconds) {  // as on a running lobby
        while (seconds-- > 0)
            net.Tick(++g_testNow);
    };
    const auto count = [&](Port link, uint16_t type) {
        int n = 0;
        for (const auto& sent : Received(Link(link)))
            n += sent.type == type;
        return n;
    };
    pass(60);
    for (const int step : {3600, -3600, -3600, 3600}) {
        SCOPED_TRACE(step);
        g_testNow += step;
        pass(1);
        for (int link = CENTER; link <= LOG; ++link)
            Received(Link(Port(link)));
        pass(60);
        for (const Port link : {CENTER, WEB, QUEUE, DATA, LOG})
            EXPECT_GE(count(link, MSG_KEEP_ALIVE), 2) << link;
        EXPECT_GE(count(CONFIG, MSG_CONFIG_STOP_SWITCH_REQ), 5);
        EXPECT_FALSE(net.IsClosed(player));
        net.Deliver(player, MSG_KEEP_ALIVE, Zeros(8));
        EXPECT_EQ(Got(player).size(), 1u);
    }
}

// The rarer jobs, which rested for as long as the clock was set back.
TEST_F(DirectoryTest, RareJobsStartTheirPeriodAnewWhenTheClockIsSetBack) {
    WriteFile("compete_info.cfg", "[compete_info]\nday_open_hour=5\n");
    LobbyPlayer* const player = Login(10001);
    auto* const web = lobby->GetWebServerHandler();
    auto& schedule = lobby->m_competeConfig;
    const struct {
        const char* name;
        long period;
        std::function<void(long)> tick;
        std::function<bool()> ran;  // since it was last asked
    } jobs[] = {
        {"activities", 1800, [](long now) { ActivitySystem::getInstance()->OnTimer(now); },
         [&] { return !Received(Link(DATA)).empty(); }},
        {"bulletins", 30, [&](long now) { web->OnTimer(now); },
         [&] {
             WinCoinBulletinNotice_2 item{};
             web->PushIntoBulletinNotice(item);
             return !Received(player).empty();
         }},
        {"schedule", 900, [&](long now) { schedule.OnTimer(now); },
         [&] { return std::exchange(schedule.m_iDayOpenHour, 0) == 5; }},
    };
    for (const auto& job : jobs) {
        job.tick(g_testNow);
        job.ran();
        const long back = g_testNow - 7200;
        for (const auto& [now, runs] :
             {std::pair(back, false), {back + job.period - 1, false}, {back + job.period, true}}) {
            job.tick(now);
            EXPECT_EQ(job.ran(), runs) << job.name << " " << now - back;
        }
    }
}
