#pragma once

#include <cstdint>

#include "headline_list/local_day_cache.h"

// Local time for the headline grids and the date checks of the news view. Every pushed
// headline and every written row needs the local date and time of day of a moment, so answers
// come from a per-thread LocalDayCache that follows changes of the process time zone.
namespace news {

using LocalClock = ::LocalClock;

// The local date and time of seconds since 1970; false when they cannot be broken down.
bool localClock(std::int64_t seconds, LocalClock& out);

// Local midnight of a date in seconds since 1970, as text::localMidnight computes it; false
// for an invalid date.
bool localMidnightOf(int year, int month, int day, std::int64_t& seconds);

} // namespace news
