#pragma once

#include <cstddef>
#include <utility>
#include <vector>

namespace headless {

// The items of a list-like control (combo box, list box) and its current selection by index,
// as the Windows controls keep them: an insert or delete before the current item moves it
// along, deleting it clears it, and an index outside the list selects nothing.
template <class Item> class ItemList {
public:
    int count() const { return static_cast<int>(m_items.size()); }
    bool valid(int index) const { return index >= 0 && index < count(); }
    // The item at index, or null outside the list.
    Item* at(int index) { return valid(index) ? &m_items[static_cast<std::size_t>(index)] : nullptr; }
    const Item* at(int index) const { return valid(index) ? &m_items[static_cast<std::size_t>(index)] : nullptr; }

    int add(Item item) {
        m_items.push_back(std::move(item));
        return count() - 1;
    }
    // Inserts before index; an index outside 0..count() appends.
    int insert(int index, Item item) {
        if (index < 0 || index > count()) {
            return add(std::move(item));
        }
        m_items.insert(m_items.begin() + index, std::move(item));
        if (m_curSel >= index) {
            ++m_curSel;
        }
        return index;
    }
    void erase(int index) {
        if (!valid(index)) {
            return;
        }
        m_items.erase(m_items.begin() + index);
        if (m_curSel == index) {
            m_curSel = -1;
        } else if (m_curSel > index) {
            --m_curSel;
        }
    }
    void clear() {
        m_items.clear();
        m_curSel = -1;
    }

    int curSel() const { return m_curSel; }
    void setCurSel(int index) { m_curSel = valid(index) ? index : -1; }

    auto begin() { return m_items.begin(); }
    auto end() { return m_items.end(); }
    auto begin() const { return m_items.begin(); }
    auto end() const { return m_items.end(); }

private:
    std::vector<Item> m_items;
    int m_curSel = -1;
};

} // namespace headless
