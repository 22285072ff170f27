#include "embedded_backend/stream_feed.h"

#include <algorithm>

#include <hiredis.h>

#ifdef __linux__
#include <pthread.h>
#endif

namespace embedded {

namespace {

std::string_view stringOf(const redisReply* r) {
    return r != nullptr && r->str != nullptr ? std::string_view(r->str, r->len) : std::string_view{};
}

// The id and fields of one stream entry of a reply; false when it is not shaped like one.
bool entryOf(const redisReply* entry, std::string_view& id,
             std::vector<std::pair<std::string_view, std::string_view>>& fields) {
    fields.clear();
    if (entry == nullptr || entry->type != REDIS_REPLY_ARRAY || entry->elements < 2 ||
        entry->element[0]->type != REDIS_REPLY_STRING) {
        return false;
    }
    id = stringOf(entry->element[0]);
    const redisReply* list = entry->element[1];
    if (list->type != REDIS_REPLY_ARRAY) {
        return true; // an entry without fields decodes as a bad one
    }
    for (std::size_t i = 0; i + 1 < list->elements; i += 2) {
        fields.emplace_back(stringOf(list->element[i]), stringOf(list->element[i + 1]));
    }
    return true;
}

// The same for an entry of a compact reply.
bool entryOf(const CompactReply& reply, const CompactReply::Node& entry, std::string_view& id,
             std::vector<std::pair<std::string_view, std::string_view>>& fields) {
    fields.clear();
    if (entry.type != REDIS_REPLY_ARRAY || entry.count < 2 || !reply.isString(reply.element(entry, 0))) {
        return false;
    }
    id = reply.text(reply.element(entry, 0));
    const CompactReply::Node& list = reply.element(entry, 1);
    if (list.type != REDIS_REPLY_ARRAY) {
        return true; // an entry without fields decodes as a bad one
    }
    for (std::size_t i = 0; i + 1 < list.count; i += 2) {
        const CompactReply::Node& name = reply.element(list, i);
        const CompactReply::Node& value = reply.element(list, i + 1);
        fields.emplace_back(reply.isString(name) ? reply.text(name) : std::string_view{},
                            reply.isString(value) ? reply.text(value) : std::string_view{});
    }
    return true;
}

FeedEvent linkEvent(FeedEventKind kind) {
    FeedEvent e;
    e.kind = kind;
    e.time =
        std::chrono::duration_cast<std::chrono::seconds>(std::chrono::system_clock::now().time_since_epoch()).count();
    return e;
}

} // namespace

void StreamFeed::start(StreamFeedOptions options, Sink sink) {
    stop();
    m_options = std::move(options);
    m_sink = std::move(sink);
    m_positions.clear();
    m_moved.clear();
    for (const unsigned char service : m_options.services) {
        StreamPosition p{service, "0-0", 0};
        if (const auto it = m_options.positions.find(service); it != m_options.positions.end()) {
            p = it->second;
            if (!stream::parseEntryId(p.entryId)) {
                p.entryId = "0-0";
            }
        }
        m_positions[service] = p;
    }
    {
        std::lock_guard lock(m_mutex);
        m_stats = Stats{};
        m_stats.connected = m_options.startConnected;
    }
    m_thread.start([this] { run(); });
}

StreamFeed::Stats StreamFeed::stats() const {
    std::lock_guard lock(m_mutex);
    return m_stats;
}

void StreamFeed::setError(const std::string& error) {
    std::lock_guard lock(m_mutex);
    m_stats.lastError = error;
}

void StreamFeed::run() {
#ifdef __linux__
    pthread_setname_np(pthread_self(), "news-feed");
#endif
    RedisConnection connection;
    bool up = m_options.startConnected;
    std::chrono::milliseconds retry = m_options.firstRetry;
    const auto goDown = [&] {
        if (up) {
            m_sink({linkEvent(FeedEventKind::Disconnect)});
            up = false;
            std::lock_guard lock(m_mutex);
            m_stats.connected = false;
        }
    };
    const auto waitRetry = [&] {
        const bool go = m_thread.waitUntil(std::chrono::steady_clock::now() + retry);
        retry = std::min(retry * 2, m_options.lastRetry);
        return go;
    };
    while (!m_thread.stopping()) {
        std::string error;
        if (!connection.connect(m_options.address, m_options.timeout, error)) {
            setError(error);
            goDown();
            if (!waitRetry()) {
                return;
            }
            continue;
        }
        {
            std::lock_guard lock(m_mutex);
            ++m_stats.connections;
        }
        // Everything missed first, held by the ingest while the views are disconnected; the
        // reconnection then hands it to them as one recovery.
        bool ok = checkRollback(connection);
        if (ok && !up) {
            // Caught up once a read brings fewer entries than it may: every stream was read to
            // its end at that moment. Waiting for an empty read would never end on a busy feed.
            const auto full = static_cast<long>(std::max<std::size_t>(1, m_options.count));
            long got = 0;
            while ((got = readOnce(connection, false)) >= full && !m_thread.stopping()) {
            }
            ok = got >= 0;
            if (ok) {
                m_sink({linkEvent(FeedEventKind::Reconnect)});
                up = true;
                std::lock_guard lock(m_mutex);
                m_stats.connected = true;
            }
        }
        if (ok) {
            retry = m_options.firstRetry;
            while (!m_thread.stopping() && readOnce(connection, true) >= 0) {
            }
        }
        if (m_thread.stopping()) {
            return;
        }
        setError(connection.lastError());
        connection.close();
        goDown();
        if (!waitRetry()) {
            return;
        }
    }
}

void StreamFeed::mark(unsigned char service) {
    if (std::find(m_moved.begin(), m_moved.end(), service) == m_moved.end()) {
        m_moved.push_back(service);
    }
}

void StreamFeed::appendMarks(std::vector<FeedEvent>& out) {
    // One bookmark per stream, after everything the read brought: the store writes it in the
    // transaction of the news before it, and only the newest one of a stream matters.
    for (const unsigned char service : m_moved) {
        const StreamPosition& p = m_positions.at(service);
        FeedEvent e;
        e.kind = FeedEventKind::StreamMark;
        e.service = service;
        e.streamId = p.entryId;
        e.entryNo = p.entryNo;
        out.push_back(std::move(e));
    }
    m_moved.clear();
}

long StreamFeed::readOnce(RedisConnection& connection, bool block) {
    if (m_positions.empty()) {
        // Nothing to read: wait like a blocked read would, so stopping stays prompt.
        m_thread.waitUntil(std::chrono::steady_clock::now() + m_options.block);
        return 0;
    }
    std::vector<std::string> args{"XREAD", "COUNT", std::to_string(std::max<std::size_t>(1, m_options.count))};
    if (block) {
        args.insert(args.end(), {"BLOCK", std::to_string(m_options.block.count())});
    }
    args.emplace_back("STREAMS");
    std::vector<unsigned char> order;
    for (const auto& [service, p] : m_positions) {
        args.push_back(stream::streamKey(service));
        order.push_back(service);
    }
    for (const unsigned char service : order) {
        args.push_back(m_positions[service].entryId);
    }
    if (!connection.command(args, m_reply)) {
        return -1;
    }
    const CompactReply::Node& root = m_reply.root();
    if (root.type == REDIS_REPLY_ERROR) {
        setError("Redis refused to read the news streams: " + std::string(m_reply.text(root)));
        // A refusal (a key of another type, say) will not heal by asking faster.
        m_thread.waitUntil(std::chrono::steady_clock::now() + m_options.lastRetry);
        return 0;
    }
    if (root.type != REDIS_REPLY_ARRAY) {
        return 0; // nil: nothing new within the wait
    }
    long count = 0;
    std::vector<FeedEvent> out;
    Fields fields;
    for (std::size_t s = 0; s < root.count; ++s) {
        const CompactReply::Node& streamReply = m_reply.element(root, s);
        if (streamReply.type != REDIS_REPLY_ARRAY || streamReply.count < 2) {
            continue;
        }
        const std::string_view key = m_reply.text(m_reply.element(streamReply, 0));
        const auto service =
            std::find_if(order.begin(), order.end(), [&](unsigned char id) { return stream::streamKey(id) == key; });
        const CompactReply::Node& entries = m_reply.element(streamReply, 1);
        if (service == order.end() || entries.type != REDIS_REPLY_ARRAY) {
            continue;
        }
        for (std::size_t i = 0; i < entries.count; ++i) {
            std::string_view id;
            if (entryOf(m_reply, m_reply.element(entries, i), id, fields)) {
                take(connection, *service, id, fields, out, false);
                ++count;
            }
        }
    }
    appendMarks(out);
    if (!out.empty()) {
        if (!block && m_options.settle) {
            m_options.settle(); // catching up: the next part waits for the one before
        }
        m_sink(std::move(out));
    }
    return connection.connected() ? count : -1;
}

void StreamFeed::take(RedisConnection& connection, unsigned char service, std::string_view id, const Fields& fields,
                      std::vector<FeedEvent>& out, bool rereading) {
    StreamPosition& p = m_positions[service];
    if (stream::compareEntryIds(id, p.entryId) <= 0 && !rereading) {
        return; // at or before the position: read already
    }
    std::string error;
    std::optional<stream::Entry> entry = stream::decode(fields, error);
    if (!entry ||
        (entry->event.kind == FeedEventKind::Quote ? entry->event.quote.service : entry->event.service) != service) {
        std::lock_guard lock(m_mutex);
        ++m_stats.bad;
        m_stats.lastError = "entry " + std::string(id) + " of " + stream::streamKey(service) +
                            " skipped: " + (entry ? "it names another service" : error);
        if (!rereading) {
            p.entryId = std::string(id);
            mark(service);
        }
        return;
    }
    if (entry->entryNo <= p.entryNo) {
        std::lock_guard lock(m_mutex);
        ++m_stats.duplicates;
        if (!rereading) {
            p.entryId = std::string(id);
        }
        return;
    }
    if (p.entryNo > 0 && entry->entryNo > p.entryNo + 1 && !rereading) {
        {
            std::lock_guard lock(m_mutex);
            ++m_stats.gaps;
        }
        reread(connection, service, id, out);
        if (entry->entryNo > p.entryNo + 1) {
            std::lock_guard lock(m_mutex);
            m_stats.unrecovered += static_cast<std::uint64_t>(entry->entryNo - p.entryNo - 1);
            m_stats.lastError = stream::streamKey(service) + " no longer holds entries " +
                                std::to_string(p.entryNo + 1) + " to " + std::to_string(entry->entryNo - 1);
        }
    }
    if (m_options.onEntry) {
        m_options.onEntry(*entry);
    }
    out.push_back(std::move(entry->event));
    if (!rereading || stream::compareEntryIds(id, p.entryId) > 0) {
        p.entryId = std::string(id);
    }
    p.entryNo = entry->entryNo;
    mark(service);
    std::lock_guard lock(m_mutex);
    ++m_stats.entries;
}

void StreamFeed::reread(RedisConnection& connection, unsigned char service, std::string_view upTo,
                        std::vector<FeedEvent>& out) {
    // Everything the stream holds from the start up to the entry that showed the gap, newest
    // first, back to the last number this terminal has: an entry sent again after a server
    // lost it may sit anywhere after the position.
    std::vector<RedisReply> pages;
    std::vector<std::pair<std::string_view, const redisReply*>> found;
    StreamPosition& p = m_positions[service];
    std::string end = "(" + std::string(upTo);
    bool done = false;
    while (!done) {
        RedisReply page = connection.command({"XREVRANGE", stream::streamKey(service), end, "-", "COUNT", "500"});
        if (!page || page.get()->type != REDIS_REPLY_ARRAY || page.get()->elements == 0) {
            break;
        }
        Fields fields;
        for (std::size_t i = 0; i < page.get()->elements; ++i) {
            std::string_view id;
            if (!entryOf(page.get()->element[i], id, fields)) {
                continue;
            }
            std::string error;
            const std::optional<stream::Entry> entry = stream::decode(fields, error);
            if (entry && entry->entryNo <= p.entryNo) {
                done = true;
                break;
            }
            found.emplace_back(id, page.get()->element[i]);
            end = "(" + std::string(id);
        }
        if (page.get()->elements < 500) {
            done = true;
        }
        pages.push_back(std::move(page));
    }
    // Oldest first, by entry number: take() drops those it has and anything out of range.
    std::vector<std::pair<std::int64_t, std::size_t>> byNumber;
    std::vector<Fields> decoded(found.size());
    for (std::size_t i = 0; i < found.size(); ++i) {
        std::string_view id;
        entryOf(found[i].second, id, decoded[i]);
        std::string error;
        if (const auto entry = stream::decode(decoded[i], error)) {
            byNumber.emplace_back(entry->entryNo, i);
        }
    }
    std::sort(byNumber.begin(), byNumber.end());
    for (const auto& [number, i] : byNumber) {
        if (number == p.entryNo + 1) {
            take(connection, service, found[i].first, decoded[i], out, true);
        }
    }
}

bool StreamFeed::checkRollback(RedisConnection& connection) {
    for (auto& [service, p] : m_positions) {
        if (p.entryId == "0-0") {
            continue;
        }
        const RedisReply top = connection.command({"XREVRANGE", stream::streamKey(service), "+", "-", "COUNT", "1"});
        if (!top) {
            return false;
        }
        if (top.isError()) {
            continue; // reported by the reads
        }
        std::string_view topId = "0-0";
        Fields fields;
        if (top.get()->type == REDIS_REPLY_ARRAY && top.get()->elements > 0) {
            entryOf(top.get()->element[0], topId, fields);
        }
        if (stream::compareEntryIds(topId, p.entryId) >= 0) {
            continue;
        }
        // The stream ends before the last entry read: the server lost entries or the stream
        // was made afresh. Read again from the newest entry this terminal had, by number.
        {
            std::lock_guard lock(m_mutex);
            ++m_stats.rollbacks;
        }
        std::string resume = "0-0";
        std::string end = "+";
        bool found = false;
        while (!found) {
            const RedisReply page =
                connection.command({"XREVRANGE", stream::streamKey(service), end, "-", "COUNT", "500"});
            if (!page) {
                return false;
            }
            if (page.get()->type != REDIS_REPLY_ARRAY || page.get()->elements == 0) {
                break;
            }
            for (std::size_t i = 0; i < page.get()->elements && !found; ++i) {
                std::string_view id;
                if (!entryOf(page.get()->element[i], id, fields)) {
                    continue;
                }
                std::string error;
                const std::optional<stream::Entry> entry = stream::decode(fields, error);
                if (entry && entry->entryNo <= p.entryNo) {
                    resume = std::string(id);
                    found = true;
                }
                end = "(" + std::string(id);
            }
            if (page.get()->elements < 500) {
                break;
            }
        }
        p.entryId = resume;
    }
    return true;
}

} // namespace embedded
