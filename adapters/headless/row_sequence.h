#pragma once

#include <cstddef>
#include <limits>
#include <utility>
#include <vector>

#include "host/util/blocked_sequence.h"

namespace headless {

// The grid's row storage: an order-statistic sequence, so that reading, inserting and
// erasing a row cost about the same at row 0 of a million rows as at the end of ten. Only
// size, operator[], insert(pos, v), erase(pos), clear and appendDefault are used, so the
// sequence behind them can change in this one place.
//
// Blocks hold 8 KiB of values: adding or removing a block renumbers every block, so for the
// small values a grid keeps, fewer and larger blocks cost less than the longer moves inside
// a block. The last position read is remembered until the sequence changes, because a row
// is written cell by cell.
template <class T> class RowSequence {
public:
    std::size_t size() const { return m_items.size(); }
    const T& operator[](std::size_t pos) const {
        if (pos != m_lastPos) {
            // Values live in the blocks' heap storage, never in a const object.
            m_last = const_cast<T*>(&m_items[pos]);
            m_lastPos = pos;
        }
        return *m_last;
    }
    T& operator[](std::size_t pos) { return const_cast<T&>(std::as_const(*this)[pos]); }
    void insert(std::size_t pos, T value) {
        forgetLast();
        m_items.insert(pos, std::move(value));
    }
    void erase(std::size_t pos) {
        forgetLast();
        m_items.erase(pos);
    }
    void clear() {
        forgetLast();
        m_items.clear();
    }
    void appendDefault(std::size_t count) {
        forgetLast();
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
    static constexpr std::size_t kNoPos = std::numeric_limits<std::size_t>::max();
    static constexpr std::size_t kBlockValues = sizeof(T) >= 8192 / 512 ? 512 : 8192 / sizeof(T);

    void forgetLast() { m_lastPos = kNoPos; }

    BlockedSequence<T, kBlockValues> m_items;
    // The last position read and its value; valid until an insert, erase or clear.
    mutable std::size_t m_lastPos = kNoPos;
    mutable T* m_last = nullptr;
};

} // namespace headless
