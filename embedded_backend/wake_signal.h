#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>

namespace embedded {

// Wakes a sleeping thread without a lock on either side. The waking side never blocks, so a
// sleeper that the scheduler puts aside at any point (a low-priority worker on a busy machine)
// can never hold up the threads that wake it.
// Use: the sleeper takes a ticket, then checks for work, then waits with the ticket; a waker
// makes its work visible, then calls notify(). A notify() after the ticket was taken makes the
// wait return at once, so no wake-up is lost between the check and the wait.
// Thread: any number of wakers and sleepers.
class WakeSignal {
public:
    using Clock = std::chrono::steady_clock;

    std::uint32_t ticket() const { return word().load(); }
    // Returns after a notify() since `ticket` was taken, once `deadline` has passed (when set),
    // or early without either (a signal interrupted the wait): callers check again and loop.
    void wait(std::uint32_t ticket, const Clock::time_point* deadline);
    void notify();

private:
    // The kernel waits on a plain 32-bit word; the code reads and writes it atomically.
    std::atomic_ref<std::uint32_t> word() const { return std::atomic_ref<std::uint32_t>(m_word); }

    alignas(std::atomic_ref<std::uint32_t>::required_alignment) mutable std::uint32_t m_word = 0;
};

} // namespace embedded
