// A key set's string form ("C:1 T:3,7 K:A,B"), read both ways from one input: as text to load,
// and as a record (method, news types, keywords) to write and read back.
#include <cstdint>

#include "fuzz/fuzz_support.h"
#include "search/news_key.h"

namespace {

CNewsKey recordFrom(fuzz::FuzzInput& in) {
    CNewsKey key;
    key.m_iMethod = in.integer<std::int32_t>();
    for (int n = in.byte() % 5; n > 0; --n) {
        key.m_vNewsType.push_back(in.integer<std::int32_t>());
    }
    for (int n = in.byte() % 5; n > 0; --n) {
        key.m_vKeyword.push_back(in.text());
    }
    return key;
}

// A key set no text could load as it is (the second list is never in the text), to see that a
// refusal changes nothing and a load keeps the second list.
CNewsKey sentinel() {
    CNewsKey key(CNewsKey::kMethodOr, {5, CNewsKey::kEveryNewsType}, {"sentinel"});
    key.m_vSecondList = {"second"};
    return key;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const CString text(reinterpret_cast<const char*>(data), size);

    // Text that loads has one spelling, so it is written back byte for byte; text that does not
    // load leaves the key set as it was.
    CNewsKey loaded = sentinel();
    if (loaded.LoadString(text)) {
        NEWS_FUZZ_CHECK(loaded.GetString() == text, "written back as " + fuzz::printable(loaded.GetString()));
        NEWS_FUZZ_CHECK(loaded.m_vSecondList == sentinel().m_vSecondList, "a load dropped the second list");
    } else {
        NEWS_FUZZ_CHECK(loaded == sentinel(), "a refused text changed the key set: " + fuzz::printable(text));
    }

    // Record -> text -> record is the identity for every method, news type and keyword.
    fuzz::FuzzInput in(data, size);
    const CNewsKey record = recordFrom(in);
    const CString written = record.GetString();
    CNewsKey back = sentinel();
    NEWS_FUZZ_CHECK(back.LoadString(written), "refused its own text " + fuzz::printable(written));
    NEWS_FUZZ_CHECK(back.bSameKeySet(record), "read back differently from " + fuzz::printable(written));
    return 0;
}
