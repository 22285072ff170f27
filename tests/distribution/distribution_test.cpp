// The distribution end to end: a redis-server of the test's own, publishers and terminals'
// back ends reading it, and the faults a brokerage sees: restarts of each part, slow readers,
// a server that loses its last writes.
#include <fstream>
#include <future>
#include <optional>
#include <sstream>

#include <sqlite3.h>

#include "embedded_backend/news_generator.h"
#include "tests/distribution/distribution_fixture.h"

#ifndef READER_PROGRAM
#error "READER_PROGRAM names the back end run alone in a process"
#endif
#ifndef NEWSFEED_PROGRAM
#error "NEWSFEED_PROGRAM names the publisher program"
#endif

namespace distribution::test {
namespace {

std::int64_t nowSeconds() {
    return std::chrono::duration_cast<std::chrono::seconds>(std::chrono::system_clock::now().time_since_epoch())
        .count();
}

// Generated news with trades between, as a publisher sends it.
std::vector<embedded::FeedEvent> generated(std::size_t count, std::uint64_t seed) {
    embedded::GeneratorOptions g;
    g.seed = seed;
    g.startTime = nowSeconds();
    embedded::NewsGenerator generator(g);
    std::vector<embedded::FeedEvent> out;
    for (std::size_t i = 0; i < count; ++i) {
        out.push_back(generator.next());
        if (i % 10 == 0) {
            embedded::FeedEvent q;
            q.kind = embedded::FeedEventKind::Quote;
            q.quote = embedded::QuoteTick{16, "2330", "", g.startTime, 50000, 50100, 50000, 50100, 1};
            out.push_back(std::move(q));
        }
    }
    return out;
}

std::string describe(const embedded::StreamFeed::Stats& s) {
    return " (duplicates " + std::to_string(s.duplicates) + ", gaps " + std::to_string(s.gaps) + ", unrecovered " +
           std::to_string(s.unrecovered) + ", rollbacks " + std::to_string(s.rollbacks) + ", bad " +
           std::to_string(s.bad) + ", last error: " + s.lastError + ")";
}

// Per stream: how many entries it holds and the newest entry number, for failure messages.
std::string streamSummary(const embedded::RedisAddress& address) {
    std::ostringstream out;
    for (const unsigned char service : builtInServices()) {
        const std::vector<embedded::stream::Entry> entries = readStream(address, service);
        out << "stream " << int(service) << ": " << entries.size() << " entries, newest "
            << (entries.empty() ? 0 : entries.back().entryNo) << "\n";
    }
    return out.str();
}

std::string fileText(const std::filesystem::path& path) {
    std::ifstream in(path);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

class Distribution : public ::testing::Test {
protected:
    void SetUp() override {
        std::string error;
        ASSERT_TRUE(server.start(error)) << error;
    }

    embedded::StreamPublisher publisher(const std::string& run = "test") {
        embedded::PublisherOptions o;
        o.address = server.address();
        o.run = run;
        return embedded::StreamPublisher(o);
    }

    RedisServer server;
    TempFolder folders;
};

TEST_F(Distribution, TwoTerminalsReadingOnePublisherKeepTheSameNews) {
    embedded::StreamPublisher pub = publisher();
    std::string error;
    ASSERT_TRUE(pub.connect(error)) << error;
    const std::vector<embedded::FeedEvent> events = generated(1500, 7);

    // One terminal runs from the start, the other joins half way and catches up.
    Terminal early(folders.path() / "early", server.address());
    early.start();
    const std::size_t half = events.size() / 200 * 100;
    for (std::size_t i = 0; i < half; i += 100) {
        const std::vector<embedded::FeedEvent> batch(events.begin() + i,
                                                     events.begin() + std::min(events.size(), i + 100));
        ASSERT_TRUE(pub.publish(batch, static_cast<std::int64_t>(i), error)) << error;
    }
    Terminal late(folders.path() / "late", server.address());
    late.start();
    for (std::size_t i = half; i < events.size(); i += 100) {
        const std::vector<embedded::FeedEvent> batch(events.begin() + i,
                                                     events.begin() + std::min(events.size(), i + 100));
        ASSERT_TRUE(pub.publish(batch, static_cast<std::int64_t>(i), error)) << error;
    }
    const std::uint64_t published = pub.stats().published;
    ASSERT_EQ(published, events.size());
    ASSERT_TRUE(
        drainUntil({&early, &late}, [&] { return early.entries() == published && late.entries() == published; }))
        << early.entries() << " and " << late.entries() << " of " << published;
    EXPECT_EQ(early.backend->streamFeedStats().duplicates, 0u);
    EXPECT_EQ(late.backend->streamFeedStats().unrecovered, 0u);
    EXPECT_TRUE(drainUntil({&early}, [&] { return early.backend->streamFeedStats().connected; }));
    early.stop();
    late.stop();

    const HeadlineMap expected = streamHeadlines(server.address());
    ASSERT_GT(expected.size(), 1000u);
    EXPECT_EQ(early.stored(), expected);
    EXPECT_EQ(late.stored(), expected);
}

TEST_F(Distribution, RestartingTheBackEndThePublisherAndTheServerLosesAndDuplicatesNothing) {
    const std::filesystem::path log = server.folder() / "newsfeed.log";
    const std::vector<std::string> feedArgs{NEWSFEED_PROGRAM, "--redis", server.addressText(), "--rate", "2000",
                                            "--quotes",       "300"};
    ChildProcess feed;
    ASSERT_TRUE(feed.start(feedArgs, log));
    Terminal terminal(folders.path() / "terminal", server.address());
    terminal.start();
    const auto readAtLeast = [&](std::uint64_t n) {
        return drainUntil({&terminal}, [&] { return terminal.entries() >= n; });
    };
    // The publisher dies without a word, and starts again.
    ASSERT_TRUE(readAtLeast(800));
    const std::uintmax_t savedBeforeRestart = server.appendedSize();
    ASSERT_GT(savedBeforeRestart, 0u);
    feed.kill();
    ASSERT_TRUE(feed.start(feedArgs, log));
    ASSERT_TRUE(readAtLeast(terminal.entries() + 800));

    // The terminal stops while news keeps coming, and starts again from its store.
    const std::uint64_t before = terminal.entries();
    terminal.stop();
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    terminal.start();
    ASSERT_TRUE(readAtLeast(before + 1500));

    // The server dies and comes back on its folder without its writes since shortly before
    // the publisher's restart (its disk was slow): the last writes of the run before are gone
    // with all of this run's, after the terminal read them.
    server.kill();
    ASSERT_TRUE(server.cutAppendedTo(savedBeforeRestart - std::min<std::uintmax_t>(savedBeforeRestart / 2, 64 * 1024)));
    ASSERT_TRUE(drainUntil({&terminal}, [&] { return !terminal.backend->streamFeedStats().connected; }));
    std::string error;
    ASSERT_TRUE(server.start(error)) << error;
    ASSERT_TRUE(readAtLeast(terminal.entries() + 1500));

    // The publisher is asked to stop: it finishes its batch and exits cleanly.
    feed.kill(SIGTERM);
    std::uint64_t total = 0;
    streamHeadlines(server.address(), &total);
    ASSERT_TRUE(drainUntil({&terminal}, [&] { return terminal.entries() == total; }))
        << terminal.entries() << " of " << total << describe(terminal.backend->streamFeedStats()) << "\n"
        << streamSummary(server.address()) << fileText(log);
    EXPECT_TRUE(drainUntil({&terminal}, [&] { return terminal.backend->streamFeedStats().connected; }));
    EXPECT_GT(terminal.backend->streamFeedStats().duplicates, 0u) << "what the server lost was sent again";
    terminal.stop();

    // Every stream numbers its entries 1, 2, 3... without a hole or a number used twice.
    std::uint64_t counted = 0;
    for (const unsigned char service : builtInServices()) {
        std::int64_t expect = 1;
        for (const embedded::stream::Entry& e : readStream(server.address(), service)) {
            ASSERT_EQ(e.entryNo, expect) << "stream of service " << int(service);
            ++expect;
            ++counted;
        }
    }
    EXPECT_EQ(counted, total);
    // The terminal holds what the streams hold, having been handed each entry exactly once
    // over its two runs.
    EXPECT_EQ(terminal.stored(), streamHeadlines(server.address()));
    EXPECT_EQ(terminal.entries(), total);
}

TEST_F(Distribution, ALongBacklogIsCaughtUpInBoundedPartsAndAnnouncedOnce) {
    // A terminal down while a long backlog built up: it reads the backlog a read at a time,
    // holds at most a bounded part of it, and the views still hear of it as one recovery.
    embedded::StreamPublisher pub = publisher();
    std::string error;
    ASSERT_TRUE(pub.connect(error)) << error;
    constexpr std::int32_t kBacklog = 6000;
    std::vector<embedded::FeedEvent> events;
    for (std::int32_t seq = 1; seq <= kBacklog; ++seq) {
        events.push_back(embedded::test::headlineEvent(seq % 3 == 0 ? 22 : 16, seq, nowSeconds(), "backlog"));
    }
    for (std::size_t i = 0; i < events.size(); i += 1000) {
        const std::vector<embedded::FeedEvent> batch(events.begin() + i, events.begin() + i + 1000);
        ASSERT_TRUE(pub.publish(batch, static_cast<std::int64_t>(i), error)) << error;
    }
    Terminal terminal(folders.path() / "backlog", server.address());
    terminal.heldLimit = 200;
    terminal.readCount = 100;
    terminal.start();
    ASSERT_TRUE(drainUntil({&terminal}, [&] { return !terminal.recoveries.empty(); }));
    EXPECT_EQ(terminal.entries(), std::uint64_t{kBacklog});
    EXPECT_EQ(terminal.recoveries, std::vector<std::size_t>{kBacklog});
    EXPECT_EQ(terminal.backend->cachedHeadlines(), std::size_t{kBacklog});
    EXPECT_LE(terminal.backend->ingestStats().heldPeak, 200u);
    terminal.stop();
    EXPECT_EQ(terminal.stored().size(), std::size_t{kBacklog});
}

TEST_F(Distribution, ABackEndKilledWithoutWarningStartsAgainAfterTheLastNewsItKept) {
    // The news and the bookmark of how far it was read are written in one transaction: killed
    // at any moment, the store holds news up to its bookmark and nothing beyond, and the next
    // start reads on from there.
    const std::filesystem::path data = folders.path() / "killed";
    const std::filesystem::path log = server.folder() / "reader.log";
    ChildProcess feed;
    ASSERT_TRUE(feed.start({NEWSFEED_PROGRAM, "--redis", server.addressText(), "--rate", "1500"}, log));
    ChildProcess reader;
    std::uint64_t published = 0;
    embedded::RedisConnection admin;
    std::string error;
    ASSERT_TRUE(admin.connect(server.address(), std::chrono::seconds(2), error)) << error;
    // The publisher's own count: the entry numbers it used, summed over the services.
    const auto publishedSoFar = [&] {
        std::uint64_t n = 0;
        for (const unsigned char service : builtInServices()) {
            const embedded::RedisReply r = admin.command({"HGET", embedded::stream::stateKey(service), "n"});
            n += r.isNil() ? 0 : std::stoull(r.text());
        }
        return n;
    };
    // What the reader has kept so far: entries are numbered 1, 2, 3... per stream, so its
    // bookmarks count them (read beside the running reader, as the store allows). Opened for
    // writing: a reader killed in the middle of a write leaves a log only a writer may recover.
    // Nothing while the store cannot be read yet.
    const auto keptSoFar = [&]() -> std::optional<std::uint64_t> {
        std::optional<std::uint64_t> n;
        sqlite3* db = nullptr;
        if (sqlite3_open_v2((data / "news.db").c_str(), &db, SQLITE_OPEN_READWRITE, nullptr) == SQLITE_OK) {
            sqlite3_busy_timeout(db, 5000); // the reader may be committing
            sqlite3_stmt* sum = nullptr;
            if (sqlite3_prepare_v2(db, "SELECT total(entry_no) FROM stream_position", -1, &sum, nullptr) == SQLITE_OK &&
                sqlite3_step(sum) == SQLITE_ROW) {
                n = static_cast<std::uint64_t>(sqlite3_column_int64(sum, 0));
            }
            sqlite3_finalize(sum);
        }
        sqlite3_close(db);
        return n;
    };
    std::uint64_t before = 0;
    for (int round = 0; round < 3; ++round) {
        ASSERT_TRUE(reader.start({READER_PROGRAM, server.addressText(), data.string()}, log));
        // Killed in the middle of reading: after it kept some news of this run, while the
        // publisher keeps it busy.
        for (int i = 0; i < 6000 && keptSoFar().value_or(0) < before + 300; ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(37 * round));
        reader.kill(); // SIGKILL: no shutdown, no flush
        const std::optional<std::uint64_t> read = keptSoFar();
        ASSERT_TRUE(read) << "the store of run " << round << " cannot be read";
        const std::uint64_t now = *read;
        ASSERT_GT(now, before) << "run " << round << " kept nothing";
        before = now;
    }
    // The last run may have caught up with the publisher before it was killed: more news
    // comes first, so that the next start has something to read on from.
    for (int i = 0; i < 6000 && publishedSoFar() < before + 300; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    feed.kill(SIGTERM);
    published = publishedSoFar();

    // What the killed runs kept: entries are numbered 1, 2, 3... per stream, so the bookmarks
    // count them.
    const std::uint64_t kept = keptSoFar().value_or(0);
    ASSERT_GT(kept, 0u) << "the killed runs read nothing: the test proves nothing";
    ASSERT_LT(kept, published);

    Terminal terminal(data, server.address());
    terminal.start();
    ASSERT_TRUE(drainUntil({&terminal}, [&] { return kept + terminal.entries() >= published; }))
        << kept << " kept, " << terminal.entries() << " read, " << published << " published";
    EXPECT_EQ(kept + terminal.entries(), published);
    EXPECT_EQ(terminal.backend->streamFeedStats().duplicates, 0u);
    terminal.stop();
    EXPECT_EQ(terminal.stored(), streamHeadlines(server.address()));
}

TEST_F(Distribution, ASlowReaderDoesNotHoldUpThePublisher) {
    // The reader's hand-over blocks until the publisher has finished: if publishing waited for
    // readers, this would never finish.
    std::promise<void> published;
    std::shared_future<void> gate = published.get_future().share();
    std::atomic<std::uint64_t> received{0};
    embedded::StreamFeed reader;
    embedded::StreamFeedOptions o;
    o.address = server.address();
    o.services = {16};
    o.block = std::chrono::milliseconds(100);
    o.count = 10;
    reader.start(o, [&](std::vector<embedded::FeedEvent> events) {
        gate.wait();
        for (const embedded::FeedEvent& e : events) {
            received +=
                e.kind != embedded::FeedEventKind::StreamMark && e.kind != embedded::FeedEventKind::Reconnect ? 1 : 0;
        }
    });
    embedded::StreamPublisher pub = publisher();
    std::string error;
    ASSERT_TRUE(pub.connect(error)) << error;
    std::vector<embedded::FeedEvent> events;
    for (std::int32_t seq = 1; seq <= 3000; ++seq) {
        events.push_back(embedded::test::headlineEvent(16, seq, nowSeconds(), "slow"));
    }
    for (std::size_t i = 0; i < events.size(); i += 500) {
        const std::vector<embedded::FeedEvent> batch(events.begin() + i, events.begin() + i + 500);
        ASSERT_TRUE(pub.publish(batch, static_cast<std::int64_t>(i), error)) << error;
    }
    EXPECT_EQ(pub.stats().published, 3000u);
    EXPECT_EQ(readStream(server.address(), 16).size(), 3000u);
    published.set_value();
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (received < 3000 && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    EXPECT_EQ(received.load(), 3000u);
    reader.stop();
}

// Collects what a reader hands over: news by entry order, and the last bookmark.
struct Collected {
    std::mutex mutex;
    std::vector<std::int32_t> seqs;
    embedded::StreamPosition mark;

    void take(std::vector<embedded::FeedEvent> events) {
        std::lock_guard lock(mutex);
        for (const embedded::FeedEvent& e : events) {
            if (e.kind == embedded::FeedEventKind::StreamMark) {
                mark = embedded::StreamPosition{e.service, e.streamId, e.entryNo};
            } else if (e.kind == embedded::FeedEventKind::Headline) {
                seqs.push_back(e.seq);
            }
        }
    }
    std::size_t size() {
        std::lock_guard lock(mutex);
        return seqs.size();
    }
};

bool waitFor(const std::function<bool()>& done) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!done()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return true;
}

TEST_F(Distribution, ReadersFindHolesAndServersThatLostTheirLastWrites) {
    embedded::StreamPublisher pub = publisher();
    std::string error;
    ASSERT_TRUE(pub.connect(error)) << error;
    const auto publishSeqs = [&](std::int32_t first, std::int32_t last) {
        std::vector<embedded::FeedEvent> batch;
        for (std::int32_t seq = first; seq <= last; ++seq) {
            batch.push_back(embedded::test::headlineEvent(16, seq, nowSeconds(), "news"));
        }
        ASSERT_TRUE(pub.publish(batch, first, error)) << error;
    };
    Collected got;
    embedded::StreamFeedOptions o;
    o.address = server.address();
    o.services = {16};
    o.block = std::chrono::milliseconds(50);
    embedded::StreamFeed reader;
    const auto run = [&](std::size_t until) {
        o.positions = {{16, got.mark}};
        reader.start(o, [&](std::vector<embedded::FeedEvent> events) { got.take(std::move(events)); });
        EXPECT_TRUE(waitFor([&] { return got.size() >= until; })) << got.size();
        const embedded::StreamFeed::Stats stats = reader.stats();
        reader.stop();
        return stats;
    };
    publishSeqs(1, 10);
    run(10);

    // Entries 12 to 14 vanish from the stream before the reader gets to them (trimmed while it
    // was away): it reads on, and counts the three it can no longer have.
    publishSeqs(11, 20);
    embedded::RedisConnection admin;
    ASSERT_TRUE(admin.connect(server.address(), std::chrono::seconds(2), error)) << error;
    std::vector<std::string> doomed;
    for (const std::string& key : {embedded::stream::streamKey(16)}) {
        const embedded::RedisReply all = admin.command({"XRANGE", key, "-", "+"});
        for (std::size_t i = 0; i < all.get()->elements; ++i) {
            const std::string id(all.get()->element[i]->element[0]->str, all.get()->element[i]->element[0]->len);
            if (i >= 11 && i <= 13) {
                doomed.push_back(id);
            }
        }
    }
    ASSERT_EQ(doomed.size(), 3u);
    for (const std::string& id : doomed) {
        admin.command({"XDEL", embedded::stream::streamKey(16), id});
    }
    embedded::StreamFeed::Stats stats = run(17);
    EXPECT_EQ(stats.gaps, 1u);
    EXPECT_EQ(stats.unrecovered, 3u);
    EXPECT_EQ(got.seqs, (std::vector<std::int32_t>{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 15, 16, 17, 18, 19, 20}));

    // The server loses its last three writes (entries and the publisher's state alike) after
    // the reader had them. The reader goes back to what the stream still has; the publisher
    // sends the three again with their numbers; the reader drops them as seen and goes on.
    const embedded::RedisReply last =
        admin.command({"XREVRANGE", embedded::stream::streamKey(16), "+", "-", "COUNT", "3"});
    for (std::size_t i = 0; i < last.get()->elements; ++i) {
        admin.command({"XDEL", embedded::stream::streamKey(16),
                       std::string(last.get()->element[i]->element[0]->str, last.get()->element[i]->element[0]->len)});
    }
    admin.command({"HSET", embedded::stream::stateKey(16), "n", "17", "src", "17"});
    o.positions = {{16, got.mark}};
    reader.start(o, [&](std::vector<embedded::FeedEvent> events) { got.take(std::move(events)); });
    ASSERT_TRUE(waitFor([&] { return reader.stats().rollbacks == 1; }));
    ASSERT_TRUE(pub.connect(error)) << error;
    EXPECT_EQ(pub.stats().resent, 3u);
    publishSeqs(21, 22);
    ASSERT_TRUE(waitFor([&] { return got.size() >= 19; }));
    stats = reader.stats();
    reader.stop();
    EXPECT_EQ(stats.duplicates, 3u);
    EXPECT_EQ(got.seqs.back(), 22);
    EXPECT_EQ(got.seqs.size(), 19u);
    EXPECT_EQ(readStream(server.address(), 16).back().entryNo, 22);
}

TEST_F(Distribution, ABatchRefusedForOneServiceIsStillPublishedForTheOthersAndRetriedWithoutDuplicates) {
    embedded::StreamPublisher pub = publisher();
    std::string error;
    ASSERT_TRUE(pub.connect(error)) << error;
    std::vector<embedded::FeedEvent> batch;
    for (const unsigned char service : {16, 22}) {
        batch.push_back(embedded::test::headlineEvent(service, 1, nowSeconds(), "news"));
    }
    ASSERT_TRUE(pub.publish(batch, 0, error)) << error;
    // Service 16's stream key then holds a plain value: the server refuses its appends, and
    // that it comes first in the batch does not hold back service 22's.
    embedded::RedisConnection admin;
    ASSERT_TRUE(admin.connect(server.address(), std::chrono::seconds(2), error)) << error;
    admin.command({"DEL", embedded::stream::streamKey(16)});
    admin.command({"SET", embedded::stream::streamKey(16), "not a stream"});
    batch.clear();
    for (std::int32_t seq = 2; seq <= 4; ++seq) {
        batch.push_back(embedded::test::headlineEvent(16, seq, nowSeconds(), "news"));
        batch.push_back(embedded::test::headlineEvent(22, seq, nowSeconds(), "news"));
    }
    EXPECT_FALSE(pub.publish(batch, 2, error));
    EXPECT_NE(error.find("append to the stream of service 16"), std::string::npos) << error;
    EXPECT_EQ(pub.stats().published, 5u);
    EXPECT_EQ(readStream(server.address(), 22).size(), 4u);

    // Once the key is cleared, the same batch again: service 22's half is on the server already.
    admin.command({"DEL", embedded::stream::streamKey(16)});
    ASSERT_TRUE(pub.publish(batch, 2, error)) << error;
    EXPECT_EQ(pub.stats().published, 8u);
    EXPECT_EQ(pub.stats().skipped, 3u);
    EXPECT_EQ(readStream(server.address(), 22).size(), 4u);
    const std::vector<embedded::stream::Entry> refused = readStream(server.address(), 16);
    ASSERT_EQ(refused.size(), 3u);
    EXPECT_EQ(refused.front().entryNo, 2);
    EXPECT_EQ(refused.back().entryNo, 4);
}

TEST_F(Distribution, ThePublisherProgramRefusesBadArgumentsAndAnAbsentServer) {
    const std::filesystem::path log = server.folder() / "errors.log";
    ChildProcess p;
    ASSERT_TRUE(p.start({NEWSFEED_PROGRAM, "--rate", "fast"}, log));
    EXPECT_EQ(p.wait(), 2);
    const ReservedPort nobody; // bound, never listening: connecting is refused
    ASSERT_TRUE(p.start({NEWSFEED_PROGRAM, "--redis", "127.0.0.1:" + std::to_string(nobody.port())}, log));
    EXPECT_EQ(p.wait(), 1);
    ASSERT_TRUE(p.start({NEWSFEED_PROGRAM, "--redis", server.addressText(), "--replay", "/nonexistent.jsonl"}, log));
    EXPECT_EQ(p.wait(), 1);
    const std::string text = fileText(log);
    EXPECT_NE(text.find("bad value for --rate"), std::string::npos) << text;
    EXPECT_NE(text.find("cannot reach Redis"), std::string::npos) << text;
    EXPECT_NE(text.find("cannot read /nonexistent.jsonl"), std::string::npos) << text;
}

} // namespace
} // namespace distribution::test
