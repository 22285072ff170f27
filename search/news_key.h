#pragma once

#include <vector>

#include "host/backend/news_records.h"

// One key set of the relation search: a method, the news types (category ids) it covers and
// its keywords. Held by value in lists; the key-set dialog edits them and the view keeps them
// in its settings, one string form per key set.
//
// String form: "C:" and the method, " T:" and the news types separated by ",", " K:" and the
// keywords separated by ",", with nothing after the last element: method 1, types 3 and 7,
// keywords A and B read C:1 T:3,7 K:A,B. Numbers are decimal as std::to_string writes them.
// A keyword is written as it is, except that '%', ',', a blank, control bytes and DEL become
// %XX and an empty keyword is written %- (no ordinary keyword holds any of these), so every
// keyword reads back byte for byte.
class CNewsKey {
public:
    enum : int { kMethodAnd = 1, kMethodOr = 2 };
    // The single news type that stands for every type.
    static constexpr int kEveryNewsType = -999;

    CNewsKey() = default;
    CNewsKey(int method, std::vector<int> newsTypes, std::vector<CString> keywords);
    virtual ~CNewsKey() = default;
    CNewsKey(const CNewsKey&) = default;
    CNewsKey& operator=(const CNewsKey&) = default;
    CNewsKey(CNewsKey&&) = default;
    CNewsKey& operator=(CNewsKey&&) = default;

    int m_iMethod = kMethodAnd;
    std::vector<int> m_vNewsType;
    std::vector<CString> m_vKeyword;
    std::vector<CString> m_vSecondList; // copied with the record, never part of the string form

    bool operator==(const CNewsKey&) const = default;
    // Same method, same news types in order and same keywords (the second list aside).
    bool bSameKeySet(const CNewsKey& other) const;

    void GetString(CString& out) const;
    CString GetString() const;
    // Reads the string form. Text that is not exactly that form (a missing or misplaced part,
    // a number out of range or written another way, an empty element, a bad escape, anything
    // after the last element) returns false and changes nothing. The second list is kept.
    bool LoadString(const CString& text);
};
