#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace embedded {

// A parsed JSON value: null, boolean, number, string (UTF-8), array or object. Objects keep
// their members in file order.
class JsonValue {
public:
    enum class Type { Null, Bool, Number, String, Array, Object };

    JsonValue() = default;
    static JsonValue makeBool(bool value);
    static JsonValue makeNumber(double value);
    static JsonValue makeString(std::string value);
    static JsonValue makeArray(std::vector<JsonValue> items);
    static JsonValue makeObject(std::vector<std::string> keys, std::vector<JsonValue> values);

    Type type() const { return m_type; }
    bool isNull() const { return m_type == Type::Null; }
    bool isBool() const { return m_type == Type::Bool; }
    bool isNumber() const { return m_type == Type::Number; }
    bool isString() const { return m_type == Type::String; }
    bool isArray() const { return m_type == Type::Array; }
    bool isObject() const { return m_type == Type::Object; }

    bool boolValue() const { return m_bool; }
    double numberValue() const { return m_number; }
    const std::string& stringValue() const { return m_string; }
    // Elements of an array, or member values of an object (parallel to keys()).
    const std::vector<JsonValue>& items() const { return m_items; }
    const std::vector<std::string>& keys() const { return m_keys; }
    // The member named key of an object; null when absent or when this is no object.
    const JsonValue* find(std::string_view key) const;

private:
    Type m_type = Type::Null;
    bool m_bool = false;
    double m_number = 0;
    std::string m_string;
    std::vector<std::string> m_keys;
    std::vector<JsonValue> m_items;
};

struct JsonError {
    std::size_t offset = 0; // byte offset in the parsed text
    std::string message;
};

// Parses one complete JSON text (RFC 8259: objects, arrays, strings with every escape including
// \uXXXX and surrogate pairs, numbers, true, false, null). The input must be valid UTF-8; raw
// control characters inside strings, duplicate member names, trailing text and nesting deeper
// than 64 levels are errors. Returns nullopt and fills error on failure.
std::optional<JsonValue> parseJson(std::string_view text, JsonError* error = nullptr);

// The JSON string literal (with quotes) for UTF-8 text: quote, backslash and control
// characters escaped, everything else written as it is.
std::string jsonQuote(std::string_view utf8);

} // namespace embedded
