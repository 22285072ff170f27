#include "host/text/escape.h"

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
