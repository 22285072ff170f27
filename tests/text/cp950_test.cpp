#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "host/text/cp950.h"

// 許 = B3 5C and 功 = A5 5C end in a backslash byte; 四 = A5 7C ends in '|'; 中 = A4 A4 has a
// trail byte that is also a lead byte, so boundaries can only be found walking from the start.
namespace {
const std::string kXu = "\xB3\x5C";
const std::string kGong = "\xA5\x5C";
const std::string kSi = "\xA5\x7C";
const std::string kZhong = "\xA4\xA4";
} // namespace

TEST(Cp950Chars, LengthsAndBoundaries) {
    EXPECT_EQ(cp950::charLength(kXu, 0), 2u);
    EXPECT_EQ(cp950::charLength("\xA4\x40", 0), 2u) << "0x40 is the lowest trail byte";
    EXPECT_EQ(cp950::charLength("\xA4\x7E", 0), 2u) << "0x7E is a trail byte";
    EXPECT_EQ(cp950::charLength("\xA4\x7F", 0), 1u) << "0x7F is not a trail byte";
    EXPECT_EQ(cp950::charLength("\xA4\xA0", 0), 1u) << "0xA0 is not a trail byte";
    EXPECT_EQ(cp950::charLength("a\xA4", 1), 1u) << "a lead byte at the end stands alone";
    EXPECT_EQ(cp950::charLength("a", 1), 0u);

    const std::string zhongs = kZhong + kZhong; // A4 A4 A4 A4
    EXPECT_TRUE(cp950::isCharBoundary(zhongs, 2));
    EXPECT_FALSE(cp950::isCharBoundary(zhongs, 1));
    EXPECT_FALSE(cp950::isCharBoundary(zhongs, 3));
    EXPECT_TRUE(cp950::isCharBoundary(zhongs, 4)) << "the end is a boundary";
    EXPECT_FALSE(cp950::isCharBoundary(zhongs, 5));
}

TEST(Cp950Cut, NeverSplitsADoubleByteCharacter) {
    const std::string leadAt79 = std::string(79, 'a') + kXu;
    EXPECT_EQ(cp950::cutLength(leadAt79, 80), 79u) << "byte 80 would be half of 許";
    EXPECT_EQ(cp950::cutLength(leadAt79, 81), 81u);
    EXPECT_EQ(cp950::cutLength(std::string(78, 'a') + kXu, 80), 80u);
    EXPECT_EQ(cp950::cutLength(std::string(79, 'a') + "\xA4", 80), 80u) << "a lone lead byte is a whole character";
    EXPECT_EQ(cp950::cutLength(kZhong + kZhong + kZhong, 5), 4u);
    EXPECT_EQ(cp950::cut(kXu + kGong, 3), kXu);
    EXPECT_EQ(cp950::cut(kXu, 1), "");
    EXPECT_EQ(cp950::cut("ab", 10), "ab");
}

TEST(Cp950Case, UpperCaseAndCompareLeaveTrailBytes) {
    // A4 61 and A4 41 are two different characters whose trail bytes read as 'a' and 'A'.
    EXPECT_EQ(cp950::toUpper("x\xA4\x61y"), "X\xA4\x61Y");
    EXPECT_EQ(cp950::toUpper("\xA4 a"), "\xA4 A") << "a lead byte before a blank stands alone";
    EXPECT_FALSE(cp950::equalsIgnoreCase("\xA4\x61", "\xA4\x41"));
    EXPECT_TRUE(cp950::equalsIgnoreCase("abc" + kXu, "ABC" + kXu));
    EXPECT_FALSE(cp950::equalsIgnoreCase("abc", "abcd"));
    EXPECT_TRUE(cp950::equalsIgnoreCase("\xA4 a", "\xA4 A")) << "a lone lead byte does not swallow the blank";
}

TEST(Cp950Tokenize, DelimitersInsideCharactersDoNotSplit) {
    using Pieces = std::vector<std::string>;
    EXPECT_EQ(cp950::tokenize("A" + kSi + "|B||C|", "|"), (Pieces{"A" + kSi, "B", "C"}));
    EXPECT_EQ(cp950::tokenize("\\" + kXu + "\\\\" + kGong + "\\", "\\"), (Pieces{kXu, kGong}));
    EXPECT_EQ(cp950::tokenize(" a,\tb ", ", \t"), (Pieces{"a", "b"}));
    EXPECT_TRUE(cp950::tokenize(",,,", ",").empty());
    EXPECT_TRUE(cp950::tokenize("", ",").empty());
    EXPECT_EQ(cp950::tokenize(kXu + kGong, "\xA5"), (Pieces{kXu + kGong})) << "a lead byte inside 功";
}

TEST(Cp950Find, MatchesOnlyWholeCharacters) {
    const auto npos = std::string_view::npos;
    EXPECT_EQ(cp950::find(kXu, "\\"), npos) << "the trail byte of 許 is not a backslash";
    EXPECT_EQ(cp950::find(kXu + "\\", "\\"), 2u);
    EXPECT_EQ(cp950::find(kXu + kGong, "\x5C\xA5"), npos) << "straddles two characters";
    EXPECT_EQ(cp950::find(kXu, "\xB3"), npos) << "a needle ending in a lone lead byte must not take half of 許";
    EXPECT_EQ(cp950::find(kZhong + kZhong, kZhong, 1), 2u) << "from inside a character moves to the next one";
    EXPECT_EQ(cp950::find(kZhong + kZhong, "\xA4\xA4\xA4"), npos);
    EXPECT_EQ(cp950::find("abc", "", 1), 1u);
    EXPECT_EQ(cp950::find("abc", "c", 4), npos);
    EXPECT_TRUE(cp950::contains(kXu + kGong, kGong));

    EXPECT_EQ(cp950::replaceAll(kXu + "\\" + kGong + "\\", "\\", "/"), kXu + "/" + kGong + "/");
    EXPECT_EQ(cp950::replaceAll("aaa", "a", "aa"), "aaaaaa") << "replacements are not searched again";
    EXPECT_EQ(cp950::replaceAll("abc", "", "x"), "abc");
    EXPECT_EQ(cp950::replaceAll(kZhong + kZhong, "\xA4\xA4\xA4", "x"), kZhong + kZhong);

    EXPECT_EQ(cp950::trim(" \t" + kXu + " \r\n"), kXu);
    EXPECT_EQ(cp950::trim(" \r\n"), "");
}
