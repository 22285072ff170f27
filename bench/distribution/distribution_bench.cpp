// The distribution under load: one publisher appending generated news to a redis-server of its
// own at a fixed rate, and many terminals' back ends (each with its store, its UI thread and
// a view registered for every service) reading it on this machine. Reported per run:
//   p50_ms / p99_ms / max_ms  delay from the publisher's XADD to the view's RecvNewHeadLine
//   behind                    entries the slowest terminal still had to read when publishing stopped
//   catchup_ms                from then until every terminal had read everything
//   stored_ms                 from then until every terminal's store had written everything
//   rate                      events per second the publisher achieved
// and, apart, the server's memory per million headlines (INFO memory, stories included).
#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <deque>
#include <filesystem>
#include <functional>
#include <future>
#include <map>
#include <mutex>
#include <new>
#include <optional>
#include <shared_mutex>
#include <thread>
#include <unordered_map>
#include <unordered_set>

#include <benchmark/benchmark.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include "embedded_backend/catalog.h"
#include "embedded_backend/embedded_backend.h"
#include "embedded_backend/news_generator.h"
#include "embedded_backend/stream_publisher.h"
#include "host/backend/news_receiver.h"
#include "host/backend/subscriptions.h"
#include "host/backend/ui_dispatcher.h"
#include "tests/distribution/redis_server.h"

namespace {

using Clock = std::chrono::steady_clock;

std::int64_t wallMicros() {
    return std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::system_clock::now().time_since_epoch())
        .count();
}

// When each headline was appended, by service and number (the publisher writes, views read).
class SendTimes {
public:
    void put(unsigned char service, std::int32_t seq, std::int64_t micros) {
        std::unique_lock lock(m_mutex);
        m_times[key(service, seq)] = micros;
    }
    std::int64_t get(unsigned char service, std::int32_t seq) const {
        std::shared_lock lock(m_mutex);
        const auto it = m_times.find(key(service, seq));
        return it == m_times.end() ? 0 : it->second;
    }

private:
    static std::int64_t key(unsigned char service, std::int32_t seq) { return (std::int64_t{service} << 32) | seq; }
    // Twenty views look up every headline: readers share the lock and the look-up is flat.
    mutable std::shared_mutex m_mutex;
    std::unordered_map<std::int64_t, std::int64_t> m_times;
};

// A UI thread: runs what the back end posts, as soon as it is posted.
class UiThread final : public UiDispatcher {
public:
    UiThread()
        : m_thread([this] {
              pthread_setname_np(pthread_self(), "news-ui");
              run();
          }) {}
    ~UiThread() override {
        {
            std::lock_guard lock(m_mutex);
            m_stop = true;
        }
        m_wake.notify_all();
        m_thread.join();
    }
    void post(std::function<void()> work) override {
        {
            std::lock_guard lock(m_mutex);
            m_work.push_back(std::move(work));
        }
        m_wake.notify_one();
    }

private:
    void run() {
        std::unique_lock lock(m_mutex);
        while (true) {
            m_wake.wait(lock, [this] { return m_stop || !m_work.empty(); });
            if (m_work.empty()) {
                return;
            }
            std::function<void()> work = std::move(m_work.front());
            m_work.pop_front();
            lock.unlock();
            work();
            lock.lock();
        }
    }

    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::deque<std::function<void()>> m_work;
    bool m_stop = false;
    std::thread m_thread;
};

// When a headline was appended (wall-clock microseconds), 0 when unknown.
using SendTimeOf = std::function<std::int64_t(unsigned char service, std::int32_t seq)>;

class DelayView final : public NewsReceiver {
public:
    explicit DelayView(SendTimeOf sent) : m_sent(std::move(sent)) {}
    void RecvNewHeadLine(const CHeadline* h, const CString&, const CString&) override {
        // A corrected headline comes again with the same service and number, seconds later:
        // measured against the first one's time it would count its age as delay. Only the
        // first push of each number is measured.
        if (!m_seen.insert((std::int64_t{h->m_byService} << 32) | h->m_iSeqNo).second) {
            return;
        }
        const std::int64_t at = m_sent(h->m_byService, h->m_iSeqNo);
        if (at != 0) {
            delays.push_back(wallMicros() - at);
        }
    }
    std::vector<std::int64_t> delays; // UI thread
private:
    SendTimeOf m_sent;
    std::unordered_set<std::int64_t> m_seen;
};

struct Consumer {
    std::filesystem::path folder;
    UiThread ui;
    NewsSubscriptions subscriptions;
    std::unique_ptr<DelayView> view;
    std::unique_ptr<embedded::EmbeddedBackend> backend;
};

// A terminal's back end with a view of every service, reading the distribution at `address`.
// `storeNice`: nice steps of its store's writer; 20 stands for the idle scheduling class.
std::unique_ptr<Consumer> startConsumer(const std::filesystem::path& folder, const embedded::RedisAddress& address,
                                        const embedded::Catalog& catalog, int storeNice, SendTimeOf sent) {
    auto c = std::make_unique<Consumer>();
    c->folder = folder;
    c->view = std::make_unique<DelayView>(std::move(sent));
    std::vector<CSymbolInfo> all;
    for (const unsigned char s : catalog.serviceIds()) {
        all.push_back(CSymbolInfo{s, {}, {}});
    }
    c->subscriptions.change(c->view.get(), all, {});
    embedded::EmbeddedBackendOptions o;
    o.dataFolder = c->folder.string();
    o.dispatcher = &c->ui;
    o.subscriptions = &c->subscriptions;
    o.startConnected = false;
    o.storeNiceIncrement = std::min(storeNice, 19);
    o.storeIdle = storeNice >= 20;
    c->backend = std::make_unique<embedded::EmbeddedBackend>(o);
    c->backend->open();
    embedded::StreamFeedOptions feed;
    feed.address = address;
    c->backend->startStreamFeed(feed);
    return c;
}

// Starts a redis-server of the run's own; a server that does not start skips the benchmark.
bool startServer(benchmark::State& state, distribution::test::RedisServer& server) {
    std::string error;
    if (!server.start(error)) {
        state.SkipWithError(error.c_str());
        return false;
    }
    return true;
}

// Publishes generated news at `rate` events a second for `seconds`, a batch every 2 ms;
// `beforeSend(batch, elapsedSeconds)` sees each batch just before it goes out. Returns the
// seconds publishing took, or nothing after handing the publisher's error to the benchmark.
template <class BeforeSend>
std::optional<double> publishAtRate(benchmark::State& state, embedded::StreamPublisher& publisher,
                                    embedded::NewsGenerator& generator, double rate, double seconds,
                                    BeforeSend beforeSend) {
    std::string error;
    const auto begin = Clock::now();
    std::uint64_t made = 0;
    std::int64_t source = 0;
    while (true) {
        const double elapsed = std::chrono::duration<double>(Clock::now() - begin).count();
        if (elapsed >= seconds) {
            break;
        }
        const auto due = static_cast<std::uint64_t>(elapsed * rate);
        std::vector<embedded::FeedEvent> batch;
        while (made < due) {
            batch.push_back(generator.next());
            ++made;
        }
        if (!batch.empty()) {
            beforeSend(batch, elapsed);
            if (!publisher.publish(batch, source, error)) {
                state.SkipWithError(error.c_str());
                return std::nullopt;
            }
            source += static_cast<std::int64_t>(batch.size());
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return std::chrono::duration<double>(Clock::now() - begin).count();
}

// Waits until every reader has read `published` entries (`readBy(i)` for reader i), at most
// `limit` in all; returns the milliseconds it took.
template <class ReadBy>
double waitForCatchUp(std::size_t readers, ReadBy readBy, std::uint64_t published, std::chrono::seconds limit) {
    const auto stopped = Clock::now();
    for (std::size_t i = 0; i < readers; ++i) {
        while (readBy(i) < published && Clock::now() - stopped < limit) {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
    }
    return std::chrono::duration<double, std::milli>(Clock::now() - stopped).count();
}

// p50_ms and p99_ms of the delays (microseconds), which it sorts.
void reportDelays(benchmark::State& state, std::vector<std::int64_t>& delays) {
    std::sort(delays.begin(), delays.end());
    const auto percentile = [&](double q) {
        return delays.empty() ? 0.0
                              : static_cast<double>(
                                    delays[std::min(delays.size() - 1, static_cast<std::size_t>(q * delays.size()))]) /
                                    1000.0;
    };
    state.counters["p50_ms"] = percentile(0.50);
    state.counters["p99_ms"] = percentile(0.99);
}

void BM_DistributionToManyTerminals(benchmark::State& state) {
    const auto consumers = static_cast<std::size_t>(state.range(0));
    const auto rate = static_cast<double>(state.range(1));
    const auto storeNice = static_cast<int>(state.range(2));
    constexpr double kSeconds = 5;
    for (auto _ : state) {
        distribution::test::RedisServer server;
        std::string error;
        if (!startServer(state, server)) {
            return;
        }
        SendTimes sent;
        embedded::Catalog catalog;
        catalog.loadBuiltIn();
        std::vector<std::unique_ptr<Consumer>> terminals;
        for (std::size_t i = 0; i < consumers; ++i) {
            terminals.push_back(
                startConsumer(server.folder() / ("terminal-" + std::to_string(i)), server.address(), catalog, storeNice,
                              [&sent](unsigned char service, std::int32_t seq) { return sent.get(service, seq); }));
        }
        for (const auto& c : terminals) {
            while (!c->backend->streamFeedStats().connected) {
                std::this_thread::sleep_for(std::chrono::milliseconds(10));
            }
        }
        embedded::PublisherOptions p;
        p.address = server.address();
        p.run = "bench";
        embedded::StreamPublisher publisher(p);
        if (!publisher.connect(error)) {
            state.SkipWithError(error.c_str());
            return;
        }
        embedded::GeneratorOptions g;
        g.startTime = wallMicros() / 1000000;
        embedded::NewsGenerator generator(g);
        const std::optional<double> publishSeconds =
            publishAtRate(state, publisher, generator, rate, kSeconds, [&](auto& batch, double elapsed) {
                const std::int64_t now = wallMicros();
                for (embedded::FeedEvent& e : batch) {
                    e.time = g.startTime + static_cast<std::int64_t>(elapsed);
                    if (e.kind == embedded::FeedEventKind::Headline) {
                        sent.put(e.service, e.seq, now);
                    }
                }
            });
        if (!publishSeconds) {
            return;
        }
        const std::uint64_t published = publisher.stats().published;
        std::uint64_t behind = 0;
        for (const auto& c : terminals) {
            behind = std::max<std::uint64_t>(behind, published - c->backend->streamFeedStats().entries);
        }
        const auto stopped = Clock::now();
        const double catchupMs = waitForCatchUp(
            terminals.size(), [&](std::size_t i) { return terminals[i]->backend->streamFeedStats().entries; },
            published, std::chrono::seconds(120));
        for (const auto& c : terminals) {
            c->backend->flushStore();
        }
        const double storedMs = std::chrono::duration<double, std::milli>(Clock::now() - stopped).count();
        std::vector<std::int64_t> delays;
        for (const auto& c : terminals) {
            c->backend->shutdown();
        }
        for (const auto& c : terminals) {
            // Everything posted before this has run once it runs.
            std::promise<void> drained;
            c->ui.post([&] { drained.set_value(); });
            drained.get_future().wait();
            delays.insert(delays.end(), c->view->delays.begin(), c->view->delays.end());
        }
        terminals.clear();
        reportDelays(state, delays);
        state.counters["max_ms"] = delays.empty() ? 0.0 : static_cast<double>(delays.back()) / 1000.0;
        state.counters["pushes"] = static_cast<double>(delays.size());
        state.counters["rate"] = static_cast<double>(published) / *publishSeconds;
        state.counters["behind"] = static_cast<double>(behind);
        state.counters["catchup_ms"] = catchupMs;
        state.counters["stored_ms"] = storedMs;
    }
}

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
        const auto endChildren = [&] {
            run.flush.store(true);
            std::vector<std::int64_t> delays;
            bool complete = children.size() == consumers;
            for (std::size_t i = 0; i < children.size(); ++i) {
                complete = readDelays(pipes[i], delays) && complete;
                close(pipes[i]);
                int status = 0;
                waitpid(children[i], &status, 0);
                complete = complete && WIFEXITED(status) && WEXITSTATUS(status) == 0;
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
        state.counters["pushes"] = static_cast<double>(delays->size());
        state.counters["rate"] = static_cast<double>(published) / *publishSeconds;
        state.counters["behind"] = static_cast<double>(behind);
        state.counters["catchup_ms"] = catchupMs;
        state.counters["stored_ms"] = storedMs;
    }
}

// The distribution alone: the same publisher and rate, readers that decode every entry and
// drop it (no ingest, no store, no view). On one machine the full terminals above share two
// cores with each other's stores; this shows what the server and the readers themselves cost.
void BM_DistributionTransportOnly(benchmark::State& state) {
    const auto readers = static_cast<std::size_t>(state.range(0));
    const auto rate = static_cast<double>(state.range(1));
    constexpr double kSeconds = 5;
    for (auto _ : state) {
        distribution::test::RedisServer server;
        std::string error;
        if (!startServer(state, server)) {
            return;
        }
        embedded::Catalog catalog;
        catalog.loadBuiltIn();
        std::mutex mutex;
        std::vector<std::int64_t> delays;
        std::vector<std::unique_ptr<embedded::StreamFeed>> feeds;
        std::atomic<std::uint64_t> read{0};
        for (std::size_t i = 0; i < readers; ++i) {
            embedded::StreamFeedOptions o;
            o.address = server.address();
            o.services = catalog.serviceIds();
            o.onEntry = [&](const embedded::stream::Entry& e) {
                const std::int64_t delay = wallMicros() - e.publishedMs * 1000;
                std::lock_guard lock(mutex);
                delays.push_back(delay);
            };
            feeds.push_back(std::make_unique<embedded::StreamFeed>());
            feeds.back()->start(o, [&](std::vector<embedded::FeedEvent> events) { read += events.size(); });
        }
        embedded::PublisherOptions p;
        p.address = server.address();
        p.run = "transport";
        embedded::StreamPublisher publisher(p);
        publisher.connect(error);
        embedded::GeneratorOptions g;
        g.startTime = wallMicros() / 1000000;
        embedded::NewsGenerator generator(g);
        const std::optional<double> publishSeconds =
            publishAtRate(state, publisher, generator, rate, kSeconds, [](auto&, double) {});
        if (!publishSeconds) {
            return;
        }
        const std::uint64_t published = publisher.stats().published;
        const double catchupMs = waitForCatchUp(
            feeds.size(), [&](std::size_t i) { return feeds[i]->stats().entries; }, published,
            std::chrono::seconds(60));
        feeds.clear();
        // The publisher stamps whole milliseconds: delays are good to about a millisecond.
        reportDelays(state, delays);
        state.counters["rate"] = static_cast<double>(published) / *publishSeconds;
        state.counters["catchup_ms"] = catchupMs;
    }
}

// Server memory per million headlines: generated news (stories, late stories, corrections
// included, as a day of news has them) appended to an empty server.
void BM_RedisMemoryPerMillionHeadlines(benchmark::State& state) {
    const auto events = static_cast<std::size_t>(state.range(0));
    for (auto _ : state) {
        distribution::test::RedisServer server;
        std::string error;
        if (!startServer(state, server)) {
            return;
        }
        embedded::RedisConnection admin;
        admin.connect(server.address(), std::chrono::seconds(5), error);
        const auto usedMemory = [&] {
            const embedded::RedisReply info = admin.command({"INFO", "memory"});
            const std::string text = info.text();
            const std::size_t at = text.find("used_memory:");
            return at == std::string::npos ? 0.0 : std::stod(text.substr(at + 12));
        };
        const double before = usedMemory();
        embedded::PublisherOptions p;
        p.address = server.address();
        p.run = "memory";
        p.retain = 0;
        embedded::StreamPublisher publisher(p);
        publisher.connect(error);
        embedded::GeneratorOptions g;
        g.startTime = wallMicros() / 1000000;
        embedded::NewsGenerator generator(g);
        std::size_t headlines = 0;
        std::vector<embedded::FeedEvent> batch;
        for (std::size_t i = 0; i < events; ++i) {
            batch.push_back(generator.next());
            headlines += batch.back().kind == embedded::FeedEventKind::Headline ? 1 : 0;
            if (batch.size() == 1000) {
                publisher.publish(batch, static_cast<std::int64_t>(i), error);
                batch.clear();
            }
        }
        publisher.publish(batch, static_cast<std::int64_t>(events), error);
        const double after = usedMemory();
        state.counters["headlines"] = static_cast<double>(headlines);
        state.counters["MB_per_million_headlines"] = (after - before) / static_cast<double>(headlines) * 1e6 / 1e6;
    }
}

} // namespace

// Arguments: terminals, events per second, nice steps of each store's writer thread (19: the
// lowest nice priority; 20: the idle scheduling class, what a machine running many back ends
// sets; 5: the back end's default).
BENCHMARK(BM_DistributionToManyTerminals)
    ->Args({20, 10000, 20})
    ->Args({20, 5000, 20})
    ->Args({20, 10000, 19})
    ->Args({20, 5000, 19})
    ->Args({20, 10000, 5})
    ->Args({1, 10000, 5})
    ->Iterations(1)
    ->Unit(benchmark::kSecond)
    ->UseRealTime();
BENCHMARK(BM_DistributionToTerminalProcesses)
    ->Args({20, 10000, 20})
    ->Args({20, 5000, 20})
    ->Args({20, 10000, 19})
    ->Iterations(1)
    ->Unit(benchmark::kSecond)
    ->UseRealTime();
BENCHMARK(BM_DistributionTransportOnly)->Args({20, 10000})->Iterations(1)->Unit(benchmark::kSecond)->UseRealTime();
BENCHMARK(BM_RedisMemoryPerMillionHeadlines)->Arg(200000)->Iterations(1)->Unit(benchmark::kSecond)->UseRealTime();
BENCHMARK_MAIN();
