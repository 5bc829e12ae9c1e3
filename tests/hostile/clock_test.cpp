// The machine's clock is stepped by an hour, back or forwards, while players are in the lobby.
#include "DirectoryWorld.h"
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
