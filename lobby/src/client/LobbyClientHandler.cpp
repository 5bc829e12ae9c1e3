// Where a client's messages go, and his session's way through the list.
//
// A session is a client's from its first message: before the connect notice its user id is 0 and
// most requests find it another user's. The notice lists it and asks the queue server for the
// account; the answer, in QueueServerHandler, makes it a login. It leaves the list when its
// connection closes, once, whatever closed it.
#include "LobbyClientHandler.h"

#include "BankInfoDef.h"
#include "Common/Log.h"
#include "Common/WorkerThread.h"
#include "DispatchTable.h"
#include "LobbyMetrics.h"
#include "LobbyServer.h"
#include "MsgView.h"
#include "PublisherMsg.h"
#include "QueueServerHandler.h"
#include "activitySystem/ActivityClientMsg.h"
#include "activitySystem/ActivitySystem.h"
#include "center_server_msg.h"
#include "compete_msg.h"
#include "queue_server_msg.h"

// A class of its own, because some of the handlers are private.
struct LobbyClientHandler::Requests {
    using Self = LobbyClientHandler;

    // clang-format off
    static constexpr auto kDispatch = ClientRequests<Self>({
        {EXCHANGE_COIN_C2S,          &Self::HandleClientExchangeCoinReq},
        {BANK_LOGIN_C2S,             &Self::HandleBankLoginReq},
        {BANK_GET_COIN_C2S,          &Self::HandleGetCoinReq},
        {BANK_SAVE_COIN_C2S,         &Self::HandleSaveCoinReq},
        {BANK_MODIFY_PASSWD_C2S,     &Self::HandleModifyBankPasswdReq},
        {MODIFY_PASSWORD_C2S,        &Self::HandleModifyPassWordReq},
        {MODIFY_NICKNAME_C2S,        &Self::HandleModifyNickName},
        {MODIFY_GENDER_C2S,          &Self::HandleModifyGender},
        {MODIFY_SIGNATURE_C2S,       &Self::HandleModifyPersonalSignature},
        {MODIFY_FACE_ID_C2S,         &Self::HandleModifyFaceId},
        {BINDING_MOBILE_C2S,         &Self::HandleBindingMobileReq},
        {REAL_NAME_C2S,              &Self::HandleRealNameAuthenReq},
        {REFRESH_COIN_C2S,           &Self::HandleRechargeRefreshCoinReq},
        {MSG_CLIENT_COMPETE_REQ,     &Self::HandleCompeteInfo},
        {CLIENT_SUBSCRIBE_MSG_C2S,   &Self::HandleSubscribe},
        {CLIENT_UNSUBSCRIBE_MSG_C2S, &Self::HandleUnsubscribe},
        {MSG_CLIENT_SERVER_INFO_REQ, &Self::HandleClientServerInfoReq},
        {CLIENT_USER_PROGRESS_REQ,   &Self::HandleActivity},
    });
    // clang-format on
};

bool LobbyClientHandler::OnNetMessage(IPlayerNode* node, unsigned short type, void* data,
                                      long length) {
    AssertWorker();
    if (node == nullptr) return false;
    if (!Requests::kDispatch.Call(*this, type, node, data, static_cast<unsigned short>(length))) {
        __log(_ERROR, "LobbyClientHandler::OnNetMessage",
              "client  response type invalid ! node[0x%08x], type[0x%x]", PtrTag(node), type);
        CountRefusal(Refusal::UnknownType);
    }
    return true;
}

void LobbyClientHandler::HandleCompeteInfo(IPlayerNode* node, void* data, unsigned short length) {
    __log(_WARN, "LobbyClientHandler::OnNetMessage", "type[0x%0x] lenght[%ld]",
          MSG_CLIENT_COMPETE_REQ, static_cast<long>(length));
    HandleClientCompeteInfoReq(node, data, length);
}

void LobbyClientHandler::HandleSubscribe(IPlayerNode* node, void* data, unsigned short length) {
    subscribe(node, data, length);
}

void LobbyClientHandler::HandleUnsubscribe(IPlayerNode* node, void* data, unsigned short length) {
    if (length != sizeof(ClientUnsubscribeMsg)) {
        __log(_ERROR, "LobbyClientHandler::OnNetMessage",
              "CLIENT_UNSUBSCRIBE_MSG_C2S size[%d] != length[%d]",
              static_cast<int>(sizeof(ClientUnsubscribeMsg)), length);
        return;
    }
    unsubscribe(node, TextStr(ReadMsg<ClientUnsubscribeMsg>(data, length).szKey));
}

void LobbyClientHandler::HandleActivity(IPlayerNode* node, void* data, unsigned short length) {
    ActivitySystem::getInstance()->HandleActivityMessage(CLIENT_USER_PROGRESS_REQ, data, length,
                                                         node);
}

void LobbyClientHandler::OnLobbyClientConnectNotice(LobbyPlayer* player) {
    AssertWorker();
    if (player->m_iUserID <= 0) {
        __log(_ERROR, "LobbyClientHandler::OnLobbyClientConnectNotice", "userid [%d] error!!!!",
              player->m_iUserID);
        CountRefusal(Refusal::BadUser);
        // It is the newest listed session that is closed, not the refused one; see "required" in
        // the glossary. With nobody listed it is nobody, which leaves the framework's line.
        m_lpLobbyServer->Close(m_lpLobbyPlayer);
        return;
    }
    m_Sessions.Insert(player);
    if (auto* metrics = g_LobbyMetrics.Get()) metrics->sessions.Add();

    Zeroed<UserInfoReq> req;
    req.userID = player->m_iUserID;
    CopyText(req.szPasswdToken, player->m_szToken);
    SetSession(req, player);
    __log(_DEBUG, "LobbyClientHandler::OnLobbyClientConnectNotice",
          "userid[%d] node[0x%08x] connect", player->m_iUserID, PtrTag(player));
    // Without the queue server the client waits, and logs in by connecting anew.
    SendToQueue(player, USER_INFO_L2Q, &req, sizeof(req));
}

bool LobbyClientHandler::OnClosed(IPlayerNode* node, bool bClosed) {
    AssertWorker();
    auto* player = static_cast<LobbyPlayer*>(node);
    DealDisconnect(node);
    __log(_WARN, "LobbyClientHandler::OnClosed",
          "client has been closed ! userid[%d], siteid[%d], node[0x%08x], bClosed[%d]",
          player->m_iUserID, player->m_iSiteID, PtrTag(node), bClosed);
    if (player->m_cLoginType > 0) {
        Unlink(player);
        ActivitySystem::getInstance()->RemoveActivityProgress(player);
    }
    *player = 0;
    return true;
}

void LobbyClientHandler::Unlink(LobbyPlayer* player) {
    if (!m_Sessions.Remove(player)) return;
    if (auto* metrics = g_LobbyMetrics.Get()) metrics->sessions.Take();
}

void LobbyClientHandler::DealDisconnect(IPlayerNode* node) {
    const int userID = static_cast<LobbyPlayer*>(node)->m_iUserID;
    if (m_Sessions.Find(userID) != nullptr) return;
    __log(_ERROR, "LobbyClientHandler::DealDisconnect", "userid[%d],引用计数【%d】!!!!", userID, 0);
}

LobbyPlayer* LobbyClientHandler::GetPlayerByUserID(int userID) {
    LobbyPlayer* player = m_Sessions.Find(userID);
    if (player != nullptr)
        __log(_DEBUG, "LobbyClientHandler::GetPlayerByUserID", "userid[%d] found", userID);
    return player;
}

void LobbyClientHandler::SendMsgToPlayerByID(int userID, unsigned short type, void* data,
                                             long length) {
    AssertWorker();
    constexpr const char* tag = "LobbyClientHandler::SendMsgToPlayerByID";
    if (userID == 0 || data == nullptr) {
        __log(_ERROR, tag, "userid[%d]", userID);
        return;
    }
    if (LobbyPlayer* player = m_Sessions.Find(userID)) {
        m_lpLobbyServer->SendData(player, type, data, length, ENCODE_NONE);
        __log(_DEBUG, tag, "userid[%d] found! msg type[0x%0x]", userID, type);
        return;
    }
    __log(_WARN, tag, "userid[%d] not found! msg type[0x%0x]", userID, type);
}

void LobbyClientHandler::SendMsgToAllLobbyClent(unsigned short type, void* data, long length) {
    AssertWorker();
    m_Sessions.ForEach([&](LobbyPlayer* player) {
        const bool sent = m_lpLobbyServer->SendData(player, type, data, length, ENCODE_NONE);
        __log(sent ? _DEBUG : _WARN, "LobbyClientHandler::SendMsgToAllLobbyClent",
              "userid[%d], type[0x%0x]", player->m_iUserID, type);
    });
}

bool LobbyClientHandler::SendToQueue(const LobbyPlayer* player, uint16_t type, void* msg,
                                     long length) {
    IPlayerNode* queue = m_lpLobbyServer->GetQueueServerHandler()->m_lpQueueServer;
    return queue != nullptr &&
           m_lpLobbyServer->Relay(*player, queue, type, msg, length, type == USER_INFO_L2Q);
}
