// The scenario statements that work the controls as a user would: clicks, selections, typing,
// keys, check marks, grids, menus, commands, window size and the passing of time.
#include <map>

#include "adapters/headless/headless_controls.h"
#include "adapters/headless/headless_sheet.h"
#include "apps/newsview-script/action_failure.h"
#include "apps/newsview-script/scenario_runner.h"
#include "embedded_backend/embedded_backend.h"
#include "host/framework/base_views.h"
#include "host/text/format.h"

namespace scenario {

namespace win = host::ui::win;
using headless::WindowCore;

namespace {

unsigned virtualKey(const std::string& name, bool& ok) {
    static const std::map<std::string, unsigned> kNames = {
        {"BACK", win::VK_BACK},
        {"TAB", win::VK_TAB},
        {"RETURN", win::VK_RETURN},
        {"ENTER", win::VK_RETURN},
        {"SHIFT", win::VK_SHIFT},
        {"CONTROL", win::VK_CONTROL},
        {"CTRL", win::VK_CONTROL},
        {"ESCAPE", win::VK_ESCAPE},
        {"ESC", win::VK_ESCAPE},
        {"SPACE", win::VK_SPACE},
        {"PRIOR", win::VK_PRIOR},
        {"PAGEUP", win::VK_PRIOR},
        {"NEXT", win::VK_NEXT},
        {"PAGEDOWN", win::VK_NEXT},
        {"END", win::VK_END},
        {"HOME", win::VK_HOME},
        {"LEFT", win::VK_LEFT},
        {"UP", win::VK_UP},
        {"RIGHT", win::VK_RIGHT},
        {"DOWN", win::VK_DOWN},
        {"INSERT", win::VK_INSERT},
        {"DELETE", win::VK_DELETE},
        {"PROCESSKEY", win::VK_PROCESSKEY},
    };
    ok = true;
    if (const auto it = kNames.find(name); it != kNames.end()) {
        return it->second;
    }
    if (name.size() >= 2 && name.size() <= 3 && name[0] == 'F' && std::isdigit(static_cast<unsigned char>(name[1]))) {
        const int n = std::stoi(name.substr(1));
        if (n >= 1 && n <= 24) {
            return win::VK_F1 + static_cast<unsigned>(n - 1);
        }
    }
    if (name.size() == 1 && std::isalnum(static_cast<unsigned char>(name[0]))) {
        return static_cast<unsigned>(std::toupper(static_cast<unsigned char>(name[0])));
    }
    if (!name.empty() && name.find_first_not_of("0123456789") == std::string::npos && name.size() <= 3) {
        return static_cast<unsigned>(std::stoi(name));
    }
    ok = false;
    return 0;
}

void requireUsable(const WindowCore& control) {
    const std::string name = std::string(headless::kindName(control.kind())) + " " + std::to_string(control.id());
    if (!control.isVisible()) {
        throw ActionFailure(name + " is hidden");
    }
    if (!control.isEnabled()) {
        throw ActionFailure(name + " is disabled");
    }
}

template <class T> T* as(WindowCore* control, const char* wanted) {
    T* typed = dynamic_cast<T*>(control);
    if (typed == nullptr) {
        throw ActionFailure("control " + std::to_string(control->id()) + " is a " +
                            headless::kindName(control->kind()) + ", not a " + wanted);
    }
    return typed;
}

} // namespace

// --- Controls ---

void ScenarioRunner::doClick(const Statement& s) {
    WindowCore* control = requireControl(s, word(s, 1));
    requireUsable(*control);
    as<headless::HeadlessButton>(control, "button")->click();
}

void ScenarioRunner::doSelect(const Statement& s) {
    WindowCore* control = requireControl(s, word(s, 1));
    requireUsable(*control);
    const Word& item = wordAt(s, 2);
    const bool byIndex = !item.quoted && item.text.find_first_not_of("0123456789") == std::string::npos;
    const CString text = in(item.text);
    int index = byIndex ? std::stoi(item.text) : -1;
    bool done = false;
    if (auto* combo = dynamic_cast<headless::HeadlessComboBox*>(control)) {
        index = byIndex ? index : combo->findStringExact(0, text);
        done = combo->selectItem(index);
    } else if (auto* tabs = dynamic_cast<headless::HeadlessTabStrip*>(control)) {
        for (int i = 0; !byIndex && i < tabs->itemCount(); ++i) {
            index = tabs->itemCaption(i) == text ? i : index;
        }
        done = tabs->selectTab(index);
    } else if (auto* list = dynamic_cast<headless::HeadlessListBox*>(control)) {
        for (int i = 0; !byIndex && i < list->count() && index < 0; ++i) {
            index = list->itemText(i) == text ? i : -1;
        }
        done = list->clickItem(index);
    } else if (auto* listCtrl = dynamic_cast<headless::HeadlessListCtrl*>(control)) {
        for (int i = 0; !byIndex && i < listCtrl->itemCount() && index < 0; ++i) {
            index = listCtrl->itemText(i, 0) == text ? i : -1;
        }
        done = listCtrl->clickRow(index);
    } else if (auto* tree = dynamic_cast<headless::HeadlessTreeCtrl*>(control)) {
        done = tree->clickItem(treeItem(*tree, item));
    } else {
        throw ActionFailure("control " + word(s, 1) + " is a " + headless::kindName(control->kind()) +
                            ": only combos, tabs and lists have items");
    }
    if (!done) {
        throw ActionFailure("control " + word(s, 1) + " has no item " + item.text);
    }
}

void ScenarioRunner::doChoose(const Statement& s) {
    WindowCore* control = requireControl(s, word(s, 1));
    requireUsable(*control);
    auto* combo = as<headless::HeadlessComboBox>(control, "combo");
    const Word& item = wordAt(s, 2);
    const bool byIndex = !item.quoted && item.text.find_first_not_of("0123456789") == std::string::npos;
    const int index = byIndex ? std::stoi(item.text) : combo->findStringExact(0, in(item.text));
    if (!combo->chooseItem(index)) {
        throw ActionFailure("combo " + word(s, 1) + " has no item " + item.text);
    }
}

void ScenarioRunner::doDropdown(const Statement& s) {
    WindowCore* control = requireControl(s, word(s, 1));
    requireUsable(*control);
    if (auto* combo = dynamic_cast<headless::HeadlessComboBox*>(control)) {
        combo->dropDown();
    } else {
        as<headless::HeadlessDatePicker>(control, "combo or date picker")->dropDown();
    }
}

void ScenarioRunner::doCloseup(const Statement& s) {
    WindowCore* control = requireControl(s, word(s, 1));
    requireUsable(*control);
    if (auto* combo = dynamic_cast<headless::HeadlessComboBox*>(control)) {
        combo->closeUp();
    } else {
        as<headless::HeadlessDatePicker>(control, "combo or date picker")->closeUp();
    }
}

void ScenarioRunner::doPickDate(const Statement& s) {
    WindowCore* control = requireControl(s, word(s, 1));
    requireUsable(*control);
    auto* picker = as<headless::HeadlessDatePicker>(control, "date picker");
    const host::ui::Date date = dateValue(s, word(s, 2));
    if (word(s, 0) == "set-date") {
        picker->pickDate(date);
    } else {
        picker->chooseDate(date);
    }
}

void ScenarioRunner::doType(const Statement& s) {
    WindowCore* control = requireControl(s, word(s, 1));
    requireUsable(*control);
    if (!as<headless::HeadlessEdit>(control, "edit")->typeText(in(hasWord(s, 2) ? word(s, 2) : std::string{}))) {
        throw ActionFailure("edit " + word(s, 1) + " is read-only");
    }
}

void ScenarioRunner::doChars(const Statement& s) {
    host::ui::Window* target = keyTarget(s, 2);
    // Double-byte characters arrive as two WM_CHAR messages, lead byte first.
    for (const char c : in(word(s, 1))) {
        m_host->ui().keyInput(target, win::WM_CHAR, static_cast<unsigned char>(c));
    }
}

void ScenarioRunner::doCheck(const Statement& s) {
    WindowCore* control = requireControl(s, word(s, 1));
    requireUsable(*control);
    if (auto* button = dynamic_cast<headless::HeadlessButton*>(control)) {
        const bool wanted = yesNo(s, 2);
        if (button->buttonKind() == win::BS_AUTOCHECKBOX) {
            // An automatic check box ticks itself when clicked: click only when it must change.
            if (button->isChecked() != wanted) {
                button->click();
            }
            return;
        }
        // Another check box is ticked by its owner: tick it, then report the click.
        button->setCheck(wanted);
        button->click();
        return;
    }
    const int index = static_cast<int>(number(s, 2));
    const bool checked = yesNo(s, 3);
    bool done = false;
    if (auto* list = dynamic_cast<headless::HeadlessListBox*>(control)) {
        done = list->checkItem(index, checked);
    } else {
        done = as<headless::HeadlessListCtrl>(control, "check box or list")->checkRow(index, checked);
    }
    if (!done) {
        throw ActionFailure("list " + word(s, 1) + " has no check box at " + std::to_string(index));
    }
}

int ScenarioRunner::treeItem(const headless::HeadlessTreeCtrl& tree, const Word& item) const {
    // An index in the order the tree lists its items, or a path of texts ("market/symbol").
    const bool byIndex = !item.quoted && item.text.find_first_not_of("0123456789") == std::string::npos;
    if (!byIndex) {
        return tree.findPath(in(item.text));
    }
    const auto order = tree.displayOrder();
    const std::size_t index = std::stoul(item.text);
    return index < order.size() ? order[index].first : 0;
}

void ScenarioRunner::doDoubleClick(const Statement& s) {
    WindowCore* control = requireControl(s, word(s, 1));
    requireUsable(*control);
    const bool isTree = dynamic_cast<headless::HeadlessTreeCtrl*>(control) != nullptr;
    const int index = isTree ? 0 : static_cast<int>(number(s, 2));
    bool done = false;
    if (auto* tree = dynamic_cast<headless::HeadlessTreeCtrl*>(control)) {
        done = tree->doubleClickItem(treeItem(*tree, wordAt(s, 2)));
    } else if (auto* list = dynamic_cast<headless::HeadlessListBox*>(control)) {
        done = list->doubleClickItem(index);
    } else {
        done = as<headless::HeadlessListCtrl>(control, "list")->doubleClickRow(index);
    }
    if (!done) {
        throw ActionFailure("list " + word(s, 1) + " has no item " + std::to_string(index));
    }
}

void ScenarioRunner::doRightClick(const Statement& s) {
    WindowCore* control = requireControl(s, word(s, 1));
    requireUsable(*control);
    const int index = static_cast<int>(number(s, 2));
    if (!as<headless::HeadlessListCtrl>(control, "list control")->rightClickRow(index)) {
        throw ActionFailure("list " + word(s, 1) + " has no row " + std::to_string(index));
    }
}

void ScenarioRunner::doFocus(const Statement& s) {
    const std::string& what = word(s, 1);
    if (what == "view") {
        viewWindow(s)->setFocus();
    } else if (what == "grid") {
        std::size_t index = 2;
        headless::HeadlessSheet* grid = findGrid(s, index);
        if (grid == nullptr) {
            throw ActionFailure("no such grid");
        }
        grid->setFocus();
    } else {
        requireControl(s, word(s, 1))->setFocus();
    }
}

void ScenarioRunner::doKey(const Statement& s) {
    const std::string& how = word(s, 1);
    bool ok = false;
    const unsigned key = virtualKey(word(s, 2), ok);
    if (!ok) {
        scriptError(s, "'" + word(s, 2) + "' is not a virtual-key code or name");
    }
    host::ui::Window* target = keyTarget(s, 3);
    if (how == "down" || how == "press") {
        const WindowCore* core = headless::coreOf(target);
        const std::string name = std::string(headless::kindName(core->kind())) + " " + std::to_string(core->id());
        const bool consumed = m_host->ui().keyInput(target, win::WM_KEYDOWN, key);
        m_lastKey = consumed ? "consumed before " + name : "delivered to " + name;
    }
    if (how == "up" || how == "press") {
        // The target may be gone after the key-down; a key-up then goes to whatever has the focus.
        host::ui::Window* upTarget = m_host->ui().isAlive(target) ? target : keyTarget(s, 3);
        m_host->ui().keyInput(upTarget, win::WM_KEYUP, key, static_cast<host::ui::LPARAM>(0xC0000001u));
    }
    if (how != "down" && how != "up" && how != "press") {
        scriptError(s, "keys go down, up or press");
    }
}

void ScenarioRunner::doGrid(const Statement& s) {
    std::size_t index = 1;
    headless::HeadlessSheet* grid = findGrid(s, index);
    if (grid == nullptr) {
        throw ActionFailure("no grid " + word(s, 1));
    }
    const std::string& action = word(s, index);
    if (action == "scroll") {
        grid->userScrollTo(static_cast<int>(number(s, index + 1)));
        return;
    }
    if (action == "wheel") {
        const int notches = static_cast<int>(number(s, index + 1));
        m_host->ui().mouseInput(grid, win::WM_MOUSEWHEEL, host::ui::Point{1, 1},
                                static_cast<unsigned>(host::ui::MAKEWPARAM(0, static_cast<unsigned>(notches * 120))));
        return;
    }
    if (word(s, index + 1) != "row") {
        scriptError(s, "expected 'grid <grid> click|dblclick|rclick row <row> [col <col>] [flags <n>]'");
    }
    const long long row = number(s, index + 2);
    const int col = option(s, index + 3, "col") ? std::stoi(*option(s, index + 3, "col")) : 0;
    unsigned flags = 0;
    if (const auto given = option(s, index + 3, "flags")) {
        // A number, or the held keys by name: ctrl, shift, ctrl+shift.
        if (*given == "ctrl" || *given == "shift" || *given == "ctrl+shift" || *given == "shift+ctrl") {
            flags = (given->find("ctrl") != std::string::npos ? win::MK_CONTROL : 0u) |
                    (given->find("shift") != std::string::npos ? win::MK_SHIFT : 0u);
        } else {
            flags = static_cast<unsigned>(std::stoul(*given, nullptr, 0));
        }
    }
    requireUsable(*grid);
    const auto point = row >= 0 ? grid->cellCenter(static_cast<std::size_t>(row), col) : std::nullopt;
    if (!point) {
        throw ActionFailure("row " + std::to_string(row) + " is not on the visible page (rows " +
                            std::to_string(grid->iGetFirstVisibleRow()) + ".." +
                            std::to_string(grid->iGetFirstVisibleRow() + grid->iGetRowsPerPage() - 1) + " of " +
                            std::to_string(grid->iGetRowCount()) + ")");
    }
    if (action == "click") {
        m_host->ui().leftClick(grid, *point, flags);
    } else if (action == "dblclick") {
        m_host->ui().doubleClick(grid, *point, flags);
    } else if (action == "rclick") {
        m_host->ui().rightClick(grid, *point, flags);
    } else {
        scriptError(s, "grid actions are click, dblclick, rclick, scroll and wheel");
    }
}

void ScenarioRunner::doContextMenu(const Statement& s) {
    host::ui::Window* window = viewWindow(s);
    host::ui::Point point = window->clientRect().Center();
    if (hasWord(s, 2)) {
        point = host::ui::Point{static_cast<int>(number(s, 1)), static_cast<int>(number(s, 2))};
    }
    m_host->ui().contextMenu(window, window->clientToScreen(point));
}

void ScenarioRunner::doMenu(const Statement& s) {
    const std::string& what = word(s, 1);
    if (what == "dismiss") {
        m_host->ui().dismissMenu();
        return;
    }
    if (what != "choose") {
        scriptError(s, "expected 'menu choose <text or id>' or 'menu dismiss'");
    }
    if (m_host->ui().openMenu() == nullptr) {
        throw ActionFailure("no menu is open");
    }
    const Word& item = wordAt(s, 2);
    const bool byId = !item.quoted && item.text.find_first_not_of("0123456789") == std::string::npos;
    const bool chosen = byId ? m_host->ui().chooseMenuItem(static_cast<unsigned>(std::stoul(item.text)))
                             : m_host->ui().chooseMenuText(in(item.text));
    if (!chosen) {
        throw ActionFailure("the open menu has no item " + item.text + " (or its owner is gone)");
    }
}

void ScenarioRunner::doCommand(const Statement& s) {
    const unsigned id = static_cast<unsigned>(number(s, 1));
    const unsigned code = hasWord(s, 2) ? static_cast<unsigned>(number(s, 2)) : win::BN_CLICKED;
    viewWindow(s)->sendMessage(win::WM_COMMAND, host::ui::MAKEWPARAM(id, code), 0);
}

void ScenarioRunner::doResize(const Statement& s) {
    int width = 0;
    int height = 0;
    if (std::sscanf(word(s, 1).c_str(), "%dx%d", &width, &height) != 2 || width < 0 || height < 0) {
        scriptError(s, "sizes are written WIDTHxHEIGHT, e.g. 1024x768");
    }
    host::ui::Window* window = viewWindow(s);
    const host::ui::Rect r = window->rect();
    window->move(host::ui::Rect{r.left, r.top, r.left + width, r.top + height});
}

void ScenarioRunner::doAdvance(const Statement& s) {
    if (word(s, 1) == "to") {
        const std::int64_t target =
            localTime(s, text::formatLocalTime("%Y%m%d", m_host->clock().now()), word(s, 2)) * 1000;
        if (target < m_host->clock().nowMs()) {
            scriptError(s, "the clock only moves forward");
        }
        m_host->clock().advanceTo(target);
        return;
    }
    const std::string& amount = word(s, 1);
    std::size_t digits = 0;
    while (digits < amount.size() && std::isdigit(static_cast<unsigned char>(amount[digits]))) {
        ++digits;
    }
    const std::string unit = amount.substr(digits);
    static const std::map<std::string, std::int64_t> kUnits = {{"ms", 1}, {"s", 1000}, {"m", 60000}, {"h", 3600000}};
    const auto it = kUnits.find(unit);
    if (digits == 0 || digits > 12 || it == kUnits.end()) {
        scriptError(s, "durations are written like 100ms, 2s, 5m or 1h");
    }
    m_host->clock().advanceBy(std::stoll(amount.substr(0, digits)) * it->second);
}

void ScenarioRunner::doDrain(const Statement& /*s*/) {
    if (m_embedded) {
        drainEmbedded();
        return;
    }
    m_host->settle();
}

void ScenarioRunner::doMark(const Statement& /*s*/) {
    m_callMark = m_backend.mark();
}

} // namespace scenario
