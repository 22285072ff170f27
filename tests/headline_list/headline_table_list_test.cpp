#include <vector>

#include <gtest/gtest.h>

#include "headline_list/headline_table_list.h"

namespace {

constexpr std::int64_t kDay = 86400;
constexpr std::int64_t kMar10 = 1710000000;                    // 2024-03-10 00:00:00 in Asia/Taipei
constexpr std::int64_t kNoLocalDate = 100'000'000'000'000'000; // beyond localtime's years

using PushResult = HeadlineTableList::PushResult;

CHeadline headline(unsigned char service, std::int64_t time, std::int32_t seqNo) {
    CHeadline h;
    h.m_byService = service;
    h.m_tTime = time;
    h.m_iSeqNo = seqNo;
    return h;
}
CHeadlineTable entry(unsigned char service, std::int64_t time, std::int32_t seqNo, std::int64_t value2 = 0,
                     std::uint64_t last = 0) {
    return CHeadlineTable{service, time, seqNo, value2, last};
}
PushResult added(std::size_t row) {
    PushResult r;
    r.insertedRow = row;
    return r;
}
PushResult resent(std::size_t rewritten, std::optional<std::size_t> removed) {
    PushResult r;
    r.resent = true;
    r.rewrittenRow = rewritten;
    r.removed = removed.has_value();
    r.removedRow = removed.value_or(0);
    return r;
}

} // namespace

TEST(HeadlineTableList, NewHeadlinesGoAboveTheFirstEarlierEntry) {
    HeadlineTableList list;
    EXPECT_EQ(list.insertRowForTime(kMar10), 0u);
    EXPECT_EQ(list.processPush(headline(1, kMar10 + 100, 1)), added(0)) << "push into an empty list";
    EXPECT_EQ(list.processPush(headline(1, kMar10 + 50, 2)), added(1)) << "older: below the newer entry";
    EXPECT_EQ(list.processPush(headline(2, kMar10 + 100, 3)), added(1)) << "equal time stays below the first";
    EXPECT_EQ(list.processPush(headline(1, kMar10 + 100, 4)), added(2)) << "and below every equal time";
    EXPECT_EQ(list.processPush(headline(1, kMar10 + 10, 5)), added(4)) << "none earlier: the end";
    EXPECT_EQ(list.processPush(headline(1, kMar10 + 200, 6)), added(0));
    const std::vector<CHeadlineTable> want{entry(1, kMar10 + 200, 6), entry(1, kMar10 + 100, 1),
                                           entry(2, kMar10 + 100, 3), entry(1, kMar10 + 100, 4),
                                           entry(1, kMar10 + 50, 2),  entry(1, kMar10 + 10, 5)};
    EXPECT_EQ(list.toVector(), want);
    EXPECT_EQ(list[2], want[2]);
    EXPECT_EQ(list.insertRowForTime(kMar10 + 100), 4u);
    EXPECT_EQ(list.insertRowForTime(kMar10 + 10), 6u);
}

TEST(HeadlineTableList, ResentHeadlineMovesToTheTop) {
    HeadlineTableList only;
    only.assign({entry(3, kMar10 + 500, 9, 77, 88)});
    EXPECT_EQ(only.processPush(headline(3, kMar10 + 500, 9)), resent(0, 1)) << "re-send of the only entry";
    EXPECT_EQ(only.toVector(), std::vector{entry(3, kMar10 + 500, 9)}) << "replaced by the bare key entry";

    // An older re-sent headline still goes to row 0, above newer rows, and its own old row goes.
    HeadlineTableList list;
    list.assign({entry(1, kMar10 + 900, 1), entry(1, kMar10 + 800, 2), entry(1, kMar10 + 700, 3)});
    EXPECT_EQ(list.processPush(headline(1, kMar10 + 650, 3)), resent(2, 3)) << "same day, other time";
    EXPECT_EQ(list.toVector(),
              (std::vector{entry(1, kMar10 + 650, 3), entry(1, kMar10 + 900, 1), entry(1, kMar10 + 800, 2)}));
    EXPECT_EQ(list.findFirstByKey(1, kMar10 + 650, 3), 0u);
    EXPECT_EQ(list.findFirstByKey(1, kMar10 + 700, 3), std::nullopt);
}

TEST(HeadlineTableList, ResendRemovesTheFirstLaterSameNumberOfAnyDay) {
    // Number 5 of service 1 exists today (row 0) and yesterday (row 2). Re-sending yesterday's
    // removes today's entry, the first one below the new top row, and keeps yesterday's.
    HeadlineTableList list;
    list.assign({entry(1, kMar10 + 3600, 5), entry(1, kMar10 + 60, 4), entry(1, kMar10 - 3600, 5)});
    EXPECT_EQ(list.processPush(headline(1, kMar10 - 3600, 5)), resent(2, 1));
    EXPECT_EQ(list.toVector(),
              (std::vector{entry(1, kMar10 - 3600, 5), entry(1, kMar10 + 60, 4), entry(1, kMar10 - 3600, 5)}));
    EXPECT_EQ(list.findNextSameSeq(1, 5, 0), 2u);
    // Both copies are of one day now: the next re-send finds the top one and drops the copy
    // right below the new top row, so the bottom copy stays.
    EXPECT_EQ(list.processPush(headline(1, kMar10 - 3600, 5)), resent(0, 1));
    EXPECT_EQ(list.size(), 3u);
    EXPECT_EQ(list.findNextSameSeq(1, 5, 0), 2u);
}

TEST(HeadlineTableList, LocalDayBoundaries) {
    HeadlineTableList list;
    list.processPush(headline(1, kMar10 - 1, 8)); // 2024-03-09 23:59:59 local
    EXPECT_FALSE(list.processPush(headline(1, kMar10, 8)).resent) << "midnight starts another day";
    EXPECT_EQ(list.findSameDay(1, 8, kMar10 + kDay - 1), 0u) << "23:59:59 is still the 10th";
    EXPECT_EQ(list.findSameDay(1, 8, kMar10 - kDay), 1u) << "00:00:00 of the 9th";
    EXPECT_EQ(list.findSameDay(1, 8, kMar10 + kDay), std::nullopt);
    EXPECT_EQ(list.findSameDay(2, 8, kMar10), std::nullopt) << "another service";

    // A time localtime cannot convert shares no day, even with itself, but is found by key.
    EXPECT_FALSE(list.processPush(headline(1, kNoLocalDate, 8)).resent);
    EXPECT_FALSE(list.processPush(headline(1, kNoLocalDate, 8)).resent);
    EXPECT_EQ(list.findSameDay(1, 8, kNoLocalDate), std::nullopt);
    EXPECT_EQ(list.findFirstByKey(1, kNoLocalDate, 8), 0u);
    EXPECT_EQ(list.size(), 4u);
}

TEST(HeadlineTableList, SortIsStableWithTieBreaks) {
    HeadlineTableList list;
    list.assign({entry(1, 10, 1, 5, 1), entry(2, 10, 1, 5, 1), entry(1, 10, 2, -9, 0), entry(1, 20, 0),
                 entry(1, 10, 1, 6, 0), entry(1, 10, 1, 5, 0xFFFF'FFFF'FFFF'FFFFull), entry(3, 10, 1, 5, 1),
                 entry(1, -5, 7)});
    list.sortNewestFirst();
    const std::vector<CHeadlineTable> want{entry(1, 20, 0),                              // newest time first
                                           entry(1, 10, 2, -9, 0),                       // then the higher number
                                           entry(1, 10, 1, 6, 0),                        // then the higher second value
                                           entry(1, 10, 1, 5, 0xFFFF'FFFF'FFFF'FFFFull), // last field compares unsigned
                                           entry(1, 10, 1, 5, 1),
                                           entry(2, 10, 1, 5, 1),
                                           entry(3, 10, 1, 5, 1), // equal: input order
                                           entry(1, -5, 7)};
    EXPECT_EQ(list.toVector(), want);
    EXPECT_EQ(list.findFirstByKey(2, 10, 1), 5u) << "indexes follow the new order";
    EXPECT_EQ(list.findNextSameSeq(1, 1, 2), 3u);
    EXPECT_EQ(list.insertRowForTime(10), 7u);
}

TEST(HeadlineTableList, RangesAndBadRows) {
    HeadlineTableList list;
    std::vector<CHeadlineTable> out{entry(9, 9, 9)};
    list.copyRange(0, 5, out);
    EXPECT_TRUE(out.empty()) << "copyRange replaces what out held";
    list.assign({entry(1, 30, 1), entry(1, 20, 2), entry(1, 10, 1)});
    list.copyRange(1, 31, out);
    EXPECT_EQ(out, (std::vector{entry(1, 20, 2), entry(1, 10, 1)})) << "cut at the end";
    list.copyRange(3, 31, out);
    EXPECT_TRUE(out.empty());
    EXPECT_EQ(list.findNextSameSeq(1, 1, 0), 2u);
    EXPECT_EQ(list.findNextSameSeq(1, 1, 2), std::nullopt) << "after the last row";
    EXPECT_EQ(list.findNextSameSeq(1, 1, 1000), std::nullopt) << "after beyond the end";
    list.erase(3); // past the end: nothing happens
    list.append({entry(1, 5, 1)});
    EXPECT_EQ(list.findNextSameSeq(1, 1, 2), 3u) << "appended rows are indexed";

    HeadlineTableList moved = std::move(list);
    EXPECT_EQ(moved.size(), 4u);
    EXPECT_EQ(list.size(), 0u); // NOLINT(bugprone-use-after-move): a moved-from list reads as empty
    EXPECT_EQ(list.findFirstByKey(1, 30, 1), std::nullopt);
    EXPECT_EQ(list.processPush(headline(1, 40, 1)), added(0)) << "and can be used again";
}
