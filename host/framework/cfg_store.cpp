#include "host/framework/cfg_store.h"

#include <atomic>
#include <charconv>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>

#include "host/text/cp950.h"

namespace {

constexpr char kHex[] = "0123456789ABCDEF";

bool isControl(unsigned char c) {
    return c < 0x20 || c == 0x7F;
}

void appendEscapedByte(std::string& out, unsigned char c) {
    out += '%';
    out += kHex[c >> 4];
    out += kHex[c & 0x0F];
}

// One field (or the value) in its file form.
std::string encodeField(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    std::size_t pos = 0;
    while (pos < text.size()) {
        const auto c = static_cast<unsigned char>(text[pos]);
        if (c < 0x80) {
            const bool edge = pos == 0 || pos + 1 == text.size();
            if (isControl(c) || c == '%' || c == '|' || c == '=' || (c == '#' && pos == 0) || (c == ' ' && edge)) {
                appendEscapedByte(out, c);
            } else {
                out += static_cast<char>(c);
            }
            ++pos;
            continue;
        }
        const std::size_t length = std::max<std::size_t>(1, cp950::charLength(text, pos));
        const std::string_view character = text.substr(pos, length);
        const std::string utf8 = cp950::toUtf8(character);
        // Only a character that comes back as the same bytes may be written as UTF-8.
        if (cp950::fromUtf8(utf8) == character) {
            out += utf8;
        } else {
            for (const char byte : character) {
                appendEscapedByte(out, static_cast<unsigned char>(byte));
            }
        }
        pos += length;
    }
    return out;
}

int hexValue(char c) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    if (c >= 'A' && c <= 'F') {
        return c - 'A' + 10;
    }
    if (c >= 'a' && c <= 'f') {
        return c - 'a' + 10;
    }
    return -1;
}

// Length of the UTF-8 sequence at text[pos] (well-formed, shortest form), 0 when malformed.
std::size_t utf8Length(std::string_view text, std::size_t pos) {
    const auto lead = static_cast<unsigned char>(text[pos]);
    std::size_t length = 0;
    unsigned char low = 0x80;
    unsigned char high = 0xBF;
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        length = 3;
        low = lead == 0xE0 ? 0xA0 : 0x80;
        high = lead == 0xED ? 0x9F : 0xBF;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4;
        low = lead == 0xF0 ? 0x90 : 0x80;
        high = lead == 0xF4 ? 0x8F : 0xBF;
    } else {
        return 0;
    }
    if (pos + length > text.size()) {
        return 0;
    }
    for (std::size_t i = 1; i < length; ++i) {
        const auto c = static_cast<unsigned char>(text[pos + i]);
        if (c < (i == 1 ? low : 0x80) || c > (i == 1 ? high : 0xBF)) {
            return 0;
        }
    }
    return length;
}

// The bytes of one field, or an error text.
bool decodeField(std::string_view field, std::string& out, std::string& error) {
    out.clear();
    std::size_t pos = 0;
    while (pos < field.size()) {
        const auto c = static_cast<unsigned char>(field[pos]);
        if (c == '%') {
            const int hi = pos + 2 < field.size() ? hexValue(field[pos + 1]) : -1;
            const int lo = pos + 2 < field.size() ? hexValue(field[pos + 2]) : -1;
            if (hi < 0 || lo < 0) {
                error = "bad escape";
                return false;
            }
            out += static_cast<char>(hi * 16 + lo);
            pos += 3;
        } else if (c < 0x80) {
            if (isControl(c)) {
                error = "raw control byte";
                return false;
            }
            out += static_cast<char>(c);
            ++pos;
        } else {
            const std::size_t length = utf8Length(field, pos);
            if (length == 0) {
                error = "malformed UTF-8";
                return false;
            }
            const std::string_view character = field.substr(pos, length);
            const std::string bytes = cp950::fromUtf8(character);
            if (cp950::toUtf8(bytes) != character) {
                error = "character outside code page 950";
                return false;
            }
            out += bytes;
            pos += length;
        }
    }
    return true;
}

bool parseLayout(std::string_view text, int& value) {
    if (text.empty() || text.front() == '+') {
        return false;
    }
    const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
    return ec == std::errc{} && end == text.data() + text.size();
}

// A save cut short by a crash leaves its temporary file behind. The next save removes those of
// the same file that are old enough not to belong to a save still running in another process.
void removeStaleTemporaries(const std::filesystem::path& target) {
    constexpr auto kStaleAfter = std::chrono::minutes(1);
    const std::string prefix = target.filename().string() + ".tmp-";
    const std::filesystem::path folder = target.parent_path().empty() ? "." : target.parent_path();
    const auto now = std::filesystem::file_time_type::clock::now();
    std::error_code ec;
    for (std::filesystem::directory_iterator it(folder, ec), end; !ec && it != end; it.increment(ec)) {
        const std::string name = it->path().filename().string();
        std::error_code ignored;
        if (name.starts_with(prefix) && it->is_regular_file(ignored) &&
            now - it->last_write_time(ignored) > kStaleAfter) {
            std::filesystem::remove(it->path(), ignored);
        }
    }
}

std::string uniqueSuffix() {
    static std::atomic<unsigned> counter{0};
    static const unsigned seed = std::random_device{}();
    return std::to_string(seed) + "-" + std::to_string(counter.fetch_add(1));
}

} // namespace

bool CfgFileStore::GetViewInfo(const CString& section, int layout1, int layout2, const CString& viewKey,
                               const CString& key, CString& value) const {
    const auto it = m_values.find(Key{section, layout1, layout2, viewKey, key});
    if (it == m_values.end()) {
        return false;
    }
    value = it->second;
    return true;
}

void CfgFileStore::SetViewInfo(const CString& section, int layout1, int layout2, const CString& viewKey,
                               const CString& key, const CString& value) {
    m_values[Key{section, layout1, layout2, viewKey, key}] = value;
}

bool CfgFileStore::RemoveViewInfo(const CString& section, int layout1, int layout2, const CString& viewKey,
                                  const CString& key) {
    return m_values.erase(Key{section, layout1, layout2, viewKey, key}) > 0;
}

std::vector<CfgFileStore::Entry> CfgFileStore::entries() const {
    std::vector<Entry> result;
    result.reserve(m_values.size());
    for (const auto& [key, value] : m_values) {
        result.push_back(
            Entry{std::get<0>(key), std::get<1>(key), std::get<2>(key), std::get<3>(key), std::get<4>(key), value});
    }
    return result;
}

namespace {

constexpr std::string_view kHeaderPrefix = "# news layout store ";
constexpr std::string_view kEndPrefix = "# end: ";
constexpr std::string_view kEndSuffix = " settings";

} // namespace

std::string CfgFileStore::serialize() const {
    std::string out(kHeader);
    out += '\n';
    for (const auto& [key, value] : m_values) {
        out += encodeField(std::get<0>(key));
        out += '|' + std::to_string(std::get<1>(key)) + '|' + std::to_string(std::get<2>(key)) + '|';
        out += encodeField(std::get<3>(key));
        out += '|';
        out += encodeField(std::get<4>(key));
        out += " = ";
        out += encodeField(value);
        out += '\n';
    }
    out += std::string(kEndPrefix) + std::to_string(m_values.size()) + std::string(kEndSuffix) + '\n';
    return out;
}

CfgFileStore::LoadResult CfgFileStore::parse(std::string_view text) {
    m_values.clear();
    const auto damaged = [this](std::size_t line, const std::string& message) {
        m_values.clear();
        return LoadResult{LoadStatus::kDamaged, "line " + std::to_string(line) + ": " + message, line};
    };
    std::map<Key, CString> parsed;
    std::map<Key, std::size_t> firstLine;
    bool headerSeen = false;
    int format = 0;
    std::size_t endLine = 0; // the line of "# end: N settings"; 0 while none
    std::size_t lineNumber = 0;
    while (!text.empty()) {
        ++lineNumber;
        const std::size_t eol = text.find('\n');
        std::string_view line = text.substr(0, eol);
        text.remove_prefix(eol == std::string_view::npos ? text.size() : eol + 1);
        if (!line.empty() && line.back() == '\r') {
            line.remove_suffix(1); // a file edited on Windows
        }
        if (!headerSeen) {
            int version = 0;
            if (line.substr(0, kHeaderPrefix.size()) != kHeaderPrefix ||
                !parseLayout(line.substr(kHeaderPrefix.size()), version) || version < 1) {
                return damaged(lineNumber,
                               "not a layout store (the first line must be \"" + std::string(kHeader) + "\")");
            }
            if (version > kFormat) {
                m_values.clear();
                return LoadResult{LoadStatus::kTooNew,
                                  "written by a newer version (format " + std::to_string(version) +
                                      "; this version reads formats 1 to " + std::to_string(kFormat) + ")",
                                  lineNumber};
            }
            format = version;
            headerSeen = true;
            continue;
        }
        if (endLine != 0 && !line.empty()) {
            return damaged(lineNumber, "text after the end line " + std::to_string(endLine));
        }
        if (format >= 2 && line.substr(0, kEndPrefix.size()) == kEndPrefix) {
            const std::string_view count = line.substr(kEndPrefix.size());
            int settings = -1;
            if (count.size() <= kEndSuffix.size() || count.substr(count.size() - kEndSuffix.size()) != kEndSuffix ||
                !parseLayout(count.substr(0, count.size() - kEndSuffix.size()), settings) ||
                static_cast<std::size_t>(settings) != parsed.size()) {
                return damaged(lineNumber, "the end line does not count the " + std::to_string(parsed.size()) +
                                               " settings before it");
            }
            endLine = lineNumber;
            continue;
        }
        if (line.empty() || line.front() == '#') {
            continue;
        }
        // '=' never stands unescaped in a key, so the first one separates key and value.
        const std::size_t eq = line.find('=');
        // An editor may have trimmed the blank after '=' of an empty value.
        if (eq == std::string_view::npos || eq == 0 || line[eq - 1] != ' ' ||
            (eq + 1 < line.size() && line[eq + 1] != ' ')) {
            return damaged(lineNumber, "expected \"key = value\"");
        }
        const std::string_view keyText = line.substr(0, eq - 1);
        const std::string_view valueText = eq + 1 < line.size() ? line.substr(eq + 2) : std::string_view{};
        std::vector<std::string_view> fields;
        std::size_t start = 0;
        while (true) {
            const std::size_t bar = keyText.find('|', start);
            fields.push_back(keyText.substr(start, bar == std::string_view::npos ? bar : bar - start));
            if (bar == std::string_view::npos) {
                break;
            }
            start = bar + 1;
        }
        if (fields.size() != 5) {
            return damaged(lineNumber, "expected section|layout1|layout2|viewKey|key, found " +
                                           std::to_string(fields.size()) + " fields");
        }
        int layout1 = 0;
        int layout2 = 0;
        if (!parseLayout(fields[1], layout1) || !parseLayout(fields[2], layout2)) {
            return damaged(lineNumber, "layout numbers must be integers");
        }
        std::string section;
        std::string viewKey;
        std::string key;
        std::string value;
        std::string error;
        if (!decodeField(fields[0], section, error) || !decodeField(fields[3], viewKey, error) ||
            !decodeField(fields[4], key, error) || !decodeField(valueText, value, error)) {
            return damaged(lineNumber, error);
        }
        Key k{section, layout1, layout2, viewKey, key};
        if (const auto seen = firstLine.find(k); seen != firstLine.end()) {
            return damaged(lineNumber, "the same setting as line " + std::to_string(seen->second));
        }
        firstLine.emplace(k, lineNumber);
        parsed.emplace(std::move(k), std::move(value));
    }
    if (!headerSeen) {
        return damaged(lineNumber == 0 ? 1 : lineNumber, "empty file");
    }
    if (format >= 2 && endLine == 0) {
        return damaged(lineNumber + 1, "the file ends early (no end line): it was cut short");
    }
    m_values = std::move(parsed);
    return LoadResult{};
}

CfgFileStore::LoadResult CfgFileStore::load(const std::string& path) {
    m_values.clear();
    std::error_code ec;
    if (!std::filesystem::exists(path, ec)) {
        return LoadResult{LoadStatus::kMissing, "no file " + path, 0};
    }
    std::ifstream file(path, std::ios::binary);
    std::ostringstream content;
    if (file) {
        content << file.rdbuf();
    }
    if (!file || file.bad()) {
        return LoadResult{LoadStatus::kUnreadable, "cannot read " + path, 0};
    }
    LoadResult result = parse(content.str());
    if (!result.ok()) {
        result.error = path + ": " + result.error;
    }
    return result;
}

bool CfgFileStore::save(const std::string& path, std::string* error) const {
    const auto fail = [error](std::string message) {
        if (error != nullptr) {
            *error = std::move(message);
        }
        return false;
    };
    const std::filesystem::path target(path);
    const std::filesystem::path temporary =
        target.parent_path() / (target.filename().string() + ".tmp-" + uniqueSuffix());
    {
        std::ofstream file(temporary, std::ios::binary | std::ios::trunc);
        if (!file) {
            return fail("cannot create " + temporary.string());
        }
        const std::string text = serialize();
        file.write(text.data(), static_cast<std::streamsize>(text.size()));
        file.flush();
        file.close();
        if (file.fail()) {
            std::error_code ignored;
            std::filesystem::remove(temporary, ignored);
            return fail("cannot write " + temporary.string());
        }
    }
    std::error_code ec;
    std::filesystem::rename(temporary, target, ec);
    if (ec) {
        std::error_code ignored;
        std::filesystem::remove(temporary, ignored);
        return fail("cannot replace " + path + ": " + ec.message());
    }
    removeStaleTemporaries(target);
    return true;
}
