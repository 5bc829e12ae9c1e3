// Bank messages between lobby and queue server: the client's message followed by the session it
// belongs to, and for coin movements by account data of that session.
// The wrapped message is a member, not a base class, because a derived class may put its first
// field into the base's tail padding. The same numbers mean other things between client and lobby.
#pragma once

#include <cstdint>

#include "BankInfoDef.h"
#include "WireLayout.h"

// lobby -> queue
inline constexpr uint16_t BANK_LOGIN_L2Q = 0x00D6;          // UserBankLoginReq_trans
inline constexpr uint16_t BANK_GET_COIN_L2Q = 0x00D8;       // GetBankCoinReq_trans
inline constexpr uint16_t BANK_SAVE_COIN_L2Q = 0x00DA;      // SaveCoinReq_trans
inline constexpr uint16_t BANK_MODIFY_PASSWD_L2Q = 0x00DC;  // ModifyBankPasswdReq_trans

// queue -> lobby
inline constexpr uint16_t BANK_LOGIN_Q2L = 0x00D7;          // LoginBankResult_trans
inline constexpr uint16_t BANK_GET_COIN_Q2L = 0x00D9;       // GetCoinResult_trans
inline constexpr uint16_t BANK_SAVE_COIN_Q2L = 0x00DB;      // SaveCoinRes_trans
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

WIRE_LAYOUT(UserBankLoginReq_trans, 64, AT(base, 0), AT(ulPlayerNode, 48), AT(ulPlayerNodeId, 56));
WIRE_LAYOUT(GetBankCoinReq_trans, 160, AT(base, 0), AT(ulPlayerNode, 68), AT(ulPlayerNodeId, 76),
            AT(szOutAccount, 84), AT(iTeamTag, 148), AT(iLianyunFlag, 152),
            AT(usRegisterType, 156));
WIRE_LAYOUT(SaveCoinReq_trans, 132, AT(base, 0), AT(ulPlayerNode, 40), AT(ulPlayerNodeId, 48),
            AT(szOutAccount, 56), AT(iTeamTag, 120), AT(iLianyunFlag, 124),
            AT(usRegisterType, 128));
WIRE_LAYOUT(ModifyBankPasswdReq_trans, 104, AT(base, 0), AT(ulPlayerNode, 88),
            AT(ulPlayerNodeId, 96));
WIRE_LAYOUT(LoginBankResult_trans, 44, AT(base, 0), AT(ulPlayerNode, 28), AT(ulPlayerNodeId, 36));
WIRE_LAYOUT(GetCoinResult_trans, 36, AT(base, 0), AT(ulPlayerNode, 20), AT(ulPlayerNodeId, 28));
WIRE_LAYOUT(SaveCoinRes_trans, 36, AT(base, 0), AT(ulPlayerNode, 20), AT(ulPlayerNodeId, 28));
WIRE_LAYOUT(ModifyBankPasswdRes_trans, 28, AT(base, 0), AT(ulPlayerNode, 12),
            AT(ulPlayerNodeId, 20));
