// The link to the config server.
#pragma once

#include <cstdint>

#include "LinkHandler.h"

class LobbyServer;

// Fills the VIP tables, the stop switch and the farm key list, all held by LobbyServer. A table
// comes in one or more messages and is collected in a staging table that replaces the live one
// only with the last message, so that readers never see half a table. A transfer cut off by a
// lost link leaves its part in the staging table, and the next one adds to it.
// Owned by LobbyServer; points at the link node.
// Thread: message worker; ConnectServer and LoadConfigs on main or the reconnect keeper.
class ConfigServerHandler : public LinkHandler {
  public:
    explicit ConfigServerHandler(LobbyServer* server)
        : LinkHandler(server, LinkRowOf("config_server")) {}

    // Opens the link and asks for the tables; 0 on success.
    int64_t ConnectServer();
    // Asks for the frame table; the config server sends the other two on its own.
    void LoadConfigs();
    void SendLobbyStopSwitchReqToConfig();
    // 1 when the message came from the config server, known type or not, else 0.
    int32_t OnNetMessage(IPlayerNode* node, uint16_t type, void* data, long length);

    // The results. One of the wrong size is dropped, the link stays.
    void OnVipLevelConfigRes(void* data, long length);
    void OnVipPhotoConfigRes(void* data, long length);
    void OnVipFrameConfigRes(void* data, long length);
    // Above 0 the lobby's timer empties the lobby, 0 opens it again.
    void OnConfigLobbySwitchRes(void* data, long length);
    // A list too long for one message comes as one that starts afresh and others that append.
    void OnSubscribeKeyRes(void* data, long length);

    LinkNode& m_lpConfigServer = m_Node;
};
