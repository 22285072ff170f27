#include "headline_list/local_day_cache.h"

#include <algorithm>
#include <ctime>
#include <optional>

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
    if (time < std::numeric_limits<std::time_t>::min() || time > std::numeric_limits<std::time_t>::max()) {
        return std::nullopt;
    }
    const auto t = static_cast<std::time_t>(time);
    std::tm tm{};
#if defined(_WIN32)
    if (localtime_s(&tm, &t) != 0) {
        return std::nullopt;
    }
#else
    if (localtime_r(&t, &tm) == nullptr) {
        return std::nullopt;
    }
#endif
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
    if (contains(m_lastHit, time)) {
        return m_spans[m_lastHit].key;
    }
    auto after = std::upper_bound(m_spans.begin(), m_spans.end(), time,
                                  [](std::int64_t t, const Span& span) { return t < span.begin; });
    if (after != m_spans.begin() && contains(static_cast<std::size_t>(after - m_spans.begin() - 1), time)) {
        m_lastHit = static_cast<std::size_t>(after - m_spans.begin() - 1);
        return m_spans[m_lastHit].key;
    }

    const auto fields = localFields(time);
    if (!fields) {
        return kNoDay;
    }
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
    m_spans.insert(at, Span{begin, end, fields->key});
    return fields->key;
}
