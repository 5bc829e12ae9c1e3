// Coin notices of the web server, coin refresh, and coin exchange between players.
#include <algorithm>
#include <cstdio>
#include <memory>

#include "Common/Clock.h"
#include "Common/Log.h"
#include "LobbyClientHandler.h"
#include "LobbyMetrics.h"
#include "LobbyServer.h"
#include "MsgView.h"
#include "QueueServerHandler.h"
#include "cJson/JsonPack.h"
#include "queue_server_msg.h"

namespace {

constexpr time_t kExchangeGapSeconds = 5;
constexpr int GAIN_FRIEND_PROP = 4;

// The JSON text of a consume notice: what iSize claims, but no more than the message holds.
std::string_view ConsumeText(const void* data, long length, int32_t iSize) {
    const size_t within = static_cast<size_t>(length) - sizeof(ConsumeSucessNotice);
    const size_t size = iSize < 0 ? within : std::min(within, static_cast<size_t>(iSize));
    return {static_cast<const char*>(data) + sizeof(ConsumeSucessNotice), size};
}

// Sum as the 32-bit counter of every peer gives it.
int32_t WrapAdd(int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
}

void TakeGain(LobbyPlayer* player, CJsonPack& gain) {
    constexpr const char* tag = "LobbyClientHandler::CallBackRechargeSuccess";
    int type = 0, number = 0;
    if (gain.GetValueInt("type", type) == 0 || gain.GetValueInt("number", number) == 0) {
        __log(_WARN, tag, "userid[%d] get type or value error", player->m_iUserID);
        return;
    }
    if (type == GAIN_FRIEND_PROP) player->iFriendPropNum = WrapAdd(player->iFriendPropNum, number);
    __log(_WARN, tag, "userid[%d] type[%d], value[%d]", player->m_iUserID, type, number);
}

}  // namespace

// The notice brings no coins: it has the lobby ask the queue server for them, as if the player had.
void LobbyClientHandler::HandleRechargeSucessNotice(void* data, long length) {
    if (m_lpLobbyServer == nullptr) return;
    constexpr const char* tag = "LobbyClientHandler::HandleRechargeSucessNotice";
    if (length != sizeof(RechargeSucessNotice)) {
        __log(_ERROR, tag, "length[%d] != RechargeSucessNoticeDef[%d]!!", static_cast<int>(length),
              static_cast<int>(sizeof(RechargeSucessNotice)));
        return;
    }
    const auto notice = ReadMsg<RechargeSucessNotice>(data, length);
    __log(_DEBUG, tag, "收到玩家[%d]充值类型[%d]获得[%ld]成功消息,gameid[%d],serverid[%d]!!!",
          notice.userId, notice.rechargeType, static_cast<long>(notice.rechargeCount),
          notice.gameId, notice.serverId);
    LobbyPlayer* player = m_Sessions.Find(notice.userId);
    if (player == nullptr) return;
    Zeroed<RechargeReFreshCoinReq> req;
    req.iUserId = notice.userId;
    HandleRechargeRefreshCoinReq(player, &req, sizeof(req));
}

// The pause is by whole seconds of the clock. A clock that was set back holds a session up for as
// long; the next login starts afresh.
void LobbyClientHandler::HandleRechargeRefreshCoinReq(IPlayerNode* node, void* data,
                                                      unsigned short length) {
    if (m_lpLobbyServer == nullptr) return;
    constexpr const char* tag = "LobbyClientHandler::HandleRechargeRefreshCoinReq:";
    auto* player = static_cast<LobbyPlayer*>(node);
    if (player == nullptr) {
        __log(_ERROR, tag, "pPlayerNode = NULL...");
        return;
    }
    const time_t now = ClockNow();
    const time_t gap = now - player->iLastRefreshCoinTime;
    if (gap <= 0) {
        __log(_ERROR, tag, "Player[%d] operate bank is illegal---Gap Time [%d]", player->m_iUserID,
              static_cast<int>(gap));
        CountThrottled(REFRESH_COIN_C2S);
        return;
    }
    player->iLastRefreshCoinTime = now;
    const auto req = ReadMsg<RechargeReFreshCoinReq>(data, length);
    if (length != sizeof(req)) {
        __log(_ERROR, tag, "Len[%d] != sizeof(RechargeReFreshCoinReq)[%d],", length,
              static_cast<int>(sizeof(req)));
        m_lpLobbyServer->Close(node);
        return;
    }
    if (req.iUserId != player->m_iUserID) {
        __log(_ERROR, tag, "Request UserId [%d] != current UserId[%d],", req.iUserId,
              player->m_iUserID);
        m_lpLobbyServer->Close(node);
        return;
    }
    Zeroed<RechargeRefresReq_trans> msg;
    msg.iUserId = req.iUserId;
    SetSession(msg, player);
    if (!SendToQueue(player, REFRESH_COIN_L2Q, &msg, sizeof(msg))) {
        __log(_ERROR, tag, "SendData fail---- UserId [%d] ", player->m_iUserID);
    }
}

void LobbyClientHandler::HandleConsumeSucessNotice(void* data, long length) {
    if (m_lpLobbyServer == nullptr) return;
    constexpr const char* tag = "LobbyClientHandler::HandleConsumeSucessNotice";
    if (length <= static_cast<long>(sizeof(ConsumeSucessNotice))) {
        __log(_ERROR, tag, "length[%d] <= ConsumeSucessNotice[%d]!!", static_cast<int>(length),
              static_cast<int>(sizeof(ConsumeSucessNotice)));
        return;
    }
    if (data == nullptr) {
        __log(_ERROR, tag, "pMsg is nil");
        return;
    }
    const auto notice = ReadMsg<ConsumeSucessNotice>(data, length);
    const std::string_view text = ConsumeText(data, length, notice.iSize);
    // Prints up to the first NUL, as a terminated text would.
    __log(_DEBUG, tag,
          "收到玩家[%d],gameid[%d], serverid[%d], 消耗道具成功消息szConsumeNotice[%.*s]!!!",
          notice.userId, notice.gameId, notice.serverId, static_cast<int>(text.size()),
          text.data());
    LobbyPlayer* player = m_Sessions.Find(notice.userId);
    if (player == nullptr) return;
    CallBackRechargeSuccess(player, text.data(), static_cast<int>(text.size()));
    std::printf("ConsumeSucessNotice userid:%d!!!\n", notice.userId);
    m_lpLobbyServer->SendData(player, CONSUME_NOTICE_S2C, data, length, ENCODE_NONE);
}

void LobbyClientHandler::CallBackRechargeSuccess(LobbyPlayer* player, const char* text,
                                                 int length) {
    constexpr const char* tag = "LobbyClientHandler::CallBackRechargeSuccess";
    if (player == nullptr || text == nullptr || length == 0) {
        __log(_WARN, "CallBackRechargeSuccess",
              "node is nil.lpPlayerNode[0x%0x],buffer[0x%0x],length[%d]", PtrTag(player),
              PtrTag(text), length);
        return;
    }
    CJsonPack root(text, static_cast<size_t>(length));
    CJsonPack* found = nullptr;
    if (root.GetJsonObj("wsGainList", found) == 0) {
        __log(_WARN, tag, "userid[%d], get wsGainList error, root[%.*s]", player->m_iUserID, length,
              text);
        return;
    }
    const std::unique_ptr<CJsonPack> list(found);
    std::vector<CJsonPack*> gains;
    const int isArray = list->GetJsonArray(gains);
    const std::vector<std::unique_ptr<CJsonPack>> owned(gains.begin(), gains.end());
    if (isArray == 0) {
        __log(_WARN, tag, "userid[%d] GetJsonArray error!", player->m_iUserID);
        return;
    }
    __log(_WARN, tag, "userid[%d], vecsize[%d]", player->m_iUserID, static_cast<int>(owned.size()));
    for (const auto& gain : owned)
        TakeGain(player, *gain);
}

void LobbyClientHandler::HandleSychUserDataMsg(void* data, long length) {
    if (m_lpLobbyServer == nullptr) return;
    constexpr const char* tag = "LobbyClientHandler::HandleSychUserDataMsg";
    if (length != sizeof(SychUserLobbyData)) {
        __log(_ERROR, tag, "length[%ld] <= SychUserLobbyData[%d]!!", length,
              static_cast<int>(sizeof(SychUserLobbyData)));
        return;
    }
    const auto msg = ReadMsg<SychUserLobbyData>(data, length);
    __log(_DEBUG, tag, "收到玩家[%d],gameid[%d], serverid[%d], type[%d], value[%d]", msg.userId,
          msg.gameId, msg.serverId, msg.dataType, msg.dataValue);
    LobbyPlayer* player = m_Sessions.Find(msg.userId);
    if (player == nullptr) return;
    // The consume notice's text, on purpose.
    std::printf("ConsumeSucessNotice userid:%d!!!\n", msg.userId);
    m_lpLobbyServer->SendData(player, SYCH_USER_DATA_S2C, data, length, ENCODE_NONE);
}

void LobbyClientHandler::HandleSychUserDataMsg(IPlayerNode* node, void* data, long length) {
    if (m_lpLobbyServer == nullptr) return;
    if (length != sizeof(SychUserLobbyData) || node == nullptr || data == nullptr) {
        __log(_ERROR, "LobbyClientHandler::HandleSychUserDataMsg",
              "length[%ld] <= SychUserLobbyData[%d]!!", length,
              static_cast<int>(sizeof(SychUserLobbyData)));
        return;
    }
    m_lpLobbyServer->SendData(node, SYCH_USER_DATA_S2C, data, length, ENCODE_NONE);
}

// The self-transfer is judged first, whatever the amount; 0 lets the transfer pass.
int32_t LobbyClientHandler::DecideExchange(const LobbyPlayer* player, int32_t receiver,
                                           int64_t amount, time_t now) {
    constexpr const char* tag = "HandleClientExchangeCoinReq";
    const auto coins = static_cast<long long>(amount);
    const auto last = player->m_tLastExchangeCoinTime;
    if (receiver == player->m_iUserID) {
        __log(_ERROR, tag, "userid[%d] exchagecoin[%lld] to idrecv[%d] 转账id非法",
              player->m_iUserID, coins, receiver);
        return EXCHANGE_TO_SELF;
    }
    if (amount <= 0 || amount > player->llGameCoin) {
        __log(_ERROR, tag, "userid[%d] exchagecoin[%lld] to idrecv[%d] illegal, firstcoin[%lld]",
              player->m_iUserID, coins, receiver, static_cast<long long>(player->llGameCoin));
        return EXCHANGE_BAD_AMOUNT;
    }
    if (now - last < kExchangeGapSeconds) {
        __log(_ERROR, tag,
              "userid[%d] exchagecoin[%lld] to idrecv[%d] illegal, now[%lld] lasttime[%lld].",
              player->m_iUserID, coins, receiver, static_cast<long long>(now),
              static_cast<long long>(last));
        CountThrottled(EXCHANGE_COIN_C2S);
        return EXCHANGE_TOO_SOON;
    }
    return 0;
}

void LobbyClientHandler::HandleClientExchangeCoinReq(IPlayerNode* node, void* data,
                                                     unsigned short length) {
    constexpr const char* tag = "HandleClientExchangeCoinReq";
    if (data == nullptr || node == nullptr) {
        __log(_ERROR, tag, "node is nil");
        return;
    }
    auto* player = static_cast<LobbyPlayer*>(node);
    const auto req = ReadMsg<ExchangeGameCoinReq>(data, length);
    const time_t now = ClockNow();
    const int32_t code = DecideExchange(player, req.iRecvUserID, req.llExhangeCoin, now);
    if (code != 0) {
        Zeroed<ExchangeGameCoinRes> answer;
        answer.iErrorCode = code;
        answer.llExhangeCoin = req.llExhangeCoin;
        answer.llFirstMoney = player->llGameCoin;
        m_lpLobbyServer->SendData(node, EXCHANGE_COIN_S2C, &answer, sizeof(answer), ENCODE_NONE);
        return;
    }
    player->m_tLastExchangeCoinTime = now;
    Zeroed<QueueExchangeCoinReq> msg;
    SetSession(msg, player);
    msg.iUserIDFrom = player->m_iUserID;
    msg.iUserIDRecv = req.iRecvUserID;
    msg.llExchangeCoin = req.llExhangeCoin;
    SendToQueue(player, EXCHANGE_COIN_L2Q, &msg, sizeof(msg));
    // The line ends in "illegal" although the transfer was accepted; log readers filter by it.
    __log(_WARN, tag, "userid[%d] firstmoney[%lld] exchagecoin[%lld] to idrecv[%d] illegal.",
          player->m_iUserID, static_cast<long long>(player->llGameCoin),
          static_cast<long long>(req.llExhangeCoin), req.iRecvUserID);
}
