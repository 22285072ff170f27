#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

struct redisReplyObjectFunctions;

namespace embedded {

// A server reply built by hiredis's parser straight into flat storage: one node per value and
// every string's bytes in one buffer, instead of an allocated object per value and another per
// string (a stream read of 500 entries with 20 fields each made some 40,000 of them). Reused
// from read to read, it keeps its capacity, so a steady feed reads without allocating.
// Nodes are addressed by index; a reply's root is node 0 once it is complete.
// Thread: one thread at a time.
class CompactReply {
public:
    // hiredis's reply types (REDIS_REPLY_STRING ... REDIS_REPLY_ERROR).
    struct Node {
        int type = 0;
        std::uint32_t first = 0; // a string: its offset in the text; an array: its first child slot
        std::uint32_t count = 0; // a string: its length; an array: its elements
        long long integer = 0;
    };

    // The most values one reply may hold; a reply announcing more is refused as a protocol
    // error instead of reserving memory for a count the server never sends.
    static constexpr std::size_t kMaxValues = std::size_t{1} << 24;
    // hiredis's REDIS_REPLY_ARRAY and REDIS_REPLY_NIL, checked against its header where it is used.
    static constexpr int kArrayType = 2;
    static constexpr int kNilType = 4;

    void clear();
    bool empty() const { return m_nodes.empty(); }
    const Node& root() const { return m_nodes.front(); }
    // The i-th element of an array node; a nil value past its end or of a node that is no
    // array, so a reader of a malformed reply can never index past the storage.
    const Node& element(const Node& array, std::size_t i) const {
        return array.type == kArrayType && i < array.count ? m_nodes[m_slots[array.first + i]] : kNil;
    }
    std::string_view text(const Node& node) const { return {m_text.data() + node.first, node.count}; }
    bool isString(const Node& node) const;

    // The functions that make hiredis's parser build into the reply set as its private data.
    static redisReplyObjectFunctions* functions();

private:
    friend struct CompactReplyBuilder;

    std::vector<Node> m_nodes;
    std::vector<std::uint32_t> m_slots; // arrays' children, by node index
    std::string m_text;
    static constexpr Node kNil{kNilType, 0, 0, 0};
};

// Parses one reply from raw protocol bytes with hiredis's parser into `reply`. Returns 1 for a
// complete reply, 0 when the bytes end before it does, -1 for a protocol error (with `error`).
int parseCompactReply(std::string_view bytes, CompactReply& reply, std::string& error);

} // namespace embedded
