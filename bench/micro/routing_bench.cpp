// One message through the lobby, on a network in memory that only counts what is sent.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>

#include "LobbyServer.h"
#include "MemoryNet.h"
#include "lobby_client_msg.h"
#include "queue_server_msg.h"

namespace {

constexpr unsigned short kQueuePort = 9003;
constexpr int32_t kFirstUser = 20001;

struct CountingSender : INetSender {
    bool Initialize() override { return true; }
    bool SendData(IPlayerNode*, unsigned short, void* data, long, long) override {
        benchmark::DoNotOptimize(data);
        ++s_sent;
        return true;
    }
    bool SendData(IPlayerNode*, void*, long) override { return false; }
    void* AllocMassData(unsigned long, unsigned short, void*, long, long) override {
        return nullptr;
    }
    void* AllocMassData(unsigned long, void*, long) override { return nullptr; }
    bool SendMassData(IPlayerNode*, void*) override { return false; }
    void Close(IPlayerNode*) override { throw std::logic_error("the lobby closed a node"); }
    void OnClosed(IPlayerNode*) override {}
    static inline long s_sent = 0;
};

// An empty directory with the configuration of a lobby.
class Folder {
  public:
    Folder() : m_before(std::filesystem::current_path()) {
        std::string path = (std::filesystem::temp_directory_path() / "lobbyXXXXXX").string();
        if (mkdtemp(path.data()) == nullptr) throw std::runtime_error("no directory");
        m_folder = path;
        std::filesystem::current_path(m_folder);
        std::ofstream("LobbyServer.cfg")
            << "[connect]\ncenter_server=127.0.0.1:9001\nbulletin_server=127.0.0.1:9002\n"
               "queue_server=127.0.0.1:9003\ndata_server=127.0.0.1:9004\n"
               "config_server=127.0.0.1:9005\nlog_server=127.0.0.1:9006\n"
               "[listen]\naddr=127.0.0.1:9100\n[Redis]\nredis_server=127.0.0.1:1\ntimeout=1\n";
    }
    ~Folder() {
        std::filesystem::current_path(m_before);
        std::filesystem::remove_all(m_folder);
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

  private:
    std::filesystem::path m_before, m_folder;
};

// A serving lobby with so many players.
class World {
  public:
    explicit World(long players) {
        NetParts parts = m_net.Parts();
        parts.sender = std::make_unique<CountingSender>();
        m_lobby = std::make_unique<LobbyServer>(std::move(parts));
        m_net.Attach(m_lobby.get());
        if (m_lobby->Start() != 0) throw std::runtime_error("the lobby does not start");
        for (long i = 0; i < players; ++i)
            LogIn(kFirstUser + static_cast<int32_t>(i));
    }

    LobbyServer& Lobby() { return *m_lobby; }
    // The one whose session is found last.
    LobbyPlayer* Oldest() { return m_oldest; }
    IPlayerNode* QueueLink() { return m_net.NodeOfPort(kQueuePort); }
    template <class T>
    void Deliver(IPlayerNode* node, uint16_t type, T& message) {
        m_lobby->OnNetMessage(node, type, &message, sizeof(message));
    }

  private:
    void LogIn(int32_t user) {
        auto* player = static_cast<LobbyPlayer*>(m_net.Connect());
        if (m_oldest == nullptr) m_oldest = player;
        tagLobbyClientConnectNotice notice{};
        notice.iUserID = user;
        notice.iLobbySiteID = 1;
        Deliver(player, CLIENT_CONNECT_NOTICE_C2S, notice);
    }

    Folder m_folder;
    MemoryNet m_net;
    LobbyPlayer* m_oldest = nullptr;
    std::unique_ptr<LobbyServer> m_lobby;
};

void CheckSent(benchmark::State& state, long before) {
    if (CountingSender::s_sent - before != state.iterations()) state.SkipWithError("not sent");
}

void Players(benchmark::internal::Benchmark* bench) {
    bench->ArgName("players")->Arg(1)->Arg(1000)->Arg(4000);
}

void RouteKeepAlive(benchmark::State& state) {
    World world(state.range(0));
    MsgHeader message{};
    const long before = CountingSender::s_sent;
    for (auto _ : state)
        world.Deliver(world.Oldest(), MSG_KEEP_ALIVE, message);
    CheckSent(state, before);
}
BENCHMARK(RouteKeepAlive)->Apply(Players);

// A client's request, wrapped and passed on to the queue server.
void RouteRequest(benchmark::State& state) {
    World world(state.range(0));
    ModifyGenderReq message{};
    message.iUserId = kFirstUser;
    const long before = CountingSender::s_sent;
    for (auto _ : state)
        world.Deliver(world.Oldest(), MODIFY_GENDER_C2S, message);
    CheckSent(state, before);
}
BENCHMARK(RouteRequest)->Apply(Players);

// The queue server's answer, matched with its session and passed on to the client.
void RouteAnswer(benchmark::State& state) {
    World world(state.range(0));
    ModifyGenderRes_trans message{};
    message.ulPlayerNode = NodeHandle(world.Oldest());
    message.ulPlayerNodeId = world.Oldest()->m_ulPlayerNodeId;
    IPlayerNode* queue = world.QueueLink();
    const long before = CountingSender::s_sent;
    for (auto _ : state)
        world.Deliver(queue, MODIFY_GENDER_Q2L, message);
    CheckSent(state, before);
}
BENCHMARK(RouteAnswer)->Apply(Players);

// A message to a user id.
void SendToUser(benchmark::State& state) {
    World world(state.range(0));
    char message[28] = {};
    const long before = CountingSender::s_sent;
    for (auto _ : state) {
        world.Lobby().SendMsgToPlayerByID(kFirstUser, SYCH_USER_DATA_S2C, message, sizeof(message));
    }
    CheckSent(state, before);
}
BENCHMARK(SendToUser)->Apply(Players);

}  // namespace
