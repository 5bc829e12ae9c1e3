// WebSocket clients on the framework, end to end over real loopback sockets.
#include "NetFixture.h"

TEST(WebServer, UpgradesAndAnswersInFrames) {
    TestServer server;
    server.Listen();
    WebClient client(server.port);
    EXPECT_EQ(client.response,
              "HTTP/1.1 101 Switching Protocols\r\nConnection: upgrade\r\n"
              "Sec-WebSocket-Accept: s3pPLMBiTxaQ9kYGzzhZRbK+xOo=\r\nUpgrade: websocket\r\n\r\n");
    for (size_t size : {0u, 117u, 118u, 2000u, 4079u}) {
        const std::string message = Message(3, std::string(size, 'm'));
        EXPECT_TRUE(client.Ask(message) == message) << size;
    }
    // Two messages in one frame, then one cut across frames that are cut across writes.
    const std::string one = Message(1, "one"), two = Message(2, std::string(200, '2'));
    client.Send(Frame(one + two));
    EXPECT_EQ(client.ReadMessage(), one);
    EXPECT_EQ(client.ReadMessage(), two);
    for (char byte : Frame(two.substr(0, 5)) + Frame(two.substr(5)))
        client.Send(std::string(1, byte));
    EXPECT_EQ(client.ReadMessage(), two);
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
        client.Read(100);
        EXPECT_TRUE(client.AtEnd());
        EXPECT_TRUE(bystander.Echoes());
    }
    EXPECT_TRUE(server.AwaitReleased(4));
}

// A bulletin or a nickname may contain the word that marks an upgrade request.
TEST(WebServer, OnlyTheFirstBytesOfAClientUpgrade) {
    TestServer server, peer, caller;
    server.Listen();
    Client client(server.port);
    for (const std::string& message : {Message(1, "plain"), Message(2, "Connection: Upgrade")})
        EXPECT_EQ(client.Ask(message), message);
    // On an outbound link it never does: the peer's first bytes are its message.
    peer.onMessage = [&](TestNode* node, uint16_t, char*, long) {
        char body[] = "        Connection: Upgrade\r\n\r\n";
        peer.SendData(node, 6, body, sizeof(body), 0);
    };
    peer.Listen();
    caller.onMessage = [](TestNode*, uint16_t, char*, long) {};
    caller.Listen();
    IPlayerNode* link = caller.Dial(peer.port);
    ASSERT_TRUE(link != nullptr && caller.RecvData(link));
    caller.SendData(link, 5, nullptr, 0, 0);
    EXPECT_TRUE(WaitFor([&] { return caller.messages == 1; }));
}

// Many small frames in one read must not wear the count of queued buffers away or up.
TEST(WebServer, ALongConnectionKeepsItsReceiveLimit) {
    TestServer server;
    server.Listen({.recv = 3});
    WebClient client(server.port);
    for (int i = 0; i < 200; ++i) {
        client.Send(Frame(Message(1)) + Frame(Message(2)));
        ASSERT_EQ(client.ReadMessage(), Message(1)) << i;
        ASSERT_EQ(client.ReadMessage(), Message(2)) << i;
    }
}
