// Headlines no embedded back end would pass on, pushed straight at the view by the scripted back
// end: times outside the calendar, unknown services, empty or undecodable category ids and
// symbol codes. The view shows a defined result for each and stays consistent (row i is entry i).
#include <limits>

#include "adapters/headless/headless_sheet.h"
#include "news_view/news_ids.h"
#include "tests/news_view/news_view_fixture.h"

namespace newsview_test {
namespace {

constexpr int kTimeColumn = 0;
constexpr int kTitleColumn = 2;

class BadViewInputTest : public NewsViewTest {
protected:
    void push(std::int64_t time, std::int32_t seq, const CString& title, const CString& categoryId = "1",
              const CString& symbol = "", unsigned char service = 16) {
        m_backend.pushHeadline(CHeadline{service, time, seq, title}, categoryId, symbol);
    }
    // "time | title" of every row of the all-news grid.
    std::vector<CString> rows() {
        refresh();
        headless::HeadlessSheet& grid = sheet(news::kModeAllNews);
        EXPECT_EQ(grid.iGetRowCount(), m_view->GetTable(news::kModeAllNews)->size());
        std::vector<CString> shown;
        for (std::size_t row = 0; row < grid.iGetRowCount(); ++row) {
            shown.push_back(grid.cszGetCellText(row, kTimeColumn) + " | " + grid.cszGetCellText(row, kTitleColumn));
        }
        return shown;
    }
};

TEST_F(BadViewInputTest, TimesOutsideTheCalendarSortByValueAndShowNoClock) {
    createView();
    push(taipei(9, 30), 1, "today");
    push(0, 2, "epoch");
    push(-86400 * 365, 3, "1969");
    push(std::numeric_limits<std::int64_t>::min(), 4, "min");
    push(std::numeric_limits<std::int64_t>::max(), 5, "max");
    push(std::int64_t{1} << 40, 6, "year 36812");
    // Every push is taken: the view files by the picked date, not by the headline's own time.
    // A time the local calendar cannot show leaves the time cell empty.
    EXPECT_EQ(rows(), (std::vector<CString>{" | max", "08:36 | year 36812", "09:30 | today", "08:00 | epoch",
                                            "08:00 | 1969", " | min"}));
    // A re-send is the same number on the same local day: a time with no local day is never
    // one, so it comes in as a new row, ordered by its time.
    push(std::numeric_limits<std::int64_t>::min(), 1, "today, resent at no time");
    EXPECT_EQ(rows(), (std::vector<CString>{" | max", "08:36 | year 36812", "09:30 | today", "08:00 | epoch",
                                            "08:00 | 1969", " | min", " | today, resent at no time"}));
}

TEST_F(BadViewInputTest, UnknownServicesAndOddIdsChangeNothingElse) {
    createView();
    push(taipei(9, 30), 1, "plain");
    push(taipei(9, 31), 2, "no category id", "");
    push(taipei(9, 32), 3, "lone lead bytes in the ids", "\xA4", "23\xA4");
    push(taipei(9, 33), 4, "id of 64 KB", CString(65536, '7'), CString(65536, '\xA4'));
    push(taipei(9, 34), 1, "unknown service", "1", "", 99);
    push(taipei(9, 35), 1, "unknown service, zero", "", "", 0);
    EXPECT_EQ(rows(), (std::vector<CString>{"09:33 | id of 64 KB", "09:32 | lone lead bytes in the ids",
                                            "09:31 | no category id", "09:30 | plain"}));
}

} // namespace
} // namespace newsview_test
