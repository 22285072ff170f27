// The JSON parser of the feed: what it accepts it holds exactly (written out again it reads back
// the same), member names are unique, strings are well-formed UTF-8; what it refuses it refuses
// with a reason at an offset inside the text.
#include <cstdint>
#include <cstdio>
#include <set>
#include <string>

#include "embedded_backend/json.h"
#include "fuzz/fuzz_support.h"

namespace {

using embedded::JsonValue;

bool wellFormedUtf8(std::string_view text) {
    for (std::size_t i = 0; i < text.size();) {
        const auto b = static_cast<unsigned char>(text[i]);
        const std::size_t length = b < 0x80 ? 1 : (b >> 5) == 6 ? 2 : (b >> 4) == 14 ? 3 : (b >> 3) == 30 ? 4 : 0;
        if (length == 0 || i + length > text.size()) {
            return false;
        }
        char32_t cp = length == 1 ? b : b & (0x7F >> length);
        for (std::size_t k = 1; k < length; ++k) {
            const auto c = static_cast<unsigned char>(text[i + k]);
            if ((c & 0xC0) != 0x80) {
                return false;
            }
            cp = (cp << 6) | (c & 0x3F);
        }
        const char32_t least[] = {0, 0, 0x80, 0x800, 0x10000};
        if (cp < least[length] || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) {
            return false;
        }
        i += length;
    }
    return true;
}

// Canonical text of a value; checks names and strings on the way.
std::string written(const JsonValue& v) {
    switch (v.type()) {
    case JsonValue::Type::Null:
        return "null";
    case JsonValue::Type::Bool:
        return v.boolValue() ? "true" : "false";
    case JsonValue::Type::Number: {
        char buffer[40];
        std::snprintf(buffer, sizeof buffer, "%.17g", v.numberValue());
        return buffer;
    }
    case JsonValue::Type::String:
        NEWS_FUZZ_CHECK(wellFormedUtf8(v.stringValue()), fuzz::printable(v.stringValue()));
        return embedded::jsonQuote(v.stringValue());
    case JsonValue::Type::Array: {
        std::string out = "[";
        for (std::size_t i = 0; i < v.items().size(); ++i) {
            out += (i > 0 ? "," : "") + written(v.items()[i]);
        }
        return out + "]";
    }
    case JsonValue::Type::Object: {
        NEWS_FUZZ_CHECK(v.keys().size() == v.items().size(), "names and values out of step");
        const std::set<std::string> names(v.keys().begin(), v.keys().end());
        NEWS_FUZZ_CHECK(names.size() == v.keys().size(), "a duplicate member name was accepted");
        std::string out = "{";
        for (std::size_t i = 0; i < v.keys().size(); ++i) {
            NEWS_FUZZ_CHECK(wellFormedUtf8(v.keys()[i]), fuzz::printable(v.keys()[i]));
            if (i < 64) { // find is a linear look-up: sampled, so a many-member seed stays linear here too
                NEWS_FUZZ_CHECK(v.find(v.keys()[i]) == &v.items()[i], "find misses a member");
            }
            out += (i > 0 ? "," : "") + embedded::jsonQuote(v.keys()[i]) + ":" + written(v.items()[i]);
        }
        return out + "}";
    }
    }
    return {};
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    embedded::JsonError error;
    const std::optional<JsonValue> value = embedded::parseJson(text, &error);
    if (!value) {
        NEWS_FUZZ_CHECK(!error.message.empty() && error.offset <= text.size(), error.message);
        return 0;
    }
    const std::string canonical = written(*value);
    const std::optional<JsonValue> again = embedded::parseJson(canonical, &error);
    NEWS_FUZZ_CHECK(again.has_value(), error.message + " in " + fuzz::printable(canonical));
    NEWS_FUZZ_CHECK(written(*again) == canonical, fuzz::printable(canonical));
    return 0;
}
