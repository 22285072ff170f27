// Observations of printing and saving: the last printout, call by call or page by page, and
// the requests the news view's print and save jobs hold back until the back end answers.
#include <algorithm>
#include <string>
#include <vector>

#include "adapters/headless/headless_dialogs.h"
#include "adapters/headless/recording_dc.h"
#include "adapters/headless/scripted_backend.h"
#include "apps/newsview-script/scenario_runner.h"
#include "news_view/news_ctrl_view.h"
#include "output/news_print.h"
#include "output/save_to_file.h"

namespace scenario {

std::vector<std::string> ScenarioRunner::observePrinted(const Statement& s, const std::vector<Word>& words) const {
    const auto& records = m_host->dialogs().records();
    const auto job =
        std::find_if(records.rbegin(), records.rend(), [](const auto& r) { return r.printJob != nullptr; });
    if (job == records.rend()) {
        return {"<nothing printed>"};
    }
    const headless::DrawingLog& log = *job->printJob;
    const std::string what = words.size() > 1 ? words[1].text : std::string();
    if (what == "pages") {
        return {std::to_string(log.pages.size())};
    }
    if (what == "errors") {
        return log.errors.empty() ? std::vector<std::string>{"none"} : log.errors;
    }
    if (what == "calls") {
        std::vector<std::string> lines;
        for (const std::string& call : log.calls) {
            lines.push_back(out(call));
        }
        return lines;
    }
    if (what == "page") {
        if (words.size() < 3) {
            scriptError(s, "'printed page' needs a page number");
        }
        const Statement one{s.line, s.text, {s.words.front(), words[2]}, {}, 0};
        const long long page = number(one, 1);
        if (page < 1 || static_cast<std::size_t>(page) > log.pages.size()) {
            return {"<no page " + words[2].text + ">"};
        }
        std::vector<std::string> lines;
        for (const headless::DrawOp& op : log.pages[static_cast<std::size_t>(page - 1)].ops) {
            lines.push_back(out(headless::DrawingLog::describe(op)));
        }
        return lines;
    }
    if (!what.empty()) {
        scriptError(s, "printed observations are 'printed', 'printed pages|errors|calls' and 'printed page N'");
    }
    std::vector<std::string> lines{"document \"" + out(log.documentName) + "\""};
    for (std::size_t p = 0; p < log.pages.size(); ++p) {
        for (const headless::DrawOp* op : log.texts(p)) {
            const host::ui::Point at =
                op->kind == headless::DrawOp::Kind::kTextOut ? op->from : host::ui::Point{op->rect.left, op->rect.top};
            lines.push_back("page " + std::to_string(p + 1) + " " + std::to_string(at.x) + "," + std::to_string(at.y) +
                            " " + out(op->text));
        }
    }
    return lines;
}

std::vector<std::string> ScenarioRunner::observeWaiting(const Statement& s, const std::vector<Word>& words) const {
    const auto* view = dynamic_cast<const TRVNewsCtrlView*>(m_view.get());
    if (view == nullptr) {
        return {"<no news view>"};
    }
    if (words.size() < 2 || (words[1].text != "print" && words[1].text != "save")) {
        scriptError(s, "'waiting' observes 'print' or 'save'");
    }
    const TRVNewsPrint* job =
        words[1].text == "print" ? view->GetNewsPrint() : static_cast<const TRVNewsPrint*>(view->GetSaveToFile());
    std::vector<std::string> lines;
    for (const NewsPrintList* list : job->vPendingLists()) {
        std::string line;
        for (const NewsPrintItem& item : *list) {
            line += (line.empty() ? "" : " | ") + out(headless::describeEntry(item.m_entry)) +
                    (item.m_byHasTitle != 0 ? " title" : " no-title") +
                    (item.m_byHasStory != 0 ? " story" : " no-story");
        }
        lines.push_back(line.empty() ? "(empty)" : line);
    }
    return lines.empty() ? std::vector<std::string>{"none"} : lines;
}

} // namespace scenario
