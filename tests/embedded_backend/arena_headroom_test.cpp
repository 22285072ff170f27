// The allocator arena of a busy thread grows in large steps ahead of need: reserved when the
// store's writer starts, and topped up at most once per interval on the feed and UI threads.
#include <atomic>
#include <cstdlib>
#include <thread>
#include <vector>

#if defined(__GLIBC__)
#include <malloc.h>
#endif

#include <gtest/gtest.h>

#include "backend_fixture.h"
#include "embedded_backend/arena_headroom.h"
#include "embedded_backend/store_worker.h"

namespace embedded::test {
namespace {

TEST(ArenaHeadroom, TopsUpAtMostOncePerInterval) {
    ArenaHeadroom headroom;
    const ArenaHeadroom::Clock::time_point start{std::chrono::hours(1)};
    EXPECT_TRUE(headroom.keep(start));
    EXPECT_FALSE(headroom.keep(start));
    EXPECT_FALSE(headroom.keep(start + ArenaHeadroom::kInterval - std::chrono::milliseconds(1)));
    EXPECT_TRUE(headroom.keep(start + ArenaHeadroom::kInterval));
    EXPECT_FALSE(headroom.keep(start + ArenaHeadroom::kInterval));
}

// The feed's thread tops up as it hands a batch on, the UI thread as it runs posted work. Each
// side runs on a new thread here, whose first top-up is due at once.
TEST_F(BackendTest, TheFeedAndTheUiThreadEachTopUpTheirArenas) {
    registerFor(&view, 16);
    std::uint64_t feedTopUps = 0;
    std::thread([&] {
        backend->ingest({headlineEvent(16, 1, morning(), "台積電營收")});
        feedTopUps = arenaTopUpsOnThisThread();
    }).join();
    std::uint64_t uiTopUps = 0;
    std::thread([&] {
        dispatcher.runPending();
        uiTopUps = arenaTopUpsOnThisThread();
    }).join();
    EXPECT_EQ(feedTopUps, 1U);
    EXPECT_EQ(uiTopUps, 1U);
    EXPECT_EQ(view.pushes.size(), 1U);
}

#if defined(__GLIBC__) && !defined(__SANITIZE_ADDRESS__)
// Whether `bytes` more, in blocks too small to be mapped on their own, fit in the calling
// thread's arena as it is: the arenas' total size does not change while they are taken.
bool fitsWithoutGrowing(std::size_t bytes) {
    constexpr std::size_t kBlock = std::size_t{64} << 10;
    const std::size_t before = mallinfo2().arena;
    std::vector<void*> blocks;
    blocks.reserve(bytes / kBlock);
    for (std::size_t i = 0; i < bytes / kBlock; ++i) {
        blocks.push_back(std::malloc(kBlock)); // NOLINT(cppcoreguidelines-no-malloc)
    }
    const bool fits = mallinfo2().arena == before;
    for (void* block : blocks) {
        std::free(block); // NOLINT(cppcoreguidelines-no-malloc)
    }
    return fits;
}

void tuneAsTheBackEndDoes() {
    mallopt(M_MMAP_THRESHOLD, 32 << 20);
    mallopt(M_TRIM_THRESHOLD, 64 << 20);
}

TEST(ArenaHeadroom, ATopUpLeavesTheHeadroomFreeInTheCallingThreadsArena) {
    tuneAsTheBackEndDoes();
    bool fits = false;
    std::thread([&] {
        ArenaHeadroom headroom;
        headroom.keep(ArenaHeadroom::Clock::now());
        fits = fitsWithoutGrowing(ArenaHeadroom::kHeadroom - (std::size_t{1} << 20));
    }).join();
    EXPECT_TRUE(fits);
}

// A thread's first call reserves most of its arena's first heap, so that its usual working set
// needs no protection change at all.
TEST(ArenaHeadroom, AThreadsFirstCallReservesMostOfItsFirstHeap) {
    tuneAsTheBackEndDoes();
    bool fits = false;
    std::thread([&] {
        keepArenaHeadroom();
        fits = fitsWithoutGrowing(kFirstReserve - (std::size_t{2} << 20));
    }).join();
    EXPECT_TRUE(fits);
}

TEST(ArenaHeadroom, TheStoreWriterReservesItsArenaWhenItStarts) {
    tuneAsTheBackEndDoes();
    StoreWorker::Options o;
    o.niceIncrement = 0;
    StoreWorker worker(o);
    worker.start();
    std::atomic<bool> fits{false};
    worker.post([&](NewsStore&) { fits = fitsWithoutGrowing(std::size_t{30} << 20); });
    worker.flush();
    EXPECT_TRUE(fits);
}
#endif

} // namespace
} // namespace embedded::test
