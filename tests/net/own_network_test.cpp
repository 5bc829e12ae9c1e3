// What only a network of its own can show: a port that must meet itself, a peer that is gone.
#include <net/if.h>
#include <netinet/tcp.h>
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

// Half a minute, as set by the framework; then less of it, so that nobody waits so long here.
void ShortenPatience(IPlayerNode* link) {
    EPOLLContext* context = nullptr;
    ASSERT_TRUE(link->GetContext(&context));
    int patience = 0;
    long size = sizeof(patience);
    auto* const value = reinterpret_cast<char*>(&patience);
    EXPECT_EQ(context->getsockopt(IPPROTO_TCP, TCP_USER_TIMEOUT, value, &size), 0);
    EXPECT_EQ(patience, 30000);
    patience = 1500;
    EXPECT_EQ(context->setsockopt(IPPROTO_TCP, TCP_USER_TIMEOUT, value, size), 0);
}

TEST_F(OwnNetwork, APeerThatTakesNothingLosesItsLink) {
    TestServer server;
    server.SetLimits({.keepFullLinks = true});
    server.Listen();
    const DeafServer peer;
    IPlayerNode* link = server.Dial(peer.port);
    ASSERT_TRUE(link != nullptr && server.RecvData(link));
    ShortenPatience(link);
    Stopwatch watch;
    std::string body(4096, 'x');
    EXPECT_TRUE(Eventually(
        [&] {
            server.SendData(link, 1, body.data(), 4096, ENCODE_NONE);
            return server.closes == 1;
        },
        20));
    EXPECT_GE(watch.Lap(), 1);
}

TEST_F(OwnNetwork, AGoneHostIsNoticedAfterTheNextMessage) {
    TestServer server, peer;
    server.Listen();
    peer.Listen();
    IPlayerNode* link = server.Dial(peer.port);
    ASSERT_TRUE(link != nullptr && server.RecvData(link));
    ASSERT_TRUE(server.SendData(link, 1, nullptr, 0, ENCODE_NONE));
    ASSERT_TRUE(Eventually([&] { return server.messages >= 1; })) << "the echo";
    ShortenPatience(link);
    Loopback(false);
    Stopwatch watch;
    server.SendData(link, 1, nullptr, 0, ENCODE_NONE);
    EXPECT_TRUE(Eventually([&] { return server.closes == 1; }, 20));
    EXPECT_GE(watch.Lap(), 1);
}
