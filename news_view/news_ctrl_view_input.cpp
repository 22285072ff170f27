// Input of the news view: key routing to the grid and the story, the mouse, the page buttons,
// the toolkit tip and the context menu.
#include "host/backend/bk_quote_interface.h"
#include "host/framework/host_context.h"
#include "host/ui/ui_host.h"
#include "news_view/news_ctrl_view.h"
#include "story/news_story_dlg.h"
#include "story/news_story_view.h"

using host::ui::LRESULT;
using host::ui::Message;
using host::ui::Point;
namespace win = host::ui::win;

namespace {

bool isKey(const Message& message, std::initializer_list<unsigned> keys) {
    const auto key = static_cast<unsigned>(message.wParam);
    for (const unsigned k : keys) {
        if (key == k) {
            return true;
        }
    }
    return false;
}

} // namespace

host::ui::CSuperSheetWnd* TRVNewsCtrlView::pGetFocusedTabSheet() const {
    return m_iFocusedTab >= 0 && m_iFocusedTab < news::kModeCount ? m_pSheet[static_cast<std::size_t>(m_iFocusedTab)]
                                                                  : nullptr;
}

// ---- Keys ----

bool TRVNewsCtrlView::preTranslateMessage(const Message& message) {
    // The search edit's own pre-translation comes first, as its messages are its own.
    if (m_pSearchEdit != nullptr && message.target == m_pSearchEdit && m_searchEdit2.PreTranslateMessage(message)) {
        return true;
    }
    if (message.message == win::WM_KEYUP) {
        if (GetWnd() != nullptr) {
            GetWnd()->sendMessage(message.message, message.wParam, message.lParam);
        }
        return true;
    }
    if (message.message != win::WM_KEYDOWN) {
        return TRVQuoteBaseView::preTranslateMessage(message);
    }
    host::ui::CSuperSheetWnd* grid = pGetCurrSheetView();
    const bool gridFocused = grid != nullptr && grid->bHasFocus();
    const auto key = static_cast<unsigned>(message.wParam);
    if (key == win::VK_RETURN) {
        // The symbol combo and the search edit take Enter themselves.
        if (m_iCurrFunction == news::kModeSymbol || m_iCurrFunction == news::kModeSearch) {
            return false;
        }
        if (gridFocused) {
            grid->sendMessage(message.message, message.wParam, message.lParam);
            return true;
        }
        return TRVQuoteBaseView::preTranslateMessage(message);
    }
    if (isKey(message, {win::VK_PRIOR, win::VK_NEXT, win::VK_UP, win::VK_DOWN})) {
        return true; // acted on at key-up
    }
    if (isKey(message, {win::VK_END, win::VK_HOME, win::VK_LEFT, win::VK_RIGHT})) {
        if (gridFocused) {
            grid->sendMessage(message.message, message.wParam, message.lParam);
        }
        if (bPaneShowsStory()) {
            OnShowStory();
        }
        return true;
    }
    if (key == win::VK_PROCESSKEY) {
        // No input companion window in this host: the composition goes on where it is.
        return false;
    }
    if (m_iNewsType == 2 || m_iNewsType == 3) {
        if (GetWnd() != nullptr) {
            GetWnd()->sendMessage(message.message, message.wParam, message.lParam);
        }
        return true;
    }
    return false;
}

LRESULT TRVNewsCtrlView::OnKeyDownMessage(const Message& message) {
    if (message.wParam == win::VK_RETURN) {
        OnShowStory();
        return 0;
    }
    if (isKey(message, {win::VK_END, win::VK_HOME, win::VK_LEFT, win::VK_RIGHT})) {
        host::ui::CSuperSheetWnd* grid = pGetCurrSheetView();
        if (grid != nullptr && grid->bHasFocus()) {
            grid->postMessage(message.message, message.wParam, message.lParam);
        }
        return 0;
    }
    return TRVQuoteBaseView::handleMessage(message);
}

LRESULT TRVNewsCtrlView::OnKeyUpMessage(const Message& message) {
    if (!isKey(message, {win::VK_PRIOR, win::VK_NEXT, win::VK_UP, win::VK_DOWN})) {
        return TRVQuoteBaseView::handleMessage(message);
    }
    host::ui::CSuperSheetWnd* grid = pGetFocusedTabSheet();
    if (grid != nullptr && grid->bHasFocus()) {
        grid->sendMessage(win::WM_KEYDOWN, message.wParam, 1);
        if (bPaneShowsStory()) {
            OnShowStory();
        }
    }
    return 0;
}

// ---- Mouse ----

// Plain double-clicks and button releases (the title band at the top among them) are the base
// view's; only those a grid passed on read the news.
LRESULT TRVNewsCtrlView::OnLButtonDblClkMessage(const Message& message) {
    const auto flags = static_cast<unsigned>(message.wParam);
    if ((flags & win::kGridForwarded) != 0) {
        // The pane already shows the row the click before the double-click picked.
        if (m_pNewsStory != nullptr && !bPaneShowsStory()) {
            OnShowStory();
        }
        return 0;
    }
    return TRVQuoteBaseView::handleMessage(message);
}

LRESULT TRVNewsCtrlView::OnLButtonUpMessage(const Message& message) {
    const auto flags = static_cast<unsigned>(message.wParam);
    if ((flags & win::kGridForwarded) == 0 || m_pStoryView == nullptr) {
        return TRVQuoteBaseView::handleMessage(message);
    }
    if (bPaneShowsStory()) {
        OnShowStory();
        return 0;
    }
    host::ui::CSuperSheetWnd* grid = pGetCurrSheetView();
    const int row = grid != nullptr ? grid->cptGetFocusNdx().y : -1;
    if (row >= 0) {
        m_iShowedStoryRow = row;
    }
    const int size = iGetHeadlineTableSize(m_iCurrFunction);
    if (size > 0) {
        m_pStoryView->SetHeadLinePos(row);
        const int position = row < 0 ? size - 1 : m_pStoryView->GetHeadLinePos();
        m_pStoryView->SetHeadLinePos(position);
        bChangeNewsPos(m_iCurrFunction, position);
    }
    return 0;
}

LRESULT TRVNewsCtrlView::OnMouseWheelMessage(const Message& message) {
    if (host::ui::CSuperSheetWnd* grid = pGetCurrSheetView()) {
        grid->postMessage(message.message, message.wParam, message.lParam);
    }
    return 1;
}

LRESULT TRVNewsCtrlView::OnVScrollMessage(const Message& /*message*/) {
    // Rows scrolled into view are written by the next refresh.
    vRestartRefreshTimer();
    ChangeCurrViewCategoryState(m_byCategoryState != 0);
    return 0;
}

LRESULT TRVNewsCtrlView::OnHScrollMessage(const Message& message) {
    // Horizontal scrolling moves the grid's column focus: a line or a page is one arrow key,
    // the far ends are Home and End of the row; the thumb and the end of a scroll do nothing.
    host::ui::CSuperSheetWnd* grid = pGetCurrSheetView();
    if (grid == nullptr || !grid->bHasFocus()) {
        return 0;
    }
    unsigned key = 0;
    switch (host::ui::LOWORD(message.wParam)) {
    case win::SB_LINELEFT:
    case win::SB_PAGELEFT:
        key = win::VK_LEFT;
        break;
    case win::SB_LINERIGHT:
    case win::SB_PAGERIGHT:
        key = win::VK_RIGHT;
        break;
    case win::SB_LEFT:
        key = win::VK_HOME;
        break;
    case win::SB_RIGHT:
        key = win::VK_END;
        break;
    default:
        return 0;
    }
    grid->sendMessage(win::WM_KEYDOWN, key, 1);
    return 0;
}

// ---- Page buttons ----

void TRVNewsCtrlView::OnBtnPageDown() {
    const int size = iGetHeadlineTableSize(m_iFocusedTab);
    if (m_pStoryView == nullptr || size < 1) {
        return;
    }
    const int next = m_pStoryView->GetHeadLinePos() + 1;
    const int position = next >= size ? 0 : next;
    m_pStoryView->SetHeadLinePos(position);
    m_pStoryView->vShowData();
    bChangeNewsPos(m_iFocusedTab, position);
    ChangeNewsSymbolList();
}

void TRVNewsCtrlView::OnBtnPageUp() {
    const int size = iGetHeadlineTableSize(m_iFocusedTab);
    if (m_pStoryView == nullptr || size < 1) {
        return;
    }
    const int previous = m_pStoryView->GetHeadLinePos() - 1;
    const int position = previous < 0 ? size - 1 : previous;
    m_pStoryView->SetHeadLinePos(position);
    m_pStoryView->vShowData();
    bChangeNewsPos(m_iFocusedTab, position);
    ChangeNewsSymbolList();
}

// ---- Tips and the search edit ----

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

// ---- Context menu ----

LRESULT TRVNewsCtrlView::OnContextMenuMessage(const Message& message) {
    host::ui::Window* wnd = GetWnd();
    host::ui::UiHost* ui = host::HostContext::current().ui;
    if (wnd == nullptr || ui == nullptr) {
        return 0;
    }
    const Point screen{host::ui::GET_X_LPARAM(message.lParam), host::ui::GET_Y_LPARAM(message.lParam)};
    const Point origin = wnd->clientToScreen(Point{0, 0});
    const Point client{screen.x - origin.x, screen.y - origin.y};
    if (IsShowTitle() && client.y >= 0 && client.y < GetTitleHeight() && client.x >= 0 &&
        client.x < GetClientRect().Width()) {
        return TRVQuoteBaseView::handleMessage(message);
    }

    // A menu asked for from the keyboard carries no point and names no row.
    bool onRow = false;
    host::ui::CSuperSheetWnd* grid = pGetCurrSheetView();
    if (grid != nullptr && !(screen.x == -1 && screen.y == -1)) {
        const Point gridOrigin = grid->clientToScreen(Point{0, 0});
        onRow = grid->iCalcRowNdx(Point{screen.x - gridOrigin.x, screen.y - gridOrigin.y}) >= 0;
    }

    // Items by position: the commands reach the message map like any other.
    std::unique_ptr<host::ui::PopupMenu> menu = ui->createPopupMenu();
    menu->appendItem(news::kCmdChangeCategoryState, Lang("IDS_NEWSCTRLVIEW_STRING_SHOW_CATEGORY"),
                     m_byCategoryState != 0);
    if (m_iCurrFunction == news::kModeAllNews || m_iCurrFunction == news::kModeCategory ||
        m_iCurrFunction == news::kModeSymbol) {
        menu->appendSeparator();
        menu->appendItem(news::kCmdRecoverHeadlineTable, Lang("IDS_NEWSCTRLVIEW_STRING_RECOVER_HEADLINELIST"));
    }
    if (onRow) {
        menu->appendItem(news::kCmdRecoverStory, Lang("IDS_NEWSCTRLVIEW_STRING_RECOVER_STORY"));
        if (bDialogShowsStory()) {
            menu->appendItem(news::kCmdShowStory, Lang("IDS_NEWSCTRLVIEW_STRING_DETAILED_STORY"));
        }
        menu->appendItem(news::kCmdPrintNews, Lang("IDS_NEWSCTRLVIEW_STRING_PRINT_NEWS"));
        menu->appendItem(news::kCmdSaveNews, Lang("IDS_NEWSCTRLVIEW_STRING_SAVE_AS_NEWS"));
    }
    menu->track(screen, wnd, true);
    return 0;
}
