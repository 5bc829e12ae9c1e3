#include "World.h"

#include <algorithm>

#include "Wire.h"

namespace sim {
namespace {

void AddSite(World& world, int32_t site, int32_t game, int32_t kind, const char* name) {
    tagSiteMobileGameList entry{};
    entry.iSiteID = site;
    entry.iGameID = game;
    entry.iGameKind = kind;
    entry.iTypeID = game % 3 + 1;
    wire::SetText(entry.szGameName, name);
    wire::SetText(entry.szTypeName, game % 3 ? "cards" : "fishing");
    world.sites.push_back(entry);
}

tagServerInfo ServerOf(uint16_t game, uint16_t id, uint16_t level) {
    tagServerInfo server{};
    server.usGameID = game;
    server.usServerID = id;
    wire::SetText(server.szServerName, "room " + std::to_string(id));
    wire::SetText(server.szTelecomIP, "192.0.2." + std::to_string(game % 250 + 1));
    server.ulLimitPoint = level * 1000u;
    server.ulBaseTime = 15;
    server.ulBasePoint = level * 10u;
    server.ulMaxPoint = level * 100000u;
    server.ulMinPoint = level * 500u;
    server.usOnlineCount = static_cast<uint16_t>(id % 40);
    server.usServerPort = static_cast<uint16_t>(20000 + id % 40000);
    server.ucServerType = 1;
    server.ucOpenFlag = id % 10 != 9;  // every tenth room is closed
    server.usLevel = level;
    server.iMaxUserNum = 200;
    wire::SetText(server.szDsnInfo, "game" + std::to_string(game));
    return server;
}

void AddServers(World& world, uint16_t game, uint16_t firstId, int count) {
    for (int i = 0; i < count; ++i) {
        const auto id = static_cast<uint16_t>(firstId + i);
        world.servers[id] = ServerOf(game, id, static_cast<uint16_t>(i % 4 + 1));
    }
}

tagDBActivityConfigData ActivityOf(int32_t id) {
    tagDBActivityConfigData row{};
    row.iActivityId = id;
    row.iGamecoin = 500;
    row.isOpen = 1;
    return row;
}

}  // namespace

Player* World::FindPlayer(int32_t id) {
    const auto at = players.find(id);
    return at == players.end() ? nullptr : &at->second;
}

bool World::NicknameTaken(const std::string& nickname, int32_t exceptId) const {
    return std::any_of(players.begin(), players.end(), [&](const auto& entry) {
        return entry.first != exceptId && entry.second.nickname == nickname;
    });
}

int64_t World::AllCoins() const {
    uint64_t sum = 0;  // unsigned: a file may hold any figures
    for (const auto& [id, player] : players) {
        sum += static_cast<uint64_t>(player.coin) + static_cast<uint64_t>(player.bankCoin);
    }
    return static_cast<int64_t>(sum);
}

void World::AddPlayers(int32_t first, int32_t count) {
    for (int32_t id = first; id < first + count; ++id) {
        Player player;
        player.id = id;
        player.nickname = "player" + std::to_string(id);
        player.outAccount = "account" + std::to_string(id);
        players[id] = player;
    }
}

World DefaultWorld() {
    World world;
    world.AddPlayers(10001, 30);
    world.players[10002].coin = 500;
    world.players[10003].bankCoin = 0;
    AddSite(world, 1, 101, 0, "fisher's bay");
    AddSite(world, 1, 102, 1, "two aces");
    AddSite(world, 1, 103, 1, "ring of bulls");
    AddSite(world, 2, 101, 1, "fisher's bay");
    AddSite(world, 2, 104, 0, "long road");
    AddSite(world, 3, 102, 0, "two aces");
    AddSite(world, 4, 105, 1, "quiet game");  // offered, but without a server
    AddServers(world, 101, 1100, 12);
    AddServers(world, 102, 1200, 40);
    AddServers(world, 103, 1300, 10);
    AddServers(world, 104, 1400, 6);
    for (int32_t level = 1; level <= 10; ++level)
        world.vipLevels.push_back({level, level * 100});
    for (int32_t id = 1; id <= 60; ++id)
        world.vipPhotos.push_back({id, id / 10});
    for (int32_t id = 1; id <= 70; ++id)
        world.vipFrames.push_back({id, id / 10});
    world.farmKeys = {"farm.harvest", "farm.weather", "farm.market"};
    world.activities = {ActivityOf(20171211), ActivityOf(20180901)};
    return world;
}

}  // namespace sim
