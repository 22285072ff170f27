#pragma once

#include <cstddef>
#include <vector>

#include "host/ui/window.h"

namespace host::ui {

// Column and row set-up a grid is built from.
class CSheetBuilder {
public:
    int m_iHeaderRowHeight = 16;
    int m_iRowHeight = 16;
};

// The host's grid. Rows are numbered from 0 below the header row; columns from 0.
// A grid may hold a million rows: cells exist only for rows that were written, row
// inserts and deletes cost the same at any size, and only visible rows are painted.
// Key and mouse messages that the grid does not use itself are forwarded to its parent
// view, mouse messages with win::kGridForwarded in wParam. It tells its parent about a
// size change with the registered message "RVMSG_CHANGESIZE" (wParam: the grid).
// Ownership: owned by its parent window. Thread: UI thread.
class CSuperSheetWnd : public Window {
public:
    virtual bool bCreateSheet(const CSheetBuilder& builder) = 0;
    virtual void vSetThinBar(bool thin) = 0;
    virtual void vSetSmoothHScroll(bool smooth) = 0;
    virtual void vSetHeaderRowHeight(int height) = 0;
    virtual void vSetRowHeight(int height) = 0;

    // Columns.
    virtual int iInsertCol(int index, int width) = 0;
    virtual int iGetColCount() const = 0;
    virtual void vSetColWidth(int col, int width) = 0;
    virtual int iGetColWidth(int col) const = 0;
    virtual void vSetHeaderText(int col, const CString& text) = 0;
    virtual CString cszGetHeaderText(int col) const = 0;

    // Rows.
    virtual void vClearAllRows() = 0;             // removes every row and its cells
    virtual void vAddRows(std::size_t count) = 0; // appends empty rows
    virtual void vInsertRow(std::size_t row) = 0; // inserts one empty row before row
    virtual void vDeleteRow(std::size_t row) = 0;
    virtual std::size_t iGetRowCount() const = 0;
    virtual void vSetCellText(std::size_t row, int col, const CString& text) = 0;
    virtual CString cszGetCellText(std::size_t row, int col) const = 0;
    virtual void vSetCellFgColor(std::size_t row, int col, COLORREF color) = 0;
    virtual void vSetCellBkColor(std::size_t row, int col, COLORREF color) = 0;
    virtual void vResetCellColor(std::size_t row, int col) = 0;
    virtual void vInvalidateRow(std::size_t row) = 0;

    // Scrolling and paging. The first visible row and the rows per page are what the
    // user sees now.
    virtual int iGetFirstVisibleRow() const = 0;
    virtual int iGetRowsPerPage() const = 0;
    virtual void vResetRowBkColor() = 0;         // restarts the alternating row background
    virtual void vResetScroll() = 0;             // scroll position to the top, scroll bars updated
    virtual void vAutoVerScrolling(int row) = 0; // scrolls so that row is visible

    // Selection and focus.
    virtual void vSetActiveSelection(int row, int col) = 0;             // one selected row, focus on it
    virtual void vGetAllSelectionNdx(std::vector<int>& rows) const = 0; // ascending
    virtual Point cptGetFocusNdx() const = 0;                           // x column, y row; y -1 when no focus row
    virtual bool bHasFocus() const = 0;
    virtual int iCalcRowNdx(Point clientPoint) const = 0; // -1 outside the rows

    // Colours and font.
    virtual void vSetHeaderRowBkColor(COLORREF color) = 0;
    virtual void vSetHeaderRowFgColor(COLORREF color) = 0;
    virtual void vSetFrameColor(COLORREF color) = 0;
    virtual void vSetBkColor(COLORREF even, COLORREF odd) = 0;
    virtual void vSetFocusColor(bool enabled, COLORREF text, COLORREF background) = 0;
    virtual void vSetFgColor(COLORREF color) = 0;
    virtual void vSetFont(const Font& font) = 0;
};

} // namespace host::ui
