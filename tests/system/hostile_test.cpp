// Bad input, floods, clients that never read, start-up failures, shutdown.
#include <gmock/gmock.h>

#include "BankInfoDef_Trans.h"
#include "SystemTest.h"

class HostileTest : public SystemTest {};

TEST_F(HostileTest, BadInputClosesThatConnectionOnlyAndIsLogged) {
    const struct {
        const char* what;
        uint8_t identity, encode;
        uint16_t length, type;
        size_t sent;
        const char* logged;
    } inputs[] = {
        {"wrong identity", 4, 0, 8, 0xF0F1, 8, "IDENTIFY is not match. (4 != 5)"},
        {"length 7", 5, 0, 7, 0xF0F1, 8, "message length(7) greater than BUFFER_SIZE"},
        {"length 4097", 5, 0, 4097, 0xF0F1, 4097, "message length(4097) greater than"},
        {"short AES body", 5, 1, 20, 0x00D5, 20, "Decode Error ! (AES)"},
        {"unknown codec", 5, 2, 40, 0x00D5, 40, "Decode Error ! (Unknown)"},
        {"forbidden type", 5, 0, 8, 0x9000, 8, "client response type invalid !"},
    };
    Serve();
    auto bystander = LoggedIn(10002);
    for (const auto& input : inputs) {
        SCOPED_TRACE(input.what);
        auto player = LoggedIn(10001);
        wire::Bytes bytes = wire::Pack(input.type);
        bytes[0] = input.identity;
        bytes[1] = input.encode;
        bytes[2] = static_cast<uint8_t>(input.length >> 8);
        bytes[3] = static_cast<uint8_t>(input.length);
        bytes.resize(input.sent, 0x41);
        player->Line().SendRaw(bytes);
        EXPECT_TRUE(Closed(*player));
        EXPECT_TRUE(Eventually([&] { return lobby.LogHas(input.logged); }));
        bystander->KeepAlive();
    }
}

// Also those that never read: what waits for them must not hold the process. And those at work.
TEST_F(HostileTest, ShutdownIsQuickWhateverClientsDo) {
    RaiseDescriptorLimit();
    LobbySettings settings = Settings();
    settings["network"]["MAX_SEND_COUNT"] = "400";
    port = Serve(lobby, settings);
    std::vector<std::unique_ptr<Player>> silent;
    for (int i = 0; i < 1000; ++i)
        silent.push_back(Connect(1));
    wire::Bytes echoes;
    for (int i = 0; i < 5000; ++i)
        std::ranges::copy(wire::Pack(MSG_KEEP_ALIVE), std::back_inserter(echoes));
    for (int i = 0; i < 20; ++i) {
        client::Connection& line = silent[static_cast<size_t>(i)]->Line();
        const int tiny = 1;
        setsockopt(line.Handle(), SOL_SOCKET, SO_RCVBUF, &tiny, sizeof(tiny));
        try {
            line.SendRaw(echoes, Clock::now() + milliseconds(100));
        } catch (const std::runtime_error&) {  // the lobby takes no more of it
        }
    }
    const auto work = [&](const std::stop_token& over, int32_t user) {
        while (!over.stop_requested()) {
            try {
                auto player = LoggedIn(user);
                for (int n = 0; n < 50; ++n)
                    player->Line().Send(MSG_KEEP_ALIVE);
                player->Take(1, BANK_PASSWORD);
                platform.DoCommand("farm all " + std::string(300, 'x'));
            } catch (const std::runtime_error&) {  // the lobby has ended
            }
        }
    };
    std::vector<std::jthread> load;
    for (int32_t user = 10001; user < 10005; ++user)
        load.emplace_back(work, user);
    EXPECT_TRUE(
        Eventually([&] { return lobby.LogHas("m_lMaxSendCount - 1 [399] <= send count[399]"); }));
    EXPECT_TRUE(Eventually([&] { return CountSeen(ServerKind::Queue, BANK_GET_COIN_L2Q) > 8; }));
    lobby.Terminate();
    EXPECT_EQ(lobby.AwaitEnd(5), 0);
    EXPECT_TRUE(lobby.LogHas("handler sign : 15"));
    EXPECT_TRUE(lobby.LogHas("has been exit !"));
}

TEST_F(HostileTest, StartThatFailsSaysWhyAndEndsInOrder) {
    struct Fault {
        std::string section, key, value, said, logged = "' error !";
    };
    const Fault faults[] = {
        {"listen", "addr", "no-such.invalid:7", "the name cannot be resolved\n", "Create() error"},
        {"connect", "queue_server", "no-such.invalid:7",
         "cannot connect to no-such.invalid:7 (the name cannot be resolved)\n", "Create() error"},
        {"connect", "log_server", "a-host-name-that-is-too-long.example:1", "longer than"},
        {"connect", "log_server", ":80", "not of the form"},
        {"listen", "addr", "", "missing"},
        {"listen", "addr", "127.0.0.1:" + std::to_string(platform.Port(ServerKind::Log)),
         "Address already in use", "GameProvider::Create() error, host[127.0.0.1]"},
        {"connect", "config_server", "", "missing"},
    };
    const LobbySettings good = Settings();
    for (const Fault& fault : faults) {
        SCOPED_TRACE(testing::Message() << fault.key << "=" << fault.value);
        LobbySettings settings = good;
        settings["listen"]["addr"] = "127.0.0.1:" + std::to_string(RedisServer::FreePort());
        settings[fault.section][fault.key] = fault.value;
        LobbyProcess process;
        process.Configure(settings);
        process.Start();
        EXPECT_EQ(process.AwaitEnd(20), 0);
        EXPECT_TRUE(
            process.LogHas(fault.logged == "' error !" ? fault.key + fault.logged : fault.logged));
        EXPECT_TRUE(process.LogHas("has been exit !"));
        EXPECT_THAT(process.Errors(),
                    testing::HasSubstr("LobbyServer.cfg: section [" + fault.section + "], key \"" +
                                       fault.key + "\": " + fault.said));
    }
}
