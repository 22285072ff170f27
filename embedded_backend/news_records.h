#pragma once

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

#include "host/backend/news_records.h"

// The records that ingest hands to the cache (UI thread) and to the store (worker thread).
// Both apply the same immutable batches in the same order, so they hold the same news.
namespace embedded {

// A headline as kept: its news day and sequence number identify it within its service (a
// re-sent headline has the same three and replaces the earlier version); sortKey is
// makeSortKey(time, seq, service).
struct HeadlineRecord {
    unsigned char service = 0;
    int day = 0; // yyyymmdd news day
    std::int32_t seq = 0;
    std::int64_t time = 0;
    std::int32_t category = 0;
    CString title;
    std::vector<CSymbolInfo> symbols;
    std::int64_t sortKey = 0;

    bool operator==(const HeadlineRecord&) const = default;
};

struct StoryRecord {
    unsigned char service = 0;
    int day = 0;
    std::int32_t seq = 0;
    std::int64_t time = 0;
    CString text;
    bool withHeadline = false; // sent together with its headline: not a late story

    bool operator==(const StoryRecord&) const = default;
};

// A service starts a new news day; days before keepFrom are dropped.
struct DayChange {
    unsigned char service = 0;
    int day = 0;
    int keepFrom = 0;
};

// A category that a feed named and the catalogue lacked.
struct CategoryRecord {
    unsigned char service = 0;
    std::int32_t id = 0;
    CString name;
};

struct ConnectionChange {
    bool connected = true;
};

// How far the service's stream of the distribution has been read: the id of the last entry and
// its entry number. Stored with the news it follows, so a restart reads on from exactly there.
struct StreamPosition {
    unsigned char service = 0;
    std::string entryId;
    std::int64_t entryNo = 0;

    bool operator==(const StreamPosition&) const = default;
};

using NewsChange =
    std::variant<HeadlineRecord, StoryRecord, DayChange, CategoryRecord, ConnectionChange, StreamPosition>;

struct NewsBatch {
    std::vector<NewsChange> changes;
    // Changes held back while disconnected and released by the reconnection: applied without
    // pushes and announced through the recovery callbacks instead.
    bool recovery = false;
    // A part of a recovery still under way (a long disconnection releases what it holds in
    // parts): the cache and the store take it now, the views hear of it with the recovery
    // batch that completes it.
    bool partial = false;
};

// The order of the store and its full-text indexes, and the headline's key in one number:
// time in the high bits, then the sequence number, then the service. Newest first is
// descending order, and a search result needs no look-up to become a table entry.
constexpr std::int32_t kMaxSeq = 0xFFFFF; // a million headlines per service and day
// The latest time a sort key holds (35 bits of seconds: August 3058); a later time would wrap
// the key and sort the headline among the oldest.
constexpr std::int64_t kMaxTime = (std::int64_t{1} << 35) - 1;
constexpr std::int64_t makeSortKey(std::int64_t time, std::int32_t seq, unsigned char service) {
    return (time << 28) | (static_cast<std::int64_t>(seq & kMaxSeq) << 8) | service;
}
constexpr CHeadlineTable entryOfSortKey(std::int64_t sortKey) {
    return CHeadlineTable{static_cast<unsigned char>(sortKey & 0xFF), sortKey >> 28,
                          static_cast<std::int32_t>((sortKey >> 8) & kMaxSeq), 0, 0};
}

} // namespace embedded
