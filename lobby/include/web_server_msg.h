// Messages of the web (bulletin) server link and the bulletins broadcast to clients. Farm
// messages are in PublisherMsg.h.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "Game/NetMessage.h"

// The layouts are frozen: web servers and clients of other versions use them byte for byte.
// Text fields that fill their arrays have no terminator.
#pragma pack(push, 4)

// Lobby to web server, first message on the link.
struct RegisterWebServerReq {
    tagMsgHeader msgHeadInfo;
    int32_t gameID;    // 0
    int32_t serverID;  // 0
};

// Web server to lobby: a player won a prize.
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

// Web server to lobby: texts of the operator; sent shortened to its used items.
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

// Lobby to every client; sent shortened to its used items.
struct WinBulletinNotice {
    tagMsgHeader msgHeadInfo;
    uint16_t usBulletNum;
    WinCoinBulletinNotice_2 bulletinItem[5];
};

#pragma pack(pop)

static_assert(sizeof(RegisterWebServerReq) == 16);
static_assert(sizeof(WinCoinBulletinNotice) == 640 &&
              offsetof(WinCoinBulletinNotice, iUserId) == 12 &&
              offsetof(WinCoinBulletinNotice, szContent) == 128);
static_assert(sizeof(SysBulletinCommon) == 532 && offsetof(SysBulletinCommon, cChannelId) == 514);
static_assert(sizeof(SysBulletinNotice) == 2670 && offsetof(SysBulletinNotice, bulletinItem) == 10);
static_assert(sizeof(WinCoinBulletinNotice_2) == 652 &&
              offsetof(WinCoinBulletinNotice_2, iUserId) == 4 &&
              offsetof(WinCoinBulletinNotice_2, cChannelId) == 632);
static_assert(sizeof(WinBulletinNotice) == 3272 && offsetof(WinBulletinNotice, bulletinItem) == 12);
static_assert(std::is_standard_layout_v<WinBulletinNotice> &&
              std::is_trivially_copyable_v<WinBulletinNotice> &&
              std::is_standard_layout_v<SysBulletinNotice> &&
              std::is_trivially_copyable_v<SysBulletinNotice>);

// Lobby to web server.
inline constexpr uint16_t MSG_WEB_REGISTER_REQ = 0xA1;
// Web server to lobby.
inline constexpr uint16_t MSG_WEB_RECHARGE_NOTICE = 0xB1;
inline constexpr uint16_t MSG_WEB_CONSUME_NOTICE = 0xB2;
inline constexpr uint16_t MSG_WEB_SYNC_USER_DATA = 0xB3;
inline constexpr uint16_t MSG_WEB_WIN_BULLETIN = 0xB4;
inline constexpr uint16_t MSG_WEB_SYS_BULLETIN = 0xB5;
inline constexpr uint16_t MSG_WEB_FARM_TRANSFER = 0xCF;
// Lobby to client.
inline constexpr uint16_t MSG_CLIENT_BULLETIN = 0xB4;
