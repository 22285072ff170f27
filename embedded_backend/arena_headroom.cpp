#include "embedded_backend/arena_headroom.h"

#include <cstdlib>
#include <vector>

namespace embedded {

namespace {

#if defined(__GLIBC__) && !defined(__SANITIZE_ADDRESS__)
constexpr bool kShapesArena = true;
#else
constexpr bool kShapesArena = false;
#endif

// Allocates and frees `bytes` in one block; `volatile` keeps the compiler from dropping the
// pair, which it may do for an allocation nothing reads.
void takeAndGiveBack(std::size_t bytes) {
    void* volatile block = std::malloc(bytes); // NOLINT(cppcoreguidelines-no-malloc)
    std::free(block);                          // NOLINT(cppcoreguidelines-no-malloc)
}

// Grows the calling thread's arena once by `bytes`, in blocks served from the arena under the
// mapping threshold the back end sets.
void reserveArena(std::size_t bytes) {
    if constexpr (kShapesArena) {
        // Far below the back end's mapping threshold, and large enough that the blocks' headers
        // touch few pages (they stay resident with the arena).
        constexpr std::size_t kBlock = std::size_t{1} << 20;
        std::vector<void*> blocks;
        blocks.reserve(bytes / kBlock);
        for (std::size_t i = 0; i < bytes / kBlock; ++i) {
            blocks.push_back(std::malloc(kBlock)); // NOLINT(cppcoreguidelines-no-malloc)
        }
        for (void* block : blocks) {
            std::free(block); // NOLINT(cppcoreguidelines-no-malloc)
        }
    }
}

} // namespace

bool ArenaHeadroom::keep(Clock::time_point now) {
    if (now < m_next) {
        return false;
    }
    m_next = now + kInterval;
    if constexpr (kShapesArena) {
        // Served from the top of the arena, growing it by what is missing in one call, and
        // given back to the top: below the trim threshold the arena keeps it.
        takeAndGiveBack(kHeadroom);
    }
    return true;
}

namespace {
thread_local ArenaHeadroom t_headroom;
thread_local bool t_reserved = false;
thread_local std::uint64_t t_topUps = 0;
} // namespace

void keepArenaHeadroom() {
    if (!t_reserved) {
        t_reserved = true;
        reserveArena(kFirstReserve);
    }
    if (t_headroom.keep(ArenaHeadroom::Clock::now())) {
        ++t_topUps;
    }
}

std::uint64_t arenaTopUpsOnThisThread() {
    return t_topUps;
}

} // namespace embedded
