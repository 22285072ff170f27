// The search condition's text form, read both ways from one input: as text to load, and as a
// record (scope, method, time, flag, keywords, symbols) to write and read back.
#include <cstdint>

#include "fuzz/fuzz_support.h"
#include "host/backend/search.h"

namespace {

CSearch recordFrom(fuzz::FuzzInput& in) {
    CSearch s;
    s.m_byScope = in.byte();
    s.m_byMethod = in.byte();
    s.m_tTime = in.integer<std::int64_t>();
    s.m_bKeywordSearch = in.flag();
    for (int n = in.byte() % 6; n > 0; --n) {
        s.m_vKeywords.push_back(in.text());
    }
    for (int n = in.byte() % 4; n > 0; --n) {
        s.m_vSymbols.push_back(in.text());
    }
    return s;
}

// A record unlike any the text could load, to see that a refusal changes nothing.
CSearch sentinel() {
    CSearch s;
    s.m_vKeywords = {"sentinel"};
    s.m_byScope = 7;
    s.m_tTime = 12345;
    return s;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);

    // Text that loads is written back byte for byte (one spelling per value); text that does
    // not load leaves the record as it was.
    CSearch loaded = sentinel();
    if (loaded.LoadStringA(text)) {
        NEWS_FUZZ_CHECK(loaded.GetString() == text, "written back as " + fuzz::printable(loaded.GetString()));
    } else {
        NEWS_FUZZ_CHECK(loaded == sentinel(), "a refused text changed the record");
    }

    // Record -> text -> record is the identity for every field value.
    fuzz::FuzzInput in(data, size);
    const CSearch record = recordFrom(in);
    const CString written = record.GetString();
    NEWS_FUZZ_CHECK(written.find('\n') == CString::npos && written.find('\0') == CString::npos,
                    fuzz::printable(written));
    CSearch back = sentinel();
    NEWS_FUZZ_CHECK(back.LoadStringA(written), "refused its own text " + fuzz::printable(written));
    NEWS_FUZZ_CHECK(back == record, "read back differently from " + fuzz::printable(written));
    return 0;
}
