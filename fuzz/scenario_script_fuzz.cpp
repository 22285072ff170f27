// The scenario script parser: any script either parses or is refused with a ScriptError naming
// its line. Every statement has a word, its text is trimmed, lines rise, and a block belongs to
// the lines after its statement.
#include <cstdint>
#include <string>

#include "apps/newsview-script/script.h"
#include "fuzz/fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view content(reinterpret_cast<const char*>(data), size);
    std::vector<scenario::Statement> statements;
    try {
        statements = scenario::parseScript(content);
    } catch (const scenario::ScriptError& e) {
        NEWS_FUZZ_CHECK(std::string_view(e.what()).starts_with("line "), e.what());
        return 0;
    }
    int previous = 0;
    for (const scenario::Statement& s : statements) {
        NEWS_FUZZ_CHECK(!s.words.empty(), "a statement without words on line " + std::to_string(s.line));
        NEWS_FUZZ_CHECK(s.line > previous, "line " + std::to_string(s.line) + " after " + std::to_string(previous));
        NEWS_FUZZ_CHECK(s.text == scenario::trim(s.text), "untrimmed: " + fuzz::printable(s.text));
        NEWS_FUZZ_CHECK(s.words.front().text.size() > 0 || s.words.front().quoted, fuzz::printable(s.text));
        for (const scenario::Word& w : s.words) {
            NEWS_FUZZ_CHECK(w.end <= s.text.size(), fuzz::printable(s.text));
        }
        if (!s.block.empty()) {
            NEWS_FUZZ_CHECK(s.blockFirstLine == s.line + 1, std::to_string(s.blockFirstLine));
        }
        previous = s.line + static_cast<int>(s.block.size());
    }
    return 0;
}
