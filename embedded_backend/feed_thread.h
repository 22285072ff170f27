#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace embedded {

// The thread of a feed: runs a body once, lets it wait for a deadline, and stops it early.
// start/stop/waitFinished are called by the owner's thread; waitUntil and stopping by the body.
class FeedThread {
public:
    FeedThread() = default;
    ~FeedThread() { stop(); }
    FeedThread(const FeedThread&) = delete;
    FeedThread& operator=(const FeedThread&) = delete;

    void start(std::function<void()> body) {
        stop();
        {
            std::lock_guard lock(m_mutex);
            m_stopping = false;
            m_finished = false;
        }
        m_thread = std::thread([this, body = std::move(body)] {
            body();
            std::lock_guard lock(m_mutex);
            m_finished = true;
            m_changed.notify_all();
        });
    }

    // Asks the body to stop at its next wait and joins it.
    void stop() {
        {
            std::lock_guard lock(m_mutex);
            m_stopping = true;
            m_changed.notify_all();
        }
        if (m_thread.joinable()) {
            m_thread.join();
        }
    }

    // Body: waits until the deadline; false when asked to stop meanwhile.
    bool waitUntil(std::chrono::steady_clock::time_point deadline) {
        std::unique_lock lock(m_mutex);
        m_changed.wait_until(lock, deadline, [this] { return m_stopping; });
        return !m_stopping;
    }
    bool stopping() const {
        std::lock_guard lock(m_mutex);
        return m_stopping;
    }

    // Owner: true once the body returned; waits at most `timeout`.
    bool waitFinished(std::chrono::milliseconds timeout) {
        std::unique_lock lock(m_mutex);
        return m_changed.wait_for(lock, timeout, [this] { return m_finished; });
    }
    bool running() const {
        std::lock_guard lock(m_mutex);
        return m_thread.joinable() && !m_finished;
    }

private:
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_stopping = false;
    bool m_finished = false;
    std::thread m_thread;
};

} // namespace embedded
