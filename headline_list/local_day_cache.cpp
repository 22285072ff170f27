#include "headline_list/local_day_cache.h"

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <optional>

#include "host/text/format.h"

namespace {

// Spans are dropped wholesale past this many; real lists touch a few hundred days.
constexpr std::size_t kMaxSpans = 4096;
constexpr std::int64_t kSecondsPerDay = 86400;

struct LocalFields {
    std::int64_t key = 0;      // yyyymmdd
    std::int64_t offset = 0;   // local civil seconds minus UTC seconds
    std::int64_t secOfDay = 0; // seconds since local midnight
};

// Days from 1970-01-01 to a proleptic Gregorian date.
std::int64_t daysFromCivil(std::int64_t y, std::int64_t m, std::int64_t d) {
    y -= m <= 2 ? 1 : 0;
    const std::int64_t era = (y >= 0 ? y : y - 399) / 400;
    const std::int64_t yoe = y - era * 400;
    const std::int64_t doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
    const std::int64_t doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return era * 146097 + doe - 719468;
}

std::optional<LocalFields> localFields(std::int64_t time) {
    std::tm tm{};
    if (!text::localTime(time, tm)) {
        return std::nullopt;
    }
    const std::int64_t year = std::int64_t{tm.tm_year} + 1900;
    LocalFields fields;
    fields.key = year * 10000 + (tm.tm_mon + 1) * 100 + tm.tm_mday;
    fields.secOfDay = std::int64_t{tm.tm_hour} * 3600 + tm.tm_min * 60 + tm.tm_sec;
    const std::int64_t civil = daysFromCivil(year, tm.tm_mon + 1, tm.tm_mday) * kSecondsPerDay + fields.secOfDay;
    fields.offset = civil - time;
    return fields;
}

std::optional<std::int64_t> offsetAt(std::int64_t time) {
    const auto fields = localFields(time);
    return fields ? std::optional(fields->offset) : std::nullopt;
}

} // namespace

std::int64_t localDayKeyUncached(std::int64_t time) {
    const auto fields = localFields(time);
    return fields ? fields->key : LocalDayCache::kNoDay;
}

void LocalDayCache::clear() {
    m_spans.clear();
    m_lastHit = 0;
}

std::int64_t LocalDayCache::dayKey(std::int64_t time) {
    const Span* span = spanOf(time);
    return span == nullptr ? kNoDay : span->key;
}

bool LocalDayCache::clock(std::int64_t time, LocalClock& out) {
    const Span* span = spanOf(time);
    if (span == nullptr) {
        return false;
    }
    const std::int64_t second = span->secondOfDay + (time - span->begin);
    out = LocalClock{static_cast<int>(span->key / 10000), static_cast<int>(span->key / 100 % 100),
                     static_cast<int>(span->key % 100),   static_cast<int>(second / 3600),
                     static_cast<int>(second / 60 % 60),  static_cast<int>(second % 60)};
    return true;
}

bool LocalDayCache::midnightOf(int year, int month, int day, std::int64_t& seconds) {
    forgetIfZoneChanged();
    const std::int64_t key = std::int64_t{year} * 10000 + month * 100 + day;
    const auto it = std::lower_bound(m_spans.begin(), m_spans.end(), key,
                                     [](const Span& span, std::int64_t k) { return span.key < k; });
    // Dates before 1900 are refused, as text::localMidnight refuses them.
    if (it != m_spans.end() && it->key == key && it->secondOfDay == 0 && year >= 1900) {
        seconds = it->begin;
        return true;
    }
    return text::localMidnight(year, month, day, seconds);
}

const LocalDayCache::Span* LocalDayCache::spanOf(std::int64_t time) {
    forgetIfZoneChanged();
    if (contains(m_lastHit, time)) {
        return &m_spans[m_lastHit];
    }
    auto after = std::upper_bound(m_spans.begin(), m_spans.end(), time,
                                  [](std::int64_t t, const Span& span) { return t < span.begin; });
    if (after != m_spans.begin() && contains(static_cast<std::size_t>(after - m_spans.begin() - 1), time)) {
        m_lastHit = static_cast<std::size_t>(after - m_spans.begin() - 1);
        return &m_spans[m_lastHit];
    }

    const auto fields = localFields(time);
    if (!fields) {
        return nullptr;
    }
    // The first localtime call after TZ changed loads the new zone: spans go in under the zone
    // that answered.
    forgetIfZoneChanged();
    // With one UTC offset throughout, every second from local midnight to the next one has
    // the same date. Where the offset changes inside that window (daylight saving), keep only
    // the part around time that shares time's offset; one change per side is assumed.
    std::int64_t begin = time - fields->secOfDay;
    std::int64_t end = begin + kSecondsPerDay;
    if (offsetAt(begin) != fields->offset) {
        std::int64_t bad = begin; // offset differs here
        std::int64_t good = time; // offset matches here
        while (good - bad > 1) {
            const std::int64_t mid = bad + (good - bad) / 2;
            (offsetAt(mid) == fields->offset ? good : bad) = mid;
        }
        begin = good;
    }
    if (offsetAt(end - 1) != fields->offset) {
        std::int64_t good = time;
        std::int64_t bad = end - 1;
        while (bad - good > 1) {
            const std::int64_t mid = good + (bad - good) / 2;
            (offsetAt(mid) == fields->offset ? good : bad) = mid;
        }
        end = good + 1;
    }

    if (m_spans.size() >= kMaxSpans) {
        m_spans.clear();
    }
    // Existing spans never overlap the new one (they would have answered), so the new span
    // slots in at its sorted place.
    const auto at = std::upper_bound(m_spans.begin(), m_spans.end(), begin,
                                     [](std::int64_t b, const Span& span) { return b < span.begin; });
    m_lastHit = static_cast<std::size_t>(at - m_spans.begin());
    m_spans.insert(at, Span{begin, end, fields->key, fields->secOfDay - (time - begin)});
    return &m_spans[m_lastHit];
}

// localtime answers for the zone last loaded (by tzset, or by the C library on its own after TZ
// changed), and loading a zone sets the C library's zone names and offset; a following cache
// starts over when those change. Reading them costs far less than a getenv call.
void LocalDayCache::forgetIfZoneChanged() {
    if (!m_follow) {
        return;
    }
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
    if (zoneOffset == m_zoneOffset && zoneDaylight == m_zoneDaylight) {
        // The GNU C library keeps every zone name it has handed out, so the same pointers mean the same
        // names; only new pointers need a comparison of the text.
        if (names[0] == m_zoneNamePointers[0] && names[1] == m_zoneNamePointers[1]) {
            return;
        }
        if (m_zoneNames[0] == names[0] && m_zoneNames[1] == names[1]) {
            m_zoneNamePointers[0] = names[0];
            m_zoneNamePointers[1] = names[1];
            return;
        }
    }
    m_zoneOffset = zoneOffset;
    m_zoneDaylight = zoneDaylight;
    m_zoneNames[0] = names[0];
    m_zoneNames[1] = names[1];
    m_zoneNamePointers[0] = names[0];
    m_zoneNamePointers[1] = names[1];
    clear();
}
