#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace embedded {

// A hash index from small keys to 32-bit slot numbers: open addressing with linear probing
// and backward-shift deletion, kept at most half full. One flat array instead of a node per
// entry makes a start that loads 300k headlines and every look-up noticeably faster than
// std::unordered_map. Hash must spread its bits (it is masked, not taken modulo a prime).
template <class Key, class Hash> class FlatIndex {
public:
    std::size_t size() const { return m_size; }

    void reserve(std::size_t count) {
        std::size_t capacity = 16;
        while (capacity < count * 2) {
            capacity *= 2;
        }
        if (capacity > m_slots.size()) {
            rehash(capacity);
        }
    }

    const std::uint32_t* find(const Key& key) const {
        if (m_size == 0) {
            return nullptr;
        }
        for (std::size_t i = Hash()(key) & mask();; i = (i + 1) & mask()) {
            const Slot& slot = m_slots[i];
            if (!slot.used) {
                return nullptr;
            }
            if (slot.key == key) {
                return &slot.value;
            }
        }
    }

    void set(const Key& key, std::uint32_t value) {
        if ((m_size + 1) * 2 > m_slots.size()) {
            rehash(m_slots.empty() ? 16 : m_slots.size() * 2);
        }
        std::size_t i = Hash()(key) & mask();
        while (m_slots[i].used && !(m_slots[i].key == key)) {
            i = (i + 1) & mask();
        }
        if (!m_slots[i].used) {
            ++m_size;
        }
        m_slots[i] = Slot{key, value, true};
    }

    bool erase(const Key& key) {
        if (m_size == 0) {
            return false;
        }
        std::size_t i = Hash()(key) & mask();
        while (true) {
            if (!m_slots[i].used) {
                return false;
            }
            if (m_slots[i].key == key) {
                break;
            }
            i = (i + 1) & mask();
        }
        // Shift later members of the probe run back so that no lookup stops at the gap.
        std::size_t gap = i;
        for (std::size_t j = (i + 1) & mask(); m_slots[j].used; j = (j + 1) & mask()) {
            const std::size_t home = Hash()(m_slots[j].key) & mask();
            const bool movable = gap <= j ? (home <= gap || home > j) : (home <= gap && home > j);
            if (movable) {
                m_slots[gap] = m_slots[j];
                gap = j;
            }
        }
        m_slots[gap].used = false;
        --m_size;
        return true;
    }

private:
    struct Slot {
        Key key{};
        std::uint32_t value = 0;
        bool used = false;
    };

    std::size_t mask() const { return m_slots.size() - 1; }

    void rehash(std::size_t capacity) {
        std::vector<Slot> old(capacity);
        old.swap(m_slots);
        m_size = 0;
        for (const Slot& slot : old) {
            if (slot.used) {
                set(slot.key, slot.value);
            }
        }
    }

    std::vector<Slot> m_slots;
    std::size_t m_size = 0;
};

// The finaliser of splitmix64: every input bit moves every output bit.
constexpr std::uint64_t mixBits(std::uint64_t z) {
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
    return z ^ (z >> 31);
}

} // namespace embedded
