// The runner on the embedded back end: `backend embedded` replaces the scripted back end with
// the real one (its store in the run's work folder, the headless dispatcher, the virtual clock
// as "now"), `feed` replays recorded news into it, and `feed-wait` / `drain` wait until the
// news reached the view. Statements meant for the other back end than the active one are
// refused, so a script cannot quietly set up content nobody reads.
#include <charconv>
#include <chrono>
#include <map>
#include <set>

#include "apps/newsview-script/action_failure.h"
#include "apps/newsview-script/scenario_runner.h"
#include "embedded_backend/embedded_backend.h"
#include "host/backend/search_control.h"

namespace scenario {

namespace fs = std::filesystem;

namespace {

// How long `feed-wait` waits for a replay by default; replays at speed 0 take milliseconds.
constexpr std::int64_t kDefaultFeedWaitMs = 10000;
// Rounds of store answers and dispatched work before a drain gives up: work that keeps
// re-posting itself must not hang a run.
constexpr int kMaxDrainRounds = 1000;

// Statements that declare content of the scripted back end or answer requests in its place.
const std::set<std::string> kScriptedStatements = {
    "service",       "quote-service", "date-range",  "connected",  "auth",  "delayed", "category",
    "categories",    "symbol",        "symbol-item", "headline",   "story", "related", "table",
    "lang",          "simplified",    "convert",     "product-id", "push",  "recover", "story-update",
    "market-status", "mark",          "quote",       "quote-push"};
const std::set<std::string> kScriptedAnswers = {"story", "headlines", "search"};
const std::set<std::string> kScriptedObservations = {"calls", "call-count", "pending"};
const std::set<std::string> kEmbeddedStatements = {"feed", "feed-wait", "new-day"};

// What does the same work on the embedded back end, where there is such a way.
const std::map<std::string, std::string> kEmbeddedWay = {
    {"headline", "news comes from a replay file: 'feed FILE'"},
    {"push", "news comes from a replay file: 'feed FILE'"},
    {"story", "stories come from a replay file: 'feed FILE'"},
    {"market-status", "a new news day is 'new-day SERVICE'"},
    {"connected", "use 'disconnect' after 'backend embedded'"},
    {"lang", "put the texts in the 'lang-file' loaded before 'backend embedded'"},
};

bool isObservation(const std::string& name) {
    return name == "expect" || name == "print";
}

std::string secondWord(const Statement& s) {
    return s.words.size() > 1 ? s.words[1].text : std::string{};
}

// How the statement uses the scripted back end ("push", "answer story", "expect calls"), or
// empty when it does not.
std::string scriptedUse(const Statement& s) {
    const std::string& name = s.words.front().text;
    const std::string second = secondWord(s);
    if (kScriptedStatements.count(name) > 0) {
        return name;
    }
    if ((name == "answer" && kScriptedAnswers.count(second) > 0) ||
        (isObservation(name) && kScriptedObservations.count(second) > 0)) {
        return name + " " + second;
    }
    return {};
}

bool needsEmbedded(const Statement& s) {
    const std::string& name = s.words.front().text;
    return kEmbeddedStatements.count(name) > 0 || (isObservation(name) && secondWord(s) == "feed");
}

} // namespace

void ScenarioRunner::checkBackendFor(const Statement& s) {
    const std::string& name = s.words.front().text;
    const std::string scripted = scriptedUse(s);
    const std::string since = " (line " + std::to_string(m_embeddedLine) + ")";
    if (m_embedded) {
        if (!scripted.empty()) {
            std::string message = "'" + scripted + "' is for the scripted back end, but the embedded one runs" + since;
            if (const auto way = kEmbeddedWay.find(name); way != kEmbeddedWay.end()) {
                message += "; " + way->second;
            }
            scriptError(s, message);
        }
        // Both files are read once, when the back end starts.
        if (name == "lang-file" || (name == "ini" && secondWord(s) == "NewsService.ini")) {
            scriptError(s, "the embedded back end read its " +
                               std::string(name == "ini" ? "NewsService.ini" : "language file") + " when it started" +
                               since + ": put '" + name + "' before 'backend embedded'");
        }
        return;
    }
    if (needsEmbedded(s)) {
        scriptError(s, "'" + (isObservation(name) ? name + " " + secondWord(s) : name) +
                           "' needs the embedded back end: start it with 'backend embedded' before 'view'");
    }
    if (!scripted.empty() && m_scriptedSetupLine == 0) {
        m_scriptedSetupLine = s.line;
        m_scriptedSetupName = scripted;
    }
}

void ScenarioRunner::doBackend(const Statement& s) {
    const std::string& kind = word(s, 1);
    if (kind == "scripted") {
        if (m_embedded) {
            scriptError(s, "the embedded back end runs since line " + std::to_string(m_embeddedLine) +
                               "; a script runs on one back end");
        }
        if (hasWord(s, 2)) {
            scriptError(s, "'backend scripted' takes no options");
        }
        return; // the default
    }
    if (kind != "embedded") {
        scriptError(s, "the back ends are 'scripted' (the default) and 'embedded'");
    }
    if (m_embedded) {
        scriptError(s, "the embedded back end runs already (line " + std::to_string(m_embeddedLine) + ")");
    }
    if (!m_viewInfo.className.empty()) {
        scriptError(s, "'backend embedded' must come before 'view'");
    }
    if (m_scriptedSetupLine != 0) {
        scriptError(s, "line " + std::to_string(m_scriptedSetupLine) + " ('" + m_scriptedSetupName +
                           "') is for the scripted back end; 'backend embedded' must come before it");
    }
    if (m_languageFiles.size() > 1) {
        scriptError(s, "the embedded back end reads one language file, but 'lang-file' loaded " +
                           std::to_string(m_languageFiles.size()));
    }
    int days = embedded::EmbeddedBackendOptions{}.daysToKeep;
    for (std::size_t i = 2; i < s.words.size(); i += 2) {
        if (word(s, i) != "days") {
            scriptError(s, "'backend embedded' takes only 'days N'");
        }
        const long long value = number(s, i + 1);
        if (value < 1 || value > 256) {
            scriptError(s, "the back end keeps 1..256 days");
        }
        days = static_cast<int>(value);
    }

    // A store of this run only: a kept work folder must not hand its news to the next run.
    const fs::path dataFolder = m_work / "store";
    std::error_code ec;
    fs::remove_all(dataFolder, ec);
    fs::create_directories(dataFolder, ec);
    if (ec) {
        throw ActionFailure("cannot create " + dataFolder.string() + ": " + ec.message());
    }
    embedded::EmbeddedBackendOptions options;
    options.dataFolder = dataFolder.string();
    options.daysToKeep = days;
    options.systemPath = m_sysDir.string();
    options.languageFile = m_languageFiles.empty() ? std::string{} : m_languageFiles.back().string();
    options.dispatcher = &m_host->dispatcher();
    options.clock = &m_host->clock();
    // Reported through the dispatcher; the next drain fails with it.
    options.onStoreError = [this](const std::string& error) { m_storeErrors.push_back(error); };
    m_embedded = std::make_unique<embedded::EmbeddedBackend>(std::move(options));
    m_embeddedLine = s.line;
    m_backend.uninstall();
    BKQuoteInterface::SetBKInterface(m_embedded.get());
    SearchControl::SetSearchObjInterface(m_embedded.get());
    // The current news day of every service is the clock's day (the store is empty).
    const embedded::StoreOpenResult opened = m_embedded->open();
    drainEmbedded();
    if (!opened.ok()) {
        throw ActionFailure("the news store did not open: " + opened.message);
    }
}

void ScenarioRunner::shutDownEmbedded() {
    if (!m_embedded) {
        return;
    }
    if (BKQuoteInterface::GetBKInterface() == m_embedded.get()) {
        BKQuoteInterface::SetBKInterface(nullptr);
    }
    if (SearchControl::GetSearchObjInterface() == m_embedded.get()) {
        SearchControl::SetSearchObjInterface(nullptr);
    }
    // Stops the replay and joins its thread, writes what is queued and joins the store worker.
    // Work still in the dispatcher holds the back end weakly and is skipped.
    m_embedded->shutdown();
    m_embedded.reset();
}

void ScenarioRunner::drainEmbedded() {
    for (int round = 0;; ++round) {
        if (round == kMaxDrainRounds) {
            throw ActionFailure("the back end and the view were still busy after " + std::to_string(kMaxDrainRounds) +
                                " rounds");
        }
        // The store worker posts its answers to the dispatcher before flushStore returns; what
        // the view asks while the dispatcher runs goes to the worker for the next round.
        m_embedded->flushStore();
        const std::size_t ran = m_host->dispatcher().drain();
        const int delivered = m_host->ui().pumpMessages();
        if (ran == 0 && delivered == 0) {
            break;
        }
    }
    if (!m_storeErrors.empty()) {
        std::string message = "the news store failed:";
        for (const std::string& error : m_storeErrors) {
            message += " " + error;
        }
        m_storeErrors.clear();
        throw ActionFailure(message);
    }
}

namespace {

// The bad lines of a replay, one failure message; empty when every line was used.
std::string replayErrors(const std::string& name, const embedded::ReplayReport& report) {
    std::string message;
    for (const embedded::ReplayLineError& e : report.errors) {
        message += (message.empty() ? "" : "; ") + name + ":" + std::to_string(e.line) + ": " + e.message;
    }
    return message.empty() ? message : "the replay skipped bad lines: " + message;
}

} // namespace

void ScenarioRunner::doFeed(const Statement& s) {
    const fs::path path = resolvePath(s, word(s, 1));
    double speed = 0;
    for (std::size_t i = 2; i < s.words.size(); i += 2) {
        const std::string& value = word(s, i + 1);
        const auto [end, ec] = std::from_chars(value.data(), value.data() + value.size(), speed);
        if (word(s, i) != "speed" || ec != std::errc{} || end != value.data() + value.size() || speed < 0) {
            scriptError(s, "'feed' takes only 'speed N' (0: as fast as possible, 1: real time)");
        }
    }
    // Files replay one after the other; a new replay would cut the running one short.
    std::string earlierErrors;
    if (!m_feedName.empty()) {
        if (!m_embedded->waitReplayFinished(std::chrono::milliseconds(kDefaultFeedWaitMs))) {
            throw ActionFailure("the replay of " + m_feedName + " still runs ('feed-wait' first)");
        }
        if (!m_feedChecked) {
            earlierErrors = replayErrors(m_feedName, m_embedded->replayReport());
        }
    }
    embedded::ReplayOptions options;
    options.path = path.string();
    options.speed = speed;
    std::string error;
    if (!m_embedded->startReplay(std::move(options), &error)) {
        throw ActionFailure(error);
    }
    m_feedName = word(s, 1);
    m_feedChecked = false;
    if (!earlierErrors.empty()) {
        throw ActionFailure(earlierErrors);
    }
}

void ScenarioRunner::doFeedWait(const Statement& s) {
    const std::int64_t bound = hasWord(s, 1) ? durationMs(s, 1) : kDefaultFeedWaitMs;
    if (m_feedName.empty()) {
        scriptError(s, "there is no replay to wait for ('feed FILE' first)");
    }
    if (!m_embedded->waitReplayFinished(std::chrono::milliseconds(bound))) {
        throw ActionFailure("the replay of " + m_feedName + " had not finished after " + std::to_string(bound) + "ms");
    }
    // The replay handed every event to the ingest, which posted them; deliver them all.
    drainEmbedded();
    if (!m_feedChecked) {
        m_feedChecked = true;
        const std::string errors = replayErrors(m_feedName, m_embedded->replayReport());
        if (!errors.empty()) {
            throw ActionFailure(errors);
        }
    }
}

void ScenarioRunner::doNewDay(const Statement& s) {
    m_embedded->startNewDay(serviceId(s, 1));
    drainEmbedded();
}

std::vector<std::string> ScenarioRunner::observeFeed() const {
    std::vector<std::string> lines;
    if (m_feedName.empty()) {
        lines.emplace_back("replay none");
    } else {
        const embedded::ReplayReport report = m_embedded->replayReport();
        lines.push_back("replay " + m_feedName + " lines " + std::to_string(report.lines) + " events " +
                        std::to_string(report.events) + " errors " + std::to_string(report.errors.size()) +
                        (report.finished ? " finished" : " running"));
        for (const embedded::ReplayLineError& e : report.errors) {
            lines.push_back("error line " + std::to_string(e.line) + ": " + e.message);
        }
    }
    const embedded::Ingest::Stats stats = m_embedded->ingestStats();
    lines.push_back("ingest accepted " + std::to_string(stats.accepted) + " rejected " +
                    std::to_string(stats.rejected) + " held " + std::to_string(stats.held));
    lines.push_back("recovery lost " + std::to_string(stats.lost) + " recovered " + std::to_string(stats.recovered) +
                    " gaps " + std::to_string(stats.gaps));
    lines.push_back("cache headlines " + std::to_string(m_embedded->cachedHeadlines()));
    return lines;
}

std::int64_t ScenarioRunner::durationMs(const Statement& s, std::size_t index) const {
    static const std::map<std::string, std::int64_t> kUnits = {{"ms", 1}, {"s", 1000}, {"m", 60000}, {"h", 3600000}};
    const std::string& text = word(s, index);
    std::int64_t amount = 0;
    const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), amount);
    const auto unit = kUnits.find(std::string(end, text.data() + text.size()));
    if (ec != std::errc{} || end == text.data() || amount < 0 || unit == kUnits.end() ||
        amount > std::int64_t{24} * 3600000 / unit->second) {
        scriptError(s, "durations are written like 100ms, 2s, 5m or 1h");
    }
    return amount * unit->second;
}

} // namespace scenario
