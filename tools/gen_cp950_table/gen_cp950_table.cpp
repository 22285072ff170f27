// Writes host/text/cp950_table.inc, the Windows code page 950 table used by cp950::toUtf8 and
// cp950::fromUtf8, from the ICU converter "windows-950" installed on the build machine.
// The host library never links ICU; only this generator does, and its output is checked in.
//
// Regenerate (from the repository root, libicu-dev installed; one command):
//   g++ -std=c++20 -O2 tools/gen_cp950_table/gen_cp950_table.cpp -o /tmp/gen_cp950_table
//       $(pkg-config --cflags --libs icu-uc) && /tmp/gen_cp950_table > host/text/cp950_table.inc
//
// The generator stops with a message instead of writing a table when ICU's converter breaks one
// of the assumptions the runtime code relies on (every mapping is a single BMP code point, and
// nothing encodes to a code that does not decode back to it).
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <vector>

#include <unicode/ucnv.h>
#include <unicode/uversion.h>

namespace {

constexpr int kFirstLead = 0x81;
constexpr int kLastLead = 0xFE;
constexpr int kTrailsPerLead = 157; // 0x40-0x7E and 0xA1-0xFE
constexpr char16_t kUnmapped = 0xFFFD;

int trailIndex(int trail) {
    return trail <= 0x7E ? trail - 0x40 : trail - 0xA1 + 63;
}

[[noreturn]] void fail(const char* what, unsigned value) {
    std::fprintf(stderr, "gen_cp950_table: %s (0x%X)\n", what, value);
    std::exit(1);
}

class Converter {
public:
    Converter() {
        UErrorCode error = U_ZERO_ERROR;
        m_cnv = ucnv_open("windows-950", &error);
        if (U_FAILURE(error))
            fail("cannot open ICU converter windows-950", static_cast<unsigned>(error));
        // Stop callbacks: an unmappable code must be reported, never replaced by a substitute.
        ucnv_setToUCallBack(m_cnv, UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &error);
        ucnv_setFromUCallBack(m_cnv, UCNV_FROM_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &error);
        ucnv_setFallback(m_cnv, false);
        if (U_FAILURE(error))
            fail("cannot configure the converter", static_cast<unsigned>(error));
    }
    ~Converter() { ucnv_close(m_cnv); }
    Converter(const Converter&) = delete;
    Converter& operator=(const Converter&) = delete;

    const char* name() {
        UErrorCode error = U_ZERO_ERROR;
        return ucnv_getName(m_cnv, &error);
    }

    // The code point of bytes, or kUnmapped when they are not one mappable character.
    char16_t decode(const std::vector<char>& bytes) {
        UChar out[4];
        UErrorCode error = U_ZERO_ERROR;
        ucnv_resetToUnicode(m_cnv);
        const int n = ucnv_toUChars(m_cnv, out, 4, bytes.data(), static_cast<int32_t>(bytes.size()), &error);
        if (U_FAILURE(error) || n == 0)
            return kUnmapped;
        if (n != 1 || U16_IS_SURROGATE(out[0]))
            fail("a code decodes to more than one BMP code point", code(bytes));
        if (out[0] == kUnmapped)
            fail("a code decodes to U+FFFD", code(bytes));
        return out[0];
    }

    // The bytes of one code point; empty when unmappable.
    std::vector<char> encode(char16_t cp) {
        UChar in[1] = {cp};
        char out[8];
        UErrorCode error = U_ZERO_ERROR;
        ucnv_resetFromUnicode(m_cnv);
        const int n = ucnv_fromUChars(m_cnv, out, 8, in, 1, &error);
        if (U_FAILURE(error) || n <= 0)
            return {};
        return {out, out + n};
    }

    static unsigned code(const std::vector<char>& bytes) {
        unsigned c = 0;
        for (char b : bytes)
            c = (c << 8) | static_cast<unsigned char>(b);
        return c;
    }

private:
    UConverter* m_cnv = nullptr;
};

// Prints values in rows of 16; with blockSize > 0 every block starts a new row under a comment
// naming its first byte (firstBlockByte + block number).
void printArray(const char* declaration, const std::vector<char16_t>& values, std::size_t blockSize,
                int firstBlockByte) {
    std::printf("%s = {\n", declaration);
    const std::size_t block = blockSize > 0 ? blockSize : values.size();
    for (std::size_t start = 0; start < values.size(); start += block) {
        if (blockSize > 0)
            std::printf("    // 0x%02X\n", firstBlockByte + static_cast<int>(start / block));
        for (std::size_t i = start; i < start + block && i < values.size(); ++i) {
            if ((i - start) % 16 == 0)
                std::printf("   ");
            std::printf(" 0x%04X,", static_cast<unsigned>(values[i]));
            if ((i - start) % 16 == 15 || i + 1 == start + block || i + 1 == values.size())
                std::printf("\n");
        }
    }
    std::printf("};\n\n");
}

} // namespace

int main() {
    Converter cnv;
    std::vector<char16_t> singles(256, kUnmapped);
    std::vector<char16_t> doubles((kLastLead - kFirstLead + 1) * kTrailsPerLead, kUnmapped);
    std::map<char16_t, unsigned> encodeTargets; // code point -> the code ICU encodes it to
    std::vector<unsigned> decodeOnly;
    int mapped = 0;

    auto visit = [&](const std::vector<char>& bytes) {
        const char16_t cp = cnv.decode(bytes);
        if (cp == kUnmapped)
            return cp;
        ++mapped;
        const std::vector<char> back = cnv.encode(cp);
        if (back.empty())
            fail("a decoded code point does not encode", cp);
        encodeTargets[cp] = Converter::code(back);
        if (back != bytes)
            decodeOnly.push_back(Converter::code(bytes));
        return cp;
    };

    for (int b = 0; b <= 0xFF; ++b)
        if (b < kFirstLead || b > kLastLead)
            singles[b] = visit({static_cast<char>(b)});
    for (int lead = kFirstLead; lead <= kLastLead; ++lead)
        for (int trail = 0x40; trail <= 0xFE; ++trail)
            if (trail <= 0x7E || trail >= 0xA1)
                doubles[(lead - kFirstLead) * kTrailsPerLead + trailIndex(trail)] =
                    visit({static_cast<char>(lead), static_cast<char>(trail)});

    // The runtime derives its encoder from the round-trip codes; check that ICU encodes nothing else.
    for (unsigned cp = 0; cp <= 0xFFFF; ++cp) {
        if (cp >= 0xD800 && cp <= 0xDFFF)
            continue;
        const std::vector<char> bytes = cnv.encode(static_cast<char16_t>(cp));
        if (!bytes.empty() && encodeTargets.count(static_cast<char16_t>(cp)) == 0)
            fail("ICU encodes a code point no code decodes to", cp);
    }
    // A decode-only code must point at a round-trip code, or the encoder would have no answer.
    for (unsigned code : decodeOnly) {
        const char16_t cp = doubles[((code >> 8) - kFirstLead) * kTrailsPerLead + trailIndex(code & 0xFF)];
        const unsigned target = encodeTargets[cp];
        for (unsigned other : decodeOnly)
            if (other == target)
                fail("a decode-only code encodes to another decode-only code", code);
    }

    std::printf("// Windows code page 950 <-> Unicode, generated by tools/gen_cp950_table from ICU %s \"%s\"\n"
                "// (%d mapped codes, %zu of them decode-only). Do not edit; regenerate as described in\n"
                "// tools/gen_cp950_table/gen_cp950_table.cpp. Included by host/text/cp950_convert.cpp only.\n\n",
                U_ICU_VERSION, cnv.name(), mapped, decodeOnly.size());
    std::printf("// Code point of each byte standing as a character of its own; 0xFFFD for lead bytes.\n");
    printArray("constexpr char16_t kSingleByte[256]", singles, 0, 0);
    std::printf("// Code point of lead byte L with trail byte T at [(L - 0x81) * 157 + trailIndex(T)], where\n"
                "// trailIndex is T - 0x40 for 0x40-0x7E and T - 0xA1 + 63 for 0xA1-0xFE; 0xFFFD when unmapped.\n");
    printArray("constexpr char16_t kDoubleByte[126 * 157]", doubles, kTrailsPerLead, kFirstLead);
    std::printf("// Codes that decode to a code point which encodes to a different code (duplicates kept by\n"
                "// Windows for compatibility); they never come out of fromUtf8.\n");
    std::printf("constexpr std::uint16_t kDecodeOnly[%zu] = {", decodeOnly.size());
    for (std::size_t i = 0; i < decodeOnly.size(); ++i)
        std::printf("%s0x%04X", i == 0 ? "" : ", ", decodeOnly[i]);
    std::printf("};\n");
    return 0;
}
