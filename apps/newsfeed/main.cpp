// newsfeed: the publisher of the news distribution. Appends the generator's (or a replay
// file's) events to one Redis stream per service; terminals started with --redis read them.
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>
#include <thread>

#include <unistd.h>

#include "apps/newsfeed/feed_options.h"
#include "embedded_backend/catalog.h"
#include "embedded_backend/news_generator.h"
#include "embedded_backend/quote_book.h"
#include "embedded_backend/replay_feed.h"
#include "embedded_backend/stream_publisher.h"

namespace {

std::atomic<bool> g_stop{false};

void onSignal(int) {
    g_stop = true;
}

using Clock = std::chrono::steady_clock;

std::int64_t wallMs() {
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::system_clock::now().time_since_epoch())
        .count();
}

// Publishes a batch, riding out a lost server: reconnects with a growing pause and publishes
// the same batch again (the publisher skips what the server had confirmed). False when the
// server refuses the entries or the program is asked to stop first.
bool publishSurely(embedded::StreamPublisher& publisher, const std::vector<embedded::FeedEvent>& events,
                   std::int64_t source) {
    std::chrono::milliseconds pause(100);
    std::string error;
    while (true) {
        if (publisher.connected() && publisher.publish(events, source, error)) {
            return true;
        }
        if (publisher.connected()) {
            std::cerr << "newsfeed: " << error << '\n';
            return false;
        }
        if (!error.empty()) {
            std::cerr << "newsfeed: " << error << "; retrying\n";
        }
        while (!g_stop) {
            std::this_thread::sleep_for(pause);
            pause = std::min(pause * 2, std::chrono::milliseconds(5000));
            if (publisher.connect(error)) {
                std::cerr << "newsfeed: connected again\n";
                break;
            }
        }
        if (g_stop) {
            return false;
        }
    }
}

std::vector<embedded::QuoteSimulator::Symbol> quotedSymbols(const embedded::Catalog& catalog) {
    std::vector<embedded::QuoteSimulator::Symbol> out;
    for (const unsigned char id : {16, 122}) {
        if (const embedded::Catalog::Service* service = catalog.service(id)) {
            for (const embedded::Catalog::Symbol& s : service->symbols) {
                out.push_back({id, s.code, s.name, embedded::demoReferencePrice(s.code)});
            }
        }
    }
    return out;
}

int runGenerator(const newsfeed::FeedOptions& o, embedded::StreamPublisher& publisher) {
    embedded::Catalog catalog;
    catalog.loadBuiltIn();
    embedded::GeneratorOptions g;
    g.seed = o.seed;
    g.startTime = wallMs() / 1000;
    // Restarted, the generator continues each service's numbers where the streams have them.
    std::map<unsigned char, embedded::PublisherState> states;
    for (const unsigned char service : catalog.serviceIds()) {
        std::string error;
        embedded::PublisherState state;
        if (!publisher.state(service, state, error)) {
            std::cerr << "newsfeed: " << error << '\n';
            return 1;
        }
        states[service] = state;
        g.startDay = std::max(g.startDay, state.day);
    }
    for (const auto& [service, state] : states) {
        if (state.day == 0 || state.day == g.startDay) {
            g.lastSeq[service] = state.lastSeq;
        }
    }
    embedded::NewsGenerator generator(g);
    embedded::QuoteSimulator quotes(o.seed, quotedSymbols(catalog));
    const auto begin = Clock::now();
    std::uint64_t made = 0;
    std::uint64_t madeQuotes = 0;
    std::int64_t source = 0;
    while (!g_stop && (o.maxEvents == 0 || made < o.maxEvents)) {
        std::vector<embedded::FeedEvent> batch;
        const double elapsed = std::chrono::duration<double>(Clock::now() - begin).count();
        std::uint64_t due = o.rate > 0 ? static_cast<std::uint64_t>(elapsed * o.rate) + 1 : made + 500;
        if (o.maxEvents != 0) {
            due = std::min<std::uint64_t>(due, o.maxEvents);
        }
        const std::int64_t now = wallMs() / 1000;
        while (made < due && batch.size() < 2000) {
            embedded::FeedEvent e = generator.next();
            if (o.rate > 0) {
                e.time = now; // paced: stamped as it goes out
            }
            batch.push_back(std::move(e));
            ++made;
        }
        if (o.quotesPerSecond > 0 && !quotes.empty()) {
            const auto dueQuotes = static_cast<std::uint64_t>(elapsed * o.quotesPerSecond);
            while (madeQuotes < dueQuotes && batch.size() < 4000) {
                embedded::FeedEvent e;
                e.kind = embedded::FeedEventKind::Quote;
                e.quote = quotes.next(now);
                batch.push_back(std::move(e));
                ++madeQuotes;
            }
        }
        if (!batch.empty()) {
            if (!publishSurely(publisher, batch, source)) {
                return g_stop ? 0 : 1;
            }
            source += static_cast<std::int64_t>(batch.size());
        }
        if (o.rate > 0) {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
    }
    return 0;
}

int runReplay(const newsfeed::FeedOptions& o, embedded::StreamPublisher& publisher) {
    std::ifstream in(o.replayPath, std::ios::binary);
    if (!in) {
        std::cerr << "newsfeed: cannot read " << o.replayPath << '\n';
        return 1;
    }
    const std::int64_t baseTime = wallMs() / 1000;
    const auto begin = Clock::now();
    std::string line;
    std::int64_t lineNo = 0;
    std::uint64_t events = 0;
    std::vector<embedded::FeedEvent> batch;
    std::int64_t batchSource = -1;
    // Each event's position is its line number: a restarted replay skips what is published.
    const auto flush = [&] {
        if (batch.empty()) {
            return true;
        }
        const bool ok = publishSurely(publisher, batch, batchSource);
        batch.clear();
        batchSource = -1;
        return ok;
    };
    while (!g_stop && std::getline(in, line) && (o.maxEvents == 0 || events < o.maxEvents)) {
        ++lineNo;
        embedded::FeedEvent e;
        double at = 0;
        std::string error;
        const embedded::LineStatus status = embedded::parseReplayLine(line, baseTime, e, at, error);
        if (status == embedded::LineStatus::Bad) {
            std::cerr << "newsfeed: " << o.replayPath << ':' << lineNo << ": " << error << " (skipped)\n";
        }
        if (status != embedded::LineStatus::Event) {
            // A skipped line keeps the positions consecutive: publish what came before it.
            if (!flush()) {
                return g_stop ? 0 : 1;
            }
            continue;
        }
        if (o.speed > 0) {
            const auto due =
                begin + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(at / o.speed));
            if (due > Clock::now()) {
                if (!flush()) {
                    return g_stop ? 0 : 1;
                }
                while (!g_stop && Clock::now() < due) {
                    std::this_thread::sleep_for(
                        std::min<Clock::duration>(due - Clock::now(), std::chrono::milliseconds(50)));
                }
            }
        }
        if (batch.empty()) {
            batchSource = lineNo;
        }
        batch.push_back(std::move(e));
        ++events;
        if (batch.size() >= 500 && !flush()) {
            return g_stop ? 0 : 1;
        }
    }
    return flush() || g_stop ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    std::string error;
    const std::optional<newsfeed::FeedOptions> options =
        newsfeed::parseFeedOptions(std::vector<std::string>(argv + 1, argv + argc), error);
    if (!options) {
        std::cerr << "newsfeed: " << error << '\n' << newsfeed::feedUsage();
        return 2;
    }
    if (options->help) {
        std::cout << newsfeed::feedUsage();
        return 0;
    }
    std::signal(SIGINT, onSignal);
    std::signal(SIGTERM, onSignal);
    std::signal(SIGPIPE, SIG_IGN);

    embedded::PublisherOptions p;
    p.address = options->redis;
    p.keepDays = options->keepDays;
    p.maxLength = options->maxLength;
    if (options->replayPath.empty()) {
        p.run = "generator:" + std::to_string(::getpid()) + ":" + std::to_string(wallMs());
    } else {
        std::error_code ec;
        const auto path = std::filesystem::weakly_canonical(options->replayPath, ec);
        p.run = "replay:" + (ec ? options->replayPath : path.string());
    }
    embedded::StreamPublisher publisher(p);
    if (!publisher.connect(error)) {
        std::cerr << "newsfeed: " << error << '\n';
        return 1;
    }
    const int rc = options->replayPath.empty() ? runGenerator(*options, publisher) : runReplay(*options, publisher);
    const embedded::StreamPublisher::Stats stats = publisher.stats();
    std::cerr << "newsfeed: published " << stats.published << " entries (" << stats.resent << " sent again, "
              << stats.skipped << " already on the server";
    if (stats.lostForGood > 0) {
        std::cerr << ", " << stats.lostForGood << " lost by the server for good";
    }
    std::cerr << ")\n";
    return rc;
}
