#include "Operations.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <sstream>
#include <stdexcept>

#include "BankInfoDef.h"
#include "MsgView.h"
#include "PublisherMsg.h"
#include "center_server_msg.h"
#include "compete_msg.h"
#include "lobby_client_msg.h"

namespace {

// The passwords of the simulator's players.
constexpr char kBankPassword[] = "888888";
constexpr char kPassword[] = "123456";

template <size_t N>
void Fill(char (&field)[N], std::string_view text) {
    std::memcpy(field, text.data(), std::min(N, text.size()));
}

template <class T>
T Zeroed() {
    T message;
    std::memset(&message, 0, sizeof(message));
    return message;
}

template <class T>
T From(const PlayerFacts& player) {
    auto message = Zeroed<T>();
    if constexpr (requires { message.iUserID; }) {
        message.iUserID = player.id;
    } else if constexpr (requires { message.iUserId; }) {
        message.iUserId = player.id;
    }
    return message;
}

template <class T>
void Send(Link& link, uint16_t type, T message) {
    link.Send(type, &message, sizeof(message));
}

// A request of the player, of nothing but his id, or with what FILL adds to it.
template <class T, uint16_t TYPE>
void Ask(Link& link, const PlayerFacts& player) {
    Send(link, TYPE, From<T>(player));
}

template <uint16_t TYPE, auto FILL>
void Ask(Link& link, const PlayerFacts& player) {
    const auto filled = [&]<class T>(void (*fill)(T&, const PlayerFacts&)) {
        auto message = From<T>(player);
        fill(message, player);
        return message;
    };
    Send(link, TYPE, filled(FILL));
}

void KeepAlive(Link& link, const PlayerFacts&) {
    Send(link, MSG_KEEP_ALIVE, Zeroed<MsgHeader>());
}

void BankLogin(UserBankLoginReq& message, const PlayerFacts&) {
    Fill(message.szBankPass, kBankPassword);
}

void Take(GetBankCoinReq& message, const PlayerFacts& player) {
    message.iSiteID = player.site;
    message.llGetNum = 1;
    Fill(message.szBankerPwd, kBankPassword);
}

void Save(SaveCoinReq& message, const PlayerFacts& player) {
    message.iSiteID = player.site;
    message.llSaveCoinNum = 1;
}

// From the password to itself, so that the next one works too.
void BankPassword(ModifyBankPasswdReq& message, const PlayerFacts&) {
    Fill(message.szOldPassWd, kBankPassword);
    Fill(message.szNewPassWd, kBankPassword);
}

void Password(tagModifyPassWordReq& message, const PlayerFacts&) {
    Fill(message.szOldPassWd, kPassword);
    Fill(message.szNewPassWd, kPassword);
}

void Nickname(ModifyNickNameReq& message, const PlayerFacts& player) {
    Fill(message.szNickName, "player" + std::to_string(player.id));
}

void Gender(ModifyGenderReq& message, const PlayerFacts& player) {
    message.iGender = static_cast<int32_t>(player.turn % 2);
}

void Signature(ModifyPersonalSignatureReq& message, const PlayerFacts&) {
    Fill(message.szPersonalSignature, "luck is a matter of patience");
}

void FaceId(ModifyFaceIdReq& message, const PlayerFacts&) {
    message.iFaceId = 1;
}

void Mobile(BindingMobileReq& message, const PlayerFacts& player) {
    Fill(message.szMobileNumber, "138" + std::to_string(10000000 + player.id));
}

void RealName(RealNameAuthenReq& message, const PlayerFacts&) {
    Fill(message.szRealName, "Jo Player");
    Fill(message.szIdentity, "110101199001011234");
}

void Exchange(ExchangeGameCoinReq& message, const PlayerFacts& player) {
    message.iRecvUserID = player.partner;
    message.llExhangeCoin = 1;
}

// Neither is answered; the keep-alive behind it comes back once it has been dealt with.
void Subscribe(Link& link, const PlayerFacts& player) {
    static_assert(sizeof(ClientSubscribeMsg) == sizeof(ClientUnsubscribeMsg));
    auto message = Zeroed<ClientSubscribeMsg>();
    Fill(message.szKey, "farm.harvest");
    Send(link, player.turn % 2 == 0 ? CLIENT_SUBSCRIBE_MSG_C2S : CLIENT_UNSUBSCRIBE_MSG_C2S,
         message);
    KeepAlive(link, player);
}

constexpr Operation kOperations[] = {
    {"keep-alive", MSG_KEEP_ALIVE, 0, 30, AnswerCode::None, KeepAlive},
    {"bank-login", BANK_LOGIN_S2C, 3, 5, AnswerCode::Byte8, Ask<BANK_LOGIN_C2S, BankLogin>},
    {"take", BANK_GET_COIN_S2C, 3, 8, AnswerCode::Int8, Ask<BANK_GET_COIN_C2S, Take>},
    {"save", BANK_SAVE_COIN_S2C, 3, 8, AnswerCode::Int8, Ask<BANK_SAVE_COIN_C2S, Save>},
    {"bank-password", BANK_MODIFY_PASSWD_S2C, 3, 1, AnswerCode::Byte8,
     Ask<BANK_MODIFY_PASSWD_C2S, BankPassword>},
    {"login-password", MODIFY_PASSWORD_S2C, 7, 1, AnswerCode::Byte8,
     Ask<MODIFY_PASSWORD_C2S, Password>},
    {"refresh", REFRESH_COIN_S2C, 2, 10, AnswerCode::Int12,
     Ask<RechargeReFreshCoinReq, REFRESH_COIN_C2S>},
    {"server-list", MSG_CLIENT_SERVER_INFO_RES, 4, 10, AnswerCode::None,
     Ask<GameServerInfoReq, MSG_CLIENT_SERVER_INFO_REQ>},
    {"nickname", MODIFY_NICKNAME_S2C, 0, 2, AnswerCode::Int8, Ask<MODIFY_NICKNAME_C2S, Nickname>},
    {"gender", MODIFY_GENDER_S2C, 0, 2, AnswerCode::Int8, Ask<MODIFY_GENDER_C2S, Gender>},
    {"signature", MODIFY_SIGNATURE_S2C, 0, 2, AnswerCode::Int8,
     Ask<MODIFY_SIGNATURE_C2S, Signature>},
    {"face", MODIFY_FACE_ID_S2C, 0, 3, AnswerCode::Int8, Ask<MODIFY_FACE_ID_C2S, FaceId>},
    {"mobile", BINDING_MOBILE_S2C, 0, 1, AnswerCode::Int8, Ask<BINDING_MOBILE_C2S, Mobile>},
    {"real-name", REAL_NAME_S2C, 0, 1, AnswerCode::Int8, Ask<REAL_NAME_C2S, RealName>},
    {"exchange", EXCHANGE_COIN_S2C, 7, 2, AnswerCode::Int8, Ask<EXCHANGE_COIN_C2S, Exchange>},
    {"tournament", MSG_CLIENT_COMPETE_RES, 0, 5, AnswerCode::None,
     Ask<ClientLobbyCompeteReq, MSG_CLIENT_COMPETE_REQ>},
    {"subscribe", MSG_KEEP_ALIVE, 0, 5, AnswerCode::None, Subscribe},
};

}  // namespace

std::span<const Operation> Operations() {
    return kOperations;
}

int32_t CodeOf(const Operation& operation, std::string_view answer) {
    const auto length = static_cast<long>(answer.size());
    switch (operation.code) {
        case AnswerCode::None:
            return 0;
        case AnswerCode::Byte8:
            return ReadItem<uint8_t>(answer.data(), length, 8, 0);
        case AnswerCode::Int8:
            return ReadItem<int32_t>(answer.data(), length, 8, 0);
        case AnswerCode::Int12:
            return ReadItem<int32_t>(answer.data(), length, 12, 0);
    }
    return 0;
}

bool IsComplete(const Operation& operation, std::string_view answer) {
    if (operation.answer != MSG_CLIENT_SERVER_INFO_RES) return true;
    return ReadItem<uint16_t>(answer.data(), static_cast<long>(answer.size()), 8, 0) != 0;
}

std::vector<uint32_t> ParseMix(const std::string& text) {
    std::vector<uint32_t> weights;
    for (const Operation& operation : kOperations)
        weights.push_back(text.empty() ? operation.weight : 0);
    std::istringstream list(text);
    for (std::string item; std::getline(list, item, ',');) {
        const size_t equals = std::min(item.find('='), item.size());
        const auto row = std::find_if(
            std::begin(kOperations), std::end(kOperations),
            [&](const Operation& operation) { return item.substr(0, equals) == operation.name; });
        if (row == std::end(kOperations)) throw std::invalid_argument("no operation " + item);
        uint32_t weight = 1;
        if (equals < item.size()) {
            const char* end = item.data() + item.size();
            const auto parsed = std::from_chars(item.data() + equals + 1, end, weight);
            if (parsed.ec != std::errc() || parsed.ptr != end) {
                throw std::invalid_argument("no weight in " + item);
            }
        }
        weights[static_cast<size_t>(row - std::begin(kOperations))] = weight;
    }
    if (std::count(weights.begin(), weights.end(), 0u) == std::ssize(weights)) {
        throw std::invalid_argument("an empty mix");
    }
    return weights;
}

void SendLogin(Link& link, const PlayerFacts& player, const std::string& token) {
    auto message = From<tagLobbyClientConnectNotice>(player);
    message.iLobbySiteID = player.site;
    Fill(message.szToken, token);
    Fill(message.szChannelID, "load");
    Send(link, CLIENT_CONNECT_NOTICE_C2S, message);
}
