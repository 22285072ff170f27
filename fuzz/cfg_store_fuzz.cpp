// The layout store's file form: a file as read from disk, and settings built from the input
// written to text and read back.
#include <cstdint>
#include <string>

#include "fuzz/fuzz_support.h"
#include "host/framework/cfg_store.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);

    // A file that loads is written again in the one canonical form, which reads back to the same
    // settings and is itself a fixed point; a damaged file leaves the store empty and names a line.
    CfgFileStore store;
    store.SetViewInfo("stale", 1, 2, "view", "key", "value");
    const CfgFileStore::LoadResult result = store.parse(text);
    if (result.ok()) {
        const std::string canonical = store.serialize();
        CfgFileStore again;
        NEWS_FUZZ_CHECK(again.parse(canonical).ok(), "its own text is refused: " + fuzz::printable(canonical));
        NEWS_FUZZ_CHECK(again.entries() == store.entries(), fuzz::printable(canonical));
        NEWS_FUZZ_CHECK(again.serialize() == canonical, fuzz::printable(canonical));
    } else {
        NEWS_FUZZ_CHECK(store.empty(), "a damaged file left settings behind");
        NEWS_FUZZ_CHECK(result.line >= 1 && !result.error.empty(), result.error);
    }

    // Every byte of every field and value survives writing and reading.
    fuzz::FuzzInput in(data, size);
    CfgFileStore built;
    for (int n = in.byte() % 5; n > 0; --n) {
        const std::string section = in.text();
        const int layout1 = in.integer<std::int32_t>();
        const int layout2 = in.integer<std::int32_t>();
        const std::string viewKey = in.text();
        const std::string key = in.text();
        built.SetViewInfo(section, layout1, layout2, viewKey, key, in.text());
    }
    const std::string written = built.serialize();
    CfgFileStore read;
    const CfgFileStore::LoadResult back = read.parse(written);
    NEWS_FUZZ_CHECK(back.ok(), back.error + " in " + fuzz::printable(written));
    NEWS_FUZZ_CHECK(read.entries() == built.entries(), fuzz::printable(written));
    return 0;
}
