// Messages between lobby and queue server: login, profile, coin refresh, coin exchange.
// (Bank: BankInfoDef_Trans.h.)
//
// Layouts are frozen: the queue server reads the same offsets. A wrapped (_trans) message is the
// client's message followed by the session it belongs to; the wrapped message is a member, not a
// base class, because a derived class may put its first field into the base's tail padding.
#pragma once

#include "lobby_client_msg.h"

inline constexpr uint16_t USER_INFO_L2Q = 0xA001;      // UserInfoReq
inline constexpr uint16_t USER_INFO_Q2L = 0xA002;      // UserInfoRes
inline constexpr uint16_t REFRESH_COIN_L2Q = 0xA003;   // RechargeRefresReq_trans
inline constexpr uint16_t REFRESH_COIN_Q2L = 0xA004;   // RechargeRefresRes_trans
inline constexpr uint16_t EXCHANGE_COIN_L2Q = 0x5A50;  // QueueExchangeCoinReq
inline constexpr uint16_t EXCHANGE_COIN_Q2L = 0x5A51;  // QueueExchangeCoinRes

// Profile. Request and result share one number, except the password's.
inline constexpr uint16_t MODIFY_PASSWORD_L2Q = 0x00E1;    // ModifyPassWordReq_trans
inline constexpr uint16_t MODIFY_PASSWORD_Q2L = 0x00E2;    // ModifyPassWordRes_trans
inline constexpr uint16_t MODIFY_NICKNAME_L2Q = 0x00E3;    // ModifyNickNameReq_trans
inline constexpr uint16_t MODIFY_NICKNAME_Q2L = 0x00E3;    // ModifyNickNameRes_trans
inline constexpr uint16_t MODIFY_GENDER_L2Q = 0x00E4;      // ModifyGenderReq_trans
inline constexpr uint16_t MODIFY_GENDER_Q2L = 0x00E4;      // ModifyGenderRes_trans
inline constexpr uint16_t MODIFY_SIGNATURE_L2Q = 0x00E5;   // ModifyPersonalSignatureReq_trans
inline constexpr uint16_t MODIFY_SIGNATURE_Q2L = 0x00E5;   // ModifyPersonalSignatureRes_trans
inline constexpr uint16_t MODIFY_FACE_ID_L2Q = 0x00E6;     // ModifyFaceIdReq_trans
inline constexpr uint16_t MODIFY_FACE_ID_Q2L = 0x00E6;     // ModifyFaceIdRes_trans
inline constexpr uint16_t BINDING_MOBILE_L2Q = 0x00E7;     // BindingMobileReq_trans
inline constexpr uint16_t BINDING_MOBILE_Q2L = 0x00E7;     // BindingMobileRes_trans
inline constexpr uint16_t REAL_NAME_L2Q = 0x00E8;          // RealNameAuthenReq_trans
inline constexpr uint16_t REAL_NAME_Q2L = 0x00E8;          // RealNameAuthenRes_trans
inline constexpr uint16_t MODIFY_FACE_FRAME_L2Q = 0x00E9;  // ModifyFaceFrameReq_trans; not sent
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

static_assert(kWireLayout<UserInfoReq, 64> && offsetof(UserInfoReq, ulPlayerNode) == 48);
static_assert(kWireLayout<UserInfoRes, 280> && offsetof(UserInfoRes, llControlNum) == 12 &&
              offsetof(UserInfoRes, iFriendPropNum) == 40 &&
              offsetof(UserInfoRes, szReserve1) == 70 &&
              offsetof(UserInfoRes, ulPlayerNode) == 264);
static_assert(kWireLayout<RechargeRefresReq_trans, 28> &&
              offsetof(RechargeRefresReq_trans, ulPlayerNode) == 12);
static_assert(kWireLayout<RechargeRefresRes_trans, 56> &&
              offsetof(RechargeRefresRes_trans, ulPlayerNode) == 40);
static_assert(kWireLayout<QueueExchangeCoinReq, 48> &&
              offsetof(QueueExchangeCoinReq, llExchangeCoin) == 40);
static_assert(kWireLayout<QueueExchangeCoinRes, 44> &&
              offsetof(QueueExchangeCoinRes, llExchangeCoin) == 36);
static_assert(kWireLayout<ModifyPassWordReq_trans, 112> &&
              offsetof(ModifyPassWordReq_trans, ulPlayerNode) == 96);
static_assert(kWireLayout<ModifyPassWordRes_trans, 28> &&
              offsetof(ModifyPassWordRes_trans, ulPlayerNode) == 12);
static_assert(kWireLayout<ModifyNickNameReq_trans, 60> && kWireLayout<ModifyNickNameRes_trans, 60>);
static_assert(kWireLayout<ModifyGenderReq_trans, 32> && kWireLayout<ModifyGenderRes_trans, 32>);
static_assert(kWireLayout<ModifyPersonalSignatureReq_trans, 156> &&
              kWireLayout<ModifyPersonalSignatureRes_trans, 156>);
static_assert(kWireLayout<ModifyFaceIdReq_trans, 32> && kWireLayout<ModifyFaceIdRes_trans, 32>);
static_assert(kWireLayout<BindingMobileReq_trans, 44> && kWireLayout<BindingMobileRes_trans, 44>);
static_assert(kWireLayout<RealNameAuthenReq_trans, 304> &&
              kWireLayout<RealNameAuthenRes_trans, 304>);
static_assert(kWireLayout<ModifyFaceFrameReq_trans, 32> &&
              kWireLayout<ModifyFaceFrameRes_trans, 32>);
