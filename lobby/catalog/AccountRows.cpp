// Login, bank, profile and coins: client and queue server links, and the web server's notices.
#include "BankInfoDef_Trans.h"
#include "Layouts.h"
#include "lobby_client_msg.h"
#include "queue_server_msg.h"
#include "web_server_msg.h"

namespace catalog {

LAYOUT(tagLobbyClientConnectNotice, FIELD(iUserID), FIELD(iLobbySiteID), Secret(FIELD(szToken)),
       FIELD(szChannelID))
LAYOUT(LobbyAuthenRes, FIELD(ucErrNo), FIELD(iReserve1, "team tag of the account"),
       FIELD(iReserve2, "joint-operation flag of the account"),
       FIELD(iReserve3, "how the account was registered"), FIELD(szReserve1),
       FIELD(szReserve2, "name of the account with its external provider"), FIELD(szReserve3))
LAYOUT(LobbyKickOutNotice, FIELD(iUserID),
       FIELD(bStopSwitch, "false: the account logged in elsewhere; true: maintenance"))
LAYOUT(ExchangeGameCoinReq, FIELD(iRecvUserID, "the receiver's user id"), FIELD(llExhangeCoin))
LAYOUT(ExchangeGameCoinRes, FIELD(iErrorCode), FIELD(llExhangeCoin),
       FIELD(llFirstMoney, "the giver's coins in hand afterwards"))
LAYOUT(ExchangeGameCoinNotify, FIELD(iFromUserID, "the giver's user id"), FIELD(llExhangeCoin),
       FIELD(llFirstMoney, "the receiver's coins in hand afterwards"))
LAYOUT(RechargeSucessNotice, FIELD(userId), FIELD(gameId), FIELD(serverId),
       FIELD(rechargeType, "what was bought, as the platform numbers it"),
       FIELD(rechargeCount, "how much of it"))
LAYOUT(ConsumeSucessNotice, FIELD(userId), FIELD(gameId), FIELD(serverId),
       FIELD(iSize, "bytes of the text; may claim more than the message holds"),
       FollowingText("szConsumeNotice", sizeof(M), "iSize"))
LAYOUT(SychUserLobbyData, FIELD(userId), FIELD(gameId), FIELD(serverId),
       FIELD(dataType, "which figure changed, as the platform numbers it"),
       FIELD(dataValue, "its new value"))
LAYOUT(RechargeReFreshCoinReq, FIELD(iUserId))
LAYOUT(RechargeReFreshCoinRes, FIELD(iUserId), FIELD(iError), FIELD(llCurGameCoin),
       FIELD(llTotalRechageNum, "all the player ever recharged"), FIELD(llBankCoin))
LAYOUT(tagModifyPassWordReq, FIELD(iUserID), Secret(FIELD(szOldPassWd)), Secret(FIELD(szNewPassWd)))
LAYOUT(tagModifyPassWordRes, FIELD(ucResultType))
LAYOUT(ModifyNickNameReq, FIELD(iUserId), FIELD(szNickName))
LAYOUT(ModifyNickNameRes, FIELD(iError), FIELD(szNickName))
LAYOUT(ModifyGenderReq, FIELD(iUserId), FIELD(iGender))
LAYOUT(ModifyGenderRes, FIELD(iError), FIELD(iGender))
LAYOUT(ModifyPersonalSignatureReq, FIELD(iUserId), FIELD(szPersonalSignature))
LAYOUT(ModifyPersonalSignatureRes, FIELD(iError), FIELD(szPersonalSignature))
LAYOUT(ModifyFaceIdReq, FIELD(iUserId), FIELD(iFaceId))
LAYOUT(ModifyFaceIdRes, FIELD(iError), FIELD(iFaceId))
LAYOUT(BindingMobileReq, FIELD(iUserId), FIELD(szMobileNumber))
LAYOUT(BindingMobileRes, FIELD(iError), FIELD(szMobileNumber))
LAYOUT(RealNameAuthenReq, FIELD(iUserId), FIELD(szRealName), Filled(Secret(FIELD(szIdentity))))
LAYOUT(RealNameAuthenRes, FIELD(iError), FIELD(szRealName), Filled(Secret(FIELD(szIdentity))))
LAYOUT(ModifyFaceFrameReq, FIELD(iUserId), FIELD(iFrameId))
LAYOUT(ModifyFaceFrameRes, FIELD(iError), FIELD(iFrameId))
LAYOUT(UserBankLoginReq, FIELD(iUserID), Secret(FIELD(szBankPass)))
LAYOUT(GetBankCoinReq, FIELD(iUserID), FIELD(iSiteID), FIELD(iGameID), FIELD(iServerID),
       FIELD(llGetNum, "coins to move from the bank into the hand, at least 1"),
       Secret(FIELD(szBankerPwd)))
LAYOUT(SaveCoinReq, FIELD(iUserID), FIELD(iSiteID), FIELD(iGameID), FIELD(iServerID),
       FIELD(llSaveCoinNum, "coins to move from the hand into the bank, at least 1"),
       FIELD(llGameWinCoinNum, "how many of them were won in a game"))
LAYOUT(ModifyBankPasswdReq, FIELD(iUserID), Secret(FIELD(szCode)), Secret(FIELD(szOldPassWd)),
       Secret(FIELD(szNewPassWd)))
LAYOUT(LoginBankResult, FIELD(ucResultType), FIELD(llGameCoin), FIELD(llBankCoin))
LAYOUT(GetCoinResult, FIELD(ucResultType), FIELD(llGetCoinNum, "coins taken out"))
LAYOUT(SaveCoinRes, FIELD(ucResultType), FIELD(llSelfCoin, "coins in hand afterwards"))
LAYOUT(ModifyBankPasswdRes, FIELD(ucResultType))
LAYOUT(UserInfoReq, FIELD(userID), Secret(FIELD(szPasswdToken)), FIELD(ulPlayerNode),
       FIELD(ulPlayerNodeId))
LAYOUT(UserInfoRes, FIELD(cError), FIELD(llControlNum), FIELD(iMachineIndex), FIELD(iPlayGameTime),
       FIELD(iAllYuanBaoAmount), FIELD(iAccountsourceid), FIELD(isBindingmobile),
       FIELD(iFriendPropNum), FIELD(llGameCoin), FIELD(llBankCoin), FIELD(iTeamTag),
       FIELD(iLianyunFlag), FIELD(usRegisterType), FIELD(szReserve1), FIELD(szOutAccount),
       FIELD(szReserve3), FIELD(ulPlayerNode), FIELD(ulPlayerNodeId))
LAYOUT(RechargeRefresReq_trans, FIELD(iUserId), FIELD(ulPlayerNode), FIELD(ulPlayerNodeId))
LAYOUT(RechargeRefresRes_trans, FIELD(iUserId), FIELD(iError), FIELD(llCurGameCoin),
       FIELD(llTotalRechageNum, "all the player ever recharged"), FIELD(llBankCoin),
       FIELD(ulPlayerNode), FIELD(ulPlayerNodeId))
LAYOUT(QueueExchangeCoinReq, FIELD(ulPlayerNode), FIELD(ulPlayerNodeId), FIELD(iGameID),
       FIELD(iServerID), FIELD(iUserIDFrom), FIELD(iUserIDRecv), FIELD(llExchangeCoin))
LAYOUT(QueueExchangeCoinRes, FIELD(ulPlayerNode), FIELD(ulPlayerNodeId), FIELD(iError),
       FIELD(iUserIDFrom), FIELD(iUserIDRecv), FIELD(llExchangeCoin))
LAYOUT_ON(ModifyPassWordReq_trans, tagModifyPassWordReq, FIELD(szClientIP), FIELD(ulPlayerNode),
          FIELD(ulPlayerNodeId))
LAYOUT(ModifyPassWordRes_trans, FIELD(ucResultType), FIELD(ulPlayerNode), FIELD(ulPlayerNodeId))
LAYOUT_ON(ModifyNickNameReq_trans, ModifyNickNameReq, FIELD(ulPlayerNode), FIELD(ulPlayerNodeId))
LAYOUT_ON(ModifyNickNameRes_trans, ModifyNickNameRes, FIELD(ulPlayerNode), FIELD(ulPlayerNodeId))
LAYOUT_ON(ModifyGenderReq_trans, ModifyGenderReq, FIELD(ulPlayerNode), FIELD(ulPlayerNodeId))
LAYOUT_ON(ModifyGenderRes_trans, ModifyGenderRes, FIELD(ulPlayerNode), FIELD(ulPlayerNodeId))
LAYOUT_ON(ModifyPersonalSignatureReq_trans, ModifyPersonalSignatureReq, FIELD(ulPlayerNode),
          FIELD(ulPlayerNodeId))
LAYOUT_ON(ModifyPersonalSignatureRes_trans, ModifyPersonalSignatureRes, FIELD(ulPlayerNode),
          FIELD(ulPlayerNodeId))
LAYOUT_ON(ModifyFaceIdReq_trans, ModifyFaceIdReq, FIELD(ulPlayerNode), FIELD(ulPlayerNodeId))
LAYOUT_ON(ModifyFaceIdRes_trans, ModifyFaceIdRes, FIELD(ulPlayerNode), FIELD(ulPlayerNodeId))
LAYOUT_ON(BindingMobileReq_trans, BindingMobileReq, FIELD(ulPlayerNode), FIELD(ulPlayerNodeId))
LAYOUT_ON(BindingMobileRes_trans, BindingMobileRes, FIELD(ulPlayerNode), FIELD(ulPlayerNodeId))
LAYOUT_ON(RealNameAuthenReq_trans, RealNameAuthenReq, FIELD(ulPlayerNode), FIELD(ulPlayerNodeId))
LAYOUT_ON(RealNameAuthenRes_trans, RealNameAuthenRes, FIELD(ulPlayerNode), FIELD(ulPlayerNodeId))
LAYOUT_ON(ModifyFaceFrameReq_trans, ModifyFaceFrameReq, FIELD(ulPlayerNode), FIELD(ulPlayerNodeId))
LAYOUT_ON(ModifyFaceFrameRes_trans, ModifyFaceFrameRes, FIELD(ulPlayerNode), FIELD(ulPlayerNodeId))
LAYOUT_ON(UserBankLoginReq_trans, UserBankLoginReq, FIELD(ulPlayerNode), FIELD(ulPlayerNodeId))
LAYOUT_ON(GetBankCoinReq_trans, GetBankCoinReq, FIELD(ulPlayerNode), FIELD(ulPlayerNodeId),
          FIELD(szOutAccount), FIELD(iTeamTag), FIELD(iLianyunFlag), FIELD(usRegisterType))
LAYOUT_ON(SaveCoinReq_trans, SaveCoinReq, FIELD(ulPlayerNode), FIELD(ulPlayerNodeId),
          FIELD(szOutAccount), FIELD(iTeamTag), FIELD(iLianyunFlag), FIELD(usRegisterType))
LAYOUT_ON(ModifyBankPasswdReq_trans, ModifyBankPasswdReq, FIELD(ulPlayerNode),
          FIELD(ulPlayerNodeId))
LAYOUT_ON(LoginBankResult_trans, LoginBankResult, FIELD(ulPlayerNode), FIELD(ulPlayerNodeId))
LAYOUT_ON(GetCoinResult_trans, GetCoinResult, FIELD(ulPlayerNode), FIELD(ulPlayerNodeId))
LAYOUT_ON(SaveCoinRes_trans, SaveCoinRes, FIELD(ulPlayerNode), FIELD(ulPlayerNodeId))
LAYOUT_ON(ModifyBankPasswdRes_trans, ModifyBankPasswdRes, FIELD(ulPlayerNode),
          FIELD(ulPlayerNodeId))

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
