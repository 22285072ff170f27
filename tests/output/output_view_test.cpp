// The news view's side of printing and saving on the headless host: what it gathers from the
// selected rows, when it prints at once, and how waiting requests meet the back end's answers.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "host/ui/messages.h"
#include "news_view/news_ctrl_view.h"
#include "output/news_print.h"
#include "output/save_to_file.h"
#include "story/news_story_dlg.h"
#include "tests/news_view/news_view_fixture.h"

namespace {

using newsview_test::taipei;
namespace win = host::ui::win;

// A printer that records what it is asked to print instead of asking for a printer, and may
// do something while "its dialog is open".
class RecordingPrinter final : public TRVNewsPrint {
public:
    void Print(const NewsPrintList& items, host::ui::Window* parent) override {
        ++m_depth;
        m_maxDepth = std::max(m_maxDepth, m_depth);
        printed.push_back(items);
        parents.push_back(parent);
        if (whilePrinting) {
            auto action = std::move(whilePrinting);
            whilePrinting = nullptr;
            action();
        }
        --m_depth;
    }
    std::vector<NewsPrintList> printed;
    std::vector<host::ui::Window*> parents;
    std::function<void()> whilePrinting;
    int maxDepth() const { return m_maxDepth; }

private:
    int m_depth = 0;
    int m_maxDepth = 0;
};

class OutputViewTest : public newsview_test::NewsViewTest {
protected:
    OutputViewTest() {
        m_backend.language().set("IDS_NEWSCTRLVIEW_STRING_NEWSPRINT", "PRINT");
        m_a = addNews(16, taipei(8, 0), 1, "A");
        m_b = addNews(16, taipei(8, 10), 2, "B");
        m_c = addNews(16, taipei(8, 20), 3, "C");
        m_backend.setStory(m_a, "a1@@@@a2\r\na3", taipei(8, 1, 2));
        m_backend.setStory(m_b, "b1", taipei(8, 11));
        // 16#9 is in the table, but neither its headline nor its story is in the back end.
        m_late.m_byService = 16;
        m_late.m_tTime = taipei(8, 30);
        m_late.m_iSeqNo = 9;
        m_late.m_llValue2 = 9;
        m_backend.setTable(16, BKQuoteInterface::kByDate, "20240102", {m_late, m_c, m_b, m_a});
        createView(Options{.mask = news::kMaskAllNews});
        refresh();
    }

    // Rows: 0 16#9 (no headline yet), 1 C, 2 B, 3 A (newest first).
    void select(std::initializer_list<int> rows) {
        bool first = true;
        for (const int row : rows) {
            const host::ui::Point point = *sheet(0).cellCenter(static_cast<std::size_t>(row), 0);
            m_host.ui().leftClick(&sheet(0), point, first ? 0u : win::MK_CONTROL);
            first = false;
        }
    }
    const headless::DrawingLog* lastPrintout() {
        const auto& records = m_host.dialogs().records();
        for (auto it = records.rbegin(); it != records.rend(); ++it) {
            if (it->printJob) {
                return it->printJob.get();
            }
        }
        return nullptr;
    }
    std::vector<std::string> printedTitles() {
        std::vector<std::string> titles;
        const headless::DrawingLog* log = lastPrintout();
        for (std::size_t p = 0; log != nullptr && p < log->pages.size(); ++p) {
            titles.push_back(log->texts(p)[3]->text);
        }
        return titles;
    }

    CHeadlineTable m_a;
    CHeadlineTable m_b;
    CHeadlineTable m_c;
    CHeadlineTable m_late;
};

TEST_F(OutputViewTest, SelectedRowsPrintInRowOrderWhenEverythingIsAtHand) {
    select({3, 2});
    m_host.dialogs().answerPrint();
    m_view->OnBtnPrint();
    EXPECT_EQ(printedTitles(), (std::vector<std::string>{"B", "A"})) << "ascending rows: B (row 2), then A";
    const headless::DrawingLog* log = lastPrintout();
    ASSERT_NE(log, nullptr);
    // A story at hand: the date line, then the text up to its first transport break.
    std::vector<std::string> body;
    for (const headless::DrawOp* op : log->texts(1)) {
        body.push_back(op->text);
    }
    EXPECT_EQ(std::vector<std::string>(body.begin() + 4, body.end()),
              (std::vector<std::string>{"", "2024/01/ 2 08:01:02a1", "a2"}));
    EXPECT_FALSE(m_view->GetNewsPrint()->bHasPending());
    EXPECT_EQ(m_host.dialogs().records().back().ownerId, m_view->GetStoryDlg()->GetTemplateId())
        << "the story window, which every view with its controls has, owns the print dialog";
}

TEST_F(OutputViewTest, AMissingStoryQueuesTheRequestUntilItArrivesWhole) {
    select({1, 3});
    m_view->OnPrintNews();
    EXPECT_TRUE(m_host.dialogs().records().empty());
    ASSERT_EQ(m_view->GetNewsPrint()->iPendingCount(), 1u);
    EXPECT_FALSE(m_view->GetSaveToFile()->bHasPending()) << "each job has its own queue";

    // Another entry's story changes nothing; C's story, once there, completes the request.
    m_view->RespStory(m_b);
    EXPECT_EQ(m_view->GetNewsPrint()->iPendingCount(), 1u);
    m_backend.setStory(m_c, "c1@@@@c2\r\nc3", taipei(8, 21));
    m_host.dialogs().answerPrint();
    m_view->RespStory(m_c);
    EXPECT_FALSE(m_view->GetNewsPrint()->bHasPending());
    EXPECT_EQ(printedTitles(), (std::vector<std::string>{"C", "A"}));
    std::vector<std::string> body;
    for (const headless::DrawOp* op : lastPrintout()->texts(0)) {
        body.push_back(op->text);
    }
    EXPECT_EQ(std::vector<std::string>(body.begin() + 4, body.end()),
              (std::vector<std::string>{"", "2024/01/ 2 08:21:00c1", "c2c3"}))
        << "a late story prints whole";
    EXPECT_EQ(m_host.dialogs().records().back().ownerId, m_view->GetWnd()->id());
}

TEST_F(OutputViewTest, AStoryIsTakenOnlyByItemsThatHaveTheirTitle) {
    const CHeadlineTable late = m_late;
    select({0});
    m_view->OnSaveNews();
    ASSERT_EQ(m_view->GetSaveToFile()->iPendingCount(), 1u);

    // Kept: the story arriving before the title is not taken, and stays missing afterwards.
    m_backend.setStory(late, "late", taipei(8, 31));
    m_view->RespStory(late);
    CHeadline headline;
    headline.m_byService = 16;
    headline.m_tTime = late.m_tTime;
    headline.m_iSeqNo = 9;
    headline.m_strTitle = "LATE";
    m_backend.addHeadline(headline);
    m_view->RespHeadLine({late});
    const NewsPrintList& waiting = *m_view->GetSaveToFile()->vPendingLists().at(0);
    EXPECT_EQ(waiting[0].m_strTitle, "LATE");
    EXPECT_EQ(waiting[0].m_byHasStory, 0);

    // Announced again, it completes the request.
    m_host.dialogs().answerSaveFile((m_sysDir / "late.txt").string());
    m_view->RespStory(late);
    EXPECT_FALSE(m_view->GetSaveToFile()->bHasPending());
    EXPECT_TRUE(std::filesystem::exists(m_sysDir / "late.txt"));
}

TEST_F(OutputViewTest, AStoryWhoseOwnEntryDiffersIsNotTaken) {
    select({1});
    m_view->OnPrintNews();
    CHeadlineTable other = m_c;
    other.m_llValue2 += 1; // same key, another story reference
    m_backend.setStory(other, "wrong", taipei(8, 21));
    m_view->RespStory(m_c);
    ASSERT_TRUE(m_view->GetNewsPrint()->bHasPending());
    EXPECT_EQ(m_view->GetNewsPrint()->vPendingLists().at(0)->at(0).m_byHasStory, 0);
}

TEST_F(OutputViewTest, AnswersReachTheJobsOnlyWhileTheyWait) {
    const std::size_t mark = m_backend.mark();
    m_view->RespHeadLine({m_a});
    m_view->RespStory(m_a);
    // The view rewrites its own rows with one look-up per checked service; idle jobs ask nothing.
    EXPECT_EQ(m_backend.countCalls("BKQNEWS_iGetHeadline", mark), 2u);
    EXPECT_EQ(m_backend.countCalls("BKQNEWS_bGetStory", mark), 0u);
}

TEST(OutputQueueTest, CompleteRequestsPrintLastFirstAndNeverInsideAnotherJob) {
    headless::HeadlessHost host;
    headless::ScriptedBackend backend;
    backend.install();
    CHeadline h1;
    h1.m_byService = 16;
    h1.m_tTime = taipei(9, 0);
    h1.m_iSeqNo = 1;
    h1.m_strTitle = "ONE";
    const CHeadlineTable e1 = backend.addHeadline(h1);
    CHeadline h2 = h1;
    h2.m_iSeqNo = 2;
    h2.m_strTitle = "TWO";
    const CHeadlineTable e2 = backend.addHeadline(h2);
    backend.setStory(e1, "s1", 0);
    backend.setStory(e2, "s2", 0);

    const auto waiting = [](const CHeadlineTable& entry, const char* title) {
        NewsPrintItem item;
        item.m_entry = entry;
        item.m_strTitle = title;
        item.m_byHasTitle = 1;
        return NewsPrintList{item};
    };
    RecordingPrinter printer;
    printer.vAddPending(waiting(e1, "ONE"));
    printer.vAddPending(waiting(e2, "TWO"));
    printer.vAddPending(waiting(e1, "ONE AGAIN"));
    // One answer completes the first and the last request: the last queued prints first. While
    // its "dialog" is open, the second story completes the middle request, which waits for the
    // job to end.
    printer.whilePrinting = [&] { printer.RespStory(e2); };
    printer.RespStory(e1);
    ASSERT_EQ(printer.printed.size(), 3u);
    EXPECT_EQ(printer.printed[0][0].m_strTitle, "ONE AGAIN");
    EXPECT_EQ(printer.printed[1][0].m_strTitle, "TWO");
    EXPECT_EQ(printer.printed[2][0].m_strTitle, "ONE");
    EXPECT_EQ(printer.maxDepth(), 1) << "no job starts inside another";
    EXPECT_EQ(printer.parents, (std::vector<host::ui::Window*>{nullptr, nullptr, nullptr}));
    EXPECT_FALSE(printer.bHasPending());
    backend.uninstall();
}

} // namespace
