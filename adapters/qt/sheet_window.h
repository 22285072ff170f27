#pragma once

#include <optional>
#include <vector>

#include "adapters/qt/window_core.h"
#include "host/ui/sheet.h"

class QTableView;

namespace qthost {

class SheetModel;
class SheetView;

// The host's grid on a QTableView over a SheetModel. Rows have one fixed height and the
// vertical header is hidden: nothing is ever measured per row, so a million rows scroll,
// insert and paint like a hundred.
//
// Repaints are paced: the model publishes changes at most every
// SheetModel::kPublishIntervalMs, and invalidate()/update() wait for that beat too, so a stream
// of pushes costs a few repaints a second. While the user is scrolled away from the top or is
// reading a row, rows inserted above do not move the rows in view; at the top new rows show, and
// a focused row being read is kept on screen.
//
// Sizes follow the terminal's font size (fontScale()): row and header heights and column widths
// are the module's, scaled; a column is never narrower than its header text in the current
// language and font (a hidden column, width 0, stays hidden). iGetColWidth answers in the
// module's units, so widths the module stores do not grow with the font.
//
// A cell whose text is cut shows it whole in a tooltip; a cell that fits shows none.
//
// Input: the grid handles its navigation keys itself (Up, Down, Page Up, Page Down, Home,
// End, Left, Right, also when the module sends them) and passes every other key to its
// parent view. Mouse messages update the selection and then go to the parent with
// kGridForwarded in wParam and the point in the grid's client coordinates; Message::target
// names the grid. WM_CONTEXTMENU goes to the parent with the grid as wParam and the screen
// point. Scrolling by the user (scroll bar, wheel, keys, scroll messages) sends the parent
// WM_VSCROLL (SB_THUMBTRACK and the new first row; lParam the grid), scrolling by calls from
// code does not; a size change sends it "RVMSG_CHANGESIZE" (wParam the grid), and focus
// changes WM_NOTIFY NM_SETFOCUS / NM_KILLFOCUS.
class QtSheet final : public WindowImpl<host::ui::CSuperSheetWnd> {
public:
    QtSheet(QWidget* parent, int id);

    bool handlesKeys() const override { return true; }
    host::ui::LRESULT windowProc(const host::ui::Message& message) override;

    bool bCreateSheet(const host::ui::CSheetBuilder& builder) override;
    void vSetThinBar(bool thin) override;
    void vSetSmoothHScroll(bool smooth) override;
    void vSetHeaderRowHeight(int height) override;
    void vSetRowHeight(int height) override;

    int iInsertCol(int index, int width) override;
    int iGetColCount() const override;
    void vSetColWidth(int col, int width) override;
    int iGetColWidth(int col) const override;
    void vSetHeaderText(int col, const CString& text) override;
    CString cszGetHeaderText(int col) const override;

    void vClearAllRows() override;
    void vAddRows(std::size_t count) override;
    void vInsertRow(std::size_t row) override;
    void vDeleteRow(std::size_t row) override;
    std::size_t iGetRowCount() const override;
    void vSetCellText(std::size_t row, int col, const CString& text) override;
    CString cszGetCellText(std::size_t row, int col) const override;
    void vSetCellFgColor(std::size_t row, int col, COLORREF color) override;
    void vSetCellBkColor(std::size_t row, int col, COLORREF color) override;
    void vResetCellColor(std::size_t row, int col) override;
    void vInvalidateRow(std::size_t row) override;

    int iGetFirstVisibleRow() const override;
    int iGetRowsPerPage() const override;
    void vResetRowBkColor() override;
    void vResetScroll() override;
    void vAutoVerScrolling(int row) override;

    void vSetActiveSelection(int row, int col) override;
    void vGetAllSelectionNdx(std::vector<int>& rows) const override;
    host::ui::Point cptGetFocusNdx() const override;
    bool bHasFocus() const override;
    int iCalcRowNdx(host::ui::Point clientPoint) const override;

    void vSetHeaderRowBkColor(COLORREF color) override;
    void vSetHeaderRowFgColor(COLORREF color) override;
    void vSetFrameColor(COLORREF color) override;
    void vSetBkColor(COLORREF even, COLORREF odd) override;
    void vSetFocusColor(bool enabled, COLORREF text, COLORREF background) override;
    void vSetFgColor(COLORREF color) override;
    void vSetFont(const host::ui::Font& font) override;

    // For tests and benchmarks.
    SheetModel& model() const { return *m_model; }
    QTableView& tableView() const;

private:
    friend class SheetView;
    void publish() const;
    int rowHeight() const;
    bool moveFocus(unsigned virtualKey, bool extend);
    void scrollRows(int delta);
    void onMouse(QEvent* event);
    void onScrolled();
    bool filterEvent(QObject* watched, QEvent* event) override;
    void applyStyleSheet();
    QWidget* paintTarget() const override;
    // Repaints wait for the model's next publish, with the rows that changed.
    void requestRepaint() override;
    void repaintNow() override;
    // Rows arriving above keep the rows in view where they are while the user is scrolled away
    // from the top; at the top they show, and the focus row of a focused grid stays on screen.
    void rememberRowsInView();
    void keepRowsInView();
    void onSizeChanged(QSize size) override;
    // Applies a column's module width at the current font, at least as wide as its header.
    void fitColumn(int col);

    std::vector<int> m_moduleWidths;  // by column, in module units
    std::vector<int> m_appliedWidths; // what fitColumn set, to tell a user's drag apart

    SheetModel* m_model; // child of the view
    COLORREF m_headerBackground = host::ui::RGB(40, 40, 56);
    COLORREF m_headerForeground = host::ui::RGB(255, 255, 160);
    COLORREF m_frameColor = host::ui::RGB(96, 96, 96);
    COLORREF m_evenBackground = host::ui::RGB(0, 0, 0);
    int m_userScroll = 0;                   // > 0 while the user's action moves the rows
    std::optional<std::size_t> m_anchorRow; // module row at the top before a publish
    bool m_keepFocusRowInView = false;      // at the top, reading: the focus row stays on screen
    bool m_sliderAction = false;
};

} // namespace qthost
