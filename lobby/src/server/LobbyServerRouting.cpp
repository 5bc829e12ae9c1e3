// What the framework calls back: messages, closes, ticks.
#include "CenterServerHandler.h"
#include "Common/Clock.h"
#include "Common/Log.h"
#include "Common/WorkerThread.h"
#include "ConfigServerHandler.h"
#include "DataServerHandler.h"
#include "DispatchTable.h"
#include "LobbyClientHandler.h"
#include "LobbyMetrics.h"
#include "LobbyServer.h"
#include "WebServerHandler.h"
#include "activitySystem/ActivitySystem.h"
#include "lobby_client_msg.h"

namespace {

constexpr long kShowListSeconds = 1800;
constexpr long kStopSwitchSeconds = 10;
constexpr long kKickOutSeconds = 5;
constexpr long kSubscribeKeySeconds = 180;

// What the lobby takes itself, before it asks whose message it is.
struct OwnMessages {
    LobbyServer& lobby;

    void Refuse(IPlayerNode* node, void*, long) {
        __log(_WARN, "LobbyServer::OnNetMessage",
              "client response type invalid ! node[0x%08x], type[0x%x]", PtrTag(node),
              CLIENT_FORBIDDEN_C2S);
        CountRefusal(Refusal::ForbiddenType);
        lobby.Close(node);
    }
    void Echo(IPlayerNode* node, void*, long) {
        lobby.SendData(node, MSG_KEEP_ALIVE, nullptr, 0, ENCODE_NONE);
    }
    void LogIn(IPlayerNode* node, void* data, long length) {
        lobby.OnLobbyClientConnectNotice(node, data, length);
    }
};

constexpr auto kOwnDispatch = AnyonesMessages<OwnMessages>({
    {CLIENT_FORBIDDEN_C2S, &OwnMessages::Refuse},
    {MSG_KEEP_ALIVE, &OwnMessages::Echo},
    {CLIENT_CONNECT_NOTICE_C2S, &OwnMessages::LogIn},
});

}  // namespace

void LobbyServer::OnNetMessage(IPlayerNode* node, unsigned short type, void* data, long length) {
    AssertWorker();
    if (node == nullptr) {
        __log(_ERROR, "LobbyServer::OnNetMessage", "OnNetMessage lpPlayerNode == NULL");
        return;
    }
    if (!m_Limits.Empty() && IsOverLimit(node, type)) return;
    OwnMessages own{*this};
    if (kOwnDispatch.Call(own, type, node, data, length) ||
        m_Links.Take(node, type, data, length) ||
        m_lpLobbyClientHandler->OnNetMessage(node, type, data, length)) {
        return;
    }
    __log(_ERROR, "LobbyServer::OnNetMessage", "lpPlayerNode[%d]非法消息类型[%0x]",
          static_cast<int>(PtrTag(node)), type);
}

bool LobbyServer::IsOverLimit(IPlayerNode* node, unsigned short type) {
    if (m_Links.IsLink(node)) return false;
    auto* player = static_cast<LobbyPlayer*>(node);
    const auto [rule, first] = m_Limits.Count(player->m_Usage, type, ClockUptime());
    if (rule == nullptr) return false;
    CountRateLimited(type);
    const bool close = rule->action == MessageLimits::Action::Close;
    if (first) {
        __log(_WARN, "LobbyServer::OnNetMessage",
              "node[0x%08x], userid[%d], type[0x%x] more than count[%d] in seconds[%d], %s",
              PtrTag(node), player->m_iUserID, type, static_cast<int>(rule->count),
              static_cast<int>(rule->seconds), close ? "closed" : "dropped");
    }
    if (close) Close(node);
    return true;
}

void LobbyServer::OnClosed(IPlayerNode* node, bool bClosed) {
    AssertWorker();
    if (node == nullptr) return;
    auto* player = static_cast<LobbyPlayer*>(node);
    if (m_lpLobbyServer == node) {
        __log(_ERROR, "LobbyServer::OnClosed",
              "lobby server has been closed ! bClosed[%d], node[0x%08x]", bClosed, PtrTag(node));
        // The node is recycled: its next connection is a client's.
        m_lpLobbyServer = nullptr;
    } else if (m_Links.TakeClose(node, bClosed)) {
        // A peer that sent a connect notice is in the session list as well.
        if (player->m_cLoginType > 0) m_lpLobbyClientHandler->Unlink(player);
    } else {
        CloseClient(player, bClosed);
    }
    *player = 0;
    GameProvider::OnClosed(node, bClosed);
}

void LobbyServer::CloseClient(LobbyPlayer* player, bool bClosed) {
    m_lpLobbyClientHandler->unsubscribe(player, std::string());
    __log(_DEBUG, "LobbyServer::OnClosed", "lobby client userid[%d] node[0x%08x]",
          player->m_iUserID, PtrTag(player));
    if (player->m_bDelOnline) m_OnlineRegistry.Leave(player);
    m_lpLobbyClientHandler->DropEarlySubscriptions(*player);
    m_closedAccounts.Keep(*player);
    m_lpLobbyClientHandler->OnClosed(player, bClosed);
}

void LobbyServer::OnTimer(long now) {
    AssertWorker();
    TellLeftOutLines();
    m_OnlineRegistry.Deliver();
    if (!m_bTicking.load(std::memory_order_acquire)) return;
    if (auto* metrics = g_LobbyMetrics.Get()) metrics->lastPass.store(now);
    if (const auto fresh = m_Reloaded.Take()) PutToUse(*fresh);
    // Further ahead than one period means that the clock was set back.
    if (now >= m_lTimer || m_lTimer - now > kKeepAliveSeconds) {
        m_Links.KeepAlive();
        m_lTimer = ClockNow() + kKeepAliveSeconds;
    }
    RunPeriodicJobs(now);
    m_pActivitySystem->OnTimer(now);
    m_lpWebServerHandler->OnTimer(now);
    m_competeConfig.OnTimer(now);
}

void LobbyServer::RunPeriodicJobs(long now) {
    if (m_ShowList.Passed(now, kShowListSeconds)) {
        m_lpCenterServerHandler->refreshShowGameList();
        m_lpDataServerHandler->SendActivityConfigReq(0);
        loadSensitiveNameCfg();
    }
    if (m_StopSwitch.Passed(now, kStopSwitchSeconds)) {
        m_lpConfigServerHandler->SendLobbyStopSwitchReqToConfig();
    }
    if (m_KickOut.Passed(now, kKickOutSeconds) && m_iLobbyStopSwitch > 0) {
        KickOutAllLobbyPlayer();
    }
    if (m_SubscribeKeys.Passed(now, kSubscribeKeySeconds)) RequestSubscribeKeyCfg();
}
