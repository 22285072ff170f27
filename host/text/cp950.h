#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

// Code page 950 (Big5 with the Microsoft extensions) text helpers. Every text inside the
// module is code page 950 bytes in a std::string. A lead byte is 0x81-0xFE; its trail byte
// is 0x40-0x7E or 0xA1-0xFE, so a trail byte may look like an ASCII letter, a backslash or
// a bracket: nothing here ever treats a trail byte as a character of its own. A lead byte at
// the very end of a text (no trail byte) counts as a one-byte character.
namespace cp950 {

constexpr bool isLeadByte(unsigned char c) {
    return c >= 0x81 && c <= 0xFE;
}
constexpr bool isTrailByte(unsigned char c) {
    return (c >= 0x40 && c <= 0x7E) || (c >= 0xA1 && c <= 0xFE);
}

// Byte length (1 or 2) of the character that starts at pos; 0 at or past the end.
std::size_t charLength(std::string_view text, std::size_t pos);
// True when pos is the start of a character (or the end of the text).
bool isCharBoundary(std::string_view text, std::size_t pos);
// The longest prefix length <= maxBytes that does not split a double-byte character.
std::size_t cutLength(std::string_view text, std::size_t maxBytes);
// The prefix of at most maxBytes bytes that does not split a double-byte character.
std::string cut(std::string_view text, std::size_t maxBytes);

// Upper-cases ASCII letters; trail bytes are never touched.
std::string toUpper(std::string_view text);
// Compares ignoring the case of ASCII letters, character by character.
bool equalsIgnoreCase(std::string_view a, std::string_view b);
// Splits at any byte of delimiters that stands as a character of its own; runs of
// delimiters count as one and empty pieces vanish.
std::vector<std::string> tokenize(std::string_view text, std::string_view delimiters);
// Position of needle in haystack at or after from, starting on a character boundary; npos when absent.
std::size_t find(std::string_view haystack, std::string_view needle, std::size_t from = 0);
bool contains(std::string_view haystack, std::string_view needle);
// Replaces every occurrence found by find, left to right, without rescanning replacements.
std::string replaceAll(std::string_view text, std::string_view from, std::string_view to);
// Removes blanks, tabs, CR and LF at both ends.
std::string trim(std::string_view text);

// Conversion to and from UTF-8 with the Windows code page 950 table (the same table as
// ICU's "windows-950"). Unmappable or malformed input becomes '?' (code page 950 side) or
// U+FFFD (UTF-8 side); nothing is dropped silently.
std::string toUtf8(std::string_view cp950Text);
std::string fromUtf8(std::string_view utf8Text);
// True when every character of the text maps to Unicode and back to the same bytes.
bool isValid(std::string_view cp950Text);

} // namespace cp950
