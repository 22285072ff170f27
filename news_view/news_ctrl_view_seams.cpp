// Operations of the view whose work belongs to parts of the module that are not built yet:
// recovery and search answers and the search dialogs. Each one does the least that keeps
// the view consistent (no data is made up) until its part replaces it. The story answers already reach the story
// displays and the print and save jobs.
#include "host/backend/bk_quote_interface.h"
#include "host/framework/sync_info.h"
#include "news_view/news_ctrl_view.h"
#include "story/news_story_dlg.h"
#include "story/news_story_view.h"

// ---- Recovery and back-end answers ----

void TRVNewsCtrlView::OnReCoverHeadline() {
    // Re-requests the headlines of the selected rows once recovery is built.
}

void TRVNewsCtrlView::OnReCoverHeadlineTable() {
    // Re-requests the current list's table once recovery is built.
}

void TRVNewsCtrlView::OnReCoverStory() {
    // Re-requests the focused row's story once recovery and the story displays are built.
}

void TRVNewsCtrlView::RespHeadLine(const std::vector<CHeadlineTable>& entries) {
    // Headlines became available: the next refresh writes the rows that are on screen.
    vRestartRefreshTimer();
    vPassHeadlinesToOutput(entries);
    if (bPaneShowsStory() && m_pStoryView != nullptr) {
        m_pStoryView->RespHeadLine(entries);
    }
}

void TRVNewsCtrlView::RespStory(const CHeadlineTable& entry) {
    if (bPaneShowsStory()) {
        if (m_pStoryView != nullptr) {
            m_pStoryView->RespStory(entry);
        }
    } else if (m_pNewsStory != nullptr && m_pNewsStory->IsWindowVisible()) {
        m_pNewsStory->RespStory(entry);
    }
    vPassStoryToOutput(entry);
}

void TRVNewsCtrlView::StoryUpdateNotify(const CHeadlineTable* entry) {
    const bool dialogIsDisplay = !bPaneShowsStory();
    if (dialogIsDisplay && (m_pNewsStory == nullptr || !m_pNewsStory->IsWindowVisible()) && m_pStoryView == nullptr) {
        return;
    }
    const HeadlineTableList* table = GetTable(m_iCurrFunction);
    if (entry == nullptr || table == nullptr || !bFindHeadlineTable(*entry, *table)) {
        return;
    }
    // Kept: the window, which every view with a control set has, takes the notice before the pane.
    if (m_pNewsStory != nullptr) {
        m_pNewsStory->vStoryUpdateNotify(entry);
    } else if (m_pStoryView != nullptr) {
        m_pStoryView->vStoryUpdateNotify(entry);
    }
}

void TRVNewsCtrlView::vRecvAllHeadlineTableRecovery(const CHeadlineTableInfo* /*info*/) {
    // Rebuilds the date lists from a re-sent table once recovery is built.
}

void TRVNewsCtrlView::vRecvCatHeadlineTableRecovery(const CHeadlineTableInfo* /*info*/) {
    // Rebuilds the category list from a re-sent table once recovery is built.
}

void TRVNewsCtrlView::vRecvSymHeadlineTableRecovery(const CHeadlineTableInfo* /*info*/) {
    // Rebuilds the symbol list from a re-sent table once recovery is built.
}

// ---- Search ----

void TRVNewsCtrlView::OnSearch() {
    // The quick search of the search box comes with search results intake.
    m_iShowedStoryRow = -1;
}

void TRVNewsCtrlView::RespSearchHeadLineTable(const CSearch& /*condition*/, unsigned char /*service*/) {
    // Search answers are merged into the search lists once search intake is built.
}

void TRVNewsCtrlView::ProcessNewSearchHeadline(CSearch& /*condition*/, host::ui::CSuperSheetWnd* /*grid*/,
                                               HeadlineTableList& /*table*/, const CHeadline& /*headline*/,
                                               const CString& /*key*/) {
    // Pushed headlines join the warning-term results once search intake is built.
}

void TRVNewsCtrlView::vDoSearchChangeSymbol(const CSearch& /*condition*/, unsigned char /*market*/,
                                            const CString& /*symbolCode*/) {
    // A symbol change re-runs the shown search once search intake is built.
}

bool TRVNewsCtrlView::bInitialSearchCtrl(TRVCfgIO2* /*cfg*/, const CString& /*section*/, int /*layout1*/,
                                         int /*layout2*/) {
    // The saved keywords, recent searches, key sets and warning items load with the dialogs.
    return false;
}

// ---- Search dialogs ----

void TRVNewsCtrlView::OnRelationSearchDlg() {
    // Opens the keyword-set dialog once it exists.
}

void TRVNewsCtrlView::OnDealsSearchDlg() {
    // Opens the advanced search dialog once it exists.
}

void TRVNewsCtrlView::OnDealsSearch() {
    // Sends the prepared search to the services once deals search is built.
}

void TRVNewsCtrlView::OnWarningSearchDlg() {
    // Opens the warning-term dialog once it exists.
}
