#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "embedded_backend/feed_event.h"
#include "embedded_backend/redis_connection.h"
#include "embedded_backend/stream_entry.h"

namespace embedded {

struct PublisherOptions {
    RedisAddress address;
    int keepDays = 30;          // entries older than this many days may be trimmed (MINID ~)
    std::int64_t maxLength = 0; // > 0: cap each stream near this many entries (MAXLEN ~) instead
    std::chrono::milliseconds timeout{2000};
    std::size_t retain = 50000; // entries of each service kept to send again if the server loses them
    // At start, the streams' entries of this last span (by the server's clock) are taken as if
    // this run had published them: a server that loses writes it confirmed to the run before
    // (a restart just before the server's) gets them back too.
    std::chrono::milliseconds takeOver{10000};
    // Names the source; source positions are only compared within the same run name (a replay
    // file resumes after what it published, a new generator run starts its own count).
    std::string run;
    std::function<std::int64_t()> nowMs; // null: the system clock
};

// What the server holds of a service: the last entry number, the news day and last headline
// number the publisher used, and the last source position published.
struct PublisherState {
    std::int64_t entryNo = 0;
    int day = 0;
    std::int32_t lastSeq = 0;
    std::string run;
    std::int64_t source = -1;
};

// Appends feed events to the streams of their services: one transaction per service and batch
// (the entries and the publisher's state together), a batch's transactions all sent in one
// round trip, so a restart reads the state and continues the numbers where the server has
// them. After a reconnection it compares its own numbers with the server's: entries the server
// lost (a restart that dropped its last writes) are sent again with the numbers they had; none
// is ever issued twice with different news.
// Thread: one thread.
class StreamPublisher {
public:
    struct Stats {
        std::uint64_t published = 0;
        std::uint64_t resent = 0;      // entries sent again after the server lost them
        std::uint64_t lostForGood = 0; // lost by the server and no longer held here
        std::uint64_t skipped = 0;     // source events already on the server (a restarted replay)
    };

    explicit StreamPublisher(PublisherOptions options);

    // Connects (again) and compares what the server holds with what was published.
    bool connect(std::string& error);
    bool connected() const { return m_connection.connected(); }
    // The server's state of a service (read once, then kept up to date here).
    bool state(unsigned char service, PublisherState& out, std::string& error);
    // Publishes events in order. source: the position of the first event in its source (each
    // next event one more), or -1 when positions do not matter. On failure nothing that the
    // server did not confirm counts as published: publishing the same events again after
    // connect() neither loses nor duplicates any.
    bool publish(const std::vector<FeedEvent>& events, std::int64_t source, std::string& error);
    Stats stats() const { return m_stats; }

private:
    struct Service {
        bool loaded = false;
        PublisherState state;
        std::deque<stream::Entry> recent; // the last entries published, for a server that loses them
    };

    std::int64_t nowMs() const;
    bool load(unsigned char service, Service& s, std::string& error);
    // The newest entries of a stream, from the span takeOver before its newest entry id.
    bool takeOverRecent(unsigned char service, std::string_view newestId, Service& s, std::string& error);
    std::vector<std::string> xadd(unsigned char service, const stream::Entry& entry) const;
    std::vector<std::string> saveState(unsigned char service, const PublisherState& state) const;
    // One MULTI ... EXEC of entries and state; false when the server did not confirm it.
    bool commit(unsigned char service, const std::vector<stream::Entry>& entries, const PublisherState& state,
                std::string& error);
    struct Transaction {
        unsigned char service = 0;
        const std::vector<stream::Entry>* entries = nullptr;
        const PublisherState* state = nullptr;
        bool confirmed = false; // set by commitAll
    };
    // Several services' MULTI ... EXEC in one pipeline; marks each that the server confirmed,
    // gives the first failure's reason in `error` and returns whether all were confirmed.
    bool commitAll(std::vector<Transaction>& transactions, std::string& error);

    PublisherOptions m_options;
    RedisConnection m_connection;
    std::map<unsigned char, Service> m_services;
    Stats m_stats;
};

} // namespace embedded
