#include <algorithm>
#include <fstream>
#include <sstream>

#include "adapters/headless/headless_controls.h"
#include "adapters/headless/headless_sheet.h"
#include "apps/newsview-script/action_failure.h"
#include "apps/newsview-script/observe_format.h"
#include "apps/newsview-script/scenario_runner.h"
#include "host/framework/base_views.h"
#include "host/text/format.h"
#include "news_view/news_ctrl_view.h"

namespace scenario {

namespace fs = std::filesystem;
using headless::WindowCore;

using namespace format;

// --- print / expect ---

void ScenarioRunner::doPrint(const Statement& s) {
    const std::vector<Word> words(s.words.begin() + 1, s.words.end());
    if (words.empty()) {
        scriptError(s, "print what? (see docs/scenario-language.md)");
    }
    const std::vector<std::string> lines = observe(s, words);
    const std::string label = trim(std::string_view(s.text).substr(s.words.front().end));
    if (lines.size() == 1) {
        m_out << label << ": " << lines.front() << "\n";
        return;
    }
    m_out << label << ":\n";
    for (const std::string& line : lines) {
        m_out << "  " << line << "\n";
    }
}

void ScenarioRunner::doExpect(const Statement& s) {
    std::size_t op = 1;
    while (op < s.words.size() &&
           (s.words[op].quoted || (s.words[op].text != "=" && s.words[op].text != "~" && s.words[op].text != "!~"))) {
        ++op;
    }
    const std::vector<Word> words(s.words.begin() + 1, s.words.begin() + static_cast<std::ptrdiff_t>(op));
    if (words.empty()) {
        scriptError(s, "expect what? (see docs/scenario-language.md)");
    }
    const std::string label = trim(std::string_view(s.text).substr(
        s.words.front().end, op < s.words.size() ? s.words[op - 1].end - s.words.front().end : std::string::npos));
    const std::vector<std::string> actual = observe(s, words);
    std::vector<std::string> actualTrimmed;
    for (const std::string& line : actual) {
        actualTrimmed.push_back(trim(line));
    }
    const auto report = [&](const std::string& how, const std::vector<std::string>& expected) {
        std::string message = "expect " + label + "\n  expected" + how + ":";
        message += expected.size() == 1 ? " " + expected.front() : "";
        for (std::size_t i = 0; expected.size() != 1 && i < expected.size(); ++i) {
            message += "\n    " + expected[i];
        }
        message += "\n  actual:";
        message += actualTrimmed.size() == 1 ? "   " + actualTrimmed.front() : "";
        for (std::size_t i = 0; actualTrimmed.size() != 1 && i < actualTrimmed.size(); ++i) {
            message += "\n    " + actualTrimmed[i];
        }
        if (actualTrimmed.empty()) {
            message += "   (nothing)";
        }
        fail(s, message);
    };

    if (op == s.words.size()) {
        if (s.block.empty()) {
            scriptError(s, "expect needs '= value', '~ text', '!~ text' or indented expected lines");
        }
        std::vector<std::string> expected;
        for (const std::string& line : s.block) {
            expected.push_back(trim(line));
        }
        if (expected != actualTrimmed) {
            report(" (" + std::to_string(expected.size()) + " lines)", expected);
        }
        return;
    }
    if (!s.block.empty()) {
        scriptError(s, "an expect with '" + s.words[op].text + "' takes no indented lines");
    }
    const std::string& how = s.words[op].text;
    const std::string expected = restAfter(s, op);
    if (how == "=") {
        if (actualTrimmed.size() != 1 || actualTrimmed.front() != trim(expected)) {
            report("", {expected});
        }
    } else {
        const bool found = std::any_of(actualTrimmed.begin(), actualTrimmed.end(), [&](const std::string& line) {
            return line.find(expected) != std::string::npos;
        });
        if (found != (how == "~")) {
            report(how == "~" ? " a line containing" : " no line containing", {expected});
        }
    }
}

// --- Observations ---

std::vector<std::string> ScenarioRunner::observe(const Statement& s, const std::vector<Word>& words) const {
    const std::string& what = words.front().text;
    const auto arg = [&](std::size_t i) -> const std::string& {
        if (i >= words.size()) {
            scriptError(s, "'" + what + "' needs more words");
        }
        return words[i].text;
    };
    const auto controlArg = [&](std::size_t i) -> WindowCore* { return findControl(s, arg(i)); };

    if (what == "grid") {
        return observeGrid(s, words);
    }
    if (what == "control") {
        return observeControl(s, words);
    }
    if (what == "file" || what == "files") {
        return observeFile(s, words);
    }
    if (what == "controls") {
        std::vector<std::string> lines;
        for (WindowCore* w : allWindows()) {
            int depth = 0;
            for (WindowCore* p = w->parentCore(); p != nullptr; p = p->parentCore()) {
                ++depth;
            }
            if (depth > 0) {
                lines.push_back(std::string(static_cast<std::size_t>(depth - 1) * 2, ' ') + describeControl(*w));
            }
        }
        return lines;
    }
    if (what == "tabs" || what == "items") {
        WindowCore* control = controlArg(1);
        if (control == nullptr) {
            return {"<no control " + arg(1) + ">"};
        }
        std::vector<std::string> lines;
        if (auto* tabs = dynamic_cast<headless::HeadlessTabStrip*>(control)) {
            for (int i = 0; i < tabs->itemCount(); ++i) {
                lines.push_back((i == tabs->curSel() ? "* " : "  ") + out(tabs->itemCaption(i)) + " [" +
                                std::to_string(tabs->itemData(i)) + "]");
            }
        } else if (auto* combo = dynamic_cast<headless::HeadlessComboBox*>(control)) {
            for (int i = 0; i < combo->count(); ++i) {
                lines.push_back((i == combo->curSel() ? "* " : "  ") + out(combo->itemText(i)) + " [" +
                                std::to_string(combo->itemData(i)) + "]");
            }
        } else if (auto* list = dynamic_cast<headless::HeadlessListBox*>(control)) {
            for (int i = 0; i < list->count(); ++i) {
                lines.push_back(std::string(list->isSel(i) ? "* " : "  ") + (list->isChecked(i) ? "[x] " : "") +
                                out(list->itemText(i)));
            }
        } else if (auto* listCtrl = dynamic_cast<headless::HeadlessListCtrl*>(control)) {
            const auto selected = listCtrl->selectedRows();
            for (int r = 0; r < listCtrl->itemCount(); ++r) {
                std::vector<std::string> cells;
                for (int c = 0; c < std::max(listCtrl->columnCount(), 1); ++c) {
                    cells.push_back(out(listCtrl->itemText(r, c)));
                }
                const bool sel = std::find(selected.begin(), selected.end(), r) != selected.end();
                lines.push_back((sel ? "* " : "  ") + std::string(listCtrl->isChecked(r) ? "[x] " : "") +
                                joined(cells, " | "));
            }
        } else if (auto* tree = dynamic_cast<headless::HeadlessTreeCtrl*>(control)) {
            // Each item as its path from the top: "market/symbol".
            for (const auto& [item, depth] : tree->displayOrder()) {
                std::string path = out(tree->itemText(item));
                for (int up = tree->parentItem(item); up != 0; up = tree->parentItem(up)) {
                    path = out(tree->itemText(up)) + "/" + path;
                }
                lines.push_back((item == tree->selectedItem() ? "* " : "  ") + path);
            }
        } else {
            return {"<control " + arg(1) + " has no items>"};
        }
        return lines;
    }
    if (what == "richedit" || what == "text") {
        WindowCore* control = controlArg(1);
        auto* rich = dynamic_cast<headless::HeadlessRichEdit*>(control);
        if (control == nullptr || (what == "richedit" && rich == nullptr)) {
            return {"<no " + std::string(what == "text" ? "control " : "rich edit ") + arg(1) + ">"};
        }
        if (rich != nullptr && words.size() > 2 && arg(2) == "selection") {
            const auto [start, end] = rich->selection();
            return {std::to_string(start) + ".." + std::to_string(end) + " \"" + out(rich->selectedText()) + "\""};
        }
        if (rich != nullptr && words.size() > 2 && arg(2) == "state") {
            return observeRichEditState(*rich);
        }
        const bool raw = words.size() > 2 && arg(2) == "raw";
        std::vector<std::string> lines;
        std::stringstream body(out(control->window().text()));
        std::string line;
        while (std::getline(body, line)) {
            // Raw lines show the CR of a CR LF as \r, so that blanks before it count too.
            const bool cr = !line.empty() && line.back() == '\r';
            lines.push_back(cr ? line.substr(0, line.size() - 1) + (raw ? "\\r" : "") : line);
        }
        return lines;
    }
    if (what == "caption" || what == "caption-text") {
        if (!m_view) {
            return {"<no view>"};
        }
        CString caption;
        if (what == "caption") {
            m_view->GetCaption(caption);
        } else if (auto* quote = dynamic_cast<TRVQuoteBaseView*>(m_view.get())) {
            caption = quote->GetCaptionText();
        }
        return {out(caption)};
    }
    if (what == "view-symbol") {
        const auto* quote = dynamic_cast<const TRVQuoteBaseView*>(m_view.get());
        if (quote == nullptr) {
            return {"<no view>"};
        }
        return {quote->GetSymbolCode().empty() && quote->GetSymbolService() == 0
                    ? std::string("none")
                    : std::to_string(quote->GetSymbolService()) + ":" + out(quote->GetSymbolCode())};
    }
    if (what == "last-tip") {
        const auto* news = dynamic_cast<const TRVNewsCtrlView*>(m_view.get());
        if (news == nullptr) {
            return {"<no news view>"};
        }
        return {news->GetLastTipText().empty() ? std::string("none") : out(news->GetLastTipText())};
    }
    if (what == "window") {
        return {m_view && m_view->GetWnd() ? describeControl(*headless::coreOf(m_view->GetWnd())) : "<no view>"};
    }
    if (what == "tip") {
        for (WindowCore* w : allWindows()) {
            if (auto* tip = dynamic_cast<headless::HeadlessTipWindow*>(w)) {
                if (!tip->isTipShown()) {
                    return {"hidden"};
                }
                return {"shown \"" + out(tip->tipText()) + "\" at " + std::to_string(tip->center().x) + "," +
                        std::to_string(tip->center().y) + " style " + std::to_string(tip->tipStyle()) + " for " +
                        std::to_string(tip->durationMs()) + "ms"};
            }
        }
        return {"<no tip window>"};
    }
    if (what == "all-news-audit") {
        return observeAllNewsAudit(s);
    }
    if (what == "feed") {
        return observeFeed();
    }
    if (what == "last-key") {
        return {m_lastKey};
    }
    if (what == "story") {
        return observeStory(s, words);
    }
    if (what == "dialog") {
        return observeDialog(s, words);
    }
    if (what == "tipmsg") {
        return observeTipMsg();
    }
    if (what == "calls") {
        const bool all = words.size() > 1 && arg(1) == "all";
        std::vector<std::string> lines;
        for (const std::string& call : m_backend.callsSince(all ? 0 : m_callMark)) {
            lines.push_back(out(call));
        }
        return lines.empty() ? std::vector<std::string>{"none"} : lines;
    }
    if (what == "call-count") {
        return {std::to_string(m_backend.countCalls(arg(1), m_callMark))};
    }
    if (what == "pending") {
        std::vector<std::string> lines;
        for (const auto& r : m_backend.pendingRequests()) {
            lines.push_back(out(r.description));
        }
        return lines.empty() ? std::vector<std::string>{"none"} : lines;
    }
    if (what == "menu") {
        const auto& menus = m_host->ui().menus();
        if (menus.empty()) {
            return {"<no menu>"};
        }
        std::vector<std::string> lines;
        for (const auto& item : menus.back().items) {
            lines.push_back(
                item.id == 0 ? "---" : std::to_string(item.id) + " " + out(item.text) + (item.checked ? " [x]" : ""));
        }
        return lines;
    }
    if (what == "dialogs") {
        std::vector<std::string> lines;
        for (const auto& r : m_host->dialogs().records()) {
            std::string line = headless::dialogKindName(r.kind);
            if (r.kind == headless::DialogKind::kMessageBox) {
                static const char* const kResults[] = {"?", "ok", "cancel", "?", "?", "?", "yes", "no"};
                line += " \"" + out(r.text) + "\" \"" + out(r.caption) + "\" -> " +
                        (r.result >= 0 && r.result <= 7 ? kResults[r.result] : "?");
            } else if (r.kind == headless::DialogKind::kSaveFile) {
                const fs::path path(r.path);
                line += " \"" + out(r.filter) + "\" ext=" + out(r.defaultExtension) + " -> " +
                        (r.accepted ? (path.parent_path() == m_outDir ? path.filename().string() : r.path) : "cancel");
            } else {
                line += std::string(" -> ") + (r.accepted ? "ok" : "cancel");
            }
            lines.push_back(line + (r.expected ? "" : " (unexpected)"));
        }
        return lines.empty() ? std::vector<std::string>{"none"} : lines;
    }
    if (what == "printed") {
        return observePrinted(s, words);
    }
    if (what == "waiting") {
        return observeWaiting(s, words);
    }
    if (what == "focus") {
        host::ui::Window* focus = m_host->ui().focusWindow();
        if (focus == nullptr) {
            return {"none"};
        }
        const WindowCore* core = headless::coreOf(focus);
        return {std::string(headless::kindName(core->kind())) + " " + std::to_string(core->id())};
    }
    if (what == "timers") {
        std::vector<std::string> lines;
        for (WindowCore* w : allWindows()) {
            for (const auto& [id, interval] : w->timers()) {
                if (id != headless::HeadlessTipWindow::kHideTimerId) {
                    lines.push_back(std::string(headless::kindName(w->kind())) + " " + std::to_string(w->id()) +
                                    " timer " + std::to_string(id) + " every " + std::to_string(interval) + "ms");
                }
            }
        }
        return lines.empty() ? std::vector<std::string>{"none"} : lines;
    }
    if (what == "setting") {
        const Statement probe{s.line, s.text, {s.words.front(), Word{arg(2), false, 0}, Word{arg(3), false, 0}}, {}, 0};
        CString value;
        if (!m_store.GetViewInfo(in(arg(1)), static_cast<int>(number(probe, 1)), static_cast<int>(number(probe, 2)),
                                 in(arg(4)), in(arg(5)), value)) {
            return {"<absent>"};
        }
        return {out(value)};
    }
    if (what == "settings") {
        std::vector<std::string> lines;
        for (const auto& e : m_store.entries()) {
            lines.push_back(out(e.section) + " " + std::to_string(e.layout1) + " " + std::to_string(e.layout2) + " " +
                            out(e.viewKey) + " " + out(e.key) + " = " + out(e.value));
        }
        return lines.empty() ? std::vector<std::string>{"none"} : lines;
    }
    if (what == "clock") {
        const std::int64_t ms = m_host->clock().nowMs();
        std::string line = text::formatLocalTime("%Y-%m-%d %H:%M:%S", ms / 1000);
        return {ms % 1000 != 0 ? line + text::format(".%03d", static_cast<int>(ms % 1000)) : line};
    }
    scriptError(s, "unknown observation '" + what + "' (see docs/scenario-language.md)");
}

} // namespace scenario
