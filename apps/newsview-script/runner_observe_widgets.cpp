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

// --- Grids, controls and files ---

std::string ScenarioRunner::describeControl(const WindowCore& control) const {
    std::string line = std::string(headless::kindName(control.kind())) + " " + std::to_string(control.id());
    const std::string shown = out(control.window().text());
    if (!shown.empty()) {
        line += " \"" + shown + "\"";
    }
    line += control.isVisible() ? " visible" : " hidden";
    line += control.isEnabled() ? "" : " disabled";
    line += " " + rectText(control.rect());
    if (const auto* button = dynamic_cast<const headless::HeadlessButton*>(&control); button && button->isChecked()) {
        line += " checked";
    } else if (const auto* combo = dynamic_cast<const headless::HeadlessComboBox*>(&control)) {
        line += " sel=" + std::to_string(combo->curSel()) + " items=" + std::to_string(combo->count());
        line += combo->isDroppedDown() ? " dropped" : "";
    } else if (const auto* picker = dynamic_cast<const headless::HeadlessDatePicker*>(&control)) {
        host::ui::Date d{};
        line += picker->date(d) ? text::format(" date=%04d-%02d-%02d", d.year, d.month, d.day) : " date=none";
        line += picker->isDroppedDown() ? " dropped" : "";
    } else if (const auto* edit = dynamic_cast<const headless::HeadlessEdit*>(&control); edit && edit->isReadOnly()) {
        line += " readonly";
    } else if (const auto* tabs = dynamic_cast<const headless::HeadlessTabStrip*>(&control)) {
        line += " sel=" + std::to_string(tabs->curSel()) + " tabs=" + std::to_string(tabs->itemCount());
    } else if (const auto* list = dynamic_cast<const headless::HeadlessListBox*>(&control)) {
        line += " sel=" + std::to_string(list->curSel()) + " items=" + std::to_string(list->count());
    } else if (const auto* listCtrl = dynamic_cast<const headless::HeadlessListCtrl*>(&control)) {
        line += " rows=" + std::to_string(listCtrl->itemCount());
    } else if (const auto* grid = dynamic_cast<const headless::HeadlessSheet*>(&control)) {
        line += " rows=" + std::to_string(grid->iGetRowCount());
    } else if (const auto* tip = dynamic_cast<const headless::HeadlessTipWindow*>(&control); tip && tip->isTipShown()) {
        line += " shown";
    }
    line += control.hasFocus() ? " focus" : "";
    return line;
}

std::vector<std::string> ScenarioRunner::observeGrid(const Statement& s, const std::vector<Word>& words) const {
    // findGrid reads statement words: hand it the observation words as a statement of its own.
    Statement view{s.line, s.text, {s.words.front()}, {}, 0};
    view.words.insert(view.words.end(), words.begin() + 1, words.end());
    std::size_t index = 1;
    headless::HeadlessSheet* grid = findGrid(view, index);
    if (grid == nullptr) {
        return {"<no grid " + word(view, 1) + ">"};
    }
    const auto rowText = [&](std::size_t row) {
        std::vector<std::string> cells;
        for (int c = 0; c < grid->iGetColCount(); ++c) {
            cells.push_back(out(grid->cszGetCellText(row, c)));
        }
        return joined(cells, " | ");
    };
    const std::size_t count = grid->iGetRowCount();
    const std::string what = index < view.words.size() ? view.words[index].text : "rows";
    if (what == "row") {
        const long long row = number(view, index + 1);
        if (row < 0 || static_cast<std::size_t>(row) >= count) {
            return {"<no row " + std::to_string(row) + ": the grid has " + std::to_string(count) + " rows>"};
        }
        return {rowText(static_cast<std::size_t>(row))};
    }
    if (what == "rows" || what == "visible") {
        long long first = 0;
        long long last = static_cast<long long>(std::min<std::size_t>(count, 1000)) - 1;
        if (what == "visible") {
            first = grid->iGetFirstVisibleRow();
            last = std::min<long long>(first + grid->iGetRowsPerPage(), static_cast<long long>(count)) - 1;
        } else if (index + 1 < view.words.size() && !parseRange(view.words[index + 1].text, first, last)) {
            scriptError(s, "rows are given as FIRST..LAST, e.g. 0..3");
        }
        std::vector<std::string> lines;
        for (long long r = first; r <= last; ++r) {
            lines.push_back(static_cast<std::size_t>(r) < count ? rowText(static_cast<std::size_t>(r))
                                                                : "<no row " + std::to_string(r) + ">");
        }
        return lines;
    }
    if (what == "count") {
        return {std::to_string(count)};
    }
    if (what == "header" || what == "widths") {
        std::vector<std::string> cells;
        for (int c = 0; c < grid->iGetColCount(); ++c) {
            cells.push_back(what == "header" ? out(grid->cszGetHeaderText(c)) : std::to_string(grid->iGetColWidth(c)));
        }
        return {joined(cells, " | ")};
    }
    if (what == "selection") {
        std::vector<int> rows;
        grid->vGetAllSelectionNdx(rows);
        std::vector<std::string> parts;
        for (const int r : rows) {
            parts.push_back(std::to_string(r));
        }
        return {parts.empty() ? "none" : joined(parts, " ")};
    }
    if (what == "focus") {
        const host::ui::Point focus = grid->cptGetFocusNdx();
        return {focus.y < 0 ? "none" : "row " + std::to_string(focus.y) + " col " + std::to_string(focus.x)};
    }
    if (what == "first-visible") {
        return {std::to_string(grid->iGetFirstVisibleRow())};
    }
    if (what == "rows-per-page") {
        return {std::to_string(grid->iGetRowsPerPage())};
    }
    if (what == "stored") {
        return {std::to_string(grid->storedRowCount())};
    }
    if (what == "out-of-range") {
        return {std::to_string(grid->outOfRangeCount())};
    }
    if (what == "colors") {
        const long long row = number(view, index + 1);
        std::vector<std::string> cells;
        for (int c = 0; c < grid->iGetColCount() && row >= 0; ++c) {
            const auto fg = grid->cellFgColor(static_cast<std::size_t>(row), c);
            const auto bk = grid->cellBkColor(static_cast<std::size_t>(row), c);
            cells.push_back(!fg && !bk ? "-"
                                       : (fg ? "fg " + colorText(*fg) : "") + (fg && bk ? " " : "") +
                                             (bk ? "bk " + colorText(*bk) : ""));
        }
        return {joined(cells, " | ")};
    }
    if (what == "palette") {
        return {gridPalette(*grid)};
    }
    scriptError(s, "grid observations are row, rows, visible, count, header, widths, selection, focus, "
                   "first-visible, rows-per-page, stored, out-of-range, colors and palette");
}

std::vector<std::string> ScenarioRunner::observeControl(const Statement& s, const std::vector<Word>& words) const {
    if (words.size() < 2) {
        scriptError(s, "control needs an id");
    }
    WindowCore* control = findControl(s, words[1].text);
    if (control == nullptr) {
        return {"<no control " + words[1].text + ">"};
    }
    if (words.size() == 2) {
        return {describeControl(*control)};
    }
    const std::string& property = words[2].text;
    if (property == "text") {
        return {out(control->window().text())};
    }
    if (property == "visible") {
        return {yes(control->isVisible())};
    }
    if (property == "enabled") {
        return {yes(control->isEnabled())};
    }
    if (property == "rect") {
        return {rectText(control->rect())};
    }
    if (property == "focus") {
        return {yes(control->hasFocus())};
    }
    if (property == "kind") {
        return {headless::kindName(control->kind())};
    }
    if (property == "font") {
        const host::ui::Font f = control->font();
        return {out(f.faceName) + " " + std::to_string(f.height) + " " + std::to_string(f.weight)};
    }
    if (property == "checked") {
        if (auto* button = dynamic_cast<headless::HeadlessButton*>(control)) {
            return {yes(button->isChecked())};
        }
    }
    if (property == "date") {
        if (auto* picker = dynamic_cast<headless::HeadlessDatePicker*>(control)) {
            host::ui::Date d{};
            return {picker->date(d) ? text::format("%04d-%02d-%02d", d.year, d.month, d.day) : "none"};
        }
    }
    if (property == "selection") {
        if (auto* combo = dynamic_cast<headless::HeadlessComboBox*>(control)) {
            return {std::to_string(combo->curSel())};
        }
        if (auto* tabs = dynamic_cast<headless::HeadlessTabStrip*>(control)) {
            return {std::to_string(tabs->curSel())};
        }
        if (auto* edit = dynamic_cast<headless::HeadlessEdit*>(control)) {
            return {std::to_string(edit->selection().first) + ".." + std::to_string(edit->selection().second)};
        }
        if (auto* list = dynamic_cast<headless::HeadlessListBox*>(control)) {
            std::vector<std::string> parts;
            for (const int i : list->selectedIndexes()) {
                parts.push_back(std::to_string(i));
            }
            return {parts.empty() ? "none" : joined(parts, " ")};
        }
    }
    if (property == "count") {
        if (auto* combo = dynamic_cast<headless::HeadlessComboBox*>(control)) {
            return {std::to_string(combo->count())};
        }
        if (auto* list = dynamic_cast<headless::HeadlessListBox*>(control)) {
            return {std::to_string(list->count())};
        }
        if (auto* tabs = dynamic_cast<headless::HeadlessTabStrip*>(control)) {
            return {std::to_string(tabs->itemCount())};
        }
        if (auto* rows = dynamic_cast<headless::HeadlessListCtrl*>(control)) {
            return {std::to_string(rows->itemCount())};
        }
    }
    if (property == "dropped") {
        if (auto* combo = dynamic_cast<headless::HeadlessComboBox*>(control)) {
            return {yes(combo->isDroppedDown())};
        }
        if (auto* picker = dynamic_cast<headless::HeadlessDatePicker*>(control)) {
            return {yes(picker->isDroppedDown())};
        }
    }
    return {"<" + std::string(headless::kindName(control->kind())) + " " + words[1].text + " has no property " +
            property + ">"};
}

std::vector<std::string> ScenarioRunner::observeFile(const Statement& s, const std::vector<Word>& words) const {
    if (words.front().text == "files") {
        std::vector<std::string> lines;
        std::error_code ec;
        for (const auto& entry : fs::recursive_directory_iterator(m_outDir, ec)) {
            if (entry.is_regular_file()) {
                lines.push_back(fs::relative(entry.path(), m_outDir).generic_string() + " " +
                                std::to_string(entry.file_size()));
            }
        }
        std::sort(lines.begin(), lines.end());
        return lines.empty() ? std::vector<std::string>{"none"} : lines;
    }
    if (words.size() < 2) {
        scriptError(s, "file needs a name");
    }
    const fs::path path = outputPath(words[1].text);
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        return {"<no file " + words[1].text + ">"};
    }
    std::ostringstream bytes;
    bytes << file.rdbuf();
    const std::string content = bytes.str();
    bool raw = false;
    bool utf8 = false;
    for (std::size_t i = 2; i < words.size(); ++i) {
        if (words[i].text == "size" && words.size() == 3) {
            return {std::to_string(content.size())};
        }
        raw = raw || words[i].text == "raw";
        utf8 = utf8 || words[i].text == "utf8";
        if (words[i].text != "raw" && words[i].text != "utf8") {
            scriptError(s, "file observations are 'file NAME [raw] [utf8]' and 'file NAME size'");
        }
    }
    std::vector<std::string> lines;
    std::size_t start = 0;
    while (start < content.size()) {
        const std::size_t eol = content.find('\n', start);
        std::string line = content.substr(start, eol == std::string::npos ? std::string::npos : eol - start);
        start = eol == std::string::npos ? content.size() : eol + 1;
        const bool cr = !line.empty() && line.back() == '\r';
        if (cr) {
            line.pop_back();
        }
        // Files the module writes are code page 950; a UTF-8 file (a layout store) is shown as it is.
        std::string shown = utf8 ? line : out(line);
        if (raw) {
            // Raw lines show the bytes a plain line hides: tabs and every CR (a saved line
            // written with "\r\n" ends in CR CR LF).
            std::string escaped;
            for (const char c : shown) {
                escaped += c == '\t' ? std::string("\\t") : c == '\r' ? std::string("\\r") : std::string(1, c);
            }
            shown = escaped + (cr ? "\\r" : "");
        }
        lines.push_back(shown);
    }
    return lines;
}

} // namespace scenario
