// Bank messages between client and lobby.
//
// Layouts are frozen: clients of other versions are in the field. Fields are little-endian and
// packed to 4 bytes, so a 64-bit field may start at any multiple of 4. Text fields need not be
// terminated by the sender.
#pragma once

#include <cstdint>

#include "Game/NetMessage.h"
#include "WireLayout.h"

// Message numbers. The same numbers mean other things on the queue link.
inline constexpr uint16_t BANK_LOGIN_C2S = 0x00D3;          // UserBankLoginReq
inline constexpr uint16_t BANK_LOGIN_S2C = 0x00D4;          // LoginBankResult
inline constexpr uint16_t BANK_GET_COIN_C2S = 0x00D5;       // GetBankCoinReq
inline constexpr uint16_t BANK_GET_COIN_S2C = 0x00D6;       // GetCoinResult
inline constexpr uint16_t BANK_SAVE_COIN_C2S = 0x00D7;      // SaveCoinReq
inline constexpr uint16_t BANK_SAVE_COIN_S2C = 0x00D8;      // SaveCoinRes
inline constexpr uint16_t BANK_MODIFY_PASSWD_C2S = 0x00D9;  // ModifyBankPasswdReq
inline constexpr uint16_t BANK_MODIFY_PASSWD_S2C = 0x00DA;  // ModifyBankPasswdRes

// Codes of ucResultType that the lobby itself gives; all others are the queue server's.
inline constexpr int BANK_RESULT_OTHER_USER = 150;  // iUserID is not the session's user
inline constexpr int BANK_RESULT_LOGIN_RETRY =
    151;                                          // queue server: the next login may follow at once
inline constexpr int BANK_RESULT_TOO_SOON = 156;  // less than 2 s after the previous one
inline constexpr int BANK_RESULT_BAD_VALUE = 157;  // amount below 1

#pragma pack(push, 4)

struct UserBankLoginReq {
    MsgHeader msgHeadInfo;
    int32_t iUserID;
    char szBankPass[33];
};

struct GetBankCoinReq {
    MsgHeader msgHeadInfo;
    int32_t iUserID;
    int32_t iSiteID;
    int32_t iGameID;
    int32_t iServerID;
    int64_t llGetNum;  // coins from the bank into the hand
    char szBankerPwd[33];
};

struct SaveCoinReq {
    MsgHeader msgHeadInfo;
    int32_t iUserID;
    int32_t iSiteID;
    int32_t iGameID;
    int32_t iServerID;
    int64_t llSaveCoinNum;  // coins from the hand into the bank
    int64_t llGameWinCoinNum;
};

struct ModifyBankPasswdReq {
    MsgHeader msgHeadInfo;
    int32_t iUserID;
    char szCode[7];
    char szOldPassWd[33];
    char szNewPassWd[33];
};

struct LoginBankResult {
    MsgHeader msgHeadInfo;
    uint8_t ucResultType;
    int64_t llGameCoin;
    int64_t llBankCoin;
};

struct GetCoinResult {
    MsgHeader msgHeadInfo;
    int32_t ucResultType;  // 32 bits wide despite its prefix
    int64_t llGetCoinNum;
};

struct SaveCoinRes {
    MsgHeader msgHeadInfo;
    int32_t ucResultType;  // 32 bits wide despite its prefix
    int64_t llSelfCoin;
};

struct ModifyBankPasswdRes {
    MsgHeader msgHeadInfo;
    uint8_t ucResultType;
};

#pragma pack(pop)

static_assert(kWireLayout<UserBankLoginReq, 48>);
static_assert(kWireLayout<GetBankCoinReq, 68> && offsetof(GetBankCoinReq, llGetNum) == 24);
static_assert(kWireLayout<SaveCoinReq, 40> && offsetof(SaveCoinReq, llSaveCoinNum) == 24);
static_assert(kWireLayout<ModifyBankPasswdReq, 88> &&
              offsetof(ModifyBankPasswdReq, szOldPassWd) == 19);
static_assert(kWireLayout<LoginBankResult, 28> && offsetof(LoginBankResult, llGameCoin) == 12);
static_assert(kWireLayout<GetCoinResult, 20> && offsetof(GetCoinResult, llGetCoinNum) == 12);
static_assert(kWireLayout<SaveCoinRes, 20> && offsetof(SaveCoinRes, llSelfCoin) == 12);
static_assert(kWireLayout<ModifyBankPasswdRes, 10>);
