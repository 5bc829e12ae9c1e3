// Calendar helpers of the activities. All use local time. Thread: any.
#pragma once

#include <cstdint>
#include <vector>

struct MyDate {
    int32_t year;   // the year minus 1900 where filled from a time: past day counts rely on it
    int32_t month;  // 1..12
    int32_t day;    // 1..31
};

// Days since 1 January of year 1, proleptic calendar. The leap rule looks at year as it stands, so
// that 2000, held as 100, counts as a common year.
int32_t GetAbsDays(MyDate date);

// GetAbsDays(a) - GetAbsDays(b).
int32_t GetDiffDays(MyDate a, MyDate b);

// Times are seconds since the epoch.
class Tools {
  public:
    // Days from the date of t2 to the date of t1; positive when t1 is the later day.
    static int32_t intervalDays(long t1, long t2);
    // 0 when both fall on the same day of the year, else -1. The year is deliberately not looked
    // at: the same date of two years counts as one day.
    static int32_t secondIsNewDay(long t1, long t2);
    // Appends the decimal value of each piece of text between any of the separator characters;
    // pieces that are no number give 0, empty ones are skipped. text must be a writable,
    // terminated buffer: every separator that ends a piece is overwritten with a terminator, so
    // that afterwards it holds the first piece only. Nothing happens when either is null.
    static void analyzeSiteID(char* text, char* separators, std::vector<int32_t>& values);
};
