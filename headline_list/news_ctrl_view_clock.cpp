#include "headline_list/news_ctrl_view_clock.h"

#include <cstddef>
#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

#include "host/text/format.h"

namespace news {

namespace {

constexpr std::int64_t kSecondsPerDay = 86400;

// Days from 1970-01-01 to a proleptic Gregorian date.
std::int64_t daysFromCivil(std::int64_t y, std::int64_t m, std::int64_t d) {
    y -= m <= 2 ? 1 : 0;
    const std::int64_t era = (y >= 0 ? y : y - 399) / 400;
    const std::int64_t yoe = y - era * 400;
    const std::int64_t doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
    const std::int64_t doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return era * 146097 + doe - 719468;
}

// Local civil seconds minus UTC seconds of a broken-down moment.
std::int64_t offsetOf(std::int64_t seconds, const std::tm& tm) {
    const std::int64_t civil =
        daysFromCivil(std::int64_t{tm.tm_year} + 1900, tm.tm_mon + 1, tm.tm_mday) * kSecondsPerDay +
        std::int64_t{tm.tm_hour} * 3600 + tm.tm_min * 60 + tm.tm_sec;
    return civil - seconds;
}

bool sameOffsetAt(std::int64_t seconds, std::int64_t offset) {
    std::tm tm{};
    return text::localTime(seconds, tm) && offsetOf(seconds, tm) == offset;
}

// Whole local days with one UTC offset throughout: every moment in [begin, begin + one day)
// has the day's date and begin's offset, so its time of day is its distance from begin.
class DayCache {
public:
    bool localClock(std::int64_t seconds, LocalClock& out) {
        forgetIfZoneChanged();
        for (const Day& day : m_days) {
            if (day.begin <= seconds && seconds < day.begin + kSecondsPerDay) {
                const auto secondOfDay = static_cast<int>(seconds - day.begin);
                out = LocalClock{day.year,        day.month, day.day, secondOfDay / 3600, secondOfDay / 60 % 60,
                                 secondOfDay % 60};
                return true;
            }
        }
        std::tm tm{};
        if (!text::localTime(seconds, tm)) {
            return false;
        }
        out = LocalClock{tm.tm_year + 1900, tm.tm_mon + 1, tm.tm_mday, tm.tm_hour, tm.tm_min, tm.tm_sec};
        // The first localtime call of a process loads the zone; days go in under the zone
        // that answered.
        forgetIfZoneChanged();
        remember(seconds, tm);
        return true;
    }

    bool localMidnightOf(int year, int month, int day, std::int64_t& seconds) {
        forgetIfZoneChanged();
        for (const Day& cached : m_days) {
            // Dates before 1900 are refused below, as text::localMidnight refuses them.
            if (cached.year == year && cached.month == month && cached.day == day && year >= 1900) {
                seconds = cached.begin;
                return true;
            }
        }
        return text::localMidnight(year, month, day, seconds);
    }

private:
    struct Day {
        std::int64_t begin = 0; // local midnight
        int year = 0;
        int month = 0;
        int day = 0;
    };

    // Caches the day of a moment when its offset holds from midnight to midnight. A day with
    // an offset change, and a leap second, go uncached.
    void remember(std::int64_t seconds, const std::tm& tm) {
        if (tm.tm_sec > 59) {
            return;
        }
        const std::int64_t begin = seconds - (std::int64_t{tm.tm_hour} * 3600 + tm.tm_min * 60 + tm.tm_sec);
        const std::int64_t offset = offsetOf(seconds, tm);
        if (!sameOffsetAt(begin, offset) || !sameOffsetAt(begin + kSecondsPerDay - 1, offset)) {
            return;
        }
        if (m_days.size() < kMaxDays) {
            m_days.push_back(Day{begin, tm.tm_year + 1900, tm.tm_mon + 1, tm.tm_mday});
        } else {
            m_days[m_next] = Day{begin, tm.tm_year + 1900, tm.tm_mon + 1, tm.tm_mday};
            m_next = (m_next + 1) % kMaxDays;
        }
    }

    // localtime answers for the zone last loaded (by tzset, or by the C library on its own
    // after TZ changed), and loading a zone sets the C library's zone names and offset; the
    // cache starts over when those change. Reading them costs far less than a getenv call.
    void forgetIfZoneChanged() {
#if defined(_WIN32)
        // The runtime's zone state is not public there: TZ itself (set or not) is the key.
        const char* variable = std::getenv("TZ");
        const char* const names[2] = {variable != nullptr ? variable : "", variable != nullptr ? "TZ" : ""};
        const long zoneOffset = 0;
        const int zoneDaylight = 0;
#else
        const char* const* names = ::tzname;
        const long zoneOffset = ::timezone;
        const int zoneDaylight = ::daylight;
#endif
        if (zoneOffset == m_offset && zoneDaylight == m_daylight && m_names[0] == names[0] && m_names[1] == names[1]) {
            return;
        }
        m_offset = zoneOffset;
        m_daylight = zoneDaylight;
        m_names[0] = names[0];
        m_names[1] = names[1];
        m_days.clear();
        m_next = 0;
    }

    static constexpr std::size_t kMaxDays = 8;
    std::vector<Day> m_days;
    std::size_t m_next = 0;
    long m_offset = 0;
    int m_daylight = 0;
    std::string m_names[2];
};

DayCache& dayCache() {
    thread_local DayCache cache;
    return cache;
}

} // namespace

bool localClock(std::int64_t seconds, LocalClock& out) {
    return dayCache().localClock(seconds, out);
}

bool localMidnightOf(int year, int month, int day, std::int64_t& seconds) {
    return dayCache().localMidnightOf(year, month, day, seconds);
}

} // namespace news
