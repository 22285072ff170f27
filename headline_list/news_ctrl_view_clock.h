#pragma once

#include <cstdint>

// Local time for the headline grids and the date checks of the news view. Every pushed
// headline and every written row needs the local date and time of day of a moment; a plain
// localtime call costs microseconds (the C library re-reads the zone rules each time), so
// answers come from a small per-thread cache of whole local days: a moment on a day already
// asked about costs a comparison. Days whose UTC offset changes (daylight saving) are never
// cached and always go to localtime. The cache drops everything when the C library loads
// another zone (a changed TZ, once tzset or localtime has taken it).
namespace news {

// Local calendar date and time of day of a moment, as localtime gives them.
struct LocalClock {
    int year = 0;
    int month = 0; // 1..12
    int day = 0;   // 1..31
    int hour = 0;
    int minute = 0;
    int second = 0;
};

// The local date and time of seconds since 1970; false when they cannot be broken down.
bool localClock(std::int64_t seconds, LocalClock& out);

// Local midnight of a date in seconds since 1970, as text::localMidnight computes it; false
// for an invalid date.
bool localMidnightOf(int year, int month, int day, std::int64_t& seconds);

} // namespace news
