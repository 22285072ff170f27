// Operations of the view whose work belongs to parts of the module that are not built yet: the
// story pane and dialog, the tip window, keys and the context menu, search answers, the search
// dialogs and the related-symbol quote view. Each one does the least that keeps the view
// consistent (no data is made up) until its part replaces it. Simple input handling that the
// first views need (scrolling, the wheel, tips, the search text) is already real here.
#include "host/backend/bk_quote_interface.h"
#include "host/framework/sync_info.h"
#include "news_view/news_ctrl_view.h"

using host::ui::LRESULT;
using host::ui::Message;
namespace win = host::ui::win;

// ---- Story pane and dialog ----

void TRVNewsCtrlView::vAttachStoryPane(TRVQuoteBaseView* pane) {
    // The pane's typed pointer, its news parent and its font are set here once its class exists.
    m_pStoryPane = pane;
}

void TRVNewsCtrlView::OnShowStory() {
    // The story displays show the focused row once they exist; the grid keeps its selection.
}

void TRVNewsCtrlView::OnBtnPageUp() {
    // Pages the story pane back by one headline once the pane exists.
}

void TRVNewsCtrlView::OnBtnPageDown() {
    // Pages the story pane on by one headline once the pane exists.
}

host::ui::Window* TRVNewsCtrlView::pGetStoryDialogWnd() const {
    // The pop-up story dialog's window once the dialog exists.
    return nullptr;
}

void TRVNewsCtrlView::SetStoryWndStyle() {
    // Re-applies the pop-up story dialog's z-order once the dialog exists.
}

void TRVNewsCtrlView::ChangeActiveApp(int /*active*/) {
    // Keeps the pop-up story dialog's z-order in step with the application once it exists.
}

// ---- Keys, mouse and context menu ----

bool TRVNewsCtrlView::preTranslateMessage(const Message& message) {
    // Key routing to the grid and the story comes with the keyboard handling.
    return TRVQuoteBaseView::preTranslateMessage(message);
}

LRESULT TRVNewsCtrlView::OnKeyDownMessage(const Message& message) {
    return TRVQuoteBaseView::handleMessage(message);
}

LRESULT TRVNewsCtrlView::OnKeyUpMessage(const Message& message) {
    return TRVQuoteBaseView::handleMessage(message);
}

LRESULT TRVNewsCtrlView::OnLButtonDblClkMessage(const Message& message) {
    return TRVQuoteBaseView::handleMessage(message);
}

LRESULT TRVNewsCtrlView::OnLButtonUpMessage(const Message& message) {
    return TRVQuoteBaseView::handleMessage(message);
}

LRESULT TRVNewsCtrlView::OnHScrollMessage(const Message& message) {
    return TRVQuoteBaseView::handleMessage(message);
}

LRESULT TRVNewsCtrlView::OnContextMenuMessage(const Message& message) {
    return TRVQuoteBaseView::handleMessage(message);
}

LRESULT TRVNewsCtrlView::OnVScrollMessage(const Message& /*message*/) {
    // Rows scrolled into view are written by the next refresh.
    vRestartRefreshTimer();
    ChangeCurrViewCategoryState(m_byCategoryState != 0);
    return 0;
}

LRESULT TRVNewsCtrlView::OnMouseWheelMessage(const Message& message) {
    if (host::ui::CSuperSheetWnd* grid = pGetCurrSheetView()) {
        grid->postMessage(message.message, message.wParam, message.lParam);
    }
    return 1;
}

void TRVNewsCtrlView::vShowTip(const host::ui::Rect& rect, const CString& text) {
    constexpr int kTipDurationMs = 2000;
    if (showTipOver(rect, text, kTipDurationMs)) {
        m_bTipShown = true;
    }
}

bool TRVNewsCtrlView::showTipOver(const host::ui::Rect& screenArea, const CString& text, int durationMs) {
    if (m_pTipWindow == nullptr && GetWnd() != nullptr) {
        m_pTipWindow = GetWnd()->createTipWindow();
    }
    if (m_pTipWindow == nullptr) {
        return false;
    }
    constexpr int kTipStyle = 3;
    const host::ui::Point centre{screenArea.left + screenArea.Width() / 2, screenArea.top + screenArea.Height() / 2};
    m_pTipWindow->showTip(CString{}, text, centre, kTipStyle, 0, durationMs);
    return true;
}

void TRVNewsCtrlView::vOnEnterDown() {
    OnSearch();
}

void TRVNewsCtrlView::OnUpdateEdit() {
    if (m_pSearchEdit != nullptr) {
        m_strSearchText = m_pSearchEdit->text();
    }
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

// ---- Related-symbol quote view ----

void TRVNewsCtrlView::InitialNewsRelateQuoteView() {
    // Creates the related-symbol quote view beside the story once it exists.
}

void TRVNewsCtrlView::vReRegisterSymbols() {
    // Forwarded to the related-symbol quote view once it exists.
}

void TRVNewsCtrlView::vUnregisterViewSymbol() {
    // Forwarded to the related-symbol quote view once it exists.
}
