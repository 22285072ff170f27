#include "adapters/headless/headless_sheet.h"

#include <algorithm>

#include "adapters/headless/headless_ui_host.h"
#include "host/framework/host_context.h"
#include "host/ui/registered_messages.h"

namespace headless {

using host::ui::LRESULT;
using host::ui::Message;
using host::ui::Point;
using host::ui::Rect;
using host::ui::WPARAM;
namespace win = host::ui::win;

namespace {
constexpr int kWheelDelta = 120;
constexpr int kRowsPerWheelNotch = 3;

bool isNavigationKey(unsigned key) {
    return key >= win::VK_PRIOR && key <= win::VK_DOWN;
}
} // namespace

HeadlessSheet::HeadlessSheet(HeadlessUiHost& host, int id, const Rect& rect)
    : WindowBase(host, WindowKind::kSheet, id, rect) {}

HeadlessSheet::~HeadlessSheet() = default;

bool HeadlessSheet::bCreateSheet(const host::ui::CSheetBuilder& builder) {
    m_created = true;
    vSetHeaderRowHeight(builder.m_iHeaderRowHeight);
    vSetRowHeight(builder.m_iRowHeight);
    return true;
}

void HeadlessSheet::vSetHeaderRowHeight(int height) {
    m_headerRowHeight = std::max(height, 0);
    clampScroll();
}

void HeadlessSheet::vSetRowHeight(int height) {
    m_rowHeight = std::max(height, 1);
    clampScroll();
}

int HeadlessSheet::iInsertCol(int index, int width) {
    if (index < 0 || index > iGetColCount()) {
        index = iGetColCount();
    }
    m_columns.insert(m_columns.begin() + index, Column{width, CString{}});
    // Cells of written rows move right with their columns (free slots hold no cells).
    for (RowCells& cells : m_cellPool) {
        if (static_cast<int>(cells.cells.size()) > index) {
            cells.cells.insert(cells.cells.begin() + index, Cell{});
        }
    }
    return index;
}

void HeadlessSheet::vSetColWidth(int col, int width) {
    if (col < 0 || col >= iGetColCount()) {
        ++m_outOfRange;
        return;
    }
    m_columns[static_cast<std::size_t>(col)].width = width;
}

int HeadlessSheet::iGetColWidth(int col) const {
    return col >= 0 && col < iGetColCount() ? m_columns[static_cast<std::size_t>(col)].width : 0;
}

void HeadlessSheet::vSetHeaderText(int col, const CString& text) {
    if (col < 0 || col >= iGetColCount()) {
        ++m_outOfRange;
        return;
    }
    m_columns[static_cast<std::size_t>(col)].header = text;
}

CString HeadlessSheet::cszGetHeaderText(int col) const {
    return col >= 0 && col < iGetColCount() ? m_columns[static_cast<std::size_t>(col)].header : CString{};
}

void HeadlessSheet::vClearAllRows() {
    m_rows.clear();
    m_cellPool.clear();
    m_freeSlots.clear();
    m_storedRows = 0;
    m_selection.clear();
    m_focus = Point{-1, -1};
    m_anchorRow = -1;
    m_firstVisible = 0;
}

void HeadlessSheet::vAddRows(std::size_t count) {
    m_rows.appendDefault(count);
}

void HeadlessSheet::vInsertRow(std::size_t row) {
    const std::size_t pos = std::min(row, m_rows.size());
    m_rows.insert(pos, 0);
    const int at = static_cast<int>(pos);
    for (int& selected : m_selection) {
        if (selected >= at) {
            ++selected;
        }
    }
    if (m_focus.y >= at) {
        ++m_focus.y;
    }
    if (m_anchorRow >= at) {
        ++m_anchorRow;
    }
}

void HeadlessSheet::vDeleteRow(std::size_t row) {
    if (row >= m_rows.size()) {
        ++m_outOfRange;
        return;
    }
    if (const std::uint32_t value = m_rows[row]; value != 0) {
        releaseCells(value);
    }
    m_rows.erase(row);
    const int at = static_cast<int>(row);
    std::erase(m_selection, at);
    for (int& selected : m_selection) {
        if (selected > at) {
            --selected;
        }
    }
    if (m_focus.y == at) {
        m_focus.y = -1;
    } else if (m_focus.y > at) {
        --m_focus.y;
    }
    if (m_anchorRow == at) {
        m_anchorRow = -1;
    } else if (m_anchorRow > at) {
        --m_anchorRow;
    }
    clampScroll();
}

bool HeadlessSheet::validCell(std::size_t row, int col) {
    if (row < m_rows.size() && col >= 0 && col < iGetColCount()) {
        return true;
    }
    ++m_outOfRange;
    return false;
}

HeadlessSheet::RowCells* HeadlessSheet::storedCells(std::size_t row) {
    const std::uint32_t value = m_rows[row];
    return value != 0 ? &m_cellPool[value - 1] : nullptr;
}

const HeadlessSheet::RowCells* HeadlessSheet::storedCells(std::size_t row) const {
    const std::uint32_t value = m_rows[row];
    return value != 0 ? &m_cellPool[value - 1] : nullptr;
}

void HeadlessSheet::releaseCells(std::uint32_t value) {
    // The slot keeps its vector's room for the next row written.
    m_cellPool[value - 1].cells.clear();
    m_freeSlots.push_back(value - 1);
    --m_storedRows;
}

const HeadlessSheet::Cell* HeadlessSheet::findCell(std::size_t row, int col) const {
    if (row >= m_rows.size() || col < 0) {
        return nullptr;
    }
    const RowCells* cells = storedCells(row);
    if (cells == nullptr || static_cast<std::size_t>(col) >= cells->cells.size()) {
        return nullptr;
    }
    return &cells->cells[static_cast<std::size_t>(col)];
}

HeadlessSheet::Cell& HeadlessSheet::cellForWrite(std::size_t row, int col) {
    std::uint32_t& value = m_rows[row];
    if (value == 0) {
        std::uint32_t slot = 0;
        if (!m_freeSlots.empty()) {
            slot = m_freeSlots.back();
            m_freeSlots.pop_back();
        } else {
            slot = static_cast<std::uint32_t>(m_cellPool.size());
            m_cellPool.emplace_back();
        }
        // Rows are written column by column; room for all of them up front saves regrowing.
        m_cellPool[slot].cells.reserve(m_columns.size());
        value = slot + 1;
        ++m_storedRows;
    }
    std::vector<Cell>& cells = m_cellPool[value - 1].cells;
    if (cells.size() <= static_cast<std::size_t>(col)) {
        cells.resize(static_cast<std::size_t>(col) + 1);
    }
    return cells[static_cast<std::size_t>(col)];
}

void HeadlessSheet::vSetCellText(std::size_t row, int col, const CString& text) {
    if (validCell(row, col)) {
        cellForWrite(row, col).text = text;
    }
}

CString HeadlessSheet::cszGetCellText(std::size_t row, int col) const {
    const Cell* cell = findCell(row, col);
    return cell != nullptr ? cell->text : CString{};
}

void HeadlessSheet::vSetCellFgColor(std::size_t row, int col, COLORREF color) {
    if (validCell(row, col)) {
        cellForWrite(row, col).fg = color;
    }
}

void HeadlessSheet::vSetCellBkColor(std::size_t row, int col, COLORREF color) {
    if (validCell(row, col)) {
        cellForWrite(row, col).bk = color;
    }
}

void HeadlessSheet::vResetCellColor(std::size_t row, int col) {
    if (!validCell(row, col)) {
        return;
    }
    // Resetting never creates storage for a row that holds none.
    RowCells* cells = storedCells(row);
    if (cells != nullptr && cells->cells.size() > static_cast<std::size_t>(col)) {
        Cell& cell = cells->cells[static_cast<std::size_t>(col)];
        cell.fg.reset();
        cell.bk.reset();
    }
}

void HeadlessSheet::vInvalidateRow(std::size_t row) {
    if (row >= m_rows.size()) {
        ++m_outOfRange;
        return;
    }
    ++m_rowInvalidates;
}

std::optional<COLORREF> HeadlessSheet::cellFgColor(std::size_t row, int col) const {
    const Cell* cell = findCell(row, col);
    return cell != nullptr ? cell->fg : std::nullopt;
}

std::optional<COLORREF> HeadlessSheet::cellBkColor(std::size_t row, int col) const {
    const Cell* cell = findCell(row, col);
    return cell != nullptr ? cell->bk : std::nullopt;
}

bool HeadlessSheet::isRowStored(std::size_t row) const {
    return row < m_rows.size() && m_rows[row] != 0;
}

int HeadlessSheet::iGetRowsPerPage() const {
    return std::max(0, (clientRect().Height() - m_headerRowHeight) / m_rowHeight);
}

int HeadlessSheet::maxFirstVisible() const {
    return std::max(0, static_cast<int>(m_rows.size()) - std::max(iGetRowsPerPage(), 1));
}

void HeadlessSheet::clampScroll() {
    m_firstVisible = std::clamp(m_firstVisible, 0, maxFirstVisible());
}

void HeadlessSheet::scrollTo(int firstRow, bool notify) {
    const int old = m_firstVisible;
    m_firstVisible = std::clamp(firstRow, 0, maxFirstVisible());
    if (notify && old != m_firstVisible) {
        deliverToParent(Message{win::WM_VSCROLL,
                                host::ui::MAKEWPARAM(win::SB_THUMBTRACK, static_cast<unsigned>(m_firstVisible)),
                                reinterpret_cast<host::ui::LPARAM>(static_cast<host::ui::Window*>(this)), this});
    }
}

void HeadlessSheet::userScrollTo(int firstRow) {
    HeadlessUiHost::DispatchScope scope(uiHost(), true);
    scrollTo(firstRow, true);
}

void HeadlessSheet::vResetScroll() {
    m_firstVisible = 0;
    ++m_scrollResets;
}

void HeadlessSheet::vAutoVerScrolling(int row) {
    if (row < 0 || row >= static_cast<int>(m_rows.size())) {
        return;
    }
    const int perPage = std::max(iGetRowsPerPage(), 1);
    if (row < m_firstVisible) {
        scrollTo(row, false);
    } else if (row >= m_firstVisible + perPage) {
        scrollTo(row - perPage + 1, false);
    }
}

void HeadlessSheet::vSetActiveSelection(int row, int col) {
    m_selection.clear();
    if (row < 0 || row >= static_cast<int>(m_rows.size())) {
        m_focus = Point{col, -1};
        m_anchorRow = -1;
        return;
    }
    m_selection.push_back(row);
    m_focus = Point{col, row};
    m_anchorRow = row;
}

void HeadlessSheet::selectRange(int row, int col) {
    const int anchor = m_anchorRow >= 0 ? m_anchorRow : (m_focus.y >= 0 ? m_focus.y : row);
    m_selection.clear();
    for (int r = std::min(row, anchor); r <= std::max(row, anchor); ++r) {
        m_selection.push_back(r);
    }
    m_focus = Point{col, row};
    m_anchorRow = anchor;
}

void HeadlessSheet::vGetAllSelectionNdx(std::vector<int>& rows) const {
    rows = m_selection;
}

int HeadlessSheet::iCalcRowNdx(Point clientPoint) const {
    if (!clientRect().Contains(clientPoint) || clientPoint.y < m_headerRowHeight) {
        return -1;
    }
    const int row = m_firstVisible + (clientPoint.y - m_headerRowHeight) / m_rowHeight;
    return row < static_cast<int>(m_rows.size()) ? row : -1;
}

int HeadlessSheet::columnAt(int x) const {
    int left = 0;
    for (int col = 0; col < iGetColCount(); ++col) {
        left += m_columns[static_cast<std::size_t>(col)].width;
        if (x < left) {
            return col;
        }
    }
    return -1;
}

std::optional<Point> HeadlessSheet::cellCenter(std::size_t row, int col) const {
    const int r = static_cast<int>(row);
    if (row >= m_rows.size() || r < m_firstVisible || r >= m_firstVisible + iGetRowsPerPage()) {
        return std::nullopt;
    }
    int left = 0;
    int width = clientRect().Width();
    if (col >= 0 && col < iGetColCount()) {
        for (int c = 0; c < col; ++c) {
            left += m_columns[static_cast<std::size_t>(c)].width;
        }
        width = m_columns[static_cast<std::size_t>(col)].width;
    }
    return Point{left + width / 2, m_headerRowHeight + (r - m_firstVisible) * m_rowHeight + m_rowHeight / 2};
}

void HeadlessSheet::vSetBkColor(COLORREF even, COLORREF odd) {
    m_colors.evenBk = even;
    m_colors.oddBk = odd;
    m_styleCalls.emplace_back("bk");
}

void HeadlessSheet::vSetFocusColor(bool enabled, COLORREF text, COLORREF background) {
    m_colors.focusMarking = enabled;
    m_colors.focusFg = text;
    m_colors.focusBk = background;
    m_styleCalls.emplace_back("focus");
}

void HeadlessSheet::sizeChanged(host::ui::Size /*oldSize*/) {
    clampScroll();
    static const unsigned changeSize = host::ui::RegisterWindowMessageA("RVMSG_CHANGESIZE");
    deliverToParent(
        Message{changeSize, reinterpret_cast<WPARAM>(static_cast<host::ui::CSuperSheetWnd*>(this)), 0, this});
}

void HeadlessSheet::focusChanged(bool gained, WindowCore* other) {
    WindowCore::focusChanged(gained, other);
    host::ui::NotifyInfo info;
    info.code = gained ? win::NM_SETFOCUS : win::NM_KILLFOCUS;
    notifyParent(info);
}

void HeadlessSheet::moveFocusRow(int row, bool notify) {
    if (m_rows.size() == 0) {
        return;
    }
    row = std::clamp(row, 0, static_cast<int>(m_rows.size()) - 1);
    // With Shift held the selection runs from the anchor row to the new focus row.
    const host::ui::UiHost* ui = host::HostContext::current().ui;
    if (ui != nullptr && ui->isKeyDown(win::VK_SHIFT)) {
        selectRange(row, std::max(m_focus.x, 0));
    } else {
        vSetActiveSelection(row, std::max(m_focus.x, 0));
    }
    const int perPage = std::max(iGetRowsPerPage(), 1);
    if (row < m_firstVisible) {
        scrollTo(row, notify);
    } else if (row >= m_firstVisible + perPage) {
        scrollTo(row - perPage + 1, notify);
    }
}

LRESULT HeadlessSheet::handleKey(const Message& message) {
    const auto key = static_cast<unsigned>(message.wParam);
    if (!isNavigationKey(key)) {
        return deliverToParent(message);
    }
    if (message.message != win::WM_KEYDOWN) {
        return deliverToParent(message); // key-ups of the navigation keys are not used here
    }
    const int perPage = std::max(iGetRowsPerPage(), 1);
    const int last = static_cast<int>(m_rows.size()) - 1;
    const int focus = m_focus.y;
    switch (key) {
    case win::VK_UP:
        moveFocusRow(focus < 0 ? m_firstVisible : focus - 1, true);
        break;
    case win::VK_DOWN:
        moveFocusRow(focus < 0 ? m_firstVisible : focus + 1, true);
        break;
    case win::VK_PRIOR:
        moveFocusRow(focus < 0 ? m_firstVisible : focus - perPage, true);
        break;
    case win::VK_NEXT:
        moveFocusRow(focus < 0 ? m_firstVisible : focus + perPage, true);
        break;
    case win::VK_HOME:
        moveFocusRow(0, true);
        break;
    case win::VK_END:
        moveFocusRow(last, true);
        break;
    case win::VK_LEFT:
        m_focus.x = std::max(m_focus.x - 1, 0);
        break;
    case win::VK_RIGHT:
        m_focus.x = std::min(m_focus.x + 1, std::max(iGetColCount() - 1, 0));
        break;
    default:
        break;
    }
    return 0;
}

LRESULT HeadlessSheet::handleMouse(const Message& message) {
    const Point point{host::ui::GET_X_LPARAM(message.lParam), host::ui::GET_Y_LPARAM(message.lParam)};
    const auto flags = static_cast<unsigned>(message.wParam);
    if (message.message == win::WM_LBUTTONDOWN || message.message == win::WM_RBUTTONDOWN ||
        message.message == win::WM_LBUTTONDBLCLK) {
        const int row = iCalcRowNdx(point);
        if (row >= 0) {
            const int col = columnAt(point.x);
            const bool inSelection = std::binary_search(m_selection.begin(), m_selection.end(), row);
            if ((flags & win::MK_CONTROL) != 0 && message.message == win::WM_LBUTTONDOWN) {
                if (inSelection) {
                    std::erase(m_selection, row);
                } else {
                    m_selection.insert(std::lower_bound(m_selection.begin(), m_selection.end(), row), row);
                }
                m_focus = Point{col, row};
                m_anchorRow = row;
            } else if ((flags & win::MK_SHIFT) != 0 && m_focus.y >= 0 && message.message == win::WM_LBUTTONDOWN) {
                selectRange(row, col);
            } else if (!(message.message == win::WM_RBUTTONDOWN && inSelection)) {
                // A right click inside the selection keeps it, for a context menu on all of it.
                vSetActiveSelection(row, col);
            } else {
                m_focus = Point{col, row};
            }
        }
        setFocus();
        if (isDestroyed()) {
            return 0;
        }
    }
    Message forwarded = message;
    forwarded.wParam |= win::kGridForwarded;
    return deliverToParent(forwarded);
}

LRESULT HeadlessSheet::defaultProc(const Message& message) {
    switch (message.message) {
    case win::WM_KEYDOWN:
    case win::WM_KEYUP:
    case win::WM_CHAR:
        return handleKey(message);
    case win::WM_MOUSEMOVE:
    case win::WM_LBUTTONDOWN:
    case win::WM_LBUTTONUP:
    case win::WM_LBUTTONDBLCLK:
    case win::WM_RBUTTONDOWN:
    case win::WM_RBUTTONUP:
        return handleMouse(message);
    case win::WM_MOUSEWHEEL: {
        const int delta = static_cast<short>(host::ui::HIWORD(message.wParam));
        scrollTo(m_firstVisible - delta / kWheelDelta * kRowsPerWheelNotch, true);
        return 0;
    }
    case win::WM_VSCROLL: {
        const int perPage = std::max(iGetRowsPerPage(), 1);
        switch (host::ui::LOWORD(message.wParam)) {
        case win::SB_LINEUP:
            scrollTo(m_firstVisible - 1, true);
            break;
        case win::SB_LINEDOWN:
            scrollTo(m_firstVisible + 1, true);
            break;
        case win::SB_PAGEUP:
            scrollTo(m_firstVisible - perPage, true);
            break;
        case win::SB_PAGEDOWN:
            scrollTo(m_firstVisible + perPage, true);
            break;
        case win::SB_THUMBTRACK:
            scrollTo(static_cast<int>(host::ui::HIWORD(message.wParam)), true);
            break;
        default:
            break;
        }
        return 0;
    }
    default:
        return WindowCore::defaultProc(message);
    }
}

} // namespace headless
