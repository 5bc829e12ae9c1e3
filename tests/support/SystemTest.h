// A platform to test the real lobby in: simulator, Redis, one lobby or more.
#pragma once

#include <gtest/gtest.h>

#include <condition_variable>
#include <mutex>

#include "Common/Descriptors.h"
#include "LobbyProcess.h"
#include "Platform.h"
#include "Player.h"
#include "RedisServer.h"

using client::Clock;
using client::Player;
using sim::ServerKind;
using std::chrono::milliseconds;
using std::chrono::seconds;
using wire::Message;

// Everything runs on free loopback ports. The simulator has a thread of its own; its world may be
// looked at through platform.Do only.
class SystemTest : public testing::Test {
  protected:
    SystemTest() {
        platform.SetObserver([this](ServerKind kind, const Message& message) {
            const std::lock_guard lock(m_mutex);
            m_seen[{kind, message.type}].push_back(message);
            m_changed.notify_all();
        });
        platform.OpenAll();
        platform.Start();
        config = Settings();
        RaiseDescriptorLimit();
    }
    ~SystemTest() override { platform.Stop(); }
    // A lobby that still serves must end in order; sanitizers report through its status.
    void TearDown() override {
        if (port == 0 || lobby.Ended()) return;
        lobby.Terminate();
        EXPECT_EQ(lobby.AwaitEnd(), 0) << lobby.Errors();
    }

    LobbySettings Settings() {
        // As the sample has it; ctest runs some cases with the other value, too.
        const char* const wakeup = std::getenv("LOBBY_TEST_WAKEUP");
        LobbySettings settings = {{"network",
                                   {{"interval", "20"},
                                    {"timeout", "120"},
                                    {"MAX_SEND_COUNT", "8192"},
                                    {"MAX_RECV_COUNT", "8192"},
                                    {"wakeup", wakeup != nullptr ? wakeup : "1"}}},
                                  {"init", {{"sendbulletintime", "1"}}},
                                  {"listen", {{"maxconnection", "4900"}}},
                                  {"Redis", {{"redis_server", redis.Address()}, {"timeout", "1"}}},
                                  {"log", {{"level", "ALL"}}}};
        for (const ServerKind kind : sim::ALL_SERVERS) {
            const std::string name = kind == ServerKind::Web ? "bulletin" : NameOf(kind);
            settings["connect"][name + "_server"] = Loopback(platform.Port(kind));
        }
        return settings;
    }
    static std::string Loopback(int port) { return "127.0.0.1:" + std::to_string(port); }
    // Starts a lobby with `config` on a free port, again when somebody took that port meanwhile;
    // the port.
    uint16_t Serve(LobbyProcess& process) {
        for (int attempt = 0; attempt < 5; ++attempt) {
            const int free = RedisServer::FreePort();
            config["listen"]["addr"] = Loopback(free);
            process.Configure(config);
            process.Start();
            if (process.AwaitServing()) return static_cast<uint16_t>(free);
        }
        throw std::runtime_error("the lobby does not start:\n" + process.Output());
    }
    void Serve() { port = Serve(lobby); }

    static milliseconds Patience() { return seconds(10 * SLOWER); }
    std::unique_ptr<Player> Connect(int32_t user, uint16_t lobbyPort = 0,
                                    client::Transport transport = client::Transport::Tcp) {
        return std::make_unique<Player>("127.0.0.1", lobbyPort ? lobbyPort : port, user, Patience(),
                                        transport);
    }
    std::unique_ptr<Player> LoggedIn(int32_t user, uint16_t lobbyPort = 0) {
        auto player = Connect(user, lobbyPort);
        const int code = player->Login().ucErrNo;
        if (code != 0) throw std::runtime_error("login refused: " + std::to_string(code));
        return player;
    }
    // These users, all at once; each is answered.
    std::vector<std::unique_ptr<Player>> LogIn(int32_t first, int count) {
        std::vector<std::unique_ptr<Player>> players;
        for (int i = 0; i < count; ++i) {
            players.push_back(Connect(first + i));
            players.back()->SendLogin();
        }
        for (auto& player : players)
            EXPECT_EQ(player->Await(LOBBY_AUTHEN_RES_S2C).As<LobbyAuthenRes>().ucErrNo, 0);
        return players;
    }

    // The n-th message of that type a server got from any lobby, waiting for it.
    Message Seen(ServerKind kind, uint16_t type, size_t n = 0) {
        std::unique_lock lock(m_mutex);
        auto& list = m_seen[{kind, type}];
        if (!m_changed.wait_for(lock, Patience(), [&] { return list.size() > n; })) {
            throw std::runtime_error("a server waited in vain for a message");
        }
        return list[n];
    }
    size_t CountSeen(ServerKind kind, uint16_t type) {
        const std::lock_guard lock(m_mutex);
        return m_seen[{kind, type}].size();
    }

    std::string Online(int32_t user) {
        return redis.Command("GET Lobby:OnLine:UserID:" + std::to_string(user));
    }
    // Returns when the lobby has noticed that the user's connection is gone.
    bool AwaitOffline(int32_t user) {
        return Eventually([&] { return Online(user) != "1"; });
    }
    // True when the lobby closes the connection.
    static bool Closed(Player& player) {
        return player.Line().WaitClosed(Clock::now() + Patience());
    }
    int64_t AllCoins() {
        return platform.Do([&] { return platform.TheWorld().AllCoins(); });
    }

    RedisServer redis;
    sim::Platform platform;
    LobbySettings config;  // of the lobbies that are started
    LobbyProcess lobby;
    uint16_t port = 0;

  private:
    std::mutex m_mutex;  // guards m_seen
    std::condition_variable m_changed;
    std::map<std::pair<ServerKind, uint16_t>, std::vector<Message>> m_seen;
};

// 64-bit fields of messages may lie at any multiple of 4, where no reference may be bound to them:
// EXPECT_EQ(+message.llField, ...) compares a copy.

inline constexpr const char* BANK_PASSWORD = "888888";
