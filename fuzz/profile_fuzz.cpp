// The INI reader against a model that first splits each line into whole code page 950
// characters and only then looks for brackets, '=' and ';': a trail byte that looks like one of
// them (0x5D is ']' and the end of 也) never counts.
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "fuzz/fuzz_support.h"
#include "host/text/profile.h"

namespace {

using Characters = std::vector<std::string>;

Characters charactersOf(std::string_view line) {
    Characters out;
    for (const std::string_view c : fuzz::characters(line)) {
        out.emplace_back(c);
    }
    return out;
}

bool isBlank(const std::string& c) {
    return c == " " || c == "\t" || c == "\r" || c == "\n";
}

// Trimmed, with single-byte capitals lowered: names compare ignoring ASCII case.
std::string nameOf(const Characters& chars, std::size_t from, std::size_t to, bool lower) {
    while (from < to && isBlank(chars[from])) {
        ++from;
    }
    while (to > from && isBlank(chars[to - 1])) {
        --to;
    }
    std::string out;
    for (std::size_t i = from; i < to; ++i) {
        if (lower && chars[i].size() == 1 && chars[i][0] >= 'A' && chars[i][0] <= 'Z') {
            out += static_cast<char>(chars[i][0] - 'A' + 'a');
        } else {
            out += chars[i];
        }
    }
    return out;
}

std::size_t indexOf(const Characters& chars, std::string_view c, std::size_t from) {
    for (std::size_t i = from; i < chars.size(); ++i) {
        if (chars[i] == c) {
            return i;
        }
    }
    return chars.size();
}

using Model = std::map<std::string, std::map<std::string, std::string>>;

Model modelOf(std::string_view content) {
    Model model;
    std::map<std::string, std::string>* section = nullptr;
    while (!content.empty()) {
        const std::size_t eol = content.find('\n');
        const Characters all = charactersOf(content.substr(0, eol));
        content.remove_prefix(eol == std::string_view::npos ? content.size() : eol + 1);
        const std::string trimmed = nameOf(all, 0, all.size(), false);
        const Characters line = charactersOf(trimmed);
        if (line.empty() || line[0] == ";") {
            continue;
        }
        if (line[0] == "[") {
            section = &model[nameOf(line, 1, indexOf(line, "]", 1), true)];
            continue;
        }
        const std::size_t eq = indexOf(line, "=", 0);
        if (section == nullptr || eq == line.size()) {
            continue;
        }
        std::string key = nameOf(line, 0, eq, true);
        if (!key.empty()) {
            section->try_emplace(std::move(key), nameOf(line, eq + 1, line.size(), false));
        }
    }
    return model;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view content(reinterpret_cast<const char*>(data), size);
    ProfileFile profile;
    profile.parse(content);
    const std::string kDefault = "\x01no such key";
    for (const auto& [section, keys] : modelOf(content)) {
        if (keys.count("\x01no such key") == 0) {
            NEWS_FUZZ_CHECK(profile.getString(section, "\x01no such key", kDefault) == kDefault,
                            fuzz::printable(section));
        }
        for (const auto& [key, value] : keys) {
            const std::string found = profile.getString(section, key, kDefault, value.size() + 1);
            NEWS_FUZZ_CHECK(found == value, "[" + fuzz::printable(section) + "] " + fuzz::printable(key) + " = " +
                                                fuzz::printable(found) + ", expected " + fuzz::printable(value));
            // A value cut to fit a buffer never ends in half a character.
            for (std::size_t room = 1; room <= value.size() && room <= 8; ++room) {
                const std::string cut = profile.getString(section, key, kDefault, room);
                const Characters whole = charactersOf(value);
                std::string prefix;
                for (const std::string& c : whole) {
                    if (prefix.size() + c.size() > room - 1) {
                        break;
                    }
                    prefix += c;
                }
                NEWS_FUZZ_CHECK(cut == prefix, fuzz::printable(cut) + " vs " + fuzz::printable(prefix));
            }
            profile.getInt(section, key, 0); // any text, any overflow: a number, no fault
        }
    }
    return 0;
}
