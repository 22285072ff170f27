// What a reconnection re-delivers, and a whole recorded feed replayed through the back end.
#include <algorithm>
#include <fstream>
#include <set>

#include <gtest/gtest.h>

#include "backend_fixture.h"

namespace embedded::test {
namespace {

constexpr int kToday = 20240305;

bool contains(const std::vector<std::string>& log, const std::string& line) {
    return std::find(log.begin(), log.end(), line) != log.end();
}

std::size_t indexOf(const std::vector<std::string>& log, const std::string& line) {
    return static_cast<std::size_t>(std::find(log.begin(), log.end(), line) - log.begin());
}

TEST_F(BackendTest, AReconnectionRedeliversWhatChangedWhileDisconnected) {
    registerFor(&view, 16);
    ingestNow({headlineEvent(16, 1, morning(), "連線時的新聞", 1, "2330"),
               headlineEvent(16, 2, morning() + 1, "另一則", 2, "2317"),
               headlineEvent(22, 1, morning(), "港股新聞", 1, "00700")});
    backend->disconnect();
    dispatcher.runPending();
    view.log.clear();

    FeedEvent corrected = headlineEvent(16, 2, morning() + 100, "(更正)另一則", 6, "2317");
    corrected.kind = FeedEventKind::Resend;
    FeedEvent withSymbols = headlineEvent(16, 3, morning() + 50, "斷線時的新聞", 5, "2454", "內文");
    withSymbols.symbols.push_back(CSymbolInfo{16, "2330", {}});
    ingestNow({withSymbols, storyEvent(16, 1, morning() + 60, "晚到的內文"), corrected});
    EXPECT_TRUE(view.log.empty()) << "nothing reaches the views while the link is down";
    EXPECT_EQ(dateTable(16, kToday).size(), 2u) << "nor the cache";

    backend->connect();
    dispatcher.runPending();
    EXPECT_EQ(backend->bIsConnect(), 1);
    const std::vector<std::string>& log = view.log;
    EXPECT_TRUE(contains(log, "date-table 16 20240305 0"));
    EXPECT_FALSE(contains(log, "date-table 22 20240305 0")) << "only what changed";
    for (const char* c : {"category-table 16 5 0", "category-table 16 6 0", "category-table 16 2 -1"}) {
        EXPECT_TRUE(contains(log, c)) << c << " (the resend left category 2 empty)";
    }
    for (const char* s : {"symbol-table 16 2454 0", "symbol-table 16 2330 0", "symbol-table 16 2317 0"}) {
        EXPECT_TRUE(contains(log, s)) << s;
    }
    EXPECT_TRUE(contains(log, "headlines 2"));
    EXPECT_TRUE(contains(log, "symbols 16/3"));
    EXPECT_TRUE(contains(log, "symbols 16/2"));
    EXPECT_TRUE(contains(log, "story 16/1")) << "the late story of a held headline";
    EXPECT_FALSE(contains(log, "story-update 16/1")) << "a first story is no change";
    EXPECT_FALSE(contains(log, "story 16/3")) << "a story that came with its new headline needs no notice";
    EXPECT_LT(indexOf(log, "date-table 16 20240305 0"), indexOf(log, "headlines 2"));
    EXPECT_TRUE(view.pushes.size() == 2 &&
                std::none_of(log.begin(), log.end(), [](const std::string& l) { return l.rfind("push", 0) == 0; }))
        << "recovered news is not pushed";
    const std::vector<CHeadlineTable> table = dateTable(16, kToday);
    EXPECT_EQ(table.size(), 3u);
    ASSERT_EQ(view.symbolLists.size(), 2u);
    EXPECT_EQ(view.symbolLists[0].m_symbols.m_vSymbols.size(), 2u);
}

TEST_F(BackendTest, ANewDayHeldBackIsAnnouncedFirst) {
    registerFor(&view, 16);
    backend->disconnect();
    backend->startNewDay(16);
    backend->ingest({headlineEvent(16, 1, morning() + 86400, "新的一天")});
    dispatcher.runPending();
    EXPECT_EQ(backend->BKQNEWS_cszGetCurrDateByService(16), dayText(kToday));
    backend->connect();
    dispatcher.runPending();
    const std::string tomorrow = dayText(addDays(kToday, 1));
    ASSERT_FALSE(view.log.empty());
    EXPECT_EQ(view.log[0], "new-day 16 " + tomorrow);
    EXPECT_TRUE(contains(view.log, "date-table 16 " + tomorrow + " 0"));
    EXPECT_EQ(backend->BKQNEWS_cszGetCurrDateByService(16), tomorrow);
}

TEST_F(BackendTest, ALongDisconnectionHoldsLittleAndStillRecoversAsOne) {
    backend->shutdown();
    EmbeddedBackendOptions o = options();
    o.heldLimit = 40;
    std::vector<std::size_t> recovered;
    o.onRecovered = [&](std::size_t n) { recovered.push_back(n); };
    start(o);
    registerFor(&view, 16);
    ingestNow({headlineEvent(16, 1, morning(), "斷線前")});
    backend->disconnect();
    dispatcher.runPending();
    view.log.clear();

    // Ten times what may be held, each headline with its stream bookmark, and late stories for
    // a headline from before and for held ones of earlier parts.
    const auto mark = [](std::int64_t n) {
        FeedEvent e;
        e.kind = FeedEventKind::StreamMark;
        e.service = 16;
        e.streamId = std::to_string(1000 + n) + "-0";
        e.entryNo = n;
        return e;
    };
    for (std::int32_t first = 2; first <= 401; first += 50) {
        std::vector<FeedEvent> events;
        for (std::int32_t seq = first; seq < first + 50; ++seq) {
            events.push_back(headlineEvent(16, seq, morning() + seq, "斷線時"));
            events.push_back(mark(seq));
        }
        if (first == 2) {
            events.push_back(storyEvent(16, 1, morning() + 1000, "晚到的內文"));
        } else {
            events.push_back(storyEvent(16, first - 10, morning() + 1000 + first, "晚到的內文"));
        }
        ingestNow(std::move(events));
        EXPECT_LE(backend->ingestStats().held, 40u);
    }
    EXPECT_LE(backend->ingestStats().heldPeak, 40u);
    EXPECT_TRUE(view.log.empty()) << "the views hear nothing while the link is down";
    EXPECT_TRUE(recovered.empty());

    backend->connect();
    dispatcher.runPending();
    EXPECT_EQ(std::count(view.log.begin(), view.log.end(), "headlines 400"), 1) << "one recovery with all of them";
    const auto stories = std::count_if(view.log.begin(), view.log.end(),
                                       [](const std::string& l) { return l.find("story") != std::string::npos; });
    EXPECT_TRUE(stories == 1 && contains(view.log, "story 16/1"))
        << "the late story of an older headline is told; those of recovered headlines, held in "
           "earlier parts, come with them";
    EXPECT_EQ(recovered, std::vector<std::size_t>{400});
    EXPECT_EQ(backend->cachedHeadlines(), 401u);

    // A later short disconnection announces only its own news.
    backend->disconnect();
    ingestNow({headlineEvent(16, 500, morning() + 500, "再斷線")});
    backend->connect();
    dispatcher.runPending();
    EXPECT_EQ(recovered, (std::vector<std::size_t>{400, 1}));
    backend->shutdown();

    // The store has every headline, and the last bookmark of the held ones.
    NewsStore store;
    ASSERT_TRUE(store.open((folder.path() / "news.db").string(), OpenMode::KeepExisting, morning()).ok());
    LoadedNews loaded;
    ASSERT_TRUE(store.load(5, kToday, loaded));
    EXPECT_EQ(loaded.headlines.size(), 402u);
    EXPECT_EQ(loaded.streamPositions[16].entryId, "1401-0");
    EXPECT_EQ(loaded.streamPositions[16].entryNo, 401);
}

TEST_F(BackendTest, TheSampleFeedReplaysWhole) {
    const std::string path = std::string(NEWS_SOURCE_DIR) + "/resources/feeds/sample.jsonl";
    std::ifstream file(path);
    ASSERT_TRUE(file) << path;
    std::size_t lines = 0;
    std::set<std::tuple<int, int, std::string>> headlines; // (service, day number, seq)
    int day = 0;
    for (std::string line; std::getline(file, line); ++lines) {
        FeedEvent e;
        double at = 0;
        std::string error;
        ASSERT_EQ(parseReplayLine(line, morning(), e, at, error), LineStatus::Event) << lines + 1 << ": " << error;
        if (e.kind == FeedEventKind::NewDay && e.service == 16) {
            ++day;
        }
        if (e.kind == FeedEventKind::Headline) {
            headlines.insert({e.service, day, std::to_string(e.seq)});
        }
    }
    registerFor(&view, 16);
    ReplayOptions replay;
    replay.path = path;
    replay.speed = 0;
    ASSERT_TRUE(backend->startReplay(replay, nullptr));
    ASSERT_TRUE(backend->waitReplayFinished(std::chrono::seconds(20)));
    dispatcher.runPending();
    const ReplayReport report = backend->replayReport();
    EXPECT_EQ(report.lines, lines);
    EXPECT_TRUE(report.errors.empty());
    EXPECT_EQ(backend->ingestStats().rejected, 0u);
    EXPECT_EQ(backend->ingestStats().held, 0u) << "the file reconnects after it disconnects";
    EXPECT_EQ(backend->cachedHeadlines(), headlines.size());
    EXPECT_EQ(backend->BKQNEWS_cszGetCurrDateByService(16), dayText(addDays(kToday, day)));
    EXPECT_FALSE(view.pushes.empty());
    EXPECT_FALSE(view.dateRecoveries.empty()) << "the file's reconnection re-delivered the held news";
}

} // namespace
} // namespace embedded::test
