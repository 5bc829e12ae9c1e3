// Bank messages between client and lobby.
// The same numbers mean other things on the queue link.
#pragma once

#include <cstdint>

#include "WireLayout.h"

// client -> lobby
inline constexpr uint16_t BANK_LOGIN_C2S = 0x00D3;          // UserBankLoginReq
inline constexpr uint16_t BANK_GET_COIN_C2S = 0x00D5;       // GetBankCoinReq
inline constexpr uint16_t BANK_SAVE_COIN_C2S = 0x00D7;      // SaveCoinReq
inline constexpr uint16_t BANK_MODIFY_PASSWD_C2S = 0x00D9;  // ModifyBankPasswdReq

// lobby -> client
inline constexpr uint16_t BANK_LOGIN_S2C = 0x00D4;          // LoginBankResult
inline constexpr uint16_t BANK_GET_COIN_S2C = 0x00D6;       // GetCoinResult
inline constexpr uint16_t BANK_SAVE_COIN_S2C = 0x00D8;      // SaveCoinRes
inline constexpr uint16_t BANK_MODIFY_PASSWD_S2C = 0x00DA;  // ModifyBankPasswdRes

// Codes of ucResultType that the lobby itself gives; all others are the queue server's.
inline constexpr int BANK_RESULT_OTHER_USER = 150;  // iUserID is not the session's user
// The queue server's alone: the next login may follow at once.
inline constexpr int BANK_RESULT_LOGIN_RETRY = 151;
inline constexpr int BANK_RESULT_TOO_SOON = 156;   // less than 2 s after the previous one
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

WIRE_LAYOUT(UserBankLoginReq, 48, AT(iUserID, 8), AT(szBankPass, 12));
WIRE_LAYOUT(GetBankCoinReq, 68, AT(iUserID, 8), AT(iSiteID, 12), AT(iGameID, 16), AT(iServerID, 20),
            AT(llGetNum, 24), AT(szBankerPwd, 32));
WIRE_LAYOUT(SaveCoinReq, 40, AT(iUserID, 8), AT(iSiteID, 12), AT(iGameID, 16), AT(iServerID, 20),
            AT(llSaveCoinNum, 24), AT(llGameWinCoinNum, 32));
WIRE_LAYOUT(ModifyBankPasswdReq, 88, AT(iUserID, 8), AT(szCode, 12), AT(szOldPassWd, 19),
            AT(szNewPassWd, 52));
WIRE_LAYOUT(LoginBankResult, 28, AT(ucResultType, 8), AT(llGameCoin, 12), AT(llBankCoin, 20));
WIRE_LAYOUT(GetCoinResult, 20, AT(ucResultType, 8), AT(llGetCoinNum, 12));
WIRE_LAYOUT(SaveCoinRes, 20, AT(ucResultType, 8), AT(llSelfCoin, 12));
WIRE_LAYOUT(ModifyBankPasswdRes, 10, AT(ucResultType, 8));
