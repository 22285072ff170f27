#pragma once

#include <chrono>
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

// The one thread that touches the SQLite store. Work runs in the order it was queued.
// Writes go behind: consecutive write batches share one transaction that stays open for up
// to a commit window (or a size bound), so a steady feed of small batches costs one commit,
// one full-text segment per index and one write of each touched page per window instead of
// per batch. A search, a read, flush() or stop() commits first, so they see every write
// queued before them. Each batch is applied whole inside one transaction, so a bookmark
// written with its news is committed with it (or rolled back with it).
// The thread runs at a lower CPU priority than the feeds and the UI: on a busy machine the
// store falls behind (its queue grows) rather than the views.
// Thread: every member but the store itself may be called from any thread. Ownership: the
// worker owns the store and its thread. Re-entrancy: a task may queue more work; it must not
// call flush() or stop().
class StoreWorker {
public:
    using Task = std::function<void(NewsStore&)>;
    using ErrorHandler = std::function<void(const std::string&)>;

    struct Options {
        // How long a write transaction may stay open collecting more batches.
        std::chrono::milliseconds commitWindow{200};
        // Changes after which a transaction commits whatever its age.
        std::size_t maxChanges = 20000;
        // Added to the thread's nice value (Linux); 0 leaves it alone.
        int niceIncrement = 19;
    };

    StoreWorker();
    explicit StoreWorker(Options options);
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
    // Applies the consecutive write batches from `index` on, inside the open transaction
    // (begun when none is); the number of items finished without a transaction.
    std::uint64_t writeAll(std::deque<Item>& items, std::size_t& index);
    // Counts items as run and wakes flush().
    void finish(std::uint64_t items);
    // Commits the open transaction (rolls back a damaged one) and finishes its items.
    void commitOpen();
    void reportFailures();

    Options m_options;
    bool m_inTransaction = false;
    std::chrono::steady_clock::time_point m_transactionStart;
    std::size_t m_transactionChanges = 0;
    std::uint64_t m_uncommittedItems = 0; // taken into the open transaction, not yet finished
    std::uint64_t m_pendingFailures = 0;
    std::string m_pendingError;
    NewsStore m_store;
    mutable std::mutex m_mutex;
    std::condition_variable m_wake;
    std::condition_variable m_done;
    std::deque<Item> m_queue;
    std::uint64_t m_queued = 0;
    std::uint64_t m_finished = 0;
    bool m_stopping = false;
    int m_flushWaiters = 0; // a flush() waits: commit now instead of at the window's end
    std::thread m_thread;
    ErrorHandler m_onError;
    std::uint64_t m_failedWrites = 0;
    std::string m_lastError;
};

} // namespace embedded
