// The key set's string form: the form itself, every keyword byte surviving it, and the strict
// reader that refuses anything else and then changes nothing.
#include <gtest/gtest.h>

#include "search/news_key.h"

namespace {

TEST(NewsKeyStringForm, PlainKeySetsReadAsTheirFormAndBack) {
    const CNewsKey plain(1, {3, 7}, {"A", "B"});
    EXPECT_EQ(plain.GetString(), "C:1 T:3,7 K:A,B");
    EXPECT_EQ(CNewsKey(2, {CNewsKey::kEveryNewsType}, {"台積電"}).GetString(), "C:2 T:-999 K:台積電");
    EXPECT_EQ(CNewsKey(1, {}, {}).GetString(), "C:1 T: K:");

    CNewsKey loaded;
    loaded.m_vSecondList = {"kept"};
    ASSERT_TRUE(loaded.LoadString("C:1 T:3,7 K:A,B"));
    EXPECT_TRUE(loaded.bSameKeySet(plain));
    EXPECT_EQ(loaded.m_vSecondList, std::vector<CString>{"kept"}) << "the second list is not part of the form";
    ASSERT_TRUE(loaded.LoadString("C:-2147483648 T:2147483647,0,-1 K:"));
    EXPECT_EQ(loaded.m_iMethod, -2147483648);
    EXPECT_EQ(loaded.m_vNewsType, (std::vector<int>{2147483647, 0, -1}));
    EXPECT_TRUE(loaded.m_vKeyword.empty());
}

TEST(NewsKeyStringForm, EveryKeywordByteSurvives) {
    std::string every;
    for (int c = 1; c < 256; ++c) {
        every += static_cast<char>(c);
    }
    const CNewsKey hostile(2, {1},
                           {"a b", "x,y", "100%", "", " K:z", " T:1", "\xB3\x5C\xA5\x5C" /* 許功 */, "\xA6\x7C",
                            "tail lead \x81", std::string("nul\0byte", 8), "\r\n\t", "%-", every});
    const CString text = hostile.GetString();
    EXPECT_EQ(text.find('\0'), CString::npos);
    EXPECT_EQ(text.find(" K:"), text.rfind(" K:")) << "one keywords tag, whatever the keywords hold";
    CNewsKey back;
    ASSERT_TRUE(back.LoadString(text)) << text;
    EXPECT_EQ(back, hostile);
    EXPECT_NE(CNewsKey(1, {}, {""}).GetString(), CNewsKey(1, {}, {}).GetString()) << "one empty keyword is not none";
}

TEST(NewsKeyStringForm, MalformedTextIsRefusedAndChangesNothing) {
    const CNewsKey before(2, {5}, {"kept"});
    for (const char* bad : {"",
                            "C:1",
                            "C:1 T:3",
                            "C:1 K:A T:3",
                            "c:1 T:3 K:A",
                            "C:1  T:3 K:A",
                            "C:1 T:3 K:A ",
                            "C: T:3 K:A",
                            "C:01 T:3 K:A",
                            "C:+1 T:3 K:A",
                            "C:-0 T:3 K:A",
                            "C:2147483648 T: K:",
                            "C:1 T:3,,7 K:A",
                            "C:1 T:3, K:A",
                            "C:1 T:,3 K:A",
                            "C:1 T:x K:A",
                            "C:1 T:3 K:A,,B",
                            "C:1 T:3 K:,",
                            "C:1 T:3 K:a b",
                            "C:1 T:3 K:%2",
                            "C:1 T:3 K:%41",
                            "C:1 T:3 K:%2c",
                            "C:1 T:3 K:A%-",
                            "C:1 T:3 K:A K:B",
                            "X C:1 T:3 K:A",
                            "C:1 T:3 K:A\n"}) {
        CNewsKey key = before;
        EXPECT_FALSE(key.LoadString(bad)) << bad;
        EXPECT_EQ(key, before) << bad;
    }
}

} // namespace
