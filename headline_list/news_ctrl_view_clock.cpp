#include "headline_list/news_ctrl_view_clock.h"

namespace news {

namespace {

LocalDayCache& viewClock() {
    thread_local LocalDayCache cache(LocalDayCache::ZoneChanges::Follow);
    return cache;
}

} // namespace

bool localClock(std::int64_t seconds, LocalClock& out) {
    return viewClock().clock(seconds, out);
}

bool localMidnightOf(int year, int month, int day, std::int64_t& seconds) {
    return viewClock().midnightOf(year, month, day, seconds);
}

} // namespace news
