// The quote side of the embedded back end: the price rules of the simulated market, the quote
// book, pushes to the views that registered a symbol, and recovery of quote records.
#include <algorithm>
#include <set>

#include <gtest/gtest.h>

#include "backend_fixture.h"
#include "embedded_backend/quote_book.h"
#include "embedded_backend/replay_feed.h"
#include "host/backend/quote_price.h"

namespace embedded::test {
namespace {

class QuoteReceiver final : public NewsReceiver {
public:
    std::vector<CMemoryInfo> pushes;
    std::vector<CMemoryInfo> recoveries;
    std::vector<std::vector<CMemoryInfo>> multi;
    void vRecvNewMemory(const CMemoryInfo* m) override { pushes.push_back(*m); }
    void vRecvMemoryRecovery(const CMemoryInfo* m) override { recoveries.push_back(*m); }
    void vRecvMultiSymbolMemoryRecovery(const std::vector<CMemoryInfo>* m) override { multi.push_back(*m); }
};

QuoteTick trade(const char* code, std::int32_t last, std::int32_t volume = 1, std::int32_t reference = 0) {
    QuoteTick t;
    t.service = 16;
    t.code = code;
    t.last = last;
    t.bid = last;
    t.volume = volume;
    t.reference = reference;
    return t;
}

TEST(QuotePriceTest, TickLadderAndLimitsFollowThePriceBands) {
    // The tick at each band edge, and the step down across an edge uses the lower band's tick.
    EXPECT_EQ(quote_price::tickSize(999), 1);
    EXPECT_EQ(quote_price::tickSize(1000), 5);
    EXPECT_EQ(quote_price::tickSize(4999), 5);
    EXPECT_EQ(quote_price::tickSize(5000), 10);
    EXPECT_EQ(quote_price::tickSize(10000), 50);
    EXPECT_EQ(quote_price::tickSize(50000), 100);
    EXPECT_EQ(quote_price::tickSize(100000), 500);
    EXPECT_EQ(quote_price::tickDown(1000), 999);
    EXPECT_EQ(quote_price::tickDown(100000), 99900);
    EXPECT_EQ(quote_price::tickUp(99900), 100000);
    EXPECT_EQ(quote_price::tickDown(1), 1);
    EXPECT_TRUE(quote_price::onTick(58500));
    EXPECT_FALSE(quote_price::onTick(58510)) << "585.10 is between two ticks of 1.00";
    EXPECT_FALSE(quote_price::onTick(0));

    // Limits: 10 % rounded towards the reference onto the tick of the limit's own band.
    EXPECT_EQ(quote_price::limitUp(58000), 63800);
    EXPECT_EQ(quote_price::limitDown(58000), 52200);
    EXPECT_EQ(quote_price::limitUp(10500), 11550);
    EXPECT_EQ(quote_price::limitDown(10500), 9450);
    EXPECT_EQ(quote_price::limitUp(4730), 5200) << "52.03 crosses into the 0.10 band and rounds down";
    EXPECT_EQ(quote_price::limitDown(1110), 999) << "exactly 9.99 stays";
    EXPECT_EQ(quote_price::limitDown(1112), 1005) << "10.008 rounds up onto the 0.05 ladder of its band";
    EXPECT_EQ(quote_price::limitDown(1105), 995);
    for (std::int32_t reference = 100; reference < 200000; reference += 37) {
        const std::int32_t up = quote_price::limitUp(reference);
        const std::int32_t down = quote_price::limitDown(reference);
        ASSERT_TRUE(quote_price::onTick(up) && quote_price::onTick(down)) << reference;
        ASSERT_LE(up, reference * 110 / 100 + 1) << reference;
        ASSERT_GE(static_cast<std::int64_t>(down) * 100, static_cast<std::int64_t>(reference) * 90) << reference;
    }
}

TEST(QuotePriceTest, GridTexts) {
    EXPECT_EQ(quote_price::priceText(58550), "585.50");
    EXPECT_EQ(quote_price::priceText(5), "0.05");
    EXPECT_EQ(quote_price::priceText(0), "");
    EXPECT_EQ(quote_price::changeText(58550, 58000), "+5.50");
    EXPECT_EQ(quote_price::changeText(57950, 58000), "-0.50");
    EXPECT_EQ(quote_price::changeText(58000, 58000), "0.00");
    EXPECT_EQ(quote_price::changeText(0, 58000), "") << "no trade yet";
    EXPECT_EQ(quote_price::changePercentText(58550, 58000), "+0.95%") << "0.948 rounds up";
    EXPECT_EQ(quote_price::changePercentText(57450, 58000), "-0.95%") << "half away from zero";
    EXPECT_EQ(quote_price::changePercentText(2005, 2000), "+0.25%");
    EXPECT_EQ(quote_price::changePercentText(1995, 2000), "-0.25%");
    EXPECT_EQ(quote_price::changePercentText(100, 0), "");
}

TEST(QuoteBookTest, TradesMoveTheRecordWithinTheDaysLimits) {
    QuoteBook book;
    book.open(16, "2330", big5("台積電"), 58000);
    EXPECT_EQ(book.apply(trade("2330", 58500, 10)), QuoteBook::ApplyResult::Applied);
    EXPECT_EQ(book.apply(trade("2330", 57900, 5)), QuoteBook::ApplyResult::Applied);
    EXPECT_EQ(book.apply(trade("2330", 63900)), QuoteBook::ApplyResult::OutsideLimits) << "above 638";
    EXPECT_EQ(book.apply(trade("2330", 52100)), QuoteBook::ApplyResult::OutsideLimits) << "below 522";
    EXPECT_EQ(book.apply(trade("2330", 58510)), QuoteBook::ApplyResult::OutsideLimits) << "off the ladder";
    QuoteTick badBid = trade("2330", 58000);
    badBid.bid = 70000;
    EXPECT_EQ(book.apply(badBid), QuoteBook::ApplyResult::OutsideLimits);
    EXPECT_EQ(book.apply(trade("2330", 0)), QuoteBook::ApplyResult::BadPrice);
    const CMemoryInfo* r = book.find(16, "2330");
    ASSERT_NE(r, nullptr);
    EXPECT_EQ(r->m_iOpen, 58500);
    EXPECT_EQ(r->m_iHigh, 58500);
    EXPECT_EQ(r->m_iLow, 57900);
    EXPECT_EQ(r->m_iLast, 57900) << "refused trades left the record alone";
    EXPECT_EQ(r->m_llVolume, 15);
    EXPECT_EQ(r->m_iLimitUp, 63800);
    EXPECT_EQ(r->m_strName, big5("台積電"));

    // A symbol the book does not know starts its day at the trade's reference, or is refused.
    EXPECT_EQ(book.apply(trade("9999", 1000)), QuoteBook::ApplyResult::UnknownSymbol);
    EXPECT_EQ(book.apply(trade("9999", 1000, 1, 1000)), QuoteBook::ApplyResult::Applied);
    EXPECT_EQ(book.find(16, "9999")->m_iLimitUp, 1100);
    EXPECT_EQ(book.find(22, "9999"), nullptr) << "the service is part of the key";
}

TEST(QuoteBookTest, TheSimulatedMarketStaysOnTheLadderAndWithinLimits) {
    std::vector<QuoteSimulator::Symbol> symbols;
    for (const char* code : {"2330", "2454", "2317", "2303", "6214"}) {
        symbols.push_back({16, code, {}, demoReferencePrice(code)});
    }
    symbols.push_back({16, "0001", {}, 1000}); // a 10.00 stock walks across the 0.01/0.05 edge
    symbols.push_back({16, "0002", {}, 10});   // a 0.10 stock: both limits lie one tick away
    QuoteSimulator a(7, symbols);
    QuoteSimulator b(7, symbols);
    QuoteBook book;
    std::set<std::string> moved;
    bool limitUpSeen = false;
    bool limitDownSeen = false;
    for (int i = 0; i < 50000; ++i) {
        const QuoteTick t = a.next(i);
        ASSERT_EQ(t, b.next(i)) << "the same seed gives the same market";
        const std::int32_t up = quote_price::limitUp(t.reference);
        const std::int32_t down = quote_price::limitDown(t.reference);
        ASSERT_TRUE(quote_price::onTick(t.last)) << t.code << " " << t.last;
        ASSERT_TRUE(t.last >= down && t.last <= up) << t.code << " " << t.last;
        ASSERT_TRUE(t.bid == 0 || t.ask == 0 || t.ask == quote_price::tickUp(t.bid)) << "one tick apart";
        ASSERT_TRUE(t.last == t.bid || t.last == t.ask);
        if (t.last == up) {
            limitUpSeen = true;
            ASSERT_EQ(t.ask, 0) << "nobody sells at limit up";
        } else if (t.last == down) {
            limitDownSeen = true;
            ASSERT_EQ(t.bid, 0) << "nobody buys at limit down";
        }
        ASSERT_GT(t.volume, 0);
        ASSERT_EQ(book.apply(t), QuoteBook::ApplyResult::Applied) << "the book takes every simulated trade";
        if (t.last != t.reference) {
            moved.insert(t.code);
        }
    }
    EXPECT_EQ(moved.size(), symbols.size()) << "every symbol trades away from its reference";
    EXPECT_TRUE(limitUpSeen && limitDownSeen) << "the 0.10 stock trades at both of its limits";
    EXPECT_EQ(demoReferencePrice("2330"), demoReferencePrice("2330"));
    EXPECT_TRUE(quote_price::onTick(demoReferencePrice("8888")));
}

TEST(QuoteReplayTest, QuoteLinesParseAndBadOnesSayWhy) {
    FeedEvent e;
    double at = 0;
    std::string error;
    ASSERT_EQ(parseReplayLine(R"({"at":1.5,"event":"quote","service":16,"code":"2330","name":"台積電","ref":58,)"
                              R"("last":58.3,"bid":58.2,"ask":58.3,"volume":12})",
                              1000, e, at, error),
              LineStatus::Event)
        << error;
    EXPECT_EQ(e.kind, FeedEventKind::Quote);
    EXPECT_EQ(e.quote.service, 16);
    EXPECT_EQ(e.quote.code, "2330");
    EXPECT_EQ(e.quote.name, big5("台積電"));
    EXPECT_EQ(e.quote.reference, 5800);
    EXPECT_EQ(e.quote.last, 5830);
    EXPECT_EQ(e.quote.bid, 5820);
    EXPECT_EQ(e.quote.ask, 5830);
    EXPECT_EQ(e.quote.volume, 12);
    EXPECT_EQ(e.quote.time, 1001);
    // The written line reads back as the same event.
    FeedEvent again;
    ASSERT_EQ(parseReplayLine(replayLine(e, 1.5), 1000, again, at, error), LineStatus::Event) << error;
    EXPECT_EQ(again, e);

    const struct {
        const char* line;
        const char* why;
    } bad[] = {
        {R"({"at":0,"event":"quote","service":16,"last":10,"volume":1})", "missing \"code\""},
        {R"({"at":0,"event":"quote","service":16,"code":"","last":10,"volume":1})", "\"code\" is empty"},
        {R"({"at":0,"event":"quote","service":16,"code":"2330","volume":1})", "missing \"last\""},
        {R"({"at":0,"event":"quote","service":16,"code":"2330","last":0,"volume":1})", "\"last\" must be a price"},
        {R"({"at":0,"event":"quote","service":16,"code":"2330","last":-5,"volume":1})", "\"last\" must be a price"},
        {R"({"at":0,"event":"quote","service":16,"code":"2330","last":10.001,"volume":1})", "two decimals"},
        {R"({"at":0,"event":"quote","service":16,"code":"2330","last":"10","volume":1})", "\"last\" must be a price"},
        {R"({"at":0,"event":"quote","service":16,"code":"2330","last":1e300,"volume":1})", "\"last\" must be a price"},
        {R"({"at":0,"event":"quote","service":16,"code":"2330","last":1e-9,"volume":1})", "\"last\" must be a price"},
        {R"({"at":0,"event":"quote","service":16,"code":"2330","last":585.1,"volume":1})", "tick ladder"},
        {R"({"at":0,"event":"quote","service":16,"code":"2330","last":585,"bid":586,"ask":585,"volume":1})",
         "\"bid\" is above \"ask\""},
        {R"({"at":0,"event":"quote","service":16,"code":"2330","last":585})", "missing \"volume\""},
        {R"({"at":0,"event":"quote","service":16,"code":"2330","last":585,"volume":-1})", "\"volume\" must be"},
        {R"({"at":0,"event":"quote","service":0,"code":"2330","last":585,"volume":1})", "\"service\" must be"},
        {R"({"at":0,"event":"quote","service":16,"code":2330,"last":585,"volume":1})", "\"code\" must be a string"},
    };
    for (const auto& b : bad) {
        error.clear();
        EXPECT_EQ(parseReplayLine(b.line, 0, e, at, error), LineStatus::Bad) << b.line;
        EXPECT_NE(error.find(b.why), std::string::npos) << b.line << " -> " << error;
    }
}

class QuoteBackendTest : public BackendTest {
protected:
    QuoteReceiver a;
    QuoteReceiver b;
    void registerSymbol(NewsReceiver* receiver, const char* code) {
        subscriptions.change(receiver, {CSymbolInfo{16, code, {}}}, {});
    }
    void trades(std::vector<QuoteTick> ticks) {
        backend->ingestQuotes(std::move(ticks));
        dispatcher.runPending();
    }
};

TEST_F(QuoteBackendTest, TradesReachOnlyTheViewsThatRegisteredTheSymbol) {
    // Every listed symbol of the catalogue starts the day at its reference price.
    CMemoryInfo record;
    ASSERT_TRUE(backend->BKQbGetSymbolMemory(record, 16, "2330"));
    EXPECT_EQ(record.m_iRefPrice, demoReferencePrice("2330"));
    EXPECT_EQ(record.m_iLast, 0) << "no trade yet";
    EXPECT_FALSE(backend->BKQbGetSymbolMemory(record, 16, "0000"));

    registerSymbol(&a, "2330");
    registerSymbol(&b, "2454");
    registerFor(&view, 16); // the whole news service, not a symbol: no quotes
    const std::int32_t ref = demoReferencePrice("2330");
    trades({trade("2330", quote_price::tickUp(ref), 3), trade("2454", demoReferencePrice("2454"), 2),
            trade("2330", quote_price::tickUp(quote_price::tickUp(ref)), 4),
            trade("2330", quote_price::limitUp(ref) + 10000, 1)});
    ASSERT_EQ(a.pushes.size(), 2u) << "the trade outside the limits is refused";
    EXPECT_EQ(a.pushes[1].m_llVolume, 7);
    EXPECT_EQ(a.pushes[1].m_iLast, quote_price::tickUp(quote_price::tickUp(ref)));
    ASSERT_EQ(b.pushes.size(), 1u);
    EXPECT_EQ(b.pushes[0].m_strCode, "2454");
    EXPECT_EQ(backend->rejectedQuotes(), 1u);

    // A view that unregisters while another takes the push gets nothing more.
    subscriptions.change(&a, {}, {CSymbolInfo{16, "2330", {}}});
    trades({trade("2330", ref, 1)});
    EXPECT_EQ(a.pushes.size(), 2u);
}

TEST_F(QuoteBackendTest, RecordsComeBackOnRequestAndAfterAReconnection) {
    registerSymbol(&a, "2330");
    registerSymbol(&a, "2317");
    registerSymbol(&b, "2317");
    EXPECT_TRUE(backend->BKQbReRequestSymbolMemory(16, "2317"));
    EXPECT_TRUE(a.recoveries.empty()) << "answered later, never inside the request";
    dispatcher.runPending();
    ASSERT_EQ(a.recoveries.size(), 1u);
    ASSERT_EQ(b.recoveries.size(), 1u);
    EXPECT_EQ(a.recoveries[0].m_strCode, "2317");
    EXPECT_FALSE(backend->BKQbReRequestSymbolMemory(16, "0000")) << "a symbol that does not trade";

    // While the link is down the market moves on but nothing is pushed; the reconnection
    // sends each view the records of all its symbols at once.
    backend->disconnect();
    dispatcher.runPending();
    EXPECT_FALSE(backend->BKQbReRequestSymbolMemory(16, "2330"));
    const std::int32_t ref = demoReferencePrice("2330");
    trades({trade("2330", quote_price::tickUp(ref), 9)});
    EXPECT_TRUE(a.pushes.empty());
    backend->connect();
    dispatcher.runPending();
    ASSERT_EQ(a.multi.size(), 1u);
    ASSERT_EQ(a.multi[0].size(), 2u);
    const auto it =
        std::find_if(a.multi[0].begin(), a.multi[0].end(), [](const CMemoryInfo& m) { return m.m_strCode == "2330"; });
    ASSERT_NE(it, a.multi[0].end());
    EXPECT_EQ(it->m_iLast, quote_price::tickUp(ref)) << "the trade made while disconnected";
    ASSERT_EQ(b.multi.size(), 1u);
    EXPECT_EQ(b.multi[0].size(), 1u);
}

TEST_F(QuoteBackendTest, ReplayedQuotesAndTheSimulatedFeedFillTheBook) {
    registerSymbol(&a, "2330");
    FeedEvent q;
    q.kind = FeedEventKind::Quote;
    q.quote = trade("2330", demoReferencePrice("2330"), 5);
    backend->ingest({headlineEvent(16, 1, morning(), "新聞"), q});
    dispatcher.runPending();
    ASSERT_EQ(a.pushes.size(), 1u);

    QuoteFeedOptions options;
    options.ticksPerSecond = 0;
    options.maxTicks = 5000;
    options.batchSize = 500;
    backend->startQuoteFeed(options);
    ASSERT_TRUE(backend->waitQuoteFeedFinished(std::chrono::seconds(20)));
    dispatcher.runPending();
    EXPECT_GT(a.pushes.size(), 1u) << "2330 is one of the simulated symbols";
    EXPECT_EQ(backend->rejectedQuotes(), 0u) << "the book takes every simulated trade";
    CMemoryInfo record;
    ASSERT_TRUE(backend->BKQbGetSymbolMemory(record, 122, "7721")) << "emerging-board symbols trade too";
}

} // namespace
} // namespace embedded::test
