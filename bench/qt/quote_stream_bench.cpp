// Live quotes beside the story while the news streams, on the Qt host: the news view with its
// story pane and related-symbol quote list of 50 symbols, 5,000 quote updates a second into
// that list and 1,000 pushed headlines a second into the all-news grid, for NEWS_BENCH_SECONDS
// (default 10) seconds. Reports the busy time of each turn of the event loop (every event
// delivered between two waits: timers, posted calls, paints); every turn should stay within
// one frame (16 ms).
#include <QWidget>
#include <algorithm>
#include <chrono>
#include <filesystem>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "adapters/headless/scripted_backend.h"
#include "adapters/qt/qt_ui_host.h"
#include "adapters/qt/services.h"
#include "bench/qt/qt_bench_support.h"
#include "host/backend/quote_price.h"
#include "host/backend/subscriptions.h"
#include "host/framework/host_context.h"
#include "host/framework/sync_info.h"
#include "news_view/news_ctrl_view.h"
#include "news_view/news_module.h"
#include "search/news_relate_symbol_quote_view.h"

namespace {

constexpr std::int64_t kDayStart = 1704124800; // 2024-01-02 00:00:00 in Asia/Taipei
constexpr const char* kDay = "20240102";
constexpr int kSymbols = 50;
constexpr int kQuotesPerSecond = 5000;
constexpr int kHeadlinesPerSecond = 1000;

class MorningClock final : public host::Clock {
public:
    std::int64_t nowMs() const override { return (kDayStart + 10 * 3600) * 1000; }
};

class Terminal {
public:
    Terminal() {
        RegisterNewsModule();
        CSyncInfo::Get().reset();
        NewsSubscriptions::instance().clear();
        host::HostContext::current() = host::HostContext{&m_ui, &m_clock, &m_dispatcher};
        m_backend.install();
        m_backend.setCallLogging(false);
        m_backend.addService(16, "TWSE News", "TWSE", kDay);
        m_sysDir = std::filesystem::temp_directory_path() / ("quote-bench-" + std::to_string(std::random_device{}()));
        std::filesystem::create_directories(m_sysDir);
        m_backend.setSysPath(m_sysDir.string());

        CHeadline h;
        h.m_byService = 16;
        h.m_iSeqNo = 1;
        h.m_tTime = kDayStart + 9 * 3600;
        h.m_strTitle = "market wrap";
        const CHeadlineTable entry = m_backend.addHeadline(h);
        std::vector<CSymbolInfo> related;
        for (int i = 0; i < kSymbols; ++i) {
            CMemoryInfo m;
            m.m_byService = 16;
            m.m_strCode = std::to_string(1101 + i * 37);
            m.m_strName = "S" + m.m_strCode;
            m.m_iRefPrice = 5000 + i * 1000;
            m.m_iLimitUp = quote_price::limitUp(m.m_iRefPrice);
            m.m_iLimitDown = quote_price::limitDown(m.m_iRefPrice);
            m.m_iLast = m.m_iRefPrice;
            m_memory.push_back(m);
            m_backend.setMemory(m);
            related.push_back(CSymbolInfo{16, m.m_strCode, {}});
        }
        m_backend.setRelatedSymbols(entry, related);

        m_view = std::make_unique<TRVNewsCtrlView>();
        m_view->Create(nullptr, host::ui::Rect{0, 0, 1200, 800}, 0);
        m_view->SetFunctionMask(news::kMaskAllNews);
        m_view->OnInitialUpdate();
        m_view->InitialViewInfo(nullptr, "Layout", 0, 0, "TRVNewsCtrlView");
        m_view->SetStoryShowType(1);
        qthost::QtUiHost::widgetOf(m_view->GetWnd())->show();
        m_view->GetSheet(news::kModeAllNews)->vSetActiveSelection(0, 0);
        m_view->OnShowStory();
        QCoreApplication::processEvents();
    }
    ~Terminal() {
        m_view.reset();
        m_backend.uninstall();
        host::HostContext::current() = host::HostContext{};
        std::error_code ignored;
        std::filesystem::remove_all(m_sysDir, ignored);
    }
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    int quoteRows() const { return m_view->GetRelateQuoteView()->GetRowCount(); }
    std::size_t headlineRows() const { return m_view->GetSheet(news::kModeAllNews)->iGetRowCount(); }

    void pushQuote(std::uint64_t n) {
        CMemoryInfo& m = m_memory[n % m_memory.size()];
        const std::int32_t step = (n / m_memory.size()) % 3 == 0 ? 1 : -1;
        const std::int32_t next = step > 0 ? quote_price::tickUp(m.m_iLast) : quote_price::tickDown(m.m_iLast);
        m.m_iLast = std::clamp(next, m.m_iLimitDown, m.m_iLimitUp);
        m.m_iBid = m.m_iLast;
        m.m_iAsk = quote_price::tickUp(m.m_iLast);
        m.m_iTickVolume = 1 + static_cast<std::int32_t>(n % 7);
        m.m_llVolume += m.m_iTickVolume;
        m_backend.pushMemory(m);
    }
    void pushHeadline(std::uint64_t n) {
        CHeadline h;
        h.m_byService = 16;
        h.m_iSeqNo = static_cast<std::int32_t>(n + 2);
        h.m_tTime = kDayStart + 9 * 3600 + 1 + static_cast<std::int64_t>(n / 100);
        h.m_iCategory = 1;
        h.m_strTitle = "headline " + std::to_string(n);
        m_backend.pushHeadline(h, "1", "2330");
    }

private:
    qthost::QtUiDispatcher m_dispatcher;
    MorningClock m_clock;
    qthost::QtUiHost m_ui;
    headless::ScriptedBackend m_backend;
    std::filesystem::path m_sysDir;
    std::unique_ptr<TRVNewsCtrlView> m_view;
    std::vector<CMemoryInfo> m_memory;
};

void BM_QuotesBesideStreamingNews(benchmark::State& state) {
    for (auto _ : state) {
        Terminal terminal;
        qtbench::TurnRecorder turns;

        const std::uint64_t seconds = static_cast<std::uint64_t>(qtbench::streamSeconds(10));
        const std::uint64_t totalQuotes = seconds * kQuotesPerSecond;
        const std::uint64_t totalHeadlines = seconds * kHeadlinesPerSecond;
        std::uint64_t quotes = 0;
        std::uint64_t headlines = 0;
        const double ranSeconds = qtbench::runTicking(turns, [&](qint64 elapsedMs) {
            const auto ms = static_cast<std::uint64_t>(elapsedMs);
            const std::uint64_t dueQuotes = std::min(totalQuotes, ms * kQuotesPerSecond / 1000);
            const std::uint64_t dueHeadlines = std::min(totalHeadlines, ms * kHeadlinesPerSecond / 1000);
            for (; quotes < dueQuotes; ++quotes) {
                terminal.pushQuote(quotes);
            }
            for (; headlines < dueHeadlines; ++headlines) {
                terminal.pushHeadline(headlines);
            }
            return quotes < totalQuotes || headlines < totalHeadlines;
        });

        state.counters["quotes"] = static_cast<double>(quotes);
        state.counters["headlines"] = static_cast<double>(headlines);
        state.counters["quote_rows"] = terminal.quoteRows();
        state.counters["grid_rows"] = static_cast<double>(terminal.headlineRows());
        qtbench::reportTurns(state, turns);
        state.SetIterationTime(ranSeconds);
    }
}
BENCHMARK(BM_QuotesBesideStreamingNews)->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv) {
    return qtbench::runBenchmarks<qtbench::TimedApplication>(argc, argv, "qt-quote-bench");
}
