// The link to the data server: activity configuration and players' progress.
#pragma once

#include "LinkNode.h"
#include "LobbyPlayer.h"

class LobbyServer;

// Registers with the data server, asks for configuration and progress, and hands the answers to
// the activity registry. Owned by nobody: made by LobbyServer, it lives until the process ends.
// Thread: message worker, except ConnectServer (main or the reconnect keeper).
class DataServerHandler {
  public:
    explicit DataServerHandler(LobbyServer* server) : m_lpLobbyServer(server) {}
    virtual ~DataServerHandler() = default;

    // 0 when the link is up and registered.
    long ConnectServer();
    void KeepAlive();
    // True when node is the link, whatever the message.
    bool OnNetMessage(IPlayerNode* node, unsigned short type, void* data, long length);
    bool OnClosed(IPlayerNode* node, bool bClosed);
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

    LinkNode m_lpDataServer;

  private:
    LobbyServer* m_lpLobbyServer;  // not owned
};
