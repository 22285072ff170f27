// A colour or font change from the host: the named colours the view reads, the tab strip's
// new colour set, and what every grid is given, in which order.
#include "adapters/headless/headless_controls.h"
#include "host/framework/sync_info.h"
#include "tests/news_view/news_view_fixture.h"

namespace newsview_test {
namespace {

class ColoursTest : public NewsViewTest {
protected:
    ~ColoursTest() override { CSyncInfo::Get().setColorReadLog(nullptr); }
};

TEST_F(ColoursTest, TheViewReadsSevenNamedColoursInOrderAfterTheTabColourSet) {
    createView();
    std::vector<CString> reads;
    CSyncInfo::Get().setColorReadLog(&reads);
    m_view->vChangeCast();
    EXPECT_EQ(reads, (std::vector<CString>{
                         // the tab strip's new colour set
                         "COLOR_LISTCTL_HDTEXTCOLOR1", "COLOR_LISTCTL_HDBkCOLOR1", "COLOR_LISTCTL_CLICKLINE",
                         // then the view's own seven
                         "COLOR_LISTCTL_NORMALTEXT", "COLOR_LISTCTL_BACKGROUNDSLASH", "COLOR_LISTCTL_CLICKLINE",
                         "COLOR_LISTCTL_CLICKLINE_GRAY", "COLOR_LISTCTL_HDBkCOLOR1", "COLOR_LISTCTL_HDTEXTCOLOR1",
                         "COLOR_LISTCTL_NORMALTEXT"}));
}

TEST_F(ColoursTest, EveryGridGetsTheSameColoursInTheSameOrderAndTheRowsKeepTheViewsOwn) {
    Options options;
    options.showNormalSearch = true;
    options.showWarningSearch = true;
    createView(options);
    CSyncInfo& sync = CSyncInfo::Get();
    sync.setOtherColor("COLOR_LISTCTL_NORMALTEXT", 0x010101);
    sync.setOtherColor("COLOR_LISTCTL_CLICKLINE", 0x020202);
    sync.setOtherColor("COLOR_LISTCTL_HDBkCOLOR1", 0x030303);
    sync.setOtherColor("COLOR_LISTCTL_HDTEXTCOLOR1", 0x040404);
    sync.setOtherColor("COLOR_LISTCTL_BACKGROUND", 0x050505);
    sync.setOtherColor("COLOR_LISTCTL_BACKGROUNDSLASH", 0x060606);
    m_view->SetBackColor(0x0A0A0A);
    m_view->SetStripeColor(0x0B0B0B);
    for (int list = 0; list < news::kModeCount; ++list) {
        ASSERT_NE(m_view->GetSheet(list), nullptr) << list;
    }
    const std::size_t before = sheet(0).styleCalls().size();
    m_view->vChangeCast();

    for (int list = 0; list < news::kModeCount; ++list) {
        const headless::HeadlessSheet& grid = sheet(list);
        const std::vector<std::string> calls(grid.styleCalls().end() - 7, grid.styleCalls().end());
        EXPECT_EQ(calls, (std::vector<std::string>{"header-bk", "header-fg", "frame", "bk", "focus", "fg", "font"}))
            << "grid " << list;
        const headless::HeadlessSheet::Colors& c = grid.colors();
        EXPECT_EQ(c.headerBk, 0x030303u);
        EXPECT_EQ(c.frame, 0x030303u) << "the frame is the header background";
        EXPECT_EQ(c.headerFg, 0x040404u);
        EXPECT_EQ(c.evenBk, 0x0A0A0Au) << "the view's own background colours, not the named ones";
        EXPECT_EQ(c.oddBk, 0x0B0B0Bu);
        EXPECT_TRUE(c.focusMarking);
        EXPECT_EQ(c.focusFg, 0x010101u);
        EXPECT_EQ(c.focusBk, 0x020202u);
        EXPECT_EQ(c.fg, 0x010101u);
    }
    EXPECT_EQ(sheet(0).styleCalls().size(), before + 7);

    auto* strip = dynamic_cast<headless::HeadlessTabStrip*>(control(news::kIdTabStrip));
    ASSERT_NE(strip, nullptr);
    EXPECT_EQ(strip->colors().text, 0x040404u) << "a new colour set picks up the changed scheme";
    EXPECT_EQ(strip->colors().background, 0x030303u);
    EXPECT_EQ(strip->colors().selected, 0x020202u);
}

} // namespace
} // namespace newsview_test
