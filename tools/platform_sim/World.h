// What the simulated platform knows: players, game servers, site lists, settings, activities.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "activitySystem/Activity_Data_Msg.h"
#include "center_server_msg.h"

namespace sim {

// One account. The bank belongs to the account, the coins in hand too: lobbies only show them.
struct Player {
    int32_t id = 0;
    std::string token = "token";
    std::string password = "123456";  // login password
    std::string bankPassword = "888888";
    std::string nickname;
    std::string signature;
    std::string mobile;
    std::string realName;
    std::string identity;
    std::string outAccount;
    int64_t coin = 10000;
    int64_t bankCoin = 100000;
    int64_t ingots = 0;
    int64_t recharged = 0;
    int32_t gender = 0;
    int32_t faceId = 1;
    int32_t faceFrame = 0;
    int32_t accountSource = 1;
    int32_t teamTag = 0;
    int32_t lianyunFlag = 0;
    int32_t registerType = 0;
    int32_t machineIndex = 0;
    int32_t playTime = 0;
    int32_t friendProps = 0;
    int32_t freeCount = 3;  // tournament: entries, tickets, score, rank
    int32_t dayTickets = 1;
    int32_t monthTickets = 0;
    int32_t monthScore = 0;
    int32_t monthRank = 0;
};

struct VipItem {
    int32_t id;
    int32_t value;
};

// Everything the six servers answer from. Owned by Platform.
// Thread: the simulator's only.
struct World {
    std::map<int32_t, Player> players;
    std::map<uint16_t, tagServerInfo> servers;  // by server id
    std::vector<tagSiteMobileGameList> sites;
    std::vector<VipItem> vipLevels, vipPhotos, vipFrames;
    std::vector<std::string> farmKeys;
    std::vector<tagDBActivityConfigData> activities;
    std::map<std::pair<int32_t, int32_t>, tagDBUserActivityProgressData>
        progress;  // user, activity
    int32_t stopSwitch = 0;
    int64_t created = 0;  // coins that recharges and rewards brought into the world

    Player* FindPlayer(int32_t id);
    // True when another player has that nickname.
    bool NicknameTaken(const std::string& nickname, int32_t exceptId) const;
    // Coins of all players, in hand and in the bank. Constant but for `created`.
    int64_t AllCoins() const;
    // Adds players first .. first + count - 1 with default figures.
    void AddPlayers(int32_t first, int32_t count);
};

// A world to start with: players 10001 to 10030, four sites, merged and unmerged games, closed
// rooms, more than 45 servers on site 1.
World DefaultWorld();

// Reads a JSON file over `world`: each list it has replaces the list of that name. False and a
// sentence in `error` when the file is missing or wrong; world is then unchanged.
bool LoadWorld(const std::string& path, World& world, std::string& error);
// The same notation, to start a file of one's own from.
std::string DumpWorld(const World& world);

}  // namespace sim
