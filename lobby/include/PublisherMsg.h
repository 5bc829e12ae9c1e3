// Farm messages: subscription by clients, delivery by the web server, the key list of the config
// server and the record for the log server.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "Game/NetMessage.h"

// One subscriber of a key. Not a message: the node is kept as a handle only and is looked up
// again, with its id, before anything is sent to it.
struct PublishPlayer {
    int32_t iUserID;
    uint64_t ulPlayerNode;
    uint64_t ulPlayerNodeId;  // the node's id when it subscribed
};

// The layouts are frozen: peers and clients of other versions use them byte for byte. Keys and
// contents that fill their arrays have no terminator.
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

static_assert(sizeof(ClientSubscribeMsg) == 144 && offsetof(ClientSubscribeMsg, szKey) == 16);
static_assert(sizeof(ClientUnsubscribeMsg) == 144 && offsetof(ClientUnsubscribeMsg, szKey) == 16);
static_assert(sizeof(ClientPublishMsg) == 1168 && offsetof(ClientPublishMsg, szMsgContent) == 144);
static_assert(sizeof(BulletinTransferFarmNotice) == 1172 &&
              offsetof(BulletinTransferFarmNotice, szMsgContent) == 148);
static_assert(sizeof(LobbyTransferFarmNotice) == 1044);
static_assert(sizeof(LobbyFarmTransferLog) == 1048 &&
              offsetof(LobbyFarmTransferLog, szMsgContent) == 24);
static_assert(sizeof(WebFarmSubscribeKeyReq) == 8 && sizeof(WebFarmSubscribeKeyInfo) == 128);
static_assert(sizeof(WebFarmSubscribeKeyRes) == 16 &&
              offsetof(WebFarmSubscribeKeyRes, iCount) == 12);
static_assert(std::is_standard_layout_v<BulletinTransferFarmNotice> &&
              std::is_trivially_copyable_v<BulletinTransferFarmNotice> &&
              std::is_standard_layout_v<WebFarmSubscribeKeyRes> &&
              std::is_trivially_copyable_v<WebFarmSubscribeKeyRes>);

// Client to lobby.
inline constexpr uint16_t CLIENT_SUBSCRIBE_MSG_C2S = 0xF2;
inline constexpr uint16_t CLIENT_UNSUBSCRIBE_MSG_C2S = 0xF3;
// Lobby to client.
inline constexpr uint16_t CLIENT_PUBLISH_MSG_S2C = 0xF4;
inline constexpr uint16_t MSG_CLIENT_FARM_NOTICE = 0xBB;
// Lobby to config, config to lobby.
inline constexpr uint16_t MSG_CONFIG_SUBSCRIBE_KEY_REQ = 0xAD28;
inline constexpr uint16_t MSG_CONFIG_SUBSCRIBE_KEY_RES = 0xAD29;

// A farm message with these two ids and a subscribable key goes to the key's subscribers.
inline constexpr int32_t FARM_PUBLISH_MAIN_ID = 3;
inline constexpr int32_t FARM_PUBLISH_SUB_ID = 100;
