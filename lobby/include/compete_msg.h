// Tournament messages between client, lobby and queue server.
#pragma once

#include <cstdint>

#include "WireLayout.h"

// client -> lobby
inline constexpr uint16_t MSG_CLIENT_COMPETE_REQ = 0xF0;  // ClientLobbyCompeteReq

// lobby -> client
inline constexpr uint16_t MSG_CLIENT_COMPETE_RES = 0xF1;  // LobbyClientCompeteRes

// lobby -> queue
inline constexpr uint16_t MSG_QUEUE_COMPETE_USER_INFO_REQ = 0xA005;  // CompeteLobbyUserInfoReq

// queue -> lobby
inline constexpr uint16_t MSG_QUEUE_COMPETE_USER_INFO_RES = 0xA006;  // CompeteLobbyUserInfoRes

#pragma pack(push, 4)

struct ClientLobbyCompeteReq {
    tagMsgHeader header;
    int32_t iUserID;
};

struct CompeteLobbyUserInfoReq {
    tagMsgHeader header;
    int32_t iUserID;
    uint64_t ulPlayerNode;    // handle of the asking session
    uint64_t ulPlayerNodeId;  // its node id
};

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

// The player's figures and the schedule of today's tournament.
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

WIRE_LAYOUT(ClientLobbyCompeteReq, 12, AT(iUserID, 8));
WIRE_LAYOUT(CompeteLobbyUserInfoReq, 28, AT(iUserID, 8), AT(ulPlayerNode, 12),
            AT(ulPlayerNodeId, 20));
WIRE_LAYOUT(CompeteLobbyUserInfoRes, 72, AT(iErrorCode, 8), AT(iUserID, 12), AT(iFreeCount, 16),
            AT(iDayTicketCount, 20), AT(iMonthTicketCount, 24), AT(iCompeteMonthScore, 28),
            AT(iCompeteMonthRank, 32), AT(bDisconnect, 36), AT(usServerPort, 38),
            AT(szServerIp, 40), AT(ulPlayerNode, 56), AT(ulPlayerNodeId, 64));
WIRE_LAYOUT(LobbyClientCompeteRes, 104, AT(usErrorCode, 8), AT(usCompeteType, 10),
            AT(iFreeCount, 12), AT(iDayTicketCount, 16), AT(iMonthTicketCount, 20),
            AT(iCompeteMonthScore, 24), AT(iCompeteMonthRank, 28), AT(iAwardCoin, 32),
            AT(usOpenDay, 36), AT(usOpenHour, 38), AT(usOpenMinute, 40), AT(usTurnNum, 42),
            AT(iTurnsUsers, 44), AT(usDayMaxFreeCount, 76), AT(iDayCompeteCostCoin, 80),
            AT(ucIsDisconnect, 84), AT(usServerPort, 86), AT(szServerIp, 88));
