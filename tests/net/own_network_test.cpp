// What only a network of its own can show: a port that must meet itself, a peer that is gone.
#include <net/if.h>
#include <netinet/tcp.h>
#include <sched.h>
#include <sys/ioctl.h>

#include "NetFixture.h"

class OwnNetwork : public testing::Test {
  protected:
    // While the process has one thread. A user without rights needs a namespace of his own for it.
    void SetUp() override {
        if (::unshare(CLONE_NEWNET) != 0 && ::unshare(CLONE_NEWUSER | CLONE_NEWNET) != 0) {
            GTEST_SKIP() << "no network namespaces here";
        }
        SetLoopback(true);
    }
    static void SetLoopback(bool up) {
        const int socket = ::socket(AF_INET, SOCK_DGRAM, 0);
        ifreq request{};
        std::strcpy(request.ifr_name, "lo");
        request.ifr_flags = up ? IFF_UP : 0;
        EXPECT_EQ(::ioctl(socket, SIOCSIFFLAGS, &request), 0);
        ::close(socket);
    }
};

TEST_F(OwnNetwork, ALinkDoesNotMeetItself) {
    TestServer server(kDefaults);
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

// A peer that takes nothing, and one whose host is gone: half a minute after the next message, of
// which the framework's setting is looked at and then shortened.
TEST_F(OwnNetwork, APeerThatAcknowledgesNothingLosesItsLink) {
    const DeafServer deaf;
    TestServer peer(kDefaults);
    for (const bool gone : {false, true}) {
        SCOPED_TRACE(gone);
        TestServer server;
        server.SetLimits({.keepFullLinks = true});
        server.Listen();
        IPlayerNode* link = server.Dial(gone ? peer.port : deaf.port);
        ASSERT_TRUE(link != nullptr && server.RecvData(link));
        EPOLLContext* context = nullptr;
        ASSERT_TRUE(link->GetContext(&context));
        int patience = 0;
        long size = sizeof(patience);
        auto* const value = reinterpret_cast<char*>(&patience);
        EXPECT_EQ(context->getsockopt(IPPROTO_TCP, TCP_USER_TIMEOUT, value, &size), 0);
        EXPECT_EQ(patience, 30000);
        patience = 1000;
        EXPECT_EQ(context->setsockopt(IPPROTO_TCP, TCP_USER_TIMEOUT, value, size), 0);
        if (gone) SetLoopback(false);
        Stopwatch watch;
        std::string body(4096, 'x');
        EXPECT_TRUE(Eventually(
            [&] {
                server.SendData(link, 1, body.data(), 4096, ENCODE_NONE);
                return server.closes == 1;
            },
            20));
        EXPECT_GE(watch.Lap(), 0.9);
    }
}
