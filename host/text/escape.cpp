#include "host/text/escape.h"

#include <charconv>

namespace text {

namespace {

int hexValue(char c) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    if (c >= 'A' && c <= 'F') {
        return c - 'A' + 10;
    }
    return -1;
}

} // namespace

void appendPercentEscaped(std::string& out, std::string_view item, EscapedByte escaped) {
    static constexpr char kHex[] = "0123456789ABCDEF";
    for (const char ch : item) {
        const auto c = static_cast<unsigned char>(ch);
        if (escaped(c)) {
            out += '%';
            out += kHex[c >> 4];
            out += kHex[c & 0x0F];
        } else {
            out += ch;
        }
    }
}

std::optional<std::string> percentUnescape(std::string_view item, EscapedByte escaped) {
    std::string out;
    out.reserve(item.size());
    for (std::size_t i = 0; i < item.size(); ++i) {
        const auto c = static_cast<unsigned char>(item[i]);
        if (c != '%') {
            if (escaped(c)) {
                return std::nullopt;
            }
            out += static_cast<char>(c);
            continue;
        }
        if (i + 2 >= item.size()) {
            return std::nullopt;
        }
        const int hi = hexValue(item[i + 1]);
        const int lo = hexValue(item[i + 2]);
        if (hi < 0 || lo < 0) {
            return std::nullopt;
        }
        const auto decoded = static_cast<unsigned char>(hi * 16 + lo);
        if (!escaped(decoded)) {
            return std::nullopt;
        }
        out += static_cast<char>(decoded);
        i += 2;
    }
    return out;
}

void appendCountedList(std::string& out, const std::vector<std::string>& items, EscapedByte escaped) {
    out += std::to_string(items.size());
    out += ':';
    for (std::size_t i = 0; i < items.size(); ++i) {
        if (i > 0) {
            out += ',';
        }
        appendPercentEscaped(out, items[i], escaped);
    }
}

std::optional<std::vector<std::string>> decodeCountedList(std::string_view value, EscapedByte escaped) {
    const std::size_t colon = value.find(':');
    if (colon == std::string_view::npos) {
        return std::nullopt;
    }
    // One spelling per count: digits only, no leading zero.
    const std::string_view digits = value.substr(0, colon);
    if (digits.empty() || digits.front() < '0' || digits.front() > '9' ||
        (digits.front() == '0' && digits.size() > 1)) {
        return std::nullopt;
    }
    std::size_t count = 0;
    const auto [end, ec] = std::from_chars(digits.data(), digits.data() + digits.size(), count);
    if (ec != std::errc{} || end != digits.data() + digits.size()) {
        return std::nullopt;
    }
    const std::string_view body = value.substr(colon + 1);
    std::vector<std::string> items;
    if (count == 0) {
        if (!body.empty()) {
            return std::nullopt;
        }
        return items;
    }
    // Every item takes at least one comma after the first, so a count beyond that is a lie.
    if (count > body.size() + 1) {
        return std::nullopt;
    }
    items.reserve(count);
    std::size_t start = 0;
    while (true) {
        const std::size_t comma = body.find(',', start);
        std::optional<std::string> item =
            percentUnescape(body.substr(start, comma == std::string_view::npos ? comma : comma - start), escaped);
        if (!item) {
            return std::nullopt;
        }
        items.push_back(std::move(*item));
        if (comma == std::string_view::npos) {
            break;
        }
        start = comma + 1;
    }
    if (items.size() != count) {
        return std::nullopt;
    }
    return items;
}

bool appendBackslashEscape(std::string& out, char c) {
    switch (c) {
    case '"':
        out += "\\\"";
        return true;
    case '\\':
        out += "\\\\";
        return true;
    case '\n':
        out += "\\n";
        return true;
    case '\r':
        out += "\\r";
        return true;
    case '\t':
        out += "\\t";
        return true;
    default:
        return false;
    }
}

} // namespace text
