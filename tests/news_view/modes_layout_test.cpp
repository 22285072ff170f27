// Function modes and layout: what each switch loads and shows, and where the layout puts the
// controls, the page buttons and the grids.
#include "adapters/headless/headless_controls.h"
#include "tests/news_view/news_view_fixture.h"

namespace newsview_test {
namespace {

using host::ui::Rect;

class ModesLayoutTest : public NewsViewTest {
protected:
    void selectMode(int mode) {
        auto* strip = dynamic_cast<headless::HeadlessTabStrip*>(control(news::kIdTabStrip));
        ASSERT_NE(strip, nullptr);
        const int index = m_view->iGetTabIndex(mode);
        ASSERT_EQ(strip->itemData(index), mode) << "no tab for mode " << mode;
        ASSERT_TRUE(strip->selectTab(index));
    }
    std::size_t tableCalls(std::size_t mark) const { return m_backend.countCalls("BKQNEWS_iGetHeadlineTable", mark); }
    std::size_t headlineCalls(std::size_t mark) const { return m_backend.countCalls("BKQNEWS_iGetHeadline", mark); }
    bool visible(int id) const { return control(id) != nullptr && control(id)->isVisible(); }
};

TEST_F(ModesLayoutTest, ControlRowPageButtonsAndGridFollowTheFontUnits) {
    createView();
    // Default font: text height h = 16, so U = 70, W1 = 102, W2 = 122, V = 64; the tab band
    // is the tab height (22) plus 2, the control row runs from 29 to 49.
    EXPECT_EQ(control(news::kIdTabStrip)->rect(), (Rect{0, 0, 924, 24}));
    EXPECT_EQ(control(news::kIdServiceButton)->rect(), (Rect{4, 29, 80, 49}));
    EXPECT_EQ(control(news::kIdDatePicker)->rect(), (Rect{84, 29, 186, 49}));
    EXPECT_EQ(control(news::kIdCategoryCombo)->rect(), (Rect{84, 29, 206, 49}));
    EXPECT_EQ(control(news::kIdRelationSearchButton)->rect(), (Rect{82, 29, 152, 49}));
    EXPECT_EQ(control(news::kIdSearchEdit)->rect(), (Rect{83, 29, 235, 49}));
    EXPECT_EQ(control(news::kIdSearchButton)->rect(), (Rect{237, 29, 307, 49}));
    EXPECT_EQ(control(news::kIdDealsSearchButton)->rect(), (Rect{309, 29, 385, 49}));
    EXPECT_EQ(control(news::kIdServiceCombo)->rect(), (Rect{84, 29, 102, 49})) << "empty list: caption button only";
    EXPECT_EQ(control(news::kIdSymbolCombo)->rect(), (Rect{106, 29, 131, 49}));

    EXPECT_EQ(control(news::kIdPageDownButton)->rect(), (Rect{717, 29, 781, 49}));
    EXPECT_EQ(control(news::kIdPageUpButton)->rect(), (Rect{784, 29, 848, 49}));
    EXPECT_EQ(control(news::kIdSaveAsButton)->rect(), (Rect{851, 29, 921, 49}));
    EXPECT_EQ(control(news::kIdPrintButton)->rect(), (Rect{930, 29, 1000, 49})) << "9 pixels before the last";
    EXPECT_EQ(m_view->GetSheet(news::kModeAllNews)->rect(), (Rect{0, 57, 500, 600}))
        << "the story beside the grid by default";

    // Narrow views drop the page buttons from the fourth backwards.
    m_view->GetWnd()->move(Rect{0, 0, 600, 600});
    EXPECT_EQ(control(news::kIdPageDownButton)->rect(), (Rect{382, 29, 446, 49}));
    EXPECT_EQ(control(news::kIdSaveAsButton)->rect(), (Rect{516, 29, 586, 49}));
    EXPECT_EQ(control(news::kIdPrintButton)->rect(), Rect{});
    m_view->GetWnd()->move(Rect{0, 0, 520, 600});
    EXPECT_EQ(control(news::kIdPageUpButton)->rect(), (Rect{449, 29, 513, 49}));
    EXPECT_EQ(control(news::kIdSaveAsButton)->rect(), Rect{});
    m_view->GetWnd()->move(Rect{0, 0, 430, 600});
    EXPECT_EQ(control(news::kIdPageDownButton)->rect(), Rect{});
}

TEST_F(ModesLayoutTest, StoryShowTypeShapesTheGrid) {
    Options options;
    options.rect = Rect{0, 0, 800, 1000};
    createView(options);
    m_view->SetStoryShowType(2);
    EXPECT_EQ(m_view->GetSheet(news::kModeAllNews)->rect(), (Rect{0, 57, 800, 800})) << "200, not 30% of 1000";
    m_view->GetWnd()->move(Rect{0, 0, 800, 600});
    EXPECT_EQ(m_view->GetSheet(news::kModeAllNews)->rect().bottom, 600 - 180);
    m_view->SetStoryShowType(1);
    EXPECT_EQ(m_view->GetSheet(news::kModeAllNews)->rect(), (Rect{0, 57, 400, 600}));
    // The show-type button cycles 0, 1, 2 only where it exists (news type 0).
    m_view->SetStoryShowType(2);
    m_view->OnBtnChangeShowType();
    EXPECT_EQ(m_view->GetStoryShowType(), 0);
}

TEST_F(ModesLayoutTest, WithoutAllNewsTheSymbolAndWarrantGridsMoveUpUnderTheTabs) {
    Options options;
    options.mask = news::kMaskCategory | news::kMaskWarrant;
    createView(options);
    EXPECT_EQ(m_view->GetSheet(news::kModeWarrant)->rect().top, 26);
    EXPECT_EQ(m_view->GetSheet(news::kModeCategory)->rect().top, 57);
}

TEST_F(ModesLayoutTest, ModesLoadAndShowByTheirRules) {
    addNews(16, taipei(8, 0), 1, "all");
    addNews(news::kServiceWarrant, taipei(8, 1), 2, "warrant");
    createView();
    EXPECT_EQ(m_view->iGetHeadlineTableSize(news::kModeAllNews), 1);
    EXPECT_TRUE(visible(news::kIdDatePicker));
    EXPECT_TRUE(visible(news::kIdServiceButton));
    EXPECT_FALSE(visible(news::kIdSearchEdit));

    std::size_t mark = m_backend.mark();
    selectMode(news::kModeSearch);
    EXPECT_EQ(tableCalls(mark), 0u) << "search lists hold answers only";
    EXPECT_TRUE(visible(news::kIdSearchEdit) && visible(news::kIdSearchButton) && visible(news::kIdDealsSearchButton));
    EXPECT_FALSE(visible(news::kIdDatePicker));
    EXPECT_TRUE(m_view->GetSheet(news::kModeSearch)->isVisible());
    EXPECT_FALSE(m_view->GetSheet(news::kModeAllNews)->isVisible());

    mark = m_backend.mark();
    selectMode(news::kModeAllNews);
    EXPECT_EQ(tableCalls(mark) + headlineCalls(mark), 0u) << "all news loads on the first switch only";

    for (int round = 0; round < 2; ++round) {
        mark = m_backend.mark();
        selectMode(news::kModeWarrant);
        EXPECT_EQ(tableCalls(mark), 1u) << "the warrant list reloads on every switch";
        EXPECT_EQ(m_view->iGetHeadlineTableSize(news::kModeWarrant), 1);
        EXPECT_FALSE(visible(news::kIdServiceButton));
        selectMode(news::kModeAllNews);
    }
    // Leaving the warrant list clears its service; the other services were cleared while it
    // was shown, so the first service is taken again.
    const std::vector<NewsServiceEntry>& services = m_view->GetServiceList();
    EXPECT_EQ(services[2].m_bySelected, 0);
    EXPECT_EQ(services[0].m_bySelected, 1);
    EXPECT_EQ(services[1].m_bySelected, 0);
}

TEST_F(ModesLayoutTest, RelationListLoadsOnce) {
    Options options;
    options.showNormalSearch = true;
    createView(options);
    std::size_t mark = m_backend.mark();
    selectMode(news::kModeRelation);
    EXPECT_EQ(tableCalls(mark), 2u) << "today's table of both selected services";
    EXPECT_TRUE(visible(news::kIdRelationSearchButton));
    selectMode(news::kModeAllNews);
    mark = m_backend.mark();
    selectMode(news::kModeRelation);
    EXPECT_EQ(tableCalls(mark), 0u);
}

TEST_F(ModesLayoutTest, BothSearchSwitchesMakeEveryModeLoadTheSearchList) {
    addNews(16, taipei(8, 0), 1, "all");
    Options options;
    options.showNormalSearch = true;
    options.showWarningSearch = true;
    const std::size_t mark = m_backend.mark();
    createView(options);
    EXPECT_EQ(m_view->iGetCurrFunction(), news::kModeAllNews);
    EXPECT_EQ(m_view->iGetHeadlineTableSize(news::kModeAllNews), 0) << "kept on purpose: mode 0 loads list 3";
    EXPECT_EQ(tableCalls(mark), 0u);
    EXPECT_TRUE(m_view->GetSheet(news::kModeAllNews)->isVisible());
}

} // namespace
} // namespace newsview_test
