// Cost of the headline list operations a view runs per push and per refresh, against the
// plain vector form, and the memory an entry takes.
//
//   headline_list_bench                       all benchmarks, then the ratio table
//   headline_list_bench --benchmark_filter=Push
//
// Lists are pre-filled like a trader's long list: four services, 20,000 headlines a day,
// newest first, so 1M entries span 50 days and every sequence number recurs on each day.

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <new>
#include <random>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "headline_list/headline_table_list.h"
#include "tests/support/literal_headline_list.h"

// ---- live heap bytes, counted by replacing the global allocation functions ---------------
namespace {
std::atomic<std::size_t> g_liveBytes{0};
constexpr std::size_t kHeader = 16; // keeps the returned pointer 16-byte aligned

void* countedAlloc(std::size_t size) {
    void* base = std::malloc(size + kHeader);
    if (base == nullptr) {
        return nullptr;
    }
    *static_cast<std::size_t*>(base) = size;
    g_liveBytes.fetch_add(size, std::memory_order_relaxed);
    return static_cast<char*>(base) + kHeader;
}
void countedFree(void* p) noexcept {
    if (p == nullptr) {
        return;
    }
    void* base = static_cast<char*>(p) - kHeader;
    g_liveBytes.fetch_sub(*static_cast<std::size_t*>(base), std::memory_order_relaxed);
    std::free(base);
}
void* countedAllocOrThrow(std::size_t size) {
    if (void* p = countedAlloc(size)) {
        return p;
    }
    throw std::bad_alloc();
}
} // namespace

void* operator new(std::size_t size) {
    return countedAllocOrThrow(size);
}
void* operator new[](std::size_t size) {
    return countedAllocOrThrow(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return countedAlloc(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return countedAlloc(size);
}
void operator delete(void* p) noexcept {
    countedFree(p);
}
void operator delete[](void* p) noexcept {
    countedFree(p);
}
void operator delete(void* p, std::size_t) noexcept {
    countedFree(p);
}
void operator delete[](void* p, std::size_t) noexcept {
    countedFree(p);
}
void operator delete(void* p, const std::nothrow_t&) noexcept {
    countedFree(p);
}
void operator delete[](void* p, const std::nothrow_t&) noexcept {
    countedFree(p);
}

namespace {

constexpr std::int64_t kToday = 1710000000; // 2024-03-10 00:00:00 in Asia/Taipei
constexpr std::int64_t kDay = 86400;
constexpr int kPerDay = 20000;
constexpr std::array<unsigned char, 4> kServices{1, 2, 3, 4};
constexpr int kListsPerPush = 4; // a view feeds its lists 0, 1, 2 and 4 from one push

// Entries of `count` headlines ending today, newest first.
std::vector<CHeadlineTable> prefill(std::size_t count) {
    std::vector<CHeadlineTable> entries;
    entries.reserve(count);
    const auto days = static_cast<std::int64_t>((count + kPerDay - 1) / kPerDay);
    for (std::size_t i = 0; i < count; ++i) {
        const auto oldest = static_cast<std::int64_t>(i);
        const std::int64_t day = kToday - (days - 1 - oldest / kPerDay) * kDay;
        const std::int64_t within = oldest % kPerDay;
        entries.push_back(CHeadlineTable{kServices[static_cast<std::size_t>(within % 4)], day + within * 4,
                                         static_cast<std::int32_t>(1 + within / 4), oldest, 0});
    }
    std::reverse(entries.begin(), entries.end());
    return entries;
}

// Pushes after the prefill: 95% newest headlines (often several in one second), 4% re-sent
// recent ones, 1% older headlines arriving late with numbers never used.
class PushFeed {
public:
    explicit PushFeed(std::size_t prefilled) {
        m_now = kToday + static_cast<std::int64_t>((prefilled - 1) % kPerDay) * 4 + 1;
        m_nextSeq.fill(static_cast<std::int32_t>(1 + ((prefilled - 1) % kPerDay) / 4 + 1));
        m_daysBack = static_cast<unsigned>((prefilled + kPerDay - 1) / kPerDay);
    }
    CHeadline next() {
        CHeadline h;
        const unsigned kind = static_cast<unsigned>(m_rng() % 100);
        if (kind < 4 && !m_recent.empty()) {
            const CHeadlineTable& e = m_recent[m_rng() % m_recent.size()];
            h.m_byService = e.m_byService;
            h.m_tTime = e.m_tTime;
            h.m_iSeqNo = e.m_iSeqNo;
        } else if (kind < 5) {
            const std::size_t s = m_rng() % kServices.size();
            h.m_byService = kServices[s];
            h.m_tTime = m_now - static_cast<std::int64_t>(m_rng() % (m_daysBack * static_cast<std::uint64_t>(kDay)));
            h.m_iSeqNo = kPerDay / 4 + 1 + m_late++ % 2000; // above any day's own numbers
        } else {
            const std::size_t s = m_rng() % kServices.size();
            m_now += static_cast<std::int64_t>(m_rng() % 2);
            h.m_byService = kServices[s];
            h.m_tTime = m_now;
            h.m_iSeqNo = m_nextSeq[s]++;
            remember(CHeadlineTable{h.m_byService, h.m_tTime, h.m_iSeqNo, 0, 0});
        }
        h.m_strTitle = "headline";
        return h;
    }

private:
    void remember(const CHeadlineTable& e) {
        if (m_recent.size() < 5000) {
            m_recent.push_back(e);
        } else {
            m_recent[m_recentNext++ % m_recent.size()] = e;
        }
    }
    std::mt19937_64 m_rng{42};
    std::int64_t m_now = 0;
    std::array<std::int32_t, 4> m_nextSeq{};
    unsigned m_daysBack = 1;
    std::int32_t m_late = 0;
    std::vector<CHeadlineTable> m_recent;
    std::size_t m_recentNext = 0;
};

template <class List> void pushBenchmark(benchmark::State& state) {
    const auto size = static_cast<std::size_t>(state.range(0));
    const std::vector<CHeadlineTable> entries = prefill(size);
    std::vector<List> lists(kListsPerPush);
    for (List& list : lists) {
        list.assign(entries);
    }
    PushFeed feed(size);
    std::size_t changes = 0;
    for (auto _ : state) {
        const CHeadline h = feed.next();
        for (List& list : lists) {
            const auto result = list.processPush(h);
            changes += result.insertedRow + result.removedRow;
        }
    }
    benchmark::DoNotOptimize(changes);
    state.counters["per_push_per_list"] =
        benchmark::Counter(kListsPerPush, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void BM_PushHeadlineTableList(benchmark::State& state) {
    pushBenchmark<HeadlineTableList>(state);
}
void BM_PushLiteralReference(benchmark::State& state) {
    pushBenchmark<LiteralHeadlineList>(state);
}

BENCHMARK(BM_PushHeadlineTableList)
    ->Arg(10'000)
    ->Arg(100'000)
    ->Arg(1'000'000)
    ->Iterations(200'000)
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_PushLiteralReference)->Arg(10'000)->Iterations(20'000)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_PushLiteralReference)->Arg(100'000)->Iterations(1'000)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_PushLiteralReference)->Arg(1'000'000)->Iterations(20)->Unit(benchmark::kMicrosecond);

// One grid refresh at 1M entries: the 31 visible rows from a random first row, then each
// row's key looked up again (as the view does to find a row's headline after changes).
void BM_VisibleRowRefresh1M(benchmark::State& state) {
    static const HeadlineTableList* const list = [] {
        auto* l = new HeadlineTableList;
        l->assign(prefill(1'000'000));
        PushFeed feed(1'000'000);
        for (int i = 0; i < 100'000; ++i) { // churn: re-sends and late headlines mixed in
            l->processPush(feed.next());
        }
        return l;
    }();
    std::mt19937_64 rng(7);
    std::vector<CHeadlineTable> rows;
    std::size_t found = 0;
    for (auto _ : state) {
        list->copyRange(rng() % (list->size() - 31), 31, rows);
        for (const CHeadlineTable& e : rows) {
            found += list->findFirstByKey(e.m_byService, e.m_tTime, e.m_iSeqNo).value_or(0);
        }
    }
    benchmark::DoNotOptimize(found);
}
BENCHMARK(BM_VisibleRowRefresh1M)->Unit(benchmark::kMicrosecond);

// Heap bytes per entry of a 1M-entry list, filled by assign and by pushes.
void BM_BytesPerEntry1M(benchmark::State& state) {
    const bool byPushes = state.range(0) == 1;
    const std::vector<CHeadlineTable> entries = byPushes ? std::vector<CHeadlineTable>{} : prefill(1'000'000);
    for (auto _ : state) {
        const std::size_t before = g_liveBytes.load();
        HeadlineTableList list;
        if (byPushes) {
            PushFeed feed(1);
            while (list.size() < 1'000'000) {
                list.processPush(feed.next());
            }
        } else {
            list.assign(entries);
        }
        const std::size_t bytes = g_liveBytes.load() - before;
        state.counters["bytes_per_entry"] = static_cast<double>(bytes) / static_cast<double>(list.size());
        state.counters["reported_per_entry"] = static_cast<double>(list.bytesUsed()) / static_cast<double>(list.size());
    }
}
BENCHMARK(BM_BytesPerEntry1M)->Arg(0)->Arg(1)->ArgNames({"by_pushes"})->Iterations(1)->Unit(benchmark::kMillisecond);

// Keeps what the console shows and remembers the push times for the ratio table.
class RatioReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            const std::string name = run.benchmark_name();
            const auto slash = name.find('/');
            const auto it = run.counters.find("per_push_per_list");
            if (slash == std::string::npos || it == run.counters.end()) {
                continue;
            }
            const long size = std::stol(name.substr(slash + 1));
            auto& row = m_pushSeconds[size];
            (name.rfind("BM_PushLiteralReference", 0) == 0 ? row.second : row.first) = it->second.value;
        }
        ConsoleReporter::ReportRuns(runs);
    }
    void printRatios() const {
        std::printf("\n%10s %22s %22s %10s\n", "entries", "list us/push/list", "reference us/push/list", "ratio");
        for (const auto& [size, row] : m_pushSeconds) {
            std::printf("%10ld %22.3f %22.3f %9.0fx\n", size, row.first * 1e6, row.second * 1e6,
                        row.first > 0 ? row.second / row.first : 0.0);
        }
    }

private:
    std::map<long, std::pair<double, double>> m_pushSeconds; // size -> (list, reference) seconds
};

} // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    reporter.printRatios();
    benchmark::Shutdown();
    return 0;
}
