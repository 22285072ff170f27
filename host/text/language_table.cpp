#include "host/text/language_table.h"

#include <fstream>
#include <sstream>

#include "host/text/cp950.h"

namespace {

constexpr std::string_view kUtf8Bom = "\xEF\xBB\xBF";

std::string_view trimBlanks(std::string_view s) {
    while (!s.empty() && (s.front() == ' ' || s.front() == '\t'))
        s.remove_prefix(1);
    while (!s.empty() && (s.back() == ' ' || s.back() == '\t'))
        s.remove_suffix(1);
    return s;
}

// "\n", "\t" and "\\" become their characters; any other backslash stays as it is.
std::string unescape(std::string_view s) {
    std::string out;
    out.reserve(s.size());
    for (std::size_t i = 0; i < s.size(); ++i) {
        if (s[i] == '\\' && i + 1 < s.size()) {
            const char next = s[i + 1];
            if (next == 'n' || next == 't' || next == '\\') {
                out += next == 'n' ? '\n' : next == 't' ? '\t' : '\\';
                ++i;
                continue;
            }
        }
        out += s[i];
    }
    return out;
}

} // namespace

bool LanguageTable::load(const std::string& path, std::string* error) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        if (error)
            *error = "cannot open " + path;
        return false;
    }
    std::ostringstream content;
    content << file.rdbuf();
    if (file.bad()) {
        if (error)
            *error = "cannot read " + path;
        return false;
    }
    if (!parse(content.str(), error)) {
        if (error)
            *error = path + ": " + *error;
        return false;
    }
    return true;
}

bool LanguageTable::parse(std::string_view utf8Content, std::string* error) {
    if (utf8Content.substr(0, kUtf8Bom.size()) == kUtf8Bom)
        utf8Content.remove_prefix(kUtf8Bom.size());
    // Parsed into a side table first so that a malformed line leaves the loaded texts untouched.
    std::map<std::string, std::string, std::less<>> parsed;
    std::size_t lineNumber = 0;
    while (!utf8Content.empty()) {
        ++lineNumber;
        const std::size_t eol = utf8Content.find('\n');
        std::string_view line = utf8Content.substr(0, eol);
        utf8Content.remove_prefix(eol == std::string_view::npos ? utf8Content.size() : eol + 1);
        if (!line.empty() && line.back() == '\r')
            line.remove_suffix(1);
        const std::string_view trimmed = trimBlanks(line);
        if (trimmed.empty() || trimmed.front() == '#')
            continue;
        const std::size_t eq = line.find('=');
        const std::string_view key = eq == std::string_view::npos ? std::string_view{} : trimBlanks(line.substr(0, eq));
        if (key.empty()) {
            if (error)
                *error = "line " + std::to_string(lineNumber) +
                         (eq == std::string_view::npos ? ": missing '='" : ": empty key");
            return false;
        }
        // The text is kept verbatim after '=' (leading blanks may be deliberate); a later line
        // with the same key replaces an earlier one.
        parsed.insert_or_assign(std::string(key), cp950::fromUtf8(unescape(line.substr(eq + 1))));
    }
    // Merged rather than replaced, so that texts set() beforehand or loaded from another file survive.
    for (auto& [key, text] : parsed)
        m_texts.insert_or_assign(key, std::move(text));
    return true;
}

std::string LanguageTable::text(std::string_view key) const {
    const auto it = m_texts.find(key);
    return it != m_texts.end() ? it->second : std::string(key);
}

bool LanguageTable::has(std::string_view key) const {
    return m_texts.find(key) != m_texts.end();
}
