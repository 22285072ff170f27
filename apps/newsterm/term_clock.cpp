#include "apps/newsterm/term_clock.h"

#include "embedded_backend/day_math.h"

namespace newsterm {

void TermClock::followNewsDay(int yyyymmdd) {
    if (!embedded::isValidDay(yyyymmdd) || embedded::localDayOf(now()) >= yyyymmdd) {
        return;
    }
    const int baseDay = embedded::localDayOf(m_base.now());
    // Local midnights, so that a day with a daylight-saving change still moves by one date.
    const std::int64_t shift = embedded::localMidnightOf(yyyymmdd) - embedded::localMidnightOf(baseDay);
    m_shiftMs.store(shift * 1000, std::memory_order_relaxed);
}

} // namespace newsterm
