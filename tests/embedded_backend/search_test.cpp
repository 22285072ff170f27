// Keyword search of the store: scopes, AND / OR, short and long keywords, Big5 pitfalls.
#include <gtest/gtest.h>

#include "backend_fixture.h"
#include "embedded_backend/news_store.h"
#include "embedded_backend/search_text.h"

namespace embedded::test {
namespace {

constexpr int kDay = 20240305;

class StoreSearchTest : public ::testing::Test {
protected:
    TempFolder folder;
    NewsStore store;

    void SetUp() override {
        const StoreOpenResult r = store.open((folder.path() / "news.db").string(), OpenMode::KeepExisting, morning());
        ASSERT_TRUE(r.ok()) << r.message;
    }

    HeadlineRecord record(std::int32_t seq, const CString& title, unsigned char service = 16, std::int64_t time = 0,
                          std::vector<CSymbolInfo> symbols = {}) {
        HeadlineRecord h;
        h.service = service;
        h.day = kDay;
        h.seq = seq;
        h.time = time != 0 ? time : morning() + seq;
        h.category = 1;
        h.title = title;
        h.symbols = std::move(symbols);
        h.sortKey = makeSortKey(h.time, seq, service);
        return h;
    }
    void add(std::int32_t seq, const char* title, const char* story = nullptr, unsigned char service = 16) {
        NewsBatch batch;
        batch.changes.emplace_back(record(seq, big5(title), service));
        if (story != nullptr) {
            batch.changes.emplace_back(StoryRecord{service, kDay, seq, morning() + seq, big5(story)});
        }
        ASSERT_TRUE(store.applyBatch(batch)) << store.lastError();
    }
    void addRaw(std::int32_t seq, const CString& title, const CString& story) {
        NewsBatch batch;
        batch.changes.emplace_back(record(seq, title));
        batch.changes.emplace_back(StoryRecord{16, kDay, seq, morning() + seq, story});
        ASSERT_TRUE(store.applyBatch(batch)) << store.lastError();
    }
    std::vector<std::int32_t> find(std::vector<CString> keywords, unsigned char scope = 2, bool all = true,
                                   unsigned char service = 16, std::size_t limit = 100,
                                   std::vector<CString> symbols = {}) {
        SearchRequest r;
        r.service = service;
        r.keywords = std::move(keywords);
        r.scope = scope;
        r.matchAll = all;
        r.limit = limit;
        r.symbols = std::move(symbols);
        std::vector<CHeadlineTable> out;
        EXPECT_TRUE(store.search(r, out)) << store.lastError();
        std::vector<std::int32_t> seqs;
        for (const CHeadlineTable& e : out) {
            EXPECT_EQ(e.m_byService, service);
            seqs.push_back(e.m_iSeqNo);
        }
        return seqs;
    }
    std::vector<std::int32_t> find(const char* keyword, unsigned char scope = 2) {
        return find({big5(keyword)}, scope);
    }
};

using Seqs = std::vector<std::int32_t>;

TEST_F(StoreSearchTest, ScopeChoosesTitlesStoriesOrBoth) {
    add(1, "台積電營收創新高", "鴻海法說會在即");
    add(2, "鴻海法說會", "台積電擴大資本支出");
    add(3, "聯發科除息", "與前兩則無關");
    EXPECT_EQ(find("台積電", 0), (Seqs{1}));
    EXPECT_EQ(find("台積電", 1), (Seqs{2}));
    EXPECT_EQ(find("台積電", 2), (Seqs{2, 1})) << "newest first";
    // The same for the short keywords, served by the other index.
    EXPECT_EQ(find("鴻海", 0), (Seqs{2}));
    EXPECT_EQ(find("鴻海", 1), (Seqs{1}));
    EXPECT_EQ(find("鴻", 2), (Seqs{2, 1}));
    EXPECT_EQ(find("息", 0), (Seqs{3}));
    EXPECT_EQ(find("息", 1), (Seqs{}));
}

TEST_F(StoreSearchTest, AndOrAndSingleKeyword) {
    add(1, "台積電法說會", "資本支出上調");
    add(2, "台積電營收", "月增百分之五");
    add(3, "鴻海營收", "年增百分之十");
    EXPECT_EQ(find({big5("台積電"), big5("法說會")}, 2, true), (Seqs{1}));
    EXPECT_EQ(find({big5("台積電"), big5("法說會")}, 2, false), (Seqs{2, 1}));
    EXPECT_EQ(find({big5("營收"), big5("年增百")}, 2, true), (Seqs{3})) << "mixed lengths, AND";
    EXPECT_EQ(find({big5("營收"), big5("法說會")}, 2, false), (Seqs{3, 2, 1})) << "mixed lengths, OR, no duplicates";
    EXPECT_EQ(find({big5("營收"), big5("台積電")}, 0, true), (Seqs{2}));
    EXPECT_EQ(find({big5("營收"), big5("資本支出")}, 0, true), (Seqs{})) << "scope holds for every keyword";
    EXPECT_EQ(find({big5("營收"), big5("資本支出")}, 2, true), (Seqs{})) << "AND needs both in one headline";
    EXPECT_EQ(find({big5("台積電"), big5("資本支出")}, 2, true), (Seqs{1})) << "one in the title, one in the story";
    EXPECT_EQ(find({big5("台積電"), CString{}, big5("台積電")}, 2, true), (Seqs{2, 1}))
        << "empty and repeated keywords are ignored";
    EXPECT_EQ(find({CString{}}, 2, true), (Seqs{}));
}

TEST_F(StoreSearchTest, OneAndTwoCharacterKeywordsAreExact) {
    add(1, "漲停", "收盤大漲");
    add(2, "營業收入", "無");           // 營 and 收 apart: no "營收"
    add(3, "月營收", "創新高");         // "營收" at the end of the title
    add(4, "跌", "尾盤跌");             // a one-character title
    add(5, "外資賣超", "營\r\n收減少"); // transport wrapping between the two characters
    add(6, "盤後", "第一段營@@@@收");   // a paragraph mark between them: no match
    EXPECT_EQ(find("漲"), (Seqs{1}));
    EXPECT_EQ(find("營收"), (Seqs{5, 3}));
    EXPECT_EQ(find("營收", 0), (Seqs{3}));
    EXPECT_EQ(find("跌", 0), (Seqs{4}));
    EXPECT_EQ(find("收"), (Seqs{6, 5, 3, 2, 1}));
    EXPECT_EQ(find("超"), (Seqs{5})) << "last character of a title";
    EXPECT_EQ(find("尾"), (Seqs{4})) << "first character of a story";
    EXPECT_EQ(find("營業收"), (Seqs{2}));
    EXPECT_EQ(find("業收入"), (Seqs{2}));
    EXPECT_EQ(find("新聞"), (Seqs{}));
}

TEST_F(StoreSearchTest, Big5TrailBytesNeverMatchAcrossCharacters) {
    // 許 B3 5C and 功 A5 5C end in a backslash byte, 四 A5 7C in '|'.
    addRaw(1, big5("許功蓋"), big5("四"));
    addRaw(2, "C:\\path", "a|b");
    // 中 is A4 A4, so 中 followed by a character led by E5 holds the bytes A4 E5 (文) across the boundary.
    const CString led = "\xE5\x40";
    ASSERT_TRUE(cp950::isValid(led));
    addRaw(3, big5("中") + led + big5("中"), big5("無關"));
    addRaw(4, big5("作文"), big5("無關"));
    EXPECT_EQ(find({"\\"}), (Seqs{2})) << "the backslash byte inside 許 and 功 is no backslash";
    EXPECT_EQ(find({"|"}), (Seqs{2}));
    EXPECT_EQ(find({":\\p"}), (Seqs{2}));
    EXPECT_EQ(find({big5("文")}), (Seqs{4})) << "A4 E5 across two characters is no 文";
    EXPECT_EQ(find({big5("許")}), (Seqs{1}));
    EXPECT_EQ(find({big5("許功")}), (Seqs{1}));
    EXPECT_EQ(find({big5("許功蓋")}), (Seqs{1}));
    EXPECT_EQ(find({big5("中") + led}), (Seqs{3}));
}

TEST_F(StoreSearchTest, LatinLettersIgnoreCaseAndQuotesAreLiteral) {
    add(1, "TSMC ADR漲", "AI伺服器");
    add(2, "說\"利多\"出盡", "quote");
    EXPECT_EQ(find("tsmc"), (Seqs{1}));
    EXPECT_EQ(find("Adr"), (Seqs{1}));
    EXPECT_EQ(find("ai"), (Seqs{1}));
    EXPECT_EQ(find("Q"), (Seqs{2})) << "one letter folds as well";
    EXPECT_EQ(find("\"利多\""), (Seqs{2}));
    EXPECT_EQ(find("\""), (Seqs{2}));
    EXPECT_EQ(find("OR"), (Seqs{})) << "keywords are text, not query syntax";
}

TEST_F(StoreSearchTest, NewestFirstWithinALimitAndOneService) {
    NewsBatch batch;
    for (int i = 1; i <= 30; ++i) {
        // Times run backwards against the numbers: the order must follow the time.
        batch.changes.emplace_back(record(i, big5("台積電快訊"), 16, morning() + 1000 - i));
        batch.changes.emplace_back(record(i, big5("台積電快訊"), 22, morning() + 2000 + i));
    }
    batch.changes.emplace_back(record(31, big5("台積電快訊"), 16, morning() + 1000 - 1)); // same second as 1
    ASSERT_TRUE(store.applyBatch(batch));
    EXPECT_EQ(find({big5("台積電")}, 2, true, 16, 4), (Seqs{31, 1, 2, 3})) << "a tie in time goes to the higher number";
    EXPECT_EQ(find({big5("台")}, 2, true, 16, 3), (Seqs{31, 1, 2}));
    EXPECT_EQ(find({big5("台")}, 2, true, 22, 2), (Seqs{30, 29}));
    EXPECT_EQ(find({big5("台積"), big5("快訊")}, 2, true, 22, 2), (Seqs{30, 29}));
    EXPECT_EQ(find({big5("台積電"), big5("訊")}, 2, false, 22, 1), (Seqs{30}));
}

TEST_F(StoreSearchTest, BoundSymbolsNarrowTheResults) {
    NewsBatch batch;
    batch.changes.emplace_back(record(1, big5("營收公告"), 16, 0, {CSymbolInfo{16, "2330", ""}}));
    batch.changes.emplace_back(record(2, big5("營收公告"), 16, 0, {CSymbolInfo{16, "2317", ""}}));
    batch.changes.emplace_back(record(3, big5("營收公告"), 16, 0, {}));
    ASSERT_TRUE(store.applyBatch(batch));
    EXPECT_EQ(find({big5("營收")}, 2, true, 16, 100, {"2317"}), (Seqs{2}));
    EXPECT_EQ(find({big5("營收公告")}, 2, true, 16, 100, {"2330", "2317"}), (Seqs{2, 1}));
    EXPECT_EQ(find({big5("營收"), big5("公告")}, 2, false, 16, 1, {"2330"}), (Seqs{1}));
}

TEST_F(StoreSearchTest, LateStoriesResendsAndDroppedDaysKeepTheIndexTrue) {
    add(1, "鴻海公告");
    EXPECT_EQ(find("電動車", 1), (Seqs{}));
    ASSERT_TRUE(store.applyBatch(NewsBatch{{StoryRecord{16, kDay, 1, morning(), big5("電動車出貨")}}, false}));
    EXPECT_EQ(find("電動車", 1), (Seqs{1})) << "a late story is indexed with its headline";
    ASSERT_TRUE(store.applyBatch(NewsBatch{{StoryRecord{16, kDay, 1, morning(), big5("伺服器出貨")}}, false}));
    EXPECT_EQ(find("電動車", 1), (Seqs{})) << "a replaced story leaves the index";
    EXPECT_EQ(find("伺服器", 1), (Seqs{1}));

    // A story that comes before its headline waits in the store.
    ASSERT_TRUE(store.applyBatch(NewsBatch{{StoryRecord{16, kDay, 2, morning(), big5("先到的內文")}}, false}));
    add(2, "後到的標題");
    EXPECT_EQ(find("先到", 1), (Seqs{2}));

    // A re-sent headline replaces the title in the index and keeps its story.
    NewsBatch resend;
    resend.changes.emplace_back(record(1, big5("(更正)鴻海澄清"), 16, morning() + 500));
    ASSERT_TRUE(store.applyBatch(resend));
    EXPECT_EQ(find("公告", 0), (Seqs{}));
    EXPECT_EQ(find("澄清", 0), (Seqs{1}));
    EXPECT_EQ(find("伺服器", 1), (Seqs{1}));
    EXPECT_EQ(store.headlineCount(), 2);

    // A new day drops the days before the kept range from the rows and the index.
    ASSERT_TRUE(store.applyBatch(NewsBatch{{DayChange{16, addDays(kDay, 3), addDays(kDay, 1)}}, false}));
    EXPECT_EQ(store.headlineCount(), 0);
    EXPECT_EQ(find("澄清"), (Seqs{}));
    EXPECT_EQ(find("伺"), (Seqs{}));
    EXPECT_FALSE(store.story(16, kDay, 1));
}

TEST_F(StoreSearchTest, OneTransactionWithLateStoriesAndAResendStaysConsistent) {
    // Late stories are re-indexed at commit; a resend in between must see the index as it is.
    NewsBatch batch;
    batch.changes.emplace_back(record(1, big5("甲公司公告")));
    batch.changes.emplace_back(record(2, big5("乙公司公告")));
    batch.changes.emplace_back(StoryRecord{16, kDay, 1, morning(), big5("第一版內文"), false});
    batch.changes.emplace_back(StoryRecord{16, kDay, 2, morning(), big5("乙的內文"), false});
    batch.changes.emplace_back(record(1, big5("甲公司更正"), 16, morning() + 100));
    batch.changes.emplace_back(StoryRecord{16, kDay, 1, morning(), big5("第二版內文"), false});
    batch.changes.emplace_back(StoryRecord{16, kDay, 2, morning(), big5("乙的新內文"), false});
    ASSERT_TRUE(store.applyBatch(batch)) << store.lastError();
    EXPECT_EQ(find("第一版", 1), (Seqs{}));
    EXPECT_EQ(find("第二版", 1), (Seqs{1}));
    EXPECT_EQ(find("乙的內", 1), (Seqs{}));
    EXPECT_EQ(find("乙的新", 1), (Seqs{2}));
    EXPECT_EQ(find("甲公司公告", 0), (Seqs{}));
    EXPECT_EQ(find("甲公司", 0), (Seqs{1}));
    EXPECT_EQ(find("內文", 1), (Seqs{1, 2}));
    // The rows agree with the index: dropping the day unindexes every text without error.
    ASSERT_TRUE(store.applyBatch(NewsBatch{{DayChange{16, addDays(kDay, 2), addDays(kDay, 1)}}, false}))
        << store.lastError();
    EXPECT_EQ(find("內", 2), (Seqs{}));
}

TEST(SearchText, IndexFormDropsWrappingAndFoldsLatinOnly) {
    EXPECT_EQ(indexText(big5("台積\r\n電") + "ABC@@@@xyz"), "\xE5\x8F\xB0\xE7\xA9\x8D\xE9\x9B\xBB"
                                                            "abc\nxyz");
    EXPECT_EQ(indexText("@@\r\n@@"), "\n") << "wrapping inside a paragraph mark";
    EXPECT_EQ(indexText(big5("一") + "@@@"), "\xE4\xB8\x80@@@") << "the 0x40 trail byte of 一 is no '@'";
    EXPECT_EQ(utf8Length(indexText(big5("台積電EPS"))), 6u);
    EXPECT_EQ(ftsQuote("a\"b"), "\"a\"\"b\"");
}

} // namespace
} // namespace embedded::test
