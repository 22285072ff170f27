#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "adapters/headless/headless_window.h"
#include "adapters/headless/row_sequence.h"

namespace headless {

// The headless grid. Rows live in an indexed sequence of 32-bit slot numbers that stay 0
// until a cell of the row is written (the cells then live in a pool), so a million empty
// rows cost four bytes each and inserting or deleting a row moves plain integers, no cells.
// Rows per page are the full rows that fit below the header row. The grid moves its focus
// row with Up, Down, Page Up, Page Down, Home and End (Left and Right move the focus column)
// and keeps those keys (with Shift held they extend the selection from the anchor row, the
// last row chosen without Shift); every other key message goes to the parent as it came. A
// mouse button press on a row selects it (Ctrl toggles, Shift extends from the anchor row) and
// takes the focus; every mouse message except the wheel is then passed to the parent with
// win::kGridForwarded set in wParam and the point in grid client coordinates. Scrolling the
// grid itself (wheel, scroll bar, keys) tells the parent with WM_VSCROLL (wParam:
// SB_THUMBTRACK and the new first row, lParam: the grid); calls from code do not. A size
// change reaches the parent as the registered message "RVMSG_CHANGESIZE" (wParam: the grid).
// Selected rows and the focus row follow their rows through inserts and deletes; deleting
// the focus row leaves no focus row.
// Ownership: owned by its parent window. Thread: UI thread.
class HeadlessSheet final : public WindowBase<host::ui::CSuperSheetWnd> {
public:
    HeadlessSheet(HeadlessUiHost& host, int id, const host::ui::Rect& rect);
    ~HeadlessSheet() override;

    bool bCreateSheet(const host::ui::CSheetBuilder& builder) override;
    void vSetThinBar(bool thin) override { m_thinBar = thin; }
    void vSetSmoothHScroll(bool smooth) override { m_smoothHScroll = smooth; }
    void vSetHeaderRowHeight(int height) override;
    void vSetRowHeight(int height) override;

    int iInsertCol(int index, int width) override;
    int iGetColCount() const override { return static_cast<int>(m_columns.size()); }
    void vSetColWidth(int col, int width) override;
    int iGetColWidth(int col) const override;
    void vSetHeaderText(int col, const CString& text) override;
    CString cszGetHeaderText(int col) const override;

    void vClearAllRows() override;
    void vAddRows(std::size_t count) override;
    void vInsertRow(std::size_t row) override;
    void vDeleteRow(std::size_t row) override;
    std::size_t iGetRowCount() const override { return m_rows.size(); }
    void vSetCellText(std::size_t row, int col, const CString& text) override;
    CString cszGetCellText(std::size_t row, int col) const override;
    void vSetCellFgColor(std::size_t row, int col, COLORREF color) override;
    void vSetCellBkColor(std::size_t row, int col, COLORREF color) override;
    void vResetCellColor(std::size_t row, int col) override;
    void vInvalidateRow(std::size_t row) override;

    int iGetFirstVisibleRow() const override { return m_firstVisible; }
    int iGetRowsPerPage() const override;
    void vResetRowBkColor() override { ++m_rowBkResets; }
    void vResetScroll() override;
    void vAutoVerScrolling(int row) override;

    void vSetActiveSelection(int row, int col) override;
    void vGetAllSelectionNdx(std::vector<int>& rows) const override;
    // Selects the rows from the anchor row (the last row chosen without Shift) to row, and
    // moves the focus there: a Shift-click or a navigation key with Shift held.
    void selectRange(int row, int col);
    host::ui::Point cptGetFocusNdx() const override { return m_focus; }
    bool bHasFocus() const override { return hasFocus(); }
    int iCalcRowNdx(host::ui::Point clientPoint) const override;

    void vSetHeaderRowBkColor(COLORREF color) override {
        m_colors.headerBk = color;
        m_styleCalls.emplace_back("header-bk");
    }
    void vSetHeaderRowFgColor(COLORREF color) override {
        m_colors.headerFg = color;
        m_styleCalls.emplace_back("header-fg");
    }
    void vSetFrameColor(COLORREF color) override {
        m_colors.frame = color;
        m_styleCalls.emplace_back("frame");
    }
    void vSetBkColor(COLORREF even, COLORREF odd) override;
    void vSetFocusColor(bool enabled, COLORREF text, COLORREF background) override;
    void vSetFgColor(COLORREF color) override {
        m_colors.fg = color;
        m_styleCalls.emplace_back("fg");
    }
    void vSetFont(const host::ui::Font& font) override {
        m_sheetFont = font;
        m_styleCalls.emplace_back("font");
    }

    // --- Read by tests ---
    struct Colors {
        COLORREF headerBk = 0;
        COLORREF headerFg = 0;
        COLORREF frame = 0;
        COLORREF evenBk = 0xFFFFFF;
        COLORREF oddBk = 0xFFFFFF;
        bool focusMarking = false;
        COLORREF focusFg = 0;
        COLORREF focusBk = 0;
        COLORREF fg = 0;
    };
    const Colors& colors() const { return m_colors; }
    // The colour and font setters called so far, in order ("header-bk", "header-fg", "frame",
    // "bk", "focus", "fg", "font").
    const std::vector<std::string>& styleCalls() const { return m_styleCalls; }
    const host::ui::Font& sheetFont() const { return m_sheetFont; }
    bool isCreated() const { return m_created; }
    bool isThinBar() const { return m_thinBar; }
    bool isSmoothHScroll() const { return m_smoothHScroll; }
    int headerRowHeight() const { return m_headerRowHeight; }
    int rowHeight() const { return m_rowHeight; }
    // Cell colours set by code (not the alternating background); nullopt when none.
    std::optional<COLORREF> cellFgColor(std::size_t row, int col) const;
    std::optional<COLORREF> cellBkColor(std::size_t row, int col) const;
    // Whether any cell of the row was ever written (the row holds storage).
    bool isRowStored(std::size_t row) const;
    std::size_t storedRowCount() const { return m_storedRows; }
    int rowBkResetCount() const { return m_rowBkResets; }
    int scrollResetCount() const { return m_scrollResets; }
    int rowInvalidateCount() const { return m_rowInvalidates; }
    // Calls that named a row or column outside the grid (they change nothing).
    int outOfRangeCount() const { return m_outOfRange; }
    // Client point at the centre of a cell when the row is on the visible page.
    std::optional<host::ui::Point> cellCenter(std::size_t row, int col) const;
    // Scrolls as the user would (the parent hears WM_VSCROLL when the first row changed).
    void userScrollTo(int firstRow);

protected:
    host::ui::LRESULT defaultProc(const host::ui::Message& message) override;
    void sizeChanged(host::ui::Size oldSize) override;
    void focusChanged(bool gained, WindowCore* other) override;

private:
    struct Cell {
        CString text;
        std::optional<COLORREF> fg;
        std::optional<COLORREF> bk;
    };
    struct RowCells {
        std::vector<Cell> cells;
    };
    // A row's value: 0 while none of its cells was written, else its pool slot plus one.
    using RowStore = RowSequence<std::uint32_t>;

    bool validCell(std::size_t row, int col);
    const Cell* findCell(std::size_t row, int col) const;
    Cell& cellForWrite(std::size_t row, int col);
    // The cells of a written row; null for a row without storage.
    RowCells* storedCells(std::size_t row);
    const RowCells* storedCells(std::size_t row) const;
    void releaseCells(std::uint32_t value);
    int maxFirstVisible() const;
    void clampScroll();
    // Sets the first visible row; with notify the parent hears WM_VSCROLL on a change.
    void scrollTo(int firstRow, bool notify);
    void moveFocusRow(int row, bool notify);
    host::ui::LRESULT handleKey(const host::ui::Message& message);
    host::ui::LRESULT handleMouse(const host::ui::Message& message);
    int columnAt(int x) const;

    bool m_created = false;
    bool m_thinBar = false;
    bool m_smoothHScroll = false;
    int m_headerRowHeight = 16;
    int m_rowHeight = 16;
    struct Column {
        int width = 0;
        CString header;
    };
    std::vector<Column> m_columns;
    RowStore m_rows;
    // By slot; free slots hold no cells. A deque, so that growing never moves the rows already
    // written (a vector's doubling at a million written rows stalls one insert).
    std::deque<RowCells> m_cellPool;
    std::vector<std::uint32_t> m_freeSlots;
    std::size_t m_storedRows = 0;
    int m_firstVisible = 0;
    std::vector<int> m_selection; // ascending
    host::ui::Point m_focus{-1, -1};
    int m_anchorRow = -1; // where a Shift-extended selection starts
    Colors m_colors;
    std::vector<std::string> m_styleCalls;
    host::ui::Font m_sheetFont{};
    int m_rowBkResets = 0;
    int m_scrollResets = 0;
    int m_rowInvalidates = 0;
    int m_outOfRange = 0;
};

} // namespace headless
