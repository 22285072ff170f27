// The allocator arena of a busy thread grows in large steps ahead of need: reserved when the
// store's writer starts, and topped up at most once per interval on the feed and UI threads.
#include <thread>

#if defined(__GLIBC__)
#include <malloc.h>
#endif

#include <gtest/gtest.h>

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

#if defined(__GLIBC__) && !defined(__SANITIZE_ADDRESS__)
// Each check runs on a thread of its own, so it has an arena of its own to grow.
std::size_t arenaGrowthOnNewThread(const std::function<void()>& work) {
    mallopt(M_MMAP_THRESHOLD, 32 << 20); // as the back end sets them, so the arena keeps it
    mallopt(M_TRIM_THRESHOLD, 64 << 20);
    std::size_t grown = 0;
    std::thread([&] {
        delete new int(0); // the thread's arena exists before the first measure
        const std::size_t before = mallinfo2().arena;
        work();
        grown = mallinfo2().arena - before;
    }).join();
    return grown;
}

TEST(ArenaHeadroom, GrowsTheCallingThreadsArenaByTheHeadroom) {
    // Less what the new arena's first heap already had free.
    EXPECT_GE(arenaGrowthOnNewThread([] { keepArenaHeadroom(); }), ArenaHeadroom::kHeadroom - (std::size_t{1} << 20));
    EXPECT_EQ(arenaGrowthOnNewThread([] {}), 0U);
}

// The writer grows its allocator arena once when it starts rather than page by page later.
TEST(ArenaHeadroom, TheStoreWriterReservesItsArenaWhenItStarts) {
    const std::size_t grown = arenaGrowthOnNewThread([] {
        StoreWorker::Options o;
        o.niceIncrement = 0;
        o.reservedHeap = std::size_t{32} << 20;
        StoreWorker worker(o);
        worker.start();
        worker.flush();
    });
    EXPECT_GE(grown, std::size_t{30} << 20);
}
#endif

} // namespace
} // namespace embedded::test
