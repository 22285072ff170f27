// Paging the story pane through a long list on the headless host: one press of the page-down
// (or page-up) button shows the next story in the pane and moves the grid's selection there.
//
//   story_paging_bench                                  every size
//   story_paging_bench --benchmark_filter=1000000       the 1M-row list only
//
// Setup per size: one news service with `size` headlines of 2024-01-02 (Taipei), each with a
// short story, all in list 0; the view shows the story below the list (show type 2). A step is
// OnBtnPageDown: the pane's position moves on by one (wrapping at the end), the pane fetches
// the headline and the story and formats both, and bChangeNewsPos selects the row, scrolls it
// into view and lets OnShowStory hand the row to the pane again (the row differs from the one
// the pane was last handed). The scripted back end's look-ups are std::map (logarithmic, like
// a real cache); its call log is off.

#include <array>
#include <filesystem>
#include <fstream>
#include <memory>
#include <random>
#include <vector>

#include <benchmark/benchmark.h>

#include "adapters/headless/headless_host.h"
#include "adapters/headless/scripted_backend.h"
#include "host/backend/subscriptions.h"
#include "host/framework/sync_info.h"
#include "host/text/format.h"
#include "news_view/news_ctrl_view.h"
#include "news_view/news_module.h"
#include "story/news_story_view.h"

namespace {

constexpr std::int64_t kDayStart = 1704124800; // 2024-01-02 00:00:00 in Asia/Taipei
constexpr std::int64_t kFillSpan = 16 * 3600;
constexpr const char* kDay = "20240102";

class PagingBench {
public:
    explicit PagingBench(std::size_t size) {
        RegisterNewsModule();
        CSyncInfo::Get().reset();
        NewsSubscriptions::instance().clear();
        m_backend.install();
        m_backend.addService(news::kServiceStock, "TWSE News", "TWSE", kDay);
        m_backend.language().set("IDS_NEWSCTRLVIEW_STRING_RECOVER", "LOADING");
        m_sysDir =
            std::filesystem::temp_directory_path() / ("story-paging-bench-" + std::to_string(std::random_device{}()));
        std::filesystem::create_directories(m_sysDir);
        m_backend.setSysPath(m_sysDir.string());
        std::vector<CHeadlineTable> entries;
        entries.reserve(size);
        for (std::size_t i = 0; i < size; ++i) {
            CHeadline h;
            h.m_byService = news::kServiceStock;
            h.m_iSeqNo = static_cast<std::int32_t>(i + 1);
            h.m_tTime = kDayStart + static_cast<std::int64_t>(i) * kFillSpan / static_cast<std::int64_t>(size);
            h.m_iCategory = 1;
            h.m_strTitle = text::format("NEWS %07d market update", h.m_iSeqNo);
            const CHeadlineTable entry = m_backend.addHeadline(h);
            m_backend.setStory(entry, text::format("Story %07d\r\nwrapped line@@@@second paragraph", h.m_iSeqNo));
            entries.push_back(entry);
            if (i % 64 == 63) {
                m_backend.setTable(news::kServiceStock, BKQuoteInterface::kByDate, kDay, {});
                m_backend.setTable(news::kServiceStock, BKQuoteInterface::kByCategory, "1", {});
            }
        }
        m_backend.setTable(news::kServiceStock, BKQuoteInterface::kByDate, kDay, entries);
        m_view = std::make_unique<TRVNewsCtrlView>();
        m_view->Create(nullptr, host::ui::Rect{0, 0, 1000, 800}, 0);
        m_view->SetFunctionMask(news::kMaskAllNews);
        m_view->OnInitialUpdate();
        m_view->InitialViewInfo(nullptr, "Layout", 0, 0, "TRVNewsCtrlView");
        m_view->SetStoryShowType(2);
        m_host.advanceBy(news::kRefreshDelayMs);
        m_backend.setTable(news::kServiceStock, BKQuoteInterface::kByDate, kDay, {});
        m_backend.clearCalls();
        m_backend.setCallLogging(false);
    }
    ~PagingBench() {
        m_view.reset();
        std::error_code ignored;
        std::filesystem::remove_all(m_sysDir, ignored);
    }
    PagingBench(const PagingBench&) = delete;
    PagingBench& operator=(const PagingBench&) = delete;

    TRVNewsCtrlView& view() { return *m_view; }

private:
    headless::HeadlessHost m_host;
    headless::ScriptedBackend m_backend;
    std::filesystem::path m_sysDir;
    std::unique_ptr<TRVNewsCtrlView> m_view;
};

std::unique_ptr<PagingBench> g_bench;
std::size_t g_size = 0;

PagingBench& bench(std::size_t size) {
    if (!g_bench || g_size != size) {
        g_bench.reset();
        g_bench = std::make_unique<PagingBench>(size);
        g_size = size;
    }
    return *g_bench;
}

void BM_PageDown(benchmark::State& state) {
    TRVNewsCtrlView& view = bench(static_cast<std::size_t>(state.range(0))).view();
    NewsStoryView& pane = *view.GetStoryPane();
    for (auto _ : state) {
        view.OnBtnPageDown();
        benchmark::DoNotOptimize(pane.GetStoryString().size());
    }
    state.counters["position"] = pane.GetHeadLinePos();
}

void BM_PageUp(benchmark::State& state) {
    TRVNewsCtrlView& view = bench(static_cast<std::size_t>(state.range(0))).view();
    NewsStoryView& pane = *view.GetStoryPane();
    for (auto _ : state) {
        view.OnBtnPageUp();
        benchmark::DoNotOptimize(pane.GetStoryString().size());
    }
}

BENCHMARK(BM_PageDown)->Arg(10'000)->Arg(1'000'000)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_PageUp)->Arg(10'000)->Arg(1'000'000)->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
