#pragma once

#include <map>
#include <string>
#include <string_view>

// Language texts by key ("IDS_..."), loaded once from a UTF-8 file and kept as code page
// 950 bytes. File format: one "KEY=text" per line; '#' starts a comment line; in the text
// "\n", "\t" and "\\" are escapes. A key missing from the table resolves to the key itself,
// so a gap is visible on screen instead of an empty label.
class LanguageTable {
public:
    // Loads a file; returns false (and keeps the table unchanged) when it cannot be read or
    // has a malformed line, and names the line in error.
    bool load(const std::string& path, std::string* error = nullptr);
    // Parses UTF-8 content; same rules as load.
    bool parse(std::string_view utf8Content, std::string* error = nullptr);

    std::string text(std::string_view key) const; // code page 950
    bool has(std::string_view key) const;
    std::size_t size() const { return m_texts.size(); }
    void set(std::string key, std::string cp950Text) { m_texts[std::move(key)] = std::move(cp950Text); }

private:
    std::map<std::string, std::string, std::less<>> m_texts;
};
