// The link to the log server.
#pragma once

#include <cstdint>

#include "LinkHandler.h"

class LobbyServer;

// Sends business records to the log server, which answers nothing. There is no queue: records
// made while the link is down are lost. Owned by LobbyServer; points at the link node.
// Thread: message worker; ConnectServer on main or the reconnect keeper.
class LogServerHandler : public LinkHandler {
  public:
    explicit LogServerHandler(LobbyServer* server) : LinkHandler(server, LinkRowOf("log_server")) {}

    // Opens the link; 0 on success.
    int64_t ConnectServer();
    // Does nothing and takes nothing; kept for the shape of a link handler.
    bool OnNetMessage(IPlayerNode* node, uint16_t type, void* data, long length);
    // data is a whole record with room for the header.
    void SendMsgToLogServer(uint16_t type, void* data, long length);

    LinkNode& m_lpLogServer = m_Node;
};
