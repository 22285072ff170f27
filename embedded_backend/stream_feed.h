#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "embedded_backend/compact_reply.h"
#include "embedded_backend/feed_event.h"
#include "embedded_backend/feed_thread.h"
#include "embedded_backend/news_records.h"
#include "embedded_backend/redis_connection.h"
#include "embedded_backend/stream_entry.h"

namespace embedded {

struct StreamFeedOptions {
    RedisAddress address;
    std::vector<unsigned char> services;               // one stream each
    std::map<unsigned char, StreamPosition> positions; // how far the store says each was read
    bool startConnected = false;                       // the link state the views start with
    std::chrono::milliseconds block{500};              // longest wait of one read
    std::size_t count = 500;                           // entries per stream and read
    std::chrono::milliseconds timeout{2000};           // connecting, and a reply beyond the wait
    std::chrono::milliseconds firstRetry{100};         // after a failed connection, doubling...
    std::chrono::milliseconds lastRetry{5000};         // ...up to this
    std::function<void(const stream::Entry&)> onEntry; // each new entry, on the feed thread
    // Catching up, called on the feed thread before each read is handed on; returns once what
    // was handed on before is written, so a long backlog never piles up in memory.
    std::function<void()> settle;
};

// The back end's reader of the distribution: reads every service's stream after the last entry
// it stored, on its own thread, and hands the events of each read to the ingest followed by one
// bookmark per stream it moved, so the store records how far it read in the same transaction as
// the news.
// - While it cannot reach the server the views are disconnected; on connecting it first reads
//   everything it missed, then reconnects the views: the missed news arrives as one recovery.
// - Each entry carries its stream's entry number: a number already seen is dropped (a publisher
//   that sent again what a restarted server lost), a number beyond the next one expected is a
//   gap that is read again from the stream; what the stream no longer has is counted.
// - A stream whose newest entry is older than the last one read (the server lost data, or a
//   replica took over) is read again from the last entry number this terminal had.
// Thread: start/stop/stats from the owner's thread; the sink is called on the feed thread.
class StreamFeed {
public:
    using Sink = std::function<void(std::vector<FeedEvent>)>;

    struct Stats {
        std::uint64_t entries = 0;     // new entries handed on
        std::uint64_t duplicates = 0;  // entry numbers seen before
        std::uint64_t bad = 0;         // entries that do not decode
        std::uint64_t gaps = 0;        // gaps in entry numbers read again
        std::uint64_t unrecovered = 0; // entry numbers no stream holds any more
        std::uint64_t rollbacks = 0;   // streams found behind what was read
        std::uint64_t connections = 0; // successful connections
        bool connected = false;
        std::string lastError;
    };

    ~StreamFeed() { stop(); }
    void start(StreamFeedOptions options, Sink sink);
    void stop() { m_thread.stop(); }
    bool running() const { return m_thread.running(); }
    Stats stats() const;

private:
    using Fields = std::vector<std::pair<std::string_view, std::string_view>>;

    void run();
    // One read of every stream; the number of entries, or -1 when the connection failed.
    long readOnce(RedisConnection& connection, bool block);
    void take(RedisConnection& connection, unsigned char service, std::string_view id, const Fields& fields,
              std::vector<FeedEvent>& out, bool rereading);
    void reread(RedisConnection& connection, unsigned char service, std::string_view upTo, std::vector<FeedEvent>& out);
    // Finds streams behind their positions and moves the positions back; false on failure.
    bool checkRollback(RedisConnection& connection);
    // Notes that a stream's position moved; appendMarks hands on one bookmark per moved stream.
    void mark(unsigned char service);
    void appendMarks(std::vector<FeedEvent>& out);
    void setError(const std::string& error);

    StreamFeedOptions m_options;
    Sink m_sink;
    std::map<unsigned char, StreamPosition> m_positions; // feed thread only
    CompactReply m_reply;                                // feed thread only: the last read, reused
    std::vector<unsigned char> m_moved;                  // feed thread only: streams read since the last bookmarks
    mutable std::mutex m_mutex;
    Stats m_stats;
    FeedThread m_thread;
};

} // namespace embedded
