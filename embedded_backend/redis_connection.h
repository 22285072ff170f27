#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

struct redisContext;
struct redisReply;

namespace embedded {

class CompactReply;

// "host:port" as given on a command line; nullopt when the port is missing or out of range.
struct RedisAddress {
    std::string host = "127.0.0.1";
    int port = 6379;
};
std::optional<RedisAddress> parseRedisAddress(std::string_view text);

// A reply of the server, freed with it. Null (no reply) means the connection failed.
class RedisReply {
public:
    RedisReply() = default;
    explicit RedisReply(redisReply* reply) : m_reply(reply) {}
    ~RedisReply();
    RedisReply(RedisReply&& other) noexcept : m_reply(std::exchange(other.m_reply, nullptr)) {}
    RedisReply& operator=(RedisReply&& other) noexcept;
    RedisReply(const RedisReply&) = delete;
    RedisReply& operator=(const RedisReply&) = delete;

    const redisReply* get() const { return m_reply; }
    explicit operator bool() const { return m_reply != nullptr; }
    bool isError() const;
    bool isNil() const;
    // The text of an error, status or string reply.
    std::string text() const;

private:
    redisReply* m_reply = nullptr;
};

// One synchronous connection to a Redis server (hiredis). Once a command fails on the
// connection (the server went away, a timeout), the connection is broken and must be replaced:
// the reply stream can no longer be trusted.
// Thread: one thread at a time.
class RedisConnection {
public:
    RedisConnection() = default;
    ~RedisConnection();
    RedisConnection(const RedisConnection&) = delete;
    RedisConnection& operator=(const RedisConnection&) = delete;

    // Connects; on failure error says why. timeout bounds the connection and every reply.
    bool connect(const RedisAddress& address, std::chrono::milliseconds timeout, std::string& error);
    void close();
    bool connected() const { return m_context != nullptr && !m_broken; }

    // Runs one command; a null reply (with lastError set) when the connection failed. An
    // error reply of the server is a reply, and leaves the connection usable.
    RedisReply command(const std::vector<std::string>& args);
    // Runs one command with its reply built into `into` (see CompactReply); false (with
    // lastError set) when the connection failed or the reply held more than it may.
    bool command(const std::vector<std::string>& args, CompactReply& into);
    // Sends several commands in one write and reads their replies in order.
    std::vector<RedisReply> pipeline(const std::vector<std::vector<std::string>>& commands);
    const std::string& lastError() const { return m_error; }

private:
    void fail(const std::string& what);

    redisContext* m_context = nullptr;
    bool m_broken = false;
    std::string m_error;
};

} // namespace embedded
