#include "apps/newsview-script/script.h"

#include <algorithm>
#include <cctype>

namespace scenario {

namespace {

// Blank for the line splitter and the trimmer alike: a line of only these bytes is no statement,
// and a statement's trimmed text always starts with a word.
constexpr std::string_view kBlanks = " \t\r\n";

std::size_t indentOf(std::string_view line) {
    std::size_t i = 0;
    while (i < line.size() && (line[i] == ' ' || line[i] == '\t')) {
        ++i;
    }
    return i;
}

bool isBlank(std::string_view line) {
    return line.find_first_not_of(kBlanks) == std::string_view::npos;
}

} // namespace

std::string trim(std::string_view text) {
    const std::size_t start = text.find_first_not_of(kBlanks);
    if (start == std::string_view::npos) {
        return {};
    }
    const std::size_t end = text.find_last_not_of(kBlanks);
    return std::string(text.substr(start, end - start + 1));
}

bool parseHeadlineRef(const std::string& text, int& service, int& seq) {
    const std::size_t hash = text.find('#');
    if (hash == std::string::npos || hash == 0 || hash + 1 == text.size()) {
        return false;
    }
    const std::string left = text.substr(0, hash);
    std::string right = text.substr(hash + 1);
    const bool negative = !right.empty() && right[0] == '-';
    if (negative) {
        right.erase(0, 1);
    }
    if (left.find_first_not_of("0123456789") != std::string::npos || right.empty() ||
        right.find_first_not_of("0123456789") != std::string::npos || left.size() > 3 || right.size() > 9) {
        return false;
    }
    service = std::stoi(left);
    seq = std::stoi(right) * (negative ? -1 : 1);
    return service <= 255;
}

std::vector<Word> splitWords(std::string_view text, int line) {
    std::vector<Word> words;
    std::size_t pos = 0;
    while (true) {
        while (pos < text.size() && (text[pos] == ' ' || text[pos] == '\t')) {
            ++pos;
        }
        if (pos >= text.size()) {
            break;
        }
        Word word;
        if (text[pos] == '"') {
            word.quoted = true;
            ++pos;
            bool closed = false;
            while (pos < text.size()) {
                const char c = text[pos++];
                if (c == '"') {
                    closed = true;
                    break;
                }
                if (c == '\\' && pos < text.size()) {
                    const char e = text[pos++];
                    const bool hex = e == 'x' && pos + 2 <= text.size() &&
                                     std::isxdigit(static_cast<unsigned char>(text[pos])) &&
                                     std::isxdigit(static_cast<unsigned char>(text[pos + 1]));
                    if (hex) {
                        word.text += static_cast<char>(std::stoi(std::string(text.substr(pos, 2)), nullptr, 16));
                        pos += 2;
                    } else {
                        word.text += e == 'n' ? '\n' : e == 'r' ? '\r' : e == 't' ? '\t' : e == 'b' ? '\b' : e;
                    }
                } else {
                    word.text += c;
                }
            }
            if (!closed) {
                throw ScriptError("line " + std::to_string(line) + ": unterminated quote");
            }
        } else {
            while (pos < text.size() && text[pos] != ' ' && text[pos] != '\t') {
                word.text += text[pos++];
            }
        }
        word.end = pos;
        words.push_back(std::move(word));
    }
    return words;
}

std::vector<Statement> parseScript(std::string_view content) {
    if (content.substr(0, 3) == "\xEF\xBB\xBF") {
        content.remove_prefix(3);
    }
    std::vector<std::string> lines;
    while (!content.empty()) {
        const std::size_t eol = content.find('\n');
        std::string_view line = content.substr(0, eol);
        content.remove_prefix(eol == std::string_view::npos ? content.size() : eol + 1);
        if (!line.empty() && line.back() == '\r') {
            line.remove_suffix(1);
        }
        lines.emplace_back(line);
    }
    std::vector<Statement> statements;
    std::size_t i = 0;
    while (i < lines.size()) {
        const std::string& raw = lines[i];
        const std::size_t indent = indentOf(raw);
        std::string text = trim(raw);
        if (text.empty() || text.front() == '#') {
            ++i;
            continue;
        }
        Statement statement;
        statement.line = static_cast<int>(i + 1);
        statement.text = std::move(text);
        statement.words = splitWords(statement.text, statement.line);
        ++i;
        // The block: deeper-indented lines, with blank lines between them.
        std::size_t blockIndent = std::string::npos;
        std::size_t last = i;
        for (std::size_t j = i; j < lines.size(); ++j) {
            if (isBlank(lines[j])) {
                continue;
            }
            const std::size_t d = indentOf(lines[j]);
            if (d <= indent) {
                break;
            }
            blockIndent = std::min(blockIndent, d);
            last = j + 1;
        }
        if (last > i) {
            statement.blockFirstLine = static_cast<int>(i + 1);
            for (std::size_t j = i; j < last; ++j) {
                const std::string& b = lines[j];
                statement.block.push_back(b.size() > blockIndent ? b.substr(blockIndent) : std::string{});
            }
            i = last;
        }
        statements.push_back(std::move(statement));
    }
    return statements;
}

} // namespace scenario
