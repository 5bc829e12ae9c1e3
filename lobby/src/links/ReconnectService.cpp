#include "ReconnectService.h"

#include "LobbyServer.h"

bool ReconnectService::OnConnected(void* param, int type) {
    return static_cast<LobbyServer*>(param)->ReconnectLink(type);
}
