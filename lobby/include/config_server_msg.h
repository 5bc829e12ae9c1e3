// Messages of the config server link. The farm key list is in PublisherMsg.h.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "Game/NetMessage.h"

// The layouts are frozen: config servers of other versions write them byte for byte.
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

static_assert(sizeof(tagVipLevelItem) == 8 && sizeof(tagVipPhotoItem) == 8 &&
              sizeof(tagVipFrameItem) == 8);
static_assert(sizeof(tagVipLevelConfigRes) == 172 && offsetof(tagVipLevelConfigRes, item) == 12);
static_assert(sizeof(tagVipPhotoConfigRes) == 412 && offsetof(tagVipPhotoConfigRes, item) == 12);
static_assert(sizeof(tagVipFrameConfig) == 412 && offsetof(tagVipFrameConfig, item) == 12);
static_assert(sizeof(tagLobbyStopSwitchRes) == 12);
static_assert(std::is_standard_layout_v<tagVipFrameConfig> &&
              std::is_trivially_copyable_v<tagVipFrameConfig>);

// Lobby to config, header only.
inline constexpr uint16_t MSG_CONFIG_VIP_FRAME_REQ = 0xAD14;
inline constexpr uint16_t MSG_CONFIG_STOP_SWITCH_REQ = 0xAD26;
// Config to lobby.
inline constexpr uint16_t MSG_CONFIG_VIP_LEVEL_RES = 0xAD11;
inline constexpr uint16_t MSG_CONFIG_VIP_PHOTO_RES = 0xAD13;
inline constexpr uint16_t MSG_CONFIG_VIP_FRAME_RES = 0xAD15;
inline constexpr uint16_t MSG_CONFIG_STOP_SWITCH_RES = 0xAD27;
