// The directory of running game servers and, per site, the list its players are shown.
#pragma once

#include <cstdint>
#include <ctime>
#include <map>
#include <vector>

#include "GameSiteList.h"
#include "center_server_msg.h"

class GameProvider;
class IPlayerNode;

// Keeps one record per server id. The show lists are copies made by the last rebuild: a change of
// a record reaches players only with the next one. Held by value by CenterServerHandler.
// Thread: message worker. No lock; sends only through the provider it is handed.
//
// Operations return 1, or 0 when the server is not known. The site list argument is the caller's
// snapshot for this one call.
class ServerList {
  public:
    ServerList() = default;
    ServerList(const ServerList&) = default;
    ServerList& operator=(const ServerList&) = default;
    virtual ~ServerList() = default;

    // Adds the record, or replaces the one of its server id whole; rebuilds when refresh is set.
    int32_t InsertInfo(tagServerInfo& info, GameSiteList sites, bool refresh);
    // Takes over online count and open flag. Rebuilds only when the open flag changed: counts are
    // updated far too often for that. 1 without any change when the game id is another one.
    int32_t UpdateInfo(tagUpdateServerInfo& update, GameSiteList sites);
    // Sets the open flag, unless the game id is another one; rebuilds in either case.
    int32_t CloseInfo(tagServerCloseNotice& notice, GameSiteList sites);
    // Removes the server, whatever the game id says; rebuilds when refresh is set.
    int32_t DeleteInfo(tagTerminateNotice& notice, GameSiteList sites, bool refresh);

    // Rebuilds every show list: for each entry of the site list in its order, the servers of that
    // game by ascending id. Kind 0 shows them as server id 0, one record per level with the
    // online counts added up (16 bits, wrapping). At most once an hour the lists go to the log.
    // O(servers + site entries + records shown): servers are grouped by game once, and each
    // game's shown records are made once and copied to every site that offers the game.
    void refreshShowGameList(GameSiteList sites);

    // Sends the list of the player's login site, 20 records a message. Nothing is sent to a
    // player who is not logged in to the lobby or whose site has no list.
    void SendServerList(GameProvider* provider, IPlayerNode* node, GameSiteList sites);

    std::map<uint64_t, tagServerInfo> m_gameServerMap;            // by server id
    std::map<int32_t, std::vector<tagServerInfo>> m_showSiteMap;  // by site id

  private:
    // Null, with a line in the log, when the server is not known.
    tagServerInfo* Find(const char* tag, int gameId, uint16_t serverId);
    void RebuildShowLists(const GameSiteList& sites);
    std::vector<tagServerInfo>& ShowListOf(int32_t site,
                                           std::map<int32_t, std::vector<tagServerInfo>>& previous);
    void DumpShowLists();
    void LogShowSizes(int32_t userId, int32_t siteId) const;
    void SendChunk(GameProvider* provider, IPlayerNode* node, bool last, const char* mark);

    time_t m_tLastDump = 0;         // of the show lists to the log
    tagGameServer m_sendList = {};  // kept off the worker's small stack
};
