// The news view's side of the related-symbol quote list: creating it beside the story pane,
// feeding it the related symbols of the shown headline, and passing registrations on to it.
// The back end's answers for it (related symbols sent again, quote data) arrive with the other
// answers and reach it through vPassSymbolsToRelateQuoteView and the memory callbacks.
#include "host/backend/bk_quote_interface.h"
#include "news_view/news_ctrl_view.h"
#include "news_view/news_ids.h"
#include "search/news_relate_symbol_quote_view.h"
#include "story/news_story_view.h"

namespace {
constexpr const char* kRelateQuoteViewName = "NewsRelateQuote";
} // namespace

void TRVNewsCtrlView::InitialNewsRelateQuoteView() {
    // The list belongs beside the embedded story: views without a story pane have no shown
    // headline whose symbols it could list.
    if (m_pRelateQuoteView != nullptr || m_iNewsType != 0 || m_pStoryView == nullptr || GetWnd() == nullptr) {
        return;
    }
    auto view = std::make_unique<CNewsRelateSymbolQuoteView>();
    if (!view->bCreateView(GetWnd(), kRelateQuoteViewName, news::kChildViewIdBase + news::kRelateQuoteViewId,
                           GetFrameID())) {
        return;
    }
    view->SetLinkGroup(GetLinkGroup());
    view->InitialViewInfo(m_pCfg, m_strCfgSection, m_iLayout1, m_iLayout2, kRelateQuoteViewName);
    m_pRelateQuoteView = view.get();
    AdoptChildView(std::move(view));
    vSetComponentPos();
    ChangeNewsSymbolList();
}

void TRVNewsCtrlView::vPlaceRelateQuoteView(const host::ui::Rect& rect, bool visible) {
    if (m_pRelateQuoteView == nullptr || m_pRelateQuoteView->GetWnd() == nullptr) {
        return;
    }
    m_pRelateQuoteView->GetWnd()->move(rect);
    m_pRelateQuoteView->GetWnd()->show(visible);
}

void TRVNewsCtrlView::vClearRelateQuoteList() {
    if (m_pRelateQuoteView != nullptr) {
        m_pRelateQuoteView->vClearList();
    }
}

void TRVNewsCtrlView::ChangeNewsSymbolList() {
    if (m_pRelateQuoteView == nullptr || m_pStoryView == nullptr) {
        return;
    }
    const HeadlineTableList* table = GetTable(m_pStoryView->GetTableNumber());
    const int position = m_pStoryView->GetHeadLinePos();
    BKQuoteInterface* bk = BKQuoteInterface::GetBKInterface();
    CNewsSymLst symbols;
    if (table == nullptr || bk == nullptr || position < 0 || static_cast<std::size_t>(position) >= table->size() ||
        !bk->BKNEWS_GetSymbolListBySeqNo(symbols, (*table)[static_cast<std::size_t>(position)])) {
        // No shown headline, or the back end holds no list for it (yet): nothing stale stays.
        m_pRelateQuoteView->vClearList();
        return;
    }
    vPassSymbolsToRelateQuoteView(symbols);
}

void TRVNewsCtrlView::vReRegisterSymbols() {
    if (m_pRelateQuoteView != nullptr) {
        m_pRelateQuoteView->vReRegisterSymbols();
    }
}

void TRVNewsCtrlView::vUnregisterViewSymbol() {
    if (m_pRelateQuoteView != nullptr) {
        m_pRelateQuoteView->vUnregisterViewSymbol();
    }
}
