// Activity messages between the lobby and its clients.
// Layouts are frozen: clients of other versions speak them. Little-endian, packed to 4.
#pragma once

#include "Game/NetMessage.h"

inline constexpr uint16_t CLIENT_USER_PROGRESS_REQ = 0xE012;      // client -> lobby
inline constexpr uint16_t CLIENT_ACTIVITY_CLOSE_NOTICE = 0xE014;  // lobby -> client

#pragma pack(push, 4)

// CLIENT_USER_PROGRESS_REQ; all but the activity id are the activity's own.
struct UserProgressReq {
    MsgHeader header;
    int32_t iActivityId;
    int32_t iLevel;
    int32_t iProgress;
    int32_t iOther1;
    int32_t iOther2;
    int32_t iOther3;
};

// CLIENT_ACTIVITY_CLOSE_NOTICE
struct ActivityCloseNotice {
    MsgHeader header;
    int32_t iActivity;
};

#pragma pack(pop)

static_assert(sizeof(UserProgressReq) == 32);
static_assert(sizeof(ActivityCloseNotice) == 12);
static_assert(std::is_standard_layout_v<UserProgressReq> &&
              std::is_trivially_copyable_v<UserProgressReq>);
