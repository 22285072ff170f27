#include "embedded_backend/redis_connection.h"

#include <charconv>

#include <hiredis.h>

#include "embedded_backend/compact_reply.h"

namespace embedded {

std::optional<RedisAddress> parseRedisAddress(std::string_view text) {
    const std::size_t colon = text.rfind(':');
    RedisAddress address;
    if (colon == std::string_view::npos) {
        if (text.empty()) {
            return std::nullopt;
        }
        address.host = std::string(text);
        return address;
    }
    const std::string_view host = text.substr(0, colon);
    const std::string_view port = text.substr(colon + 1);
    int value = 0;
    const auto [end, ec] = std::from_chars(port.data(), port.data() + port.size(), value);
    if (port.empty() || ec != std::errc{} || end != port.data() + port.size() || value < 1 || value > 65535) {
        return std::nullopt;
    }
    if (!host.empty()) {
        address.host = std::string(host);
    }
    address.port = value;
    return address;
}

RedisReply::~RedisReply() {
    if (m_reply != nullptr) {
        freeReplyObject(m_reply);
    }
}

RedisReply& RedisReply::operator=(RedisReply&& other) noexcept {
    if (this != &other) {
        if (m_reply != nullptr) {
            freeReplyObject(m_reply);
        }
        m_reply = std::exchange(other.m_reply, nullptr);
    }
    return *this;
}

bool RedisReply::isError() const {
    return m_reply != nullptr && m_reply->type == REDIS_REPLY_ERROR;
}

bool RedisReply::isNil() const {
    return m_reply != nullptr && m_reply->type == REDIS_REPLY_NIL;
}

std::string RedisReply::text() const {
    if (m_reply == nullptr || m_reply->str == nullptr) {
        return {};
    }
    return std::string(m_reply->str, m_reply->len);
}

RedisConnection::~RedisConnection() {
    close();
}

void RedisConnection::close() {
    if (m_context != nullptr) {
        redisFree(m_context);
        m_context = nullptr;
    }
    m_broken = false;
}

void RedisConnection::fail(const std::string& what) {
    m_broken = true;
    m_error = what;
    if (m_context != nullptr && m_context->err != 0) {
        m_error += ": ";
        m_error += m_context->errstr;
    }
}

bool RedisConnection::connect(const RedisAddress& address, std::chrono::milliseconds timeout, std::string& error) {
    close();
    timeval tv{};
    tv.tv_sec = static_cast<decltype(tv.tv_sec)>(timeout.count() / 1000);
    tv.tv_usec = static_cast<decltype(tv.tv_usec)>((timeout.count() % 1000) * 1000);
    m_context = redisConnectWithTimeout(address.host.c_str(), address.port, tv);
    const std::string where = address.host + ":" + std::to_string(address.port);
    if (m_context == nullptr) {
        error = "cannot reach Redis at " + where + ": out of memory";
        return false;
    }
    if (m_context->err != 0) {
        error = "cannot reach Redis at " + where + ": " + m_context->errstr;
        close();
        return false;
    }
    if (redisSetTimeout(m_context, tv) != REDIS_OK) {
        error = "cannot set the reply timeout for Redis at " + where;
        close();
        return false;
    }
    m_broken = false;
    m_error.clear();
    return true;
}

namespace {

void argvOf(const std::vector<std::string>& args, std::vector<const char*>& argv, std::vector<std::size_t>& lengths) {
    argv.clear();
    lengths.clear();
    for (const std::string& a : args) {
        argv.push_back(a.data());
        lengths.push_back(a.size());
    }
}

} // namespace

RedisReply RedisConnection::command(const std::vector<std::string>& args) {
    if (!connected()) {
        m_error = "not connected to Redis";
        return {};
    }
    std::vector<const char*> argv;
    std::vector<std::size_t> lengths;
    argvOf(args, argv, lengths);
    auto* reply = static_cast<redisReply*>(
        redisCommandArgv(m_context, static_cast<int>(argv.size()), argv.data(), lengths.data()));
    if (reply == nullptr) {
        fail("the connection to Redis failed");
    }
    return RedisReply(reply);
}

bool RedisConnection::command(const std::vector<std::string>& args, CompactReply& into) {
    into.clear();
    if (!connected()) {
        m_error = "not connected to Redis";
        return false;
    }
    std::vector<const char*> argv;
    std::vector<std::size_t> lengths;
    argvOf(args, argv, lengths);
    // The reader builds this one reply into `into`, then goes back to hiredis's own objects.
    redisReader* reader = m_context->reader;
    redisReplyObjectFunctions* const objects = reader->fn;
    void* const data = reader->privdata;
    reader->fn = CompactReply::functions();
    reader->privdata = &into;
    void* const reply = redisCommandArgv(m_context, static_cast<int>(argv.size()), argv.data(), lengths.data());
    // A reply cut off by a failure leaves its root with the reader: a node handle that the
    // default functions must never be asked to free.
    reader->reply = nullptr;
    reader->fn = objects;
    reader->privdata = data;
    if (reply == nullptr || into.empty()) {
        fail(m_context->err == REDIS_ERR_OOM ? "a reply of Redis held more values than a read may"
                                             : "the connection to Redis failed");
        into.clear();
        return false;
    }
    return true;
}

std::vector<RedisReply> RedisConnection::pipeline(const std::vector<std::vector<std::string>>& commands) {
    std::vector<RedisReply> replies;
    if (!connected()) {
        m_error = "not connected to Redis";
        return replies;
    }
    std::vector<const char*> argv;
    std::vector<std::size_t> lengths;
    for (const std::vector<std::string>& args : commands) {
        argvOf(args, argv, lengths);
        if (redisAppendCommandArgv(m_context, static_cast<int>(argv.size()), argv.data(), lengths.data()) != REDIS_OK) {
            fail("cannot queue a command for Redis");
            return replies;
        }
    }
    for (std::size_t i = 0; i < commands.size(); ++i) {
        void* reply = nullptr;
        if (redisGetReply(m_context, &reply) != REDIS_OK || reply == nullptr) {
            fail("the connection to Redis failed");
            replies.clear();
            return replies;
        }
        replies.emplace_back(static_cast<redisReply*>(reply));
    }
    return replies;
}

} // namespace embedded
