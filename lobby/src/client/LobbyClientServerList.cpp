// The client's request for the server list.
#include "CenterServerHandler.h"
#include "Common/Clock.h"
#include "Common/Log.h"
#include "LobbyClientHandler.h"
#include "LobbyMetrics.h"
#include "LobbyServer.h"
#include "MsgView.h"

namespace {

// A request this many seconds after the answered one, or sooner, is dropped.
constexpr time_t kServerInfoPause = 2;

}  // namespace

void LobbyClientHandler::HandleClientServerInfoReq(IPlayerNode* node, void* data, uint16_t length) {
    static constexpr char tag[] = "HandleClientServerInfoReq";
    if (data == nullptr || node == nullptr) {
        __log(_ERROR, tag, "node is nil");
        return;
    }
    LobbyPlayer& player = *static_cast<LobbyPlayer*>(node);
    const auto msg = ReadMsg<GameServerInfoReq>(data, length);
    if (player.m_iUserID != msg.iUserID) {
        __log(_ERROR, tag, "玩家错误 userid[%d] req_iUserID[%d]", player.m_iUserID, msg.iUserID);
        return;
    }
    const time_t now = ClockNow();
    if (now - player.iLastServerInfoReqTime <= kServerInfoPause) {
        __log(_ERROR, tag, "userid[%d] now[%lld] lasttime[%lld].", player.m_iUserID,
              static_cast<long long>(now), static_cast<long long>(player.iLastServerInfoReqTime));
        CountThrottled(MSG_CLIENT_SERVER_INFO_REQ);
        return;
    }
    // Counts even when the site has no list and nothing is sent.
    player.iLastServerInfoReqTime = now;
    m_lpLobbyServer->SendRoomInfoToClient(node);
    __log(_WARN, tag, "userid[%d] SendRoomInfoToClient", player.m_iUserID);
}

void LobbyServer::SendRoomInfoToClient(IPlayerNode* node) {
    CenterServerHandler* const center = GetCenterServerHandler();
    if (center == nullptr) return;
    center->m_ServerList.SendServerList(this, node, center->m_GameSiteList);
}
