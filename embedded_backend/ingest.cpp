#include "embedded_backend/ingest.h"

#include <algorithm>

#include "embedded_backend/day_math.h"

namespace embedded {

Ingest::Ingest(int daysToKeep, Sink toUi, Sink toStore, std::size_t heldLimit)
    : m_daysToKeep(std::max(1, daysToKeep)), m_heldLimit(std::max<std::size_t>(1, heldLimit)), m_toUi(std::move(toUi)),
      m_toStore(std::move(toStore)) {}

void Ingest::restore(const std::map<unsigned char, int>& currentDays, bool connected) {
    std::lock_guard lock(m_mutex);
    m_days = currentDays;
    m_connected = connected;
}

int Ingest::keepFrom(int day) const {
    return addDays(day, 1 - m_daysToKeep);
}

Ingest::Stats Ingest::stats() const {
    std::lock_guard lock(m_mutex);
    Stats s = m_stats;
    s.held = m_held.size();
    s.lost = m_gaps.lostWaiting();
    return s;
}

void Ingest::send(NewsBatch& batch, bool toStore) {
    if (batch.changes.empty()) {
        return;
    }
    if (batch.recovery) {
        m_stats.recovered += static_cast<std::uint64_t>(
            std::count_if(batch.changes.begin(), batch.changes.end(),
                          [](const NewsChange& c) { return std::holds_alternative<HeadlineRecord>(c); }));
    }
    auto shared = std::make_shared<const NewsBatch>(std::move(batch));
    batch = NewsBatch{};
    // The UI first: a search answered by the store after this write finds the headline in
    // the cache too, since both answers travel through the same UI queue behind this batch.
    if (m_toUi) {
        m_toUi(shared);
    }
    const bool storable = std::any_of(shared->changes.begin(), shared->changes.end(),
                                      [](const NewsChange& c) { return !std::holds_alternative<ConnectionChange>(c); });
    if (toStore && storable && m_toStore) {
        m_toStore(std::move(shared));
    }
}

int Ingest::ensureDay(unsigned char service, std::int64_t time, NewsBatch& batch) {
    const auto it = m_days.find(service);
    if (it != m_days.end()) {
        return it->second;
    }
    // A service heard of for the first time starts on the local date of its first event.
    const int day = localDayOf(time);
    if (!isValidDay(day)) {
        return 0;
    }
    m_days[service] = day;
    batch.changes.emplace_back(DayChange{service, day, keepFrom(day)});
    return day;
}

HeadlineRecord headlineRecordOf(FeedEvent&& event, int day) {
    // The event is spent: its texts move into the record rather than being copied.
    HeadlineRecord h;
    h.service = event.service;
    h.day = day;
    h.seq = event.seq;
    h.time = event.time;
    h.category = event.category;
    h.title = std::move(event.title);
    h.symbols = std::move(event.symbols);
    h.sortKey = makeSortKey(event.time, event.seq, event.service);
    return h;
}

HeadlineRecord headlineRecordOf(const FeedEvent& event, int day) {
    return headlineRecordOf(FeedEvent(event), day);
}

void Ingest::convert(FeedEvent& e, NewsBatch& batch) {
    switch (e.kind) {
    case FeedEventKind::Headline:
    case FeedEventKind::Resend: {
        if (e.service == 0 || e.title.empty() || e.time < 0 || e.time > kMaxTime || e.seq < 0 || e.seq > kMaxSeq) {
            ++m_stats.rejected;
            return;
        }
        const int day = ensureDay(e.service, e.time, batch);
        if (day == 0) {
            ++m_stats.rejected;
            return;
        }
        if (e.lost) {
            m_gaps.lost(e, day);
            return; // counted when a gap brings it
        }
        if (!e.categoryName.empty() && m_namedCategories.insert({e.service, e.category}).second) {
            batch.changes.emplace_back(CategoryRecord{e.service, e.category, e.categoryName});
        }
        for (const auto& [first, last] : m_gaps.received(e.service, day, e.seq)) {
            m_pendingGaps.emplace_back(e.service, day, first, last);
        }
        // Only the title and symbols move out: the story and the numbers are still read below.
        HeadlineRecord h = headlineRecordOf(std::move(e), day);
        // The story first: it then waits for the headline, which the store indexes once with
        // its story instead of indexing the title alone and then both again.
        if (e.story) {
            batch.changes.emplace_back(StoryRecord{e.service, day, e.seq, e.time, std::move(*e.story), true});
        }
        batch.changes.emplace_back(std::move(h));
        break;
    }
    case FeedEventKind::Story: {
        const int day = e.day != 0 ? e.day : ensureDay(e.service, e.time, batch);
        if (e.service == 0 || !e.story || !isValidDay(day)) {
            ++m_stats.rejected;
            return;
        }
        batch.changes.emplace_back(StoryRecord{e.service, day, e.seq, e.time, std::move(*e.story), false});
        break;
    }
    case FeedEventKind::NewDay: {
        if (e.service == 0) {
            ++m_stats.rejected;
            return;
        }
        const auto it = m_days.find(e.service);
        const int today = localDayOf(e.time);
        int day = e.day;
        if (day == 0) {
            // Without a date the day after the current one, or today's date when that is later.
            day = it == m_days.end() ? today : std::max(addDays(it->second, 1), today);
        }
        if (!isValidDay(day) || (it != m_days.end() && day <= it->second)) {
            ++m_stats.rejected;
            return;
        }
        m_days[e.service] = day;
        m_gaps.dropBefore(e.service, keepFrom(day));
        batch.changes.emplace_back(DayChange{e.service, day, keepFrom(day)});
        break;
    }
    case FeedEventKind::Disconnect:
    case FeedEventKind::Reconnect:
        return; // handled by submit
    case FeedEventKind::Quote:
        ++m_stats.rejected; // trades go to the quote book, never through the news ingest
        return;
    case FeedEventKind::StreamMark:
        batch.changes.emplace_back(StreamPosition{e.service, std::move(e.streamId), e.entryNo});
        return; // a bookmark, not news
    }
    ++m_stats.accepted;
}

void Ingest::submit(std::vector<FeedEvent> events) {
    std::lock_guard lock(m_mutex);
    NewsBatch batch;
    for (FeedEvent& e : events) {
        if (e.kind == FeedEventKind::Disconnect) {
            if (m_connected) {
                send(batch, true);
                m_connected = false;
                batch.changes.emplace_back(ConnectionChange{false});
                send(batch, false);
            }
            continue;
        }
        if (e.kind == FeedEventKind::Reconnect) {
            if (!m_connected) {
                send(batch, true);
                m_connected = true;
                NewsBatch recovery;
                recovery.recovery = true;
                recovery.changes.emplace_back(ConnectionChange{true});
                convertHeld(recovery);
                // The server's highest numbers show what the link lost besides.
                for (const auto& gap : m_gaps.gapsToServerHigh()) {
                    m_pendingGaps.push_back(gap);
                }
                fillGaps(recovery);
                send(recovery, true);
            }
            continue;
        }
        if (!m_connected) {
            m_held.push_back(std::move(e));
            m_stats.heldPeak = std::max(m_stats.heldPeak, m_held.size());
            if (m_held.size() >= m_heldLimit) {
                // A long disconnection: what is held so far goes on as a part of the recovery
                // the reconnection will announce.
                NewsBatch part;
                part.recovery = true;
                part.partial = true;
                convertHeld(part);
                send(part, true);
            }
            continue;
        }
        convert(e, batch);
        if (batch.changes.size() >= kMaxBatch) {
            send(batch, true);
        }
    }
    send(batch, true);
    if (m_connected && !m_pendingGaps.empty()) {
        NewsBatch recovery;
        recovery.recovery = true;
        fillGaps(recovery);
        send(recovery, true);
    }
}

void Ingest::fillGaps(NewsBatch& recovery) {
    // What a gap brings may reveal another gap; ask until none is left.
    while (!m_pendingGaps.empty()) {
        const auto gaps = std::move(m_pendingGaps);
        m_pendingGaps.clear();
        for (const auto& [service, day, first, last] : gaps) {
            ++m_stats.gaps;
            for (FeedEvent& e : m_gaps.fetch(service, day, first, last)) {
                convert(e, recovery);
            }
        }
    }
}

void Ingest::convertHeld(NewsBatch& batch) {
    std::map<unsigned char, std::size_t> lastMark;
    for (std::size_t i = 0; i < m_held.size(); ++i) {
        if (m_held[i].kind == FeedEventKind::StreamMark) {
            lastMark[m_held[i].service] = i;
        }
    }
    for (std::size_t i = 0; i < m_held.size(); ++i) {
        FeedEvent& held = m_held[i];
        if (held.kind != FeedEventKind::StreamMark || lastMark[held.service] == i) {
            convert(held, batch);
        }
    }
    m_held.clear();
}

void Ingest::releaseHeldToStore() {
    std::lock_guard lock(m_mutex);
    if (m_held.empty()) {
        return;
    }
    NewsBatch batch;
    convertHeld(batch);
    if (!batch.changes.empty() && m_toStore) {
        m_toStore(std::make_shared<const NewsBatch>(std::move(batch)));
    }
}

} // namespace embedded
