#include "headline_list/relation_matcher.h"

#include <algorithm>
#include <deque>
#include <utility>

#include "host/text/cp950.h"

RelationMatcher::RelationMatcher(std::vector<RelationCondition> conditions) : m_conditions(std::move(conditions)) {
    build();
}

void RelationMatcher::build() {
    std::unordered_map<std::string, std::uint32_t> wordIds;
    std::vector<std::string> words;
    for (std::uint32_t index = 0; index < m_conditions.size(); ++index) {
        const RelationCondition& condition = m_conditions[index];
        Compiled compiled;
        compiled.matchAll = condition.m_byMode == 1;
        compiled.everyCategory =
            condition.m_vCategories.size() == 1 && condition.m_vCategories.front() == kEveryCategory;
        for (const CString& word : condition.m_vWords) {
            const auto [it, added] = wordIds.emplace(word, static_cast<std::uint32_t>(words.size()));
            if (added) {
                words.push_back(word);
            }
            compiled.words.push_back(it->second);
        }
        if (compiled.everyCategory) {
            m_everyCategory.push_back(index);
        } else {
            for (const int category : condition.m_vCategories) {
                std::vector<std::uint32_t>& list = m_byCategory[category];
                if (list.empty() || list.back() != index) {
                    list.push_back(index);
                }
            }
        }
        m_compiled.push_back(std::move(compiled));
    }
    m_wordCount = words.size();
    m_hitStamp.assign(m_wordCount, 0);

    // The trie of every non-empty word; children kept per node while building.
    std::vector<std::vector<std::pair<unsigned char, std::uint32_t>>> children(1);
    m_nodes.assign(1, Node{});
    for (std::uint32_t id = 0; id < words.size(); ++id) {
        const std::string& word = words[id];
        m_byFold[cp950::toUpper(word)].push_back(id);
        if (word.empty()) {
            m_emptyWords.push_back(id);
            continue;
        }
        std::uint32_t state = 0;
        for (const char c : word) {
            const auto byte = static_cast<unsigned char>(c);
            auto& list = children[state];
            const auto found = std::find_if(list.begin(), list.end(), [&](const auto& e) { return e.first == byte; });
            if (found != list.end()) {
                state = found->second;
                continue;
            }
            const auto next = static_cast<std::uint32_t>(m_nodes.size());
            Node node;
            node.depth = m_nodes[state].depth + 1;
            m_nodes.push_back(node);
            children.emplace_back();
            children[state].emplace_back(byte, next);
            state = next;
        }
        m_nodes[state].word = id;
    }

    // Edges flattened and sorted by byte, so a transition is a binary search in one range.
    for (std::uint32_t state = 0; state < m_nodes.size(); ++state) {
        auto& list = children[state];
        std::sort(list.begin(), list.end());
        m_nodes[state].edgeBegin = static_cast<std::uint32_t>(m_edgeByte.size());
        for (const auto& [byte, target] : list) {
            m_edgeByte.push_back(byte);
            m_edgeTarget.push_back(target);
        }
        m_nodes[state].edgeEnd = static_cast<std::uint32_t>(m_edgeByte.size());
    }
    std::fill(std::begin(m_rootNext), std::end(m_rootNext), 0u);
    for (const auto& [byte, target] : children[0]) {
        m_rootNext[byte] = target;
    }

    // Failure and dictionary links, breadth first: a node's fail is the longest proper suffix of
    // its string that is also in the trie.
    std::deque<std::uint32_t> queue;
    for (const auto& [byte, target] : children[0]) {
        m_nodes[target].fail = 0;
        queue.push_back(target);
    }
    while (!queue.empty()) {
        const std::uint32_t state = queue.front();
        queue.pop_front();
        for (const auto& [byte, target] : children[state]) {
            m_nodes[target].fail = step(m_nodes[state].fail, byte);
            queue.push_back(target);
        }
        const Node& fail = m_nodes[m_nodes[state].fail];
        m_nodes[state].dictLink = state == 0 ? kNone : (fail.word != kNone ? m_nodes[state].fail : fail.dictLink);
    }
}

std::uint32_t RelationMatcher::child(std::uint32_t state, unsigned char byte) const {
    const Node& node = m_nodes[state];
    const auto first = m_edgeByte.begin() + node.edgeBegin;
    const auto last = m_edgeByte.begin() + node.edgeEnd;
    const auto found = std::lower_bound(first, last, byte);
    return found != last && *found == byte ? m_edgeTarget[static_cast<std::size_t>(found - m_edgeByte.begin())] : kNone;
}

std::uint32_t RelationMatcher::step(std::uint32_t state, unsigned char byte) const {
    while (state != 0) {
        const std::uint32_t next = child(state, byte);
        if (next != kNone) {
            return next;
        }
        state = m_nodes[state].fail;
    }
    return m_rootNext[byte];
}

void RelationMatcher::markHits(std::string_view title, std::string_view symbolText) const {
    for (const std::uint32_t word : m_emptyWords) {
        markHit(word);
    }
    if (m_nodes.size() > 1) {
        // The upper-cased title and its character boundaries, in one pass.
        const std::size_t size = title.size();
        m_upper.assign(title);
        m_boundary.assign(size + 1, 0);
        for (std::size_t i = 0; i < size;) {
            m_boundary[i] = 1;
            const std::size_t length = cp950::charLength(title, i);
            if (length == 1 && m_upper[i] >= 'a' && m_upper[i] <= 'z') {
                m_upper[i] = static_cast<char>(m_upper[i] - 'a' + 'A');
            }
            i += length;
        }
        m_boundary[size] = 1;
        std::uint32_t state = 0;
        for (std::size_t i = 0; i < size; ++i) {
            state = step(state, static_cast<unsigned char>(m_upper[i]));
            const std::size_t end = i + 1;
            if (m_boundary[end] == 0) {
                continue;
            }
            for (std::uint32_t out = m_nodes[state].word != kNone ? state : m_nodes[state].dictLink; out != kNone;
                 out = m_nodes[out].dictLink) {
                if (m_boundary[end - m_nodes[out].depth] != 0) {
                    markHit(m_nodes[out].word);
                }
            }
        }
    }
    if (!symbolText.empty()) {
        const auto found = m_byFold.find(cp950::toUpper(symbolText));
        if (found != m_byFold.end()) {
            for (const std::uint32_t word : found->second) {
                markHit(word);
            }
        }
    }
}

bool RelationMatcher::conditionMatches(const Compiled& condition) const {
    if (condition.matchAll) {
        return std::all_of(condition.words.begin(), condition.words.end(), [&](std::uint32_t w) { return hit(w); });
    }
    return std::any_of(condition.words.begin(), condition.words.end(), [&](std::uint32_t w) { return hit(w); });
}

bool RelationMatcher::matches(std::string_view title, int categoryId, std::string_view symbolText) const {
    m_candidates.assign(m_everyCategory.begin(), m_everyCategory.end());
    if (const auto found = m_byCategory.find(categoryId); found != m_byCategory.end()) {
        m_candidates.insert(m_candidates.end(), found->second.begin(), found->second.end());
    }
    if (m_candidates.empty()) {
        return false;
    }
    // A condition of mode 1 without words matches whatever the title: no scan needed.
    for (const std::uint32_t index : m_candidates) {
        if (m_compiled[index].matchAll && m_compiled[index].words.empty()) {
            return true;
        }
    }
    if (++m_stamp == 0) {
        std::fill(m_hitStamp.begin(), m_hitStamp.end(), 0u);
        m_stamp = 1;
    }
    markHits(title, symbolText);
    return std::any_of(m_candidates.begin(), m_candidates.end(),
                       [&](std::uint32_t index) { return conditionMatches(m_compiled[index]); });
}
