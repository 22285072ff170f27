// Look-ups the UI thread makes, at 100k and 1M cached headlines, and the start-up load.
#include <map>
#include <memory>

#include <benchmark/benchmark.h>

#include "bench_data.h"
#include "embedded_backend/day_math.h"
#include "embedded_backend/news_cache.h"
#include "embedded_backend/news_store.h"

namespace embedded::bench {
namespace {

struct CachedNews {
    NewsCache cache;
    int lastDay = 0;
    std::vector<CHeadlineTable> lastDayTable; // service 16
};

const CachedNews& cached(std::size_t count) {
    static std::map<std::size_t, std::unique_ptr<CachedNews>> built;
    auto& slot = built[count];
    if (!slot) {
        slot = std::make_unique<CachedNews>();
        const GeneratedNews news = generateNews(count);
        slot->cache.load(news.headlines, news.stories, news.currentDays);
        slot->lastDay = news.currentDays.at(16);
        // The day before the last is a whole day.
        slot->cache.dateTable(16, addDays(slot->lastDay, -1), slot->lastDayTable);
    }
    return *slot;
}

void BM_TableByDate(benchmark::State& state) {
    const CachedNews& news = cached(static_cast<std::size_t>(state.range(0)));
    const int day = addDays(news.lastDay, -1);
    std::vector<CHeadlineTable> table;
    for (auto _ : state) {
        table.clear();
        benchmark::DoNotOptimize(news.cache.dateTable(16, day, table));
    }
    state.counters["entries"] = static_cast<double>(table.size());
}
BENCHMARK(BM_TableByDate)->Arg(100'000)->Arg(1'000'000)->Unit(benchmark::kMicrosecond);

void BM_TableByCategory(benchmark::State& state) {
    const CachedNews& news = cached(static_cast<std::size_t>(state.range(0)));
    std::vector<CHeadlineTable> table;
    for (auto _ : state) {
        table.clear();
        benchmark::DoNotOptimize(news.cache.categoryTable(16, 3, table));
    }
    state.counters["entries"] = static_cast<double>(table.size());
}
BENCHMARK(BM_TableByCategory)->Arg(100'000)->Arg(1'000'000)->Unit(benchmark::kMicrosecond);

void BM_TableBySymbol(benchmark::State& state) {
    const CachedNews& news = cached(static_cast<std::size_t>(state.range(0)));
    std::vector<CHeadlineTable> table;
    for (auto _ : state) {
        table.clear();
        benchmark::DoNotOptimize(news.cache.symbolTable(16, "2330", table));
    }
    state.counters["entries"] = static_cast<double>(table.size());
}
BENCHMARK(BM_TableBySymbol)->Arg(100'000)->Arg(1'000'000)->Unit(benchmark::kMicrosecond);

void BM_HeadlinesFor31Entries(benchmark::State& state) {
    const CachedNews& news = cached(static_cast<std::size_t>(state.range(0)));
    // One screen of rows from the middle of a day's table.
    const std::size_t middle = news.lastDayTable.size() / 2;
    const std::vector<CHeadlineTable> screen(news.lastDayTable.begin() + static_cast<std::ptrdiff_t>(middle),
                                             news.lastDayTable.begin() + static_cast<std::ptrdiff_t>(middle + 31));
    std::vector<CHeadline> headlines;
    headlines.reserve(31);
    for (auto _ : state) {
        headlines.clear();
        benchmark::DoNotOptimize(news.cache.headlines(16, screen, headlines));
    }
    state.counters["found"] = static_cast<double>(headlines.size());
}
BENCHMARK(BM_HeadlinesFor31Entries)->Arg(100'000)->Arg(1'000'000)->Unit(benchmark::kMicrosecond);

void BM_Story(benchmark::State& state) {
    const CachedNews& news = cached(static_cast<std::size_t>(state.range(0)));
    std::vector<CHeadlineTable> today;
    news.cache.dateTable(16, news.lastDay, today);
    std::vector<CHeadlineTable> withStory;
    CStory story;
    for (const CHeadlineTable& e : today) {
        if (news.cache.story(e, story)) {
            withStory.push_back(e);
        }
    }
    std::size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(news.cache.story(withStory[i++ % withStory.size()], story));
    }
    state.counters["bytes"] = static_cast<double>(story.m_strText.size());
}
BENCHMARK(BM_Story)->Arg(100'000)->Arg(1'000'000)->Unit(benchmark::kMicrosecond);

// A start: the store opened and 30 of its 100 days (300k headlines, the last day's stories)
// read into a new cache. The file is in the operating system's cache after the first run.
void BM_ColdLoad30Days(benchmark::State& state) {
    const std::string& path = millionHeadlineStore();
    int lastDay = kFirstDay;
    {
        NewsStore probe;
        LoadedNews days;
        if (!probe.open(path, OpenMode::KeepExisting, 0).ok() || !probe.load(1, kFirstDay, days)) {
            state.SkipWithError("cannot open the store");
            return;
        }
        for (const auto& [service, day] : days.currentDays) {
            lastDay = std::max(lastDay, day);
        }
    }
    std::size_t loaded = 0;
    for (auto _ : state) {
        auto store = std::make_unique<NewsStore>();
        auto cache = std::make_unique<NewsCache>();
        if (!store->open(path, OpenMode::KeepExisting, 0).ok()) {
            state.SkipWithError("cannot open the store");
            return;
        }
        LoadedNews news;
        if (!store->load(30, lastDay, news)) {
            state.SkipWithError(store->lastError().c_str());
            return;
        }
        cache->load(std::move(news.headlines), news.stories, news.currentDays);
        loaded = cache->size();
        state.PauseTiming(); // tearing the cache down is no part of a start
        cache.reset();
        store.reset();
        state.ResumeTiming();
    }
    state.counters["headlines"] = static_cast<double>(loaded);
}
BENCHMARK(BM_ColdLoad30Days)->Unit(benchmark::kMillisecond)->Iterations(3);

} // namespace
} // namespace embedded::bench
