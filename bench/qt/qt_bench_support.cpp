#include "bench/qt/qt_bench_support.h"

#include <QAbstractEventDispatcher>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QTemporaryDir>
#include <QTimer>
#include <algorithm>
#include <cstdlib>

#include <time.h>

namespace qtbench {

Clock::duration threadCpuTime() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec);
}

bool TimedApplication::notify(QObject* receiver, QEvent* event) {
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

std::pair<double, double> TimedApplication::takeBusyMs() {
    const std::pair<double, double> ms{std::chrono::duration<double, std::milli>(m_busy).count(),
                                       std::chrono::duration<double, std::milli>(m_cpu).count()};
    m_busy = Clock::duration::zero();
    m_cpu = Clock::duration::zero();
    return ms;
}

TurnRecorder::TurnRecorder() : m_app(static_cast<TimedApplication*>(QCoreApplication::instance())) {
    m_onBlock = QObject::connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::aboutToBlock, [this] {
        const auto [busy, cpu] = m_app->takeBusyMs();
        if (busy > 0) {
            m_wallMs.push_back(busy);
            m_cpuMs.push_back(cpu);
        }
    });
}

TurnRecorder::~TurnRecorder() {
    stop();
}

void TurnRecorder::restart() {
    m_app->takeBusyMs();
}

void TurnRecorder::stop() {
    QObject::disconnect(m_onBlock);
}

double runTicking(TurnRecorder& turns, const std::function<bool(qint64 elapsedMs)>& tick) {
    QElapsedTimer elapsed;
    elapsed.start();
    QEventLoop loop;
    QTimer ticker;
    ticker.setTimerType(Qt::PreciseTimer);
    QObject::connect(&ticker, &QTimer::timeout, [&] {
        if (!tick(elapsed.elapsed())) {
            loop.quit();
        }
    });
    ticker.start(1);
    turns.restart();
    loop.exec();
    turns.stop();
    return static_cast<double>(elapsed.elapsed()) / 1000.0;
}

double percentile(std::vector<double> values, double p) {
    if (values.empty()) {
        return 0;
    }
    std::sort(values.begin(), values.end());
    return values[static_cast<std::size_t>(p * static_cast<double>(values.size() - 1))];
}

double overOneFrame(const std::vector<double>& values) {
    return static_cast<double>(std::count_if(values.begin(), values.end(), [](double ms) { return ms > 16.0; }));
}

int streamSeconds(int fallback) {
    const char* text = std::getenv("NEWS_BENCH_SECONDS");
    return std::max(1, text == nullptr ? fallback : std::atoi(text));
}

void reportTurns(benchmark::State& state, const TurnRecorder& turns) {
    state.counters["turns"] = static_cast<double>(turns.wallMs().size());
    state.counters["median_ms"] = percentile(turns.wallMs(), 0.5);
    state.counters["p99_ms"] = percentile(turns.wallMs(), 0.99);
    state.counters["worst_ms"] = percentile(turns.wallMs(), 1.0);
    state.counters["over_16ms"] = overOneFrame(turns.wallMs());
    state.counters["cpu_median_ms"] = percentile(turns.cpuMs(), 0.5);
    state.counters["cpu_worst_ms"] = percentile(turns.cpuMs(), 1.0);
    state.counters["cpu_over_16ms"] = overOneFrame(turns.cpuMs());
}

int runWithRuntimeDir(const char* prefix, const std::function<int()>& body) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    // Qt wants a private runtime folder; without one it warns on every start.
    QTemporaryDir runtimeDir(QDir::tempPath() + QLatin1Char('/') + QLatin1String(prefix) + QStringLiteral("-XXXXXX"));
    if (runtimeDir.isValid()) {
        QFile::setPermissions(runtimeDir.path(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        qputenv("XDG_RUNTIME_DIR", runtimeDir.path().toLocal8Bit());
    }
    return body();
}

} // namespace qtbench
