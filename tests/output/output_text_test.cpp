// The text rules of printed and saved news: the printable story, line cutting at 80 bytes
// that never splits a double-byte character, and titles cut by bytes.
#include <string>

#include <gtest/gtest.h>

#include "headline_list/local_day_cache.h"
#include "news_view/news_ctrl_view.h"
#include "output/news_output_text.h"

namespace {

using news_output::iBodyLineLength;

std::string linefeed(std::string text) {
    TRVNewsCtrlView::Linefeed(text);
    return text;
}

const std::string kTai = "\xA5\x78"; // 台: an ordinary double-byte character
const std::string kXu = "\xB3\x5C";  // 許: its trail byte is a backslash
const std::string kYi = "\xA4\x40";  // 一: its trail byte is "@"

TEST(LinefeedTest, KeepsTheTextUpToItsFirstLineBreakAndTurnsParagraphMarksIntoLineEnds) {
    EXPECT_EQ(linefeed("A@@@@B\r\nC@@@@D"), "A\r\nB");
    EXPECT_EQ(linefeed("A\nB"), "A");
    EXPECT_EQ(linefeed("A\rB"), "A");
    // Stories with paragraph marks only pass whole.
    EXPECT_EQ(linefeed("A@@@@B@@@@C"), "A\r\nB\r\nC");
    EXPECT_EQ(linefeed(""), "");
    // Breaks before the first piece stay in front of it (the tokenising skips them).
    EXPECT_EQ(linefeed("\r\nA\r\nB"), "\r\nA");
    EXPECT_EQ(linefeed("\r\n"), "\r\n");
}

TEST(LinefeedTest, IsDoubleByteAware) {
    // A trail byte "@" is part of its character: 一 followed by "@@@" holds no paragraph mark.
    EXPECT_EQ(linefeed(kYi + "@@@"), kYi + "@@@");
    EXPECT_EQ(linefeed(kYi + "@@@@"), kYi + "\r\n");
    // Trail bytes 0x5C survive; a lone lead byte at the end stays.
    EXPECT_EQ(linefeed(kXu + "\\" + kXu + "\r\nX"), kXu + "\\" + kXu);
    EXPECT_EQ(linefeed("AB\xA5"), "AB\xA5");
}

TEST(WholeStoryTest, ALateStoryLosesEveryTransportBreakButNoText) {
    EXPECT_EQ(news_output::cszWholeStory("@@@@2024/01/ 2 08:20:00A\r\nB@@@@C\nD\r"), "\r\n2024/01/ 2 08:20:00AB\r\nCD");
    EXPECT_EQ(news_output::cszWholeStory(kYi + "@@@"), kYi + "@@@") << "no mark across a trail byte";
}

TEST(StoryDateLineTest, PadsTheYearAndTheDayWithBlanks) {
    LocalDayCache days;
    constexpr std::int64_t k20240102_083005 = 1704155405; // Taipei
    EXPECT_EQ(news_output::cszStoryDateLine(days, k20240102_083005), "@@@@2024/01/ 2 08:30:05");
    constexpr std::int64_t k20241231_235959 = 1735660799;
    EXPECT_EQ(news_output::cszStoryDateLine(days, k20241231_235959), "@@@@2024/12/31 23:59:59");
    // A time with no local date prints the fallback fields.
    EXPECT_EQ(news_output::cszStoryDateLine(days, INT64_MAX), "@@@@   0/00/ 0 -1:-1:-1");
}

TEST(BodyLineTest, TakesEightyBytesOrSeventyNineWhenTheEightiethBeginsACharacter) {
    const std::string ascii80(80, 'a');
    EXPECT_EQ(iBodyLineLength(ascii80 + "bcd"), 80u);
    EXPECT_EQ(iBodyLineLength("short"), 5u);
    EXPECT_EQ(iBodyLineLength(""), 0u);
    // The 80th byte begins 台: the line stops before it.
    EXPECT_EQ(iBodyLineLength(std::string(79, 'a') + kTai + "b"), 79u);
    // 40 characters end exactly at byte 80.
    std::string chinese;
    for (int i = 0; i < 41; ++i) {
        chinese += kXu;
    }
    EXPECT_EQ(iBodyLineLength(chinese), 80u);
    // A character ending at byte 80 after an odd start: 1 + 39 * 2 = 79, then 台 at 80-81.
    std::string odd = "a";
    for (int i = 0; i < 39; ++i) {
        odd += kTai;
    }
    EXPECT_EQ(iBodyLineLength(odd + kTai + "z"), 79u);
    // The lead byte is the very last byte of the text: nothing to straddle.
    EXPECT_EQ(iBodyLineLength(std::string(79, 'a') + "\xA5"), 80u);
}

TEST(BodyLineTest, StepsLikeThePlatformOverBytesThatAreNoTrailBytes) {
    // A lead byte takes the next byte with it even when that is no valid trail byte, so the
    // pair at bytes 80-81 still counts as one character.
    EXPECT_EQ(iBodyLineLength(std::string(79, 'a') + "\xA5" + "\x20" + "b"), 79u);
    // A line feed right after a lead byte belongs to that pair and does not end the line.
    EXPECT_EQ(iBodyLineLength("a\xA5\nbc"), 5u);
}

TEST(BodyLineTest, ALineFeedEndsTheLineJustAfterIt) {
    EXPECT_EQ(iBodyLineLength("ab\r\ncd"), 4u);
    EXPECT_EQ(iBodyLineLength("\r\n" + std::string(100, 'x')), 2u);
    EXPECT_EQ(iBodyLineLength(std::string(79, 'a') + "\n"), 80u);
    // A line feed past the 80th byte is the next line's.
    EXPECT_EQ(iBodyLineLength(std::string(80, 'a') + "\n"), 80u);
}

TEST(TitlePiecesTest, LongTitlesLoseTheirTail) {
    EXPECT_EQ(news_output::vTitlePieces(std::string(80, 't')), std::vector<CString>{std::string(80, 't')});
    EXPECT_EQ(news_output::vTitlePieces(""), std::vector<CString>{""});
    const std::string title200 = std::string(80, 'a') + std::string(80, 'b') + std::string(40, 'c');
    EXPECT_EQ(news_output::vTitlePieces(title200), (std::vector<CString>{std::string(80, 'a'), std::string(80, 'b')}));
    EXPECT_EQ(news_output::vTitlePieces(std::string(81, 'a')), std::vector<CString>{std::string(80, 'a')});
    // The cut is by bytes, even through a character.
    const std::string split = std::string(79, 'a') + kTai + "b";
    EXPECT_EQ(news_output::vTitlePieces(split), std::vector<CString>{split.substr(0, 80)});
}

} // namespace
