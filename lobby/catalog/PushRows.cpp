// Bulletins, farm messages, tournament and log records.
#include "FieldNotes.h"
#include "PublisherMsg.h"
#include "compete_msg.h"
#include "log_server_msg.h"
#include "web_server_msg.h"

namespace catalog {

// One aligned row per message.
// clang-format off
Rows PushRows() {
    using enum Direction;
    return {
        Row<RegisterWebServerReq>      (LobbyToWeb,    MSG_WEB_REGISTER_REQ,            "bulletin registration"),
        Row<WinCoinBulletinNotice>     (WebToLobby,    MSG_WEB_WIN_BULLETIN,            "win bulletin"),
        Varies<SysBulletinNotice>      (WebToLobby,    MSG_WEB_SYS_BULLETIN,            "system bulletins", "10 + 532 x usBulletNum"),
        Row<BulletinTransferFarmNotice>(WebToLobby,    MSG_WEB_FARM_TRANSFER,           "farm message"),
        Varies<WinBulletinNotice>      (LobbyToClient, MSG_CLIENT_BULLETIN,             "bulletins", "12 + 652 x usBulletNum"),
        Row<ClientSubscribeMsg>        (ClientToLobby, CLIENT_SUBSCRIBE_MSG_C2S,        "subscribe"),
        Row<ClientUnsubscribeMsg>      (ClientToLobby, CLIENT_UNSUBSCRIBE_MSG_C2S,      "unsubscribe"),
        Row<ClientPublishMsg>          (LobbyToClient, CLIENT_PUBLISH_MSG_S2C,          "published farm message"),
        Row<LobbyTransferFarmNotice>   (LobbyToClient, MSG_CLIENT_FARM_NOTICE,          "farm message"),
        Row<ClientLobbyCompeteReq>     (ClientToLobby, MSG_CLIENT_COMPETE_REQ,          "tournament request", MSG_CLIENT_COMPETE_RES),
        Row<LobbyClientCompeteRes>     (LobbyToClient, MSG_CLIENT_COMPETE_RES,          "tournament info"),
        Row<CompeteLobbyUserInfoReq>   (LobbyToQueue,  MSG_QUEUE_COMPETE_USER_INFO_REQ, "tournament figures request"),
        Row<CompeteLobbyUserInfoRes>   (QueueToLobby,  MSG_QUEUE_COMPETE_USER_INFO_RES, "tournament figures"),
        Row<UserExchangeCoinLog>       (LobbyToLog,    MSG_LOG_USER_EXCHANGE_COIN,      "coin exchange record"),
        Row<LobbyFarmTransferLog>      (LobbyToLog,    MSG_LOG_FARM_TRANSFER,           "farm delivery record"),
    };
}
// clang-format on

}  // namespace catalog
