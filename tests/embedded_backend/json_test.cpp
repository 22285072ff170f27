#include <string>

#include <gtest/gtest.h>

#include "embedded_backend/json.h"

namespace embedded {
namespace {

TEST(Json, ParsesEveryKindOfValue) {
    const auto v = parseJson(R"( {"a": [1, -2.5e2, true, false, null], "b": {"c": "d"}, "e": ""} )");
    ASSERT_TRUE(v);
    ASSERT_TRUE(v->isObject());
    const JsonValue* a = v->find("a");
    ASSERT_NE(a, nullptr);
    ASSERT_EQ(a->items().size(), 5u);
    EXPECT_EQ(a->items()[0].numberValue(), 1);
    EXPECT_EQ(a->items()[1].numberValue(), -250);
    EXPECT_TRUE(a->items()[2].boolValue());
    EXPECT_FALSE(a->items()[3].boolValue());
    EXPECT_TRUE(a->items()[4].isNull());
    EXPECT_EQ(v->find("b")->find("c")->stringValue(), "d");
    EXPECT_EQ(v->find("e")->stringValue(), "");
    EXPECT_EQ(v->find("missing"), nullptr);
    EXPECT_EQ(v->keys(), (std::vector<std::string>{"a", "b", "e"})) << "members keep file order";
}

TEST(Json, StringEscapesIncludingSurrogatePairs) {
    const auto v = parseJson(R"("q\" b\\ s\/ \b\f\n\r\t \u00e9 \u53f0 \ud83d\ude00")");
    ASSERT_TRUE(v);
    EXPECT_EQ(v->stringValue(), "q\" b\\ s/ \b\f\n\r\t \xC3\xA9 \xE5\x8F\xB0 \xF0\x9F\x98\x80");
    EXPECT_EQ(parseJson("\"\xE5\x8F\xB0\xE7\xA9\x8D\"")->stringValue(), "\xE5\x8F\xB0\xE7\xA9\x8D")
        << "raw UTF-8 passes";
}

TEST(Json, RejectsMalformedTextWithAPosition) {
    const char* bad[] = {
        "",                   // nothing
        "{",                  // unterminated
        "{\"a\":1,}",         // trailing comma
        "[1,]",               // trailing comma
        "{\"a\":1 \"b\":2}",  // missing comma
        "{a:1}",              // unquoted name
        "{\"a\":1,\"a\":2}",  // duplicate member
        "\"\\ud83d\"",        // lone high surrogate
        "\"\\ude00\"",        // lone low surrogate
        "\"\\ud83d\\u0041\"", // high surrogate with a non-surrogate
        "\"\\x41\"",          // unknown escape
        "\"\\u12G4\"",        // bad hex
        "\"a\tb\"",           // raw control character
        "\"\xC3\"",           // cut UTF-8 sequence
        "\"\xC0\xAF\"",       // overlong form
        "\"\xED\xA0\x80\"",   // encoded surrogate
        "01",                 // leading zero
        "1.",                 // no fraction digits
        "-",                  // sign alone
        "1e",                 // no exponent digits
        "1e999",              // out of range
        "tru",                // cut word
        "{} x",               // trailing text
    };
    for (const char* text : bad) {
        JsonError error;
        EXPECT_FALSE(parseJson(text, &error)) << text;
        EXPECT_FALSE(error.message.empty()) << text;
    }
    JsonError error;
    EXPECT_FALSE(parseJson("{\"a\": [1, 2, x]}", &error));
    EXPECT_EQ(error.offset, 13u) << "the offset points at the bad character";
}

TEST(Json, ObjectsWithManyMembersKeepEveryNameAndFindTheDuplicate) {
    // One feed line of 40,000 members: every name is kept in order, and a repeated name is
    // reported where it stands, whether it repeats the first member or a neighbour.
    constexpr int kMembers = 40000;
    std::string line = "{";
    for (int i = 0; i < kMembers; ++i) {
        line += (i > 0 ? ",\"k" : "\"k") + std::to_string(i) + "\":" + std::to_string(i);
    }
    const auto v = parseJson(line + "}");
    ASSERT_TRUE(v);
    ASSERT_EQ(v->keys().size(), static_cast<std::size_t>(kMembers));
    EXPECT_EQ(v->keys()[12345], "k12345");
    EXPECT_EQ(v->find("k39999")->numberValue(), 39999);
    for (const char* repeated : {"k0", "k1", "k20000", "k39998", "k39999"}) {
        const std::string withDuplicate = line + ",\"" + repeated + "\":1}";
        JsonError error;
        EXPECT_FALSE(parseJson(withDuplicate, &error)) << repeated;
        EXPECT_EQ(error.offset, line.size() + 1) << repeated;
        EXPECT_EQ(error.message, std::string("duplicate member \"") + repeated + "\"");
    }
}

TEST(Json, NestingIsBounded) {
    EXPECT_TRUE(parseJson(std::string(60, '[') + std::string(60, ']')));
    EXPECT_FALSE(parseJson(std::string(100, '[') + std::string(100, ']'))) << "no stack exhaustion on deep input";
}

TEST(Json, QuotedTextParsesBackToItself) {
    const std::string texts[] = {
        "plain",    "quote \" and \\ backslash",           "line\r\nbreak\ttab", std::string("nul\0x", 5),
        "\x01\x1F", "\xE5\x8F\xB0\xE7\xA9\x8D\xE9\x9B\xBB"};
    for (const std::string& text : texts) {
        const auto v = parseJson(jsonQuote(text));
        ASSERT_TRUE(v) << jsonQuote(text);
        EXPECT_EQ(v->stringValue(), text);
    }
}

} // namespace
} // namespace embedded
