#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "host/backend/news_records.h"

// Text pieces of the view's saved search settings. An element is written with '%', ',', a
// blank, control bytes and DEL as %XX (two upper-case hex digits); every other byte stands as
// it is. None of the escaped bytes can be the second byte of a code page 950 character, so a
// double-byte character is never split and stays readable in the settings file.
namespace news {

void AppendEscapedElement(CString& out, std::string_view element);
// The element's bytes, or nothing when the text is not in the one form AppendEscapedElement
// writes (a raw escaped byte, %XX of a byte that needs no escape, lower-case or bad hex).
std::optional<CString> UnescapeElement(std::string_view text);

// A list of texts in one setting value: the count, a colon and the escaped elements separated
// by commas. "0:" is the empty list, "1:" one empty text, "2:AI%2C5G,%25" the texts "AI,5G"
// and "%".
CString EncodeTextList(const std::vector<CString>& items);
// The texts of an encoded list; nothing when the value is malformed (the count must match).
std::optional<std::vector<CString>> DecodeTextList(std::string_view value);

// A decimal int32 written the one way std::to_string writes it: an optional '-', no '+', no
// leading zeros; nothing otherwise (also on overflow).
std::optional<int> ParseStrictInt(std::string_view text);

} // namespace news
