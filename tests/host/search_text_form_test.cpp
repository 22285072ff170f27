#include <cstdint>
#include <limits>

#include <gtest/gtest.h>

#include "host/backend/search.h"

namespace {

CSearch hostileSearch() {
    CSearch s;
    s.m_vKeywords = {"a b",
                     "x,y",
                     "k=v",
                     "semi;colon",
                     "100%",
                     "",
                     "\xB3\x5C\xA5\x5C" /* 許功 */,
                     "\n\r\t",
                     std::string("nul\0byte", 8),
                     "\xA1",
                     "tail lead \x81"};
    s.m_byScope = 2;
    s.m_byMethod = 255;
    s.m_tTime = -1234567890123LL;
    s.m_vSymbols = {"2330", " ", "%41"};
    s.m_bKeywordSearch = false;
    return s;
}

TEST(SearchTextForm, EveryByteSurvivesARoundTrip) {
    const CSearch original = hostileSearch();
    CSearch loaded;
    ASSERT_TRUE(loaded.LoadStringA(original.GetString())) << original.GetString();
    EXPECT_EQ(loaded, original);

    // All 256 byte values in one keyword.
    CSearch bytes;
    std::string all;
    for (int c = 0; c < 256; ++c) {
        all += static_cast<char>(c);
    }
    bytes.m_vKeywords = {all, all};
    CSearch back;
    ASSERT_TRUE(back.LoadStringA(bytes.GetString()));
    EXPECT_EQ(back, bytes);

    // Empty lists and a list holding one empty text are different conditions.
    CSearch empty;
    CSearch oneEmpty;
    oneEmpty.m_vKeywords = {""};
    EXPECT_NE(empty.GetString(), oneEmpty.GetString());
    CSearch e2;
    CSearch o2;
    ASSERT_TRUE(e2.LoadStringA(empty.GetString()));
    ASSERT_TRUE(o2.LoadStringA(oneEmpty.GetString()));
    EXPECT_TRUE(e2.m_vKeywords.empty());
    EXPECT_EQ(o2.m_vKeywords, std::vector<std::string>{""});
}

TEST(SearchTextForm, TextFormIsOneLineWithoutSeparatorBytesInItems) {
    const std::string text = hostileSearch().GetString();
    EXPECT_EQ(text.find('\n'), std::string::npos);
    EXPECT_EQ(text.find('\0'), std::string::npos);
    // Big5 bytes stay readable as they are.
    EXPECT_NE(text.find("\xB3\x5C\xA5\x5C"), std::string::npos);
}

TEST(SearchTextForm, MalformedTextIsRefusedAndLeavesTheRecordUnchanged) {
    const CSearch before = hostileSearch();
    const std::string good = CSearch{}.GetString();
    const std::vector<std::string> bad = {
        "",
        "garbage",
        "CSearch/2;s=0;m=0;t=0;f=1;k=0:;y=0:",                    // unknown version
        "CSearch/1;s=0;m=0;t=0;f=1;k=0:",                         // missing field
        "CSearch/1;m=0;s=0;t=0;f=1;k=0:;y=0:",                    // wrong order
        "CSearch/1;s=256;m=0;t=0;f=1;k=0:;y=0:",                  // scope out of range
        "CSearch/1;s=-1;m=0;t=0;f=1;k=0:;y=0:",                   // negative scope
        "CSearch/1;s=01;m=0;t=0;f=1;k=0:;y=0:",                   // second spelling of a number
        "CSearch/1;s=0;m=0;t=x;f=1;k=0:;y=0:",                    // bad time
        "CSearch/1;s=0;m=0;t=0;f=2;k=0:;y=0:",                    // bad flag
        "CSearch/1;s=0;m=0;t=0;f=1;k=1:%zz;y=0:",                 // a bad item (list rules: SettingTextList)
        "CSearch/1;s=0;m=0;t=0;f=1;k=0:;y=0:;z=1",                // trailing field
        "CSearch/1;s=0;m=0;t=99999999999999999999;f=1;k=0:;y=0:", // time overflow
    };
    for (const std::string& text : bad) {
        CSearch s = before;
        EXPECT_FALSE(s.LoadStringA(text)) << "accepted: " << text;
        EXPECT_EQ(s, before) << "changed by: " << text;
    }
    CSearch s;
    EXPECT_TRUE(s.LoadStringA(good));
}

TEST(SearchTextForm, EveryTimeHasExactlyOneSpellingThatLoadsBack) {
    // The most negative time has no positive counterpart: it must still load back.
    for (const std::int64_t time :
         {std::numeric_limits<std::int64_t>::min(), std::numeric_limits<std::int64_t>::min() + 1, std::int64_t{-1},
          std::int64_t{0}, std::int64_t{1}, std::numeric_limits<std::int64_t>::max()}) {
        CSearch s;
        s.m_tTime = time;
        CSearch back;
        back.m_tTime = 42;
        ASSERT_TRUE(back.LoadStringA(s.GetString())) << s.GetString();
        EXPECT_EQ(back.m_tTime, time);
    }
    // Zero is written "0" only; a signed zero, a zero-padded or a bare sign is a second spelling.
    for (const char* text :
         {"CSearch/1;s=0;m=0;t=-0;f=1;k=1:;y=1:", "CSearch/1;s=0;m=0;t=-01;f=1;k=0:;y=0:",
          "CSearch/1;s=0;m=0;t=00;f=1;k=0:;y=0:", "CSearch/1;s=0;m=0;t=-;f=1;k=0:;y=0:",
          "CSearch/1;s=0;m=0;t=+1;f=1;k=0:;y=0:", "CSearch/1;s=0;m=0;t=-9223372036854775809;f=1;k=0:;y=0:"}) {
        CSearch s;
        EXPECT_FALSE(s.LoadStringA(text)) << "accepted: " << text;
    }
}

} // namespace
