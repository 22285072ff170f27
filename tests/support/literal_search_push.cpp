#include "tests/support/literal_search_push.h"

#include <algorithm>

std::optional<std::size_t> literalSearchPush(std::vector<CHeadlineTable>& table, std::vector<CHeadlineTable> results,
                                             const CHeadline& headline) {
    std::stable_sort(results.begin(), results.end(), [](const CHeadlineTable& a, const CHeadlineTable& b) {
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
    table = std::move(results);
    for (std::size_t p = 0; p < table.size(); ++p) {
        if (table[p].m_byService == headline.m_byService && table[p].m_iSeqNo == headline.m_iSeqNo) {
            table.insert(table.begin() + static_cast<std::ptrdiff_t>(p),
                         CHeadlineTable{headline.m_byService, headline.m_tTime, headline.m_iSeqNo});
            return p;
        }
    }
    return std::nullopt;
}
