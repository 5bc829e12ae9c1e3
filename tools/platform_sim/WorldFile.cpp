// The world as a JSON file.
#include <cjson/cJSON.h>

#include <fstream>
#include <functional>
#include <iterator>
#include <memory>

#include "Wire.h"
#include "World.h"

namespace sim {
namespace {

using Json = std::unique_ptr<cJSON, decltype(&cJSON_Delete)>;

// One row per member of a record: its key in the file and where it lives.
template <class T>
struct Member {
    const char* key;
    std::function<void(T&, const cJSON*)> read;
    std::function<void(const T&, cJSON*)> write;  // adds to the object
};

template <class T, class N>
Member<T> Number(const char* key, N T::*member) {
    return {key,
            [member](T& t, const cJSON* json) { t.*member = static_cast<N>(json->valuedouble); },
            [key, member](const T& t, cJSON* json) {
                cJSON_AddNumberToObject(json, key, static_cast<double>(t.*member));
            }};
}

template <class T>
Member<T> Text(const char* key, std::string T::*member) {
    return {key,
            [member](T& t, const cJSON* json) {
                t.*member = cJSON_IsString(json) ? json->valuestring : "";
            },
            [key, member](const T& t, cJSON* json) {
                cJSON_AddStringToObject(json, key, (t.*member).c_str());
            }};
}

template <class T, size_t N>
Member<T> Text(const char* key, char (T::*member)[N]) {
    return {key,
            [member](T& t, const cJSON* json) {
                wire::SetText(t.*member, cJSON_IsString(json) ? json->valuestring : "");
            },
            [key, member](const T& t, cJSON* json) {
                cJSON_AddStringToObject(json, key, TextStr(t.*member).c_str());
            }};
}

const std::vector<Member<Player>>& PlayerMembers() {
    static const std::vector<Member<Player>> members = {
        Number("id", &Player::id),
        Text("token", &Player::token),
        Text("password", &Player::password),
        Text("bank_password", &Player::bankPassword),
        Text("nickname", &Player::nickname),
        Text("signature", &Player::signature),
        Text("mobile", &Player::mobile),
        Text("real_name", &Player::realName),
        Text("identity", &Player::identity),
        Text("out_account", &Player::outAccount),
        Number("coin", &Player::coin),
        Number("bank_coin", &Player::bankCoin),
        Number("ingots", &Player::ingots),
        Number("recharged", &Player::recharged),
        Number("gender", &Player::gender),
        Number("face_id", &Player::faceId),
        Number("face_frame", &Player::faceFrame),
        Number("account_source", &Player::accountSource),
        Number("team_tag", &Player::teamTag),
        Number("lianyun_flag", &Player::lianyunFlag),
        Number("register_type", &Player::registerType),
        Number("machine_index", &Player::machineIndex),
        Number("play_time", &Player::playTime),
        Number("friend_props", &Player::friendProps),
        Number("free_count", &Player::freeCount),
        Number("day_tickets", &Player::dayTickets),
        Number("month_tickets", &Player::monthTickets),
        Number("month_score", &Player::monthScore),
        Number("month_rank", &Player::monthRank),
    };
    return members;
}

const std::vector<Member<tagServerInfo>>& ServerMembers() {
    static const std::vector<Member<tagServerInfo>> members = {
        Number("game", &tagServerInfo::usGameID),
        Number("id", &tagServerInfo::usServerID),
        Text("name", &tagServerInfo::szServerName),
        Text("address", &tagServerInfo::szTelecomIP),
        Number("port", &tagServerInfo::usServerPort),
        Number("level", &tagServerInfo::usLevel),
        Number("open", &tagServerInfo::ucOpenFlag),
        Number("online", &tagServerInfo::usOnlineCount),
        Number("type", &tagServerInfo::ucServerType),
        Number("max_users", &tagServerInfo::iMaxUserNum),
        Number("limit_point", &tagServerInfo::ulLimitPoint),
        Number("base_time", &tagServerInfo::ulBaseTime),
        Number("base_point", &tagServerInfo::ulBasePoint),
        Number("max_point", &tagServerInfo::ulMaxPoint),
        Number("min_point", &tagServerInfo::ulMinPoint),
        Text("dsn", &tagServerInfo::szDsnInfo),
    };
    return members;
}

const std::vector<Member<tagSiteMobileGameList>>& SiteMembers() {
    using T = tagSiteMobileGameList;
    static const std::vector<Member<T>> members = {
        Number("site", &T::iSiteID),   Number("game", &T::iGameID),
        Number("kind", &T::iGameKind), Number("type", &T::iTypeID),
        Text("name", &T::szGameName),  Text("type_name", &T::szTypeName),
    };
    return members;
}

const std::vector<Member<tagDBActivityConfigData>>& ActivityMembers() {
    using T = tagDBActivityConfigData;
    static const std::vector<Member<T>> members = {
        Number("id", &T::iActivityId),
        Number("game", &T::iGameid),
        Number("site", &T::iSiteId),
        Number("coin", &T::iGamecoin),
        Number("condition1", &T::iCondition1),
        Number("condition2", &T::iCondition2),
        Number("condition3", &T::iCondition3),
        Number("multi_game", &T::isMultiGame),
        Number("open", &T::isOpen),
        Number("day_begin", &T::iDayBegin),
        Number("day_end", &T::iDayEnd),
        // 64-bit fields lie at multiples of 4: no pointers to them.
        {"time_begin",
         [](T& t, const cJSON* json) { t.ulTimeBegin = static_cast<uint64_t>(json->valuedouble); },
         [](const T& t, cJSON* json) {
             cJSON_AddNumberToObject(json, "time_begin", static_cast<double>(t.ulTimeBegin));
         }},
        {"time_end",
         [](T& t, const cJSON* json) { t.ulTimeEnd = static_cast<uint64_t>(json->valuedouble); },
         [](const T& t, cJSON* json) {
             cJSON_AddNumberToObject(json, "time_end", static_cast<double>(t.ulTimeEnd));
         }},
    };
    return members;
}

const std::vector<Member<VipItem>>& VipMembers() {
    static const std::vector<Member<VipItem>> members = {Number("id", &VipItem::id),
                                                         Number("value", &VipItem::value)};
    return members;
}

// Keys the members do not know are mistakes of whoever wrote the file.
template <class T>
bool ReadRecord(const cJSON* json, const std::vector<Member<T>>& members, T& record,
                std::string& error) {
    const cJSON* item = nullptr;
    cJSON_ArrayForEach(item, json) {
        bool known = false;
        for (const Member<T>& member : members) {
            if (item->string == nullptr || member.key != std::string_view(item->string)) continue;
            member.read(record, item);
            known = true;
        }
        if (!known) {
            error = std::string("unknown key \"") + (item->string ? item->string : "") + "\"";
            return false;
        }
    }
    return true;
}

template <class T>
bool ReadList(const cJSON* root, const char* name, const std::vector<Member<T>>& members,
              std::vector<T>& list, std::string& error) {
    const cJSON* array = cJSON_GetObjectItemCaseSensitive(root, name);
    if (array == nullptr) return true;
    if (!cJSON_IsArray(array)) {
        error = std::string("\"") + name + "\" is not a list";
        return false;
    }
    list.clear();
    const cJSON* item = nullptr;
    cJSON_ArrayForEach(item, array) {
        T record{};
        if (!ReadRecord(item, members, record, error)) {
            error.insert(0, std::string("in \"") + name + "\": ");
            return false;
        }
        list.push_back(record);
    }
    return true;
}

template <class Map>
auto Values(const Map& map) {
    std::vector<typename Map::mapped_type> values;
    values.reserve(map.size());
    for (const auto& entry : map)
        values.push_back(entry.second);
    return values;
}

void ReadFarmKeys(const cJSON* root, World& world) {
    const cJSON* keys = cJSON_GetObjectItemCaseSensitive(root, "farm_keys");
    if (keys == nullptr) return;
    world.farmKeys.clear();
    const cJSON* item = nullptr;
    cJSON_ArrayForEach(item, keys) {
        if (cJSON_IsString(item)) world.farmKeys.push_back(item->valuestring);
    }
}

bool ReadWorld(const cJSON* root, World& world, std::string& error) {
    auto players = Values(world.players);
    auto servers = Values(world.servers);
    const bool ok = ReadList(root, "players", PlayerMembers(), players, error) &&
                    ReadList(root, "servers", ServerMembers(), servers, error) &&
                    ReadList(root, "sites", SiteMembers(), world.sites, error) &&
                    ReadList(root, "vip_levels", VipMembers(), world.vipLevels, error) &&
                    ReadList(root, "vip_photos", VipMembers(), world.vipPhotos, error) &&
                    ReadList(root, "vip_frames", VipMembers(), world.vipFrames, error) &&
                    ReadList(root, "activities", ActivityMembers(), world.activities, error);
    if (!ok) return false;
    ReadFarmKeys(root, world);
    world.players.clear();
    world.servers.clear();
    for (const Player& player : players) {
        if (player.id <= 0) return error = "a player has no positive \"id\"", false;
        world.players[player.id] = player;
    }
    for (const tagServerInfo& server : servers)
        world.servers[server.usServerID] = server;
    return true;
}

template <class T>
void AddList(cJSON* root, const char* name, const std::vector<Member<T>>& members,
             const std::vector<T>& list) {
    cJSON* array = cJSON_AddArrayToObject(root, name);
    for (const T& record : list) {
        cJSON* object = cJSON_CreateObject();
        for (const Member<T>& member : members)
            member.write(record, object);
        cJSON_AddItemToArray(array, object);
    }
}

}  // namespace

bool LoadWorld(const std::string& path, World& world, std::string& error) {
    std::ifstream file(path, std::ios::binary);
    if (!file) return error = "cannot be read", false;
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    const Json root(cJSON_Parse(text.c_str()), cJSON_Delete);
    if (!cJSON_IsObject(root.get())) return error = "is not a JSON object", false;
    World next = world;
    if (!ReadWorld(root.get(), next, error)) return false;
    world = std::move(next);
    return true;
}

std::string DumpWorld(const World& world) {
    const Json root(cJSON_CreateObject(), cJSON_Delete);
    AddList(root.get(), "players", PlayerMembers(), Values(world.players));
    AddList(root.get(), "servers", ServerMembers(), Values(world.servers));
    AddList(root.get(), "sites", SiteMembers(), world.sites);
    AddList(root.get(), "vip_levels", VipMembers(), world.vipLevels);
    AddList(root.get(), "vip_photos", VipMembers(), world.vipPhotos);
    AddList(root.get(), "vip_frames", VipMembers(), world.vipFrames);
    AddList(root.get(), "activities", ActivityMembers(), world.activities);
    cJSON* keys = cJSON_AddArrayToObject(root.get(), "farm_keys");
    for (const std::string& key : world.farmKeys) {
        cJSON_AddItemToArray(keys, cJSON_CreateString(key.c_str()));
    }
    const std::unique_ptr<char, decltype(&cJSON_free)> text(cJSON_Print(root.get()), cJSON_free);
    return std::string(text.get()) + "\n";
}

}  // namespace sim
