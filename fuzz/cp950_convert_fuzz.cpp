// Code page 950 <-> UTF-8. The input is read as code page 950 bytes and as UTF-8 text.
#include <cstdint>
#include <optional>
#include <string>

#include "fuzz/fuzz_support.h"
#include "host/text/cp950.h"

namespace {

// Code points of well-formed UTF-8 (shortest forms, no surrogates, at most U+10FFFF); nullopt
// for anything else. Written independently of the converter's own decoder.
std::optional<std::size_t> utf8CodePoints(std::string_view text) {
    std::size_t count = 0;
    for (std::size_t i = 0; i < text.size(); ++count) {
        const auto b = static_cast<unsigned char>(text[i]);
        const std::size_t length = b < 0x80 ? 1 : (b >> 5) == 6 ? 2 : (b >> 4) == 14 ? 3 : (b >> 3) == 30 ? 4 : 0;
        if (length == 0 || i + length > text.size()) {
            return std::nullopt;
        }
        char32_t cp = length == 1 ? b : b & (0x7F >> length);
        for (std::size_t k = 1; k < length; ++k) {
            const auto c = static_cast<unsigned char>(text[i + k]);
            if ((c & 0xC0) != 0x80) {
                return std::nullopt;
            }
            cp = (cp << 6) | (c & 0x3F);
        }
        const char32_t least[] = {0, 0, 0x80, 0x800, 0x10000};
        if (cp < least[length] || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) {
            return std::nullopt;
        }
        i += length;
    }
    return count;
}

std::size_t cp950Characters(std::string_view text) {
    std::size_t count = 0;
    for (std::size_t i = 0; i < text.size(); i += cp950::charLength(text, i)) {
        ++count;
    }
    return count;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);

    // Code page 950 side: one code point per character, always well-formed; the text comes back
    // unchanged exactly when isValid says it does.
    const std::string utf8 = cp950::toUtf8(bytes);
    const std::optional<std::size_t> points = utf8CodePoints(utf8);
    NEWS_FUZZ_CHECK(points.has_value(), "malformed UTF-8 " + fuzz::printable(utf8));
    NEWS_FUZZ_CHECK(*points == cp950Characters(bytes), fuzz::printable(utf8));
    const bool roundTrips = cp950::fromUtf8(utf8) == bytes;
    NEWS_FUZZ_CHECK(roundTrips == cp950::isValid(bytes),
                    roundTrips ? "valid text called invalid" : "lossy text called valid");

    // UTF-8 side: whatever comes out is valid code page 950 that converts back to itself; text
    // whose every character has a code (no '?' made up) comes back exactly.
    const std::string converted = cp950::fromUtf8(bytes);
    NEWS_FUZZ_CHECK(cp950::isValid(converted), fuzz::printable(converted));
    const std::string again = cp950::toUtf8(converted);
    NEWS_FUZZ_CHECK(cp950::fromUtf8(again) == converted, fuzz::printable(again));
    if (utf8CodePoints(bytes) && bytes.find('?') == std::string_view::npos &&
        converted.find('?') == std::string::npos) {
        NEWS_FUZZ_CHECK(again == bytes, fuzz::printable(again));
    }
    return 0;
}
