#include "host/text/profile.h"

#include <cstdint>
#include <fstream>
#include <sstream>

#include "host/text/cp950.h"

namespace {

// Lower-cases ASCII letters that stand as characters of their own, so two Big5 names that differ
// only in a trail byte (0x41 vs 0x61) stay different.
std::string lowerName(std::string_view name) {
    std::string out = cp950::trim(name);
    for (std::size_t i = 0; i < out.size();) {
        const std::size_t len = cp950::charLength(out, i);
        if (len == 1 && out[i] >= 'A' && out[i] <= 'Z')
            out[i] = static_cast<char>(out[i] - 'A' + 'a');
        i += len;
    }
    return out;
}

} // namespace

bool ProfileFile::load(const std::string& path) {
    m_sections.clear();
    std::ifstream file(path, std::ios::binary);
    if (!file)
        return false;
    std::ostringstream content;
    content << file.rdbuf();
    if (file.bad())
        return false;
    parse(content.str());
    return true;
}

void ProfileFile::parse(std::string_view content) {
    m_sections.clear();
    std::map<std::string, std::string>* section = nullptr; // keys before the first section are ignored
    while (!content.empty()) {
        const std::size_t eol = content.find('\n');
        const std::string line = cp950::trim(content.substr(0, eol));
        content.remove_prefix(eol == std::string_view::npos ? content.size() : eol + 1);
        // The first byte always starts a character; brackets and '=' are looked for on character
        // boundaries only, since ']' is also the trail byte of characters such as 也 (A4 5D).
        if (line.empty() || line.front() == ';')
            continue;
        if (line.front() == '[') {
            const std::size_t close = cp950::find(line, "]");
            // A repeated section adds its keys to the first one; keys already there keep their values.
            section = &m_sections[lowerName(
                std::string_view(line).substr(1, close == std::string::npos ? close : close - 1))];
            continue;
        }
        const std::size_t eq = cp950::find(line, "=");
        if (section == nullptr || eq == std::string::npos)
            continue;
        std::string key = lowerName(std::string_view(line).substr(0, eq));
        if (!key.empty())
            section->try_emplace(std::move(key), cp950::trim(std::string_view(line).substr(eq + 1)));
    }
}

std::string ProfileFile::getString(std::string_view section, std::string_view key, std::string_view def,
                                   std::size_t maxChars) const {
    if (maxChars == 0)
        return {};
    std::string_view value;
    bool found = false;
    if (const auto s = m_sections.find(lowerName(section)); s != m_sections.end()) {
        if (const auto k = s->second.find(lowerName(key)); k != s->second.end()) {
            value = k->second;
            found = true;
        }
    }
    if (!found) {
        // The Windows call drops trailing blanks of the default.
        value = def;
        while (!value.empty() && value.back() == ' ')
            value.remove_suffix(1);
    }
    // Room for maxChars - 1 bytes plus the terminator, never half a double-byte character.
    return cp950::cut(value, maxChars - 1);
}

int ProfileFile::getInt(std::string_view section, std::string_view key, int def) const {
    const std::string value = getString(section, key, {}, 1024);
    // An empty value counts as absent, as with the Windows call.
    if (value.empty())
        return def;
    std::size_t i = 0;
    bool negative = false;
    if (value[i] == '-' || value[i] == '+') {
        negative = value[i] == '-';
        ++i;
    }
    // Leading digits only ("12abc" is 12, "abc" is 0); overflow wraps as in 32-bit arithmetic.
    std::uint32_t result = 0;
    for (; i < value.size() && value[i] >= '0' && value[i] <= '9'; ++i)
        result = result * 10u + static_cast<std::uint32_t>(value[i] - '0');
    if (negative)
        result = 0u - result;
    return static_cast<int>(result);
}

std::string GetPrivateProfileString(std::string_view section, std::string_view key, std::string_view def,
                                    const std::string& path, std::size_t maxChars) {
    ProfileFile profile;
    profile.load(path); // a missing file leaves the profile empty, so the default comes back
    return profile.getString(section, key, def, maxChars);
}

int GetPrivateProfileInt(std::string_view section, std::string_view key, int def, const std::string& path) {
    ProfileFile profile;
    profile.load(path);
    return profile.getInt(section, key, def);
}
