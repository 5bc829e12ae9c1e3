// The schedule of the daily and the monthly tournament.
#pragma once

#include <cstdint>
#include <vector>

// Read from compete_info.cfg in the working directory at the first tick and every 15 minutes, so
// that edits need no restart. Held by value by LobbyServer. All zero and empty before the first
// read; a file that cannot be read keeps what was read before.
// Thread: message worker.
class CompeteConfig {
  public:
    // Every lobby tick; now in epoch seconds.
    void OnTimer(long now);
    void ReadConfig();
    // Takes over a schedule that was read elsewhere, and goes on with its own rhythm.
    void Replace(const CompeteConfig& schedule);

    // Opening time in minutes after midnight.
    void SetCalcMonthMinute(int hour, int minute);
    void SetCalcDayMinute(int hour, int minute);
    int32_t GetCalcMonthMinute() const { return m_iCalcMonthMinute; }
    int32_t GetCalcDayMinute() const { return m_iCalcDayMinute; }

    // The monthly tournament; it takes the place of the daily one on m_iMonthOpenDay.
    int32_t m_iMonthOpenDay = 0;
    int32_t m_iMonthOpenHour = 0;
    int32_t m_iMonthOpenMinute = 0;
    int32_t m_iMonthAwardCoin = 0;
    uint16_t m_usMonthTurnNum = 0;
    std::vector<int32_t> m_vMonthTurnsUsers;  // players kept, one per round

    // The daily tournament.
    int32_t m_iDayOpenHour = 0;
    int32_t m_iDayOpenMinute = 0;
    int32_t m_iDayAwardCoin = 0;
    uint16_t m_usDayMaxFreeCount = 0;  // free entries per player and day
    uint16_t m_usDayTurnNum = 0;
    int32_t m_iDayCompeteCostCoin = 0;
    std::vector<int32_t> m_vDayTurnsUsers;

    int32_t m_iCalcMonthMinute = 0;
    int32_t m_iCalcDayMinute = 0;

  private:
    long m_lLastRead = 0;  // epoch seconds
};
