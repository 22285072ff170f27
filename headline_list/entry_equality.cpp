#include "headline_list/entry_equality.h"

std::size_t EntryEquality::DayKeyHash::operator()(const DayKey& key) const noexcept {
    std::uint64_t h = static_cast<std::uint64_t>(key.day) * 0x9E3779B97F4A7C15ULL;
    h ^= (static_cast<std::uint64_t>(static_cast<std::uint32_t>(key.seqNo)) << 8 | key.service) +
         0x7F4A7C159E3779B9ULL + (h << 6) + (h >> 2);
    h ^= static_cast<std::uint64_t>(key.rawTime) + (h << 6) + (h >> 2);
    return static_cast<std::size_t>(h);
}

EntryEquality::DayKey EntryEquality::makeKey(unsigned char service, std::int32_t seqNo, std::int64_t time) {
    const std::int64_t day = m_days.dayKey(time);
    return DayKey{service, seqNo, day, day == LocalDayCache::kNoDay ? time : 0};
}
