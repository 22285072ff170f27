#include "tests/support/literal_headline_list.h"

#include <algorithm>
#include <ctime>

bool literalSameLocalDay(std::int64_t a, std::int64_t b) {
    const auto ta = static_cast<std::time_t>(a);
    const auto tb = static_cast<std::time_t>(b);
    std::tm da{};
    std::tm db{};
#if defined(_WIN32)
    if (localtime_s(&da, &ta) != 0 || localtime_s(&db, &tb) != 0) {
        return false;
    }
#else
    if (localtime_r(&ta, &da) == nullptr || localtime_r(&tb, &db) == nullptr) {
        return false;
    }
#endif
    return da.tm_year == db.tm_year && da.tm_mon == db.tm_mon && da.tm_mday == db.tm_mday;
}

void LiteralHeadlineList::append(const std::vector<CHeadlineTable>& entries) {
    m_entries.insert(m_entries.end(), entries.begin(), entries.end());
}

void LiteralHeadlineList::copyRange(std::size_t first, std::size_t count, std::vector<CHeadlineTable>& out) const {
    out.clear();
    for (std::size_t i = first; i < m_entries.size() && i - first < count; ++i) {
        out.push_back(m_entries[i]);
    }
}

void LiteralHeadlineList::sortNewestFirst() {
    std::stable_sort(m_entries.begin(), m_entries.end(), [](const CHeadlineTable& a, const CHeadlineTable& b) {
        if (a.m_tTime != b.m_tTime) {
            return a.m_tTime > b.m_tTime;
        }
        if (a.m_iSeqNo != b.m_iSeqNo) {
            return a.m_iSeqNo > b.m_iSeqNo;
        }
        if (a.m_llValue2 != b.m_llValue2) {
            return a.m_llValue2 > b.m_llValue2;
        }
        return a.m_ullLast > b.m_ullLast;
    });
}

void LiteralHeadlineList::insert(std::size_t row, const CHeadlineTable& entry) {
    m_entries.insert(m_entries.begin() + static_cast<std::ptrdiff_t>(row), std::size_t{1}, entry);
}

void LiteralHeadlineList::erase(std::size_t row) {
    m_entries.erase(m_entries.begin() + static_cast<std::ptrdiff_t>(row));
}

std::optional<std::size_t> LiteralHeadlineList::findFirstByKey(unsigned char service, std::int64_t time,
                                                               std::int32_t seqNo) const {
    for (std::size_t i = 0; i < m_entries.size(); ++i) {
        const CHeadlineTable& e = m_entries[i];
        if (e.m_byService == service && e.m_tTime == time && e.m_iSeqNo == seqNo) {
            return i;
        }
    }
    return std::nullopt;
}

std::optional<std::size_t> LiteralHeadlineList::findSameDay(unsigned char service, std::int32_t seqNo,
                                                            std::int64_t time) const {
    for (std::size_t i = 0; i < m_entries.size(); ++i) {
        const CHeadlineTable& e = m_entries[i];
        if (e.m_byService == service && e.m_iSeqNo == seqNo && literalSameLocalDay(e.m_tTime, time)) {
            return i;
        }
    }
    return std::nullopt;
}

std::optional<std::size_t> LiteralHeadlineList::findNextSameSeq(unsigned char service, std::int32_t seqNo,
                                                                std::size_t after) const {
    for (std::size_t i = after + 1; i < m_entries.size(); ++i) {
        if (m_entries[i].m_byService == service && m_entries[i].m_iSeqNo == seqNo) {
            return i;
        }
    }
    return std::nullopt;
}

std::size_t LiteralHeadlineList::insertRowForTime(std::int64_t time) const {
    for (std::size_t i = 0; i < m_entries.size(); ++i) {
        if (m_entries[i].m_tTime < time) {
            return i;
        }
    }
    return m_entries.size();
}

LiteralHeadlineList::PushResult LiteralHeadlineList::processPush(const CHeadline& headline) {
    const CHeadlineTable key{headline.m_byService, headline.m_tTime, headline.m_iSeqNo, 0, 0};
    PushResult result;
    const auto found = findSameDay(headline.m_byService, headline.m_iSeqNo, headline.m_tTime);
    if (!found) {
        result.insertedRow = insertRowForTime(headline.m_tTime);
        insert(result.insertedRow, key);
        return result;
    }
    result.resent = true;
    result.rewrittenRow = *found;
    insert(0, key);
    if (const auto later = findNextSameSeq(headline.m_byService, headline.m_iSeqNo, 0)) {
        result.removed = true;
        result.removedRow = *later;
        erase(*later);
    }
    return result;
}
