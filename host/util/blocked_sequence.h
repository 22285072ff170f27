#pragma once

#include <algorithm>
#include <bit>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <iterator>
#include <limits>
#include <span>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

// Observer that ignores every block event; the default for sequences nobody indexes.
struct NoBlockObserver {
    template <class T> void placed(const T& /*value*/, std::uint32_t /*block*/) noexcept {}
    void restructured(std::uint32_t /*block*/) noexcept {}
};

// An order-statistic sequence: a vector-like container whose elements live in blocks of at
// most kBlockCapacity, with a Fenwick tree over the block sizes. Access by position, insert
// and erase cost O(log(blocks) + kBlockCapacity) instead of O(size), and an element only
// costs sizeof(T) plus the unused room of its block.
//
// Blocks have stable ids (BlockId) so that callers can keep an element -> block map and
// find an element's position without a scan of the whole sequence. The Observer is told
//   placed(value, block)   whenever an element starts living in a block (insert, or moved
//                          there by a split, a merge or assign);
//   restructured(block)    whenever a block was created or filled by a split, a merge or
//                          assign, so any per-block summary of it must be recomputed.
// Plain inserts and erases that leave the block layout alone only call placed() for the
// inserted element. layoutVersion() changes whenever blocks are added, removed or reordered.
//
// References and iterators are invalidated by any insert or erase.
template <class T, std::size_t kBlockCapacity = 512, class Observer = NoBlockObserver> class BlockedSequence {
    static_assert(kBlockCapacity >= 4, "blocks must be able to split in halves");

public:
    using value_type = T;
    using size_type = std::size_t;
    using BlockId = std::uint32_t;
    static constexpr std::size_t kCapacity = kBlockCapacity;
    static constexpr std::uint32_t kNoRank = std::numeric_limits<std::uint32_t>::max();

    template <bool kConst> class Iterator;
    using iterator = Iterator<false>;
    using const_iterator = Iterator<true>;

    BlockedSequence() = default;
    explicit BlockedSequence(Observer observer) : m_observer(std::move(observer)) {}
    BlockedSequence(BlockedSequence&&) noexcept = default;
    BlockedSequence& operator=(BlockedSequence&&) noexcept = default;
    BlockedSequence(const BlockedSequence&) = delete;
    BlockedSequence& operator=(const BlockedSequence&) = delete;

    std::size_t size() const { return m_size; }
    bool empty() const { return m_size == 0; }

    const T& operator[](std::size_t pos) const {
        const auto [rank, offset] = locate(pos);
        return m_blocks[m_order[rank]][offset];
    }
    T& operator[](std::size_t pos) {
        const auto [rank, offset] = locate(pos);
        return m_blocks[m_order[rank]][offset];
    }

    void push_front(T value) { insert(0, std::move(value)); }
    void push_back(T value) { insert(m_size, std::move(value)); }

    // Inserts value before position pos (pos == size() appends).
    void insert(std::size_t pos, T value) {
        assert(pos <= m_size);
        if (m_order.empty()) {
            const BlockId id = newBlock();
            m_order.push_back(id);
            placeInto(id, 0, std::move(value));
            finishLayoutChange({id});
            return;
        }
        std::uint32_t rank = 0;
        std::size_t offset = 0;
        if (pos == m_size) {
            rank = static_cast<std::uint32_t>(m_order.size() - 1);
            offset = m_blocks[m_order[rank]].size();
        } else {
            std::tie(rank, offset) = locate(pos);
        }
        // At the start of a block, the end of the previous one is the same position and
        // appending there moves nothing.
        if (offset == 0 && rank > 0 && m_blocks[m_order[rank - 1]].size() < kBlockCapacity) {
            --rank;
            offset = m_blocks[m_order[rank]].size();
        }
        const BlockId id = m_order[rank];
        if (m_blocks[id].size() < kBlockCapacity) {
            placeInto(id, offset, std::move(value));
            fenwickAdd(rank, 1);
            return;
        }
        // Full block. Inserting at either edge starts a fresh block there, so runs of front
        // inserts or appends leave full blocks behind; otherwise the block splits in halves.
        if (offset == 0 || offset == kBlockCapacity) {
            const BlockId fresh = newBlock();
            m_order.insert(m_order.begin() + rank + (offset == 0 ? 0 : 1), fresh);
            placeInto(fresh, 0, std::move(value));
            finishLayoutChange({fresh});
            return;
        }
        const BlockId upper = newBlock();
        auto& lowerItems = m_blocks[id];
        const std::size_t half = kBlockCapacity / 2;
        auto& upperItems = m_blocks[upper];
        upperItems.reserve(kBlockCapacity);
        for (std::size_t i = half; i < lowerItems.size(); ++i) {
            upperItems.push_back(std::move(lowerItems[i]));
            m_observer.placed(upperItems.back(), upper);
        }
        lowerItems.erase(lowerItems.begin() + static_cast<std::ptrdiff_t>(half), lowerItems.end());
        m_order.insert(m_order.begin() + rank + 1, upper);
        if (offset <= half) {
            placeInto(id, offset, std::move(value));
        } else {
            placeInto(upper, offset - half, std::move(value));
        }
        finishLayoutChange({id, upper});
    }

    void erase(std::size_t pos) {
        assert(pos < m_size);
        const auto [rank, offset] = locate(pos);
        const BlockId id = m_order[rank];
        auto& items = m_blocks[id];
        items.erase(items.begin() + static_cast<std::ptrdiff_t>(offset));
        --m_size;
        if (items.empty()) {
            releaseBlock(id);
            m_order.erase(m_order.begin() + rank);
            finishLayoutChange({});
            return;
        }
        // Any two neighbouring blocks together hold more than half a block (splits and edge
        // inserts keep it so, and an erase merges when it would break it), so blocks are
        // on average at least a quarter full however rows are erased.
        const std::size_t limit = kBlockCapacity / 2;
        if (rank > 0 && m_blocks[m_order[rank - 1]].size() + items.size() <= limit) {
            mergeIntoPrevious(rank);
            return;
        }
        if (rank + 1 < m_order.size() && m_blocks[m_order[rank + 1]].size() + items.size() <= limit) {
            mergeIntoPrevious(rank + 1);
            return;
        }
        fenwickAdd(rank, -1);
    }

    void clear() {
        m_blocks.clear();
        m_freeBlocks.clear();
        m_order.clear();
        m_rank.clear();
        m_fenwick.clear();
        m_size = 0;
        ++m_layoutVersion;
    }

    // Replaces the contents with [first, last), packing the blocks full.
    template <class InputIt> void assign(InputIt first, InputIt last) {
        clear();
        std::vector<BlockId> filled;
        while (first != last) {
            const BlockId id = newBlock();
            auto& items = m_blocks[id];
            items.reserve(kBlockCapacity);
            while (first != last && items.size() < kBlockCapacity) {
                items.emplace_back(*first);
                ++first;
                m_observer.placed(items.back(), id);
            }
            m_size += items.size();
            m_order.push_back(id);
            filled.push_back(id);
        }
        finishLayoutChange(filled);
    }
    void assign(std::vector<T>&& values) {
        assign(std::make_move_iterator(values.begin()), std::make_move_iterator(values.end()));
        values.clear();
    }

    iterator begin() { return iterator(this, 0, 0); }
    iterator end() { return iterator(this, static_cast<std::uint32_t>(m_order.size()), 0); }
    const_iterator begin() const { return const_iterator(this, 0, 0); }
    const_iterator end() const { return const_iterator(this, static_cast<std::uint32_t>(m_order.size()), 0); }
    // Iterator at position pos (end() when pos >= size()); walking it costs O(1) per step.
    iterator iteratorAt(std::size_t pos) {
        if (pos >= m_size) {
            return end();
        }
        const auto [rank, offset] = locate(pos);
        return iterator(this, rank, offset);
    }
    const_iterator iteratorAt(std::size_t pos) const {
        if (pos >= m_size) {
            return end();
        }
        const auto [rank, offset] = locate(pos);
        return const_iterator(this, rank, offset);
    }

    // Block-level access, for callers that keep their own element -> block maps.
    std::size_t blockCount() const { return m_order.size(); }
    BlockId blockAtRank(std::size_t rank) const { return m_order[rank]; }
    // Rank of a live block in sequence order; kNoRank for an id not in use.
    std::uint32_t blockRank(BlockId id) const { return id < m_rank.size() ? m_rank[id] : kNoRank; }
    std::span<const T> blockItems(BlockId id) const { return m_blocks[id]; }
    // Position of the first element of a live block.
    std::size_t blockStart(BlockId id) const { return fenwickPrefix(m_rank[id]); }
    std::uint64_t layoutVersion() const { return m_layoutVersion; }

    // Heap bytes held by the blocks and the block index (not by what the elements own).
    std::size_t heapBytes() const {
        std::size_t bytes = m_blocks.capacity() * sizeof(std::vector<T>) +
                            (m_freeBlocks.capacity() + m_order.capacity() + m_rank.capacity()) * sizeof(BlockId) +
                            m_fenwick.capacity() * sizeof(std::size_t);
        for (const auto& items : m_blocks) {
            bytes += items.capacity() * sizeof(T);
        }
        return bytes;
    }

    template <bool kConst> class Iterator {
        using Owner = std::conditional_t<kConst, const BlockedSequence, BlockedSequence>;

    public:
        using iterator_category = std::forward_iterator_tag;
        using value_type = T;
        using difference_type = std::ptrdiff_t;
        using reference = std::conditional_t<kConst, const T&, T&>;
        using pointer = std::conditional_t<kConst, const T*, T*>;

        Iterator() = default;
        Iterator(Owner* owner, std::uint32_t rank, std::size_t offset)
            : m_owner(owner), m_rank(rank), m_offset(offset) {}
        template <bool kOther, class = std::enable_if_t<kConst && !kOther>>
        Iterator(const Iterator<kOther>& other) // NOLINT: iterator -> const_iterator
            : m_owner(other.m_owner), m_rank(other.m_rank), m_offset(other.m_offset) {}

        reference operator*() const { return m_owner->m_blocks[m_owner->m_order[m_rank]][m_offset]; }
        pointer operator->() const { return &**this; }
        Iterator& operator++() {
            if (++m_offset == m_owner->m_blocks[m_owner->m_order[m_rank]].size()) {
                ++m_rank;
                m_offset = 0;
            }
            return *this;
        }
        Iterator operator++(int) {
            Iterator old = *this;
            ++*this;
            return old;
        }
        friend bool operator==(const Iterator& a, const Iterator& b) {
            return a.m_rank == b.m_rank && a.m_offset == b.m_offset;
        }

    private:
        template <bool> friend class Iterator;
        Owner* m_owner = nullptr;
        std::uint32_t m_rank = 0;
        std::size_t m_offset = 0;
    };

private:
    // (rank of the block, offset inside it) of position pos < size().
    std::pair<std::uint32_t, std::size_t> locate(std::size_t pos) const {
        assert(pos < m_size);
        const std::size_t n = m_order.size();
        std::size_t index = 0;
        std::size_t rest = pos;
        for (std::size_t step = std::bit_floor(n); step != 0; step >>= 1) {
            if (index + step <= n && m_fenwick[index + step] <= rest) {
                index += step;
                rest -= m_fenwick[index];
            }
        }
        return {static_cast<std::uint32_t>(index), rest};
    }

    std::size_t fenwickPrefix(std::uint32_t rank) const {
        std::size_t sum = 0;
        for (std::size_t i = rank; i > 0; i &= i - 1) {
            sum += m_fenwick[i];
        }
        return sum;
    }
    void fenwickAdd(std::uint32_t rank, int delta) {
        for (std::size_t i = rank + 1; i < m_fenwick.size(); i += i & (~i + 1)) {
            m_fenwick[i] = static_cast<std::size_t>(static_cast<std::ptrdiff_t>(m_fenwick[i]) + delta);
        }
    }

    BlockId newBlock() {
        if (!m_freeBlocks.empty()) {
            const BlockId id = m_freeBlocks.back();
            m_freeBlocks.pop_back();
            return id;
        }
        m_blocks.emplace_back();
        return static_cast<BlockId>(m_blocks.size() - 1);
    }
    void releaseBlock(BlockId id) {
        std::vector<T>().swap(m_blocks[id]);
        m_freeBlocks.push_back(id);
    }

    void placeInto(BlockId id, std::size_t offset, T value) {
        auto& items = m_blocks[id];
        if (items.size() == items.capacity()) {
            // Grow towards the block capacity and never past it.
            items.reserve(std::min(kBlockCapacity, std::max<std::size_t>(8, items.capacity() * 2)));
        }
        const auto it = items.insert(items.begin() + static_cast<std::ptrdiff_t>(offset), std::move(value));
        ++m_size;
        m_observer.placed(*it, id);
    }

    // Moves the block at rank onto the end of the block before it.
    void mergeIntoPrevious(std::size_t rank) {
        const BlockId target = m_order[rank - 1];
        const BlockId source = m_order[rank];
        auto& to = m_blocks[target];
        to.reserve(kBlockCapacity);
        for (auto& value : m_blocks[source]) {
            to.push_back(std::move(value));
            m_observer.placed(to.back(), target);
        }
        releaseBlock(source);
        m_order.erase(m_order.begin() + static_cast<std::ptrdiff_t>(rank));
        finishLayoutChange({target});
    }

    // Blocks were added, removed or refilled: renumber the ranks, rebuild the Fenwick tree in
    // O(blocks) and tell the observer which blocks need their summaries recomputed.
    void finishLayoutChange(std::initializer_list<BlockId> changed) { finishLayoutChange(std::span(changed)); }
    void finishLayoutChange(std::span<const BlockId> changed) {
        ++m_layoutVersion;
        m_rank.assign(m_blocks.size(), kNoRank);
        m_fenwick.assign(m_order.size() + 1, 0);
        for (std::size_t r = 0; r < m_order.size(); ++r) {
            m_rank[m_order[r]] = static_cast<std::uint32_t>(r);
            m_fenwick[r + 1] += m_blocks[m_order[r]].size();
            const std::size_t parent = (r + 1) + ((r + 1) & (~(r + 1) + 1));
            if (parent < m_fenwick.size()) {
                m_fenwick[parent] += m_fenwick[r + 1];
            }
        }
        for (const BlockId id : changed) {
            m_observer.restructured(id);
        }
    }

    std::vector<std::vector<T>> m_blocks; // by BlockId; released ids hold empty vectors
    std::vector<BlockId> m_freeBlocks;
    std::vector<BlockId> m_order;       // block ids in sequence order
    std::vector<std::uint32_t> m_rank;  // by BlockId: index in m_order, kNoRank when free
    std::vector<std::size_t> m_fenwick; // 1-based over m_order, block sizes
    std::size_t m_size = 0;
    std::uint64_t m_layoutVersion = 0;
    [[no_unique_address]] Observer m_observer;
};
