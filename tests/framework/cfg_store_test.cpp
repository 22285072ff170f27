#include <chrono>
#include <climits>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>

#include <gtest/gtest.h>

#include "host/framework/cfg_store.h"
#include "host/text/cp950.h"

namespace {

namespace fs = std::filesystem;

std::string readFile(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

class CfgStoreTest : public ::testing::Test {
protected:
    void SetUp() override {
        m_dir = fs::temp_directory_path() /
                ("cfg_store_test_" + std::string(::testing::UnitTest::GetInstance()->current_test_info()->name()));
        fs::remove_all(m_dir);
        fs::create_directories(m_dir);
    }
    void TearDown() override { fs::remove_all(m_dir); }

    fs::path m_dir;
};

TEST_F(CfgStoreTest, HostileKeysAndValuesSurviveARoundTripAndBig5StaysReadable) {
    const std::string big5 = cp950::fromUtf8("台積電");
    const std::vector<CfgFileStore::Entry> hostile = {
        {"News", 0, 0, "View1", "empty", ""},
        {"News", 0, 0, "View1", "blanks", "  two at both ends  "},
        {"News", 0, 0, "View1", "separator", "a = b=c"},
        {"News", 0, 0, "View1", "bars", "|x|y|"},
        {"News", 0, 0, "View1", "lines", "one\ntwo\r\nthree\r"},
        {"News", 0, 0, "View1", "percent", "%41%"},
        {"News", 0, 0, "View1", "controls", std::string("nul\0tab\tdel\x7F", 12)},
        {"News", 0, 0, "View1", "big5", big5},
        // Trail bytes that look like '\\', '|' and '=' stand-ins: 許 B3 5C, 功 A5 5C, and raw pairs.
        {"News", 0, 0, "View1", "trails", "\xB3\x5C\xA5\x5C\xA4\x7C"},
        {"News", 0, 0, "View1", "lone lead", "abc\xA4"},
        {"News", 0, 0, "View1", "bad pair", "\x81\x20\x80\xFF"},
        {"News", 0, 0, "View1", "user area", "\xFA\x40"},
        {"#News", -1, INT_MIN, " view = | ", "#key", "v"},
        {"a|b", INT_MAX, 7, big5, "k=v", big5 + " " + big5},
    };
    CfgFileStore store;
    for (const auto& e : hostile) {
        store.SetViewInfo(e.section, e.layout1, e.layout2, e.viewKey, e.key, e.value);
    }
    const std::string text = store.serialize();

    CfgFileStore loaded;
    const auto result = loaded.parse(text);
    ASSERT_TRUE(result.ok()) << result.error << "\n" << text;
    EXPECT_EQ(loaded.entries(), store.entries());

    EXPECT_NE(text.find("big5 = 台積電\n"), std::string::npos) << "characters that convert are written as UTF-8";
    std::size_t lines = 0;
    for (std::size_t pos = 0; pos < text.size(); ++pos) {
        const auto c = static_cast<unsigned char>(text[pos]);
        EXPECT_FALSE((c < 0x20 && c != '\n') || c == 0x7F) << "raw control byte at " << pos;
        lines += c == '\n' ? 1 : 0;
    }
    EXPECT_EQ(lines, hostile.size() + 2) << "one line per setting plus the header and the end line";
    EXPECT_NE(text.find("\n# end: " + std::to_string(hostile.size()) + " settings\n"), std::string::npos);
    EXPECT_EQ(loaded.serialize(), text) << "one store, one file text";
}

TEST_F(CfgStoreTest, SavingReplacesTheFileAtomicallyAndLoadingReadsItBack) {
    const fs::path path = m_dir / "layout.cfg";
    CfgFileStore store;
    store.SetViewInfoInt("News", 1, 2, "View", "Width", 640);
    std::string error;
    ASSERT_TRUE(store.save(path.string(), &error)) << error;
    store.SetViewInfo("News", 1, 2, "View", "Width", "800");
    store.SetViewInfoBool("News", 1, 2, "View", "Flag", true);
    ASSERT_TRUE(store.save(path.string(), &error)) << error;
    EXPECT_EQ(std::distance(fs::directory_iterator(m_dir), fs::directory_iterator{}), 1)
        << "no temporary file is left beside the store";

    CfgFileStore loaded;
    ASSERT_TRUE(loaded.load(path.string()).ok());
    int width = 0;
    bool flag = false;
    EXPECT_TRUE(loaded.GetViewInfoInt("News", 1, 2, "View", "Width", width));
    EXPECT_EQ(width, 800);
    EXPECT_TRUE(loaded.GetViewInfoBool("News", 1, 2, "View", "Flag", flag));
    EXPECT_TRUE(flag);
    CString missing = "unchanged";
    EXPECT_FALSE(loaded.GetViewInfo("News", 1, 3, "View", "Width", missing));
    EXPECT_EQ(missing, "unchanged");

    const std::string before = readFile(path);
    EXPECT_FALSE(store.save((m_dir / "no such folder" / "layout.cfg").string(), &error));
    EXPECT_FALSE(error.empty());
    EXPECT_EQ(readFile(path), before);
    EXPECT_EQ(loaded.load((m_dir / "absent.cfg").string()).status, CfgFileStore::LoadStatus::kMissing);
    EXPECT_TRUE(loaded.empty());
}

TEST_F(CfgStoreTest, ASaveRemovesTemporaryFilesThatACrashLeftBehind) {
    const fs::path path = m_dir / "layout.cfg";
    const auto aged = fs::file_time_type::clock::now() - std::chrono::hours(2);
    for (const char* name : {"layout.cfg.tmp-1-0", "layout.cfg.tmp-crashed", "layout.cfg.tmp-running",
                             "other.cfg.tmp-1-0", "layout.cfg.bak"}) {
        std::ofstream(m_dir / name) << "partial";
        if (std::string(name) != "layout.cfg.tmp-running") {
            fs::last_write_time(m_dir / name, aged);
        }
    }
    std::ofstream(m_dir / "layout.cfg.tmp-90s") << "partial";
    fs::last_write_time(m_dir / "layout.cfg.tmp-90s", fs::file_time_type::clock::now() - std::chrono::seconds(90));
    CfgFileStore store;
    store.SetViewInfo("News", 0, 0, "View", "Key", "value");
    ASSERT_TRUE(store.save(path.string()));
    std::set<std::string> left;
    for (const auto& entry : fs::directory_iterator(m_dir)) {
        left.insert(entry.path().filename().string());
    }
    EXPECT_EQ(left,
              (std::set<std::string>{"layout.cfg", "layout.cfg.tmp-running", "other.cfg.tmp-1-0", "layout.cfg.bak"}))
        << "temporaries of this file older than a minute go; a fresh one may be another process's save in progress";
}

TEST_F(CfgStoreTest, DamagedFilesAreRejectedWithTheirLineAndLeaveTheStoreEmpty) {
    const std::string header = std::string(CfgFileStore::kHeader) + "\n";
    struct Case {
        const char* why;
        std::string text;
        std::size_t line;
    };
    const std::vector<Case> cases = {
        {"empty file", "", 1},
        {"no header", "News|0|0|V|K = v\n", 1},
        {"no format number", "# news layout store x\n# end: 0 settings\n", 1},
        {"cut short", header + "News|0|0|V|K = v\n", 3},
        {"cut inside a line", header + "News|0|0|V|K = va", 3},
        {"end line miscounts", header + "News|0|0|V|K = v\n# end: 2 settings\n", 3},
        {"end line garbled", header + "# end: one settings\n", 2},
        {"text after the end", header + "# end: 0 settings\nNews|0|0|V|K = v\n", 3},
        {"no separator", header + "News|0|0|V|K v\n", 2},
        {"separator without blank", header + "News|0|0|V|K=v\n", 2},
        {"four fields", header + "\n# note\nNews|0|0|K = v\n", 4},
        {"layout not a number", header + "News|x|0|V|K = v\n", 2},
        {"layout with plus", header + "News|+1|0|V|K = v\n", 2},
        {"bad escape", header + "News|0|0|V|K = %G1\n", 2},
        {"cut escape", header + "News|0|0|V|K = %4", 2},
        {"raw tab", header + "News|0|0|V|K = a\tb\n", 2},
        {"malformed UTF-8", header + "News|0|0|V|K = \xC3\x28\n", 2},
        {"overlong UTF-8", header + "News|0|0|V|K = \xC0\xAF\n", 2},
        {"lone continuation", header + "News|0|0|V|K = \x80\n", 2},
        {"not in code page 950", header + "News|0|0|V|K = \xF0\x9F\x98\x80\n", 2},
        {"duplicate", header + "News|0|0|V|K = 1\nNews|0|0|V|K = 2\n", 3},
    };
    for (const Case& c : cases) {
        CfgFileStore store;
        store.SetViewInfo("Old", 0, 0, "V", "K", "kept?");
        const auto result = store.parse(c.text);
        EXPECT_EQ(result.status, CfgFileStore::LoadStatus::kDamaged) << c.why;
        EXPECT_EQ(result.line, c.line) << c.why << ": " << result.error;
        EXPECT_NE(result.error.find("line " + std::to_string(c.line)), std::string::npos) << c.why;
        EXPECT_TRUE(store.empty()) << c.why;
    }

    CfgFileStore newer;
    newer.SetViewInfo("Old", 0, 0, "V", "K", "kept?");
    const auto tooNew = newer.parse("# news layout store 3\nNews|0|0|V|K = v\n# end: 1 settings\n");
    EXPECT_EQ(tooNew.status, CfgFileStore::LoadStatus::kTooNew);
    EXPECT_NE(tooNew.error.find("newer version"), std::string::npos) << tooNew.error;
    EXPECT_TRUE(newer.empty());

    CfgFileStore legacy;
    ASSERT_TRUE(legacy.parse("# news layout store 1\nNews|0|0|V|K = v\n").ok()) << "format 1 had no end line";
    EXPECT_EQ(legacy.size(), 1u);

    CfgFileStore store;
    const auto crlf = store.parse(header.substr(0, header.size() - 1) +
                                  "\r\nNews|0|0|V|K =\r\nNews|0|0|V|L = x\r\n# end: 2 settings\r\n");
    ASSERT_TRUE(crlf.ok()) << crlf.error;
    CString value = "?";
    EXPECT_TRUE(store.GetViewInfo("News", 0, 0, "V", "K", value));
    EXPECT_EQ(value, "") << "an editor may trim the blank after '=' of an empty value";
    EXPECT_TRUE(store.GetViewInfo("News", 0, 0, "V", "L", value));
    EXPECT_EQ(value, "x");
}

} // namespace
