#include "embedded_backend/wake_signal.h"

#ifdef __linux__
#include <climits>
#include <ctime>

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>
#else
#include <thread>
#endif

namespace embedded {

#ifdef __linux__

// The kernel sleeps on the word itself and compares it with the ticket first, so a notify()
// between ticket() and the wait makes the wait return at once.
void WakeSignal::wait(std::uint32_t ticket, const Clock::time_point* deadline) {
    static_assert(std::atomic_ref<std::uint32_t>::is_always_lock_free);
    timespec at{};
    if (deadline != nullptr) {
        // steady_clock is CLOCK_MONOTONIC here, the clock an absolute futex wait measures by.
        const auto since = deadline->time_since_epoch();
        const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(since);
        at.tv_sec = static_cast<time_t>(seconds.count());
        at.tv_nsec = static_cast<long>(std::chrono::duration_cast<std::chrono::nanoseconds>(since - seconds).count());
    }
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-vararg): the futex call has no other form
    syscall(SYS_futex, &m_word, FUTEX_WAIT_BITSET_PRIVATE, ticket, deadline != nullptr ? &at : nullptr, nullptr,
            FUTEX_BITSET_MATCH_ANY);
}

void WakeSignal::notify() {
    word().fetch_add(1);
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-vararg): the futex call has no other form
    syscall(SYS_futex, &m_word, FUTEX_WAKE_PRIVATE, INT_MAX, nullptr, nullptr, 0);
}

#else

// Without futexes: an untimed wait sleeps on the atomic itself; a timed one looks again every
// millisecond until its deadline.
void WakeSignal::wait(std::uint32_t ticket, const Clock::time_point* deadline) {
    if (deadline == nullptr) {
        word().wait(ticket);
        return;
    }
    while (word().load() == ticket && Clock::now() < *deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

void WakeSignal::notify() {
    word().fetch_add(1);
    word().notify_all();
}

#endif

} // namespace embedded
