// Row storage of the headless grid: the cells of deleted rows are reused for rows written
// later, and a row read just before an insert or delete is not mistaken for its neighbour.
#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "adapters/headless/headless_host.h"
#include "adapters/headless/headless_sheet.h"
#include "tests/support/recording_handler.h"

namespace {

using host::ui::Rect;

class HeadlessSheetRowsTest : public ::testing::Test {
protected:
    headless::HeadlessHost m_host;
    testsupport::RecordingHandler m_view;
    host::ui::Window* m_window = m_host.ui().createWindow(nullptr, 1, Rect{0, 0, 800, 600}, &m_view);
    headless::HeadlessSheet& m_grid =
        *dynamic_cast<headless::HeadlessSheet*>(m_window->createSheet(10, Rect{0, 0, 400, 300}));

    void SetUp() override {
        m_grid.iInsertCol(0, 60);
        m_grid.iInsertCol(1, 300);
        m_grid.iInsertCol(2, 300);
    }
};

TEST_F(HeadlessSheetRowsTest, ARowWrittenAfterADeleteStartsEmpty) {
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

TEST_F(HeadlessSheetRowsTest, WritesRightAfterAnInsertOrDeleteReachTheRowNamed) {
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
