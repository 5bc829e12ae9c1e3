#include "ServerList.h"

#include <cstdio>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "Common/Clock.h"
#include "Common/Log.h"
#include "Common/WorkerThread.h"
#include "LobbyPlayer.h"
#include "MsgView.h"

namespace {

constexpr time_t kDumpInterval = 3600;  // seconds
constexpr uint16_t kRecordsPerMessage = 20;

using ShowList = std::vector<tagServerInfo>;

// The first record of a list with the same game, server id and level is the one that counts; as
// later ones are merged into it, there is only one.
uint64_t RecordKey(const tagServerInfo& info) {
    return static_cast<uint64_t>(info.usGameID) << 32 |
           static_cast<uint64_t>(info.usServerID) << 16 | info.usLevel;
}

// Appends records to a list, merging each into an equal one that is there already.
class ShowListBuilder {
  public:
    explicit ShowListBuilder(ShowList& list) : m_list(list) {
        for (size_t i = 0; i < list.size(); ++i)
            m_index.try_emplace(RecordKey(list[i]), i);
    }

    void Add(const tagServerInfo& info) {
        const auto [it, added] = m_index.try_emplace(RecordKey(info), m_list.size());
        if (added) {
            m_list.push_back(info);
        } else {
            uint16_t& count = m_list[it->second].usOnlineCount;
            count = static_cast<uint16_t>(count + info.usOnlineCount);
        }
    }

  private:
    ShowList& m_list;
    std::unordered_map<uint64_t, size_t> m_index;
};

// One game's servers as sites show them.
struct GameRecords {
    std::vector<const tagServerInfo*> servers;  // by ascending server id
    ShowList shown[2];  // [1]: one entry per level; made when first asked for
};

void AddServers(const GameRecords& game, bool onePerLevel, ShowList& list) {
    ShowListBuilder builder(list);
    for (const tagServerInfo* server : game.servers) {
        tagServerInfo info = *server;
        if (onePerLevel) info.usServerID = 0;
        builder.Add(info);
    }
}

// Unsigned fields print as signed ones, as they always did: log readers parse these lines.
void LogRecord(const tagServerInfo& i) {
    __log(_DEBUG, "ServerList::InsertInfo:",
          "[%d],[%d],[%s],[%d],[%d],[%d],[%d],[%d], [%d],[%d],[%s],[%s],[%d],[%d],[%d],[%d] \n ",
          i.usGameID, i.usServerID, TextStr(i.szServerName).c_str(), int(i.ulLimitPoint),
          int(i.ulBaseTime), int(i.ulBasePoint), int(i.ulMaxPoint), int(i.ulMinPoint),
          i.usOnlineCount, i.usServerPort, TextStr(i.szTelecomIP).c_str(),
          TextStr(i.szDsnInfo).c_str(), i.ucServerType, i.ucOpenFlag, i.usLevel, i.iMaxUserNum);
}

void LogShown(int32_t site, const tagServerInfo& i) {
    __log(_DEBUG, "ServerList::refreshShowGameList",
          "站点[%d] info:[%d],[%d],[%s],[%d],[%d],[%d],[%d],[%d], "
          "[%d],[%d],[%s],[%s],[%d],[%d],[%d],[%d] ",
          site, i.usGameID, i.usServerID, TextStr(i.szServerName).c_str(), int(i.ulLimitPoint),
          int(i.ulBaseTime), int(i.ulBasePoint), int(i.ulMaxPoint), int(i.ulMinPoint),
          i.usOnlineCount, i.usServerPort, TextStr(i.szTelecomIP).c_str(),
          TextStr(i.szDsnInfo).c_str(), i.ucServerType, i.ucOpenFlag, i.usLevel, i.iMaxUserNum);
}

}  // namespace

int32_t ServerList::InsertInfo(tagServerInfo& info, GameSiteList sites, bool refresh) {
    AssertWorker();
    if (m_gameServerMap.count(info.usServerID) != 0) {
        // Replaced whole: nothing of the old record survives.
        tagTerminateNotice old{};
        old.usGameID = info.usGameID;
        old.usServerID = info.usServerID;
        DeleteInfo(old, {}, false);
        __log(_WARN, "ServerList::InsertInfo:",
              "GameID [%d], ServerID [%d] have exsit in the PlayerList! ", info.usGameID,
              info.usServerID);
    }
    if (LogEnabled(_DEBUG)) LogRecord(info);
    m_gameServerMap[info.usServerID] = info;
    if (refresh) refreshShowGameList(std::move(sites));
    return 1;
}

tagServerInfo* ServerList::Find(const char* tag, int gameId, uint16_t serverId) {
    const auto at = m_gameServerMap.find(serverId);
    if (at != m_gameServerMap.end()) return &at->second;
    __log(_ERROR, tag, "gameMap find error ! game_id[%d], server_id[%d]", gameId, serverId);
    return nullptr;
}

int32_t ServerList::UpdateInfo(tagUpdateServerInfo& update, GameSiteList sites) {
    AssertWorker();
    tagServerInfo* const known = Find("ServerList::UpdateInfo", update.usGameID, update.usServerID);
    if (known == nullptr) return 0;
    tagServerInfo& info = *known;
    if (info.usGameID != update.usGameID) return 1;  // a stale notice: no line is written
    const bool flagChanged = info.ucOpenFlag != update.ucOpenFlag;
    info.usOnlineCount = update.usOnlineCount;
    info.ucOpenFlag = update.ucOpenFlag;
    if (flagChanged) refreshShowGameList(std::move(sites));
    __log(_DEBUG, "ServerList::UpdateInfo", "usGameID[%d], usServerID[%d], ucOpenFlag[%d]",
          update.usGameID, update.usServerID, update.ucOpenFlag);
    return 1;
}

int32_t ServerList::CloseInfo(tagServerCloseNotice& notice, GameSiteList sites) {
    AssertWorker();
    tagServerInfo* const info = Find("ServerList::CloseInfo", notice.usGameID, notice.usServerID);
    if (info == nullptr) return 0;
    // Another game's notice leaves the flag alone, yet the lists are rebuilt.
    if (info->usGameID == notice.usGameID) {
        info->ucOpenFlag = static_cast<uint8_t>(notice.cCloseServer);
    }
    refreshShowGameList(std::move(sites));
    return 1;
}

int32_t ServerList::DeleteInfo(tagTerminateNotice& notice, GameSiteList sites, bool refresh) {
    AssertWorker();
    if (m_gameServerMap.erase(notice.usServerID) == 0) {
        __log(_ERROR, "ServerList::DeleteInfo:", "GameID[%d] ServerID[%d] delete fail! ",
              notice.usGameID, notice.usServerID);
        return 0;
    }
    if (refresh) refreshShowGameList(std::move(sites));
    return 1;
}

// The copy is the interface's: each operation has a list of its own.
// NOLINTNEXTLINE(performance-unnecessary-value-param)
void ServerList::refreshShowGameList(GameSiteList sites) {
    AssertWorker();
    RebuildShowLists(sites);
    const time_t now = ClockNow();
    if (now - m_tLastDump < kDumpInterval) return;
    m_tLastDump = now;  // the hour counts whether or not the level lets the lines through
    if (LogEnabled(_DEBUG)) DumpShowLists();
}

void ServerList::RebuildShowLists(const GameSiteList& sites) {
    auto previous = std::exchange(m_showSiteMap, {});
    std::unordered_map<int32_t, GameRecords> games;
    for (const auto& [id, info] : m_gameServerMap)
        games[info.usGameID].servers.push_back(&info);

    // As long as a site has nothing of a game, no record of it can merge with one that is there,
    // so the game's ready-made list is appended as a whole.
    std::unordered_set<uint64_t> offered;
    for (const auto& [key, entry] : sites.m_gameSiteMap) {
        // Site lists carry 32-bit game ids, servers 16-bit ones; compared widened. A site without a
        // server gets no list at all.
        const auto it = games.find(entry.iGameID);
        if (it == games.end()) continue;
        GameRecords& game = it->second;
        const bool onePerLevel = entry.iGameKind == 0;
        ShowList& list = ShowListOf(entry.iSiteID, previous);
        const uint64_t offer = static_cast<uint64_t>(static_cast<uint32_t>(entry.iSiteID)) << 32 |
                               static_cast<uint32_t>(entry.iGameID);
        if (!offered.insert(offer).second) {
            AddServers(game, onePerLevel, list);
            continue;
        }
        ShowList& shown = game.shown[onePerLevel];
        if (shown.empty()) AddServers(game, onePerLevel, shown);
        list.insert(list.end(), shown.begin(), shown.end());
    }
}

// The list of a site, made when it has none yet - in the memory of its previous list, since with
// many records allocation would be most of the cost.
std::vector<tagServerInfo>& ServerList::ShowListOf(
    int32_t site, std::map<int32_t, std::vector<tagServerInfo>>& previous) {
    const auto [it, fresh] = m_showSiteMap.try_emplace(site);
    const auto old = previous.find(site);
    if (fresh && old != previous.end()) {
        it->second = std::move(old->second);
        it->second.clear();
    }
    return it->second;
}

void ServerList::DumpShowLists() {
    static constexpr char tag[] = "ServerList::refreshShowGameList";
    for (const auto& [site, list] : m_showSiteMap) {
        __log(_DEBUG, tag, "-------------------第%d站点--------------------------", site);
        for (const tagServerInfo& info : list)
            LogShown(site, info);
        __log(_DEBUG, tag,
              "-------------------------------------------"
              "-------------------------------------------\n\n");
    }
}

// NOLINTNEXTLINE(performance-unnecessary-value-param)
void ServerList::SendServerList(GameProvider* provider, IPlayerNode* node, GameSiteList) {
    AssertWorker();
    static constexpr char tag[] = "ServerList::SendServerList";
    std::fputs("ServerList::SendServerList:", stdout);
    if (provider == nullptr || node == nullptr) return;
    const auto* player = static_cast<const LobbyPlayer*>(node);
    __log(_DEBUG, tag, "ServerList::SendServerList:logintype[%d]...", player->m_cLoginType);
    if (player->m_cLoginType != LOGIN_LOBBY) return;

    // Cleared once per list: a short last message leaves earlier records behind its end, which are
    // not sent.
    std::memset(&m_sendList, 0, sizeof(m_sendList));
    if (LogEnabled(_DEBUG)) LogShowSizes(player->m_iUserID, player->m_iLoginSiteID);
    const auto site = m_showSiteMap.find(player->m_iLoginSiteID);
    if (site == m_showSiteMap.end()) return;

    const ShowList& list = site->second;
    for (size_t i = 0; i < list.size(); ++i) {
        const tagServerInfo& info = list[i];
        if (LogEnabled(_DEBUG)) {
            __log(_DEBUG, tag,
                  "gameid[%d] serverid[%d] servername[%s] serverip[%s] serverport[%d] "
                  "servertype[%d] listcount[%d] ucOpenFlag[%d]",
                  info.usGameID, info.usServerID, TextStr(info.szServerName).c_str(),
                  TextStr(info.szTelecomIP).c_str(), info.usServerPort, info.ucServerType,
                  m_sendList.usListCount + 1, info.ucOpenFlag);
        }
        // Closed servers go out, too: the client decides how to show them.
        m_sendList.serverInfo[m_sendList.usListCount++] = info;
        if (m_sendList.usListCount == kRecordsPerMessage) {
            SendChunk(provider, node, i + 1 == list.size(), "0000000000");
        }
    }
    if (m_sendList.usListCount != 0) SendChunk(provider, node, true, "1111111111");
}

void ServerList::LogShowSizes(int32_t userId, int32_t siteId) const {
    static constexpr char tag[] = "ServerList::SendServerList";
    __log(_DEBUG, tag, "==========================================");
    __log(_DEBUG, tag, "userid[%d] loginsiteid[%d] mapsize[%d]...", userId, siteId,
          static_cast<int>(m_showSiteMap.size()));
    for (const auto& [site, list] : m_showSiteMap) {
        __log(_DEBUG, tag, "siteid[%d] serversize[%d].\n", site, static_cast<int>(list.size()));
    }
    __log(_DEBUG, tag, "==========================================");
}

void ServerList::SendChunk(GameProvider* provider, IPlayerNode* node, bool last, const char* mark) {
    m_sendList.usIsFinish = last ? 1 : 0;
    const size_t length =
        offsetof(tagGameServer, serverInfo) + m_sendList.usListCount * sizeof(tagServerInfo);
    provider->SendData(node, MSG_CLIENT_SERVER_INFO_RES, &m_sendList, static_cast<long>(length),
                       ENCODE_NONE);
    m_sendList.usListCount = 0;
    __log(_DEBUG, "ServerList::SendServerList",
          "=================== %s usIsFinish[%d]====================", mark, m_sendList.usIsFinish);
}
