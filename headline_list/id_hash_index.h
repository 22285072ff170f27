#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <vector>

// Open-addressing hash index of 32-bit record ids whose keys live in the records themselves:
// the index stores only the id and an 8-bit fingerprint of the key's hash, so a slot costs
// five bytes and a probe touches a record only when the fingerprint matches. The caller
// supplies the hash of the key it looks for, an equality test against a stored id, and (for
// growth and removal) the hash of any stored id. Linear probing with backward-shift removal,
// so the live table has no tombstones; it is at most four fifths full.
//
// Growth is incremental. Moving every id to a bigger table at once means reading every record
// (the key lives there), which at a million entries stalls one insert for tens of
// milliseconds. Instead the full table is set aside as a draining table and each later insert
// moves a few of its slots, in slot order, into the new live table. A draining slot that was
// moved or erased becomes a tombstone (fingerprint kept, id kNone), so the draining table's
// probe runs stay intact and its look-ups stay right without ever shifting entries. Look-ups
// try the live table first, then the draining one. The draining table is empty long before the
// live table is due to grow again; should it not be (many erasures in between), the rest moves
// at once.
//
// Both tables keep their slots in chunks: a live chunk is allocated when the first id lands in
// it (so growing allocates nothing up front), and a draining chunk is released as soon as
// every slot of it has moved (so growth holds two tables only briefly and never whole).
class IdHashIndex {
public:
    static constexpr std::uint32_t kNone = std::numeric_limits<std::uint32_t>::max();
    static constexpr std::size_t kNoSlot = std::numeric_limits<std::size_t>::max();
    // Draining slots moved per insert. Growth happens at four fifths of the old table and the
    // new one is twice the count, so each insert must move at least about 2.1 old slots for the
    // draining to end before the live table is due to grow again.
    static constexpr std::size_t kMovesPerInsert = 4;

    std::size_t size() const { return m_count; }
    std::size_t bytesUsed() const { return m_live.bytesUsed() + m_old.bytesUsed(); }
    // True while an earlier table is still being moved into the live one.
    bool draining() const { return m_old.capacity() != 0; }

    void clear() {
        m_live.reset(0);
        m_old.reset(0);
        m_count = 0;
        m_liveCount = 0;
        m_moveCursor = 0;
    }

    // Makes room for count entries and a quarter more without growing (moving any draining
    // rest at once): the table is then five eighths full, lighter than after a growth.
    template <class HashOf> void reserve(std::size_t count, HashOf&& hashOf) {
        if (count * 5 > m_live.capacity() * 4) {
            finishDraining(hashOf);
            rehash(std::max<std::size_t>(16, count * 8 / 5), hashOf);
        }
    }

    // Slot holding the id whose key has this hash and satisfies equal(id); kNoSlot if none.
    // Slots of the draining table come after those of the live one.
    template <class Equal> std::size_t findSlot(std::uint64_t hash, Equal&& equal) const {
        if (m_count == 0) {
            return kNoSlot;
        }
        const std::uint8_t tag = tagOf(hash);
        const std::size_t capacity = m_live.capacity();
        if (capacity != 0) {
            for (std::size_t slot = home(hash, capacity);; slot = next(slot, capacity)) {
                const std::uint8_t here = m_live.tag(slot);
                if (here == 0) {
                    break;
                }
                if (here == tag && equal(m_live.id(slot))) {
                    return slot;
                }
            }
        }
        if (draining()) {
            const std::size_t slot = findDraining(hash, tag, equal);
            return slot == kNoSlot ? kNoSlot : capacity + slot;
        }
        return kNoSlot;
    }
    template <class Equal> std::uint32_t find(std::uint64_t hash, Equal&& equal) const {
        const std::size_t slot = findSlot(hash, equal);
        return slot == kNoSlot ? kNone : idAt(slot);
    }

    std::uint32_t idAt(std::size_t slot) const {
        return slot < m_live.capacity() ? m_live.id(slot) : m_old.id(slot - m_live.capacity());
    }
    // Puts another id with the same key in the slot.
    void replaceAt(std::size_t slot, std::uint32_t id) {
        if (slot < m_live.capacity()) {
            m_live.setId(slot, id);
        } else {
            m_old.setId(slot - m_live.capacity(), id);
        }
    }

    // Adds id, whose key (with this hash) must not be in the index yet.
    template <class HashOf> void insert(std::uint64_t hash, std::uint32_t id, HashOf&& hashOf) {
        if ((m_liveCount + 1) * 5 > m_live.capacity() * 4) {
            grow(hashOf);
        }
        place(hash, id);
        ++m_liveCount;
        ++m_count;
        if (draining()) {
            moveSome(kMovesPerInsert, hashOf);
        }
    }

    // Removes the entry in slot. In the live table later entries of its probe run move back to
    // close the gap; in the draining table the slot becomes a tombstone.
    template <class HashOf> void eraseAt(std::size_t slot, HashOf&& hashOf) {
        --m_count;
        const std::size_t capacity = m_live.capacity();
        if (slot >= capacity) {
            m_old.setId(slot - capacity, kNone);
            return;
        }
        --m_liveCount;
        std::size_t gap = slot;
        for (std::size_t probe = next(slot, capacity); m_live.tag(probe) != 0; probe = next(probe, capacity)) {
            const std::size_t want = home(hashOf(m_live.id(probe)), capacity);
            // The entry may fill the gap when its home is not cyclically inside (gap, probe].
            const bool homeAfterGap = gap <= probe ? (gap < want && want <= probe) : (gap < want || want <= probe);
            if (!homeAfterGap) {
                m_live.set(gap, m_live.tag(probe), m_live.id(probe));
                gap = probe;
            }
        }
        m_live.set(gap, 0, kNone);
    }

private:
    // Slots in chunks of up to kChunkSlots, addressed by shift and mask. A chunk that was never
    // written reads as empty.
    class SlotTable {
    public:
        static constexpr std::size_t kChunkBits = 14;
        static constexpr std::size_t kChunkSlots = std::size_t{1} << kChunkBits;

        std::size_t capacity() const { return m_capacity; }
        void reset(std::size_t capacity) {
            m_capacity = capacity;
            m_tags.clear();
            m_ids.clear();
            m_tags.shrink_to_fit();
            m_ids.shrink_to_fit();
            m_tags.resize((capacity + kChunkSlots - 1) >> kChunkBits);
            m_ids.resize(m_tags.size());
            m_heldSlots = 0;
        }
        std::uint8_t tag(std::size_t slot) const {
            const auto& chunk = m_tags[slot >> kChunkBits];
            return chunk ? chunk[slot & (kChunkSlots - 1)] : 0;
        }
        // Only for a slot whose tag is not 0.
        std::uint32_t id(std::size_t slot) const { return m_ids[slot >> kChunkBits][slot & (kChunkSlots - 1)]; }
        void setId(std::size_t slot, std::uint32_t id) { m_ids[slot >> kChunkBits][slot & (kChunkSlots - 1)] = id; }
        void set(std::size_t slot, std::uint8_t tag, std::uint32_t id) {
            const std::size_t chunk = slot >> kChunkBits;
            if (!m_tags[chunk]) {
                const std::size_t slots = chunkSlots(chunk);
                m_tags[chunk] = std::make_unique<std::uint8_t[]>(slots); // zeroed: empty
                m_ids[chunk] = std::make_unique_for_overwrite<std::uint32_t[]>(slots);
                m_heldSlots += slots;
            }
            m_tags[chunk][slot & (kChunkSlots - 1)] = tag;
            m_ids[chunk][slot & (kChunkSlots - 1)] = id;
        }
        // Releases every chunk that lies wholly below slot end.
        void releaseBelow(std::size_t end) {
            for (std::size_t chunk = 0; (chunk + 1) << kChunkBits <= end && chunk < m_tags.size(); ++chunk) {
                if (m_tags[chunk]) {
                    m_heldSlots -= chunkSlots(chunk);
                    m_tags[chunk].reset();
                    m_ids[chunk].reset();
                }
            }
        }
        std::size_t bytesUsed() const {
            return m_heldSlots * (sizeof(std::uint8_t) + sizeof(std::uint32_t)) +
                   m_tags.capacity() * sizeof(m_tags[0]) + m_ids.capacity() * sizeof(m_ids[0]);
        }

    private:
        std::size_t chunkSlots(std::size_t chunk) const {
            return std::min(kChunkSlots, m_capacity - (chunk << kChunkBits));
        }

        std::size_t m_capacity = 0;
        std::vector<std::unique_ptr<std::uint8_t[]>> m_tags; // 0 = empty, otherwise the key's fingerprint
        std::vector<std::unique_ptr<std::uint32_t[]>> m_ids;
        std::size_t m_heldSlots = 0;
    };

    static std::uint8_t tagOf(std::uint64_t hash) {
        const auto tag = static_cast<std::uint8_t>(hash);
        return tag == 0 ? 1 : tag;
    }
    // Maps the high 32 bits of the hash onto [0, capacity) without a division.
    static std::size_t home(std::uint64_t hash, std::size_t capacity) {
        return static_cast<std::size_t>(((hash >> 32) * capacity) >> 32);
    }
    static std::size_t next(std::size_t slot, std::size_t capacity) { return slot + 1 == capacity ? 0 : slot + 1; }

    // Probes the draining table. Slots below the released boundary all held tombstones, so the
    // probe passes over them to the first slot still held; it stops at an empty slot, or after
    // one full turn (possible once most slots are released).
    template <class Equal> std::size_t findDraining(std::uint64_t hash, std::uint8_t tag, Equal& equal) const {
        const std::size_t capacity = m_old.capacity();
        const std::size_t released = m_moveCursor & ~(SlotTable::kChunkSlots - 1);
        std::size_t slot = home(hash, capacity);
        for (std::size_t seen = 0; seen < capacity;) {
            if (slot < released) {
                seen += released - slot;
                slot = released == capacity ? 0 : released;
                continue;
            }
            const std::uint8_t here = m_old.tag(slot);
            if (here == 0) {
                break;
            }
            if (here == tag) {
                const std::uint32_t id = m_old.id(slot);
                if (id != kNone && equal(id)) {
                    return slot;
                }
            }
            ++seen;
            slot = next(slot, capacity);
        }
        return kNoSlot;
    }

    void place(std::uint64_t hash, std::uint32_t id) {
        const std::size_t capacity = m_live.capacity();
        std::size_t slot = home(hash, capacity);
        while (m_live.tag(slot) != 0) {
            slot = next(slot, capacity);
        }
        m_live.set(slot, tagOf(hash), id);
    }

    // Sets the full live table aside to drain and starts an empty one twice the total count.
    template <class HashOf> void grow(HashOf& hashOf) {
        finishDraining(hashOf);
        if ((m_liveCount + 1) * 5 <= m_live.capacity() * 4) {
            return;
        }
        if (m_liveCount < 64) {
            rehash(std::max<std::size_t>(16, (m_count + 1) * 2), hashOf); // small: not worth spreading
            return;
        }
        std::swap(m_old, m_live);
        m_live.reset(std::max<std::size_t>(16, (m_count + 1) * 2));
        m_liveCount = 0;
        m_moveCursor = 0;
    }

    template <class HashOf> void moveSome(std::size_t slots, HashOf& hashOf) {
        // Hash a few ids before placing any: their records are scattered, and independent
        // reads let the processor wait for several cache misses at once.
        constexpr std::size_t kBatch = 8;
        const std::size_t end = std::min(m_old.capacity(), m_moveCursor + slots);
        while (m_moveCursor < end) {
            std::array<std::uint32_t, kBatch> ids{};
            std::array<std::uint64_t, kBatch> hashes{};
            std::size_t count = 0;
            for (; m_moveCursor < end && count < kBatch; ++m_moveCursor) {
                if (m_old.tag(m_moveCursor) != 0) {
                    const std::uint32_t id = m_old.id(m_moveCursor);
                    if (id != kNone) {
                        ids[count++] = id;
                        m_old.setId(m_moveCursor, kNone);
                    }
                }
            }
            for (std::size_t i = 0; i < count; ++i) {
                hashes[i] = hashOf(ids[i]);
            }
            for (std::size_t i = 0; i < count; ++i) {
                place(hashes[i], ids[i]);
            }
            m_liveCount += count;
        }
        if (m_moveCursor == m_old.capacity()) {
            m_old.reset(0);
            m_moveCursor = 0;
        } else {
            m_old.releaseBelow(m_moveCursor);
        }
    }
    template <class HashOf> void finishDraining(HashOf& hashOf) {
        if (!draining()) {
            return;
        }
        if (m_count * 5 > m_live.capacity() * 4) {
            rehash(std::max<std::size_t>(16, m_count * 2), hashOf);
            return;
        }
        moveSome(m_old.capacity(), hashOf);
    }

    // Moves every entry of both tables into one new live table of the given size.
    template <class HashOf> void rehash(std::size_t capacity, HashOf& hashOf) {
        SlotTable live;
        SlotTable old;
        std::swap(live, m_live);
        std::swap(old, m_old);
        m_live.reset(capacity);
        const auto moveAll = [&](const SlotTable& from, std::size_t first) {
            for (std::size_t i = first; i < from.capacity(); ++i) {
                if (from.tag(i) != 0 && from.id(i) != kNone) {
                    place(hashOf(from.id(i)), from.id(i));
                }
            }
        };
        moveAll(live, 0);
        moveAll(old, m_moveCursor);
        m_moveCursor = 0;
        m_liveCount = m_count;
    }

    SlotTable m_live;
    SlotTable m_old;              // the draining table; capacity 0 when not growing
    std::size_t m_moveCursor = 0; // draining slots below this have been moved
    std::size_t m_count = 0;      // entries in both tables
    std::size_t m_liveCount = 0;  // entries in the live table
};
