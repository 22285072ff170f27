#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "host/backend/news_records.h"
#include "host/util/blocked_sequence.h"

namespace qthost {

struct SheetCell {
    CString text;
    COLORREF foreground = 0;
    COLORREF background = 0;
    bool hasForeground = false;
    bool hasBackground = false;
};

// The cells of one written row; rows never written have none.
struct SheetRow {
    std::vector<SheetCell> cells;
    // When a pushed row arrived (the model's fade clock, ms); 0 for rows of a table fill.
    std::int64_t arrivedMs = 0;
};

// The grid's rows by row number: an empty pointer for a row that was never written, so a
// million rows cost a pointer each until the module fills them. The order-statistic
// sequence behind it reads, inserts and erases a row in about the same time anywhere in a
// million rows.
class SheetRowSequence {
public:
    std::size_t size() const { return m_rows.size(); }
    // Null when the row holds no cells.
    SheetRow* find(std::size_t row) const { return row < m_rows.size() ? m_rows[row].get() : nullptr; }
    SheetRow& ensure(std::size_t row) {
        std::unique_ptr<SheetRow>& slot = m_rows[row];
        if (!slot) {
            slot = std::make_unique<SheetRow>();
        }
        return *slot;
    }
    void insert(std::size_t row) { m_rows.insert(row, nullptr); }
    void erase(std::size_t row) { m_rows.erase(row); }
    void append(std::size_t count) {
        if (m_rows.empty()) {
            // Packed into full blocks at once: filling an empty grid is the common case.
            m_rows.assign(std::vector<std::unique_ptr<SheetRow>>(count));
            return;
        }
        for (std::size_t i = 0; i < count; ++i) {
            m_rows.push_back(nullptr);
        }
    }
    void clear() { m_rows.clear(); }
    template <class F> void forEachWritten(F&& f) {
        for (std::unique_ptr<SheetRow>& row : m_rows) {
            if (row) {
                f(*row);
            }
        }
    }

private:
    BlockedSequence<std::unique_ptr<SheetRow>> m_rows;
};

} // namespace qthost
