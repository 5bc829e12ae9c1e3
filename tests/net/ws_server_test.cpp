// WebSocket clients on the framework, end to end over real loopback sockets.
#include "HandShark.h"
#include "web_client.h"

TEST(WebServer, UpgradesAndAnswersInFrames) {
    TestServer server;
    server.Listen();
    WebClient client(server.port);
    EXPECT_EQ(client.response,
              "HTTP/1.1 101 Switching Protocols\r\nConnection: upgrade\r\n"
              "Sec-WebSocket-Accept: s3pPLMBiTxaQ9kYGzzhZRbK+xOo=\r\nUpgrade: websocket\r\n\r\n");
    for (size_t size : {0u, 117u, 118u, 2000u, 4079u}) {
        const std::string message = Message(3, std::string(size, 'm'));
        client.Send(Frame(message));
        EXPECT_TRUE(client.ReadFrame() == message) << size;
    }
    // Two messages in one frame, then one cut across frames that are cut across writes.
    const std::string one = Message(1, "one"), two = Message(2, std::string(200, '2'));
    client.Send(Frame(one + two));
    EXPECT_EQ(client.ReadFrame(), one);
    EXPECT_EQ(client.ReadFrame(), two);
    const std::string cut = Frame(two.substr(0, 5)) + Frame(two.substr(5));
    for (char byte : cut)
        client.Send(std::string(1, byte));
    EXPECT_EQ(client.ReadFrame(), two);
    server.ExpectTidy();
}

TEST(WebServer, FaultyFramesCloseThatConnection) {
    TestServer server;
    server.Listen();
    WebClient bystander(server.port);
    for (const std::string& bytes :
         {Frame("", 0x88), Frame(std::string(4096, 'x')), Frame("GET / HTTP/1.1"),
          Frame(Message(9)) + Frame("bye", 0x88)}) {
        WebClient client(server.port);
        client.Send(bytes);
        while (client.Read(1).size() == 1) {
        }
        EXPECT_TRUE(client.AtEnd());
        bystander.Send(Frame(Message(4)));
        EXPECT_EQ(bystander.ReadFrame(), Message(4));
    }
    EXPECT_TRUE(WaitFor([&] { return server.closes == 4 && server.Released() == 4; }));
    server.ExpectTidy();
}

// A bulletin or a nickname may contain the word that marks an upgrade request.
TEST(WebServer, OnlyTheFirstBytesOfAClientUpgrade) {
    TestServer server;
    server.Listen();
    Client client(server.port);
    for (const std::string& message : {Message(1, "plain"), Message(2, "Connection: Upgrade")}) {
        client.Send(message);
        EXPECT_EQ(client.Read(message.size()), message);
    }
    // On an outbound link it never does: the peer's first bytes are its message.
    TestServer peer;
    peer.onMessage = [&](TestNode* node, uint16_t, char*, long) {
        char body[] = "        Connection: Upgrade\r\n\r\n";
        peer.SendData(node, 6, body, sizeof(body), 0);
    };
    peer.Listen();
    TestServer caller;
    std::atomic<int> got{0};
    caller.onMessage = [&](TestNode*, uint16_t type, char*, long) { got = type; };
    caller.Listen();
    IPlayerNode* link = caller.Create(false, "127.0.0.1", peer.port, 1000, 1, 2, 1, 6);
    ASSERT_TRUE(link != nullptr && caller.RecvData(link));
    caller.SendData(link, 5, nullptr, 0, 0);
    EXPECT_TRUE(WaitFor([&] { return got == 6; }));
}

TEST(WebServer, AStoppedReaderHoldsNobodyUpAndLosesNothing) {
    TestServer server;
    constexpr int kMessages = 90;
    server.onMessage = [&](TestNode* node, uint16_t type, char* data, long length) {
        if (type != 1) return static_cast<void>(server.SendData(node, type, data, length, 0));
        for (int i = 0; i < kMessages; ++i) {
            std::string body(4096, static_cast<char>(i));
            server.SendData(node, 7, body.data(), 4096, 0);
        }
    };
    server.Listen();
    WebClient stopped(server.port, 4096),
        others[2] = {WebClient(server.port), WebClient(server.port)};
    stopped.Send(Frame(Message(1)));
    ASSERT_TRUE(WaitFor([&] { return server.messages == 1; }));
    for (int i = 0; i < 100; ++i) {
        for (WebClient& other : others) {
            other.Send(Frame(Message(2)));
            ASSERT_EQ(other.ReadFrame(), Message(2));
        }
    }
    for (int i = 0; i < kMessages; ++i) {
        const std::string message = stopped.ReadFrame();
        ASSERT_EQ(message.size(), 4096u);
        ASSERT_TRUE(message.substr(8) == std::string(4088, static_cast<char>(i)));
    }
}

TEST(WebServer, ShutdownDoesNotWaitForStoppedReaders) {
    TestServer server;
    server.onMessage = [&](TestNode* node, uint16_t, char*, long) {
        char body[4096] = {};
        for (int i = 0; i < 90; ++i)
            server.SendData(node, 7, body, sizeof(body), 0);
    };
    server.Listen({.interval = 20, .timeout = 120});
    std::vector<std::unique_ptr<WebClient>> clients;
    for (int i = 0; i < 30; ++i) {
        clients.push_back(std::make_unique<WebClient>(server.port, 4096));
        clients.back()->Send(Frame(Message(1)));
    }
    ASSERT_TRUE(WaitFor([&] { return server.messages == 30; }));
    const auto start = std::chrono::steady_clock::now();
    server.Shutdown();
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
    EXPECT_EQ(server.closes, 31);
}

// Many small frames in one read must not wear the count of queued buffers away or up.
TEST(WebServer, ALongConnectionKeepsItsReceiveLimit) {
    TestServer server;
    server.Listen({.recv = 3});
    WebClient client(server.port);
    for (int i = 0; i < 200; ++i) {
        client.Send(Frame(Message(1)) + Frame(Message(2)));
        ASSERT_EQ(client.ReadFrame(), Message(1)) << i;
        ASSERT_EQ(client.ReadFrame(), Message(2)) << i;
    }
}
