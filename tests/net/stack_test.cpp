// How deep the framework's threads go into their small stacks under real traffic.
#include "Common/Log.h"
#include "ThreadStack.h"
#include "net_fixture.h"

// Every path that logs or decodes: plain, encoded, web, faulty, overrun, timed out, link closed.
// A name once overflowed the stack of the thread that looked it up.
TEST(ThreadStacks, KeepThreeKilobytesToSpare) {
    InitializeLog("no configuration", "stack_test.log");  // level ALL
    HandClock clock;
    {
        TestServer server;
        server.onMessage = [&](TestNode* node, uint16_t type, char* data, long length) {
            EXPECT_EQ(GameProvider::dns2ip("localhost"), htonl(INADDR_LOOPBACK));
            if (type < 8) server.SendData(node, type, data, length, type % 2);
            if (type == 4) server.Close(node);
            if (type == 6) server.Flood(node);
        };
        ProxyTrust trust;
        ASSERT_TRUE(trust.networks.Add("127.0.0.1") && trust.networks.Add("10.0.0.0/8"));
        trust.header = ProxyTrust::Header::Optional;
        server.SetProxyTrust(trust);
        server.Listen({.send = 20, .interval = 5, .timeout = 10, .clients = 50});
        std::string sealed(216, 0), plain(200, 'x');
        server.Encode(plain.data(), 200, ENCODE_AES, sealed.data(), 216);
        const std::string request = Request("X-Forwarded-For: 6.6.6.6, 2001:db8::7\r\n");
        const std::pair<std::string, size_t> visits[] = {
            {Message(3, sealed, 1) + Message(2, plain) + Message(1), 300},
            {Message(3, "undecodable", 1), 1},
            {Message(1, "unknown codec", 9), 1},
            {std::string(100, 'G'), 1},
            {Message(4, "close"), 100},
            {request, 100},
            {ProxyBytes(0x21, 0x21, std::string(36, '\xFF')) + request, 100},
            {ProxyBytes(1, 1, ""), 1},
            {Message(6, "flood"), 1}};
        for (const auto& [bytes, answer] : visits) {
            Client client(server.port);
            client.Send(bytes);
            client.Read(answer);
        }
        IPlayerNode* link = server.Create(false, "localhost", server.port, 1000, 1, 2, 1, 6);
        ASSERT_TRUE(link != nullptr && server.RecvData(link));
        server.SendData(link, 8, nullptr, 0, 0);
        Client silent(server.port);
        silent.Send(Message(8));
        ASSERT_TRUE(WaitFor([&] { return server.closes >= 9 && server.messages >= 7; }));
        clock.Advance(20);
        EXPECT_TRUE(silent.AtEnd());
    }
    for (const ThreadStack::Mark& mark : ThreadStack::Report()) {
        std::printf("%-8s %zu of %zu bytes\n", mark.name.c_str(), mark.used, mark.size);
#ifdef NDEBUG  // the library is optimised
        EXPECT_GE(mark.size - mark.used, 3u * 1024) << mark.name;
#endif
    }
#ifndef LOBBY_SANITIZED
    EXPECT_GE(ThreadStack::Report().size(), 3u);
#endif
}

TEST(Names, ThatAreNoneAreTold) {
    EXPECT_EQ(GameProvider::dns2ip("127.0.0.1"), htonl(INADDR_LOOPBACK));
    EXPECT_EQ(GameProvider::dns2ip(nullptr), ~0UL);
    EXPECT_EQ(GameProvider::dns2ip("no such name"), ~0UL);
}
