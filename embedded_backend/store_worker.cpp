#include "embedded_backend/store_worker.h"

namespace embedded {

StoreWorker::StoreWorker() = default;

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
    m_thread = std::thread([this] { run(); });
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
    m_done.wait(lock, [&] { return m_finished >= ticket; });
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

void StoreWorker::run() {
    while (true) {
        std::deque<Item> items;
        {
            std::unique_lock lock(m_mutex);
            m_wake.wait(lock, [&] { return m_stopping || !m_queue.empty(); });
            if (m_queue.empty()) {
                return; // stopping with nothing left
            }
            items.swap(m_queue);
        }
        std::size_t index = 0;
        while (index < items.size()) {
            if (items[index].batch) {
                writeAll(items, index);
            } else {
                items[index].task(m_store);
                ++index;
            }
        }
        std::lock_guard lock(m_mutex);
        m_finished += items.size();
        m_done.notify_all();
    }
}

void StoreWorker::writeAll(std::deque<Item>& items, std::size_t& index) {
    if (!m_store.isOpen()) {
        // Without a store (it failed to open) the news still reaches the cache; nothing to write.
        while (index < items.size() && items[index].batch) {
            ++index;
        }
        return;
    }
    std::string error;
    std::uint64_t failed = 0;
    while (index < items.size() && items[index].batch) {
        if (!m_store.begin()) {
            error = m_store.lastError();
            ++failed;
            ++index;
            continue;
        }
        std::size_t changes = 0;
        // One transaction for consecutive batches, up to a bound that keeps a commit short.
        while (index < items.size() && items[index].batch && changes < kMaxChangesPerTransaction) {
            for (const NewsChange& change : items[index].batch->changes) {
                if (!m_store.apply(change)) {
                    // One bad change costs only itself; a damaged file stops the batch.
                    error = m_store.lastError();
                    ++failed;
                    if (m_store.damaged()) {
                        break;
                    }
                }
            }
            changes += items[index].batch->changes.size();
            ++index;
            if (m_store.damaged()) {
                break;
            }
        }
        if (m_store.damaged()) {
            m_store.rollback();
        } else if (!m_store.commit()) {
            error = m_store.lastError();
            ++failed;
            m_store.rollback();
        }
    }
    if (failed > 0) {
        ErrorHandler handler;
        {
            std::lock_guard lock(m_mutex);
            m_failedWrites += failed;
            m_lastError = error;
            handler = m_onError;
        }
        if (handler) {
            handler(error);
        }
    }
}

} // namespace embedded
