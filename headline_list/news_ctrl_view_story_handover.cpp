// The hand-over of the back end's answers to the story displays and the related-symbol quote
// view. Each display takes its share only while it exists; the view reaches the pane and the
// window through these few operations alone.
#include "news_view/news_ctrl_view.h"
#include "search/news_relate_symbol_quote_view.h"
#include "story/news_story_dlg.h"
#include "story/news_story_view.h"

void TRVNewsCtrlView::vPassHeadlinesToStoryPane(const std::vector<CHeadlineTable>& entries) {
    if (m_pStoryView != nullptr) {
        m_pStoryView->RespHeadLine(entries);
    }
}

void TRVNewsCtrlView::vPassStoryToStoryPane(const CHeadlineTable& entry) {
    if (m_pStoryView != nullptr) {
        m_pStoryView->RespStory(entry);
    }
}

void TRVNewsCtrlView::vPassStoryToStoryDialog(const CHeadlineTable& entry) {
    // A hidden window shows nothing; it fetches the story again when it is next shown.
    if (bStoryDialogShown()) {
        m_pNewsStory->RespStory(entry);
    }
}

void TRVNewsCtrlView::vPassStoryUpdateToDisplays(const CHeadlineTable& entry) {
    // The window, which every view with a control set has, takes the notice before the pane.
    if (m_pNewsStory != nullptr) {
        m_pNewsStory->vStoryUpdateNotify(&entry);
    } else if (m_pStoryView != nullptr) {
        m_pStoryView->vStoryUpdateNotify(&entry);
    }
}

void TRVNewsCtrlView::vPassSymbolsToRelateQuoteView(const CNewsSymLst& symbols) {
    if (m_pRelateQuoteView != nullptr) {
        const CNewsSymLst copy = symbols; // the list may outlive the back end's record
        m_pRelateQuoteView->vSetSymbolList(copy.m_vSymbols);
    }
}

bool TRVNewsCtrlView::bStoryDialogShown() const {
    return m_pNewsStory != nullptr && m_pNewsStory->IsWindowVisible();
}

int TRVNewsCtrlView::iGetStoryPanePosition() const {
    return m_pStoryView != nullptr ? m_pStoryView->GetHeadLinePos() : -1;
}

int TRVNewsCtrlView::iGetStoryDisplayPosition() {
    host::ui::CSuperSheetWnd* grid = pGetCurrSheetView();
    const int focused = grid != nullptr ? grid->cptGetFocusNdx().y : -1;
    if (bPaneShowsStory()) {
        if (m_pStoryView == nullptr) {
            return -1;
        }
        m_pStoryView->SetHeadLinePos(focused);
        return m_pStoryView->GetHeadLinePos();
    }
    if (m_pNewsStory == nullptr) {
        return -1;
    }
    m_pNewsStory->SetHeadLinePos(focused);
    return m_pNewsStory->GetHeadLinePos();
}
