// The list form of the search settings: exact round trips of hostile texts, and refusal of
// anything not written in the one form.
#include <gtest/gtest.h>

#include "search/setting_text.h"

namespace {

TEST(SettingTextList, HostileTextsSurviveExactly) {
    std::string every;
    for (int c = 0; c < 256; ++c) {
        every += static_cast<char>(c);
    }
    const std::vector<std::vector<CString>> lists = {
        {},
        {""},
        {"", ""},
        {"台積電", "AI,5G", "100%", " lead", "trail ", "a:b", "1:", "\xB3\x5C", "\xA1", every},
        std::vector<CString>(500, "x,y"),
    };
    for (const std::vector<CString>& list : lists) {
        const CString value = news::EncodeTextList(list);
        EXPECT_EQ(value.find('\n'), CString::npos);
        EXPECT_EQ(news::DecodeTextList(value), list) << value;
    }
    EXPECT_EQ(news::EncodeTextList({"AI,5G", "%"}), "2:AI%2C5G,%25");
    EXPECT_EQ(news::EncodeTextList({"台積電"}), "1:台積電") << "readable in the settings file";
}

TEST(SettingTextList, MalformedValuesAreRefused) {
    for (const char* bad : {"", "x", ":", "1", "-1:", "01:a", "+1:a", "2:a", "1:a,b", "0:a", "3:,", "1:%", "1:%4",
                            "1:%41", "1:%2c", "1:a b", "1:\n", "99999999999:", "4294967297:a"}) {
        EXPECT_FALSE(news::DecodeTextList(bad).has_value()) << bad;
    }
}

TEST(SettingTextList, IntegersHaveOneForm) {
    EXPECT_EQ(news::ParseStrictInt("0"), 0);
    EXPECT_EQ(news::ParseStrictInt("-12"), -12);
    EXPECT_EQ(news::ParseStrictInt("2147483647"), 2147483647);
    for (const char* bad : {"", "-", "-0", "007", "+1", " 1", "1 ", "2147483648", "1e3", "0x10"}) {
        EXPECT_FALSE(news::ParseStrictInt(bad).has_value()) << bad;
    }
}

} // namespace
