#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

// Local calendar date and time of day of a moment, as localtime gives them.
struct LocalClock {
    int year = 0;
    int month = 0; // 1..12
    int day = 0;   // 1..31
    int hour = 0;
    int minute = 0;
    int second = 0;
};

// Local dates and times as std::localtime sees them in the process time zone, without a
// localtime call per question (one costs microseconds: the C library re-reads the zone rules).
// Each answer caches the span of seconds around the time that shares its date and its UTC
// offset, so later times on that day cost a comparison (or a binary search over the cached
// days); within a span the time of day moves with the seconds. Spans are cut at
// daylight-saving changes, so a date may own two spans; both carry the same key.
//
// A cache that follows zone changes starts over when the C library loads another zone (a
// changed TZ, once tzset or localtime has taken it). One that does not keeps its answers for
// the days it holds: a headline list files entries under their day and must find them under the
// same day later.
class LocalDayCache {
public:
    enum class ZoneChanges { Keep, Follow };

    // Key of a time that has no local date (localtime cannot represent it).
    static constexpr std::int64_t kNoDay = std::numeric_limits<std::int64_t>::min();

    explicit LocalDayCache(ZoneChanges zoneChanges = ZoneChanges::Keep)
        : m_follow(zoneChanges == ZoneChanges::Follow) {}

    // The local date of time as year * 10000 + month * 100 + day, or kNoDay.
    std::int64_t dayKey(std::int64_t time);
    // The local date and time of day of time; false when localtime cannot break it down.
    bool clock(std::int64_t time, LocalClock& out);
    // Local midnight of a date, from a cached day that starts at midnight, else from mktime
    // (text::localMidnight); false for an invalid date.
    bool midnightOf(int year, int month, int day, std::int64_t& seconds);

    void clear();
    std::size_t cachedSpans() const { return m_spans.size(); }

private:
    struct Span {
        std::int64_t begin = 0; // first second of the span
        std::int64_t end = 0;   // one past the last second
        std::int64_t key = 0;
        std::int64_t secondOfDay = 0; // local time of day at begin
    };
    bool contains(std::size_t index, std::int64_t time) const {
        return index < m_spans.size() && m_spans[index].begin <= time && time < m_spans[index].end;
    }
    // The span holding time, cached on the way; null when localtime cannot break it down.
    const Span* spanOf(std::int64_t time);
    void forgetIfZoneChanged();

    std::vector<Span> m_spans; // sorted by begin (and so by key), disjoint
    std::size_t m_lastHit = 0;
    bool m_follow = false;
    // The zone the spans were computed under (followed caches only).
    long m_zoneOffset = 0;
    int m_zoneDaylight = 0;
    std::string m_zoneNames[2];
    const char* m_zoneNamePointers[2] = {nullptr, nullptr};
};

// Local date key of time computed directly with localtime (no cache); kNoDay when it fails.
std::int64_t localDayKeyUncached(std::int64_t time);
