#pragma once

#include <cstdint>
#include <vector>

#include "host/backend/news_records.h"

// A search condition: keywords, scope and method, plus the symbols and the time of the search.
class CSearch {
public:
    enum : unsigned char { kScopeHeadline = 0, kScopeStory = 1, kScopeBoth = 2 };
    enum : unsigned char { kMethodUnset = 0, kMethodAnd = 1, kMethodOr = 2 };

    std::vector<CString> m_vKeywords; // insertion order, no duplicates (the dialogs check)
    unsigned char m_byScope = 0;      // 0 headline, 1 story, 2 both
    unsigned char m_byMethod = 0;     // 0 unset, 1 AND, 2 OR
    std::int64_t m_tTime = 0;         // when the search was composed, seconds since 1970
    std::vector<CString> m_vSymbols;  // symbol codes the search is bound to
    bool m_bKeywordSearch = true;     // the story displays mark the keywords when set

    bool operator==(const CSearch&) const = default;

    // Text form that survives every byte value: see search.cpp for the grammar.
    void GetString(CString& out) const;
    CString GetString() const;
    // Loads the text form. Malformed text returns false and leaves the record unchanged.
    bool LoadStringA(const CString& text);
};
