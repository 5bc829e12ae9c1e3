// Activity messages: data server, clients, and rewards booked with the queue server.
#include "Layouts.h"
#include "activitySystem/ActivityClientMsg.h"
#include "activitySystem/Activity_Data_Msg.h"

namespace catalog {

LAYOUT(tagDBActivityConfigData, FIELD(iActivityId), FIELD(iGameid), FIELD(iSiteId),
       FIELD(iGamecoin), FIELD(iLotterynum), FIELD(iDiamondnum), FIELD(iRedpacketnum),
       FIELD(iCondition1), FIELD(iCondition2), FIELD(iCondition3), FIELD(iCondition4),
       FIELD(iCondition5), FIELD(iCondition6), FIELD(iCondition7), FIELD(iCondition8),
       FIELD(iCondition9), FIELD(iCondition10), FIELD(lDateTime), FIELD(usOpenPlatform),
       FIELD(usActivityType), FIELD(isMultiGame), FIELD(isOpen), FIELD(iDayBegin), FIELD(iDayEnd),
       FIELD(ulTimeBegin), FIELD(ulTimeEnd))
LAYOUT(tagDBUserActivityProgressData, FIELD(iUserId), FIELD(iGameId), FIELD(iActivityId),
       FIELD(iGamecoin), FIELD(iLotterynum), FIELD(iDiamondnum), FIELD(iRedpacketnum),
       FIELD(iProgress1), FIELD(iProgress2), FIELD(iProgress3), FIELD(iProgress4),
       FIELD(iProgress5), FIELD(iProgress6), FIELD(iProgress7), FIELD(iProgress8),
       FIELD(iProgress9), FIELD(iProgress10), FIELD(lDateTime), FIELD(updateTime), FIELD(isUpdate))
LAYOUT(RegisterActSystemServerReq, FIELD(gameID), FIELD(serverID))
LAYOUT(tagDBGameActivityConfigReq, FIELD(iGameID))
LAYOUT(UserAccountTypeConfig, FIELD(iHighPayamount), FIELD(iHighYbamount), FIELD(iLowPayamount),
       FIELD(iLowYbamount), FIELD(iMachineIndex), FIELD(iPlayTimes))
LAYOUT(tagDBSiteActivityList, FIELD(iCount), FIELD(iIsFinish),
       Following<tagDBActivityConfigData>("rows", sizeof(M), "iCount"))
LAYOUT(tagDBUserActivityProgressReq, FIELD(ulPlayerNode), FIELD(ulPlayerNodeId), FIELD(iUserID),
       FIELD(iGameID))
LAYOUT(tagDBActivityProgressList, FIELD(ulPlayerNode), FIELD(ulPlayerNodeId), FIELD(iCount),
       FIELD(iFinished), Following<tagDBUserActivityProgressData>("records", sizeof(M), "iCount"))
LAYOUT(tagUserActivityProgressUpdate, FIELD(iCount),
       Following<tagDBUserActivityProgressData>("records", sizeof(M), "iCount"))
LAYOUT(LobbyActivitySingleProgressUpdate, FIELD(iProgress), FIELD(iLevel), FIELD(iConfig),
       FIELD(iGameCoin), FIELD(iGameCoinSourceId), FIELD(iYuanBaoNum), FIELD(iYuanBaoNumSourceId),
       FIELD(progress), FIELD(ulPlayerNode), FIELD(ulPlayerNodeId))
LAYOUT(LobbyActivitySingleProgressUpdateRes, FIELD(iError), FIELD(iProgress), FIELD(iLevel),
       FIELD(iConfig), FIELD(iGameCoin), FIELD(iGameCoinSourceId), FIELD(iYuanBaoNum),
       FIELD(iYuanBaoNumSourceId), FIELD(progress), FIELD(ulPlayerNode), FIELD(ulPlayerNodeId))
LAYOUT(tagDBUpdateUserPropInfo, FIELD(iUserID), FIELD(iSiteID), FIELD(iGameID), FIELD(iServerID),
       FIELD(iActivityID), FIELD(iType), FIELD(iValue), FIELD(iSourceID), FIELD(iClientSiteType),
       FIELD(szOutAccount), FIELD(iTeamTag), FIELD(iLianyunFlag), FIELD(usRegisterType))
LAYOUT(UserProgressReq, FIELD(iActivityId), FIELD(iLevel, "what is asked, the activity's own"),
       FIELD(iProgress, "the activity's own"), FIELD(iOther1), FIELD(iOther2), FIELD(iOther3))
LAYOUT(ActivityCloseNotice, FIELD(iActivity, "the activity that has closed"))

// One aligned row per message.
// clang-format off
Rows ActivityRows() {
    using enum Direction;
    return {
        Row<UserProgressReq>                     (ClientToLobby, CLIENT_USER_PROGRESS_REQ,   "activity request"),
        Row<UserProgressReq>                     (LobbyToClient, CLIENT_USER_PROGRESS_REQ,   "activity state"),
        Row<ActivityCloseNotice>                 (LobbyToClient, CLIENT_ACTIVITY_CLOSE_NOTICE, "activity closed"),
        Row<tagDBUpdateUserPropInfo>             (LobbyToQueue, ACT_UPDATE_USER_PROP,      "activity reward"),
        Row<RegisterActSystemServerReq>          (LobbyToData, ACT_REGISTER_REQ,           "activity registration"),
        Bare                                     (LobbyToData, ACT_ACCOUNT_TYPE_REQ,       "account type thresholds request"),
        Row<tagDBGameActivityConfigReq>          (LobbyToData, ACT_CONFIG_REQ,             "activity configuration request"),
        Row<tagDBUserActivityProgressReq>        (LobbyToData, ACT_PROGRESS_REQ,           "activity progress request"),
        Varies<tagUserActivityProgressUpdate>    (LobbyToData, ACT_PROGRESS_UPDATE,        "activity progress update", "12 + 88 x iCount"),
        Row<LobbyActivitySingleProgressUpdate>   (LobbyToData, ACT_SINGLE_PROGRESS_UPDATE, "single progress update"),
        Row<UserAccountTypeConfig>               (DataToLobby, ACT_ACCOUNT_TYPE_RES,       "account type thresholds"),
        Varies<tagDBSiteActivityList>            (DataToLobby, ACT_CONFIG_RES,             "activity configuration", "16 + 108 x iCount"),
        Varies<tagDBActivityProgressList>        (DataToLobby, ACT_PROGRESS_RES,           "activity progress", "32 + 88 x iCount"),
        Row<LobbyActivitySingleProgressUpdateRes>(DataToLobby, ACT_SINGLE_PROGRESS_RES,    "single progress result"),
        Opaque                                   (DataToLobby, ACT_UPDATE_ACK,             "activity progress acknowledgement"),
        Opaque                                   (DataToLobby, ACT_GLOBAL_1,               "global activity message 1"),
        Opaque                                   (DataToLobby, ACT_GLOBAL_2,               "global activity message 2"),
        Opaque                                   (DataToLobby, ACT_GLOBAL_3,               "global activity message 3"),
    };
}
// clang-format on

}  // namespace catalog
