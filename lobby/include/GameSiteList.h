// The directory of which games each site offers.
#pragma once

#include <boost/container/flat_map.hpp>
#include <cstdint>

#include "center_server_msg.h"

// Key of the directory.
struct GameSiteInfo {
    int32_t iSiteID;
    int32_t iGameID;
};

// By site, then by the sign of the wrapping difference of the game ids: ascending for ids less
// than 2^31 apart. For ids further apart it is no strict weak order (0 and -2^31 each precede the
// other); such entries may be missed by a look-up or stand twice.
inline bool operator<(const GameSiteInfo& a, const GameSiteInfo& b) {
    if (a.iSiteID != b.iSiteID) return a.iSiteID < b.iSiteID;
    const uint32_t difference = static_cast<uint32_t>(a.iGameID) - static_cast<uint32_t>(b.iGameID);
    return static_cast<int32_t>(difference) < 0;
}

// Sorted in one block: an order that contradicts itself can misplace an entry there, but not tear
// the map apart as it would a tree. Copied in one go, too.
using GAMESITEMAP = boost::container::flat_map<GameSiteInfo, tagSiteMobileGameList>;

// One entry per site and game, as the center server announced it. Held by value by
// CenterServerHandler; a copy is a deep copy, and every operation of ServerList gets one.
// Thread: message worker. No lock, no clock, no sockets.
class GameSiteList {
  public:
    GameSiteList() = default;
    GameSiteList(const GameSiteList&) = default;
    GameSiteList(GameSiteList&&) = default;
    GameSiteList& operator=(const GameSiteList&) = default;
    GameSiteList& operator=(GameSiteList&&) = default;
    virtual ~GameSiteList() = default;

    // Adds the entry, or replaces the one of the same site and game whole. Always 1.
    int32_t InsertInfo(tagSiteMobileGameList& entry);
    // 1 when removed, 0 when there was none.
    int32_t DeleteInfo(TerminateGameSiteInfo& key);

    GAMESITEMAP m_gameSiteMap;
};
