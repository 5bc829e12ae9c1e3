// The simulated queue server: accounts, bank, profile, coins.
#pragma once

#include "BackEnd.h"
#include "BankInfoDef_Trans.h"
#include "compete_msg.h"
#include "queue_server_msg.h"

namespace sim {

// Codes of this queue server. 0 is success; 151 for a wrong bank password lets the lobby accept
// the next bank login at once.
enum Code : int32_t {
    OK = 0,
    UNKNOWN_USER = 1,
    WRONG_TOKEN = 2,
    WRONG_PASSWORD = 3,
    NICKNAME_TAKEN = 5,
    BAD_TEXT = 6,
    BANK_WRONG_PASSWORD = 151,
    BANK_NOT_ENOUGH = 152,
    BANK_BAD_AMOUNT = 153,
    EXCHANGE_NOT_ENOUGH = 20,
    EXCHANGE_NO_RECEIVER = 21,
};

// Keeps real books: a take moves coins from the bank into the hand, an exchange from one player
// to another, and nothing else changes their sum but recharges and rewards.
class QueueServer : public BackEnd {
  public:
    explicit QueueServer(Platform& platform);

  private:
    template <class Req, class Res>
    void Serve(uint16_t type, uint16_t answer, auto fill);
    template <class Req, class Res>
    void Profile(uint16_t type, uint16_t answer, auto change);
    void ServeBank();
    void ServeProfile();
    void ServeFigures();  // coins and tournament
    void OnExchange(Link& link, const QueueExchangeCoinReq& req);
    void OnReward(Link& link, const tagDBUpdateUserPropInfo& req);
};

}  // namespace sim
