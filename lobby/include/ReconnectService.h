// Re-opens the lobby's dropped back-end links.
#pragma once

#include "Game/Reconnect.h"

// Passes the keeper's requests on to the lobby. Owned by LobbyServer, whose
// OnClosed queues the requests.
class ReconnectService : public Reconnect {
  public:
    // param is the LobbyServer, type the number of a link. True when the link is up again; any
    // other type fails and is therefore retried until the keeper stops. Keeper thread.
    bool OnConnected(void* param, int type) override;
};
