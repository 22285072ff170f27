#include "adapters/headless/virtual_clock.h"

#include <algorithm>

namespace headless {

std::vector<VirtualClock::Entry>::iterator VirtualClock::findEntry(const TimerTarget* target, unsigned id) {
    return std::find_if(m_entries.begin(), m_entries.end(),
                        [&](const Entry& e) { return e.state.target == target && e.state.id == id; });
}

void VirtualClock::setTimer(TimerTarget* target, unsigned id, unsigned intervalMs) {
    if (target == nullptr) {
        return;
    }
    const unsigned interval = std::max(intervalMs, kMinimumIntervalMs);
    Entry entry{TimerState{target, id, interval, m_nowMs + interval}, m_nextOrder++};
    const auto it = findEntry(target, id);
    if (it != m_entries.end()) {
        *it = entry;
    } else {
        m_entries.push_back(entry);
    }
}

void VirtualClock::killTimer(TimerTarget* target, unsigned id) {
    const auto it = findEntry(target, id);
    if (it != m_entries.end()) {
        m_entries.erase(it);
    }
}

void VirtualClock::killTimers(TimerTarget* target) {
    std::erase_if(m_entries, [&](const Entry& e) { return e.state.target == target; });
}

bool VirtualClock::hasTimer(const TimerTarget* target, unsigned id) const {
    return std::any_of(m_entries.begin(), m_entries.end(),
                       [&](const Entry& e) { return e.state.target == target && e.state.id == id; });
}

std::vector<VirtualClock::TimerState> VirtualClock::timers() const {
    std::vector<Entry> sorted = m_entries;
    std::sort(sorted.begin(), sorted.end(), [](const Entry& a, const Entry& b) {
        return a.state.dueMs != b.state.dueMs ? a.state.dueMs < b.state.dueMs : a.order < b.order;
    });
    std::vector<TimerState> result;
    result.reserve(sorted.size());
    for (const Entry& e : sorted) {
        result.push_back(e.state);
    }
    return result;
}

std::int64_t VirtualClock::nextDueMs() const {
    std::int64_t due = -1;
    for (const Entry& e : m_entries) {
        if (due < 0 || e.state.dueMs < due) {
            due = e.state.dueMs;
        }
    }
    return due;
}

int VirtualClock::advanceTo(std::int64_t targetMs) {
    int fired = 0;
    while (true) {
        // Re-scanned after every fire: the handler may have changed any timer.
        auto next = m_entries.end();
        for (auto it = m_entries.begin(); it != m_entries.end(); ++it) {
            if (it->state.dueMs <= targetMs && (next == m_entries.end() || it->state.dueMs < next->state.dueMs ||
                                                (it->state.dueMs == next->state.dueMs && it->order < next->order))) {
                next = it;
            }
        }
        if (next == m_entries.end()) {
            break;
        }
        m_nowMs = std::max(m_nowMs, next->state.dueMs);
        // Re-armed before the handler runs, so that a handler's own setTimer or killTimer wins.
        next->state.dueMs = m_nowMs + next->state.intervalMs;
        next->order = m_nextOrder++;
        TimerTarget* target = next->state.target;
        const unsigned id = next->state.id;
        target->fireTimer(id);
        ++fired;
        if (m_afterFire) {
            m_afterFire();
        }
    }
    m_nowMs = std::max(m_nowMs, targetMs);
    return fired;
}

} // namespace headless
