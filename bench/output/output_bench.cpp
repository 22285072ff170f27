// Cost of printing and saving in the real news view on the headless host:
//
//   BM_GatherSelectedRows/10000   all 10,000 rows of the all-news list selected (two active
//                                 services): the items with their stories and the titles
//                                 from the headlines, as the print command gathers them
//   BM_LiteralTitles/N            the titles matched the literal way (every headline with
//                                 every item, dates broken down each time), for reference
//   BM_SaveStories/10000          10,000 complete stories (three paragraphs, ~450 bytes)
//                                 written to a file through the saver
//
// The back end is the scripted test double with its call log off.

#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "adapters/headless/headless_host.h"
#include "adapters/headless/headless_sheet.h"
#include "adapters/headless/scripted_backend.h"
#include "host/backend/subscriptions.h"
#include "host/framework/cfg_io.h"
#include "host/framework/sync_info.h"
#include "host/text/cp950.h"
#include "host/text/format.h"
#include "news_view/news_ctrl_view.h"
#include "news_view/news_module.h"
#include "output/gather_items.h"
#include "output/save_to_file.h"
#include "tests/support/literal_output.h"

namespace {

namespace fs = std::filesystem;
namespace win = host::ui::win;

constexpr std::int64_t kDayStart = 1704124800; // 2024-01-02 00:00:00 in Asia/Taipei

class NoCfg final : public TRVCfgIO2 {
public:
    bool GetViewInfo(const CString&, int, int, const CString&, const CString&, CString&) const override {
        return false;
    }
    void SetViewInfo(const CString&, int, int, const CString&, const CString&, const CString&) override {}
};

std::string story(int n) {
    const std::string paragraph = cp950::fromUtf8("台積電今日公告營收，較上月成長，市場預期第四季營運持續成長。");
    return paragraph + std::to_string(n) + "@@@@" + paragraph + "@@@@" + paragraph;
}

// A news view showing `rows` headlines of two services on one day, every row selected.
class SelectedView {
public:
    explicit SelectedView(int rows) {
        RegisterNewsModule();
        CSyncInfo::Get().reset();
        NewsSubscriptions::instance().clear();
        m_backend.install();
        m_backend.setCallLogging(false);
        m_backend.addService(16, "TWSE", "TWSE", "20240102");
        m_backend.addService(22, "HK", "HK", "20240102");
        for (int i = 0; i < rows; ++i) {
            CHeadline h;
            h.m_byService = static_cast<unsigned char>(i % 2 == 0 ? 16 : 22);
            h.m_tTime = kDayStart + 8 * 3600 + i;
            h.m_iSeqNo = i / 2 + 1;
            h.m_strTitle = cp950::fromUtf8("台積電營收創新高") + std::to_string(i);
            const CHeadlineTable entry = m_backend.addHeadline(h);
            m_backend.setStory(entry, story(i), h.m_tTime);
        }
        m_view = std::make_unique<TRVNewsCtrlView>();
        m_view->Create(nullptr, host::ui::Rect{0, 0, 1000, 600}, 0);
        m_view->SetFunctionMask(news::kMaskAllNews);
        m_view->OnInitialUpdate();
        m_view->InitialViewInfo(&m_cfg, "Bench", 0, 0, "TRVNewsCtrlView");
        m_host.advanceBy(news::kRefreshDelayMs);
        auto* grid = dynamic_cast<headless::HeadlessSheet*>(m_view->GetSheet(news::kModeAllNews));
        m_host.ui().leftClick(grid, *grid->cellCenter(0, 0));
        m_host.ui().keyInput(grid, win::WM_KEYDOWN, win::VK_SHIFT);
        m_host.ui().keyInput(grid, win::WM_KEYDOWN, win::VK_END);
        m_host.ui().keyInput(grid, win::WM_KEYUP, win::VK_SHIFT);
        std::vector<int> selected;
        grid->vGetAllSelectionNdx(selected);
        m_selected = selected.size();
    }
    ~SelectedView() {
        m_view.reset();
        m_backend.uninstall();
    }
    TRVNewsCtrlView& view() { return *m_view; }
    std::size_t selected() const { return m_selected; }

private:
    headless::HeadlessHost m_host;
    headless::ScriptedBackend m_backend;
    NoCfg m_cfg;
    std::unique_ptr<TRVNewsCtrlView> m_view;
    std::size_t m_selected = 0;
};

void BM_GatherSelectedRows(benchmark::State& state) {
    const int rows = static_cast<int>(state.range(0));
    SelectedView view(rows);
    if (view.selected() != static_cast<std::size_t>(rows)) {
        state.SkipWithError(("not every row is selected: " + std::to_string(view.selected())).c_str());
        return;
    }
    NewsPrintList items;
    for (auto _ : state) {
        news_output::bGatherItems(view.view(), news_output::StoryForm::kPrint, items);
        benchmark::DoNotOptimize(items.data());
    }
    std::size_t complete = 0;
    for (const NewsPrintItem& item : items) {
        complete += item.bIsComplete() ? 1 : 0;
    }
    state.counters["complete_items"] = static_cast<double>(complete);
}
BENCHMARK(BM_GatherSelectedRows)->Arg(10000)->Unit(benchmark::kMillisecond);

void BM_LiteralTitles(benchmark::State& state) {
    const int rows = static_cast<int>(state.range(0));
    NewsPrintList items(static_cast<std::size_t>(rows));
    std::vector<CHeadline> headlines(static_cast<std::size_t>(rows));
    for (int i = 0; i < rows; ++i) {
        items[static_cast<std::size_t>(i)].m_entry = CHeadlineTable{16, kDayStart + i, i, i, 0};
        headlines[static_cast<std::size_t>(i)] = CHeadline{16, kDayStart + i, i, "T", 0, 0, 0};
    }
    for (auto _ : state) {
        literal_output::vTakeTitles(items, headlines);
        benchmark::DoNotOptimize(items.data());
    }
}
BENCHMARK(BM_LiteralTitles)->Arg(1000)->Arg(2000)->Unit(benchmark::kMillisecond);

void BM_SaveStories(benchmark::State& state) {
    headless::HeadlessHost host;
    headless::ScriptedBackend backend;
    backend.install();
    backend.setCallLogging(false);
    const int count = static_cast<int>(state.range(0));
    NewsPrintList items;
    for (int i = 0; i < count; ++i) {
        NewsPrintItem item;
        item.m_entry = CHeadlineTable{16, kDayStart + i, i, i, 0};
        item.m_strTitle = cp950::fromUtf8("台積電營收創新高，法人看好後市") + std::to_string(i);
        item.m_strStory = cp950::replaceAll(story(i), "@@@@", "\r\n");
        item.m_byHasTitle = 1;
        item.m_byHasStory = 1;
        items.push_back(std::move(item));
    }
    const fs::path path = fs::temp_directory_path() / "output_bench_news.txt";
    TRVSaveToFile saver;
    for (auto _ : state) {
        host.dialogs().answerSaveFile(path.string());
        saver.Print(items, nullptr);
    }
    state.counters["file_bytes"] = static_cast<double>(fs::file_size(path));
    fs::remove(path);
    backend.uninstall();
}
BENCHMARK(BM_SaveStories)->Arg(10000)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
