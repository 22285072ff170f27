// The symbol-news combos and symbol changes that arrive through link groups. The service
// menu itself is walked through in the news_view_services scenario.
#include "adapters/headless/headless_controls.h"
#include "host/text/cp950.h"
#include "tests/news_view/news_view_fixture.h"

namespace newsview_test {
namespace {

// Another quote view of the host, only to send symbol changes.
class LinkedView final : public TRVQuoteBaseView {
public:
    const CRuntimeClass* GetRuntimeClass() const override { return nullptr; }
};

using ServicesSymbolTest = NewsViewTest;

TEST_F(ServicesSymbolTest, SymbolChangesAreTakenOnlyFromTheViewsOwnLinkGroup) {
    m_backend.addSymbol(16, "2330", "TSMC");
    m_backend.addSymbol(16, "2317", "Foxconn");
    CHeadline news{16, taipei(8, 0), 1, "chips"};
    m_backend.addHeadline(news, {CSymbolInfo{16, "2330"}});
    createView();
    m_view->SetLinkGroup(1);
    LinkedView other;

    const auto send = [&](unsigned char group, const CString& code) {
        other.SetSymbol(16, code);
        other.SendChangeSymbol(&other, group);
    };
    send(2, "2330");
    EXPECT_EQ(m_view->GetSymbolCode(), "") << "another group is ignored";
    EXPECT_EQ(m_view->GetTable(news::kModeSymbol)->size(), 0u);

    send(1, "2330");
    EXPECT_EQ(m_view->GetSymbolCode(), "2330");
    EXPECT_EQ(m_view->GetTable(news::kModeSymbol)->size(), 1u) << "the symbol's news is loaded";

    std::size_t mark = m_backend.mark();
    send(1, "2330");
    EXPECT_TRUE(m_backend.callsSince(mark).empty()) << "the same symbol again reloads nothing";

    m_view->SetLinkGroup(0);
    send(0, "2317");
    EXPECT_EQ(m_view->GetSymbolCode(), "2330") << "an unlinked view ignores other views";

    m_view->ChangeSymbol(m_view.get(), 7, 16, "2317", "");
    EXPECT_EQ(m_view->GetSymbolCode(), "2317") << "a change from the view itself is always taken";
    EXPECT_EQ(m_view->GetTable(news::kModeSymbol)->size(), 0u);

    // Pushed headlines join the symbol list only for the view's symbol.
    m_view->SwitchFunction(news::kModeSymbol);
    m_backend.pushHeadline(CHeadline{16, taipei(9, 10), 3, "Foxconn call"}, "2", "2317");
    m_backend.pushHeadline(CHeadline{16, taipei(9, 20), 4, "chips again"}, "6", "2330");
    EXPECT_EQ(seqs(news::kModeSymbol), std::vector<std::int32_t>{3});

    m_view->ChangeSymbol(m_view.get(), 0, 16, "9999", "");
    EXPECT_EQ(m_view->GetSymbolService(), 0) << "an unknown symbol clears the view's own symbol";
}

TEST_F(ServicesSymbolTest, ServiceComboOffersFixedOrderWithCodePage950Labels) {
    m_backend.addQuoteService(122, "Emerging");
    m_backend.addQuoteService(23, "HK delayed");
    m_backend.setDelayedService(22, 23);
    createView();
    auto* combo = dynamic_cast<headless::HeadlessComboBox*>(control(news::kIdServiceCombo));
    ASSERT_NE(combo, nullptr);
    const auto labels = [&] {
        std::vector<std::string> texts;
        for (int i = 0; i < combo->count(); ++i) {
            texts.push_back(cp950::toUtf8(combo->itemText(i)));
        }
        return texts;
    };

    unsigned char selected = 0;
    EXPECT_EQ(m_view->iInitServiceComboBox(selected), 0);
    EXPECT_EQ(selected, 16);
    EXPECT_EQ(labels(), (std::vector<std::string>{"台灣證券", "興櫃股票", "香港股市"}))
        << "16, 122, 22 whatever order the back end lists them in";

    m_backend.setAuthorized(22, false);
    m_backend.setAuthorized(122, false);
    EXPECT_EQ(m_view->iInitServiceComboBox(selected), 0);
    EXPECT_EQ(labels(), (std::vector<std::string>{"台灣證券", "香港股市"})) << "the delayed id takes the label";

    m_backend.setAuthorized(23, false);
    m_backend.setAuthorized(16, false);
    EXPECT_EQ(m_view->iInitServiceComboBox(selected), -1) << "nothing authorised";
}

TEST_F(ServicesSymbolTest, SymbolModeOpensOnTheFallbackSymbolAndReportsPlaceholderWithoutSelection) {
    m_backend.addSymbol(16, "2330", "TSMC");
    m_backend.addSymbol(16, "ABCD", "not a stock code");
    createView();
    // A symbol the view follows but its list lacks: the list opens on the fallback symbol.
    m_view->ChangeSymbol(m_view.get(), 0, 16, "9999", "unknown");
    m_view->SwitchFunction(news::kModeSymbol);
    auto* combo = dynamic_cast<headless::HeadlessComboBox*>(control(news::kIdSymbolCombo));
    ASSERT_NE(combo, nullptr);
    EXPECT_EQ(combo->count(), 1) << "only symbols with news are offered";
    EXPECT_EQ(combo->itemText(0), "2330 TSMC");
    unsigned char service = 0;
    CString code;
    m_view->GetCurrSymbolInfo(service, code);
    EXPECT_EQ(service, 16);
    EXPECT_EQ(code, "#001") << "no saved symbol and no 6214: nothing selected";

    m_backend.addSymbol(16, "6214", "fallback");
    EXPECT_TRUE(m_view->bUpdateSymbolVec());
    EXPECT_TRUE(m_view->bInitialSymbolInfo(&m_cfg, "Layout", 0, 0));
    m_view->GetCurrSymbolInfo(service, code);
    EXPECT_EQ(code, "6214");
}

} // namespace
} // namespace newsview_test
