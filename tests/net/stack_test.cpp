// How deep the framework's threads go into their small stacks under real traffic.
#include "Common/Log.h"
#include "ThreadStack.h"
#include "net_fixture.h"

namespace {

const std::string kRequest =
    "GET / HTTP/1.1\r\nConnection: Upgrade\r\nSec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n"
    "X-Real-IP: 10.0.0.1\r\nX-Forwarded-For: 6.6.6.6, 2001:db8::7\r\n\r\n";
const std::string kSignature("\r\n\r\n\0\r\nQUIT\n", 12);

void Visit(uint16_t port, const std::string& bytes, size_t answer) {
    Client client(port);
    client.Send(bytes);
    client.Read(answer);
}

}  // namespace

// Every path that logs or decodes: plain, encoded, web, faulty, overrun, timed out, link closed.
TEST(ThreadStacks, KeepThreeKilobytesToSpare) {
    InitializeLog("no configuration", "stack_test.log");  // level ALL
    HandClock clock;
    {
        TestServer server;
        server.onMessage = [&](TestNode* node, uint16_t type, char* data, long length) {
            GameProvider::dns2ip("localhost");
            if (type < 8) server.SendData(node, type, data, length, type % 2);
            if (type == 4) server.Close(node);
            if (type == 6) {
                static char body[4096];  // the test's own memory is not what is measured
                while (server.SendData(node, 5, body, sizeof(body), 0)) {
                }
            }
        };
        ProxyTrust trust;
        ASSERT_TRUE(trust.networks.Add("127.0.0.1") && trust.networks.Add("10.0.0.0/8"));
        trust.header = ProxyTrust::Header::Optional;
        server.SetProxyTrust(trust);
        server.Listen({.send = 20, .interval = 5, .timeout = 10, .clients = 50});
        std::string sealed(216, 0), plain(200, 'x');
        server.Encode(plain.data(), 200, ENCODE_AES, sealed.data(), 216);
        Visit(server.port, Message(3, sealed, 1) + Message(2, plain) + Message(1), 300);
        Visit(server.port, Message(3, "undecodable", 1), 1);
        Visit(server.port, Message(1, "unknown codec", 9), 1);
        Visit(server.port, std::string(100, 'G'), 1);
        Visit(server.port, Message(4, "close"), 100);
        Visit(server.port, kRequest, 100);
        Visit(
            server.port,
            kSignature + "\x21\x21" + std::string("\0\x24", 2) + std::string(36, '\xFF') + kRequest,
            100);
        Visit(server.port, kSignature + "no header", 1);
        Visit(server.port, Message(6, "flood"), 1);
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
