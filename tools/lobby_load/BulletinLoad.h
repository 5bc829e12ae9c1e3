// Bulletins to all players of a lobby: how long from the first who has them to the last.
#pragma once

#include "PlayerLoad.h"

// The players log in and stay; five bulletins a round go into the simulator's control port. The
// lobby broadcasts at its own pace, all five in one message at its tick; the first arrival stands
// for the tick. Slow readers are not waited
// for. A player who is lost, or gets less than the whole, is an error. Thread: as Load.
class BulletinLoad : public PlayerLoad {
  public:
    explicit BulletinLoad(const Settings& settings);

  private:
    static constexpr uint64_t kRound = kOwnTokens - 2, kStay = kOwnTokens - 3,
                              kSlow = kOwnTokens - 4;

    void OnAllTried() override;
    void OnMeasureBegin() override { After(Loop::Now(), kRound); }
    void OnOwnTimer(uint64_t token, Nanos due) override;
    void OnPush(Link& link, uint16_t type, std::string_view message) override;
    void OnMeasureEnd(Result& result) override;
    bool IsSlow(size_t player) const;
    // Keep-alives, from now on.
    void Stay();

    std::vector<uint32_t> m_got;  // rounds by player
    uint32_t m_round = 0;         // under way, from 1
    size_t m_awaited = 0;
    Nanos m_first = 0;
};
