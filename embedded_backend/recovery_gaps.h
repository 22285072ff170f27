#pragma once

#include <cstdint>
#include <map>
#include <tuple>
#include <utility>
#include <vector>

#include "embedded_backend/feed_event.h"

namespace embedded {

// A set of sequence numbers kept as ranges: a day of news is one or a few ranges however many
// headlines it holds.
class SeqRanges {
public:
    // false when the number was there already.
    bool insert(std::int32_t seq);
    bool contains(std::int32_t seq) const;
    bool empty() const { return m_ranges.empty(); }
    // The highest number held; -1 when empty.
    std::int32_t highest() const { return m_ranges.empty() ? -1 : std::prev(m_ranges.end())->second; }
    // The ranges [first, last] between from and to (both included) that the set lacks.
    std::vector<std::pair<std::int32_t, std::int32_t>> missing(std::int32_t from, std::int32_t to) const;
    std::size_t rangeCount() const { return m_ranges.size(); }

private:
    std::map<std::int32_t, std::int32_t> m_ranges; // first -> last, disjoint and not touching
};

// The two ends of the link to the news server, as far as sequence numbers go. The server side
// keeps the headlines it sent that the link lost and the highest number it sent per service
// and day; the terminal side keeps which numbers arrived. A number that arrives beyond the
// next one expected, or a server that reports a higher number at a reconnection, reveals a gap,
// and the terminal asks the server for the numbers of the gap.
// Thread: the owner's (Ingest keeps it under its lock).
class LinkGaps {
public:
    using Key = std::pair<unsigned char, int>; // service, news day

    // The server sent a headline that the link lost.
    void lost(const FeedEvent& event, int day);
    // A headline reached the terminal; returns the gap it reveals (empty: none).
    std::vector<std::pair<std::int32_t, std::int32_t>> received(unsigned char service, int day, std::int32_t seq);
    // Every gap between what arrived and the highest number the server sent, per service and
    // day: what a reconnection asks for.
    std::vector<std::tuple<unsigned char, int, std::int32_t, std::int32_t>> gapsToServerHigh() const;
    // The server's answer to a gap: the lost headlines with numbers in [first, last], in
    // number order, taken out of the server's keeping.
    std::vector<FeedEvent> fetch(unsigned char service, int day, std::int32_t first, std::int32_t last);
    // Forgets the days of a service before keepFrom.
    void dropBefore(unsigned char service, int keepFrom);

    std::size_t lostWaiting() const { return m_lost.size(); }

private:
    std::map<Key, SeqRanges> m_received;
    std::map<Key, std::int32_t> m_serverHigh;
    std::map<std::tuple<unsigned char, int, std::int32_t>, FeedEvent> m_lost;
};

} // namespace embedded
