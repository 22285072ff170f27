#include "embedded_backend/recovery_gaps.h"

#include <algorithm>
#include <iterator>

namespace embedded {

bool SeqRanges::insert(std::int32_t seq) {
    // The range starting at or before seq, if any.
    auto next = m_ranges.upper_bound(seq);
    if (next != m_ranges.begin()) {
        auto prev = std::prev(next);
        if (seq <= prev->second) {
            return false;
        }
        if (prev->second == seq - 1) {
            prev->second = seq;
            if (next != m_ranges.end() && next->first == seq + 1) {
                prev->second = next->second;
                m_ranges.erase(next);
            }
            return true;
        }
    }
    if (next != m_ranges.end() && next->first == seq + 1) {
        const std::int32_t last = next->second;
        m_ranges.erase(next);
        m_ranges.emplace(seq, last);
        return true;
    }
    m_ranges.emplace(seq, seq);
    return true;
}

bool SeqRanges::contains(std::int32_t seq) const {
    const auto next = m_ranges.upper_bound(seq);
    return next != m_ranges.begin() && seq <= std::prev(next)->second;
}

std::vector<std::pair<std::int32_t, std::int32_t>> SeqRanges::missing(std::int32_t from, std::int32_t to) const {
    std::vector<std::pair<std::int32_t, std::int32_t>> gaps;
    std::int32_t at = from;
    auto it = m_ranges.upper_bound(from);
    if (it != m_ranges.begin()) {
        --it;
    }
    for (; it != m_ranges.end() && at <= to; ++it) {
        if (it->second < at) {
            continue;
        }
        if (it->first > at) {
            gaps.emplace_back(at, std::min(to, it->first - 1));
        }
        at = it->second + 1;
    }
    if (at <= to) {
        gaps.emplace_back(at, to);
    }
    return gaps;
}

void LinkGaps::lost(const FeedEvent& event, int day) {
    const Key key{event.service, day};
    std::int32_t& high = m_serverHigh.try_emplace(key, -1).first->second;
    high = std::max(high, event.seq);
    FeedEvent kept = event;
    kept.lost = false;
    // A later version of the same headline (a re-send) replaces the earlier one.
    m_lost[{event.service, day, event.seq}] = std::move(kept);
}

std::vector<std::pair<std::int32_t, std::int32_t>> LinkGaps::received(unsigned char service, int day,
                                                                      std::int32_t seq) {
    const Key key{service, day};
    std::int32_t& high = m_serverHigh.try_emplace(key, -1).first->second;
    high = std::max(high, seq);
    SeqRanges& arrived = m_received[key];
    const std::int32_t before = arrived.highest();
    arrived.insert(seq);
    // Numbers start wherever a service starts them: only what lies between two arrivals is a gap.
    if (before < 0 || seq <= before + 1) {
        return {};
    }
    return arrived.missing(before + 1, seq - 1);
}

std::vector<std::tuple<unsigned char, int, std::int32_t, std::int32_t>> LinkGaps::gapsToServerHigh() const {
    std::vector<std::tuple<unsigned char, int, std::int32_t, std::int32_t>> gaps;
    for (const auto& [key, high] : m_serverHigh) {
        const auto arrived = m_received.find(key);
        std::int32_t from = 0;
        if (arrived != m_received.end() && !arrived->second.empty()) {
            from = arrived->second.highest() + 1;
        } else {
            // Nothing of the day arrived: the day starts at the first number the server kept.
            const auto first = m_lost.lower_bound({key.first, key.second, 0});
            if (first == m_lost.end() || std::get<0>(first->first) != key.first ||
                std::get<1>(first->first) != key.second) {
                continue;
            }
            from = std::get<2>(first->first);
        }
        if (from <= high) {
            gaps.emplace_back(key.first, key.second, from, high);
        }
    }
    return gaps;
}

std::vector<FeedEvent> LinkGaps::fetch(unsigned char service, int day, std::int32_t first, std::int32_t last) {
    std::vector<FeedEvent> found;
    auto it = m_lost.lower_bound({service, day, first});
    while (it != m_lost.end() && std::get<0>(it->first) == service && std::get<1>(it->first) == day &&
           std::get<2>(it->first) <= last) {
        found.push_back(std::move(it->second));
        it = m_lost.erase(it);
    }
    return found;
}

void LinkGaps::dropBefore(unsigned char service, int keepFrom) {
    const auto old = [&](const Key& key) { return key.first == service && key.second < keepFrom; };
    std::erase_if(m_received, [&](const auto& item) { return old(item.first); });
    std::erase_if(m_serverHigh, [&](const auto& item) { return old(item.first); });
    std::erase_if(m_lost, [&](const auto& item) {
        return std::get<0>(item.first) == service && std::get<1>(item.first) < keepFrom;
    });
}

} // namespace embedded
