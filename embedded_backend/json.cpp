#include "embedded_backend/json.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <unordered_set>

#include "host/text/escape.h"
#include "host/text/utf8.h"

namespace embedded {

JsonValue JsonValue::makeBool(bool value) {
    JsonValue v;
    v.m_type = Type::Bool;
    v.m_bool = value;
    return v;
}

JsonValue JsonValue::makeNumber(double value) {
    JsonValue v;
    v.m_type = Type::Number;
    v.m_number = value;
    return v;
}

JsonValue JsonValue::makeString(std::string value) {
    JsonValue v;
    v.m_type = Type::String;
    v.m_string = std::move(value);
    return v;
}

JsonValue JsonValue::makeArray(std::vector<JsonValue> items) {
    JsonValue v;
    v.m_type = Type::Array;
    v.m_items = std::move(items);
    return v;
}

JsonValue JsonValue::makeObject(std::vector<std::string> keys, std::vector<JsonValue> values) {
    JsonValue v;
    v.m_type = Type::Object;
    v.m_keys = std::move(keys);
    v.m_items = std::move(values);
    return v;
}

const JsonValue* JsonValue::find(std::string_view key) const {
    if (m_type != Type::Object) {
        return nullptr;
    }
    for (std::size_t i = 0; i < m_keys.size(); ++i) {
        if (m_keys[i] == key) {
            return &m_items[i];
        }
    }
    return nullptr;
}

namespace {

constexpr int kMaxDepth = 64;

using text::appendUtf8;

// Length of the well-formed UTF-8 sequence at pos, or 0 when it is malformed.
std::size_t utf8SequenceLength(std::string_view text, std::size_t pos) {
    const auto b0 = static_cast<unsigned char>(text[pos]);
    std::size_t need = 0;
    unsigned char low = 0x80;
    unsigned char high = 0xBF;
    if (b0 < 0x80) {
        return 1;
    } else if (b0 >= 0xC2 && b0 <= 0xDF) {
        need = 1;
    } else if (b0 >= 0xE0 && b0 <= 0xEF) {
        need = 2;
        low = b0 == 0xE0 ? 0xA0 : 0x80;  // overlong forms
        high = b0 == 0xED ? 0x9F : 0xBF; // surrogates
    } else if (b0 >= 0xF0 && b0 <= 0xF4) {
        need = 3;
        low = b0 == 0xF0 ? 0x90 : 0x80;
        high = b0 == 0xF4 ? 0x8F : 0xBF;
    } else {
        return 0;
    }
    if (pos + need >= text.size()) {
        return 0;
    }
    for (std::size_t i = 1; i <= need; ++i) {
        const auto b = static_cast<unsigned char>(text[pos + i]);
        const unsigned char lo = i == 1 ? low : 0x80;
        const unsigned char hi = i == 1 ? high : 0xBF;
        if (b < lo || b > hi) {
            return 0;
        }
    }
    return need + 1;
}

class Parser {
public:
    explicit Parser(std::string_view text) : m_text(text) {}

    std::optional<JsonValue> parseDocument(JsonError* error) {
        skipBlanks();
        std::optional<JsonValue> value = parseValue(0);
        if (value) {
            skipBlanks();
            if (m_pos != m_text.size()) {
                fail("unexpected text after the value");
                value.reset();
            }
        }
        if (!value && error != nullptr) {
            error->offset = m_errorOffset;
            error->message = m_error;
        }
        return value;
    }

private:
    void fail(std::string message) {
        if (m_error.empty()) {
            m_error = std::move(message);
            m_errorOffset = m_pos;
        }
    }

    void skipBlanks() {
        while (m_pos < m_text.size() &&
               (m_text[m_pos] == ' ' || m_text[m_pos] == '\t' || m_text[m_pos] == '\n' || m_text[m_pos] == '\r')) {
            ++m_pos;
        }
    }

    bool consumeWord(std::string_view word) {
        if (m_text.substr(m_pos, word.size()) == word) {
            m_pos += word.size();
            return true;
        }
        return false;
    }

    std::optional<JsonValue> parseValue(int depth) {
        if (depth > kMaxDepth) {
            fail("nesting too deep");
            return std::nullopt;
        }
        if (m_pos >= m_text.size()) {
            fail("unexpected end of text");
            return std::nullopt;
        }
        switch (m_text[m_pos]) {
        case '{':
            return parseObject(depth);
        case '[':
            return parseArray(depth);
        case '"': {
            std::optional<std::string> s = parseString();
            if (!s) {
                return std::nullopt;
            }
            return JsonValue::makeString(std::move(*s));
        }
        case 't':
            if (consumeWord("true")) {
                return JsonValue::makeBool(true);
            }
            break;
        case 'f':
            if (consumeWord("false")) {
                return JsonValue::makeBool(false);
            }
            break;
        case 'n':
            if (consumeWord("null")) {
                return JsonValue{};
            }
            break;
        default:
            if (m_text[m_pos] == '-' || (m_text[m_pos] >= '0' && m_text[m_pos] <= '9')) {
                return parseNumber();
            }
            break;
        }
        fail("unexpected character");
        return std::nullopt;
    }

    // Whether key is already a member name. Small objects (every feed record) compare with each
    // name; past kLinearMembers names go into a hash set, so a line with very many members
    // costs linear time instead of quadratic.
    static bool isDuplicate(const std::vector<std::string>& keys, std::unordered_set<std::string>& seen,
                            const std::string& key) {
        constexpr std::size_t kLinearMembers = 16;
        if (keys.size() < kLinearMembers) {
            return std::find(keys.begin(), keys.end(), key) != keys.end();
        }
        if (seen.empty()) {
            seen.reserve(keys.size() * 2);
            seen.insert(keys.begin(), keys.end());
        }
        return !seen.insert(key).second;
    }

    std::optional<JsonValue> parseObject(int depth) {
        ++m_pos;                              // '{'
        std::unordered_set<std::string> seen; // names, once the object has many members
        std::vector<std::string> keys;
        std::vector<JsonValue> values;
        skipBlanks();
        if (m_pos < m_text.size() && m_text[m_pos] == '}') {
            ++m_pos;
            return JsonValue::makeObject(std::move(keys), std::move(values));
        }
        while (true) {
            skipBlanks();
            if (m_pos >= m_text.size() || m_text[m_pos] != '"') {
                fail("expected a member name");
                return std::nullopt;
            }
            const std::size_t keyPos = m_pos;
            std::optional<std::string> key = parseString();
            if (!key) {
                return std::nullopt;
            }
            if (isDuplicate(keys, seen, *key)) {
                m_pos = keyPos;
                fail("duplicate member \"" + *key + "\"");
                return std::nullopt;
            }
            skipBlanks();
            if (m_pos >= m_text.size() || m_text[m_pos] != ':') {
                fail("expected ':'");
                return std::nullopt;
            }
            ++m_pos;
            skipBlanks();
            std::optional<JsonValue> value = parseValue(depth + 1);
            if (!value) {
                return std::nullopt;
            }
            keys.push_back(std::move(*key));
            values.push_back(std::move(*value));
            skipBlanks();
            if (m_pos < m_text.size() && m_text[m_pos] == ',') {
                ++m_pos;
                continue;
            }
            if (m_pos < m_text.size() && m_text[m_pos] == '}') {
                ++m_pos;
                return JsonValue::makeObject(std::move(keys), std::move(values));
            }
            fail("expected ',' or '}'");
            return std::nullopt;
        }
    }

    std::optional<JsonValue> parseArray(int depth) {
        ++m_pos; // '['
        std::vector<JsonValue> items;
        skipBlanks();
        if (m_pos < m_text.size() && m_text[m_pos] == ']') {
            ++m_pos;
            return JsonValue::makeArray(std::move(items));
        }
        while (true) {
            skipBlanks();
            std::optional<JsonValue> value = parseValue(depth + 1);
            if (!value) {
                return std::nullopt;
            }
            items.push_back(std::move(*value));
            skipBlanks();
            if (m_pos < m_text.size() && m_text[m_pos] == ',') {
                ++m_pos;
                continue;
            }
            if (m_pos < m_text.size() && m_text[m_pos] == ']') {
                ++m_pos;
                return JsonValue::makeArray(std::move(items));
            }
            fail("expected ',' or ']'");
            return std::nullopt;
        }
    }

    std::optional<JsonValue> parseNumber() {
        const std::size_t start = m_pos;
        auto digits = [&] {
            const std::size_t from = m_pos;
            while (m_pos < m_text.size() && m_text[m_pos] >= '0' && m_text[m_pos] <= '9') {
                ++m_pos;
            }
            return m_pos - from;
        };
        if (m_text[m_pos] == '-') {
            ++m_pos;
        }
        if (m_pos < m_text.size() && m_text[m_pos] == '0') {
            ++m_pos;
        } else if (digits() == 0) {
            fail("malformed number");
            return std::nullopt;
        }
        if (m_pos < m_text.size() && m_text[m_pos] == '.') {
            ++m_pos;
            if (digits() == 0) {
                fail("malformed number");
                return std::nullopt;
            }
        }
        if (m_pos < m_text.size() && (m_text[m_pos] == 'e' || m_text[m_pos] == 'E')) {
            ++m_pos;
            if (m_pos < m_text.size() && (m_text[m_pos] == '+' || m_text[m_pos] == '-')) {
                ++m_pos;
            }
            if (digits() == 0) {
                fail("malformed number");
                return std::nullopt;
            }
        }
        double value = 0;
        const auto [end, ec] = std::from_chars(m_text.data() + start, m_text.data() + m_pos, value);
        if (ec != std::errc{} || end != m_text.data() + m_pos) {
            m_pos = start;
            fail("number out of range");
            return std::nullopt;
        }
        return JsonValue::makeNumber(value);
    }

    // Four hex digits at m_pos; -1 when malformed.
    long parseHex4() {
        if (m_pos + 4 > m_text.size()) {
            return -1;
        }
        long value = 0;
        for (int i = 0; i < 4; ++i) {
            const char c = m_text[m_pos + static_cast<std::size_t>(i)];
            value <<= 4;
            if (c >= '0' && c <= '9') {
                value |= c - '0';
            } else if (c >= 'a' && c <= 'f') {
                value |= c - 'a' + 10;
            } else if (c >= 'A' && c <= 'F') {
                value |= c - 'A' + 10;
            } else {
                return -1;
            }
        }
        m_pos += 4;
        return value;
    }

    std::optional<std::string> parseString() {
        ++m_pos; // opening quote
        std::string out;
        while (true) {
            if (m_pos >= m_text.size()) {
                fail("unterminated string");
                return std::nullopt;
            }
            const auto c = static_cast<unsigned char>(m_text[m_pos]);
            if (c == '"') {
                ++m_pos;
                return out;
            }
            if (c < 0x20) {
                fail("control character in string");
                return std::nullopt;
            }
            if (c == '\\') {
                if (!parseEscape(out)) {
                    return std::nullopt;
                }
                continue;
            }
            const std::size_t len = utf8SequenceLength(m_text, m_pos);
            if (len == 0) {
                fail("invalid UTF-8");
                return std::nullopt;
            }
            out.append(m_text.substr(m_pos, len));
            m_pos += len;
        }
    }

    bool parseEscape(std::string& out) {
        ++m_pos; // backslash
        if (m_pos >= m_text.size()) {
            fail("unterminated escape");
            return false;
        }
        const char e = m_text[m_pos++];
        switch (e) {
        case '"':
            out += '"';
            return true;
        case '\\':
            out += '\\';
            return true;
        case '/':
            out += '/';
            return true;
        case 'b':
            out += '\b';
            return true;
        case 'f':
            out += '\f';
            return true;
        case 'n':
            out += '\n';
            return true;
        case 'r':
            out += '\r';
            return true;
        case 't':
            out += '\t';
            return true;
        case 'u':
            break;
        default:
            --m_pos;
            fail("unknown escape");
            return false;
        }
        const long unit = parseHex4();
        if (unit < 0) {
            fail("malformed \\u escape");
            return false;
        }
        if (unit >= 0xDC00 && unit <= 0xDFFF) {
            fail("lone low surrogate");
            return false;
        }
        if (unit >= 0xD800 && unit <= 0xDBFF) {
            if (m_text.substr(m_pos, 2) != "\\u") {
                fail("high surrogate without its low surrogate");
                return false;
            }
            m_pos += 2;
            const long low = parseHex4();
            if (low < 0xDC00 || low > 0xDFFF) {
                fail("high surrogate without its low surrogate");
                return false;
            }
            appendUtf8(out, 0x10000 + ((static_cast<char32_t>(unit) - 0xD800) << 10) +
                                (static_cast<char32_t>(low) - 0xDC00));
            return true;
        }
        appendUtf8(out, static_cast<char32_t>(unit));
        return true;
    }

    std::string_view m_text;
    std::size_t m_pos = 0;
    std::string m_error;
    std::size_t m_errorOffset = 0;
};

} // namespace

std::optional<JsonValue> parseJson(std::string_view text, JsonError* error) {
    return Parser(text).parseDocument(error);
}

std::string jsonQuote(std::string_view utf8) {
    static constexpr char kHex[] = "0123456789abcdef";
    std::string out;
    out.reserve(utf8.size() + 2);
    out += '"';
    for (const char ch : utf8) {
        const auto c = static_cast<unsigned char>(ch);
        if (text::appendBackslashEscape(out, ch)) {
            continue;
        }
        if (c < 0x20) {
            out += "\\u00";
            out += kHex[c >> 4];
            out += kHex[c & 0x0F];
        } else {
            out += ch;
        }
    }
    out += '"';
    return out;
}

} // namespace embedded
