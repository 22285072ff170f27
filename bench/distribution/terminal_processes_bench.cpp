// The distribution benchmark with each terminal in a process of its own, as terminals sharing
// a machine run: each has its own allocator and address space. Reports the same counters as
// BM_DistributionToManyTerminals (see distribution_bench.cpp).
#include <algorithm>
#include <atomic>
#include <future>
#include <limits>
#include <new>
#include <string>
#include <thread>
#include <vector>

#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include "bench/distribution/terminal_harness.h"

namespace {

using namespace distribution_bench;

// What the benchmark shares with terminals running in processes of their own: an anonymous
// shared mapping made before they fork. The benchmark is the only writer of the send times.
struct SharedRun {
    static constexpr std::size_t kSlots = std::size_t{1} << 20; // open addressing, far above a run's headlines
    struct Slot {
        std::atomic<std::int64_t> key;
        std::atomic<std::int64_t> micros;
    };
    enum : int { kStarting, kConnected, kStored, kFailed };
    struct Terminal {
        std::atomic<std::uint64_t> entries;
        std::atomic<int> state;
        DelayView::Longest longest; // written by the terminal before it ends
    };
    Slot sent[kSlots];
    Terminal terminals[64];
    std::atomic<bool> flush; // the benchmark asks every terminal to write everything and end

    static std::size_t slotOf(std::int64_t key) {
        return static_cast<std::size_t>((static_cast<std::uint64_t>(key) * 0x9E3779B97F4A7C15ULL) >> 44);
    }
    void put(unsigned char service, std::int32_t seq, std::int64_t micros) {
        const std::int64_t key = ((std::int64_t{service} << 32) | seq) + 1;
        for (std::size_t i = slotOf(key);; i = (i + 1) % kSlots) {
            const std::int64_t k = sent[i].key.load(std::memory_order_relaxed);
            if (k == 0 || k == key) {
                sent[i].micros.store(micros, std::memory_order_relaxed);
                sent[i].key.store(key, std::memory_order_release);
                return;
            }
        }
    }
    std::int64_t get(unsigned char service, std::int32_t seq) const {
        const std::int64_t key = ((std::int64_t{service} << 32) | seq) + 1;
        for (std::size_t i = slotOf(key);; i = (i + 1) % kSlots) {
            const std::int64_t k = sent[i].key.load(std::memory_order_acquire);
            if (k == 0) {
                return 0;
            }
            if (k == key) {
                return sent[i].micros.load(std::memory_order_relaxed);
            }
        }
    }
};

// A terminal process: one back end and its view, reporting its progress in `run`, until the
// benchmark asks it to write everything; then it sends its delays through `out` and ends.
[[noreturn]] void runTerminalProcess(SharedRun& run, std::size_t index, const std::filesystem::path& folder,
                                     const embedded::RedisAddress& address, int storeNice, int out) {
    SharedRun::Terminal& me = run.terminals[index];
    std::vector<std::int64_t> delays;
    {
        embedded::Catalog catalog;
        catalog.loadBuiltIn();
        std::unique_ptr<Consumer> c =
            startConsumer(folder, address, catalog, storeNice,
                          [&run](unsigned char service, std::int32_t seq) { return run.get(service, seq); });
        while (!run.flush.load()) {
            const embedded::StreamFeed::Stats stats = c->backend->streamFeedStats();
            me.entries.store(stats.entries);
            if (stats.connected && me.state.load() == SharedRun::kStarting) {
                me.state.store(SharedRun::kConnected);
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        me.entries.store(c->backend->streamFeedStats().entries);
        c->backend->flushStore();
        me.state.store(SharedRun::kStored);
        c->backend->shutdown();
        std::promise<void> drained;
        c->ui.post([&] { drained.set_value(); });
        drained.get_future().wait();
        delays = std::move(c->view->delays);
        me.longest = c->view->longest;
    }
    const std::uint64_t count = delays.size();
    bool ok = write(out, &count, sizeof count) == static_cast<ssize_t>(sizeof count);
    const char* bytes = reinterpret_cast<const char*>(delays.data());
    for (std::size_t done = 0, size = delays.size() * sizeof(std::int64_t); ok && done < size;) {
        const ssize_t n = write(out, bytes + done, size - done);
        ok = n > 0;
        done += ok ? static_cast<std::size_t>(n) : 0;
    }
    _exit(ok ? 0 : 1);
}

// Reads what a terminal process sent; false when it sent nothing whole.
bool readDelays(int in, std::vector<std::int64_t>& delays) {
    const auto readAll = [in](void* into, std::size_t size) {
        auto* bytes = static_cast<char*>(into);
        for (std::size_t done = 0; done < size;) {
            const ssize_t n = read(in, bytes + done, size - done);
            if (n <= 0) {
                return false;
            }
            done += static_cast<std::size_t>(n);
        }
        return true;
    };
    std::uint64_t count = 0;
    if (!readAll(&count, sizeof count)) {
        return false;
    }
    const std::size_t at = delays.size();
    delays.resize(at + count);
    return readAll(delays.data() + at, count * sizeof(std::int64_t));
}

// The same load, each terminal in a process of its own, as terminals sharing a machine run:
// each has its own allocator and address space. The delays are measured by each process's
// view against the send times the benchmark shares with them.
void BM_DistributionToTerminalProcesses(benchmark::State& state) {
    const auto consumers = std::min<std::size_t>(static_cast<std::size_t>(state.range(0)), 64);
    const auto rate = static_cast<double>(state.range(1));
    const auto storeNice = static_cast<int>(state.range(2));
    constexpr double kSeconds = 5;
    for (auto _ : state) {
        distribution::test::RedisServer server;
        std::string error;
        if (!startServer(state, server)) {
            return;
        }
        void* mapped = mmap(nullptr, sizeof(SharedRun), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        if (mapped == MAP_FAILED) {
            state.SkipWithError("no shared memory for the terminal processes");
            return;
        }
        auto& run = *new (mapped) SharedRun(); // every slot empty, every terminal starting
        std::vector<pid_t> children;
        std::vector<int> pipes;
        for (std::size_t i = 0; i < consumers; ++i) {
            int fds[2];
            if (pipe(fds) != 0) {
                break;
            }
            const pid_t pid = fork();
            if (pid == 0) {
                close(fds[0]);
                runTerminalProcess(run, i, server.folder() / ("terminal-" + std::to_string(i)), server.address(),
                                   storeNice, fds[1]);
            }
            close(fds[1]);
            if (pid < 0) {
                close(fds[0]);
                break;
            }
            children.push_back(pid);
            pipes.push_back(fds[0]);
        }
        // The smallest of the terminals' longest delays: near the largest when a stall held up
        // every terminal at once (the server, the publisher, the machine), not just one.
        std::int64_t leastLongest = std::numeric_limits<std::int64_t>::max();
        // Which terminal waited longest, for which headline, and when it was sent: to find the
        // stall in a recording of the run.
        std::size_t slowestTerminal = 0;
        DelayView::Longest slowestLongest;
        const auto endChildren = [&] {
            run.flush.store(true);
            std::vector<std::int64_t> delays;
            bool complete = children.size() == consumers;
            for (std::size_t i = 0; i < children.size(); ++i) {
                const std::size_t from = delays.size();
                complete = readDelays(pipes[i], delays) && complete;
                if (delays.size() > from) {
                    const std::int64_t longest =
                        *std::max_element(delays.begin() + static_cast<std::ptrdiff_t>(from), delays.end());
                    leastLongest = std::min(leastLongest, longest);
                }
                close(pipes[i]);
                int status = 0;
                waitpid(children[i], &status, 0);
                complete = complete && WIFEXITED(status) && WEXITSTATUS(status) == 0;
                if (run.terminals[i].longest.delay > slowestLongest.delay) {
                    slowestTerminal = i;
                    slowestLongest = run.terminals[i].longest;
                }
            }
            munmap(mapped, sizeof(SharedRun));
            return complete ? std::optional(std::move(delays)) : std::nullopt;
        };
        const auto waitFor = [&](int terminalState, std::chrono::seconds limit) {
            const auto start = Clock::now();
            for (std::size_t i = 0; i < children.size(); ++i) {
                while (run.terminals[i].state.load() < terminalState && Clock::now() - start < limit) {
                    std::this_thread::sleep_for(std::chrono::milliseconds(5));
                }
            }
        };
        waitFor(SharedRun::kConnected, std::chrono::seconds(60));
        embedded::PublisherOptions p;
        p.address = server.address();
        p.run = "bench";
        embedded::StreamPublisher publisher(p);
        if (!publisher.connect(error)) {
            endChildren();
            state.SkipWithError(error.c_str());
            return;
        }
        embedded::GeneratorOptions g;
        g.startTime = wallMicros() / 1000000;
        embedded::NewsGenerator generator(g);
        const double stealBefore = machineStealMs();
        const std::int64_t publishedFrom = wallMicros();
        const std::optional<double> publishSeconds =
            publishAtRate(state, publisher, generator, rate, kSeconds, [&](auto& batch, double elapsed) {
                const std::int64_t now = wallMicros();
                for (embedded::FeedEvent& e : batch) {
                    e.time = g.startTime + static_cast<std::int64_t>(elapsed);
                    if (e.kind == embedded::FeedEventKind::Headline) {
                        run.put(e.service, e.seq, now);
                    }
                }
            });
        if (!publishSeconds) {
            endChildren();
            return;
        }
        const std::uint64_t published = publisher.stats().published;
        std::uint64_t behind = 0;
        for (std::size_t i = 0; i < children.size(); ++i) {
            behind = std::max<std::uint64_t>(behind, published - std::min(published, run.terminals[i].entries.load()));
        }
        const auto stopped = Clock::now();
        const double catchupMs = waitForCatchUp(
            children.size(), [&](std::size_t i) { return run.terminals[i].entries.load(); }, published,
            std::chrono::seconds(120));
        const double stolenMs = machineStealMs() - stealBefore;
        run.flush.store(true);
        waitFor(SharedRun::kStored, std::chrono::seconds(600));
        const double storedMs = std::chrono::duration<double, std::milli>(Clock::now() - stopped).count();
        std::optional<std::vector<std::int64_t>> delays = endChildren();
        if (!delays) {
            state.SkipWithError("a terminal process failed");
            return;
        }
        reportDelays(state, *delays);
        state.counters["max_ms"] = delays->empty() ? 0.0 : static_cast<double>(delays->back()) / 1000.0;
        state.counters["least_max_ms"] = delays->empty() ? 0.0 : static_cast<double>(leastLongest) / 1000.0;
        state.counters["pushes"] = static_cast<double>(delays->size());
        state.counters["rate"] = static_cast<double>(published) / *publishSeconds;
        state.counters["behind"] = static_cast<double>(behind);
        state.counters["catchup_ms"] = catchupMs;
        state.counters["steal_ms"] = stolenMs; // from publishing's start to the catch-up
        state.counters["stored_ms"] = storedMs;
        // Times the server held its writes back behind a slow fsync of its append-only file
        // (the terminals' stores share its disk): each can hold every reader up to 2 s.
        state.counters["aof_delayed_fsync"] = serverInfo(server, "persistence", "aof_delayed_fsync");
        // Forks (an append-only file rewritten in the background) stop the server meanwhile.
        state.counters["forks"] = serverInfo(server, "stats", "total_forks");
        state.counters["fork_ms"] = serverInfo(server, "stats", "latest_fork_usec") / 1000.0;
        // The server's own longest stall (see startServer); its kinds go in the report's label.
        std::string events;
        state.counters["server_event_ms"] = serverLongestEvent(server, events);
        const DelayView::Longest& l = slowestLongest;
        events += "longest: terminal " + std::to_string(slowestTerminal) + ", " + std::to_string(l.delay / 1000) +
                  " ms, for " + std::to_string(l.service) + "/" + std::to_string(l.seq) + " sent " +
                  std::to_string((l.sentAt - publishedFrom) / 1000) + " ms into publishing";
        state.SetLabel(events);
    }
}

} // namespace

// Arguments as for BM_DistributionToManyTerminals.
BENCHMARK(BM_DistributionToTerminalProcesses)
    ->Args({20, 10000, 20})
    ->Args({20, 5000, 20})
    ->Args({20, 10000, 19})
    ->Iterations(1)
    ->Unit(benchmark::kSecond)
    ->UseRealTime();
