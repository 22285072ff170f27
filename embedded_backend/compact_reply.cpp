#include "embedded_backend/compact_reply.h"

#include <cstdint>

#include <hiredis.h>

namespace embedded {

static_assert(CompactReply::kArrayType == REDIS_REPLY_ARRAY && CompactReply::kNilType == REDIS_REPLY_NIL);

// hiredis hands each value it parses to these functions with the value's task: its type,
// its parent's value and its index in the parent. A value is passed around as its node index
// plus one (never null, which hiredis takes for an allocation failure); returning null for a
// count beyond the limit makes hiredis stop with an error.
struct CompactReplyBuilder {
    static CompactReply& replyOf(const redisReadTask* task) { return *static_cast<CompactReply*>(task->privdata); }
    static void* handle(std::size_t index) { return reinterpret_cast<void*>(static_cast<std::uintptr_t>(index + 1)); }
    static std::size_t indexOf(void* handle) {
        return static_cast<std::size_t>(reinterpret_cast<std::uintptr_t>(handle)) - 1;
    }

    static void* add(const redisReadTask* task, CompactReply::Node node) {
        CompactReply& reply = replyOf(task);
        if (reply.m_nodes.size() >= CompactReply::kMaxValues) {
            return nullptr;
        }
        const std::size_t index = reply.m_nodes.size();
        reply.m_nodes.push_back(node);
        if (task->parent != nullptr) {
            const CompactReply::Node& parent = reply.m_nodes[indexOf(task->parent->obj)];
            reply.m_slots[parent.first + static_cast<std::size_t>(task->idx)] = static_cast<std::uint32_t>(index);
        }
        return handle(index);
    }
    static void* createString(const redisReadTask* task, char* text, std::size_t length) {
        CompactReply& reply = replyOf(task);
        if (reply.m_text.size() + length > UINT32_MAX) {
            return nullptr;
        }
        CompactReply::Node node{task->type, static_cast<std::uint32_t>(reply.m_text.size()),
                                static_cast<std::uint32_t>(length), 0};
        reply.m_text.append(text, length);
        return add(task, node);
    }
    static void* createArray(const redisReadTask* task, int elements) {
        CompactReply& reply = replyOf(task);
        if (elements < 0 || reply.m_slots.size() + static_cast<std::size_t>(elements) > CompactReply::kMaxValues) {
            return nullptr;
        }
        CompactReply::Node node{REDIS_REPLY_ARRAY, static_cast<std::uint32_t>(reply.m_slots.size()),
                                static_cast<std::uint32_t>(elements), 0};
        reply.m_slots.resize(reply.m_slots.size() + static_cast<std::size_t>(elements), 0);
        return add(task, node);
    }
    static void* createInteger(const redisReadTask* task, long long value) {
        return add(task, CompactReply::Node{REDIS_REPLY_INTEGER, 0, 0, value});
    }
    static void* createNil(const redisReadTask* task) {
        return add(task, CompactReply::Node{REDIS_REPLY_NIL, 0, 0, 0});
    }
    static void freeObject(void*) {} // the storage belongs to the CompactReply
};

void CompactReply::clear() {
    m_nodes.clear();
    m_slots.clear();
    m_text.clear();
}

bool CompactReply::isString(const Node& node) const {
    return node.type == REDIS_REPLY_STRING;
}

redisReplyObjectFunctions* CompactReply::functions() {
    // Named members: newer hiredis versions add functions for RESP3 types between these, which
    // a stream read never carries.
    static redisReplyObjectFunctions f{.createString = &CompactReplyBuilder::createString,
                                       .createArray = &CompactReplyBuilder::createArray,
                                       .createInteger = &CompactReplyBuilder::createInteger,
                                       .createNil = &CompactReplyBuilder::createNil,
                                       .freeObject = &CompactReplyBuilder::freeObject};
    return &f;
}

int parseCompactReply(std::string_view bytes, CompactReply& reply, std::string& error) {
    reply.clear();
    redisReader* reader = redisReaderCreateWithFunctions(CompactReply::functions());
    if (reader == nullptr) {
        error = "out of memory";
        return -1;
    }
    reader->privdata = &reply;
    void* root = nullptr;
    int result = 0;
    if (redisReaderFeed(reader, bytes.data(), bytes.size()) != REDIS_OK ||
        redisReaderGetReply(reader, &root) != REDIS_OK) {
        error = reader->errstr;
        result = -1;
    } else {
        result = root != nullptr ? 1 : 0;
    }
    reader->reply = nullptr; // a node handle, not an object for hiredis to free
    redisReaderFree(reader);
    if (result != 1) {
        reply.clear();
    }
    return result;
}

} // namespace embedded
