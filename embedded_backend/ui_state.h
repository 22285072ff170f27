#pragma once

#include <functional>
#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "embedded_backend/catalog.h"
#include "embedded_backend/news_cache.h"
#include "embedded_backend/news_records.h"
#include "embedded_backend/quote_book.h"
#include "host/backend/news_receiver.h"
#include "host/backend/subscriptions.h"
#include "host/text/language_table.h"

namespace embedded {

// What the UI thread owns: the cache, the catalogue, the language table and the link state,
// and the delivery of callbacks to the registered views. Thread: UI thread only.
struct UiState {
    NewsCache cache;
    Catalog catalog;
    LanguageTable language;
    QuoteBook quotes;
    std::uint64_t quotesRejected = 0; // trades the book refused (unknown symbol, bad price)
    NewsSubscriptions* subscriptions = nullptr;
    bool connected = true;
    std::string storeError;
    std::function<void(const std::string&)> onStoreError;
    std::function<void(unsigned char service, int day)> onNewsDay; // before the views hear of it
    // Called after a recovery was announced, with the number of headlines it brought.
    std::function<void(std::size_t)> onRecovered;

    // Applies one ingest batch in order and tells the views: pushes for new headlines (only
    // while connected, only to views registered for the service, checked at each call), story
    // notices, new news days; a recovery batch is announced through the recovery callbacks,
    // together with the partial ones before it.
    void apply(const NewsBatch& batch);

    // Every view that holds a registration, each checked again right before its call (an
    // earlier callback may have unregistered it).
    void toAll(const std::function<void(NewsReceiver&)>& call);
    void toService(unsigned char service, const std::function<void(NewsReceiver&)>& call);

    // Records trades in the quote book and, while connected, pushes each new record to the
    // views registered for its symbol (checked at each call).
    void applyQuotes(const std::vector<QuoteTick>& ticks);
    // Sends a symbol's record again to the views registered for it; false when the book has none.
    bool recoverQuote(unsigned char service, const CString& code);
    // After a reconnection: every view gets the records of all symbols it registered at once.
    void recoverAllQuotes();

    void answerSearch(unsigned char service, int kind, const CSearch& condition, std::vector<CHeadlineTable> entries);

private:
    struct Recovery {
        std::vector<CMarketStatus> days;
        std::set<std::pair<unsigned char, int>> dateTables;
        std::set<std::pair<unsigned char, std::int32_t>> categoryTables;
        std::set<std::pair<unsigned char, CString>> symbolTables;
        std::vector<CHeadlineTable> headlines;
        std::set<std::tuple<unsigned char, std::int64_t, std::int32_t>> fresh; // keys of those headlines
        std::vector<CHeadlineTable> stories;                                   // first stories of headlines held before
        std::vector<CHeadlineTable> storyUpdates; // corrected stories of headlines held before
    };
    void applyHeadline(const HeadlineRecord& h, bool recovering, Recovery& recovery);
    void applyStory(const StoryRecord& s, bool recovering, Recovery& recovery);
    void applyDay(const DayChange& d, bool recovering, Recovery& recovery);
    void announce(const Recovery& recovery);

    Recovery m_recovery; // the parts of a recovery under way
};

} // namespace embedded
