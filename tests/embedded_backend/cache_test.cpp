// The cache's own bookkeeping: its hash index, re-sent headlines and dropped days.
#include <random>
#include <unordered_map>

#include <gtest/gtest.h>

#include "backend_fixture.h"
#include "embedded_backend/chunked_vector.h"
#include "embedded_backend/flat_index.h"
#include "embedded_backend/news_cache.h"

namespace embedded::test {
namespace {

struct WeakHash {
    // Few buckets on purpose: long probe runs that wrap around the end of the array, all in
    // the first table.
    std::size_t operator()(int key) const { return static_cast<std::size_t>(key % 7); }
};

struct SpreadHash {
    // Keys spread over every table, each of which grows and rehashes on its own.
    std::size_t operator()(int key) const { return mixBits(static_cast<std::uint64_t>(key)); }
};

template <class Hash> void agreesWithAStandardMap(int keys, int steps) {
    FlatIndex<int, Hash> index;
    std::unordered_map<int, std::uint32_t> expected;
    std::mt19937 random(42);
    for (int step = 0; step < steps; ++step) {
        const int key = static_cast<int>(random() % static_cast<unsigned>(keys));
        if (random() % 3 == 0) {
            EXPECT_EQ(index.erase(key), expected.erase(key) == 1) << "step " << step;
        } else {
            index.set(key, static_cast<std::uint32_t>(step));
            expected[key] = static_cast<std::uint32_t>(step);
        }
        if (step % (steps / 200) == 0) {
            ASSERT_EQ(index.size(), expected.size());
            for (int k = 0; k < keys; ++k) {
                const std::uint32_t* found = index.find(k);
                const auto it = expected.find(k);
                ASSERT_EQ(found != nullptr, it != expected.end()) << "key " << k << " at step " << step;
                if (found != nullptr) {
                    ASSERT_EQ(*found, it->second);
                }
            }
        }
    }
}

TEST(FlatIndex, AgreesWithAStandardMapThroughInsertsOverwritesAndErases) {
    agreesWithAStandardMap<WeakHash>(300, 20000);
    agreesWithAStandardMap<SpreadHash>(30000, 100000);
}

TEST(ChunkedVector, KeepsEveryElementInPlaceAsItGrowsAndDestroysEachOnce) {
    static int alive = 0;
    struct Counted {
        Counted() { ++alive; }
        ~Counted() { --alive; }
        Counted(const Counted&) = delete;
        Counted& operator=(const Counted&) = delete;
        int value = 0;
    };
    {
        ChunkedVector<Counted, 3> v; // chunks of 8
        v.reserve(5);
        EXPECT_EQ(alive, 0) << "reserving constructs nothing";
        std::vector<const Counted*> addresses;
        for (int i = 0; i < 30; ++i) {
            Counted& c = v.emplace_back();
            c.value = i;
            addresses.push_back(&c);
        }
        EXPECT_EQ(alive, 30);
        ASSERT_EQ(v.size(), 30u);
        for (std::size_t i = 0; i < v.size(); ++i) {
            EXPECT_EQ(&v[i], addresses[i]) << i;
            EXPECT_EQ(v[i].value, static_cast<int>(i));
        }
        ChunkedVector<Counted, 3> other;
        other.emplace_back();
        other = std::move(v);
        EXPECT_EQ(alive, 30) << "what `other` held went";
        EXPECT_EQ(&other[29], addresses[29]);
        EXPECT_TRUE(v.empty()); // NOLINT(bugprone-use-after-move): a moved-from vector is empty
    }
    EXPECT_EQ(alive, 0);
}

HeadlineRecord record(unsigned char service, int day, std::int32_t seq, std::int64_t time, std::int32_t category,
                      std::vector<CString> symbols) {
    HeadlineRecord h;
    h.service = service;
    h.day = day;
    h.seq = seq;
    h.time = time;
    h.category = category;
    h.title = "t" + std::to_string(seq);
    for (CString& code : symbols) {
        h.symbols.push_back(CSymbolInfo{service, std::move(code), {}});
    }
    h.sortKey = makeSortKey(time, seq, service);
    return h;
}

TEST(NewsCache, ResendsAndDroppedDaysLeaveNoStaleEntries) {
    constexpr int kDay = 20240305;
    NewsCache cache;
    cache.putHeadline(record(16, kDay, 1, 100, 1, {"2330", "2330", "2317"})); // a code listed twice counts once
    cache.putHeadline(record(16, kDay, 2, 200, 1, {"2330"}));
    cache.putHeadline(record(16, addDays(kDay, 1), 1, 90000, 2, {"2330"})); // same number, next day: another headline
    cache.putStory(StoryRecord{16, kDay, 1, 150, "s", false});
    std::vector<CHeadlineTable> t;
    EXPECT_EQ(cache.symbolTable(16, "2330", t), 3);
    t.clear();

    const NewsCache::PutResult put = cache.putHeadline(record(16, kDay, 1, 300, 3, {"2454"}));
    EXPECT_TRUE(put.replaced);
    EXPECT_EQ(put.previousEntry, (CHeadlineTable{16, 100, 1, 0, 0}));
    EXPECT_EQ(put.previousCategory, 1);
    EXPECT_EQ(put.previousSymbols, (std::vector<CString>{"2330", "2330", "2317"}));
    EXPECT_EQ(cache.symbolTable(16, "2317", t), 0);
    EXPECT_EQ(cache.symbolTable(16, "2330", t), 2);
    EXPECT_EQ(cache.categoryTable(16, 1, t), 1);
    EXPECT_TRUE(cache.hasStory(CHeadlineTable{16, 300, 1, 0, 0})) << "the story moved to the new version";
    EXPECT_FALSE(cache.holds(CHeadlineTable{16, 100, 1, 0, 0}));
    EXPECT_EQ(cache.size(), 3u);

    cache.putStory(StoryRecord{16, kDay, 9, 400, "early", false}); // its headline never comes
    cache.setSearchResults(16, 3, {CHeadlineTable{16, 200, 2, 0, 0}, CHeadlineTable{16, 90000, 1, 0, 0}});
    cache.dropBefore(16, addDays(kDay, 1));
    EXPECT_EQ(cache.size(), 1u);
    t.clear();
    EXPECT_EQ(cache.searchResults(16, 3, t), 1) << "search results lose the dropped day too";
    EXPECT_EQ(t[0].m_tTime, 90000);
    t.clear();
    EXPECT_EQ(cache.symbolTable(16, "2330", t), 1);
    EXPECT_EQ(cache.categoryTable(16, 3, t), 0);
    // Slots are reused: a new headline after the drop is found like any other.
    cache.putHeadline(record(16, addDays(kDay, 1), 2, 90001, 2, {}));
    EXPECT_EQ(cache.size(), 2u);
    EXPECT_NE(cache.headline(CHeadlineTable{16, 90001, 2, 0, 0}), nullptr);
    EXPECT_NE(cache.headline(CHeadlineTable{16, 90000, 1, 0, 0}), nullptr);
}

// Category and symbol tables span every kept day; a look-up hands out the newest entries up to
// the table depth, and a re-sent or dropped entry brings an older one back into view.
TEST(NewsCache, CategoryAndSymbolTablesGiveTheNewestEntriesUpToTheDepth) {
    constexpr int kDay = 20240305;
    NewsCache cache;
    cache.setTableDepth(3);
    for (int seq = 1; seq <= 5; ++seq) {
        cache.putHeadline(record(16, seq <= 2 ? kDay : addDays(kDay, 1), seq, 1000 * seq, 7, {"2330"}));
    }
    const auto times = [](const std::vector<CHeadlineTable>& table) {
        std::vector<std::int64_t> out;
        for (const CHeadlineTable& e : table) {
            out.push_back(e.m_tTime);
        }
        return out;
    };
    std::vector<CHeadlineTable> t{CHeadlineTable{22, 1, 1, 0, 0}};
    EXPECT_EQ(cache.categoryTable(16, 7, t), 3);
    EXPECT_EQ(times(t), (std::vector<std::int64_t>{1, 3000, 4000, 5000})) << "appended after what was there";
    t.clear();
    EXPECT_EQ(cache.symbolTable(16, "2330", t), 3);
    EXPECT_EQ(times(t), (std::vector<std::int64_t>{3000, 4000, 5000}));
    t.clear();
    EXPECT_EQ(cache.dateTable(16, addDays(kDay, 1), t), 3) << "a day's table is not cut";

    // The headline at 5000 is re-sent under another category: 2000 comes back into view.
    cache.putHeadline(record(16, addDays(kDay, 1), 5, 6000, 8, {"2330"}));
    t.clear();
    cache.categoryTable(16, 7, t);
    EXPECT_EQ(times(t), (std::vector<std::int64_t>{2000, 3000, 4000}));
    t.clear();
    cache.symbolTable(16, "2330", t);
    EXPECT_EQ(times(t), (std::vector<std::int64_t>{3000, 4000, 6000}));

    // Dropping the first day leaves fewer entries than the depth.
    cache.dropBefore(16, addDays(kDay, 1));
    t.clear();
    EXPECT_EQ(cache.categoryTable(16, 7, t), 2);
    EXPECT_EQ(times(t), (std::vector<std::int64_t>{3000, 4000}));

    cache.setTableDepth(0);
    t.clear();
    EXPECT_EQ(cache.categoryTable(16, 7, t), 0);
    EXPECT_TRUE(t.empty());
}

} // namespace
} // namespace embedded::test
