// A real lobby with its extras switched on.
#include "SystemTest.h"
#include "queue_server_msg.h"

class OptionsTest : public SystemTest {};

TEST_F(OptionsTest, TheBalancersClientIsTheOneThatIsRelayedLimitedAndLogged) {
    LobbySettings settings = Settings();
    settings["listen"]["trusted_proxies"] = "10.0.0.0/8,127.0.0.1";
    settings["listen"]["proxy_protocol"] = "1";
    settings["listen"]["maxconnection"] = "4999";
    settings["limits"]["0xF0F1"] = "2/1440m close";
    settings["log"]["json"] = "1";
    settings["log"]["warnings"] = "1";
    port = Serve(lobby, settings);
    // What a balancer sends first for a client at 203.0.113.7, port 51216.
    const wire::Bytes header = {'\r', '\n', '\r', '\n', 0,    '\r', '\n', 'Q', 'U', 'I',
                                'T',  '\n', 0x21, 0x11, 0,    12,   203,  0,   113, 7,
                                10,   0,    0,    1,    0xC8, 0x10, 0x23, 0x8C};
    auto player = Connect(10001);
    player->Line().SendRaw(wire::View(header).first(7));
    player->Line().SendRaw(wire::View(header).subspan(7));
    EXPECT_EQ(player->Login().ucErrNo, 0);
    EXPECT_EQ(player->Password("123456", "secret").ucResultType, 0);
    const auto password =
        Seen(ServerKind::Queue, MODIFY_PASSWORD_L2Q).As<ModifyPassWordReq_trans>();
    EXPECT_EQ(TextOf(password.szClientIP), "203.0.113.7");
    EXPECT_TRUE(lobby.LogHas(" is the proxy of 203.0.113.7:51216"));
    EXPECT_TRUE(lobby.LogHas("maxconnection[4999] reaches the guard of the sweep"));
    player->KeepAlive();
    player->KeepAlive();
    player->Line().Send(MSG_KEEP_ALIVE);
    EXPECT_TRUE(Closed(*player));
    auto direct = Connect(10002);
    direct->Line().Send(MSG_KEEP_ALIVE);
    EXPECT_TRUE(Closed(*direct));
    const std::string json = lobby.LogFile("test.json");
    EXPECT_EQ(json.rfind("{\"time\":\"", 0), 0u);
    EXPECT_NE(json.find("type[0xf0f1] more than count[2] in seconds[86400], closed\"}\n"),
              std::string::npos);
    EXPECT_NE(json.find(" sends no PROXY header, do close...\"}\n"), std::string::npos);
}
