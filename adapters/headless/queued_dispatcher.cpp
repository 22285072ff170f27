#include "adapters/headless/queued_dispatcher.h"

namespace headless {

void QueuedDispatcher::post(std::function<void()> work) {
    if (!work) {
        return;
    }
    const std::lock_guard lock(m_mutex);
    m_queue.push_back(std::move(work));
}

bool QueuedDispatcher::runOne() {
    std::function<void()> work;
    {
        const std::lock_guard lock(m_mutex);
        if (m_queue.empty()) {
            return false;
        }
        work = std::move(m_queue.front());
        m_queue.pop_front();
    }
    // Run outside the lock: the work may post.
    work();
    return true;
}

std::size_t QueuedDispatcher::drain() {
    std::size_t ran = 0;
    while (runOne()) {
        ++ran;
    }
    return ran;
}

std::size_t QueuedDispatcher::pending() const {
    const std::lock_guard lock(m_mutex);
    return m_queue.size();
}

} // namespace headless
