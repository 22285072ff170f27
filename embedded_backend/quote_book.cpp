#include "embedded_backend/quote_book.h"

#include <algorithm>

#include "host/backend/quote_price.h"

namespace embedded {

std::string QuoteBook::keyOf(unsigned char service, const CString& code) {
    std::string key(1, static_cast<char>(service));
    key += code;
    return key;
}

void QuoteBook::open(unsigned char service, const CString& code, const CString& name, std::int32_t reference) {
    CMemoryInfo record;
    record.m_byService = service;
    record.m_strCode = code;
    record.m_strName = name;
    record.m_iRefPrice = reference;
    record.m_iLimitUp = quote_price::limitUp(reference);
    record.m_iLimitDown = quote_price::limitDown(reference);
    m_records[keyOf(service, code)] = std::move(record);
}

QuoteBook::ApplyResult QuoteBook::apply(const QuoteTick& tick) {
    if (tick.code.empty()) {
        return ApplyResult::UnknownSymbol;
    }
    auto it = m_records.find(keyOf(tick.service, tick.code));
    if (it == m_records.end()) {
        if (tick.reference <= 0) {
            return ApplyResult::UnknownSymbol;
        }
        open(tick.service, tick.code, tick.name, tick.reference);
        it = m_records.find(keyOf(tick.service, tick.code));
    }
    CMemoryInfo& r = it->second;
    const auto inLimits = [&](std::int32_t price) {
        return price == 0 || (quote_price::onTick(price) && price >= r.m_iLimitDown && price <= r.m_iLimitUp);
    };
    if (tick.last <= 0 || tick.bid < 0 || tick.ask < 0 || tick.volume < 0) {
        return ApplyResult::BadPrice;
    }
    if (!inLimits(tick.last) || !inLimits(tick.bid) || !inLimits(tick.ask)) {
        return ApplyResult::OutsideLimits;
    }
    if (!tick.name.empty()) {
        r.m_strName = tick.name;
    }
    r.m_tTime = tick.time;
    if (r.m_iOpen == 0) {
        r.m_iOpen = tick.last;
        r.m_iHigh = tick.last;
        r.m_iLow = tick.last;
    }
    r.m_iHigh = std::max(r.m_iHigh, tick.last);
    r.m_iLow = std::min(r.m_iLow, tick.last);
    r.m_iLast = tick.last;
    r.m_iBid = tick.bid;
    r.m_iAsk = tick.ask;
    r.m_iTickVolume = tick.volume;
    r.m_llVolume += tick.volume;
    return ApplyResult::Applied;
}

const CMemoryInfo* QuoteBook::find(unsigned char service, const CString& code) const {
    const auto it = m_records.find(keyOf(service, code));
    return it == m_records.end() ? nullptr : &it->second;
}

std::int32_t demoReferencePrice(const CString& code) {
    struct Known {
        const char* code;
        std::int32_t price;
    };
    static constexpr Known kKnown[] = {
        {"2330", 58000}, {"2454", 90000}, {"2317", 10500}, {"2308", 33000},  {"2303", 5010},
        {"2412", 12100}, {"2882", 5230},  {"2881", 7120},  {"3008", 228500}, {"6505", 9110},
    };
    for (const Known& k : kKnown) {
        if (code == k.code) {
            return k.price;
        }
    }
    // FNV-1a of the code picks a price between 12 and about 480, snapped to its tick.
    std::uint32_t hash = 2166136261u;
    for (const char c : code) {
        hash = (hash ^ static_cast<unsigned char>(c)) * 16777619u;
    }
    const std::int32_t bands[] = {1200, 2500, 4800, 8800, 15000, 32000, 48000};
    std::int32_t price = bands[hash % 7] + static_cast<std::int32_t>((hash >> 8) % 900);
    price -= price % quote_price::tickSize(price);
    return price;
}

QuoteSimulator::QuoteSimulator(std::uint64_t seed, std::vector<Symbol> symbols) : m_random(seed) {
    for (Symbol& s : symbols) {
        if (s.reference <= 0 || s.code.empty()) {
            continue;
        }
        State state;
        state.limitUp = quote_price::limitUp(s.reference);
        state.limitDown = quote_price::limitDown(s.reference);
        state.last = s.reference;
        state.symbol = std::move(s);
        m_state.push_back(std::move(state));
    }
}

QuoteTick QuoteSimulator::next(std::int64_t time) {
    QuoteTick tick;
    if (m_state.empty()) {
        return tick;
    }
    State& s = m_state[m_random() % m_state.size()];
    // Half of the trades leave the price; the others move it one or two ticks, more often back
    // towards the reference than away from it, so prices wander without running off.
    const std::uint64_t draw = m_random() % 100;
    if (draw >= 50) {
        const int steps = draw >= 90 ? 2 : 1;
        bool up = (m_random() % 2) == 0;
        if (s.last != s.symbol.reference && (m_random() % 100) < 20) {
            up = s.last < s.symbol.reference;
        }
        for (int i = 0; i < steps; ++i) {
            s.last = up ? std::min(quote_price::tickUp(s.last), s.limitUp)
                        : std::max(quote_price::tickDown(s.last), s.limitDown);
        }
    }
    tick.service = s.symbol.service;
    tick.code = s.symbol.code;
    tick.name = s.symbol.name;
    tick.time = time;
    tick.reference = s.symbol.reference;
    tick.last = s.last;
    // At a limit one side of the book is empty: nobody sells at limit up or buys at limit down.
    if (s.last >= s.limitUp) {
        tick.bid = s.last;
        tick.ask = 0;
    } else if (s.last <= s.limitDown) {
        tick.bid = 0;
        tick.ask = s.last;
    } else if ((m_random() % 2) == 0) {
        tick.bid = s.last;
        tick.ask = quote_price::tickUp(s.last);
    } else {
        tick.bid = quote_price::tickDown(s.last);
        tick.ask = s.last;
    }
    // Mostly small lots with the occasional block trade.
    const std::uint64_t size = m_random() % 100;
    tick.volume =
        size < 70 ? 1 + static_cast<std::int32_t>(size % 5)
                  : (size < 97 ? 5 + static_cast<std::int32_t>(size % 30) : 100 + static_cast<std::int32_t>(size * 7));
    return tick;
}

} // namespace embedded
