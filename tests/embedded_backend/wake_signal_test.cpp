// The lock-free wake-up of the store writer: no wake-up is lost between taking a ticket and
// sleeping, a sleeper is woken, and a deadline ends a wait nobody ends.
#include <atomic>
#include <thread>

#include <gtest/gtest.h>

#include "embedded_backend/wake_signal.h"

namespace embedded::test {
namespace {

using Clock = WakeSignal::Clock;

TEST(WakeSignal, AWakeUpAfterTheTicketEndsTheWaitAtOnce) {
    WakeSignal signal;
    const std::uint32_t ticket = signal.ticket();
    signal.notify(); // before the sleeper waits: must not be lost
    const Clock::time_point deadline = Clock::now() + std::chrono::seconds(20);
    signal.wait(ticket, &deadline);
    EXPECT_LT(Clock::now(), deadline);
    EXPECT_NE(signal.ticket(), ticket);
}

TEST(WakeSignal, ASleeperIsWokenAndADeadlineEndsAWaitNobodyEnds) {
    WakeSignal signal;
    std::atomic<bool> waiting{false};
    Clock::time_point woken;
    const Clock::time_point deadline = Clock::now() + std::chrono::seconds(20);
    std::thread sleeper([&] {
        const std::uint32_t ticket = signal.ticket();
        waiting = true;
        signal.wait(ticket, &deadline);
        woken = Clock::now();
    });
    while (!waiting) {
        std::this_thread::yield();
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(20)); // most likely asleep by now
    signal.notify();
    sleeper.join();
    EXPECT_LT(woken, deadline);

    const Clock::time_point soon = Clock::now() + std::chrono::milliseconds(30);
    signal.wait(signal.ticket(), &soon);
    EXPECT_GE(Clock::now(), soon);
}

} // namespace
} // namespace embedded::test
