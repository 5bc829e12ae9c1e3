// The client's question for today's tournament and the queue server's part of the answer.
#include <algorithm>
#include <cstdio>
#include <cstring>

#include "Common/Clock.h"
#include "Common/Log.h"
#include "LobbyClientHandler.h"
#include "LobbyServer.h"
#include "MsgView.h"
#include "QueueServerHandler.h"
#include "compete_msg.h"

namespace {

// The schedule of the tournament that is on today. usTurnNum tells all rounds, though only the
// first ones fit.
void FillSchedule(const CompeteConfig& config, bool monthly, LobbyClientCompeteRes& res) {
    res.usCompeteType = monthly ? 1 : 0;
    res.usOpenDay = static_cast<uint16_t>(monthly ? config.m_iMonthOpenDay : 0);
    res.usOpenHour =
        static_cast<uint16_t>(monthly ? config.m_iMonthOpenHour : config.m_iDayOpenHour);
    res.usOpenMinute =
        static_cast<uint16_t>(monthly ? config.m_iMonthOpenMinute : config.m_iDayOpenMinute);
    res.iAwardCoin = monthly ? config.m_iMonthAwardCoin : config.m_iDayAwardCoin;
    res.usTurnNum = monthly ? config.m_usMonthTurnNum : config.m_usDayTurnNum;
    const auto& users = monthly ? config.m_vMonthTurnsUsers : config.m_vDayTurnsUsers;
    const size_t count =
        std::min({static_cast<size_t>(res.usTurnNum), users.size(), std::size(res.iTurnsUsers)});
    std::copy_n(users.begin(), count, res.iTurnsUsers);
    res.usDayMaxFreeCount = config.m_usDayMaxFreeCount;
    res.iDayCompeteCostCoin = config.m_iDayCompeteCostCoin;
}

void FillFigures(const CompeteLobbyUserInfoRes& from, LobbyClientCompeteRes& res) {
    res.usErrorCode = static_cast<uint16_t>(from.iErrorCode);
    res.iFreeCount = from.iFreeCount;
    res.iDayTicketCount = from.iDayTicketCount;
    res.iMonthTicketCount = from.iMonthTicketCount;
    res.iCompeteMonthScore = from.iCompeteMonthScore;
    res.iCompeteMonthRank = from.iCompeteMonthRank;
    res.ucIsDisconnect = from.bDisconnect;
    res.usServerPort = from.usServerPort;
    std::memcpy(res.szServerIp, from.szServerIp, sizeof(res.szServerIp));
}

}  // namespace

void LobbyClientHandler::HandleClientCompeteInfoReq(IPlayerNode* node, void* data,
                                                    uint16_t length) {
    static constexpr char tag[] = "LobbyClientHandler::HandleClientCompeteInfoReq";
    if (data == nullptr || node == nullptr) {
        __log(_ERROR, tag, "node is nil");
        return;
    }
    const auto msg = ReadMsg<ClientLobbyCompeteReq>(data, length);
    Zeroed<CompeteLobbyUserInfoReq> req;
    req.iUserID = msg.iUserID;
    const auto& player = *static_cast<LobbyPlayer*>(node);
    SetSession(req, &player);
    IPlayerNode* const queue = m_lpLobbyServer->GetQueueServerHandler()->m_lpQueueServer;
    // While the link is down this is a failed send; the client gets no answer.
    const bool sent =
        queue != nullptr &&
        m_lpLobbyServer->Relay(player, queue, MSG_QUEUE_COMPETE_USER_INFO_REQ, &req, sizeof(req));
    __log(sent ? _DEBUG : _ERROR, tag, "userid[%d] len[%d] size[%d]", msg.iUserID, length,
          static_cast<int>(sizeof(msg)));
}

void QueueServerHandler::OnCompeteLobbyUserInfoRes(void* data, long length) {
    static constexpr char tag[] = "QueueServerHandler::OnCompeteLobbyUserInfoRes";
    // Neither fault ends the handling: what is missing reads as zero, and a result without the
    // session's id finds no session.
    if (length != static_cast<long>(sizeof(CompeteLobbyUserInfoRes))) {
        __log(_ERROR, tag, "sizeof(CompeteLobbyUserInfoRes) %d !=  length %d",
              static_cast<int>(sizeof(CompeteLobbyUserInfoRes)), static_cast<int>(length));
    }
    if (data == nullptr) __log(_ERROR, tag, "node is nil");
    const auto msg = ReadMsg<CompeteLobbyUserInfoRes>(data, length);

    LobbyPlayer* const player = SessionOf(msg.ulPlayerNode, msg.ulPlayerNodeId, tag,
                                          "pMsg->ulPlayerNodeId [%0x] != *pPlayerNode[%0x]");
    if (player == nullptr) return;

    // Today by local time; an opening day of 0 never comes, so that every day is a daily one.
    const time_t now = ClockNow();
    tm today{};
    localtime_r(&now, &today);
    std::printf("mday[%d] hour[%d]\n", today.tm_mday, today.tm_hour);
    Zeroed<LobbyClientCompeteRes> res;
    const CompeteConfig& config = m_lpLobbyServer->m_competeConfig;
    FillSchedule(config, today.tm_mday == config.m_iMonthOpenDay, res);
    FillFigures(msg, res);
    m_lpLobbyServer->SendData(player, MSG_CLIENT_COMPETE_RES, &res, sizeof(res), ENCODE_NONE);
    if (!LogEnabled(_DEBUG)) return;
    __log(_DEBUG, tag,
          "userid[%d] comptetype[%d] awardcoin[%d] freecount[%d] dayticketcount[%d] "
          "monthticketcount[%d] monthscore[%d] monthrank[%d] opentime[%d:%d] turnnum[%d] "
          "maxfreecount[%d] bDisconnect[%d] ip[%s] port[%d] errorcode[%d]",
          msg.iUserID, res.usCompeteType, res.iAwardCoin, res.iFreeCount, res.iDayTicketCount,
          res.iMonthTicketCount, res.iCompeteMonthScore, res.iCompeteMonthRank, res.usOpenHour,
          res.usOpenMinute, res.usTurnNum, res.usDayMaxFreeCount, res.ucIsDisconnect,
          TextStr(res.szServerIp).c_str(), res.usServerPort, res.usErrorCode);
}
