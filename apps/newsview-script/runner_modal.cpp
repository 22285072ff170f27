// The modal block: `modal ACTION...` runs ACTION (any statement) and plays the user inside the
// modal dialog it opens with the statements of its block, the last of which is `ok` or
// `cancel` (pressing OK or Cancel), or `closed` (the dialog has ended itself, as a double click
// on a recent search does).
#include <optional>

#include "adapters/headless/headless_host.h"
#include "apps/newsview-script/action_failure.h"
#include "apps/newsview-script/scenario_runner.h"
#include "host/ui/messages.h"

namespace scenario {

namespace win = host::ui::win;

void ScenarioRunner::doModal(const Statement& s) {
    if (s.words.size() < 2) {
        scriptError(s, "'modal' needs the statement that opens the dialog");
    }
    std::string blockText;
    for (const std::string& line : s.block) {
        blockText += line;
        blockText += '\n';
    }
    std::vector<Statement> inside = parseScript(blockText);
    for (Statement& statement : inside) {
        statement.line += s.blockFirstLine - 1;
    }
    const auto isEnd = [](const Statement& st) {
        return st.words.size() == 1 &&
               (st.words[0].text == "ok" || st.words[0].text == "cancel" || st.words[0].text == "closed");
    };
    if (inside.empty() || !isEnd(inside.back())) {
        scriptError(s, "a modal block ends with 'ok', 'cancel' or 'closed'");
    }
    for (std::size_t i = 0; i + 1 < inside.size(); ++i) {
        if (isEnd(inside[i])) {
            scriptError(inside[i], "'" + inside[i].words[0].text + "' ends a modal block: it must be its last line");
        }
    }

    Statement action;
    action.line = s.line;
    action.text = trim(std::string_view(s.text).substr(s.words.front().end));
    action.words = splitWords(action.text, s.line);

    bool ran = false;
    std::optional<ScriptError> error;
    headless::HeadlessUiHost& ui = m_host->ui();
    ui.setModalHook([&](host::ui::Window& dialog) {
        ui.setModalHook(nullptr); // one dialog: a dialog opened inside it is answered Cancel
        ran = true;
        for (std::size_t i = 0; i + 1 < inside.size() && !error; ++i) {
            try {
                execute(inside[i]);
            } catch (const ScriptError& e) {
                error = e;
                break;
            } catch (const ActionFailure& e) {
                fail(inside[i], e.what());
            }
            afterStatement(inside[i]);
        }
        if (error) {
            return; // the host cancels the dialog; the run stops after it
        }
        const std::string& end = inside.back().words[0].text;
        const bool open = ui.modalDialog() == &dialog;
        if (end == "closed") {
            if (open) {
                fail(inside.back(), "the dialog is still open");
            }
            return;
        }
        if (!open) {
            fail(inside.back(), "the dialog has ended already");
            return;
        }
        const unsigned id = end == "ok" ? win::IDOK : win::IDCANCEL;
        host::ui::Window* button = dialog.child(static_cast<int>(id));
        if (id == win::IDOK && button != nullptr && (!button->isVisible() || !button->isEnabled())) {
            fail(inside.back(), "the OK button of the dialog is hidden or disabled");
            return;
        }
        dialog.sendMessage(win::WM_COMMAND, host::ui::MAKEWPARAM(id, win::BN_CLICKED),
                           reinterpret_cast<host::ui::LPARAM>(button));
    });
    try {
        execute(action);
    } catch (...) {
        ui.setModalHook(nullptr);
        throw;
    }
    ui.setModalHook(nullptr);
    if (error) {
        throw *error;
    }
    if (!ran) {
        throw ActionFailure("'" + action.text + "' opened no modal dialog");
    }
}

} // namespace scenario
