#include "Tools.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

namespace {

tm LocalTime(long t) {
    const time_t seconds = t;
    tm local{};
    localtime_r(&seconds, &local);
    return local;
}

// The raw year (minus 1900) is kept: day counts recorded earlier were made with it.
MyDate DateOf(long t) {
    const tm local = LocalTime(t);
    return {local.tm_year, local.tm_mon + 1, local.tm_mday};
}

bool IsLeapYear(int64_t year) {
    return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

}  // namespace

int32_t GetAbsDays(MyDate date) {
    static constexpr int kMonthDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    // 64 bits on the way, so that no date overflows.
    const int64_t y = static_cast<int64_t>(date.year) - 1;
    int64_t days = 365 * y + y / 4 - y / 100 + y / 400;
    // A month beyond December counts as December's end.
    for (int month = 1; month < std::min(date.month, 13); ++month) {
        days += kMonthDays[month - 1];
        if (month == 2 && IsLeapYear(date.year)) ++days;
    }
    return static_cast<int32_t>(days + date.day - 1);
}

int32_t GetDiffDays(MyDate a, MyDate b) {
    return GetAbsDays(a) - GetAbsDays(b);
}

int32_t Tools::intervalDays(long t1, long t2) {
    return GetDiffDays(DateOf(t1), DateOf(t2));
}

int32_t Tools::secondIsNewDay(long t1, long t2) {
    const int day1 = LocalTime(t1).tm_yday;
    const int day2 = LocalTime(t2).tm_yday;
    std::printf("day1:%d, day2:%d\n", day1, day2);
    return day1 == day2 ? 0 : -1;
}

void Tools::analyzeSiteID(char* text, char* separators, std::vector<int32_t>& values) {
    if (text == nullptr || separators == nullptr) return;
    char* rest = nullptr;
    for (char* piece = strtok_r(text, separators, &rest); piece != nullptr;
         piece = strtok_r(nullptr, separators, &rest)) {
        values.push_back(static_cast<int32_t>(std::strtol(piece, nullptr, 10)));
    }
}
