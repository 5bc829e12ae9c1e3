// Bulletins, farm messages, tournament and log records.
#include "Layouts.h"
#include "PublisherMsg.h"
#include "compete_msg.h"
#include "log_server_msg.h"
#include "web_server_msg.h"

namespace catalog {

LAYOUT(RegisterWebServerReq, FIELD(gameID), FIELD(serverID))
LAYOUT(WinCoinBulletinNotice, FIELD(usBulletType), FIELD(iUserId), FIELD(iGameId), FIELD(iServerId),
       FIELD(iAwardType), FIELD(iAwardNum), FIELD(szNickName), FIELD(szUserName),
       FIELD(szServerName), FIELD(szContent))
LAYOUT(SysBulletinCommon, FIELD(usBulletType), FIELD(szContent), FIELD(cChannelId))
LAYOUT(SysBulletinNotice, FIELD(usBulletNum), COUNTED(bulletinItem, usBulletNum))
LAYOUT(WinCoinBulletinNotice_2, FIELD(usBulletType), FIELD(iUserId), FIELD(iGameId),
       FIELD(iServerId), FIELD(iAwardType), FIELD(iAwardNum), FIELD(szNickName), FIELD(szUserName),
       FIELD(szServerName), FIELD(szContent), FIELD(cChannelId))
LAYOUT(WinBulletinNotice, FIELD(usBulletNum), COUNTED(bulletinItem, usBulletNum))
LAYOUT(ClientSubscribeMsg, FIELD(iMainID), FIELD(iSubID), FIELD(szKey))
LAYOUT(ClientUnsubscribeMsg, FIELD(iMainID), FIELD(iSubID), FIELD(szKey))
LAYOUT(ClientPublishMsg, FIELD(iMainID), FIELD(iSubID), FIELD(szKey), FIELD(szMsgContent))
LAYOUT(BulletinTransferFarmNotice, FIELD(iMainID), FIELD(iSubID),
       FIELD(iUserID, "receiver; 0 and below: every client"), FIELD(szMessageKey),
       FIELD(szMsgContent))
LAYOUT(LobbyTransferFarmNotice, FIELD(iMainID), FIELD(iSubID),
       FIELD(iUserID, "receiver; 0 and below: every client"), FIELD(szMsgContent))
LAYOUT(LobbyFarmTransferLog, FIELD(iMainID), FIELD(iSubID), FIELD(iUserID), FIELD(iTransferPort),
       FIELD(szMsgContent))
LAYOUT(UserExchangeCoinLog, FIELD(iGameID), FIELD(iServerID), FIELD(iSenderID), FIELD(iReceiverID),
       FIELD(llExchangeCoin), FIELD(szRegionName), FIELD(szUserName), FIELD(cTransferType))
LAYOUT(ClientLobbyCompeteReq, FIELD(iUserID))
LAYOUT(CompeteLobbyUserInfoReq, FIELD(iUserID), FIELD(ulPlayerNode), FIELD(ulPlayerNodeId))
LAYOUT(CompeteLobbyUserInfoRes, FIELD(iErrorCode), FIELD(iUserID), FIELD(iFreeCount),
       FIELD(iDayTicketCount), FIELD(iMonthTicketCount), FIELD(iCompeteMonthScore),
       FIELD(iCompeteMonthRank), FIELD(bDisconnect), FIELD(usServerPort), FIELD(szServerIp),
       FIELD(ulPlayerNode), FIELD(ulPlayerNodeId))
LAYOUT(LobbyClientCompeteRes, FIELD(usErrorCode),
       FIELD(usCompeteType, "today's: 0 the daily one, 1 the monthly one"), FIELD(iFreeCount),
       FIELD(iDayTicketCount), FIELD(iMonthTicketCount), FIELD(iCompeteMonthScore),
       FIELD(iCompeteMonthRank), FIELD(iAwardCoin), FIELD(usOpenDay), FIELD(usOpenHour),
       FIELD(usOpenMinute), FIELD(usTurnNum), FIELD(iTurnsUsers), FIELD(usDayMaxFreeCount),
       FIELD(iDayCompeteCostCoin), FIELD(ucIsDisconnect), FIELD(usServerPort), FIELD(szServerIp))

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
