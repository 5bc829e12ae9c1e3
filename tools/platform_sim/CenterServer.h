// The simulated center server: game servers, site lists, kick-outs between lobbies.
#pragma once

#include "BackEnd.h"

namespace sim {

// Greets a lobby that registers with everything it knows; the control commands change the world
// and tell every lobby. A kick-out reported by one lobby goes to all others.
class CenterServer : public BackEnd {
  public:
    explicit CenterServer(Platform& platform);

    void PutServer(const tagServerInfo& server);
    // The servers given are those of the world.
    void RemoveServer(const tagServerInfo& server);
    void UpdateServer(tagServerInfo& server, uint16_t online, uint8_t open);
    void SetOpen(tagServerInfo& server, bool open);  // by the close notice
    void PutSiteGame(const tagSiteMobileGameList& entry);
    // False when the site does not offer it.
    bool WithdrawSiteGame(int32_t site, int32_t game);
    void KickOut(int32_t userId);

  private:
    void OnRegister(Link& link, const tagServerRegisterReq& req);
    void OnKickOut(Link& link, const NoticeLobbyKickOut& notice);
};

}  // namespace sim
