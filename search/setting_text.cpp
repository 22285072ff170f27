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
    CString out = std::to_string(items.size());
    out += ':';
    for (std::size_t i = 0; i < items.size(); ++i) {
        if (i > 0) {
            out += ',';
        }
        AppendEscapedElement(out, items[i]);
    }
    return out;
}

std::optional<std::vector<CString>> DecodeTextList(std::string_view value) {
    const std::size_t colon = value.find(':');
    if (colon == std::string_view::npos) {
        return std::nullopt;
    }
    const std::optional<int> count = ParseStrictInt(value.substr(0, colon));
    const std::string_view body = value.substr(colon + 1);
    // Every element takes at least one comma after the first, so a count beyond that is a lie.
    if (!count || *count < 0 || static_cast<std::size_t>(*count) > body.size() + 1) {
        return std::nullopt;
    }
    std::vector<CString> items;
    if (*count == 0) {
        if (!body.empty()) {
            return std::nullopt;
        }
        return items;
    }
    items.reserve(static_cast<std::size_t>(*count));
    std::size_t start = 0;
    while (true) {
        const std::size_t comma = body.find(',', start);
        std::optional<CString> item =
            UnescapeElement(body.substr(start, comma == std::string_view::npos ? comma : comma - start));
        if (!item) {
            return std::nullopt;
        }
        items.push_back(std::move(*item));
        if (comma == std::string_view::npos) {
            break;
        }
        start = comma + 1;
    }
    if (items.size() != static_cast<std::size_t>(*count)) {
        return std::nullopt;
    }
    return items;
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
