#include <cstdlib>
#include <ctime>
#include <limits>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "headline_list/local_day_cache.h"

namespace {

// Switches the process time zone for one test and puts the old one back.
class ScopedTimeZone {
public:
    explicit ScopedTimeZone(const char* zone) {
        if (const char* old = std::getenv("TZ")) {
            m_old = old;
        }
        setenv("TZ", zone, 1);
        tzset();
    }
    ~ScopedTimeZone() {
        setenv("TZ", m_old.c_str(), 1);
        tzset();
    }
    ScopedTimeZone(const ScopedTimeZone&) = delete;
    ScopedTimeZone& operator=(const ScopedTimeZone&) = delete;

private:
    std::string m_old = "Asia/Taipei";
};

} // namespace

// Cached dates must equal localtime's for every second, including days cut by daylight-saving
// changes: at 02:00 (New York), at midnight so that a date starts at 01:00 (Havana), by half
// an hour (Lord Howe), and across a whole skipped date (Apia, 2011-12-30).
TEST(LocalDayCache, MatchesLocaltimeAcrossOffsetChanges) {
    struct Window {
        const char* zone;
        std::int64_t from; // UTC seconds
    };
    const Window windows[] = {{"America/New_York", 1710000000},    {"America/New_York", 1730600000},
                              {"America/Havana", 1710000000},      {"America/Havana", 1730500000},
                              {"Australia/Lord_Howe", 1712400000}, {"Pacific/Apia", 1325030000},
                              {"Asia/Taipei", 1710000000}};
    for (const Window& w : windows) {
        ScopedTimeZone zone(w.zone);
        LocalDayCache cache;
        std::mt19937 rng(7);
        // Random order so that spans are found out of order; then a dense sweep.
        for (int i = 0; i < 3000; ++i) {
            const std::int64_t t = w.from + static_cast<std::int64_t>(rng() % (6 * 86400));
            ASSERT_EQ(cache.dayKey(t), localDayKeyUncached(t)) << w.zone << " at " << t;
        }
        for (std::int64_t t = w.from; t < w.from + 6 * 86400; t += 61) {
            ASSERT_EQ(cache.dayKey(t), localDayKeyUncached(t)) << w.zone << " at " << t;
        }
        EXPECT_LE(cache.cachedSpans(), 14u) << w.zone << ": about one span per date";
    }
    LocalDayCache cache;
    EXPECT_EQ(cache.dayKey(-1), 19700101) << "07:59:59 on 1970-01-01 in Taipei";
    EXPECT_EQ(cache.dayKey(std::numeric_limits<std::int64_t>::max()), LocalDayCache::kNoDay);
    EXPECT_EQ(cache.dayKey(std::numeric_limits<std::int64_t>::min()), LocalDayCache::kNoDay);
}

// A list's cache keeps the days it filed entries under when the zone changes; the view's clock
// follows the new zone.
TEST(LocalDayCache, KeepsOrFollowsAZoneChange) {
    constexpr std::int64_t kTaipeiOne = 1704128400; // 2024-01-02 01:00 Taipei, 2024-01-01 12:00 New York
    LocalDayCache keep;
    LocalDayCache follow(LocalDayCache::ZoneChanges::Follow);
    {
        const ScopedTimeZone zone("Asia/Taipei");
        ASSERT_EQ(keep.dayKey(kTaipeiOne), 20240102);
        ASSERT_EQ(follow.dayKey(kTaipeiOne), 20240102);
    }
    const ScopedTimeZone zone("America/New_York");
    EXPECT_EQ(keep.dayKey(kTaipeiOne + 60), 20240102);
    EXPECT_EQ(follow.dayKey(kTaipeiOne + 60), 20240101);
    LocalClock clock;
    ASSERT_TRUE(follow.clock(kTaipeiOne + 61, clock));
    EXPECT_EQ(clock.day, 1);
    EXPECT_EQ(clock.hour, 12);
    EXPECT_EQ(clock.minute, 1);
    EXPECT_EQ(clock.second, 1);
}
