#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "adapters/headless/scripted_backend.h"
#include "host/backend/news_receiver.h"
#include "host/backend/search_control.h"
#include "host/backend/subscriptions.h"

namespace {

using headless::ScriptedBackend;

// 2024-01-02 09:30:00 in Taipei.
constexpr std::int64_t kNineThirty = 1704159000;

CHeadline headline(unsigned char service, std::int32_t seq, std::int64_t time, int category, const CString& title) {
    CHeadline h;
    h.m_byService = service;
    h.m_iSeqNo = seq;
    h.m_tTime = time;
    h.m_iCategory = category;
    h.m_strTitle = title;
    return h;
}

struct Receiver : NewsReceiver {
    std::vector<std::string> got;
    std::function<void()> onPush;
    void RecvNewHeadLine(const CHeadline* h, const CString& cat, const CString& sym) override {
        got.push_back("push " + h->m_strTitle + " " + cat + " " + sym);
        if (onPush) {
            onPush();
        }
    }
    void RespStory(const CHeadlineTable& e) override { got.push_back("story #" + std::to_string(e.m_iSeqNo)); }
    void RespHeadLine(const std::vector<CHeadlineTable>& entries) override {
        got.push_back("headlines " + std::to_string(entries.size()));
    }
    void vRecvCatHeadlineTableRecovery(const CHeadlineTableInfo* info) override {
        got.push_back("category " + info->m_strKey);
    }
    void vRecvNewMarketStatus(const CMarketStatus* status) override {
        got.push_back("day " + std::to_string(status->m_iDate));
    }
    void vRecvAllHeadlineTableRecovery(const CHeadlineTableInfo* info) override {
        got.push_back("date " + info->m_strKey + " " + std::to_string(info->m_cStatus));
    }
};

class ScriptedBackendTest : public ::testing::Test {
protected:
    void SetUp() override {
        NewsSubscriptions::instance().clear();
        m_backend.addService(1, "Full One", "One", "20240102");
        m_backend.addService(2, "Full Two", "Two", "20240102");
    }
    void TearDown() override { NewsSubscriptions::instance().clear(); }
    static void subscribe(NewsReceiver& r, unsigned char service) {
        NewsSubscriptions::instance().change(&r, {CSymbolInfo{service, "", ""}}, {});
    }

    ScriptedBackend m_backend;
};

TEST_F(ScriptedBackendTest, TablesAreBuiltFromDeclaredHeadlinesAndEveryCallIsLogged) {
    const CHeadlineTable a =
        m_backend.addHeadline(headline(1, 12, kNineThirty, 10, "A"), {CSymbolInfo{16, "2330", ""}});
    m_backend.addHeadline(headline(1, 13, kNineThirty + 60, 11, "B"));
    m_backend.addHeadline(headline(1, 14, kNineThirty + 86400, 10, "next day"));
    const std::size_t mark = m_backend.mark();

    std::vector<CHeadlineTable> table;
    EXPECT_EQ(m_backend.BKQNEWS_iGetHeadlineTable(1, table, ScriptedBackend::kByDate, "20240102"), 2);
    EXPECT_EQ(m_backend.BKQNEWS_iGetHeadlineTable(1, table, ScriptedBackend::kByCategory, "10"), 2);
    EXPECT_EQ(table.size(), 4u) << "tables are appended to the caller's vector";
    EXPECT_EQ(m_backend.BKQNEWS_iGetHeadlineTable(table, 1, CSymbolInfo{16, "2330", ""}), 1);
    std::vector<CHeadline> found;
    CHeadlineTable otherService = a;
    otherService.m_byService = 2;
    EXPECT_EQ(m_backend.BKQNEWS_iGetHeadline(1, found, {a, otherService}), 1)
        << "entries of another service are skipped";
    CStory story;
    EXPECT_FALSE(m_backend.BKQNEWS_bGetStory(story, a));

    const std::vector<std::string> expected = {
        "BKQNEWS_iGetHeadlineTable(1, kind 0, \"20240102\") -> 2",
        "BKQNEWS_iGetHeadlineTable(1, kind 1, \"10\") -> 2",
        "BKQNEWS_iGetHeadlineTable(1, symbol 16:2330) -> 1",
        "BKQNEWS_iGetHeadline(1, [1#12@09:30:00 2#12@09:30:00]) -> 1",
        "BKQNEWS_bGetStory(1#12@09:30:00) -> false",
    };
    EXPECT_EQ(m_backend.callsSince(mark), expected);
    EXPECT_EQ(m_backend.countCalls("BKQNEWS_iGetHeadlineTable", mark), 3u);
}

TEST_F(ScriptedBackendTest, PushesReachOnlyTheServiceReceiversAndOnlyWhileConnected) {
    Receiver one;
    Receiver two;
    Receiver late;
    subscribe(one, 1);
    subscribe(two, 2);
    // A receiver that unregisters another during the push: the other must not be called.
    one.onPush = [&] { NewsSubscriptions::instance().removeReceiver(&late); };
    subscribe(late, 1);

    EXPECT_EQ(m_backend.pushHeadline(headline(1, 20, kNineThirty, 10, "P"), "10", "2330"), 1);
    EXPECT_EQ(one.got, std::vector<std::string>{"push P 10 2330"});
    EXPECT_TRUE(two.got.empty());
    EXPECT_TRUE(late.got.empty());
    std::vector<CHeadlineTable> table;
    EXPECT_EQ(m_backend.BKQNEWS_iGetHeadlineTable(1, table, ScriptedBackend::kBySymbol, "2330"), 1)
        << "a pushed headline joins the back end's tables";

    m_backend.setConnected(false);
    EXPECT_EQ(m_backend.pushHeadline(headline(1, 21, kNineThirty, 10, "Q"), "10", ""), -1);
    EXPECT_EQ(one.got.size(), 1u);
    EXPECT_EQ(m_backend.headlineBySeq(1, 21), nullptr) << "nothing arrives while disconnected";
}

TEST_F(ScriptedBackendTest, RequestsWaitUntilTheTestAnswersThem) {
    Receiver r;
    subscribe(r, 1);
    const CHeadlineTable e = m_backend.addHeadline(headline(1, 12, kNineThirty, 10, "A"));

    EXPECT_TRUE(m_backend.BKQNews_bReRequestHeadlineStory(e));
    EXPECT_TRUE(m_backend.BKNEWS_bReRequestHeadlineTable(1, ScriptedBackend::kByDate, "20240101"));
    ASSERT_EQ(m_backend.pendingRequests().size(), 2u);
    EXPECT_TRUE(r.got.empty()) << "nothing is answered by itself";

    m_backend.setStory(e, "body");
    EXPECT_EQ(m_backend.answerStory(e), 1);
    EXPECT_EQ(m_backend.recoverDateTable(1, "20240101", {}, -1), 1);
    EXPECT_EQ(r.got, (std::vector<std::string>{"story #12", "date 20240101 -1"}));
    EXPECT_TRUE(m_backend.pendingRequests().empty());
    EXPECT_EQ(m_backend.table(1, ScriptedBackend::kByDate, "20240101"), nullptr)
        << "a failed recovery leaves the table as it was";

    m_backend.setConnected(false);
    EXPECT_FALSE(m_backend.BKQNews_bReRequestHeadlineStory(e));
    EXPECT_TRUE(m_backend.pendingRequests().empty());
    EXPECT_EQ(m_backend.calls().back(), "BKQNews_bReRequestHeadlineStory(1#12@09:30:00) -> false");
}

TEST_F(ScriptedBackendTest, RecoveriesAnswerFromTheCacheAtOnceAndTheRestLater) {
    Receiver r;
    subscribe(r, 1);
    const CHeadlineTable cached = m_backend.addHeadline(headline(1, 12, kNineThirty, 10, "A"));
    CHeadlineTable missing = cached;
    missing.m_iSeqNo = 99;
    std::vector<CHeadline> headlines;
    EXPECT_TRUE(m_backend.BKQNEWS_bReCoverHeadline(1, headlines, {cached, missing}));
    ASSERT_EQ(headlines.size(), 1u) << "what the cache holds comes back at once";
    EXPECT_EQ(headlines[0].m_strTitle, "A");
    ASSERT_EQ(m_backend.pendingRequests().size(), 1u);
    EXPECT_EQ(m_backend.answerHeadlines({cached, missing}), 1);
    EXPECT_TRUE(m_backend.pendingRequests().empty());

    EXPECT_EQ(m_backend.recoverCategoryTable(1, "11", {cached}), 1);
    ASSERT_NE(m_backend.table(1, ScriptedBackend::kByCategory, "11"), nullptr);
    EXPECT_EQ(*m_backend.table(1, ScriptedBackend::kByCategory, "11"), std::vector<CHeadlineTable>{cached});

    EXPECT_EQ(m_backend.marketStatus(1, 20240103), 1);
    EXPECT_EQ(m_backend.BKQNEWS_cszGetCurrDateByService(1), "20240103");
    EXPECT_EQ(m_backend.marketStatus(2, 20240103), 0) << "no receiver registered service 2";
    EXPECT_EQ(r.got, (std::vector<std::string>{"headlines 2", "category 11", "day 20240103"}));
}

TEST_F(ScriptedBackendTest, SymbolSearchListsExactCodesThenPrefixesThenNames) {
    m_backend.addQuoteService(16, "TSE");
    m_backend.addSymbol(16, "23301", "Warrant on 2330");
    m_backend.addSymbol(16, "2330", "TSMC");
    m_backend.addSymbol(16, "1101", "Cement 2330 Holdings");
    m_backend.install();
    std::vector<CString> candidates;
    EXPECT_TRUE(SearchControl::FindSearchList("2330", candidates));
    EXPECT_EQ(candidates, (std::vector<CString>{"[TSE] 2330 TSMC", "[TSE] 23301 Warrant on 2330",
                                                "[TSE] 1101 Cement 2330 Holdings"}));
    candidates.clear();
    EXPECT_FALSE(SearchControl::FindSearchList("", candidates)) << "an empty text matches nothing";
    m_backend.uninstall();
    EXPECT_EQ(SearchControl::GetSearchObjInterface(), nullptr);
}

TEST_F(ScriptedBackendTest, SimplifiedConversionNeverSplitsADoubleByteCharacter) {
    // 許 is B3 5C: its trail byte is a backslash, which must not match a rule for "\".
    m_backend.addConversion("\\", "/");
    m_backend.addConversion("\xB3\x5C", "X");
    CString out;
    EXPECT_TRUE(m_backend.LangConvertToSimplifiedChinese("a\\\xB3\x5C\xA5\x5C", out));
    EXPECT_EQ(out, "a/X\xA5\x5C");
}

} // namespace
