#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "host/text/cp950.h"

namespace {

const std::string kFffd = "\xEF\xBF\xBD";

std::string hex(const std::string& bytes) {
    std::string out;
    for (unsigned char b : bytes) {
        char buf[4];
        std::snprintf(buf, sizeof buf, "%02X", b);
        out += buf;
    }
    return out;
}

} // namespace

TEST(Cp950Convert, KnownCharactersRoundTrip) {
    struct Case {
        std::string cp950;
        std::string utf8;
    };
    const std::vector<Case> cases = {
        {"\xB3\x5C", "\xE8\xA8\xB1"},                             // 許 U+8A31
        {"\xA5\x5C", "\xE5\x8A\x9F"},                             // 功 U+529F
        {"\xA3\xE1", "\xE2\x82\xAC"},                             // € U+20AC (Windows addition)
        {"\xF9\xD6", "\xE7\xA2\x81"},                             // 碁 U+7881 (ETEN extension)
        {"\xF9\xF9", "\xE2\x95\x90"},                             // ═ U+2550: F9F9 is the code it encodes back to
        {"\xFA\x40", "\xEE\x80\x80"},                             // user-defined area -> U+E000
        {"\x80", "\xC2\x80"},                                     // single byte 0x80
        {"\xFF", "\xEF\xA3\xB8"},                                 // single byte 0xFF -> U+F8F8
        {std::string("a\0~\x7F", 4), std::string("a\0~\x7F", 4)}, // ASCII, NUL included
    };
    for (const Case& c : cases) {
        EXPECT_EQ(hex(cp950::toUtf8(c.cp950)), hex(c.utf8)) << "decoding " << hex(c.cp950);
        EXPECT_EQ(hex(cp950::fromUtf8(c.utf8)), hex(c.cp950)) << "encoding " << hex(c.utf8);
        EXPECT_TRUE(cp950::isValid(c.cp950)) << hex(c.cp950);
    }
}

TEST(Cp950Convert, MalformedAndUnmappableInput) {
    EXPECT_EQ(cp950::toUtf8("a\xA4"), "a" + kFffd) << "lone lead byte at the end";
    EXPECT_EQ(cp950::toUtf8("\xA4\x7F"), kFffd + "\x7F") << "a lead byte before a non-trail byte keeps that byte";
    EXPECT_EQ(cp950::toUtf8("\xA3\xC0x"), kFffd + "x") << "an unmapped pair is one character";
    EXPECT_FALSE(cp950::isValid("a\xA4"));
    EXPECT_FALSE(cp950::isValid("\xA3\xC0"));
    EXPECT_FALSE(cp950::isValid("\xA2\xA4")) << "decodes, but U+2550 encodes to F9F9";
    EXPECT_TRUE(cp950::isValid(""));

    EXPECT_EQ(cp950::fromUtf8("\xE0\xB8\x81"), "?") << "Thai is not in the table";
    EXPECT_EQ(cp950::fromUtf8("\xF0\x9F\x98\x80"), "?") << "outside the BMP";
    EXPECT_EQ(cp950::fromUtf8(kFffd), "?");
    EXPECT_EQ(cp950::fromUtf8("a\xE8\xA8"), "a?") << "truncated sequence at the end";
    EXPECT_EQ(cp950::fromUtf8("\xE8\xA8x"), "?x") << "truncated sequence keeps the next character";
    EXPECT_EQ(cp950::fromUtf8("\xC0\xAF"), "??") << "overlong form";
    EXPECT_EQ(cp950::fromUtf8("\xED\xA0\x80"), "???") << "encoded surrogate";
    EXPECT_EQ(cp950::fromUtf8("\xF4\x90\x80\x80"), "????") << "above U+10FFFF";
    EXPECT_EQ(cp950::fromUtf8("\xFF\xBF"), "??");
}

TEST(Cp950Convert, EveryMappedCodeRoundTrips) {
    // Duplicates that Windows decodes but never produces, with the code their character encodes to.
    const std::map<std::string, std::string> decodeOnly = {
        {"\xA2\xA4", "\xF9\xF9"}, {"\xA2\xA5", "\xF9\xE9"}, {"\xA2\xA6", "\xF9\xEA"}, {"\xA2\xA7", "\xF9\xEB"},
        {"\xA2\xCC", "\xA4\x51"}, {"\xA2\xCE", "\xA4\xCA"}, {"\xF9\xFA", "\xA2\x7E"}, {"\xF9\xFB", "\xA2\xA1"},
        {"\xF9\xFC", "\xA2\xA2"}, {"\xF9\xFD", "\xA2\xA3"},
    };
    std::vector<std::string> codes;
    for (int b = 0; b <= 0x80; ++b)
        codes.emplace_back(1, static_cast<char>(b));
    codes.emplace_back("\xFF");
    for (int lead = 0x81; lead <= 0xFE; ++lead)
        for (int trail = 0x40; trail <= 0xFE; ++trail)
            if (cp950::isTrailByte(static_cast<unsigned char>(trail)))
                codes.push_back({static_cast<char>(lead), static_cast<char>(trail)});

    int mapped = 0;
    std::vector<std::string> failures;
    for (const std::string& code : codes) {
        const std::string utf8 = cp950::toUtf8(code);
        if (utf8 == kFffd)
            continue;
        ++mapped;
        const auto dup = decodeOnly.find(code);
        const std::string expected = dup == decodeOnly.end() ? code : dup->second;
        if (cp950::fromUtf8(utf8) != expected || cp950::isValid(code) != (dup == decodeOnly.end()))
            failures.push_back(hex(code));
    }
    EXPECT_EQ(mapped, 19720 + 130) << "two-byte codes plus the single bytes 0x00-0x80 and 0xFF";
    EXPECT_TRUE(failures.empty()) << failures.size() << " codes fail, first "
                                  << (failures.empty() ? "" : failures.front());
}
