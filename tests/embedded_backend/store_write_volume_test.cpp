// What the store writes to disk for a steady stream of small transactions: a terminal stores
// one headline at a time all day, so the bytes per headline decide whether a day of news costs
// megabytes or gigabytes of disk writes.
#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include "backend_fixture.h"
#include "embedded_backend/news_store.h"

namespace embedded::test {
namespace {

constexpr int kDay = 20240305;

// Bytes this process has handed to write calls so far (Linux: /proc/self/io "wchar"). Counted
// at the system call, so a tmpfs test folder counts the same as a disk.
std::uint64_t bytesWritten() {
    std::ifstream io("/proc/self/io");
    std::string key;
    std::uint64_t value = 0;
    while (io >> key >> value) {
        if (key == "wchar:") {
            return value;
        }
    }
    return 0;
}

// Texts that vary like generated news: the full-text indexes see new terms in every row.
class NewsTexts {
public:
    CString title(int n) { return pick(kTitles, n) + pick(kCompanies, n * 7 + 3) + std::to_string(1000 + n % 8999); }
    CString story(int n) {
        CString text;
        for (int i = 0; i < 6; ++i) {
            text += pick(kSentences, n * 5 + i * 11) + pick(kCompanies, n + i) + std::to_string(n * 37 % 1000) + "@@@@";
        }
        return text;
    }

private:
    template <std::size_t N> CString pick(const char* const (&list)[N], int n) {
        return big5(list[static_cast<std::size_t>(n) % N]);
    }
    static constexpr const char* kTitles[] = {"營收創新高",   "法說會釋出展望", "董事會決議配息", "澄清媒體報導",
                                              "取得廠房土地", "外資調升目標價", "第三季每股盈餘"};
    static constexpr const char* kCompanies[] = {"台積電", "鴻海", "聯發科", "台塑", "中華電", "國泰金",
                                                 "大立光", "長榮", "華碩",   "南亞", "統一",   "富邦金"};
    static constexpr const char* kSentences[] = {
        "公司今日公告自結合併營收，較上月成長。", "法人指出，相關領域布局完整，後續表現值得關注。",
        "受惠於車用電子需求持續成長，營運可望維持穩健。", "本案交易總金額約新台幣十億元，對財務無重大影響。",
        "董事會同時通過年度營運計畫，並將召開股東常會。"};
};

TEST(StoreWriteVolume, OneHeadlineATransactionWritesLessThanWithTheLibraryDefaults) {
    if (bytesWritten() == 0) {
        GTEST_SKIP() << "this system does not count the bytes a process writes";
    }
    TempFolder folder;
    NewsStore store;
    const std::string path = (folder.path() / "news.db").string();
    ASSERT_TRUE(store.open(path, OpenMode::KeepExisting, morning()).ok());
    ASSERT_TRUE(store.applyBatch(NewsBatch{{DayChange{16, kDay, kDay}}, false}));
    NewsTexts texts;
    auto batchOf = [&](int seq) {
        NewsBatch batch;
        HeadlineRecord h;
        h.service = 16;
        h.day = kDay;
        h.seq = seq;
        h.time = morning() + seq;
        h.category = 1;
        h.title = texts.title(seq);
        h.sortKey = makeSortKey(h.time, seq, h.service);
        batch.changes.emplace_back(h);
        batch.changes.emplace_back(StoryRecord{16, kDay, seq, h.time, texts.story(seq), true});
        return batch;
    };
    // The first rows create the indexes and the file's first pages; the steady state is measured.
    int seq = 1;
    for (; seq <= 200; ++seq) {
        ASSERT_TRUE(store.applyBatch(batchOf(seq))) << store.lastError();
    }
    constexpr int kMeasured = 600;
    const std::uint64_t before = bytesWritten();
    for (int i = 0; i < kMeasured; ++i, ++seq) {
        ASSERT_TRUE(store.applyBatch(batchOf(seq))) << store.lastError();
    }
    const std::uint64_t perHeadline = (bytesWritten() - before) / kMeasured;
    // Each commit appends the pages it touched to the WAL (4 KiB each) and a checkpoint copies
    // them into the file. With the system library's defaults (freed pages zeroed, a checkpoint
    // every 1000 pages, a 2 MiB cache) and per-row token counts in the indexes this wrote about
    // 169 KiB per headline; it writes about 126 KiB now. Going back on the zeroing, the
    // checkpoint interval or the token counts alone costs more than 140 KiB.
    EXPECT_LT(perHeadline, 136u * 1024) << perHeadline << " bytes written per stored headline";

    // Nothing of what was committed is missing after the store is closed and opened again.
    store.close();
    NewsStore reopened;
    ASSERT_TRUE(reopened.open(path, OpenMode::KeepExisting, morning()).ok());
    LoadedNews loaded;
    ASSERT_TRUE(reopened.load(7, kDay, loaded)) << reopened.lastError();
    EXPECT_EQ(loaded.headlines.size(), static_cast<std::size_t>(seq - 1));
}

} // namespace
} // namespace embedded::test
