// The machine's clock is stepped by an hour, back or forwards, while players are in the lobby.
#include "LobbyTest.h"
#include "activitySystem/ActivitySystem.h"
#include "config_server_msg.h"

// A clock set back by an hour silenced the lobby for that hour: no keep-alive went to any link, so
// that back-end servers dropped it, and the stop switch was not asked for. What is not due at once
// starts its period anew.
TEST_F(LobbyTest, PeriodicJobsGoOnWhicheverWayTheClockIsStepped) {
    WriteFile("compete_info.cfg", "[compete_info]\nday_open_hour=5\n");
    LobbyPlayer* const player = Login(10001);
    WinCoinBulletinNotice_2 bulletin{};
    auto& hour = lobby->m_competeConfig.m_iDayOpenHour;
    const auto sent = [&](Port link, uint16_t type) {
        return std::ranges::count(Got(Link(link)), type, &Sent::type);
    };
    const struct {
        const char* name;
        size_t period, whenSetBack;
        std::function<long()> runs;  // since it was last asked
        long each = 1;
    } jobs[] = {
        {"keep-alive", 25, 0, [&] { return sent(LOG, MSG_KEEP_ALIVE); }},
        {"stop switch", 10, 10, [&] { return sent(CONFIG, MSG_CONFIG_STOP_SWITCH_REQ); }},
        {"activities, as the lobby and as they ask", 1800, 1800,
         [&] { return sent(DATA, ACT_CONFIG_REQ); }, 2},
        {"schedule", 900, 900, [&] { return long{std::exchange(hour, 0) == 5}; }},
        {"bulletins", 30, 30, [&] { return long{!Got(player).empty()}; }},
    };
    net.Tick(g_testNow);
    for (const auto& job : jobs)
        job.runs();
    for (const int step : {3600, -3600, -3600, 3600}) {
        std::map<const char*, std::vector<size_t>> ran;  // after so many seconds
        g_testNow += step;
        for (size_t second = 0; second < 2000; ++second, ++g_testNow) {
            lobby->GetWebServerHandler()->PushIntoBulletinNotice(bulletin);
            net.Tick(g_testNow);
            for (const auto& job : jobs) {
                const long runs = job.runs();
                if (runs > 0) ran[job.name].push_back(second);
                EXPECT_TRUE(runs == 0 || runs == job.each) << job.name << " " << second;
            }
        }
        for (const auto& job : jobs) {
            const auto& times = ran[job.name];
            EXPECT_NEAR(double(times.size()), 2000.0 / double(job.period), 1) << job.name;
            ASSERT_FALSE(times.empty());
            EXPECT_EQ(times[0], step < 0 ? job.whenSetBack : 0) << job.name << " " << step;
        }
        EXPECT_FALSE(net.IsClosed(player)) << step;
    }
}
