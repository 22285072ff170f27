#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "headline_list/headline_table_list.h"
#include "tests/support/literal_headline_list.h"

// HeadlineTableList against the plain vector form: random pushes of new, re-sent, older and
// undated headlines of several services and days, mixed with inserts, erases, appends and
// sorts; every push result must match, and whole lists and lookups at checkpoints.

namespace {

constexpr std::int64_t kMar10 = 1710000000; // 2024-03-10 00:00:00 in Asia/Taipei
constexpr std::int64_t kDay = 86400;
constexpr std::int64_t kNoLocalDate = 100'000'000'000'000'000;

class RandomFeed {
public:
    explicit RandomFeed(unsigned seed) : m_rng(seed) {}

    unsigned pick(std::size_t n) { return static_cast<unsigned>(m_rng() % n); }
    // Four days, few distinct times a day (equal times are common) and both ends of each day.
    std::int64_t time() {
        const std::int64_t day = kMar10 + kDay * (static_cast<std::int64_t>(pick(4)) - 2);
        const unsigned kind = pick(10);
        return kind == 0 ? day : kind == 1 ? day + kDay - 1 : day + pick(40) * 2160;
    }
    // Three services and 30 numbers, so every number recurs on every day.
    CHeadlineTable entry() {
        constexpr unsigned char kServices[3] = {1, 2, 5};
        return CHeadlineTable{kServices[pick(3)], time(), static_cast<std::int32_t>(1 + pick(30)),
                              static_cast<std::int64_t>(pick(3)) - 1, pick(3)};
    }

    CHeadline push(const LiteralHeadlineList& current) {
        CHeadlineTable e = entry();
        const unsigned kind = pick(100);
        if (kind < 30 && current.size() > 0) { // re-sent: a listed key, same or other second of its day
            e = current[pick(current.size())];
            if (e.m_tTime < kNoLocalDate && pick(2) == 0) {
                const std::int64_t intoDay = ((e.m_tTime - kMar10) % kDay + kDay) % kDay;
                e.m_tTime += static_cast<std::int64_t>(pick(kDay)) - intoDay;
            }
        } else if (kind < 45) { // newest
            m_newest = std::max(m_newest, kMar10 + 2 * kDay) + pick(3);
            e.m_tTime = m_newest;
        } else if (kind < 47) { // no local date
            e.m_tTime = kNoLocalDate + pick(2);
        }
        CHeadline h;
        h.m_byService = e.m_byService;
        h.m_tTime = e.m_tTime;
        h.m_iSeqNo = e.m_iSeqNo;
        return h;
    }

private:
    std::mt19937 m_rng;
    std::int64_t m_newest = 0;
};

void expectSameLookups(const HeadlineTableList& list, const LiteralHeadlineList& literal, RandomFeed& feed, int push) {
    for (int i = 0; i < 20; ++i) {
        CHeadlineTable key = feed.entry();
        if (i % 2 == 0 && literal.size() > 0) {
            key = literal[feed.pick(literal.size())];
        }
        ASSERT_EQ(list.findFirstByKey(key.m_byService, key.m_tTime, key.m_iSeqNo),
                  literal.findFirstByKey(key.m_byService, key.m_tTime, key.m_iSeqNo))
            << "findFirstByKey at push " << push;
        ASSERT_EQ(list.findSameDay(key.m_byService, key.m_iSeqNo, key.m_tTime),
                  literal.findSameDay(key.m_byService, key.m_iSeqNo, key.m_tTime))
            << "findSameDay at push " << push;
        const std::size_t after = feed.pick(literal.size() + 2);
        ASSERT_EQ(list.findNextSameSeq(key.m_byService, key.m_iSeqNo, after),
                  literal.findNextSameSeq(key.m_byService, key.m_iSeqNo, after))
            << "findNextSameSeq after " << after << " at push " << push;
        ASSERT_EQ(list.insertRowForTime(key.m_tTime), literal.insertRowForTime(key.m_tTime))
            << "insertRowForTime at push " << push;
    }
    std::vector<CHeadlineTable> got;
    std::vector<CHeadlineTable> want;
    const std::size_t first = feed.pick(literal.size() + 1);
    list.copyRange(first, 31, got);
    literal.copyRange(first, 31, want);
    ASSERT_EQ(got, want) << "copyRange from " << first << " at push " << push;
}

} // namespace

TEST(HeadlineListDifferential, HundredThousandRandomPushes) {
    RandomFeed feed(20240310);
    HeadlineTableList list;
    LiteralHeadlineList literal;
    std::vector<CHeadlineTable> seed;
    for (int i = 0; i < 1500; ++i) {
        seed.push_back(feed.entry());
    }
    list.assign(seed);
    literal.assign(seed);

    for (int push = 1; push <= 100000; ++push) {
        const CHeadline h = feed.push(literal);
        ASSERT_EQ(list.processPush(h), literal.processPush(h)) << "push " << push << ": service " << int{h.m_byService}
                                                               << " number " << h.m_iSeqNo << " time " << h.m_tTime;

        // Other changes a view makes: rows inserted or erased anywhere, keeping the list
        // between a few hundred and a few thousand rows (several row blocks).
        if (push % 7 == 0) {
            const std::size_t row = feed.pick(literal.size() + 1);
            const CHeadlineTable e = feed.entry();
            list.insert(row, e);
            literal.insert(row, e);
        }
        if (literal.size() > 3000 || (push % 5 == 0 && literal.size() > 300)) {
            const int count = literal.size() > 3000 ? 1200 : 1;
            for (int i = 0; i < count; ++i) {
                const std::size_t row = feed.pick(literal.size());
                list.erase(row);
                literal.erase(row);
            }
        }
        if (push % 4999 == 0) {
            std::vector<CHeadlineTable> batch(feed.pick(2) == 0 ? 3 : 900);
            for (auto& e : batch) {
                e = feed.entry();
            }
            list.append(batch);
            literal.append(batch);
        }
        if (push % 33333 == 0) {
            list.sortNewestFirst();
            literal.sortNewestFirst();
        }
        if (push % 25000 == 0) {
            // A table sent again: the current entries, shuffled, and once with a newcomer.
            std::vector<CHeadlineTable> again = literal.entries();
            for (std::size_t i = again.size(); i > 1; --i) {
                std::swap(again[i - 1], again[feed.pick(i)]);
            }
            if (push % 50000 == 0) {
                again.push_back(feed.entry());
            }
            list.assignNewestFirst(again);
            literal.assign(again);
            literal.sortNewestFirst();
        }
        if (push % 500 == 0) {
            ASSERT_EQ(list.toVector(), literal.entries()) << "lists differ after push " << push;
            expectSameLookups(list, literal, feed, push);
        }
    }
}
