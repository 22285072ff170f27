// A server reply as raw protocol bytes, parsed twice by hiredis's parser: into hiredis's own
// reply objects and into a CompactReply. Both must agree on whether the bytes hold a whole
// reply, a partial one or a protocol error, and on every value of a whole one. The compact
// form may refuse alone only for a count beyond its limit (reported as out of memory).
// hiredis's own objects allocate an array's slots as soon as its count is read, so the
// reference parse refuses counts past the same limit; otherwise a count of billions in a few
// bytes of input would exhaust the fuzzer's memory in the reference, not in the code tested.
#include <cstdint>
#include <string>
#include <string_view>

#include <hiredis.h>

#include "embedded_backend/compact_reply.h"
#include "fuzz/fuzz_support.h"

namespace {

const redisReplyObjectFunctions* plainFunctions = nullptr;
std::size_t referenceSlots = 0;

void* createBoundedArray(const redisReadTask* task, int elements) {
    if (elements < 0 || referenceSlots + static_cast<std::size_t>(elements) > embedded::CompactReply::kMaxValues) {
        return nullptr;
    }
    referenceSlots += static_cast<std::size_t>(elements);
    return plainFunctions->createArray(task, elements);
}

// A reader with hiredis's own reply objects whose arrays are bounded like the compact form's.
redisReader* createReferenceReader() {
    static redisReplyObjectFunctions bounded{};
    redisReader* reader = redisReaderCreate();
    if (plainFunctions == nullptr) {
        plainFunctions = reader->fn;
        bounded = *plainFunctions;
        bounded.createArray = &createBoundedArray;
    }
    reader->fn = &bounded;
    referenceSlots = 0;
    return reader;
}

bool same(const redisReply* r, const embedded::CompactReply& compact, const embedded::CompactReply::Node& n) {
    if (r->type != n.type) {
        return false;
    }
    switch (r->type) {
    case REDIS_REPLY_INTEGER:
        return r->integer == n.integer;
    case REDIS_REPLY_NIL:
        return true;
    case REDIS_REPLY_ARRAY:
        if (r->elements != n.count) {
            return false;
        }
        for (std::size_t i = 0; i < r->elements; ++i) {
            if (!same(r->element[i], compact, compact.element(n, i))) {
                return false;
            }
        }
        return true;
    default:
        return std::string_view(r->str, r->len) == compact.text(n);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    embedded::CompactReply compact;
    std::string error;
    const int got = embedded::parseCompactReply(input, compact, error);

    redisReader* reader = createReferenceReader();
    void* reply = nullptr;
    const bool ok = redisReaderFeed(reader, input.data(), input.size()) == REDIS_OK &&
                    redisReaderGetReply(reader, &reply) == REDIS_OK;
    const std::string plainError = ok ? "" : reader->errstr;
    redisReaderFree(reader);
    if (got == -1) {
        NEWS_FUZZ_CHECK(!error.empty(), "refused without a reason");
        NEWS_FUZZ_CHECK(!ok || error == "Out of memory", "refused what hiredis reads: " + error);
    } else {
        NEWS_FUZZ_CHECK(ok, "read what hiredis refuses: " + plainError);
        NEWS_FUZZ_CHECK((got == 1) == (reply != nullptr), "whole and partial replies told apart differently");
        if (got == 1) {
            NEWS_FUZZ_CHECK(same(static_cast<redisReply*>(reply), compact, compact.root()), "values differ");
        }
    }
    if (reply != nullptr) {
        freeReplyObject(reply);
    }
    return 0;
}
