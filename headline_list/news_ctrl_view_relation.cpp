// The relation test: whether a headline matches any of the view's relation-search conditions.
#include <algorithm>

#include "host/text/cp950.h"
#include "news_view/news_ctrl_view.h"

namespace {

// The category list that stands for every category.
constexpr int kEveryCategory = -999;

bool bCategoryMatches(const RelationCondition& condition, int categoryId) {
    const std::vector<int>& categories = condition.m_vCategories;
    if (categories.size() == 1 && categories.front() == kEveryCategory) {
        return true;
    }
    return std::find(categories.begin(), categories.end(), categoryId) != categories.end();
}

} // namespace

bool TRVNewsCtrlView::CheckIsRelationSearch(const CHeadline& headline, int categoryId,
                                            const CString& symbolText) const {
    if (m_vRelation.empty()) {
        return false;
    }
    // Titles are compared upper-cased against the words as stored: a lower-case word can only
    // ever hit a symbol text.
    const CString title = cp950::toUpper(headline.m_strTitle);
    for (const RelationCondition& condition : m_vRelation) {
        if (!bCategoryMatches(condition, categoryId)) {
            continue;
        }
        const auto hits = [&](const CString& word) {
            return cp950::contains(title, word) || (!symbolText.empty() && cp950::equalsIgnoreCase(symbolText, word));
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
