// Game servers, sites and platform settings: center and config links, the client's server list.
#include "FieldNotes.h"
#include "PublisherMsg.h"
#include "center_server_msg.h"
#include "config_server_msg.h"

namespace catalog {

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
