// From the quick search (or a prepared search sent by the view) to the search grid filled
// with the answers of every service, on the embedded back end over one million stored
// headlines (four services); and the symbol search of every keystroke over 30,000 symbols.
// Reports p50 and p95 in milliseconds.
#include <algorithm>
#include <chrono>
#include <filesystem>
#include <map>
#include <memory>
#include <tuple>

#include <benchmark/benchmark.h>

#include "adapters/headless/headless_controls.h"
#include "adapters/headless/headless_host.h"
#include "bench/embedded_backend/bench_data.h"
#include "embedded_backend/catalog.h"
#include "embedded_backend/embedded_backend.h"
#include "host/backend/bk_quote_interface.h"
#include "host/backend/search_control.h"
#include "host/framework/cfg_io.h"
#include "host/text/cp950.h"
#include "news_view/news_ctrl_view.h"

namespace {

// The layout store: every one of the four services checked.
class AllServicesCfg final : public TRVCfgIO2 {
public:
    bool GetViewInfo(const CString&, int, int, const CString&, const CString& key, CString& value) const override {
        if (key.rfind("Sheet0ServiceCheck", 0) == 0) {
            value.assign(1, '1'); // not = "1": GCC 12 warns of a false overlap (-Wrestrict) at -O2
            return true;
        }
        return false;
    }
    void SetViewInfo(const CString&, int, int, const CString&, const CString&, const CString&) override {}
};

struct World {
    headless::HeadlessHost host;
    std::unique_ptr<embedded::EmbeddedBackend> backend;
    AllServicesCfg cfg;
    std::unique_ptr<TRVNewsCtrlView> view;
    headless::HeadlessEdit* edit = nullptr;

    World() {
        const std::filesystem::path folder = embedded::bench::benchFolder() / "view_search";
        std::filesystem::create_directories(folder);
        std::filesystem::copy_file(embedded::bench::millionHeadlineStore(), folder / "news.db",
                                   std::filesystem::copy_options::overwrite_existing);
        embedded::EmbeddedBackendOptions options;
        options.dataFolder = folder.string();
        options.daysToKeep = 120; // the whole generated span: all one million headlines
        options.dispatcher = &host.dispatcher();
        options.clock = &host.clock();
        backend = std::make_unique<embedded::EmbeddedBackend>(options);
        if (!backend->open().ok()) {
            std::abort();
        }
        BKQuoteInterface::SetBKInterface(backend.get());
        SearchControl::SetSearchObjInterface(backend.get());
        view = std::make_unique<TRVNewsCtrlView>();
        view->Create(nullptr, host::ui::Rect{0, 0, 1000, 700}, 0);
        view->OnInitialUpdate();
        view->InitialViewInfo(&cfg, "Layout", 0, 0, "TRVNewsCtrlView");
        view->SwitchFunction(news::kModeSearch);
        edit = dynamic_cast<headless::HeadlessEdit*>(view->GetWnd()->child(news::kIdSearchEdit));
        if (edit == nullptr) {
            std::abort();
        }
    }
    ~World() {
        view.reset();
        BKQuoteInterface::SetBKInterface(nullptr);
        SearchControl::SetSearchObjInterface(nullptr);
        backend->shutdown();
    }

    // Runs the store and the dispatcher until every asked service has answered.
    void waitForAnswers() {
        const auto pending = [&] {
            return std::any_of(view->GetServiceList().begin(), view->GetServiceList().end(),
                               [](const NewsServiceEntry& e) { return e.m_bySearchPending != 0; });
        };
        while (pending()) {
            backend->flushStore();
            host.dispatcher().drain();
        }
    }
};

World& world() {
    static World w;
    return w;
}

using embedded::bench::Keywords;
using embedded::bench::kOneChar;
using embedded::bench::kPairs;
using embedded::bench::kSixChars;
using embedded::bench::kThreeChars;
using embedded::bench::kTwoChars;
using embedded::bench::percentile;

// One search per iteration: the edit text changes every time, so every service is asked and
// waited for. Scope 0 with one keyword goes through the quick search, everything else is a
// prepared condition sent as the advanced search sends it.
void runViewSearches(benchmark::State& state, const std::vector<Keywords>& pool, unsigned char method) {
    World& w = world();
    const auto scope = static_cast<unsigned char>(state.range(0));
    std::vector<double> millis;
    std::size_t rows = 0;
    std::size_t n = 0;
    for (auto _ : state) {
        const Keywords& words = pool[n % pool.size()];
        const auto begin = std::chrono::steady_clock::now();
        if (scope == CSearch::kScopeHeadline && words.size() == 1 && method == CSearch::kMethodAnd) {
            w.edit->typeText(cp950::fromUtf8(words[0]));
            w.view->OnSearch();
        } else {
            CSearch condition;
            for (const char* k : words) {
                condition.m_vKeywords.push_back(cp950::fromUtf8(k));
            }
            condition.m_byScope = scope;
            condition.m_byMethod = method;
            w.view->SetSearchCondition(condition);
            w.edit->typeText(std::to_string(n));
            w.view->OnDealsSearch();
        }
        w.waitForAnswers();
        millis.push_back(std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - begin).count());
        rows += w.view->GetSheet(news::kModeSearch)->iGetRowCount();
        ++n;
    }
    state.counters["p50_ms"] = percentile(millis, 50);
    state.counters["p95_ms"] = percentile(millis, 95);
    state.counters["rows"] = static_cast<double>(rows) / static_cast<double>(n);
}

constexpr int kSearches = 64;

void BM_ViewSearch1Char(benchmark::State& state) {
    runViewSearches(state, kOneChar, CSearch::kMethodAnd);
}
void BM_ViewSearch2Chars(benchmark::State& state) {
    runViewSearches(state, kTwoChars, CSearch::kMethodAnd);
}
void BM_ViewSearch3Chars(benchmark::State& state) {
    runViewSearches(state, kThreeChars, CSearch::kMethodAnd);
}
void BM_ViewSearch6Chars(benchmark::State& state) {
    runViewSearches(state, kSixChars, CSearch::kMethodAnd);
}
void BM_ViewSearchAnd(benchmark::State& state) {
    runViewSearches(state, kPairs, CSearch::kMethodAnd);
}
void BM_ViewSearchOr(benchmark::State& state) {
    runViewSearches(state, kPairs, CSearch::kMethodOr);
}

// Argument: scope (0 headlines, 1 stories, 2 both).
BENCHMARK(BM_ViewSearch1Char)->DenseRange(0, 2)->Iterations(kSearches)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ViewSearch2Chars)->DenseRange(0, 2)->Iterations(kSearches)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ViewSearch3Chars)->DenseRange(0, 2)->Iterations(kSearches)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ViewSearch6Chars)->DenseRange(0, 2)->Iterations(kSearches)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ViewSearchAnd)->DenseRange(0, 2)->Iterations(kSearches)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ViewSearchOr)->DenseRange(0, 2)->Iterations(kSearches)->Unit(benchmark::kMillisecond);

// ---- The symbol search of one keystroke ----

const embedded::Catalog& thirtyThousandSymbols() {
    static const embedded::Catalog catalog = [] {
        embedded::Catalog c;
        c.loadBuiltIn();
        const char* syllables[] = {"台", "積", "電", "鴻", "海", "聯", "發", "科", "金", "控", "光", "華"};
        std::uint32_t seed = 1;
        for (int i = 0; i < 30000; ++i) {
            CString name;
            for (int k = 0; k < 4; ++k) {
                seed = seed * 1664525U + 1013904223U;
                name += cp950::fromUtf8(syllables[(seed >> 16) % 12]);
            }
            c.addSymbol(i % 3 == 0 ? 16 : i % 3 == 1 ? 22 : 122, std::to_string(100000 + i), name);
        }
        return c;
    }();
    return catalog;
}

void BM_FindSearchListKeystroke(benchmark::State& state) {
    const embedded::Catalog& catalog = thirtyThousandSymbols();
    // A person typing a code, then a name: one search per keystroke.
    const std::vector<CString> typed = {
        "1", "12", "123", "1234", "12345", cp950::fromUtf8("台"), cp950::fromUtf8("台積"), cp950::fromUtf8("台積電"),
        "A", "x"};
    std::vector<double> millis;
    std::size_t n = 0;
    std::size_t found = 0;
    for (auto _ : state) {
        const auto begin = std::chrono::steady_clock::now();
        const std::vector<CString> candidates = catalog.findCandidates(typed[n % typed.size()], 50);
        millis.push_back(std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - begin).count());
        found += candidates.size();
        ++n;
    }
    state.counters["p50_ms"] = percentile(millis, 50);
    state.counters["p95_ms"] = percentile(millis, 95);
    state.counters["candidates"] = static_cast<double>(found) / static_cast<double>(n);
}
BENCHMARK(BM_FindSearchListKeystroke)->Iterations(1000)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
