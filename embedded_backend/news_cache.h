#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "embedded_backend/chunked_vector.h"
#include "embedded_backend/flat_index.h"
#include "embedded_backend/news_records.h"
#include "host/backend/news_records.h"

namespace embedded {

// The news the UI thread reads: headlines of the kept days with their tables by date,
// category and symbol, stories, related symbols, search results and each service's current
// news day. Look-ups are hash and vector reads, with no lock: the cache is only ever touched on
// the UI thread (ingest posts its batches there). Thread: UI thread only.
//
// Growing never moves what the cache holds: headlines are kept in chunks, the indexes rehash
// a small part at a time and the tables are deques, so a push costs the same with a million
// headlines held as with a thousand.
//
// Table entries carry only the headline key (service, time, number); their two opaque fields
// stay zero, so that an entry the view builds from a pushed headline equals the one a table
// gives for the same headline.
class NewsCache {
public:
    struct PutResult {
        CHeadlineTable entry;
        bool replaced = false; // an earlier version with the same service, day and number was dropped
        std::optional<CHeadlineTable> previousEntry;
        std::int32_t previousCategory = 0;
        std::vector<CString> previousSymbols;
    };
    struct StoryKey {
        unsigned char service = 0;
        int day = 0;
        std::int32_t seq = 0;
    };

    // Fills an empty cache at start.
    void load(std::vector<HeadlineRecord> headlines, const std::vector<StoryRecord>& stories,
              const std::map<unsigned char, int>& currentDays);
    PutResult putHeadline(HeadlineRecord headline);
    // Keeps a story; returns its headline's entry when the headline is held (else the story
    // waits for it). replaced (when given) tells whether the headline had a story already: the
    // new one is then a correction.
    std::optional<CHeadlineTable> putStory(const StoryRecord& story, bool* replaced = nullptr);
    // Drops a service's headlines, stories and tables of days before keepFrom.
    void dropBefore(unsigned char service, int keepFrom);
    void setCurrentDay(unsigned char service, int day) { m_currentDays[service] = day; }
    void setSearchResults(unsigned char service, int kind, std::vector<CHeadlineTable> entries);

    // Tables by category and by symbol span every kept day and can grow to tens of thousands
    // of entries; a look-up hands out only the newest this many (by arrival), so that it stays
    // a small copy. A day's table is always handed out whole.
    static constexpr std::size_t kDefaultTableDepth = 2000;
    void setTableDepth(std::size_t depth) { m_tableDepth = depth; }
    std::size_t tableDepth() const { return m_tableDepth; }

    // Appending look-ups; each returns the number of entries appended.
    int dateTable(unsigned char service, int day, std::vector<CHeadlineTable>& out) const;
    int categoryTable(unsigned char service, std::int32_t category, std::vector<CHeadlineTable>& out) const;
    int symbolTable(unsigned char service, const CString& code, std::vector<CHeadlineTable>& out) const;
    int searchResults(unsigned char service, int kind, std::vector<CHeadlineTable>& out) const;
    // The headlines of the entries of one service that are held, in entry order.
    int headlines(unsigned char service, const std::vector<CHeadlineTable>& entries, std::vector<CHeadline>& out) const;

    bool holds(const CHeadlineTable& entry) const;
    const CHeadline* headline(const CHeadlineTable& entry) const;
    std::optional<StoryKey> storyKey(const CHeadlineTable& entry) const;
    bool story(const CHeadlineTable& entry, CStory& out) const;
    bool hasStory(const CHeadlineTable& entry) const;
    const std::vector<CSymbolInfo>* symbols(const CHeadlineTable& entry) const;
    int currentDay(unsigned char service) const;
    const std::map<unsigned char, int>& currentDays() const { return m_currentDays; }
    std::size_t size() const { return m_byEntry.size(); }

private:
    struct Story {
        std::int64_t time = 0;
        CString text;
    };
    struct Item {
        CHeadline headline;
        int day = 0;
        std::vector<CSymbolInfo> symbols;
        std::optional<Story> story;
    };
    struct EntryKey {
        unsigned char service = 0;
        std::int32_t seq = 0;
        std::int64_t time = 0;
        bool operator==(const EntryKey&) const = default;
    };
    struct EntryHash {
        std::size_t operator()(const EntryKey& k) const {
            return mixBits(static_cast<std::uint64_t>(k.time) * 0x9E3779B97F4A7C15ull ^
                           (static_cast<std::uint64_t>(static_cast<std::uint32_t>(k.seq)) << 8 | k.service));
        }
    };

    static EntryKey keyOf(const CHeadlineTable& e) { return EntryKey{e.m_byService, e.m_iSeqNo, e.m_tTime}; }
    struct DayKey {
        unsigned char service = 0;
        int day = 0;
        std::int32_t seq = 0;
        bool operator==(const DayKey&) const = default;
    };
    struct DayHash {
        std::size_t operator()(const DayKey& k) const {
            return mixBits((static_cast<std::uint64_t>(static_cast<std::uint32_t>(k.day)) << 32 |
                            static_cast<std::uint32_t>(k.seq)) ^
                           (static_cast<std::uint64_t>(k.service) << 56));
        }
    };
    static std::uint64_t tableKey(unsigned char service, std::int64_t value) {
        return (static_cast<std::uint64_t>(service) << 32) | static_cast<std::uint32_t>(value);
    }
    static std::string symbolKey(unsigned char service, const CString& code) {
        return static_cast<char>(service) + code;
    }
    using Table = std::deque<CHeadlineTable>;
    static void eraseEntry(Table& table, const CHeadlineTable& entry);
    void removeItem(std::uint32_t slot, bool keepStory, std::optional<Story>* story);
    const Item* find(const CHeadlineTable& entry) const;

    ChunkedVector<Item> m_items;
    std::vector<std::uint32_t> m_free;
    FlatIndex<EntryKey, EntryHash> m_byEntry;
    FlatIndex<DayKey, DayHash> m_byDaySeq;
    std::unordered_map<std::uint64_t, Table> m_dateTables;
    std::unordered_map<std::uint64_t, Table> m_categoryTables;
    std::unordered_map<std::string, Table> m_symbolTables;
    std::map<std::pair<unsigned char, int>, std::vector<CHeadlineTable>> m_searchResults;
    std::unordered_map<DayKey, Story, DayHash> m_waitingStories; // stories whose headline has not come
    std::map<unsigned char, int> m_currentDays;
    std::size_t m_tableDepth = kDefaultTableDepth;
};

} // namespace embedded
