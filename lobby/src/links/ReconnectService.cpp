#include "ReconnectService.h"

#include "CenterServerHandler.h"
#include "ConfigServerHandler.h"
#include "DataServerHandler.h"
#include "LobbyServer.h"
#include "LogServerHandler.h"
#include "QueueServerHandler.h"
#include "WebServerHandler.h"

bool ReconnectService::OnConnected(void* param, int type) {
    auto* server = static_cast<LobbyServer*>(param);
    switch (type) {
        case RECONNECT_CENTER:
            return server->GetCenterServerHandler()->ConnectServer() == 0;
        case RECONNECT_WEB:
            return server->GetWebServerHandler()->ConnectServer() == 0;
        case RECONNECT_QUEUE:
            return server->GetQueueServerHandler()->ConnectServer() == 0;
        case RECONNECT_LOG:
            return server->GetLogServerHandler()->ConnectServer() == 0;
        case RECONNECT_DATA:
            return server->GetDataServerHandler()->ConnectServer() == 0;
        case RECONNECT_CONFIG:
            return server->GetConfigServerHandler()->ConnectServer() == 0;
        default:
            return false;
    }
}
