// The view shell: the control set per enabled-function mask, start-up from saved settings,
// child views by run-time class and the deferred refresh.
#include <algorithm>

#include "adapters/headless/headless_controls.h"
#include "host/backend/subscriptions.h"
#include "host/framework/sync_info.h"
#include "tests/news_view/news_view_fixture.h"

namespace newsview_test {
namespace {

using host::ui::Rect;

class ViewShellTest : public NewsViewTest {
protected:
    std::vector<std::pair<CString, std::intptr_t>> tabs() const {
        std::vector<std::pair<CString, std::intptr_t>> out;
        if (auto* strip = dynamic_cast<host::ui::TabStrip*>(control(news::kIdTabStrip))) {
            for (int i = 0; i < strip->itemCount(); ++i) {
                out.emplace_back(strip->itemCaption(i), strip->itemData(i));
            }
        }
        return out;
    }
    std::vector<int> grids() const {
        std::vector<int> out;
        for (int i = 0; i < news::kModeCount; ++i) {
            if (m_view->GetSheet(i) != nullptr) {
                out.push_back(i);
            }
        }
        return out;
    }
};

TEST_F(ViewShellTest, FullMaskCreatesEveryModeWithTabsInCreationOrderAndProvisionalRectangles) {
    Options options;
    options.showNormalSearch = true;
    options.showWarningSearch = true;
    createBareView(options).vViewCreate();

    using Tab = std::pair<CString, std::intptr_t>;
    const std::vector<Tab> expected{{"IDS_MENU_8_1", 0},
                                    {"IDS_NEWSCTRLVIEW_STRING_CATEGORY_NEWS", 1},
                                    {"IDS_NEWSCTRLVIEW_STRING_SYMBOL_NEWS", 2},
                                    {"IDS_NEWSCTRLVIEW_STRING_SEARCH_NEWS", 3},
                                    {"IDS_NEWSCTRLVIEW_STRING_RELATIONSEARCH_NEWS", 4},
                                    {"IDS_NEWSCTRLVIEW_STRING_WARNINGSEARCH_NEWS", 6},
                                    {"IDS_NEWSCTRLVIEW_STRING_WARRANT_NEWS", 5}};
    EXPECT_EQ(tabs(), expected) << "the warrant tab comes after the warning-term tab";
    EXPECT_EQ(grids(), (std::vector<int>{0, 1, 2, 3, 4, 5, 6}));

    // Three services: room for the selector, controls start at base 84.
    EXPECT_EQ(control(news::kIdServiceButton)->rect(), (Rect{4, 27, 84, 47}));
    EXPECT_EQ(control(news::kIdTabStrip)->rect(), (Rect{0, 0, 1000, 22}));
    EXPECT_EQ(control(news::kIdDatePicker)->rect(), (Rect{88, 25, 208, 50}));
    EXPECT_EQ(control(news::kIdCategoryCombo)->rect(), (Rect{88, 25, 208, 225}));
    EXPECT_EQ(control(news::kIdRelationSearchButton)->rect().left, 84 + 91);
    EXPECT_EQ(m_view->GetSheet(news::kModeWarrant)->rect(), (Rect{0, 52, 1000, 600}));
    for (int id : {news::kIdServiceCombo, news::kIdSymbolCombo, news::kIdSearchEdit, news::kIdSearchButton,
                   news::kIdDealsSearchButton, news::kIdWarningSearchButton}) {
        EXPECT_NE(control(id), nullptr) << "control " << id;
    }
}

TEST_F(ViewShellTest, MaskAndSwitchesDecideWhichModesExist) {
    Options options;
    options.mask = news::kMaskAllNews | news::kMaskSearch | news::kMaskWarningSearch | news::kMaskWarrant;
    m_backend.setAuthorized(16, false);
    createBareView(options).vViewCreate();
    EXPECT_EQ(grids(), (std::vector<int>{0, 3, 5})) << "no relation or warning list with both switches off";
    EXPECT_NE(control(news::kIdWarningSearchButton), nullptr) << "the warning button exists without its list";
    EXPECT_NE(control(news::kIdRelationSearchButton), nullptr);
}

TEST_F(ViewShellTest, SymbolModeNeedsAuthorisationAndWarrantModeNeedsTheWarrantService) {
    headless::ScriptedBackend other;
    other.addService(16, "TWSE News", "TWSE", "20240102");
    other.setAuthorized(16, false);
    other.setSysPath(m_sysDir.string());
    other.install();
    Options options;
    options.mask = news::kMaskSymbol | news::kMaskWarrant;
    createBareView(options).vViewCreate();
    EXPECT_EQ(m_view->GetWarrantServiceIndex(), -1);
    EXPECT_TRUE(grids().empty());
    m_view.reset();
    m_backend.install();
}

TEST_F(ViewShellTest, SingleBitMaskHasNoTabStripAndOneServiceGivesAZeroWidthSelector) {
    headless::ScriptedBackend single;
    single.addService(16, "TWSE News", "TWSE", "20240102");
    single.setSysPath(m_sysDir.string());
    single.install();
    Options options;
    options.mask = news::kMaskAllNews;
    createView(options);
    EXPECT_EQ(control(news::kIdTabStrip), nullptr);
    EXPECT_EQ(grids(), std::vector<int>{0});
    const Rect selector = control(news::kIdServiceButton)->rect();
    EXPECT_EQ(selector.left, 4);
    EXPECT_EQ(selector.Width(), 0);
    m_view.reset();
    m_backend.install();
}

TEST_F(ViewShellTest, LayoutWithoutServiceKeysSelectsAndRegistersEveryServiceButTheWarrantService) {
    createView();
    const std::vector<NewsServiceEntry>& services = m_view->GetServiceList();
    ASSERT_EQ(services.size(), 3u);
    EXPECT_EQ(services[0].m_bySelected, 1);
    EXPECT_EQ(services[1].m_bySelected, 1);
    EXPECT_EQ(services[2].m_bySelected, 0);
    EXPECT_EQ(m_view->GetWarrantServiceIndex(), 2);
    EXPECT_EQ(services[0].m_iDate, 20240102);
    NewsSubscriptions& subscriptions = NewsSubscriptions::instance();
    EXPECT_TRUE(subscriptions.isRegistered(m_view.get(), 16));
    EXPECT_TRUE(subscriptions.isRegistered(m_view.get(), 22));
    EXPECT_FALSE(subscriptions.isRegistered(m_view.get(), news::kServiceWarrant));

    m_view.reset();
    EXPECT_TRUE(subscriptions.allReceivers().empty()) << "the destroyed view unregistered itself";
}

TEST_F(ViewShellTest, SavedSettingsAreRestoredAndWrittenBack) {
    m_cfg.set("Sheet1ServiceCheck22", "1");
    m_cfg.set("Sheet0ServiceCheck16", "0");
    m_cfg.set("FocusedTab", "6"); // the warning-term mode has no grid with its switch off
    m_cfg.set("ShowCategory", "0");
    m_cfg.set("NewsShowType", "2");
    createView();
    EXPECT_EQ(m_view->GetServiceList()[0].m_bySelected, 0);
    EXPECT_EQ(m_view->GetServiceList()[1].m_bySelected, 1) << "a service chosen on any sheet counts";
    EXPECT_EQ(m_view->iGetCurrFunction(), news::kModeAllNews) << "first mode with a grid";
    EXPECT_EQ(m_view->GetStoryShowType(), 2) << "the story below the grid, as saved";
    EXPECT_EQ(sheet(news::kModeAllNews).iGetColWidth(1), 0) << "category column hidden";

    MemoryCfg saved;
    m_view->SaveViewInfo(&saved, "Layout", 0, 0);
    EXPECT_EQ(saved.get("FocusedTab"), "0");
    EXPECT_EQ(saved.get("ShowCategory"), "0");
    EXPECT_EQ(saved.get("NewsShowType"), "2");
    for (int sheetNo = 0; sheetNo < 3; ++sheetNo) {
        const std::string prefix = "Sheet" + std::to_string(sheetNo) + "ServiceCheck";
        EXPECT_EQ(saved.get(prefix + "16"), "0");
        EXPECT_EQ(saved.get(prefix + "22"), "1");
        EXPECT_EQ(saved.get(prefix + "52"), "0");
    }
    EXPECT_TRUE(saved.has("CategoryID")) << "written even when the category list was never opened";
}

// A child view class for CreateView: it records its start-up.
class ProbeView : public TRVQuoteBaseView {
    NEWS_DECLARE_DYNCREATE(ProbeView)
public:
    void OnInitialUpdate() override { ++m_initialUpdates; }
    host::ui::LRESULT handleMessage(const host::ui::Message& message) override {
        return TRVQuoteBaseView::handleMessage(message);
    }
    int m_initialUpdates = 0;
};
NEWS_IMPLEMENT_DYNCREATE(ProbeView)

TEST_F(ViewShellTest, CreateViewBuildsAnyRegisteredClassAsVisibleChildAndNullWithoutClass) {
    createView();
    m_view->vSetFrameID(42);
    TRVQuoteBaseView* child = m_view->CreateView(ProbeView::GetThisClass(), "Probe", 7, Rect{10, 20, 110, 220});
    ASSERT_NE(child, nullptr);
    EXPECT_EQ(child->GetWnd()->id(), 59648 + 7);
    EXPECT_EQ(child->GetWnd()->parent(), m_view->GetWnd());
    EXPECT_EQ(child->GetWnd()->rect(), (Rect{10, 20, 110, 220}));
    EXPECT_TRUE(child->GetWnd()->isVisible());
    EXPECT_EQ(child->GetFrameID(), 42);
    EXPECT_EQ(dynamic_cast<ProbeView*>(child)->m_initialUpdates, 1);

    EXPECT_EQ(m_view->CreateView(nullptr, "NewsStoryView", news::kStoryPaneId, Rect{}), nullptr);
}

TEST_F(ViewShellTest, NotSupportedStatePaintsTheNoDataTextInInverseColoursOverTheGrid) {
    CSyncInfo::Get().setOtherColor("COLOR_LISTCTL_BACKGROUND", 0x102030);
    createView();
    m_view->SetStoryShowType(2);
    m_view->SetDataState(TRVQuoteBaseView::kDataNotSupported);
    const std::shared_ptr<headless::DrawingLog> log = m_host.ui().paint(m_view->GetWnd());
    ASSERT_NE(log, nullptr);
    ASSERT_FALSE(log->looseOps.empty());
    EXPECT_EQ(log->looseOps.front().kind, headless::DrawOp::Kind::kFillRect) << "background erased first";
    EXPECT_EQ(log->looseOps.front().color, 0x102030u);
    const auto text = std::find_if(log->looseOps.begin(), log->looseOps.end(), [](const headless::DrawOp& op) {
        return op.kind == headless::DrawOp::Kind::kDrawText && op.text == "IDC_BASEVIEW-STRING_NO_DATA";
    });
    ASSERT_NE(text, log->looseOps.end());
    EXPECT_EQ(text->color, 0x102030u ^ 0xFFFFFFu);
    EXPECT_EQ(text->bkColor, 0x102030u);
    EXPECT_FALSE(text->bkTransparent) << "drawn on an opaque background";
    EXPECT_EQ(text->rect, (Rect{0, 0, 1000, 600 - 180})) << "the grid's share above the story";
    EXPECT_EQ(text->format, host::ui::win::DT_CENTER | host::ui::win::DT_VCENTER | host::ui::win::DT_SINGLELINE);
}

TEST_F(ViewShellTest, SizeChangesWithin100MsGiveOneRefresh) {
    addNews(16, taipei(9, 0), 1, "only");
    createView();
    refresh();
    const std::size_t mark = m_backend.mark();
    m_view->GetWnd()->move(Rect{0, 0, 900, 600});
    m_host.advanceBy(50);
    m_view->GetWnd()->move(Rect{0, 0, 800, 600});
    m_host.advanceBy(99);
    EXPECT_EQ(m_backend.countCalls("BKQNEWS_iGetHeadline", mark), 0u) << "restarted by the second change";
    m_host.advanceBy(1);
    EXPECT_EQ(m_backend.countCalls("BKQNEWS_iGetHeadline", mark), 2u) << "one refresh: a look-up per checked service";
    m_host.advanceBy(1000);
    EXPECT_EQ(m_backend.countCalls("BKQNEWS_iGetHeadline", mark), 2u) << "one-shot";
}

} // namespace
} // namespace newsview_test
