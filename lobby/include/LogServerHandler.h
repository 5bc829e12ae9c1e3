// The link to the log server.
#pragma once

#include <cstdint>

#include "LinkNode.h"

class LobbyServer;

// Sends business records to the log server, which answers nothing. There is no queue: records
// made while the link is down are lost. Owned by LobbyServer; points at the link node.
// Thread: message worker; ConnectServer on main or the reconnect keeper.
class LogServerHandler {
  public:
    explicit LogServerHandler(LobbyServer* server);
    virtual ~LogServerHandler() = default;
    LogServerHandler(const LogServerHandler&) = delete;
    LogServerHandler& operator=(const LogServerHandler&) = delete;

    // Opens the link; 0 on success.
    int64_t ConnectServer();
    void KeepAlive();
    // Does nothing and takes nothing; kept for the shape of a link handler.
    bool OnNetMessage(IPlayerNode* node, uint16_t type, void* data, long length);
    // True when the node was the link; the keeper then re-opens it.
    bool OnClosed(IPlayerNode* node, bool bClosed);
    // data is a whole record with room for the header.
    void SendMsgToLogServer(uint16_t type, void* data, long length);

    LobbyServer* m_lpLobbyServer;
    LinkNode m_lpLogServer;
};
