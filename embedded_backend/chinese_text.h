#pragma once

#include <cstddef>
#include <string_view>

#include "host/backend/news_records.h"

namespace embedded {

// A text from outside (UTF-8) as the terminal keeps it (code page 950).
struct Big5Text {
    CString text;
    std::size_t replaced = 0; // characters that have no code page 950 form
};

// The mark a character without a code page 950 form becomes: one visible square (U+25A1).
inline constexpr std::string_view kReplacementMarkUtf8 = "\xE2\x96\xA1";

// Converts UTF-8 text to code page 950. A character without a Big5 form, mostly Simplified
// Chinese, takes its Traditional form from OpenCC (Taiwan standard, s2tw, over the whole text
// so that phrases pick the right character); characters with a Big5 form stay as written. A
// character that still has none becomes kReplacementMarkUtf8 and is counted, as does each
// malformed UTF-8 sequence.
// Thread: any.
Big5Text toBig5(std::string_view utf8);

// Code page 950 text with each character in its Simplified form (OpenCC t2s, character by
// character) where code page 950 has that form; every other character stays as it is.
// False when OpenCC cannot be used (the text then comes back unchanged). Thread: any.
bool toSimplified(const CString& cp950Text, CString& out);

} // namespace embedded
