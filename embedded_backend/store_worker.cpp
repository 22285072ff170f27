#include "embedded_backend/store_worker.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#ifdef __linux__
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>
#endif

namespace embedded {

namespace {

// Lowers the calling thread's CPU priority by `increment` nice steps (Linux threads have
// their own nice value). Best effort: a refusal leaves the thread as it was.
void lowerThreadPriority(int increment) {
#ifdef __linux__
    if (increment <= 0) {
        return;
    }
    const auto tid = static_cast<id_t>(syscall(SYS_gettid));
    errno = 0;
    const int current = getpriority(PRIO_PROCESS, tid);
    if (errno == 0) {
        setpriority(PRIO_PROCESS, tid, std::min(19, current + increment));
    }
#else
    (void)increment;
#endif
}

} // namespace

StoreWorker::StoreWorker() : StoreWorker(Options{}) {}

StoreWorker::StoreWorker(Options options) : m_options(options) {}

StoreWorker::~StoreWorker() {
    stop();
}

void StoreWorker::setErrorHandler(ErrorHandler handler) {
    std::lock_guard lock(m_mutex);
    m_onError = std::move(handler);
}

void StoreWorker::start() {
    std::lock_guard lock(m_mutex);
    if (m_thread.joinable()) {
        return;
    }
    m_stopping = false;
    m_thread = std::thread([this] {
        lowerThreadPriority(m_options.niceIncrement);
        run();
    });
}

void StoreWorker::write(std::shared_ptr<const NewsBatch> batch) {
    std::lock_guard lock(m_mutex);
    m_queue.push_back(Item{std::move(batch), {}});
    ++m_queued;
    m_wake.notify_one();
}

void StoreWorker::post(Task task) {
    std::lock_guard lock(m_mutex);
    m_queue.push_back(Item{nullptr, std::move(task)});
    ++m_queued;
    m_wake.notify_one();
}

void StoreWorker::flush() {
    std::unique_lock lock(m_mutex);
    if (!m_thread.joinable()) {
        return;
    }
    const std::uint64_t ticket = m_queued;
    // Tells a transaction waiting for its window to end to commit now.
    ++m_flushWaiters;
    m_wake.notify_one();
    m_done.wait(lock, [&] { return m_finished >= ticket; });
    --m_flushWaiters;
}

void StoreWorker::stop() {
    {
        std::lock_guard lock(m_mutex);
        m_stopping = true;
        m_wake.notify_one();
    }
    if (m_thread.joinable()) {
        m_thread.join();
    }
    m_store.close();
}

std::uint64_t StoreWorker::failedWrites() const {
    std::lock_guard lock(m_mutex);
    return m_failedWrites;
}

std::string StoreWorker::lastError() const {
    std::lock_guard lock(m_mutex);
    return m_lastError;
}

void StoreWorker::finish(std::uint64_t items) {
    if (items == 0) {
        return;
    }
    std::lock_guard lock(m_mutex);
    m_finished += items;
    m_done.notify_all();
}

void StoreWorker::run() {
    while (true) {
        std::deque<Item> items;
        {
            std::unique_lock lock(m_mutex);
            if (m_inTransaction) {
                // More batches may join the open transaction until its window ends.
                m_wake.wait_until(lock, m_transactionStart + m_options.commitWindow,
                                  [&] { return m_stopping || m_flushWaiters > 0 || !m_queue.empty(); });
                if (m_queue.empty()) {
                    lock.unlock();
                    commitOpen();
                    continue;
                }
            } else {
                m_wake.wait(lock, [&] { return m_stopping || !m_queue.empty(); });
                if (m_queue.empty()) {
                    return; // stopping with nothing left
                }
            }
            items.swap(m_queue);
        }
        std::size_t index = 0;
        std::uint64_t done = 0;
        while (index < items.size()) {
            if (items[index].batch) {
                done += writeAll(items, index);
            } else {
                // A task sees every write queued before it, committed.
                commitOpen();
                items[index].task(m_store);
                ++index;
                ++done;
            }
        }
        finish(done);
        bool commitNow = false;
        {
            std::lock_guard lock(m_mutex);
            commitNow = m_stopping || m_flushWaiters > 0 ||
                        std::chrono::steady_clock::now() >= m_transactionStart + m_options.commitWindow;
        }
        if (m_inTransaction && commitNow) {
            commitOpen();
        }
        reportFailures();
    }
}

std::uint64_t StoreWorker::writeAll(std::deque<Item>& items, std::size_t& index) {
    std::uint64_t done = 0;
    if (!m_store.isOpen()) {
        // Without a store (it failed to open) the news still reaches the cache; nothing to write.
        while (index < items.size() && items[index].batch) {
            ++index;
            ++done;
        }
        return done;
    }
    while (index < items.size() && items[index].batch) {
        if (!m_inTransaction) {
            if (!m_store.begin()) {
                m_pendingError = m_store.lastError();
                ++m_pendingFailures;
                ++index;
                ++done;
                continue;
            }
            m_inTransaction = true;
            m_transactionStart = std::chrono::steady_clock::now();
            m_transactionChanges = 0;
        }
        // A batch is applied whole in one transaction: its bookmarks commit with its news.
        for (const NewsChange& change : items[index].batch->changes) {
            if (!m_store.apply(change)) {
                // One bad change costs only itself; a damaged file stops the batch.
                m_pendingError = m_store.lastError();
                ++m_pendingFailures;
                if (m_store.damaged()) {
                    break;
                }
            }
        }
        m_transactionChanges += items[index].batch->changes.size();
        ++m_uncommittedItems;
        ++index;
        if (m_store.damaged() || m_transactionChanges >= m_options.maxChanges) {
            // The items of a transaction count as done once it is committed (or rolled back).
            commitOpen();
        }
    }
    return done;
}

void StoreWorker::commitOpen() {
    if (!m_inTransaction) {
        return;
    }
    m_inTransaction = false;
    if (m_store.damaged()) {
        m_store.rollback();
    } else if (!m_store.commit()) {
        m_pendingError = m_store.lastError();
        ++m_pendingFailures;
        m_store.rollback();
    }
    finish(std::exchange(m_uncommittedItems, 0));
}

void StoreWorker::reportFailures() {
    if (m_pendingFailures == 0) {
        return;
    }
    ErrorHandler handler;
    const std::string error = m_pendingError;
    {
        std::lock_guard lock(m_mutex);
        m_failedWrites += std::exchange(m_pendingFailures, 0);
        m_lastError = error;
        handler = m_onError;
    }
    if (handler) {
        handler(error);
    }
}

} // namespace embedded
