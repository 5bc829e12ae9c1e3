// Messages of the center server link, and the client's server list built from them. Padding is
// zero, which the sender sees to by zeroing the whole structure.
#pragma once

#include <cstdint>

#include "WireLayout.h"

// client -> lobby
inline constexpr uint16_t MSG_CLIENT_SERVER_INFO_REQ = 0x9002;  // GameServerInfoReq

// lobby -> client
inline constexpr uint16_t MSG_CLIENT_SERVER_INFO_RES = 0x9003;  // tagGameServer

// lobby -> center
inline constexpr uint16_t MSG_CENTER_REGISTER_REQ = 0xA0;  // tagServerRegisterReq

// center -> lobby
inline constexpr uint16_t MSG_CENTER_SERVER_INFO = 0x9001;       // tagServerInfoNotice
inline constexpr uint16_t MSG_CENTER_SERVER_UPDATE = 0x9002;     // tagUpdateServerInfo
inline constexpr uint16_t MSG_CENTER_SERVER_TERMINATE = 0x9004;  // tagTerminateNotice
// The next two: tagLoginMobileCenterSiteGameListMsg, tagLoginCenterSiteGameTerminateNotice
inline constexpr uint16_t MSG_CENTER_SITE_GAME_LIST = 0x9005;
inline constexpr uint16_t MSG_CENTER_SITE_GAME_TERMINATE = 0x9006;
inline constexpr uint16_t MSG_CENTER_SERVER_CLOSE = 0xC805;  // tagServerCloseNotice

// lobby -> center, center -> lobby
inline constexpr uint16_t MSG_CENTER_KICK_OUT = 0x9100;  // NoticeLobbyKickOut

#pragma pack(push, 4)

// The first message on the link.
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

// usListCount may exceed what the message holds.
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

// The user has logged in elsewhere.
struct NoticeLobbyKickOut {
    tagMsgHeader header;
    int32_t iUserID;
};

struct GameServerInfoReq {
    tagMsgHeader header;
    int32_t iUserID;  // must be the sender's own
};

// Sent shortened to its used records.
struct tagGameServer {
    tagMsgHeader header;
    uint16_t usIsFinish;   // 1 on the last message of a list
    uint16_t usListCount;  // 1..20
    tagServerInfo serverInfo[20];
};

#pragma pack(pop)

WIRE_LAYOUT(tagServerRegisterReq, 20, AT(iRegisterType, 8), AT(iGameId, 12), AT(iServerId, 16));
WIRE_LAYOUT(tagServerInfo, 116, AT(usGameID, 0), AT(usServerID, 2), AT(szServerName, 4),
            AT(szTelecomIP, 36), AT(ulLimitPoint, 52), AT(ulBaseTime, 56), AT(ulBasePoint, 60),
            AT(ulMaxPoint, 64), AT(ulMinPoint, 68), AT(usOnlineCount, 72), AT(usServerPort, 74),
            AT(ucServerType, 76), AT(ucOpenFlag, 77), AT(usLevel, 78), AT(iMaxUserNum, 80),
            AT(szDsnInfo, 84));
WIRE_LAYOUT(tagServerInfoNotice, 1172, AT(usListCount, 8), AT(ServerInfoList, 12));
WIRE_LAYOUT(tagUpdateServerInfo, 16, AT(usGameID, 8), AT(usServerID, 10), AT(usOnlineCount, 12),
            AT(ucOpenFlag, 14));
WIRE_LAYOUT(tagTerminateNotice, 12, AT(usGameID, 8), AT(usServerID, 10));
WIRE_LAYOUT(tagServerCloseNotice, 14, AT(usGameID, 8), AT(usServerID, 10), AT(cCloseServer, 12));
WIRE_LAYOUT(tagSiteMobileGameList, 80, AT(iSiteID, 0), AT(iGameID, 4), AT(iGameKind, 8),
            AT(iTypeID, 12), AT(szGameName, 16), AT(szTypeName, 48));
WIRE_LAYOUT(tagLoginMobileCenterSiteGameListMsg, 4012, AT(iListCount, 8), AT(GameList, 12));
WIRE_LAYOUT(TerminateGameSiteInfo, 8, AT(iSiteID, 0), AT(iGameID, 4));
WIRE_LAYOUT(tagLoginCenterSiteGameTerminateNotice, 412, AT(iSiteGameListCount, 8),
            AT(siteGameInfo, 12));
WIRE_LAYOUT(NoticeLobbyKickOut, 12, AT(iUserID, 8));
WIRE_LAYOUT(GameServerInfoReq, 12, AT(iUserID, 8));
WIRE_LAYOUT(tagGameServer, 2332, AT(usIsFinish, 8), AT(usListCount, 10), AT(serverInfo, 12));
