// The back end's answers after a recovery request: which answers a list takes, how it is
// rebuilt, what the user is told when a service holds nothing, and which services are asked.
#include "adapters/headless/headless_controls.h"
#include "story/news_story_view.h"
#include "tests/news_view/news_view_fixture.h"

namespace newsview_test {
namespace {

class RecoveryTest : public NewsViewTest {
protected:
    RecoveryTest() {
        m_backend.language().set("IDS_NEWSCTRLVIEW_STRING_NEWS_CLASS_NOT_FOUND", "no such category");
        m_backend.language().set("IDS_NEWSCTRLVIEW_STRING_SYMBOL_NEWS_NOT_FOUND", "no such symbol");
        m_backend.setCategories(16, {{"1", "Revenue"}, {"2", "Meeting"}});
        m_backend.setCategories(22, {{"1", "Revenue"}});
    }
    std::vector<std::string> callsLike(const std::string& text, std::size_t mark) const {
        std::vector<std::string> out;
        for (const std::string& call : m_backend.callsSince(mark)) {
            if (call.rfind(text, 0) == 0) {
                out.push_back(call.substr(0, call.find(" -> ")));
            }
        }
        return out;
    }
};

TEST_F(RecoveryTest, ACategoryAnswerRebuildsTheListOnlyForTheSelectedCategoryAndACheckedService) {
    const CHeadlineTable first = addNews(16, taipei(8, 0), 1, "revenue one", 1);
    const CHeadlineTable second = addNews(16, taipei(8, 5), 2, "revenue two", 1);
    const CHeadlineTable meeting = addNews(16, taipei(8, 10), 3, "meeting", 2);
    m_backend.setTable(16, BKQuoteInterface::kByCategory, "1", {first});
    m_backend.setTable(16, BKQuoteInterface::kByCategory, "2", {meeting});
    createView();
    m_view->SwitchFunction(news::kModeCategory);
    ASSERT_EQ(seqs(news::kModeCategory), std::vector<std::int32_t>{1});

    m_backend.recoverCategoryTable(16, "2", {meeting});
    EXPECT_EQ(seqs(news::kModeCategory), std::vector<std::int32_t>{1}) << "another category";
    m_view->OnSelectCheckService(5051); // Hong Kong off
    m_backend.recoverCategoryTable(22, "1", {first, second});
    EXPECT_EQ(seqs(news::kModeCategory), std::vector<std::int32_t>{1}) << "an unchecked service";

    m_backend.recoverCategoryTable(16, "1", {first, second});
    EXPECT_EQ(seqs(news::kModeCategory), (std::vector<std::int32_t>{2, 1}));
    EXPECT_EQ(sheet(news::kModeCategory).cszGetCellText(0, 0), "01/02 08:05") << "date and time";

    m_view->SetCaptionText("News ");
    m_backend.setTable(16, BKQuoteInterface::kByCategory, "1", {});
    m_backend.recoverCategoryTable(16, "1", {}, -1);
    EXPECT_EQ(m_view->GetCaptionText(), "News TWSE ");
    EXPECT_EQ(m_view->GetLastTipText(), "News TWSE  no such category");
    EXPECT_EQ(sheet(news::kModeCategory).iGetRowCount(), 0u) << "an empty table shows no rows";
}

TEST_F(RecoveryTest, ASymbolAnswerIsComparedWithTheLinkedSymbolOrTheListsOwn) {
    m_backend.addSymbol(16, "2330", "TSMC");
    m_backend.addSymbol(16, "2317", "Hon Hai");
    const CHeadlineTable tsmc = addNews(16, taipei(8, 0), 1, "TSMC news");
    const CHeadlineTable honHai = addNews(16, taipei(8, 5), 2, "Hon Hai news");
    createView();
    m_view->ChangeSymbol(m_view.get(), 0, 16, "2330", "TSMC");
    m_view->SwitchFunction(news::kModeSymbol);
    ASSERT_TRUE(seqs(news::kModeSymbol).empty());

    m_backend.recoverSymbolTable(16, "2317", {honHai});
    EXPECT_TRUE(seqs(news::kModeSymbol).empty()) << "not the list's symbol";
    m_backend.recoverSymbolTable(16, "2330", {tsmc});
    EXPECT_EQ(seqs(news::kModeSymbol), std::vector<std::int32_t>{1});

    m_backend.setTable(16, BKQuoteInterface::kBySymbol, "2330", {});
    m_backend.recoverSymbolTable(16, "2330", {}, -1);
    EXPECT_EQ(m_view->GetLastTipText(), "TWSE  no such symbol");
}

TEST_F(RecoveryTest, TheWarningListBecomesACopyOfTheAllNewsListWhicheverListADateAnswerRebuilt) {
    const CHeadlineTable news = addNews(16, taipei(8, 0), 1, "all news");
    const CHeadlineTable warrant = addNews(news::kServiceWarrant, taipei(8, 5), 2, "warrant news");
    Options options;
    options.showWarningSearch = true;
    createView(options);
    ASSERT_EQ(seqs(news::kModeAllNews), std::vector<std::int32_t>{1});
    ASSERT_TRUE(seqs(news::kModeWarningSearch).empty());

    m_backend.recoverDateTable(news::kServiceWarrant, "20240102", {warrant});
    EXPECT_TRUE(seqs(news::kModeWarrant).empty()) << "the warrant list takes answers only while it is loaded";
    EXPECT_TRUE(seqs(news::kModeWarningSearch).empty()) << "an answer that was dropped copies nothing";

    m_view->SwitchFunction(news::kModeWarrant);
    m_backend.recoverDateTable(news::kServiceWarrant, "20240102", {warrant});
    EXPECT_EQ(seqs(news::kModeWarrant), std::vector<std::int32_t>{2});
    EXPECT_EQ(seqs(news::kModeWarningSearch), std::vector<std::int32_t>{1}) << "a copy of the all-news list";
    EXPECT_EQ(sheet(news::kModeWarningSearch).cszGetCellText(0, 0), "01/02 08:00") << "filled with date and time";

    m_view->SwitchFunction(news::kModeAllNews);
    m_backend.recoverDateTable(16, "20240102", {news}, -1);
    EXPECT_EQ(seqs(news::kModeAllNews), std::vector<std::int32_t>{1}) << "a negative status with data is data";
}

TEST_F(RecoveryTest, ADateAnswerRebuildsTheRelationListWithTodaysRelatedNewsWhileItIsShown) {
    const CHeadlineTable up = addNews(16, taipei(8, 0), 1, "TSMC up");
    const CHeadlineTable weather = addNews(16, taipei(8, 5), 2, "weather");
    Options options;
    options.showNormalSearch = true;
    createBareView(options);
    m_view->SetRelationConditions({RelationCondition{2, {-999}, {"TSMC"}}});
    m_view->InitialViewInfo(&m_cfg, "Layout", 0, 0, "TRVNewsCtrlView");
    m_view->SwitchFunction(news::kModeRelation);
    ASSERT_EQ(seqs(news::kModeRelation), std::vector<std::int32_t>{1});

    const CHeadlineTable down = addNews(16, taipei(8, 10), 3, "TSMC down");
    m_backend.recoverDateTable(16, "20240102", {up, weather, down});
    EXPECT_EQ(seqs(news::kModeRelation), (std::vector<std::int32_t>{3, 1}));
    EXPECT_EQ(sheet(news::kModeRelation).cszGetCellText(0, 0), "08:10") << "time only";
    EXPECT_EQ(seqs(news::kModeAllNews), (std::vector<std::int32_t>{2, 1})) << "the list not shown is left alone";
}

TEST_F(RecoveryTest, ReFetchAsksEveryServiceOfTheListWithAllSelectedEntries) {
    addNews(16, taipei(8, 0), 1, "one");
    addNews(news::kServiceWarrant, taipei(8, 5), 2, "warrant");
    createView();
    m_view->OnSelectCheckService(5051); // Hong Kong off
    m_view->SwitchFunction(news::kModeWarrant);
    sheet(news::kModeWarrant).vSetActiveSelection(0, -1);
    std::size_t mark = m_backend.mark();
    m_view->OnReCoverHeadline();
    EXPECT_EQ(callsLike("BKQNEWS_bReCoverHeadline", mark),
              std::vector<std::string>{"BKQNEWS_bReCoverHeadline(52, [52#2@08:05:00])"});
    EXPECT_EQ(sheet(news::kModeWarrant).cszGetCellText(0, 0), "01/02 08:05") << "the entry's own time";
    EXPECT_EQ(sheet(news::kModeWarrant).cszGetCellText(0, 2), "LOADING");

    m_view->SwitchFunction(news::kModeAllNews);
    sheet(news::kModeAllNews).vSetActiveSelection(0, -1);
    mark = m_backend.mark();
    m_view->OnReCoverHeadline();
    EXPECT_EQ(callsLike("BKQNEWS_bReCoverHeadline", mark),
              std::vector<std::string>{"BKQNEWS_bReCoverHeadline(16, [16#1@08:00:00])"})
        << "only the checked services";

    mark = m_backend.mark();
    sheet(news::kModeAllNews).vClearAllRows();
    m_view->OnReCoverHeadline();
    EXPECT_TRUE(callsLike("BKQNEWS_bReCoverHeadline", mark).empty()) << "nothing selected, nothing asked";
}

TEST_F(RecoveryTest, HeadlinesAvailableRewriteTheRowsOfTheCurrentListOnly) {
    const CHeadlineTable entry{16, taipei(8, 0), 1, 0, 0};
    m_backend.setTable(16, BKQuoteInterface::kByDate, "20240102", {entry});
    createView();
    refresh();
    ASSERT_EQ(sheet(news::kModeAllNews).cszGetCellText(0, 2), "LOADING") << "the back end lacks the headline";
    addNews(16, taipei(8, 0), 1, "arrived");
    m_view->SwitchFunction(news::kModeSearch);
    m_backend.answerHeadlines({entry});
    EXPECT_EQ(sheet(news::kModeAllNews).cszGetCellText(0, 2), "LOADING") << "not the current list";
    m_view->SwitchFunction(news::kModeAllNews);
    m_backend.answerHeadlines({entry});
    EXPECT_EQ(sheet(news::kModeAllNews).cszGetCellText(0, 2), "arrived");
    EXPECT_EQ(sheet(news::kModeAllNews).cszGetCellText(0, 0), "08:00") << "time only in the all-news list";
}

TEST_F(RecoveryTest, NothingMakesTheCurrentListOneOfNoListsSoHeadlinesAlwaysFindTheirList) {
    addNews(16, taipei(8, 0), 1, "one");
    createView();
    m_view->SwitchFunction(news::kModeCount);
    EXPECT_FALSE(m_view->bChangeNewsPos(-1, 0));
    m_view->SwitchFunction(-1);
    EXPECT_EQ(m_view->iGetCurrFunction(), news::kModeAllNews);
    m_backend.answerHeadlines({CHeadlineTable{16, taipei(8, 0), 1, 0, 0}});
    EXPECT_EQ(sheet(news::kModeAllNews).cszGetCellText(0, 2), "one");
}

TEST_F(RecoveryTest, AnswersReachTheStoryPaneAndAnswersWithoutDataAreDropped) {
    const CHeadlineTable entry{16, taipei(8, 0), 1, 0, 0};
    m_backend.setTable(16, BKQuoteInterface::kByDate, "20240102", {entry}); // the headline is not held yet
    createView();
    m_view->SetStoryShowType(2);
    refresh();
    NewsStoryView* pane = m_view->GetStoryPane();
    ASSERT_NE(pane, nullptr);
    sheet(news::kModeAllNews).vSetActiveSelection(0, -1);
    pane->SetHeadLinePos(5);
    const std::size_t mark = m_backend.mark();
    m_view->OnReCoverStory();
    EXPECT_EQ(pane->GetHeadLinePos(), 0) << "the pane is pointed at the focused row";
    EXPECT_EQ(callsLike("BKQNews_bReRequestHeadlineStory", mark).size(), 1u);

    pane->vSetStoryData(news::kModeAllNews, 0, *m_view->GetTable(news::kModeAllNews));
    addNews(16, taipei(8, 0), 1, "arrived");
    m_backend.answerHeadlines({entry});
    EXPECT_NE(pane->GetWnd()->child(8066)->text().find("arrived"), std::string::npos)
        << "the headline reaches the pane";
    m_backend.setStory(entry, "late text");
    m_backend.answerStory(entry);
    EXPECT_NE(pane->GetWnd()->child(8072)->text().find("late text"), std::string::npos) << "the story reaches the pane";

    // Answers without their data are dropped.
    m_view->StoryUpdateNotify(nullptr);
    m_view->vRecvNewsRelateSymbolListRecovery(nullptr);
    m_view->vRecvAllHeadlineTableRecovery(nullptr);
    m_view->vRecvCatHeadlineTableRecovery(nullptr);
    m_view->vRecvSymHeadlineTableRecovery(nullptr);
    const CMemoryInfo memory{16, "2330", {}};
    const std::vector<CMemoryInfo> memories{memory};
    m_view->vRecvNewMemory(&memory);
    m_view->vRecvMemoryRecovery(&memory);
    m_view->vRecvMultiSymbolMemoryRecovery(&memories);
    EXPECT_EQ(sheet(news::kModeAllNews).iGetRowCount(), 1);
}

} // namespace
} // namespace newsview_test
