// The compact form of server replies against hiredis's own reply objects, from raw protocol
// bytes: the same values for every shape a stream read brings, and a defined outcome for
// bytes that are cut off, malformed or announce more than a read may hold.
#include <string>
#include <string_view>

#include <gtest/gtest.h>
#include <hiredis.h>

#include "embedded_backend/compact_reply.h"

namespace {

using embedded::CompactReply;

// Where the two forms differ, as a path of element indexes; empty when they agree.
std::string difference(const redisReply* r, const CompactReply& c, const CompactReply::Node& n, std::string at = "/") {
    if (r->type != n.type) {
        return at + " type " + std::to_string(r->type) + " vs " + std::to_string(n.type);
    }
    if (r->type == REDIS_REPLY_INTEGER) {
        return r->integer == n.integer ? "" : at + " integer";
    }
    if (r->type == REDIS_REPLY_ARRAY) {
        if (r->elements != n.count) {
            return at + " count";
        }
        for (std::size_t i = 0; i < r->elements; ++i) {
            if (std::string d = difference(r->element[i], c, c.element(n, i), at + std::to_string(i) + "/");
                !d.empty()) {
                return d;
            }
        }
        return "";
    }
    if (r->type == REDIS_REPLY_NIL) {
        return "";
    }
    return std::string_view(r->str, r->len) == c.text(n) ? "" : at + " text";
}

// hiredis's own objects of one whole reply (null when the bytes are not one).
redisReply* plainReply(std::string_view bytes) {
    redisReader* reader = redisReaderCreate();
    void* reply = nullptr;
    if (redisReaderFeed(reader, bytes.data(), bytes.size()) != REDIS_OK ||
        redisReaderGetReply(reader, &reply) != REDIS_OK) {
        reply = nullptr;
    }
    redisReaderFree(reader);
    return static_cast<redisReply*>(reply);
}

TEST(CompactReply, HoldsWhatHiredisObjectsHoldForEveryReplyShape) {
    using namespace std::string_literals;
    const std::string entry = "*2\r\n$15\r\n1700000000000-0\r\n*4\r\n$1\r\nn\r\n$1\r\n7\r\n$1\r\nt\r\n$10\r\n"
                              "a\r\nb\0c\xa4\xa4\xa4\xe5\r\n"s;
    const std::string replies[] = {
        // A stream read of two streams, one entry with a text holding CR LF, NUL and Big5 bytes.
        std::string("*2\r\n*2\r\n$7\r\nnews:16\r\n*2\r\n") + entry + entry + "*2\r\n$7\r\nnews:17\r\n*0\r\n",
        "*-1\r\n",                                      // nothing new within the wait
        "-WRONGTYPE Operation against a key\r\n",       // a refusal
        "*5\r\n:42\r\n:-7\r\n+OK\r\n$-1\r\n$0\r\n\r\n", // integers, status, nil and empty strings
        "*1\r\n*1\r\n*1\r\n*1\r\n*2\r\n*0\r\n:1\r\n",   // nesting deeper than a read has
        "$5\r\nalone\r\n",                              // a bare string
    };
    CompactReply compact; // reused, as the feed reuses it: nothing of one reply stays for the next
    for (const std::string& bytes : replies) {
        SCOPED_TRACE(bytes);
        std::string error;
        ASSERT_EQ(embedded::parseCompactReply(bytes, compact, error), 1) << error;
        redisReply* plain = plainReply(bytes);
        ASSERT_NE(plain, nullptr);
        EXPECT_EQ(difference(plain, compact, compact.root()), "");
        freeReplyObject(plain);
    }
}

TEST(CompactReply, CutOffMalformedAndOversizedBytesHaveADefinedOutcome) {
    CompactReply compact;
    std::string error;
    // Cut off anywhere: not a reply yet, and nothing of it is left to read.
    const std::string whole = "*2\r\n$7\r\nnews:16\r\n*1\r\n:5\r\n";
    for (std::size_t length = 0; length < whole.size(); ++length) {
        EXPECT_EQ(embedded::parseCompactReply(std::string_view(whole).substr(0, length), compact, error), 0) << length;
        EXPECT_TRUE(compact.empty());
    }
    // Not the protocol: an error with hiredis's reason.
    for (const std::string bytes : {"?what\r\n", "*x\r\n", ":12a\r\n", "*-5\r\n"}) {
        error.clear();
        EXPECT_EQ(embedded::parseCompactReply(bytes, compact, error), -1) << bytes;
        EXPECT_FALSE(error.empty()) << bytes;
        EXPECT_TRUE(compact.empty());
    }
    // Reading past an array's end, or into a value that is no array, gives nil.
    ASSERT_EQ(embedded::parseCompactReply(whole, compact, error), 1);
    const CompactReply::Node& root = compact.root();
    EXPECT_EQ(compact.text(compact.element(root, 0)), "news:16");
    EXPECT_EQ(compact.element(root, 2).type, REDIS_REPLY_NIL);
    EXPECT_EQ(compact.element(compact.element(root, 1), 1).type, REDIS_REPLY_NIL);
    EXPECT_EQ(compact.element(compact.element(root, 0), 0).type, REDIS_REPLY_NIL);
    // A count far beyond any read is refused at once, without reserving room for it.
    for (const std::string bytes : {"*2000000000\r\n", "*1\r\n*16777216\r\n"}) {
        error.clear();
        EXPECT_EQ(embedded::parseCompactReply(bytes, compact, error), -1) << bytes;
        EXPECT_EQ(error, "Out of memory") << bytes;
    }
}

} // namespace
