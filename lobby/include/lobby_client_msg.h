// Messages between client and lobby: login, profile, coin notices and refresh, coin exchange.
// (Bank: BankInfoDef.h.) The coin notices reach the lobby from the web server with the same
// layouts (MSG_WEB_... of web_server_msg.h) and go on as received. Of the profile's messages
// request and result share one number, except the password's.
#pragma once

#include <cstdint>

#include "WireLayout.h"

// client -> lobby
inline constexpr uint16_t CLIENT_CONNECT_NOTICE_C2S = 0x00A1;  // tagLobbyClientConnectNotice
inline constexpr uint16_t CLIENT_FORBIDDEN_C2S = 0x9000;       // closes whoever sends it
inline constexpr uint16_t EXCHANGE_COIN_C2S = 0x0050;          // ExchangeGameCoinReq
inline constexpr uint16_t REFRESH_COIN_C2S = 0x00EA;           // RechargeReFreshCoinReq
inline constexpr uint16_t MODIFY_PASSWORD_C2S = 0x00E1;        // tagModifyPassWordReq
inline constexpr uint16_t MODIFY_NICKNAME_C2S = 0x00E3;        // ModifyNickNameReq
inline constexpr uint16_t MODIFY_GENDER_C2S = 0x00E4;          // ModifyGenderReq
inline constexpr uint16_t MODIFY_SIGNATURE_C2S = 0x00E5;       // ModifyPersonalSignatureReq
inline constexpr uint16_t MODIFY_FACE_ID_C2S = 0x00E6;         // ModifyFaceIdReq
inline constexpr uint16_t BINDING_MOBILE_C2S = 0x00E7;         // BindingMobileReq
inline constexpr uint16_t REAL_NAME_C2S = 0x00E8;              // RealNameAuthenReq

// lobby -> client
inline constexpr uint16_t LOBBY_AUTHEN_RES_S2C = 0x00A6;      // LobbyAuthenRes
inline constexpr uint16_t LOBBY_KICK_OUT_S2C = 0x00A8;        // LobbyKickOutNotice
inline constexpr uint16_t EXCHANGE_COIN_S2C = 0x0051;         // ExchangeGameCoinRes
inline constexpr uint16_t EXCHANGE_COIN_NOTIFY_S2C = 0x0052;  // ExchangeGameCoinNotify
inline constexpr uint16_t CONSUME_NOTICE_S2C = 0x00A7;        // ConsumeSucessNotice
inline constexpr uint16_t SYCH_USER_DATA_S2C = 0x00B3;        // SychUserLobbyData
inline constexpr uint16_t REFRESH_COIN_S2C = 0x00EA;          // RechargeReFreshCoinRes
inline constexpr uint16_t MODIFY_PASSWORD_S2C = 0x00E2;       // tagModifyPassWordRes
inline constexpr uint16_t MODIFY_NICKNAME_S2C = 0x00E3;       // ModifyNickNameRes
inline constexpr uint16_t MODIFY_GENDER_S2C = 0x00E4;         // ModifyGenderRes
inline constexpr uint16_t MODIFY_SIGNATURE_S2C = 0x00E5;      // ModifyPersonalSignatureRes
inline constexpr uint16_t MODIFY_FACE_ID_S2C = 0x00E6;        // ModifyFaceIdRes
inline constexpr uint16_t BINDING_MOBILE_S2C = 0x00E7;        // BindingMobileRes
inline constexpr uint16_t REAL_NAME_S2C = 0x00E8;             // RealNameAuthenRes
inline constexpr uint16_t MODIFY_FACE_FRAME_S2C = 0x00E9;  // ModifyFaceFrameRes; no client request

// Codes of ExchangeGameCoinRes::iErrorCode that the lobby itself gives.
inline constexpr int32_t EXCHANGE_BAD_AMOUNT = 3;  // not positive, or more than the coins in hand
inline constexpr int32_t EXCHANGE_TO_SELF = 4;
inline constexpr int32_t EXCHANGE_TOO_SOON = 12;  // less than 5 s after the last transfer

// Codes of tagModifyPassWordRes::ucResultType that the lobby itself gives.
inline constexpr uint8_t PASSWORD_OTHER_USER = 1;
inline constexpr uint8_t PASSWORD_TOO_SOON = 4;

#pragma pack(push, 4)

// The first message of a client; starts the login.
struct tagLobbyClientConnectNotice {
    MsgHeader header;
    int32_t iUserID;
    int32_t iLobbySiteID;
    char szToken[33];
    char szChannelID[17];  // not taken over
};

// The last answer of a login.
struct LobbyAuthenRes {
    MsgHeader header;
    uint8_t ucErrNo;    // the queue server's cError; 0 is success
    int32_t iReserve1;  // iTeamTag
    int32_t iReserve2;  // iLianyunFlag
    int32_t iReserve3;  // usRegisterType
    char szReserve1[64];
    char szReserve2[64];  // szOutAccount
    char szReserve3[64];
};

struct LobbyKickOutNotice {
    MsgHeader header;
    int32_t iUserID;
    bool bStopSwitch;  // false: logged in elsewhere; true: maintenance
};

struct ExchangeGameCoinReq {
    MsgHeader header;
    int32_t iRecvUserID;
    int64_t llExhangeCoin;
};

struct ExchangeGameCoinRes {
    MsgHeader header;
    int32_t iErrorCode;
    int64_t llExhangeCoin;
    int64_t llFirstMoney;  // the giver's coins in hand
};

struct ExchangeGameCoinNotify {
    MsgHeader header;
    int32_t iFromUserID;
    int64_t llExhangeCoin;
    int64_t llFirstMoney;  // the receiver's coins in hand after the transfer
};

struct RechargeSucessNotice {
    MsgHeader header;
    int32_t userId;
    int32_t gameId;
    int32_t serverId;
    int32_t rechargeType;
    int32_t rechargeCount;
};

// Followed by iSize bytes of JSON text, not terminated:
// {"wsGainList":[{"type":<int>,"number":<int>},...]}
struct ConsumeSucessNotice {
    MsgHeader header;
    int32_t userId;
    int32_t gameId;
    int32_t serverId;
    int32_t iSize;  // may claim more than the message holds
    char szConsumeNotice[];
};

struct SychUserLobbyData {
    MsgHeader header;
    int32_t userId;
    int32_t gameId;
    int32_t serverId;
    int32_t dataType;
    int32_t dataValue;
};

struct RechargeReFreshCoinReq {
    MsgHeader header;
    int32_t iUserId;
};

struct RechargeReFreshCoinRes {
    MsgHeader header;
    int32_t iUserId;
    int32_t iError;
    int64_t llCurGameCoin;
    int64_t llTotalRechageNum;
    int64_t llBankCoin;
};

struct tagModifyPassWordReq {
    MsgHeader header;
    int32_t iUserID;
    char szOldPassWd[33];
    char szNewPassWd[33];
};

struct tagModifyPassWordRes {
    MsgHeader header;
    uint8_t ucResultType;
};

struct ModifyNickNameReq {
    MsgHeader header;
    int32_t iUserId;
    char szNickName[32];
};

struct ModifyNickNameRes {
    MsgHeader header;
    int32_t iError;
    char szNickName[32];
};

struct ModifyGenderReq {
    MsgHeader header;
    int32_t iUserId;
    int32_t iGender;
};

struct ModifyGenderRes {
    MsgHeader header;
    int32_t iError;
    int32_t iGender;
};

struct ModifyPersonalSignatureReq {
    MsgHeader header;
    int32_t iUserId;
    char szPersonalSignature[128];
};

struct ModifyPersonalSignatureRes {
    MsgHeader header;
    int32_t iError;
    char szPersonalSignature[128];
};

struct ModifyFaceIdReq {
    MsgHeader header;
    int32_t iUserId;
    int32_t iFaceId;
};

struct ModifyFaceIdRes {
    MsgHeader header;
    int32_t iError;
    int32_t iFaceId;
};

struct BindingMobileReq {
    MsgHeader header;
    int32_t iUserId;
    char szMobileNumber[15];
};

struct BindingMobileRes {
    MsgHeader header;
    int32_t iError;
    char szMobileNumber[15];
};

struct RealNameAuthenReq {
    MsgHeader header;
    int32_t iUserId;
    char szRealName[255];
    char szIdentity[18];
};

struct RealNameAuthenRes {
    MsgHeader header;
    int32_t iError;
    char szRealName[255];
    char szIdentity[18];
};

struct ModifyFaceFrameReq {
    MsgHeader header;
    int32_t iUserId;
    int32_t iFrameId;
};

struct ModifyFaceFrameRes {
    MsgHeader header;
    int32_t iError;
    int32_t iFrameId;
};

#pragma pack(pop)

WIRE_LAYOUT(tagLobbyClientConnectNotice, 68, AT(iUserID, 8), AT(iLobbySiteID, 12), AT(szToken, 16),
            AT(szChannelID, 49));
WIRE_LAYOUT(LobbyAuthenRes, 216, AT(ucErrNo, 8), AT(iReserve1, 12), AT(iReserve2, 16),
            AT(iReserve3, 20), AT(szReserve1, 24), AT(szReserve2, 88), AT(szReserve3, 152));
WIRE_LAYOUT(LobbyKickOutNotice, 16, AT(iUserID, 8), AT(bStopSwitch, 12));
WIRE_LAYOUT(ExchangeGameCoinReq, 20, AT(iRecvUserID, 8), AT(llExhangeCoin, 12));
WIRE_LAYOUT(ExchangeGameCoinRes, 28, AT(iErrorCode, 8), AT(llExhangeCoin, 12),
            AT(llFirstMoney, 20));
WIRE_LAYOUT(ExchangeGameCoinNotify, 28, AT(iFromUserID, 8), AT(llExhangeCoin, 12),
            AT(llFirstMoney, 20));
WIRE_LAYOUT(RechargeSucessNotice, 28, AT(userId, 8), AT(gameId, 12), AT(serverId, 16),
            AT(rechargeType, 20), AT(rechargeCount, 24));
WIRE_LAYOUT(ConsumeSucessNotice, 24, AT(userId, 8), AT(gameId, 12), AT(serverId, 16),
            AT(iSize, 20));
WIRE_LAYOUT(SychUserLobbyData, 28, AT(userId, 8), AT(gameId, 12), AT(serverId, 16),
            AT(dataType, 20), AT(dataValue, 24));
WIRE_LAYOUT(RechargeReFreshCoinReq, 12, AT(iUserId, 8));
WIRE_LAYOUT(RechargeReFreshCoinRes, 40, AT(iUserId, 8), AT(iError, 12), AT(llCurGameCoin, 16),
            AT(llTotalRechageNum, 24), AT(llBankCoin, 32));
WIRE_LAYOUT(tagModifyPassWordReq, 80, AT(iUserID, 8), AT(szOldPassWd, 12), AT(szNewPassWd, 45));
WIRE_LAYOUT(tagModifyPassWordRes, 10, AT(ucResultType, 8));
WIRE_LAYOUT(ModifyNickNameReq, 44, AT(iUserId, 8), AT(szNickName, 12));
WIRE_LAYOUT(ModifyNickNameRes, 44, AT(iError, 8), AT(szNickName, 12));
WIRE_LAYOUT(ModifyGenderReq, 16, AT(iUserId, 8), AT(iGender, 12));
WIRE_LAYOUT(ModifyGenderRes, 16, AT(iError, 8), AT(iGender, 12));
WIRE_LAYOUT(ModifyPersonalSignatureReq, 140, AT(iUserId, 8), AT(szPersonalSignature, 12));
WIRE_LAYOUT(ModifyPersonalSignatureRes, 140, AT(iError, 8), AT(szPersonalSignature, 12));
WIRE_LAYOUT(ModifyFaceIdReq, 16, AT(iUserId, 8), AT(iFaceId, 12));
WIRE_LAYOUT(ModifyFaceIdRes, 16, AT(iError, 8), AT(iFaceId, 12));
WIRE_LAYOUT(BindingMobileReq, 28, AT(iUserId, 8), AT(szMobileNumber, 12));
WIRE_LAYOUT(BindingMobileRes, 28, AT(iError, 8), AT(szMobileNumber, 12));
WIRE_LAYOUT(RealNameAuthenReq, 288, AT(iUserId, 8), AT(szRealName, 12), AT(szIdentity, 267));
WIRE_LAYOUT(RealNameAuthenRes, 288, AT(iError, 8), AT(szRealName, 12), AT(szIdentity, 267));
WIRE_LAYOUT(ModifyFaceFrameReq, 16, AT(iUserId, 8), AT(iFrameId, 12));
WIRE_LAYOUT(ModifyFaceFrameRes, 16, AT(iError, 8), AT(iFrameId, 12));
