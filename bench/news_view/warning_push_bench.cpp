// A pushed headline while the warning-term list is shown, with 100,000 search results in the
// back end's cache and in the list: the view keeps the sorted results between pushes
// (Kept), against a back end that keeps no stamps, for which the view reads and sorts the
// whole results on every push as the list always did (Reread).
#include <filesystem>
#include <fstream>
#include <memory>

#include <benchmark/benchmark.h>

#include "adapters/headless/headless_host.h"
#include "adapters/headless/scripted_backend.h"
#include "host/framework/cfg_io.h"
#include "news_view/news_ctrl_view.h"

namespace {

constexpr int kResults = 100000;
constexpr unsigned char kService = 16;

// Searches are answered elsewhere: the benchmark keeps no record of them.
class QuietBackend : public headless::ScriptedBackend {
public:
    explicit QuietBackend(bool stamps) : m_stamps(stamps) {}
    bool BKQNEWS_bSearchNews(unsigned char, int, const CSearch&) override { return true; }
    std::uint64_t BKQNEWS_ullGetHeadlineTableStamp(unsigned char service, int kind, const CString& key) override {
        return m_stamps ? ScriptedBackend::BKQNEWS_ullGetHeadlineTableStamp(service, kind, key) : 0;
    }

private:
    bool m_stamps;
};

class NoCfg final : public TRVCfgIO2 {
public:
    bool GetViewInfo(const CString&, int, int, const CString&, const CString&, CString&) const override {
        return false;
    }
    void SetViewInfo(const CString&, int, int, const CString&, const CString&, const CString&) override {}
};

struct World {
    headless::HeadlessHost host;
    QuietBackend backend;
    NoCfg cfg;
    std::filesystem::path sys;
    std::unique_ptr<TRVNewsCtrlView> view;

    explicit World(bool stamps) : backend(stamps) {
        sys = std::filesystem::temp_directory_path() / "warning_push_bench";
        std::filesystem::create_directories(sys);
        std::ofstream(sys / "Application.ini") << "[NewsCtrlSearchView]\r\nShowWarningSearch=1\r\n";
        backend.install();
        backend.setCallLogging(false);
        backend.setSysPath(sys.string());
        backend.addService(kService, "TWSE News", "TWSE", "20240102");
        std::vector<CHeadlineTable> results;
        results.reserve(kResults);
        const std::int64_t start = 1704157200; // 2024-01-02 09:00 Taipei
        for (int i = 0; i < kResults; ++i) {
            results.push_back(CHeadlineTable{kService, start - i * 7, kResults - i, 0, 0});
        }
        backend.setTable(kService, BKQuoteInterface::kSearch, "SEARCH", results);
        view = std::make_unique<TRVNewsCtrlView>();
        view->Create(nullptr, host::ui::Rect{0, 0, 1000, 700}, 0);
        view->OnInitialUpdate();
        view->InitialViewInfo(&cfg, "Layout", 0, 0, "TRVNewsCtrlView");
        view->SwitchFunction(news::kModeWarningSearch);
        view->RespSearchHeadLineTable(view->GetWarningCondition(), kService);
        if (view->GetTable(news::kModeWarningSearch)->size() != static_cast<std::size_t>(kResults)) {
            std::abort();
        }
    }
    ~World() {
        view.reset();
        BKQuoteInterface::SetBKInterface(nullptr);
    }
};

void push(benchmark::State& state, bool stamps) {
    World world(stamps);
    int i = 0;
    for (auto _ : state) {
        // A headline the back end found for the warning terms: a copy stands in its results.
        const int seq = kResults - (i++ * 97) % kResults;
        const CHeadline headline{kService, 1704157200 + 60, seq, "台積電法說會"};
        world.view->RecvNewHeadLine(&headline, "1", "");
    }
    state.counters["results"] = kResults;
}

void BM_WarningPushKept(benchmark::State& state) {
    push(state, true);
}
void BM_WarningPushReread(benchmark::State& state) {
    push(state, false);
}

} // namespace

BENCHMARK(BM_WarningPushKept)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_WarningPushReread)->Unit(benchmark::kMicrosecond)->Iterations(20);
BENCHMARK_MAIN();
