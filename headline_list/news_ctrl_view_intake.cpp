// Real-time intake: a pushed headline is routed to every list it belongs to and merged into
// each list's table and grid without rebuilding them.
#include <cstdlib>

#include "headline_list/news_ctrl_view_clock.h"
#include "host/backend/bk_quote_interface.h"
#include "news_view/news_ctrl_view.h"
#include "story/news_story_view.h"

using host::ui::CSuperSheetWnd;

namespace {

constexpr const char* kSearchKey = "SEARCH";

bool sameDate(const host::ui::Date& date, std::int64_t seconds) {
    news::LocalClock local;
    return news::localClock(seconds, local) && local.year == date.year && local.month == date.month &&
           local.day == date.day;
}

} // namespace

void TRVNewsCtrlView::RecvNewHeadLine(const CHeadline* headline, const CString& categoryId, const CString& symbolCode) {
    BKQuoteInterface* bk = BKQuoteInterface::GetBKInterface();
    if (headline == nullptr || bk == nullptr || bk->bIsConnect() != 1 || m_pDateTime == nullptr) {
        return;
    }
    const bool today = sameDate(pickedDate(), currentNewsDay());
    bool serviceSelected = false;
    for (const NewsServiceEntry& entry : m_vService) {
        if (entry.m_byService == headline->m_byService) {
            serviceSelected = entry.m_bySelected != 0;
            break;
        }
    }

    // The warrant service has a list of its own and is taken whether or not it is checked.
    const bool warrant = headline->m_byService == news::kServiceWarrant;
    if (today && (warrant || (serviceSelected && m_bShownAllNews))) {
        const int list = warrant ? news::kModeWarrant : news::kModeAllNews;
        vProcessNewHeadline(m_pSheet[list], m_vHeadlineTable[list], *headline, warrant);
    }
    // The category and symbol lists take a headline only for the entry selected in their combo.
    const CString category = m_pSheet[news::kModeCategory] != nullptr ? cszGetSelectedCategoryID() : CString{};
    if (!category.empty() && serviceSelected && m_bShownCategory && category == categoryId) {
        vProcessNewHeadline(m_pSheet[news::kModeCategory], m_vHeadlineTable[news::kModeCategory], *headline, true);
    }
    const CString symbol = m_pSheet[news::kModeSymbol] != nullptr ? selectedSymbolCode() : CString{};
    if (!symbol.empty() && serviceSelected && m_bShownSymbol && symbol == symbolCode) {
        vProcessNewHeadline(m_pSheet[news::kModeSymbol], m_vHeadlineTable[news::kModeSymbol], *headline, true);
    }
    // Kept on purpose: a pushed row of the relation list shows month/day and time, while the
    // rows of a rebuilt list show the time only (and a refresh leaves unchanged titles alone).
    if (m_pSheet[news::kModeRelation] != nullptr && serviceSelected && m_bShownRelation &&
        CheckIsRelationSearch(*headline, std::atoi(categoryId.c_str()), symbolCode)) {
        vProcessNewHeadline(m_pSheet[news::kModeRelation], m_vHeadlineTable[news::kModeRelation], *headline, true);
    }
    if (m_iCurrFunction == news::kModeWarningSearch) {
        // The search step works on the current list index; it must read as the search list.
        m_iCurrFunction = news::kModeSearch;
        ProcessNewSearchHeadline(m_warningCondition, m_pSheet[news::kModeWarningSearch],
                                 m_vHeadlineTable[news::kModeWarningSearch], *headline, kSearchKey);
        m_iCurrFunction = news::kModeWarningSearch;
    }
    passHeadlineToStory(*headline);
    vUpdateView();
    m_iShowedStoryRow = -1;
}

void TRVNewsCtrlView::vProcessNewHeadline(CSuperSheetWnd* grid, HeadlineTableList& table, const CHeadline& headline,
                                          bool showDate) {
    if (grid == nullptr) {
        return;
    }
    const HeadlineTableList::PushResult push = table.processPush(headline);
    if (!push.resent) {
        vInsertHeadline(grid, headline, showDate, push.insertedRow);
        return;
    }
    // Kept on purpose: a re-sent headline moves to the top even when rows above it are newer.
    // The grid follows the table step by step so that row i stays entry i.
    vUpdateHeadline(grid, push.rewrittenRow, headline, showDate);
    if (push.removed && push.removedRow > 0) {
        vDeleteHeadline(grid, push.removedRow - 1); // the grid has not had the top row yet
    }
    vInsertHeadline(grid, headline, showDate, 0);
}

void TRVNewsCtrlView::vInsertHeadline(CSuperSheetWnd* grid, const CHeadline& headline, bool showDate, std::size_t row) {
    if (grid == nullptr) {
        return;
    }
    CString time;
    vGetTimeString(time, headline, showDate);
    const CString category = cszShowText(headline.m_byService, cszTransferCatIDToCatName(headline.m_iCategory));
    grid->vInsertRow(row);
    const CString title = cszShowText(headline.m_byService, headline.m_strTitle);
    vFillSheet(grid, row, time, category, title, headline.m_iCategory);
    grid->invalidate();
}

void TRVNewsCtrlView::vUpdateHeadline(int list, CSuperSheetWnd* grid, const std::vector<CHeadlineTable>& entries,
                                      const HeadlineTableList& table, bool showDate) {
    BKQuoteInterface* bk = BKQuoteInterface::GetBKInterface();
    if (bk == nullptr || grid == nullptr || entries.empty() || table.empty()) {
        return;
    }
    // One look-up per service of the list, each with every entry: the back end picks out its own.
    std::vector<CHeadline> headlines;
    for (unsigned char service : vGetListServices(list)) {
        bk->BKQNEWS_iGetHeadline(service, headlines, entries);
    }
    for (const CHeadline& headline : headlines) {
        const auto row = table.findFirstByKey(headline.m_byService, headline.m_tTime, headline.m_iSeqNo);
        if (row && *row < grid->iGetRowCount()) {
            vUpdateHeadline(grid, *row, headline, showDate);
        }
    }
}

void TRVNewsCtrlView::vUpdataTopHeadline(CSuperSheetWnd* grid, const HeadlineTableList& table, bool showDate) {
    BKQuoteInterface* bk = BKQuoteInterface::GetBKInterface();
    if (bk == nullptr || grid == nullptr || table.empty()) {
        return;
    }
    const int first = grid->iGetFirstVisibleRow();
    const std::size_t row = first > 0 ? static_cast<std::size_t>(first) : 0;
    if (row >= table.size() || row >= grid->iGetRowCount()) {
        return;
    }
    const CHeadlineTable entry = table[row];
    std::vector<CHeadline> headlines;
    bk->BKQNEWS_iGetHeadline(entry.m_byService, headlines, {entry});
    for (const CHeadline& headline : headlines) {
        if (!bSameKey(entry, headline)) {
            continue;
        }
        if (grid == m_pSheet[news::kModeRelation] && !CheckIsRelationSearch(headline, headline.m_iCategory, {})) {
            return;
        }
        vUpdateHeadline(grid, row, headline, showDate);
        return;
    }
}

void TRVNewsCtrlView::vDeleteHeadline(CSuperSheetWnd* grid, std::size_t row) {
    if (grid == nullptr || row >= grid->iGetRowCount()) {
        return;
    }
    grid->vDeleteRow(row);
    grid->update();
    grid->invalidate();
}

bool TRVNewsCtrlView::bFindHeadlineTable(const CHeadlineTable& entry, const HeadlineTableList& table) const {
    return table.findFirstByKey(entry.m_byService, entry.m_tTime, entry.m_iSeqNo).has_value();
}

bool TRVNewsCtrlView::bChangeNewsPos(int list, int row) {
    // The current list always names one of the seven lists: RespHeadLine relies on it.
    if (list < 0 || list >= news::kModeCount) {
        return false;
    }
    if (list != m_iCurrFunction) {
        m_iCurrFunction = list;
        SwitchFunction(iGetFunctionID(list));
    }
    if (m_pStoryView != nullptr) {
        m_pStoryView->SetHeadLinePos(row);
        // Kept: a position equal to the table size is left as it is.
        const int size =
            m_iCurrFunction >= 0 && m_iCurrFunction < news::kModeCount ? iGetHeadlineTableSize(m_iCurrFunction) : -1;
        if (m_pStoryView->GetHeadLinePos() < 0 || m_pStoryView->GetHeadLinePos() > size) {
            m_pStoryView->SetHeadLinePos(size - 1);
        }
    }
    if (CSuperSheetWnd* grid = pGetCurrSheetView()) {
        grid->vSetActiveSelection(row, -1);
        grid->vAutoVerScrolling(row);
    }
    OnShowStory();
    return true;
}
