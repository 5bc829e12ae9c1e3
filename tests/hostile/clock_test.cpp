// The machine's clock is stepped by an hour, back or forwards, while players are in the lobby.
#include "lobby_world.h"

class ClockStepTest : public LobbyTest {
  protected:
    // Lets time pass as on a running lobby.
    void Pass(int seconds) {
        for (int i = 0; i < seconds; ++i)
            net.Tick(++g_testNow);
    }
    size_t KeepAlives(Port link) {
        size_t count = 0;
        for (const Sent& sent : Received(Link(link)))
            count += sent.type == MSG_KEEP_ALIVE;
        return count;
    }
    size_t StopSwitchRequests() {
        size_t count = 0;
        for (const Sent& sent : Received(Link(CONFIG)))
            count += sent.type == MSG_CONFIG_STOP_SWITCH_REQ;
        return count;
    }
};

// A clock set back by an hour silenced the lobby for that hour: no keep-alive went to any link, so
// that back-end servers dropped it, and the stop switch was not asked for.
TEST_F(ClockStepTest, PeriodicJobsGoOnWhicheverWayTheClockIsStepped) {
    LobbyPlayer* player = Online(10001);
    Pass(60);
    for (const int step : {3600, -3600, -3600, 3600}) {
        SCOPED_TRACE(step);
        g_testNow += step;
        Pass(1);
        for (const Port link : {CENTER, WEB, QUEUE, DATA, LOG})
            KeepAlives(link);
        StopSwitchRequests();
        Pass(60);
        for (const Port link : {CENTER, WEB, QUEUE, DATA, LOG}) {
            EXPECT_GE(KeepAlives(link), 2u) << link;
        }
        EXPECT_GE(StopSwitchRequests(), 5u);
        EXPECT_FALSE(net.IsClosed(player));
        net.Deliver(player, MSG_KEEP_ALIVE, std::string(8, '\0'));
        EXPECT_EQ(Only(player).type, MSG_KEEP_ALIVE);
    }
}
