// The store across restarts, its kept days, and damaged or unusable files.
#include <fstream>

#include <gtest/gtest.h>
#include <sqlite3.h>

#include "backend_fixture.h"

namespace embedded::test {
namespace {

constexpr int kToday = 20240305;

class PersistenceTest : public BackendTest {
protected:
    void restart(EmbeddedBackendOptions o) {
        backend->shutdown();
        backend.reset();
        start(std::move(o));
    }
    std::string storePath() const { return (folder.path() / "news.db").string(); }
};

TEST_F(PersistenceTest, NewsSurvivesARestart) {
    registerFor(&view, 16);
    backend->ingest({headlineEvent(16, 1, morning(), "台積電法說會", 2, "2330", "第一段@@@@第二段")});
    backend->startNewDay(16);
    ingestNow({headlineEvent(16, 1, morning() + 86400, "鴻海營收", 1, "2317", "內文"),
               headlineEvent(16, 2, morning() + 86401, "聯發科除息", 3, "2454")});
    const int tomorrow = addDays(kToday, 1);
    ASSERT_EQ(backend->BKQNEWS_cszGetCurrDateByService(16), dayText(tomorrow));

    restart(options());
    EXPECT_EQ(backend->BKQNEWS_cszGetCurrDateByService(16), dayText(tomorrow)) << "the news day is kept";
    EXPECT_EQ(backend->BKQNEWS_cszGetCurrDateByService(22), dayText(kToday));
    const std::vector<CHeadlineTable> yesterday = dateTable(16, kToday);
    ASSERT_EQ(yesterday.size(), 1u);
    const std::vector<CHeadlineTable> today = dateTable(16, tomorrow);
    ASSERT_EQ(today.size(), 2u);
    std::vector<CHeadline> headlines;
    EXPECT_EQ(backend->BKQNEWS_iGetHeadline(16, headlines, today), 2);
    CStory story;
    const CHeadlineTable first = today[0].m_iSeqNo == 1 ? today[0] : today[1];
    ASSERT_TRUE(backend->BKQNEWS_bGetStory(story, first)) << "stories of the current day are loaded";
    EXPECT_EQ(story.m_strText, big5("內文"));
    CNewsSymLst symbols;
    ASSERT_TRUE(backend->BKNEWS_GetSymbolListBySeqNo(symbols, first));
    EXPECT_EQ(symbols.m_vSymbols.at(0).m_strCode, "2317");

    // An older story stays on disk until asked for.
    EXPECT_FALSE(backend->BKQNEWS_bGetStory(story, yesterday[0]));
    ASSERT_TRUE(backend->BKQNews_bReRequestHeadlineStory(yesterday[0]));
    ASSERT_TRUE(dispatcher.drainUntil([&] { return !view.stories.empty(); }));
    EXPECT_EQ(view.stories[0], yesterday[0]);
    ASSERT_TRUE(backend->BKQNEWS_bGetStory(story, yesterday[0]));
    EXPECT_EQ(story.m_strText, big5("第一段@@@@第二段"));
    EXPECT_EQ(story.m_tTime, morning());

    // The index came along, and new headlines continue after the stored ones.
    EXPECT_EQ(search(16, {"法說會"}, 2, 1), (std::vector<std::int32_t>{1}));
    ingestNow({headlineEvent(16, 3, morning() + 86402, "法說會通知")});
    EXPECT_EQ(search(16, {"法說會"}, 2, 1), (std::vector<std::int32_t>{3, 1}));
}

// Generated news after a restart on the same day goes on after the numbers the store holds:
// nothing stored is sent again or overwritten. Paced in real time it is stamped by the clock,
// never later, however fast it runs.
TEST_F(PersistenceTest, GeneratedNewsContinuesAfterTheStoredNumbersAndKeepsToTheClock) {
    for (const unsigned char service : {16, 122, 22, 52}) {
        registerFor(&view, service);
    }
    std::vector<FeedEvent> stored;
    for (std::int32_t seq = 1; seq <= 5; ++seq) {
        stored.push_back(headlineEvent(16, seq, morning() + seq, "既有新聞"));
    }
    stored.push_back(headlineEvent(22, 40, morning() + 9, "既有港股新聞", 1, "00700"));
    ingestNow(stored);
    restart(options());
    view.pushes.clear();

    GeneratorFeedOptions generated;
    generated.generator.seed = 11;
    generated.eventsPerSecond = 0; // as fast as possible
    generated.maxEvents = 400;
    backend->startGenerator(generated);
    ASSERT_TRUE(backend->waitGeneratorFinished(std::chrono::seconds(20)));
    backend->flushStore();
    ASSERT_TRUE(dispatcher.drainUntil([&] { return view.pushes.size() >= 300; }));
    std::map<unsigned char, std::int32_t> lowest;
    for (const CHeadline& h : view.pushes) {
        const auto [it, first] = lowest.emplace(h.m_byService, h.m_iSeqNo);
        it->second = std::min(it->second, h.m_iSeqNo);
    }
    EXPECT_EQ(lowest.at(16), 6);
    EXPECT_EQ(lowest.at(22), 41);
    EXPECT_EQ(lowest.at(122), 1);
    std::vector<CHeadline> headlines;
    const std::vector<CHeadlineTable> table = dateTable(16, kToday);
    ASSERT_EQ(backend->BKQNEWS_iGetHeadline(16, headlines, table), static_cast<int>(table.size()));
    int kept = 0;
    for (const CHeadline& h : headlines) {
        kept += h.m_iSeqNo <= 5 && h.m_strTitle == big5("既有新聞") ? 1 : 0;
    }
    EXPECT_EQ(kept, 5) << "the stored headlines are untouched";

    restart(options());
    view.pushes.clear();
    for (const unsigned char service : {16, 122, 22, 52}) {
        registerFor(&view, service);
    }
    clock.set(morning() + 600);
    GeneratorFeedOptions paced;
    paced.generator.seed = 12;
    paced.eventsPerSecond = 4000;
    paced.maxEvents = 300;
    backend->startGenerator(paced);
    ASSERT_TRUE(backend->waitGeneratorFinished(std::chrono::seconds(20)));
    backend->flushStore();
    ASSERT_TRUE(dispatcher.drainUntil([&] { return view.pushes.size() >= 200; }));
    for (const CHeadline& h : view.pushes) {
        ASSERT_LE(h.m_tTime, morning() + 600) << "a headline from the future";
    }
}

TEST_F(PersistenceTest, OnlyTheKeptDaysAreLoadedAndStored) {
    // Five kept days: after eight new days only the last five remain, here and on disk.
    for (int day = 0; day < 8; ++day) {
        if (day > 0) {
            backend->startNewDay(16);
        }
        ingestNow({headlineEvent(16, 1, morning() + day * 86400, "每日新聞")});
    }
    const int last = addDays(kToday, 7);
    EXPECT_EQ(backend->cachedHeadlines(), 5u);
    EXPECT_TRUE(dateTable(16, addDays(last, -5)).empty());
    EXPECT_EQ(dateTable(16, addDays(last, -4)).size(), 1u);

    // A restart with fewer days to keep drops more, on a date after the stored day.
    EmbeddedBackendOptions o = options();
    o.daysToKeep = 2;
    clock.set(morning() + 9 * 86400); // two days after the stored one: today becomes the current day
    restart(o);
    EXPECT_EQ(backend->BKQNEWS_cszGetCurrDateByService(16), dayText(addDays(kToday, 9)));
    EXPECT_EQ(backend->cachedHeadlines(), 0u) << "the kept range ends two days before today";
    EXPECT_EQ(backend->BKQbyGetNewsDateRange(), 1);
    backend->flushStore();
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(storePath().c_str(), &db), SQLITE_OK);
    sqlite3_stmt* q = nullptr;
    ASSERT_EQ(sqlite3_prepare_v2(db, "SELECT count(*) FROM headline", -1, &q, nullptr), SQLITE_OK);
    ASSERT_EQ(sqlite3_step(q), SQLITE_ROW);
    EXPECT_EQ(sqlite3_column_int(q, 0), 0) << "the start dropped the old days from the file too";
    sqlite3_finalize(q);
    sqlite3_close(db);
}

void overwrite(const std::string& path, std::size_t from, std::size_t count) {
    std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
    file.seekp(static_cast<std::streamoff>(from));
    std::string garbage(count, '\0');
    for (std::size_t i = 0; i < count; ++i) {
        garbage[i] = static_cast<char>((i * 131 + 17) & 0xFF);
    }
    file.write(garbage.data(), static_cast<std::streamsize>(garbage.size()));
}

TEST_F(PersistenceTest, ADamagedFileIsReportedAndCanBeStartedFresh) {
    ingestNow({headlineEvent(16, 1, morning(), "台積電法說會")});
    backend->shutdown();
    backend.reset();
    overwrite(storePath(), 0, 4096); // the header and the schema

    backend = std::make_unique<EmbeddedBackend>(options());
    StoreOpenResult r = backend->open();
    EXPECT_EQ(r.status, StoreStatus::Damaged);
    EXPECT_NE(r.message.find(storePath()), std::string::npos) << r.message;
    EXPECT_TRUE(std::filesystem::exists(storePath())) << "reporting leaves the file alone";
    // The terminal still works on live news meanwhile.
    registerFor(&view, 16);
    std::vector<unsigned char> services;
    EXPECT_TRUE(backend->BKQNEWS_bGetAllNewsService(services));
    backend->ingest({headlineEvent(16, 5, morning(), "即時新聞")});
    ASSERT_TRUE(dispatcher.drainUntil([&] { return !view.pushes.empty(); }));

    r = backend->open(OpenMode::StartFreshIfDamaged);
    ASSERT_TRUE(r.ok()) << r.message;
    ASSERT_FALSE(r.movedAsidePath.empty());
    EXPECT_NE(r.movedAsidePath.find("news.db.corrupt-20240305-"), std::string::npos) << r.movedAsidePath;
    EXPECT_TRUE(std::filesystem::exists(r.movedAsidePath)) << "the damaged file is kept for inspection";
    ingestNow({headlineEvent(16, 6, morning() + 1, "重新開始的台積電新聞")});
    EXPECT_EQ(search(16, {"台積電"}, 0, 1), (std::vector<std::int32_t>{6}));
}

TEST_F(PersistenceTest, DamageInsideTheTablesIsFoundWhileLoading) {
    std::vector<FeedEvent> events;
    for (int i = 1; i <= 3000; ++i) {
        events.push_back(
            headlineEvent(16, i, morning() + i, "填滿資料頁的新聞標題", 1, "2330", "內文內文內文內文內文"));
    }
    ingestNow(std::move(events));
    backend->flushStore();
    backend->shutdown();
    backend.reset();
    const auto size = static_cast<std::size_t>(std::filesystem::file_size(storePath()));
    overwrite(storePath(), 4096, size - 4096); // every page but the first

    backend = std::make_unique<EmbeddedBackend>(options());
    const StoreOpenResult r = backend->open();
    EXPECT_EQ(r.status, StoreStatus::Damaged) << r.message;
    EXPECT_FALSE(r.message.empty());
}

TEST_F(PersistenceTest, UnusableFilesAreReportedNotReplaced) {
    backend->shutdown();
    backend.reset();

    // Written by a later version.
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(storePath().c_str(), &db), SQLITE_OK);
    sqlite3_exec(db, "PRAGMA user_version=99", nullptr, nullptr, nullptr);
    sqlite3_close(db);
    backend = std::make_unique<EmbeddedBackend>(options());
    StoreOpenResult r = backend->open(OpenMode::StartFreshIfDamaged);
    EXPECT_EQ(r.status, StoreStatus::TooNew) << r.message;
    EXPECT_TRUE(r.movedAsidePath.empty()) << "a newer store is never moved aside";
    backend.reset();

    // A folder where the file should be.
    std::filesystem::remove(storePath());
    std::filesystem::create_directories(storePath());
    backend = std::make_unique<EmbeddedBackend>(options());
    r = backend->open(OpenMode::StartFreshIfDamaged);
    EXPECT_EQ(r.status, StoreStatus::Unavailable);
    EXPECT_NE(r.message.find("folder"), std::string::npos) << r.message;
    backend.reset();
    std::filesystem::remove_all(storePath());

    // Another program's database is not mixed into.
    ASSERT_EQ(sqlite3_open(storePath().c_str(), &db), SQLITE_OK);
    sqlite3_exec(db, "CREATE TABLE notes(x)", nullptr, nullptr, nullptr);
    sqlite3_close(db);
    backend = std::make_unique<EmbeddedBackend>(options());
    r = backend->open();
    EXPECT_EQ(r.status, StoreStatus::Damaged);
    r = backend->open(OpenMode::StartFreshIfDamaged);
    EXPECT_TRUE(r.ok()) << r.message;
}

} // namespace
} // namespace embedded::test
