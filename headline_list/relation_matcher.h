#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "host/backend/news_records.h"

// One relation-search condition: match mode (1: every word must hit), category ids (the single
// value -999 stands for every category) and words.
struct RelationCondition {
    unsigned char m_byMode = 1;
    std::vector<int> m_vCategories;
    std::vector<CString> m_vWords;

    bool operator==(const RelationCondition&) const = default;
};

// The relation test over a fixed list of conditions, answered in one pass over the title.
//
// A word hits when the upper-cased title contains it (the word as stored, starting and ending
// on character boundaries of the code page 950 title) or when a non-empty symbol text equals it
// ignoring ASCII case. A condition matches when its categories admit the headline's category
// and, in mode 1, every word hits (no words: it matches), in any other mode at least one does.
//
// Every distinct word of every condition goes into one Aho-Corasick automaton over bytes, so a
// title is read once whatever the number of words; a hit counts only where the title has a
// character boundary at both ends of the occurrence. Conditions are indexed by category, so a
// headline only looks at the conditions its category admits.
//
// Thread: UI thread; matches() uses scratch space of the object and is not re-entrant.
class RelationMatcher {
public:
    static constexpr int kEveryCategory = -999;

    RelationMatcher() = default;
    explicit RelationMatcher(std::vector<RelationCondition> conditions);

    const std::vector<RelationCondition>& conditions() const { return m_conditions; }
    bool empty() const { return m_conditions.empty(); }

    // Whether at least one condition matches the headline title, category id and symbol text.
    bool matches(std::string_view title, int categoryId, std::string_view symbolText) const;

private:
    static constexpr std::uint32_t kNone = 0xFFFFFFFFu;

    struct Node {
        std::uint32_t edgeBegin = 0; // children: m_edgeByte/m_edgeTarget[edgeBegin, edgeEnd), by byte
        std::uint32_t edgeEnd = 0;
        std::uint32_t fail = 0;
        std::uint32_t dictLink = kNone; // the nearest node on the fail chain that ends a word
        std::uint32_t word = kNone;     // the word this node spells, when it is one
        std::uint32_t depth = 0;
    };
    struct Compiled {
        bool everyCategory = false;
        bool matchAll = true; // mode 1
        std::vector<std::uint32_t> words;
    };

    void build();
    std::uint32_t step(std::uint32_t state, unsigned char byte) const;
    std::uint32_t child(std::uint32_t state, unsigned char byte) const;
    void markHit(std::uint32_t word) const { m_hitStamp[word] = m_stamp; }
    bool hit(std::uint32_t word) const { return m_hitStamp[word] == m_stamp; }
    // Scans the title (and the symbol text) and stamps every word that hits.
    void markHits(std::string_view title, std::string_view symbolText) const;
    bool conditionMatches(const Compiled& condition) const;

    std::vector<RelationCondition> m_conditions;
    std::vector<Compiled> m_compiled;
    std::vector<std::uint32_t> m_everyCategory;                           // conditions for any category
    std::unordered_map<int, std::vector<std::uint32_t>> m_byCategory;     // id -> conditions naming it
    std::unordered_map<std::string, std::vector<std::uint32_t>> m_byFold; // upper-cased word -> words
    std::vector<std::uint32_t> m_emptyWords;
    std::vector<Node> m_nodes;
    std::vector<unsigned char> m_edgeByte;
    std::vector<std::uint32_t> m_edgeTarget;
    std::uint32_t m_rootNext[256] = {}; // the root's transitions, 0 (the root) where it has no child
    std::size_t m_wordCount = 0;

    // Scratch of matches(): a word hit in the current call carries the current stamp.
    mutable std::vector<std::uint32_t> m_hitStamp;
    mutable std::uint32_t m_stamp = 0;
    mutable std::string m_upper;
    mutable std::vector<unsigned char> m_boundary;
    mutable std::vector<std::uint32_t> m_candidates;
};
