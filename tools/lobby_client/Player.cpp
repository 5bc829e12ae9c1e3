#include "Player.h"

#include <algorithm>

namespace client {

Player::Player(const std::string& host, uint16_t port, int32_t userId,
               std::chrono::milliseconds patience, Transport transport)
    : m_userId(userId),
      m_patience(patience),
      m_connection(host, port, transport, Clock::now() + patience) {}

Message Player::Await(uint16_t type) {
    const auto kept = std::find_if(m_kept.begin(), m_kept.end(),
                                   [&](const Message& one) { return one.type == type; });
    if (kept != m_kept.end()) {
        Message found = std::move(*kept);
        m_kept.erase(kept);
        return found;
    }
    const auto deadline = Clock::now() + m_patience;
    while (auto message = m_connection.Receive(deadline)) {
        if (message->type == type) return std::move(*message);
        if (m_push) {
            m_push(*message);
        } else {
            m_kept.push_back(std::move(*message));
        }
    }
    throw TimedOut("no answer from the lobby");
}

void Player::Watch(Clock::time_point deadline) {
    constexpr auto pace = std::chrono::seconds(25);  // well below the lobby's idle time-out
    while (Clock::now() < deadline) {
        const auto next = std::min(deadline, Clock::now() + pace);
        while (const auto message = m_connection.Receive(next)) {
            if (m_push && message->type != MSG_KEEP_ALIVE) m_push(*message);
        }
        if (next < deadline) m_connection.Send(MSG_KEEP_ALIVE);
    }
}

void Player::Drain() {
    while (const auto message = m_connection.Poll()) {
        if (m_push && message->type != MSG_KEEP_ALIVE) m_push(*message);
    }
}

void Player::SendLogin(const std::string& token, int32_t site) {
    using Notice = tagLobbyClientConnectNotice;
    Tell<Notice>(CLIENT_CONNECT_NOTICE_C2S, &Notice::iLobbySiteID, site, &Notice::szToken, token,
                 &Notice::szChannelID, "lobby_client");
}

LobbyAuthenRes Player::Login(const std::string& token, int32_t site) {
    SendLogin(token, site);
    return Await(LOBBY_AUTHEN_RES_S2C).As<LobbyAuthenRes>();
}

LoginBankResult Player::BankLogin(const std::string& password) {
    return Ask<LoginBankResult, UserBankLoginReq>(BANK_LOGIN_C2S, BANK_LOGIN_S2C,
                                                  &UserBankLoginReq::szBankPass, password);
}

void Player::SendTake(int64_t amount, const std::string& password) {
    auto req = Request<GetBankCoinReq>(&GetBankCoinReq::szBankerPwd, password);
    req.llGetNum = amount;
    m_connection.Send(BANK_GET_COIN_C2S, req);
}

GetCoinResult Player::Take(int64_t amount, const std::string& password) {
    SendTake(amount, password);
    return Await(BANK_GET_COIN_S2C).As<GetCoinResult>();
}

SaveCoinRes Player::Save(int64_t amount) {
    auto req = Request<SaveCoinReq>();
    req.llSaveCoinNum = amount;
    m_connection.Send(BANK_SAVE_COIN_C2S, req);
    return Await(BANK_SAVE_COIN_S2C).As<SaveCoinRes>();
}

ModifyBankPasswdRes Player::BankPassword(const std::string& from, const std::string& to) {
    return Ask<ModifyBankPasswdRes, ModifyBankPasswdReq>(
        BANK_MODIFY_PASSWD_C2S, BANK_MODIFY_PASSWD_S2C, &ModifyBankPasswdReq::szOldPassWd, from,
        &ModifyBankPasswdReq::szNewPassWd, to);
}

tagModifyPassWordRes Player::Password(const std::string& from, const std::string& to) {
    return Ask<tagModifyPassWordRes, tagModifyPassWordReq>(MODIFY_PASSWORD_C2S, MODIFY_PASSWORD_S2C,
                                                           &tagModifyPassWordReq::szOldPassWd, from,
                                                           &tagModifyPassWordReq::szNewPassWd, to);
}

ModifyNickNameRes Player::Nickname(const std::string& nickname) {
    return Ask<ModifyNickNameRes, ModifyNickNameReq>(MODIFY_NICKNAME_C2S, MODIFY_NICKNAME_S2C,
                                                     &ModifyNickNameReq::szNickName, nickname);
}

ModifyGenderRes Player::Gender(int32_t gender) {
    return Ask<ModifyGenderRes, ModifyGenderReq>(MODIFY_GENDER_C2S, MODIFY_GENDER_S2C,
                                                 &ModifyGenderReq::iGender, gender);
}

ModifyPersonalSignatureRes Player::Signature(const std::string& signature) {
    return Ask<ModifyPersonalSignatureRes, ModifyPersonalSignatureReq>(
        MODIFY_SIGNATURE_C2S, MODIFY_SIGNATURE_S2C,
        &ModifyPersonalSignatureReq::szPersonalSignature, signature);
}

ModifyFaceIdRes Player::FaceId(int32_t id) {
    return Ask<ModifyFaceIdRes, ModifyFaceIdReq>(MODIFY_FACE_ID_C2S, MODIFY_FACE_ID_S2C,
                                                 &ModifyFaceIdReq::iFaceId, id);
}

BindingMobileRes Player::Mobile(const std::string& number) {
    return Ask<BindingMobileRes, BindingMobileReq>(BINDING_MOBILE_C2S, BINDING_MOBILE_S2C,
                                                   &BindingMobileReq::szMobileNumber, number);
}

RealNameAuthenRes Player::RealName(const std::string& name, const std::string& identity) {
    return Ask<RealNameAuthenRes, RealNameAuthenReq>(REAL_NAME_C2S, REAL_NAME_S2C,
                                                     &RealNameAuthenReq::szRealName, name,
                                                     &RealNameAuthenReq::szIdentity, identity);
}

RechargeReFreshCoinRes Player::Refresh() {
    return Ask<RechargeReFreshCoinRes, RechargeReFreshCoinReq>(REFRESH_COIN_C2S, REFRESH_COIN_S2C);
}

ExchangeGameCoinRes Player::Exchange(int32_t receiver, int64_t amount) {
    auto req = Request<ExchangeGameCoinReq>(&ExchangeGameCoinReq::iRecvUserID, receiver);
    req.llExhangeCoin = amount;
    m_connection.Send(EXCHANGE_COIN_C2S, req);
    return Await(EXCHANGE_COIN_S2C).As<ExchangeGameCoinRes>();
}

std::vector<tagServerInfo> Player::ServerList() {
    Tell<GameServerInfoReq>(MSG_CLIENT_SERVER_INFO_REQ);
    std::vector<tagServerInfo> list;
    for (;;) {
        const auto part = Await(MSG_CLIENT_SERVER_INFO_RES).As<tagGameServer>();
        const size_t count = std::min<size_t>(part.usListCount, std::size(part.serverInfo));
        list.insert(list.end(), part.serverInfo, part.serverInfo + count);
        if (part.usIsFinish) return list;
    }
}

LobbyClientCompeteRes Player::Tournament() {
    return Ask<LobbyClientCompeteRes, ClientLobbyCompeteReq>(MSG_CLIENT_COMPETE_REQ,
                                                             MSG_CLIENT_COMPETE_RES);
}

void Player::KeepAlive() {
    m_connection.Send(MSG_KEEP_ALIVE);
    Await(MSG_KEEP_ALIVE);
}

void Player::Subscribe(const std::string& key) {
    Tell<ClientSubscribeMsg>(CLIENT_SUBSCRIBE_MSG_C2S, &ClientSubscribeMsg::szKey, key);
}

void Player::Unsubscribe(const std::string& key) {
    Tell<ClientUnsubscribeMsg>(CLIENT_UNSUBSCRIBE_MSG_C2S, &ClientUnsubscribeMsg::szKey, key);
}

void Player::Activity(int32_t activity, int32_t level, int32_t progress) {
    Tell<UserProgressReq>(CLIENT_USER_PROGRESS_REQ, &UserProgressReq::iActivityId, activity,
                          &UserProgressReq::iLevel, level, &UserProgressReq::iProgress, progress);
}

}  // namespace client
