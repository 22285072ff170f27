// The view's side of the story displays: the pane made by run-time class, the pop-up story
// window and the tip message window, which row they show, their z-order, and pushed
// headlines passed on to them.
#include "host/framework/host_context.h"
#include "host/framework/sync_info.h"
#include "host/ui/ui_host.h"
#include "news_view/news_ctrl_view.h"
#include "story/news_story_dlg.h"
#include "story/news_story_view.h"
#include "story/quote_dlg_tip_msg.h"

using host::ui::ZOrder;

void TRVNewsCtrlView::vAttachStoryPane(TRVQuoteBaseView* pane) {
    m_pStoryPane = pane;
    m_pStoryView = dynamic_cast<NewsStoryView*>(pane);
    if (m_pStoryView != nullptr) {
        m_pStoryView->vSetNewsParent(this);
    }
}

std::optional<CSearch> TRVNewsCtrlView::markCondition(int list) const {
    // Only the search lists mark their keywords in the story, with the condition that found them.
    const CSearch* condition = list == news::kModeSearch          ? &m_searchCondition
                               : list == news::kModeWarningSearch ? &m_warningCondition
                                                                  : nullptr;
    if (condition == nullptr) {
        return std::nullopt;
    }
    CSearch marked = *condition;
    marked.m_bKeywordSearch = true;
    return marked;
}

void TRVNewsCtrlView::vGiveStoryToPane(int list, int row) {
    if (m_pStoryView == nullptr || list < 0 || list >= news::kModeCount) {
        return;
    }
    m_pStoryView->vSetFont(&GetViewFont());
    const HeadlineTableList& table = m_vHeadlineTable[static_cast<std::size_t>(list)];
    if (const std::optional<CSearch> condition = markCondition(list)) {
        m_pStoryView->vSetStoryData(list, row, table, *condition);
    } else {
        m_pStoryView->vSetStoryData(list, row, table);
    }
}

void TRVNewsCtrlView::vGiveStoryToDialog(int list, int row) {
    if (m_pNewsStory == nullptr || list < 0 || list >= news::kModeCount) {
        return;
    }
    const HeadlineTableList& table = m_vHeadlineTable[static_cast<std::size_t>(list)];
    if (const std::optional<CSearch> condition = markCondition(list)) {
        m_pNewsStory->vSetStoryData(list, row, table, *condition);
    } else {
        m_pNewsStory->vSetStoryData(list, row, table);
    }
    SetStoryWndStyle();
    m_pNewsStory->ShowWindow(true);
    if (host::ui::Window* wnd = m_pNewsStory->GetWnd()) {
        wnd->setZOrder(ZOrder::kTop, true);
    }
}

void TRVNewsCtrlView::OnShowStory() {
    host::ui::CSuperSheetWnd* grid = pGetCurrSheetView();
    const int row = grid != nullptr ? grid->cptGetFocusNdx().y : -1;
    if (row < 0) {
        if (m_pNewsStory != nullptr) {
            m_pNewsStory->ShowWindow(false);
        }
        if (m_pStoryView != nullptr) {
            m_pStoryView->OnClearStory();
        }
        vClearRelateQuoteList();
        return;
    }
    grid->vAutoVerScrolling(row);
    if (bPaneShowsStory()) {
        if (row != m_iShowedStoryRow) {
            m_iShowedStoryRow = row;
            vGiveStoryToPane(m_iCurrFunction, row);
            ChangeNewsSymbolList();
        }
        return;
    }
    vGiveStoryToDialog(m_iCurrFunction, row);
}

void TRVNewsCtrlView::SetStoryWndStyle() {
    host::ui::Window* wnd = m_pNewsStory != nullptr ? m_pNewsStory->GetWnd() : nullptr;
    if (wnd == nullptr) {
        return;
    }
    // No move, no size and no activation: the window the user works in stays active.
    wnd->setZOrder(IsStoryDlgOnTop() ? ZOrder::kTopMost : ZOrder::kNotTopMost, false);
}

void TRVNewsCtrlView::ChangeActiveApp(int active) {
    host::ui::Window* wnd = m_pNewsStory != nullptr ? m_pNewsStory->GetWnd() : nullptr;
    const int position = CSyncInfo::Get().SYS_eGetPopupWndPosition();
    if (wnd == nullptr || (position != 1 && !IsPopupFollowApp())) {
        return;
    }
    if (active != 0) {
        wnd->setZOrder(position == 1 ? ZOrder::kNotTopMost : ZOrder::kTopMost, false);
        return;
    }
    // Inactive: to the bottom and back to the top of the ordinary windows, top-most no more.
    wnd->setZOrder(ZOrder::kNotTopMost, false);
    wnd->setZOrder(ZOrder::kBottom, false);
    wnd->setZOrder(ZOrder::kTop, false);
}

void TRVNewsCtrlView::passHeadlineToStory(const CHeadline& headline) {
    if (!bPaneShowsStory()) {
        if (m_pNewsStory != nullptr && m_pNewsStory->IsWindowVisible()) {
            m_pNewsStory->RecvNewHeadLine(&headline);
        }
        return;
    }
    if (m_pStoryView != nullptr) {
        m_pStoryView->RecvNewHeadLine(&headline);
    }
}

host::ui::Window* TRVNewsCtrlView::pGetStoryDialogWnd() const {
    return m_pNewsStory != nullptr ? m_pNewsStory->GetWnd() : nullptr;
}
