#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include <gtest/gtest.h>
#include <unistd.h>

#include "host/text/format.h"
#include "host/text/language_table.h"
#include "host/text/profile.h"
#include "host/text/text_file.h"

namespace {

std::string tempPath(const std::string& name) {
    return (std::filesystem::temp_directory_path() / ("news_text_" + std::to_string(getpid()) + "_" + name)).string();
}

std::string readAll(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream content;
    content << file.rdbuf();
    return content.str();
}

} // namespace

// Language files are edited by translators: whatever conversions a text holds, only the
// first integer one takes the count and nothing reads an argument that is not there.
TEST(TextFormat, CountTextsTakeTheNumberOnceAndNothingElse) {
    EXPECT_EQ(text::formatCount("確定要刪除這 %d 組關鍵字組合嗎？", 2), "確定要刪除這 2 組關鍵字組合嗎？");
    EXPECT_EQ(text::formatCount("%i of %u", 3), "3 of %u") << "%i and %u count too, once";
    EXPECT_EQ(text::formatCount("%u%d", 7), "7%d");
    EXPECT_EQ(text::formatCount("100%% %d", 5), "100% 5") << "%% is a percent sign, not a conversion";
    EXPECT_EQ(text::formatCount("%%d", 5), "%d");
    EXPECT_EQ(text::formatCount("%s %n %x %d", 9), "%s %n %x 9") << "other conversions stay as they are";
    EXPECT_EQ(text::formatCount("ends with %", 1), "ends with %");
    EXPECT_EQ(text::formatCount("no number", 4), "no number");
    EXPECT_EQ(text::formatCount("%d", -12), "-12");
}

TEST(TextFormat, LongStringsAndLocalDates) {
    const std::string big(5000, 'x');
    EXPECT_EQ(text::format("%s-%d", big.c_str(), 42), big + "-42") << "longer than any first-guess buffer";
    EXPECT_EQ(text::format("%s", ""), "");

    std::int64_t s = 0;
    EXPECT_TRUE(text::localMidnight(2024, 2, 29, s));
    EXPECT_EQ(text::formatLocalTime("%Y-%m-%d %H:%M:%S", s), "2024-02-29 00:00:00");
    std::int64_t march = 0;
    ASSERT_TRUE(text::localMidnight(2024, 3, 1, march));
    EXPECT_EQ(march - s, 86400);
    EXPECT_TRUE(text::localMidnight(2000, 2, 29, s)) << "2000 is a leap year";
    EXPECT_TRUE(text::localMidnight(1900, 1, 1, s));
    for (auto [y, m, d] : {std::tuple{2023, 2, 29},
                           {1900, 2, 29},
                           {2024, 4, 31},
                           {2024, 0, 1},
                           {2024, 13, 1},
                           {2024, 1, 0},
                           {2024, 1, 32},
                           {1899, 12, 31}})
        EXPECT_FALSE(text::localMidnight(y, m, d, s)) << y << "-" << m << "-" << d;

    std::tm tm{};
    ASSERT_TRUE(text::localTime(march, tm));
    EXPECT_EQ(tm.tm_mday, 1);
    EXPECT_EQ(tm.tm_hour, 0);
    const std::string prefix(300, '.');
    EXPECT_EQ(text::formatLocalTime((prefix + "%Y").c_str(), march), prefix + "2024");
    EXPECT_EQ(text::formatLocalTime("", march), "");
}

TEST(LanguageTableTest, EscapesCommentsAndConversion) {
    LanguageTable table;
    std::string error;
    ASSERT_TRUE(table.parse("\xEF\xBB\xBF# comment\n\n  \nIDS_A=\xE8\xA8\xB1\xE5\x8A\x9F\r\n"
                            " IDS_B = a\\nb\\tc\\\\d\\x\\\nIDS_C=\nIDS_D=x=y",
                            &error))
        << error;
    EXPECT_EQ(table.size(), 4u);
    EXPECT_EQ(table.text("IDS_A"), "\xB3\x5C\xA5\x5C") << "UTF-8 text stored as code page 950";
    EXPECT_EQ(table.text("IDS_B"), " a\nb\tc\\d\\x\\") << "unknown escapes stay; the text after '=' is verbatim";
    EXPECT_TRUE(table.has("IDS_C"));
    EXPECT_EQ(table.text("IDS_C"), "");
    EXPECT_EQ(table.text("IDS_D"), "x=y");
    EXPECT_EQ(table.text("IDS_MISSING"), "IDS_MISSING");
}

TEST(LanguageTableTest, MalformedInputLeavesTableUnchanged) {
    LanguageTable table;
    table.set("IDS_KEEP", "k");
    std::string error;
    EXPECT_FALSE(table.parse("IDS_A=1\n# fine\nno equals sign\n", &error));
    EXPECT_NE(error.find("line 3"), std::string::npos) << error;
    EXPECT_FALSE(table.parse("IDS_A=1\n  =value\n", &error));
    EXPECT_NE(error.find("line 2"), std::string::npos) << error;
    EXPECT_EQ(table.size(), 1u);
    EXPECT_FALSE(table.has("IDS_A"));
    EXPECT_FALSE(table.load(tempPath("missing.txt"), &error));
    EXPECT_EQ(table.text("IDS_KEEP"), "k");
}

TEST(ProfileTest, ProfileStringSemantics) {
    ProfileFile profile;
    profile.parse("; comment\norphan=1\n[Main]\n  Name =  \xB3\x5C\xA5\x5C  \nname=second\nCount=12abc\n"
                  "Neg=-7\nWord=abc\nEmpty=\n[MAIN]\nExtra=1\nName=third\n[\xA4\x61]\nk=lower\n[\xA4\x41]\nk=upper\n");
    EXPECT_EQ(profile.getString("main", "NAME", "d"), "\xB3\x5C\xA5\x5C") << "first occurrence, trimmed";
    EXPECT_EQ(profile.getString("Main", "extra", "d"), "1") << "a repeated section adds keys";
    EXPECT_EQ(profile.getString("", "orphan", "d"), "d") << "keys before any section are ignored";
    EXPECT_EQ(profile.getString("\xA4\x61", "k", ""), "lower") << "trail bytes are not case-folded";
    EXPECT_EQ(profile.getString("\xA4\x41", "k", ""), "upper");
    EXPECT_EQ(profile.getString("Main", "Missing", "def  "), "def") << "trailing blanks of the default go";

    EXPECT_EQ(profile.getString("Main", "Name", "", 4), "\xB3\x5C") << "3 bytes fit, half of 功 does not";
    EXPECT_EQ(profile.getString("Main", "Name", "", 5), "\xB3\x5C\xA5\x5C");
    EXPECT_EQ(profile.getString("Main", "Name", "", 1), "");
    EXPECT_EQ(profile.getString("Main", "Name", "", 0), "");

    EXPECT_EQ(profile.getInt("Main", "Count", 5), 12);
    EXPECT_EQ(profile.getInt("Main", "Neg", 5), -7);
    EXPECT_EQ(profile.getInt("Main", "Word", 5), 0);
    EXPECT_EQ(profile.getInt("Main", "Empty", 5), 5);
    EXPECT_EQ(profile.getInt("Main", "Missing", 9), 9);

    const std::string path = tempPath("profile.ini");
    std::ofstream(path, std::ios::binary) << "[Net]\r\nPort = 8080\r\n";
    EXPECT_EQ(GetPrivateProfileInt("net", "port", 1, path), 8080) << "CR LF line ends";
    EXPECT_EQ(GetPrivateProfileString("Net", "Host", "localhost", path), "localhost");
    EXPECT_EQ(GetPrivateProfileInt("Net", "Port", 1, tempPath("missing.ini")), 1);
    std::filesystem::remove(path);
}

TEST(ProfileTest, BracketsAreFoundOnCharacterBoundaries) {
    // 也 (A4 5D), 包 (A5 5D) and 因 (A6 5D) end in the byte of ']'.
    ProfileFile profile;
    profile.parse("\x5b\xa4\x5d\x5d\x0a\x6b\x3d\x76\x0a"
                  "[\xA5\x5D\xA6\x5D]\nkey=both\n"
                  "[\xA4\x5D]x]\nafter=1\n");
    EXPECT_EQ(profile.getString("\xA4\x5D", "k", "default"), "v");
    EXPECT_EQ(profile.getString("\xA4", "k", "default"), "default") << "the lead byte alone names no section";
    EXPECT_EQ(profile.getString("\xA5\x5D\xA6\x5D", "key", ""), "both");
    EXPECT_EQ(profile.getString("\xA4\x5D", "after", ""), "1") << "text after the closing bracket is ignored";
}

TEST(TextFileTest, LineEndsAndFailures) {
    const std::string path = tempPath("out.txt");
    TextFileWriter writer;
    ASSERT_TRUE(writer.open(path));
    EXPECT_TRUE(writer.writeString("a\nb"));
    EXPECT_TRUE(writer.writeString("|x\r\ny\n\n\xB3\x5C"));
    EXPECT_TRUE(writer.close());
    EXPECT_EQ(readAll(path), "a\r\nb|x\r\r\ny\r\n\r\n\xB3\x5C") << "an existing CR is kept, as Windows does";

    ASSERT_TRUE(writer.open(path));
    EXPECT_TRUE(writer.close());
    EXPECT_EQ(readAll(path), "") << "open empties the file";
    std::filesystem::remove(path);

    EXPECT_FALSE(writer.writeString("x")) << "not open";
    EXPECT_FALSE(writer.open(tempPath("no_such_dir") + "/out.txt"));
    if (std::filesystem::exists("/dev/full")) {
        ASSERT_TRUE(writer.open("/dev/full"));
        writer.writeString(std::string(1 << 20, 'x'));
        EXPECT_FALSE(writer.close()) << "a full device must be reported";
    }
}
