// Logins, kick-outs and what goes to single links.
#include <vector>

#include "CenterServerHandler.h"
#include "Common/Log.h"
#include "Common/WorkerThread.h"
#include "ConfigServerHandler.h"
#include "DataServerHandler.h"
#include "LobbyClientHandler.h"
#include "LobbyMetrics.h"
#include "LobbyServer.h"
#include "MsgView.h"
#include "center_server_msg.h"
#include "lobby_client_msg.h"

// Nothing is answered here: who is turned away is closed, and who is not hears from
// CheckforClientIsReady once the queue server has confirmed him. A second notice of a session
// changes nothing, or a client could become somebody else after his login.
void LobbyServer::OnLobbyClientConnectNotice(IPlayerNode* node, void* data, long length) {
    AssertWorker();
    constexpr const char* tag = "LobbyServer::OnLobbyClientConnectNotice";
    auto* player = static_cast<LobbyPlayer*>(node);
    if (player->m_cLoginType != 0) {
        // The borrowed name is what log readers filter by.
        __log(_DEBUG, "LobbyServer::OnGameClientConnectNotice",
              "node[%x] 玩家[%d]已经注册过 m_cLoginType[%d]!!!!!!!", PtrTag(node),
              player->m_iUserID, player->m_cLoginType);
        return;
    }
    if (m_iLobbyStopSwitch >= 1) {
        __log(_ERROR, tag, "lobby stop[%d] 停机维护", m_iLobbyStopSwitch);
        CountRefusal(Refusal::Maintenance);
        Close(node);
        return;
    }
    if (length != sizeof(tagLobbyClientConnectNotice)) {
        __log(_ERROR, tag, "node[0x%08x], buffer length is not match ! length[%d] != sizeof[%d]",
              PtrTag(node), static_cast<int>(length),
              static_cast<int>(sizeof(tagLobbyClientConnectNotice)));
        CountRefusal(Refusal::BadLength);
        Close(node);
        return;
    }
    const auto notice = ReadMsg<tagLobbyClientConnectNotice>(data, length);
    if (m_DisabledUsers.Contains(notice.iUserID)) {
        __log(_DEBUG, tag, "node[%x],iUserID = [%d] ---禁用账号!", PtrTag(node), notice.iUserID);
        CountRefusal(Refusal::DisabledUser);
        Close(node);
        return;
    }
    __log(_DEBUG, tag, "userid[%d],  lobbysiteid[%d], node[0x%08x]", notice.iUserID,
          notice.iLobbySiteID, PtrTag(node));
    player->m_iUserID = notice.iUserID;
    player->m_iLoginSiteID = notice.iLobbySiteID;
    player->m_cLoginType = LOGIN_LOBBY;
    CopyText(player->m_szToken, notice.szToken);
    m_lpLobbyClientHandler->OnLobbyClientConnectNotice(player);
}

void LobbyServer::CheckforClientIsReady(IPlayerNode* node, unsigned char result) {
    AssertWorker();
    if (node == nullptr) return;
    if (auto* metrics = g_LobbyMetrics.Get()) metrics->logins[result].Add();
    const auto* player = static_cast<LobbyPlayer*>(node);
    Zeroed<LobbyAuthenRes> answer;
    answer.ucErrNo = result;
    answer.iReserve1 = player->iTeamTag;
    answer.iReserve2 = player->iLianyunFlag;
    answer.iReserve3 = player->usRegisterType;
    CopyText(answer.szReserve1, player->szReserve1);
    CopyText(answer.szReserve2, player->szOutAccount);
    CopyText(answer.szReserve3, player->szReserve3);
    SendData(node, LOBBY_AUTHEN_RES_S2C, &answer, sizeof(answer), ENCODE_NONE);
}

// The notice goes out before the close: what is queued for a connection is still sent.
void LobbyServer::KickOutSession(LobbyPlayer* player, bool bStopSwitch) {
    __log(_DEBUG,
          bStopSwitch ? "LobbyServer::KickOutAllLobbyPlayer" : "LobbyServer::KickOutLobbyPlayer",
          "userid[%d] playernode[0x%08x] kickout", player->m_iUserID, PtrTag(player));
    if (auto* metrics = g_LobbyMetrics.Get()) metrics->kickOuts.Add();
    Zeroed<LobbyKickOutNotice> notice;
    notice.iUserID = player->m_iUserID;
    notice.bStopSwitch = bStopSwitch;
    SendData(player, LOBBY_KICK_OUT_S2C, &notice, sizeof(notice), ENCODE_NONE);
    // Of two sessions of a user the mark belongs to the one that stays.
    player->m_bDelOnline = bStopSwitch;
    Close(player);
}

int LobbyServer::KickOutLobbyPlayer(int userID, LobbyPlayer* except) {
    AssertWorker();
    if (userID <= 0) {
        __log(_ERROR, "LobbyServer::KickOutLobbyPlayer", "userid[%d] kickout error", userID);
        return 0;
    }
    LobbyPlayer* player = m_lpLobbyClientHandler->m_Sessions.Find(userID, except);
    if (player == nullptr) return 0;
    KickOutSession(player);
    return 1;
}

void LobbyServer::KickOutAllLobbyPlayer() {
    AssertWorker();
    // A copy: closing unlinks sessions.
    std::vector<LobbyPlayer*> players;
    m_lpLobbyClientHandler->m_Sessions.ForEach([&](LobbyPlayer* p) { players.push_back(p); });
    for (LobbyPlayer* player : players)
        KickOutSession(player, true);
}

void LobbyServer::SendKickOutNoticeToCenter(int userID) {
    __log(_DEBUG, "LobbyServer::SendKickOutNoticeToCenter", "send kickout userid[%d]", userID);
    Zeroed<NoticeLobbyKickOut> notice;
    notice.iUserID = userID;
    IPlayerNode* center = m_lpCenterServerHandler->m_lpCenterServer;
    if (center != nullptr) {
        SendData(center, MSG_CENTER_KICK_OUT, &notice, sizeof(notice), ENCODE_NONE);
    }
}

int LobbyServer::SendMsgToDataServer(int type, void* data, long length) {
    IPlayerNode* node = m_lpDataServerHandler->m_lpDataServer;
    if (node == nullptr) return 0;
    SendData(node, static_cast<unsigned short>(type), data, length, ENCODE_NONE);
    return 1;
}

int LobbyServer::SendMsgToConfigServer(int type, unsigned char* data, long length) {
    IPlayerNode* node = m_lpConfigServerHandler->m_lpConfigServer;
    if (node == nullptr) return 0;
    return SendData(node, static_cast<unsigned short>(type), data, length, ENCODE_NONE);
}
