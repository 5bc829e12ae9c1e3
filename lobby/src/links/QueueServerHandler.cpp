#include "QueueServerHandler.h"

#include <cstdio>

#include "Common/Log.h"
#include "DataServerHandler.h"
#include "DispatchTable.h"
#include "LobbyServer.h"
#include "MsgView.h"
#include "compete_msg.h"

namespace {

// clang-format off
constexpr auto kQueueDispatch = LinkMessages<QueueServerHandler>({
    {USER_INFO_Q2L,                   &QueueServerHandler::OnUserInfoRes},
    {BANK_LOGIN_Q2L,                  &QueueServerHandler::OnBankLoginRes},
    {BANK_GET_COIN_Q2L,               &QueueServerHandler::OnGetCoinRes},
    {BANK_SAVE_COIN_Q2L,              &QueueServerHandler::OnSaveCoinRes},
    {BANK_MODIFY_PASSWD_Q2L,          &QueueServerHandler::OnModifyBankPasswd},
    {MODIFY_PASSWORD_Q2L,             &QueueServerHandler::OnModifyPasswd},
    {MODIFY_NICKNAME_Q2L,             &QueueServerHandler::OnModifyNickName},
    {MODIFY_GENDER_Q2L,               &QueueServerHandler::OnModifyGender},
    {MODIFY_SIGNATURE_Q2L,            &QueueServerHandler::OnModifyPersonalSignature},
    {MODIFY_FACE_ID_Q2L,              &QueueServerHandler::OnModifyFaceId},
    {BINDING_MOBILE_Q2L,              &QueueServerHandler::OnBindingMobile},
    {REAL_NAME_Q2L,                   &QueueServerHandler::OnRealNameAuthen},
    {MODIFY_FACE_FRAME_Q2L,           &QueueServerHandler::OnModifyFaceFrame},
    {EXCHANGE_COIN_Q2L,               &QueueServerHandler::OnUserExchangeCoinRes},
    {REFRESH_COIN_Q2L,                &QueueServerHandler::OnRechargeRefreshCoin},
    {MSG_QUEUE_COMPETE_USER_INFO_RES, &QueueServerHandler::OnCompeteLobbyUserInfoRes},
});
// clang-format on

// Takes the account over into the session.
void StoreAccount(LobbyPlayer* player, const UserInfoRes& info) {
    player->llControlNum = info.llControlNum;
    player->iMachineIndex = info.iMachineIndex;
    player->iPlayGameTime = info.iPlayGameTime;
    player->iAllYuanBaoAmount = info.iAllYuanBaoAmount;
    player->iAccountsourceid = info.iAccountsourceid;
    player->isBindingmobile = info.isBindingmobile;
    player->iFriendPropNum = info.iFriendPropNum;
    player->llGameCoin = info.llGameCoin;
    player->llBankCoin = info.llBankCoin;
    player->iTeamTag = info.iTeamTag;
    player->iLianyunFlag = info.iLianyunFlag;
    player->usRegisterType = info.usRegisterType;
    CopyText(player->szReserve1, info.szReserve1);
    CopyText(player->szOutAccount, info.szOutAccount);
    CopyText(player->szReserve3, info.szReserve3);
}

}  // namespace

int64_t QueueServerHandler::ConnectServer() {
    return Open();
}

bool QueueServerHandler::OnNetMessage(IPlayerNode* node, unsigned short type, void* data,
                                      long length) {
    if (!IsMine(node)) return false;
    if (!kQueueDispatch.Call(*this, type, data, length)) {
        __log(_ERROR, "QueueServerHandler::OnNetMessage",
              "databaseserver response type invalid ! node[0x%08x], type[0x%x]", PtrTag(node),
              type);
    }
    return true;
}

void QueueServerHandler::OnUserInfoRes(void* data, long length) {
    HandleUserInfoRes(m_lpQueueServer, USER_INFO_Q2L, data, static_cast<int>(length));
}

void QueueServerHandler::HandleUserInfoRes(IPlayerNode* /*node*/, unsigned short /*type*/,
                                           void* data, int length) {
    constexpr int size = sizeof(UserInfoRes);
    std::printf("%s: length[%d] sizeof(UserInfoRes)[%d]\n", "HandleUserInfoRes", length, size);
    if (length != size) {
        __log(_ERROR,
              "QueueServerHandler::HandleUserInfoRes:", "Len[%d] != sizeof(UserInfoRes)[%d]",
              length, size);
        return;
    }
    const auto info = ReadMsg<UserInfoRes>(data, length);
    LobbyPlayer* player =
        m_lpLobbyServer->FindPlayerByHandle(info.ulPlayerNode, info.ulPlayerNodeId);
    if (player == nullptr) return;  // the client has gone
    if (info.cError == 0) {
        std::printf("QueueServerHandler::HandleUserInfoRes userid:%d, iFriendPropNum[%d]\n",
                    player->m_iUserID, info.iFriendPropNum);
        m_lpLobbyServer->GetDataServerHandler()->SendActivityProgressReq(player);
        StoreAccount(player, info);
        player->m_bConfirmed = true;
        m_lpLobbyServer->Registry().Enter(player);
        return;
    }
    AnswerLogin(player, info.cError);
}

void QueueServerHandler::AnswerLogin(LobbyPlayer* player, uint8_t error) {
    __log(_DEBUG, "QueueServerHandler::HandleUserInfoRes:",
          "error[%d], userid[%d] node[0x%08x] gameCoin[%lld], bankCoin[%lld] controlnum[%lld]",
          error, player->m_iUserID, PtrTag(player), static_cast<long long>(player->llGameCoin),
          static_cast<long long>(player->llBankCoin), static_cast<long long>(player->llControlNum));
    m_lpLobbyServer->CheckforClientIsReady(player, error);
}

// The session confirmed last stays. A mark that was there already is left as it is, unrenewed.
void QueueServerHandler::OnEntered(LobbyPlayer* player, bool online, LobbyPlayer* older) {
    if (online) {
        __log(_DEBUG,
              "QueueServerHandler::HandleUserInfoRes:", "userid[%d] node[0x%08x] has been online",
              player->m_iUserID, PtrTag(player));
        if (older != nullptr) {
            m_lpLobbyServer->KickOutSession(older);
        } else {
            m_lpLobbyServer->SendKickOutNoticeToCenter(player->m_iUserID);
        }
    }
    AnswerLogin(player, 0);
}

LobbyPlayer* QueueServerHandler::SessionOf(uint64_t handle, uint64_t nodeId, const char* tag,
                                           LogText<int, int> text) {
    LobbyPlayer* player = m_lpLobbyServer->FindPlayerByHandle(handle, nodeId);
    if (player != nullptr) return player;
    // Of a node that is closed or another player's by now, only the id may be read.
    const LobbyPlayer* other = m_lpLobbyServer->FindNodeByHandle(handle);
    const auto current = other == nullptr ? 0 : other->m_ulPlayerNodeId.load();
    text.Log(_ERROR, tag, static_cast<int>(nodeId), static_cast<int>(current));
    return nullptr;
}
