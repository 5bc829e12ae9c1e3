// Messages between the lobby and the data server, and the reward booked with the queue server.
// Layouts are frozen: peers of other versions speak them. Little-endian, packed to 4.
#pragma once

#include "Game/NetMessage.h"

inline constexpr uint16_t ACT_REGISTER_REQ = 0x00A1;            // lobby -> data
inline constexpr uint16_t ACT_ACCOUNT_TYPE_REQ = 0xD008;        // lobby -> data, header only
inline constexpr uint16_t ACT_ACCOUNT_TYPE_RES = 0xD009;        // data -> lobby
inline constexpr uint16_t ACT_CONFIG_REQ = 0xD010;              // lobby -> data
inline constexpr uint16_t ACT_CONFIG_RES = 0xD011;              // data -> lobby
inline constexpr uint16_t ACT_PROGRESS_REQ = 0xD012;            // lobby -> data
inline constexpr uint16_t ACT_PROGRESS_RES = 0xD013;            // data -> lobby
inline constexpr uint16_t ACT_PROGRESS_UPDATE = 0xD014;         // lobby -> data
inline constexpr uint16_t ACT_SINGLE_PROGRESS_UPDATE = 0xD020;  // lobby -> data
inline constexpr uint16_t ACT_SINGLE_PROGRESS_RES = 0xD021;     // data -> lobby
inline constexpr uint16_t ACT_UPDATE_ACK = 0xD061;              // data -> lobby, ignored
inline constexpr uint16_t ACT_GLOBAL_1 = 0xE001;                // data -> lobby
inline constexpr uint16_t ACT_GLOBAL_2 = 0xE002;                // data -> lobby
inline constexpr uint16_t ACT_GLOBAL_3 = 0xE003;                // data -> lobby
inline constexpr uint16_t ACT_UPDATE_USER_PROP = 0xD084;        // lobby -> queue

#pragma pack(push, 4)

// One configuration row of an activity.
struct tagDBActivityConfigData {
    int32_t iActivityId;
    int32_t iGameid;
    int32_t iSiteId;  // 0 applies to every site
    int32_t iGamecoin;
    int32_t iLotterynum;
    int32_t iDiamondnum;
    int32_t iRedpacketnum;
    int32_t iCondition1;
    int32_t iCondition2;
    int32_t iCondition3;
    int32_t iCondition4;
    int32_t iCondition5;
    int32_t iCondition6;
    int32_t iCondition7;
    int32_t iCondition8;
    int32_t iCondition9;
    int32_t iCondition10;
    int64_t lDateTime;
    uint16_t usOpenPlatform;
    uint16_t usActivityType;
    int8_t isMultiGame;
    int8_t isOpen;         // master switch: non-zero may be open
    int32_t iDayBegin;     // first hour of the daily window, 0..23
    int32_t iDayEnd;       // hour at which it ends, exclusive; equal to iDayBegin: no daily window
    uint64_t ulTimeBegin;  // epoch seconds, 0 no start limit
    uint64_t ulTimeEnd;    // epoch seconds, exclusive, 0 no end limit
};
using DBSiteActivityConfig = tagDBActivityConfigData;

// One player's progress in one activity.
struct tagDBUserActivityProgressData {
    int32_t iUserId;
    int32_t iGameId;
    int32_t iActivityId;
    int32_t iGamecoin;  // coins granted so far
    int32_t iLotterynum;
    int32_t iDiamondnum;
    int32_t iRedpacketnum;
    int32_t iProgress1;
    int32_t iProgress2;
    int32_t iProgress3;
    int32_t iProgress4;
    int32_t iProgress5;
    int32_t iProgress6;
    int32_t iProgress7;
    int32_t iProgress8;
    int32_t iProgress9;
    int32_t iProgress10;
    int64_t lDateTime;   // activity-defined, epoch seconds
    int64_t updateTime;  // epoch seconds of the last update
    int8_t isUpdate;     // non-zero: changed, to be written back
};

// ACT_REGISTER_REQ; both ids 0 for the lobby.
struct RegisterActSystemServerReq {
    MsgHeader header;
    int32_t gameID;
    int32_t serverID;
};

// ACT_CONFIG_REQ
struct tagDBGameActivityConfigReq {
    MsgHeader header;
    int32_t iGameID;
};

// ACT_ACCOUNT_TYPE_RES: thresholds that classify players.
struct UserAccountTypeConfig {
    MsgHeader header;
    int32_t iHighPayamount;
    int32_t iHighYbamount;
    int32_t iLowPayamount;
    int32_t iLowYbamount;
    int32_t iMachineIndex;
    int32_t iPlayTimes;
};

// ACT_CONFIG_RES; iCount rows of tagDBActivityConfigData follow.
struct tagDBSiteActivityList {
    MsgHeader header;
    int32_t iCount;
    int32_t iIsFinish;
};

// ACT_PROGRESS_REQ
struct tagDBUserActivityProgressReq {
    MsgHeader header;
    uint64_t ulPlayerNode;
    uint64_t ulPlayerNodeId;
    int32_t iUserID;
    int32_t iGameID;
};

// ACT_PROGRESS_RES; iCount records of tagDBUserActivityProgressData follow.
struct tagDBActivityProgressList {
    MsgHeader header;
    uint64_t ulPlayerNode;
    uint64_t ulPlayerNodeId;
    int32_t iCount;
    int32_t iFinished;
};

// ACT_PROGRESS_UPDATE; iCount records of tagDBUserActivityProgressData follow.
struct tagUserActivityProgressUpdate {
    MsgHeader header;
    int32_t iCount;
};

// ACT_SINGLE_PROGRESS_UPDATE
struct LobbyActivitySingleProgressUpdate {
    MsgHeader header;
    int32_t iProgress;
    int32_t iLevel;
    int32_t iConfig;
    int32_t iGameCoin;
    int32_t iGameCoinSourceId;
    int32_t iYuanBaoNum;
    int32_t iYuanBaoNumSourceId;
    tagDBUserActivityProgressData progress;
    uint64_t ulPlayerNode;
    uint64_t ulPlayerNodeId;
};

// ACT_SINGLE_PROGRESS_RES
struct LobbyActivitySingleProgressUpdateRes {
    MsgHeader header;
    int32_t iError;
    int32_t iProgress;
    int32_t iLevel;
    int32_t iConfig;
    int32_t iGameCoin;
    int32_t iGameCoinSourceId;
    int32_t iYuanBaoNum;
    int32_t iYuanBaoNumSourceId;
    tagDBUserActivityProgressData progress;
    uint64_t ulPlayerNode;
    uint64_t ulPlayerNodeId;
};

// ACT_UPDATE_USER_PROP: books a reward.
struct tagDBUpdateUserPropInfo {
    MsgHeader header;
    int32_t iUserID;
    int32_t iSiteID;
    int32_t iGameID;
    int32_t iServerID;
    int32_t iActivityID;
    int32_t iType;  // 1 game coin, 2 ingots
    int32_t iValue;
    int32_t iSourceID;
    int32_t iClientSiteType;
    char szOutAccount[64];
    int32_t iTeamTag;
    int32_t iLianyunFlag;
    uint16_t usRegisterType;
};

#pragma pack(pop)

static_assert(sizeof(tagDBActivityConfigData) == 108);
static_assert(offsetof(tagDBActivityConfigData, lDateTime) == 68);
static_assert(offsetof(tagDBActivityConfigData, iDayBegin) == 84);
static_assert(offsetof(tagDBActivityConfigData, ulTimeBegin) == 92);
static_assert(sizeof(tagDBUserActivityProgressData) == 88);
static_assert(offsetof(tagDBUserActivityProgressData, lDateTime) == 68);
static_assert(offsetof(tagDBUserActivityProgressData, isUpdate) == 84);
static_assert(sizeof(RegisterActSystemServerReq) == 16);
static_assert(sizeof(tagDBGameActivityConfigReq) == 12);
static_assert(sizeof(UserAccountTypeConfig) == 32);
static_assert(sizeof(tagDBSiteActivityList) == 16);
static_assert(sizeof(tagDBUserActivityProgressReq) == 32);
static_assert(sizeof(tagDBActivityProgressList) == 32);
static_assert(sizeof(tagUserActivityProgressUpdate) == 12);
static_assert(sizeof(LobbyActivitySingleProgressUpdate) == 140);
static_assert(offsetof(LobbyActivitySingleProgressUpdate, progress) == 36);
static_assert(offsetof(LobbyActivitySingleProgressUpdate, ulPlayerNode) == 124);
static_assert(sizeof(LobbyActivitySingleProgressUpdateRes) == 144);
static_assert(offsetof(LobbyActivitySingleProgressUpdateRes, ulPlayerNode) == 128);
static_assert(sizeof(tagDBUpdateUserPropInfo) == 120);
static_assert(offsetof(tagDBUpdateUserPropInfo, szOutAccount) == 44);
static_assert(offsetof(tagDBUpdateUserPropInfo, usRegisterType) == 116);
static_assert(std::is_standard_layout_v<tagDBActivityConfigData> &&
              std::is_trivially_copyable_v<tagDBActivityConfigData>);
static_assert(std::is_standard_layout_v<LobbyActivitySingleProgressUpdateRes> &&
              std::is_trivially_copyable_v<LobbyActivitySingleProgressUpdateRes>);
