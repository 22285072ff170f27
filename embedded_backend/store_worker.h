#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "embedded_backend/news_records.h"
#include "embedded_backend/news_store.h"

namespace embedded {

// The one thread that touches the SQLite store. Work runs in the order it was queued:
// consecutive write batches share one transaction (a burst of headlines costs one commit),
// searches and reads run between them and see every write queued before them.
// Thread: every member but the store itself may be called from any thread. Ownership: the
// worker owns the store and its thread. Re-entrancy: a task may queue more work; it must not
// call flush() or stop().
class StoreWorker {
public:
    using Task = std::function<void(NewsStore&)>;
    using ErrorHandler = std::function<void(const std::string&)>;

    StoreWorker();
    ~StoreWorker();
    StoreWorker(const StoreWorker&) = delete;
    StoreWorker& operator=(const StoreWorker&) = delete;

    // Called on the worker thread when a write fails (not at all while writes succeed).
    void setErrorHandler(ErrorHandler handler);
    void start();
    void write(std::shared_ptr<const NewsBatch> batch);
    void post(Task task);
    // Blocks until everything queued before the call has run.
    void flush();
    // Runs what is queued, closes the store and joins the thread.
    void stop();

    std::uint64_t failedWrites() const;
    std::string lastError() const;

private:
    struct Item {
        std::shared_ptr<const NewsBatch> batch;
        Task task;
    };
    void run();
    void writeAll(std::deque<Item>& items, std::size_t& index);

    static constexpr std::size_t kMaxChangesPerTransaction = 20000;

    NewsStore m_store;
    mutable std::mutex m_mutex;
    std::condition_variable m_wake;
    std::condition_variable m_done;
    std::deque<Item> m_queue;
    std::uint64_t m_queued = 0;
    std::uint64_t m_finished = 0;
    bool m_stopping = false;
    std::thread m_thread;
    ErrorHandler m_onError;
    std::uint64_t m_failedWrites = 0;
    std::string m_lastError;
};

} // namespace embedded
