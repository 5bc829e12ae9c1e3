#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "Tools.h"

namespace {

// Local time of a zone for the length of a test.
class Zone {
  public:
    explicit Zone(const char* name) {
        setenv("TZ", name, 1);
        tzset();
    }
    ~Zone() {
        unsetenv("TZ");
        tzset();
    }
};

long At(int year, int month, int day, int hour, int minute, int second) {
    tm t{};
    t.tm_year = year - 1900;
    t.tm_mon = month - 1;
    t.tm_mday = day;
    t.tm_hour = hour;
    t.tm_min = minute;
    t.tm_sec = second;
    t.tm_isdst = -1;
    return mktime(&t);
}

}  // namespace

TEST(Calendar, CountsDaysLikeTheProlepticCalendar) {
    EXPECT_EQ(GetAbsDays({1, 1, 1}), 0);
    EXPECT_EQ(GetAbsDays({1, 3, 1}), 59);
    EXPECT_EQ(GetAbsDays({4, 3, 1}), 1155);
    using namespace std::chrono;
    const sys_days origin = year(1) / 1 / 1;
    for (sys_days day = origin; day < sys_days(year(801) / 1 / 1); day += days(1)) {
        const year_month_day date(day);
        const MyDate own{int(date.year()), int(unsigned(date.month())), int(unsigned(date.day()))};
        ASSERT_EQ(GetAbsDays(own), (day - origin).count());
    }
}

TEST(Calendar, HostileDatesStayInside) {
    for (const int value : {INT32_MIN, -1, 0, 13, INT32_MAX})
        GetAbsDays({value, value, value});
}

TEST(Calendar, DaysBetweenLocalDates) {
    const Zone zone("Europe/Berlin");
    struct Case {
        long later, earlier;
        int days;
    };
    const Case cases[] = {
        {At(2023, 5, 2, 0, 0, 0), At(2023, 5, 1, 23, 59, 59), 1},
        {At(2023, 5, 1, 23, 59, 59), At(2023, 5, 1, 0, 0, 0), 0},
        {At(2023, 3, 1, 0, 0, 0), At(2023, 2, 28, 23, 59, 59), 1},
        {At(2024, 3, 1, 0, 0, 0), At(2024, 2, 28, 23, 59, 59), 2},
        {At(2024, 1, 1, 0, 0, 0), At(2023, 12, 31, 23, 59, 59), 1},
        {At(2023, 3, 27, 0, 0, 0), At(2023, 3, 26, 0, 0, 0), 1},    // a day of 23 hours
        {At(2023, 10, 30, 0, 0, 0), At(2023, 10, 29, 0, 0, 0), 1},  // a day of 25 hours
        {At(2023, 10, 29, 23, 59, 59), At(2023, 10, 29, 0, 0, 0), 0},
        {At(2024, 5, 1, 12, 0, 0), At(2023, 5, 1, 12, 0, 0), 366},
        // 2000 is held as 100, which counts as a common year.
        {At(2000, 3, 1, 12, 0, 0), At(2000, 2, 28, 12, 0, 0), 1},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(Tools::intervalDays(c.later, c.earlier), c.days) << c.later;
        EXPECT_EQ(Tools::intervalDays(c.earlier, c.later), -c.days) << c.later;
    }
}

TEST(Calendar, NewDayLooksAtTheDayOfTheYearOnly) {
    const Zone zone("America/New_York");
    EXPECT_EQ(Tools::secondIsNewDay(At(2023, 5, 1, 23, 59, 59), At(2023, 5, 2, 0, 0, 0)), -1);
    EXPECT_EQ(Tools::secondIsNewDay(At(2023, 5, 1, 0, 0, 0), At(2023, 5, 1, 23, 59, 59)), 0);
    EXPECT_EQ(Tools::secondIsNewDay(At(2022, 5, 1, 9, 0, 0), At(2023, 5, 1, 9, 0, 0)), 0);
    EXPECT_EQ(Tools::secondIsNewDay(At(2024, 3, 1, 9, 0, 0), At(2023, 3, 1, 9, 0, 0)), -1);
    EXPECT_EQ(Tools::secondIsNewDay(At(2023, 3, 12, 0, 0, 0), At(2023, 3, 12, 23, 59, 59)), 0);
}

TEST(Calendar, AnalyzeSiteIdAppendsEveryPiece) {
    char text[] = ",1;22,,x;-7";
    char separators[] = ",;";
    std::vector<int32_t> values{9};
    Tools::analyzeSiteID(text, separators, values);
    EXPECT_EQ(values, (std::vector<int32_t>{9, 1, 22, 0, -7}));
}
