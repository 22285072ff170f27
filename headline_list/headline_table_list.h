#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "host/backend/news_records.h"

// One headline list's table: the entries its grid shows, newest first, row i = entry i.
// It behaves exactly like a std::vector<CHeadlineTable> handled with front inserts and
// linear scans, but every operation the view runs per push, per refresh and per search
// costs the same whether the list holds ten entries or a million.
// Thread: UI thread only. Not copyable; movable.
class HeadlineTableList {
public:
    HeadlineTableList();
    ~HeadlineTableList();
    HeadlineTableList(HeadlineTableList&&) noexcept;
    HeadlineTableList& operator=(HeadlineTableList&&) noexcept;
    HeadlineTableList(const HeadlineTableList&) = delete;
    HeadlineTableList& operator=(const HeadlineTableList&) = delete;

    std::size_t size() const;
    bool empty() const { return size() == 0; }
    // Entry at row; row must be < size(). Returned by value: entries are stored packed
    // (29 bytes of fields instead of a padded 40-byte struct), so there is no
    // CHeadlineTable object to refer to.
    CHeadlineTable operator[](std::size_t row) const;
    CHeadlineTable at(std::size_t row) const { return (*this)[row]; }

    void clear();
    void assign(const std::vector<CHeadlineTable>& entries);
    void append(const std::vector<CHeadlineTable>& entries);
    std::vector<CHeadlineTable> toVector() const;
    // Replaces out with up to count entries starting at first (cut at the end of the list).
    void copyRange(std::size_t first, std::size_t count, std::vector<CHeadlineTable>& out) const;

    // Stable sort, newest first: time, sequence number, second 64-bit value, last field, all
    // descending; entries equal in all four keep their order.
    void sortNewestFirst();
    // The same as assign(entries) followed by sortNewestFirst(), with one rebuild of the
    // indexes instead of two, and none when the list already holds exactly that: a table sent
    // again unchanged costs a sort of the vector and a comparison.
    void assignNewestFirst(std::vector<CHeadlineTable> entries);

    // A row past the end appends; erasing a row past the end does nothing.
    void insert(std::size_t row, const CHeadlineTable& entry);
    void erase(std::size_t row);

    // First row whose entry has this service, time and sequence number.
    std::optional<std::size_t> findFirstByKey(unsigned char service, std::int64_t time, std::int32_t seqNo) const;
    // First row with this service and sequence number, of whatever day.
    std::optional<std::size_t> findFirstSameSeq(unsigned char service, std::int32_t seqNo) const;
    // First row with this service and sequence number whose time falls on the same local
    // calendar day as time.
    std::optional<std::size_t> findSameDay(unsigned char service, std::int32_t seqNo, std::int64_t time) const;
    // First row after `after` with this service and sequence number.
    std::optional<std::size_t> findNextSameSeq(unsigned char service, std::int32_t seqNo, std::size_t after) const;
    // First row whose time is earlier than time (equal times stay above); size() when none.
    std::size_t insertRowForTime(std::int64_t time) const;

    // What one push did to the table, so the caller can apply the same change to its grid.
    struct PushResult {
        bool resent = false;          // the headline was already in the list (same service, number, day)
        std::size_t rewrittenRow = 0; // resent: the old row, rewritten before the move
        std::size_t removedRow = 0;   // resent: row deleted after the top insert (counted after it)
        bool removed = false;         // resent: whether a later duplicate was found and removed
        std::size_t insertedRow = 0;  // row of the new entry (0 for a resent headline)

        bool operator==(const PushResult&) const = default;
    };
    // Puts one pushed headline into the list: a re-sent headline (same service, sequence
    // number and local day) gets a new key entry at the top and its first later duplicate
    // removed; a new headline goes above the first entry with an earlier time.
    PushResult processPush(const CHeadline& headline);

    // Heap bytes held by the list (entries and indexes), for memory budgets.
    std::size_t bytesUsed() const;

    // A stamp that changes with every change of the list and is never shared by two lists
    // (a list moved into another takes a new one), so whoever keeps a stamp can tell that
    // nothing touched the list since.
    std::uint64_t version() const { return m_version; }

private:
    struct Impl;
    // The list's state for a change: takes a new version first.
    Impl& impl();
    std::unique_ptr<Impl> m_impl;
    std::uint64_t m_version;
};
