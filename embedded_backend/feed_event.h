#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "embedded_backend/quote_book.h"
#include "host/backend/news_records.h"

namespace embedded {

// StreamMark: how far a stream of the distribution has been read (service, streamId, entryNo);
// it travels with the news so that the store records it in the same transaction.
enum class FeedEventKind { Headline, Story, Resend, NewDay, Disconnect, Reconnect, Quote, StreamMark };

// One event of a feed: the replay file, the generator or the application's own ingest call.
// Texts are code page 950 bytes.
struct FeedEvent {
    FeedEventKind kind = FeedEventKind::Headline;
    unsigned char service = 0;
    std::int32_t seq = 0;
    std::int64_t time = 0; // headline or story time, seconds since 1970
    std::int32_t category = 0;
    CString categoryName; // optional: names a category the service's catalogue lacks
    CString title;
    std::vector<CSymbolInfo> symbols; // related symbols, the first one is the headline's symbol
    std::optional<CString> story;     // headline: story sent with it; story event: the text
    // NewDay: the new date (0 = the day after the service's current one). Story: the news day of
    // its headline (0 = the service's current day).
    int day = 0;
    QuoteTick quote; // Quote: the trade (service and time are in the tick)
    // Headline: the server sent it but the link lost it. It reaches the terminal only when a
    // gap in the service's sequence numbers makes the back end ask the server for it again.
    bool lost = false;
    // StreamMark: the id of the last entry read from the service's stream and its entry number.
    std::string streamId;
    std::int64_t entryNo = 0;

    bool operator==(const FeedEvent&) const = default;
};

} // namespace embedded
