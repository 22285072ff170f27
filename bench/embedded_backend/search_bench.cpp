// Keyword search at one million stored headlines: p50 and p95 over a mix of keywords and services.
#include <algorithm>
#include <chrono>
#include <ctime>

#include <benchmark/benchmark.h>

#include "bench_data.h"
#include "embedded_backend/news_store.h"
#include "host/text/cp950.h"

namespace embedded::bench {
namespace {

NewsStore& store() {
    static NewsStore s;
    if (!s.isOpen()) {
        const StoreOpenResult r = s.open(millionHeadlineStore(), OpenMode::KeepExisting, 0);
        if (!r.ok()) {
            std::abort();
        }
    }
    return s;
}

double threadCpuMs() {
    timespec t{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return static_cast<double>(t.tv_sec) * 1e3 + static_cast<double>(t.tv_nsec) / 1e6;
}

// Wall-clock percentiles, and the same for the thread's CPU time (what a search costs on a
// machine not shared with other work).
void runSearches(benchmark::State& state, const std::vector<Keywords>& pool, unsigned char scope, bool matchAll) {
    static const unsigned char kServices[] = {16, 122, 22, 52};
    NewsStore& s = store();
    std::vector<double> millis;
    std::vector<double> cpuMillis;
    std::vector<CHeadlineTable> out;
    std::size_t results = 0;
    std::size_t n = 0;
    for (auto _ : state) {
        SearchRequest r;
        r.service = kServices[n % 4];
        for (const char* k : pool[(n / 4) % pool.size()]) {
            r.keywords.push_back(cp950::fromUtf8(k));
        }
        r.scope = scope;
        r.matchAll = matchAll;
        r.limit = 1000; // the back end's default
        const double cpuBegin = threadCpuMs();
        const auto begin = std::chrono::steady_clock::now();
        s.search(r, out);
        millis.push_back(std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - begin).count());
        cpuMillis.push_back(threadCpuMs() - cpuBegin);
        results += out.size();
        ++n;
    }
    state.counters["p50_ms"] = percentile(millis, 50);
    state.counters["p95_ms"] = percentile(millis, 95);
    state.counters["cpu_p95_ms"] = percentile(cpuMillis, 95);
    state.counters["results"] = static_cast<double>(results) / static_cast<double>(n);
}

constexpr int kQueries = 256; // every keyword of a pool on every service, several times

void BM_Search1Char(benchmark::State& state) {
    runSearches(state, kOneChar, static_cast<unsigned char>(state.range(0)), true);
}
void BM_Search2Chars(benchmark::State& state) {
    runSearches(state, kTwoChars, static_cast<unsigned char>(state.range(0)), true);
}
void BM_Search3Chars(benchmark::State& state) {
    runSearches(state, kThreeChars, static_cast<unsigned char>(state.range(0)), true);
}
void BM_Search6Chars(benchmark::State& state) {
    runSearches(state, kSixChars, static_cast<unsigned char>(state.range(0)), true);
}
void BM_SearchAnd(benchmark::State& state) {
    runSearches(state, kPairs, static_cast<unsigned char>(state.range(0)), true);
}
void BM_SearchOr(benchmark::State& state) {
    runSearches(state, kPairs, static_cast<unsigned char>(state.range(0)), false);
}

// Argument: scope (0 headlines, 1 stories, 2 both).
BENCHMARK(BM_Search1Char)->Arg(0)->Arg(1)->Iterations(kQueries)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Search2Chars)->Arg(0)->Arg(1)->Iterations(kQueries)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Search3Chars)->Arg(0)->Arg(1)->Iterations(kQueries)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Search6Chars)->Arg(0)->Arg(1)->Iterations(kQueries)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SearchAnd)->Arg(0)->Arg(1)->Arg(2)->Iterations(kQueries)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SearchOr)->Arg(0)->Arg(1)->Arg(2)->Iterations(kQueries)->Unit(benchmark::kMillisecond);

} // namespace
} // namespace embedded::bench

BENCHMARK_MAIN();
