#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace scenario {

// One word of a statement: quoted words may hold blanks and escapes (\" \\ \n \r \t \b \xHH).
struct Word {
    std::string text;
    bool quoted = false;
    std::size_t end = 0; // offset just past the word in the statement text
};

// A statement line with the indented lines that follow it (its block).
struct Statement {
    int line = 0;
    std::string text; // without indentation, UTF-8
    std::vector<Word> words;
    std::vector<std::string> block; // block lines without the block's indentation
    int blockFirstLine = 0;
};

// A mistake in the script itself (unknown statement, malformed argument); the run stops.
class ScriptError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Splits a script into statements. '#' starts a comment line outside blocks; a block is the
// run of following lines indented deeper than its statement (blank lines inside it count).
// Throws ScriptError (with the line) for an unterminated quote.
std::vector<Statement> parseScript(std::string_view utf8Content);
std::vector<Word> splitWords(std::string_view text, int line);

std::string trim(std::string_view text);

// "S#N" (service S, sequence number N); false when the text is not one.
bool parseHeadlineRef(const std::string& text, int& service, int& seq);

} // namespace scenario
