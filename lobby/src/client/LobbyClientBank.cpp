// Bank requests: four operations, one relay.
#include "BankInfoDef_Trans.h"
#include "Common/Clock.h"
#include "Common/Log.h"
#include "LobbyClientHandler.h"
#include "LobbyMetrics.h"
#include "LobbyServer.h"
#include "LogText.h"
#include "MsgView.h"
#include "QueueServerHandler.h"

namespace {

constexpr time_t kBankGapSeconds = 2;

// What tells one operation from another.
template <class ReqT, class TransT, class ResT>
struct BankRequest {
    using Req = ReqT;
    using Trans = TransT;
    using Res = ResT;

    const char* tag;
    uint16_t clientType;  // of the client's request
    uint16_t queueType;   // of the relayed one
    uint16_t resultType;  // of an answer the lobby itself gives
    time_t LobbyPlayer::*stamp;
    LogText<int, int> sizeText;                         // length, size
    LogText<int, int, const char*> failText;            // user, team tag, account
    LogText<int, int, const char*> sentText = nullptr;  // user, team tag, account
    bool answerTooSoon = true;
    // User, gap, now, stamp.
    LogText<int, int, int, int> tooSoonText = "Player[%d] operate bank is illegal---Gap Time [%d]";
    LogText<int> announceText = nullptr;     // length; printed
    int64_t Req::*amount = nullptr;          // null: none
    LogText<int, int> amountText = nullptr;  // user, amount
    // User of the request, of the session.
    LogText<int, int> otherUserText = "msg->iUserID[%d]  != pPlayerNode->m_iUserID[%d]";
};

// The session's part of a wrapped request; only coin movements carry account data.
template <class Trans>
void FillSession(Trans& msg, const LobbyPlayer* player) {
    SetSession(msg, player);
    if constexpr (requires { msg.szOutAccount; }) {
        CopyText(msg.szOutAccount, player->szOutAccount);
        msg.iTeamTag = player->iTeamTag;
        msg.iLianyunFlag = player->iLianyunFlag;
        msg.usRegisterType = player->usRegisterType;
    }
}

constexpr BankRequest<UserBankLoginReq, UserBankLoginReq_trans, LoginBankResult> kBankLogin = {
    .tag = "LobbyClientHandler::HandleBankLoginReq:",
    .clientType = BANK_LOGIN_C2S,
    .queueType = BANK_LOGIN_L2Q,
    .resultType = BANK_LOGIN_S2C,
    .stamp = &LobbyPlayer::iLastBankLoginTime,
    .sizeText = "Len[%d] != sizeof(UserBankLoginReqDef)[%d]",
    .failText = "SendData fail---- userid [%d] ",
    .answerTooSoon = false,
    .tooSoonText = "Player [%d] operate bank is illegal---Gap Time [%d]",
};

constexpr BankRequest<GetBankCoinReq, GetBankCoinReq_trans, GetCoinResult> kGetCoin = {
    .tag = "LobbyClientHandler::HandleGetCoinReq:",
    .clientType = BANK_GET_COIN_C2S,
    .queueType = BANK_GET_COIN_L2Q,
    .resultType = BANK_GET_COIN_S2C,
    .stamp = &LobbyPlayer::iLastGetCoinTime,
    .sizeText = "Len[%d] != sizeof(GetBankCoinReqDef)[%d]",
    .failText = "userid [%d] ",
    .sentText = "userid [%d] ",
    .tooSoonText = "Player[%d] operate bank is illegal---Gap Time [%d]--tmNow[%d]--GetCoinTime[%d]",
    .announceText = "HandleGetCoinReq : len[%d] ....\n",
    .amount = &GetBankCoinReq::llGetNum,
    .amountText = "玩家[%d]非法操作银行！取款值为[%d]!!!",
};

constexpr BankRequest<SaveCoinReq, SaveCoinReq_trans, SaveCoinRes> kSaveCoin = {
    .tag = "LobbyClientHandler::HandleSaveCoinReq:",
    .clientType = BANK_SAVE_COIN_C2S,
    .queueType = BANK_SAVE_COIN_L2Q,
    .resultType = BANK_SAVE_COIN_S2C,
    .stamp = &LobbyPlayer::iLastSaveCoinTime,
    .sizeText = "Len[%d] != sizeof(SaveCoinReqDef)[%d]",
    .failText = "userid[%d] teamtag[%d] outaccount[%s]",
    .sentText = "userid[%d] teamtag[%d] outaccount[%s]",
    .amount = &SaveCoinReq::llSaveCoinNum,
    .amountText = "玩家[%d]非法操作银行！存款值为[%d]!!!",
};

constexpr BankRequest<ModifyBankPasswdReq, ModifyBankPasswdReq_trans, ModifyBankPasswdRes>
    kModifyPasswd = {
        .tag = "LobbyClientHandler::HandleModifyBankPasswdReq:",
        .clientType = BANK_MODIFY_PASSWD_C2S,
        .queueType = BANK_MODIFY_PASSWD_L2Q,
        .resultType = BANK_MODIFY_PASSWD_S2C,
        .stamp = &LobbyPlayer::iLastModifyPdTime,
        .sizeText = "Len[%d] != sizeof(ModifyBankPasswdReqDef)[%d]",
        .failText = "SendData fail---- UserName [%d] ",
        .otherUserText = "msg->iUserID[%d]  != pPlayerNode->iUserID[%d]",
};

}  // namespace

// Clients rely on the order of the checks: the stamp moves before the length is looked at, so that
// a malformed request costs its sender the pause, and without a queue link neither amount nor user
// is judged, so that a request goes unanswered rather than refused.
template <class Op>
void LobbyClientHandler::RelayBankReq(const Op& op, IPlayerNode* node, void* data,
                                      unsigned short length) {
    auto* player = static_cast<LobbyPlayer*>(node);
    if (player == nullptr) {
        __log(_ERROR, op.tag, "pPlayerNode = NULL...");
        return;
    }
    const auto answer = [&](int code) {
        Zeroed<typename Op::Res> result;
        result.ucResultType = static_cast<decltype(result.ucResultType)>(code);
        m_lpLobbyServer->SendData(player, op.resultType, &result, sizeof(result), ENCODE_NONE);
    };
    const time_t now = ClockNow();
    const time_t gap = now - player->*op.stamp;
    if (gap < kBankGapSeconds) {
        op.tooSoonText.Log(_ERROR, op.tag, player->m_iUserID, static_cast<int>(gap),
                           static_cast<int>(now), static_cast<int>(player->*op.stamp));
        CountThrottled(op.clientType);
        if (op.answerTooSoon) answer(BANK_RESULT_TOO_SOON);
        return;
    }
    player->*op.stamp = now;
    op.announceText.Print(length);
    if (length != sizeof(typename Op::Req)) {
        op.sizeText.Log(_ERROR, op.tag, length, static_cast<int>(sizeof(typename Op::Req)));
        return;
    }
    if (m_lpLobbyServer->GetQueueServerHandler()->m_lpQueueServer == nullptr) return;
    const auto req = ReadMsg<typename Op::Req>(data, length);
    if (op.amount != nullptr && req.*op.amount < 1) {
        op.amountText.Log(_ERROR, op.tag, player->m_iUserID, static_cast<int>(req.*op.amount));
        answer(BANK_RESULT_BAD_VALUE);
        return;
    }
    if (req.iUserID != player->m_iUserID) {
        op.otherUserText.Log(_ERROR, op.tag, req.iUserID, player->m_iUserID);
        answer(BANK_RESULT_OTHER_USER);
        return;
    }
    Zeroed<typename Op::Trans> msg;
    msg.base = req;
    FillSession(msg, player);
    const bool sent = SendToQueue(player, op.queueType, &msg, sizeof(msg));
    const auto& text = sent ? op.sentText : op.failText;
    const LOG_LEVEL level = sent ? _WARN : _ERROR;
    if (text && LogEnabled(level)) {
        text.Log(level, op.tag, player->m_iUserID, player->iTeamTag,
                 TextStr(player->szOutAccount).c_str());
    }
}

void LobbyClientHandler::HandleBankLoginReq(IPlayerNode* node, void* data, unsigned short length) {
    RelayBankReq(kBankLogin, node, data, length);
}

void LobbyClientHandler::HandleGetCoinReq(IPlayerNode* node, void* data, unsigned short length) {
    RelayBankReq(kGetCoin, node, data, length);
}

void LobbyClientHandler::HandleSaveCoinReq(IPlayerNode* node, void* data, unsigned short length) {
    RelayBankReq(kSaveCoin, node, data, length);
}

void LobbyClientHandler::HandleModifyBankPasswdReq(IPlayerNode* node, void* data,
                                                   unsigned short length) {
    RelayBankReq(kModifyPasswd, node, data, length);
}
