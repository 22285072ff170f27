#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "adapters/headless/headless_host.h"
#include "adapters/headless/headless_sheet.h"
#include "tests/support/recording_handler.h"

namespace {

using host::ui::Point;
using host::ui::Rect;

class HeadlessSheetTest : public ::testing::Test {
protected:
    headless::HeadlessHost m_host;
    testsupport::RecordingHandler m_view;
    host::ui::Window* m_window = m_host.ui().createWindow(nullptr, 1, Rect{0, 0, 800, 600}, &m_view);
    // Header 16 + ten rows of 16 + 8 pixels of a partial row.
    headless::HeadlessSheet& m_grid =
        *dynamic_cast<headless::HeadlessSheet*>(m_window->createSheet(10, Rect{0, 0, 400, 16 + 10 * 16 + 8}));

    void SetUp() override {
        m_grid.iInsertCol(0, 60);
        m_grid.iInsertCol(1, 300);
    }
};

TEST_F(HeadlessSheetTest, CellsFollowTheirRowsThroughInsertsAndDeletesAtAHundredThousandRows) {
    constexpr std::size_t kRows = 100000;
    m_grid.vAddRows(kRows);
    m_grid.vSetCellText(0, 0, "first");
    m_grid.vSetCellText(50000, 1, "middle");
    m_grid.vSetCellText(kRows - 1, 0, "last");
    m_grid.vSetCellFgColor(kRows - 1, 1, 0x0000FF);
    EXPECT_EQ(m_grid.storedRowCount(), 3u) << "only written rows hold cells";
    EXPECT_EQ(m_grid.cszGetCellText(1234, 1), "");
    EXPECT_FALSE(m_grid.isRowStored(1234)) << "reading a row never creates its storage";

    m_grid.vInsertRow(0);
    m_grid.vInsertRow(25000);
    m_grid.vInsertRow(kRows + 2); // at the end
    ASSERT_EQ(m_grid.iGetRowCount(), kRows + 3);
    EXPECT_EQ(m_grid.cszGetCellText(1, 0), "first");
    EXPECT_EQ(m_grid.cszGetCellText(50002, 1), "middle") << "two rows inserted above it";
    EXPECT_EQ(m_grid.cszGetCellText(kRows + 1, 0), "last");
    EXPECT_EQ(m_grid.cellFgColor(kRows + 1, 1), 0x0000FFu);
    EXPECT_FALSE(m_grid.isRowStored(0));
    EXPECT_FALSE(m_grid.isRowStored(kRows + 2));

    m_grid.vDeleteRow(50002);
    m_grid.vDeleteRow(0);
    EXPECT_EQ(m_grid.iGetRowCount(), kRows + 1);
    EXPECT_EQ(m_grid.storedRowCount(), 2u) << "deleting a written row frees its cells";
    EXPECT_EQ(m_grid.cszGetCellText(0, 0), "first");
    EXPECT_EQ(m_grid.cszGetCellText(50001, 1), "") << "the row after the deleted one is an empty row";
    EXPECT_EQ(m_grid.cszGetCellText(kRows - 1, 0), "last");
    EXPECT_FALSE(m_grid.isRowStored(kRows)) << "the row inserted at the end is still empty";

    m_grid.vResetCellColor(777, 1);
    EXPECT_FALSE(m_grid.isRowStored(777)) << "resetting a colour never creates storage";
    m_grid.vClearAllRows();
    EXPECT_EQ(m_grid.iGetRowCount(), 0u);
    EXPECT_EQ(m_grid.storedRowCount(), 0u);
}

TEST_F(HeadlessSheetTest, OutOfRangeCallsChangeNothingAndAreCounted) {
    m_grid.vAddRows(3);
    m_grid.vSetCellText(3, 0, "row = size");
    m_grid.vSetCellText(0, 2, "column = count");
    m_grid.vSetCellText(0, -1, "negative column");
    m_grid.vDeleteRow(3);
    m_grid.vSetHeaderText(2, "no such column");
    EXPECT_EQ(m_grid.outOfRangeCount(), 5);
    EXPECT_EQ(m_grid.iGetRowCount(), 3u);
    EXPECT_EQ(m_grid.storedRowCount(), 0u);
    m_grid.vSetCellText(2, 1, "last cell");
    EXPECT_EQ(m_grid.cszGetCellText(2, 1), "last cell");
    EXPECT_EQ(m_grid.outOfRangeCount(), 5);
}

TEST_F(HeadlessSheetTest, PagingCountsFullRowsBelowTheHeader) {
    m_grid.vAddRows(100);
    EXPECT_EQ(m_grid.iGetRowsPerPage(), 10) << "the partial row at the bottom does not count";
    EXPECT_EQ(m_grid.iCalcRowNdx(Point{5, 15}), -1) << "header row";
    EXPECT_EQ(m_grid.iCalcRowNdx(Point{5, 16}), 0);
    EXPECT_EQ(m_grid.iCalcRowNdx(Point{5, 16 + 10 * 16 + 7}), 10) << "the partial row is still a row";
    EXPECT_EQ(m_grid.iCalcRowNdx(Point{400, 20}), -1) << "right of the grid";

    m_grid.vAutoVerScrolling(25);
    EXPECT_EQ(m_grid.iGetFirstVisibleRow(), 16) << "row 25 becomes the last full row of the page";
    m_grid.vAutoVerScrolling(20);
    EXPECT_EQ(m_grid.iGetFirstVisibleRow(), 16) << "a visible row does not scroll";
    m_grid.vAutoVerScrolling(3);
    EXPECT_EQ(m_grid.iGetFirstVisibleRow(), 3);
    EXPECT_FALSE(m_grid.cellCenter(2, 0).has_value()) << "row 2 is above the page";
    EXPECT_EQ(m_grid.iCalcRowNdx(*m_grid.cellCenter(12, 1)), 12);

    m_grid.vAutoVerScrolling(99);
    EXPECT_EQ(m_grid.iGetFirstVisibleRow(), 90);
    for (int i = 0; i < 5; ++i) {
        m_grid.vDeleteRow(0);
    }
    EXPECT_EQ(m_grid.iGetFirstVisibleRow(), 85) << "deleting rows pulls the scroll position back to the last page";
    m_grid.vResetScroll();
    EXPECT_EQ(m_grid.iGetFirstVisibleRow(), 0);
}

TEST_F(HeadlessSheetTest, SelectionAndFocusFollowTheirRows) {
    m_grid.vAddRows(10);
    m_grid.vSetActiveSelection(4, -1);
    EXPECT_EQ(m_grid.cptGetFocusNdx(), (Point{-1, 4}));
    m_grid.vInsertRow(0);
    m_grid.vInsertRow(9);
    std::vector<int> rows;
    m_grid.vGetAllSelectionNdx(rows);
    EXPECT_EQ(rows, std::vector<int>{5});
    EXPECT_EQ(m_grid.cptGetFocusNdx().y, 5);

    m_host.ui().leftClick(&m_grid, *m_grid.cellCenter(7, 0), host::ui::win::MK_SHIFT);
    m_grid.vGetAllSelectionNdx(rows);
    EXPECT_EQ(rows, (std::vector<int>{5, 6, 7})) << "shift extends from the focus row";
    m_host.ui().leftClick(&m_grid, *m_grid.cellCenter(6, 0), host::ui::win::MK_CONTROL);
    m_grid.vGetAllSelectionNdx(rows);
    EXPECT_EQ(rows, (std::vector<int>{5, 7})) << "control toggles one row";

    m_grid.vDeleteRow(6);
    m_grid.vGetAllSelectionNdx(rows);
    EXPECT_EQ(rows, (std::vector<int>{5, 6}));
    EXPECT_EQ(m_grid.cptGetFocusNdx().y, -1) << "the focus row was deleted";
}

// The cells of deleted rows are reused for rows written later, and a row read just before an
// insert or delete is not mistaken for its neighbour.
TEST_F(HeadlessSheetTest, ARowWrittenAfterADeleteStartsEmpty) {
    m_grid.iInsertCol(2, 300);
    m_grid.vAddRows(5);
    m_grid.vSetCellText(1, 0, "09:00");
    m_grid.vSetCellText(1, 2, "old title");
    m_grid.vSetCellFgColor(1, 1, 0x0000FF);
    m_grid.vDeleteRow(1);
    ASSERT_EQ(m_grid.storedRowCount(), 0u);

    m_grid.vInsertRow(0);
    m_grid.vSetCellText(0, 0, "09:05");
    EXPECT_EQ(m_grid.storedRowCount(), 1u);
    EXPECT_EQ(m_grid.cszGetCellText(0, 0), "09:05");
    EXPECT_EQ(m_grid.cszGetCellText(0, 2), "") << "nothing of the deleted row shows";
    EXPECT_EQ(m_grid.cellFgColor(0, 1), std::nullopt);
    EXPECT_FALSE(m_grid.isRowStored(2)) << "the row that followed the deleted one holds nothing";

    // A column inserted later moves the cells of written rows only.
    m_grid.iInsertCol(0, 40);
    EXPECT_EQ(m_grid.cszGetCellText(0, 1), "09:05");
    EXPECT_EQ(m_grid.cszGetCellText(0, 0), "");
}

TEST_F(HeadlessSheetTest, WritesRightAfterAnInsertOrDeleteReachTheRowNamed) {
    m_grid.iInsertCol(2, 300);
    constexpr std::size_t kRow = 50000;
    m_grid.vAddRows(100000);
    m_grid.vSetCellText(kRow, 2, "was 50000");
    m_grid.vSetCellText(kRow + 1, 2, "was 50001");
    EXPECT_EQ(m_grid.cszGetCellText(kRow, 2), "was 50000");

    m_grid.vInsertRow(0); // far above: every row below moves down by one
    m_grid.vSetCellText(kRow, 0, "written after the insert");
    EXPECT_EQ(m_grid.cszGetCellText(kRow, 2), "") << "row 50000 is the former row 49999";
    EXPECT_EQ(m_grid.cszGetCellText(kRow + 1, 0), "") << "the moved row got nothing";
    EXPECT_EQ(m_grid.cszGetCellText(kRow + 1, 2), "was 50000");

    EXPECT_EQ(m_grid.cszGetCellText(kRow + 2, 2), "was 50001");
    m_grid.vDeleteRow(0);
    m_grid.vDeleteRow(0);
    m_grid.vSetCellText(kRow, 0, "written after the deletes");
    EXPECT_EQ(m_grid.cszGetCellText(kRow, 2), "was 50001");
    EXPECT_EQ(m_grid.cszGetCellText(kRow - 1, 2), "was 50000");
    EXPECT_EQ(m_grid.cszGetCellText(kRow - 1, 0), "");

    m_grid.vClearAllRows();
    m_grid.vAddRows(2);
    EXPECT_EQ(m_grid.cszGetCellText(0, 0), "");
    EXPECT_EQ(m_grid.storedRowCount(), 0u);
}

} // namespace
