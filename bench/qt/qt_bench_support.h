#pragma once
// What the Qt benchmarks share: the application that times event delivery, the record of the
// event loop's turns, the report of those turns, and the program's main.
#include <QApplication>
#include <QMetaObject>
#include <chrono>
#include <functional>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>

namespace qtbench {

using Clock = std::chrono::steady_clock;

// CPU time of the calling thread: what a turn costs without the time other processes of a
// busy machine took from it.
Clock::duration threadCpuTime();

// Adds up the time spent delivering events, outermost deliveries only, as wall-clock time and
// as CPU time.
class TimedApplication final : public QApplication {
public:
    using QApplication::QApplication;
    bool notify(QObject* receiver, QEvent* event) override;
    // Busy time since the last call (wall clock, CPU), in milliseconds.
    std::pair<double, double> takeBusyMs();

private:
    int m_depth = 0;
    Clock::duration m_busy = Clock::duration::zero();
    Clock::duration m_cpu = Clock::duration::zero();
};

// The busy time of every turn of the event loop while it records: whenever the loop is about
// to wait, whatever was delivered since the last wait was one turn. Needs a TimedApplication.
class TurnRecorder {
public:
    TurnRecorder();
    ~TurnRecorder();
    TurnRecorder(const TurnRecorder&) = delete;
    TurnRecorder& operator=(const TurnRecorder&) = delete;

    // Forgets the busy time so far: the next turn starts now.
    void restart();
    // Stops recording (the destructor does too).
    void stop();

    const std::vector<double>& wallMs() const { return m_wallMs; }
    const std::vector<double>& cpuMs() const { return m_cpuMs; }

private:
    TimedApplication* m_app;
    QMetaObject::Connection m_onBlock;
    std::vector<double> m_wallMs;
    std::vector<double> m_cpuMs;
};

// Runs an event loop that calls tick every millisecond (a precise timer) with the milliseconds
// since the start, recording turns from the start, until tick returns false. Returns the
// seconds the loop ran.
double runTicking(TurnRecorder& turns, const std::function<bool(qint64 elapsedMs)>& tick);

// The value at fraction p (0 to 1) of the sorted values; 0 for none.
double percentile(std::vector<double> values, double p);

// How many values exceed one frame (16 ms).
double overOneFrame(const std::vector<double>& values);

// NEWS_BENCH_SECONDS, at least 1; fallback when it is not set.
int streamSeconds(int fallback);

// Sets the turn counters: turns, median_ms, p99_ms, worst_ms, over_16ms, cpu_median_ms,
// cpu_worst_ms, cpu_over_16ms.
void reportTurns(benchmark::State& state, const TurnRecorder& turns);

// A benchmark program's main: offscreen unless QT_QPA_PLATFORM says otherwise, a private
// runtime folder named after prefix, the application, the benchmarks, then beforeExit (what
// must go before the application does).
template <typename App = QApplication>
int runBenchmarks(int argc, char** argv, const char* prefix, const std::function<void()>& beforeExit = {});

int runWithRuntimeDir(const char* prefix, const std::function<int()>& body);

template <typename App>
int runBenchmarks(int argc, char** argv, const char* prefix, const std::function<void()>& beforeExit) {
    return runWithRuntimeDir(prefix, [&] {
        App app(argc, argv);
        benchmark::Initialize(&argc, argv);
        benchmark::RunSpecifiedBenchmarks();
        if (beforeExit) {
            beforeExit();
        }
        benchmark::Shutdown();
        return 0;
    });
}

} // namespace qtbench
