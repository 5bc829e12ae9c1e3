// How deep the lobby goes into the small stacks of the framework's threads, at the most talkative
// log level: players at work, every message of every back-end server, lost links.
#include <csignal>

#include "Catalog.h"
#include "Common/Log.h"
#include "LobbyServer.h"
#include "PlayerLoad.h"
#include "SystemTest.h"
#include "ThreadStack.h"

namespace {

class LobbyStack : public SystemTest {
  protected:
    LobbyStack() {
        std::signal(SIGPIPE, SIG_IGN);
        InitializeLog("no configuration", "lobby_stack_test.log");  // level ALL
        std::filesystem::current_path(lobby.Directory());
    }

    // The lobby of this process, on a free port.
    void ServeHere() {
        port = static_cast<uint16_t>(RedisServer::FreePort());
        config["listen"]["addr"] = Loopback(port);
        config["listen"]["trusted_proxies"] = "127.0.0.1";
        config["listen"]["proxy_protocol"] = "2";
        lobby.Configure(config);
        m_lobby = std::make_unique<LobbyServer>();
        ASSERT_EQ(m_lobby->Start(), 0);
    }
    void Work(bool webSocket) const {
        ::Settings load;
        load.mode = "players";
        load.port = port;
        load.webSocket = webSocket;
        load.connections = 20;
        load.firstUser = 10001;
        load.warmup = 0;
        load.seconds = 0.7;
        load.quiet = true;
        EXPECT_TRUE(PlayerLoad(load).Run().errors.empty()) << webSocket;
    }
    // A proxy's header, the address before an upgrade, a body that cannot be decoded.
    void Oddities() {
        const std::string proxied("\r\n\r\n\0\r\nQUIT\n\x21\x11\0\x0c\x0a\1\2\3\x7f\0\0\1\1\2\3\4",
                                  28);
        const std::string upgrade =
            "GET / HTTP/1.1\r\nConnection: Upgrade\r\nX-Forwarded-For: 10.1.2.3\r\n"
            "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n\r\n";
        const std::string undecodable("\5\1\0\x0d\3\0\0\1short", 13);
        for (const std::string& bytes : {proxied + undecodable, upgrade + "\x88", undecodable}) {
            auto client = Connect(0);
            client->Line().SendRaw({reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()},
                                   Clock::now() + Patience());
            EXPECT_TRUE(Closed(*client));
        }
    }
    void Push(const std::string& command) {
        EXPECT_NE(platform.DoCommand(command).find("ok"), std::string::npos) << command;
    }
    // Every message of a server, whole and far too long, filled with what does not end.
    void Flood(ServerKind kind) {
        for (const catalog::Message& message : catalog::All()) {
            if (message.direction != sim::ToLobby(kind)) continue;
            for (const size_t size : {message.size, size_t{4000}}) {
                const std::string body(std::max(size, wire::HEADER), '1');
                const wire::Bytes bytes = wire::Pack(message.type, body.data(), body.size());
                platform.Do([&] { platform.Server(kind).SendAll(bytes); });
            }
        }
    }

    const WorkingFolder m_back;  // to where the test was
    std::unique_ptr<LobbyServer> m_lobby;
};

}  // namespace

TEST_F(LobbyStack, KeepsThreeKilobytesToSpare) {
    ServeHere();
    for (const bool webSocket : {false, true})
        Work(webSocket);
    Oddities();
    auto player = LoggedIn(10001);
    for (const char* command :
         {"recharge 10001 5", "consume 10001", "sync 10001 1 5", "bulletin win text",
          "bulletin sys text", "farm all text", "farm user 10001 text", "keys", "vip",
          "server add 100 9001", "site put 1 100", "activity 20171211 close", "global 1 text"}) {
        Push(command);
    }
    Push("consume 10001 " + std::string(3000, '['));
    for (const ServerKind kind : sim::ALL_SERVERS)
        Flood(kind);
    for (const ServerKind kind : sim::ALL_SERVERS)
        Push(std::string("drop ") + sim::NameOf(kind) + " 0");
    m_lobby.reset();
    const auto marks = ThreadStack::Report();
    for (const ThreadStack::Mark& mark : marks) {
        std::printf("%-8s %zu of %zu bytes\n", mark.name.c_str(), mark.used, mark.size);
#ifdef NDEBUG  // the library is optimised
        EXPECT_GE(mark.size - mark.used, 3u * 1024) << mark.name;
#endif
    }
#ifndef LOBBY_SANITIZED
    EXPECT_GE(marks.size(), 4u);  // worker, poll, send, keeper
#endif
}
