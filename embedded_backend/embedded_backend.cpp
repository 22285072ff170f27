// Life cycle, feeds and the asynchronous requests of the embedded back end.
#include "embedded_backend/embedded_backend.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <future>
#include <mutex>
#include <utility>

#if defined(__GLIBC__)
#include <malloc.h>
#endif

#include "embedded_backend/arena_headroom.h"
#include "embedded_backend/day_math.h"
#include "embedded_backend/store_worker.h"
#include "embedded_backend/ui_state.h"
#include "host/backend/subscriptions.h"
#include "host/backend/ui_dispatcher.h"
#include "host/framework/clock.h"

namespace embedded {

namespace {

class SystemClock final : public host::Clock {
public:
    std::int64_t nowMs() const override {
        return std::chrono::duration_cast<std::chrono::milliseconds>(
                   std::chrono::system_clock::now().time_since_epoch())
            .count();
    }
};

// Posts work for the UI state; it is skipped when the back end is gone by the time it runs.
void postToUi(UiDispatcher* dispatcher, const std::weak_ptr<UiState>& ui, std::function<void(UiState&)> work) {
    if (dispatcher == nullptr) {
        return;
    }
    dispatcher->post([ui, work = std::move(work)] {
        keepArenaHeadroom(); // the UI thread's cache grows with every headline
        if (const std::shared_ptr<UiState> state = ui.lock()) {
            work(*state);
        }
    });
}

// glibc keeps small freed blocks in per-size "fast bins" and sweeps them all into its free
// lists whenever a large block is freed or asked for. A busy feed frees thousands of small
// blocks per read (a server reply's fields, the events' texts) between large ones (the read
// buffer, a batch's vectors), so that sweep ran on every read and took about a third of the
// feed's CPU. Without fast bins a freed block is merged at once (the per-thread cache still
// serves the smallest sizes). Process-wide, set once: the back end is the process's main
// allocator of short-lived blocks in every host that runs it.
// Two more settings keep one thread from stalling another:
// - glibc shares its arenas (each with its own lock) between threads once it has made eight
//   per core. The store's writer runs at a low priority; a writer put aside while holding an
//   arena lock stalled the feed sharing that arena (with 20 back ends in a process, 1.4 s of
//   lock waits per second of feed). Enough arenas give each thread its own (and the writer
//   frees nothing from another thread's arena).
// - Freed memory at the top of an arena goes back to the system past a threshold, and comes
//   back page by page, each time changing the process's address space under a lock that every
//   thread's page faults take. A fixed, larger threshold keeps what a steady feed reuses (and
//   fixes the size above which blocks are mapped on their own, which would otherwise follow
//   the largest block freed).

void tuneAllocator() {
#if defined(__GLIBC__)
    static std::once_flag once;
    std::call_once(once, [] {
        mallopt(M_MXFAST, 0);
        mallopt(M_ARENA_MAX, 128);
        mallopt(M_MMAP_THRESHOLD, 32 << 20);
        mallopt(M_TRIM_THRESHOLD, 64 << 20);
    });
#endif
}

} // namespace

EmbeddedBackend::EmbeddedBackend(EmbeddedBackendOptions options)
    : m_options(std::move(options)), m_systemClock(std::make_unique<SystemClock>()), m_ui(std::make_shared<UiState>()),
      m_worker(std::make_unique<StoreWorker>(StoreWorker::Options{m_options.storeCommitWindow, 20000,
                                                                  m_options.storeNiceIncrement, m_options.storeIdle})) {
    tuneAllocator();
    m_options.daysToKeep = std::max(1, m_options.daysToKeep);
    m_ui->subscriptions = m_options.subscriptions != nullptr ? m_options.subscriptions : &NewsSubscriptions::instance();
    m_ui->connected = m_options.startConnected;
    m_ui->cache.setTableDepth(m_options.tableDepth);
    m_ui->onStoreError = m_options.onStoreError;
    m_ui->onNewsDay = m_options.onNewsDay;
    m_ui->onRecovered = m_options.onRecovered;
    m_ui->catalog.loadBuiltIn();
    if (!m_options.systemPath.empty()) {
        m_ui->catalog.loadIni((std::filesystem::path(m_options.systemPath) / "NewsService.ini").string());
    }
    openQuoteBook();
    if (!m_options.languageFile.empty()) {
        m_ui->language.load(m_options.languageFile);
    }

    UiDispatcher* dispatcher = m_options.dispatcher;
    const std::weak_ptr<UiState> ui = m_ui;
    StoreWorker* worker = m_worker.get();
    m_ingest = std::make_unique<Ingest>(
        m_options.daysToKeep,
        [dispatcher, ui](std::shared_ptr<const NewsBatch> batch) {
            keepArenaHeadroom(); // on the feed's thread, whose batches wait for the store
            postToUi(dispatcher, ui, [batch = std::move(batch)](UiState& state) { state.apply(*batch); });
        },
        [worker](std::shared_ptr<const NewsBatch> batch) { worker->write(std::move(batch)); }, m_options.heldLimit);
    m_ingest->restore({}, m_options.startConnected);
    m_worker->setErrorHandler([dispatcher, ui](const std::string& error) {
        postToUi(dispatcher, ui, [error](UiState& state) {
            state.storeError = error;
            if (state.onStoreError) {
                state.onStoreError(error);
            }
        });
    });
    m_worker->start();
}

EmbeddedBackend::~EmbeddedBackend() {
    shutdown();
}

std::int64_t EmbeddedBackend::now() const {
    return (m_options.clock != nullptr ? m_options.clock : m_systemClock.get())->now();
}

StoreOpenResult EmbeddedBackend::open(OpenMode mode) {
    StoreOpenResult result;
    if (m_shutDown) {
        result.status = StoreStatus::Unavailable;
        result.message = "The news back end has been shut down.";
        return result;
    }
    if (m_opened) {
        return result;
    }
    const std::string path = (std::filesystem::path(m_options.dataFolder) / m_options.storeFileName).string();
    const std::int64_t at = now();
    const int today = localDayOf(at);
    const int days = m_options.daysToKeep;
    LoadedNews loaded;
    // The store is opened and read on its worker, like every other store access; the UI
    // thread waits this once, before any view exists.
    std::promise<void> done;
    m_worker->post([&](NewsStore& store) {
        result = store.open(path, mode, at);
        if (result.ok() && !store.load(days, today, loaded)) {
            result.status = store.damaged() ? StoreStatus::Damaged : StoreStatus::Unavailable;
            result.message = "The news store " + path + " cannot be read (" + store.lastError() + ").";
            store.close();
        }
        done.set_value();
    });
    done.get_future().wait();
    if (!result.ok()) {
        return result;
    }
    m_opened = true;
    m_streamPositions = loaded.streamPositions;

    // The start sets every service's day: the stored one, or today when that is later.
    std::map<unsigned char, int> currentDays = loaded.currentDays;
    for (const unsigned char service : m_ui->catalog.serviceIds()) {
        currentDays.emplace(service, today);
    }
    UiState& ui = *m_ui;
    ui.cache = NewsCache{};
    for (const CategoryRecord& c : loaded.categories) {
        ui.catalog.addCategory(c.service, c.id, c.name);
    }
    for (const HeadlineRecord& h : loaded.headlines) {
        ui.catalog.addService(h.service);
        for (const CSymbolInfo& s : h.symbols) {
            ui.catalog.addSymbol(h.service, s.m_strCode, s.m_strName);
        }
    }
    ui.cache.load(std::move(loaded.headlines), loaded.stories, currentDays);
    m_ingest->restore(currentDays, ui.connected);

    // Record the days and drop what fell out of the kept range, on the worker.
    auto batch = std::make_shared<NewsBatch>();
    for (const auto& [service, day] : currentDays) {
        batch->changes.emplace_back(DayChange{service, day, m_ingest->keepFrom(day)});
    }
    m_worker->write(std::move(batch));
    return result;
}

void EmbeddedBackend::shutdown() {
    if (m_shutDown) {
        return;
    }
    m_shutDown = true;
    m_streamFeed.stop();
    m_replay.stop();
    m_generator.stop();
    m_quoteFeed.stop();
    m_ingest->releaseHeldToStore();
    m_worker->flush();
    m_worker->stop();
}

namespace {

FeedEvent controlEvent(FeedEventKind kind, unsigned char service, std::int64_t time) {
    FeedEvent e;
    e.kind = kind;
    e.service = service;
    e.time = time;
    return e;
}

} // namespace

// The toolbar's link and day controls travel with the news, so they take effect in order.
void EmbeddedBackend::connect() {
    ingest({controlEvent(FeedEventKind::Reconnect, 0, now())});
}

void EmbeddedBackend::disconnect() {
    ingest({controlEvent(FeedEventKind::Disconnect, 0, now())});
}

void EmbeddedBackend::startNewDay(unsigned char service, int day) {
    FeedEvent e = controlEvent(FeedEventKind::NewDay, service, now());
    e.day = day;
    ingest({std::move(e)});
}

bool EmbeddedBackend::setLanguageFile(const std::string& path) {
    LanguageTable fresh;
    if (!fresh.load(path)) {
        return false;
    }
    m_ui->language = std::move(fresh);
    m_options.languageFile = path;
    return true;
}

void EmbeddedBackend::ingest(std::vector<FeedEvent> events) {
    if (m_shutDown) {
        return;
    }
    if (std::none_of(events.begin(), events.end(), [](const FeedEvent& e) { return e.kind == FeedEventKind::Quote; })) {
        m_ingest->submit(std::move(events)); // news alone, the usual case: handed on whole
        return;
    }
    // Trades go to the quote book, news to the ingest; runs keep the order of the feed.
    std::vector<FeedEvent> news;
    std::vector<QuoteTick> quotes;
    for (FeedEvent& e : events) {
        if (e.kind == FeedEventKind::Quote) {
            if (!news.empty()) {
                m_ingest->submit(std::exchange(news, {}));
            }
            quotes.push_back(std::move(e.quote));
        } else {
            if (!quotes.empty()) {
                ingestQuotes(std::exchange(quotes, {}));
            }
            news.push_back(std::move(e));
        }
    }
    if (!news.empty()) {
        m_ingest->submit(std::move(news));
    }
    if (!quotes.empty()) {
        ingestQuotes(std::move(quotes));
    }
}

bool EmbeddedBackend::startReplay(ReplayOptions options, std::string* error) {
    if (m_shutDown) {
        return false;
    }
    if (options.baseTime == 0) {
        options.baseTime = now();
    }
    Ingest* target = m_ingest.get();
    return m_replay.start(
        std::move(options), [target](std::vector<FeedEvent> events) { target->submit(std::move(events)); }, error);
}

void EmbeddedBackend::stopReplay() {
    m_replay.stop();
}

bool EmbeddedBackend::waitReplayFinished(std::chrono::milliseconds timeout) {
    return m_replay.waitFinished(timeout);
}

ReplayReport EmbeddedBackend::replayReport() const {
    return m_replay.report();
}

void EmbeddedBackend::startGenerator(GeneratorFeedOptions options) {
    if (m_shutDown) {
        return;
    }
    if (options.generator.startTime == 0) {
        options.generator.startTime = now();
    }
    // The generator goes on where the news of the current day stopped: on the latest day any
    // service is on, after the highest number each service used that day.
    if (options.generator.startDay == 0) {
        for (const auto& [service, day] : m_ui->cache.currentDays()) {
            options.generator.startDay = std::max(options.generator.startDay, day);
        }
    }
    if (options.generator.lastSeq.empty()) {
        for (const auto& [service, day] : m_ui->cache.currentDays()) {
            if (day != options.generator.startDay) {
                continue;
            }
            std::vector<CHeadlineTable> entries;
            m_ui->cache.dateTable(service, day, entries);
            std::int32_t last = 0;
            for (const CHeadlineTable& e : entries) {
                last = std::max(last, e.m_iSeqNo);
            }
            options.generator.lastSeq[service] = last;
        }
    }
    if (!options.now && options.eventsPerSecond > 0) {
        options.now = [this] { return now(); };
    }
    Ingest* target = m_ingest.get();
    m_generator.start(std::move(options),
                      [target](std::vector<FeedEvent> events) { target->submit(std::move(events)); });
}

void EmbeddedBackend::startStreamFeed(StreamFeedOptions options) {
    if (m_shutDown) {
        return;
    }
    if (options.services.empty()) {
        options.services = m_ui->catalog.serviceIds();
    }
    if (options.positions.empty()) {
        options.positions = m_streamPositions;
    }
    options.startConnected = m_ui->connected;
    // Catching up, each read waits for the store to write the ones before: a long backlog
    // flows through in parts instead of piling up in the worker's queue.
    StoreWorker* worker = m_worker.get();
    options.settle = [worker] { worker->flush(); };
    // The ingest of the back end: trades to the quote book, news (and bookmarks) to the ingest.
    m_streamFeed.start(std::move(options), [this](std::vector<FeedEvent> events) { ingest(std::move(events)); });
}

void EmbeddedBackend::stopStreamFeed() {
    m_streamFeed.stop();
}

StreamFeed::Stats EmbeddedBackend::streamFeedStats() const {
    return m_streamFeed.stats();
}

void EmbeddedBackend::stopGenerator() {
    m_generator.stop();
}

bool EmbeddedBackend::waitGeneratorFinished(std::chrono::milliseconds timeout) {
    return m_generator.waitFinished(timeout);
}

void EmbeddedBackend::flushStore() {
    m_worker->flush();
}

std::string EmbeddedBackend::storeError() const {
    return m_worker->lastError();
}

Ingest::Stats EmbeddedBackend::ingestStats() const {
    return m_ingest->stats();
}

std::size_t EmbeddedBackend::cachedHeadlines() const {
    return m_ui->cache.size();
}

void EmbeddedBackend::answerInOrder(std::function<void(UiState&)> work) {
    UiDispatcher* dispatcher = m_options.dispatcher;
    std::weak_ptr<UiState> ui = m_ui;
    m_worker->post([dispatcher, ui = std::move(ui), work = std::move(work)](NewsStore&) mutable {
        postToUi(dispatcher, ui, std::move(work));
    });
}

bool EmbeddedBackend::BKQNEWS_bSearchNews(unsigned char service, int kind, const CSearch& condition) {
    if ((kind != kSearch && kind != kSecondSearch) || m_ui->catalog.service(service) == nullptr || m_shutDown) {
        return false;
    }
    SearchRequest request;
    request.service = service;
    for (const CString& keyword : condition.m_vKeywords) {
        if (!keyword.empty()) {
            request.keywords.push_back(keyword);
        }
    }
    if (request.keywords.empty()) {
        return false;
    }
    request.scope = condition.m_byScope;
    request.matchAll = condition.m_byMethod != CSearch::kMethodOr;
    request.symbols = condition.m_vSymbols;
    request.limit = m_options.maxSearchResults;
    // The results of an earlier search must not pass for this one's while it runs.
    m_ui->cache.setSearchResults(service, kind, {});
    UiDispatcher* dispatcher = m_options.dispatcher;
    std::weak_ptr<UiState> ui = m_ui;
    m_worker->post([dispatcher, ui = std::move(ui), request = std::move(request), condition, kind](NewsStore& store) {
        std::vector<CHeadlineTable> entries;
        if (store.isOpen() && !store.search(request, entries)) {
            entries.clear(); // answered empty: the view stops waiting either way
        }
        postToUi(dispatcher, ui,
                 [service = request.service, kind, condition, entries = std::move(entries)](UiState& state) mutable {
                     state.answerSearch(service, kind, condition, std::move(entries));
                 });
    });
    return true;
}

bool EmbeddedBackend::BKNEWS_bReRequestHeadlineTable(unsigned char service, const CSymbolInfo& symbol) {
    if (symbol.m_strCode.empty() || m_ui->catalog.service(service) == nullptr || m_shutDown) {
        return false;
    }
    answerInOrder([service, code = symbol.m_strCode](UiState& state) {
        std::vector<CHeadlineTable> entries;
        state.cache.symbolTable(service, code, entries);
        const CHeadlineTableInfo info{service, static_cast<signed char>(entries.empty() ? -1 : 0), code};
        state.toAll([&](NewsReceiver& r) { r.vRecvSymHeadlineTableRecovery(&info); });
        if (!entries.empty()) {
            state.toAll([&](NewsReceiver& r) { r.RespHeadLine(entries); });
        }
    });
    return true;
}

bool EmbeddedBackend::BKNEWS_bReRequestHeadlineTable(unsigned char service, int kind, const CString& key) {
    if (m_ui->catalog.service(service) == nullptr || m_shutDown) {
        return false;
    }
    if (kind == kByDate) {
        const std::optional<int> day = parseDayText(key);
        if (!day) {
            return false;
        }
        answerInOrder([service, day = *day, key](UiState& state) {
            std::vector<CHeadlineTable> entries;
            state.cache.dateTable(service, day, entries);
            const CHeadlineTableInfo info{service, static_cast<signed char>(entries.empty() ? -1 : 0), key};
            state.toAll([&](NewsReceiver& r) { r.vRecvAllHeadlineTableRecovery(&info); });
            if (!entries.empty()) {
                state.toAll([&](NewsReceiver& r) { r.RespHeadLine(entries); });
            }
        });
        return true;
    }
    if (kind == kByCategory) {
        char* end = nullptr;
        const long category = std::strtol(key.c_str(), &end, 10);
        if (key.empty() || end != key.c_str() + key.size()) {
            return false;
        }
        answerInOrder([service, category = static_cast<std::int32_t>(category), key](UiState& state) {
            std::vector<CHeadlineTable> entries;
            state.cache.categoryTable(service, category, entries);
            const CHeadlineTableInfo info{service, static_cast<signed char>(entries.empty() ? -1 : 0), key};
            state.toAll([&](NewsReceiver& r) { r.vRecvCatHeadlineTableRecovery(&info); });
            if (!entries.empty()) {
                state.toAll([&](NewsReceiver& r) { r.RespHeadLine(entries); });
            }
        });
        return true;
    }
    return false;
}

bool EmbeddedBackend::BKQNews_bReRequestHeadlineStory(const CHeadlineTable& entry) {
    const std::optional<NewsCache::StoryKey> key = m_ui->cache.storyKey(entry);
    if (!key || m_shutDown) {
        return false;
    }
    if (m_ui->cache.hasStory(entry)) {
        answerInOrder([entry](UiState& state) { state.toAll([&](NewsReceiver& r) { r.RespStory(entry); }); });
        return true;
    }
    // Stories of earlier days stay on disk until someone asks for them.
    UiDispatcher* dispatcher = m_options.dispatcher;
    std::weak_ptr<UiState> ui = m_ui;
    m_worker->post([dispatcher, ui = std::move(ui), entry, key = *key](NewsStore& store) {
        std::optional<StoryRecord> story = store.story(key.service, key.day, key.seq);
        if (!story) {
            return;
        }
        postToUi(dispatcher, ui, [entry, story = std::move(*story)](UiState& state) {
            state.cache.putStory(story);
            if (state.cache.hasStory(entry)) {
                state.toAll([&](NewsReceiver& r) { r.RespStory(entry); });
            }
        });
    });
    return true;
}

bool EmbeddedBackend::BKQNEWS_bReCoverHeadline(unsigned char service, std::vector<CHeadline>& headlines,
                                               const std::vector<CHeadlineTable>& entries) {
    std::vector<CHeadlineTable> held;
    for (const CHeadlineTable& e : entries) {
        if (e.m_byService == service && m_ui->cache.holds(e)) {
            held.push_back(e);
        }
    }
    if (held.empty() || m_shutDown) {
        return false;
    }
    m_ui->cache.headlines(service, held, headlines);
    answerInOrder([held = std::move(held)](UiState& state) {
        std::vector<CHeadlineTable> still;
        for (const CHeadlineTable& e : held) {
            if (state.cache.holds(e)) {
                still.push_back(e);
            }
        }
        if (!still.empty()) {
            state.toAll([&](NewsReceiver& r) { r.RespHeadLine(still); });
        }
    });
    return true;
}

} // namespace embedded
