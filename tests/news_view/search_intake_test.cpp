// Search answers and their targets, pushed headlines for the warning-term list, and a symbol
// change that re-runs the shown search: the paths the scenarios cannot set up.
#include "adapters/headless/headless_controls.h"
#include "host/backend/bk_quote_interface.h"
#include "story/quote_dlg_tip_msg.h"
#include "tests/news_view/news_view_fixture.h"

namespace newsview_test {
namespace {

class SearchIntakeTest : public NewsViewTest {
protected:
    // A quick search typed into the search box of mode 3.
    void quickSearch(const CString& text) {
        m_view->SwitchFunction(news::kModeSearch);
        auto* edit = dynamic_cast<headless::HeadlessEdit*>(control(news::kIdSearchEdit));
        ASSERT_NE(edit, nullptr);
        ASSERT_TRUE(edit->typeText(text));
        m_view->OnSearch();
    }
    std::vector<std::string> rows(int list) {
        std::vector<std::string> out;
        headless::HeadlessSheet& grid = sheet(list);
        for (std::size_t r = 0; r < grid.iGetRowCount(); ++r) {
            out.push_back(grid.cszGetCellText(r, 2));
        }
        return out;
    }
    std::size_t searchesSent() const { return m_backend.countCalls("BKQNEWS_bSearchNews"); }
};

TEST_F(SearchIntakeTest, WithTheWarningSwitchOnOrdinaryAnswersFillTheWarningList) {
    Options options;
    options.showWarningSearch = true;
    createView(options);
    const CHeadlineTable hit = addNews(16, taipei(8, 0), 1, "TSMC");
    quickSearch("TSMC");
    m_backend.answerSearch(m_view->GetSearchCondition(), 16, BKQuoteInterface::kSearch, {hit});
    EXPECT_EQ(rows(news::kModeWarningSearch), std::vector<std::string>{"TSMC"});
    EXPECT_TRUE(rows(news::kModeSearch).empty());
}

TEST_F(SearchIntakeTest, AnAnswerForAConditionNoLongerHeldIsDroppedAndTheWaitGoesOn) {
    createView();
    const CHeadlineTable hit = addNews(16, taipei(8, 0), 1, "TSMC");
    quickSearch("TSMC");
    const CSearch first = m_view->GetSearchCondition();
    quickSearch("HK");
    ASSERT_TRUE(m_view->GetTipMsg() != nullptr && m_view->GetTipMsg()->IsWindowVisible());
    m_backend.answerSearch(first, 16, BKQuoteInterface::kSearch, {hit});
    EXPECT_TRUE(rows(news::kModeSearch).empty());
    EXPECT_TRUE(m_view->GetTipMsg()->IsWindowVisible());
    EXPECT_TRUE(m_view->GetServiceList()[0].m_bySearchPending != 0) << "the dropped answer cleared nothing";
    // The answers of the search shown end the wait with the last pending service.
    m_backend.answerSearch(m_view->GetSearchCondition(), 16, BKQuoteInterface::kSearch, {});
    EXPECT_TRUE(m_view->GetTipMsg()->IsWindowVisible());
    m_backend.answerSearch(m_view->GetSearchCondition(), 22, BKQuoteInterface::kSearch, {});
    EXPECT_TRUE(m_view->GetTipMsg()->IsWindowVisible()) << "now showing the not-found tip";
    EXPECT_TRUE(std::none_of(m_view->GetServiceList().begin(), m_view->GetServiceList().end(),
                             [](const NewsServiceEntry& e) { return e.m_bySearchPending != 0; }));
}

TEST_F(SearchIntakeTest, PushedHeadlineJoinsWhereItsServiceCopyStandsInThatServiceResults) {
    createView();
    const CHeadlineTable older = addNews(16, taipei(8, 0), 1, "older");
    const CHeadlineTable pushed = addNews(16, taipei(8, 10), 2, "pushed");
    const CHeadlineTable newer = addNews(16, taipei(8, 20), 3, "newer");
    const CHeadlineTable other = addNews(22, taipei(8, 30), 4, "other service");
    m_backend.setTable(16, BKQuoteInterface::kSearch, "SEARCH", {older, newer, pushed});
    m_backend.setTable(22, BKQuoteInterface::kSearch, "SEARCH", {other});
    HeadlineTableList table;
    table.assign({other});
    CSearch condition;
    condition.m_vKeywords = {"A", "B"};
    CHeadline headline{16, taipei(8, 10), 2, "pushed"};
    m_view->SwitchFunction(news::kModeSearch); // the intake runs this with the list index 3
    const std::size_t before = m_backend.mark();
    m_view->ProcessNewSearchHeadline(condition, &sheet(news::kModeSearch), table, headline, "SEARCH");
    // Two keywords with no method become AND, in the caller's condition; the search is re-sent
    // for the pushing service alone, as the current list index.
    EXPECT_EQ(condition.m_byMethod, CSearch::kMethodAnd);
    const std::vector<std::string> calls = m_backend.callsSince(before);
    ASSERT_FALSE(calls.empty());
    EXPECT_EQ(calls.front().rfind("BKQNEWS_bSearchNews(16, kind 3, search(\"A\",\"B\" scope=0 method=1))", 0), 0U)
        << calls.front();
    // The table is the pushing service's results, newest first, with the headline's key
    // entry inserted where its copy stands: the copy stays (kept as the list always did).
    ASSERT_EQ(table.size(), 4U);
    EXPECT_EQ(table[0], newer);
    EXPECT_EQ(table[1].m_iSeqNo, 2);
    EXPECT_EQ(table[1].m_llValue2, 0) << "the inserted entry carries the key alone";
    EXPECT_EQ(table[2], pushed);
    EXPECT_EQ(table[3], older);
}

TEST_F(SearchIntakeTest, SymbolChangeBindsTheSearchByCommodityIdForMarketOneFamily) {
    m_backend.setSameAuthGroup(1, 16);
    m_backend.addSymbol(16, "2330", "TSMC", 0, "C2330");
    m_backend.addSymbol(16, "9999", "NOCOMMODITY");
    createView();
    quickSearch("EPS");
    m_view->vDoSearchChangeSymbol(m_view->GetSearchCondition(), 16, "2330");
    EXPECT_EQ(m_view->GetSearchCondition().m_vSymbols, std::vector<CString>{"C2330"});
    // A symbol of that family without a commodity id stops before anything is sent.
    const std::size_t sent = searchesSent();
    m_view->vDoSearchChangeSymbol(m_view->GetSearchCondition(), 16, "9999");
    EXPECT_EQ(searchesSent(), sent);
    EXPECT_EQ(m_view->GetSearchCondition().m_vSymbols, std::vector<CString>{"C2330"});
    // A condition the view does not hold binds nothing, but the shown search is re-run.
    CSearch stranger;
    stranger.m_vKeywords = {"OTHER"};
    m_view->vDoSearchChangeSymbol(stranger, 16, "2330");
    EXPECT_EQ(m_view->GetSearchCondition().m_vSymbols, std::vector<CString>{"C2330"});
    EXPECT_EQ(searchesSent(), sent + 2);
}

} // namespace
} // namespace newsview_test
