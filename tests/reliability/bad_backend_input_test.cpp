// Hostile headlines and stories from the back end reach the view on the headless host over the
// embedded back end: each gets a defined result, none crashes or hangs.
#include <algorithm>
#include <chrono>
#include <fstream>
#include <limits>

#include <gtest/gtest.h>

#include "embedded_backend/day_math.h"
#include "host/text/cp950.h"
#include "news_view/news_ids.h"
#include "tests/reliability/embedded_view_harness.h"

namespace reliability {
namespace {

using embedded::FeedEvent;
using embedded::FeedEventKind;

constexpr int kTimeColumn = 0;
constexpr int kTitleColumn = 2;
constexpr unsigned char kService = 16; // the service list 0 shows first

FeedEvent headline(std::int32_t seq, std::int64_t time, CString title, unsigned char service = kService) {
    FeedEvent e;
    e.kind = FeedEventKind::Headline;
    e.service = service;
    e.seq = seq;
    e.time = time;
    e.category = 1;
    e.title = std::move(title);
    return e;
}

class BadBackendInputTest : public ::testing::Test {
protected:
    std::int64_t at(int hour, int minute) const { return midnightOf(20240305) + hour * 3600 + minute * 60; }
    std::vector<CString> titles() {
        m_view.refresh();
        std::vector<CString> shown;
        for (std::size_t row = 0; row < m_view.rows(news::kModeAllNews); ++row) {
            shown.push_back(m_view.cell(news::kModeAllNews, row, kTitleColumn));
        }
        EXPECT_EQ(shown.size(), m_view.list(news::kModeAllNews).size()) << "row i is entry i";
        return shown;
    }

    EmbeddedViewHarness m_view;
};

TEST_F(BadBackendInputTest, LoneLeadBytesAndHugeTextsAreShownAsSent) {
    const CString loneAtEnd = "abc\xA4";
    const CString loneBeforeBlank = "\xA4 x \xA4";
    CString huge;
    while (huge.size() < 65536) {
        huge += cp950::fromUtf8("台積電營收");
    }
    CString story;
    while (story.size() < 10 * 1024 * 1024) {
        story += cp950::fromUtf8("本資料僅供參考。") + "\xA4";
    }
    FeedEvent withStory = headline(3, at(9, 2), huge);
    withStory.story = story;
    m_view.ingest({headline(1, at(9, 0), loneAtEnd), headline(2, at(9, 1), loneBeforeBlank), withStory});

    EXPECT_EQ(titles(), (std::vector<CString>{huge, loneBeforeBlank, loneAtEnd}));
    CStory got;
    ASSERT_TRUE(m_view.backend().BKQNEWS_bGetStory(got, CHeadlineTable{kService, at(9, 2), 3, 0, 0}));
    EXPECT_EQ(got.m_strText.size(), story.size());
    EXPECT_TRUE(got.m_strText == story) << "a 10 MB story with lone lead bytes comes back whole";
}

TEST_F(BadBackendInputTest, TimesOutsideTheCalendarAreRefusedAndTimeZeroIsShown) {
    m_view.ingest({headline(1, at(9, 0), "morning"), headline(2, 0, "epoch"), headline(3, -1, "before 1970"),
                   headline(4, std::int64_t{1} << 40, "year 36812"),
                   headline(5, std::numeric_limits<std::int64_t>::max(), "the end of time"),
                   headline(6, embedded::kMaxTime, "the last second a sort key holds"),
                   headline(7, embedded::kMaxTime + 1, "one second later")});
    EXPECT_EQ(titles(), (std::vector<CString>{"the last second a sort key holds", "morning", "epoch"}));
    EXPECT_EQ(m_view.cell(news::kModeAllNews, 2, kTimeColumn), "08:00") << "1970-01-01 08:00 in Taipei";
    EXPECT_EQ(m_view.backend().ingestStats().rejected, 4u);
    // The back end's own table keeps the latest time whole (its key does not wrap).
    std::vector<CHeadlineTable> table;
    m_view.backend().BKQNEWS_iGetHeadlineTable(16, table, BKQuoteInterface::kByDate, "20240305");
    const auto last = std::find_if(table.begin(), table.end(), [](const CHeadlineTable& e) { return e.m_iSeqNo == 6; });
    ASSERT_NE(last, table.end());
    EXPECT_EQ(last->m_tTime, embedded::kMaxTime);
}

TEST_F(BadBackendInputTest, UnknownServicesDuplicateKeysAndEmptyCategoriesHaveOneMeaning) {
    FeedEvent noCategory = headline(3, at(9, 3), "no category");
    noCategory.category = 0;
    noCategory.categoryName = "";
    m_view.ingest({headline(1, at(9, 0), "first"), headline(1, at(9, 0), "first, sent again"),
                   headline(2, at(9, 1), "other service", 99), noCategory, headline(1, at(9, 0), "first, third time")});
    EXPECT_EQ(titles(), (std::vector<CString>{"first, third time", "no category"}))
        << "one row per key, the last version on top; a service nobody registered reaches no list";
}

TEST_F(BadBackendInputTest, FeedLinesWithDuplicateMembersOrBadFieldsAreSkippedByNumber) {
    const std::filesystem::path file = m_view.folder() / "hostile.jsonl";
    std::ofstream(file, std::ios::binary)
        << R"({"at":0,"event":"headline","service":16,"seq":1,"title":"kept"})"
        << "\n"
        << R"({"at":1,"event":"headline","service":16,"seq":2,"title":"a","title":"b"})"
        << "\n"
        << R"({"at":1,"event":"headline","service":16,"seq":3,"category":"","title":"empty category"})"
        << "\n"
        << R"({"at":1,"event":"headline","service":300,"seq":4,"title":"service out of range"})"
        << "\n"
        << R"({"at":1,"event":"headline","service":16,"seq":5,"title":"x","symbols":[{"code":""}]})"
        << "\n"
        << "{}\n"
        << R"({"at":2,"event":"headline","service":16,"seq":6,"title":"kept too"})"
        << "\n";
    embedded::ReplayOptions options;
    options.path = file.string();
    options.speed = 0;
    std::string error;
    ASSERT_TRUE(m_view.backend().startReplay(options, &error)) << error;
    ASSERT_TRUE(m_view.backend().waitReplayFinished(std::chrono::seconds(30)));
    m_view.drain();
    EXPECT_EQ(titles(), (std::vector<CString>{"kept too", "kept"}));
    const embedded::ReplayReport report = m_view.backend().replayReport();
    std::vector<std::size_t> badLines;
    for (const embedded::ReplayLineError& e : report.errors) {
        badLines.push_back(e.line);
    }
    EXPECT_EQ(badLines, (std::vector<std::size_t>{2, 3, 4, 5, 6}));
    ASSERT_FALSE(report.errors.empty());
    EXPECT_NE(report.errors.front().message.find("duplicate member \"title\""), std::string::npos)
        << report.errors.front().message;
}

} // namespace
} // namespace reliability
