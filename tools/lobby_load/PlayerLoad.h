// Players: they log in, then mix the operations of the protocol.
#pragma once

#include <deque>
#include <random>

#include "Load.h"
#include "Operations.h"

// In mode "logins" the run ends when all have logged in. Otherwise each player has one operation
// under way at a time: closed loop with think time, or open loop at a fixed rate over all, where
// an operation that finds no idle player waits and its latency counts from its due time.
// A player who is not answered in time, or loses the connection, logs in again. Thread: as Load.
class PlayerLoad : public Load {
  public:
    // Throws std::invalid_argument on a bad mix.
    explicit PlayerLoad(const Settings& settings);

  protected:
    void OnAllTried() override;
    void OnMeasureEnd(Result& result) override;
    void OnInterrupted(Result& result) override { AddLoginFigures(result); }
    void OnOwnTimer(uint64_t token, Nanos due) override;
    // A message that answers nothing the player asked.
    virtual void OnPush(Link&, uint16_t /*type*/, std::string_view /*message*/) { ++m_pushes; }
    void AddLoginFigures(Result& result);

  private:
    enum class State : uint8_t { Offline, LoggingIn, Idle, Waiting };
    struct Player {
        PlayerFacts facts;
        State state = State::Offline;
        uint8_t operation = 0;
        bool filler = false;  // nothing of the mix was allowed yet
        Nanos intended = 0;
        Nanos deadline = 0;
        std::vector<Nanos> notBefore;  // by operation
    };
    // Below it, a token is a player's index: time to act.
    static constexpr uint64_t kRate = kOwnTokens - 1;

    // Logging in (PlayerLoad.cpp).
    void OnOpen(Link& link) override;
    void OnLost(Link& link, const char* why) override;
    void OnMessage(Link& link, uint16_t type, std::string_view message) override;
    void OnLoginAnswer(Link& link, Player& player, std::string_view message);
    void OnSecond() override;
    void LogInAgain(Link& link, const std::string& why);

    // Operations (PlayerRun.cpp).
    void BecomeIdle(size_t index);
    void ServeBacklog();
    void Start(size_t index, Nanos intended);
    // False when nothing of the mix is allowed yet.
    bool Choose(const Player& player, Nanos now, size_t& operation);
    void OnAnswer(Link& link, Player& player, std::string_view message);
    Nanos ThinkTime();

    Nanos Deadline() const;

    std::vector<Player> m_players;
    const std::vector<uint32_t> m_weights;
    std::mt19937 m_random;
    std::discrete_distribution<size_t> m_draw;

    Nanos m_begun = 0;
    Nanos m_lastLogin = 0;
    Histogram m_logins;  // from the connect notice to its answer
    bool m_running = false;
    uint64_t m_pushes = 0;
    uint64_t m_fillers = 0;

    // Open loop.
    Nanos m_rateBegin = 0;
    uint64_t m_rateCount = 0;
    std::deque<Nanos> m_backlog;
    std::deque<size_t> m_idle;  // may hold players that are no longer idle
};
