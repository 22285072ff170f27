#include "tests/support/literal_relation.h"

#include <algorithm>

#include "host/text/cp950.h"

namespace literal {

bool relationMatches(const std::vector<RelationCondition>& conditions, const CString& title, int categoryId,
                     const CString& symbolText) {
    const CString upper = cp950::toUpper(title);
    for (const RelationCondition& condition : conditions) {
        const std::vector<int>& categories = condition.m_vCategories;
        const bool every = categories.size() == 1 && categories.front() == RelationMatcher::kEveryCategory;
        if (!every && std::find(categories.begin(), categories.end(), categoryId) == categories.end()) {
            continue;
        }
        const auto hits = [&](const CString& word) {
            return cp950::contains(upper, word) || (!symbolText.empty() && cp950::equalsIgnoreCase(symbolText, word));
        };
        const bool matched = condition.m_byMode == 1
                                 ? std::all_of(condition.m_vWords.begin(), condition.m_vWords.end(), hits)
                                 : std::any_of(condition.m_vWords.begin(), condition.m_vWords.end(), hits);
        if (matched) {
            return true;
        }
    }
    return false;
}

} // namespace literal
