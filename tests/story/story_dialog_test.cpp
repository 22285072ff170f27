// The story window in its two forms and the tip message window: what the scenarios leave out.
#include <gtest/gtest.h>

#include "adapters/headless/headless_controls.h"
#include "host/framework/main_frame.h"
#include "story/news_story_dlg.h"
#include "story/quote_dlg_tip_msg.h"
#include "tests/news_view/news_view_fixture.h"
#include "tests/support/recording_handler.h"

namespace newsview_test {
namespace {

using host::ui::Rect;
namespace win = host::ui::win;

class TestFrame : public CMainFrame {
public:
    explicit TestFrame(host::ui::Window* wnd) : m_wnd(wnd) {}
    host::ui::Window* GetFrameWnd() const override { return m_wnd; }

private:
    host::ui::Window* m_wnd;
};

class StoryWindowTest : public NewsViewTest {
protected:
    testsupport::RecordingHandler m_frameHandler{"frame"};
    host::ui::Window* m_frameWnd = m_host.ui().createWindow(nullptr, 9, Rect{0, 0, 1200, 900}, &m_frameHandler);
    TestFrame m_frame{m_frameWnd};
};

TEST_F(StoryWindowTest, TheMainFramesViewerHasNoButtonsAndTakesTheTextsItIsGiven) {
    m_backend.language().set("IDS_NEWSCTRLVIEW_STRING_PS", "PS");
    TRVNewsStory viewer(&m_frame);
    ASSERT_TRUE(viewer.Create(m_frameWnd)) << viewer.GetCreateError();
    host::ui::Window* wnd = viewer.GetWnd();
    for (const int id : {8067, 8068, 8069, 8070}) {
        EXPECT_FALSE(wnd->child(id)->isVisible()) << "button " << id;
    }
    EXPECT_EQ(wnd->child(8072)->rect().bottom, wnd->clientRect().bottom - 10)
        << "the story reaches 10 pixels above the bottom";

    viewer.vMainFrameShowHeadline("A flash headline");
    EXPECT_EQ(wnd->child(8066)->text(), "A flash headline");
    EXPECT_EQ(viewer.GetStoryString(), "LOADING");
    viewer.vMainFrameShowStroy(CStory{{}, taipei(9, 30), ""});
    EXPECT_EQ(wnd->child(8072)->text(), "LOADING") << "an empty story is still on its way, not a story without text";
    m_backend.setSimplified(0, true);
    m_backend.addConversion("B", "b");
    viewer.vMainFrameShowStroy(CStory{{}, taipei(9, 30), "Body\r\nmore@@@@end"});
    EXPECT_EQ(wnd->child(8072)->text(), "2024/01/02 09:30:00 \r\nBodymore\r\nend  \r\n\r\nPS")
        << "two blanks, and no simplified conversion on this path";
    viewer.OnBtnPageDown();
    viewer.OnBtnPrint();
    EXPECT_EQ(viewer.GetHeadLinePos(), 0) << "without an owner the buttons do nothing";
}

TEST_F(StoryWindowTest, PagingAnEmptyListDoesNothingAndPushesLeaveThePositionAlone) {
    createView(); // no headlines
    TRVNewsStory* window = m_view->GetStoryDlg();
    ASSERT_NE(window, nullptr);
    window->SetHeadLinePos(3);
    window->OnBtnPageDown();
    window->OnBtnPageUp();
    EXPECT_EQ(window->GetHeadLinePos(), 3);
    window->RecvNewHeadLine(nullptr);
    EXPECT_EQ(window->GetHeadLinePos(), 3);
    EXPECT_EQ(window->GetWnd()->child(8067)->text(), "IDS_DIALOG-STORY_PREV_BUTTON") << "language keys resolved";
}

class TipMessageTest : public NewsViewTest {
protected:
    void SetUp() override { createView(); }
    CQuoteDlgTipMsg& tip() { return *m_view->GetTipMsg(); }
};

TEST_F(TipMessageTest, ItIsMadeHiddenAndNeverTakesTheKeyboard) {
    ASSERT_NE(m_view->GetTipMsg(), nullptr);
    EXPECT_FALSE(tip().GetWnd()->isVisible());
    EXPECT_EQ(tip().GetWnd()->parent(), nullptr) << "a pop-up of its own until it is shown over a window";
    host::ui::Window* grid = m_view->GetSheet(0);
    host::ui::Window* edit = control(3008);
    edit->setFocus();
    tip().vSetInfo(grid, nullptr, 0x000000, 0xFFFFE0, 1000);
    EXPECT_EQ(tip().GetText(), "") << "a null text is an empty one";
    tip().vShow(grid, 10, 10, false);
    EXPECT_TRUE(tip().GetWnd()->isVisible());
    EXPECT_EQ(tip().GetWnd()->parent(), grid);
    EXPECT_TRUE(grid->hasFocus()) << "the keyboard goes back to the owner";
}

TEST_F(TipMessageTest, ColoursPaintTheTipAndItsText) {
    host::ui::Window* grid = m_view->GetSheet(0);
    headless::RecordingDeviceContext fresh;
    EXPECT_EQ(tip().OnCtlColor(fresh, tip().GetWnd()), CQuoteDlgTipMsg::kCtlColorNoBrush)
        << "no colours given yet: no brush";
    tip().vSetInfo(nullptr, "x", 0x0000FF, 0x00FF00, 1000);
    tip().vShow(grid, 10, 10, false);
    auto* text = dynamic_cast<headless::HeadlessStatic*>(tip().GetWnd()->child(2349));
    ASSERT_NE(text, nullptr);
    EXPECT_EQ(text->colors(), (std::pair<COLORREF, COLORREF>{0x0000FF, 0x00FF00}));
    headless::RecordingDeviceContext dc;
    EXPECT_EQ(tip().OnCtlColor(dc, text), CQuoteDlgTipMsg::kCtlColorTipBrush);
    EXPECT_EQ(tip().OnCtlColor(dc, tip().GetWnd()), CQuoteDlgTipMsg::kCtlColorTipBrush);
    EXPECT_EQ(tip().OnCtlColor(dc, grid), CQuoteDlgTipMsg::kCtlColorDefault);
    const auto log = m_host.ui().paint(tip().GetWnd());
    ASSERT_NE(log, nullptr);
    ASSERT_FALSE(log->looseOps.empty());
    EXPECT_EQ(log->looseOps.front().color, 0x00FF00u) << "the background is the tip's colour";
}

} // namespace
} // namespace newsview_test
