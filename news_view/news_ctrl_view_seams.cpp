// Operations of the view whose work belongs to parts of the module that are not built yet:
// search answers and the search dialogs. Each one does the least
// that keeps the view consistent (no data is made up) until its part replaces it.
#include "host/backend/bk_quote_interface.h"
#include "host/framework/sync_info.h"
#include "news_view/news_ctrl_view.h"

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
