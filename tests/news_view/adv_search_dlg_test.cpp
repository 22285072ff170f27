// The advanced search dialog on the headless host: the equality of recent searches, pool
// keywords and picked symbols added, candidate texts split into keywords, and Enter following
// the focus to the default button.
#include "adapters/headless/headless_controls.h"
#include "host/backend/search_control.h"
#include "host/ui/messages.h"
#include "host/ui/registered_messages.h"
#include "news_view/news_ids.h"
#include "search/adv_search_dlg.h"
#include "tests/news_view/news_view_fixture.h"

namespace newsview_test {
namespace {

namespace win = host::ui::win;

CSearch search(std::vector<CString> keywords, unsigned char method = CSearch::kMethodOr,
               unsigned char scope = CSearch::kScopeHeadline) {
    CSearch s;
    s.m_vKeywords = std::move(keywords);
    s.m_byMethod = method;
    s.m_byScope = scope;
    return s;
}

TEST(AdvSearchEqualityTest, SameSearchIsTheSameScopeMethodAndKeywordsInAnyOrder) {
    EXPECT_TRUE(CAdvSearchDlg::bIsSameSearch(search({"A", "B"}), search({"B", "A"})));
    EXPECT_FALSE(CAdvSearchDlg::bIsSameSearch(search({"A", "B"}), search({"A", "B"}, CSearch::kMethodAnd)));
    EXPECT_FALSE(CAdvSearchDlg::bIsSameSearch(search({"A"}), search({"A"}, CSearch::kMethodOr, CSearch::kScopeBoth)));
    EXPECT_FALSE(CAdvSearchDlg::bIsSameSearch(search({"A", "B"}), search({"A", "B", "C"})));
    EXPECT_FALSE(CAdvSearchDlg::bIsSameSearch(search({"A", "B"}), search({"A", "C"})));
    EXPECT_TRUE(CAdvSearchDlg::bIsSameSearch(search({}), search({})));
    // Only one direction is checked: the same count, every keyword of the first in the second.
    EXPECT_TRUE(CAdvSearchDlg::bIsSameSearch(search({"A", "A"}), search({"A", "B"})));
    EXPECT_FALSE(CAdvSearchDlg::bIsSameSearch(search({"A", "B"}), search({"A", "A"})));
}

// A symbol search that answers with fixed candidate texts.
class FixedCandidates final : public SearchObjInterface {
public:
    std::vector<CString> answer;
    bool GetSymbolsByService(unsigned char, std::vector<CString>&, std::vector<CString>&, int) override {
        return false;
    }
    bool FindSearchList(const CString&, std::vector<CString>& candidates) override {
        candidates = answer;
        return !candidates.empty();
    }
};

class AdvSearchDialogTest : public NewsViewTest {
protected:
    AdvSearchDialogTest() { createView(); }
    ~AdvSearchDialogTest() override { SearchControl::SetSearchObjInterface(nullptr); }

    template <class T> static T& item(host::ui::Window& dialog, int id) {
        T* control = dynamic_cast<T*>(dialog.child(id));
        if (control == nullptr) {
            throw std::runtime_error("no control " + std::to_string(id));
        }
        return *control;
    }
    static std::vector<CString> items(host::ui::Window& dialog, int id) {
        auto& list = item<headless::HeadlessListBox>(dialog, id);
        std::vector<CString> out;
        for (int i = 0; i < list.count(); ++i) {
            out.push_back(list.itemText(i));
        }
        return out;
    }
    // Runs the dialog with user as the person at the keyboard; the result and the copy-back.
    int run(CAdvSearchDlg& dialog, const std::function<void(host::ui::Window&)>& user) {
        m_host.ui().setModalHook([&](host::ui::Window& wnd) {
            m_host.ui().setModalHook(nullptr);
            user(wnd);
        });
        return dialog.DoModal();
    }

    FixedCandidates m_candidates;
};

TEST_F(AdvSearchDialogTest, CandidatesSplitIntoCodeAndNameAndADuplicateIsAddedOnce) {
    SearchControl::SetSearchObjInterface(&m_candidates);
    m_candidates.answer = {"[TW]2330", "[TW] 2303 UMC Corp", "", "no bracket"};
    CAdvSearchDlg dialog(CSearch{}, {}, {}, m_view->GetWnd());
    run(dialog, [&](host::ui::Window& wnd) {
        ASSERT_TRUE(item<headless::HeadlessTabStrip>(wnd, 2094).selectTab(1));
        ASSERT_TRUE(item<headless::HeadlessEdit>(wnd, 2086).typeText("23"));
        m_host.advanceBy(CAdvSearchDlg::kSymbolSearchDelayMs);
        auto& candidates = item<headless::HeadlessListBox>(wnd, 2093);
        ASSERT_EQ(candidates.count(), 4);
        // No candidate begins with the typed text (they begin with the market): none selected.
        EXPECT_TRUE(candidates.selectedIndexes().empty());
        for (int i = 0; i < 4; ++i) {
            candidates.setSel(i, true);
        }
        ASSERT_TRUE(item<headless::HeadlessButton>(wnd, 2066).click());
        EXPECT_TRUE(candidates.selectedIndexes().empty()) << "the candidate selection is cleared";
        item<headless::HeadlessButton>(wnd, win::IDOK).click();
    });
    // "[TW]2330" has no blank: code and name are the same text, added once. A text without
    // "]" is taken whole; an empty one adds nothing.
    EXPECT_EQ(dialog.GetCondition().m_vKeywords, (std::vector<CString>{"2330", "2303", "UMCCorp", "no", "bracket"}));
}

// Add (2066) takes the selected pool keywords on the keyword tab; a symbol the picker reports
// joins as its code and the name the back end shows for it, the real-month name when the
// terminal shows those.
TEST_F(AdvSearchDialogTest, AddTakesSelectedPoolKeywordsAndAPickedSymbolJoinsByItsShownName) {
    m_backend.addSymbol(16, "TXF", "台指期");
    m_backend.setSymbolItem(16, "TXF", 1019, "台指近");
    m_backend.setSymbolItem(16, "TXF", 2020, "台指01");
    m_backend.setShowRealMonth(true);
    CAdvSearchDlg dialog(CSearch{}, {"營收", "EPS", "法說"}, {}, m_view->GetWnd());
    run(dialog, [&](host::ui::Window& wnd) {
        auto& pool = item<headless::HeadlessListBox>(wnd, 2059);
        pool.setSel(0, true);
        pool.setSel(2, true);
        ASSERT_TRUE(item<headless::HeadlessButton>(wnd, 2066).click());
        EXPECT_EQ(items(wnd, 2060), (std::vector<CString>{"營收", "法說"}));
        EXPECT_TRUE(pool.selectedIndexes().empty()) << "the pool selection is cleared";

        ASSERT_TRUE(item<headless::HeadlessTabStrip>(wnd, 2094).selectTab(1));
        ASSERT_TRUE(item<headless::HeadlessButton>(wnd, 9000).click());
        const CSymbolInfo picked{16, "TXF", {}};
        wnd.sendMessage(host::ui::RegisterWindowMessageA(news::kMsgChangeSymbolBySearch),
                        reinterpret_cast<host::ui::WPARAM>(&picked), 0);
        item<headless::HeadlessButton>(wnd, win::IDOK).click();
    });
    EXPECT_EQ(dialog.GetCondition().m_vKeywords, (std::vector<CString>{"營收", "法說", "TXF", "台指01"}));
}

// A keyword typed again selects the entry the condition already has; removing every keyword
// (2076, after Yes) keeps the method the user picked on the radios.
TEST_F(AdvSearchDialogTest, ATypedKeywordAlreadyListedIsSelectedAndRemovingAllKeepsThePickedMethod) {
    CAdvSearchDlg dialog(search({"EPS", "Q3", "營收"}), {}, {}, m_view->GetWnd());
    const int result = run(dialog, [&](host::ui::Window& wnd) {
        auto& edit = item<headless::HeadlessEdit>(wnd, 2061);
        edit.setFocus();
        ASSERT_TRUE(edit.typeText("Q3"));
        m_host.ui().keyInput(&edit, win::WM_KEYDOWN, win::VK_RETURN);
        EXPECT_EQ(items(wnd, 2060), (std::vector<CString>{"EPS", "Q3", "營收"}));
        EXPECT_EQ(item<headless::HeadlessListBox>(wnd, 2060).selectedIndexes(), std::vector<int>{1});

        item<headless::HeadlessButton>(wnd, 2072).setCheck(false);
        item<headless::HeadlessButton>(wnd, 2071).setCheck(true);
        m_host.dialogs().answerMessageBox(win::IDYES);
        ASSERT_TRUE(item<headless::HeadlessButton>(wnd, 2076).click());
        EXPECT_TRUE(items(wnd, 2060).empty());
        EXPECT_TRUE(item<headless::HeadlessButton>(wnd, 2071).isChecked());
        EXPECT_FALSE(item<headless::HeadlessButton>(wnd, 2072).isChecked());
        item<headless::HeadlessButton>(wnd, win::IDOK).click();
    });
    EXPECT_EQ(result, win::IDOK);
    EXPECT_EQ(dialog.GetCondition().m_byMethod, CSearch::kMethodAnd);
}

TEST_F(AdvSearchDialogTest, EnterPressesTheDefaultButtonThatFollowsTheFocus) {
    SearchControl::SetSearchObjInterface(&m_candidates);
    m_candidates.answer = {"[TW] 2330 TSMC"};
    CAdvSearchDlg dialog(search({"EPS"}), {"EPS"}, {}, m_view->GetWnd());
    const int result = run(dialog, [&](host::ui::Window& wnd) {
        // In the keyword edit Enter adds the typed keyword (the hidden button 2063).
        auto& edit = item<headless::HeadlessEdit>(wnd, 2061);
        edit.setFocus();
        ASSERT_TRUE(edit.typeText("Q3"));
        m_host.ui().keyInput(&edit, win::WM_KEYDOWN, win::VK_RETURN);
        EXPECT_EQ(items(wnd, 2060), (std::vector<CString>{"EPS", "Q3"}));
        EXPECT_TRUE(wnd.isVisible());
        // In the candidate list it adds the selected candidates (2066).
        ASSERT_TRUE(item<headless::HeadlessTabStrip>(wnd, 2094).selectTab(1));
        ASSERT_TRUE(item<headless::HeadlessEdit>(wnd, 2086).typeText("2330"));
        m_host.advanceBy(CAdvSearchDlg::kSymbolSearchDelayMs);
        auto& candidates = item<headless::HeadlessListBox>(wnd, 2093);
        candidates.setSel(0, true);
        candidates.setFocus();
        EXPECT_TRUE(item<headless::HeadlessButton>(wnd, 2066).isDefault());
        m_host.ui().keyInput(&candidates, win::WM_KEYDOWN, win::VK_RETURN);
        EXPECT_EQ(items(wnd, 2060), (std::vector<CString>{"EPS", "Q3", "2330", "TSMC"}));
        // In the condition list it is OK.
        auto& condition = item<headless::HeadlessListBox>(wnd, 2060);
        condition.setFocus();
        EXPECT_FALSE(item<headless::HeadlessButton>(wnd, 2066).isDefault());
        m_host.ui().keyInput(&condition, win::WM_KEYDOWN, win::VK_RETURN);
    });
    EXPECT_EQ(result, win::IDOK);
    EXPECT_EQ(dialog.GetRecent().size(), 1U);
    EXPECT_EQ(dialog.GetPool(), (std::vector<CString>{"EPS", "Q3"})) << "candidates never join the pool";
}

} // namespace
} // namespace newsview_test
