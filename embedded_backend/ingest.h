#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <tuple>
#include <vector>

#include "embedded_backend/feed_event.h"
#include "embedded_backend/news_records.h"
#include "embedded_backend/recovery_gaps.h"

namespace embedded {

// The record a headline (or re-sent headline) event becomes, filed under a news day.
HeadlineRecord headlineRecordOf(const FeedEvent& event, int day);
HeadlineRecord headlineRecordOf(FeedEvent&& event, int day); // moves the event's title and symbols

// Turns feed events into ordered news batches and hands every batch to the UI thread (cache
// and callbacks) and to the store worker, in the same order for both. It files each headline
// under its service's current news day, gives it its sort key, and holds events back while the
// link is down: they are released as one recovery batch when it comes back. Headlines the link
// lost are found by the gaps in each service's sequence numbers (a number beyond the next one
// expected, or the server's highest number at a reconnection) and fetched again, also as a
// recovery batch. A long disconnection holds at most heldLimit events: beyond that, what is held
// goes to the store and the cache as a partial recovery, which the views hear of only with the
// reconnection, so a day's backlog passes through in bounded memory.
// Thread: submit() may be called from any thread (feeds, the UI); the sinks are called with
// the ingest lock held, so batches never overtake each other. Ownership: the sinks' targets
// must outlive the ingest. Re-entrancy: a sink must only queue work, never call back in.
class Ingest {
public:
    using Sink = std::function<void(std::shared_ptr<const NewsBatch>)>;

    struct Stats {
        std::uint64_t accepted = 0;
        std::uint64_t rejected = 0;  // invalid events (no title, number out of range, bad day...)
        std::size_t held = 0;        // waiting for the link to come back
        std::size_t heldPeak = 0;    // the most events ever held at once
        std::size_t lost = 0;        // lost on the link, kept by the server until a gap asks for them
        std::uint64_t recovered = 0; // headlines delivered by recoveries (held, or asked for by a gap)
        std::uint64_t gaps = 0;      // gaps in sequence numbers the terminal asked the server about
    };

    static constexpr std::size_t kDefaultHeldLimit = 4096;

    Ingest(int daysToKeep, Sink toUi, Sink toStore, std::size_t heldLimit = kDefaultHeldLimit);

    // The state the store loaded: the current days.
    void restore(const std::map<unsigned char, int>& currentDays, bool connected);
    void submit(std::vector<FeedEvent> events);
    // At shutdown: what is still held is written to the store only (no views are left to tell).
    void releaseHeldToStore();

    Stats stats() const;
    int keepFrom(int day) const;

private:
    // Spends the event: its texts are moved into the batch.
    void convert(FeedEvent& e, NewsBatch& batch);
    // Converts what is held into a batch, with only the last bookmark of each stream: the batch
    // is one transaction in the store, so that bookmark covers all of it.
    void convertHeld(NewsBatch& batch);
    void send(NewsBatch& batch, bool toStore);
    // Asks the server for the numbers of every gap found so far and adds what it sends.
    void fillGaps(NewsBatch& recovery);
    int ensureDay(unsigned char service, std::int64_t time, NewsBatch& batch);

    static constexpr std::size_t kMaxBatch = 2048;

    const int m_daysToKeep;
    const std::size_t m_heldLimit;
    Sink m_toUi;
    Sink m_toStore;
    mutable std::mutex m_mutex;
    bool m_connected = true;
    std::vector<FeedEvent> m_held;
    std::map<unsigned char, int> m_days;
    std::set<std::pair<unsigned char, std::int32_t>> m_namedCategories;
    LinkGaps m_gaps;
    std::vector<std::tuple<unsigned char, int, std::int32_t, std::int32_t>> m_pendingGaps;
    Stats m_stats;
};

} // namespace embedded
