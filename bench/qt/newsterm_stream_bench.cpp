// The whole terminal under a live news stream: newsterm's window shown (under Xvfb when run
// through ctest, as a person sees it), the news view on the embedded back end, and a feed
// thread pushing 1,000 or 5,000 headlines a second. Reports the share of a core the UI thread
// and the whole process take, and the turns of the event loop (every event delivered between
// two waits): the worst should stay within one frame (16 ms).
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QTemporaryDir>
#include <QTimer>
#include <algorithm>
#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

#include <benchmark/benchmark.h>
#include <time.h>

#include "adapters/qt/qt_ui_host.h"
#include "adapters/qt/services.h"
#include "apps/newsterm/backend_session.h"
#include "apps/newsterm/main_window.h"
#include "apps/newsterm/term_options.h"
#include "apps/newsterm/term_settings.h"
#include "bench/qt/qt_bench_support.h"
#include "embedded_backend/embedded_backend.h"
#include "host/framework/host_context.h"
#include "host/text/cp950.h"
#include "news_view/news_module.h"

namespace {

using qtbench::Clock;

double cpuSeconds(clockid_t which) {
    timespec now{};
    clock_gettime(which, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

void runEvents(int ms) {
    QEventLoop loop;
    QTimer::singleShot(ms, &loop, &QEventLoop::quit);
    loop.exec();
}

void BM_NewstermLiveStream(benchmark::State& state) {
    const int perSecond = static_cast<int>(state.range(0));
    for (auto _ : state) {
        QTemporaryDir dir;
        const QString feed = dir.filePath(QStringLiteral("empty.jsonl"));
        QFile(feed).open(QIODevice::WriteOnly);
        qthost::QtUiDispatcher dispatcher;
        qthost::WallClock clock;
        qthost::QtUiHost ui;
        host::HostContext::current() = host::HostContext{&ui, &clock, &dispatcher};
        newsterm::TermOptions options;
        options.feedFile = feed; // the stream below is the only news
        options.speed = 0;
        options.dataDir = dir.filePath(QStringLiteral("data"));
        options.language = QStringLiteral("zh-TW");
        options.resourcesDir = QStringLiteral(NEWS_RESOURCES_DIR);
        {
            newsterm::BackendSession session(options, dispatcher, clock);
            session.start();
            RegisterNewsModule();
            newsterm::TermSettings settings(dir.filePath(QStringLiteral("layout.cfg")));
            newsterm::MainWindow window(ui, session, settings, QStringLiteral("zh-TW"));
            window.show();
            runEvents(500);

            qtbench::TurnRecorder turns;
            // The feed: a batch every 10 ms, as a news line delivers them.
            std::atomic<bool> stop{false};
            embedded::EmbeddedBackend& backend = session.backend();
            const CString title = cp950::fromUtf8("台積電(2330)公告：本公司董事會決議發放現金股利");
            std::thread feedThread([&] {
                const auto begin = Clock::now();
                std::int32_t seq = 0;
                for (int tick = 1; !stop; ++tick) {
                    std::this_thread::sleep_until(begin + std::chrono::milliseconds(10 * tick));
                    std::vector<embedded::FeedEvent> batch;
                    const std::int64_t now = clock.now();
                    for (int i = 0; i < perSecond / 100; ++i) {
                        embedded::FeedEvent e;
                        e.kind = embedded::FeedEventKind::Headline;
                        e.service = 16;
                        e.seq = ++seq;
                        e.time = now;
                        e.category = 1;
                        e.title = title;
                        e.symbols.push_back(CSymbolInfo{16, "2330", {}});
                        batch.push_back(std::move(e));
                    }
                    backend.ingest(std::move(batch));
                }
            });
            turns.restart();
            const double uiStart = cpuSeconds(CLOCK_THREAD_CPUTIME_ID);
            const double processStart = cpuSeconds(CLOCK_PROCESS_CPUTIME_ID);
            QElapsedTimer wall;
            wall.start();
            runEvents(qtbench::streamSeconds(5) * 1000);
            const double seconds = static_cast<double>(wall.elapsed()) / 1000.0;
            const double uiCpu = cpuSeconds(CLOCK_THREAD_CPUTIME_ID) - uiStart;
            const double processCpu = cpuSeconds(CLOCK_PROCESS_CPUTIME_ID) - processStart;
            stop = true;
            feedThread.join();
            turns.stop();
            window.close();

            std::vector<double> turnsMs = turns.wallMs();
            std::sort(turnsMs.begin(), turnsMs.end());
            state.counters["headlines_per_s"] = perSecond;
            state.counters["ui_cpu_pct"] = 100.0 * uiCpu / seconds;
            state.counters["process_cpu_pct"] = 100.0 * processCpu / seconds;
            state.counters["turns"] = static_cast<double>(turnsMs.size());
            state.counters["median_turn_ms"] = turnsMs.empty() ? 0 : turnsMs[turnsMs.size() / 2];
            state.counters["worst_turn_ms"] = turnsMs.empty() ? 0 : turnsMs.back();
            state.counters["turns_over_16ms"] = qtbench::overOneFrame(turnsMs);
            // The same turns in the UI thread's CPU time, which a loaded machine does not stretch.
            const std::vector<double>& cpuMs = turns.cpuMs();
            state.counters["worst_turn_cpu_ms"] = cpuMs.empty() ? 0 : *std::max_element(cpuMs.begin(), cpuMs.end());
            state.counters["turns_over_16ms_cpu"] = qtbench::overOneFrame(cpuMs);
            state.counters["cached"] = static_cast<double>(backend.cachedHeadlines());
            state.SetIterationTime(seconds);
        }
        host::HostContext::current() = host::HostContext{};
    }
}
BENCHMARK(BM_NewstermLiveStream)->Arg(1000)->Arg(5000)->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv) {
    // On a display (xvfb-run) the window is really drawn; otherwise offscreen.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", qEnvironmentVariableIsEmpty("DISPLAY") ? "offscreen" : "xcb");
    }
    qputenv("XDG_CONFIG_HOME", QDir::tempPath().toLocal8Bit());
    return qtbench::runBenchmarks<qtbench::TimedApplication>(argc, argv, "newsterm-bench");
}
