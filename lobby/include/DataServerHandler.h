// The link to the data server: activity configuration and players' progress.
#pragma once

#include "LinkHandler.h"
#include "LobbyPlayer.h"

class LobbyServer;

// Registers with the data server, asks for configuration and progress, and hands the answers to
// the activity registry. Owned by nobody: made by LobbyServer, it lives until the process ends.
// Thread: message worker, except ConnectServer (main or the reconnect keeper).
class DataServerHandler : public LinkHandler {
  public:
    explicit DataServerHandler(LobbyServer* server)
        : LinkHandler(server, LinkRowOf("data_server")) {}

    // 0 when the link is up and registered.
    long ConnectServer();
    // True when node is the link, whatever the message.
    bool OnNetMessage(IPlayerNode* node, unsigned short type, void* data, long length);
    void OnTimer(long) {}

    // These three send nothing while the link is down.
    void RegistDataServerReq();
    void SendActivityConfigReq(int gameId);
    void SendActivityProgressReq(LobbyPlayer* player);
    void SendUpdateActivityProgressReq(int, void*, long) {}

    void HandleActivityConfigRes(void* data, long length);
    void HandleActivityProgressRes(void* data, long length);
    void HandleUpdateActivityProgressRes(void* data, long length);
    void HandleAccountTypeRes(void* data, long length);
    void HandleSingleProgressRes(void* data, long length);

    LinkNode& m_lpDataServer = m_Node;
};
