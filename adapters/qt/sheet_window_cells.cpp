// The grid's columns, rows, cells and selection as the view sets and reads them: the
// CSuperSheetWnd calls, each forwarded to the sheet's model or its table view.
#include <QHeaderView>
#include <QScrollBar>
#include <QTableView>
#include <algorithm>

#include "adapters/qt/convert.h"
#include "adapters/qt/sheet_model.h"
#include "adapters/qt/sheet_window.h"
#include "adapters/qt/text_codec.h"

namespace qthost {

namespace {

// Room around a header's text: its padding, the border and a little air.
constexpr int kHeaderTextMargins = 12;

} // namespace

bool QtSheet::bCreateSheet(const host::ui::CSheetBuilder& builder) {
    vSetHeaderRowHeight(builder.m_iHeaderRowHeight);
    vSetRowHeight(builder.m_iRowHeight);
    return true;
}

void QtSheet::vSetThinBar(bool thin) {
    tableView().verticalScrollBar()->setStyleSheet(thin ? QStringLiteral("QScrollBar:vertical { width: 8px; }")
                                                        : QString());
}

void QtSheet::vSetSmoothHScroll(bool smooth) {
    tableView().setHorizontalScrollMode(smooth ? QAbstractItemView::ScrollPerPixel : QAbstractItemView::ScrollPerItem);
}

void QtSheet::vSetHeaderRowHeight(int height) {
    QHeaderView* header = tableView().horizontalHeader();
    header->setVisible(height > 0);
    header->setFixedHeight(std::max(0, scaledLength(height)));
}

void QtSheet::vSetRowHeight(int height) {
    tableView().verticalHeader()->setDefaultSectionSize(std::max(1, scaledLength(height)));
}

int QtSheet::iInsertCol(int index, int width) {
    const int column = m_model->addColumn(index);
    const auto at = static_cast<std::ptrdiff_t>(column);
    m_moduleWidths.insert(m_moduleWidths.begin() + at, std::max(0, width));
    m_appliedWidths.insert(m_appliedWidths.begin() + at, 0);
    fitColumn(column);
    return column;
}

void QtSheet::fitColumn(int col) {
    const auto at = static_cast<std::size_t>(col);
    int width = scaledLength(m_moduleWidths[at]);
    if (width > 0) {
        const QString header = toQString(m_model->headerText(col));
        if (!header.isEmpty()) {
            const QHeaderView& columns = *tableView().horizontalHeader();
            width = std::max(width, columns.fontMetrics().horizontalAdvance(header) + kHeaderTextMargins);
        }
    }
    m_appliedWidths[at] = width;
    tableView().setColumnWidth(col, width);
}

int QtSheet::iGetColCount() const {
    return m_model->columns();
}

void QtSheet::vSetColWidth(int col, int width) {
    if (col >= 0 && col < iGetColCount()) {
        m_moduleWidths[static_cast<std::size_t>(col)] = std::max(0, width);
        fitColumn(col);
    }
}

int QtSheet::iGetColWidth(int col) const {
    if (col < 0 || col >= iGetColCount()) {
        return 0;
    }
    const auto at = static_cast<std::size_t>(col);
    const int shown = tableView().columnWidth(col);
    // Unless the user dragged the column, the module hears its own width back.
    if (shown == m_appliedWidths[at]) {
        return m_moduleWidths[at];
    }
    return static_cast<int>(std::lround(shown / fontScale()));
}

void QtSheet::vSetHeaderText(int col, const CString& text) {
    m_model->setHeaderText(col, text);
    if (col >= 0 && col < iGetColCount()) {
        fitColumn(col);
    }
}
CString QtSheet::cszGetHeaderText(int col) const {
    return m_model->headerText(col);
}
void QtSheet::vClearAllRows() {
    m_model->clearRows();
}
void QtSheet::vAddRows(std::size_t count) {
    m_model->appendRows(count);
}
void QtSheet::vInsertRow(std::size_t row) {
    m_model->insertRowAt(row);
}
void QtSheet::vDeleteRow(std::size_t row) {
    m_model->deleteRowAt(row);
}
std::size_t QtSheet::iGetRowCount() const {
    return m_model->rows();
}
void QtSheet::vSetCellText(std::size_t row, int col, const CString& text) {
    m_model->setCellText(row, col, text);
}
CString QtSheet::cszGetCellText(std::size_t row, int col) const {
    return m_model->cellText(row, col);
}
void QtSheet::vSetCellFgColor(std::size_t row, int col, COLORREF color) {
    m_model->setCellForeground(row, col, color);
}
void QtSheet::vSetCellBkColor(std::size_t row, int col, COLORREF color) {
    m_model->setCellBackground(row, col, color);
}
void QtSheet::vResetCellColor(std::size_t row, int col) {
    m_model->resetCellColors(row, col);
}
void QtSheet::vInvalidateRow(std::size_t row) {
    m_model->invalidateRow(row);
}

int QtSheet::iGetFirstVisibleRow() const {
    publish();
    const QTableView& view = tableView();
    int top = view.rowAt(0);
    if (top < 0) {
        return 0;
    }
    // Scrolled to the end, Qt aligns the last row with the bottom and cuts the top row; the
    // first whole row is the one the page starts with.
    if (view.rowViewportPosition(top) < 0 && top + 1 < m_model->rowCount()) {
        ++top;
    }
    const std::optional<std::size_t> row = m_model->moduleRow(top);
    return row ? static_cast<int>(*row) : 0;
}

int QtSheet::iGetRowsPerPage() const {
    return tableView().viewport()->height() / rowHeight();
}

void QtSheet::vResetRowBkColor() {
    m_model->restartAlternation();
}

void QtSheet::vResetScroll() {
    publish();
    tableView().verticalScrollBar()->setValue(0);
    tableView().horizontalScrollBar()->setValue(0);
}

void QtSheet::vAutoVerScrolling(int row) {
    publish();
    if (row < 0 || static_cast<std::size_t>(row) >= m_model->rows()) {
        return;
    }
    // Rows scroll one by one (the bar's value is the first visible row), so this needs no
    // column and never moves the grid sideways.
    QScrollBar* bar = tableView().verticalScrollBar();
    const int page = std::max(1, iGetRowsPerPage());
    const int first = iGetFirstVisibleRow();
    if (row < first) {
        bar->setValue(row);
    } else if (row >= first + page) {
        bar->setValue(row - page + 1);
    }
}

void QtSheet::vSetActiveSelection(int row, int col) {
    if (row < 0) {
        m_model->clearSelection();
        return;
    }
    m_model->selectOnly(static_cast<std::size_t>(row), col);
}

void QtSheet::vGetAllSelectionNdx(std::vector<int>& rows) const {
    rows.clear();
    for (const std::size_t row : m_model->selectedRows()) {
        rows.push_back(static_cast<int>(row));
    }
}

host::ui::Point QtSheet::cptGetFocusNdx() const {
    return host::ui::Point{m_model->focusColumn(), m_model->focusRow()};
}
bool QtSheet::bHasFocus() const {
    return hasFocus();
}

int QtSheet::iCalcRowNdx(host::ui::Point clientPoint) const {
    publish();
    const QTableView& view = tableView();
    const QPoint inViewport = view.viewport()->mapFrom(&view, toQPoint(clientPoint));
    if (!view.viewport()->rect().contains(inViewport)) {
        return -1;
    }
    const std::optional<std::size_t> row = m_model->moduleRow(view.rowAt(inViewport.y()));
    return row ? static_cast<int>(*row) : -1;
}

void QtSheet::vSetHeaderRowBkColor(COLORREF color) {
    m_headerBackground = color;
    applyStyleSheet();
}

void QtSheet::vSetHeaderRowFgColor(COLORREF color) {
    m_headerForeground = color;
    applyStyleSheet();
}

void QtSheet::vSetFrameColor(COLORREF color) {
    m_frameColor = color;
    applyStyleSheet();
}

void QtSheet::vSetBkColor(COLORREF even, COLORREF odd) {
    m_evenBackground = even;
    m_model->setRowBackgrounds(even, odd);
    applyStyleSheet();
}

void QtSheet::vSetFocusColor(bool enabled, COLORREF text, COLORREF background) {
    m_model->setFocusColors(enabled, text, background);
}

void QtSheet::vSetFgColor(COLORREF color) {
    m_model->setDefaultForeground(color);
}

void QtSheet::vSetFont(const host::ui::Font& font) {
    setFont(font, true);
    // Header texts take a new room in the new font.
    for (int col = 0; col < iGetColCount(); ++col) {
        fitColumn(col);
    }
}

void QtSheet::applyStyleSheet() {
    QTableView& view = tableView();
    // Grid lines come from the palette's mid colour; the area below the last row is the
    // even-row background.
    QPalette palette = view.palette();
    palette.setColor(QPalette::Base, toQColor(m_evenBackground));
    palette.setColor(QPalette::Mid, toQColor(m_frameColor));
    view.setPalette(palette);
    view.horizontalHeader()->setStyleSheet(
        QStringLiteral("QHeaderView::section { background-color: %1; color: %2; border: none;"
                       " border-right: 1px solid %3; border-bottom: 1px solid %3; padding-left: 3px; }")
            .arg(toQColor(m_headerBackground).name(), toQColor(m_headerForeground).name(),
                 toQColor(m_frameColor).name()));
}

} // namespace qthost
