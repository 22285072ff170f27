#pragma once

#include <cstdint>
#include <filesystem>
#include <iosfwd>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "adapters/headless/headless_host.h"
#include "adapters/headless/scripted_backend.h"
#include "apps/newsview-script/script.h"
#include "host/framework/cfg_store.h"

class TRVVirtualBaseView;

namespace embedded {
class EmbeddedBackend;
} // namespace embedded

namespace headless {
class WindowCore;
class HeadlessSheet;
class HeadlessTreeCtrl;
} // namespace headless

namespace scenario {

struct RunnerOptions {
    std::filesystem::path resourcesDir; // language files and INI files named by scripts
    std::filesystem::path workDir;      // empty: a fresh temporary folder, removed afterwards
    bool keepWork = false;
};

// Runs one scenario script against a view on the headless host and a scripted back end, or
// the embedded back end fed by replay files once the script says `backend embedded`.
// Texts of the script are UTF-8 and enter the module as code page 950; everything observed
// is converted back to UTF-8. Results: 0 when every expectation held, 1 when one failed or an
// action could not be performed, 2 when the script itself is wrong or cannot be read.
// Ownership: owns the host, the back end, the settings store and the view. Thread: one.
class ScenarioRunner {
public:
    ScenarioRunner(RunnerOptions options, std::ostream& out, std::ostream& err);
    ~ScenarioRunner();
    ScenarioRunner(const ScenarioRunner&) = delete;
    ScenarioRunner& operator=(const ScenarioRunner&) = delete;

    int runFile(const std::filesystem::path& script);
    int runText(const std::string& utf8Script, const std::string& scriptName);

private:
    using Handler = void (ScenarioRunner::*)(const Statement&);
    static const std::map<std::string, Handler>& handlers();

    // --- Core (scenario_runner.cpp) ---
    void execute(const Statement& statement);
    void afterStatement(const Statement& statement);
    void finish();
    void fail(const Statement& statement, const std::string& message);
    [[noreturn]] void scriptError(const Statement& statement, const std::string& message) const;
    void destroyView();

    // Word access and argument parsing.
    const std::string& word(const Statement& s, std::size_t index) const;
    const Word& wordAt(const Statement& s, std::size_t index) const;
    bool hasWord(const Statement& s, std::size_t index) const { return index < s.words.size(); }
    long long number(const Statement& s, std::size_t index) const;
    bool yesNo(const Statement& s, std::size_t index) const;
    unsigned char serviceId(const Statement& s, std::size_t index) const;
    // "S#N": the newest declared headline of service S with sequence number N.
    CHeadlineTable entryRef(const Statement& s, const std::string& text) const;
    std::vector<CHeadlineTable> entryRefs(const Statement& s, std::size_t from) const;
    CSymbolInfo symbolRef(const Statement& s, const std::string& text) const;
    // A local time: "HH:MM[:SS]" on date (yyyymmdd); seconds since 1970.
    std::int64_t localTime(const Statement& s, const std::string& date, const std::string& time) const;
    std::string dateArg(const Statement& s, const std::string& text) const; // to yyyymmdd
    host::ui::Date dateValue(const Statement& s, const std::string& text) const;
    // The words after a key in "key value" option pairs starting at from; nullopt when absent.
    std::optional<std::string> option(const Statement& s, std::size_t from, const std::string& key) const;
    std::string currentDate(unsigned char service) const;
    std::string restAfter(const Statement& s, std::size_t wordIndex) const;
    // A file named by the script: absolute, or relative to the script's folder, then to the
    // resources folder, then to the output folder (where feed-generate writes).
    std::filesystem::path resolvePath(const Statement& s, const std::string& text) const;
    // A file the view may have written: absolute, or relative to the output folder.
    std::filesystem::path outputPath(const std::string& text) const;

    // Windows of the view.
    host::ui::Window* viewWindow(const Statement& s) const;
    // A control named "ID" or "WINDOW/ID" (WINDOW: "view" or a dialog's id). Null when there
    // is none; an unqualified id found in more than one window fails the line.
    headless::WindowCore* findControl(const Statement& s, const std::string& ref) const;
    headless::WindowCore* requireControl(const Statement& s, const std::string& ref) const;
    // "view" for the view's window tree, else the id of the top-level window holding the control.
    std::string windowNameOf(const headless::WindowCore& control) const;
    std::vector<headless::WindowCore*> allWindows() const; // view tree first, then other top-level windows
    headless::HeadlessSheet* findGrid(const Statement& s, std::size_t& index) const;
    host::ui::Window* keyTarget(const Statement& s, std::size_t from) const;

    // Conversions at the edge.
    static std::string in(const std::string& utf8);       // to code page 950
    static std::string out(const std::string& cp950Text); // to UTF-8

    // --- Setup statements (runner_setup.cpp) ---
    void doService(const Statement& s);
    void doQuoteService(const Statement& s);
    void doDateRange(const Statement& s);
    void doConnected(const Statement& s);
    void doAuth(const Statement& s);
    void doDelayed(const Statement& s);
    void doCategory(const Statement& s);
    void doCategories(const Statement& s);
    void doSymbol(const Statement& s);
    void doSymbolItem(const Statement& s);
    void doHeadline(const Statement& s);
    void doStory(const Statement& s);
    void doRelated(const Statement& s);
    void doTable(const Statement& s);
    void doLang(const Statement& s);
    void doLangFile(const Statement& s);
    void doSimplified(const Statement& s);
    void doConvert(const Statement& s);
    void doProductId(const Statement& s);
    void doIni(const Statement& s);
    void doSync(const Statement& s);
    void doSetting(const Statement& s);
    void doSettings(const Statement& s);
    void doClock(const Statement& s);
    void doView(const Statement& s);
    void doSaveView(const Statement& s);
    void doCloseView(const Statement& s);

    // --- Actions (runner_actions.cpp) ---
    void doPush(const Statement& s);
    void doAnswer(const Statement& s);
    void doRecover(const Statement& s);
    void doStoryUpdate(const Statement& s);
    void doMarketStatus(const Statement& s);
    void doLinkGroup(const Statement& s);
    void doSymbolChange(const Statement& s);
    void doConnect(const Statement& s);
    void doDisconnect(const Statement& s);
    void doClick(const Statement& s);
    void doSelect(const Statement& s);
    void doChoose(const Statement& s);
    void doDropdown(const Statement& s);
    void doCloseup(const Statement& s);
    void doPickDate(const Statement& s);
    void doType(const Statement& s);
    void doChars(const Statement& s);
    void doCheck(const Statement& s);
    void doDoubleClick(const Statement& s);
    void doRightClick(const Statement& s);
    void doFocus(const Statement& s);
    void doKey(const Statement& s);
    void doGrid(const Statement& s);
    void doContextMenu(const Statement& s);
    void doMenu(const Statement& s);
    void doCommand(const Statement& s);
    void doResize(const Statement& s);
    void doAdvance(const Statement& s);
    void doDrain(const Statement& s);
    void doMark(const Statement& s);
    // A tree item named by its index in display order or by its path of texts; 0 when none.
    int treeItem(const headless::HeadlessTreeCtrl& tree, const Word& item) const;
    // `modal ACTION` + block (runner_modal.cpp).
    void doModal(const Statement& s);

    // --- Story displays and dialogs (runner_story.cpp) ---
    void doTipMsg(const Statement& s);
    void doCloseDialog(const Statement& s);
    void doActivate(const Statement& s);
    void doShowStory(const Statement& s);
    std::vector<std::string> observeStory(const Statement& s, const std::vector<Word>& words) const;
    std::vector<std::string> observeDialog(const Statement& s, const std::vector<Word>& words) const;
    std::vector<std::string> observeTipMsg() const;
    std::vector<std::string> observeRichEditState(const headless::WindowCore& control) const;
    headless::WindowCore* findDialog(const Statement& s, const std::string& id) const;
    // --- The embedded back end (runner_embedded.cpp) ---
    void doBackend(const Statement& s);
    void doFeed(const Statement& s);
    void doFeedWait(const Statement& s);
    void doNewDay(const Statement& s);
    // Refuses statements meant for the other back end than the active one; remembers the first
    // statement that set up the scripted back end.
    void checkBackendFor(const Statement& s);
    // Runs the store worker's queue and the dispatcher until neither has anything left.
    void drainEmbedded();
    void shutDownEmbedded();
    std::vector<std::string> observeFeed() const;
    std::int64_t durationMs(const Statement& s, std::size_t index) const;

    // --- Recovery and colours (runner_recovery.cpp) ---
    void doFeedGenerate(const Statement& s);
    void doChangeCast(const Statement& s);
    void doRelationKeys(const Statement& s);
    std::vector<std::string> observeAllNewsAudit(const Statement& s) const;
    static std::string gridPalette(const headless::HeadlessSheet& grid);

    // --- Observations (runner_observe.cpp) ---
    void doPrint(const Statement& s);
    void doExpect(const Statement& s);
    // The lines an observation shows (UTF-8); words are the observation's words.
    std::vector<std::string> observe(const Statement& s, const std::vector<Word>& words) const;
    std::vector<std::string> observeGrid(const Statement& s, const std::vector<Word>& words) const;
    std::vector<std::string> observeControl(const Statement& s, const std::vector<Word>& words) const;
    std::vector<std::string> observeFile(const Statement& s, const std::vector<Word>& words) const;
    std::string describeControl(const headless::WindowCore& control) const;
    // --- Observations of printing and saving (runner_observe_output.cpp) ---
    std::vector<std::string> observePrinted(const Statement& s, const std::vector<Word>& words) const;
    std::vector<std::string> observeWaiting(const Statement& s, const std::vector<Word>& words) const;

    // --- Quotes (runner_quotes.cpp) ---
    void doQuote(const Statement& s);
    std::vector<std::string> observeQuoteList(const Statement& s, const std::vector<Word>& words) const;

    RunnerOptions m_options;
    std::ostream& m_out;
    std::ostream& m_err;
    std::unique_ptr<headless::HeadlessHost> m_host; // first of the world: outlives the view
    headless::ScriptedBackend m_backend;
    std::unique_ptr<embedded::EmbeddedBackend> m_embedded; // null while the scripted one serves
    int m_embeddedLine = 0;                                // line of `backend embedded`
    int m_scriptedSetupLine = 0;                           // first statement that set up the scripted back end
    std::string m_scriptedSetupName;
    std::vector<std::filesystem::path> m_languageFiles; // loaded by lang-file, in order
    std::string m_feedName;                             // the latest replay file; empty: none
    bool m_feedChecked = false;                         // its line errors were reported
    std::vector<std::string> m_storeErrors;             // reported by the store, not yet failed
    CfgFileStore m_store;
    std::unique_ptr<TRVVirtualBaseView> m_view;
    struct ViewInfo {
        std::string className;
        CString section;
        int layout1 = 0;
        int layout2 = 0;
        CString name;
    } m_viewInfo;
    std::filesystem::path m_work;
    std::filesystem::path m_sysDir;
    std::filesystem::path m_outDir;
    bool m_ownWork = false;
    std::string m_scriptName;
    std::filesystem::path m_scriptDir;
    int m_failures = 0;
    std::size_t m_callMark = 0;
    std::size_t m_dialogsSeen = 0;
    std::string m_lastKey = "none"; // how the last key-down was routed
};

} // namespace scenario
