#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "headline_list/headline_table_list.h"
#include "host/backend/news_records.h"

// The plain form of a headline list: a vector handled with front inserts and linear scans,
// with localtime called for every date comparison. Slow on purpose; the differential test
// and the benchmark hold HeadlineTableList against it.
class LiteralHeadlineList {
public:
    using PushResult = HeadlineTableList::PushResult;

    std::size_t size() const { return m_entries.size(); }
    const CHeadlineTable& operator[](std::size_t row) const { return m_entries[row]; }
    const std::vector<CHeadlineTable>& entries() const { return m_entries; }

    void clear() { m_entries.clear(); }
    void assign(const std::vector<CHeadlineTable>& entries) { m_entries = entries; }
    void append(const std::vector<CHeadlineTable>& entries);
    void copyRange(std::size_t first, std::size_t count, std::vector<CHeadlineTable>& out) const;
    void sortNewestFirst();
    void insert(std::size_t row, const CHeadlineTable& entry);
    void erase(std::size_t row);

    std::optional<std::size_t> findFirstByKey(unsigned char service, std::int64_t time, std::int32_t seqNo) const;
    std::optional<std::size_t> findSameDay(unsigned char service, std::int32_t seqNo, std::int64_t time) const;
    std::optional<std::size_t> findNextSameSeq(unsigned char service, std::int32_t seqNo, std::size_t after) const;
    std::size_t insertRowForTime(std::int64_t time) const;
    PushResult processPush(const CHeadline& headline);

private:
    std::vector<CHeadlineTable> m_entries;
};

// True when both times have a local date (localtime succeeds) and the dates are equal.
bool literalSameLocalDay(std::int64_t a, std::int64_t b);
