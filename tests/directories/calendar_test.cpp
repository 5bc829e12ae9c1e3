#include "BaseTest.h"

#include "Tools.h"

namespace {

// Local time of Berlin.
class Calendar : public ::testing::Test {
  protected:
    static void SetUpTestSuite() {
        setenv("TZ", "Europe/Berlin", 1);
        tzset();
    }
    static long At(const char* text) {
        tm t{};
        strptime(text, "%F %T", &t);
        t.tm_isdst = -1;
        return mktime(&t);
    }
};

}  // namespace

TEST_F(Calendar, CountsDaysLikeTheProlepticCalendar) {
    using namespace std::chrono;
    const sys_days origin = year(1) / 1 / 1;
    for (sys_days day = origin; day < sys_days(year(801) / 1 / 1); day += days(1)) {
        const year_month_day date(day);
        const MyDate own{int(date.year()), int(unsigned(date.month())), int(unsigned(date.day()))};
        ASSERT_EQ(GetAbsDays(own), (day - origin).count());
    }
    for (const int value : {INT32_MIN, -1, 0, 13, INT32_MAX})
        GetAbsDays({value, value, value});  // stays inside
}

TEST_F(Calendar, DaysBetweenLocalDatesAndNewDays) {
    // A new day looks at the day of the year only.
    const std::tuple<const char*, const char*, int, bool> cases[] = {
        {"2023-05-01 23:59:59", "2023-05-02 00:00:00", 1, true},
        {"2024-02-28 23:59:59", "2024-03-01 00:00:00", 2, true},
        {"2023-12-31 23:59:59", "2024-01-01 00:00:00", 1, true},
        {"2023-03-26 00:00:00", "2023-03-26 23:59:59", 0, false},  // a day of 23 hours
        {"2023-03-26 00:00:00", "2023-03-27 00:00:00", 1, true},
        {"2023-10-29 00:00:00", "2023-10-29 23:59:59", 0, false},  // a day of 25 hours
        {"2023-10-29 00:00:00", "2023-10-30 00:00:00", 1, true},
        {"2022-05-01 09:00:00", "2023-05-01 09:00:00", 365, false},
        {"2023-05-01 12:00:00", "2024-05-01 12:00:00", 366, true},
        // 2000 is held as 100, which counts as a common year.
        {"2000-02-28 12:00:00", "2000-03-01 12:00:00", 1, true},
    };
    for (const auto& [first, second, days, newDay] : cases) {
        const long earlier = At(first), later = At(second);
        EXPECT_EQ(Tools::intervalDays(later, earlier), days) << second;
        EXPECT_EQ(Tools::intervalDays(earlier, later), -days) << second;
        EXPECT_EQ(Tools::secondIsNewDay(earlier, later), newDay ? -1 : 0) << second;
    }
}
