// The view's half of the relation search: the key-set dialog opened from the view, and the
// ticked key sets it leaves made the relation conditions of list 4.
#include <climits>
#include <cstdlib>
#include <map>

#include "host/ui/messages.h"
#include "news_view/news_ctrl_view.h"
#include "search/news_key_search_dlg.h"

namespace {

// A category id text as a plain decimal conversion reads it: leading blanks, a sign and the
// digits up to the first other character; no digits read 0, and a number past the range of
// an int is held at its end.
int categoryIdOf(const CString& text) {
    const long value = std::strtol(text.c_str(), nullptr, 10);
    if (value > INT_MAX) {
        return INT_MAX;
    }
    if (value < INT_MIN) {
        return INT_MIN;
    }
    return static_cast<int>(value);
}

// The ticked key set as the relation test reads it: method 1 needs every keyword, any other
// method one of them (a method the key set's own row also shows as OR).
RelationCondition relationConditionOf(const CNewsKey& key) {
    RelationCondition condition;
    condition.m_byMode = key.m_iMethod == CNewsKey::kMethodAnd ? 1 : 2;
    condition.m_vCategories = key.m_vNewsType;
    condition.m_vWords = key.m_vKeyword;
    return condition;
}

} // namespace

void TRVNewsCtrlView::OnRelationSearchDlg() {
    // Every service's categories but the warrant service's; the first service to name an id wins.
    std::map<int, CString> categories;
    vForEachServiceCategory(false, [&categories](unsigned char, const CString& id, const CString& name) {
        categories.emplace(categoryIdOf(id), name);
    });
    // The names read as the first service shows its texts.
    if (!m_vService.empty()) {
        for (auto& [id, name] : categories) {
            name = cszShowText(m_vService.front().m_byService, name);
        }
    }

    SetRelationConditions({});
    CNewsKeySearchDlg dialog(m_vKeywordPool, categories, m_vNewsKey, GetWnd());
    const int result = dialog.DoModal();
    if (result == host::ui::win::IDOK) {
        m_vNewsKey = dialog.GetNewsKeys();
        std::vector<RelationCondition> conditions;
        for (const CNewsKey& key : dialog.GetTickedKeys()) {
            conditions.push_back(relationConditionOf(key));
        }
        SetRelationConditions(std::move(conditions));
    }
    // The pool keeps what the user typed, whatever the answer.
    m_vKeywordPool = dialog.GetPool();
    if (!m_relation.empty()) {
        InitialHeadlineTable(news::kModeRelation);
    }
}
