// Bank messages between lobby and queue server: the client's message followed by the session it
// belongs to, and for coin movements by account data of that session.
//
// Layouts are frozen: the queue server reads the same offsets. The wrapped message is a member,
// not a base class, because a derived class may put its first field into the base's tail padding.
#pragma once

#include "BankInfoDef.h"

// Message numbers. The same numbers mean other things between client and lobby.
inline constexpr uint16_t BANK_LOGIN_L2Q = 0x00D6;          // UserBankLoginReq_trans
inline constexpr uint16_t BANK_LOGIN_Q2L = 0x00D7;          // LoginBankResult_trans
inline constexpr uint16_t BANK_GET_COIN_L2Q = 0x00D8;       // GetBankCoinReq_trans
inline constexpr uint16_t BANK_GET_COIN_Q2L = 0x00D9;       // GetCoinResult_trans
inline constexpr uint16_t BANK_SAVE_COIN_L2Q = 0x00DA;      // SaveCoinReq_trans
inline constexpr uint16_t BANK_SAVE_COIN_Q2L = 0x00DB;      // SaveCoinRes_trans
inline constexpr uint16_t BANK_MODIFY_PASSWD_L2Q = 0x00DC;  // ModifyBankPasswdReq_trans
inline constexpr uint16_t BANK_MODIFY_PASSWD_Q2L = 0x00DD;  // ModifyBankPasswdRes_trans

#pragma pack(push, 4)

struct UserBankLoginReq_trans {
    UserBankLoginReq base;
    uint64_t ulPlayerNode;    // opaque handle of the session
    uint64_t ulPlayerNodeId;  // its incarnation; both come back in the answer
};

struct GetBankCoinReq_trans {
    GetBankCoinReq base;
    uint64_t ulPlayerNode;
    uint64_t ulPlayerNodeId;
    char szOutAccount[64];
    int32_t iTeamTag;
    int32_t iLianyunFlag;
    uint16_t usRegisterType;
};

struct SaveCoinReq_trans {
    SaveCoinReq base;
    uint64_t ulPlayerNode;
    uint64_t ulPlayerNodeId;
    char szOutAccount[64];
    int32_t iTeamTag;
    int32_t iLianyunFlag;
    uint16_t usRegisterType;
};

struct ModifyBankPasswdReq_trans {
    ModifyBankPasswdReq base;
    uint64_t ulPlayerNode;
    uint64_t ulPlayerNodeId;
};

struct LoginBankResult_trans {
    LoginBankResult base;
    uint64_t ulPlayerNode;
    uint64_t ulPlayerNodeId;
};

struct GetCoinResult_trans {
    GetCoinResult base;
    uint64_t ulPlayerNode;
    uint64_t ulPlayerNodeId;
};

struct SaveCoinRes_trans {
    SaveCoinRes base;
    uint64_t ulPlayerNode;
    uint64_t ulPlayerNodeId;
};

struct ModifyBankPasswdRes_trans {
    ModifyBankPasswdRes base;
    uint64_t ulPlayerNode;
    uint64_t ulPlayerNodeId;
};

#pragma pack(pop)

static_assert(kWireLayout<UserBankLoginReq_trans, 64> &&
              offsetof(UserBankLoginReq_trans, ulPlayerNode) == 48);
static_assert(kWireLayout<GetBankCoinReq_trans, 160> &&
              offsetof(GetBankCoinReq_trans, ulPlayerNode) == 68 &&
              offsetof(GetBankCoinReq_trans, iTeamTag) == 148);
static_assert(kWireLayout<SaveCoinReq_trans, 132> &&
              offsetof(SaveCoinReq_trans, ulPlayerNode) == 40 &&
              offsetof(SaveCoinReq_trans, iTeamTag) == 120);
static_assert(kWireLayout<ModifyBankPasswdReq_trans, 104> &&
              offsetof(ModifyBankPasswdReq_trans, ulPlayerNode) == 88);
static_assert(kWireLayout<LoginBankResult_trans, 44> &&
              offsetof(LoginBankResult_trans, ulPlayerNode) == 28);
static_assert(kWireLayout<GetCoinResult_trans, 36> &&
              offsetof(GetCoinResult_trans, ulPlayerNode) == 20);
static_assert(kWireLayout<SaveCoinRes_trans, 36> &&
              offsetof(SaveCoinRes_trans, ulPlayerNode) == 20);
static_assert(kWireLayout<ModifyBankPasswdRes_trans, 28> &&
              offsetof(ModifyBankPasswdRes_trans, ulPlayerNode) == 12);
