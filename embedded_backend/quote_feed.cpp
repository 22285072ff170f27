#include "embedded_backend/quote_feed.h"

#include <algorithm>
#include <utility>

namespace embedded {

void QuoteFeed::start(QuoteFeedOptions options, std::vector<QuoteSimulator::Symbol> symbols, Sink sink) {
    m_thread.start([this, options, symbols = std::move(symbols), sink = std::move(sink)]() mutable {
        QuoteSimulator simulator(options.seed, std::move(symbols));
        if (simulator.empty()) {
            return;
        }
        using Clock = std::chrono::steady_clock;
        constexpr auto kSlice = std::chrono::milliseconds(20);
        const Clock::time_point begin = Clock::now();
        std::uint64_t sent = 0;
        std::size_t slices = 0;
        while (options.maxTicks == 0 || sent < options.maxTicks) {
            std::uint64_t due = 0;
            if (options.ticksPerSecond > 0) {
                ++slices;
                if (!m_thread.waitUntil(begin + slices * kSlice)) {
                    return;
                }
                const double seconds = std::chrono::duration<double>(slices * kSlice).count();
                due = static_cast<std::uint64_t>(seconds * options.ticksPerSecond) - sent;
            } else {
                if (m_thread.stopping()) {
                    return;
                }
                due = std::max<std::size_t>(options.batchSize, 1);
            }
            if (options.maxTicks != 0) {
                due = std::min(due, options.maxTicks - sent);
            }
            if (due == 0) {
                continue;
            }
            std::vector<QuoteTick> batch;
            batch.reserve(due);
            for (std::uint64_t i = 0; i < due; ++i) {
                // Trade times advance with the pacing (or one second per batch when unpaced).
                const double rate = options.ticksPerSecond > 0 ? options.ticksPerSecond : 1.0 * options.batchSize;
                const auto offset = static_cast<std::int64_t>(static_cast<double>(sent + i) / rate);
                batch.push_back(simulator.next(options.startTime + offset));
            }
            sent += due;
            sink(std::move(batch));
        }
    });
}

} // namespace embedded
