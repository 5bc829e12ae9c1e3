// Messages of the web (bulletin) server link and the bulletins broadcast to clients. Farm
// messages are in PublisherMsg.h. Text fields that fill their arrays have no terminator.
#pragma once

#include <cstdint>

#include "WireLayout.h"

// lobby -> client
inline constexpr uint16_t MSG_CLIENT_BULLETIN = 0xB4;  // WinBulletinNotice

// lobby -> web
inline constexpr uint16_t MSG_WEB_REGISTER_REQ = 0xA1;  // RegisterWebServerReq

// web -> lobby
inline constexpr uint16_t MSG_WEB_RECHARGE_NOTICE = 0xB1;  // RechargeSucessNotice
inline constexpr uint16_t MSG_WEB_CONSUME_NOTICE = 0xB2;   // ConsumeSucessNotice
inline constexpr uint16_t MSG_WEB_SYNC_USER_DATA = 0xB3;   // SychUserLobbyData
inline constexpr uint16_t MSG_WEB_WIN_BULLETIN = 0xB4;     // WinCoinBulletinNotice
inline constexpr uint16_t MSG_WEB_SYS_BULLETIN = 0xB5;     // SysBulletinNotice
inline constexpr uint16_t MSG_WEB_FARM_TRANSFER = 0xCF;    // BulletinTransferFarmNotice

#pragma pack(push, 4)

// The first message on the link.
struct RegisterWebServerReq {
    tagMsgHeader msgHeadInfo;
    int32_t gameID;    // 0
    int32_t serverID;  // 0
};

// A player won a prize.
struct WinCoinBulletinNotice {
    tagMsgHeader msgHeadInfo;
    uint16_t usBulletType;  // 4 has priority in the queue
    int32_t iUserId;
    int32_t iGameId;
    int32_t iServerId;
    int32_t iAwardType;
    int32_t iAwardNum;
    char szNickName[32];
    char szUserName[32];
    char szServerName[32];
    char szContent[512];
};

struct SysBulletinCommon {
    uint16_t usBulletType;
    char szContent[512];
    char cChannelId[17];
};

// Texts of the operator; sent shortened to its used items.
struct SysBulletinNotice {
    tagMsgHeader msgHeadInfo;
    uint16_t usBulletNum;
    SysBulletinCommon bulletinItem[5];
};

// A queued bulletin; also the item of the broadcast.
struct WinCoinBulletinNotice_2 {
    uint16_t usBulletType;
    int32_t iUserId;
    int32_t iGameId;
    int32_t iServerId;
    int32_t iAwardType;
    int32_t iAwardNum;
    char szNickName[32];
    char szUserName[32];
    char szServerName[32];
    char szContent[512];
    char cChannelId[17];  // channel it is meant for; empty for win bulletins
};

// To every client; sent shortened to its used items.
struct WinBulletinNotice {
    tagMsgHeader msgHeadInfo;
    uint16_t usBulletNum;
    WinCoinBulletinNotice_2 bulletinItem[5];
};

#pragma pack(pop)

WIRE_LAYOUT(RegisterWebServerReq, 16, AT(gameID, 8), AT(serverID, 12));
WIRE_LAYOUT(WinCoinBulletinNotice, 640, AT(usBulletType, 8), AT(iUserId, 12), AT(iGameId, 16),
            AT(iServerId, 20), AT(iAwardType, 24), AT(iAwardNum, 28), AT(szNickName, 32),
            AT(szUserName, 64), AT(szServerName, 96), AT(szContent, 128));
WIRE_LAYOUT(SysBulletinCommon, 532, AT(usBulletType, 0), AT(szContent, 2), AT(cChannelId, 514));
WIRE_LAYOUT(SysBulletinNotice, 2670, AT(usBulletNum, 8), AT(bulletinItem, 10));
WIRE_LAYOUT(WinCoinBulletinNotice_2, 652, AT(usBulletType, 0), AT(iUserId, 4), AT(iGameId, 8),
            AT(iServerId, 12), AT(iAwardType, 16), AT(iAwardNum, 20), AT(szNickName, 24),
            AT(szUserName, 56), AT(szServerName, 88), AT(szContent, 120), AT(cChannelId, 632));
WIRE_LAYOUT(WinBulletinNotice, 3272, AT(usBulletNum, 8), AT(bulletinItem, 12));
