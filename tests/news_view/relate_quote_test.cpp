// The related-symbol quote list beside the story: where it goes, what the news view hands it,
// and the host list's own behaviour under bursts, persistence and a back end without quotes.
#include <gtest/gtest.h>

#include "host/backend/quote_price.h"
#include "host/backend/subscriptions.h"
#include "host/framework/sync_info.h"
#include "news_view_fixture.h"
#include "search/news_relate_symbol_quote_view.h"
#include "story/news_story_view.h"

namespace newsview_test {
namespace {

using host::ui::Rect;

CMemoryInfo quote(const char* code, std::int32_t reference, std::int32_t last, std::int64_t volume = 1) {
    CMemoryInfo m;
    m.m_byService = 16;
    m.m_strCode = code;
    m.m_strName = code;
    m.m_iRefPrice = reference;
    m.m_iLimitUp = quote_price::limitUp(reference);
    m.m_iLimitDown = quote_price::limitDown(reference);
    m.m_iLast = last;
    m.m_llVolume = volume;
    return m;
}

class RelateQuoteTest : public NewsViewTest {
protected:
    CHeadlineTable m_first;
    CHeadlineTable m_second;

    RelateQuoteTest() {
        m_first = addNews(16, taipei(9, 30), 1, "first");
        m_second = addNews(16, taipei(9, 40), 2, "second");
        m_backend.setRelatedSymbols(
            m_first, {CSymbolInfo{16, "2330", {}}, CSymbolInfo{16, "2454", {}}, CSymbolInfo{16, "2330", {}}});
        m_backend.setRelatedSymbols(m_second, {CSymbolInfo{16, "2317", {}}});
        m_backend.setMemory(quote("2330", 58000, 58500));
        m_backend.setMemory(quote("2454", 90000, 89100));
        m_backend.setMemory(quote("2317", 10500, 10600));
    }
    CNewsRelateSymbolQuoteView& list() {
        CNewsRelateSymbolQuoteView* view = m_view->GetRelateQuoteView();
        if (view == nullptr) {
            throw std::runtime_error("no quote list");
        }
        return *view;
    }
    headless::HeadlessSheet& grid() { return dynamic_cast<headless::HeadlessSheet&>(*list().GetGrid()); }
    void showRow(int row) {
        sheet(news::kModeAllNews).vSetActiveSelection(row, 0);
        m_view->OnShowStory();
    }
};

TEST_F(RelateQuoteTest, TheListTakesTheSpaceTheStoryLeaves) {
    Options tall;
    tall.rect = Rect{0, 0, 1000, 900};
    createView(tall);
    m_view->SetStoryShowType(1);
    const Rect pane = m_view->GetStoryPaneView()->GetWnd()->rect();
    EXPECT_EQ(pane.bottom, 900 - 120) << "a third of the height is 121 or more: 120 pixels above the bottom";
    EXPECT_EQ(list().GetWnd()->rect(), (Rect{pane.left, 780, 1000, 900}));
    EXPECT_TRUE(list().GetWnd()->isVisible());

    m_view->GetWnd()->move(Rect{0, 0, 1000, 360});
    EXPECT_EQ(m_view->GetStoryPaneView()->GetWnd()->rect().bottom, 240) << "a third below 121: two thirds";

    m_view->SetStoryShowType(2);
    EXPECT_EQ(m_view->GetStoryPaneView()->GetWnd()->rect().right, 500) << "half the width";
    EXPECT_EQ(list().GetWnd()->rect().left, 500);
    m_view->GetWnd()->move(Rect{0, 0, 400, 600});
    EXPECT_EQ(m_view->GetStoryPaneView()->GetWnd()->rect().right, 150) << "at most R.right - 250";

    m_view->SetStoryShowType(0);
    EXPECT_FALSE(list().GetWnd()->isVisible()) << "no story, no quotes beside it";
}

TEST_F(RelateQuoteTest, OnlyAViewWithAStoryPaneHasTheList) {
    Options twoColumns;
    twoColumns.newsType = 1;
    createView(twoColumns);
    EXPECT_EQ(m_view->GetRelateQuoteView(), nullptr);
    // Quote data and recoveries are ignored without it.
    const CMemoryInfo m = quote("2330", 58000, 58600);
    const std::vector<CMemoryInfo> many{m};
    m_view->vRecvNewMemory(&m);
    m_view->vRecvMemoryRecovery(&m);
    m_view->vRecvMultiSymbolMemoryRecovery(&many);
    const CNewsSymlistInfo info{16, m_first.m_tTime, 1, CNewsSymLst{{CSymbolInfo{16, "2330", {}}}}};
    m_view->vRecvNewsRelateSymbolListRecovery(&info);
    m_view->vReRegisterSymbols();
    m_view->vUnregisterViewSymbol();
}

TEST_F(RelateQuoteTest, TheShownHeadlinesSymbolsAreListedRegisteredAndUpdatedInBursts) {
    createView();
    showRow(1); // 16#1, the older headline
    ASSERT_EQ(grid().iGetRowCount(), 2u) << "a symbol listed twice shows once";
    EXPECT_EQ(grid().cszGetCellText(0, QuoteListBaseView::kColLast), "585.00");
    EXPECT_EQ(NewsSubscriptions::instance().symbolsOf(&list()).size(), 2u);

    // A burst of updates is written once per refresh, with the newest values.
    for (int i = 1; i <= 500; ++i) {
        CMemoryInfo m = quote("2330", 58000, 58000 + 100 * (i % 5), 1000 + i);
        list().vRecvNewMemory(&m);
    }
    EXPECT_EQ(grid().cszGetCellText(0, QuoteListBaseView::kColVolume), "1") << "nothing written before the refresh";
    m_host.advanceBy(QuoteListBaseView::kRefreshMs);
    EXPECT_EQ(grid().cszGetCellText(0, QuoteListBaseView::kColVolume), "1500");
    EXPECT_EQ(grid().cszGetCellText(0, QuoteListBaseView::kColLast), "580.00");
    EXPECT_EQ(grid().cszGetCellText(0, QuoteListBaseView::kColChange), "0.00");

    // Updates not written yet are dropped by a clear; a stale symbol's update finds no row.
    CMemoryInfo late = quote("2454", 90000, 90100);
    m_view->vRecvNewMemory(&late);
    list().vClearAllMemoryUpdate();
    m_host.advanceBy(QuoteListBaseView::kRefreshMs);
    EXPECT_EQ(grid().cszGetCellText(1, QuoteListBaseView::kColLast), "891.00");
    CMemoryInfo other = quote("2317", 10500, 10700);
    list().vRecvNewMemory(&other);
    m_host.advanceBy(QuoteListBaseView::kRefreshMs);
    EXPECT_EQ(grid().iGetRowCount(), 2u);

    // Another headline: the old symbols are unregistered, the new one registered.
    showRow(0);
    const std::vector<CSymbolInfo> registered = NewsSubscriptions::instance().symbolsOf(&list());
    ASSERT_EQ(registered.size(), 1u);
    EXPECT_EQ(registered[0].m_strCode, "2317");
    m_view->vUnregisterViewSymbol();
    EXPECT_TRUE(NewsSubscriptions::instance().symbolsOf(&list()).empty());
    m_view->vReRegisterSymbols();
    EXPECT_EQ(NewsSubscriptions::instance().symbolsOf(&list()).size(), 1u);
}

TEST_F(RelateQuoteTest, SymbolChangesAndCatalogueUpdatesReachTheList) {
    Options noSymbolMode;
    noSymbolMode.mask = news::kMaskAllNews | news::kMaskCategory;
    createView(noSymbolMode);
    m_view->SetLinkGroup(1);
    m_backend.addSymbol(16, "2454", "MediaTek");
    showRow(1);
    ASSERT_EQ(grid().cptGetFocusNdx().y, 0);
    m_view->ChangeSymbol(m_view.get(), 1, 16, "2454", "");
    EXPECT_EQ(grid().cptGetFocusNdx().y, 1) << "the linked symbol gets the focus row";
    unsigned char service = 0;
    CString code;
    EXPECT_EQ(list().GetCurrSymbolInfo(service, code), 2);
    EXPECT_EQ(code, "2454");

    CMemoryInfo renamed = quote("2454", 90000, 89100);
    renamed.m_strName = "聯發科";
    m_backend.setMemory(renamed);
    m_view->vDoSymbolUpdate({CSymbolUpdateInfo{16, "2454", 1}});
    m_host.advanceBy(QuoteListBaseView::kRefreshMs);
    EXPECT_EQ(grid().cszGetCellText(1, QuoteListBaseView::kColName), "聯發科");
}

TEST_F(RelateQuoteTest, TheListKeepsItsColumnsInTheLayout) {
    createView();
    EXPECT_EQ(list().GetColumnSetup(), QuoteListBaseView::kColumnSetupCompact);
    EXPECT_EQ(list().GetCaptionText(), m_backend.LangGetLangString("IDS_QUOTE-SYMBOLGROUP_NEWSRELATEQUOTE"));
    showRow(1);
    grid().vSetColWidth(QuoteListBaseView::kColName, 111);
    m_view->SaveViewInfo(&m_cfg, "Layout", 0, 0);
    CString widths;
    ASSERT_TRUE(m_cfg.GetViewInfo("Layout", 0, 0, QuoteListBaseView::kViewKey, "ColumnWidths", widths));
    m_view.reset();

    createView();
    EXPECT_EQ(grid().iGetColWidth(QuoteListBaseView::kColName), 111);
    EXPECT_EQ(grid().iGetColCount(), 8);

    // Damaged widths are skipped pair by pair; the rest still apply.
    m_view.reset();
    m_cfg.SetViewInfo("Layout", 0, 0, QuoteListBaseView::kViewKey, "ColumnWidths", "1:x,zz,99:40,2:-5,2:77,:3");
    createView();
    showRow(1);
    EXPECT_EQ(grid().iGetColWidth(QuoteListBaseView::kColName), 72) << "the default";
    EXPECT_EQ(grid().iGetColWidth(QuoteListBaseView::kColLast), 77);
}

TEST_F(RelateQuoteTest, ABackEndWithoutQuotesGetsANoticeInsteadOfAnEmptyGrid) {
    createView();
    m_backend.removeMemory(16, "2330");
    m_backend.removeMemory(16, "2454");
    showRow(1);
    EXPECT_EQ(list().GetDataState(), TRVQuoteBaseView::kDataNormal) << "the records were asked for again";
    EXPECT_EQ(m_backend.pendingRequests().size(), 2u);
    EXPECT_EQ(m_backend.recoverMemory(16, "2330"), -1);
    m_backend.setMemory(quote("2330", 58000, 59000));
    EXPECT_EQ(m_backend.recoverMemory(16, "2330"), 1);
    m_host.advanceBy(QuoteListBaseView::kRefreshMs);
    EXPECT_EQ(grid().cszGetCellText(0, QuoteListBaseView::kColLast), "590.00");

    m_backend.removeMemory(16, "2330");
    m_backend.setConnected(false);
    showRow(0);
    showRow(1);
    EXPECT_EQ(list().GetDataState(), TRVQuoteBaseView::kDataNotSupported);
    EXPECT_FALSE(grid().isVisible());
    m_backend.setConnected(true);
    showRow(0);
    EXPECT_EQ(list().GetDataState(), TRVQuoteBaseView::kDataNormal);
    EXPECT_TRUE(grid().isVisible());
}

} // namespace
} // namespace newsview_test
