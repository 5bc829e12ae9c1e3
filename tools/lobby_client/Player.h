// A player who plays by the protocol: requests and their answers over one connection.
#pragma once

#include <functional>

#include "BankInfoDef.h"
#include "Connection.h"
#include "PublisherMsg.h"
#include "activitySystem/ActivityClientMsg.h"
#include "center_server_msg.h"
#include "compete_msg.h"
#include "lobby_client_msg.h"
#include "web_server_msg.h"

namespace client {

// Every request waits for its own answer; whatever else arrives meanwhile goes to the push
// function, or is kept until asked for. Requests throw ConnectionLost or TimedOut. One thread.
class Player {
  public:
    using Push = std::function<void(const Message&)>;

    // Connects. Waits at most `patience` here and for every answer later.
    Player(const std::string& host, uint16_t port, int32_t userId,
           std::chrono::milliseconds patience = std::chrono::seconds(10),
           Transport transport = Transport::Tcp);

    void OnPush(Push push) { m_push = std::move(push); }
    int32_t UserId() const { return m_userId; }
    Connection& Line() { return m_connection; }

    LobbyAuthenRes Login(const std::string& token = "token", int32_t site = 1);
    LoginBankResult BankLogin(const std::string& password);
    GetCoinResult Take(int64_t amount, const std::string& password);
    SaveCoinRes Save(int64_t amount);
    ModifyBankPasswdRes BankPassword(const std::string& from, const std::string& to);
    tagModifyPassWordRes Password(const std::string& from, const std::string& to);
    ModifyNickNameRes Nickname(const std::string& nickname);
    ModifyGenderRes Gender(int32_t gender);
    ModifyPersonalSignatureRes Signature(const std::string& signature);
    ModifyFaceIdRes FaceId(int32_t id);
    BindingMobileRes Mobile(const std::string& number);
    RealNameAuthenRes RealName(const std::string& name, const std::string& identity);
    RechargeReFreshCoinRes Refresh();
    ExchangeGameCoinRes Exchange(int32_t receiver, int64_t amount);
    // All messages of the list, until the one that finishes it.
    std::vector<tagServerInfo> ServerList();
    LobbyClientCompeteRes Tournament();
    // Echoed by the lobby; afterwards everything sent before has been dealt with.
    void KeepAlive();
    // Not answered.
    void Subscribe(const std::string& key);
    void Unsubscribe(const std::string& key);
    void Activity(int32_t activity, int32_t level, int32_t progress);

    // Sends without waiting, and waits for an answer: the two halves of a request.
    void SendLogin(const std::string& token = "token", int32_t site = 1);
    void SendTake(int64_t amount, const std::string& password);
    Message Await(uint16_t type);
    // The next push of that type, kept or new.
    Message AwaitPush(uint16_t type) { return Await(type); }
    // Hands every message that comes until the deadline to the push function.
    void Watch(Clock::time_point deadline);
    // Hands what has come already to the push function, without waiting.
    void Drain();
    // Without waiting for its echo.
    void SendKeepAlive() { m_connection.Send(MSG_KEEP_ALIVE); }

  private:
    // A request with the player's id and these fields: a member and its value, by turns.
    template <class Req>
    Req Request(const auto&... fields) const {
        Req req{};
        if constexpr (
            requires { req.iUserID; } || requires { req.iUserId; }) {
            wire::UserOf(req) = m_userId;
        }
        Fill(req, fields...);
        return req;
    }
    template <class Req>
    void Tell(uint16_t type, const auto&... fields) {
        m_connection.Send(type, Request<Req>(fields...));
    }
    template <class Res, class Req>
    Res Ask(uint16_t type, uint16_t answer, const auto&... fields) {
        Tell<Req>(type, fields...);
        return Await(answer).template As<Res>();
    }
    static void Fill(const auto& /*req*/) {}
    template <class Req, class Field, class... More>
    static void Fill(Req& req, Field Req::*field, const auto& value, const More&... more) {
        // A field of 64 bits lies at any multiple of 4, where no reference may point.
        static_assert(alignof(Field) <= 4);
        if constexpr (std::is_array_v<Field>) {
            wire::SetText(req.*field, value);
        } else {
            req.*field = value;
        }
        Fill(req, more...);
    }

    int32_t m_userId;
    std::chrono::milliseconds m_patience;
    Connection m_connection;
    Push m_push;
    std::deque<Message> m_kept;  // pushes nobody has asked for yet
};

}  // namespace client
