// Language files: any file either loads or is refused with its line named and the loaded
// texts untouched; texts written as a language file read back as the same code page 950 bytes.
#include <cstdint>
#include <string>
#include <vector>

#include "fuzz/fuzz_support.h"
#include "host/text/cp950.h"
#include "host/text/language_table.h"

namespace {

std::string escaped(std::string_view utf8) {
    std::string out;
    for (const char c : utf8) {
        if (c == '\\') {
            out += "\\\\";
        } else if (c == '\n') {
            out += "\\n";
        } else if (c == '\t') {
            out += "\\t";
        } else {
            out += c;
        }
    }
    return out;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view content(reinterpret_cast<const char*>(data), size);
    LanguageTable table;
    table.set("IDS_FUZZ_SENTINEL", "kept");
    std::string error;
    if (!table.parse(content, &error)) {
        NEWS_FUZZ_CHECK(error.starts_with("line "), error);
        NEWS_FUZZ_CHECK(table.size() == 1 && table.text("IDS_FUZZ_SENTINEL") == "kept", "a refused file changed texts");
    }

    // Texts given as code page 950 bytes, written as UTF-8 with escapes, read back as those bytes
    // wherever the bytes convert (the rest reads back as the converter's '?').
    fuzz::FuzzInput in(data, size);
    std::vector<std::pair<std::string, std::string>> texts;
    std::string file = "\xEF\xBB\xBF# generated\r\n";
    for (int n = in.byte() % 6; n > 0; --n) {
        const std::string key = "IDS_" + std::to_string(texts.size());
        std::string utf8 = cp950::toUtf8(in.text());
        while (!utf8.empty() && utf8.back() == '\r') {
            utf8.pop_back(); // a CR before the line end is part of the line end
        }
        file += (n % 2 == 0 ? "  " : "") + key + (n % 3 == 0 ? " =" : "=") + escaped(utf8) + (n % 2 ? "\r\n" : "\n");
        texts.emplace_back(key, cp950::fromUtf8(utf8));
    }
    LanguageTable written;
    NEWS_FUZZ_CHECK(written.parse(file, &error), error + " in " + fuzz::printable(file));
    NEWS_FUZZ_CHECK(written.size() == texts.size(), fuzz::printable(file));
    for (const auto& [key, text] : texts) {
        NEWS_FUZZ_CHECK(written.text(key) == text, key + ": " + fuzz::printable(written.text(key)));
    }
    return 0;
}
