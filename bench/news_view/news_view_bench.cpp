// Cost of pushed headlines and of the deferred grid refresh in the real news view, created on
// the headless host with the scripted back end, against the plain vector lists.
//
//   news_view_bench                              all benchmarks, then the summary table
//   news_view_bench --benchmark_filter=1000000   the 1M-entry runs only
//
// Setup per size: services 16 and 22 (and the warrant service, not pushed), every list shown
// once so that it takes pushes: list 0 (all news of the day), list 1 (category 1 selected),
// list 2 (symbol 2330 selected) and list 4 (a relation condition every title matches). All
// four lists start with the same `size` headlines of 2024-01-02 (Taipei), so every push
// reaches all four. Pushes: 95% newest, 4% re-sent (same service, number and day, new time),
// 1% older headlines arriving late with numbers not used before.
//
// Reported per size: time per push (all four lists) and per push per list, the p50, p99 and
// slowest single push, the same pushes through four plain vector lists (the reference) and
// the ratio; at 1M also the deferred refresh of the visible rows, after a push at the top
// (rows already written: look-ups and compares) and after scrolling to an unwritten page.
//
// The back end is a test double. Its headline look-up is a std::map (logarithmic, like a real
// cache), so the refresh measures the view. It also logs every call as a text line; the log
// is emptied outside the timed region, but building the lines is part of the figures
// (backend_calls_per_push says how many lines a push costs).

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include <benchmark/benchmark.h>

#include "adapters/headless/headless_host.h"
#include "adapters/headless/headless_sheet.h"
#include "adapters/headless/scripted_backend.h"
#include "host/backend/subscriptions.h"
#include "host/framework/cfg_io.h"
#include "host/framework/sync_info.h"
#include "host/text/format.h"
#include "news_view/news_ctrl_view.h"
#include "news_view/news_module.h"
#include "tests/support/literal_headline_list.h"

namespace {

constexpr std::int64_t kDayStart = 1704124800; // 2024-01-02 00:00:00 in Asia/Taipei
constexpr std::int64_t kFillSpan = 16 * 3600;  // the prefill covers 00:00 to 16:00
constexpr const char* kDay = "20240102";
constexpr std::array<unsigned char, 2> kServices{news::kServiceStock, news::kServiceHongKong};
constexpr std::array<int, 4> kLists{news::kModeAllNews, news::kModeCategory, news::kModeSymbol, news::kModeRelation};
constexpr int kCategory = 1;
constexpr const char* kCategoryText = "1";
constexpr const char* kSymbol = "2330";
constexpr std::int32_t kLateSeqBase = 10'000'000; // numbers of late headlines: above any prefill number

class MemoryCfg final : public TRVCfgIO2 {
public:
    bool GetViewInfo(const CString& section, int layout1, int layout2, const CString& viewKey, const CString& key,
                     CString& value) const override {
        const auto it = m_values.find({section, layout1, layout2, viewKey, key});
        if (it == m_values.end()) {
            return false;
        }
        value = it->second;
        return true;
    }
    void SetViewInfo(const CString& section, int layout1, int layout2, const CString& viewKey, const CString& key,
                     const CString& value) override {
        m_values[{section, layout1, layout2, viewKey, key}] = value;
    }

private:
    std::map<std::tuple<CString, int, int, CString, CString>, CString> m_values;
};

CString titleOf(unsigned char service, std::int32_t seqNo, const char* what) {
    return text::format("NEWS %u#%07d %s", static_cast<unsigned>(service), seqNo, what);
}

// The pushes of one run, generated up front so the timed loop only delivers them.
class PushFeed {
public:
    PushFeed(const std::vector<CHeadline>& prefill, std::int32_t nextSeq) {
        m_nextSeq.fill(nextSeq);
        const std::size_t keep = std::min<std::size_t>(prefill.size(), 5000);
        for (std::size_t i = prefill.size() - keep; i < prefill.size(); ++i) {
            remember(prefill[i]);
        }
    }
    // One push; adds is false for a re-sent headline (it replaces its old row).
    CHeadline next(bool& adds) {
        CHeadline h;
        h.m_iCategory = kCategory;
        const auto kind = static_cast<unsigned>(m_rng() % 100);
        adds = true;
        if (kind < 4 && !m_recent.empty()) {
            const CHeadline& old = m_recent[m_rng() % m_recent.size()];
            h.m_byService = old.m_byService;
            h.m_iSeqNo = old.m_iSeqNo;
            h.m_tTime = m_now;
            h.m_strTitle = titleOf(h.m_byService, h.m_iSeqNo, "corrected");
            adds = false;
        } else if (kind < 5) {
            h.m_byService = kServices[m_rng() % kServices.size()];
            h.m_iSeqNo = kLateSeqBase + m_late++;
            h.m_tTime = kDayStart + static_cast<std::int64_t>(m_rng() % static_cast<std::uint64_t>(m_now - kDayStart));
            h.m_strTitle = titleOf(h.m_byService, h.m_iSeqNo, "arrived late");
        } else {
            const std::size_t s = m_rng() % kServices.size();
            if (++m_tick % 8 == 0) {
                ++m_now; // several headlines share a second
            }
            h.m_byService = kServices[s];
            h.m_iSeqNo = m_nextSeq[s]++;
            h.m_tTime = m_now;
            h.m_strTitle = titleOf(h.m_byService, h.m_iSeqNo, "market update");
            remember(h);
        }
        return h;
    }

private:
    void remember(const CHeadline& h) {
        if (m_recent.size() < 5000) {
            m_recent.push_back(h);
        } else {
            m_recent[m_recentNext++ % m_recent.size()] = h;
        }
    }
    std::mt19937_64 m_rng{42};
    std::int64_t m_now = kDayStart + kFillSpan;
    std::array<std::int32_t, kServices.size()> m_nextSeq{};
    std::int32_t m_late = 0;
    std::uint64_t m_tick = 0;
    std::vector<CHeadline> m_recent;
    std::size_t m_recentNext = 0;
};

// The view on the headless host with its four lists filled, plus the push stream and the
// lists' starting content for the reference.
class ViewBench {
public:
    ViewBench(std::size_t size, std::size_t pushes) : m_size(size) {
        RegisterNewsModule();
        CSyncInfo::Get().reset();
        NewsSubscriptions::instance().clear();
        m_backend.install();
        m_backend.addService(news::kServiceStock, "TWSE News", "TWSE", kDay);
        m_backend.addService(news::kServiceHongKong, "HK News", "HK", kDay);
        m_backend.addService(news::kServiceWarrant, "Warrant News", "WRT", kDay);
        m_backend.language().set("IDS_NEWSCTRLVIEW_STRING_RECOVER", "LOADING");
        for (const unsigned char service : kServices) {
            m_backend.setCategories(service, {{"1", "EPS"}, {"2", "REV"}, {"3", "MKT"}});
        }
        m_backend.addSymbol(news::kServiceStock, kSymbol, "TSMC");
        m_sysDir =
            std::filesystem::temp_directory_path() / ("news-view-bench-" + std::to_string(std::random_device{}()));
        std::filesystem::create_directories(m_sysDir);
        std::ofstream(m_sysDir / "Application.ini") << "[NewsCtrlSearchView]\nShowNormalSearch=1\n";
        std::ofstream(m_sysDir / "NewsService.ini") << "[CONFIG]\nCatId=1,2,3\nSHORTNAME=EPS,REV,MKT\n";
        m_backend.setSysPath(m_sysDir.string());
        m_cfg.SetViewInfo("Layout", 0, 0, news::kViewKey, "CategoryID", kCategoryText);
        m_cfg.SetViewInfo("Layout", 0, 0, news::kViewKey, "SymbolID", kSymbol);

        // The prefill: `size` headlines spread over the day, services alternating.
        std::vector<CHeadline> prefill;
        prefill.reserve(size);
        for (std::size_t i = 0; i < size; ++i) {
            CHeadline h;
            h.m_byService = kServices[i % kServices.size()];
            h.m_iSeqNo = static_cast<std::int32_t>(i / kServices.size() + 1);
            h.m_tTime = kDayStart + static_cast<std::int64_t>(i) * kFillSpan / static_cast<std::int64_t>(size);
            h.m_iCategory = kCategory;
            h.m_strTitle = titleOf(h.m_byService, h.m_iSeqNo, "market update");
            prefill.push_back(std::move(h));
        }
        declare(prefill);
        for (const unsigned char service : kServices) {
            std::vector<CHeadlineTable> entries;
            for (const CHeadline& h : prefill) {
                if (h.m_byService == service) {
                    entries.push_back(headless::ScriptedBackend::entryOf(h));
                }
            }
            m_backend.setTable(service, BKQuoteInterface::kByDate, kDay, entries);
            m_backend.setTable(service, BKQuoteInterface::kByCategory, kCategoryText, entries);
            m_backend.setTable(service, BKQuoteInterface::kBySymbol, kSymbol, entries);
        }

        m_view = std::make_unique<TRVNewsCtrlView>();
        m_view->Create(nullptr, host::ui::Rect{0, 0, 1000, 600}, 0);
        m_view->OnInitialUpdate();
        m_view->SetRelationConditions({RelationCondition{2, {-999}, {"NEWS"}}});
        m_view->InitialViewInfo(&m_cfg, "Layout", 0, 0, "TRVNewsCtrlView");
        for (const int list : {news::kModeCategory, news::kModeSymbol, news::kModeRelation, news::kModeAllNews}) {
            m_view->SwitchFunction(list);
        }
        m_host.advanceBy(news::kRefreshDelayMs);
        for (std::size_t i = 0; i < kLists.size(); ++i) {
            m_initial[i] = m_view->GetTable(kLists[i])->toVector();
        }

        // The tables were read; emptied, they let the pushes below be declared cheaply.
        for (const unsigned char service : kServices) {
            for (const auto& [kind, key] : {std::pair<int, const char*>{BKQuoteInterface::kByDate, kDay},
                                            {BKQuoteInterface::kByCategory, kCategoryText},
                                            {BKQuoteInterface::kBySymbol, kSymbol}}) {
                m_backend.setTable(service, kind, key, {});
            }
        }
        PushFeed feed(prefill, static_cast<std::int32_t>(size / kServices.size() + 2));
        m_pushes.reserve(pushes);
        m_adds.reserve(pushes + 1);
        m_adds.push_back(0);
        for (std::size_t i = 0; i < pushes; ++i) {
            bool adds = false;
            m_pushes.push_back(feed.next(adds));
            m_adds.push_back(m_adds.back() + (adds ? 1 : 0));
        }
        // Stored before delivery, so that the refresh finds every pushed headline.
        declare(m_pushes);
        // The test back end's call log would be most of the work measured: only count calls.
        m_backend.clearCalls();
        m_backend.setCallLogging(false);
    }
    ~ViewBench() {
        m_view.reset();
        std::error_code ignored;
        std::filesystem::remove_all(m_sysDir, ignored);
    }
    ViewBench(const ViewBench&) = delete;
    ViewBench& operator=(const ViewBench&) = delete;

    std::size_t size() const { return m_size; }
    TRVNewsCtrlView& view() { return *m_view; }
    headless::HeadlessHost& host() { return m_host; }
    headless::ScriptedBackend& backend() { return m_backend; }
    headless::HeadlessSheet& grid(int list) { return dynamic_cast<headless::HeadlessSheet&>(*m_view->GetSheet(list)); }
    const std::vector<CHeadline>& pushes() const { return m_pushes; }
    // Rows the first n pushes add to each list.
    std::size_t addedBy(std::size_t n) const { return m_adds[n]; }
    const std::vector<CHeadlineTable>& initial(std::size_t i) const { return m_initial[i]; }
    // Index of the first push not delivered to the view yet.
    std::size_t& delivered() { return m_delivered; }

private:
    // addHeadline also appends each headline to its date and category tables after checking the
    // whole table for it; emptying those tables every few headlines keeps declaring linear.
    void declare(const std::vector<CHeadline>& headlines) {
        const auto emptyAutoTables = [this] {
            for (const unsigned char service : kServices) {
                m_backend.setTable(service, BKQuoteInterface::kByDate, kDay, {});
                m_backend.setTable(service, BKQuoteInterface::kByCategory, kCategoryText, {});
            }
        };
        for (std::size_t i = 0; i < headlines.size(); ++i) {
            m_backend.addHeadline(headlines[i]);
            if (i % 64 == 63) {
                emptyAutoTables();
            }
        }
        emptyAutoTables();
    }

    std::size_t m_size;
    headless::HeadlessHost m_host;
    headless::ScriptedBackend m_backend;
    MemoryCfg m_cfg;
    std::filesystem::path m_sysDir;
    std::unique_ptr<TRVNewsCtrlView> m_view;
    std::array<std::vector<CHeadlineTable>, kLists.size()> m_initial;
    std::vector<CHeadline> m_pushes;
    std::vector<std::size_t> m_adds;
    std::size_t m_delivered = 0;
};

// One environment at a time: the benchmarks of a size run together.
std::unique_ptr<ViewBench> g_bench;

std::size_t viewPushes(std::size_t size) {
    return size <= 10'000 ? 5'000 : size <= 100'000 ? 50'000 : 100'000;
}
std::size_t referencePushes(std::size_t size) {
    return size <= 10'000 ? 2'000 : size <= 100'000 ? 200 : 20;
}
constexpr std::size_t kRefreshIterations = 200;

ViewBench& benchFor(std::size_t size) {
    if (!g_bench || g_bench->size() != size) {
        g_bench.reset();
        g_bench = std::make_unique<ViewBench>(size, viewPushes(size) + kRefreshIterations);
    }
    return *g_bench;
}

void setPerListCounter(benchmark::State& state) {
    state.counters["per_push_per_list"] =
        benchmark::Counter(static_cast<double>(kLists.size()),
                           benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void BM_ViewPush(benchmark::State& state) {
    ViewBench& bench = benchFor(static_cast<std::size_t>(state.range(0)));
    TRVNewsCtrlView& view = bench.view();
    std::array<std::size_t, kLists.size()> before{};
    for (std::size_t i = 0; i < kLists.size(); ++i) {
        before[i] = view.GetTable(kLists[i])->size();
    }
    const std::size_t first = bench.delivered();
    const std::vector<CHeadline>& pushes = bench.pushes();
    if (first + static_cast<std::size_t>(state.max_iterations) > pushes.size()) {
        state.SkipWithError("not enough pushes generated for this many iterations");
        return;
    }
    std::size_t next = first;
    std::size_t calls = 0;
    const std::size_t callsBefore = bench.backend().callCount();
    // Each push is timed as well: a rare slow push (an index growing) hides in the mean.
    std::vector<double> latencies;
    latencies.reserve(static_cast<std::size_t>(state.max_iterations));
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        view.RecvNewHeadLine(&pushes[next], kCategoryText, kSymbol);
        latencies.push_back(
            std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start).count());
        ++next;
    }
    calls = bench.backend().callCount() - callsBefore;
    bench.delivered() = next;
    const std::size_t added = bench.addedBy(next) - bench.addedBy(first);
    for (std::size_t i = 0; i < kLists.size(); ++i) {
        const int list = kLists[i];
        if (view.GetTable(list)->size() != before[i] + added || bench.grid(list).iGetRowCount() != before[i] + added) {
            state.SkipWithError(("list " + std::to_string(list) + " missed pushes").c_str());
            return;
        }
    }
    setPerListCounter(state);
    state.counters["backend_calls_per_push"] =
        static_cast<double>(calls) / static_cast<double>(std::max<std::size_t>(next - first, 1));
    if (!latencies.empty()) {
        std::sort(latencies.begin(), latencies.end());
        const auto at = [&latencies](double q) {
            return latencies[static_cast<std::size_t>(q * static_cast<double>(latencies.size() - 1))];
        };
        state.counters["p50_us"] = at(0.5);
        state.counters["p99_us"] = at(0.99);
        state.counters["max_us"] = latencies.back();
    }
}

void BM_ReferencePush(benchmark::State& state) {
    const ViewBench& bench = benchFor(static_cast<std::size_t>(state.range(0)));
    std::vector<LiteralHeadlineList> lists(kLists.size());
    for (std::size_t i = 0; i < kLists.size(); ++i) {
        lists[i].assign(bench.initial(i));
    }
    const std::vector<CHeadline>& pushes = bench.pushes();
    if (static_cast<std::size_t>(state.max_iterations) > pushes.size()) {
        state.SkipWithError("not enough pushes generated for this many iterations");
        return;
    }
    std::size_t next = 0;
    std::size_t changes = 0;
    for (auto _ : state) {
        const CHeadline& h = pushes[next++];
        for (LiteralHeadlineList& list : lists) {
            const auto result = list.processPush(h);
            changes += result.insertedRow + result.removedRow;
        }
    }
    benchmark::DoNotOptimize(changes);
    if (lists[0].size() != bench.initial(0).size() + bench.addedBy(next)) {
        state.SkipWithError("reference lists out of step");
        return;
    }
    setPerListCounter(state);
}

// The deferred refresh of the all-news grid at 1M entries after one push at the top: the
// visible rows are already written, so this is the look-up and compare pass.
void BM_RefreshAfterPush(benchmark::State& state) {
    ViewBench& bench = benchFor(static_cast<std::size_t>(state.range(0)));
    const std::vector<CHeadline>& pushes = bench.pushes();
    int fired = 0;
    for (auto _ : state) {
        state.PauseTiming();
        if (bench.delivered() < pushes.size()) {
            bench.view().RecvNewHeadLine(&pushes[bench.delivered()++], kCategoryText, kSymbol);
        }
        bench.backend().clearCalls();
        state.ResumeTiming();
        fired += bench.host().advanceBy(news::kRefreshDelayMs);
    }
    if (fired == 0) {
        state.SkipWithError("the refresh timer never fired");
    }
}

// The deferred refresh after scrolling to a random page of the 1M-entry grid: every visible
// row is written for the first time.
void BM_RefreshScrolled(benchmark::State& state) {
    ViewBench& bench = benchFor(static_cast<std::size_t>(state.range(0)));
    headless::HeadlessSheet& grid = bench.grid(news::kModeAllNews);
    std::mt19937_64 rng(7);
    int fired = 0;
    for (auto _ : state) {
        state.PauseTiming();
        grid.userScrollTo(static_cast<int>(rng() % (grid.iGetRowCount() - 64)));
        bench.backend().clearCalls();
        state.ResumeTiming();
        fired += bench.host().advanceBy(news::kRefreshDelayMs);
    }
    const auto last = static_cast<std::size_t>(grid.iGetFirstVisibleRow());
    if (fired == 0 || grid.cszGetCellText(last, 2).empty()) {
        state.SkipWithError("the refresh did not write the visible rows");
    }
    grid.userScrollTo(0);
    bench.host().advanceBy(news::kRefreshDelayMs);
}

// Keeps what the console shows and prints the per-list push costs and their ratio.
class SummaryReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            const std::string name = run.benchmark_name();
            const auto slash = name.find('/');
            if (slash == std::string::npos || run.error_occurred) {
                continue;
            }
            const long size = std::stol(name.substr(slash + 1));
            const double perIteration = run.GetAdjustedRealTime(); // in the run's time unit
            const double us = perIteration * (run.time_unit == benchmark::kMillisecond ? 1e3 : 1.0);
            if (name.rfind("BM_ViewPush", 0) == 0) {
                m_rows[size].view = us;
                m_rows[size].p99 = counter(run, "p99_us");
                m_rows[size].max = counter(run, "max_us");
            } else if (name.rfind("BM_ReferencePush", 0) == 0) {
                m_rows[size].reference = us;
            } else if (name.rfind("BM_RefreshAfterPush", 0) == 0) {
                m_rows[size].refreshTop = us;
            } else if (name.rfind("BM_RefreshScrolled", 0) == 0) {
                m_rows[size].refreshScrolled = us;
            }
        }
        ConsoleReporter::ReportRuns(runs);
    }
    void printSummary() const {
        std::printf("\n%9s %8s %8s %9s %9s %12s %8s %10s %10s\n", "entries", "us/push", "us/list", "p99 us", "max us",
                    "ref us/list", "ratio", "refr. top", "refr. new");
        for (const auto& [size, row] : m_rows) {
            const double perList = row.view / static_cast<double>(kLists.size());
            const double refPerList = row.reference / static_cast<double>(kLists.size());
            std::printf("%9ld %8.2f %8.3f %9.1f %9.0f %12.1f %7.0fx %10.1f %10.1f\n", size, row.view, perList, row.p99,
                        row.max, refPerList, row.view > 0 ? row.reference / row.view : 0.0, row.refreshTop,
                        row.refreshScrolled);
        }
        std::printf("(us/list: per push per list; ratio: reference over view per push; refresh at 1M in us)\n");
    }

private:
    static double counter(const Run& run, const char* name) {
        const auto it = run.counters.find(name);
        return it != run.counters.end() ? it->second.value : 0.0;
    }
    struct Row {
        double view = 0;
        double p99 = 0;
        double max = 0;
        double reference = 0;
        double refreshTop = 0;
        double refreshScrolled = 0;
    };
    std::map<long, Row> m_rows;
};

void registerAll() {
    for (const std::int64_t size : {10'000, 100'000, 1'000'000}) {
        const auto n = static_cast<std::size_t>(size);
        benchmark::RegisterBenchmark("BM_ViewPush", BM_ViewPush)
            ->Arg(size)
            ->Iterations(static_cast<benchmark::IterationCount>(viewPushes(n)))
            ->Unit(benchmark::kMicrosecond);
        benchmark::RegisterBenchmark("BM_ReferencePush", BM_ReferencePush)
            ->Arg(size)
            ->Iterations(static_cast<benchmark::IterationCount>(referencePushes(n)))
            ->Unit(benchmark::kMicrosecond);
        if (size == 1'000'000) {
            benchmark::RegisterBenchmark("BM_RefreshAfterPush", BM_RefreshAfterPush)
                ->Arg(size)
                ->Iterations(kRefreshIterations)
                ->Unit(benchmark::kMicrosecond);
            benchmark::RegisterBenchmark("BM_RefreshScrolled", BM_RefreshScrolled)
                ->Arg(size)
                ->Iterations(kRefreshIterations)
                ->Unit(benchmark::kMicrosecond);
        }
    }
}

} // namespace

int main(int argc, char** argv) {
    // Times are formatted in Taipei local time, as the host is configured.
    ::setenv("TZ", "Asia/Taipei", 1);
    ::tzset();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    registerAll();
    SummaryReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    reporter.printSummary();
    g_bench.reset();
    benchmark::Shutdown();
    return 0;
}
