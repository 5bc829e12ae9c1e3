// The simulated log server: keeps the records lobbies send.
#pragma once

#include "BackEnd.h"
#include "PublisherMsg.h"
#include "log_server_msg.h"

namespace sim {

class LogServer : public BackEnd {
  public:
    explicit LogServer(Platform& platform) : BackEnd(platform, ServerKind::Log) {
        On(MSG_LOG_USER_EXCHANGE_COIN, &LogServer::Keep);
        On(MSG_LOG_FARM_TRANSFER, &LogServer::Keep);
    }

    // As texts, oldest first; only the last ones of a long run.
    const std::deque<std::string>& Records() const { return m_records; }

  private:
    void Keep(Link&, const Message& message) {
        m_records.push_back(catalog::Describe(catalog::Direction::LobbyToLog, message.bytes));
        if (m_records.size() > 100000) m_records.pop_front();
    }

    std::deque<std::string> m_records;
};

}  // namespace sim
