#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

// Open-addressing hash index of 32-bit record ids whose keys live in the records themselves:
// the index stores only the id and an 8-bit fingerprint of the key's hash, so a slot costs
// five bytes and a probe touches a record only when the fingerprint matches. The caller
// supplies the hash of the key it looks for, an equality test against a stored id, and (for
// growth and removal) the hash of any stored id. Linear probing with backward-shift removal,
// so there are no tombstones; the table stays between half and four fifths full.
class IdHashIndex {
public:
    static constexpr std::uint32_t kNone = std::numeric_limits<std::uint32_t>::max();
    static constexpr std::size_t kNoSlot = std::numeric_limits<std::size_t>::max();

    std::size_t size() const { return m_count; }
    std::size_t bytesUsed() const { return m_ids.capacity() * sizeof(std::uint32_t) + m_tags.capacity(); }

    void clear() {
        m_ids.clear();
        m_tags.clear();
        m_ids.shrink_to_fit();
        m_tags.shrink_to_fit();
        m_count = 0;
    }

    // Makes room for count entries without growing again.
    template <class HashOf> void reserve(std::size_t count, HashOf&& hashOf) {
        if (count * 5 > m_ids.size() * 4) {
            rehash(std::max<std::size_t>(16, count * 2), hashOf);
        }
    }

    // Slot holding the id whose key has this hash and satisfies equal(id); kNoSlot if none.
    template <class Equal> std::size_t findSlot(std::uint64_t hash, Equal&& equal) const {
        if (m_count == 0) {
            return kNoSlot;
        }
        const std::uint8_t tag = tagOf(hash);
        for (std::size_t slot = home(hash, m_ids.size());; slot = next(slot)) {
            if (m_tags[slot] == 0) {
                return kNoSlot;
            }
            if (m_tags[slot] == tag && equal(m_ids[slot])) {
                return slot;
            }
        }
    }
    template <class Equal> std::uint32_t find(std::uint64_t hash, Equal&& equal) const {
        const std::size_t slot = findSlot(hash, equal);
        return slot == kNoSlot ? kNone : m_ids[slot];
    }

    std::uint32_t idAt(std::size_t slot) const { return m_ids[slot]; }
    // Puts another id with the same key in the slot.
    void replaceAt(std::size_t slot, std::uint32_t id) { m_ids[slot] = id; }

    // Adds id, whose key (with this hash) must not be in the index yet.
    template <class HashOf> void insert(std::uint64_t hash, std::uint32_t id, HashOf&& hashOf) {
        if ((m_count + 1) * 5 > m_ids.size() * 4) {
            rehash(std::max<std::size_t>(16, (m_count + 1) * 2), hashOf);
        }
        place(hash, id);
        ++m_count;
    }

    // Removes the entry in slot; later entries of its probe run move back to close the gap.
    template <class HashOf> void eraseAt(std::size_t slot, HashOf&& hashOf) {
        const std::size_t capacity = m_ids.size();
        std::size_t gap = slot;
        for (std::size_t probe = next(slot); m_tags[probe] != 0; probe = next(probe)) {
            const std::size_t want = home(hashOf(m_ids[probe]), capacity);
            // The entry may fill the gap when its home is not cyclically inside (gap, probe].
            const bool homeAfterGap = gap <= probe ? (gap < want && want <= probe) : (gap < want || want <= probe);
            if (!homeAfterGap) {
                m_ids[gap] = m_ids[probe];
                m_tags[gap] = m_tags[probe];
                gap = probe;
            }
        }
        m_tags[gap] = 0;
        m_ids[gap] = kNone;
        --m_count;
    }

private:
    static std::uint8_t tagOf(std::uint64_t hash) {
        const auto tag = static_cast<std::uint8_t>(hash);
        return tag == 0 ? 1 : tag;
    }
    // Maps the high 32 bits of the hash onto [0, capacity) without a division.
    static std::size_t home(std::uint64_t hash, std::size_t capacity) {
        return static_cast<std::size_t>(((hash >> 32) * capacity) >> 32);
    }
    std::size_t next(std::size_t slot) const { return slot + 1 == m_ids.size() ? 0 : slot + 1; }

    void place(std::uint64_t hash, std::uint32_t id) {
        std::size_t slot = home(hash, m_ids.size());
        while (m_tags[slot] != 0) {
            slot = next(slot);
        }
        m_ids[slot] = id;
        m_tags[slot] = tagOf(hash);
    }

    template <class HashOf> void rehash(std::size_t capacity, HashOf& hashOf) {
        std::vector<std::uint32_t> ids(capacity, kNone);
        std::vector<std::uint8_t> tags(capacity, 0);
        ids.swap(m_ids);
        tags.swap(m_tags);
        for (std::size_t i = 0; i < ids.size(); ++i) {
            if (tags[i] != 0) {
                place(hashOf(ids[i]), ids[i]);
            }
        }
    }

    std::vector<std::uint32_t> m_ids;
    std::vector<std::uint8_t> m_tags; // 0 = empty, otherwise the key's fingerprint
    std::size_t m_count = 0;
};
