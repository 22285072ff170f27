#include <fstream>
#include <sstream>

#include "apps/newsview-script/action_failure.h"
#include "apps/newsview-script/scenario_runner.h"
#include "host/framework/base_views.h"
#include "host/framework/runtime_class.h"
#include "host/framework/sync_info.h"
#include "host/text/format.h"
#include "news_view/news_ctrl_view.h"

namespace scenario {

namespace fs = std::filesystem;

namespace {
std::vector<std::string> splitList(const std::string& text) {
    std::vector<std::string> items;
    std::stringstream stream(text);
    std::string item;
    while (std::getline(stream, item, ',')) {
        if (!item.empty()) {
            items.push_back(item);
        }
    }
    return items;
}
} // namespace

fs::path ScenarioRunner::resolvePath(const Statement& s, const std::string& text) const {
    const fs::path path(text);
    if (path.is_absolute()) {
        return path;
    }
    for (const fs::path& base : {m_scriptDir, m_options.resourcesDir, m_outDir}) {
        if (!base.empty() && fs::exists(base / path)) {
            return base / path;
        }
    }
    scriptError(s, "cannot find '" + text + "' beside the script, in " + m_options.resourcesDir.string() +
                       " or in the output folder");
}

fs::path ScenarioRunner::outputPath(const std::string& text) const {
    const fs::path path(text);
    return path.is_absolute() ? path : m_outDir / path;
}

void ScenarioRunner::doService(const Statement& s) {
    const unsigned char id = serviceId(s, 1);
    const std::string date = option(s, 4, "date") ? dateArg(s, *option(s, 4, "date"))
                                                  : text::formatLocalTime("%Y%m%d", m_host->clock().now());
    m_backend.addService(id, in(word(s, 2)), in(word(s, 3)), date);
}

void ScenarioRunner::doQuoteService(const Statement& s) {
    m_backend.addQuoteService(serviceId(s, 1), in(word(s, 2)));
}

void ScenarioRunner::doDateRange(const Statement& s) {
    const long long days = number(s, 1);
    if (days < 0 || days > 255) {
        scriptError(s, "the date range is 0..255 days");
    }
    m_backend.setDateRange(static_cast<unsigned char>(days));
}

void ScenarioRunner::doConnected(const Statement& s) {
    m_backend.setConnected(yesNo(s, 1));
}

void ScenarioRunner::doAuth(const Statement& s) {
    m_backend.setAuthorized(serviceId(s, 1), yesNo(s, 2));
}

void ScenarioRunner::doDelayed(const Statement& s) {
    m_backend.setDelayedService(serviceId(s, 1), serviceId(s, 2));
}

void ScenarioRunner::doCategory(const Statement& s) {
    m_backend.addCategory(serviceId(s, 1), in(word(s, 2)), in(word(s, 3)));
}

void ScenarioRunner::doCategories(const Statement& s) {
    const unsigned char service = serviceId(s, 1);
    std::vector<std::pair<CString, CString>> categories;
    for (std::size_t i = 0; i < s.block.size(); ++i) {
        const std::vector<Word> words = splitWords(s.block[i], s.blockFirstLine + static_cast<int>(i));
        if (words.empty()) {
            continue;
        }
        if (words.size() != 2) {
            scriptError(s, "each category line is '<id> <name>' (line " +
                               std::to_string(s.blockFirstLine + static_cast<int>(i)) + ")");
        }
        categories.emplace_back(in(words[0].text), in(words[1].text));
    }
    m_backend.setCategories(service, categories);
}

void ScenarioRunner::doSymbol(const Statement& s) {
    const unsigned char service = serviceId(s, 1);
    const std::optional<std::string> category = option(s, 4, "category");
    int categoryValue = 0;
    if (category) {
        const Statement probe{s.line, s.text, {s.words.front(), Word{*category, false, 0}}, {}, 0};
        categoryValue = static_cast<int>(number(probe, 1));
    }
    m_backend.addSymbol(service, in(word(s, 2)), in(word(s, 3)), categoryValue,
                        in(option(s, 4, "commodity").value_or("")));
}

void ScenarioRunner::doSymbolItem(const Statement& s) {
    m_backend.setSymbolItem(serviceId(s, 1), in(word(s, 2)), static_cast<int>(number(s, 3)), in(restAfter(s, 3)));
}

void ScenarioRunner::doHeadline(const Statement& s) {
    int service = 0;
    int seq = 0;
    if (!parseHeadlineRef(word(s, 1), service, seq)) {
        scriptError(s, "'" + word(s, 1) + "' is not a headline reference (service#number, e.g. 1#12)");
    }
    const auto svc = static_cast<unsigned char>(service);
    const std::string date = option(s, 4, "date") ? dateArg(s, *option(s, 4, "date")) : currentDate(svc);
    CHeadline h;
    h.m_byService = svc;
    h.m_iSeqNo = seq;
    h.m_tTime = localTime(s, date, word(s, 2));
    h.m_strTitle = in(word(s, 3));
    if (const auto cat = option(s, 4, "cat")) {
        const Statement probe{s.line, s.text, {s.words.front(), Word{*cat, false, 0}}, {}, 0};
        h.m_iCategory = static_cast<std::int32_t>(number(probe, 1));
    }
    std::vector<CSymbolInfo> related;
    if (const auto symbols = option(s, 4, "symbols")) {
        for (const std::string& item : splitList(*symbols)) {
            related.push_back(symbolRef(s, item));
        }
    }
    const CHeadlineTable entry = m_backend.addHeadline(h, related);
    if (const auto story = option(s, 4, "story")) {
        m_backend.setStory(entry, in(*story));
    }
}

void ScenarioRunner::doStory(const Statement& s) {
    const CHeadlineTable entry = entryRef(s, word(s, 1));
    std::size_t next = 2;
    std::int64_t storyTime = 0;
    if (hasWord(s, 2) && word(s, 2) == "at") {
        storyTime = localTime(s, text::formatLocalTime("%Y%m%d", entry.m_tTime), word(s, 3));
        next = 4;
    }
    std::string body;
    if (!s.block.empty()) {
        // Indented lines are the body, joined with the transport's line ends.
        for (std::size_t i = 0; i < s.block.size(); ++i) {
            body += (i > 0 ? "\r\n" : "") + s.block[i];
        }
    } else if (word(s, next) == "paragraphs") {
        // A long story without writing it out: TEXT 1, TEXT 2, ... as paragraphs ("@@@@").
        const long long count = number(s, next + 1);
        if (count < 1 || count > 100000) {
            scriptError(s, "a story has 1 to 100000 paragraphs");
        }
        for (long long i = 1; i <= count; ++i) {
            body += (i > 1 ? "@@@@" : "") + word(s, next + 2) + std::to_string(i);
        }
    } else {
        body = word(s, next);
    }
    m_backend.setStory(entry, in(body), storyTime);
}

void ScenarioRunner::doRelated(const Statement& s) {
    const CHeadlineTable entry = entryRef(s, word(s, 1));
    std::vector<CSymbolInfo> symbols;
    for (std::size_t i = 2; i < s.words.size(); ++i) {
        for (const std::string& item : splitList(s.words[i].text)) {
            symbols.push_back(symbolRef(s, item));
        }
    }
    m_backend.setRelatedSymbols(entry, symbols);
}

void ScenarioRunner::doTable(const Statement& s) {
    const unsigned char service = serviceId(s, 1);
    const std::string& kind = word(s, 2);
    if (!hasWord(s, 4) || word(s, 4) != "=") {
        scriptError(s, "expected 'table <service> <kind> <key> = <headlines>'");
    }
    const std::vector<CHeadlineTable> entries = entryRefs(s, 5);
    if (kind == "date") {
        m_backend.setTable(service, BKQuoteInterface::kByDate, dateArg(s, word(s, 3)), entries);
    } else if (kind == "category") {
        m_backend.setTable(service, BKQuoteInterface::kByCategory, in(word(s, 3)), entries);
    } else if (kind == "symbol") {
        m_backend.setTable(service, BKQuoteInterface::kBySymbol, in(word(s, 3)), entries);
    } else if (kind == "search") {
        m_backend.setTable(service, static_cast<int>(number(s, 3)), "SEARCH", entries);
    } else {
        scriptError(s, "table kinds are date, category, symbol and search");
    }
}

void ScenarioRunner::doLang(const Statement& s) {
    m_backend.language().set(word(s, 1), in(restAfter(s, 1)));
}

void ScenarioRunner::doLangFile(const Statement& s) {
    std::string error;
    const fs::path path = resolvePath(s, word(s, 1));
    if (!m_backend.language().load(path.string(), &error)) {
        scriptError(s, error);
    }
    m_languageFiles.push_back(path); // `backend embedded` hands it to the embedded back end
}

void ScenarioRunner::doSimplified(const Statement& s) {
    m_backend.setSimplified(serviceId(s, 1), yesNo(s, 2));
}

void ScenarioRunner::doConvert(const Statement& s) {
    m_backend.addConversion(in(word(s, 1)), in(word(s, 2)));
}

void ScenarioRunner::doProductId(const Statement& s) {
    m_backend.setProductId(static_cast<int>(number(s, 1)));
}

void ScenarioRunner::doIni(const Statement& s) {
    const fs::path target = m_sysDir / word(s, 1);
    std::string content;
    if (hasWord(s, 2)) {
        if (word(s, 2) != "from" || !hasWord(s, 3)) {
            scriptError(s, "expected 'ini <name>' with indented lines, or 'ini <name> from <file>'");
        }
        std::ifstream source(resolvePath(s, word(s, 3)), std::ios::binary);
        std::ostringstream bytes;
        bytes << source.rdbuf();
        content = bytes.str(); // copied byte for byte: INI files are code page 950 already
    } else {
        for (const std::string& line : s.block) {
            content += in(line) + "\r\n";
        }
    }
    std::ofstream file(target, std::ios::binary | std::ios::trunc);
    file << content;
    if (!file) {
        scriptError(s, "cannot write " + target.string());
    }
}

void ScenarioRunner::doSync(const Statement& s) {
    CSyncInfo& sync = CSyncInfo::Get();
    const std::string& what = word(s, 1);
    if (what == "popup-position") {
        sync.setPopupWndPosition(static_cast<int>(number(s, 2)));
    } else if (what == "link-news") {
        sync.SYS_vSetIsLinkNews(yesNo(s, 2));
    } else if (what == "thin-bar") {
        sync.GetSettingCFG()->setThinBar(yesNo(s, 2));
    } else if (what == "symbol") {
        sync.setCurrentSymbol(static_cast<unsigned char>(number(s, 2)), serviceId(s, 3), in(word(s, 4)));
    } else if (what == "color") {
        unsigned r = 0;
        unsigned g = 0;
        unsigned b = 0;
        if (std::sscanf(word(s, 3).c_str(), "#%02x%02x%02x", &r, &g, &b) != 3 || word(s, 3).size() != 7) {
            scriptError(s, "colours are written #RRGGBB");
        }
        sync.setOtherColor(word(s, 2), host::ui::RGB(static_cast<std::uint8_t>(r), static_cast<std::uint8_t>(g),
                                                     static_cast<std::uint8_t>(b)));
    } else {
        scriptError(s, "sync settings are popup-position, link-news, thin-bar, symbol and color");
    }
}

void ScenarioRunner::doSetting(const Statement& s) {
    if (!hasWord(s, 6) || word(s, 6) != "=") {
        scriptError(s, "expected 'setting <section> <layout1> <layout2> <viewKey> <key> = <value>'");
    }
    m_store.SetViewInfo(in(word(s, 1)), static_cast<int>(number(s, 2)), static_cast<int>(number(s, 3)), in(word(s, 4)),
                        in(word(s, 5)), in(restAfter(s, 6)));
}

void ScenarioRunner::doSettings(const Statement& s) {
    const std::string& what = word(s, 1);
    if (what == "clear") {
        m_store.clear();
    } else if (what == "save") {
        std::string error;
        if (!m_store.save(outputPath(word(s, 2)).string(), &error)) {
            throw ActionFailure(error);
        }
    } else if (what == "load") {
        const fs::path path = fs::exists(outputPath(word(s, 2))) ? outputPath(word(s, 2)) : resolvePath(s, word(s, 2));
        const CfgFileStore::LoadResult result = m_store.load(path.string());
        if (!result.ok()) {
            throw ActionFailure(result.error);
        }
    } else {
        scriptError(s, "expected 'settings load|save <file>' or 'settings clear'");
    }
}

void ScenarioRunner::doClock(const Statement& s) {
    const std::int64_t target = localTime(s, dateArg(s, word(s, 1)), word(s, 2)) * 1000;
    if (target < m_host->clock().nowMs()) {
        scriptError(s, "the clock only moves forward");
    }
    m_host->clock().advanceTo(target);
}

void ScenarioRunner::doView(const Statement& s) {
    if (m_view) {
        scriptError(s, "a view exists already ('close-view' first)");
    }
    const std::string& className = word(s, 1);
    std::unique_ptr<TRVVirtualBaseView> view = RuntimeClassRegistry::instance().create(className);
    if (!view) {
        std::string known;
        for (const std::string& name : RuntimeClassRegistry::instance().classNames()) {
            known += " " + name;
        }
        scriptError(s, "no view class '" + className + "' is registered; known:" + known);
    }
    int width = 800;
    int height = 600;
    if (const auto size = option(s, 2, "size")) {
        if (std::sscanf(size->c_str(), "%dx%d", &width, &height) != 2 || width <= 0 || height <= 0) {
            scriptError(s, "sizes are written WIDTHxHEIGHT, e.g. 800x600");
        }
    }
    m_viewInfo.className = className;
    m_viewInfo.section = in(option(s, 2, "section").value_or("NewsView"));
    m_viewInfo.name = in(option(s, 2, "name").value_or(className));
    for (std::size_t i = 2; i + 2 < s.words.size(); ++i) {
        if (s.words[i].text == "layout") {
            m_viewInfo.layout1 = static_cast<int>(number(s, i + 1));
            m_viewInfo.layout2 = static_cast<int>(number(s, i + 2));
        }
    }
    const int id = option(s, 2, "id") ? std::stoi(*option(s, 2, "id")) : 1;
    // The host's order: window, initial update, then the saved settings.
    if (!view->Create(nullptr, host::ui::Rect{0, 0, width, height}, id)) {
        throw ActionFailure("the view's window could not be created");
    }
    // A news view takes its enabled-function mask and news type from its host before start-up.
    if (auto* newsView = dynamic_cast<TRVNewsCtrlView*>(view.get())) {
        for (std::size_t i = 2; i + 1 < s.words.size(); ++i) {
            if (s.words[i].text == "mask") {
                newsView->SetFunctionMask(static_cast<unsigned>(number(s, i + 1)));
            } else if (s.words[i].text == "news-type") {
                newsView->vSetNewsType(static_cast<int>(number(s, i + 1)));
            }
        }
    }
    m_view = std::move(view);
    m_view->OnInitialUpdate();
    m_view->InitialViewInfo(&m_store, m_viewInfo.section, m_viewInfo.layout1, m_viewInfo.layout2, m_viewInfo.name);
}

void ScenarioRunner::doSaveView(const Statement& s) {
    viewWindow(s);
    m_view->SaveViewInfo(&m_store, m_viewInfo.section, m_viewInfo.layout1, m_viewInfo.layout2);
}

void ScenarioRunner::doCloseView(const Statement& s) {
    viewWindow(s);
    destroyView();
}

} // namespace scenario
