// The double-byte text helpers (stepping, cutting, upper-casing, comparing, tokenising,
// searching, replacing, trimming) against a model that works on whole characters. None may split a
// double-byte character, and upper-casing never changes a lead or trail byte.
#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "fuzz/fuzz_support.h"
#include "host/text/char_next.h"
#include "host/text/cp950.h"

namespace {

constexpr auto npos = std::string_view::npos;

// Character start offsets, plus the end of the text.
std::vector<std::size_t> boundariesOf(std::string_view text) {
    std::vector<std::size_t> out;
    std::size_t pos = 0;
    for (const std::string_view c : fuzz::characters(text)) {
        out.push_back(pos);
        pos += c.size();
    }
    out.push_back(text.size());
    return out;
}

bool isBoundary(const std::vector<std::size_t>& boundaries, std::size_t pos) {
    return std::binary_search(boundaries.begin(), boundaries.end(), pos);
}

std::size_t modelFind(std::string_view haystack, std::string_view needle, std::size_t from) {
    if (from > haystack.size()) {
        return npos;
    }
    const std::vector<std::size_t> b = boundariesOf(haystack);
    for (const std::size_t start : b) {
        if (start >= from && haystack.size() - start >= needle.size() &&
            haystack.substr(start, needle.size()) == needle && isBoundary(b, start + needle.size())) {
            return start;
        }
    }
    return npos;
}

std::string modelUpper(std::string_view text) {
    std::string out;
    for (const std::string_view c : fuzz::characters(text)) {
        out += c.size() == 1 && c[0] >= 'a' && c[0] <= 'z' ? std::string(1, static_cast<char>(c[0] - 'a' + 'A'))
                                                           : std::string(c);
    }
    return out;
}

std::vector<std::string> modelTokens(std::string_view text, std::string_view delimiters) {
    std::vector<std::string> out;
    std::string piece;
    for (const std::string_view c : fuzz::characters(text)) {
        if (c.size() == 1 && delimiters.find(c[0]) != npos) {
            if (!piece.empty()) {
                out.push_back(std::move(piece));
            }
            piece.clear();
        } else {
            piece += c;
        }
    }
    if (!piece.empty()) {
        out.push_back(std::move(piece));
    }
    return out;
}

std::string modelReplace(std::string_view text, std::string_view from, std::string_view to) {
    if (from.empty()) {
        return std::string(text);
    }
    std::string out;
    std::size_t pos = 0;
    for (std::size_t hit = modelFind(text, from, 0); hit != npos; hit = modelFind(text, from, pos)) {
        out += text.substr(pos, hit - pos);
        out += to;
        pos = hit + from.size();
    }
    out += text.substr(pos);
    return out;
}

std::string modelTrim(std::string_view text) {
    const std::string_view blanks = " \t\r\n";
    const std::size_t first = text.find_first_not_of(blanks);
    return first == npos ? std::string() : std::string(text.substr(first, text.find_last_not_of(blanks) - first + 1));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::FuzzInput in(data, size);
    const std::size_t maxBytes = in.integer<std::uint16_t>() % 512;
    const std::size_t from = in.integer<std::uint16_t>() % 512;
    const std::uint8_t caseFlips = in.byte();
    const std::string delimiters = in.text();
    const std::string needle = in.text();
    const std::string replacement = in.text();
    const std::string text = in.rest();
    const std::vector<std::size_t> b = boundariesOf(text);

    // Character walking and cutting.
    for (std::size_t pos = 0; pos <= text.size() + 1; ++pos) {
        NEWS_FUZZ_CHECK(cp950::isCharBoundary(text, pos) == isBoundary(b, pos), std::to_string(pos));
    }
    for (std::size_t i = 0; i + 1 < b.size(); ++i) {
        NEWS_FUZZ_CHECK(cp950::charLength(text, b[i]) == b[i + 1] - b[i], std::to_string(b[i]));
    }
    // Stepping the platform's way pairs a lead byte with any byte but NUL; it reaches the end in
    // steps of one or two and never parts a character that charLength sees whole.
    for (std::size_t pos = 0; pos < text.size();) {
        const std::size_t next = cp950::charNextA(text, pos);
        const bool pairs =
            cp950::isLeadByte(static_cast<unsigned char>(text[pos])) && pos + 1 < text.size() && text[pos + 1] != '\0';
        NEWS_FUZZ_CHECK(next == pos + (pairs ? 2 : 1), std::to_string(pos));
        NEWS_FUZZ_CHECK(cp950::charLength(text, pos) != 2 || next == pos + 2, std::to_string(pos));
        pos = next;
    }
    NEWS_FUZZ_CHECK(cp950::charNextA(text, text.size()) == text.size(), "a step past the end");
    const std::size_t cut = cp950::cutLength(text, maxBytes);
    const std::size_t expectedCut = *(std::upper_bound(b.begin(), b.end(), maxBytes) - 1);
    NEWS_FUZZ_CHECK(cut == expectedCut, std::to_string(cut) + " for " + std::to_string(maxBytes));
    NEWS_FUZZ_CHECK(cp950::cut(text, maxBytes) == text.substr(0, cut), "cut differs from cutLength");

    // Upper-casing changes single-byte letters only: never a byte of a double-byte character.
    const std::string upper = cp950::toUpper(text);
    NEWS_FUZZ_CHECK(upper == modelUpper(text), fuzz::printable(upper));
    NEWS_FUZZ_CHECK(cp950::toUpper(upper) == upper, "upper-casing twice changes the text");
    NEWS_FUZZ_CHECK(boundariesOf(upper) == b, "upper-casing moved a character boundary");
    NEWS_FUZZ_CHECK(cp950::equalsIgnoreCase(text, needle) == (cp950::toUpper(text) == cp950::toUpper(needle)),
                    fuzz::printable(needle));
    std::string flipped = text;
    std::size_t letter = 0;
    for (std::size_t i = 0; i + 1 < b.size(); ++i) {
        const char c = text[b[i]];
        if (b[i + 1] - b[i] == 1 && ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z')) &&
            ((caseFlips >> (letter++ % 8)) & 1)) {
            flipped[b[i]] = static_cast<char>(c ^ 0x20);
        }
    }
    NEWS_FUZZ_CHECK(cp950::equalsIgnoreCase(text, flipped), fuzz::printable(flipped));

    // Tokens, searches, replacements and trimming agree with the whole-character model.
    NEWS_FUZZ_CHECK(cp950::tokenize(text, delimiters) == modelTokens(text, delimiters), fuzz::printable(delimiters));
    const std::size_t found = cp950::find(text, needle, from);
    NEWS_FUZZ_CHECK(found == modelFind(text, needle, from),
                    fuzz::printable(needle) + " from " + std::to_string(from) + " at " + std::to_string(found));
    NEWS_FUZZ_CHECK(cp950::contains(text, needle) == (modelFind(text, needle, 0) != npos), fuzz::printable(needle));
    NEWS_FUZZ_CHECK(cp950::replaceAll(text, needle, replacement) == modelReplace(text, needle, replacement),
                    fuzz::printable(needle));
    NEWS_FUZZ_CHECK(cp950::trim(text) == modelTrim(text), "trim");
    return 0;
}
