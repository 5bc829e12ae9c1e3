// WebSocket clients on the framework, end to end over real loopback sockets.
#include "NetFixture.h"

TEST(WebServer, UpgradesAndAnswersInFrames) {
    TestServer server(kDefaults);
    const std::string begin = "GET / HTTP/1.1\r\nConnection: Upgrade\r\n";
    // Without a key there is nothing to hash but the suffix.
    const std::pair<std::string, std::string> rows[] = {
        {begin + "\r\n", "Kfh9QIsMVZcl6xEPYxPHzW8SZ8w="},
        {begin + "Sec-WebSocket-Key: " + std::string(1000, 'k') + "\r\n\r\n",
         "D5UkHUEpPcw/Kmar+sMcS126/cM="},
        {kRequest, "s3pPLMBiTxaQ9kYGzzhZRbK+xOo="}};
    for (const auto& [request, key] : rows) {
        const WebClient client(server.port, 0, [&bytes = request](Client& to) { to.Send(bytes); });
        EXPECT_EQ(client.response,
                  "HTTP/1.1 101 Switching Protocols\r\nConnection: upgrade\r\n"
                  "Sec-WebSocket-Accept: " +
                      key + "\r\nUpgrade: websocket\r\n\r\n");
    }
    WebClient client(server.port);
    for (size_t size : {0u, 117u, 118u, 2000u, 4079u}) {
        const std::string message = Message(3, std::string(size, 'm'));
        EXPECT_TRUE(client.Ask(message) == message) << size;
    }
}

TEST(WebServer, FaultyFramesCloseThatConnection) {
    TestServer server(kDefaults);
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
    const std::string text = Message(2, "Connection: Upgrade");
    TestServer server;
    server.onMessage = [&](TestNode* node, uint16_t type, char*, long) {
        std::string answer = text;
        if (type == 1) server.SendData(node, answer.data(), std::ssize(answer));
    };
    server.Listen();
    Client client(server.port);
    EXPECT_EQ(client.Ask(Message(1)), text);
    EXPECT_EQ(client.Ask(text + Message(1)), text);
    // On an outbound link it never does: the peer's first bytes are its message.
    IPlayerNode* link = server.Dial(server.port);
    ASSERT_TRUE(link != nullptr && server.RecvData(link));
    server.SendData(link, 1, nullptr, 0, ENCODE_NONE);
    EXPECT_TRUE(Eventually([&] { return server.messages == 5; })) << server.messages;
}

// Many small frames in one read must not wear the count of queued buffers away or up.
TEST(WebServer, ALongConnectionKeepsItsReceiveLimit) {
    TestServer server({.recv = 3});
    WebClient client(server.port);
    for (int i = 0; i < 200; ++i) {
        client.Send(Frame(Message(1)) + Frame(Message(2)));
        ASSERT_EQ(client.ReadMessage(), Message(1)) << i;
        ASSERT_EQ(client.ReadMessage(), Message(2)) << i;
    }
}

TEST(StandardWebServer, ControlFramesStandBesideTheMessages) {
    TestServer server({.recv = 100000, .standard = true});  // bytes come faster than it looks
    WebClient client(server.port);
    const std::string message = Message(7, std::string(3000, 'm'));
    // Two in a frame that no single read brings.
    const std::string two = message + message;
    const std::string wide =
        Bytes({0x82, 127, 0, 0, 0, 0, 0, 0, two.size() >> 8, two.size()}) + two;
    // A ping inside a message, one without bytes, a pong nobody asked for, an empty frame.
    const std::string stream = Frame(message.substr(0, 9), 0x02) + Frame("", 0x89) +
                               Frame(message.substr(9), 0x80) + Frame("", 0x82) +
                               Frame("late", 0x8A) + wide + Frame(std::string(125, 'p'), 0x89);
    const std::string head = Bytes({0x82, 126, message.size() >> 8, message.size()});
    const std::string answer = Bytes({0x8A, 0}) + head + message + head + message + head + message +
                               Bytes({0x8A, 125}) + std::string(125, 'p');
    for (const size_t cut : {1u, 2u, 7u, 4096u}) {
        for (size_t at = 0; at < stream.size(); at += cut)
            client.Send(stream.substr(at, cut));
        EXPECT_TRUE(client.Read(answer.size()) == answer) << cut;
    }
}

TEST(StandardWebServer, EveryEndIsSaid) {
    TestServer server({.standard = true});
    WebClient bystander(server.port);
    const std::pair<std::string, std::string> cases[] = {
        {Frame(std::string("\x03\xE9") + "leaving", 0x88), std::string("\x88\x02\x03\xE9")},
        {Frame("", 0x88), Bytes({0x88, 0})},
        {Frame("text", 0x81), std::string("\x88\x02\x03\xEB")},
        {Frame("", 0x80), std::string("\x88\x02\x03\xEA")},  // continues nothing
        {Frame("", 0x02) + Frame("", 0x82), std::string("\x88\x02\x03\xEA")},
        {Frame("", 0x83), std::string("\x88\x02\x03\xEA")},  // an opcode of nobody
        {Frame("", 0xC2), std::string("\x88\x02\x03\xEA")},  // an extension
        {Frame("", 0x09), std::string("\x88\x02\x03\xEA")},  // a ping in pieces
        {Frame(std::string(126, 'p'), 0x89), std::string("\x88\x02\x03\xEA")},
        {Bytes({0x82, 127, 255, 0, 0, 0, 0, 0, 0, 0}), std::string("\x88\x02\x03\xEA")},
    };
    for (const auto& [bytes, end] : cases) {
        WebClient client(server.port);
        client.Send(Frame(Message(1)) + bytes);
        EXPECT_EQ(client.ReadMessage(), Message(1));
        EXPECT_EQ(client.Read(end.size() + 1), end) << bytes[0];
    }
    EXPECT_TRUE(bystander.Echoes());
}

TEST(StandardWebServer, RequestsComeInPiecesAndAreRefusedInWords) {
    TestServer server({.recv = 1000, .standard = true});
    const std::string lower = "GET / HTTP/1.1\r\nsec-websocket-key: any\r\n\r\n";
    for (const std::string& request : {kRequest, lower}) {
        WebClient client(server.port, 0, [&](Client& to) {
            for (const char byte : request)
                to.Send(std::string(1, byte));
        });
        EXPECT_TRUE(client.response.starts_with("HTTP/1.1 101 ")) << request;
        EXPECT_TRUE(client.Echoes());
    }
    // What comes behind the request in one read is its first frame.
    WebClient eager(server.port, 0,
                    [](Client& to) { to.Send(kRequest + Frame(Message(5, "early"))); });
    EXPECT_EQ(eager.ReadMessage(), Message(5, "early"));
    Client plain(server.port);
    EXPECT_EQ(plain.Ask(Message(2, "Connection: Upgrade")), Message(2, "Connection: Upgrade"));
    const std::pair<std::string, std::string> refused[] = {
        {"GET /healthz HTTP/1.0\r\n\r\n",
         "Sec-WebSocket-Key, which begins a WebSocket, is missing"},
        {"GET / HTTP/1.1\r\nConnection: Upgrade\r\nSec-WebSocket-Key:  \r\n\r\n", "is missing"},
        {"GET /" + std::string(5000, 'a'), "The request is too long"}};
    for (const auto& [request, words] : refused) {
        Client client(server.port);
        client.Send(request);
        const std::string answer = client.Read(1000);
        EXPECT_TRUE(answer.starts_with("HTTP/1.1 400 Bad Request\r\n")) << answer;
        EXPECT_NE(answer.find(words), std::string::npos) << answer;
    }
}
