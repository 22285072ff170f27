#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>

#include "headline_list/local_day_cache.h"
#include "host/backend/news_records.h"

// Equality of headline-table entries as the story displays and the print and save jobs use
// it: the same service, the same local calendar day (the time of day does not count), the
// same news number, and the same two back-end values after them. A headline carries no
// back-end values, so a headline equals an entry when the first three agree.
// A time that has no local date equals only the very same time.
// Thread: UI thread (the day cache is not shared).
class EntryEquality {
public:
    // What two equal entries (or an entry and its headline) always share: hashable, so items
    // can be indexed by it instead of compared one by one.
    struct DayKey {
        unsigned char service = 0;
        std::int32_t seqNo = 0;
        std::int64_t day = 0;     // yyyymmdd, or LocalDayCache::kNoDay
        std::int64_t rawTime = 0; // the time itself when it has no local date, else 0
        bool operator==(const DayKey&) const = default;
    };
    struct DayKeyHash {
        std::size_t operator()(const DayKey& key) const noexcept;
    };

    DayKey key(const CHeadlineTable& entry) { return makeKey(entry.m_byService, entry.m_iSeqNo, entry.m_tTime); }
    DayKey key(const CHeadline& headline) { return makeKey(headline.m_byService, headline.m_iSeqNo, headline.m_tTime); }

    bool equal(const CHeadlineTable& a, const CHeadlineTable& b) {
        return a.m_llValue2 == b.m_llValue2 && a.m_ullLast == b.m_ullLast && key(a) == key(b);
    }
    bool equal(const CHeadlineTable& entry, const CHeadline& headline) { return key(entry) == key(headline); }

private:
    DayKey makeKey(unsigned char service, std::int32_t seqNo, std::int64_t time);

    LocalDayCache m_days{LocalDayCache::ZoneChanges::Follow};
};
