// Code page 950 <-> UTF-8 with the Windows table generated into cp950_table.inc.
#include <array>
#include <cstdint>

#include "host/text/cp950.h"
#include "host/text/utf8.h"

namespace cp950 {

namespace {

#include "host/text/cp950_table.inc"

constexpr char16_t kReplacement = 0xFFFD;
constexpr std::uint16_t kNoCode = 0xFFFF; // never a code: two-byte codes end at 0xFEFE
constexpr unsigned kFirstLead = 0x81;
constexpr unsigned kTrailsPerLead = 157;

unsigned trailIndex(unsigned char trail) {
    return trail <= 0x7E ? trail - 0x40u : trail - 0xA1u + 63u;
}

char16_t decodeDouble(unsigned char lead, unsigned char trail) {
    return kDoubleByte[(lead - kFirstLead) * kTrailsPerLead + trailIndex(trail)];
}

bool isDecodeOnly(std::uint16_t code) {
    for (std::uint16_t c : kDecodeOnly)
        if (c == code)
            return true;
    return false;
}

using EncodeTable = std::array<std::uint16_t, 0x10000>;

// Code point -> code, built once from the round-trip entries of the decode table (thread-safe
// initialisation of a function-local static).
const EncodeTable& encodeTable() {
    static const EncodeTable table = [] {
        EncodeTable t;
        t.fill(kNoCode);
        for (unsigned b = 0; b < 0x100; ++b)
            if (kSingleByte[b] != kReplacement)
                t[kSingleByte[b]] = static_cast<std::uint16_t>(b);
        for (unsigned lead = kFirstLead; lead <= 0xFE; ++lead) {
            for (unsigned trail = 0x40; trail <= 0xFE; ++trail) {
                if (!isTrailByte(static_cast<unsigned char>(trail)))
                    continue;
                const auto code = static_cast<std::uint16_t>(lead << 8 | trail);
                const char16_t cp = decodeDouble(static_cast<unsigned char>(lead), static_cast<unsigned char>(trail));
                if (cp != kReplacement && !isDecodeOnly(code))
                    t[cp] = code;
            }
        }
        return t;
    }();
    return table;
}

// Code point of the character at pos (charLength(text, pos) bytes); U+FFFD when unmapped.
char16_t decodeAt(std::string_view text, std::size_t pos, std::size_t len) {
    const auto first = static_cast<unsigned char>(text[pos]);
    if (len == 1)
        return kSingleByte[first];
    return decodeDouble(first, static_cast<unsigned char>(text[pos + 1]));
}

using text::appendUtf8;

// Decodes one UTF-8 sequence at pos into cp and returns its length. A malformed sequence gives
// cp = U+FFFD and the length of its longest valid prefix (at least 1), so each maximal
// ill-formed subpart becomes one replacement, as Unicode recommends.
std::size_t decodeUtf8(std::string_view text, std::size_t pos, char32_t& cp) {
    const auto b0 = static_cast<unsigned char>(text[pos]);
    cp = kReplacement;
    if (b0 < 0x80) {
        cp = b0;
        return 1;
    }
    std::size_t need = 0;
    unsigned char low = 0x80;
    unsigned char high = 0xBF;
    char32_t value = 0;
    if (b0 >= 0xC2 && b0 <= 0xDF) {
        need = 1;
        value = b0 & 0x1Fu;
    } else if (b0 >= 0xE0 && b0 <= 0xEF) {
        need = 2;
        value = b0 & 0x0Fu;
        if (b0 == 0xE0)
            low = 0xA0; // overlong
        else if (b0 == 0xED)
            high = 0x9F; // surrogates
    } else if (b0 >= 0xF0 && b0 <= 0xF4) {
        need = 3;
        value = b0 & 0x07u;
        if (b0 == 0xF0)
            low = 0x90; // overlong
        else if (b0 == 0xF4)
            high = 0x8F; // above U+10FFFF
    } else {
        return 1;
    }
    std::size_t len = 1;
    for (; len <= need; ++len) {
        if (pos + len >= text.size())
            return len;
        const auto b = static_cast<unsigned char>(text[pos + len]);
        if (b < low || b > high)
            return len;
        low = 0x80;
        high = 0xBF;
        value = (value << 6) | (b & 0x3Fu);
    }
    cp = value;
    return len;
}

} // namespace

std::string toUtf8(std::string_view cp950Text) {
    std::string out;
    out.reserve(cp950Text.size() * 3 / 2);
    for (std::size_t i = 0; i < cp950Text.size();) {
        const std::size_t len = charLength(cp950Text, i);
        appendUtf8(out, decodeAt(cp950Text, i, len));
        i += len;
    }
    return out;
}

std::string fromUtf8(std::string_view utf8Text) {
    const EncodeTable& table = encodeTable();
    std::string out;
    out.reserve(utf8Text.size());
    for (std::size_t i = 0; i < utf8Text.size();) {
        char32_t cp = 0;
        i += decodeUtf8(utf8Text, i, cp);
        const std::uint16_t code = cp < 0x10000 ? table[cp] : kNoCode;
        if (code == kNoCode) {
            out += '?';
        } else if (code < 0x100) {
            out += static_cast<char>(code);
        } else {
            out += static_cast<char>(code >> 8);
            out += static_cast<char>(code & 0xFF);
        }
    }
    return out;
}

bool isValid(std::string_view cp950Text) {
    const EncodeTable& table = encodeTable();
    for (std::size_t i = 0; i < cp950Text.size();) {
        const std::size_t len = charLength(cp950Text, i);
        const char16_t cp = decodeAt(cp950Text, i, len);
        if (cp == kReplacement)
            return false;
        const std::uint16_t code = table[cp];
        const auto first = static_cast<unsigned char>(cp950Text[i]);
        const unsigned expected = len == 1 ? first : (first << 8 | static_cast<unsigned char>(cp950Text[i + 1]));
        if (code != expected)
            return false;
        i += len;
    }
    return true;
}

} // namespace cp950
