// The distribution under load: one publisher appending generated news to a redis-server of its
// own at a fixed rate, and many terminals' back ends (each with its store, its UI thread and
// a view registered for every service) reading it on this machine. Reported per run:
//   p50_ms / p99_ms / max_ms  delay from the publisher's XADD to the view's RecvNewHeadLine
//   behind                    entries the slowest terminal still had to read when publishing stopped
//   catchup_ms                from then until every terminal had read everything
//   stored_ms                 from then until every terminal's store had written everything
//   rate                      events per second the publisher achieved
//   aof_delayed_fsync         (terminal processes) times the server held writes back behind a slow fsync
//   forks / fork_ms           (terminal processes) the server's forks and how long the last one stopped it
// and, apart, the server's memory per million headlines (INFO memory, stories included).
#include <algorithm>
#include <atomic>
#include <future>
#include <mutex>
#include <shared_mutex>
#include <unordered_map>

#include "bench/distribution/terminal_harness.h"

namespace {

using namespace distribution_bench;

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
        const auto usedMemory = [&] { return serverInfo(server, "memory", "used_memory"); };
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
BENCHMARK(BM_DistributionTransportOnly)->Args({20, 10000})->Iterations(1)->Unit(benchmark::kSecond)->UseRealTime();
BENCHMARK(BM_RedisMemoryPerMillionHeadlines)->Arg(200000)->Iterations(1)->Unit(benchmark::kSecond)->UseRealTime();
BENCHMARK_MAIN();