#include "host/text/cp950.h"

namespace cp950 {

namespace {

unsigned char byteAt(std::string_view text, std::size_t pos) {
    return static_cast<unsigned char>(text[pos]);
}

char upperAscii(char c) {
    return (c >= 'a' && c <= 'z') ? static_cast<char>(c - 'a' + 'A') : c;
}

bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

// First character boundary at or after pos, walking from a known boundary `start` <= pos.
std::size_t boundaryAtOrAfter(std::string_view text, std::size_t start, std::size_t pos) {
    std::size_t i = start;
    while (i < pos && i < text.size())
        i += charLength(text, i);
    return i;
}

// True when needle occurs at boundary i and ends on a boundary too: a needle ending in a lone
// lead byte must not match the first half of a double-byte character.
bool matchesAt(std::string_view haystack, std::string_view needle, std::size_t i) {
    if (haystack.size() - i < needle.size() || haystack.compare(i, needle.size(), needle) != 0)
        return false;
    const std::size_t end = i + needle.size();
    std::size_t j = i;
    while (j < end)
        j += charLength(haystack, j);
    return j == end;
}

// find() for a start that is already known to be a character boundary.
std::size_t findFromBoundary(std::string_view haystack, std::string_view needle, std::size_t start) {
    for (std::size_t i = start; i <= haystack.size(); i += charLength(haystack, i)) {
        if (needle.size() > haystack.size() - i)
            return std::string_view::npos;
        if (matchesAt(haystack, needle, i))
            return i;
        if (i == haystack.size())
            break;
    }
    return std::string_view::npos;
}

} // namespace

std::size_t charLength(std::string_view text, std::size_t pos) {
    if (pos >= text.size())
        return 0;
    if (isLeadByte(byteAt(text, pos)) && pos + 1 < text.size() && isTrailByte(byteAt(text, pos + 1)))
        return 2;
    return 1;
}

bool isCharBoundary(std::string_view text, std::size_t pos) {
    if (pos > text.size())
        return false;
    return boundaryAtOrAfter(text, 0, pos) == pos;
}

std::size_t cutLength(std::string_view text, std::size_t maxBytes) {
    if (maxBytes >= text.size())
        return text.size();
    std::size_t i = 0;
    while (i < text.size()) {
        const std::size_t len = charLength(text, i);
        if (i + len > maxBytes)
            break;
        i += len;
    }
    return i;
}

std::string cut(std::string_view text, std::size_t maxBytes) {
    return std::string(text.substr(0, cutLength(text, maxBytes)));
}

std::string toUpper(std::string_view text) {
    std::string out(text);
    for (std::size_t i = 0; i < out.size();) {
        const std::size_t len = charLength(out, i);
        if (len == 1)
            out[i] = upperAscii(out[i]);
        i += len;
    }
    return out;
}

bool equalsIgnoreCase(std::string_view a, std::string_view b) {
    if (a.size() != b.size())
        return false;
    for (std::size_t i = 0; i < a.size();) {
        const std::size_t len = charLength(a, i);
        if (charLength(b, i) != len)
            return false;
        if (len == 1) {
            if (upperAscii(a[i]) != upperAscii(b[i]))
                return false;
        } else if (a[i] != b[i] || a[i + 1] != b[i + 1]) {
            return false;
        }
        i += len;
    }
    return true;
}

std::vector<std::string> tokenize(std::string_view text, std::string_view delimiters) {
    std::vector<std::string> pieces;
    std::size_t pieceStart = 0;
    for (std::size_t i = 0; i < text.size();) {
        const std::size_t len = charLength(text, i);
        if (len == 1 && delimiters.find(text[i]) != std::string_view::npos) {
            if (i > pieceStart)
                pieces.emplace_back(text.substr(pieceStart, i - pieceStart));
            pieceStart = i + 1;
        }
        i += len;
    }
    if (pieceStart < text.size())
        pieces.emplace_back(text.substr(pieceStart));
    return pieces;
}

std::size_t find(std::string_view haystack, std::string_view needle, std::size_t from) {
    if (from > haystack.size())
        return std::string_view::npos;
    return findFromBoundary(haystack, needle, boundaryAtOrAfter(haystack, 0, from));
}

bool contains(std::string_view haystack, std::string_view needle) {
    return find(haystack, needle) != std::string_view::npos;
}

std::string replaceAll(std::string_view text, std::string_view from, std::string_view to) {
    if (from.empty())
        return std::string(text);
    std::string out;
    out.reserve(text.size());
    std::size_t pos = 0;
    // Each match ends on a boundary, so the search resumes without walking from the start again.
    for (std::size_t hit = findFromBoundary(text, from, 0); hit != std::string_view::npos;
         hit = findFromBoundary(text, from, pos)) {
        out.append(text.substr(pos, hit - pos));
        out.append(to);
        pos = hit + from.size();
    }
    out.append(text.substr(pos));
    return out;
}

std::string trim(std::string_view text) {
    // Blanks are below 0x40, so a byte that is one is never the trail of a double-byte character.
    std::size_t begin = 0;
    std::size_t end = text.size();
    while (begin < end && isBlank(text[begin]))
        ++begin;
    while (end > begin && isBlank(text[end - 1]))
        --end;
    return std::string(text.substr(begin, end - begin));
}

} // namespace cp950
