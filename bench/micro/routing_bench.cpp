// One message through the lobby, on a network in memory that only counts what is sent.
#include <benchmark/benchmark.h>

#include <memory>

#include "CountingSender.h"
#include "MemoryLobby.h"
#include "queue_server_msg.h"

namespace {

constexpr int32_t kFirstUser = 20001;

// A serving lobby with so many players.
class World : MemoryLobby {
  public:
    explicit World(long players) {
        Configure();
        Start(std::make_unique<CountingSender>());
        m_oldest = Login(kFirstUser);
        for (long i = 1; i < players; ++i)
            Login(kFirstUser + static_cast<int32_t>(i));
    }

    LobbyServer& Lobby() { return *lobby; }
    // The one whose session is found last.
    LobbyPlayer* Oldest() { return m_oldest; }
    IPlayerNode* QueueLink() { return Link(QUEUE); }
    template <class T>
    void Deliver(IPlayerNode* node, uint16_t type, T& message) {
        lobby->OnNetMessage(node, type, &message, sizeof(message));
    }

  private:
    WorkingFolder m_folder;
    LobbyPlayer* m_oldest = nullptr;
};

// Times what gives one message each.
void Time(benchmark::State& state, const auto& once) {
    const long before = CountingSender::s_sent;
    for (auto _ : state)
        once();
    if (CountingSender::s_sent - before != state.iterations()) state.SkipWithError("not sent");
}

void Players(benchmark::internal::Benchmark* bench) {
    bench->ArgName("players")->Arg(1)->Arg(1000)->Arg(4000);
}

void RouteKeepAlive(benchmark::State& state) {
    World world(state.range(0));
    MsgHeader message{};
    Time(state, [&] { world.Deliver(world.Oldest(), MSG_KEEP_ALIVE, message); });
}
BENCHMARK(RouteKeepAlive)->Apply(Players);

// A client's request, wrapped and passed on to the queue server.
void RouteRequest(benchmark::State& state) {
    World world(state.range(0));
    ModifyGenderReq message{};
    message.iUserId = kFirstUser;
    Time(state, [&] { world.Deliver(world.Oldest(), MODIFY_GENDER_C2S, message); });
}
BENCHMARK(RouteRequest)->Apply(Players);

// The queue server's answer, matched with its session and passed on to the client.
void RouteAnswer(benchmark::State& state) {
    World world(state.range(0));
    ModifyGenderRes_trans message{};
    message.ulPlayerNode = NodeHandle(world.Oldest());
    message.ulPlayerNodeId = world.Oldest()->m_ulPlayerNodeId;
    IPlayerNode* queue = world.QueueLink();
    Time(state, [&] { world.Deliver(queue, MODIFY_GENDER_Q2L, message); });
}
BENCHMARK(RouteAnswer)->Apply(Players);

// A message to a user id.
void SendToUser(benchmark::State& state) {
    World world(state.range(0));
    char message[28] = {};
    Time(state, [&] {
        world.Lobby().SendMsgToPlayerByID(kFirstUser, SYCH_USER_DATA_S2C, message, sizeof(message));
    });
}
BENCHMARK(SendToUser)->Apply(Players);

}  // namespace
