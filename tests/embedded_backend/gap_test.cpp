// Headlines the link lost, found again by the gaps in each service's sequence numbers.
#include <algorithm>

#include <gtest/gtest.h>

#include "backend_fixture.h"
#include "embedded_backend/recovery_gaps.h"

namespace embedded::test {
namespace {

constexpr int kToday = 20240305;

FeedEvent lostHeadline(unsigned char service, std::int32_t seq, std::int64_t time, const char* title) {
    FeedEvent e = headlineEvent(service, seq, time, title);
    e.lost = true;
    return e;
}

std::vector<std::int32_t> seqsOf(const std::vector<CHeadlineTable>& table) {
    std::vector<std::int32_t> seqs;
    for (const CHeadlineTable& e : table) {
        seqs.push_back(e.m_iSeqNo);
    }
    std::sort(seqs.begin(), seqs.end());
    return seqs;
}

TEST(SeqRanges, KeepsRangesAndNamesWhatIsMissing) {
    SeqRanges set;
    for (const std::int32_t seq : {5, 7, 6, 1, 2, 10, 9}) {
        EXPECT_TRUE(set.insert(seq)) << seq;
    }
    EXPECT_FALSE(set.insert(6));
    EXPECT_EQ(set.rangeCount(), 3u) << "1-2, 5-7, 9-10";
    EXPECT_EQ(set.highest(), 10);
    EXPECT_TRUE(set.contains(7));
    EXPECT_FALSE(set.contains(8));
    using Gaps = std::vector<std::pair<std::int32_t, std::int32_t>>;
    EXPECT_EQ(set.missing(0, 12), (Gaps{{0, 0}, {3, 4}, {8, 8}, {11, 12}}));
    EXPECT_EQ(set.missing(5, 7), Gaps{});
    EXPECT_EQ(set.missing(4, 4), (Gaps{{4, 4}}));
    set.insert(8);
    set.insert(3);
    set.insert(4);
    EXPECT_EQ(set.rangeCount(), 1u) << "every insert that touches two ranges joins them";
    EXPECT_EQ(set.missing(1, 10), Gaps{});
}

TEST(LinkGaps, ForgettingOldDaysOfOneServiceKeepsOtherServicesAndTheKeptDays) {
    constexpr int kYesterday = 20240304;
    LinkGaps gaps;
    // Number 1 arrived and number 3 was lost, for two days of service 16 and one of service 22.
    for (const auto& [service, day] : {std::pair<unsigned char, int>{16, kYesterday}, {16, kToday}, {22, kYesterday}}) {
        EXPECT_TRUE(gaps.received(service, day, 1).empty());
        gaps.lost(lostHeadline(service, 3, morning(), "遺失"), day);
    }
    gaps.dropBefore(16, kToday);

    EXPECT_EQ(gaps.lostWaiting(), 2u);
    using Gap = std::tuple<unsigned char, int, std::int32_t, std::int32_t>;
    EXPECT_EQ(gaps.gapsToServerHigh(), (std::vector<Gap>{{16, kToday, 2, 3}, {22, kYesterday, 2, 3}}));
    using Gaps = std::vector<std::pair<std::int32_t, std::int32_t>>;
    EXPECT_EQ(gaps.received(22, kYesterday, 5), (Gaps{{2, 4}})) << "what arrived of service 22 is still known";
    EXPECT_EQ(gaps.received(16, kYesterday, 5), Gaps{}) << "a forgotten day starts afresh";
    const std::vector<FeedEvent> fetched = gaps.fetch(22, kYesterday, 2, 4);
    ASSERT_EQ(fetched.size(), 1u);
    EXPECT_FALSE(fetched[0].lost) << "what the server hands over again is an ordinary headline";
    EXPECT_EQ(gaps.lostWaiting(), 1u);
}

TEST_F(BackendTest, AHeadlineLostOnTheLinkIsFetchedWhenALaterNumberShowsTheGap) {
    std::size_t recovered = 0;
    backend.reset();
    EmbeddedBackendOptions o = options();
    o.onRecovered = [&](std::size_t count) { recovered += count; };
    start(std::move(o));
    registerFor(&view, 16);

    ingestNow({headlineEvent(16, 1, morning(), "第一則"), lostHeadline(16, 2, morning() + 10, "斷線遺失"),
               lostHeadline(16, 3, morning() + 20, "也遺失")});
    EXPECT_EQ(seqsOf(dateTable(16, kToday)), std::vector<std::int32_t>{1}) << "nothing shows a gap yet";
    EXPECT_EQ(backend->ingestStats().lost, 2u);

    view.log.clear();
    ingestNow({headlineEvent(16, 4, morning() + 30, "第四則")});
    EXPECT_EQ(seqsOf(dateTable(16, kToday)), (std::vector<std::int32_t>{1, 2, 3, 4}));
    ASSERT_GE(view.log.size(), 3u);
    EXPECT_EQ(view.log[0], "push 16/4");
    EXPECT_EQ(view.log[1], "date-table 16 20240305 0") << "the fetched headlines come as a recovery";
    EXPECT_NE(std::find(view.log.begin(), view.log.end(), "headlines 2"), view.log.end());
    EXPECT_EQ(view.pushes.size(), 2u) << "and are not pushed";
    EXPECT_EQ(recovered, 2u);
    const Ingest::Stats stats = backend->ingestStats();
    EXPECT_EQ(stats.lost, 0u);
    EXPECT_EQ(stats.recovered, 2u);
    EXPECT_EQ(stats.gaps, 1u);

    // A gap the server never filled (the numbers jump) asks, finds nothing and tells nobody.
    view.log.clear();
    ingestNow({headlineEvent(16, 9, morning() + 40, "第九則")});
    EXPECT_EQ(view.log, std::vector<std::string>{"push 16/9"});
    EXPECT_EQ(backend->ingestStats().gaps, 2u);
}

TEST_F(BackendTest, AReconnectionAsksForWhatTheServerSentLastAndTheLinkLost) {
    registerFor(&view, 16);
    ingestNow({headlineEvent(16, 1, morning(), "第一則"), lostHeadline(16, 2, morning() + 10, "最後一則遺失"),
               lostHeadline(22, 1, morning() + 10, "港股第一則就遺失")});
    EXPECT_EQ(seqsOf(dateTable(16, kToday)), std::vector<std::int32_t>{1});
    backend->disconnect();
    ingestNow({headlineEvent(16, 3, morning() + 20, "斷線時"), lostHeadline(16, 4, morning() + 30, "斷線時遺失")});
    backend->connect();
    dispatcher.runPending();
    EXPECT_EQ(seqsOf(dateTable(16, kToday)), (std::vector<std::int32_t>{1, 2, 3, 4}))
        << "held news, the gap before it and the server's last number";
    EXPECT_EQ(seqsOf(dateTable(22, kToday)), std::vector<std::int32_t>{1}) << "a day of which nothing arrived";
    EXPECT_EQ(backend->ingestStats().lost, 0u);
    EXPECT_EQ(backend->ingestStats().recovered, 4u);
}

TEST_F(BackendTest, ANewDayForgetsTheNumbersOfDaysNoLongerKept) {
    ingestNow({headlineEvent(16, 1, morning(), "第一則"), lostHeadline(16, 5, morning() + 10, "遺失")});
    for (int i = 0; i < 6; ++i) {
        backend->startNewDay(16);
        clock.set(morning() + (i + 1) * 86400);
    }
    dispatcher.runPending();
    EXPECT_EQ(backend->ingestStats().lost, 0u) << "a day out of the kept range takes its lost headlines along";
}

} // namespace
} // namespace embedded::test
