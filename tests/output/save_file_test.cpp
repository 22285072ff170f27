// The saved news file, byte for byte, and what saving asks and converts.
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "adapters/headless/headless_host.h"
#include "adapters/headless/scripted_backend.h"
#include "host/text/cp950.h"
#include "output/save_to_file.h"

namespace {

namespace fs = std::filesystem;

std::string big5(const char* utf8) {
    return cp950::fromUtf8(utf8);
}

std::string readBytes(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream bytes;
    bytes << file.rdbuf();
    return bytes.str();
}

fs::path sourceDir() {
    return fs::path(NEWS_SOURCE_DIR);
}

class SaveFileTest : public ::testing::Test {
protected:
    SaveFileTest() {
        m_backend.install();
        m_backend.language().set("IDS_NEWSCTRLVIEW_STRING_FILE_FILTER", big5("文字檔"));
        m_backend.language().set("IDS_NEWSCTRLVIEW_NEWS_NO", big5("新聞編號"));
        m_backend.language().set("IDS_NEWSCTRLVIEW_STRING_NEWS_TITLE", big5("新聞標題："));
        m_backend.language().set("IDS_NEWSCTRLVIEW_NEWS_STORY", big5("新聞內容："));
        const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
        m_dir = fs::temp_directory_path() / ("save-file-" + std::string(info->name()));
        fs::remove_all(m_dir);
        fs::create_directories(m_dir);
    }
    ~SaveFileTest() override {
        m_backend.uninstall();
        fs::remove_all(m_dir);
    }

    static NewsPrintItem item(std::int32_t seqNo, const std::string& title, const std::string& story) {
        NewsPrintItem item;
        item.m_entry.m_byService = 16;
        item.m_entry.m_iSeqNo = seqNo;
        item.m_strTitle = title;
        item.m_strStory = story;
        item.m_byHasTitle = 1;
        item.m_byHasStory = 1;
        return item;
    }
    // Saves through the dialog (answered with path) and returns the file's bytes.
    std::string save(const NewsPrintList& items, const std::string& name = "news.txt") {
        m_host.dialogs().answerSaveFile((m_dir / name).string());
        TRVSaveToFile saver;
        saver.Print(items, nullptr);
        return readBytes(m_dir / name);
    }

    headless::HeadlessHost m_host;
    headless::ScriptedBackend m_backend;
    fs::path m_dir;
};

TEST_F(SaveFileTest, MatchesTheGoldenFileByteForByte) {
    // A 200-byte title: two lines of 80 bytes, the last 40 left out (with the blank line).
    const std::string title200 = big5("台積電聯發科鴻海大立光國泰金富邦金中華電統一超台塑化南亞塑中鋼長榮陽明萬海日月光"
                                      "第二行標題共有四十個中文字元剛好八十位元組這是為了測試標題切行的規則是否正確無誤"
                                      "最後這四十位元組的尾巴不會被寫進檔案之中");
    ASSERT_EQ(title200.size(), 200u);
    // Trail bytes 0x5C (許 功), then a story line whose 80th byte begins 台: 79 bytes.
    const std::string story79 = big5("許功蓋") + std::string(73, 'x') + big5("台積電") + "\r\n" + big5("第二段");
    // A line feed inside the first 80 bytes ends the line just after it.
    const std::string storyBreaks = std::string(70, 'y') + "\r\n" + std::string(100, 'z');
    // A title of exactly 80 bytes loses the blank line after it; one of 79 keeps one line feed.
    const std::string title80 =
        big5("台積電聯發科鴻海大立光國泰金富邦金中華電統一超台塑化南亞塑中鋼長榮陽明萬海日月光");
    const std::string title79 = "B" + title80.substr(0, 78);
    const std::string bytes = save({item(7, title200, story79), item(12, title80, storyBreaks), item(3, title79, "")});

    const std::string golden = readBytes(sourceDir() / "tests/output/data/saved_news.golden");
    ASSERT_FALSE(golden.empty()) << "golden file missing";
    EXPECT_EQ(bytes, golden);
    EXPECT_EQ(m_host.dialogs().records().back().flags, 0x040Cu) << "no overwrite prompt";
    EXPECT_EQ(m_host.dialogs().records().back().filter, big5("文字檔") + "(*.txt)|*.txt||");
    EXPECT_EQ(m_host.dialogs().records().back().defaultExtension, "txt");
}

TEST_F(SaveFileTest, AnEmptyListGivesAnEmptyFileAndReplacesWhatWasThere) {
    std::ofstream(m_dir / "news.txt", std::ios::binary) << "old content";
    EXPECT_EQ(save({}), "");
    EXPECT_TRUE(fs::exists(m_dir / "news.txt"));
    EXPECT_EQ(m_host.dialogs().unexpectedCount(), 0u);
    EXPECT_EQ(m_host.dialogs().records().size(), 1u) << "no question before replacing";
}

TEST_F(SaveFileTest, CancelWritesNothing) {
    m_host.dialogs().cancelSaveFile();
    TRVSaveToFile saver;
    saver.Print({item(1, "T", "S")}, nullptr);
    EXPECT_TRUE(fs::is_empty(m_dir));
}

} // namespace
