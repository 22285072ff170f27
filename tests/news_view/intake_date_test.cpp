// Pushed headlines merged into the all-news list, date paging with the date picker and a new
// news day announced by the back end.
#include "adapters/headless/headless_controls.h"
#include "tests/news_view/news_view_fixture.h"

namespace newsview_test {
namespace {

using host::ui::Date;

constexpr int kTitleColumn = 2;

class IntakeDateTest : public NewsViewTest {
protected:
    IntakeDateTest() {
        m_backend.language().set("IDS_NEWSCTRLVIEW_STRING_ONLYSELECT", "only the last ");
        m_backend.language().set("IDS_NEWSCTRLVIEW_STRING_INSOMEDAYS", " days");
        m_backend.language().set("IDS_NEWSCTRLVIEW_STRING_AFTERDAYS", "no future days");
        m_backend.language().set("IDS_NEWSCTRLVIEW_STRING_CLEAR_SERVICE", "new day");
    }
    void push(unsigned char service, std::int64_t time, std::int32_t seq, const CString& title) {
        m_backend.pushHeadline(CHeadline{service, time, seq, title}, "1", "");
    }
    // Titles of the all-news grid, checking on the way that row i shows table entry i.
    std::vector<CString> titles() {
        const HeadlineTableList& table = *m_view->GetTable(news::kModeAllNews);
        headless::HeadlessSheet& grid = sheet(news::kModeAllNews);
        EXPECT_EQ(grid.iGetRowCount(), table.size());
        std::vector<CString> shown;
        for (std::size_t row = 0; row < table.size() && row < grid.iGetRowCount(); ++row) {
            shown.push_back(grid.cszGetCellText(row, kTitleColumn));
            const CHeadline* headline = m_backend.headline(table[row]);
            EXPECT_TRUE(headline != nullptr && headline->m_strTitle == shown.back()) << "row " << row;
        }
        return shown;
    }
    headless::HeadlessDatePicker& picker() {
        return *dynamic_cast<headless::HeadlessDatePicker*>(control(news::kIdDatePicker));
    }
    Date pickerDate() {
        Date date;
        picker().date(date);
        return date;
    }
};

// Where pushes land in the list is pinned by the story_pane_pushes and embedded_replay scenarios;
// the view's own guard is not reachable from a script: nothing is taken while disconnected.
TEST_F(IntakeDateTest, NothingIsTakenWhileDisconnected) {
    addNews(16, taipei(8, 0), 1, "first");
    createView();
    m_backend.setConnected(false);
    m_view->RecvNewHeadLine(nullptr, "1", "");
    const CHeadline offline{16, taipei(9, 5), 5, "offline"};
    m_view->RecvNewHeadLine(&offline, "1", "");
    EXPECT_EQ(titles(), std::vector<CString>{"first"});
}

TEST_F(IntakeDateTest, DatesOutsideTheRangeAreRefusedWithATipAndThePickerIsPutBack) {
    m_backend.setDateRange(3);
    addNews(16, taipei(8, 0) - 3 * 86400, 1, "three days ago");
    createView();
    ASSERT_EQ(pickerDate(), (Date{2024, 1, 2}));

    picker().pickDate(Date{2023, 12, 29});
    EXPECT_EQ(m_view->GetLastTipText(), "only the last 3 days");
    EXPECT_EQ(pickerDate(), (Date{2024, 1, 2}));

    picker().pickDate(Date{2023, 12, 30});
    EXPECT_EQ(titles(), std::vector<CString>{"three days ago"}) << "the oldest day in range is allowed";

    picker().pickDate(Date{2024, 1, 3});
    EXPECT_EQ(m_view->GetLastTipText(), "no future days");
    EXPECT_EQ(pickerDate(), (Date{2023, 12, 30})) << "back to the date in force, not to today";

    const std::size_t mark = m_backend.mark();
    picker().pickDate(Date{2023, 12, 30});
    EXPECT_EQ(m_backend.countCalls("BKQNEWS_iGetHeadlineTable", mark), 0u) << "the date in force is not reloaded";

    push(16, taipei(9, 0), 2, "today");
    EXPECT_EQ(titles(), std::vector<CString>{"three days ago"}) << "another day's list takes no pushes";
}

TEST_F(IntakeDateTest, NewNewsDayMovesThePickerOnlyForACheckedServiceAndAValidDate) {
    addNews(16, taipei(8, 0) + 86400, 1, "tomorrow's");
    addNews(22, taipei(8, 0), 1, "hk today");
    createView();
    const auto unchanged = [&](const char* what) {
        EXPECT_EQ(pickerDate(), (Date{2024, 1, 2})) << what;
        EXPECT_EQ(m_view->GetLastTipText(), "") << what;
        EXPECT_EQ(titles(), std::vector<CString>{"hk today"}) << what;
    };

    for (std::int32_t bad : {20241301, 20240100, 20240132, 18991231}) {
        const CMarketStatus status{16, bad};
        m_view->vRecvNewMarketStatus(&status);
        unchanged("an invalid date");
    }
    const CMarketStatus sameDay{16, 20240102};
    m_view->vRecvNewMarketStatus(&sameDay);
    unchanged("the day the service already has");

    m_view->OnSelectCheckService(5051); // uncheck Hong Kong
    const CMarketStatus unchecked{22, 20240103};
    m_view->vRecvNewMarketStatus(&unchecked);
    EXPECT_EQ(pickerDate(), (Date{2024, 1, 2})) << "an unchecked service's new day does nothing";
    EXPECT_EQ(m_view->GetLastTipText(), "");

    m_backend.marketStatus(16, 20240103);
    EXPECT_EQ(pickerDate(), (Date{2024, 1, 3}));
    EXPECT_EQ(m_view->GetLastTipText(), "TWSE new day");
    EXPECT_EQ(titles(), std::vector<CString>{"tomorrow's"}) << "rebuilt for the service's new date";

    push(16, taipei(9, 0) + 86400, 2, "pushed on the new day");
    EXPECT_EQ(titles().front(), "pushed on the new day");
}

} // namespace
} // namespace newsview_test
