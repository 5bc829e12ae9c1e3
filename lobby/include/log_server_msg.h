// Records the lobby sends to the log server. The farm record is in PublisherMsg.h.
#pragma once

#include <cstdint>

#include "WireLayout.h"

// lobby -> log
inline constexpr uint16_t MSG_LOG_USER_EXCHANGE_COIN = 0x5A48;  // UserExchangeCoinLog
inline constexpr uint16_t MSG_LOG_FARM_TRANSFER = 0x5A4D;       // LobbyFarmTransferLog

#pragma pack(push, 4)

// A finished exchange of coins between two players.
struct UserExchangeCoinLog {
    tagMsgHeader header;
    int32_t iGameID;
    int32_t iServerID;
    int32_t iSenderID;
    int32_t iReceiverID;
    int64_t llExchangeCoin;
    char szRegionName[32];
    char szUserName[32];
    char cTransferType;
};

#pragma pack(pop)

WIRE_LAYOUT(UserExchangeCoinLog, 100, AT(iGameID, 8), AT(iServerID, 12), AT(iSenderID, 16),
            AT(iReceiverID, 20), AT(llExchangeCoin, 24), AT(szRegionName, 32), AT(szUserName, 64),
            AT(cTransferType, 96));
