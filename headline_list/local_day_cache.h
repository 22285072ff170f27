#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

// Local calendar day of a time, as std::localtime sees it in the process time zone, without a
// localtime call per question: each answer caches the span of seconds around the time that
// shares its date and its UTC offset, so later times on that day cost a comparison (or a
// binary search over the cached days). Spans are cut at daylight-saving changes, so a date
// may own two spans; both carry the same key.
// Assumes the process time zone does not change while the cache lives.
class LocalDayCache {
public:
    // Key of a time that has no local date (localtime cannot represent it).
    static constexpr std::int64_t kNoDay = std::numeric_limits<std::int64_t>::min();

    // The local date of time as year * 10000 + month * 100 + day, or kNoDay.
    std::int64_t dayKey(std::int64_t time);

    void clear();
    std::size_t cachedSpans() const { return m_spans.size(); }

private:
    struct Span {
        std::int64_t begin = 0; // first second of the span
        std::int64_t end = 0;   // one past the last second
        std::int64_t key = 0;
    };
    bool contains(std::size_t index, std::int64_t time) const {
        return index < m_spans.size() && m_spans[index].begin <= time && time < m_spans[index].end;
    }

    std::vector<Span> m_spans; // sorted by begin, disjoint
    std::size_t m_lastHit = 0;
};

// Local date key of time computed directly with localtime (no cache); kNoDay when it fails.
std::int64_t localDayKeyUncached(std::int64_t time);
