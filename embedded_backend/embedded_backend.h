#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "embedded_backend/feed_event.h"
#include "embedded_backend/ingest.h"
#include "embedded_backend/news_cache.h"
#include "embedded_backend/news_generator.h"
#include "embedded_backend/news_store.h"
#include "embedded_backend/quote_feed.h"
#include "embedded_backend/replay_feed.h"
#include "embedded_backend/stream_feed.h"
#include "host/backend/bk_quote_interface.h"
#include "host/backend/search_control.h"

class NewsSubscriptions;
class UiDispatcher;
namespace host {
class Clock;
}

namespace embedded {

class StoreWorker;
struct UiState;

struct EmbeddedBackendOptions {
    std::string dataFolder; // holds the store file
    std::string storeFileName = "news.db";
    int daysToKeep = 30;                // calendar days up to the current news day
    std::string systemPath;             // folder of Application.ini and NewsService.ini
    std::string languageFile;           // UTF-8 KEY=text file; when absent keys show as themselves
    UiDispatcher* dispatcher = nullptr; // required; outlives the back end
    // "now"; null: the system clock. A running generator also reads it on its feed thread.
    const host::Clock* clock = nullptr;
    NewsSubscriptions* subscriptions = nullptr;             // null: NewsSubscriptions::instance()
    std::size_t maxSearchResults = 1000;                    // newest first
    std::size_t tableDepth = NewsCache::kDefaultTableDepth; // newest entries of a category or symbol table
    bool startConnected = true;
    // Nice steps the store's writer thread runs below the feeds and the UI (Linux): on a busy
    // machine the store's queue grows rather than the delay of new headlines to the views. 0
    // leaves it at the process's priority; a machine that runs many back ends gives 19 (the
    // lowest priority), so that their stores never hold up each other's feeds.
    int storeNiceIncrement = 5;
    // The store's writer runs in the idle scheduling class instead (Linux): it then takes only
    // CPU time the feeds, the UI and every other program leave over. Meant for a machine that
    // runs many back ends; on a saturated machine searches wait behind the lagging writes.
    bool storeIdle = false;
    // How long the store keeps a write transaction open to gather more news (see StoreWorker).
    std::chrono::milliseconds storeCommitWindow{200};
    // The most feed events held while disconnected; beyond it they reach the store and the
    // cache in parts, announced to the views with the reconnection.
    std::size_t heldLimit = Ingest::kDefaultHeldLimit;
    bool convertToSimplified = false;
    int productId = 0;
    // Called on the UI thread when the store fails to write (a full disk, a file damaged
    // while running); the news keeps arriving in the cache.
    std::function<void(const std::string&)> onStoreError;
    // Called on the UI thread when a service starts a news day, before any view hears of it:
    // the host's clock can follow a simulated day.
    std::function<void(unsigned char service, int day)> onNewsDay;
    // Called on the UI thread after the views were told of a recovery (a reconnection, or
    // headlines fetched again for a gap in their numbers), with the number of headlines it brought.
    std::function<void(std::size_t)> onRecovered;
};

// The back end newsterm runs on without a quote server. It owns the cache the UI thread
// reads, the SQLite store and its worker thread, the ingest and the feeds.
//
// Threads: every BKQuoteInterface and SearchObjInterface operation, open(), shutdown() and
// the toolbar operations run on the UI thread and never wait for the disk (open() waits once
// for the start-up load). Feeds run on their own threads; ingest() may be called from any
// thread. The cache is changed only on the UI thread, by batches ingest posts through the
// dispatcher; the store is touched only by its worker. Every callback reaches the views
// through the dispatcher, in request order. Ownership: the host owns the back end and the
// dispatcher; views are never owned. Re-entrancy: callbacks may call any look-up or request.
class EmbeddedBackend final : public BKQuoteInterface, public SearchObjInterface {
public:
    explicit EmbeddedBackend(EmbeddedBackendOptions options);
    ~EmbeddedBackend() override;
    EmbeddedBackend(const EmbeddedBackend&) = delete;
    EmbeddedBackend& operator=(const EmbeddedBackend&) = delete;

    // Opens the store and loads the kept days into the cache. A damaged or unusable file is
    // reported (the terminal then runs on live news only); with StartFreshIfDamaged the
    // damaged file is moved aside and a new store started. May be called again after a failure.
    StoreOpenResult open(OpenMode mode = OpenMode::KeepExisting);
    // Stops the feeds, writes what is queued or held, closes the store. Idempotent.
    void shutdown();

    // The toolbar: the link to the (simulated) news server and a new news day.
    void connect();
    void disconnect();
    // day 0: the day after the service's current one, or today when that is later.
    void startNewDay(unsigned char service, int day = 0);
    // Reads another language table (a UTF-8 KEY=text file); false, with the table unchanged,
    // when it cannot be read. Views take the new texts the next time they ask.
    bool setLanguageFile(const std::string& path);
    // Feeds in the app's own hands; any thread.
    void ingest(std::vector<FeedEvent> events);

    // baseTime 0: now.
    bool startReplay(ReplayOptions options, std::string* error);
    void stopReplay();
    bool waitReplayFinished(std::chrono::milliseconds timeout);
    ReplayReport replayReport() const;
    // startTime 0: now. startDay 0 and lastSeq empty: the latest current day and the numbers
    // the cache holds for it. Paced in real time, events are never stamped after the clock.
    void startGenerator(GeneratorFeedOptions options);
    void stopGenerator();
    bool waitGeneratorFinished(std::chrono::milliseconds timeout);

    // The distribution: reads the streams of the services (empty: every service of the
    // catalogue) on a Redis server from where the store says this terminal stopped. The link
    // state of the views follows the connection. Call after open().
    void startStreamFeed(StreamFeedOptions options);
    void stopStreamFeed();
    StreamFeed::Stats streamFeedStats() const;

    // The simulated exchange: trades of the listed and emerging-board symbols. startTime 0: now.
    void startQuoteFeed(QuoteFeedOptions options);
    void stopQuoteFeed();
    bool waitQuoteFeedFinished(std::chrono::milliseconds timeout);
    // Trades in the app's own hands (any thread): recorded in order with the news events.
    void ingestQuotes(std::vector<QuoteTick> ticks);
    // Trades the quote book refused so far (UI thread).
    std::uint64_t rejectedQuotes() const;

    // Blocks until the store worker ran everything queued so far (its answers may still be
    // waiting in the dispatcher). For tests, tools and shutdown.
    void flushStore();
    std::string storeError() const;
    Ingest::Stats ingestStats() const;
    std::size_t cachedHeadlines() const;

    // --- BKQuoteInterface ---
    int BKQNEWS_iGetHeadlineTable(std::vector<CHeadlineTable>& table, unsigned char service,
                                  const CSymbolInfo& symbol) override;
    int BKQNEWS_iGetHeadlineTable(unsigned char service, std::vector<CHeadlineTable>& table, int kind,
                                  const CString& key) override;
    int BKQNEWS_iGetHeadline(unsigned char service, std::vector<CHeadline>& headlines,
                             const std::vector<CHeadlineTable>& entries) override;
    bool BKQNEWS_bGetStory(CStory& story, const CHeadlineTable& entry) override;
    bool BKQNews_bReRequestHeadlineStory(const CHeadlineTable& entry) override;
    bool BKNEWS_bReRequestHeadlineTable(unsigned char service, const CSymbolInfo& symbol) override;
    bool BKNEWS_bReRequestHeadlineTable(unsigned char service, int kind, const CString& key) override;
    bool BKQNEWS_bReCoverHeadline(unsigned char service, std::vector<CHeadline>& headlines,
                                  const std::vector<CHeadlineTable>& entries) override;
    bool BKQNEWS_bSearchNews(unsigned char service, int kind, const CSearch& condition) override;
    bool BKNEWS_GetSymbolListBySeqNo(CNewsSymLst& symbols, const CHeadlineTable& entry) override;
    bool BKQbGetSymbolMemory(CMemoryInfo& memory, unsigned char service, const CString& code) override;
    bool BKQbReRequestSymbolMemory(unsigned char service, const CString& code) override;
    bool BKQNEWS_bGetAllNewsService(std::vector<unsigned char>& services) override;
    bool BKQNEWS_bGetFullNameByService(CString& name, unsigned char service) override;
    bool BKQNEWS_bGetShortNameByService(CString& name, unsigned char service) override;
    CString BKQNEWS_cszGetCurrDateByService(unsigned char service) override;
    unsigned char BKQbyGetNewsDateRange() override;
    bool bNewsAPI_GetNewsCatId(unsigned char service, std::vector<CString>& ids, std::vector<CString>& names) override;
    int bIsConnect() override;
    bool bGetAllServiceID(std::vector<unsigned char>& services) override;
    int BKQCheckAuthSupport(unsigned char service) override;
    bool bGetServiceID2Delay(unsigned char service, unsigned char& delayed) override;
    bool bGetSymbolID(unsigned char service, std::vector<CString>& codes, std::vector<CString>& names) override;
    int bIsSymbolIDExist(unsigned char service, const CString& code) override;
    int bIsFromTheSameAuthServiceID(unsigned char service, unsigned char other) override;
    bool bGetCategorybySymbolID(int& category, unsigned char service, const CString& code) override;
    bool bGetCommodityIDBySymbolID(CString& commodity, unsigned char service, const CString& code) override;
    bool bGetItemDataByItemNo(CString& value, unsigned char service, const CString& code, int item) override;
    bool bSymbolNameIsShowRealMonth() override;
    CString LangGetLangString(const CString& key) override;
    bool LangIsConvertToSimplified(const unsigned char& service) override;
    bool LangConvertToSimplifiedChinese(const CString& in, CString& out) override;
    CString PathGetSysPath() override;
    int AppInfoGetProductID() override;

    // --- SearchObjInterface ---
    bool GetSymbolsByService(unsigned char service, std::vector<CString>& codes, std::vector<CString>& names,
                             int flag) override;
    bool FindSearchList(const CString& text, std::vector<CString>& candidates) override;

private:
    std::int64_t now() const;
    // Starts the day of every listed and emerging-board symbol of the catalogue in the quote book.
    void openQuoteBook();
    // Runs work on the UI thread after everything the store worker has queued: the way
    // every answer keeps request order.
    void answerInOrder(std::function<void(UiState&)> work);

    EmbeddedBackendOptions m_options;
    std::unique_ptr<host::Clock> m_systemClock;
    std::shared_ptr<UiState> m_ui;
    std::unique_ptr<StoreWorker> m_worker;
    std::unique_ptr<Ingest> m_ingest;
    ReplayFeed m_replay;
    GeneratorFeed m_generator;
    QuoteFeed m_quoteFeed;
    StreamFeed m_streamFeed;
    std::map<unsigned char, StreamPosition> m_streamPositions; // as the store had them at open()
    bool m_opened = false;
    std::atomic<bool> m_shutDown{false}; // read by the feed threads
};

} // namespace embedded
