// Farm messages: subscription by clients, delivery by the web server, the key list of the config
// server and the record for the log server. Keys and contents that fill their arrays have no
// terminator.
#pragma once

#include <cstdint>

#include "WireLayout.h"

// client -> lobby
inline constexpr uint16_t CLIENT_SUBSCRIBE_MSG_C2S = 0xF2;    // ClientSubscribeMsg
inline constexpr uint16_t CLIENT_UNSUBSCRIBE_MSG_C2S = 0xF3;  // ClientUnsubscribeMsg

// lobby -> client
inline constexpr uint16_t CLIENT_PUBLISH_MSG_S2C = 0xF4;  // ClientPublishMsg
inline constexpr uint16_t MSG_CLIENT_FARM_NOTICE = 0xBB;  // LobbyTransferFarmNotice

// lobby -> config
inline constexpr uint16_t MSG_CONFIG_SUBSCRIBE_KEY_REQ = 0xAD28;  // header only

// config -> lobby
inline constexpr uint16_t MSG_CONFIG_SUBSCRIBE_KEY_RES = 0xAD29;  // WebFarmSubscribeKeyRes

// A farm message with these two ids and a subscribable key goes to the key's subscribers.
inline constexpr int32_t FARM_PUBLISH_MAIN_ID = 3;
inline constexpr int32_t FARM_PUBLISH_SUB_ID = 100;

// One subscriber of a key. Not a message: the node is kept as a handle only and is looked up
// again, with its id, before anything is sent to it.
struct PublishPlayer {
    int32_t iUserID;
    uint64_t ulPlayerNode;
    uint64_t ulPlayerNodeId;  // the node's id when it subscribed
};

#pragma pack(push, 4)

struct ClientSubscribeMsg {
    tagMsgHeader header;
    int32_t iMainID;
    int32_t iSubID;
    char szKey[128];
};

struct ClientUnsubscribeMsg {
    tagMsgHeader header;
    int32_t iMainID;
    int32_t iSubID;
    char szKey[128];
};

struct ClientPublishMsg {
    tagMsgHeader header;
    int32_t iMainID;
    int32_t iSubID;
    char szKey[128];
    char szMsgContent[1024];
};

struct BulletinTransferFarmNotice {
    tagMsgHeader msgHeadInfo;
    int32_t iMainID;
    int32_t iSubID;
    int32_t iUserID;  // receiver; 0 and below: every client
    char szMessageKey[128];
    char szMsgContent[1024];
};

struct LobbyTransferFarmNotice {
    tagMsgHeader msgHeadInfo;
    int32_t iMainID;
    int32_t iSubID;
    int32_t iUserID;
    char szMsgContent[1024];
};

struct LobbyFarmTransferLog {
    tagMsgHeader header;
    int32_t iMainID;
    int32_t iSubID;
    int32_t iUserID;
    int32_t iTransferPort;  // port of the delivering lobby
    char szMsgContent[1024];
};

struct WebFarmSubscribeKeyReq {
    tagMsgHeader header;
};

struct WebFarmSubscribeKeyInfo {
    char szKey[128];
};

// The fixed start of the key list; iCount WebFarmSubscribeKeyInfo follow.
struct WebFarmSubscribeKeyRes {
    tagMsgHeader header;
    uint8_t bInit;  // not 0: a fresh list starts here
    int32_t iCount;
    WebFarmSubscribeKeyInfo subscribeKeyInfo[];
};

#pragma pack(pop)

WIRE_LAYOUT(ClientSubscribeMsg, 144, AT(iMainID, 8), AT(iSubID, 12), AT(szKey, 16));
WIRE_LAYOUT(ClientUnsubscribeMsg, 144, AT(iMainID, 8), AT(iSubID, 12), AT(szKey, 16));
WIRE_LAYOUT(ClientPublishMsg, 1168, AT(iMainID, 8), AT(iSubID, 12), AT(szKey, 16),
            AT(szMsgContent, 144));
WIRE_LAYOUT(BulletinTransferFarmNotice, 1172, AT(iMainID, 8), AT(iSubID, 12), AT(iUserID, 16),
            AT(szMessageKey, 20), AT(szMsgContent, 148));
WIRE_LAYOUT(LobbyTransferFarmNotice, 1044, AT(iMainID, 8), AT(iSubID, 12), AT(iUserID, 16),
            AT(szMsgContent, 20));
WIRE_LAYOUT(LobbyFarmTransferLog, 1048, AT(iMainID, 8), AT(iSubID, 12), AT(iUserID, 16),
            AT(iTransferPort, 20), AT(szMsgContent, 24));
WIRE_LAYOUT(WebFarmSubscribeKeyReq, 8);
WIRE_LAYOUT(WebFarmSubscribeKeyInfo, 128, AT(szKey, 0));
WIRE_LAYOUT(WebFarmSubscribeKeyRes, 16, AT(bInit, 8), AT(iCount, 12));
