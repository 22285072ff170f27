// Showing a long story in the story pane on the Qt host, with a search's keywords marked,
// until it is painted.
//
// Setup: the news view on the Qt host (offscreen), the story below the list, the scripted back
// end with two headlines whose stories are 64 KB of Traditional Chinese (code page 950),
// wrapped every 80 bytes with CR LF and in paragraphs marked "@@@@", in which three keywords
// occur 100 times each. One show: vSetStoryData with the three keywords (vShowData: headline,
// story, conversion of the line breaks, the texts into both rich edits, then the marking that
// selects all 300 matches in turn), the queued events (the selection scrolled into view once),
// and a synchronous repaint of the story. The two stories alternate, so every show lays a new
// text out. Each repetition is one show; the median is the figure to read.

#include <QPlainTextEdit>
#include <filesystem>
#include <memory>
#include <random>

#include <benchmark/benchmark.h>

#include "adapters/headless/scripted_backend.h"
#include "adapters/qt/qt_ui_host.h"
#include "adapters/qt/services.h"
#include "bench/qt/qt_bench_support.h"
#include "host/backend/subscriptions.h"
#include "host/framework/host_context.h"
#include "host/framework/sync_info.h"
#include "host/text/cp950.h"
#include "news_view/news_ctrl_view.h"
#include "news_view/news_module.h"
#include "story/news_story_view.h"

namespace {

constexpr std::int64_t kDayStart = 1704124800; // 2024-01-02 00:00:00 in Asia/Taipei
constexpr const char* kDay = "20240102";
constexpr std::size_t kStoryBytes = 64 * 1024;
constexpr int kHitsPerKeyword = 100;

// The terminal's clock, stopped in the morning of the news day.
class MorningClock final : public host::Clock {
public:
    std::int64_t nowMs() const override { return (kDayStart + 10 * 3600) * 1000; }
};

// 64 KB of code page 950 text with each keyword kHitsPerKeyword times, spread evenly.
CString makeStory(int variant) {
    const std::vector<CString> keywords{cp950::fromUtf8("台積電"), cp950::fromUtf8("營收"), cp950::fromUtf8("法說會")};
    const std::vector<CString> filler{cp950::fromUtf8("市場消息指出"), cp950::fromUtf8("外資今日買超"),
                                      cp950::fromUtf8("半導體族群走強"), cp950::fromUtf8("成交量放大")};
    CString body;
    std::size_t inLine = 0;
    std::size_t inParagraph = 0;
    int placed = 0;
    const auto add = [&](const CString& piece) {
        body += piece;
        inLine += piece.size();
        inParagraph += piece.size();
        if (inLine >= 80) {
            body += "\r\n";
            inLine = 0;
        }
        if (inParagraph >= 800) {
            body += "@@@@";
            inParagraph = 0;
        }
    };
    const std::size_t stride = kStoryBytes / (keywords.size() * kHitsPerKeyword);
    std::size_t nextKeyword = stride / 2;
    std::size_t f = static_cast<std::size_t>(variant);
    while (body.size() < kStoryBytes) {
        if (body.size() >= nextKeyword && placed < static_cast<int>(keywords.size()) * kHitsPerKeyword) {
            add(keywords[static_cast<std::size_t>(placed) % keywords.size()]);
            ++placed;
            nextKeyword += stride;
        } else {
            add(filler[f++ % filler.size()]);
        }
    }
    return body;
}

class StoryShow {
public:
    StoryShow() {
        RegisterNewsModule();
        CSyncInfo::Get().reset();
        NewsSubscriptions::instance().clear();
        host::HostContext::current() = host::HostContext{&m_ui, &m_clock, &m_dispatcher};
        m_backend.install();
        m_backend.addService(news::kServiceStock, "TWSE News", "TWSE", kDay);
        m_sysDir =
            std::filesystem::temp_directory_path() / ("story-show-bench-" + std::to_string(std::random_device{}()));
        std::filesystem::create_directories(m_sysDir);
        m_backend.setSysPath(m_sysDir.string());
        for (int i = 0; i < 2; ++i) {
            CHeadline h;
            h.m_byService = news::kServiceStock;
            h.m_iSeqNo = i + 1;
            h.m_tTime = kDayStart + 9 * 3600 + i * 60;
            h.m_strTitle = cp950::fromUtf8("台積電法說會重點整理");
            m_backend.setStory(m_backend.addHeadline(h), makeStory(i));
        }
        m_view = std::make_unique<TRVNewsCtrlView>();
        m_view->Create(nullptr, host::ui::Rect{0, 0, 1200, 800}, 0);
        m_view->SetFunctionMask(news::kMaskAllNews);
        m_view->OnInitialUpdate();
        m_view->InitialViewInfo(nullptr, "Layout", 0, 0, "TRVNewsCtrlView");
        m_view->SetStoryShowType(2);
        qthost::QtUiHost::widgetOf(m_view->GetWnd())->show();
        QCoreApplication::processEvents();
        m_condition.m_bKeywordSearch = true;
        m_condition.m_vKeywords = {cp950::fromUtf8("台積電"), cp950::fromUtf8("營收"), cp950::fromUtf8("法說會")};
        m_story = qobject_cast<QPlainTextEdit*>(qthost::QtUiHost::widgetOf(m_view->GetStoryPane()->GetStoryControl()));
    }
    ~StoryShow() {
        m_view.reset();
        m_backend.uninstall();
        host::HostContext::current() = host::HostContext{};
        std::error_code ignored;
        std::filesystem::remove_all(m_sysDir, ignored);
    }
    StoryShow(const StoryShow&) = delete;
    StoryShow& operator=(const StoryShow&) = delete;

    // One show of row `row`, until painted; the selection it ends with.
    std::pair<int, int> show(int row) {
        m_view->GetStoryPane()->vSetStoryData(news::kModeAllNews, row, *m_view->GetTable(news::kModeAllNews),
                                              m_condition);
        QCoreApplication::processEvents();
        m_story->viewport()->repaint();
        return m_view->GetStoryPane()->GetStoryControl()->selection();
    }
    std::size_t storyBytes() const { return m_view->GetStoryPane()->GetStoryString().size(); }

private:
    qthost::QtUiDispatcher m_dispatcher;
    MorningClock m_clock;
    qthost::QtUiHost m_ui;
    headless::ScriptedBackend m_backend;
    std::filesystem::path m_sysDir;
    std::unique_ptr<TRVNewsCtrlView> m_view;
    CSearch m_condition;
    QPlainTextEdit* m_story = nullptr;
};

std::unique_ptr<StoryShow> g_show; // made by the first run; gone before the application

void BM_ShowMarkedStory(benchmark::State& state) {
    if (!g_show) {
        g_show = std::make_unique<StoryShow>();
    }
    StoryShow& show = *g_show;
    int row = 0;
    std::pair<int, int> selection{};
    for (auto _ : state) {
        selection = show.show(row);
        row = 1 - row;
    }
    state.counters["story_bytes"] = static_cast<double>(show.storyBytes());
    state.counters["last_selection_start"] = selection.first;
}
BENCHMARK(BM_ShowMarkedStory)->Iterations(1)->Repetitions(31)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv) {
    return qtbench::runBenchmarks(argc, argv, "qt-story-bench", [] { g_show.reset(); });
}
