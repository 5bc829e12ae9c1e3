// Activity messages: data server, clients, and rewards booked with the queue server.
#include "FieldNotes.h"
#include "activitySystem/ActivityClientMsg.h"
#include "activitySystem/Activity_Data_Msg.h"

namespace catalog {

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
