#pragma once

#include <QAbstractTableModel>
#include <QElapsedTimer>
#include <QTimer>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "adapters/qt/sheet_rows.h"
#include "host/ui/geometry.h"

namespace qthost {

// The grid's data for a QTableView, built for a million rows.
//
// The module numbers rows itself and sees every change at once: rowCount(), cells,
// selection and focus follow each call immediately. The table view learns about structural
// changes later, in one batch per turn of the event loop (publish()), because every row
// insert costs the view work proportional to the row count: a thousand pushes in one turn
// become one insert of a thousand rows, and a mixed batch becomes a model reset. Until the
// batch is published, data() translates the view's row numbers through the pending changes,
// so a paint in between still shows each row's own cells.
//
// Selection and focus are kept here in the module's numbering (the view's selection model
// is not used), and shown through the background and foreground roles.
// Thread: UI thread.
class SheetModel final : public QAbstractTableModel {
public:
    explicit SheetModel(QObject* parent);

    // --- Qt's side: the rows the view has been told about ---
    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

    // Module row of a view row; empty when that row was deleted since the last publish.
    std::optional<std::size_t> moduleRow(int viewRow) const;
    // Changes the view has not been told of (a repaint that only moves a fade is none).
    bool hasPendingChanges() const { return !m_pending.empty() || m_resetPending || m_dirty; }
    // Tells the view about every change made since the last publish. Changes are published
    // at most once per kPublishIntervalMs (the first after a quiet spell in the next turn of
    // the event loop), so a stream of pushes repaints the grid a few times a second, not once
    // per push.
    void publish();
    static constexpr int kPublishIntervalMs = 100;
    // Called right before and after a publish tells the view (the grid keeps its rows in view).
    std::function<void()> beforePublish;
    std::function<void()> afterPublish;
    // Repaints every visible row at the next publish.
    void invalidateAll();

    // A row that arrives by insertRowAt (a push) is marked for kFadeMs: its background starts
    // kFadePeak of the way towards the fade colour and returns to its own colour linearly.
    // Rows of a table fill (appendRows) are never marked. While a mark lasts, every publish
    // asks for the next one, so the fade moves with the repaint beat and its cost is one
    // repaint of the visible rows per beat, whatever the row count.
    static constexpr int kFadeMs = 4000;
    static constexpr double kFadePeak = 0.35;
    void setFadeColor(COLORREF color);
    // The clock the fade reads, in ms (a monotonic clock by default; tests set their own).
    void setFadeClock(std::function<std::int64_t()> clock);
    // How far a row is still marked: 0 for none, up to kFadePeak right after it arrived.
    double fadeStrength(std::size_t row) const;

    // --- The module's side ---
    std::size_t rows() const { return m_rows.size(); }
    void appendRows(std::size_t count);
    void insertRowAt(std::size_t row);
    void deleteRowAt(std::size_t row);
    void clearRows();

    int columns() const { return static_cast<int>(m_headers.size()); }
    int addColumn(int index);
    void setHeaderText(int column, const CString& text);
    CString headerText(int column) const;

    void setCellText(std::size_t row, int column, const CString& text);
    CString cellText(std::size_t row, int column) const;
    void setCellForeground(std::size_t row, int column, COLORREF color);
    void setCellBackground(std::size_t row, int column, COLORREF color);
    void resetCellColors(std::size_t row, int column);
    void invalidateRow(std::size_t row);

    void setRowBackgrounds(COLORREF even, COLORREF odd);
    void setDefaultForeground(COLORREF color);
    void setFocusColors(bool enabled, COLORREF text, COLORREF background);
    // Row 0 gets the even colour again.
    void restartAlternation();
    COLORREF rowBackground(std::size_t row) const;

    // Selection (ascending rows) and the focus cell, in module numbering.
    void selectOnly(std::size_t row, int column);
    void toggleSelected(std::size_t row, int column);
    void selectRange(std::size_t anchor, std::size_t row, int column);
    void clearSelection();
    bool isSelected(std::size_t row) const;
    const std::vector<std::size_t>& selectedRows() const { return m_selected; }
    int focusRow() const { return m_focusRow; }
    int focusColumn() const { return m_focusColumn; }
    std::size_t anchorRow() const { return m_anchorRow; }

private:
    struct Change {
        enum class Kind { kInsert, kDelete } kind;
        std::size_t row;
        std::size_t count;
    };
    void record(Change change);
    void publishChanges();
    void schedulePublish();
    void markDirty(std::size_t row);
    void afterInsert(std::size_t row, std::size_t count);
    void afterDelete(std::size_t row);
    std::int64_t fadeNow() const;
    bool fading() const;
    COLORREF faded(COLORREF background, std::size_t row) const;
    void selectionChanged(const std::vector<std::size_t>& before);
    const SheetCell* cell(std::size_t row, int column) const;
    SheetCell& writableCell(std::size_t row, int column);

    SheetRowSequence m_rows;
    std::vector<CString> m_headers;
    int m_viewRows = 0; // rows the view knows of
    std::vector<Change> m_pending;
    bool m_resetPending = false;
    bool m_publishScheduled = false;
    QElapsedTimer m_sincePublish;
    QTimer m_publishTimer;
    bool m_dirty = false;
    std::size_t m_dirtyFirst = 0;
    std::size_t m_dirtyLast = 0;

    COLORREF m_evenBackground = host::ui::RGB(0, 0, 0);
    COLORREF m_oddBackground = host::ui::RGB(24, 24, 32);
    COLORREF m_foreground = host::ui::RGB(220, 220, 220);
    bool m_focusColorsEnabled = true;
    COLORREF m_focusText = host::ui::RGB(255, 255, 255);
    COLORREF m_focusBackground = host::ui::RGB(0, 64, 128);
    bool m_oddPhase = false;

    COLORREF m_fadeColor = host::ui::RGB(255, 196, 0);
    std::function<std::int64_t()> m_fadeClock;
    QElapsedTimer m_fadeTimer;
    std::int64_t m_lastArrivalMs = 0; // 0: no row marked since the last fill
    bool m_fadeRepaint = false;       // the next publish repaints for the fade alone

    std::vector<std::size_t> m_selected;
    int m_focusRow = -1;
    int m_focusColumn = 0;
    std::size_t m_anchorRow = 0;
};

} // namespace qthost
