#include "LogText.h"

// Each of these would not compile as a text of a table, or would.
static_assert(LogText<int, const char*>::Fits("user[%d] name[%-8s] 100%%"));
static_assert(LogText<int, int>::Fits("fewer conversions: %08x"));
static_assert(LogText<long, unsigned long, short, char>::Fits("%ld %llu %hd %c"));
static_assert(!LogText<int>::Fits("%s"));
static_assert(!LogText<const char*>::Fits("%d"));
static_assert(!LogText<int>::Fits("%ld"));
static_assert(!LogText<long>::Fits("%d"));
static_assert(!LogText<int>::Fits("one too many: %d %d"));
static_assert(!LogText<int>::Fits("%n"));
static_assert(!LogText<int>::Fits("%"));
static_assert(!LogText<>::Fits("%d"));
