#pragma once

#include <cstddef>
#include <string>
#include <string_view>

struct sqlite3;

// How texts meet the full-text index. Headlines and stories are code page 950 bytes, but the
// index holds UTF-8: a match must start and end on character boundaries, and in Big5 bytes a
// trail byte such as the 0x5C of 許 (B3 5C) would otherwise match a backslash.
namespace embedded {

// The indexed form of a title, story or keyword: transport line breaks (CR, LF) removed, each
// "@@@@" paragraph mark turned into one newline, converted to UTF-8, ASCII letters lower-cased
// (so searches ignore the case of Latin letters and nothing else).
std::string indexText(std::string_view cp950Text);

// Characters (code points) of valid UTF-8 text.
std::size_t utf8Length(std::string_view utf8);

// Keywords of three or more characters are served by the trigram index; one and two
// characters by the gram index, whose tokens are every single character and every pair of
// adjacent characters.
constexpr std::size_t kTrigramMinChars = 3;

// A keyword as an FTS5 string: in double quotes, inner quotes doubled.
std::string ftsQuote(std::string_view utf8);

// Registers the "newsgram" tokenizer on a connection; SQLITE_OK on success. Documents are cut
// into characters (each a token) with the pair starting at each character at the same
// position; a query string is one token as it stands.
int registerGramTokenizer(sqlite3* db);

} // namespace embedded
