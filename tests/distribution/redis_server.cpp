#include "tests/distribution/redis_server.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <thread>

#include <fcntl.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace distribution::test {

bool ChildProcess::start(const std::vector<std::string>& argv, const std::filesystem::path& logPath) {
    kill();
    if (argv.empty()) {
        return false;
    }
    std::vector<char*> args;
    args.reserve(argv.size() + 1);
    for (const std::string& a : argv) {
        args.push_back(const_cast<char*>(a.c_str()));
    }
    args.push_back(nullptr);
    const int log = ::open(logPath.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    if (log < 0) {
        return false;
    }
    // The child reports a failed exec through a pipe that a successful one closes.
    int report[2];
    if (::pipe2(report, O_CLOEXEC) != 0) {
        ::close(log);
        return false;
    }
    const pid_t parent = ::getpid();
    m_pid = ::fork();
    if (m_pid == 0) {
        // The child dies with the test process, so a test killed at its time limit leaves no
        // server or publisher running (and using the machine) behind it.
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (::getppid() == parent && ::dup2(log, 1) >= 0 && ::dup2(log, 2) >= 0) {
            ::execvp(args[0], args.data());
        }
        const int error = errno;
        [[maybe_unused]] const ssize_t written = ::write(report[1], &error, sizeof error);
        ::_exit(127);
    }
    ::close(log);
    ::close(report[1]);
    int error = 0;
    const bool failed = m_pid < 0 || ::read(report[0], &error, sizeof error) > 0;
    ::close(report[0]);
    if (failed) {
        if (m_pid > 0) {
            ::waitpid(m_pid, nullptr, 0);
        }
        m_pid = -1;
        return false;
    }
    return true;
}

void ChildProcess::kill(int signal) {
    if (m_pid <= 0) {
        return;
    }
    ::kill(m_pid, signal);
    int status = 0;
    ::waitpid(m_pid, &status, 0);
    m_pid = -1;
}

int ChildProcess::wait() {
    if (m_pid <= 0) {
        return -1;
    }
    int status = 0;
    ::waitpid(m_pid, &status, 0);
    m_pid = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

ReservedPort::ReservedPort() {
    m_fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const int on = 1;
    ::setsockopt(m_fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = 0;
    socklen_t length = sizeof address;
    if (::bind(m_fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 &&
        ::getsockname(m_fd, reinterpret_cast<sockaddr*>(&address), &length) == 0) {
        m_port = ntohs(address.sin_port);
    }
}

ReservedPort::~ReservedPort() {
    if (m_fd >= 0) {
        ::close(m_fd);
    }
}

RedisServer::RedisServer() {
    static std::atomic<int> counter{0};
    m_folder = std::filesystem::temp_directory_path() /
               ("news-redis-test-" + std::to_string(::getpid()) + "-" + std::to_string(counter++));
    std::filesystem::remove_all(m_folder);
    std::filesystem::create_directories(m_folder);
}

RedisServer::~RedisServer() {
    m_process.kill();
    std::error_code ec;
    std::filesystem::remove_all(m_folder, ec);
}

bool RedisServer::start(std::string& error) {
    const std::vector<std::string> argv{"redis-server",
                                        "--bind",
                                        "127.0.0.1",
                                        "--port",
                                        std::to_string(m_port.port()),
                                        "--dir",
                                        m_folder.string(),
                                        "--save",
                                        "",
                                        "--appendonly",
                                        "yes",
                                        "--protected-mode",
                                        "yes",
                                        "--daemonize",
                                        "no"};
    if (!m_process.start(argv, m_folder / "redis.log")) {
        error = "cannot start redis-server (is it installed? scripts/setup installs it)";
        return false;
    }
    // Ready once it answers as this very process, not as a server it failed to replace.
    const std::string self = "process_id:" + std::to_string(m_process.pid()) + "\r";
    for (int i = 0; i < 200; ++i) {
        embedded::RedisConnection probe;
        std::string why;
        if (probe.connect(address(), std::chrono::milliseconds(500), why)) {
            const embedded::RedisReply info = probe.command({"INFO", "server"});
            if (info && info.text().find(self) != std::string::npos) {
                return true;
            }
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    m_process.kill();
    error = "redis-server did not answer on " + addressText() + " (see " + (m_folder / "redis.log").string() + ")";
    return false;
}

namespace {

// The file the server appends to now: the newest "incr" file of its append-only folder.
std::filesystem::path appendedFile(const std::filesystem::path& folder) {
    std::filesystem::path newest;
    std::error_code ec;
    for (const auto& entry : std::filesystem::directory_iterator(folder / "appendonlydir", ec)) {
        const std::string name = entry.path().filename().string();
        if (name.size() > 9 && name.compare(name.size() - 9, 9, ".incr.aof") == 0 && entry.path() > newest) {
            newest = entry.path();
        }
    }
    return newest;
}

} // namespace

std::uintmax_t RedisServer::appendedSize() const {
    std::error_code ec;
    const std::uintmax_t size = std::filesystem::file_size(appendedFile(m_folder), ec);
    return ec ? 0 : size;
}

bool RedisServer::cutAppendedTo(std::uintmax_t size) const {
    const std::filesystem::path file = appendedFile(m_folder);
    std::error_code ec;
    if (file.empty() || std::filesystem::file_size(file, ec) < size) {
        return false;
    }
    std::filesystem::resize_file(file, size, ec);
    return !ec;
}

void RedisServer::kill() {
    m_process.kill(SIGKILL);
}

void RedisServer::terminate() {
    m_process.kill(SIGTERM);
}

} // namespace distribution::test
