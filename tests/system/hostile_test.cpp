// Bad input, clients that never read, shutdown.
#include "BankInfoDef_Trans.h"
#include "SystemTest.h"

class HostileTest : public SystemTest {};

TEST_F(HostileTest, BadInputClosesThatConnectionOnlyAndIsLogged) {
    const std::pair<wire::Bytes, const char*> inputs[] = {
        {{4, 0, 0, 8, 3, 0, 0xF0, 0xF1}, "IDENTIFY is not match. (4 != 5)"},
        {{5, 0, 0, 7, 3, 0, 0xF0, 0xF1}, "message length(7) greater than BUFFER_SIZE"},
        {{5, 0, 16, 1, 3, 0, 0xF0, 0xF1}, "message length(4097) greater than"},
        {{5, 1, 0, 20, 3, 0, 0, 0xD5}, "Decode Error ! (AES)"},
        {{5, 2, 0, 40, 3, 0, 0, 0xD5}, "Decode Error ! (Unknown)"},
        {{5, 0, 0, 8, 3, 0, 0x90, 0}, "client response type invalid !"}};
    Serve();
    auto bystander = LoggedIn(10002);
    for (const auto& [header, logged] : inputs) {
        SCOPED_TRACE(logged);
        wire::Bytes bytes = header;  // and as much as it says
        bytes.resize(std::max<size_t>(wire::HEADER, header[2] * 256u + header[3]), 'A');
        auto player = LoggedIn(10001);
        player->Line().SendRaw(bytes);
        EXPECT_TRUE(Closed(*player));
        EXPECT_TRUE(Eventually([&] { return lobby.LogHas(logged); }));
        bystander->KeepAlive();
    }
}

// Also those that never read: what waits for them must not hold the process. And those at work.
TEST_F(HostileTest, ShutdownIsQuickWhateverClientsDo) {
    config["network"]["MAX_SEND_COUNT"] = "400";
    Serve();
    wire::Bytes echoes;
    for (int i = 0; i < 5000; ++i)
        std::ranges::copy(wire::Pack(MSG_KEEP_ALIVE), std::back_inserter(echoes));
    std::vector<std::unique_ptr<Player>> silent;
    while (silent.size() < 1000)
        silent.push_back(Connect(1));
    for (size_t i = 0; i < 4; ++i) {
        client::Connection& line = silent[i]->Line();
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
                    player->SendKeepAlive();
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
    EXPECT_TRUE(
        Eventually([&] { return CountSeen(ServerKind::Queue, BANK_GET_COIN_L2Q) > 3; }, 30));
    lobby.Terminate();
    EXPECT_EQ(lobby.AwaitEnd(5), 0);
    EXPECT_TRUE(lobby.LogHas("handler sign : 15"));
    EXPECT_TRUE(lobby.LogHas("has been exit !"));
}
