// The story pane and the texts both story displays build: rules the scenarios do not reach.
#include <limits>

#include <gtest/gtest.h>

#include "adapters/headless/headless_controls.h"
#include "headline_list/entry_equality.h"
#include "host/framework/sync_info.h"
#include "story/news_story_view.h"
#include "story/story_text.h"
#include "tests/news_view/news_view_fixture.h"

namespace newsview_test {
namespace {

TEST(StoryTextTest, DateLineBreaksTimeDownLocallyWithItsFallbacks) {
    EXPECT_EQ(story::cszDateLine(taipei(9, 5, 7)), "2024/01/02 09:05:07 ");
    // A time the calendar cannot break down prints the fallback fields, kept as they are.
    EXPECT_EQ(story::cszDateLine(std::numeric_limits<std::int64_t>::max()), "0000/00/00 -1:-1:-1 ");
    CHeadline h;
    h.m_tTime = taipei(23, 59, 59);
    h.m_strTitle = "T";
    EXPECT_EQ(story::cszFormatTitle(h), "2024/01/02 23:59:59 \r\nT");
    EXPECT_EQ(story::cszFormatStory(taipei(9, 0), "B", "PS", story::BodyBlanks::kTwo),
              "2024/01/02 09:00:00 \r\nB  \r\n\r\nPS");
    EXPECT_EQ(story::cszFormatStory(taipei(9, 0), "B", "PS", story::BodyBlanks::kOne),
              "2024/01/02 09:00:00 \r\nB \r\n\r\nPS");
}

TEST(StoryTextTest, LineBreaksAreWrappingAndFourAtSignsAParagraph) {
    const auto converted = [](CString text) {
        story::vConvertStoryContent(text);
        return text;
    };
    EXPECT_EQ(converted("A\r\nB\r\n\r\nC@@@@D"), "ABC\r\nD");
    EXPECT_EQ(converted("\r\rA\nB\r"), "AB") << "lone CR and LF are wrapping too";
    EXPECT_EQ(converted("@@@@@@@@@@"), "\r\n\r\n@@");
    EXPECT_EQ(converted("@@\r\n@@"), "\r\n") << "a break split by wrapping is still a break";
    // 許 (B3 5C) and 功 (A5 5C) end in a backslash byte; nothing splits them.
    EXPECT_EQ(converted("\xB3\x5C\r\n\xA5\x5C@@@@"), "\xB3\x5C\xA5\x5C\r\n");
    EXPECT_EQ(converted(""), "");
}

// The one equality the story displays and the print and save jobs share.
TEST(EntryEqualityTest, EntriesAreTheSameStoryOnTheSameLocalDay) {
    EntryEquality eq;
    const CHeadlineTable a{16, taipei(9, 0), 7, 70, 5};
    CHeadlineTable b = a;
    b.m_tTime = taipei(23, 59);
    EXPECT_TRUE(eq.equal(a, b)) << "another time of the same day";
    b.m_tTime = taipei(24, 0);
    EXPECT_FALSE(eq.equal(a, b)) << "midnight starts another day";
    // A time the calendar cannot break down has no day: it equals only the very same time.
    b.m_tTime = std::numeric_limits<std::int64_t>::max();
    EXPECT_FALSE(eq.equal(a, b));
    EXPECT_TRUE(eq.equal(b, b));
    CHeadlineTable c = b;
    c.m_tTime = std::numeric_limits<std::int64_t>::min();
    EXPECT_FALSE(eq.equal(b, c));
    for (const auto change :
         {+[](CHeadlineTable& e) { e.m_byService = 22; }, +[](CHeadlineTable& e) { e.m_iSeqNo = 8; },
          +[](CHeadlineTable& e) { e.m_llValue2 = 71; }, +[](CHeadlineTable& e) { e.m_ullLast = 6; }}) {
        CHeadlineTable other = a;
        change(other);
        EXPECT_FALSE(eq.equal(a, other));
    }
    // A headline has no trailing values: service, day and number decide.
    CHeadline h;
    h.m_byService = 16;
    h.m_tTime = taipei(18, 30);
    h.m_iSeqNo = 7;
    EXPECT_TRUE(eq.equal(a, h));
    h.m_iSeqNo = 8;
    EXPECT_FALSE(eq.equal(a, h));
}

class StoryPaneTest : public NewsViewTest {
protected:
    NewsStoryView& pane() {
        NewsStoryView* p = m_view->GetStoryPane();
        if (p == nullptr) {
            throw std::runtime_error("no story pane");
        }
        return *p;
    }
    headless::HeadlessRichEdit& edit(int id) {
        return dynamic_cast<headless::HeadlessRichEdit&>(*pane().GetWnd()->child(id));
    }
};

TEST_F(StoryPaneTest, PositionIsNeverNegativeAndMovesDownWithPushedHeadlines) {
    createView();
    pane().SetHeadLinePos(-5);
    EXPECT_EQ(pane().GetHeadLinePos(), 0);
    pane().SetHeadLinePos(3);
    pane().RecvNewHeadLine(nullptr);
    EXPECT_EQ(pane().GetHeadLinePos(), 4) << "one step per headline, whichever list took it";
}

TEST_F(StoryPaneTest, WithoutTheHeadlineTheStoryFillsThePaneEdgeToEdge) {
    createView();
    m_view->SetStoryShowType(2);
    const host::ui::Rect client = pane().GetClientRect();
    const int h = pane().GetFontHeight();
    EXPECT_EQ(edit(8066).rect(), (host::ui::Rect{10, 0, client.right - 10, 3 * h}));
    EXPECT_EQ(edit(8072).rect(), (host::ui::Rect{10, 3 * h, client.right - 10, client.bottom}));
    m_view->SetStoryShowType(1);
    EXPECT_EQ(pane().IsHeadLineHidden(), 1) << "beside the list the pane shows no headline";
    EXPECT_EQ(edit(8066).rect(), host::ui::Rect{});
    EXPECT_EQ(edit(8072).rect(), pane().GetClientRect()) << "no side margins without the headline";
}

TEST_F(StoryPaneTest, SimplifiedServicesGetConvertedTitleAndBodyWithTheTermReplaced) {
    m_backend.language().set("IDS_NEWSCTRLVIEW_STRING_REPLASE_NEWS", "NEWS");
    m_backend.language().set("IDS_NEWSCTRLVIEW_STRING_REPLASE_MESSAGE", "MSG");
    m_backend.language().set("IDS_NEWSCTRLVIEW_STRING_PS", "PS");
    m_backend.setSimplified(16, true);
    m_backend.addConversion("T", "t");
    const CHeadlineTable entry = addNews(16, taipei(9, 0), 1, "Top NEWS");
    m_backend.setStory(entry, "Text NEWS@@@@End", taipei(9, 1));
    createView();
    m_view->SetStoryShowType(2);
    pane().vSetStoryData(0, 0, *m_view->GetTable(0));
    EXPECT_EQ(edit(8066).text(), "2024/01/02 09:00:00 \r\ntop MSG");
    EXPECT_EQ(edit(8072).text(), "2024/01/02 09:01:00 \r\ntext MSG\r\nEnd  \r\n\r\nPS");
    EXPECT_EQ(edit(8072).defaultTextColor(), CSyncInfo::Get().SYS_crGetOtherColor("COLOR_LISTCTL_NORMALTEXT"));
}

TEST_F(StoryPaneTest, ATextTheBackEndHandsOverIsShownEvenWhenItSaysTheStoryIsNotComplete) {
    const CHeadlineTable entry = addNews(16, taipei(9, 0), 1, "Top");
    m_backend.setPartialStory(entry, "partial");
    createView();
    m_view->SetStoryShowType(2);
    pane().vSetStoryData(0, 0, *m_view->GetTable(0));
    EXPECT_EQ(edit(8072).text(), "2024/01/02 09:00:00 \r\npartial  \r\n\r\nIDS_NEWSCTRLVIEW_STRING_PS");
    m_backend.removeStory(entry);
    pane().vShowData();
    EXPECT_EQ(edit(8072).text(), "LOADING") << "with nothing handed over the placeholder stays";
}

TEST_F(StoryPaneTest, AnswersForAnotherStoryOrAnEmptyListChangeNothing) {
    const CHeadlineTable first = addNews(16, taipei(9, 0), 1, "One");
    const CHeadlineTable second = addNews(16, taipei(9, 5), 2, "Two");
    createView();
    m_view->SetStoryShowType(2);
    pane().vSetStoryData(0, 1, *m_view->GetTable(0)); // row 1 is the older headline, "One"
    EXPECT_EQ(edit(8072).text(), "LOADING");
    m_backend.setStory(second, "for two");
    pane().RespStory(second);
    EXPECT_EQ(edit(8072).text(), "LOADING") << "the pane shows another story";
    pane().RespHeadLine({second});
    EXPECT_EQ(edit(8066).text(), "2024/01/02 09:00:00 \r\nOne");
    m_backend.setStory(first, "for one");
    pane().RespStory(first);
    EXPECT_NE(edit(8072).text().find("for one "), std::string::npos);

    pane().vStoryUpdateNotify(nullptr);
    EXPECT_EQ(edit(8072).text(), "IDS_NEWSCTRLVIEW_STRING_WAIT_FOR_UPDATE") << "the story control takes the notice";
    pane().OnClearStory();
    EXPECT_EQ(edit(8066).text(), "");
    pane().vSetStoryData(5, 0, *m_view->GetTable(5));
    EXPECT_EQ(edit(8072).text(), "") << "an empty table shows nothing";
}

TEST_F(StoryPaneTest, ButtonsGetThePaneBrushEverythingElseTheWhiteOne) {
    createView();
    headless::RecordingDeviceContext dc;
    EXPECT_EQ(pane().OnCtlColor(dc, nullptr, host::ui::win::CTLCOLOR_BTN), NewsStoryView::kCtlColorPaneBackground);
    EXPECT_EQ(pane().OnCtlColor(dc, nullptr, host::ui::win::CTLCOLOR_EDIT), NewsStoryView::kCtlColorWhiteBrush);
    EXPECT_EQ(pane().GetBackgroundColor(), CSyncInfo::Get().SYS_crGetOtherColor("COLOR_LISTCTL_BACKGROUND"));
}

} // namespace
} // namespace newsview_test
