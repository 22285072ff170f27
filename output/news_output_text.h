#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "host/backend/news_records.h"

class LocalDayCache;

// The text rules shared by printing and saving: how a story becomes printable text, how a
// title and a story body are cut into lines of at most 80 bytes. Texts are code page 950.
namespace news_output {

// Widest printed or saved line, in bytes, and how many bytes are looked at to find where a
// double-byte character straddles it.
constexpr std::size_t kLineBytes = 80;
constexpr std::size_t kClassifiedBytes = 82;

// The line put in front of a printable story: "@@@@" (a paragraph break once converted),
// then the story time as "%4d/%02d/%2d %02d:%02d:%02d" (year and day padded with blanks,
// kept as the printouts always showed them). A time with no local date prints the fallback
// fields 0/00/ 0 -1:-1:-1.
CString cszStoryDateLine(LocalDayCache& days, std::int64_t time);

// The printable form of a story at hand: the text up to its first line break (CR or LF),
// with every "@@@@" turned into "\r\n". Line breaks that come before the first piece of text
// stay in front of it, as the in-place tokenising leaves them.
// Kept: a story at hand keeps only its first transport line.
void vCutAtFirstLineBreak(CString& text);

// The printable form of a story that arrived late: every CR and LF removed, then every
// "@@@@" turned into "\r\n". Kept: unlike a story at hand, a late story prints whole.
CString cszWholeStory(const CString& text);

// Length of the next body line at the front of text: the first 80 bytes, or 79 when the
// 80th byte begins a double-byte character (stepping as the platform's CharNextA does over
// the first 82 bytes); a line feed inside ends the line just after it.
std::size_t iBodyLineLength(std::string_view text);

// The pieces of a printed title: a title of 80 bytes or fewer is one piece; a longer one
// gives its 80-byte pieces while more than 80 bytes remain, and the tail is dropped.
// Kept: the dropped tail (the saved file drops it the same way); the cut is by bytes.
std::vector<CString> vTitlePieces(const CString& title);

// Trailing CR and LF bytes removed.
void vTrimLineEnd(CString& line);

} // namespace news_output
