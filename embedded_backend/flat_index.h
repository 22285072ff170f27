#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

namespace embedded {

// A hash index from small keys to 32-bit slot numbers: open addressing with linear probing
// and backward-shift deletion, kept at most half full. One flat array instead of a node per
// entry makes a start that loads 300k headlines and every look-up noticeably faster than
// std::unordered_map.
//
// The keys are spread over kShards tables by the top bits of their hash, each growing on its
// own: a table that fills up rehashes 1/kShards of the keys, not all of them, so that an insert
// into a million-key index never stops for the tens of milliseconds a whole rehash takes.
// Hash must spread its bits (its low bits are masked, its top bits pick the table).
template <class Key, class Hash> class FlatIndex {
public:
    static constexpr std::size_t kShardBits = 8;
    static constexpr std::size_t kShards = std::size_t{1} << kShardBits;

    std::size_t size() const { return m_size; }

    // Makes room for `count` keys spread evenly, with a margin for the uneven spread of a hash.
    void reserve(std::size_t count) {
        const std::size_t each = count / kShards + count / kShards / 4 + 1;
        for (Table& table : m_tables) {
            table.reserve(each);
        }
    }

    const std::uint32_t* find(const Key& key) const {
        const std::size_t hash = Hash()(key);
        return m_tables[shardOf(hash)].find(key, hash);
    }

    void set(const Key& key, std::uint32_t value) {
        const std::size_t hash = Hash()(key);
        m_size += m_tables[shardOf(hash)].set(key, hash, value) ? 1 : 0;
    }

    bool erase(const Key& key) {
        const std::size_t hash = Hash()(key);
        const bool erased = m_tables[shardOf(hash)].erase(key, hash);
        m_size -= erased ? 1 : 0;
        return erased;
    }

private:
    static std::size_t shardOf(std::size_t hash) {
        return hash >> (std::numeric_limits<std::size_t>::digits - kShardBits);
    }

    class Table {
    public:
        void reserve(std::size_t count) {
            std::size_t capacity = 16;
            while (capacity < count * 2) {
                capacity *= 2;
            }
            if (capacity > m_slots.size()) {
                rehash(capacity);
            }
        }

        const std::uint32_t* find(const Key& key, std::size_t hash) const {
            if (m_size == 0) {
                return nullptr;
            }
            for (std::size_t i = hash & mask();; i = (i + 1) & mask()) {
                const Slot& slot = m_slots[i];
                if (!slot.used) {
                    return nullptr;
                }
                if (slot.key == key) {
                    return &slot.value;
                }
            }
        }

        // true when the key is new.
        bool set(const Key& key, std::size_t hash, std::uint32_t value) {
            if ((m_size + 1) * 2 > m_slots.size()) {
                rehash(m_slots.empty() ? 16 : m_slots.size() * 2);
            }
            std::size_t i = hash & mask();
            while (m_slots[i].used && !(m_slots[i].key == key)) {
                i = (i + 1) & mask();
            }
            const bool added = !m_slots[i].used;
            m_size += added ? 1 : 0;
            m_slots[i] = Slot{key, value, true};
            return added;
        }

        bool erase(const Key& key, std::size_t hash) {
            if (m_size == 0) {
                return false;
            }
            std::size_t i = hash & mask();
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
                    set(slot.key, Hash()(slot.key), slot.value);
                }
            }
        }

        std::vector<Slot> m_slots;
        std::size_t m_size = 0;
    };

    std::array<Table, kShards> m_tables;
    std::size_t m_size = 0;
};

// The finaliser of splitmix64: every input bit moves every output bit.
constexpr std::uint64_t mixBits(std::uint64_t z) {
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
    return z ^ (z >> 31);
}

} // namespace embedded
