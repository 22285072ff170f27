#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>

namespace embedded {

// glibc grows a thread's allocator arena past its high-water mark one page at a time, with one
// mprotect call per page. Each call takes the process's address-space lock and the heap's
// reverse-map lock for writing; a kernel thread that walks the reverse map (page reclaim, a
// memory monitor) and is descheduled while holding it for reading held a feed in that call for
// close to a second. A busy feed or UI thread grew its arena hundreds of times a second.
// These helpers make the arena grow in large steps instead, ahead of need: the memory is
// reserved, not touched, and stays with the arena while it is below the trim threshold (set by
// the back end). No effect outside glibc or under AddressSanitizer.

// What a thread reserves the first time it keeps headroom: most of its arena's first heap
// (64 MB), which then never changes its protection again.
inline constexpr std::size_t kFirstReserve = std::size_t{56} << 20;

// Keeps `headroom` bytes ready at the top of the calling thread's arena, looking at most once
// per `interval`: a thread that has used some of it since grows its arena again in one step.
class ArenaHeadroom {
public:
    using Clock = std::chrono::steady_clock;
    static constexpr std::size_t kHeadroom = std::size_t{8} << 20;
    static constexpr std::chrono::milliseconds kInterval{100};

    // Tops the arena up when `interval` has passed since the last time; true when it did.
    bool keep(Clock::time_point now);

private:
    Clock::time_point m_next{};
};

// ArenaHeadroom::keep for the calling thread, now; cheap enough to call for every batch. The
// first call on a thread reserves kFirstReserve instead: a recording still caught a feed
// blocked for 2.4 s in one of the top-ups' own mprotect calls, so the thread's usual working
// set should need none.
void keepArenaHeadroom();
// How many times keepArenaHeadroom has topped up the calling thread's arena.
std::uint64_t arenaTopUpsOnThisThread();

} // namespace embedded
