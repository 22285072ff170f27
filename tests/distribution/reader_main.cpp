// A terminal's back end reading the distribution, alone in a process, for tests that kill it
// without warning: distribution_reader HOST:PORT DATA_FOLDER. Runs until killed.
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <deque>
#include <functional>
#include <mutex>

#include "embedded_backend/embedded_backend.h"
#include "host/backend/subscriptions.h"
#include "host/backend/ui_dispatcher.h"

namespace {

class Queue final : public UiDispatcher {
public:
    void post(std::function<void()> work) override {
        {
            std::lock_guard lock(m_mutex);
            m_work.push_back(std::move(work));
        }
        m_wake.notify_one();
    }
    [[noreturn]] void runForever() {
        while (true) {
            std::function<void()> work;
            {
                std::unique_lock lock(m_mutex);
                m_wake.wait(lock, [this] { return !m_work.empty(); });
                work = std::move(m_work.front());
                m_work.pop_front();
            }
            work();
        }
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::deque<std::function<void()>> m_work;
};

} // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: distribution_reader HOST:PORT DATA_FOLDER\n");
        return 2;
    }
    const std::optional<embedded::RedisAddress> address = embedded::parseRedisAddress(argv[1]);
    if (!address) {
        std::fprintf(stderr, "distribution_reader: bad address %s\n", argv[1]);
        return 2;
    }
    Queue queue;
    NewsSubscriptions subscriptions;
    embedded::EmbeddedBackendOptions o;
    o.dataFolder = argv[2];
    o.dispatcher = &queue;
    o.subscriptions = &subscriptions;
    o.startConnected = false;
    embedded::EmbeddedBackend backend(o);
    const embedded::StoreOpenResult opened = backend.open();
    if (!opened.ok()) {
        std::fprintf(stderr, "distribution_reader: %s\n", opened.message.c_str());
        return 1;
    }
    embedded::StreamFeedOptions feed;
    feed.address = *address;
    backend.startStreamFeed(feed);
    queue.runForever();
}
