#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

// What every fuzz target shares: a property check that stops the run with the failed condition
// (libFuzzer then keeps the input as a crash artifact), and a reader that turns the fuzzer's bytes
// into structured values (numbers, flags, short texts) for targets that build records.

#define NEWS_FUZZ_CHECK(condition, detail)                                                                             \
    do {                                                                                                               \
        if (!(condition)) {                                                                                            \
            ::fuzz::fail(__FILE__, __LINE__, #condition, (detail));                                                    \
        }                                                                                                              \
    } while (false)

namespace fuzz {

[[noreturn]] inline void fail(const char* file, int line, const char* condition, std::string_view detail) {
    std::fprintf(stderr, "%s:%d: property does not hold: %s\n", file, line, condition);
    if (!detail.empty()) {
        std::fprintf(stderr, "  %.*s\n", static_cast<int>(detail.size()), detail.data());
    }
    std::abort();
}

// Bytes as a C-style escaped text, for messages about binary values.
inline std::string printable(std::string_view bytes) {
    static constexpr char kHex[] = "0123456789abcdef";
    std::string out;
    for (const char ch : bytes) {
        const auto c = static_cast<unsigned char>(ch);
        if (c >= 0x20 && c < 0x7F && c != '\\') {
            out += ch;
        } else {
            out += "\\x";
            out += kHex[c >> 4];
            out += kHex[c & 0x0F];
        }
    }
    return out;
}

// The characters of a code page 950 text, split by the plain rule (a lead byte 0x81-0xFE and a
// trail byte 0x40-0x7E or 0xA1-0xFE make one character, any other byte is one on its own):
// the model the targets hold the text helpers and parsers to.
inline std::vector<std::string_view> characters(std::string_view text) {
    std::vector<std::string_view> out;
    for (std::size_t i = 0; i < text.size();) {
        const auto lead = static_cast<unsigned char>(text[i]);
        const auto trail = i + 1 < text.size() ? static_cast<unsigned char>(text[i + 1]) : 0;
        const bool pair =
            lead >= 0x81 && lead <= 0xFE && ((trail >= 0x40 && trail <= 0x7E) || (trail >= 0xA1 && trail <= 0xFE));
        out.push_back(text.substr(i, pair ? 2 : 1));
        i += pair ? 2 : 1;
    }
    return out;
}

// Reads structured values from the front of the input; an exhausted input reads as zeros and
// empty texts, so every input is a valid record.
class FuzzInput {
public:
    FuzzInput(const std::uint8_t* data, std::size_t size) : m_bytes(reinterpret_cast<const char*>(data), size) {}
    explicit FuzzInput(std::string_view bytes) : m_bytes(bytes) {}

    bool empty() const { return m_bytes.empty(); }
    std::string_view remaining() const { return m_bytes; }

    std::uint8_t byte() {
        if (m_bytes.empty()) {
            return 0;
        }
        const auto b = static_cast<std::uint8_t>(m_bytes.front());
        m_bytes.remove_prefix(1);
        return b;
    }
    bool flag() { return (byte() & 1) != 0; }
    // Little-endian, sizeof(Int) bytes.
    template <class Int> Int integer() {
        std::uint64_t value = 0;
        for (std::size_t i = 0; i < sizeof(Int); ++i) {
            value |= static_cast<std::uint64_t>(byte()) << (8 * i);
        }
        return static_cast<Int>(value);
    }
    // A length byte, then that many bytes (fewer at the end of the input).
    std::string text() {
        const std::size_t wanted = byte();
        const std::size_t length = std::min(wanted, m_bytes.size());
        std::string out(m_bytes.substr(0, length));
        m_bytes.remove_prefix(length);
        return out;
    }
    std::string rest() {
        std::string out(m_bytes);
        m_bytes = {};
        return out;
    }

private:
    std::string_view m_bytes;
};

} // namespace fuzz
