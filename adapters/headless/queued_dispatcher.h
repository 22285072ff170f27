#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>

#include "host/backend/ui_dispatcher.h"

namespace headless {

// The headless UI dispatcher: posted work waits in a queue until the test drains it.
// Thread: post may be called from any thread; drain and runOne on the UI thread only.
// Re-entrancy: work may post more work; drain runs it in the same call.
class QueuedDispatcher : public UiDispatcher {
public:
    void post(std::function<void()> work) override;

    // Runs queued work, including work posted meanwhile, until the queue is empty; returns
    // how many items ran.
    std::size_t drain();
    // Runs the oldest item; false when the queue was empty.
    bool runOne();
    std::size_t pending() const;

private:
    mutable std::mutex m_mutex;
    std::deque<std::function<void()>> m_queue;
};

} // namespace headless
