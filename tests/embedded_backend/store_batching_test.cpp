// Write-behind of the store: the same news applied one transaction per batch, in a few large
// transactions through the store worker, and rebuilt from the final rows must leave the same
// tables, the same full-text indexes (term by term) and the same search answers.
#include <thread>

#include <gtest/gtest.h>
#include <sqlite3.h>

#include "backend_fixture.h"
#include "embedded_backend/ingest.h"
#include "embedded_backend/news_generator.h"
#include "embedded_backend/news_store.h"
#include "embedded_backend/search_text.h"
#include "embedded_backend/store_worker.h"

namespace embedded::test {
namespace {

// Rows of one query, each as its columns joined, in the query's order.
std::vector<std::string> rowsOf(sqlite3* db, const std::string& sql) {
    std::vector<std::string> rows;
    sqlite3_stmt* q = nullptr;
    EXPECT_EQ(sqlite3_prepare_v2(db, sql.c_str(), -1, &q, nullptr), SQLITE_OK) << sql << ": " << sqlite3_errmsg(db);
    while (q != nullptr && sqlite3_step(q) == SQLITE_ROW) {
        std::string row;
        for (int c = 0; c < sqlite3_column_count(q); ++c) {
            const auto* bytes = static_cast<const char*>(sqlite3_column_blob(q, c));
            row.append(bytes == nullptr ? ""
                                        : std::string(bytes, static_cast<std::size_t>(sqlite3_column_bytes(q, c))));
            row += '|';
        }
        rows.push_back(std::move(row));
    }
    sqlite3_finalize(q);
    return rows;
}

struct StoreDump {
    std::map<std::string, std::vector<std::string>> tables;  // news tables, whole
    std::map<std::string, std::vector<std::string>> indexes; // per full-text table: term, documents, hits
};

// Reads a closed store file: its news tables and every term of every full-text index.
StoreDump dump(const std::filesystem::path& file, bool withTables) {
    StoreDump out;
    sqlite3* db = nullptr;
    EXPECT_EQ(sqlite3_open(file.string().c_str(), &db), SQLITE_OK);
    EXPECT_EQ(registerGramTokenizer(db), SQLITE_OK);
    if (withTables) {
        out.tables["headline"] = rowsOf(db, "SELECT * FROM headline ORDER BY sort_key");
        out.tables["story"] = rowsOf(db, "SELECT * FROM story ORDER BY service, day, seq");
        out.tables["service_day"] = rowsOf(db, "SELECT * FROM service_day ORDER BY service");
        out.tables["category"] = rowsOf(db, "SELECT * FROM category ORDER BY service, id");
        out.tables["stream_position"] = rowsOf(db, "SELECT * FROM stream_position ORDER BY service");
    }
    for (const std::string& row :
         rowsOf(db, "SELECT name FROM sqlite_master WHERE sql LIKE 'CREATE VIRTUAL TABLE%' ORDER BY name")) {
        const std::string table = row.substr(0, row.size() - 1);
        const std::string vocab = "temp.vocab_" + table;
        EXPECT_EQ(sqlite3_exec(db,
                               ("CREATE VIRTUAL TABLE " + vocab + " USING fts5vocab(main, " + table + ", row)").c_str(),
                               nullptr, nullptr, nullptr),
                  SQLITE_OK)
            << sqlite3_errmsg(db);
        out.indexes[table] = rowsOf(db, "SELECT term, doc, cnt FROM " + vocab + " ORDER BY term");
    }
    sqlite3_close(db);
    return out;
}

// A news stream that changes indexed rows in every way: late and corrected stories, re-sent
// headlines, new news days that drop the oldest, with a stream bookmark after every event.
std::vector<std::shared_ptr<const NewsBatch>> newsBatches() {
    GeneratorOptions g;
    g.seed = 7;
    g.startTime = morning();
    g.services = {16, 22};
    g.headlinesPerSecond = 4;
    g.lateStoryShare = 0.3;
    g.resendShare = 0.2;
    g.storyCorrectionShare = 0.15;
    g.lateStoryMaxDelay = 20;
    g.firstNewDayAt = morning() + 40;
    g.dayLength = 50;
    NewsGenerator generator(g);
    std::vector<std::shared_ptr<const NewsBatch>> batches;
    Ingest ingest(2, nullptr, [&](std::shared_ptr<const NewsBatch> b) { batches.push_back(std::move(b)); });
    std::int64_t entry = 0;
    std::vector<FeedEvent> chunk;
    std::optional<FeedEvent> last;
    for (int i = 0; i < 700; ++i) {
        FeedEvent e = generator.next();
        if (e.kind == FeedEventKind::Headline) {
            last = e;
        } else if (e.kind == FeedEventKind::NewDay) {
            last.reset(); // a correction belongs to the current day
        }
        const unsigned char service = e.service;
        chunk.push_back(std::move(e));
        FeedEvent mark;
        mark.kind = FeedEventKind::StreamMark;
        mark.service = service;
        mark.entryNo = ++entry;
        mark.streamId = "1700000000000-" + std::to_string(entry);
        chunk.push_back(std::move(mark));
        if (chunk.size() >= static_cast<std::size_t>(2 * (1 + i % 7))) {
            ingest.submit(std::exchange(chunk, {}));
        }
    }
    ingest.submit(std::move(chunk));
    // A correction that keeps the headline's time (and so its row in the indexes) but not its
    // title, then a late story for it, each in a batch of its own: only the title index
    // changes, then only the others.
    EXPECT_TRUE(last.has_value());
    FeedEvent again = last.value_or(FeedEvent{});
    again.kind = FeedEventKind::Resend;
    again.title = big5("更正：外資買超鴻海");
    again.story.reset();
    FeedEvent story = again;
    story.kind = FeedEventKind::Story;
    story.story = big5("鴻海今日股價上漲");
    ingest.submit({std::move(again)});
    ingest.submit({std::move(story)});
    return batches;
}

class StoreBatchingTest : public ::testing::Test {
protected:
    TempFolder folder;
    std::vector<std::shared_ptr<const NewsBatch>> batches = newsBatches();

    std::filesystem::path file(const char* name) const { return folder.path() / name; }

    // One transaction per batch, the way a feed of rare, large batches is written.
    void writeEachBatch(const std::filesystem::path& path) {
        NewsStore store;
        ASSERT_TRUE(store.open(path.string(), OpenMode::KeepExisting, morning()).ok());
        for (const auto& b : batches) {
            ASSERT_TRUE(store.applyBatch(*b)) << store.lastError();
        }
    }

    // Through the worker, every batch queued at once into transactions of up to maxChanges.
    void writeBehind(const std::filesystem::path& path, std::size_t maxChanges) {
        StoreWorker::Options o;
        o.commitWindow = std::chrono::hours(1); // only the size bound and flush() commit
        o.maxChanges = maxChanges;
        o.niceIncrement = 0; // beside other tests on a busy machine a low priority only slows it
        StoreWorker worker(o);
        worker.start();
        worker.post(
            [&](NewsStore& store) { ASSERT_TRUE(store.open(path.string(), OpenMode::KeepExisting, morning()).ok()); });
        for (const auto& b : batches) {
            worker.write(b);
        }
        worker.flush();
        EXPECT_EQ(worker.failedWrites(), 0u) << worker.lastError();
        worker.stop();
    }

    std::vector<std::vector<std::int32_t>> searches(const std::filesystem::path& path) {
        NewsStore store;
        EXPECT_TRUE(store.open(path.string(), OpenMode::KeepExisting, morning()).ok());
        std::vector<std::vector<std::int32_t>> answers;
        const std::vector<std::vector<const char*>> keywordSets = {
            {"台"},     {"電"},     {"營收"},       {"法人"},         {"股價"}, {"更正"},        {"公司", "營收"},
            {"台積電"}, {"半導體"}, {"電", "營收"}, {"外資", "買超"}, {"鴻海"}, {"鴻海", "股價"}};
        for (const auto& words : keywordSets) {
            for (unsigned char scope = 0; scope < 3; ++scope) {
                for (const bool all : {true, false}) {
                    for (const unsigned char service : {16, 22}) {
                        SearchRequest r;
                        r.service = service;
                        for (const char* w : words) {
                            r.keywords.push_back(big5(w));
                        }
                        r.scope = scope;
                        r.matchAll = all;
                        r.limit = 5000;
                        std::vector<CHeadlineTable> out;
                        EXPECT_TRUE(store.search(r, out)) << store.lastError();
                        std::vector<std::int32_t> seqs;
                        for (const CHeadlineTable& e : out) {
                            seqs.push_back(e.m_iSeqNo);
                        }
                        answers.push_back(std::move(seqs));
                    }
                }
            }
        }
        return answers;
    }
};

TEST_F(StoreBatchingTest, LargeTransactionsLeaveTheSameStoreAsOnePerBatch) {
    std::size_t changes = 0;
    for (const auto& b : batches) {
        changes += b->changes.size();
    }
    ASSERT_GT(batches.size(), 100u);
    writeEachBatch(file("each.db"));
    writeBehind(file("one.db"), changes + 1); // everything in one transaction
    writeBehind(file("some.db"), 97);         // cut at batch bounds every hundred changes or so
    const StoreDump each = dump(file("each.db"), true);
    ASSERT_GT(each.tables.at("headline").size(), 50u);
    ASSERT_EQ(each.tables.at("stream_position").size(), 2u);
    // The news days moved on and the oldest were dropped: purges were part of the stream.
    ASSERT_EQ(each.tables.at("service_day").size(), 2u);

    for (const char* name : {"one.db", "some.db"}) {
        SCOPED_TRACE(name);
        const StoreDump other = dump(file(name), true);
        EXPECT_EQ(other.tables, each.tables);
        EXPECT_EQ(other.indexes, each.indexes);
    }
    const auto answers = searches(file("each.db"));
    EXPECT_EQ(searches(file("one.db")), answers);
    std::size_t hits = 0;
    for (const auto& a : answers) {
        hits += a.size();
    }
    EXPECT_GT(hits, 100u); // the keywords are ones the news holds
}

TEST_F(StoreBatchingTest, IndexesMatchOnesBuiltFromTheFinalRows) {
    writeBehind(file("news.db"), 1000000);
    // The final rows written afresh, each headline once with its final story: an index that
    // kept a replaced title or story, or lost a row, differs from this one.
    NewsBatch fresh;
    {
        NewsStore store;
        ASSERT_TRUE(store.open(file("news.db").string(), OpenMode::KeepExisting, morning()).ok());
        LoadedNews loaded;
        ASSERT_TRUE(store.load(30, 20240310, loaded));
        ASSERT_FALSE(loaded.headlines.empty());
        for (const HeadlineRecord& h : loaded.headlines) {
            if (const std::optional<StoryRecord> story = store.story(h.service, h.day, h.seq)) {
                fresh.changes.emplace_back(*story);
            }
            fresh.changes.emplace_back(h);
        }
    }
    {
        NewsStore rebuilt;
        ASSERT_TRUE(rebuilt.open(file("rebuilt.db").string(), OpenMode::KeepExisting, morning()).ok());
        ASSERT_TRUE(rebuilt.applyBatch(fresh)) << rebuilt.lastError();
    }
    EXPECT_EQ(dump(file("news.db"), false).indexes, dump(file("rebuilt.db"), false).indexes);
    EXPECT_EQ(searches(file("news.db")), searches(file("rebuilt.db")));
}

TEST_F(StoreBatchingTest, TasksAndFlushSeeCommittedWritesAndOnlyTheLastBookmarkIsKept) {
    StoreWorker::Options o;
    o.commitWindow = std::chrono::hours(1);
    o.niceIncrement = 0;
    StoreWorker worker(o);
    worker.start();
    const std::string path = file("news.db").string();
    worker.post([&](NewsStore& store) { ASSERT_TRUE(store.open(path, OpenMode::KeepExisting, morning()).ok()); });
    for (std::int32_t seq = 1; seq <= 3; ++seq) {
        auto b = std::make_shared<NewsBatch>();
        b->changes.emplace_back(
            headlineRecordOf(headlineEvent(16, seq, morning() + seq, "台積電營收創新高"), 20240305));
        b->changes.emplace_back(StreamPosition{16, "1-" + std::to_string(seq), seq});
        worker.write(b);
    }
    // A task queued behind the writes finds them committed: another connection sees them, and
    // its search finds the newest headline.
    std::vector<std::string> seenElsewhere;
    std::vector<CHeadlineTable> found;
    worker.post([&](NewsStore& store) {
        sqlite3* db = nullptr;
        sqlite3_open(path.c_str(), &db);
        seenElsewhere = rowsOf(db, "SELECT seq FROM headline ORDER BY seq");
        const std::vector<std::string> marks = rowsOf(db, "SELECT entry_id, entry_no FROM stream_position");
        seenElsewhere.insert(seenElsewhere.end(), marks.begin(), marks.end());
        sqlite3_close(db);
        SearchRequest r;
        r.service = 16;
        r.keywords = {big5("營收")};
        store.search(r, found);
    });
    worker.flush();
    EXPECT_EQ(seenElsewhere, (std::vector<std::string>{"1|", "2|", "3|", "1-3|3|"}));
    EXPECT_EQ(found.size(), 3u);

    // flush() alone commits too, and stop() commits what is still open.
    auto b = std::make_shared<NewsBatch>();
    b->changes.emplace_back(headlineRecordOf(headlineEvent(16, 4, morning() + 4, "外資買超"), 20240305));
    b->changes.emplace_back(StreamPosition{16, "1-4", 4});
    worker.write(b);
    worker.flush();
    sqlite3* db = nullptr;
    sqlite3_open(path.c_str(), &db);
    EXPECT_EQ(rowsOf(db, "SELECT entry_no FROM stream_position"), std::vector<std::string>{"4|"});
    sqlite3_close(db);
    b = std::make_shared<NewsBatch>();
    b->changes.emplace_back(StreamPosition{16, "1-5", 5});
    worker.write(b);
    worker.stop();
    sqlite3_open(path.c_str(), &db);
    EXPECT_EQ(rowsOf(db, "SELECT entry_no FROM stream_position"), std::vector<std::string>{"5|"});
    sqlite3_close(db);
}

TEST_F(StoreBatchingTest, BatchesQueuedFromManyThreadsKeepEachThreadsOrder) {
    StoreWorker::Options o;
    o.maxChanges = 50; // commits in between, at arbitrary points of each thread's run
    o.niceIncrement = 0;
    StoreWorker worker(o);
    worker.start();
    const std::string path = file("news.db").string();
    worker.post([&](NewsStore& store) { ASSERT_TRUE(store.open(path, OpenMode::KeepExisting, morning()).ok()); });
    const std::vector<unsigned char> services = {16, 22, 52, 122};
    constexpr std::int32_t kEach = 300;
    std::vector<std::thread> feeds;
    for (const unsigned char service : services) {
        feeds.emplace_back([&worker, service] {
            for (std::int32_t seq = 1; seq <= kEach; ++seq) {
                auto b = std::make_shared<NewsBatch>();
                b->changes.emplace_back(
                    headlineRecordOf(headlineEvent(service, seq, morning() + seq, "台積電營收"), 20240305));
                b->changes.emplace_back(StreamPosition{service, "1-" + std::to_string(seq), seq});
                worker.write(std::move(b));
            }
        });
    }
    for (std::thread& t : feeds) {
        t.join();
    }
    worker.flush();
    sqlite3* db = nullptr;
    sqlite3_open(path.c_str(), &db);
    // Each thread's last bookmark is the one kept: its batches were applied in its order.
    EXPECT_EQ(rowsOf(db, "SELECT service, entry_no FROM stream_position ORDER BY service"),
              (std::vector<std::string>{"16|300|", "22|300|", "52|300|", "122|300|"}));
    EXPECT_EQ(rowsOf(db, "SELECT count(*) FROM headline"), std::vector<std::string>{"1200|"});
    sqlite3_close(db);
}

// The writer runs at a low priority and may be put aside at any moment, so it never frees what
// a queueing thread allocated (that would take the queueing thread's allocator lock): a written
// batch is freed by the next thread that queues something. A task's captures still end on the
// writer as soon as the task has run.
TEST_F(StoreBatchingTest, TheWriterLeavesFreeingABatchToTheNextThreadThatQueues) {
    StoreWorker::Options o;
    o.niceIncrement = 0;
    StoreWorker worker(o);
    worker.start();
    const std::string path = file("news.db").string();
    worker.post([&](NewsStore& store) { ASSERT_TRUE(store.open(path, OpenMode::KeepExisting, morning()).ok()); });
    std::atomic<std::thread::id> batchFreedOn;
    std::atomic<std::thread::id> captureFreedOn;
    auto* raw = new NewsBatch();
    raw->changes.emplace_back(headlineRecordOf(headlineEvent(16, 1, morning(), "外資買超"), 20240305));
    worker.write(std::shared_ptr<const NewsBatch>(raw, [&](const NewsBatch* b) {
        batchFreedOn = std::this_thread::get_id();
        delete b;
    }));
    std::shared_ptr<int> capture(new int(0), [&](const int* p) {
        captureFreedOn = std::this_thread::get_id();
        delete p;
    });
    worker.post([capture](NewsStore&) {});
    capture.reset();
    worker.flush();
    EXPECT_NE(captureFreedOn.load(), std::thread::id());
    EXPECT_NE(captureFreedOn.load(), std::this_thread::get_id());
    worker.post([](NewsStore&) {});
    EXPECT_EQ(batchFreedOn.load(), std::this_thread::get_id());
}

} // namespace
} // namespace embedded::test
