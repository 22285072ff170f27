#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "embedded_backend/news_records.h"
#include "embedded_backend/news_store.h"
#include "embedded_backend/wake_signal.h"

namespace embedded {

// The one thread that touches the SQLite store. Work runs in the order it was queued.
// Writes go behind: consecutive write batches share one transaction that stays open for up
// to a commit window (or a size bound), so a steady feed of small batches costs one commit,
// one full-text segment per index and one write of each touched page per window instead of
// per batch. A search, a read, flush() or stop() commits first, so they see every write
// queued before them. Each batch is applied whole inside one transaction, so a bookmark
// written with its news is committed with it (or rolled back with it).
// The thread runs at a lower CPU priority than the feeds and the UI: on a busy machine the
// store falls behind (its queue grows) rather than the views. So that a feed never waits for
// it, queueing takes no lock the worker may hold while the scheduler has put it aside: work
// is pushed onto a lock-free list and a sleeping worker is woken without a lock. For
// the same reason the worker frees no memory a queueing thread allocated, and it reserves its
// own allocator arena when it starts.
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
        int niceIncrement = 5;
        // Runs the thread in the idle scheduling class (Linux SCHED_IDLE) instead: it then gets
        // only CPU time that no ordinary thread wants, so on a saturated machine it may wait
        // indefinitely, and so do searches and reads queued behind its writes.
        bool idle = false;
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
    // Blocks until everything queued before the call has run and been committed.
    void flush();
    // Runs what is queued, commits, closes the store and joins the thread.
    void stop();

    std::uint64_t failedWrites() const;
    std::string lastError() const;

private:
    struct Item {
        std::shared_ptr<const NewsBatch> batch;
        Task task;
    };
    struct Node {
        Item item;
        Node* next = nullptr;
    };

    void push(Item item);
    // Everything queued so far, oldest first; empty when nothing is.
    std::vector<Node*> takeQueued();
    // Hands a node the worker is done with back to the queueing side, which frees it (and drops
    // its batch) on its next push. The worker then never frees memory a queueing thread
    // allocated, which would take that thread's allocator lock: put aside while holding it, the
    // worker would stall the feed.
    void retire(Node* node);
    void freeSpent();
    // Sleeps until work is queued, stop() is called or `until` passes (when set), or returns
    // early; the caller looks again.
    void sleep(const std::chrono::steady_clock::time_point* until);
    void run();
    // Applies the consecutive write batches from `index` on, inside the open transaction
    // (begun when none is).
    void writeAll(std::vector<Node*>& nodes, std::size_t& index);
    // Commits the open transaction (rolls back a damaged one).
    void commitOpen();
    void reportFailures();

    Options m_options;
    NewsStore m_store;
    std::atomic<Node*> m_queued{nullptr}; // newest first
    std::atomic<Node*> m_spent{nullptr};  // done by the worker, not yet freed
    std::atomic<bool> m_sleeping{false};
    std::atomic<bool> m_stopping{false};
    WakeSignal m_wake;
    mutable std::mutex m_mutex; // guards starting and stopping, the handler and the error figures
    std::thread m_thread;
    ErrorHandler m_onError;
    std::uint64_t m_failedWrites = 0;
    std::string m_lastError;

    // Worker thread only.
    bool m_inTransaction = false;
    std::chrono::steady_clock::time_point m_transactionStart;
    std::size_t m_transactionChanges = 0;
    std::uint64_t m_pendingFailures = 0;
    std::string m_pendingError;
};

} // namespace embedded
