// The indexed matching of the print and save jobs against the literal one (every headline or
// answer compared with every item), on random entries that share services, numbers and days.
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "output/gather_items.h"
#include "output/pending_output_lists.h"
#include "tests/support/literal_output.h"

namespace {

constexpr std::int64_t kDay = 86400;
constexpr std::int64_t kJan2 = 1704124800; // 2024-01-02 00:00 Taipei

class RandomNews {
public:
    explicit RandomNews(unsigned seed) : m_random(seed) {}

    std::int64_t time() {
        // Three days, any second of them, and now and then a time with no local date.
        if (pick(40) == 0) {
            return pick(2) == 0 ? INT64_MAX : INT64_MAX - 1;
        }
        return kJan2 + static_cast<std::int64_t>(pick(3)) * kDay + static_cast<std::int64_t>(pick(kDay));
    }
    CHeadlineTable entry() {
        CHeadlineTable e;
        e.m_byService = static_cast<unsigned char>(16 + pick(2));
        e.m_tTime = time();
        e.m_iSeqNo = static_cast<std::int32_t>(pick(6));
        e.m_llValue2 = pick(2);
        e.m_ullLast = pick(2);
        return e;
    }
    CHeadline headline() {
        const CHeadlineTable e = entry();
        CHeadline h;
        h.m_byService = e.m_byService;
        h.m_tTime = e.m_tTime;
        h.m_iSeqNo = e.m_iSeqNo;
        h.m_strTitle = "T" + std::to_string(m_next++);
        return h;
    }
    NewsPrintList items(std::size_t count) {
        NewsPrintList list;
        for (std::size_t i = 0; i < count; ++i) {
            NewsPrintItem item;
            item.m_entry = entry();
            item.m_byHasTitle = static_cast<unsigned char>(pick(4) == 0);
            item.m_byHasStory = static_cast<unsigned char>(pick(3) == 0);
            list.push_back(item);
        }
        return list;
    }
    std::vector<CHeadline> headlines(std::size_t count) {
        std::vector<CHeadline> result;
        for (std::size_t i = 0; i < count; ++i) {
            result.push_back(headline());
        }
        return result;
    }
    unsigned pick(std::int64_t n) {
        return static_cast<unsigned>(std::uniform_int_distribution<std::int64_t>(0, n - 1)(m_random));
    }

private:
    std::mt19937 m_random;
    int m_next = 0;
};

std::string describe(const NewsPrintList& items) {
    std::string text;
    for (const NewsPrintItem& item : items) {
        text += std::to_string(item.m_entry.m_iSeqNo) + ":" + item.m_strTitle + "/" + item.m_strStory + "/" +
                std::to_string(item.m_byHasTitle) + std::to_string(item.m_byHasStory) + " ";
    }
    return text;
}

TEST(OutputDifferentialTest, GatheredItemsTakeTheSameTitlesAsByComparingEveryPair) {
    for (unsigned seed = 1; seed <= 40; ++seed) {
        RandomNews news(seed);
        NewsPrintList indexed = news.items(news.pick(60));
        for (NewsPrintItem& item : indexed) {
            item.m_byHasTitle = 0;
        }
        NewsPrintList literal = indexed;
        const std::vector<CHeadline> headlines = news.headlines(news.pick(120));
        news_output::vTakeTitles(indexed, headlines);
        literal_output::vTakeTitles(literal, headlines);
        ASSERT_EQ(describe(indexed), describe(literal)) << "seed " << seed;
    }
}

TEST(OutputDifferentialTest, WaitingRequestsFillAndLeaveTheQueueAsByScanningEveryItem) {
    for (unsigned seed = 1; seed <= 60; ++seed) {
        RandomNews news(seed);
        PendingOutputLists indexed;
        literal_output::PendingQueue literal;
        int stories = 0;
        for (int step = 0; step < 80; ++step) {
            switch (news.pick(4)) {
            case 0: {
                NewsPrintList items = news.items(news.pick(8));
                indexed.vAppend(items);
                literal.vAppend(items);
                break;
            }
            case 1: {
                const std::vector<CHeadline> headlines = news.headlines(news.pick(6));
                indexed.vFillTitles(headlines);
                literal.vFillTitles(headlines);
                break;
            }
            case 2: {
                // The back end holds the story only for entries with an even number.
                const CHeadlineTable entry = news.entry();
                const std::string text = "S" + std::to_string(++stories);
                const auto fetch = [&](const NewsPrintItem& item) -> std::optional<CString> {
                    return item.m_entry.m_iSeqNo % 2 == 0 ? std::optional<CString>(text) : std::nullopt;
                };
                indexed.vFillStories(entry, fetch);
                literal.vFillStories(entry, fetch);
                break;
            }
            default: {
                const std::optional<NewsPrintList> a = indexed.takeLastComplete();
                const std::optional<NewsPrintList> b = literal.takeLastComplete();
                ASSERT_EQ(a.has_value(), b.has_value()) << "seed " << seed << " step " << step;
                if (a) {
                    ASSERT_EQ(describe(*a), describe(*b)) << "seed " << seed << " step " << step;
                }
                break;
            }
            }
            const std::vector<const NewsPrintList*> lists = indexed.vLists();
            ASSERT_EQ(lists.size(), literal.lists().size()) << "seed " << seed << " step " << step;
            for (std::size_t i = 0; i < lists.size(); ++i) {
                ASSERT_EQ(describe(*lists[i]), describe(literal.lists()[i])) << "seed " << seed << " step " << step;
            }
        }
    }
}

} // namespace
