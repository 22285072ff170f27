#include "adapters/qt/sheet_model.h"

#include <algorithm>
#include <cmath>

#include "adapters/qt/convert.h"
#include "adapters/qt/text_codec.h"

namespace qthost {

namespace {

// Past this many separate changes in one turn, translating view rows costs more than it
// saves and one reset tells the view everything.
constexpr std::size_t kMaxPendingChanges = 32;
// Replaying more than a few separate changes is slower than a reset.
constexpr std::size_t kMaxReplayedChanges = 4;
// Selections larger than this repaint the whole grid instead of row by row.
constexpr std::size_t kMaxRowsMarkedOneByOne = 64;

} // namespace

SheetModel::SheetModel(QObject* parent) : QAbstractTableModel(parent) {
    m_fadeTimer.start();
    m_publishTimer.setSingleShot(true);
    m_publishTimer.setTimerType(Qt::PreciseTimer);
    connect(&m_publishTimer, &QTimer::timeout, this, [this] {
        if (m_publishScheduled) {
            publish();
        }
    });
}

int SheetModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : m_viewRows;
}
int SheetModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : columns();
}

std::optional<std::size_t> SheetModel::moduleRow(int viewRow) const {
    if (viewRow < 0) {
        return std::nullopt;
    }
    auto row = static_cast<std::size_t>(viewRow);
    if (m_resetPending) {
        // The view is about to be reset; until then it shows the rows as they are now.
        return row < m_rows.size() ? std::optional<std::size_t>(row) : std::nullopt;
    }
    for (const Change& change : m_pending) {
        if (change.kind == Change::Kind::kInsert) {
            if (row >= change.row) {
                row += change.count;
            }
        } else if (row >= change.row + change.count) {
            row -= change.count;
        } else if (row >= change.row) {
            return std::nullopt;
        }
    }
    return row < m_rows.size() ? std::optional<std::size_t>(row) : std::nullopt;
}

void SheetModel::record(Change change) {
    schedulePublish();
    if (m_resetPending) {
        return;
    }
    if (!m_pending.empty()) {
        Change& last = m_pending.back();
        if (change.kind == Change::Kind::kInsert && last.kind == Change::Kind::kInsert && change.row >= last.row &&
            change.row <= last.row + last.count) {
            last.count += change.count; // pushes at the top land here
            return;
        }
        if (change.kind == Change::Kind::kDelete && last.kind == Change::Kind::kDelete) {
            if (change.row == last.row) {
                last.count += change.count;
                return;
            }
            if (change.row + change.count == last.row) {
                last.row = change.row;
                last.count += change.count;
                return;
            }
        }
        if (change.kind == Change::Kind::kDelete && last.kind == Change::Kind::kInsert && change.count == 1 &&
            change.row >= last.row && change.row < last.row + last.count) {
            // A row inserted and deleted again within the turn: the view never needs to know.
            if (--last.count == 0) {
                m_pending.pop_back();
            }
            return;
        }
    }
    if (m_pending.size() >= kMaxPendingChanges) {
        m_pending.clear();
        m_resetPending = true;
        return;
    }
    m_pending.push_back(change);
}

void SheetModel::schedulePublish() {
    if (m_publishScheduled) {
        return;
    }
    m_publishScheduled = true;
    const qint64 since = m_sincePublish.isValid() ? m_sincePublish.elapsed() : kPublishIntervalMs;
    if (since < kPublishIntervalMs) {
        // Published a moment ago: this change waits with any others for the next beat.
        m_publishTimer.start(static_cast<int>(kPublishIntervalMs - since));
        return;
    }
    // A posted call runs before the paint request of this turn, which Qt posts at low priority.
    QMetaObject::invokeMethod(
        this,
        [this] {
            if (m_publishScheduled) {
                publish();
            }
        },
        Qt::QueuedConnection);
}

void SheetModel::invalidateAll() {
    if (m_rows.size() != 0) {
        markDirty(0);
        markDirty(m_rows.size() - 1);
    }
}

void SheetModel::markDirty(std::size_t row) {
    if (!m_dirty) {
        m_dirty = true;
        m_dirtyFirst = row;
        m_dirtyLast = row;
    } else {
        m_dirtyFirst = std::min(m_dirtyFirst, row);
        m_dirtyLast = std::max(m_dirtyLast, row);
    }
    schedulePublish();
}

void SheetModel::publish() {
    m_publishScheduled = false;
    m_publishTimer.stop();
    m_sincePublish.start();
    if (beforePublish) {
        beforePublish();
    }
    if (m_fadeRepaint) {
        m_fadeRepaint = false;
        if (m_rows.size() != 0) {
            // Marked rows anywhere: the view repaints what is visible (one update of the viewport).
            m_dirty = true;
            m_dirtyFirst = 0;
            m_dirtyLast = m_rows.size() - 1;
        }
    }
    publishChanges();
    if (afterPublish) {
        afterPublish();
    }
    if (fading()) {
        // The marked rows change colour with time alone: the next beat repaints them. Once the
        // last mark has run out, one more repaint shows the rows in their own colours.
        m_fadeRepaint = true;
        schedulePublish();
    }
}

std::int64_t SheetModel::fadeNow() const {
    // Never 0, which stands for "not marked".
    return m_fadeClock ? m_fadeClock() : m_fadeTimer.elapsed() + 1;
}

bool SheetModel::fading() const {
    return m_lastArrivalMs != 0 && fadeNow() - m_lastArrivalMs <= kFadeMs;
}

void SheetModel::setFadeColor(COLORREF color) {
    m_fadeColor = color;
}

void SheetModel::setFadeClock(std::function<std::int64_t()> clock) {
    m_fadeClock = std::move(clock);
}

double SheetModel::fadeStrength(std::size_t row) const {
    const SheetRow* cells = m_rows.find(row);
    if (cells == nullptr || cells->arrivedMs == 0) {
        return 0.0;
    }
    const std::int64_t age = fadeNow() - cells->arrivedMs;
    if (age < 0 || age >= kFadeMs) {
        return age < 0 ? kFadePeak : 0.0;
    }
    return kFadePeak * static_cast<double>(kFadeMs - age) / kFadeMs;
}

COLORREF SheetModel::faded(COLORREF background, std::size_t row) const {
    const double strength = fadeStrength(row);
    if (strength <= 0.0) {
        return background;
    }
    const auto mix = [strength](int from, int to) {
        return static_cast<std::uint8_t>(std::lround(from + (to - from) * strength));
    };
    return host::ui::RGB(mix(host::ui::GetRValue(background), host::ui::GetRValue(m_fadeColor)),
                         mix(host::ui::GetGValue(background), host::ui::GetGValue(m_fadeColor)),
                         mix(host::ui::GetBValue(background), host::ui::GetBValue(m_fadeColor)));
}

void SheetModel::publishChanges() {
    const bool structural = m_resetPending || !m_pending.empty();
    if (m_resetPending || m_pending.size() > kMaxReplayedChanges) {
        beginResetModel();
        m_pending.clear();
        m_resetPending = false;
        m_dirty = false;
        m_viewRows = static_cast<int>(m_rows.size());
        endResetModel();
        return;
    }
    while (!m_pending.empty()) {
        const Change change = m_pending.front();
        const int first = static_cast<int>(change.row);
        const int last = static_cast<int>(change.row + change.count) - 1;
        if (change.kind == Change::Kind::kInsert) {
            beginInsertRows(QModelIndex(), first, last);
            m_pending.erase(m_pending.begin());
            m_viewRows += static_cast<int>(change.count);
            endInsertRows();
        } else {
            beginRemoveRows(QModelIndex(), first, last);
            m_pending.erase(m_pending.begin());
            m_viewRows -= static_cast<int>(change.count);
            endRemoveRows();
        }
    }
    if (m_dirty && m_viewRows > 0 && columns() > 0) {
        m_dirty = false;
        // After a structural change the rows moved anyway: repaint whatever is visible.
        const std::size_t last = static_cast<std::size_t>(m_viewRows) - 1;
        const int top = structural ? 0 : static_cast<int>(std::min(m_dirtyFirst, last));
        const int bottom = structural ? m_viewRows - 1 : static_cast<int>(std::min(m_dirtyLast, last));
        Q_EMIT dataChanged(index(top, 0), index(bottom, columns() - 1));
    }
    m_dirty = false;
}

void SheetModel::afterInsert(std::size_t row, std::size_t count) {
    for (std::size_t& selected : m_selected) {
        if (selected >= row) {
            selected += count;
        }
    }
    if (m_focusRow >= 0 && static_cast<std::size_t>(m_focusRow) >= row) {
        m_focusRow += static_cast<int>(count);
    }
    if (m_anchorRow >= row) {
        m_anchorRow += count;
    }
    // Rows keep their stripe colour when a row arrives at the top.
    if (row == 0 && count % 2 == 1) {
        m_oddPhase = !m_oddPhase;
    }
}

void SheetModel::afterDelete(std::size_t row) {
    const auto found = std::lower_bound(m_selected.begin(), m_selected.end(), row);
    auto next = m_selected.erase(found, found != m_selected.end() && *found == row ? found + 1 : found);
    for (; next != m_selected.end(); ++next) {
        --*next;
    }
    if (m_focusRow >= 0) {
        const auto focus = static_cast<std::size_t>(m_focusRow);
        if (focus == row) {
            m_focusRow = -1; // the focused row is gone: no focus row until the module sets one
        } else if (focus > row) {
            --m_focusRow;
        }
    }
    if (m_anchorRow > row) {
        --m_anchorRow;
    }
    if (row == 0) {
        m_oddPhase = !m_oddPhase;
    }
}

void SheetModel::appendRows(std::size_t count) {
    if (count == 0) {
        return;
    }
    const std::size_t first = m_rows.size();
    m_rows.append(count);
    record({Change::Kind::kInsert, first, count});
}

void SheetModel::insertRowAt(std::size_t row) {
    row = std::min(row, m_rows.size());
    m_rows.insert(row);
    // A row inserted one by one is a pushed one: it is marked as new.
    m_lastArrivalMs = fadeNow();
    m_rows.ensure(row).arrivedMs = m_lastArrivalMs;
    record({Change::Kind::kInsert, row, 1});
    afterInsert(row, 1);
}

void SheetModel::deleteRowAt(std::size_t row) {
    if (row >= m_rows.size()) {
        return;
    }
    m_rows.erase(row);
    record({Change::Kind::kDelete, row, 1});
    afterDelete(row);
}

void SheetModel::clearRows() {
    m_rows.clear();
    m_lastArrivalMs = 0;
    m_selected.clear();
    m_focusRow = -1;
    m_anchorRow = 0;
    m_oddPhase = false;
    m_pending.clear();
    m_resetPending = true;
    schedulePublish();
}

int SheetModel::addColumn(int index) {
    if (hasPendingChanges()) {
        publish();
    }
    const int column = std::clamp(index, 0, columns());
    beginInsertColumns(QModelIndex(), column, column);
    m_headers.insert(m_headers.begin() + column, CString{});
    m_rows.forEachWritten([column](SheetRow& row) {
        if (static_cast<std::size_t>(column) < row.cells.size()) {
            row.cells.insert(row.cells.begin() + column, SheetCell{});
        }
    });
    endInsertColumns();
    return column;
}

void SheetModel::setHeaderText(int column, const CString& text) {
    if (column < 0 || column >= columns()) {
        return;
    }
    m_headers[static_cast<std::size_t>(column)] = text;
    Q_EMIT headerDataChanged(Qt::Horizontal, column, column);
}

CString SheetModel::headerText(int column) const {
    return column < 0 || column >= columns() ? CString{} : m_headers[static_cast<std::size_t>(column)];
}

const SheetCell* SheetModel::cell(std::size_t row, int column) const {
    const SheetRow* cells = m_rows.find(row);
    if (cells == nullptr || column < 0 || static_cast<std::size_t>(column) >= cells->cells.size()) {
        return nullptr;
    }
    return &cells->cells[static_cast<std::size_t>(column)];
}

SheetCell& SheetModel::writableCell(std::size_t row, int column) {
    SheetRow& cells = m_rows.ensure(row);
    if (cells.cells.size() <= static_cast<std::size_t>(column)) {
        cells.cells.resize(static_cast<std::size_t>(column) + 1);
    }
    markDirty(row);
    return cells.cells[static_cast<std::size_t>(column)];
}

void SheetModel::setCellText(std::size_t row, int column, const CString& text) {
    if (row < m_rows.size() && column >= 0 && column < columns()) {
        writableCell(row, column).text = text;
    }
}

CString SheetModel::cellText(std::size_t row, int column) const {
    const SheetCell* c = cell(row, column);
    return c == nullptr ? CString{} : c->text;
}

void SheetModel::setCellForeground(std::size_t row, int column, COLORREF color) {
    if (row < m_rows.size() && column >= 0 && column < columns()) {
        SheetCell& c = writableCell(row, column);
        c.foreground = color;
        c.hasForeground = true;
    }
}

void SheetModel::setCellBackground(std::size_t row, int column, COLORREF color) {
    if (row < m_rows.size() && column >= 0 && column < columns()) {
        SheetCell& c = writableCell(row, column);
        c.background = color;
        c.hasBackground = true;
    }
}

void SheetModel::resetCellColors(std::size_t row, int column) {
    if (cell(row, column) != nullptr) {
        SheetCell& c = writableCell(row, column);
        c.hasForeground = false;
        c.hasBackground = false;
    }
}

void SheetModel::invalidateRow(std::size_t row) {
    if (row < m_rows.size()) {
        markDirty(row);
    }
}

void SheetModel::setRowBackgrounds(COLORREF even, COLORREF odd) {
    m_evenBackground = even;
    m_oddBackground = odd;
    if (m_rows.size() != 0) {
        markDirty(0);
        markDirty(m_rows.size() - 1);
    }
}

void SheetModel::setDefaultForeground(COLORREF color) {
    m_foreground = color;
    if (m_rows.size() != 0) {
        markDirty(0);
        markDirty(m_rows.size() - 1);
    }
}

void SheetModel::setFocusColors(bool enabled, COLORREF text, COLORREF background) {
    m_focusColorsEnabled = enabled;
    m_focusText = text;
    m_focusBackground = background;
    for (const std::size_t row : m_selected) {
        markDirty(row);
    }
}

void SheetModel::restartAlternation() {
    m_oddPhase = false;
    if (m_rows.size() != 0) {
        markDirty(0);
        markDirty(m_rows.size() - 1);
    }
}

COLORREF SheetModel::rowBackground(std::size_t row) const {
    return ((row % 2 == 1) != m_oddPhase) ? m_oddBackground : m_evenBackground;
}

void SheetModel::selectionChanged(const std::vector<std::size_t>& before) {
    if (before.size() + m_selected.size() > kMaxRowsMarkedOneByOne) {
        if (m_rows.size() != 0) {
            markDirty(0);
            markDirty(m_rows.size() - 1);
        }
        return;
    }
    for (const std::size_t row : before) {
        markDirty(row);
    }
    for (const std::size_t row : m_selected) {
        markDirty(row);
    }
}

void SheetModel::selectOnly(std::size_t row, int column) {
    if (row >= m_rows.size()) {
        return;
    }
    const std::vector<std::size_t> before = std::move(m_selected);
    m_selected = {row};
    m_focusRow = static_cast<int>(row);
    m_focusColumn = std::max(0, column);
    m_anchorRow = row;
    selectionChanged(before);
}

void SheetModel::toggleSelected(std::size_t row, int column) {
    if (row >= m_rows.size()) {
        return;
    }
    const std::vector<std::size_t> before = m_selected;
    const auto found = std::lower_bound(m_selected.begin(), m_selected.end(), row);
    if (found != m_selected.end() && *found == row) {
        m_selected.erase(found);
    } else {
        m_selected.insert(found, row);
    }
    m_focusRow = static_cast<int>(row);
    m_focusColumn = std::max(0, column);
    m_anchorRow = row;
    selectionChanged(before);
}

void SheetModel::selectRange(std::size_t anchor, std::size_t row, int column) {
    if (row >= m_rows.size()) {
        return;
    }
    anchor = std::min(anchor, m_rows.size() - 1);
    const std::vector<std::size_t> before = std::move(m_selected);
    m_selected.clear();
    for (std::size_t r = std::min(anchor, row); r <= std::max(anchor, row); ++r) {
        m_selected.push_back(r);
    }
    m_focusRow = static_cast<int>(row);
    m_focusColumn = std::max(0, column);
    m_anchorRow = anchor;
    selectionChanged(before);
}

void SheetModel::clearSelection() {
    const std::vector<std::size_t> before = std::move(m_selected);
    m_selected.clear();
    m_focusRow = -1;
    selectionChanged(before);
}

bool SheetModel::isSelected(std::size_t row) const {
    return std::binary_search(m_selected.begin(), m_selected.end(), row);
}

QVariant SheetModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid()) {
        return {};
    }
    const std::optional<std::size_t> row = moduleRow(index.row());
    if (!row) {
        return {};
    }
    const SheetCell* c = cell(*row, index.column());
    switch (role) {
    case Qt::DisplayRole:
        return c == nullptr ? QVariant() : QVariant(toQString(c->text));
    case Qt::ForegroundRole:
        if (m_focusColorsEnabled && isSelected(*row)) {
            return toQColor(m_focusText);
        }
        return toQColor(c != nullptr && c->hasForeground ? c->foreground : m_foreground);
    case Qt::BackgroundRole:
        if (m_focusColorsEnabled && isSelected(*row)) {
            return toQColor(m_focusBackground);
        }
        return toQColor(faded(c != nullptr && c->hasBackground ? c->background : rowBackground(*row), *row));
    default:
        return {};
    }
}

QVariant SheetModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole || section < 0 || section >= columns()) {
        return {};
    }
    return toQString(m_headers[static_cast<std::size_t>(section)]);
}

} // namespace qthost
