#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include <sys/types.h>

#include "embedded_backend/redis_connection.h"

namespace distribution::test {

// A child process started for a test and killed with it, even when the test fails.
class ChildProcess {
public:
    ChildProcess() = default;
    ~ChildProcess() { kill(); }
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    // argv[0] is looked up on PATH; output goes to logPath. False when it cannot start.
    bool start(const std::vector<std::string>& argv, const std::filesystem::path& logPath);
    // SIGKILL (or another signal) and wait; no-op when not running.
    void kill(int signal = 9);
    // Waits for the child to end by itself; its exit code, or -1 when killed by a signal.
    int wait();
    bool running() const { return m_pid > 0; }
    pid_t pid() const { return m_pid; }

private:
    pid_t m_pid = -1;
};

// A loopback port held for the life of the object: bound, never listening, so connecting to
// it is refused and no other test's free port or outgoing connection lands on it; a server
// started on it shares it (both sides allow address reuse).
class ReservedPort {
public:
    ReservedPort();
    ~ReservedPort();
    ReservedPort(const ReservedPort&) = delete;
    ReservedPort& operator=(const ReservedPort&) = delete;
    int port() const { return m_port; }

private:
    int m_fd = -1;
    int m_port = 0;
};

// A redis-server of its own for one test: the loopback address, a reserved port, a throw-away
// folder, no snapshots and an append-only file so that a restart finds what was written.
class RedisServer {
public:
    RedisServer();
    ~RedisServer();

    // Starts (or starts again, same port and folder); false with a message when it did not
    // answer within a few seconds.
    bool start(std::string& error);
    // Kills it without a chance to save (SIGKILL), or shuts it down cleanly (SIGTERM).
    void kill();
    void terminate();

    // The size of the file the server appends its writes to, and cutting it back (after a
    // kill) to lose the writes since: what a server whose disk was slow loses when it dies.
    std::uintmax_t appendedSize() const;
    bool cutAppendedTo(std::uintmax_t size) const;

    embedded::RedisAddress address() const { return {"127.0.0.1", m_port.port()}; }
    std::string addressText() const { return "127.0.0.1:" + std::to_string(m_port.port()); }
    const std::filesystem::path& folder() const { return m_folder; }

private:
    std::filesystem::path m_folder;
    ReservedPort m_port; // held across restarts: the clients know it
    ChildProcess m_process;
};

} // namespace distribution::test
