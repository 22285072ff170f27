// The view's reading input and the story displays' routing: the rules the scenarios leave out.
#include <gtest/gtest.h>

#include "adapters/headless/headless_controls.h"
#include "host/framework/sync_info.h"
#include "story/news_story_dlg.h"
#include "story/news_story_view.h"
#include "tests/news_view/news_view_fixture.h"

namespace newsview_test {
namespace {

namespace win = host::ui::win;
using host::ui::Message;

class ReadingInputTest : public NewsViewTest {
protected:
    // Three headlines, newest first in list 0: 16#3, 16#2, 16#1.
    void addThree() {
        for (int i = 1; i <= 3; ++i) {
            const CHeadlineTable entry = addNews(16, taipei(9, 10 * i), i, "News " + std::to_string(i));
            m_backend.setStory(entry, "Story " + std::to_string(i));
        }
    }
    headless::HeadlessRichEdit& paneStory() {
        return dynamic_cast<headless::HeadlessRichEdit&>(*m_view->GetStoryPane()->GetWnd()->child(8072));
    }
    headless::HeadlessRichEdit& windowStory() {
        return dynamic_cast<headless::HeadlessRichEdit&>(*m_view->GetStoryDlg()->GetWnd()->child(8072));
    }
    bool windowShown() { return m_view->GetStoryDlg()->IsWindowVisible(); }
};

TEST_F(ReadingInputTest, HorizontalScrollingIsArrowKeysForTheFocusedGrid) {
    addThree();
    createView();
    auto& grid = sheet(0);
    grid.vSetActiveSelection(0, 1);
    grid.setFocus();
    const auto scroll = [&](unsigned code) {
        const int before = grid.cptGetFocusNdx().x;
        m_view->GetWnd()->sendMessage(win::WM_HSCROLL, code, 0);
        return grid.cptGetFocusNdx().x - before;
    };
    EXPECT_EQ(scroll(win::SB_LINERIGHT), 1);
    EXPECT_EQ(scroll(win::SB_PAGELEFT), -1);
    EXPECT_EQ(scroll(win::SB_THUMBTRACK), 0) << "the thumb moves nothing";
    control(3009)->setFocus();
    EXPECT_EQ(scroll(win::SB_LINERIGHT), 0) << "only a grid with the keyboard takes the keys";
}

TEST_F(ReadingInputTest, KeyUpsAreTheViewsAndOtherKeysGoToTheViewOnlyInSymbolNewsViews) {
    Options options;
    options.newsType = 2;
    createView(options);
    host::ui::Window* edit = control(3005) != nullptr ? control(3005) : m_view->GetWnd();
    EXPECT_TRUE(m_host.ui().keyInput(edit, win::WM_KEYDOWN, 'A')) << "a symbol-news view takes every other key";
    EXPECT_FALSE(m_host.ui().keyInput(edit, win::WM_KEYDOWN, win::VK_PROCESSKEY)) << "input-method keys go on";
    EXPECT_TRUE(m_host.ui().keyInput(edit, win::WM_KEYUP, 'A')) << "key-ups are always the view's";
}

TEST_F(ReadingInputTest, NewsTypesWithoutAPaneNeverShowAnEmbeddedStory) {
    m_cfg.set("NewsShowType", "2");
    Options options;
    options.newsType = 1;
    createView(options);
    EXPECT_EQ(m_view->GetStoryPane(), nullptr);
    EXPECT_NE(m_view->GetStoryDlg(), nullptr) << "the window is every view's";
    EXPECT_EQ(m_view->GetStoryShowType(), 0) << "no pane: the saved show type does not count";
}

TEST_F(ReadingInputTest, ADoubleClickOpensTheWindowOnlyWhenThePaneIsNotTheDisplay) {
    addThree();
    createView();
    m_view->SetStoryShowType(2);
    sheet(0).vSetActiveSelection(1, -1);
    const auto dblclick = [&] {
        m_view->GetWnd()->sendMessage(win::WM_LBUTTONDBLCLK, win::kGridForwarded | win::MK_LBUTTON,
                                      host::ui::MAKELPARAM(10, 100));
    };
    dblclick();
    EXPECT_FALSE(windowShown()) << "the pane shows the story already";
    m_view->SetStoryShowType(0);
    dblclick();
    EXPECT_TRUE(windowShown());
    EXPECT_NE(windowStory().text().find("Story 2"), std::string::npos);
}

TEST_F(ReadingInputTest, ThePaneFollowsMovesToARowUpToTheTableSizeItself) {
    addThree();
    createView();
    m_view->SetStoryShowType(2);
    NewsStoryView& pane = *m_view->GetStoryPane();
    m_view->bChangeNewsPos(0, 3);
    EXPECT_EQ(pane.GetHeadLinePos(), 3) << "kept: a position equal to the table size stays";
    m_view->bChangeNewsPos(0, 7);
    EXPECT_EQ(pane.GetHeadLinePos(), 2) << "beyond it, the last row";
    m_view->bChangeNewsPos(0, 1);
    EXPECT_EQ(pane.GetHeadLinePos(), 1);
    EXPECT_EQ(sheet(0).cptGetFocusNdx().y, 1);
    EXPECT_NE(paneStory().text().find("Story 2"), std::string::npos);
}

TEST_F(ReadingInputTest, PageButtonsOnAnEmptyListLeaveThePaneAlone) {
    createView();
    m_view->SetStoryShowType(2);
    NewsStoryView& pane = *m_view->GetStoryPane();
    pane.SetHeadLinePos(5);
    const CString shown = paneStory().text();
    m_view->OnBtnPageDown();
    m_view->OnBtnPageUp();
    EXPECT_EQ(pane.GetHeadLinePos(), 5) << "no row to move to";
    EXPECT_EQ(paneStory().text(), shown);
}

TEST_F(ReadingInputTest, StoryAnswersGoToTheDisplayInUse) {
    addThree();
    const CHeadlineTable late = addNews(16, taipei(9, 45), 4, "Late");
    createView();
    m_view->SetStoryShowType(2);
    m_view->bChangeNewsPos(0, 0); // the pane shows the late one: no story yet
    EXPECT_EQ(paneStory().text(), "LOADING");

    m_backend.setStory(late, "Arrived");
    m_view->RespStory(late);
    EXPECT_NE(paneStory().text().find("Arrived "), std::string::npos);

    // The window is the display while there is no pane story; a hidden window takes nothing.
    m_view->SetStoryShowType(0);
    m_view->GetStoryDlg()->vSetStoryData(0, 1, *m_view->GetTable(0));
    m_view->GetStoryDlg()->ShowWindow(false);
    const CString before = windowStory().text();
    m_view->RespStory(late);
    EXPECT_EQ(windowStory().text(), before);

    // An update notice reaches the window first when the list holds the entry, else nobody.
    m_view->SetStoryShowType(2);
    m_view->StoryUpdateNotify(&late);
    EXPECT_EQ(windowStory().text(), "IDS_NEWSCTRLVIEW_STRING_WAIT_FOR_UPDATE");
    EXPECT_NE(paneStory().text(), "IDS_NEWSCTRLVIEW_STRING_WAIT_FOR_UPDATE")
        << "kept: the window takes it, not the pane";
    const CHeadlineTable elsewhere{22, taipei(9, 0), 9, 9, 0};
    windowStory().setText("unchanged");
    m_view->StoryUpdateNotify(&elsewhere);
    EXPECT_EQ(windowStory().text(), "unchanged");
}

TEST_F(ReadingInputTest, PushedHeadlinesMoveThePaneButNotTheWindow) {
    addThree();
    createView();
    m_view->SetStoryShowType(2);
    m_view->bChangeNewsPos(0, 1);
    CHeadline pushed;
    pushed.m_byService = 16;
    pushed.m_tTime = taipei(9, 50);
    pushed.m_iSeqNo = 5;
    pushed.m_strTitle = "Pushed";
    m_backend.pushHeadline(pushed, "1", "");
    m_host.settle();
    EXPECT_EQ(m_view->GetStoryPane()->GetHeadLinePos(), 2);
    EXPECT_EQ(m_view->GetShowedStoryRow(), -1);

    m_view->SetStoryShowType(0);
    m_view->GetStoryDlg()->vSetStoryData(0, 1, *m_view->GetTable(0));
    m_view->GetStoryDlg()->ShowWindow(true);
    pushed.m_iSeqNo = 6;
    m_backend.pushHeadline(pushed, "1", "");
    m_host.settle();
    EXPECT_EQ(m_view->GetStoryDlg()->GetHeadLinePos(), 1);
    EXPECT_EQ(m_view->GetStoryPane()->GetHeadLinePos(), 2) << "the pane is not the display: untouched";
}

TEST_F(ReadingInputTest, TheWindowsZOrderFollowsThePopUpPositionSettingAndTheApplication) {
    addThree();
    createView();
    m_view->SetStoryShowType(0);
    m_view->bChangeNewsPos(0, 0);
    auto* wnd = headless::coreOf(m_view->GetStoryDlg()->GetWnd());
    EXPECT_TRUE(wnd->isTopMost());
    EXPECT_TRUE(m_view->IsStoryDlgOnTop());

    CSyncInfo::Get().setPopupWndPosition(1);
    m_view->SetStoryWndStyle();
    EXPECT_FALSE(wnd->isTopMost());
    m_view->ChangeActiveApp(1);
    EXPECT_FALSE(wnd->isTopMost()) << "setting 1: an ordinary window while the application is active";

    CSyncInfo::Get().setPopupWndPosition(0);
    m_view->SetPopupFollowApp(true);
    m_view->ChangeActiveApp(1);
    EXPECT_TRUE(wnd->isTopMost());
    m_view->ChangeActiveApp(0);
    EXPECT_FALSE(wnd->isTopMost()) << "an inactive application's window loses its top-most place";
    m_view->SetPopupFollowApp(false);
    m_view->ChangeActiveApp(1);
    EXPECT_FALSE(wnd->isTopMost()) << "neither setting 1 nor the host's flag: left alone";
}

TEST_F(ReadingInputTest, TheTitleBandKeepsItsOwnMenu) {
    createView();
    m_view->SetShowTitle(true);
    const std::size_t menus = m_host.ui().menus().size();
    m_host.ui().contextMenu(m_view->GetWnd(), m_view->GetWnd()->clientToScreen(host::ui::Point{50, 5}));
    EXPECT_EQ(m_host.ui().menus().size(), menus) << "the base view's menu: the view tracks none";
    m_host.ui().contextMenu(m_view->GetWnd(), m_view->GetWnd()->clientToScreen(host::ui::Point{50, 300}));
    EXPECT_EQ(m_host.ui().menus().size(), menus + 1);
}

} // namespace
} // namespace newsview_test
