// What only a network of its own can show: a port that must meet itself, a peer that is gone.
#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>

#include <fstream>

#include "NetFixture.h"

class OwnNetwork : public testing::Test {
  protected:
    // While the process has one thread. A user without rights needs a namespace of his own for it.
    void SetUp() override {
        if (::unshare(CLONE_NEWNET) != 0 && ::unshare(CLONE_NEWUSER | CLONE_NEWNET) != 0) {
            GTEST_SKIP() << "no network namespaces here";
        }
        Loopback(true);
    }
    static void Loopback(bool up) {
        const int socket = ::socket(AF_INET, SOCK_DGRAM, 0);
        ifreq request{};
        std::strcpy(request.ifr_name, "lo");
        request.ifr_flags = up ? IFF_UP : 0;
        EXPECT_EQ(::ioctl(socket, SIOCSIFFLAGS, &request), 0);
        ::close(socket);
    }
};

TEST_F(OwnNetwork, ALinkDoesNotMeetItself) {
    TestServer server;
    server.Listen();
    constexpr uint16_t kPort = 40001;
    std::ofstream("/proc/sys/net/ipv4/ip_local_port_range") << kPort << " " << kPort;
    {
        Client own(kPort);
        own.ResetOnClose();
        ASSERT_EQ(own.Ask(Message(1)), Message(1)) << "it cannot happen here";
    }
    for (int i = 0; i < 10; ++i) {
        EXPECT_EQ(server.Dial(kPort), nullptr);
        EXPECT_EQ(errno, ECONNREFUSED);
    }
}

TEST_F(OwnNetwork, APeerThatTakesNothingForHalfAMinuteLosesItsLink) {
    TestServer server;
    server.SetLimits({.keepFullLinks = true});
    server.Listen();
    const DeafServer peer;
    IPlayerNode* link = server.Dial(peer.port);
    ASSERT_TRUE(link != nullptr && server.RecvData(link));
    Stopwatch watch;
    std::string body(4096, 'x');
    EXPECT_TRUE(Eventually(
        [&] {
            server.SendData(link, 1, body.data(), 4096, ENCODE_NONE);
            return server.closes == 1;
        },
        60));
    EXPECT_GE(watch.Lap(), 20);
}

TEST_F(OwnNetwork, AGoneHostIsNoticedHalfAMinuteAfterTheNextMessage) {
    TestServer server;
    server.Listen();
    TestServer peer;
    peer.Listen();
    IPlayerNode* link = server.Dial(peer.port);
    ASSERT_TRUE(link != nullptr && server.RecvData(link));
    ASSERT_TRUE(server.SendData(link, 1, nullptr, 0, ENCODE_NONE));
    ASSERT_TRUE(Eventually([&] { return server.messages >= 1; })) << "the echo";
    Loopback(false);
    Stopwatch watch;
    server.SendData(link, 1, nullptr, 0, ENCODE_NONE);
    EXPECT_TRUE(Eventually([&] { return server.closes == 1; }, 60));
    const auto waited = watch.Lap();
    EXPECT_GE(waited, 20);
    EXPECT_LE(waited, 34);  // and up to 25 s before the message: within a minute
}
