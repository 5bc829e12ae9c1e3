// Tournament messages between client, lobby and queue server.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "Game/NetMessage.h"

// The layouts are frozen: peers and clients of other versions use them byte for byte.
#pragma pack(push, 4)

// Client to lobby.
struct ClientLobbyCompeteReq {
    tagMsgHeader header;
    int32_t iUserID;
};

// Lobby to queue server.
struct CompeteLobbyUserInfoReq {
    tagMsgHeader header;
    int32_t iUserID;
    uint64_t ulPlayerNode;    // handle of the asking session
    uint64_t ulPlayerNodeId;  // its node id
};

// Queue server to lobby.
struct CompeteLobbyUserInfoRes {
    tagMsgHeader header;
    int32_t iErrorCode;
    int32_t iUserID;
    int32_t iFreeCount;
    int32_t iDayTicketCount;
    int32_t iMonthTicketCount;
    int32_t iCompeteMonthScore;
    int32_t iCompeteMonthRank;
    uint8_t bDisconnect;
    uint16_t usServerPort;
    char szServerIp[16];
    uint64_t ulPlayerNode;
    uint64_t ulPlayerNodeId;
};

// Lobby to client: the player's figures and the schedule of today's tournament.
struct LobbyClientCompeteRes {
    tagMsgHeader header;
    uint16_t usErrorCode;
    uint16_t usCompeteType;  // 0 daily, 1 monthly
    int32_t iFreeCount;
    int32_t iDayTicketCount;
    int32_t iMonthTicketCount;
    int32_t iCompeteMonthScore;
    int32_t iCompeteMonthRank;
    int32_t iAwardCoin;
    uint16_t usOpenDay;  // monthly only
    uint16_t usOpenHour;
    uint16_t usOpenMinute;
    uint16_t usTurnNum;  // may exceed the entries below
    int32_t iTurnsUsers[8];
    uint16_t usDayMaxFreeCount;
    int32_t iDayCompeteCostCoin;
    uint8_t ucIsDisconnect;
    uint16_t usServerPort;
    char szServerIp[16];
};

#pragma pack(pop)

static_assert(sizeof(ClientLobbyCompeteReq) == 12);
static_assert(sizeof(CompeteLobbyUserInfoReq) == 28 &&
              offsetof(CompeteLobbyUserInfoReq, ulPlayerNode) == 12);
static_assert(sizeof(CompeteLobbyUserInfoRes) == 72 &&
              offsetof(CompeteLobbyUserInfoRes, usServerPort) == 38 &&
              offsetof(CompeteLobbyUserInfoRes, ulPlayerNode) == 56);
static_assert(sizeof(LobbyClientCompeteRes) == 104 &&
              offsetof(LobbyClientCompeteRes, iTurnsUsers) == 44 &&
              offsetof(LobbyClientCompeteRes, iDayCompeteCostCoin) == 80 &&
              offsetof(LobbyClientCompeteRes, usServerPort) == 86);
static_assert(std::is_standard_layout_v<CompeteLobbyUserInfoRes> &&
              std::is_trivially_copyable_v<CompeteLobbyUserInfoRes> &&
              std::is_standard_layout_v<LobbyClientCompeteRes> &&
              std::is_trivially_copyable_v<LobbyClientCompeteRes>);

// Client to lobby, lobby to client.
inline constexpr uint16_t MSG_CLIENT_COMPETE_REQ = 0xF0;
inline constexpr uint16_t MSG_CLIENT_COMPETE_RES = 0xF1;
// Lobby to queue server, queue server to lobby.
inline constexpr uint16_t MSG_QUEUE_COMPETE_USER_INFO_REQ = 0xA005;
inline constexpr uint16_t MSG_QUEUE_COMPETE_USER_INFO_RES = 0xA006;
