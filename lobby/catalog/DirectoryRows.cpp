// Game servers, sites and platform settings: center and config links, the client's server list.
#include "Layouts.h"
#include "PublisherMsg.h"
#include "center_server_msg.h"
#include "config_server_msg.h"

namespace catalog {

LAYOUT(tagServerRegisterReq, FIELD(iRegisterType, "kind of server that registers"), FIELD(iGameId),
       FIELD(iServerId))
LAYOUT(tagServerInfo, FIELD(usGameID),
       FIELD(usServerID, "room; 0 in a client's list: all rooms of the game and level in one"),
       FIELD(szServerName), FIELD(szTelecomIP, "address to connect to, dotted"),
       FIELD(ulLimitPoint, "coins a player needs to enter"),
       FIELD(ulBaseTime, "base time of the room, the game's own"),
       FIELD(ulBasePoint, "base stake of the room"), FIELD(ulMaxPoint, "highest stake"),
       FIELD(ulMinPoint, "lowest stake"), FIELD(usOnlineCount),
       FIELD(usServerPort, "port to connect to"),
       FIELD(ucServerType, "kind of room, the game's own"), FIELD(ucOpenFlag),
       FIELD(usLevel, "level of the room"), FIELD(iMaxUserNum, "players it takes at most"),
       FIELD(szDsnInfo, "data source of the room, the game's own"))
LAYOUT(tagServerInfoNotice, FIELD(usListCount), COUNTED(ServerInfoList, usListCount))
LAYOUT(tagUpdateServerInfo, FIELD(usGameID), FIELD(usServerID), FIELD(usOnlineCount),
       FIELD(ucOpenFlag))
LAYOUT(tagTerminateNotice, FIELD(usGameID), FIELD(usServerID))
LAYOUT(tagServerCloseNotice, FIELD(usGameID), FIELD(usServerID),
       FIELD(cCloseServer, "the new open flag"))
LAYOUT(tagSiteMobileGameList, FIELD(iSiteID), FIELD(iGameID),
       FIELD(iGameKind, "0: all rooms of a level are shown as one"), FIELD(iTypeID),
       FIELD(szGameName), FIELD(szTypeName))
LAYOUT(tagLoginMobileCenterSiteGameListMsg, FIELD(iListCount), COUNTED(GameList, iListCount))
LAYOUT(TerminateGameSiteInfo, FIELD(iSiteID), FIELD(iGameID))
LAYOUT(tagLoginCenterSiteGameTerminateNotice, FIELD(iSiteGameListCount),
       COUNTED(siteGameInfo, iSiteGameListCount))
LAYOUT(NoticeLobbyKickOut, FIELD(iUserID))
LAYOUT(GameServerInfoReq, FIELD(iUserID))
LAYOUT(tagGameServer, FIELD(usIsFinish, "1 in the last message of the list, else 0"),
       FIELD(usListCount), COUNTED(serverInfo, usListCount))
LAYOUT(tagVipLevelItem, FIELD(iLevel, "VIP level"),
       FIELD(iRecharge, "recharge that level begins at"))
LAYOUT(tagVipPhotoItem, FIELD(iPhotoID), FIELD(iLimitLv))
LAYOUT(tagVipFrameItem, FIELD(iFrameID), FIELD(iLimitLv))
LAYOUT(tagVipLevelConfigRes, FIELD(isFinished), FIELD(usItemCount), COUNTED(item, usItemCount))
LAYOUT(tagVipPhotoConfigRes, FIELD(isFinished), FIELD(usItemCount), COUNTED(item, usItemCount))
LAYOUT(tagVipFrameConfig, FIELD(isFinished), FIELD(usItemCount), COUNTED(item, usItemCount))
LAYOUT(tagLobbyStopSwitchRes,
       FIELD(iStopSwitch, "above 0 maintenance: the lobby puts all players out; 0 opens it again"))
LAYOUT(WebFarmSubscribeKeyInfo, FIELD(szKey))
LAYOUT(WebFarmSubscribeKeyRes, FIELD(bInit, "not 0: a fresh list starts here"), FIELD(iCount),
       Following<WebFarmSubscribeKeyInfo>("subscribeKeyInfo", sizeof(M), "iCount"))

// One aligned row per message.
// clang-format off
Rows DirectoryRows() {
    using enum Direction;
    return {
        Row<GameServerInfoReq>         (ClientToLobby, MSG_CLIENT_SERVER_INFO_REQ,   "server list request", MSG_CLIENT_SERVER_INFO_RES),
        Varies<tagGameServer>          (LobbyToClient, MSG_CLIENT_SERVER_INFO_RES,   "server list", "12 + 116 x usListCount"),
        Row<tagServerRegisterReq>      (LobbyToCenter, MSG_CENTER_REGISTER_REQ,      "lobby registration"),
        Row<NoticeLobbyKickOut>        (LobbyToCenter, MSG_CENTER_KICK_OUT,          "kick-out in other lobbies"),
        Varies<tagServerInfoNotice>    (CenterToLobby, MSG_CENTER_SERVER_INFO,       "game server records", "at most 1172"),
        Row<tagUpdateServerInfo>       (CenterToLobby, MSG_CENTER_SERVER_UPDATE,     "game server update"),
        Row<tagTerminateNotice>        (CenterToLobby, MSG_CENTER_SERVER_TERMINATE,  "game server gone"),
        Row<tagServerCloseNotice>      (CenterToLobby, MSG_CENTER_SERVER_CLOSE,      "game server open flag"),
        Varies<tagLoginMobileCenterSiteGameListMsg>  (CenterToLobby, MSG_CENTER_SITE_GAME_LIST,      "site game list", "at most 4012"),
        Varies<tagLoginCenterSiteGameTerminateNotice>(CenterToLobby, MSG_CENTER_SITE_GAME_TERMINATE, "site games withdrawn", "at most 412"),
        Row<NoticeLobbyKickOut>        (CenterToLobby, MSG_CENTER_KICK_OUT,          "kick-out order"),
        Bare                           (LobbyToConfig, MSG_CONFIG_VIP_FRAME_REQ,     "VIP frame table request"),
        Bare                           (LobbyToConfig, MSG_CONFIG_STOP_SWITCH_REQ,   "stop switch request"),
        Bare                           (LobbyToConfig, MSG_CONFIG_SUBSCRIBE_KEY_REQ, "farm key list request"),
        Row<tagVipLevelConfigRes>      (ConfigToLobby, MSG_CONFIG_VIP_LEVEL_RES,     "VIP level table"),
        Row<tagVipPhotoConfigRes>      (ConfigToLobby, MSG_CONFIG_VIP_PHOTO_RES,     "VIP photo table"),
        Row<tagVipFrameConfig>         (ConfigToLobby, MSG_CONFIG_VIP_FRAME_RES,     "VIP frame table"),
        Row<tagLobbyStopSwitchRes>     (ConfigToLobby, MSG_CONFIG_STOP_SWITCH_RES,   "stop switch"),
        Varies<WebFarmSubscribeKeyRes> (ConfigToLobby, MSG_CONFIG_SUBSCRIBE_KEY_RES, "farm key list", "16 + 128 x iCount"),
    };
}
// clang-format on

}  // namespace catalog
