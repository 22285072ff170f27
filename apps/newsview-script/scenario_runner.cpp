#include "apps/newsview-script/scenario_runner.h"

#include <algorithm>
#include <charconv>
#include <fstream>
#include <functional>
#include <iostream>
#include <random>
#include <set>
#include <sstream>

#include "adapters/headless/headless_sheet.h"
#include "adapters/headless/headless_window.h"
#include "apps/newsview-script/action_failure.h"
#include "embedded_backend/embedded_backend.h"
#include "host/backend/subscriptions.h"
#include "host/framework/base_views.h"
#include "host/framework/sync_info.h"
#include "host/text/cp950.h"
#include "host/text/format.h"
#include "host/ui/dialog_templates.h"

namespace scenario {

namespace fs = std::filesystem;

ScenarioRunner::ScenarioRunner(RunnerOptions options, std::ostream& out, std::ostream& err)
    : m_options(std::move(options)), m_out(out), m_err(err), m_host(std::make_unique<headless::HeadlessHost>()) {
    if (m_options.workDir.empty()) {
        m_work = fs::temp_directory_path() / ("newsview-script-" + std::to_string(std::random_device{}()));
        m_ownWork = !m_options.keepWork;
    } else {
        m_work = m_options.workDir;
    }
    m_sysDir = m_work / "sys";
    m_outDir = m_work / "out";
    std::error_code ec;
    fs::create_directories(m_sysDir, ec);
    fs::create_directories(m_outDir, ec);
    // Each run starts from the host's defaults: no registrations, default colours and symbols.
    NewsSubscriptions::instance().clear();
    CSyncInfo::Get().reset();
    m_backend.setSysPath(m_sysDir.string());
    m_backend.install();
    // Dialog templates as the resources hold them (the built-in copies serve otherwise).
    if (!m_options.resourcesDir.empty()) {
        host::ui::DialogTemplateStore::instance().setDirectory((m_options.resourcesDir / "dialogs").string());
    }
}

ScenarioRunner::~ScenarioRunner() {
    destroyView();
    shutDownEmbedded();
    m_backend.uninstall();
    NewsSubscriptions::instance().clear();
    m_host.reset();
    if (m_ownWork) {
        std::error_code ec;
        fs::remove_all(m_work, ec);
    }
}

void ScenarioRunner::destroyView() {
    // Before the host: the view's destructor destroys its windows there.
    m_view.reset();
}

int ScenarioRunner::runFile(const fs::path& script) {
    std::ifstream file(script, std::ios::binary);
    std::ostringstream content;
    content << file.rdbuf();
    if (!file) {
        m_err << script.string() << ": cannot read the script\n";
        return 2;
    }
    m_scriptDir = script.parent_path();
    return runText(content.str(), script.filename().string());
}

int ScenarioRunner::runText(const std::string& utf8Script, const std::string& scriptName) {
    m_scriptName = scriptName;
    std::vector<Statement> statements;
    try {
        statements = parseScript(utf8Script);
    } catch (const ScriptError& e) {
        m_err << m_scriptName << ": " << e.what() << "\n";
        return 2;
    }
    for (const Statement& statement : statements) {
        try {
            execute(statement);
        } catch (const ScriptError& e) {
            m_err << m_scriptName << ":" << statement.line << ": error: " << e.what() << "\n";
            return 2;
        } catch (const ActionFailure& e) {
            fail(statement, e.what());
        } catch (const std::exception& e) {
            fail(statement, std::string("stopped: an exception escaped: ") + e.what());
            return 1;
        }
        afterStatement(statement);
    }
    finish();
    return m_failures > 0 ? 1 : 0;
}

const std::map<std::string, ScenarioRunner::Handler>& ScenarioRunner::handlers() {
    static const std::map<std::string, Handler> table = {
        // Setup
        {"service", &ScenarioRunner::doService},
        {"quote-service", &ScenarioRunner::doQuoteService},
        {"date-range", &ScenarioRunner::doDateRange},
        {"connected", &ScenarioRunner::doConnected},
        {"auth", &ScenarioRunner::doAuth},
        {"delayed", &ScenarioRunner::doDelayed},
        {"category", &ScenarioRunner::doCategory},
        {"categories", &ScenarioRunner::doCategories},
        {"symbol", &ScenarioRunner::doSymbol},
        {"symbol-item", &ScenarioRunner::doSymbolItem},
        {"headline", &ScenarioRunner::doHeadline},
        {"story", &ScenarioRunner::doStory},
        {"related", &ScenarioRunner::doRelated},
        {"table", &ScenarioRunner::doTable},
        {"lang", &ScenarioRunner::doLang},
        {"lang-file", &ScenarioRunner::doLangFile},
        {"simplified", &ScenarioRunner::doSimplified},
        {"convert", &ScenarioRunner::doConvert},
        {"product-id", &ScenarioRunner::doProductId},
        {"ini", &ScenarioRunner::doIni},
        {"sync", &ScenarioRunner::doSync},
        {"setting", &ScenarioRunner::doSetting},
        {"settings", &ScenarioRunner::doSettings},
        {"clock", &ScenarioRunner::doClock},
        {"view", &ScenarioRunner::doView},
        {"save-view", &ScenarioRunner::doSaveView},
        {"close-view", &ScenarioRunner::doCloseView},
        // Actions
        {"push", &ScenarioRunner::doPush},
        {"answer", &ScenarioRunner::doAnswer},
        {"recover", &ScenarioRunner::doRecover},
        {"story-update", &ScenarioRunner::doStoryUpdate},
        {"market-status", &ScenarioRunner::doMarketStatus},
        {"quote", &ScenarioRunner::doQuote},
        {"quote-push", &ScenarioRunner::doQuote},
        {"link-group", &ScenarioRunner::doLinkGroup},
        {"symbol-change", &ScenarioRunner::doSymbolChange},
        {"connect", &ScenarioRunner::doConnect},
        {"disconnect", &ScenarioRunner::doDisconnect},
        {"click", &ScenarioRunner::doClick},
        {"modal", &ScenarioRunner::doModal},
        {"select", &ScenarioRunner::doSelect},
        {"tab", &ScenarioRunner::doSelect},
        {"choose", &ScenarioRunner::doChoose},
        {"dropdown", &ScenarioRunner::doDropdown},
        {"closeup", &ScenarioRunner::doCloseup},
        {"pick-date", &ScenarioRunner::doPickDate},
        {"set-date", &ScenarioRunner::doPickDate},
        {"type", &ScenarioRunner::doType},
        {"chars", &ScenarioRunner::doChars},
        {"check", &ScenarioRunner::doCheck},
        {"dblclick", &ScenarioRunner::doDoubleClick},
        {"rclick", &ScenarioRunner::doRightClick},
        {"focus", &ScenarioRunner::doFocus},
        {"key", &ScenarioRunner::doKey},
        {"grid", &ScenarioRunner::doGrid},
        {"context-menu", &ScenarioRunner::doContextMenu},
        {"menu", &ScenarioRunner::doMenu},
        {"command", &ScenarioRunner::doCommand},
        {"resize", &ScenarioRunner::doResize},
        {"advance", &ScenarioRunner::doAdvance},
        {"drain", &ScenarioRunner::doDrain},
        {"mark", &ScenarioRunner::doMark},
        // Story displays and dialogs
        {"tipmsg", &ScenarioRunner::doTipMsg},
        {"close-dialog", &ScenarioRunner::doCloseDialog},
        {"activate", &ScenarioRunner::doActivate},
        {"show-story", &ScenarioRunner::doShowStory},
        // The embedded back end
        {"backend", &ScenarioRunner::doBackend},
        {"feed", &ScenarioRunner::doFeed},
        {"feed-wait", &ScenarioRunner::doFeedWait},
        {"new-day", &ScenarioRunner::doNewDay},
        {"feed-generate", &ScenarioRunner::doFeedGenerate},
        {"change-cast", &ScenarioRunner::doChangeCast},
        {"relation-keys", &ScenarioRunner::doRelationKeys},
        // Observations
        {"print", &ScenarioRunner::doPrint},
        {"expect", &ScenarioRunner::doExpect},
    };
    return table;
}

void ScenarioRunner::execute(const Statement& statement) {
    static const std::set<std::string> kTakesBlock = {"categories", "story", "ini", "expect", "modal"};
    const std::string& name = statement.words.front().text;
    const auto it = handlers().find(name);
    if (it == handlers().end()) {
        scriptError(statement, "unknown statement '" + name + "'");
    }
    // Indented comment lines under a statement without a block are just comments.
    const bool onlyComments = std::all_of(statement.block.begin(), statement.block.end(), [](const std::string& line) {
        const std::string text = trim(line);
        return text.empty() || text.front() == '#';
    });
    if (!onlyComments && kTakesBlock.count(name) == 0) {
        scriptError(statement,
                    "'" + name + "' takes no indented lines (line " + std::to_string(statement.blockFirstLine) + ")");
    }
    checkBackendFor(statement);
    (this->*(it->second))(statement);
}

void ScenarioRunner::afterStatement(const Statement& statement) {
    // Between two statements the message loop turns once: posted messages are delivered.
    m_host->ui().pumpMessages();
    const auto& records = m_host->dialogs().records();
    for (std::size_t i = m_dialogsSeen; i < records.size(); ++i) {
        const headless::DialogRecord& r = records[i];
        if (!r.expected) {
            fail(statement, std::string("a ") + headless::dialogKindName(r.kind) + " dialog" +
                                (r.text.empty() ? std::string{} : " \"" + out(r.text) + "\"") +
                                " opened with no answer queued (it was cancelled)");
        }
    }
    m_dialogsSeen = records.size();
}

void ScenarioRunner::finish() {
    const std::size_t unused = m_host->dialogs().pendingAnswers();
    if (unused > 0) {
        ++m_failures;
        m_err << m_scriptName << ": " << unused << " queued dialog answer(s) were never used\n";
    }
}

void ScenarioRunner::fail(const Statement& statement, const std::string& message) {
    ++m_failures;
    m_err << m_scriptName << ":" << statement.line << ": " << message << "\n";
}

void ScenarioRunner::scriptError(const Statement& statement, const std::string& message) const {
    (void)statement;
    throw ScriptError(message);
}

// --- Arguments ---

const std::string& ScenarioRunner::word(const Statement& s, std::size_t index) const {
    if (index >= s.words.size()) {
        scriptError(s, "'" + s.words.front().text + "' needs more arguments");
    }
    return s.words[index].text;
}

const Word& ScenarioRunner::wordAt(const Statement& s, std::size_t index) const {
    word(s, index);
    return s.words[index];
}

long long ScenarioRunner::number(const Statement& s, std::size_t index) const {
    const std::string& text = word(s, index);
    long long value = 0;
    const char* first = text.data();
    const char* last = text.data() + text.size();
    int base = 10;
    if (text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) {
        first += 2;
        base = 16;
    }
    const auto [end, ec] = std::from_chars(first, last, value, base);
    if (ec != std::errc{} || end != last || first == last) {
        scriptError(s, "'" + text + "' is not a number");
    }
    return value;
}

bool ScenarioRunner::yesNo(const Statement& s, std::size_t index) const {
    const std::string& text = word(s, index);
    if (text == "yes" || text == "on" || text == "true" || text == "1") {
        return true;
    }
    if (text == "no" || text == "off" || text == "false" || text == "0") {
        return false;
    }
    scriptError(s, "'" + text + "' is not yes or no");
}

unsigned char ScenarioRunner::serviceId(const Statement& s, std::size_t index) const {
    const long long id = number(s, index);
    if (id < 0 || id > 255) {
        scriptError(s, "service " + std::to_string(id) + " is outside 0..255");
    }
    return static_cast<unsigned char>(id);
}

CHeadlineTable ScenarioRunner::entryRef(const Statement& s, const std::string& text) const {
    int service = 0;
    int seq = 0;
    // "S#N@TIME": a table entry of the service's current date whose headline need not be held;
    // "S#N@DATE/TIME" one of another date.
    const std::size_t at = text.find('@');
    if (at != std::string::npos && parseHeadlineRef(text.substr(0, at), service, seq)) {
        const auto svc = static_cast<unsigned char>(service);
        const std::string when = text.substr(at + 1);
        const std::size_t slash = when.find('/');
        const std::string date = slash == std::string::npos ? currentDate(svc) : dateArg(s, when.substr(0, slash));
        const std::int64_t time = localTime(s, date, slash == std::string::npos ? when : when.substr(slash + 1));
        return CHeadlineTable{svc, time, seq, seq, 0};
    }
    if (!parseHeadlineRef(text, service, seq)) {
        scriptError(s, "'" + text + "' is not a headline reference (service#number, e.g. 1#12)");
    }
    const CHeadline* h = m_backend.headlineBySeq(static_cast<unsigned char>(service), seq);
    if (h == nullptr) {
        scriptError(s, "no headline " + text + " was declared");
    }
    return headless::ScriptedBackend::entryOf(*h);
}

std::vector<CHeadlineTable> ScenarioRunner::entryRefs(const Statement& s, std::size_t from) const {
    std::vector<CHeadlineTable> entries;
    for (std::size_t i = from; i < s.words.size(); ++i) {
        if (s.words[i].text != "=") {
            entries.push_back(entryRef(s, s.words[i].text));
        }
    }
    return entries;
}

CSymbolInfo ScenarioRunner::symbolRef(const Statement& s, const std::string& text) const {
    const std::size_t colon = text.find(':');
    int market = -1;
    if (colon != std::string::npos) {
        const auto [end, ec] = std::from_chars(text.data(), text.data() + colon, market);
        if (ec != std::errc{} || end != text.data() + colon) {
            market = -1;
        }
    }
    if (market < 0 || market > 255 || colon + 1 >= text.size()) {
        scriptError(s, "'" + text + "' is not a symbol (market:code, e.g. 16:2330)");
    }
    return CSymbolInfo{static_cast<unsigned char>(market), in(text.substr(colon + 1)), {}};
}

std::string ScenarioRunner::dateArg(const Statement& s, const std::string& text) const {
    std::string digits;
    for (const char c : text) {
        if (c != '-') {
            digits += c;
        }
    }
    const bool dashed = text.size() == 10 && text[4] == '-' && text[7] == '-';
    if (digits.size() != 8 || digits.find_first_not_of("0123456789") != std::string::npos ||
        (text.size() != 8 && !dashed)) {
        scriptError(s, "'" + text + "' is not a date (YYYY-MM-DD or YYYYMMDD)");
    }
    return digits;
}

host::ui::Date ScenarioRunner::dateValue(const Statement& s, const std::string& text) const {
    const std::string d = dateArg(s, text);
    return host::ui::Date{std::stoi(d.substr(0, 4)), std::stoi(d.substr(4, 2)), std::stoi(d.substr(6, 2))};
}

std::int64_t ScenarioRunner::localTime(const Statement& s, const std::string& date, const std::string& time) const {
    int h = 0;
    int m = 0;
    int sec = 0;
    char extra = 0;
    const int fields = std::sscanf(time.c_str(), "%d:%d:%d%c", &h, &m, &sec, &extra);
    if ((fields != 2 && fields != 3) || h < 0 || h > 23 || m < 0 || m > 59 || sec < 0 || sec > 59) {
        scriptError(s, "'" + time + "' is not a time (HH:MM or HH:MM:SS)");
    }
    const host::ui::Date d = dateValue(s, date);
    std::int64_t midnight = 0;
    if (!text::localMidnight(d.year, d.month, d.day, midnight)) {
        scriptError(s, "'" + date + "' is not a valid date");
    }
    return midnight + h * 3600 + m * 60 + sec;
}

std::optional<std::string> ScenarioRunner::option(const Statement& s, std::size_t from, const std::string& key) const {
    for (std::size_t i = from; i + 1 < s.words.size(); ++i) {
        if (!s.words[i].quoted && s.words[i].text == key) {
            return s.words[i + 1].text;
        }
    }
    return std::nullopt;
}

std::string ScenarioRunner::currentDate(unsigned char service) const {
    const CString declared = m_backend.serviceDate(service);
    if (!declared.empty()) {
        return declared;
    }
    return text::formatLocalTime("%Y%m%d", m_host->clock().now());
}

std::string ScenarioRunner::restAfter(const Statement& s, std::size_t wordIndex) const {
    const std::size_t start = wordIndex < s.words.size() ? s.words[wordIndex].end : s.text.size();
    std::string rest = trim(std::string_view(s.text).substr(start));
    // A value in quotes keeps its blanks; the quotes are not part of it.
    if (rest.size() >= 2 && rest.front() == '"' && rest.back() == '"') {
        const std::vector<Word> words = splitWords(rest, s.line);
        if (words.size() == 1 && words[0].quoted) {
            return words[0].text;
        }
    }
    return rest;
}

// --- Windows ---

host::ui::Window* ScenarioRunner::viewWindow(const Statement& s) const {
    if (!m_view || m_view->GetWnd() == nullptr) {
        scriptError(s, "no view: create one with 'view <ClassName>' first");
    }
    return m_view->GetWnd();
}

std::vector<headless::WindowCore*> ScenarioRunner::allWindows() const {
    std::vector<headless::WindowCore*> result;
    const std::function<void(headless::WindowCore*)> walk = [&](headless::WindowCore* w) {
        result.push_back(w);
        for (headless::WindowCore* c : w->childCores()) {
            walk(c);
        }
    };
    headless::WindowCore* root = m_view && m_view->GetWnd() ? headless::coreOf(m_view->GetWnd()) : nullptr;
    if (root != nullptr) {
        walk(root);
    }
    for (host::ui::Window* top : m_host->ui().topLevelWindows()) {
        headless::WindowCore* core = headless::coreOf(top);
        if (core != root) {
            walk(core);
        }
    }
    return result;
}

std::string ScenarioRunner::windowNameOf(const headless::WindowCore& control) const {
    const headless::WindowCore* top = &control;
    while (top->parentCore() != nullptr) {
        top = top->parentCore();
    }
    const headless::WindowCore* root = m_view && m_view->GetWnd() ? headless::coreOf(m_view->GetWnd()) : nullptr;
    return top == root ? std::string("view") : std::to_string(top->id());
}

headless::WindowCore* ScenarioRunner::findControl(const Statement& s, const std::string& ref) const {
    const std::size_t slash = ref.find('/');
    const std::string window = slash == std::string::npos ? std::string{} : ref.substr(0, slash);
    const std::string idText = slash == std::string::npos ? ref : ref.substr(slash + 1);
    const Statement one{s.line, s.text, {s.words.front(), Word{idText, false, 0}}, {}, 0};
    const long long id = number(one, 1);
    if (slash != std::string::npos && window != "view" && window.find_first_not_of("0123456789") != std::string::npos) {
        scriptError(s, "'" + ref + "': a window is 'view' or a dialog id, as in view/8067 or 8065/8067");
    }
    headless::WindowCore* found = nullptr;
    std::vector<std::string> windows;
    for (headless::WindowCore* w : allWindows()) {
        if (w->parentCore() == nullptr || w->id() != id) {
            continue;
        }
        const std::string name = windowNameOf(*w);
        if (!window.empty() && name != window) {
            continue;
        }
        if (std::find(windows.begin(), windows.end(), name) == windows.end()) {
            windows.push_back(name);
        }
        if (found == nullptr) {
            found = w;
        }
    }
    if (windows.size() > 1) {
        std::string names;
        for (const std::string& name : windows) {
            names += (names.empty() ? "" : ", ") + name;
        }
        throw ActionFailure("id " + idText + " is in more than one window (" + names + "): write WINDOW/" + idText +
                            ", e.g. " + windows.front() + "/" + idText);
    }
    return found;
}

headless::WindowCore* ScenarioRunner::requireControl(const Statement& s, const std::string& ref) const {
    headless::WindowCore* control = findControl(s, ref);
    if (control == nullptr) {
        throw ActionFailure("no control " + ref);
    }
    return control;
}

headless::HeadlessSheet* ScenarioRunner::findGrid(const Statement& s, std::size_t& index) const {
    const std::string& selector = word(s, index++);
    std::vector<headless::HeadlessSheet*> grids;
    for (headless::WindowCore* w : allWindows()) {
        if (auto* grid = dynamic_cast<headless::HeadlessSheet*>(w)) {
            grids.push_back(grid);
        }
    }
    if (selector == "visible" || selector == "focused") {
        for (headless::HeadlessSheet* g : grids) {
            if (selector == "visible" ? g->isVisible() : g->hasFocus()) {
                return g;
            }
        }
        return nullptr;
    }
    if (selector.rfind("id=", 0) == 0) {
        const Word idWord{selector.substr(3), false, 0};
        const Statement one{s.line, s.text, {s.words.front(), idWord}, {}, 0};
        const long long id = number(one, 1);
        for (headless::HeadlessSheet* g : grids) {
            if (g->id() == id) {
                return g;
            }
        }
        return nullptr;
    }
    const long long n = number(s, index - 1);
    return n >= 0 && static_cast<std::size_t>(n) < grids.size() ? grids[static_cast<std::size_t>(n)] : nullptr;
}

host::ui::Window* ScenarioRunner::keyTarget(const Statement& s, std::size_t from) const {
    for (std::size_t i = from; i + 1 < s.words.size(); ++i) {
        if (s.words[i].text != "on") {
            continue;
        }
        const std::string& target = s.words[i + 1].text;
        if (target == "view") {
            return viewWindow(s);
        }
        if (target == "focus") {
            break;
        }
        if (target == "grid") {
            std::size_t index = i + 2;
            headless::HeadlessSheet* grid = findGrid(s, index);
            if (grid == nullptr) {
                throw ActionFailure("no such grid");
            }
            return grid;
        }
        return &requireControl(s, target)->window();
    }
    host::ui::Window* focus = m_host->ui().focusWindow();
    return focus != nullptr ? focus : viewWindow(s);
}

std::string ScenarioRunner::in(const std::string& utf8) {
    return cp950::fromUtf8(utf8);
}

std::string ScenarioRunner::out(const std::string& cp950Text) {
    return cp950::toUtf8(cp950Text);
}

} // namespace scenario
