#pragma once

#include <atomic>
#include <cstdint>

#include "host/framework/clock.h"

namespace newsterm {

// The terminal's notion of now: a base clock (the system's) moved ahead by whole days when the
// back end's news day is later than the base clock's date, as after a simulated new news day.
// The view takes "today" from it, the back end stamps news with it, so the day the user may
// pick, the day news is filed under and the store agree. The shift only ever grows and keeps
// the time of day; a restart derives it again from the stored news day.
// Thread: any (the generator reads it on its feed thread).
class TermClock final : public host::Clock {
public:
    explicit TermClock(const host::Clock& base) : m_base(base) {}

    std::int64_t nowMs() const override { return m_base.nowMs() + m_shiftMs.load(std::memory_order_relaxed); }
    // Moves the clock ahead by whole local days until its date is at least `yyyymmdd`; a day
    // the clock has reached already changes nothing.
    void followNewsDay(int yyyymmdd);

private:
    const host::Clock& m_base;
    std::atomic<std::int64_t> m_shiftMs{0};
};

} // namespace newsterm
