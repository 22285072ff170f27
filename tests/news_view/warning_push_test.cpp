// Pushed headlines in the warning-term list: the view keeps the sorted search results between
// pushes instead of reading and sorting them again; whatever happens between two pushes, its
// list must be the one the plain re-read-everything refresh gives.
#include <random>

#include "host/backend/bk_quote_interface.h"
#include "tests/news_view/news_view_fixture.h"
#include "tests/support/literal_search_push.h"

namespace newsview_test {
namespace {

constexpr int kSearch = BKQuoteInterface::kSearch;

class WarningPushTest : public NewsViewTest {
protected:
    void SetUp() override {
        Options options;
        options.showWarningSearch = true;
        createView(options);
        m_view->SwitchFunction(news::kModeWarningSearch);
    }
    std::vector<CHeadlineTable> results(unsigned char service) const {
        const std::vector<CHeadlineTable>* table = m_backend.table(service, kSearch, "SEARCH");
        return table != nullptr ? *table : std::vector<CHeadlineTable>{};
    }
    std::vector<CHeadlineTable> listed() const { return m_view->GetTable(news::kModeWarningSearch)->toVector(); }
};

TEST_F(WarningPushTest, EveryPushLeavesTheListThePlainRefreshWouldWhateverChangedBetween) {
    std::mt19937 rng(20240102);
    const auto pick = [&rng](int low, int high) { return std::uniform_int_distribution<int>(low, high)(rng); };
    // Few numbers and few times, so pushes hit and miss, and equal times and numbers abound.
    const auto randomEntries = [&](unsigned char service) {
        std::vector<CHeadlineTable> entries;
        const int count = pick(0, 30);
        for (int i = 0; i < count; ++i) {
            entries.push_back(CHeadlineTable{service, taipei(9, pick(0, 5)), pick(1, 12), pick(0, 2),
                                             static_cast<std::uint64_t>(pick(0, 2))});
        }
        return entries;
    };
    const std::vector<unsigned char> services = {16, 22};
    for (const unsigned char service : services) {
        m_backend.setTable(service, kSearch, "SEARCH", randomEntries(service));
    }
    std::vector<CHeadlineTable> expected = listed();
    std::size_t gridRows = sheet(news::kModeWarningSearch).iGetRowCount();
    int reads = 0;
    for (int step = 0; step < 3000; ++step) {
        const int what = pick(0, 19);
        if (what == 0) {
            // New results for one service: the next push from it must read them.
            const unsigned char service = services[static_cast<std::size_t>(pick(0, 1))];
            m_backend.setTable(service, kSearch, "SEARCH", randomEntries(service));
            continue;
        }
        if (what == 1) {
            // An answer rebuilds the list from every service's results; the back end's results
            // stay as they were, so only the list itself shows the change.
            m_view->RespSearchHeadLineTable(m_view->GetWarningCondition(), 16);
            expected.clear();
            for (const NewsServiceEntry& entry : m_view->GetServiceList()) {
                const std::vector<CHeadlineTable> part = results(entry.m_byService);
                expected.insert(expected.end(), part.begin(), part.end());
            }
            literalSearchPush(expected, expected, CHeadline{});
            gridRows = expected.size();
            ASSERT_EQ(listed(), expected) << "step " << step;
            continue;
        }
        const unsigned char service = services[static_cast<std::size_t>(pick(0, 1))];
        const CHeadline headline{service, taipei(9, pick(0, 5)), pick(1, 12), "pushed"};
        const std::size_t before = m_backend.countCalls("BKQNEWS_iGetHeadlineTable");
        m_view->RecvNewHeadLine(&headline, "1", "");
        reads += static_cast<int>(m_backend.countCalls("BKQNEWS_iGetHeadlineTable") - before);
        if (literalSearchPush(expected, results(service), headline)) {
            ++gridRows;
        }
        ASSERT_EQ(listed(), expected) << "step " << step;
        ASSERT_EQ(sheet(news::kModeWarningSearch).iGetRowCount(), gridRows) << "step " << step;
    }
    // The point of keeping the results: a push reads them only after they changed (one step
    // in twenty), whichever service pushed before.
    EXPECT_LT(reads, 3000 / 8);
}

TEST_F(WarningPushTest, ABackEndWithoutStampsIsReadOnEveryPush) {
    // The scripted back end keeps stamps; one that keeps none (stamp 0) must be read each time.
    class Unstamped : public headless::ScriptedBackend {
    public:
        std::uint64_t BKQNEWS_ullGetHeadlineTableStamp(unsigned char, int, const CString&) override { return 0; }
    };
    Unstamped backend;
    backend.addService(16, "S16", "S16", "20240102");
    backend.install();
    const CHeadlineTable copy{16, taipei(9, 1), 7};
    backend.setTable(16, kSearch, "SEARCH", {copy});
    HeadlineTableList table;
    CSearch condition;
    condition.m_vKeywords = {"A"};
    const CHeadline headline{16, taipei(9, 1), 7, "pushed"};
    m_view->SwitchFunction(news::kModeSearch); // the intake runs this with the list index 3
    for (int i = 0; i < 3; ++i) {
        m_view->ProcessNewSearchHeadline(condition, &sheet(news::kModeWarningSearch), table, headline, "SEARCH");
    }
    EXPECT_EQ(backend.countCalls("BKQNEWS_iGetHeadlineTable"), 3U);
    EXPECT_EQ(table.toVector(), (std::vector<CHeadlineTable>{{16, taipei(9, 1), 7}, copy}));
    m_backend.install();
}

} // namespace
} // namespace newsview_test
