#include "headline_list/headline_table_list.h"

#include <algorithm>
#include <atomic>
#include <cassert>
#include <limits>

#include "headline_list/headline_record_pool.h"
#include "headline_list/id_hash_index.h"
#include "headline_list/local_day_cache.h"
#include "host/util/blocked_sequence.h"

// How the list is kept:
//  - records: every entry once, packed, addressed by a stable 32-bit id;
//  - rows: the ids in row order, in blocks of kRowBlock with a Fenwick tree over the block
//    sizes, so row -> id costs O(log n) and id -> row costs a block lookup plus a scan of
//    one block (each record knows its block);
//  - two chains threaded through the records in row order: all entries with one service and
//    sequence number, and those of them on one local day. Two hash indexes give the first
//    entry of each chain. Every lookup by key starts at a chain head, and chains are as long
//    as the number of days (or same-day duplicates) a number occurs on, not as the list;
//  - the smallest time of each row block, to find the first entry earlier than a time by
//    walking blocks instead of rows. A pushed headline is almost always the newest and lands
//    in the top block; a late one walks the blocks above its place, a few hundred compares
//    at a million rows. (A tree over the block ranks would answer in O(log n), but a block
//    added or removed renumbers every rank after it, and rebuilding it cost more per push
//    than the walks it saved.)
// Relative order of entries never changes except through sort and assign, which rebuild the
// chains from scratch; inserts and erases only splice chains.

namespace {

constexpr std::uint32_t kNone = HeadlineRecord::kNone;
constexpr std::size_t kRowBlock = 512;

std::uint64_t mixBits(std::uint64_t x) {
    x ^= x >> 30;
    x *= 0xbf58476d1ce4e5b9ULL;
    x ^= x >> 27;
    x *= 0x94d049bb133111ebULL;
    x ^= x >> 31;
    return x;
}
std::uint64_t seqHash(std::uint8_t service, std::int32_t seqNo) {
    return mixBits((std::uint64_t{service} << 32) | static_cast<std::uint32_t>(seqNo));
}
std::uint64_t dayHash(std::uint8_t service, std::int32_t seqNo, std::int64_t day) {
    return mixBits(seqHash(service, seqNo) ^ (static_cast<std::uint64_t>(day) * 0x9e3779b97f4a7c15ULL));
}

// Newest-first order of sortNewestFirst: time, number, second value, last field descending.
bool newerThan(const HeadlineRecord& a, const HeadlineRecord& b) {
    if (a.time != b.time) {
        return a.time > b.time;
    }
    if (a.seqNo != b.seqNo) {
        return a.seqNo > b.seqNo;
    }
    if (a.value2 != b.value2) {
        return a.value2 > b.value2;
    }
    return a.last > b.last;
}

} // namespace

struct HeadlineTableList::Impl {
    struct RowObserver {
        Impl* impl = nullptr;
        void placed(std::uint32_t id, std::uint32_t block) {
            assert(block < (1u << 24)); // ids are reused, so this needs billions of rows
            impl->records[id].setBlock(block);
        }
        void restructured(std::uint32_t block) { impl->restructuredBlocks.push_back(block); }
    };
    using Rows = BlockedSequence<std::uint32_t, kRowBlock, RowObserver>;
    using ChainLink = std::uint32_t HeadlineRecord::*;

    HeadlineRecordPool records;
    Rows rows{RowObserver{this}};
    IdHashIndex bySeq; // (service, number) -> top entry of its chain
    IdHashIndex byDay; // (service, number, local day) -> top entry of its chain
    mutable LocalDayCache days;

    // Smallest time per row block, by block id.
    std::vector<std::int64_t> blockMin;
    std::uint64_t minLayout = std::numeric_limits<std::uint64_t>::max();
    std::vector<std::uint32_t> restructuredBlocks;

    Impl() = default;
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;

    // ---- keys ---------------------------------------------------------------------------
    std::uint64_t seqHashOf(std::uint32_t id) const {
        const HeadlineRecord& r = records[id];
        return seqHash(r.service, r.seqNo);
    }
    std::uint64_t dayHashOf(std::uint32_t id) const {
        const HeadlineRecord& r = records[id];
        return dayHash(r.service, r.seqNo, days.dayKey(r.time));
    }
    auto seqEqual(std::uint8_t service, std::int32_t seqNo) const {
        return [this, service, seqNo](std::uint32_t id) {
            const HeadlineRecord& r = records[id];
            return r.service == service && r.seqNo == seqNo;
        };
    }
    auto dayEqual(std::uint8_t service, std::int32_t seqNo, std::int64_t day) const {
        return [this, service, seqNo, day](std::uint32_t id) {
            const HeadlineRecord& r = records[id];
            return r.service == service && r.seqNo == seqNo && days.dayKey(r.time) == day;
        };
    }
    auto seqHasher() const {
        return [this](std::uint32_t id) { return seqHashOf(id); };
    }
    auto dayHasher() const {
        return [this](std::uint32_t id) { return dayHashOf(id); };
    }
    std::uint32_t seqHead(std::uint8_t service, std::int32_t seqNo) const {
        return bySeq.find(seqHash(service, seqNo), seqEqual(service, seqNo));
    }
    std::uint32_t dayHead(std::uint8_t service, std::int32_t seqNo, std::int64_t day) const {
        return byDay.find(dayHash(service, seqNo, day), dayEqual(service, seqNo, day));
    }

    // ---- positions ----------------------------------------------------------------------
    std::size_t rowOf(std::uint32_t id) const {
        const std::uint32_t block = records[id].block();
        const auto items = rows.blockItems(block);
        return rows.blockStart(block) +
               static_cast<std::size_t>(std::find(items.begin(), items.end(), id) - items.begin());
    }
    // True when a sits in a row above b.
    bool above(std::uint32_t a, std::uint32_t b) const {
        if (a == b) {
            return false;
        }
        const std::uint32_t blockA = records[a].block();
        const std::uint32_t blockB = records[b].block();
        if (blockA != blockB) {
            return rows.blockRank(blockA) < rows.blockRank(blockB);
        }
        for (const std::uint32_t id : rows.blockItems(blockA)) {
            if (id == a || id == b) {
                return id == a;
            }
        }
        return false;
    }

    // ---- chains -------------------------------------------------------------------------
    // Splices id, already in rows, into its chain at its row-order place.
    template <class Equal, class HashOf>
    void linkInto(IdHashIndex& index, std::uint64_t hash, Equal equal, HashOf hashOf, ChainLink next, std::uint32_t id,
                  bool atTop) {
        const std::size_t slot = index.findSlot(hash, equal);
        if (slot == IdHashIndex::kNoSlot) {
            records[id].*next = kNone;
            index.insert(hash, id, hashOf);
            return;
        }
        const std::uint32_t head = index.idAt(slot);
        if (atTop || above(id, head)) {
            records[id].*next = head;
            index.replaceAt(slot, id);
            return;
        }
        std::uint32_t prev = head;
        while (records[prev].*next != kNone && above(records[prev].*next, id)) {
            prev = records[prev].*next;
        }
        records[id].*next = records[prev].*next;
        records[prev].*next = id;
    }
    template <class Equal, class HashOf>
    void unlinkFrom(IdHashIndex& index, std::uint64_t hash, Equal equal, HashOf hashOf, ChainLink next,
                    std::uint32_t id) {
        const std::size_t slot = index.findSlot(hash, equal);
        const std::uint32_t head = index.idAt(slot);
        if (head == id) {
            if (records[id].*next == kNone) {
                index.eraseAt(slot, hashOf);
            } else {
                index.replaceAt(slot, records[id].*next);
            }
            return;
        }
        std::uint32_t prev = head;
        while (records[prev].*next != id) {
            prev = records[prev].*next;
        }
        records[prev].*next = records[id].*next;
    }
    void linkSeq(std::uint32_t id, bool atTop) {
        const HeadlineRecord& r = records[id];
        linkInto(bySeq, seqHash(r.service, r.seqNo), seqEqual(r.service, r.seqNo), seqHasher(),
                 &HeadlineRecord::nextSameSeq, id, atTop);
    }
    void linkDay(std::uint32_t id, bool atTop) {
        const HeadlineRecord& r = records[id];
        const std::int64_t day = days.dayKey(r.time);
        linkInto(byDay, dayHash(r.service, r.seqNo, day), dayEqual(r.service, r.seqNo, day), dayHasher(),
                 &HeadlineRecord::nextSameDay, id, atTop);
    }
    void unlinkSeq(std::uint32_t id) {
        const HeadlineRecord& r = records[id];
        unlinkFrom(bySeq, seqHash(r.service, r.seqNo), seqEqual(r.service, r.seqNo), seqHasher(),
                   &HeadlineRecord::nextSameSeq, id);
    }
    void unlinkDay(std::uint32_t id) {
        const HeadlineRecord& r = records[id];
        const std::int64_t day = days.dayKey(r.time);
        unlinkFrom(byDay, dayHash(r.service, r.seqNo, day), dayEqual(r.service, r.seqNo, day), dayHasher(),
                   &HeadlineRecord::nextSameDay, id);
    }
    // Rebuilds both chains and indexes from the rows: bottom row first, each entry going on
    // top of its chains.
    void rebuildChains() {
        bySeq.clear();
        byDay.clear();
        // Nearly every entry has chains of its own; sizing both indexes once saves growing
        // them step by step (each growth reads every record again).
        bySeq.reserve(rows.size(), seqHasher());
        byDay.reserve(rows.size(), dayHasher());
        std::vector<std::uint32_t> ids(rows.begin(), rows.end());
        for (auto it = ids.rbegin(); it != ids.rend(); ++it) {
            linkSeq(*it, true);
            linkDay(*it, true);
        }
    }

    // ---- block minimum times ------------------------------------------------------------
    std::int64_t scanMin(std::uint32_t block) const {
        std::int64_t least = std::numeric_limits<std::int64_t>::max();
        for (const std::uint32_t id : rows.blockItems(block)) {
            least = std::min(least, records[id].time);
        }
        return least;
    }
    // Brings the block minimum times up to date after blocks were added, removed or refilled.
    // Returns false when the layout did not change and the caller must patch one block.
    bool refreshLayout() {
        if (rows.layoutVersion() == minLayout) {
            return false;
        }
        for (const std::uint32_t block : restructuredBlocks) {
            if (rows.blockRank(block) != Rows::kNoRank) {
                if (block >= blockMin.size()) {
                    blockMin.resize(block + 1);
                }
                blockMin[block] = scanMin(block);
            }
        }
        restructuredBlocks.clear();
        minLayout = rows.layoutVersion();
        return true;
    }
    void noteInserted(std::uint32_t id) {
        if (refreshLayout()) {
            return;
        }
        const std::uint32_t block = records[id].block();
        blockMin[block] = std::min(blockMin[block], records[id].time);
    }
    void noteErased(std::uint32_t block, std::int64_t time) {
        if (refreshLayout()) {
            return;
        }
        if (time == blockMin[block]) {
            blockMin[block] = scanMin(block);
        }
    }

    // ---- operations ---------------------------------------------------------------------
    std::size_t insertRowForTime(std::int64_t time) const {
        std::size_t rank = 0;
        while (rank < rows.blockCount() && blockMin[rows.blockAtRank(rank)] >= time) {
            ++rank;
        }
        if (rank == rows.blockCount()) {
            return rows.size();
        }
        const std::uint32_t block = rows.blockAtRank(rank);
        const auto items = rows.blockItems(block);
        std::size_t offset = 0;
        while (records[items[offset]].time >= time) {
            ++offset;
        }
        return rows.blockStart(block) + offset;
    }

    std::uint32_t insertAt(std::size_t row, const CHeadlineTable& entry) {
        const std::uint32_t id = records.allocate(entry);
        rows.insert(row, id);
        noteInserted(id);
        linkSeq(id, row == 0);
        linkDay(id, row == 0);
        return id;
    }
    // Removes an entry already unlinked from both chains.
    void dropRow(std::size_t row, std::uint32_t id) {
        const std::uint32_t block = records[id].block();
        const std::int64_t time = records[id].time;
        rows.erase(row);
        noteErased(block, time);
        records.release(id);
    }

    void assignIds(std::vector<std::uint32_t>&& ids) {
        rows.assign(std::move(ids));
        rebuildChains();
        refreshLayout();
    }
    void clearAll() {
        rows.clear();
        records.clear();
        bySeq.clear();
        byDay.clear();
        blockMin.clear();
        restructuredBlocks.clear();
        refreshLayout();
    }
};

namespace {
// Versions of every list come from one counter, so no two lists ever share one.
std::uint64_t nextVersion() {
    static std::atomic<std::uint64_t> counter{0};
    return counter.fetch_add(1, std::memory_order_relaxed) + 1;
}
} // namespace

HeadlineTableList::HeadlineTableList() : m_impl(std::make_unique<Impl>()), m_version(nextVersion()) {}
HeadlineTableList::~HeadlineTableList() = default;
HeadlineTableList::HeadlineTableList(HeadlineTableList&& other) noexcept
    : m_impl(std::move(other.m_impl)), m_version(nextVersion()) {
    other.m_version = nextVersion();
}
HeadlineTableList& HeadlineTableList::operator=(HeadlineTableList&& other) noexcept {
    m_impl = std::move(other.m_impl);
    m_version = nextVersion();
    other.m_version = nextVersion();
    return *this;
}

// A moved-from list has no Impl; it reads as empty and gets a fresh one on its next change.
HeadlineTableList::Impl& HeadlineTableList::impl() {
    m_version = nextVersion();
    if (!m_impl) {
        m_impl = std::make_unique<Impl>();
    }
    return *m_impl;
}

std::size_t HeadlineTableList::size() const {
    return m_impl ? m_impl->rows.size() : 0;
}

CHeadlineTable HeadlineTableList::operator[](std::size_t row) const {
    return m_impl->records[m_impl->rows[row]].entry();
}

void HeadlineTableList::clear() {
    impl().clearAll();
}

void HeadlineTableList::assign(const std::vector<CHeadlineTable>& entries) {
    Impl& d = impl();
    d.clearAll();
    std::vector<std::uint32_t> ids;
    ids.reserve(entries.size());
    for (const CHeadlineTable& entry : entries) {
        ids.push_back(d.records.allocate(entry));
    }
    d.assignIds(std::move(ids));
}

void HeadlineTableList::append(const std::vector<CHeadlineTable>& entries) {
    Impl& d = impl();
    // A large batch is cheaper to index from scratch than entry by entry, since each entry
    // appended to the bottom walks its number's chain to the end.
    if (entries.size() * 16 >= d.rows.size()) {
        std::vector<std::uint32_t> ids(d.rows.begin(), d.rows.end());
        ids.reserve(ids.size() + entries.size());
        for (const CHeadlineTable& entry : entries) {
            ids.push_back(d.records.allocate(entry));
        }
        d.assignIds(std::move(ids));
        return;
    }
    for (const CHeadlineTable& entry : entries) {
        d.insertAt(d.rows.size(), entry);
    }
}

std::vector<CHeadlineTable> HeadlineTableList::toVector() const {
    std::vector<CHeadlineTable> out;
    copyRange(0, size(), out);
    return out;
}

void HeadlineTableList::copyRange(std::size_t first, std::size_t count, std::vector<CHeadlineTable>& out) const {
    out.clear();
    if (first >= size()) {
        return;
    }
    const std::size_t n = std::min(count, size() - first);
    out.reserve(n);
    auto it = m_impl->rows.iteratorAt(first);
    for (std::size_t i = 0; i < n; ++i, ++it) {
        out.push_back(m_impl->records[*it].entry());
    }
}

void HeadlineTableList::sortNewestFirst() {
    Impl& d = impl();
    std::vector<std::uint32_t> ids(d.rows.begin(), d.rows.end());
    std::stable_sort(ids.begin(), ids.end(),
                     [&d](std::uint32_t a, std::uint32_t b) { return newerThan(d.records[a], d.records[b]); });
    d.assignIds(std::move(ids));
}

void HeadlineTableList::assignNewestFirst(std::vector<CHeadlineTable> entries) {
    std::stable_sort(entries.begin(), entries.end(), [](const CHeadlineTable& a, const CHeadlineTable& b) {
        if (a.m_tTime != b.m_tTime) {
            return a.m_tTime > b.m_tTime;
        }
        if (a.m_iSeqNo != b.m_iSeqNo) {
            return a.m_iSeqNo > b.m_iSeqNo;
        }
        if (a.m_llValue2 != b.m_llValue2) {
            return a.m_llValue2 > b.m_llValue2;
        }
        return a.m_ullLast > b.m_ullLast;
    });
    if (entries.size() == size()) {
        std::size_t row = 0;
        while (row < entries.size() && (*this)[row] == entries[row]) {
            ++row;
        }
        if (row == entries.size()) {
            return;
        }
    }
    assign(entries);
}

void HeadlineTableList::insert(std::size_t row, const CHeadlineTable& entry) {
    Impl& d = impl();
    d.insertAt(std::min(row, d.rows.size()), entry);
}

void HeadlineTableList::erase(std::size_t row) {
    Impl& d = impl();
    if (row >= d.rows.size()) {
        return;
    }
    const std::uint32_t id = d.rows[row];
    d.unlinkSeq(id);
    d.unlinkDay(id);
    d.dropRow(row, id);
}

std::optional<std::size_t> HeadlineTableList::findFirstByKey(unsigned char service, std::int64_t time,
                                                             std::int32_t seqNo) const {
    if (!m_impl) {
        return std::nullopt;
    }
    const Impl& d = *m_impl;
    std::uint32_t id = d.dayHead(service, seqNo, d.days.dayKey(time));
    while (id != kNone && d.records[id].time != time) {
        id = d.records[id].nextSameDay;
    }
    return id == kNone ? std::nullopt : std::optional(d.rowOf(id));
}

std::optional<std::size_t> HeadlineTableList::findFirstSameSeq(unsigned char service, std::int32_t seqNo) const {
    if (!m_impl) {
        return std::nullopt;
    }
    const std::uint32_t id = m_impl->seqHead(service, seqNo);
    return id == kNone ? std::nullopt : std::optional(m_impl->rowOf(id));
}

std::optional<std::size_t> HeadlineTableList::findSameDay(unsigned char service, std::int32_t seqNo,
                                                          std::int64_t time) const {
    if (!m_impl) {
        return std::nullopt;
    }
    const Impl& d = *m_impl;
    const std::int64_t day = d.days.dayKey(time);
    if (day == LocalDayCache::kNoDay) {
        return std::nullopt; // a time without a local date shares no day with anything
    }
    const std::uint32_t id = d.dayHead(service, seqNo, day);
    return id == kNone ? std::nullopt : std::optional(d.rowOf(id));
}

std::optional<std::size_t> HeadlineTableList::findNextSameSeq(unsigned char service, std::int32_t seqNo,
                                                              std::size_t after) const {
    if (after >= size() || after + 1 == size()) {
        return std::nullopt;
    }
    const Impl& d = *m_impl;
    const std::uint32_t anchor = d.rows[after];
    std::uint32_t id = d.seqHead(service, seqNo);
    while (id != kNone && !d.above(anchor, id)) {
        id = d.records[id].nextSameSeq;
    }
    return id == kNone ? std::nullopt : std::optional(d.rowOf(id));
}

std::size_t HeadlineTableList::insertRowForTime(std::int64_t time) const {
    return m_impl ? m_impl->insertRowForTime(time) : 0;
}

HeadlineTableList::PushResult HeadlineTableList::processPush(const CHeadline& headline) {
    Impl& d = impl();
    const CHeadlineTable key{headline.m_byService, headline.m_tTime, headline.m_iSeqNo, 0, 0};
    PushResult result;
    const std::int64_t day = d.days.dayKey(headline.m_tTime);
    const std::uint32_t found =
        day == LocalDayCache::kNoDay ? kNone : d.dayHead(headline.m_byService, headline.m_iSeqNo, day);
    if (found == kNone) {
        result.insertedRow = d.insertRowForTime(headline.m_tTime);
        d.insertAt(result.insertedRow, key);
        return result;
    }

    result.resent = true;
    result.rewrittenRow = d.rowOf(found);
    const std::uint32_t top = d.insertAt(0, key);
    // The new top entry heads its number's chain, so the first later entry with the same
    // service and number, of whatever day, is the next link. Usually that is the re-sent
    // entry itself; in a multi-day list it can be another day's entry, which goes instead.
    const std::uint32_t duplicate = d.records[top].nextSameSeq;
    if (duplicate != kNone) {
        result.removed = true;
        result.removedRow = d.rowOf(duplicate);
        d.records[top].nextSameSeq = d.records[duplicate].nextSameSeq;
        d.unlinkDay(duplicate);
        d.dropRow(result.removedRow, duplicate);
    }
    return result;
}

std::size_t HeadlineTableList::bytesUsed() const {
    if (!m_impl) {
        return 0;
    }
    const Impl& d = *m_impl;
    return sizeof(Impl) + d.records.bytesUsed() + d.rows.heapBytes() + d.bySeq.bytesUsed() + d.byDay.bytesUsed() +
           d.blockMin.capacity() * sizeof(std::int64_t) + d.restructuredBlocks.capacity() * sizeof(std::uint32_t);
}
