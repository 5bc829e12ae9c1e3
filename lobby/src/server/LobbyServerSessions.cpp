// Logins, kick-outs and the checks on users and names.
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
#include "Settings.h"
#include "center_server_msg.h"
#include "lobby_client_msg.h"

void LobbyServer::OnLobbyClientConnectNotice(IPlayerNode* node, void* data, long length) {
    AssertWorker();
    constexpr const char* tag = "LobbyServer::OnLobbyClientConnectNotice";
    auto* player = static_cast<LobbyPlayer*>(node);
    if (player->m_cLoginType != 0) {
        // The borrowed name is what log readers filter by.
        __log(_DEBUG, "LobbyServer::OnGameClientConnectNotice",
              "node[%x] 玩家[%d]已经注册过 m_cLoginType[%d]!!!!!!!", NodeTag(node),
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
              NodeTag(node), static_cast<int>(length),
              static_cast<int>(sizeof(tagLobbyClientConnectNotice)));
        CountRefusal(Refusal::BadLength);
        Close(node);
        return;
    }
    const auto notice = ReadMsg<tagLobbyClientConnectNotice>(data, length);
    if (m_DisabledUsers.Contains(notice.iUserID)) {
        __log(_DEBUG, tag, "node[%x],iUserID = [%d] ---禁用账号!", NodeTag(node), notice.iUserID);
        CountRefusal(Refusal::DisabledUser);
        Close(node);
        return;
    }
    __log(_DEBUG, tag, "userid[%d],  lobbysiteid[%d], node[0x%08x]", notice.iUserID,
          notice.iLobbySiteID, NodeTag(node));
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
    LobbyAuthenRes answer;
    ZeroMsg(answer);
    answer.ucErrNo = result;
    answer.iReserve1 = player->iTeamTag;
    answer.iReserve2 = player->iLianyunFlag;
    answer.iReserve3 = player->usRegisterType;
    CopyText(answer.szReserve1, player->szReserve1);
    CopyText(answer.szReserve2, player->szOutAccount);
    CopyText(answer.szReserve3, player->szReserve3);
    SendData(node, LOBBY_AUTHEN_RES_S2C, &answer, sizeof(answer), ENCODE_NONE);
}

LobbyPlayer* LobbyServer::GetPlayerByUserID(int userID) {
    return m_lpLobbyClientHandler->GetPlayerByUserID(userID);
}

LobbyPlayer* LobbyServer::GetClientLobbyPlayer() {
    return m_lpLobbyClientHandler->GetClientLobbyPlayer();
}

void LobbyServer::SendKickOut(LobbyPlayer* player, bool bStopSwitch) {
    __log(_DEBUG,
          bStopSwitch ? "LobbyServer::KickOutAllLobbyPlayer" : "LobbyServer::KickOutLobbyPlayer",
          "userid[%d] playernode[0x%08x] kickout", player->m_iUserID, NodeTag(player));
    if (auto* metrics = g_LobbyMetrics.Get()) metrics->kickOuts.Add();
    LobbyKickOutNotice notice;
    ZeroMsg(notice);
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
    SendKickOut(player, false);
    return 1;
}

void LobbyServer::KickOutAllLobbyPlayer() {
    AssertWorker();
    // A copy: closing unlinks sessions.
    std::vector<LobbyPlayer*> players;
    m_lpLobbyClientHandler->m_Sessions.ForEach([&](LobbyPlayer* p) { players.push_back(p); });
    for (LobbyPlayer* player : players)
        SendKickOut(player, true);
}

void LobbyServer::SendKickOutNoticeToCenter(int userID) {
    __log(_DEBUG, "LobbyServer::SendKickOutNoticeToCenter", "send kickout userid[%d]", userID);
    NoticeLobbyKickOut notice;
    ZeroMsg(notice);
    notice.iUserID = userID;
    IPlayerNode* center = m_lpCenterServerHandler->m_lpCenterServer;
    if (center != nullptr) {
        SendData(center, MSG_CENTER_KICK_OUT, &notice, sizeof(notice), ENCODE_NONE);
    }
}

void LobbyServer::loadSensitiveNameCfg() {
    m_ConfigSensitiveNameCfg.InitFile("SensitiveName.cfg");
    m_ForbiddenNames.Load(m_ConfigSensitiveNameCfg);
    m_ConfigFileDiscUserID.InitFile("disconnectuserid.cfg");
    const int count = m_DisabledUsers.Load(m_ConfigFileDiscUserID);
    __log(_WARN, "LobbyServer::loadSensitiveNameCfg", "iCount = [%d],m_vcDisconnnetUserID = [%d]",
          count, static_cast<int>(m_vcDisconnnetUserID.size()));
}

int LobbyServer::isContainSensitiveName(const char* name) {
    const std::string* fragment = m_ForbiddenNames.FindIn(name);
    if (fragment == nullptr) return 0;
    __log(_ERROR, "LobbyServer::isContainSensitiveName", "包含敏感字[%s]", fragment->c_str());
    return 1;
}

int LobbyServer::GetVipLevel(int value) {
    return m_Vip.Level(value);
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

void LobbyServer::SendMsgToPlayerByID(int userID, unsigned short type, char* data, long length) {
    m_lpLobbyClientHandler->SendMsgToPlayerByID(userID, type, data, length);
}

void LobbyServer::SendMsgToAllLobbyClent(unsigned short type, void* data, long length) {
    m_lpLobbyClientHandler->SendMsgToAllLobbyClent(type, data, length);
}

void LobbyServer::HandleRechargeSucessNotice(void* data, long length) {
    m_lpLobbyClientHandler->HandleRechargeSucessNotice(data, length);
}

void LobbyServer::HandleConsumeSucessNotice(void* data, long length) {
    m_lpLobbyClientHandler->HandleConsumeSucessNotice(data, length);
}

void LobbyServer::HandleSychUserDataMsg(void* data, long length) {
    m_lpLobbyClientHandler->HandleSychUserDataMsg(data, length);
}

void LobbyServer::HandleSychUserDataMsg(IPlayerNode* node, void* data, long length) {
    m_lpLobbyClientHandler->HandleSychUserDataMsg(node, data, length);
}
