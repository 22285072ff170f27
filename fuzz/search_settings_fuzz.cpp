// The view's saved search values: the keyword pool (a text list), the recent searches and
// warning items (lists of search texts), the key sets (a list of key-set texts) and the chosen
// warning item (a decimal number). The first input byte picks the value, the rest is its text;
// the whole input is also read as a list to encode and decode.
#include <cstdint>
#include <optional>
#include <string>

#include "fuzz/fuzz_support.h"
#include "host/backend/search.h"
#include "search/news_key.h"
#include "search/setting_text.h"

namespace {

// A list of records read as the view reads it: every element must load, or the value is refused.
template <class Record, class Load>
std::optional<std::vector<Record>> decodeRecords(std::string_view value, Load load) {
    const std::optional<std::vector<CString>> texts = news::DecodeTextList(value);
    if (!texts) {
        return std::nullopt;
    }
    std::vector<Record> records(texts->size());
    for (std::size_t i = 0; i < texts->size(); ++i) {
        if (!load(records[i], (*texts)[i])) {
            return std::nullopt;
        }
    }
    return records;
}

template <class Record> CString encodeRecords(const std::vector<Record>& records) {
    std::vector<CString> texts;
    for (const Record& record : records) {
        texts.push_back(record.GetString());
    }
    return news::EncodeTextList(texts);
}

// A value that decodes has one spelling: encoding what it gave writes the same bytes.
template <class Record, class Load> void checkRecords(std::string_view value, Load load) {
    if (const auto records = decodeRecords<Record>(value, load)) {
        NEWS_FUZZ_CHECK(encodeRecords(*records) == value, "re-encoded differently: " + fuzz::printable(value));
        const auto again = decodeRecords<Record>(encodeRecords(*records), load);
        NEWS_FUZZ_CHECK(again && *again == *records, "decoded differently the second time");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::FuzzInput in(data, size);
    const std::uint8_t which = in.byte();
    const std::string value = in.rest();

    switch (which % 4) {
    case 0:
        if (const auto pool = news::DecodeTextList(value)) {
            NEWS_FUZZ_CHECK(news::EncodeTextList(*pool) == value, "re-encoded differently: " + fuzz::printable(value));
        }
        break;
    case 1:
        checkRecords<CSearch>(value, [](CSearch& s, const CString& t) { return s.LoadStringA(t); });
        break;
    case 2:
        checkRecords<CNewsKey>(value, [](CNewsKey& k, const CString& t) { return k.LoadString(t); });
        break;
    default:
        if (const std::optional<int> order = news::ParseStrictInt(value)) {
            NEWS_FUZZ_CHECK(std::to_string(*order) == value, "a second spelling of " + std::to_string(*order));
        }
        break;
    }

    // Any list of texts (the input's bytes cut into short texts) survives encoding: every byte
    // comes back, and the encoded value holds no separator a settings file would cut at.
    fuzz::FuzzInput parts(data, size);
    std::vector<CString> items;
    while (!parts.empty()) {
        items.push_back(parts.text());
    }
    const CString encoded = news::EncodeTextList(items);
    NEWS_FUZZ_CHECK(encoded.find_first_of(std::string_view("\r\n\0 ", 4)) == CString::npos, fuzz::printable(encoded));
    const auto decoded = news::DecodeTextList(encoded);
    NEWS_FUZZ_CHECK(decoded && *decoded == items, "lost in encoding: " + fuzz::printable(encoded));
    return 0;
}
