#include "QueueServer.h"

#include <algorithm>

namespace sim {
namespace {

// The session an answer belongs to travels back unchanged.
template <class Res, class Req>
Res AnswerTo(const Req& req) {
    Res res{};
    res.ulPlayerNode = req.ulPlayerNode;
    res.ulPlayerNodeId = req.ulPlayerNodeId;
    return res;
}

void Fill(UserInfoRes& res, const Player& player) {
    res.llControlNum = player.recharged;
    res.iMachineIndex = player.machineIndex;
    res.iPlayGameTime = player.playTime;
    res.iAllYuanBaoAmount = static_cast<int32_t>(player.recharged);
    res.iAccountsourceid = player.accountSource;
    res.isBindingmobile = !player.mobile.empty();
    res.iFriendPropNum = player.friendProps;
    res.llGameCoin = player.coin;
    res.llBankCoin = player.bankCoin;
    res.iTeamTag = player.teamTag;
    res.iLianyunFlag = player.lianyunFlag;
    res.usRegisterType = static_cast<uint16_t>(player.registerType);
    wire::SetText(res.szReserve1, player.nickname);
    wire::SetText(res.szOutAccount, player.outAccount);
    wire::SetText(res.szReserve3, player.signature);
}

// Moves coins between two purses of which none may go below zero or over the top.
Code Move(int64_t& from, int64_t& to, int64_t amount) {
    if (amount <= 0) return BANK_BAD_AMOUNT;
    if (amount > from || to > INT64_MAX - amount) return BANK_NOT_ENOUGH;
    from -= amount;
    to += amount;
    return OK;
}

}  // namespace

QueueServer::QueueServer(Platform& platform) : BackEnd(platform, ServerKind::Queue) {
    On(USER_INFO_L2Q, &QueueServer::OnUserInfo);
    On(BANK_LOGIN_L2Q, &QueueServer::OnBankLogin);
    On(BANK_GET_COIN_L2Q, &QueueServer::OnTake);
    On(BANK_SAVE_COIN_L2Q, &QueueServer::OnSave);
    On(BANK_MODIFY_PASSWD_L2Q, &QueueServer::OnBankPassword);
    On(MODIFY_PASSWORD_L2Q, &QueueServer::OnPassword);
    On(MODIFY_NICKNAME_L2Q, &QueueServer::OnNickname);
    On(MODIFY_GENDER_L2Q, &QueueServer::OnGender);
    On(MODIFY_SIGNATURE_L2Q, &QueueServer::OnSignature);
    On(MODIFY_FACE_ID_L2Q, &QueueServer::OnFaceId);
    On(BINDING_MOBILE_L2Q, &QueueServer::OnMobile);
    On(REAL_NAME_L2Q, &QueueServer::OnRealName);
    On(MODIFY_FACE_FRAME_L2Q, &QueueServer::OnFaceFrame);
    On(REFRESH_COIN_L2Q, &QueueServer::OnRefresh);
    On(EXCHANGE_COIN_L2Q, &QueueServer::OnExchange);
    On(MSG_QUEUE_COMPETE_USER_INFO_REQ, &QueueServer::OnTournament);
    On(ACT_UPDATE_USER_PROP, &QueueServer::OnReward);
}

void QueueServer::OnUserInfo(Link& link, const UserInfoReq& req) {
    auto res = AnswerTo<UserInfoRes>(req);
    const Player* player = TheWorld().FindPlayer(req.userID);
    if (player == nullptr) {
        res.cError = UNKNOWN_USER;
    } else if (player->token != TextOf(req.szPasswdToken)) {
        res.cError = WRONG_TOKEN;
    } else {
        Fill(res, *player);
    }
    link.Send(USER_INFO_Q2L, res);
}

void QueueServer::OnBankLogin(Link& link, const UserBankLoginReq_trans& req) {
    auto res = AnswerTo<LoginBankResult_trans>(req);
    const Player* player = TheWorld().FindPlayer(req.base.iUserID);
    if (player == nullptr) {
        res.base.ucResultType = UNKNOWN_USER;
    } else if (player->bankPassword != TextOf(req.base.szBankPass)) {
        res.base.ucResultType = BANK_WRONG_PASSWORD;
    } else {
        res.base.llGameCoin = player->coin;
        res.base.llBankCoin = player->bankCoin;
    }
    link.Send(BANK_LOGIN_Q2L, res);
}

void QueueServer::OnTake(Link& link, const GetBankCoinReq_trans& req) {
    auto res = AnswerTo<GetCoinResult_trans>(req);
    Player* player = TheWorld().FindPlayer(req.base.iUserID);
    if (player == nullptr) {
        res.base.ucResultType = UNKNOWN_USER;
    } else if (player->bankPassword != TextOf(req.base.szBankerPwd)) {
        res.base.ucResultType = BANK_WRONG_PASSWORD;
    } else {
        res.base.ucResultType = Move(player->bankCoin, player->coin, req.base.llGetNum);
    }
    if (res.base.ucResultType == OK) res.base.llGetCoinNum = req.base.llGetNum;
    link.Send(BANK_GET_COIN_Q2L, res);
}

void QueueServer::OnSave(Link& link, const SaveCoinReq_trans& req) {
    auto res = AnswerTo<SaveCoinRes_trans>(req);
    Player* player = TheWorld().FindPlayer(req.base.iUserID);
    if (player == nullptr) {
        res.base.ucResultType = UNKNOWN_USER;
    } else {
        res.base.ucResultType = Move(player->coin, player->bankCoin, req.base.llSaveCoinNum);
        res.base.llSelfCoin = player->coin;
    }
    link.Send(BANK_SAVE_COIN_Q2L, res);
}

void QueueServer::OnBankPassword(Link& link, const ModifyBankPasswdReq_trans& req) {
    auto res = AnswerTo<ModifyBankPasswdRes_trans>(req);
    Player* player = TheWorld().FindPlayer(req.base.iUserID);
    if (player == nullptr) {
        res.base.ucResultType = UNKNOWN_USER;
    } else if (player->bankPassword != TextOf(req.base.szOldPassWd)) {
        res.base.ucResultType = BANK_WRONG_PASSWORD;
    } else {
        player->bankPassword = TextOf(req.base.szNewPassWd);
    }
    link.Send(BANK_MODIFY_PASSWD_Q2L, res);
}

void QueueServer::OnRefresh(Link& link, const RechargeRefresReq_trans& req) {
    auto res = AnswerTo<RechargeRefresRes_trans>(req);
    res.iUserId = req.iUserId;
    if (const Player* player = TheWorld().FindPlayer(req.iUserId)) {
        res.llCurGameCoin = player->coin;
        res.llTotalRechageNum = player->recharged;
        res.llBankCoin = player->bankCoin;
    } else {
        res.iError = UNKNOWN_USER;
    }
    link.Send(REFRESH_COIN_Q2L, res);
}

void QueueServer::OnExchange(Link& link, const QueueExchangeCoinReq& req) {
    auto res = AnswerTo<QueueExchangeCoinRes>(req);
    res.iUserIDFrom = req.iUserIDFrom;
    res.iUserIDRecv = req.iUserIDRecv;
    res.llExchangeCoin = req.llExchangeCoin;
    Player* giver = TheWorld().FindPlayer(req.iUserIDFrom);
    Player* receiver = TheWorld().FindPlayer(req.iUserIDRecv);
    if (giver == nullptr) {
        res.iError = UNKNOWN_USER;
    } else if (receiver == nullptr || receiver == giver) {
        res.iError = EXCHANGE_NO_RECEIVER;
    } else if (Move(giver->coin, receiver->coin, req.llExchangeCoin) != OK) {
        res.iError = EXCHANGE_NOT_ENOUGH;
    }
    link.Send(EXCHANGE_COIN_Q2L, res);
}

void QueueServer::OnTournament(Link& link, const CompeteLobbyUserInfoReq& req) {
    auto res = AnswerTo<CompeteLobbyUserInfoRes>(req);
    res.iUserID = req.iUserID;
    if (const Player* player = TheWorld().FindPlayer(req.iUserID)) {
        res.iFreeCount = player->freeCount;
        res.iDayTicketCount = player->dayTickets;
        res.iMonthTicketCount = player->monthTickets;
        res.iCompeteMonthScore = player->monthScore;
        res.iCompeteMonthRank = player->monthRank;
    } else {
        res.iErrorCode = UNKNOWN_USER;
    }
    link.Send(MSG_QUEUE_COMPETE_USER_INFO_RES, res);
}

// Not answered.
void QueueServer::OnReward(Link&, const tagDBUpdateUserPropInfo& req) {
    Player* player = TheWorld().FindPlayer(req.iUserID);
    if (player == nullptr || req.iValue <= 0) return;
    if (req.iType == 1) {
        player->coin += req.iValue;
        TheWorld().created += req.iValue;
    } else if (req.iType == 2) {
        player->ingots += req.iValue;
    }
}

}  // namespace sim
