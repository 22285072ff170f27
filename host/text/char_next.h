#pragma once

#include <cstddef>
#include <string_view>

namespace cp950 {

// Position of the character after the one at pos, stepping the way the platform's CharNextA
// steps through code page 950 text: a lead byte (0x81-0xFE) takes the byte after it with it,
// whatever that byte is, unless the text ends there or that byte is a NUL. Unlike charLength
// this does not ask whether the second byte is a valid trail byte; printed and saved lines are
// cut where that stepping lands. At or past the end it returns the end.
constexpr std::size_t charNextA(std::string_view text, std::size_t pos) {
    if (pos >= text.size()) {
        return text.size();
    }
    const auto lead = static_cast<unsigned char>(text[pos]);
    if (lead >= 0x81 && lead <= 0xFE && pos + 1 < text.size() && text[pos + 1] != '\0') {
        return pos + 2;
    }
    return pos + 1;
}

} // namespace cp950
