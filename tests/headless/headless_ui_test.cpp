#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "adapters/headless/headless_controls.h"
#include "adapters/headless/headless_host.h"
#include "adapters/headless/headless_sheet.h"
#include "adapters/headless/headless_ui_host.h"
#include "host/ui/registered_messages.h"
#include "tests/support/recording_handler.h"

namespace {

using host::ui::Message;
using host::ui::Rect;
using testsupport::RecordingHandler;
namespace win = host::ui::win;

class HeadlessUiTest : public ::testing::Test {
protected:
    headless::HeadlessHost m_host; // first: the windows below die before it
    RecordingHandler m_view{"view"};
    host::ui::Window* m_window = m_host.ui().createWindow(nullptr, 100, Rect{10, 20, 410, 320}, &m_view);
};

TEST_F(HeadlessUiTest, KeysArePreTranslatedFromTargetUpToTopLevelBeforeDelivery) {
    std::vector<std::string> trace;
    RecordingHandler child{"child"};
    m_view.trace = &trace;
    child.trace = &trace;
    host::ui::Window* childWnd = m_window->createChildWindow(7, Rect{0, 0, 200, 200}, &child);
    host::ui::Edit* edit = childWnd->createEdit(3008, Rect{0, 0, 80, 20});
    trace.clear();

    EXPECT_FALSE(m_host.ui().keyInput(edit, win::WM_KEYDOWN, 'A'));
    EXPECT_EQ(trace, (std::vector<std::string>{"child:pre", "view:pre"}))
        << "the edit has no handler; the chain runs child view then view, and the edit keeps the key";
    EXPECT_TRUE(m_host.ui().isKeyDown('A'));

    trace.clear();
    child.consumeKeys = true;
    EXPECT_TRUE(m_host.ui().keyInput(childWnd, win::WM_KEYDOWN, win::VK_RETURN));
    EXPECT_EQ(trace, (std::vector<std::string>{"child:pre"})) << "a consumed key goes no further";

    trace.clear();
    child.consumeKeys = false;
    m_host.ui().keyInput(childWnd, win::WM_KEYUP, win::VK_RETURN);
    EXPECT_EQ(trace, (std::vector<std::string>{"child:pre", "view:pre", "child:msg"}));
    ASSERT_FALSE(child.messages.empty());
    EXPECT_EQ(child.messages.back().target, childWnd);
    EXPECT_FALSE(m_host.ui().isKeyDown(win::VK_RETURN));
}

TEST_F(HeadlessUiTest, CreationSendsCreateThenSizeAndMinusOneRefusesTheWindow) {
    ASSERT_NE(m_window, nullptr);
    ASSERT_GE(m_view.messages.size(), 2u);
    EXPECT_EQ(m_view.messages[0].message, win::WM_CREATE);
    EXPECT_EQ(m_view.messages[0].target, m_window) << "the handler can reach its window during WM_CREATE";
    EXPECT_EQ(m_view.messages[1].message, win::WM_SIZE);
    EXPECT_EQ(m_view.messages[1].lParam, host::ui::MAKELPARAM(400, 300));
    EXPECT_EQ(m_window->clientToScreen(host::ui::Point{1, 2}), (host::ui::Point{11, 22}));

    RecordingHandler refusing;
    refusing.onMessage = [](const Message& m) -> host::ui::LRESULT { return m.message == win::WM_CREATE ? -1 : 0; };
    EXPECT_EQ(m_window->createChildWindow(5, Rect{0, 0, 10, 10}, &refusing), nullptr);
    EXPECT_EQ(m_window->child(5), nullptr);
}

TEST_F(HeadlessUiTest, GridKeepsNavigationKeysForwardsOthersAndFlagsForwardedMouse) {
    auto* grid = dynamic_cast<headless::HeadlessSheet*>(m_window->createSheet(4000, Rect{0, 0, 300, 16 + 5 * 16}));
    ASSERT_NE(grid, nullptr);
    grid->iInsertCol(0, 100);
    grid->iInsertCol(1, 200);
    grid->vAddRows(20);
    m_view.messages.clear();

    const auto point = grid->cellCenter(2, 1);
    ASSERT_TRUE(point.has_value());
    m_host.ui().leftClick(grid, *point);
    EXPECT_EQ(grid->cptGetFocusNdx(), (host::ui::Point{1, 2})) << "a click selects before the view hears of it";
    EXPECT_TRUE(grid->bHasFocus());
    const auto downs = m_view.received(win::WM_LBUTTONDOWN);
    const auto ups = m_view.received(win::WM_LBUTTONUP);
    ASSERT_EQ(downs.size(), 1u);
    ASSERT_EQ(ups.size(), 1u);
    EXPECT_EQ(downs[0].wParam, win::MK_LBUTTON | win::kGridForwarded);
    EXPECT_EQ(ups[0].wParam, win::kGridForwarded) << "a release carries no button flag, only the forwarded mark";
    EXPECT_EQ(downs[0].target, grid);

    m_view.messages.clear();
    for (int i = 0; i < 4; ++i) {
        m_host.ui().keyInput(grid, win::WM_KEYDOWN, win::VK_DOWN);
    }
    EXPECT_EQ(grid->cptGetFocusNdx().y, 6);
    EXPECT_EQ(grid->iGetFirstVisibleRow(), 2) << "five rows per page: row 6 needs the view scrolled by two";
    EXPECT_TRUE(m_view.received(win::WM_KEYDOWN).empty()) << "navigation keys are the grid's own";
    const auto scrolls = m_view.received(win::WM_VSCROLL);
    ASSERT_FALSE(scrolls.empty());
    EXPECT_EQ(host::ui::HIWORD(scrolls.back().wParam), 2u);

    m_host.ui().keyInput(grid, win::WM_KEYDOWN, win::VK_END);
    EXPECT_EQ(grid->cptGetFocusNdx().y, 19);
    EXPECT_EQ(grid->iGetFirstVisibleRow(), 15) << "the last page ends at the last row";

    m_host.ui().keyInput(grid, win::WM_KEYDOWN, win::VK_RETURN);
    const auto forwardedKeys = m_view.received(win::WM_KEYDOWN);
    ASSERT_EQ(forwardedKeys.size(), 1u);
    EXPECT_EQ(forwardedKeys[0].wParam, win::VK_RETURN) << "keys are forwarded unflagged";

    m_view.messages.clear();
    grid->sendMessage(win::WM_MOUSEWHEEL, host::ui::MAKEWPARAM(0, 120), 0);
    EXPECT_EQ(grid->iGetFirstVisibleRow(), 12) << "one notch up scrolls three rows";
    EXPECT_TRUE(m_view.received(win::WM_MOUSEWHEEL).empty()) << "the wheel is never bounced back to the view";
}

TEST_F(HeadlessUiTest, GridReportsSizeChangesWithTheRegisteredMessage) {
    const unsigned changeSize = host::ui::RegisterWindowMessageA("RVMSG_CHANGESIZE");
    host::ui::CSuperSheetWnd* grid = m_window->createSheet(4000, Rect{0, 0, 300, 100});
    m_view.messages.clear();
    grid->move(Rect{5, 5, 305, 105});
    EXPECT_TRUE(m_view.received(changeSize).empty()) << "a move that keeps the size is not a size change";
    grid->move(Rect{0, 0, 300, 16 + 10 * 16});
    const auto changes = m_view.received(changeSize);
    ASSERT_EQ(changes.size(), 1u);
    EXPECT_EQ(changes[0].wParam, reinterpret_cast<host::ui::WPARAM>(grid));
    EXPECT_EQ(grid->iGetRowsPerPage(), 10);
}

TEST_F(HeadlessUiTest, ControlsReportToTheirParentAndIgnoreUsersWhenDisabled) {
    auto* combo = dynamic_cast<headless::HeadlessComboBox*>(m_window->createComboBox(3004, Rect{}, 0));
    combo->addString("A");
    combo->addString("B");
    m_view.messages.clear();
    EXPECT_TRUE(combo->chooseItem(1));
    std::vector<unsigned> codes;
    for (const auto& m : m_view.received(win::WM_COMMAND)) {
        EXPECT_EQ(host::ui::LOWORD(m.wParam), 3004u);
        codes.push_back(host::ui::HIWORD(m.wParam));
    }
    EXPECT_EQ(codes, (std::vector<unsigned>{win::CBN_DROPDOWN, win::CBN_SELCHANGE, win::CBN_CLOSEUP}));
    EXPECT_EQ(combo->text(), "B");

    combo->enable(false);
    EXPECT_FALSE(combo->selectItem(0));
    EXPECT_EQ(combo->curSel(), 1);

    auto* picker = dynamic_cast<headless::HeadlessDatePicker*>(m_window->createDatePicker(3009, Rect{}));
    host::ui::Date seen{};
    m_view.onMessage = [&](const Message& m) -> host::ui::LRESULT {
        const auto* info = reinterpret_cast<const host::ui::NotifyInfo*>(m.lParam);
        if (m.message == win::WM_NOTIFY && info->code == win::DTN_DATETIMECHANGE) {
            seen = *info->date;
            EXPECT_TRUE(picker->isDroppedDown()) << "the date changes while the calendar is open";
        }
        return 0;
    };
    EXPECT_TRUE(picker->chooseDate(host::ui::Date{2024, 1, 3}));
    EXPECT_EQ(seen, (host::ui::Date{2024, 1, 3}));
    EXPECT_FALSE(picker->isDroppedDown());
}

TEST_F(HeadlessUiTest, AHandlerMayDestroyItsWindowWhileAMessageIsDelivered) {
    RecordingHandler child{"child"};
    host::ui::Window* childWnd = m_window->createChildWindow(9, Rect{0, 0, 50, 50}, &child);
    auto* button = dynamic_cast<headless::HeadlessButton*>(childWnd->createButton(1, Rect{}, "x"));
    child.onMessage = [&](const Message& m) -> host::ui::LRESULT {
        if (m.message == win::WM_COMMAND) {
            childWnd->destroy(); // destroys the clicked button too
            EXPECT_FALSE(m_host.ui().isAlive(button));
        }
        return 0;
    };
    childWnd->postMessage(win::WM_USER, 1, 2);
    EXPECT_TRUE(button->click());
    EXPECT_EQ(m_window->child(9), nullptr);
    EXPECT_EQ(child.received(win::WM_DESTROY).size(), 1u);
    EXPECT_TRUE(child.received(win::WM_USER).empty()) << "a message posted to a window destroyed since is dropped";
    EXPECT_EQ(m_host.ui().liveWindowCount(), 1u);
}

TEST_F(HeadlessUiTest, PostedMessagesWaitForTheNextTurnOfTheLoop) {
    m_view.onMessage = [&](const Message& m) -> host::ui::LRESULT {
        if (m.message == win::WM_USER) {
            m_window->postMessage(win::WM_USER + 1);
        }
        return 0;
    };
    m_window->postMessage(win::WM_USER);
    EXPECT_TRUE(m_view.received(win::WM_USER).empty());
    EXPECT_EQ(m_host.ui().pumpMessages(), 2) << "messages posted while pumping are delivered in the same pump";
    EXPECT_EQ(m_view.received(win::WM_USER + 1).size(), 1u);
}

TEST_F(HeadlessUiTest, MenusAreChosenByTheTestAndDialogsAnsweredByScript) {
    auto menu = m_host.ui().createPopupMenu();
    menu->appendItem(9001, "Copy");
    menu->appendSeparator();
    menu->appendItem(9002, "Print", true);
    menu->track(host::ui::Point{50, 60}, m_window, true);
    menu.reset(); // the module may drop its menu before the user chooses
    ASSERT_NE(m_host.ui().openMenu(), nullptr);
    EXPECT_EQ(m_host.ui().openMenu()->items.size(), 3u);
    EXPECT_FALSE(m_host.ui().chooseMenuItem(0)) << "a separator cannot be chosen";
    EXPECT_TRUE(m_host.ui().chooseMenuText("Print"));
    const auto commands = m_view.received(win::WM_COMMAND);
    ASSERT_EQ(commands.size(), 1u);
    EXPECT_EQ(host::ui::LOWORD(commands[0].wParam), 9002u);
    EXPECT_EQ(m_host.ui().openMenu(), nullptr);

    auto& dialogs = m_host.dialogs();
    dialogs.answerSaveFile("/tmp/out.txt");
    dialogs.answerMessageBox(win::IDYES);
    EXPECT_EQ(dialogs.messageBox(m_window, "Delete?", "News", win::MB_YESNO), win::IDNO)
        << "the queue front is a save answer: the box gets the cautious default";
    std::string path;
    EXPECT_TRUE(dialogs.saveFileDialog(m_window, "Text (*.txt)|*.txt||", "txt", 0, path));
    EXPECT_EQ(path, "/tmp/out.txt");
    EXPECT_EQ(dialogs.messageBox(m_window, "Delete?", "News", win::MB_YESNO), win::IDYES);
    EXPECT_EQ(dialogs.messageBox(nullptr, "Done", "News", win::MB_OK), win::IDOK);
    EXPECT_EQ(dialogs.unexpectedCount(), 1u) << "only the unanswered yes/no box was unexpected";

    EXPECT_EQ(dialogs.printDialog(m_window, 0), nullptr) << "no answer queued: Cancel";
    dialogs.answerPrint();
    auto printer = dialogs.printDialog(m_window, win::PD_NOPAGENUMS);
    ASSERT_NE(printer, nullptr);
    EXPECT_EQ(printer->startPage(), -1) << "a page outside a document is refused";
    printer->startDoc("News");
    printer->startPage();
    printer->textOut(100, 200, "line");
    printer->endPage();
    printer->endDoc();
    printer.reset();
    const auto& job = dialogs.records().back().printJob;
    ASSERT_NE(job, nullptr) << "the print log outlives the context";
    ASSERT_EQ(job->pages.size(), 1u);
    ASSERT_EQ(job->texts(0).size(), 1u);
    EXPECT_EQ(job->texts(0)[0]->from, (host::ui::Point{100, 200}));
    EXPECT_EQ(job->errors.size(), 1u);
}

TEST(QueuedDispatcherTest, WorkPostedFromOtherThreadsRunsOnlyWhenDrainedInPostingOrderPerThread) {
    headless::QueuedDispatcher dispatcher;
    std::vector<int> ran;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&dispatcher, &ran, t] {
            for (int i = 0; i < 500; ++i) {
                dispatcher.post([&ran, t, i] { ran.push_back(t * 1000 + i); });
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_TRUE(ran.empty()) << "posting never runs the work";
    EXPECT_EQ(dispatcher.pending(), 2000u);
    dispatcher.post([&] { dispatcher.post([&] { ran.push_back(-1); }); });
    EXPECT_EQ(dispatcher.drain(), 2002u) << "work posted by work runs in the same drain";
    ASSERT_EQ(ran.size(), 2001u);
    EXPECT_EQ(ran.back(), -1);
    std::vector<int> last(4, -1);
    for (std::size_t i = 0; i + 1 < ran.size(); ++i) {
        const int t = ran[i] / 1000;
        EXPECT_GT(ran[i] % 1000, last[static_cast<std::size_t>(t)]) << "one thread's posts keep their order";
        last[static_cast<std::size_t>(t)] = ran[i] % 1000;
    }
}

} // namespace
