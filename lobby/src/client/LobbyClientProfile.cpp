// Profile requests: checked against the session, then relayed to the queue server.
#include <arpa/inet.h>

#include "Common/Clock.h"
#include "Common/Log.h"
#include "LobbyClientHandler.h"
#include "LobbyMetrics.h"
#include "LobbyServer.h"
#include "MsgView.h"
#include "QueueServerHandler.h"
#include "queue_server_msg.h"

namespace {

constexpr time_t kPasswordGapSeconds = 5;

constexpr int32_t FACE_FRAME_REFUSED = 1;

// A request with a text that may be forbidden: the client's, the wrapped and the refusing form.
template <class ReqT, class TransT, class ResT, size_t N>
struct NamedRequest {
    using Req = ReqT;
    using Trans = TransT;
    using Res = ResT;

    const char* tag;
    uint16_t type;  // all three forms have the same number
    char (Req::*text)[N];
};

constexpr NamedRequest<ModifyNickNameReq, ModifyNickNameReq_trans, ModifyNickNameRes, 32>
    kNickName = {"LobbyClientHandler::HandleModifyNickName:", MODIFY_NICKNAME_L2Q,
                 &ModifyNickNameReq::szNickName};
constexpr NamedRequest<ModifyPersonalSignatureReq, ModifyPersonalSignatureReq_trans,
                       ModifyPersonalSignatureRes, 128>
    kSignature = {"LobbyClientHandler::HandleModifyPersonalSignature:", MODIFY_SIGNATURE_L2Q,
                  &ModifyPersonalSignatureReq::szPersonalSignature};

}  // namespace

// The pause counts from the last request that was looked at, a malformed one too.
void LobbyClientHandler::HandleModifyPassWordReq(IPlayerNode* node, void* data,
                                                 unsigned short length) {
    constexpr const char* tag = "LobbyClientHandler::HandleModifyPassWordReq:";
    auto* player = static_cast<LobbyPlayer*>(node);
    if (player == nullptr) {
        __log(_ERROR, tag, "pPlayerNode = NULL...");
        return;
    }
    const auto answer = [&](uint8_t code) {
        Zeroed<tagModifyPassWordRes> result;
        result.ucResultType = code;
        m_lpLobbyServer->SendData(player, MODIFY_PASSWORD_S2C, &result, sizeof(result),
                                  ENCODE_NONE);
    };
    const time_t now = ClockNow();
    const time_t gap = now - player->iLastModifyPassWordTime;
    if (gap <= kPasswordGapSeconds) {
        answer(PASSWORD_TOO_SOON);
        CountThrottled(MODIFY_PASSWORD_C2S);
        __log(_ERROR, tag, "Player[%d] operate bank is illegal---Gap Time [%d]", player->m_iUserID,
              static_cast<int>(gap));
        return;
    }
    player->iLastModifyPassWordTime = now;
    if (length != sizeof(tagModifyPassWordReq)) {
        __log(_ERROR, tag, "Len[%d] != sizeof(ModifyPassWordReq)[%d]", length,
              static_cast<int>(sizeof(tagModifyPassWordReq)));
        return;
    }
    if (m_lpLobbyServer->GetQueueServerHandler()->m_lpQueueServer == nullptr) return;
    const auto req = ReadMsg<tagModifyPassWordReq>(data, length);
    if (req.iUserID != player->m_iUserID) {
        answer(PASSWORD_OTHER_USER);
        __log(_ERROR, tag, "msg->iUserID[%d]  != pPlayerNode->iUserID[%d]", req.iUserID,
              player->m_iUserID);
        return;
    }
    RelayPassword(req, player);
}

void LobbyClientHandler::RelayPassword(const tagModifyPassWordReq& req, LobbyPlayer* player) {
    constexpr const char* tag = "LobbyClientHandler::HandleModifyPassWordReq:";
    Zeroed<ModifyPassWordReq_trans> msg;
    msg.base = req;
    sockaddr_in addr{};
    m_lpLobbyServer->GetPlayerAddrIn(player, &addr, false);
    inet_ntop(AF_INET, &addr.sin_addr, msg.szClientIP, sizeof(msg.szClientIP));
    SetSession(msg, player);
    // Both passwords stand in clear in this line of level DEBUG; see "required" in the glossary.
    if (LogEnabled(_DEBUG)) {
        __log(_DEBUG, tag, "userid[%d] 修改密码old[%s]new[%s] IP[%s]!!!", player->m_iUserID,
              TextStr(req.szOldPassWd).c_str(), TextStr(req.szNewPassWd).c_str(), msg.szClientIP);
    }
    if (!SendToQueue(player, MODIFY_PASSWORD_L2Q, &msg, sizeof(msg))) {
        __log(_ERROR, tag, "SendData fail---- UserName [%d] ", player->m_iUserID);
    }
}

// A malformed request closes the connection, unlike those above, and without a log line; see
// "required" in the glossary.
template <class Req, class Trans>
void LobbyClientHandler::RelayProfileReq(uint16_t type, const char* tag, IPlayerNode* node,
                                         void* data, unsigned short length) {
    auto* player = static_cast<LobbyPlayer*>(node);
    const auto req = ReadMsg<Req>(data, length);
    if (length != sizeof(req) || req.iUserId != player->m_iUserID) {
        m_lpLobbyServer->Close(node);
        return;
    }
    Zeroed<Trans> msg;
    msg.base = req;
    SetSession(msg, player);
    if (!SendToQueue(player, type, &msg, sizeof(msg))) {
        __log(_ERROR, tag, "SendData fail---- UserId [%d] ", player->m_iUserID);
    }
}

template <class Op>
void LobbyClientHandler::RelayNamedReq(const Op& op, IPlayerNode* node, void* data,
                                       unsigned short length) {
    using Req = typename Op::Req;
    const auto req = ReadMsg<Req>(data, length);
    const bool isOwn =
        length == sizeof(req) && req.iUserId == static_cast<LobbyPlayer*>(node)->m_iUserID;
    if (isOwn && m_lpLobbyServer->isContainSensitiveName(TextStr(req.*op.text).c_str())) {
        Zeroed<typename Op::Res> refusal;
        refusal.iError = 1;
        m_lpLobbyServer->SendData(node, op.type, &refusal, sizeof(refusal), ENCODE_NONE);
        return;
    }
    RelayProfileReq<Req, typename Op::Trans>(op.type, op.tag, node, data, length);
}

void LobbyClientHandler::HandleModifyNickName(IPlayerNode* node, void* data,
                                              unsigned short length) {
    RelayNamedReq(kNickName, node, data, length);
}

void LobbyClientHandler::HandleModifyPersonalSignature(IPlayerNode* node, void* data,
                                                       unsigned short length) {
    RelayNamedReq(kSignature, node, data, length);
}

void LobbyClientHandler::HandleModifyGender(IPlayerNode* node, void* data, unsigned short length) {
    RelayProfileReq<ModifyGenderReq, ModifyGenderReq_trans>(
        MODIFY_GENDER_L2Q, "LobbyClientHandler::HandleModifyGender:", node, data, length);
}

void LobbyClientHandler::HandleModifyFaceId(IPlayerNode* node, void* data, unsigned short length) {
    RelayProfileReq<ModifyFaceIdReq, ModifyFaceIdReq_trans>(
        MODIFY_FACE_ID_L2Q, "LobbyClientHandler::HandleModifyFaceId:", node, data, length);
}

void LobbyClientHandler::HandleBindingMobileReq(IPlayerNode* node, void* data,
                                                unsigned short length) {
    RelayProfileReq<BindingMobileReq, BindingMobileReq_trans>(
        BINDING_MOBILE_L2Q, "LobbyClientHandler::HandleBindingMobileReq:", node, data, length);
}

void LobbyClientHandler::HandleRealNameAuthenReq(IPlayerNode* node, void* data,
                                                 unsigned short length) {
    RelayProfileReq<RealNameAuthenReq, RealNameAuthenReq_trans>(
        REAL_NAME_L2Q, "LobbyClientHandler::HandleRealNameAuthenReq:", node, data, length);
}

void LobbyClientHandler::HandleModifyFaceFrameReq(IPlayerNode* node, void* data,
                                                  unsigned short length) {
    constexpr const char* tag = "LobbyClientHandler::HandleModifyFaceFrameReq:";
    auto* player = static_cast<LobbyPlayer*>(node);
    const auto req = ReadMsg<ModifyFaceFrameReq>(data, length);
    if (length != sizeof(req)) {
        __log(_ERROR, tag, "Len[%d] != sizeof(ModifyFaceFrameReq)[%d],", length,
              static_cast<int>(sizeof(req)));
        return;
    }
    if (req.iUserId != player->m_iUserID) {
        __log(_ERROR, tag, "Request UserId [%d] != current UserId[%d],", req.iUserId,
              player->m_iUserID);
        return;
    }
    const auto& frames = m_lpLobbyServer->Vip().m_mapConfigVipFrame;
    const auto frame = frames.find(req.iFrameId);
    if (frame == frames.end() ||
        m_lpLobbyServer->GetVipLevel(player->iAllYuanBaoAmount) < frame->second.iLimitLv) {
        Zeroed<ModifyFaceFrameRes> refusal;
        refusal.iError = FACE_FRAME_REFUSED;
        refusal.iFrameId = req.iFrameId;
        __log(_ERROR, tag, "UserId [%d], iError[%d]", player->m_iUserID, refusal.iError);
        m_lpLobbyServer->SendData(node, MODIFY_FACE_FRAME_S2C, &refusal, sizeof(refusal),
                                  ENCODE_NONE);
        return;
    }
    RelayProfileReq<ModifyFaceFrameReq, ModifyFaceFrameReq_trans>(MODIFY_FACE_FRAME_L2Q, tag, node,
                                                                  data, length);
}
