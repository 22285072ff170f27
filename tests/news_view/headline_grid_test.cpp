// The headline lists: order, lazily written visible rows, placeholders, cell formats and the
// accessors the story displays use.
#include "adapters/headless/headless_controls.h"
#include "host/framework/sync_info.h"
#include "host/text/format.h"
#include "tests/news_view/news_view_fixture.h"

namespace newsview_test {
namespace {

constexpr const char* kToday = "20240102";

CHeadlineTable entry(unsigned char service, std::int64_t time, std::int32_t seq, std::int64_t value2,
                     std::uint64_t last) {
    return CHeadlineTable{service, time, seq, value2, last};
}

class HeadlineGridTest : public NewsViewTest {};

TEST_F(HeadlineGridTest, AllNewsIsNewestFirstWithEveryTieBreakAndStableForFullTies) {
    const CHeadlineTable oldest = entry(16, taipei(9, 0), 5, 1, 0);
    const CHeadlineTable lastHigh = entry(16, taipei(9, 0), 5, 1, 7);
    const CHeadlineTable seqHigh = entry(16, taipei(9, 0), 6, 0, 0);
    const CHeadlineTable newest = entry(16, taipei(9, 5), 1, 0, 0);
    const CHeadlineTable value2High = entry(16, taipei(9, 0), 5, 3, 0);
    // Equal to lastHigh in every sort key (the service is none): stays after it, as fetched.
    const CHeadlineTable tieFromHk = entry(22, taipei(9, 0), 5, 1, 7);
    m_backend.setTable(16, BKQuoteInterface::kByDate, kToday, {oldest, lastHigh, seqHigh, newest, value2High});
    m_backend.setTable(22, BKQuoteInterface::kByDate, kToday, {tieFromHk});

    createView();

    const std::vector<CHeadlineTable> expected{newest, seqHigh, value2High, lastHigh, tieFromHk, oldest};
    EXPECT_EQ(m_view->GetTable(news::kModeAllNews)->toVector(), expected);
    EXPECT_EQ(sheet(news::kModeAllNews).iGetRowCount(), expected.size());
}

TEST_F(HeadlineGridTest, OnlyRowsOnScreenAreWrittenAndScrollingFillsTheRest) {
    for (int i = 0; i < 100; ++i) {
        addNews(16, taipei(8, 0) + i * 60, i + 1, "news " + std::to_string(i + 1));
    }
    createView();
    headless::HeadlessSheet& grid = sheet(news::kModeAllNews);
    const int perPage = grid.iGetRowsPerPage();
    ASSERT_GT(perPage, 5);
    ASSERT_LT(perPage, 90);

    EXPECT_EQ(grid.cszGetCellText(0, 2), "news 100") << "newest first";
    EXPECT_TRUE(grid.isRowStored(static_cast<std::size_t>(perPage))) << "rows per page plus one are written";
    EXPECT_FALSE(grid.isRowStored(static_cast<std::size_t>(perPage) + 1)) << "rows below the page stay empty";
    EXPECT_EQ(grid.storedRowCount(), static_cast<std::size_t>(perPage) + 1);

    // The first visible row can come no closer to the end than one page: the extra row is cut.
    grid.userScrollTo(100);
    const int first = grid.iGetFirstVisibleRow();
    ASSERT_EQ(first, 100 - perPage);
    EXPECT_FALSE(grid.isRowStored(99)) << "nothing is written before the deferred refresh";
    refresh();
    EXPECT_EQ(grid.cszGetCellText(99, 2), "news 1");
    const int minutesAfterEight = 99 - first; // row r holds the headline of 08:00 + (99 - r) minutes
    EXPECT_EQ(grid.cszGetCellText(static_cast<std::size_t>(first), 0),
              text::format("%02d:%02d", 8 + minutesAfterEight / 60, minutesAfterEight % 60));
    ASSERT_GT(first - 1, perPage);
    EXPECT_FALSE(grid.isRowStored(static_cast<std::size_t>(first) - 1)) << "never on screen, never written";
    EXPECT_EQ(grid.outOfRangeCount(), 0) << "the visible range is cut at the end of the table";
}

TEST_F(HeadlineGridTest, CategoryCellShowsCatalogueNameAndColourAndRecoverTextForUnknownIds) {
    writeSysFile("NewsService.ini", "[CONFIG]\nCatId=1 2,3\nSHORTNAME=REV,CALL EPS\n");
    CSyncInfo::Get().setOtherColor("COLOR_NEWSCAT_2", 0x0000FF);
    addNews(16, taipei(9, 2), 1, "earnings call", 2);
    addNews(16, taipei(9, 1), 2, "no colour of its own", 3);
    addNews(16, taipei(9, 0), 3, "odd category", 99);
    createView();
    headless::HeadlessSheet& grid = sheet(news::kModeAllNews);
    EXPECT_EQ(grid.cszGetCellText(0, 1), "CALL");
    EXPECT_EQ(grid.cellFgColor(0, 1), std::optional<COLORREF>(0x0000FF));
    EXPECT_EQ(grid.cszGetCellText(1, 1), "EPS");
    EXPECT_EQ(grid.cellFgColor(1, 1),
              std::optional<COLORREF>(CSyncInfo::Get().SYS_crGetOtherColor("COLOR_LISTCTL_NORMALTEXT")))
        << "a known category without colours of its own takes the list text colour";
    EXPECT_EQ(grid.cszGetCellText(2, 1), "LOADING") << "unknown id";
    EXPECT_EQ(grid.cellFgColor(2, 1), std::nullopt) << "unknown id keeps the grid's colour";

    // Hiding the category column keeps it as a zero-width column.
    m_view->GetWnd()->sendMessage(host::ui::win::WM_COMMAND, news::kCmdChangeCategoryState);
    EXPECT_EQ(grid.iGetColCount(), 3);
    EXPECT_EQ(grid.iGetColWidth(1), 0);
    m_view->GetWnd()->sendMessage(host::ui::win::WM_COMMAND, news::kCmdChangeCategoryState);
    EXPECT_EQ(grid.iGetColWidth(1), 50);
}

TEST_F(HeadlineGridTest, CatalogueWithMoreIdsThanNamesStaysEmpty) {
    writeSysFile("NewsService.ini", "[CONFIG]\nCatId=1 2 3\nSHORTNAME=REV CALL\n");
    createBareView(Options{});
    EXPECT_FALSE(m_view->bInitialTransferCatObject());
    EXPECT_EQ(m_view->GetCategoryIDbyName("REV"), -1);
    EXPECT_EQ(m_view->cszTransferCatIDToCatName(1), "LOADING");
}

TEST_F(HeadlineGridTest, SimplifiedServicesShowConvertedTextsWithTheNewsTermReplaced) {
    writeSysFile("NewsService.ini", "[CONFIG]\nCatId=1\nSHORTNAME=NEWS\n");
    m_backend.language().set("IDS_NEWSCTRLVIEW_STRING_REPLASE_NEWS", "NEWS");
    m_backend.language().set("IDS_NEWSCTRLVIEW_STRING_REPLASE_MESSAGE", "MSG");
    m_backend.setSimplified(22, true);
    m_backend.addConversion("Q", "q");
    addNews(22, taipei(9, 1), 1, "Q NEWS NEWS", 1);
    addNews(16, taipei(9, 0), 2, "Q NEWS", 1);
    createView();
    headless::HeadlessSheet& grid = sheet(news::kModeAllNews);
    EXPECT_EQ(grid.cszGetCellText(0, 2), "q MSG MSG");
    EXPECT_EQ(grid.cszGetCellText(0, 1), "MSG");
    EXPECT_EQ(grid.cszGetCellText(1, 2), "Q NEWS") << "other services are shown as they are";
}

TEST_F(HeadlineGridTest, TwoColumnLayoutForNewsTypeOne) {
    CHeadline headline;
    headline.m_byService = 16;
    headline.m_tTime = taipei(8, 15);
    headline.m_iSeqNo = 4;
    headline.m_strTitle = "symbol news";
    headline.m_iCategory = 1;
    m_backend.addSymbol(16, "2330", "TSMC");
    m_backend.addHeadline(headline, {CSymbolInfo{16, "2330", "TSMC"}});
    CSyncInfo::Get().setCurrentSymbol(0, 16, "2330");

    Options options;
    options.newsType = 1;
    createView(options);
    EXPECT_EQ(m_view->GetFunctionMask(), news::kMaskSymbol);
    headless::HeadlessSheet& grid = sheet(news::kModeSymbol);
    ASSERT_EQ(grid.iGetColCount(), 2);
    EXPECT_EQ(grid.cszGetHeaderText(0), "IDS_NEWSCTRLVIEW_STRING_TIME");
    EXPECT_EQ(grid.cszGetHeaderText(1), "IDS_NEWSCTRLVIEW_STRING_TITLE");
    EXPECT_EQ(grid.iGetColWidth(1), 300);

    m_view->vUpdateHeadline(&grid, 0, headline, true);
    ASSERT_GE(grid.iGetRowCount(), 1u);
    EXPECT_EQ(grid.cszGetCellText(0, 0), "01/02 08:15");
    EXPECT_EQ(grid.cszGetCellText(0, 1), "symbol news");
    EXPECT_EQ(grid.cellFgColor(0, 1), std::nullopt) << "no category colour in two columns";

    // A row whose title is already right is not rewritten.
    grid.vSetCellText(0, 0, "kept");
    m_view->vUpdateHeadline(&grid, 0, headline, true);
    EXPECT_EQ(grid.cszGetCellText(0, 0), "kept");
}

TEST_F(HeadlineGridTest, AccessorsRejectIndexesOutsideTheLists) {
    addNews(16, taipei(9, 0), 1, "a");
    addNews(16, taipei(9, 1), 2, "b");
    createView();
    CHeadlineTable found;
    EXPECT_EQ(m_view->iGetHeadlineTableSize(news::kModeAllNews), 2);
    EXPECT_EQ(m_view->iGetHeadlineTableSize(7), -1);
    EXPECT_EQ(m_view->iGetHeadlineTableSize(-1), -1);
    EXPECT_TRUE(m_view->bGetHeadlineTable(found, news::kModeAllNews, 1));
    EXPECT_EQ(found.m_iSeqNo, 1);
    EXPECT_FALSE(m_view->bGetHeadlineTable(found, news::kModeAllNews, 2)) << "row equal to the size";
    EXPECT_FALSE(m_view->bGetHeadlineTable(found, news::kModeAllNews, -1));
    EXPECT_FALSE(m_view->bGetHeadlineTable(found, 7, 0));
    EXPECT_EQ(m_view->GetHeadlineTable(0).m_iSeqNo, 2);
    EXPECT_EQ(m_view->GetHeadlineTable(5), CHeadlineTable{}) << "outside the current list: all zero";
    EXPECT_EQ(m_view->pGetCurrSheetView(), m_view->GetSheet(news::kModeAllNews));

    // Sheet width follows the story show type in the normal view.
    m_view->SetStoryShowType(1);
    EXPECT_EQ(m_view->GetSheetWidth(), 500);
    m_view->SetStoryShowType(2);
    EXPECT_EQ(m_view->GetSheetWidth(), 1000);
    m_view->SetStoryShowType(3);
    EXPECT_EQ(m_view->GetSheetWidth(), 0);
}

} // namespace
} // namespace newsview_test
