#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <unordered_map>
#include <vector>

#include "host/backend/news_records.h"

namespace embedded {

// One trade of a symbol as a feed reports it: the trade price and lots, the best bid and ask
// after it. A reference price (yesterday's close) starts the symbol's day when the book does
// not know the symbol yet. Prices in hundredths, 0 where there is none.
struct QuoteTick {
    unsigned char service = 0;
    CString code;
    CString name;
    std::int64_t time = 0;
    std::int32_t reference = 0;
    std::int32_t last = 0;
    std::int32_t bid = 0;
    std::int32_t ask = 0;
    std::int32_t volume = 0; // lots of this trade

    bool operator==(const QuoteTick&) const = default;
};

// The quote records of the day, one per symbol: what the server holds and sends again on
// request or after a reconnection. Thread: one thread (the UI thread in the back end).
class QuoteBook {
public:
    enum class ApplyResult { Applied, UnknownSymbol, OutsideLimits, BadPrice };

    // Starts a symbol's day at a reference price: limits at 10 % around it, no trade yet.
    // A symbol already in the book is started again.
    void open(unsigned char service, const CString& code, const CString& name, std::int32_t reference);
    // Records a trade. A symbol the book does not know is opened at the tick's reference price
    // first (UnknownSymbol when the tick has none); a price off the tick ladder or outside the
    // day's limits is refused and leaves the record as it was.
    ApplyResult apply(const QuoteTick& tick);

    const CMemoryInfo* find(unsigned char service, const CString& code) const;
    std::size_t size() const { return m_records.size(); }

private:
    static std::string keyOf(unsigned char service, const CString& code);
    std::unordered_map<std::string, CMemoryInfo> m_records;
};

// A plausible reference price for a symbol without a real one: fixed for a few well-known
// codes, otherwise derived from the code (the same code always gives the same price), on the
// tick ladder.
std::int32_t demoReferencePrice(const CString& code);

// A simulated exchange: random walks of trade prices on the tick ladder, held within the day's
// limits and drawn back towards the reference, with bid and ask around the last trade and
// small trade sizes. Deterministic for a seed. Thread: one thread (the feed's).
class QuoteSimulator {
public:
    struct Symbol {
        unsigned char service = 0;
        CString code;
        CString name;
        std::int32_t reference = 0;
    };

    QuoteSimulator(std::uint64_t seed, std::vector<Symbol> symbols);
    bool empty() const { return m_state.empty(); }
    // The next trade of a randomly chosen symbol.
    QuoteTick next(std::int64_t time);

private:
    struct State {
        Symbol symbol;
        std::int32_t limitUp = 0;
        std::int32_t limitDown = 0;
        std::int32_t last = 0;
    };
    std::mt19937_64 m_random;
    std::vector<State> m_state;
};

} // namespace embedded
