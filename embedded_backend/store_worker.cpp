#include "embedded_backend/store_worker.h"

#include <algorithm>
#include <cerrno>
#include <future>
#include <utility>

#include "embedded_backend/arena_headroom.h"

#ifdef __linux__
#include <pthread.h>
#include <sched.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>
#endif

namespace embedded {

namespace {

// Lowers the calling thread's CPU priority by `increment` nice steps (Linux threads have
// their own nice value), or puts it in the idle class, which runs only on CPU time no
// ordinary thread wants. Best effort: a refusal leaves the thread as it was.
void lowerThreadPriority(int increment, bool idle) {
#ifdef __linux__
    pthread_setname_np(pthread_self(), "news-store");
    if (idle) {
        sched_param none{};
        if (pthread_setschedparam(pthread_self(), SCHED_IDLE, &none) == 0) {
            return;
        }
    }
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
    (void)idle;
#endif
}

} // namespace

StoreWorker::StoreWorker() : StoreWorker(Options{}) {}

StoreWorker::StoreWorker(Options options) : m_options(options) {}

StoreWorker::~StoreWorker() {
    stop();
    for (Node* node : takeQueued()) { // what was queued after stop()
        delete node;
    }
    freeSpent();
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
        lowerThreadPriority(m_options.niceIncrement, m_options.idle);
        keepArenaHeadroom(); // reserves the arena when the thread starts, not page by page later
        run();
    });
}

void StoreWorker::push(Item item) {
    freeSpent();
    auto* node = new Node{std::move(item), m_queued.load()};
    while (!m_queued.compare_exchange_weak(node->next, node)) {
    }
    // Only a sleeping worker needs waking. Either it sees this node when it checks for work
    // after saying it sleeps, or this sees that it sleeps (both are sequentially consistent).
    if (m_sleeping.load()) {
        m_wake.notify();
    }
}

void StoreWorker::write(std::shared_ptr<const NewsBatch> batch) {
    push(Item{std::move(batch), {}});
}

void StoreWorker::post(Task task) {
    push(Item{nullptr, std::move(task)});
}

void StoreWorker::flush() {
    {
        std::lock_guard lock(m_mutex);
        if (!m_thread.joinable() || m_stopping) {
            return;
        }
    }
    // A task runs after everything queued before it, and commits the open transaction first.
    std::promise<void> done;
    post([&done](NewsStore&) { done.set_value(); });
    done.get_future().wait();
}

void StoreWorker::stop() {
    {
        std::lock_guard lock(m_mutex);
        m_stopping = true;
    }
    m_wake.notify();
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

std::vector<StoreWorker::Node*> StoreWorker::takeQueued() {
    Node* node = m_queued.exchange(nullptr);
    std::vector<Node*> nodes;
    for (; node != nullptr; node = node->next) {
        nodes.push_back(node);
    }
    std::reverse(nodes.begin(), nodes.end());
    return nodes;
}

void StoreWorker::retire(Node* node) {
    node->next = m_spent.load();
    while (!m_spent.compare_exchange_weak(node->next, node)) {
    }
}

void StoreWorker::freeSpent() {
    Node* node = m_spent.exchange(nullptr);
    while (node != nullptr) {
        delete std::exchange(node, node->next);
    }
}

void StoreWorker::sleep(const std::chrono::steady_clock::time_point* until) {
    // The ticket comes first: a wake-up after it, however early, ends the wait at once.
    const std::uint32_t ticket = m_wake.ticket();
    m_sleeping = true;
    if (!m_stopping.load() && m_queued.load() == nullptr) {
        m_wake.wait(ticket, until);
    }
    m_sleeping = false;
}

void StoreWorker::run() {
    while (true) {
        std::vector<Node*> nodes = takeQueued();
        if (nodes.empty()) {
            if (m_inTransaction) {
                // More batches may join the open transaction until its window ends.
                const auto end = m_transactionStart + m_options.commitWindow;
                if (std::chrono::steady_clock::now() < end && !m_stopping) {
                    sleep(&end);
                    continue;
                }
                commitOpen();
                reportFailures();
                continue;
            }
            if (m_stopping) {
                return; // stopping with nothing left
            }
            sleep(nullptr);
            continue;
        }
        keepArenaHeadroom();
        std::size_t index = 0;
        while (index < nodes.size()) {
            if (nodes[index]->item.batch) {
                writeAll(nodes, index);
            } else {
                // A task sees every write queued before it committed, and its failures reported.
                commitOpen();
                reportFailures();
                nodes[index]->item.task(m_store);
                nodes[index]->item.task = nullptr; // its captures end here, as they always did
                retire(nodes[index]);
                ++index;
            }
        }
        if (m_inTransaction && std::chrono::steady_clock::now() >= m_transactionStart + m_options.commitWindow) {
            commitOpen();
        }
        reportFailures();
    }
}

void StoreWorker::writeAll(std::vector<Node*>& nodes, std::size_t& index) {
    if (!m_store.isOpen()) {
        // Without a store (it failed to open) the news still reaches the cache; nothing to write.
        while (index < nodes.size() && nodes[index]->item.batch) {
            retire(nodes[index++]);
        }
        return;
    }
    while (index < nodes.size() && nodes[index]->item.batch) {
        if (!m_inTransaction) {
            if (!m_store.begin()) {
                m_pendingError = m_store.lastError();
                ++m_pendingFailures;
                retire(nodes[index++]);
                continue;
            }
            m_inTransaction = true;
            m_transactionStart = std::chrono::steady_clock::now();
            m_transactionChanges = 0;
        }
        // A batch is applied whole in one transaction: its bookmarks commit with its news.
        const NewsBatch& batch = *nodes[index]->item.batch;
        for (const NewsChange& change : batch.changes) {
            if (!m_store.apply(change)) {
                // One bad change costs only itself; a damaged file stops the batch.
                m_pendingError = m_store.lastError();
                ++m_pendingFailures;
                if (m_store.damaged()) {
                    break;
                }
            }
        }
        m_transactionChanges += batch.changes.size();
        retire(nodes[index++]); // with its batch: freed by the next push
        if (m_store.damaged() || m_transactionChanges >= m_options.maxChanges) {
            commitOpen();
        }
    }
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
