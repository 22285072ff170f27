#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <limits>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "headline_list/local_day_cache.h"
#include "headline_list/news_ctrl_view_clock.h"
#include "host/text/format.h"

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

::testing::AssertionResult sameAsLocaltime(std::int64_t seconds) {
    std::tm tm{};
    news::LocalClock clock;
    const bool expected = text::localTime(seconds, tm);
    const bool got = news::localClock(seconds, clock);
    if (expected != got) {
        return ::testing::AssertionFailure() << "success differs at " << seconds;
    }
    if (got && (clock.year != tm.tm_year + 1900 || clock.month != tm.tm_mon + 1 || clock.day != tm.tm_mday ||
                clock.hour != tm.tm_hour || clock.minute != tm.tm_min || clock.second != tm.tm_sec)) {
        return ::testing::AssertionFailure()
               << "at " << seconds << ": " << clock.year << "-" << clock.month << "-" << clock.day << " " << clock.hour
               << ":" << clock.minute << ":" << clock.second << " against localtime "
               << text::formatLocalTime("%Y-%m-%d %H:%M:%S", seconds);
    }
    return ::testing::AssertionSuccess();
}

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

// Every 7 minutes (so that minutes, hours and days all vary) through weeks around offset
// changes: at 02:00 (New York), at midnight so that a date starts at 01:00 (Havana), by half
// an hour (Lord Howe), across a skipped date (Apia), and in a zone without changes.
TEST(LocalClock, MatchesLocaltimeAroundOffsetChanges) {
    struct Window {
        const char* zone;
        std::int64_t from;
    };
    const Window windows[] = {
        {"America/New_York", 1710000000},    // 2024-03-09, the change on 03-10
        {"America/New_York", 1730500000},    // 2024-11-01, the change on 11-03
        {"America/Havana", 1710000000},      // 2024-03-09, midnight change on 03-10
        {"Australia/Lord_Howe", 1712000000}, // 2024-04-01, half-hour change on 04-07
        {"Pacific/Apia", 1325000000},        // 2011-12-27, 12-30 skipped
        {"Asia/Taipei", 1704124800},
    };
    for (const Window& window : windows) {
        SCOPED_TRACE(window.zone);
        const ScopedTimeZone zone(window.zone);
        for (std::int64_t t = window.from; t < window.from + 14 * 86400; t += 7 * 60 + 1) {
            ASSERT_TRUE(sameAsLocaltime(t));
        }
        // Midnights come from cached days where the day is cached, from mktime otherwise.
        for (std::int64_t t = window.from; t < window.from + 14 * 86400; t += 86400) {
            news::LocalClock clock;
            ASSERT_TRUE(news::localClock(t, clock));
            std::int64_t cached = 0;
            std::int64_t direct = 0;
            ASSERT_TRUE(text::localMidnight(clock.year, clock.month, clock.day, direct));
            ASSERT_TRUE(news::localMidnightOf(clock.year, clock.month, clock.day, cached));
            EXPECT_EQ(cached, direct) << clock.year << "-" << clock.month << "-" << clock.day;
        }
    }
}

TEST(LocalClock, FollowsAZoneChangeAndRefusesWhatLocaltimeRefuses) {
    constexpr std::int64_t kTaipeiNine = 1704157200; // 2024-01-02 09:00 Taipei, 01:00 UTC
    news::LocalClock clock;
    {
        const ScopedTimeZone zone("Asia/Taipei");
        ASSERT_TRUE(news::localClock(kTaipeiNine, clock));
        EXPECT_EQ(clock.hour, 9);
    }
    {
        const ScopedTimeZone zone("America/New_York");
        ASSERT_TRUE(news::localClock(kTaipeiNine + 60, clock)) << "a day the cache holds for Taipei";
        EXPECT_EQ(clock.day, 1);
        EXPECT_EQ(clock.hour, 20);
        EXPECT_EQ(clock.minute, 1);
        std::int64_t midnight = 0;
        ASSERT_TRUE(news::localMidnightOf(2024, 1, 2, midnight));
        EXPECT_EQ(midnight, 1704171600) << "New York midnight, not Taipei's";
    }
    std::int64_t midnight = 0;
    EXPECT_FALSE(news::localMidnightOf(2024, 2, 30, midnight));
    EXPECT_FALSE(news::localMidnightOf(1899, 12, 31, midnight));
}
