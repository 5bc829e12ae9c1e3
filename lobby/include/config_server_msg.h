// Messages of the config server link. The farm key list is in PublisherMsg.h.
#pragma once

#include <cstdint>

#include "WireLayout.h"

// lobby -> config
inline constexpr uint16_t MSG_CONFIG_VIP_FRAME_REQ = 0xAD14;    // header only
inline constexpr uint16_t MSG_CONFIG_STOP_SWITCH_REQ = 0xAD26;  // header only

// config -> lobby
inline constexpr uint16_t MSG_CONFIG_VIP_LEVEL_RES = 0xAD11;    // tagVipLevelConfigRes
inline constexpr uint16_t MSG_CONFIG_VIP_PHOTO_RES = 0xAD13;    // tagVipPhotoConfigRes
inline constexpr uint16_t MSG_CONFIG_VIP_FRAME_RES = 0xAD15;    // tagVipFrameConfig
inline constexpr uint16_t MSG_CONFIG_STOP_SWITCH_RES = 0xAD27;  // tagLobbyStopSwitchRes

#pragma pack(push, 4)

struct tagVipLevelItem {
    int32_t iLevel;
    int32_t iRecharge;  // recharge amount needed for the level
};

struct tagVipPhotoItem {
    int32_t iPhotoID;
    int32_t iLimitLv;  // lowest VIP level allowed to use it
};

struct tagVipFrameItem {
    int32_t iFrameID;
    int32_t iLimitLv;  // lowest VIP level allowed to use it
};

// The three tables; always sent at full size, usItemCount tells how many items are valid.
struct tagVipLevelConfigRes {
    tagMsgHeader header;
    uint16_t isFinished;  // not 0 on the last message of a transfer
    uint16_t usItemCount;
    tagVipLevelItem item[20];
};

struct tagVipPhotoConfigRes {
    tagMsgHeader header;
    uint16_t isFinished;
    uint16_t usItemCount;
    tagVipPhotoItem item[50];
};

struct tagVipFrameConfig {
    tagMsgHeader header;
    uint16_t isFinished;
    uint16_t usItemCount;
    tagVipFrameItem item[50];
};

struct tagLobbyStopSwitchRes {
    tagMsgHeader header;
    int32_t iStopSwitch;  // 0 = lobby open, above 0 = empty the lobby
};

#pragma pack(pop)

WIRE_LAYOUT(tagVipLevelItem, 8, AT(iLevel, 0), AT(iRecharge, 4));
WIRE_LAYOUT(tagVipPhotoItem, 8, AT(iPhotoID, 0), AT(iLimitLv, 4));
WIRE_LAYOUT(tagVipFrameItem, 8, AT(iFrameID, 0), AT(iLimitLv, 4));
WIRE_LAYOUT(tagVipLevelConfigRes, 172, AT(isFinished, 8), AT(usItemCount, 10), AT(item, 12));
WIRE_LAYOUT(tagVipPhotoConfigRes, 412, AT(isFinished, 8), AT(usItemCount, 10), AT(item, 12));
WIRE_LAYOUT(tagVipFrameConfig, 412, AT(isFinished, 8), AT(usItemCount, 10), AT(item, 12));
WIRE_LAYOUT(tagLobbyStopSwitchRes, 12, AT(iStopSwitch, 8));
