#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "adapters/headless/headless_controls.h"
#include "adapters/headless/headless_host.h"
#include "tests/support/recording_handler.h"

namespace {

using host::ui::Rect;
using testsupport::RecordingHandler;
namespace win = host::ui::win;

class HeadlessControlsTest : public ::testing::Test {
protected:
    HeadlessControlsTest() {
        // Notification payloads live only while they are delivered: record the codes then.
        m_view.onMessage = [this](const host::ui::Message& m) -> host::ui::LRESULT {
            if (m.message == win::WM_COMMAND) {
                m_codes.emplace_back(static_cast<int>(host::ui::LOWORD(m.wParam)),
                                     static_cast<int>(host::ui::HIWORD(m.wParam)));
            } else if (m.message == win::WM_NOTIFY) {
                const auto* info = reinterpret_cast<const host::ui::NotifyInfo*>(m.lParam);
                m_codes.emplace_back(info->idFrom, info->code);
            }
            return 0;
        };
    }

    // Notification codes the view received from one control, in order.
    std::vector<int> codesFrom(int id) const {
        std::vector<int> codes;
        for (const auto& [from, code] : m_codes) {
            if (from == id) {
                codes.push_back(code);
            }
        }
        return codes;
    }

    headless::HeadlessHost m_host;
    RecordingHandler m_view;
    std::vector<std::pair<int, int>> m_codes;
    host::ui::Window* m_window = m_host.ui().createWindow(nullptr, 1, Rect{0, 0, 400, 300}, &m_view);
};

TEST_F(HeadlessControlsTest, RichEditCountsCharactersAndNeverMatchesHalfACharacter) {
    auto* rich = dynamic_cast<headless::HeadlessRichEdit*>(m_window->createRichEdit(9, Rect{}, win::ES_MULTILINE));
    // A b CRLF 許(B3 5C) 功(A5 5C) CRLF a b c: nine characters.
    rich->setText("Ab\r\n\xB3\x5C\xA5\x5C\r\nabc");
    EXPECT_EQ(rich->characterCount(), 9);
    EXPECT_EQ(rich->findText(0, "aB"), std::make_pair(0, 2)) << "case-insensitive";
    EXPECT_EQ(rich->findText(1, "ab"), std::make_pair(6, 8)) << "searching starts at the given character";
    EXPECT_EQ(rich->findText(0, "\\"), std::make_pair(-1, -1)) << "the trail byte of a character is not a backslash";
    EXPECT_EQ(rich->findText(0, "\x5C\xA5"), std::make_pair(-1, -1)) << "a match may not straddle two characters";
    EXPECT_EQ(rich->findText(0, "\xA5\x5C\r\na"), std::make_pair(4, 7)) << "CR LF is one character";
    EXPECT_EQ(rich->findText(9, "c"), std::make_pair(-1, -1));

    rich->setSelection(3, 5);
    EXPECT_EQ(rich->selectedText(), "\xB3\x5C\xA5\x5C");
    rich->setSelection(0, -1);
    EXPECT_EQ(rich->selection(), std::make_pair(0, 9));
    rich->setSelection(-1, 0);
    EXPECT_EQ(rich->selection(), std::make_pair(9, 9)) << "-1 removes the selection";
}

TEST_F(HeadlessControlsTest, TypingReportsEveryChangeAndBacksOverWholeCharacters) {
    auto* edit = dynamic_cast<headless::HeadlessEdit*>(m_window->createEdit(3008, Rect{0, 0, 100, 20}));
    ASSERT_TRUE(edit->typeText("\xA5\x78")); // 台
    m_host.ui().keyInput(edit, win::WM_CHAR, 'a');
    EXPECT_EQ(edit->text(), "\xA5\x78"
                            "a");
    m_host.ui().keyInput(edit, win::WM_CHAR, win::VK_BACK);
    m_host.ui().keyInput(edit, win::WM_CHAR, win::VK_BACK);
    EXPECT_EQ(edit->text(), "") << "one back-space removes both bytes of a double-byte character";
    m_host.ui().keyInput(edit, win::WM_CHAR, win::VK_BACK);
    const std::vector<int> change{static_cast<int>(win::EN_UPDATE), static_cast<int>(win::EN_CHANGE)};
    std::vector<int> expected;
    for (int i = 0; i < 4; ++i) {
        expected.insert(expected.end(), change.begin(), change.end());
    }
    EXPECT_EQ(codesFrom(3008), expected) << "four changes; a back-space on an empty edit is none";

    edit->setReadOnly(true);
    EXPECT_FALSE(edit->typeText("x"));
    m_host.ui().keyInput(edit, win::WM_CHAR, 'x');
    EXPECT_EQ(edit->text(), "");
}

TEST_F(HeadlessControlsTest, SelectionsFollowInsertsAndDeletesOfItems) {
    auto* combo = dynamic_cast<headless::HeadlessComboBox*>(m_window->createComboBox(3004, Rect{}, 0));
    combo->addString("a");
    combo->addString("b");
    combo->addString("c");
    combo->setCurSel(2);
    combo->deleteString(0);
    EXPECT_EQ(combo->curSel(), 1);
    combo->insertString(0, "z");
    EXPECT_EQ(combo->curSel(), 2);
    EXPECT_EQ(combo->text(), "c");
    combo->deleteString(2);
    EXPECT_EQ(combo->curSel(), -1) << "deleting the selected item leaves no selection";
    combo->setCurSel(combo->count());
    EXPECT_EQ(combo->curSel(), -1) << "index = count is outside the list";
    EXPECT_EQ(combo->findStringExact(1, "z"), -1) << "the search starts at the given index";
    EXPECT_EQ(combo->itemData(7), -1);

    auto* tabs = dynamic_cast<headless::HeadlessTabStrip*>(m_window->createTabStrip(3100, Rect{0, 0, 400, 20}));
    tabs->insertItem(0, "A", 10);
    EXPECT_EQ(tabs->curSel(), 0) << "the first tab is selected";
    tabs->insertItem(0, "BB", 20);
    EXPECT_EQ(tabs->curSel(), 1) << "the selected tab moved right";
    EXPECT_EQ(tabs->itemRect(1).left, tabs->itemRect(0).right);
    EXPECT_EQ(tabs->itemRect(0).Width(), 2 * 6 + 12);

    auto* single = dynamic_cast<headless::HeadlessListBox*>(m_window->createListBox(2090, Rect{}, false));
    auto* multi = dynamic_cast<headless::HeadlessListBox*>(m_window->createListBox(2091, Rect{}, true, true));
    for (auto* list : {single, multi}) {
        list->addString("x");
        list->addString("y");
        list->addString("z");
    }
    single->setSel(1, true);
    single->setSel(2, true);
    EXPECT_EQ(single->selectedIndexes(), std::vector<int>{2}) << "a single-selection list keeps one";
    multi->clickItem(0);
    multi->clickItem(2);
    multi->clickItem(0);
    EXPECT_EQ(multi->selectedIndexes(), std::vector<int>{2}) << "clicks toggle in a multi-selection list";
    EXPECT_FALSE(single->checkItem(0, true)) << "no check boxes on this list";
    EXPECT_TRUE(multi->checkItem(1, true));
    EXPECT_TRUE(multi->isChecked(1));
}

TEST_F(HeadlessControlsTest, FocusMovesAreReportedToTheLosingAndTheGainingControl) {
    host::ui::Edit* edit = m_window->createEdit(3008, Rect{});
    host::ui::CSuperSheetWnd* grid = m_window->createSheet(3200, Rect{});
    edit->setFocus();
    grid->setFocus();
    EXPECT_EQ(codesFrom(3008), (std::vector<int>{win::EN_SETFOCUS, win::EN_KILLFOCUS}));
    EXPECT_EQ(codesFrom(3200), std::vector<int>{win::NM_SETFOCUS});
    EXPECT_TRUE(grid->bHasFocus());
    m_window->destroy();
    EXPECT_EQ(m_host.ui().focusWindow(), nullptr) << "a destroyed window cannot keep the focus";
}

TEST_F(HeadlessControlsTest, ReparentingMovesOwnershipAndZOrderKeepsTopMostWindowsAbove) {
    RecordingHandler other;
    host::ui::Window* second = m_host.ui().createWindow(nullptr, 2, Rect{}, &other);
    host::ui::Window* a = m_window->createStatic(10, Rect{}, "a");
    host::ui::Window* b = m_window->createStatic(11, Rect{}, "b");
    host::ui::Window* c = m_window->createStatic(12, Rect{}, "c");

    b->setZOrder(host::ui::ZOrder::kTopMost);
    a->setZOrder(host::ui::ZOrder::kTop);
    c->setZOrder(host::ui::ZOrder::kBottom);
    EXPECT_EQ(m_host.ui().zOrder(a), (std::vector<host::ui::Window*>{c, a, b}))
        << "bottom to top: a top-most window stays above one raised later";

    a->setParent(second);
    EXPECT_EQ(m_window->child(10), nullptr);
    EXPECT_EQ(second->child(10), a);
    second->setParent(a);
    EXPECT_EQ(second->parent(), nullptr) << "a window cannot become the child of its own child";
    second->destroy();
    EXPECT_FALSE(m_host.ui().isAlive(a)) << "a child dies with its new parent";
    EXPECT_TRUE(m_host.ui().isAlive(b));
}

} // namespace
