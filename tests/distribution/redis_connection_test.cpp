// The connection's compact reads against a server that answers with bytes Redis itself never
// sends: the connection breaks, and its error tells an oversized reply from a malformed one.
#include <array>
#include <chrono>
#include <string>
#include <thread>

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include "embedded_backend/compact_reply.h"
#include "embedded_backend/redis_connection.h"

namespace {

using namespace std::chrono_literals;

// A server on the loopback address for one client: it answers the first request with fixed
// bytes, then holds the connection until the client closes it.
class ScriptedServer {
public:
    explicit ScriptedServer(std::string answer) {
        m_listen = socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address;
        if (m_listen < 0 || bind(m_listen, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
            listen(m_listen, 1) != 0 || getsockname(m_listen, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
            return;
        }
        m_port = ntohs(address.sin_port);
        m_thread = std::thread([this, answer = std::move(answer)] {
            const int client = accept(m_listen, nullptr, nullptr);
            if (client < 0) {
                return;
            }
            std::array<char, 4096> request{};
            if (recv(client, request.data(), request.size(), 0) > 0) {
                send(client, answer.data(), answer.size(), MSG_NOSIGNAL);
                while (recv(client, request.data(), request.size(), 0) > 0) {
                }
            }
            close(client);
        });
    }
    ~ScriptedServer() {
        if (m_listen >= 0) {
            shutdown(m_listen, SHUT_RDWR); // ends a wait for a client that never came
        }
        if (m_thread.joinable()) {
            m_thread.join();
        }
        if (m_listen >= 0) {
            close(m_listen);
        }
    }
    ScriptedServer(const ScriptedServer&) = delete;
    ScriptedServer& operator=(const ScriptedServer&) = delete;

    embedded::RedisAddress address() const { return {"127.0.0.1", m_port}; }

private:
    int m_listen = -1;
    int m_port = 0;
    std::thread m_thread;
};

struct Outcome {
    bool ok = false;
    bool connected = false;
    std::string error;
    std::string firstText;
};

Outcome readFrom(const std::string& answer) {
    ScriptedServer server(answer);
    embedded::RedisConnection connection;
    std::string error;
    EXPECT_TRUE(connection.connect(server.address(), 2s, error)) << error;
    embedded::CompactReply reply;
    Outcome out;
    out.ok = connection.command({"XREAD", "STREAMS", "news:{16}", "0"}, reply);
    out.connected = connection.connected();
    out.error = connection.lastError();
    if (out.ok) {
        out.firstText = std::string(reply.text(reply.element(reply.root(), 0)));
    }
    connection.close(); // before the server, which waits for it
    return out;
}

TEST(RedisConnection, ACompactReadBreaksOnARefusedReplyAndSaysWhy) {
    const Outcome fine = readFrom("*1\r\n$7\r\nnews:16\r\n");
    EXPECT_TRUE(fine.ok) << fine.error;
    EXPECT_TRUE(fine.connected);
    EXPECT_EQ(fine.firstText, "news:16");

    const Outcome oversized = readFrom("*1\r\n*99999999\r\n");
    EXPECT_FALSE(oversized.ok);
    EXPECT_FALSE(oversized.connected);
    EXPECT_EQ(oversized.error.rfind("a reply of Redis held more values than a read may", 0), 0u) << oversized.error;

    const Outcome malformed = readFrom("?not the protocol\r\n");
    EXPECT_FALSE(malformed.ok);
    EXPECT_FALSE(malformed.connected);
    EXPECT_EQ(malformed.error.rfind("the connection to Redis failed", 0), 0u) << malformed.error;
}

} // namespace
