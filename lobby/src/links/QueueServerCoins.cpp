// Results of coin refresh and coin exchange.
#include <cstring>

#include "Common/Log.h"
#include "LobbyServer.h"
#include "LogServerHandler.h"
#include "MsgView.h"
#include "QueueServerHandler.h"
#include "log_server_msg.h"
#include "queue_server_msg.h"

namespace {

// Two's complement results at the ends of the range, as the queue server's accounts have them.
int64_t WrapAdd(int64_t a, int64_t b) {
    return static_cast<int64_t>(static_cast<uint64_t>(a) + static_cast<uint64_t>(b));
}

int64_t WrapSub(int64_t a, int64_t b) {
    return static_cast<int64_t>(static_cast<uint64_t>(a) - static_cast<uint64_t>(b));
}

constexpr const char* kExchangeTag = "OnUserExchangeCoinRes";

}  // namespace

void QueueServerHandler::OnRechargeRefreshCoin(void* data, long length) {
    constexpr const char* tag = "QueueServerHandler::OnRechargeRefreshCoin:";
    if (length != sizeof(RechargeRefresRes_trans)) {
        // The line names the request where it means the result; log readers filter by it.
        __log(_ERROR, tag, "sizeof(RechargeRefresReq_trans) %d !=  length %d",
              static_cast<int>(sizeof(RechargeRefresRes_trans)), static_cast<int>(length));
        return;
    }
    const auto msg = ReadMsg<RechargeRefresRes_trans>(data, length);
    LobbyPlayer* player = SessionOf(msg.ulPlayerNode, msg.ulPlayerNodeId, tag,
                                    "pMsg->ulPlayerNodeId [%d] != *pPlayerNode[%d]");
    if (player == nullptr) return;
    RechargeReFreshCoinRes result;
    std::memcpy(&result, &msg, sizeof(result));
    const auto gameCoin = static_cast<long long>(result.llCurGameCoin);
    const auto total = static_cast<long long>(result.llTotalRechageNum);
    const auto bankCoin = static_cast<long long>(result.llBankCoin);
    __log(_DEBUG, tag,
          "iUserId[%d], node[0x%08x], iError[%d], llCurGameCoin[%lld],iTotalRechageNum[%lld], "
          "bankcoin[%lld]",
          result.iUserId, PtrTag(player), result.iError, gameCoin, total, bankCoin);
    __log(_WARN, tag,
          "userid[%d] controlnum[%lld] gamecoin[%lld] bankcoin[%lld] rechagenum[%lld] "
          "curgamecoin[%lld] curbankcoin[%lld]",
          player->m_iUserID, static_cast<long long>(player->llControlNum),
          static_cast<long long>(player->llGameCoin), static_cast<long long>(player->llBankCoin),
          total, gameCoin, bankCoin);
    // Taken over whatever iError says: a refresh that failed still brings the coins as they are.
    player->llControlNum = result.llTotalRechageNum;
    player->llGameCoin = result.llCurGameCoin;
    player->llBankCoin = result.llBankCoin;
    if (!m_lpLobbyServer->SendData(player, REFRESH_COIN_S2C, &result, sizeof(result),
                                   ENCODE_NONE)) {
        __log(_ERROR, tag, "SendData fail----userid [%d] ", player->m_iUserID);
    }
}

void QueueServerHandler::OnUserExchangeCoinRes(void* data, long length) {
    if (data == nullptr) {
        __log(_ERROR, kExchangeTag, "node is nil");
        return;
    }
    const auto msg = ReadMsg<QueueExchangeCoinRes>(data, length);
    LobbyPlayer* giver = SessionOf(msg.ulPlayerNode, msg.ulPlayerNodeId, kExchangeTag,
                                   "lpRes->ulPlayerNodeId [%0x] != *pPlayerNode[%0x]");
    if (giver == nullptr) return;
    if (msg.iError == 0) BookExchange(giver, msg);
    Zeroed<ExchangeGameCoinRes> answer;
    answer.iErrorCode = msg.iError;
    answer.llExhangeCoin = msg.llExchangeCoin;
    answer.llFirstMoney = giver->llGameCoin;
    m_lpLobbyServer->SendData(giver, EXCHANGE_COIN_S2C, &answer, sizeof(answer), ENCODE_NONE);
    __log(_WARN, kExchangeTag, "from userid[%d] exhangecoin[%lld] to receiverid[%d] res.",
          msg.iUserIDFrom, static_cast<long long>(msg.llExchangeCoin), msg.iUserIDRecv);
}

// The receiver may be in another lobby, or be a second session of the giver.
void QueueServerHandler::BookExchange(LobbyPlayer* giver, const QueueExchangeCoinRes& msg) {
    const auto amount = static_cast<long long>(msg.llExchangeCoin);
    giver->llGameCoin = WrapSub(giver->llGameCoin, msg.llExchangeCoin);
    LobbyPlayer* receiver = m_lpLobbyServer->GetPlayerByUserID(msg.iUserIDRecv);
    if (receiver != nullptr) {
        receiver->llGameCoin = WrapAdd(receiver->llGameCoin, msg.llExchangeCoin);
        Zeroed<ExchangeGameCoinNotify> notify;
        notify.iFromUserID = msg.iUserIDFrom;
        notify.llExhangeCoin = msg.llExchangeCoin;
        notify.llFirstMoney = receiver->llGameCoin;
        m_lpLobbyServer->SendData(receiver, EXCHANGE_COIN_NOTIFY_S2C, &notify, sizeof(notify),
                                  ENCODE_NONE);
        __log(_WARN, kExchangeTag,
              "receiverid[%d] online receive exchagecoin[%lld] from userid[%d].", msg.iUserIDRecv,
              amount, msg.iUserIDFrom);
    } else {
        __log(_WARN, kExchangeTag, "sendid[%d] exchangecoin[%lld] receiverid[%d] not in lobby.",
              msg.iUserIDFrom, amount, msg.iUserIDRecv);
    }
    Zeroed<UserExchangeCoinLog> record;
    record.iSenderID = msg.iUserIDFrom;
    record.iReceiverID = msg.iUserIDRecv;
    record.llExchangeCoin = msg.llExchangeCoin;
    m_lpLobbyServer->GetLogServerHandler()->SendMsgToLogServer(MSG_LOG_USER_EXCHANGE_COIN, &record,
                                                               sizeof(record));
}
