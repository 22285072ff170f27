// One entry of a news stream as a reader gets it from the server: field names and values,
// here separated by NUL bytes (name, value, name, value...), the value of "e" a packed list of
// further fields. An entry that decodes encodes to fields that decode to the same entry; one
// that does not says why.
#include <cstdint>
#include <string>
#include <vector>

#include "embedded_backend/stream_entry.h"
#include "fuzz/fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    std::vector<std::string_view> parts;
    std::size_t start = 0;
    while (start <= input.size()) {
        const std::size_t end = input.find('\0', start);
        parts.push_back(input.substr(start, end == std::string_view::npos ? std::string_view::npos : end - start));
        if (end == std::string_view::npos) {
            break;
        }
        start = end + 1;
    }
    std::vector<std::pair<std::string_view, std::string_view>> fields;
    for (std::size_t i = 0; i + 1 < parts.size(); i += 2) {
        fields.emplace_back(parts[i], parts[i + 1]);
    }
    std::string error;
    const std::optional<embedded::stream::Entry> entry = embedded::stream::decode(fields, error);
    if (!entry) {
        NEWS_FUZZ_CHECK(!error.empty(), "refused without a reason");
        return 0;
    }
    const std::vector<embedded::stream::Field> written = embedded::stream::encode(*entry);
    NEWS_FUZZ_CHECK(!written.empty(), "a decoded entry that cannot be written");
    std::vector<std::pair<std::string_view, std::string_view>> again;
    for (const auto& [k, v] : written) {
        again.emplace_back(k, v);
    }
    const std::optional<embedded::stream::Entry> back = embedded::stream::decode(again, error);
    NEWS_FUZZ_CHECK(back.has_value(), error);
    NEWS_FUZZ_CHECK(back->entryNo == entry->entryNo && back->publishedMs == entry->publishedMs, "numbers changed");
    NEWS_FUZZ_CHECK(back->event == entry->event, "read back as another event");
    return 0;
}
