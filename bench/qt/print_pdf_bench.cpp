// Printing to PDF through Qt: 1,000 stories of three pages each (120 lines of Chinese text),
// one print job, the way the news view's printer lays them out.
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include "adapters/headless/scripted_backend.h"
#include "adapters/qt/dialog_service.h"
#include "adapters/qt/qt_ui_host.h"
#include "bench/qt/qt_bench_support.h"
#include "host/framework/clock.h"
#include "host/framework/host_context.h"
#include "host/text/cp950.h"
#include "output/news_print.h"

namespace {

class FixedClock final : public host::Clock {
public:
    std::int64_t nowMs() const override { return 1704168000LL * 1000; }
};

void BM_PrintThreePageStoriesToPdf(benchmark::State& state) {
    const int stories = static_cast<int>(state.range(0));
    headless::ScriptedBackend backend;
    backend.language().set("IDS_NEWSCTRLVIEW_STRING_NEWSPRINT", cp950::fromUtf8("新聞列印"));
    backend.language().set("IDS_NEWSCTRLVIEW_STRING_DETAILED_NEWS_DATA", cp950::fromUtf8("新聞詳細資料"));
    backend.language().set("IDS_SINGLETON-STRING_FONTNAME", "Noto Sans CJK TC");
    backend.install();
    FixedClock clock;
    qthost::QtUiHost ui;
    host::HostContext::current() = host::HostContext{&ui, &clock, nullptr};

    NewsPrintList items;
    for (int s = 0; s < stories; ++s) {
        NewsPrintItem item;
        item.m_entry = CHeadlineTable{16, 1704155400 + s, s, s, 0};
        item.m_strTitle = cp950::fromUtf8("台積電法說會：第四季營收展望優於預期") + std::to_string(s);
        // A blank line, the date line, then 118 paragraphs: 120 lines, three pages.
        item.m_strStory = "\r\n2024/01/ 2 09:30:00";
        for (int line = 0; line < 118; ++line) {
            item.m_strStory += cp950::fromUtf8("公司表示，受惠於高效能運算需求持續成長，明年營運可望維持穩健。") +
                               std::to_string(line) + "\r\n";
        }
        item.m_byHasTitle = 1;
        item.m_byHasStory = 1;
        items.push_back(std::move(item));
    }
    QTemporaryDir dir;
    const QString pdf = dir.filePath(QStringLiteral("news.pdf"));
    TRVNewsPrint printer;
    for (auto _ : state) {
        ui.qtDialogs().printNextToPdf(pdf);
        printer.Print(items, nullptr);
    }
    state.counters["pdf_mb"] = static_cast<double>(QFileInfo(pdf).size()) / 1e6;
    host::HostContext::current() = host::HostContext{};
    backend.uninstall();
}
BENCHMARK(BM_PrintThreePageStoriesToPdf)->Arg(1000)->Iterations(1)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv) {
    return qtbench::runBenchmarks(argc, argv, "qt-print-bench");
}
