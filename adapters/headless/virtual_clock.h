#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "host/framework/clock.h"

namespace headless {

// Something that owns timers on the virtual clock (a headless window).
class TimerTarget {
public:
    virtual void fireTimer(unsigned id) = 0;

protected:
    ~TimerTarget() = default;
};

// A clock that never moves by itself: a test moves it with advanceBy / advanceTo, and every
// timer that falls due on the way fires in time order (timers due at the same moment fire in
// the order they were armed). Timers repeat until killed, like window timers.
// Ownership: targets are not owned and must kill their timers before they die.
// Thread: UI thread. Re-entrancy: a timer handler may arm, re-arm or kill any timer, and may
// destroy targets (after killing their timers); the clock re-reads its timers after every fire.
class VirtualClock : public host::Clock {
public:
    // 2024-01-02 09:00:00 in Taipei (01:00 UTC): a trading-day morning.
    static constexpr std::int64_t kDefaultStartMs = 1704157200000;
    // Shorter intervals are raised to this, as window timers are.
    static constexpr unsigned kMinimumIntervalMs = 10;

    explicit VirtualClock(std::int64_t startMs = kDefaultStartMs) : m_nowMs(startMs) {}

    std::int64_t nowMs() const override { return m_nowMs; }

    // Arms (or re-arms from now) the timer id of target.
    void setTimer(TimerTarget* target, unsigned id, unsigned intervalMs);
    void killTimer(TimerTarget* target, unsigned id);
    void killTimers(TimerTarget* target);
    bool hasTimer(const TimerTarget* target, unsigned id) const;

    struct TimerState {
        TimerTarget* target = nullptr; // not owned
        unsigned id = 0;
        unsigned intervalMs = 0;
        std::int64_t dueMs = 0;
    };
    // Armed timers in firing order.
    std::vector<TimerState> timers() const;
    // Due time of the next timer, or -1 when none is armed.
    std::int64_t nextDueMs() const;

    // Moves time forward, firing due timers; returns how many fired. A target earlier than
    // now leaves the clock where it is.
    int advanceTo(std::int64_t targetMs);
    int advanceBy(std::int64_t deltaMs) { return advanceTo(m_nowMs + (deltaMs > 0 ? deltaMs : 0)); }

    // Called after each fired timer (the headless UI host delivers posted messages there).
    void setAfterFire(std::function<void()> hook) { m_afterFire = std::move(hook); }

private:
    struct Entry {
        TimerState state;
        std::uint64_t order = 0; // arming order, breaks ties between equal due times
    };
    std::vector<Entry>::iterator findEntry(const TimerTarget* target, unsigned id);

    std::int64_t m_nowMs;
    std::uint64_t m_nextOrder = 0;
    std::vector<Entry> m_entries;
    std::function<void()> m_afterFire;
};

} // namespace headless
