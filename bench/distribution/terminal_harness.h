// What the distribution benchmarks share: terminals' back ends with a view that measures
// each headline's delay from the publisher's XADD to RecvNewHeadLine, their UI threads, and
// publishing at a fixed rate.
#pragma once

#include <algorithm>
#include <array>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <deque>
#include <filesystem>
#include <fstream>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <benchmark/benchmark.h>
#include <hiredis/hiredis.h>
#include <pthread.h>
#include <unistd.h>

#include "embedded_backend/catalog.h"
#include "embedded_backend/embedded_backend.h"
#include "embedded_backend/news_generator.h"
#include "embedded_backend/redis_connection.h"
#include "embedded_backend/stream_publisher.h"
#include "host/backend/news_receiver.h"
#include "host/backend/subscriptions.h"
#include "host/backend/ui_dispatcher.h"
#include "tests/distribution/redis_server.h"

namespace distribution_bench {

using Clock = std::chrono::steady_clock;

inline std::int64_t wallMicros() {
    return std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::system_clock::now().time_since_epoch())
        .count();
}

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
        if (h->m_iSeqNo >= 0) {
            std::vector<bool>& seen = m_seen[h->m_byService];
            const auto seq = static_cast<std::size_t>(h->m_iSeqNo);
            if (seq >= seen.size()) {
                seen.resize(std::max(seq + 1, seen.size() * 2));
            }
            if (seen[seq]) {
                return;
            }
            seen[seq] = true;
        }
        const std::int64_t at = m_sent(h->m_byService, h->m_iSeqNo);
        if (at != 0) {
            delays.push_back(wallMicros() - at);
            if (delays.back() > longest.delay) {
                longest = {delays.back(), at, h->m_byService, h->m_iSeqNo};
            }
        }
    }
    struct Longest {
        std::int64_t delay = 0; // microseconds
        std::int64_t sentAt = 0;
        unsigned char service = 0;
        std::int32_t seq = 0;
    };
    std::vector<std::int64_t> delays; // UI thread
    Longest longest;                  // UI thread: the headline that took longest
private:
    SendTimeOf m_sent;
    std::array<std::vector<bool>, 256> m_seen; // per service, by number: numbers are dense
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
inline std::unique_ptr<Consumer> startConsumer(const std::filesystem::path& folder,
                                               const embedded::RedisAddress& address, const embedded::Catalog& catalog,
                                               int storeNice, SendTimeOf sent) {
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
// Starts the server with its latency monitor on: it records every event of its own (a write
// of its append-only file, a command, expiring entries...) that takes kServerEventMs or more.
inline constexpr int kServerEventMs = 20;
inline bool startServer(benchmark::State& state, distribution::test::RedisServer& server) {
    std::string error;
    if (!server.start(error)) {
        state.SkipWithError(error.c_str());
        return false;
    }
    embedded::RedisConnection admin;
    if (admin.connect(server.address(), std::chrono::seconds(5), error)) {
        admin.command({"CONFIG", "SET", "latency-monitor-threshold", std::to_string(kServerEventMs)});
    }
    return true;
}

// The longest event the server's latency monitor recorded, in ms (0 when none reached the
// threshold); writes each kind of event with its longest time to `events`.
inline double serverLongestEvent(const distribution::test::RedisServer& server, std::string& events) {
    embedded::RedisConnection admin;
    std::string error;
    if (!admin.connect(server.address(), std::chrono::seconds(5), error)) {
        return 0;
    }
    const embedded::RedisReply reply = admin.command({"LATENCY", "LATEST"});
    const redisReply* list = reply.get();
    double longest = 0;
    for (std::size_t i = 0; list != nullptr && list->type == REDIS_REPLY_ARRAY && i < list->elements; ++i) {
        const redisReply* event = list->element[i]; // name, time, latest ms, longest ms
        if (event->type != REDIS_REPLY_ARRAY || event->elements < 4) {
            continue;
        }
        const auto ms = static_cast<double>(event->element[3]->integer);
        events += std::string(event->element[0]->str, event->element[0]->len) + " " +
                  std::to_string(event->element[3]->integer) + " ms; ";
        longest = std::max(longest, ms);
    }
    return longest;
}

// CPU time, in ms, that the machine's virtual CPUs were ready to run but the hypervisor ran
// something else ("steal" in /proc/stat, summed over CPUs); 0 where it cannot be read. A stall
// that every process sees at once while this grows is the host's, not the software's.
inline double machineStealMs() {
    std::ifstream stat("/proc/stat");
    std::string cpu;
    std::uint64_t user = 0, nice = 0, system = 0, idle = 0, iowait = 0, irq = 0, softirq = 0, steal = 0;
    if (!(stat >> cpu >> user >> nice >> system >> idle >> iowait >> irq >> softirq >> steal) || cpu != "cpu") {
        return 0;
    }
    return static_cast<double>(steal) * 1000.0 / static_cast<double>(sysconf(_SC_CLK_TCK));
}

// A number of the server's INFO (section, field); 0 when it cannot be read.
inline double serverInfo(const distribution::test::RedisServer& server, const std::string& section,
                         const std::string& field) {
    embedded::RedisConnection admin;
    std::string error;
    if (!admin.connect(server.address(), std::chrono::seconds(5), error)) {
        return 0;
    }
    const std::string text = admin.command({"INFO", section}).text();
    const std::size_t at = text.find(field + ":");
    return at == std::string::npos ? 0.0 : std::strtod(text.c_str() + at + field.size() + 1, nullptr);
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
inline void reportDelays(benchmark::State& state, std::vector<std::int64_t>& delays) {
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

} // namespace distribution_bench
