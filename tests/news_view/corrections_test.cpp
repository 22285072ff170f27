// Rules of the lists, dates, services and layout that read oddly and are kept on purpose: the
// relation filter follows the current list, a new-day report never updates the service entry,
// check marks go by position, position pairing of headlines with table entries, and the like.
#include "adapters/headless/headless_controls.h"
#include "host/backend/subscriptions.h"
#include "tests/news_view/news_view_fixture.h"

namespace newsview_test {
namespace {

using host::ui::Date;

class CorrectionsTest : public NewsViewTest {
protected:
    void conditions(std::vector<RelationCondition> list) { m_view->RelationConditions() = std::move(list); }
    // A view with the relation list and a condition that keeps headlines naming TSMC.
    void createRelationView() {
        Options options;
        options.showNormalSearch = true;
        createBareView(options);
        conditions({RelationCondition{2, {-999}, {"TSMC"}}});
        m_view->InitialViewInfo(&m_cfg, "Layout", 0, 0, "TRVNewsCtrlView");
    }
    // Calls since mark whose log line starts with text (operation and first arguments).
    std::size_t callsLike(const std::string& text, std::size_t mark = 0) const {
        std::size_t count = 0;
        for (const std::string& call : m_backend.callsSince(mark)) {
            count += call.rfind(text, 0) == 0 ? 1 : 0;
        }
        return count;
    }
    headless::HeadlessDatePicker& picker() {
        return *dynamic_cast<headless::HeadlessDatePicker*>(control(news::kIdDatePicker));
    }
};

TEST_F(CorrectionsTest, ServiceChangesFilterWhateverListIsRebuiltWhileTheRelationListIsCurrent) {
    addNews(16, taipei(8, 0), 1, "TSMC up");
    addNews(16, taipei(8, 5), 2, "weather");
    addNews(22, taipei(8, 10), 3, "HK TSMC");
    createRelationView();
    ASSERT_EQ(seqs(news::kModeAllNews), (std::vector<std::int32_t>{3, 2, 1}));

    m_view->SwitchFunction(news::kModeRelation);
    ASSERT_EQ(seqs(news::kModeRelation), (std::vector<std::int32_t>{3, 1}));
    m_view->OnSelectCheckService(5051); // Hong Kong off, relation list current
    EXPECT_EQ(seqs(news::kModeAllNews), std::vector<std::int32_t>{1})
        << "the all-news list is filtered by the relation test because the relation list is current";
    EXPECT_EQ(seqs(news::kModeRelation), std::vector<std::int32_t>{1});

    m_view->SwitchFunction(news::kModeAllNews);
    m_view->OnSelectCheckService(5051); // Hong Kong back on, all-news list current
    EXPECT_EQ(seqs(news::kModeAllNews), (std::vector<std::int32_t>{3, 2, 1}));
    EXPECT_EQ(seqs(news::kModeRelation), (std::vector<std::int32_t>{3, 2, 1}))
        << "the relation list is not filtered when it is not the current list";
}

TEST_F(CorrectionsTest, ANewDayReportNeverUpdatesTheServiceEntrySoTheSameReportPagesAgain) {
    m_backend.language().set("IDS_NEWSCTRLVIEW_STRING_CLEAR_SERVICE", "new day");
    addNews(16, taipei(8, 0) + 86400, 1, "tomorrow's");
    createView();
    m_backend.marketStatus(16, 20240103);
    ASSERT_EQ(m_view->GetServiceList().front().m_iDate, 20240102) << "the entry keeps the date it started with";
    Date date;
    ASSERT_TRUE(picker().date(date));
    ASSERT_EQ(date, (Date{2024, 1, 3}));

    picker().pickDate(Date{2024, 1, 2});
    ASSERT_TRUE(picker().date(date));
    ASSERT_EQ(date, (Date{2024, 1, 2}));
    const CMarketStatus again{16, 20240103};
    const std::size_t mark = m_backend.mark();
    m_view->vRecvNewMarketStatus(&again);
    ASSERT_TRUE(picker().date(date));
    EXPECT_EQ(date, (Date{2024, 1, 3})) << "the repeated report moves the picker again";
    EXPECT_EQ(m_backend.countCalls("BKQNEWS_cszGetCurrDateByService", mark), 2u)
        << "and rebuilds the list for each checked service";
    EXPECT_EQ(seqs(news::kModeAllNews), std::vector<std::int32_t>{1});
}

TEST_F(CorrectionsTest, SymbolModeIsNotSupportedWhenTheSymbolComboHasNoSelectionAndNoSymbolIsCurrent) {
    m_backend.addSymbol(16, "2330", "TSMC");
    m_backend.addSymbol(16, "6214", "fallback");
    createView();
    m_view->SwitchFunction(news::kModeSymbol);
    EXPECT_EQ(m_view->GetDataState(), TRVQuoteBaseView::kDataNotSupported)
        << "a filled symbol list without a selection is a failed symbol combo";
    EXPECT_FALSE(control(news::kIdSymbolCombo)->isVisible());
}

TEST_F(CorrectionsTest, TheWarrantListWithoutADatePickerUsesTheDateInForce) {
    addNews(news::kServiceWarrant, taipei(8, 0), 1, "warrant news");
    Options options;
    options.mask = news::kMaskWarrant;
    createView(options);
    ASSERT_EQ(control(news::kIdDatePicker), nullptr);
    EXPECT_EQ(m_view->iGetCurrFunction(), news::kModeWarrant);
    EXPECT_EQ(seqs(news::kModeWarrant), std::vector<std::int32_t>{1});
    EXPECT_GE(callsLike("BKQNEWS_iGetHeadlineTable(52, kind 0, \"20240102\")"), 1u);
}

TEST_F(CorrectionsTest, TheTabStripAndTheShowTypeButtonAreAsHighAsTheTabBand) {
    createView();
    const int band = control(news::kIdTabStrip)->rect().Height();
    auto* strip = dynamic_cast<headless::HeadlessTabStrip*>(control(news::kIdTabStrip));
    ASSERT_NE(strip, nullptr);
    EXPECT_EQ(band, strip->itemRect(0).Height() + 2);
    EXPECT_EQ(control(news::kIdShowTypeButton)->rect().Height(), band);
}

TEST_F(CorrectionsTest, VisibleRowsAreFetchedOncePerServiceWithEveryVisibleEntry) {
    addNews(16, taipei(8, 0), 1, "one");
    addNews(16, taipei(8, 5), 2, "two");
    createView();
    const std::size_t mark = m_backend.mark();
    refresh();
    const std::vector<std::string> calls = m_backend.callsSince(mark);
    std::vector<std::string> fetches;
    for (const std::string& call : calls) {
        if (call.rfind("BKQNEWS_iGetHeadline(", 0) == 0) {
            fetches.push_back(call.substr(0, call.find(')') + 1));
        }
    }
    EXPECT_EQ(fetches, (std::vector<std::string>{"BKQNEWS_iGetHeadline(16, [16#2@08:05:00 16#1@08:00:00])",
                                                 "BKQNEWS_iGetHeadline(22, [16#2@08:05:00 16#1@08:00:00])"}))
        << "a selected service without visible rows is asked too";
}

TEST_F(CorrectionsTest, SymbolNewsComeForTheCurrentNewsSymbolWhateverCodeIsPassed) {
    m_backend.addSymbol(16, "2330", "TSMC");
    m_backend.addSymbol(16, "2317", "Hon Hai");
    const CHeadlineTable tsmc = addNews(16, taipei(8, 0), 1, "TSMC news");
    const CHeadlineTable honHai = addNews(16, taipei(8, 5), 2, "Hon Hai news");
    m_backend.setTable(16, BKQuoteInterface::kBySymbol, "2330", {tsmc});
    m_backend.setTable(16, BKQuoteInterface::kBySymbol, "2317", {honHai});
    createView();
    m_view->ChangeSymbol(m_view.get(), 0, 16, "2330", "TSMC");
    ASSERT_EQ(seqs(news::kModeSymbol), std::vector<std::int32_t>{1});
    m_view->OnSelSymbol("2317");
    EXPECT_EQ(seqs(news::kModeSymbol), std::vector<std::int32_t>{1});
}

TEST_F(CorrectionsTest, RegisteringEveryServiceAtOnceLeavesTheRegistrationBits) {
    createView();
    NewsSubscriptions& subscriptions = NewsSubscriptions::instance();
    ASSERT_TRUE(subscriptions.isRegistered(m_view.get(), 16));
    m_view->UnRegisterService();
    ASSERT_FALSE(subscriptions.isRegistered(m_view.get(), 16));
    m_view->CheckRegisterService();
    EXPECT_FALSE(subscriptions.isRegistered(m_view.get(), 16)) << "the bit still says registered";

    m_view->OnSelectCheckService(5051); // Hong Kong off: its bit is cleared by the check
    m_view->RegisterService();
    m_view->CheckRegisterService();
    EXPECT_TRUE(subscriptions.isRegistered(m_view.get(), 22)) << "its bit stayed clear, so nothing unregisters it";
}

TEST_F(CorrectionsTest, CategoryIdTextsAreComparedAsReceived) {
    m_backend.setCategories(16, {{"07", "Revenue"}});
    m_backend.setCategories(22, {});
    createView();
    m_view->SwitchFunction(news::kModeCategory);
    m_backend.pushHeadline(CHeadline{16, taipei(9, 0), 1, "as seven", 0, 7}, "7", "");
    EXPECT_TRUE(seqs(news::kModeCategory).empty()) << "\"7\" is not the id text \"07\"";
    m_backend.pushHeadline(CHeadline{16, taipei(9, 1), 2, "as zero seven", 0, 7}, "07", "");
    EXPECT_EQ(seqs(news::kModeCategory), std::vector<std::int32_t>{2});

    const std::size_t mark = m_backend.mark();
    m_view->OnReCoverHeadlineTable();
    EXPECT_EQ(callsLike("BKNEWS_bReRequestHeadlineTable(16, kind 1, \"07\")", mark), 1u);
}

TEST_F(CorrectionsTest, RelationEntriesArePairedWithHeadlinesByPositionOnANewDay) {
    m_backend.language().set("IDS_NEWSCTRLVIEW_STRING_CLEAR_SERVICE", "new day");
    // The back end lists an entry first whose headline it does not hold: the headlines then
    // pair with the entries one place early.
    const CHeadlineTable weather = addNews(16, taipei(8, 0) + 86400, 1, "weather");
    const CHeadlineTable tsmc = addNews(16, taipei(8, 5) + 86400, 2, "TSMC up");
    const CHeadlineTable missing{16, taipei(7, 0) + 86400, 9, 0, 0};
    m_backend.setTable(16, BKQuoteInterface::kByDate, "20240103", {missing, weather, tsmc});
    createRelationView();
    m_backend.marketStatus(16, 20240103);
    EXPECT_EQ(seqs(news::kModeRelation), std::vector<std::int32_t>{1})
        << "the TSMC headline came second, so the second entry is kept";
}

} // namespace
} // namespace newsview_test
