// Messages of the center server link, and the client's server list built from them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "Game/NetMessage.h"

// The layouts are frozen: center servers and clients of other versions read and write them byte
// for byte. Integers are little-endian; padding is zero, which the sender sees to by zeroing the
// whole structure.
#pragma pack(push, 4)

// Lobby to center, first message on the link.
struct tagServerRegisterReq {
    tagMsgHeader header;
    char iRegisterType;  // kind of server; 3 is a lobby
    int32_t iGameId;     // 0 for a lobby
    int32_t iServerId;   // 0 for a lobby
};

// One running game server. Also the element of the directory and of the client's list.
struct tagServerInfo {
    uint16_t usGameID;
    uint16_t usServerID;  // unique on the platform; 0 in a client's list: any server of the level
    char szServerName[32];
    char szTelecomIP[16];  // dotted address
    uint32_t ulLimitPoint;
    uint32_t ulBaseTime;
    uint32_t ulBasePoint;
    uint32_t ulMaxPoint;
    uint32_t ulMinPoint;
    uint16_t usOnlineCount;
    uint16_t usServerPort;
    uint8_t ucServerType;
    uint8_t ucOpenFlag;  // 0 = closed
    uint16_t usLevel;
    int32_t iMaxUserNum;
    char szDsnInfo[32];
};

// Center to lobby. usListCount may exceed what the message holds.
struct tagServerInfoNotice {
    tagMsgHeader header;
    uint16_t usListCount;
    tagServerInfo ServerInfoList[10];
};

struct tagUpdateServerInfo {
    tagMsgHeader header;
    uint16_t usGameID;
    uint16_t usServerID;
    uint16_t usOnlineCount;
    uint8_t ucOpenFlag;
};

struct tagTerminateNotice {
    tagMsgHeader header;
    uint16_t usGameID;
    uint16_t usServerID;
};

struct tagServerCloseNotice {
    tagMsgHeader header;
    uint16_t usGameID;
    uint16_t usServerID;
    char cCloseServer;  // the new open flag
};

// A game that a site offers.
struct tagSiteMobileGameList {
    int32_t iSiteID;
    int32_t iGameID;
    int32_t iGameKind;  // 0: the site shows the game's servers as one entry per level
    int32_t iTypeID;
    char szGameName[32];
    char szTypeName[32];
};

struct tagLoginMobileCenterSiteGameListMsg {
    tagMsgHeader header;
    int32_t iListCount;
    tagSiteMobileGameList GameList[50];
};

// Names a site's game to withdraw.
struct TerminateGameSiteInfo {
    int32_t iSiteID;
    int32_t iGameID;
};

struct tagLoginCenterSiteGameTerminateNotice {
    tagMsgHeader header;
    int32_t iSiteGameListCount;
    TerminateGameSiteInfo siteGameInfo[50];
};

// Both directions: the user has logged in elsewhere.
struct NoticeLobbyKickOut {
    tagMsgHeader header;
    int32_t iUserID;
};

// Client to lobby.
struct GameServerInfoReq {
    tagMsgHeader header;
    int32_t iUserID;  // must be the sender's own
};

// Lobby to client; sent shortened to its used records.
struct tagGameServer {
    tagMsgHeader header;
    uint16_t usIsFinish;   // 1 on the last message of a list
    uint16_t usListCount;  // 1..20
    tagServerInfo serverInfo[20];
};

#pragma pack(pop)

static_assert(sizeof(tagServerRegisterReq) == 20 && offsetof(tagServerRegisterReq, iGameId) == 12);
static_assert(sizeof(tagServerInfo) == 116);
static_assert(offsetof(tagServerInfo, szTelecomIP) == 36 &&
              offsetof(tagServerInfo, ulLimitPoint) == 52 &&
              offsetof(tagServerInfo, usOnlineCount) == 72 &&
              offsetof(tagServerInfo, ucOpenFlag) == 77 && offsetof(tagServerInfo, usLevel) == 78 &&
              offsetof(tagServerInfo, iMaxUserNum) == 80 &&
              offsetof(tagServerInfo, szDsnInfo) == 84);
static_assert(sizeof(tagServerInfoNotice) == 1172 &&
              offsetof(tagServerInfoNotice, ServerInfoList) == 12);
static_assert(sizeof(tagUpdateServerInfo) == 16 && offsetof(tagUpdateServerInfo, ucOpenFlag) == 14);
static_assert(sizeof(tagTerminateNotice) == 12);
static_assert(sizeof(tagServerCloseNotice) == 14 &&
              offsetof(tagServerCloseNotice, cCloseServer) == 12);
static_assert(sizeof(tagSiteMobileGameList) == 80);
static_assert(sizeof(tagLoginMobileCenterSiteGameListMsg) == 4012);
static_assert(sizeof(TerminateGameSiteInfo) == 8);
static_assert(sizeof(tagLoginCenterSiteGameTerminateNotice) == 412);
static_assert(sizeof(NoticeLobbyKickOut) == 12);
static_assert(sizeof(GameServerInfoReq) == 12);
static_assert(sizeof(tagGameServer) == 2332 && offsetof(tagGameServer, serverInfo) == 12);
static_assert(std::is_standard_layout_v<tagServerInfoNotice> &&
              std::is_trivially_copyable_v<tagServerInfoNotice> &&
              std::is_standard_layout_v<tagGameServer> &&
              std::is_trivially_copyable_v<tagGameServer>);

// Lobby to center.
inline constexpr uint16_t MSG_CENTER_REGISTER_REQ = 0xA0;
// Center to lobby.
inline constexpr uint16_t MSG_CENTER_SERVER_INFO = 0x9001;
inline constexpr uint16_t MSG_CENTER_SERVER_UPDATE = 0x9002;
inline constexpr uint16_t MSG_CENTER_SERVER_TERMINATE = 0x9004;
inline constexpr uint16_t MSG_CENTER_SITE_GAME_LIST = 0x9005;
inline constexpr uint16_t MSG_CENTER_SITE_GAME_TERMINATE = 0x9006;
inline constexpr uint16_t MSG_CENTER_SERVER_CLOSE = 0xC805;
// Both directions.
inline constexpr uint16_t MSG_CENTER_KICK_OUT = 0x9100;
// Client to lobby, lobby to client.
inline constexpr uint16_t MSG_CLIENT_SERVER_INFO_REQ = 0x9002;
inline constexpr uint16_t MSG_CLIENT_SERVER_INFO_RES = 0x9003;
