// Activity messages between the lobby and its clients.
#pragma once

#include <cstdint>

#include "WireLayout.h"

// client -> lobby, lobby -> client
inline constexpr uint16_t CLIENT_USER_PROGRESS_REQ = 0xE012;  // UserProgressReq

// lobby -> client
inline constexpr uint16_t CLIENT_ACTIVITY_CLOSE_NOTICE = 0xE014;  // ActivityCloseNotice

#pragma pack(push, 4)

// All but the activity id are the activity's own.
struct UserProgressReq {
    MsgHeader header;
    int32_t iActivityId;
    int32_t iLevel;
    int32_t iProgress;
    int32_t iOther1;
    int32_t iOther2;
    int32_t iOther3;
};

struct ActivityCloseNotice {
    MsgHeader header;
    int32_t iActivity;
};

#pragma pack(pop)

WIRE_LAYOUT(UserProgressReq, 32, AT(iActivityId, 8), AT(iLevel, 12), AT(iProgress, 16),
            AT(iOther1, 20), AT(iOther2, 24), AT(iOther3, 28));
WIRE_LAYOUT(ActivityCloseNotice, 12, AT(iActivity, 8));
