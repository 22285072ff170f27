// The grid under a live news stream: a million rows shown offscreen, a thousand pushes a
// second inserted at the top, the visible rows rewritten after every batch as the view does.
// Reports the busy time of each turn of the event loop (every event delivered between two
// waits of the loop: timers, posted calls, paints): every turn should stay within one frame
// (16 ms).
#include <QAbstractEventDispatcher>
#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QTemporaryDir>
#include <QTimer>
#include <QWidget>
#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <time.h>

#include "adapters/qt/qt_ui_host.h"
#include "adapters/qt/sheet_model.h"
#include "adapters/qt/sheet_window.h"
#include "host/ui/sheet.h"

namespace {

using Clock = std::chrono::steady_clock;
using host::ui::Rect;

constexpr int kColumns = 6;
constexpr std::size_t kRows = 1'000'000;
constexpr int kPushesPerSecond = 1000;

class QuietView : public host::ui::WindowHandler {
public:
    host::ui::LRESULT handleMessage(const host::ui::Message&) override { return 0; }
};

struct Grid {
    Grid() {
        window = host.createWindow(nullptr, 1, Rect{0, 0, 1000, 720}, &view);
        grid = window->createSheet(1101, Rect{0, 0, 1000, 720});
        host::ui::CSheetBuilder builder;
        builder.m_iHeaderRowHeight = 20;
        builder.m_iRowHeight = 18;
        grid->bCreateSheet(builder);
        for (int c = 0; c < kColumns; ++c) {
            grid->iInsertCol(c, c == 3 ? 520 : 80);
        }
        grid->vAddRows(kRows);
        qthost::QtUiHost::widgetOf(window)->show();
        QCoreApplication::processEvents();
    }
    ~Grid() {
        window->destroy();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    Grid(const Grid&) = delete;
    Grid& operator=(const Grid&) = delete;

    void writeRow(std::size_t row, qint64 serial) {
        const std::string n = std::to_string(serial);
        grid->vSetCellText(row, 0, "09:30:" + n.substr(n.size() > 2 ? n.size() - 2 : 0));
        grid->vSetCellText(row, 1, "MOPS");
        grid->vSetCellText(row, 2, n);
        // 台積電 ... 公告 (code page 950)
        grid->vSetCellText(row, 3, "\xA5\x78\xBF\x6E\xB9\x71 headline " + n + " \xA4\xBD\xA7\x69");
        grid->vSetCellText(row, 4, "2330");
        grid->vSetCellText(row, 5, "\xAA\xD1\xA5\xAB");
    }

    qthost::QtUiHost host;
    QuietView view;
    host::ui::Window* window = nullptr;
    host::ui::CSuperSheetWnd* grid = nullptr;
};

// CPU time of the calling thread: what a turn costs without the time other processes of a
// busy machine took from it.
Clock::duration threadCpuTime() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec);
}

// Adds up the time spent delivering events, outermost deliveries only, as wall-clock time
// and as CPU time.
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
        const Clock::duration cpuStart = threadCpuTime();
        const bool handled = QApplication::notify(receiver, event);
        --m_depth;
        m_busy += Clock::now() - start;
        m_cpu += threadCpuTime() - cpuStart;
        return handled;
    }
    // Busy time since the last call (wall clock, CPU).
    std::pair<double, double> takeBusyMs() {
        const std::pair<double, double> ms{std::chrono::duration<double, std::milli>(m_busy).count(),
                                           std::chrono::duration<double, std::milli>(m_cpu).count()};
        m_busy = Clock::duration::zero();
        m_cpu = Clock::duration::zero();
        return ms;
    }

private:
    int m_depth = 0;
    Clock::duration m_busy = Clock::duration::zero();
    Clock::duration m_cpu = Clock::duration::zero();
};

double percentile(std::vector<double> values, double p) {
    if (values.empty()) {
        return 0;
    }
    std::sort(values.begin(), values.end());
    const auto index = static_cast<std::size_t>(p * static_cast<double>(values.size() - 1));
    return values[index];
}

int streamSeconds() {
    const char* text = std::getenv("NEWS_BENCH_SECONDS");
    const int seconds = text == nullptr ? 10 : std::atoi(text);
    return std::max(1, seconds);
}

void BM_PushStreamIntoMillionRowGrid(benchmark::State& state) {
    for (auto _ : state) {
        Grid g;
        auto* app = static_cast<TimedApplication*>(QCoreApplication::instance());
        std::vector<double> turnsMs;
        std::vector<double> turnsCpuMs;
        // The loop is about to wait: whatever was delivered since the last wait was one turn.
        const QMetaObject::Connection onBlock =
            QObject::connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::aboutToBlock, [&] {
                const auto [busy, cpu] = app->takeBusyMs();
                if (busy > 0) {
                    turnsMs.push_back(busy);
                    turnsCpuMs.push_back(cpu);
                }
            });

        const qint64 total = static_cast<qint64>(streamSeconds()) * kPushesPerSecond;
        qint64 pushed = 0;
        QElapsedTimer elapsed;
        elapsed.start();
        QEventLoop loop;
        QTimer ticker;
        ticker.setTimerType(Qt::PreciseTimer);
        QObject::connect(&ticker, &QTimer::timeout, [&] {
            const qint64 due = std::min(total, elapsed.elapsed() * kPushesPerSecond / 1000);
            if (due <= pushed) {
                return;
            }
            for (; pushed < due; ++pushed) {
                g.grid->vInsertRow(0);
                g.writeRow(0, pushed);
            }
            // The view rewrites what is on screen after a batch of pushes.
            const int first = g.grid->iGetFirstVisibleRow();
            const int page = g.grid->iGetRowsPerPage();
            for (int r = first; r <= first + page; ++r) {
                g.writeRow(static_cast<std::size_t>(r), pushed - r);
            }
            if (pushed >= total) {
                loop.quit();
            }
        });
        ticker.start(1);
        app->takeBusyMs();
        loop.exec();
        QObject::disconnect(onBlock);

        state.counters["pushes"] = static_cast<double>(pushed);
        state.counters["turns"] = static_cast<double>(turnsMs.size());
        state.counters["median_ms"] = percentile(turnsMs, 0.5);
        state.counters["p99_ms"] = percentile(turnsMs, 0.99);
        state.counters["worst_ms"] = percentile(turnsMs, 1.0);
        state.counters["over_16ms"] =
            static_cast<double>(std::count_if(turnsMs.begin(), turnsMs.end(), [](double ms) { return ms > 16.0; }));
        state.counters["cpu_median_ms"] = percentile(turnsCpuMs, 0.5);
        state.counters["cpu_worst_ms"] = percentile(turnsCpuMs, 1.0);
        state.counters["rows"] = static_cast<double>(g.grid->iGetRowCount());
        state.SetIterationTime(static_cast<double>(elapsed.elapsed()) / 1000.0);
    }
}
BENCHMARK(BM_PushStreamIntoMillionRowGrid)->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);

// One turn's structural work alone: n rows inserted at the top of a million and published.
void BM_PublishTopInserts(benchmark::State& state) {
    Grid g;
    qthost::SheetModel& model = static_cast<qthost::QtSheet*>(g.grid)->model();
    qint64 serial = 0;
    for (auto _ : state) {
        for (int i = 0; i < state.range(0); ++i) {
            g.grid->vInsertRow(0);
            g.writeRow(0, ++serial);
        }
        model.publish();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_PublishTopInserts)->Arg(1)->Arg(16)->Arg(64)->Unit(benchmark::kMicrosecond);

} // namespace

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    QTemporaryDir runtimeDir(QDir::tempPath() + QStringLiteral("/qt-grid-bench-XXXXXX"));
    if (runtimeDir.isValid()) {
        QFile::setPermissions(runtimeDir.path(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        qputenv("XDG_RUNTIME_DIR", runtimeDir.path().toLocal8Bit());
    }
    TimedApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
