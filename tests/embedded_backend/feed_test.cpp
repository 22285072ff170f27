#include <chrono>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <set>

#include <gtest/gtest.h>

#include "backend_fixture.h"
#include "embedded_backend/news_generator.h"
#include "embedded_backend/replay_feed.h"

namespace embedded::test {
namespace {

constexpr std::int64_t kBase = 1'700'000'000;

TEST(ReplayLine, ParsesEveryEventKind) {
    FeedEvent e;
    double at = 0;
    std::string error;
    ASSERT_EQ(parseReplayLine(R"({"at":12.5,"event":"headline","service":16,"seq":7,"category":3,)"
                              R"("categoryName":"營收","title":"台積電\u6708營收","symbols":["2330",)"
                              R"({"code":"2317","name":"鴻海","market":1}],"story":"第一段@@@@第二段"})",
                              kBase, e, at, error),
              LineStatus::Event)
        << error;
    EXPECT_EQ(at, 12.5);
    EXPECT_EQ(e.kind, FeedEventKind::Headline);
    EXPECT_EQ(e.time, kBase + 12) << "times are the base plus the whole seconds of the offset";
    EXPECT_EQ(e.service, 16);
    EXPECT_EQ(e.seq, 7);
    EXPECT_EQ(e.category, 3);
    EXPECT_EQ(e.categoryName, big5("營收"));
    EXPECT_EQ(e.title, big5("台積電月營收")) << "\\u escapes become code page 950 as well";
    ASSERT_EQ(e.symbols.size(), 2u);
    EXPECT_EQ(e.symbols[0], (CSymbolInfo{16, "2330", ""})) << "a bare code takes the headline's service";
    EXPECT_EQ(e.symbols[1], (CSymbolInfo{1, "2317", big5("鴻海")}));
    EXPECT_EQ(e.story, big5("第一段@@@@第二段"));
    EXPECT_FALSE(e.lost);
    ASSERT_EQ(parseReplayLine(R"({"at":1,"event":"headline","service":16,"seq":8,"title":"x","lost":true})", kBase, e,
                              at, error),
              LineStatus::Event);
    EXPECT_TRUE(e.lost) << "sent by the server, lost by the link";

    ASSERT_EQ(parseReplayLine(R"({"at":0,"event":"story","service":22,"seq":3,"text":"a\r\nb","date":"20240229"})",
                              kBase, e, at, error),
              LineStatus::Event);
    EXPECT_EQ(e.kind, FeedEventKind::Story);
    EXPECT_EQ(e.story, "a\r\nb");
    EXPECT_EQ(e.day, 20240229);
    ASSERT_EQ(parseReplayLine(R"({"at":1,"event":"resend","service":16,"seq":7,"title":"x"})", kBase, e, at, error),
              LineStatus::Event);
    EXPECT_EQ(e.kind, FeedEventKind::Resend);
    EXPECT_FALSE(e.story) << "no story member, no story";
    ASSERT_EQ(parseReplayLine(R"({"at":2,"event":"newday","service":52})", kBase, e, at, error), LineStatus::Event);
    EXPECT_EQ(e.kind, FeedEventKind::NewDay);
    EXPECT_EQ(e.day, 0);
    ASSERT_EQ(parseReplayLine(R"({"event":"disconnect","at":3})", kBase, e, at, error), LineStatus::Event);
    EXPECT_EQ(e.kind, FeedEventKind::Disconnect);
    ASSERT_EQ(parseReplayLine("{\"event\":\"reconnect\",\"at\":4,\"future\":[1]}\r", kBase, e, at, error),
              LineStatus::Event)
        << "unknown members are ignored and a CR before the newline is fine";
    EXPECT_EQ(e.kind, FeedEventKind::Reconnect);
    EXPECT_EQ(parseReplayLine("   \r", kBase, e, at, error), LineStatus::Blank);
}

TEST(ReplayLine, OffsetAndTimeSurviveWritingAndReadingBack) {
    // Offsets are kept to the millisecond; the event time must follow the offset as written.
    for (const char* line : {R"({"at":0.9996,"event":"disconnect"})", R"({"at":59.9995,"event":"reconnect"})",
                             R"({"at":0.0004,"event":"disconnect"})", R"({"at":1e9,"event":"disconnect"})",
                             R"({"at":7.0015,"event":"headline","service":16,"seq":1,"title":"x"})"}) {
        FeedEvent e;
        double at = 0;
        std::string error;
        ASSERT_EQ(parseReplayLine(line, kBase, e, at, error), LineStatus::Event) << line << ": " << error;
        const std::string written = replayLine(e, at);
        FeedEvent back;
        double backAt = 0;
        ASSERT_EQ(parseReplayLine(written, kBase, back, backAt, error), LineStatus::Event) << written;
        EXPECT_EQ(back, e) << line << " was written as " << written;
        EXPECT_EQ(backAt, at) << line << " was written as " << written;
        EXPECT_EQ(replayLine(back, backAt), written);
    }
}

TEST(ReplayLine, BadLinesSayWhy) {
    const char* bad[] = {
        R"({"at":1,"event":"headline","service":16,"seq":1})",               // no title
        R"({"at":1,"event":"headline","service":16,"seq":1,"title":""})",    // empty title
        R"({"at":1,"event":"headline","service":0,"seq":1,"title":"x"})",    // service out of range
        R"({"at":1,"event":"headline","service":16,"seq":1.5,"title":"x"})", // fractional number
        R"({"at":1,"event":"headline","service":"16","seq":1,"title":"x"})", // number as text
        R"({"at":1,"event":"headline","service":16,"seq":1,"title":"x","symbols":[3]})",
        R"({"at":1,"event":"headline","service":16,"seq":1,"title":"x","lost":1})", // lost is true or false
        R"({"at":-1,"event":"disconnect"})",                                        // negative offset
        R"({"event":"disconnect"})",                                                // no offset
        R"({"at":1,"event":"story","service":16,"seq":1})",                         // story without text
        R"({"at":1,"event":"newday","service":16,"date":"20240230"})",              // no such date
        R"({"at":1,"event":"rename"})",                                             // unknown event
        R"([1,2])",                                                                 // not an object
        R"({"at":1,"event":"disconnect")",                                          // broken JSON
    };
    for (const char* line : bad) {
        FeedEvent e;
        double at = 0;
        std::string error;
        EXPECT_EQ(parseReplayLine(line, kBase, e, at, error), LineStatus::Bad) << line;
        EXPECT_FALSE(error.empty()) << line;
    }
}

TEST(ReplayFeed, ReportsBadLinesByNumberAndDeliversTheRestInOrder) {
    TempFolder folder;
    const std::string path = (folder.path() / "feed.jsonl").string();
    {
        std::ofstream out(path, std::ios::binary);
        out << "\xEF\xBB\xBF"
            << R"({"at":0,"event":"headline","service":16,"seq":1,"title":"one"})"
            << "\n"
            << "not json\n"
            << "\n"
            << R"({"at":0,"event":"headline","service":16,"seq":2,"title":"two"})"
            << "\r\n"
            << R"({"at":0,"event":"headline","service":16,"title":"no number"})"
            << "\n"
            << R"({"at":0,"event":"story","service":16,"seq":1,"text":"late"})"; // no final newline
    }
    std::mutex mutex;
    std::vector<FeedEvent> received;
    ReplayFeed feed;
    ReplayOptions options;
    options.path = path;
    options.speed = 0;
    options.baseTime = kBase;
    options.batchSize = 1;
    ASSERT_TRUE(feed.start(
        options,
        [&](std::vector<FeedEvent> events) {
            std::lock_guard lock(mutex);
            received.insert(received.end(), events.begin(), events.end());
        },
        nullptr));
    ASSERT_TRUE(feed.waitFinished(std::chrono::seconds(10)));
    const ReplayReport report = feed.report();
    EXPECT_TRUE(report.finished);
    EXPECT_EQ(report.lines, 6u);
    EXPECT_EQ(report.events, 3u);
    ASSERT_EQ(report.errors.size(), 2u);
    EXPECT_EQ(report.errors[0].line, 2u);
    EXPECT_EQ(report.errors[1].line, 5u);
    EXPECT_NE(report.errors[1].message.find("seq"), std::string::npos) << report.errors[1].message;
    std::lock_guard lock(mutex);
    ASSERT_EQ(received.size(), 3u);
    EXPECT_EQ(received[0].title, "one");
    EXPECT_EQ(received[1].title, "two");
    EXPECT_EQ(received[2].kind, FeedEventKind::Story);

    std::string error;
    EXPECT_FALSE(feed.start(ReplayOptions{(folder.path() / "missing.jsonl").string(), 0, kBase, 1}, nullptr, &error));
    EXPECT_NE(error.find("missing.jsonl"), std::string::npos);
}

TEST(ReplayFeed, StopsWhileWaitingForALaterEvent) {
    TempFolder folder;
    const std::string path = (folder.path() / "slow.jsonl").string();
    {
        std::ofstream out(path);
        out << R"({"at":0,"event":"disconnect"})"
            << "\n"
            << R"({"at":3600,"event":"reconnect"})"
            << "\n";
    }
    std::atomic<int> events{0};
    ReplayFeed feed;
    ASSERT_TRUE(feed.start(
        ReplayOptions{path, 1.0, kBase, 256}, [&](std::vector<FeedEvent> e) { events += static_cast<int>(e.size()); },
        nullptr));
    EXPECT_FALSE(feed.waitFinished(std::chrono::milliseconds(0)));
    feed.stop(); // must not wait an hour
    EXPECT_EQ(events.load(), 1) << "the first event was due at once and handed over before the wait";
    EXPECT_FALSE(feed.report().finished);
}

GeneratorOptions generatorOptions(std::uint64_t seed) {
    GeneratorOptions o;
    o.seed = seed;
    o.startTime = morning();
    o.headlinesPerSecond = 5;
    o.firstNewDayAt = morning() + 600;
    o.dayLength = 600;
    o.resendShare = 0.1;
    o.lateStoryShare = 0.3;
    return o;
}

TEST(Generator, SameSeedSameNewsDifferentSeedOtherNews) {
    NewsGenerator a(generatorOptions(7));
    NewsGenerator b(generatorOptions(7));
    NewsGenerator c(generatorOptions(8));
    int differences = 0;
    for (int i = 0; i < 2000; ++i) {
        const FeedEvent ea = a.next();
        ASSERT_EQ(ea, b.next()) << "event " << i;
        differences += ea == c.next() ? 0 : 1;
    }
    EXPECT_GT(differences, 1900);
}

TEST(Generator, RealisticStreamInTimeOrder) {
    NewsGenerator g(generatorOptions(3));
    std::int64_t last = 0;
    int day = g.day();
    std::map<std::pair<unsigned char, int>, std::int32_t> lastSeq;
    std::set<std::tuple<unsigned char, int, std::int32_t>> headlines;
    std::set<unsigned char> services;
    int stories = 0;
    int lateStories = 0;
    int corrections = 0;
    std::set<std::tuple<unsigned char, int, std::int32_t>> withStory;
    int resends = 0;
    int newDays = 0;
    for (int i = 0; i < 20000; ++i) {
        const FeedEvent e = g.next();
        ASSERT_GE(e.time, last) << "event " << i;
        last = e.time;
        switch (e.kind) {
        case FeedEventKind::Headline: {
            services.insert(e.service);
            ASSERT_EQ(e.seq, (lastSeq[{e.service, day}] + 1)) << "numbers count up per service and day";
            lastSeq[std::make_pair(e.service, day)] = e.seq;
            headlines.insert({e.service, day, e.seq});
            ASSERT_TRUE(cp950::isValid(e.title)) << cp950::toUtf8(e.title);
            ASSERT_EQ(e.title.find('?'), std::string::npos) << "every character has a code page 950 code";
            ASSERT_EQ(e.symbols.size(), 1u);
            if (e.story) {
                ++stories;
                withStory.insert({e.service, day, e.seq});
                ASSERT_TRUE(cp950::isValid(*e.story));
            }
            break;
        }
        case FeedEventKind::Story:
            // A story for a headline that has one already is a correction.
            ++(withStory.insert({e.service, e.day, e.seq}).second ? lateStories : corrections);
            ASSERT_EQ(headlines.count({e.service, e.day, e.seq}), 1u) << "a late story follows its headline";
            break;
        case FeedEventKind::Resend:
            ++resends;
            ASSERT_EQ(headlines.count({e.service, day, e.seq}), 1u) << "a resend repeats a headline of the same day";
            break;
        case FeedEventKind::NewDay:
            if (e.day != day) {
                ++newDays;
                ASSERT_EQ(e.day, addDays(day, 1));
                day = e.day;
            }
            break;
        default:
            FAIL() << "the generator never drops the link";
        }
    }
    EXPECT_EQ(services, (std::set<unsigned char>{16, 22, 52, 122}));
    EXPECT_GT(stories, 5000);
    EXPECT_GT(lateStories, 2000);
    EXPECT_GT(corrections, 100);
    EXPECT_GT(resends, 500);
    EXPECT_GE(newDays, 5);
}

TEST(Generator, LosesTheAskedShareOfHeadlinesAndNoneUnasked) {
    GeneratorOptions options = generatorOptions(5);
    int lostByDefault = 0;
    NewsGenerator plain(options);
    for (int i = 0; i < 5000; ++i) {
        lostByDefault += plain.next().lost ? 1 : 0;
    }
    EXPECT_EQ(lostByDefault, 0);
    options.lossShare = 0.1;
    NewsGenerator lossy(options);
    int headlines = 0;
    int lost = 0;
    for (int i = 0; i < 5000; ++i) {
        const FeedEvent e = lossy.next();
        headlines += e.kind == FeedEventKind::Headline ? 1 : 0;
        lost += e.lost ? 1 : 0;
        ASSERT_TRUE(!e.lost || e.kind == FeedEventKind::Headline) << "only headlines are lost";
    }
    EXPECT_GT(lost, headlines / 20);
    EXPECT_LT(lost, headlines / 5);
}

TEST(Generator, TransportWrappingNeverSplitsACharacter) {
    const CString text = big5("許功蓋ABC") + std::string(69, 'x') + big5("許") + "@@@@" + big5("台積電營收");
    for (const std::size_t width : {1u, 2u, 7u, 70u}) {
        const CString wrapped = wrapForTransport(text, width);
        CString joined;
        std::size_t start = 0;
        while (start <= wrapped.size()) {
            const std::size_t end = std::min(wrapped.find("\r\n", start), wrapped.size());
            const std::string_view line(wrapped.data() + start, end - start);
            EXPECT_LE(line.size(), std::max<std::size_t>(width, 2)) << width;
            EXPECT_TRUE(cp950::isValid(line)) << "width " << width << " line " << cp950::toUtf8(line);
            joined.append(line);
            start = end + 2;
        }
        EXPECT_EQ(joined, text) << "only CR LF were added";
    }
}

} // namespace
} // namespace embedded::test
