// Statements and observations of the story displays and of dialogs: the story pane and the
// story window, the tip message window, dialog windows, and rich edits' looks.
#include "adapters/headless/headless_controls.h"
#include "adapters/headless/headless_sheet.h"
#include "apps/newsview-script/action_failure.h"
#include "apps/newsview-script/observe_format.h"
#include "apps/newsview-script/scenario_runner.h"
#include "host/framework/sync_info.h"
#include "news_view/news_ctrl_view.h"
#include "story/news_story_dlg.h"
#include "story/news_story_view.h"
#include "story/quote_dlg_tip_msg.h"

namespace scenario {

using headless::WindowCore;
using namespace format;
namespace win = host::ui::win;

namespace {

const TRVNewsCtrlView* newsView(const std::unique_ptr<TRVVirtualBaseView>& view) {
    return dynamic_cast<const TRVNewsCtrlView*>(view.get());
}

} // namespace

WindowCore* ScenarioRunner::findDialog(const Statement& s, const std::string& id) const {
    const Statement one{s.line, s.text, {s.words.front(), Word{id, false, 0}}, {}, 0};
    const long long wanted = number(one, 1);
    for (host::ui::Window* top : m_host->ui().topLevelWindows()) {
        WindowCore* core = headless::coreOf(top);
        if (core->kind() == headless::WindowKind::kDialog && core->id() == wanted) {
            return core;
        }
    }
    return nullptr;
}

// ---- Actions ----

void ScenarioRunner::doTipMsg(const Statement& s) {
    const TRVNewsCtrlView* news = newsView(m_view);
    CQuoteDlgTipMsg* tip = news != nullptr ? news->GetTipMsg() : nullptr;
    if (tip == nullptr || tip->GetWnd() == nullptr) {
        throw ActionFailure("the view has no tip message window");
    }
    if (word(s, 1) == "show") {
        // As a part of the view shows a tip: vSetInfo with the tip colours, then vShow.
        const std::string text = in(word(s, 2));
        int displayMs = 1000;
        int top = -1;
        int left = -1;
        bool toTheLeft = false;
        host::ui::Window* parent = viewWindow(s);
        for (std::size_t i = 3; i < s.words.size(); ++i) {
            const std::string& w = word(s, i);
            if (w == "for") {
                displayMs = static_cast<int>(durationMs(s, ++i));
            } else if (w == "at") {
                top = static_cast<int>(number(s, i + 1));
                left = static_cast<int>(number(s, i + 2));
                i += 2;
            } else if (w == "to-left") {
                toTheLeft = true;
            } else if (w == "over") {
                std::size_t index = i + 2;
                if (word(s, i + 1) == "view") {
                    ++i;
                    continue;
                }
                if (word(s, i + 1) != "grid") {
                    scriptError(s, "a tip is shown over 'view' or 'grid G'");
                }
                headless::HeadlessSheet* grid = findGrid(s, index);
                if (grid == nullptr) {
                    throw ActionFailure("no such grid");
                }
                parent = grid;
                i = index - 1;
            } else {
                scriptError(s, "expected 'tipmsg show TEXT [for DURATION] [at TOP LEFT] [to-left] [over grid G]'");
            }
        }
        const CSyncInfo& colors = CSyncInfo::Get();
        tip->vSetInfo(nullptr, text.c_str(), colors.SYS_crGetOtherColor("COLOR_TIP_TEXT"),
                      colors.SYS_crGetOtherColor("COLOR_TIP_BACKGROUND"), displayMs);
        tip->vShow(parent, top, left, toTheLeft);
        return;
    }
    if (word(s, 1) != "click") {
        scriptError(s, "expected 'tipmsg show ...' or 'tipmsg click'");
    }
    if (!tip->GetWnd()->isVisible()) {
        throw ActionFailure("the tip message window is hidden");
    }
    m_host->ui().leftClick(tip->GetWnd(), host::ui::Point{4, 4});
}

void ScenarioRunner::doCloseDialog(const Statement& s) {
    WindowCore* dialog = findDialog(s, word(s, 1));
    if (dialog == nullptr) {
        throw ActionFailure("no dialog " + word(s, 1));
    }
    if (!dialog->isVisible()) {
        throw ActionFailure("dialog " + word(s, 1) + " is hidden");
    }
    // The close button of the frame: WM_CLOSE, which the dialog takes as it likes.
    dialog->window().sendMessage(win::WM_CLOSE, 0, 0);
}

void ScenarioRunner::doActivate(const Statement& s) {
    const std::string& what = word(s, 1);
    if (what == "view") {
        m_host->ui().activate(viewWindow(s));
        return;
    }
    WindowCore* dialog = findDialog(s, what);
    if (dialog == nullptr) {
        throw ActionFailure("no dialog " + what);
    }
    m_host->ui().activate(&dialog->window());
}

void ScenarioRunner::doShowStory(const Statement& s) {
    auto* news = dynamic_cast<TRVNewsCtrlView*>(m_view.get());
    if (news == nullptr) {
        throw ActionFailure("there is no news view");
    }
    const std::string& which = word(s, 1);
    const int list = static_cast<int>(number(s, 2));
    const int row = static_cast<int>(number(s, 3));
    const HeadlineTableList* table = news->GetTable(list);
    if (table == nullptr) {
        scriptError(s, "lists are numbered 0 to 6");
    }
    std::optional<CSearch> condition;
    if (hasWord(s, 4)) {
        if (word(s, 4) != "keywords") {
            scriptError(s, "expected 'keywords WORD...' after the row");
        }
        condition.emplace();
        condition->m_bKeywordSearch = true;
        for (std::size_t i = 5; i < s.words.size(); ++i) {
            condition->m_vKeywords.push_back(in(s.words[i].text));
        }
    }
    if (which == "pane") {
        NewsStoryView* pane = news->GetStoryPane();
        if (pane == nullptr) {
            throw ActionFailure("the view has no story pane");
        }
        condition ? pane->vSetStoryData(list, row, *table, *condition) : pane->vSetStoryData(list, row, *table);
    } else if (which == "window") {
        TRVNewsStory* dialog = news->GetStoryDlg();
        if (dialog == nullptr) {
            throw ActionFailure("the view has no story window");
        }
        condition ? dialog->vSetStoryData(list, row, *table, *condition) : dialog->vSetStoryData(list, row, *table);
        dialog->ShowWindow(true);
    } else {
        scriptError(s, "expected 'show-story pane|window LIST ROW [keywords WORD...]'");
    }
}

// ---- Observations ----

std::vector<std::string> ScenarioRunner::observeStory(const Statement& s, const std::vector<Word>& words) const {
    const TRVNewsCtrlView* news = newsView(m_view);
    if (news == nullptr) {
        return {"<no news view>"};
    }
    const std::string which = words.size() > 1 ? words[1].text : std::string{};
    if (which == "pane") {
        const NewsStoryView* pane = news->GetStoryPane();
        if (pane == nullptr) {
            return {"<no story pane>"};
        }
        return {"table " + std::to_string(pane->GetTableNumber()) + " position " +
                std::to_string(pane->GetHeadLinePos()) + " headline " +
                (pane->IsHeadLineHidden() != 0 ? "hidden" : "shown") + " pane " +
                (pane->GetWnd() != nullptr && pane->GetWnd()->isVisible() ? "visible" : "hidden") + " " +
                rectText(pane->GetWnd() != nullptr ? pane->GetWnd()->rect() : host::ui::Rect{})};
    }
    if (which == "window") {
        const TRVNewsStory* dialog = news->GetStoryDlg();
        if (dialog == nullptr) {
            return {"<no story window>"};
        }
        return {"table " + std::to_string(dialog->GetTableNumber()) + " position " +
                std::to_string(dialog->GetHeadLinePos()) + " " + (dialog->IsWindowVisible() ? "shown" : "hidden")};
    }
    scriptError(s, "story observations are 'story pane' and 'story window'");
}

std::vector<std::string> ScenarioRunner::observeDialog(const Statement& s, const std::vector<Word>& words) const {
    if (words.size() < 2) {
        scriptError(s, "dialog needs an id");
    }
    const WindowCore* dialog = findDialog(s, words[1].text);
    if (dialog == nullptr) {
        return {"<no dialog " + words[1].text + ">"};
    }
    std::string line = "dialog " + words[1].text + " \"" + out(dialog->window().text()) + "\" " +
                       (dialog->isVisible() ? "shown" : "hidden") + " " + rectText(dialog->rect());
    line += dialog->isTopMost() ? " topmost" : "";
    line += m_host->ui().activeWindow() == &dialog->window() ? " active" : "";
    line += dialog->isEnabled() ? "" : " disabled";
    return {line};
}

std::vector<std::string> ScenarioRunner::observeTipMsg() const {
    const TRVNewsCtrlView* news = newsView(m_view);
    const CQuoteDlgTipMsg* tip = news != nullptr ? news->GetTipMsg() : nullptr;
    if (tip == nullptr || tip->GetWnd() == nullptr) {
        return {"<no tip message window>"};
    }
    const WindowCore* wnd = headless::coreOf(tip->GetWnd());
    std::string where = "screen";
    if (const WindowCore* parent = wnd->parentCore()) {
        where = std::string(headless::kindName(parent->kind())) + " " + std::to_string(parent->id());
    }
    std::string timers;
    for (const auto& [id, interval] : wnd->timers()) {
        timers += (timers.empty() ? "" : ",") + std::to_string(id);
    }
    return {std::string(wnd->isVisible() ? "shown" : "hidden") + " \"" + out(tip->GetText()) + "\" " +
            rectText(wnd->rect()) + " in " + where + " remaining " + std::to_string(tip->GetRemainingTime()) +
            "ms of " + std::to_string(tip->GetDisplayTime()) + "ms timers " + (timers.empty() ? "none" : timers)};
}

std::vector<std::string> ScenarioRunner::observeRichEditState(const WindowCore& control) const {
    const auto& rich = dynamic_cast<const headless::HeadlessRichEdit&>(control);
    return {"text " + colorText(rich.defaultTextColor()) + " on " + colorText(rich.backgroundColor()) + " " +
            (rich.isReadOnly() ? "readonly" : "editable") + " " +
            (rich.isSelectionHidden() ? "selection-hidden" : "selection-visible") + " " + rectText(rich.rect()) +
            (rich.isVisible() ? "" : " hidden")};
}

} // namespace scenario
