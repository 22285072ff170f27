// The whole terminal under a live news stream: newsterm's window shown (under Xvfb when run
// through ctest, as a person sees it), the news view on the embedded back end, and a feed
// thread pushing 1,000 or 5,000 headlines a second. Reports the share of a core the UI thread
// and the whole process take, and the turns of the event loop (every event delivered between
// two waits): the worst should stay within one frame (16 ms). Each turn is also measured in the
// UI thread's CPU time, which a loaded machine does not stretch.
#include <QAbstractEventDispatcher>
#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QTemporaryDir>
#include <QTimer>
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
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
#include "embedded_backend/embedded_backend.h"
#include "host/framework/host_context.h"
#include "host/text/cp950.h"
#include "news_view/news_module.h"

namespace {

using Clock = std::chrono::steady_clock;

double cpuSeconds(clockid_t which) {
    timespec now{};
    clock_gettime(which, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

// Adds up the wall-clock time spent delivering events, outermost deliveries only.
class TimedApplication final : public QApplication {
public:
    using QApplication::QApplication;
    bool notify(QObject* receiver, QEvent* event) override {
        if (m_depth++ > 0) {
            const bool handled = QApplication::notify(receiver, event);
            --m_depth;
            return handled;
        }
        const Clock::time_point start = Clock::now();
        const double cpuStart = cpuSeconds(CLOCK_THREAD_CPUTIME_ID);
        const bool handled = QApplication::notify(receiver, event);
        --m_depth;
        m_busy += Clock::now() - start;
        m_busyCpu += cpuSeconds(CLOCK_THREAD_CPUTIME_ID) - cpuStart;
        return handled;
    }
    double takeBusyMs() {
        const double ms = std::chrono::duration<double, std::milli>(m_busy).count();
        m_busy = Clock::duration::zero();
        return ms;
    }
    // The UI thread's own CPU time in the same deliveries: on a shared machine a turn's wall
    // time also holds the time the thread waited for a core.
    double takeBusyCpuMs() {
        const double ms = m_busyCpu * 1000.0;
        m_busyCpu = 0.0;
        return ms;
    }

private:
    int m_depth = 0;
    Clock::duration m_busy = Clock::duration::zero();
    double m_busyCpu = 0.0;
};

int streamSeconds() {
    const char* text = std::getenv("NEWS_BENCH_SECONDS");
    return std::max(1, text == nullptr ? 5 : std::atoi(text));
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
        std::vector<double> turnsMs;
        std::vector<double> turnsCpuMs;
        {
            newsterm::BackendSession session(options, dispatcher, clock);
            session.start();
            RegisterNewsModule();
            newsterm::TermSettings settings(dir.filePath(QStringLiteral("layout.cfg")));
            newsterm::MainWindow window(ui, session, settings, QStringLiteral("zh-TW"));
            window.show();
            runEvents(500);

            auto* app = static_cast<TimedApplication*>(QCoreApplication::instance());
            const QMetaObject::Connection onBlock =
                QObject::connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::aboutToBlock, [&] {
                    const double busy = app->takeBusyMs();
                    const double busyCpu = app->takeBusyCpuMs();
                    if (busy > 0) {
                        turnsMs.push_back(busy);
                        turnsCpuMs.push_back(busyCpu);
                    }
                });
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
            app->takeBusyMs();
            app->takeBusyCpuMs();
            const double uiStart = cpuSeconds(CLOCK_THREAD_CPUTIME_ID);
            const double processStart = cpuSeconds(CLOCK_PROCESS_CPUTIME_ID);
            QElapsedTimer wall;
            wall.start();
            runEvents(streamSeconds() * 1000);
            const double seconds = static_cast<double>(wall.elapsed()) / 1000.0;
            const double uiCpu = cpuSeconds(CLOCK_THREAD_CPUTIME_ID) - uiStart;
            const double processCpu = cpuSeconds(CLOCK_PROCESS_CPUTIME_ID) - processStart;
            stop = true;
            feedThread.join();
            QObject::disconnect(onBlock);
            window.close();

            std::sort(turnsMs.begin(), turnsMs.end());
            std::sort(turnsCpuMs.begin(), turnsCpuMs.end());
            state.counters["headlines_per_s"] = perSecond;
            state.counters["ui_cpu_pct"] = 100.0 * uiCpu / seconds;
            state.counters["process_cpu_pct"] = 100.0 * processCpu / seconds;
            state.counters["turns"] = static_cast<double>(turnsMs.size());
            state.counters["median_turn_ms"] = turnsMs.empty() ? 0 : turnsMs[turnsMs.size() / 2];
            state.counters["worst_turn_ms"] = turnsMs.empty() ? 0 : turnsMs.back();
            state.counters["turns_over_16ms"] =
                static_cast<double>(std::count_if(turnsMs.begin(), turnsMs.end(), [](double ms) { return ms > 16.0; }));
            state.counters["worst_turn_cpu_ms"] = turnsCpuMs.empty() ? 0 : turnsCpuMs.back();
            state.counters["turns_over_16ms_cpu"] = static_cast<double>(
                std::count_if(turnsCpuMs.begin(), turnsCpuMs.end(), [](double ms) { return ms > 16.0; }));
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
    QTemporaryDir runtimeDir(QDir::tempPath() + QStringLiteral("/newsterm-bench-XXXXXX"));
    if (runtimeDir.isValid()) {
        QFile::setPermissions(runtimeDir.path(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        qputenv("XDG_RUNTIME_DIR", runtimeDir.path().toLocal8Bit());
    }
    qputenv("XDG_CONFIG_HOME", QDir::tempPath().toLocal8Bit());
    TimedApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
