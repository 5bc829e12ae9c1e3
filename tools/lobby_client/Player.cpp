#include "Player.h"

#include <algorithm>

namespace client {

using wire::SetText;

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
    tagLobbyClientConnectNotice notice{};
    notice.iUserID = m_userId;
    notice.iLobbySiteID = site;
    SetText(notice.szToken, token);
    SetText(notice.szChannelID, "lobby_client");
    m_connection.Send(CLIENT_CONNECT_NOTICE_C2S, notice);
}

LobbyAuthenRes Player::Login(const std::string& token, int32_t site) {
    SendLogin(token, site);
    return Await(LOBBY_AUTHEN_RES_S2C).As<LobbyAuthenRes>();
}

LoginBankResult Player::BankLogin(const std::string& password) {
    UserBankLoginReq req{};
    req.iUserID = m_userId;
    SetText(req.szBankPass, password);
    return Ask<LoginBankResult>(BANK_LOGIN_C2S, req, BANK_LOGIN_S2C);
}

void Player::SendTake(int64_t amount, const std::string& password) {
    GetBankCoinReq req{};
    req.iUserID = m_userId;
    req.llGetNum = amount;
    SetText(req.szBankerPwd, password);
    m_connection.Send(BANK_GET_COIN_C2S, req);
}

GetCoinResult Player::Take(int64_t amount, const std::string& password) {
    SendTake(amount, password);
    return Await(BANK_GET_COIN_S2C).As<GetCoinResult>();
}

SaveCoinRes Player::Save(int64_t amount) {
    SaveCoinReq req{};
    req.iUserID = m_userId;
    req.llSaveCoinNum = amount;
    return Ask<SaveCoinRes>(BANK_SAVE_COIN_C2S, req, BANK_SAVE_COIN_S2C);
}

ModifyBankPasswdRes Player::BankPassword(const std::string& from, const std::string& to) {
    ModifyBankPasswdReq req{};
    req.iUserID = m_userId;
    SetText(req.szOldPassWd, from);
    SetText(req.szNewPassWd, to);
    return Ask<ModifyBankPasswdRes>(BANK_MODIFY_PASSWD_C2S, req, BANK_MODIFY_PASSWD_S2C);
}

tagModifyPassWordRes Player::Password(const std::string& from, const std::string& to) {
    tagModifyPassWordReq req{};
    req.iUserID = m_userId;
    SetText(req.szOldPassWd, from);
    SetText(req.szNewPassWd, to);
    return Ask<tagModifyPassWordRes>(MODIFY_PASSWORD_C2S, req, MODIFY_PASSWORD_S2C);
}

ModifyNickNameRes Player::Nickname(const std::string& nickname) {
    ModifyNickNameReq req{};
    req.iUserId = m_userId;
    SetText(req.szNickName, nickname);
    return Ask<ModifyNickNameRes>(MODIFY_NICKNAME_C2S, req, MODIFY_NICKNAME_S2C);
}

ModifyGenderRes Player::Gender(int32_t gender) {
    ModifyGenderReq req{};
    req.iUserId = m_userId;
    req.iGender = gender;
    return Ask<ModifyGenderRes>(MODIFY_GENDER_C2S, req, MODIFY_GENDER_S2C);
}

ModifyPersonalSignatureRes Player::Signature(const std::string& signature) {
    ModifyPersonalSignatureReq req{};
    req.iUserId = m_userId;
    SetText(req.szPersonalSignature, signature);
    return Ask<ModifyPersonalSignatureRes>(MODIFY_SIGNATURE_C2S, req, MODIFY_SIGNATURE_S2C);
}

ModifyFaceIdRes Player::FaceId(int32_t id) {
    ModifyFaceIdReq req{};
    req.iUserId = m_userId;
    req.iFaceId = id;
    return Ask<ModifyFaceIdRes>(MODIFY_FACE_ID_C2S, req, MODIFY_FACE_ID_S2C);
}

BindingMobileRes Player::Mobile(const std::string& number) {
    BindingMobileReq req{};
    req.iUserId = m_userId;
    SetText(req.szMobileNumber, number);
    return Ask<BindingMobileRes>(BINDING_MOBILE_C2S, req, BINDING_MOBILE_S2C);
}

RealNameAuthenRes Player::RealName(const std::string& name, const std::string& identity) {
    RealNameAuthenReq req{};
    req.iUserId = m_userId;
    SetText(req.szRealName, name);
    SetText(req.szIdentity, identity);
    return Ask<RealNameAuthenRes>(REAL_NAME_C2S, req, REAL_NAME_S2C);
}

RechargeReFreshCoinRes Player::Refresh() {
    RechargeReFreshCoinReq req{};
    req.iUserId = m_userId;
    return Ask<RechargeReFreshCoinRes>(REFRESH_COIN_C2S, req, REFRESH_COIN_S2C);
}

ExchangeGameCoinRes Player::Exchange(int32_t receiver, int64_t amount) {
    ExchangeGameCoinReq req{};
    req.iRecvUserID = receiver;
    req.llExhangeCoin = amount;
    return Ask<ExchangeGameCoinRes>(EXCHANGE_COIN_C2S, req, EXCHANGE_COIN_S2C);
}

std::vector<tagServerInfo> Player::ServerList() {
    GameServerInfoReq req{};
    req.iUserID = m_userId;
    m_connection.Send(MSG_CLIENT_SERVER_INFO_REQ, req);
    std::vector<tagServerInfo> list;
    for (;;) {
        const auto part = Await(MSG_CLIENT_SERVER_INFO_RES).As<tagGameServer>();
        const size_t count = std::min<size_t>(part.usListCount, std::size(part.serverInfo));
        list.insert(list.end(), part.serverInfo, part.serverInfo + count);
        if (part.usIsFinish) return list;
    }
}

LobbyClientCompeteRes Player::Tournament() {
    ClientLobbyCompeteReq req{};
    req.iUserID = m_userId;
    return Ask<LobbyClientCompeteRes>(MSG_CLIENT_COMPETE_REQ, req, MSG_CLIENT_COMPETE_RES);
}

void Player::KeepAlive() {
    m_connection.Send(MSG_KEEP_ALIVE);
    Await(MSG_KEEP_ALIVE);
}

void Player::Subscribe(const std::string& key) {
    ClientSubscribeMsg msg{};
    SetText(msg.szKey, key);
    m_connection.Send(CLIENT_SUBSCRIBE_MSG_C2S, msg);
}

void Player::Unsubscribe(const std::string& key) {
    ClientUnsubscribeMsg msg{};
    SetText(msg.szKey, key);
    m_connection.Send(CLIENT_UNSUBSCRIBE_MSG_C2S, msg);
}

void Player::Activity(int32_t activity, int32_t level, int32_t progress) {
    UserProgressReq req{};
    req.iActivityId = activity;
    req.iLevel = level;
    req.iProgress = progress;
    m_connection.Send(CLIENT_USER_PROGRESS_REQ, req);
}

}  // namespace client
