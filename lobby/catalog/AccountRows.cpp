// Login, bank, profile and coins: client and queue server links, and the web server's notices.
#include "BankInfoDef_Trans.h"
#include "FieldNotes.h"
#include "lobby_client_msg.h"
#include "queue_server_msg.h"
#include "web_server_msg.h"

namespace catalog {

// One aligned row per message.
// clang-format off
Rows AccountRows() {
    using enum Direction;
    return {
        Row<tagLobbyClientConnectNotice>     (ClientToLobby, CLIENT_CONNECT_NOTICE_C2S, "connect notice", LOBBY_AUTHEN_RES_S2C),
        Row<LobbyAuthenRes>                  (LobbyToClient, LOBBY_AUTHEN_RES_S2C,      "login result"),
        Row<LobbyKickOutNotice>              (LobbyToClient, LOBBY_KICK_OUT_S2C,        "kick-out"),
        Bare                                 (ClientToLobby, CLIENT_FORBIDDEN_C2S,      "forbidden"),
        Row<ExchangeGameCoinReq>             (ClientToLobby, EXCHANGE_COIN_C2S,         "coin exchange request", EXCHANGE_COIN_S2C),
        Row<ExchangeGameCoinRes>             (LobbyToClient, EXCHANGE_COIN_S2C,         "coin exchange result"),
        Row<ExchangeGameCoinNotify>          (LobbyToClient, EXCHANGE_COIN_NOTIFY_S2C,  "coins received"),
        Varies<ConsumeSucessNotice>          (LobbyToClient, CONSUME_NOTICE_S2C,        "consume notice", "24 + iSize"),
        Row<RechargeSucessNotice>            (WebToLobby,    MSG_WEB_RECHARGE_NOTICE,   "recharge notice"),
        Varies<ConsumeSucessNotice>          (WebToLobby,    MSG_WEB_CONSUME_NOTICE,    "consume notice", "24 + iSize"),
        Row<SychUserLobbyData>               (WebToLobby,    MSG_WEB_SYNC_USER_DATA,    "user data sync"),
        Row<SychUserLobbyData>               (LobbyToClient, SYCH_USER_DATA_S2C,        "user data sync"),
        Row<RechargeReFreshCoinReq>          (ClientToLobby, REFRESH_COIN_C2S,          "coin refresh request", REFRESH_COIN_S2C),
        Row<RechargeReFreshCoinRes>          (LobbyToClient, REFRESH_COIN_S2C,          "coin refresh result"),
        Row<tagModifyPassWordReq>            (ClientToLobby, MODIFY_PASSWORD_C2S,       "login password request", MODIFY_PASSWORD_S2C),
        Row<tagModifyPassWordRes>            (LobbyToClient, MODIFY_PASSWORD_S2C,       "login password result"),
        Row<ModifyNickNameReq>               (ClientToLobby, MODIFY_NICKNAME_C2S,       "nickname request", MODIFY_NICKNAME_S2C),
        Row<ModifyNickNameRes>               (LobbyToClient, MODIFY_NICKNAME_S2C,       "nickname result"),
        Row<ModifyGenderReq>                 (ClientToLobby, MODIFY_GENDER_C2S,         "gender request", MODIFY_GENDER_S2C),
        Row<ModifyGenderRes>                 (LobbyToClient, MODIFY_GENDER_S2C,         "gender result"),
        Row<ModifyPersonalSignatureReq>      (ClientToLobby, MODIFY_SIGNATURE_C2S,      "signature request", MODIFY_SIGNATURE_S2C),
        Row<ModifyPersonalSignatureRes>      (LobbyToClient, MODIFY_SIGNATURE_S2C,      "signature result"),
        Row<ModifyFaceIdReq>                 (ClientToLobby, MODIFY_FACE_ID_C2S,        "face id request", MODIFY_FACE_ID_S2C),
        Row<ModifyFaceIdRes>                 (LobbyToClient, MODIFY_FACE_ID_S2C,        "face id result"),
        Row<BindingMobileReq>                (ClientToLobby, BINDING_MOBILE_C2S,        "mobile binding request", BINDING_MOBILE_S2C),
        Row<BindingMobileRes>                (LobbyToClient, BINDING_MOBILE_S2C,        "mobile binding result"),
        Row<RealNameAuthenReq>               (ClientToLobby, REAL_NAME_C2S,             "real name request", REAL_NAME_S2C),
        Row<RealNameAuthenRes>               (LobbyToClient, REAL_NAME_S2C,             "real name result"),
        Row<ModifyFaceFrameRes>              (LobbyToClient, MODIFY_FACE_FRAME_S2C,     "face frame result"),
        Row<UserBankLoginReq>                (ClientToLobby, BANK_LOGIN_C2S,            "bank login request", BANK_LOGIN_S2C),
        Row<LoginBankResult>                 (LobbyToClient, BANK_LOGIN_S2C,            "bank login result"),
        Row<GetBankCoinReq>                  (ClientToLobby, BANK_GET_COIN_C2S,         "take coin request", BANK_GET_COIN_S2C),
        Row<GetCoinResult>                   (LobbyToClient, BANK_GET_COIN_S2C,         "take coin result"),
        Row<SaveCoinReq>                     (ClientToLobby, BANK_SAVE_COIN_C2S,        "save coin request", BANK_SAVE_COIN_S2C),
        Row<SaveCoinRes>                     (LobbyToClient, BANK_SAVE_COIN_S2C,        "save coin result"),
        Row<ModifyBankPasswdReq>             (ClientToLobby, BANK_MODIFY_PASSWD_C2S,    "bank password request", BANK_MODIFY_PASSWD_S2C),
        Row<ModifyBankPasswdRes>             (LobbyToClient, BANK_MODIFY_PASSWD_S2C,    "bank password result"),
        Row<UserInfoReq>                     (LobbyToQueue,  USER_INFO_L2Q,             "user info request"),
        Row<UserInfoRes>                     (QueueToLobby,  USER_INFO_Q2L,             "user info result"),
        Row<RechargeRefresReq_trans>         (LobbyToQueue,  REFRESH_COIN_L2Q,          "coin refresh request"),
        Row<RechargeRefresRes_trans>         (QueueToLobby,  REFRESH_COIN_Q2L,          "coin refresh result"),
        Row<QueueExchangeCoinReq>            (LobbyToQueue,  EXCHANGE_COIN_L2Q,         "coin exchange request"),
        Row<QueueExchangeCoinRes>            (QueueToLobby,  EXCHANGE_COIN_Q2L,         "coin exchange result"),
        Row<ModifyPassWordReq_trans>         (LobbyToQueue,  MODIFY_PASSWORD_L2Q,       "login password request"),
        Row<ModifyPassWordRes_trans>         (QueueToLobby,  MODIFY_PASSWORD_Q2L,       "login password result"),
        Row<ModifyNickNameReq_trans>         (LobbyToQueue,  MODIFY_NICKNAME_L2Q,       "nickname request"),
        Row<ModifyNickNameRes_trans>         (QueueToLobby,  MODIFY_NICKNAME_Q2L,       "nickname result"),
        Row<ModifyGenderReq_trans>           (LobbyToQueue,  MODIFY_GENDER_L2Q,         "gender request"),
        Row<ModifyGenderRes_trans>           (QueueToLobby,  MODIFY_GENDER_Q2L,         "gender result"),
        Row<ModifyPersonalSignatureReq_trans>(LobbyToQueue,  MODIFY_SIGNATURE_L2Q,      "signature request"),
        Row<ModifyPersonalSignatureRes_trans>(QueueToLobby,  MODIFY_SIGNATURE_Q2L,      "signature result"),
        Row<ModifyFaceIdReq_trans>           (LobbyToQueue,  MODIFY_FACE_ID_L2Q,        "face id request"),
        Row<ModifyFaceIdRes_trans>           (QueueToLobby,  MODIFY_FACE_ID_Q2L,        "face id result"),
        Row<BindingMobileReq_trans>          (LobbyToQueue,  BINDING_MOBILE_L2Q,        "mobile binding request"),
        Row<BindingMobileRes_trans>          (QueueToLobby,  BINDING_MOBILE_Q2L,        "mobile binding result"),
        Row<RealNameAuthenReq_trans>         (LobbyToQueue,  REAL_NAME_L2Q,             "real name request"),
        Row<RealNameAuthenRes_trans>         (QueueToLobby,  REAL_NAME_Q2L,             "real name result"),
        Row<ModifyFaceFrameReq_trans>        (LobbyToQueue,  MODIFY_FACE_FRAME_L2Q,     "face frame request"),
        Row<ModifyFaceFrameRes_trans>        (QueueToLobby,  MODIFY_FACE_FRAME_Q2L,     "face frame result"),
        Row<UserBankLoginReq_trans>          (LobbyToQueue,  BANK_LOGIN_L2Q,            "bank login request"),
        Row<LoginBankResult_trans>           (QueueToLobby,  BANK_LOGIN_Q2L,            "bank login result"),
        Row<GetBankCoinReq_trans>            (LobbyToQueue,  BANK_GET_COIN_L2Q,         "take coin request"),
        Row<GetCoinResult_trans>             (QueueToLobby,  BANK_GET_COIN_Q2L,         "take coin result"),
        Row<SaveCoinReq_trans>               (LobbyToQueue,  BANK_SAVE_COIN_L2Q,        "save coin request"),
        Row<SaveCoinRes_trans>               (QueueToLobby,  BANK_SAVE_COIN_Q2L,        "save coin result"),
        Row<ModifyBankPasswdReq_trans>       (LobbyToQueue,  BANK_MODIFY_PASSWD_L2Q,    "bank password request"),
        Row<ModifyBankPasswdRes_trans>       (QueueToLobby,  BANK_MODIFY_PASSWD_Q2L,    "bank password result"),
    };
}
// clang-format on

}  // namespace catalog
