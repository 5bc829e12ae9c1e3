// Times the rebuild of the show lists and the sending of one site's list.
#include <benchmark/benchmark.h>
#include <malloc.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <string>

#include "CenterServerHandler.h"
#include "CountingSender.h"
#include "LobbyPlayer.h"
#include "MemoryNet.h"
#include "ServerList.h"

namespace {

constexpr int kSiteEntries = 1000;

NetParts Parts(MemoryNet& net) {
    NetParts parts = net.Parts();
    parts.sender = std::make_unique<CountingSender>();
    return parts;
}

struct Application : GameProvider {
    explicit Application(MemoryNet& net) : GameProvider(Parts(net)) {
        Initialize(0, 0, 0, 0, 1, 0, 0);
    }
    long Start() override { return 0; }
    IPlayerNode* OnCreatePlayer() override { return nullptr; }
};

// Servers spread over the games, 5 levels each.
void FillServers(ServerList& list, int count, int games) {
    for (int i = 0; i < count; ++i) {
        tagServerInfo info{};
        info.usGameID = static_cast<uint16_t>(i % games);
        info.usServerID = static_cast<uint16_t>(i + 1);
        info.usLevel = static_cast<uint16_t>(i % 5);
        list.m_gameServerMap[info.usServerID] = info;
    }
}

// 1000 entries: each site offers every game, every third one merged.
GameSiteList Sites(int games) {
    GameSiteList sites;
    for (int i = 0; i < kSiteEntries; ++i) {
        tagSiteMobileGameList entry{};
        entry.iSiteID = i / games;
        entry.iGameID = i % games;
        entry.iGameKind = i % 3;
        sites.m_gameSiteMap[{entry.iSiteID, entry.iGameID}] = entry;
    }
    return sites;
}

// The call as the center handler makes it, the copy of the site list included. `first`: there are
// no lists yet whose memory could be used again, nor freed memory of earlier ones.
void Rebuild(benchmark::State& state) {
    const int games = static_cast<int>(state.range(1));
    ServerList list;
    FillServers(list, static_cast<int>(state.range(0)), games);
    const GameSiteList sites = Sites(games);
    for (auto _ : state) {
        if (state.range(2) != 0) {
            state.PauseTiming();
            list.m_showSiteMap.clear();
            malloc_trim(0);
            state.ResumeTiming();
        }
        list.refreshShowGameList(sites);
    }
    size_t records = 0;
    for (const auto& [site, shown] : list.m_showSiteMap)
        records += shown.size();
    state.counters["records"] = static_cast<double>(records);
}
BENCHMARK(Rebuild)
    ->ArgNames({"servers", "games", "first"})
    ->ArgsProduct({{100, 1000, 2000}, {10, 50, 200}, {0, 1}})
    ->Unit(benchmark::kMillisecond);

void SendList(benchmark::State& state) {
    MemoryNet net;
    Application application(net);
    LobbyPlayer player;
    player.m_cLoginType = LOGIN_LOBBY;
    player.m_iLoginSiteID = 1;
    ServerList list;
    list.m_showSiteMap[1].resize(static_cast<size_t>(state.range(0)));
    const GameSiteList sites = Sites(50);
    for (auto _ : state)
        list.SendServerList(&application, &player, sites);
}
BENCHMARK(SendList)->ArgName("records")->Arg(45)->Arg(1000)->Unit(benchmark::kMicrosecond);

}  // namespace

// What SendServerList prints would bury the table.
int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    std::ofstream table("/dev/fd/" + std::to_string(dup(STDOUT_FILENO)));
    if (std::freopen("/dev/null", "w", stdout) == nullptr) return 1;
    benchmark::ConsoleReporter reporter(benchmark::ConsoleReporter::OO_Tabular);
    reporter.SetOutputStream(&table);
    benchmark::RunSpecifiedBenchmarks(&reporter);
}
