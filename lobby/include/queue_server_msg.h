// Messages between lobby and queue server: login, profile, coin refresh, coin exchange.
// (Bank: BankInfoDef_Trans.h.)
// A wrapped (_trans) message is the client's message followed by the session it belongs to; why it
// is a member, see there. Of the profile's messages request and result share one number, except the
// password's.
#pragma once

#include <cstdint>

#include "WireLayout.h"
#include "lobby_client_msg.h"

// lobby -> queue
inline constexpr uint16_t USER_INFO_L2Q = 0xA001;          // UserInfoReq
inline constexpr uint16_t REFRESH_COIN_L2Q = 0xA003;       // RechargeRefresReq_trans
inline constexpr uint16_t EXCHANGE_COIN_L2Q = 0x5A50;      // QueueExchangeCoinReq
inline constexpr uint16_t MODIFY_PASSWORD_L2Q = 0x00E1;    // ModifyPassWordReq_trans
inline constexpr uint16_t MODIFY_NICKNAME_L2Q = 0x00E3;    // ModifyNickNameReq_trans
inline constexpr uint16_t MODIFY_GENDER_L2Q = 0x00E4;      // ModifyGenderReq_trans
inline constexpr uint16_t MODIFY_SIGNATURE_L2Q = 0x00E5;   // ModifyPersonalSignatureReq_trans
inline constexpr uint16_t MODIFY_FACE_ID_L2Q = 0x00E6;     // ModifyFaceIdReq_trans
inline constexpr uint16_t BINDING_MOBILE_L2Q = 0x00E7;     // BindingMobileReq_trans
inline constexpr uint16_t REAL_NAME_L2Q = 0x00E8;          // RealNameAuthenReq_trans
inline constexpr uint16_t MODIFY_FACE_FRAME_L2Q = 0x00E9;  // ModifyFaceFrameReq_trans; not sent

// queue -> lobby
inline constexpr uint16_t USER_INFO_Q2L = 0xA002;          // UserInfoRes
inline constexpr uint16_t REFRESH_COIN_Q2L = 0xA004;       // RechargeRefresRes_trans
inline constexpr uint16_t EXCHANGE_COIN_Q2L = 0x5A51;      // QueueExchangeCoinRes
inline constexpr uint16_t MODIFY_PASSWORD_Q2L = 0x00E2;    // ModifyPassWordRes_trans
inline constexpr uint16_t MODIFY_NICKNAME_Q2L = 0x00E3;    // ModifyNickNameRes_trans
inline constexpr uint16_t MODIFY_GENDER_Q2L = 0x00E4;      // ModifyGenderRes_trans
inline constexpr uint16_t MODIFY_SIGNATURE_Q2L = 0x00E5;   // ModifyPersonalSignatureRes_trans
inline constexpr uint16_t MODIFY_FACE_ID_Q2L = 0x00E6;     // ModifyFaceIdRes_trans
inline constexpr uint16_t BINDING_MOBILE_Q2L = 0x00E7;     // BindingMobileRes_trans
inline constexpr uint16_t REAL_NAME_Q2L = 0x00E8;          // RealNameAuthenRes_trans
inline constexpr uint16_t MODIFY_FACE_FRAME_Q2L = 0x00E9;  // ModifyFaceFrameRes_trans

#pragma pack(push, 4)

// Asks for the account of a client that wants to log in.
struct UserInfoReq {
    MsgHeader header;
    int32_t userID;
    char szPasswdToken[33];
    uint64_t ulPlayerNode;    // opaque handle of the session
    uint64_t ulPlayerNodeId;  // its incarnation; both come back in the answer
};

struct UserInfoRes {
    MsgHeader header;
    uint8_t cError;  // 0 is success; passed to the client
    int64_t llControlNum;
    int32_t iMachineIndex;
    int32_t iPlayGameTime;
    int32_t iAllYuanBaoAmount;  // all recharges
    int32_t iAccountsourceid;   // client type
    uint8_t isBindingmobile;    // 1 when a mobile number is bound
    int32_t iFriendPropNum;
    int64_t llGameCoin;
    int64_t llBankCoin;
    int32_t iTeamTag;
    int32_t iLianyunFlag;
    uint16_t usRegisterType;
    char szReserve1[64];
    char szOutAccount[64];
    char szReserve3[64];
    uint64_t ulPlayerNode;
    uint64_t ulPlayerNodeId;
};

struct RechargeRefresReq_trans {
    MsgHeader header;
    int32_t iUserId;
    uint64_t ulPlayerNode;
    uint64_t ulPlayerNodeId;
};

struct RechargeRefresRes_trans {
    MsgHeader header;
    int32_t iUserId;
    int32_t iError;
    int64_t llCurGameCoin;
    int64_t llTotalRechageNum;
    int64_t llBankCoin;
    uint64_t ulPlayerNode;
    uint64_t ulPlayerNodeId;
};

struct QueueExchangeCoinReq {
    MsgHeader header;
    uint64_t ulPlayerNode;  // the giver's session
    uint64_t ulPlayerNodeId;
    int32_t iGameID;    // 0
    int32_t iServerID;  // 0
    int32_t iUserIDFrom;
    int32_t iUserIDRecv;
    int64_t llExchangeCoin;
};

struct QueueExchangeCoinRes {
    MsgHeader header;
    uint64_t ulPlayerNode;
    uint64_t ulPlayerNodeId;
    int32_t iError;
    int32_t iUserIDFrom;
    int32_t iUserIDRecv;
    int64_t llExchangeCoin;
};

struct ModifyPassWordReq_trans {
    tagModifyPassWordReq base;
    char szClientIP[16];  // dotted
    uint64_t ulPlayerNode;
    uint64_t ulPlayerNodeId;
};

struct ModifyPassWordRes_trans {
    MsgHeader header;
    uint8_t ucResultType;
    uint64_t ulPlayerNode;
    uint64_t ulPlayerNodeId;
};

struct ModifyNickNameReq_trans {
    ModifyNickNameReq base;
    uint64_t ulPlayerNode;
    uint64_t ulPlayerNodeId;
};

struct ModifyNickNameRes_trans {
    ModifyNickNameRes base;
    uint64_t ulPlayerNode;
    uint64_t ulPlayerNodeId;
};

struct ModifyGenderReq_trans {
    ModifyGenderReq base;
    uint64_t ulPlayerNode;
    uint64_t ulPlayerNodeId;
};

struct ModifyGenderRes_trans {
    ModifyGenderRes base;
    uint64_t ulPlayerNode;
    uint64_t ulPlayerNodeId;
};

struct ModifyPersonalSignatureReq_trans {
    ModifyPersonalSignatureReq base;
    uint64_t ulPlayerNode;
    uint64_t ulPlayerNodeId;
};

struct ModifyPersonalSignatureRes_trans {
    ModifyPersonalSignatureRes base;
    uint64_t ulPlayerNode;
    uint64_t ulPlayerNodeId;
};

struct ModifyFaceIdReq_trans {
    ModifyFaceIdReq base;
    uint64_t ulPlayerNode;
    uint64_t ulPlayerNodeId;
};

struct ModifyFaceIdRes_trans {
    ModifyFaceIdRes base;
    uint64_t ulPlayerNode;
    uint64_t ulPlayerNodeId;
};

struct BindingMobileReq_trans {
    BindingMobileReq base;
    uint64_t ulPlayerNode;
    uint64_t ulPlayerNodeId;
};

struct BindingMobileRes_trans {
    BindingMobileRes base;
    uint64_t ulPlayerNode;
    uint64_t ulPlayerNodeId;
};

struct RealNameAuthenReq_trans {
    RealNameAuthenReq base;
    uint64_t ulPlayerNode;
    uint64_t ulPlayerNodeId;
};

struct RealNameAuthenRes_trans {
    RealNameAuthenRes base;
    uint64_t ulPlayerNode;
    uint64_t ulPlayerNodeId;
};

struct ModifyFaceFrameReq_trans {
    ModifyFaceFrameReq base;
    uint64_t ulPlayerNode;
    uint64_t ulPlayerNodeId;
};

struct ModifyFaceFrameRes_trans {
    ModifyFaceFrameRes base;
    uint64_t ulPlayerNode;
    uint64_t ulPlayerNodeId;
};

#pragma pack(pop)

WIRE_LAYOUT(UserInfoReq, 64, AT(userID, 8), AT(szPasswdToken, 12), AT(ulPlayerNode, 48),
            AT(ulPlayerNodeId, 56));
WIRE_LAYOUT(UserInfoRes, 280, AT(cError, 8), AT(llControlNum, 12), AT(iMachineIndex, 20),
            AT(iPlayGameTime, 24), AT(iAllYuanBaoAmount, 28), AT(iAccountsourceid, 32),
            AT(isBindingmobile, 36), AT(iFriendPropNum, 40), AT(llGameCoin, 44), AT(llBankCoin, 52),
            AT(iTeamTag, 60), AT(iLianyunFlag, 64), AT(usRegisterType, 68), AT(szReserve1, 70),
            AT(szOutAccount, 134), AT(szReserve3, 198), AT(ulPlayerNode, 264),
            AT(ulPlayerNodeId, 272));
WIRE_LAYOUT(RechargeRefresReq_trans, 28, AT(iUserId, 8), AT(ulPlayerNode, 12),
            AT(ulPlayerNodeId, 20));
WIRE_LAYOUT(RechargeRefresRes_trans, 56, AT(iUserId, 8), AT(iError, 12), AT(llCurGameCoin, 16),
            AT(llTotalRechageNum, 24), AT(llBankCoin, 32), AT(ulPlayerNode, 40),
            AT(ulPlayerNodeId, 48));
WIRE_LAYOUT(QueueExchangeCoinReq, 48, AT(ulPlayerNode, 8), AT(ulPlayerNodeId, 16), AT(iGameID, 24),
            AT(iServerID, 28), AT(iUserIDFrom, 32), AT(iUserIDRecv, 36), AT(llExchangeCoin, 40));
WIRE_LAYOUT(QueueExchangeCoinRes, 44, AT(ulPlayerNode, 8), AT(ulPlayerNodeId, 16), AT(iError, 24),
            AT(iUserIDFrom, 28), AT(iUserIDRecv, 32), AT(llExchangeCoin, 36));
WIRE_LAYOUT(ModifyPassWordReq_trans, 112, AT(base, 0), AT(szClientIP, 80), AT(ulPlayerNode, 96),
            AT(ulPlayerNodeId, 104));
WIRE_LAYOUT(ModifyPassWordRes_trans, 28, AT(ucResultType, 8), AT(ulPlayerNode, 12),
            AT(ulPlayerNodeId, 20));
WIRE_LAYOUT(ModifyNickNameReq_trans, 60, AT(base, 0), AT(ulPlayerNode, 44), AT(ulPlayerNodeId, 52));
WIRE_LAYOUT(ModifyNickNameRes_trans, 60, AT(base, 0), AT(ulPlayerNode, 44), AT(ulPlayerNodeId, 52));
WIRE_LAYOUT(ModifyGenderReq_trans, 32, AT(base, 0), AT(ulPlayerNode, 16), AT(ulPlayerNodeId, 24));
WIRE_LAYOUT(ModifyGenderRes_trans, 32, AT(base, 0), AT(ulPlayerNode, 16), AT(ulPlayerNodeId, 24));
WIRE_LAYOUT(ModifyPersonalSignatureReq_trans, 156, AT(base, 0), AT(ulPlayerNode, 140),
            AT(ulPlayerNodeId, 148));
WIRE_LAYOUT(ModifyPersonalSignatureRes_trans, 156, AT(base, 0), AT(ulPlayerNode, 140),
            AT(ulPlayerNodeId, 148));
WIRE_LAYOUT(ModifyFaceIdReq_trans, 32, AT(base, 0), AT(ulPlayerNode, 16), AT(ulPlayerNodeId, 24));
WIRE_LAYOUT(ModifyFaceIdRes_trans, 32, AT(base, 0), AT(ulPlayerNode, 16), AT(ulPlayerNodeId, 24));
WIRE_LAYOUT(BindingMobileReq_trans, 44, AT(base, 0), AT(ulPlayerNode, 28), AT(ulPlayerNodeId, 36));
WIRE_LAYOUT(BindingMobileRes_trans, 44, AT(base, 0), AT(ulPlayerNode, 28), AT(ulPlayerNodeId, 36));
WIRE_LAYOUT(RealNameAuthenReq_trans, 304, AT(base, 0), AT(ulPlayerNode, 288),
            AT(ulPlayerNodeId, 296));
WIRE_LAYOUT(RealNameAuthenRes_trans, 304, AT(base, 0), AT(ulPlayerNode, 288),
            AT(ulPlayerNodeId, 296));
WIRE_LAYOUT(ModifyFaceFrameReq_trans, 32, AT(base, 0), AT(ulPlayerNode, 16),
            AT(ulPlayerNodeId, 24));
WIRE_LAYOUT(ModifyFaceFrameRes_trans, 32, AT(base, 0), AT(ulPlayerNode, 16),
            AT(ulPlayerNodeId, 24));
