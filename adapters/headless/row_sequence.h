#pragma once

#include <cstddef>
#include <utility>
#include <vector>

#include "host/util/blocked_sequence.h"

namespace headless {

// The grid's row storage: an order-statistic sequence, so that reading, inserting and
// erasing a row cost about the same at row 0 of a million rows as at the end of ten. Only
// size, operator[], insert(pos, v), erase(pos), clear and appendDefault are used, so the
// sequence behind them can change in this one place.
template <class T> class RowSequence {
public:
    std::size_t size() const { return m_items.size(); }
    T& operator[](std::size_t pos) { return m_items[pos]; }
    const T& operator[](std::size_t pos) const { return m_items[pos]; }
    void insert(std::size_t pos, T value) { m_items.insert(pos, std::move(value)); }
    void erase(std::size_t pos) { m_items.erase(pos); }
    void clear() { m_items.clear(); }
    void appendDefault(std::size_t count) {
        if (m_items.empty()) {
            // Packed into full blocks at once: filling an empty grid is the common case.
            std::vector<T> values(count);
            m_items.assign(std::move(values));
            return;
        }
        for (std::size_t i = 0; i < count; ++i) {
            m_items.push_back(T{});
        }
    }

private:
    BlockedSequence<T> m_items;
};

} // namespace headless
