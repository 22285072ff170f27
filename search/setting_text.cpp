#include "search/setting_text.h"

#include <charconv>

#include "host/text/escape.h"

namespace news {

namespace {

bool needsEscape(unsigned char c) {
    return c < 0x21 || c == 0x7F || c == '%' || c == ',';
}

} // namespace

void AppendEscapedElement(CString& out, std::string_view element) {
    text::appendPercentEscaped(out, element, needsEscape);
}

std::optional<CString> UnescapeElement(std::string_view element) {
    return text::percentUnescape(element, needsEscape);
}

CString EncodeTextList(const std::vector<CString>& items) {
    CString out;
    text::appendCountedList(out, items, needsEscape);
    return out;
}

std::optional<std::vector<CString>> DecodeTextList(std::string_view value) {
    return text::decodeCountedList(value, needsEscape);
}

std::optional<int> ParseStrictInt(std::string_view text) {
    const std::string_view digits = !text.empty() && text.front() == '-' ? text.substr(1) : text;
    if (digits.empty() || digits.front() < '0' || digits.front() > '9' ||
        (digits.size() > 1 && digits.front() == '0') || (digits == "0" && digits.size() != text.size())) {
        return std::nullopt;
    }
    int value = 0;
    const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (ec != std::errc{} || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return value;
}

} // namespace news
