#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <vector>

#include "embedded_backend/feed_thread.h"
#include "embedded_backend/quote_book.h"

namespace embedded {

struct QuoteFeedOptions {
    double ticksPerSecond = 40.0; // real-time pacing; 0: as fast as possible
    std::uint64_t maxTicks = 0;   // 0: until stopped
    std::uint64_t seed = 20240102;
    std::int64_t startTime = 0;  // time of the first trade, seconds since 1970
    std::size_t batchSize = 256; // ticks per hand-over when running as fast as possible
};

// Runs a simulated exchange on its own thread and hands its trades to a sink in order, in
// small batches (one per 20 ms when paced).
// Thread: the sink is called on the feed thread. Ownership: the feed owns its thread; the
// sink's target must outlive stop(). Re-entrancy: the sink must not stop the feed.
class QuoteFeed {
public:
    using Sink = std::function<void(std::vector<QuoteTick>)>;

    ~QuoteFeed() { stop(); }
    void start(QuoteFeedOptions options, std::vector<QuoteSimulator::Symbol> symbols, Sink sink);
    void stop() { m_thread.stop(); }
    bool waitFinished(std::chrono::milliseconds timeout) { return m_thread.waitFinished(timeout); }
    bool running() const { return m_thread.running(); }

private:
    FeedThread m_thread;
};

} // namespace embedded
