// The view's half of the keyword search: the advanced search dialog opened from the view, and
// the sending of a prepared search to every selected service with what the back end already
// holds for it shown at once.
#include "host/backend/bk_quote_interface.h"
#include "host/framework/sync_info.h"
#include "host/ui/messages.h"
#include "news_view/news_ctrl_view.h"
#include "search/adv_search_dlg.h"
#include "story/quote_dlg_tip_msg.h"

using host::ui::CSuperSheetWnd;

namespace {

constexpr const char* kSearchKey = "SEARCH";
// The searching tip stays until the last answer stops it (or a longer wait ends it).
constexpr int kSearchingTipMs = 100000;

} // namespace

void TRVNewsCtrlView::OnDealsSearchDlg() {
    CAdvSearchDlg dialog(m_searchEdited, m_vKeywordPool, m_vRecentSearch, GetWnd());
    const int result = dialog.DoModal();
    // A cancelled dialog keeps its edited condition and pool too; only OK changes the recent list.
    dialog.vGetResult(m_searchEdited, m_vKeywordPool, m_vRecentSearch);
    m_searchCondition = m_searchEdited;
    if (result == host::ui::win::IDOK) {
        OnDealsSearch();
    }
}

void TRVNewsCtrlView::OnDealsSearch() {
    const int list = m_iCurrFunction;
    if (list != news::kModeSearch && list != news::kModeWarningSearch) {
        return;
    }
    CSuperSheetWnd* grid = m_pSheet[static_cast<std::size_t>(list)];
    if (grid == nullptr) {
        return;
    }
    CSearch& condition = list == news::kModeSearch ? m_searchCondition : m_warningCondition;
    if (condition.m_vKeywords.empty()) {
        const host::ui::Rect area =
            m_pSearchEdit != nullptr ? m_pSearchEdit->clientToScreen(m_pSearchEdit->clientRect()) : host::ui::Rect{};
        vShowTip(area, Lang("IDS_NEWSCTRLVIEW_STRING_INVALIDATE_SEARCH"));
        return;
    }
    if (condition.m_vKeywords.size() >= 2 && condition.m_byMethod == CSearch::kMethodUnset) {
        condition.m_byMethod = CSearch::kMethodAnd;
    }

    // The searching tip only for a search the user has not just run: the same text again
    // re-runs quietly, and its answers then never hold back the not-found tip.
    const CString editText = m_pSearchEdit != nullptr ? m_pSearchEdit->text() : m_strSearchText;
    bool tipShown = false;
    if (editText != m_strPrevSearchText) {
        CString tip = Lang("IDS_NEWSCTRLVIEW_STRING_NEWS_SEARCHING");
        for (const CString& keyword : condition.m_vKeywords) {
            tip += ' ';
            tip += keyword;
        }
        if (m_pTipMsg != nullptr) {
            const CSyncInfo& colors = CSyncInfo::Get();
            m_pTipMsg->vSetInfo(nullptr, tip.c_str(), colors.SYS_crGetOtherColor("COLOR_TIP_TEXT"),
                                colors.SYS_crGetOtherColor("COLOR_TIP_BACKGROUND"), kSearchingTipMs);
            m_pTipMsg->vShow(grid, 0, 0, false);
        }
        tipShown = true;
    }
    m_strPrevSearchText = editText;

    BKQuoteInterface* bk = BKQuoteInterface::GetBKInterface();
    for (NewsServiceEntry& entry : m_vService) {
        if (entry.m_bySelected != 0) {
            entry.m_bySearchPending = tipShown ? 1 : 0;
            if (bk != nullptr) {
                bk->BKQNEWS_bSearchNews(entry.m_byService, BKQuoteInterface::kSearch, condition);
            }
        } else {
            entry.m_bySearchPending = 0;
        }
    }

    clearList(list);
    std::vector<CHeadlineTable> entries;
    appendSelectedTables(entries, BKQuoteInterface::kSearch, kSearchKey);
    if (entries.empty()) {
        SetCaptionText(CString{});
        return;
    }
    HeadlineTableList& table = m_vHeadlineTable[static_cast<std::size_t>(list)];
    table.assign(entries);
    table.sortNewestFirst();
    vFillHeadlineTable(grid, table, true);
    vFillHeadline(list, grid, table, true);
    // The list was rebuilt: whatever row the story showed before names another headline now.
    m_iShowedStoryRow = -1;
    OnShowStory();
}
