#include "QueueServer.h"

#include <type_traits>

namespace sim {
namespace {

// The session an answer belongs to travels back unchanged, and what else tells whose it is.
template <class Res, class Req>
Res AnswerTo(const Req& req) {
    Res res{};
    if constexpr (requires { res.base.iError; }) {
        // Of the profile: the layout of its request, with the error where that has the user id.
        static_assert(sizeof(Res) == sizeof(Req));
        std::memcpy(&res, &req, sizeof(res));
        return res;
    }
    res.ulPlayerNode = req.ulPlayerNode;
    res.ulPlayerNodeId = req.ulPlayerNodeId;
    if constexpr (requires { res.iUserId; }) res.iUserId = req.iUserId;
    if constexpr (requires { res.iUserID; }) res.iUserID = req.iUserID;
    return res;
}

bool AllDigits(std::string_view text) {
    return text.find_first_not_of("0123456789") == std::string_view::npos;
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

// A request of a player and its answer. fill(player, request, answer) makes his part of it and says
// how it went; an unknown player is refused.
template <class Req, class Res>
void QueueServer::Serve(uint16_t type, uint16_t answer, auto fill) {
    On(type, [this, answer, fill](Link& link, const Message& message) {
        const Req req = message.As<Req>();
        Res res = AnswerTo<Res>(req);
        Player* player = TheWorld().FindPlayer(wire::UserOf(req));
        const Code code = player == nullptr ? UNKNOWN_USER : fill(*player, req, res);
        auto& field = wire::CodeOf(res);
        field = static_cast<std::remove_reference_t<decltype(field)>>(code);
        link.Send(answer, res);
    });
}

// A change of the player's profile: change(player, client's request), which may refuse it.
template <class Req, class Res>
void QueueServer::Profile(uint16_t type, uint16_t answer, auto change) {
    Serve<Req, Res>(type, answer, [change](Player& player, const Req& req, Res&) {
        if constexpr (std::is_void_v<decltype(change(player, req.base))>) {
            change(player, req.base);
            return OK;
        } else {
            return change(player, req.base);
        }
    });
}

QueueServer::QueueServer(Platform& platform) : BackEnd(platform, ServerKind::Queue) {
    Serve<UserInfoReq, UserInfoRes>(USER_INFO_L2Q, USER_INFO_Q2L,
                                    [](Player& player, auto& req, auto& res) {
                                        if (player.token != TextOf(req.szPasswdToken))
                                            return WRONG_TOKEN;
                                        Fill(res, player);
                                        return OK;
                                    });
    ServeBank();
    ServeProfile();
    ServeFigures();
    On(EXCHANGE_COIN_L2Q, &QueueServer::OnExchange);
    On(ACT_UPDATE_USER_PROP, &QueueServer::OnReward);
}

void QueueServer::ServeBank() {
    Serve<UserBankLoginReq_trans, LoginBankResult_trans>(
        BANK_LOGIN_L2Q, BANK_LOGIN_Q2L, [](Player& player, auto& req, auto& res) {
            if (player.bankPassword != TextOf(req.base.szBankPass)) return BANK_WRONG_PASSWORD;
            res.base.llGameCoin = player.coin;
            res.base.llBankCoin = player.bankCoin;
            return OK;
        });
    Serve<GetBankCoinReq_trans, GetCoinResult_trans>(
        BANK_GET_COIN_L2Q, BANK_GET_COIN_Q2L, [](Player& player, auto& req, auto& res) {
            if (player.bankPassword != TextOf(req.base.szBankerPwd)) return BANK_WRONG_PASSWORD;
            const Code code = Move(player.bankCoin, player.coin, req.base.llGetNum);
            if (code == OK) res.base.llGetCoinNum = req.base.llGetNum;
            return code;
        });
    Serve<SaveCoinReq_trans, SaveCoinRes_trans>(
        BANK_SAVE_COIN_L2Q, BANK_SAVE_COIN_Q2L, [](Player& player, auto& req, auto& res) {
            const Code code = Move(player.coin, player.bankCoin, req.base.llSaveCoinNum);
            res.base.llSelfCoin = player.coin;
            return code;
        });
    Serve<ModifyBankPasswdReq_trans, ModifyBankPasswdRes_trans>(
        BANK_MODIFY_PASSWD_L2Q, BANK_MODIFY_PASSWD_Q2L, [](Player& player, auto& req, auto&) {
            if (player.bankPassword != TextOf(req.base.szOldPassWd)) return BANK_WRONG_PASSWORD;
            player.bankPassword = TextOf(req.base.szNewPassWd);
            return OK;
        });
}

void QueueServer::ServeProfile() {
    Profile<ModifyPassWordReq_trans, ModifyPassWordRes_trans>(
        MODIFY_PASSWORD_L2Q, MODIFY_PASSWORD_Q2L, [](Player& player, auto& req) {
            if (player.password != TextOf(req.szOldPassWd)) return WRONG_PASSWORD;
            player.password = TextOf(req.szNewPassWd);
            return OK;
        });
    Profile<ModifyNickNameReq_trans, ModifyNickNameRes_trans>(
        MODIFY_NICKNAME_L2Q, MODIFY_NICKNAME_Q2L, [this](Player& player, auto& req) {
            const std::string nickname = TextStr(req.szNickName);
            if (nickname.empty()) return BAD_TEXT;
            if (TheWorld().NicknameTaken(nickname, player.id)) return NICKNAME_TAKEN;
            player.nickname = nickname;
            return OK;
        });
    Profile<ModifyGenderReq_trans, ModifyGenderRes_trans>(
        MODIFY_GENDER_L2Q, MODIFY_GENDER_Q2L,
        [](Player& player, auto& req) { player.gender = req.iGender; });
    Profile<ModifyPersonalSignatureReq_trans, ModifyPersonalSignatureRes_trans>(
        MODIFY_SIGNATURE_L2Q, MODIFY_SIGNATURE_Q2L,
        [](Player& player, auto& req) { player.signature = TextOf(req.szPersonalSignature); });
    Profile<ModifyFaceIdReq_trans, ModifyFaceIdRes_trans>(
        MODIFY_FACE_ID_L2Q, MODIFY_FACE_ID_Q2L,
        [](Player& player, auto& req) { player.faceId = req.iFaceId; });
    Profile<BindingMobileReq_trans, BindingMobileRes_trans>(
        BINDING_MOBILE_L2Q, BINDING_MOBILE_Q2L, [](Player& player, auto& req) {
            const std::string mobile = TextStr(req.szMobileNumber);
            if (mobile.size() < 5 || !AllDigits(mobile)) return BAD_TEXT;
            player.mobile = mobile;
            return OK;
        });
    Profile<RealNameAuthenReq_trans, RealNameAuthenRes_trans>(
        REAL_NAME_L2Q, REAL_NAME_Q2L, [](Player& player, auto& req) {
            const auto name = TextOf(req.szRealName), identity = TextOf(req.szIdentity);
            if (name.empty() || identity.size() != 18) return BAD_TEXT;
            player.realName = name;
            player.identity = identity;
            return OK;
        });
    Profile<ModifyFaceFrameReq_trans, ModifyFaceFrameRes_trans>(
        MODIFY_FACE_FRAME_L2Q, MODIFY_FACE_FRAME_Q2L,
        [](Player& player, auto& req) { player.faceFrame = req.iFrameId; });
}

void QueueServer::ServeFigures() {
    Serve<RechargeRefresReq_trans, RechargeRefresRes_trans>(
        REFRESH_COIN_L2Q, REFRESH_COIN_Q2L, [](Player& player, auto&, auto& res) {
            res.llCurGameCoin = player.coin;
            res.llTotalRechageNum = player.recharged;
            res.llBankCoin = player.bankCoin;
            return OK;
        });
    Serve<CompeteLobbyUserInfoReq, CompeteLobbyUserInfoRes>(
        MSG_QUEUE_COMPETE_USER_INFO_REQ, MSG_QUEUE_COMPETE_USER_INFO_RES,
        [](Player& player, auto&, auto& res) {
            res.iFreeCount = player.freeCount;
            res.iDayTicketCount = player.dayTickets;
            res.iMonthTicketCount = player.monthTickets;
            res.iCompeteMonthScore = player.monthScore;
            res.iCompeteMonthRank = player.monthRank;
            return OK;
        });
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
