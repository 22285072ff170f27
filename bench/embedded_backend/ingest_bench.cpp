// Intake: feed events through ingest into the cache (UI queue drained here) and the store
// (FTS indexing on the worker), until both are done.
#include <algorithm>
#include <chrono>
#include <deque>
#include <filesystem>
#include <functional>
#include <mutex>

#include <benchmark/benchmark.h>

#include "bench_data.h"
#include "embedded_backend/embedded_backend.h"
#include "embedded_backend/news_cache.h"
#include "host/backend/subscriptions.h"
#include "host/backend/ui_dispatcher.h"

namespace embedded::bench {
namespace {

class Queue final : public UiDispatcher {
public:
    void post(std::function<void()> work) override {
        std::lock_guard lock(m_mutex);
        m_work.push_back(std::move(work));
    }
    void run() {
        while (true) {
            std::function<void()> work;
            {
                std::lock_guard lock(m_mutex);
                if (m_work.empty()) {
                    return;
                }
                work = std::move(m_work.front());
                m_work.pop_front();
            }
            work();
        }
    }

private:
    std::mutex m_mutex;
    std::deque<std::function<void()>> m_work;
};

constexpr std::size_t kEvents = 50'000;

void BM_IngestToCacheAndStore(benchmark::State& state) {
    static const std::vector<FeedEvent> events = generateEvents(kEvents);
    int run = 0;
    for (auto _ : state) {
        state.PauseTiming();
        const std::filesystem::path folder = benchFolder() / ("ingest-" + std::to_string(run++));
        Queue queue;
        NewsSubscriptions subscriptions;
        EmbeddedBackendOptions options;
        options.dataFolder = folder.string();
        options.dispatcher = &queue;
        options.subscriptions = &subscriptions;
        auto backend = std::make_unique<EmbeddedBackend>(options);
        backend->open();
        queue.run();
        state.ResumeTiming();
        const std::size_t chunk = static_cast<std::size_t>(state.range(0));
        for (std::size_t i = 0; i < events.size(); i += chunk) {
            backend->ingest(std::vector<FeedEvent>(
                events.begin() + static_cast<std::ptrdiff_t>(i),
                events.begin() + static_cast<std::ptrdiff_t>(std::min(i + chunk, events.size()))));
            queue.run();
        }
        backend->flushStore();
        state.PauseTiming();
        backend->shutdown();
        backend.reset();
        std::filesystem::remove_all(folder);
        state.ResumeTiming();
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * kEvents));
}
// Argument: events per ingest call (a feed's batch).
BENCHMARK(BM_IngestToCacheAndStore)->Arg(1)->Arg(256)->Iterations(2)->UseRealTime()->Unit(benchmark::kMillisecond);

void BM_CacheApplyOnTheUiThread(benchmark::State& state) {
    static const GeneratedNews news = generateNews(100'000, 5);
    for (auto _ : state) {
        NewsCache cache;
        for (const HeadlineRecord& h : news.headlines) {
            cache.putHeadline(h);
        }
        benchmark::DoNotOptimize(cache.size());
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * news.headlines.size()));
}
BENCHMARK(BM_CacheApplyOnTheUiThread)->Iterations(3)->Unit(benchmark::kMillisecond);

// The longest single put while the cache grows to the argument's headlines: growth of its
// storage and indexes must not stall the UI thread now and then in proportion to the size.
void BM_CacheLongestPutAsItGrows(benchmark::State& state) {
    const GeneratedNews news = generateNews(static_cast<std::size_t>(state.range(0)), 9);
    double longest = 0;
    std::vector<double> micros;
    micros.reserve(news.headlines.size());
    for (auto _ : state) {
        NewsCache cache;
        micros.clear();
        for (const HeadlineRecord& h : news.headlines) {
            const auto start = std::chrono::steady_clock::now();
            cache.putHeadline(h);
            micros.push_back(
                std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start).count());
        }
        benchmark::DoNotOptimize(cache.size());
        longest = std::max(longest, *std::max_element(micros.begin(), micros.end()));
    }
    state.counters["longest_put_us"] = longest;
    std::sort(micros.begin(), micros.end());
    state.counters["p999_put_us"] = micros[micros.size() * 999 / 1000];
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * news.headlines.size()));
}
BENCHMARK(BM_CacheLongestPutAsItGrows)->Arg(100'000)->Arg(1'000'000)->Iterations(1)->Unit(benchmark::kMillisecond);

} // namespace

} // namespace embedded::bench
