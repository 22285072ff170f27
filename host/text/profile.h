#pragma once

#include <map>
#include <string>
#include <string_view>

// INI files read with the usual profile-string semantics: section and key names compare
// ignoring ASCII case, the first occurrence of a key wins, values are trimmed, a missing
// file or key gives the default. Values are returned as bytes (code page 950 files stay as
// they are).
class ProfileFile {
public:
    bool load(const std::string& path); // false when the file cannot be read (table empty)
    void parse(std::string_view content);

    std::string getString(std::string_view section, std::string_view key, std::string_view def,
                          std::size_t maxChars = 1024) const;
    int getInt(std::string_view section, std::string_view key, int def) const;

private:
    std::map<std::string, std::map<std::string, std::string>> m_sections; // lower-cased names
};

// One-shot helpers in the style of GetPrivateProfileString / GetPrivateProfileInt.
std::string GetPrivateProfileString(std::string_view section, std::string_view key, std::string_view def,
                                    const std::string& path, std::size_t maxChars = 1024);
int GetPrivateProfileInt(std::string_view section, std::string_view key, int def, const std::string& path);
