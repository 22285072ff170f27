#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace text {

// Which bytes a text form writes as %XX; every other byte stands as it is.
using EscapedByte = bool (*)(unsigned char);

// Appends item to out with every byte that escaped() names written as '%' and two upper-case
// hex digits.
void appendPercentEscaped(std::string& out, std::string_view item, EscapedByte escaped);

// Reverses appendPercentEscaped. Each text has exactly one written form, so a raw byte that
// should have been escaped, a %XX of a byte that needs no escape, lower-case or broken hex all
// give nullopt.
std::optional<std::string> percentUnescape(std::string_view item, EscapedByte escaped);

// Appends a list of items as "<count>:<item>,<item>...", each item percent-escaped; escaped()
// must name ',' so that no item holds a raw separator. "0:" is the empty list, "1:" one empty
// item.
void appendCountedList(std::string& out, const std::vector<std::string>& items, EscapedByte escaped);
// The items of such a list; nullopt when it is malformed: a count that is not plain decimal
// (no sign, no leading zero) or does not match the items, or an item not in its one form.
std::optional<std::vector<std::string>> decodeCountedList(std::string_view value, EscapedByte escaped);

// Appends c as the backslash escape that both the JSON and the dialog template readers know
// (\" \\ \n \r \t) and returns true; any other byte is left to the caller (false, nothing
// written).
bool appendBackslashEscape(std::string& out, char c);

} // namespace text
