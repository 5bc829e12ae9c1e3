// Messages between the lobby and the data server, and the reward booked with the queue server.
#pragma once

#include <cstdint>

#include "WireLayout.h"

// lobby -> queue
inline constexpr uint16_t ACT_UPDATE_USER_PROP = 0xD084;  // tagDBUpdateUserPropInfo

// lobby -> data
inline constexpr uint16_t ACT_REGISTER_REQ = 0x00A1;            // RegisterActSystemServerReq
inline constexpr uint16_t ACT_ACCOUNT_TYPE_REQ = 0xD008;        // header only
inline constexpr uint16_t ACT_CONFIG_REQ = 0xD010;              // tagDBGameActivityConfigReq
inline constexpr uint16_t ACT_PROGRESS_REQ = 0xD012;            // tagDBUserActivityProgressReq
inline constexpr uint16_t ACT_PROGRESS_UPDATE = 0xD014;         // tagUserActivityProgressUpdate
inline constexpr uint16_t ACT_SINGLE_PROGRESS_UPDATE = 0xD020;  // LobbyActivitySingleProgressUpdate

// data -> lobby
inline constexpr uint16_t ACT_ACCOUNT_TYPE_RES = 0xD009;     // UserAccountTypeConfig
inline constexpr uint16_t ACT_CONFIG_RES = 0xD011;           // tagDBSiteActivityList
inline constexpr uint16_t ACT_PROGRESS_RES = 0xD013;         // tagDBActivityProgressList
inline constexpr uint16_t ACT_SINGLE_PROGRESS_RES = 0xD021;  // LobbyActivitySingleProgressUpdateRes
inline constexpr uint16_t ACT_UPDATE_ACK = 0xD061;           // any body, ignored
inline constexpr uint16_t ACT_GLOBAL_1 = 0xE001;             // any body, the activities' own
inline constexpr uint16_t ACT_GLOBAL_2 = 0xE002;             // any body, the activities' own
inline constexpr uint16_t ACT_GLOBAL_3 = 0xE003;             // any body, the activities' own

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

// Both ids are 0 for the lobby.
struct RegisterActSystemServerReq {
    MsgHeader header;
    int32_t gameID;
    int32_t serverID;
};

struct tagDBGameActivityConfigReq {
    MsgHeader header;
    int32_t iGameID;
};

// Thresholds that classify players.
struct UserAccountTypeConfig {
    MsgHeader header;
    int32_t iHighPayamount;
    int32_t iHighYbamount;
    int32_t iLowPayamount;
    int32_t iLowYbamount;
    int32_t iMachineIndex;
    int32_t iPlayTimes;
};

// iCount rows of tagDBActivityConfigData follow.
struct tagDBSiteActivityList {
    MsgHeader header;
    int32_t iCount;
    int32_t iIsFinish;
};

struct tagDBUserActivityProgressReq {
    MsgHeader header;
    uint64_t ulPlayerNode;
    uint64_t ulPlayerNodeId;
    int32_t iUserID;
    int32_t iGameID;
};

// iCount records of tagDBUserActivityProgressData follow.
struct tagDBActivityProgressList {
    MsgHeader header;
    uint64_t ulPlayerNode;
    uint64_t ulPlayerNodeId;
    int32_t iCount;
    int32_t iFinished;
};

// iCount records of tagDBUserActivityProgressData follow.
struct tagUserActivityProgressUpdate {
    MsgHeader header;
    int32_t iCount;
};

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

// Books a reward.
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

WIRE_LAYOUT(tagDBActivityConfigData, 108, AT(iActivityId, 0), AT(iGameid, 4), AT(iSiteId, 8),
            AT(iGamecoin, 12), AT(iLotterynum, 16), AT(iDiamondnum, 20), AT(iRedpacketnum, 24),
            AT(iCondition1, 28), AT(iCondition2, 32), AT(iCondition3, 36), AT(iCondition4, 40),
            AT(iCondition5, 44), AT(iCondition6, 48), AT(iCondition7, 52), AT(iCondition8, 56),
            AT(iCondition9, 60), AT(iCondition10, 64), AT(lDateTime, 68), AT(usOpenPlatform, 76),
            AT(usActivityType, 78), AT(isMultiGame, 80), AT(isOpen, 81), AT(iDayBegin, 84),
            AT(iDayEnd, 88), AT(ulTimeBegin, 92), AT(ulTimeEnd, 100));
WIRE_LAYOUT(tagDBUserActivityProgressData, 88, AT(iUserId, 0), AT(iGameId, 4), AT(iActivityId, 8),
            AT(iGamecoin, 12), AT(iLotterynum, 16), AT(iDiamondnum, 20), AT(iRedpacketnum, 24),
            AT(iProgress1, 28), AT(iProgress2, 32), AT(iProgress3, 36), AT(iProgress4, 40),
            AT(iProgress5, 44), AT(iProgress6, 48), AT(iProgress7, 52), AT(iProgress8, 56),
            AT(iProgress9, 60), AT(iProgress10, 64), AT(lDateTime, 68), AT(updateTime, 76),
            AT(isUpdate, 84));
WIRE_LAYOUT(RegisterActSystemServerReq, 16, AT(gameID, 8), AT(serverID, 12));
WIRE_LAYOUT(tagDBGameActivityConfigReq, 12, AT(iGameID, 8));
WIRE_LAYOUT(UserAccountTypeConfig, 32, AT(iHighPayamount, 8), AT(iHighYbamount, 12),
            AT(iLowPayamount, 16), AT(iLowYbamount, 20), AT(iMachineIndex, 24), AT(iPlayTimes, 28));
WIRE_LAYOUT(tagDBSiteActivityList, 16, AT(iCount, 8), AT(iIsFinish, 12));
WIRE_LAYOUT(tagDBUserActivityProgressReq, 32, AT(ulPlayerNode, 8), AT(ulPlayerNodeId, 16),
            AT(iUserID, 24), AT(iGameID, 28));
WIRE_LAYOUT(tagDBActivityProgressList, 32, AT(ulPlayerNode, 8), AT(ulPlayerNodeId, 16),
            AT(iCount, 24), AT(iFinished, 28));
WIRE_LAYOUT(tagUserActivityProgressUpdate, 12, AT(iCount, 8));
WIRE_LAYOUT(LobbyActivitySingleProgressUpdate, 140, AT(iProgress, 8), AT(iLevel, 12),
            AT(iConfig, 16), AT(iGameCoin, 20), AT(iGameCoinSourceId, 24), AT(iYuanBaoNum, 28),
            AT(iYuanBaoNumSourceId, 32), AT(progress, 36), AT(ulPlayerNode, 124),
            AT(ulPlayerNodeId, 132));
WIRE_LAYOUT(LobbyActivitySingleProgressUpdateRes, 144, AT(iError, 8), AT(iProgress, 12),
            AT(iLevel, 16), AT(iConfig, 20), AT(iGameCoin, 24), AT(iGameCoinSourceId, 28),
            AT(iYuanBaoNum, 32), AT(iYuanBaoNumSourceId, 36), AT(progress, 40),
            AT(ulPlayerNode, 128), AT(ulPlayerNodeId, 136));
WIRE_LAYOUT(tagDBUpdateUserPropInfo, 120, AT(iUserID, 8), AT(iSiteID, 12), AT(iGameID, 16),
            AT(iServerID, 20), AT(iActivityID, 24), AT(iType, 28), AT(iValue, 32),
            AT(iSourceID, 36), AT(iClientSiteType, 40), AT(szOutAccount, 44), AT(iTeamTag, 108),
            AT(iLianyunFlag, 112), AT(usRegisterType, 116));
