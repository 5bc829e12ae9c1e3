#include "CompeteConfig.h"

#include <cstdio>

#include "Common/IniFile.h"
#include "Common/Log.h"
#include "Common/WorkerThread.h"
#include "ConfigKeys.h"
#include "Period.h"
#include "Tools.h"

namespace {

constexpr long kReadSeconds = 900;
constexpr char kSection[] = "compete_info";

// Reads "a,b,c", prints it under the heading and returns the number of entries.
uint16_t ReadTurns(const CIniFile& file, const char* key, const char* heading,
                   std::vector<int32_t>& turns) {
    char text[KeyOf(kSection, "day_user_num").most + 1] = {};  // a longer value reads as none
    char separators[] = ",";
    file.GetValueStr(kSection, key, text, sizeof(text));
    turns.clear();
    Tools::analyzeSiteID(text, separators, turns);
    std::printf("\n%s", heading);
    for (size_t i = 0; i < turns.size(); ++i)
        std::printf("%s%d", i == 0 ? "" : ", ", turns[i]);
    std::printf("\n");
    return static_cast<uint16_t>(turns.size());
}

int32_t MinutesOfDay(int hour, int minute) {
    // Unsigned: a nonsense hour in the file must not overflow.
    return static_cast<int32_t>(static_cast<uint32_t>(hour) * 60 + static_cast<uint32_t>(minute));
}

}  // namespace

void CompeteConfig::OnTimer(long now) {
    AssertWorker();
    if (PeriodPassed(m_lLastRead, now, kReadSeconds)) ReadConfig();
}

void CompeteConfig::ReadConfig() {
    static constexpr char tag[] = "CompeteConfig::ReadConfig";
    CIniFile file;
    // A missing file is not fatal and leaves its line at every attempt.
    if (file.InitFile("compete_info.cfg") == 0) {
        __log(_ERROR, tag, "compete_info.cfg init failed");
        return;
    }
    const auto number = [&file](const ConfigKey& key) { return ReadInt(file, key); };

    m_iMonthOpenDay = number(KeyOf(kSection, "month_open_day"));
    m_iMonthOpenHour = number(KeyOf(kSection, "month_open_hour"));
    m_iMonthOpenMinute = number(KeyOf(kSection, "month_open_minute"));
    m_iMonthAwardCoin = number(KeyOf(kSection, "month_award_coin"));
    m_usMonthTurnNum = ReadTurns(file, "month_user_num", "month turn users:", m_vMonthTurnsUsers);
    SetCalcMonthMinute(m_iMonthOpenHour, m_iMonthOpenMinute);
    __log(_ALL, tag,
          "month: openday[%d] openhour[%d] openminute[%d] awardcoin[%d] calcminute[%d] "
          "turnnum[%d]",
          m_iMonthOpenDay, m_iMonthOpenHour, m_iMonthOpenMinute, m_iMonthAwardCoin,
          m_iCalcMonthMinute, m_usMonthTurnNum);

    m_iDayOpenHour = number(KeyOf(kSection, "day_open_hour"));
    m_iDayOpenMinute = number(KeyOf(kSection, "day_open_minute"));
    m_iDayAwardCoin = number(KeyOf(kSection, "day_award_coin"));
    m_usDayMaxFreeCount = static_cast<uint16_t>(number(KeyOf(kSection, "day_max_free_count")));
    m_iDayCompeteCostCoin = number(KeyOf(kSection, "day_compete_cost_coin"));
    m_usDayTurnNum = ReadTurns(file, "day_user_num", "day turn users:", m_vDayTurnsUsers);
    SetCalcDayMinute(m_iDayOpenHour, m_iDayOpenMinute);
    __log(_ALL, tag,
          "day: openhour[%d] openminute[%d] awardcoin[%d] calcminute[%d] turnnum[%d] "
          "maxfreecount[%d] day_compete_cost[%d]",
          m_iDayOpenHour, m_iDayOpenMinute, m_iDayAwardCoin, m_iCalcDayMinute, m_usDayTurnNum,
          m_usDayMaxFreeCount, m_iDayCompeteCostCoin);
}

void CompeteConfig::Replace(const CompeteConfig& schedule) {
    const long lastRead = m_lLastRead;
    *this = schedule;
    m_lLastRead = lastRead;
}

void CompeteConfig::SetCalcMonthMinute(int hour, int minute) {
    m_iCalcMonthMinute = MinutesOfDay(hour, minute);
}

void CompeteConfig::SetCalcDayMinute(int hour, int minute) {
    m_iCalcDayMinute = MinutesOfDay(hour, minute);
}
