// The link to the center server and the two directories it feeds.
#pragma once

#include <cstdint>
#include <optional>

#include "GameSiteList.h"
#include "LinkHandler.h"
#include "ServerList.h"

class LobbyServer;

// Registers the lobby at the center server and keeps the directories in step with what the center
// announces. While the link is down the directories stay as they are, and clients go on getting
// the last known list. Owned by LobbyServer; owns the directories, points at the link node.
// Thread: message worker; ConnectServer and CallCenterServerInfo on main or the reconnect keeper
// (they leave the directories alone).
class CenterServerHandler : public LinkHandler {
  public:
    explicit CenterServerHandler(LobbyServer* server)
        : LinkHandler(server, LinkRowOf("center_server")) {}

    // Opens the link and registers on it; 0 on success.
    int64_t ConnectServer();
    // Registers the lobby; the center answers with its servers and site lists.
    void CallCenterServerInfo(IPlayerNode* node);
    // True when the message came from the center, known type or not.
    bool OnNetMessage(IPlayerNode* node, uint16_t type, void* data, long length);
    void refreshShowGameList();

    // The notices. A wrong size of one of fixed size closes the link, which is then re-opened and
    // registered again, so that the center sends everything anew.
    void OnCenterServerInfoNotice(void* data, long length);
    void OnCenterServerInfoUpdate(void* data, long length);
    void OnCenterServerCloseNotice(void* data, long length);
    void OnCenterTerminateNotice(void* data, long length);
    // The site lists do not rebuild the show lists; these catch up with the next server notice
    // that does, or with the timer.
    void OnCenterServerGameListNotice(void* data, long length);
    void OnCenterSiteGameTerminateNotice(void* data, long length);
    void OnCenterNoticeKickOut(void* data, long length);

    LinkNode& m_lpCenterServer = m_Node;
    ServerList m_ServerList;
    GameSiteList m_GameSiteList;

  private:
    template <class Notice>
    std::optional<Notice> ReadWhole(const char* tag, const void* data, long length);
};
