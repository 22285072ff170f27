// Rules of the symbol list and the service registration that read oddly and are kept on
// purpose. The others of their kind are pinned by the news_view_kept_rules,
// news_view_relation_rules and news_view_services scenarios.
#include "host/backend/subscriptions.h"
#include "tests/news_view/news_view_fixture.h"

namespace newsview_test {
namespace {

using CorrectionsTest = NewsViewTest;

TEST_F(CorrectionsTest, SymbolNewsComeForTheCurrentNewsSymbolWhateverCodeIsPassed) {
    m_backend.addSymbol(16, "2330", "TSMC");
    m_backend.addSymbol(16, "2317", "Hon Hai");
    const CHeadlineTable tsmc = addNews(16, taipei(8, 0), 1, "TSMC news");
    const CHeadlineTable honHai = addNews(16, taipei(8, 5), 2, "Hon Hai news");
    m_backend.setTable(16, BKQuoteInterface::kBySymbol, "2330", {tsmc});
    m_backend.setTable(16, BKQuoteInterface::kBySymbol, "2317", {honHai});
    createView();
    m_view->ChangeSymbol(m_view.get(), 0, 16, "2330", "TSMC");
    ASSERT_EQ(seqs(news::kModeSymbol), std::vector<std::int32_t>{1});
    m_view->OnSelSymbol("2317");
    EXPECT_EQ(seqs(news::kModeSymbol), std::vector<std::int32_t>{1});
}

TEST_F(CorrectionsTest, RegisteringEveryServiceAtOnceLeavesTheRegistrationBits) {
    createView();
    NewsSubscriptions& subscriptions = NewsSubscriptions::instance();
    ASSERT_TRUE(subscriptions.isRegistered(m_view.get(), 16));
    m_view->UnRegisterService();
    ASSERT_FALSE(subscriptions.isRegistered(m_view.get(), 16));
    m_view->CheckRegisterService();
    EXPECT_FALSE(subscriptions.isRegistered(m_view.get(), 16)) << "the bit still says registered";

    m_view->OnSelectCheckService(5051); // Hong Kong off: its bit is cleared by the check
    m_view->RegisterService();
    m_view->CheckRegisterService();
    EXPECT_TRUE(subscriptions.isRegistered(m_view.get(), 22)) << "its bit stayed clear, so nothing unregisters it";
}

} // namespace
} // namespace newsview_test
