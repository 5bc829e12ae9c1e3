// Records the lobby sends to the log server. The farm record is in PublisherMsg.h.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "Game/NetMessage.h"

// The layouts are frozen: log servers of other versions read them byte for byte.
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

static_assert(sizeof(UserExchangeCoinLog) == 100 &&
              offsetof(UserExchangeCoinLog, llExchangeCoin) == 24 &&
              offsetof(UserExchangeCoinLog, cTransferType) == 96);
static_assert(std::is_standard_layout_v<UserExchangeCoinLog> &&
              std::is_trivially_copyable_v<UserExchangeCoinLog>);

// Lobby to log server.
inline constexpr uint16_t MSG_LOG_USER_EXCHANGE_COIN = 0x5A48;
inline constexpr uint16_t MSG_LOG_FARM_TRANSFER = 0x5A4D;
