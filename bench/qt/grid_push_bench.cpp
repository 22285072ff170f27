// The grid under a live news stream: a million rows shown offscreen, a thousand pushes a
// second inserted at the top, the visible rows rewritten after every batch as the view does.
// Reports the busy time of each turn of the event loop (every event delivered between two
// waits of the loop: timers, posted calls, paints): every turn should stay within one frame
// (16 ms).
#include <QWidget>
#include <algorithm>
#include <chrono>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "adapters/qt/qt_ui_host.h"
#include "adapters/qt/sheet_model.h"
#include "adapters/qt/sheet_window.h"
#include "bench/qt/qt_bench_support.h"
#include "host/ui/sheet.h"

namespace {

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

void BM_PushStreamIntoMillionRowGrid(benchmark::State& state) {
    for (auto _ : state) {
        Grid g;
        qtbench::TurnRecorder turns;

        const qint64 total = static_cast<qint64>(qtbench::streamSeconds(10)) * kPushesPerSecond;
        qint64 pushed = 0;
        const double ranSeconds = qtbench::runTicking(turns, [&](qint64 elapsedMs) {
            const qint64 due = std::min(total, elapsedMs * kPushesPerSecond / 1000);
            if (due <= pushed) {
                return true;
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
            return pushed < total;
        });

        state.counters["pushes"] = static_cast<double>(pushed);
        qtbench::reportTurns(state, turns);
        state.counters["rows"] = static_cast<double>(g.grid->iGetRowCount());
        state.SetIterationTime(ranSeconds);
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
    return qtbench::runBenchmarks<qtbench::TimedApplication>(argc, argv, "qt-grid-bench");
}
