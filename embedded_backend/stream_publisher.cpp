#include "embedded_backend/stream_publisher.h"

#include <algorithm>
#include <charconv>

#include <hiredis.h>

namespace embedded {

namespace {

std::int64_t numberOr(std::string_view text, std::int64_t fallback) {
    std::int64_t value = 0;
    const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
    return ec == std::errc{} && end == text.data() + text.size() && !text.empty() ? value : fallback;
}

std::string_view stringOf(const redisReply* r) {
    return r != nullptr && r->str != nullptr ? std::string_view(r->str, r->len) : std::string_view{};
}

// The entry number of the newest entry of an XREVRANGE ... COUNT 1 reply; 0 when none.
std::int64_t topEntryNo(const redisReply* reply) {
    if (reply == nullptr || reply->type != REDIS_REPLY_ARRAY || reply->elements == 0) {
        return 0;
    }
    const redisReply* entry = reply->element[0];
    if (entry->type != REDIS_REPLY_ARRAY || entry->elements < 2 || entry->element[1]->type != REDIS_REPLY_ARRAY) {
        return 0;
    }
    const redisReply* fields = entry->element[1];
    for (std::size_t i = 0; i + 1 < fields->elements; i += 2) {
        if (stringOf(fields->element[i]) == "n") {
            return std::max<std::int64_t>(0, numberOr(stringOf(fields->element[i + 1]), 0));
        }
    }
    return 0;
}

unsigned char serviceOf(const FeedEvent& e) {
    return e.kind == FeedEventKind::Quote ? e.quote.service : e.service;
}

} // namespace

StreamPublisher::StreamPublisher(PublisherOptions options) : m_options(std::move(options)) {}

std::int64_t StreamPublisher::nowMs() const {
    if (m_options.nowMs) {
        return m_options.nowMs();
    }
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::system_clock::now().time_since_epoch())
        .count();
}

bool StreamPublisher::connect(std::string& error) {
    if (!m_connection.connect(m_options.address, m_options.timeout, error)) {
        return false;
    }
    for (auto& [service, s] : m_services) {
        if (s.loaded && !load(service, s, error)) {
            return false;
        }
    }
    return true;
}

bool StreamPublisher::state(unsigned char service, PublisherState& out, std::string& error) {
    Service& s = m_services[service];
    if (!s.loaded && !load(service, s, error)) {
        return false;
    }
    out = s.state;
    return true;
}

bool StreamPublisher::load(unsigned char service, Service& s, std::string& error) {
    std::vector<RedisReply> replies = m_connection.pipeline(
        {{"HGETALL", stream::stateKey(service)}, {"XREVRANGE", stream::streamKey(service), "+", "-", "COUNT", "1"}});
    if (replies.size() != 2) {
        error = m_connection.lastError();
        return false;
    }
    for (const RedisReply& r : replies) {
        if (r.isError()) {
            error = "Redis refused to read the stream of service " + std::to_string(service) + ": " + r.text();
            return false;
        }
    }
    PublisherState server;
    const redisReply* hash = replies[0].get();
    if (hash->type == REDIS_REPLY_ARRAY) {
        for (std::size_t i = 0; i + 1 < hash->elements; i += 2) {
            const std::string_view key = stringOf(hash->element[i]);
            const std::string_view value = stringOf(hash->element[i + 1]);
            if (key == "n") {
                server.entryNo = std::max<std::int64_t>(0, numberOr(value, 0));
            } else if (key == "day") {
                server.day = static_cast<int>(numberOr(value, 0));
            } else if (key == "seq") {
                server.lastSeq = static_cast<std::int32_t>(numberOr(value, 0));
            } else if (key == "run") {
                server.run = std::string(value);
            } else if (key == "src") {
                server.source = numberOr(value, -1);
            }
        }
    }
    // The stream itself is the last word on numbers: a state written by hand or lost on its
    // own never makes the publisher use a number the stream already has.
    server.entryNo = std::max(server.entryNo, topEntryNo(replies[1].get()));
    if (!s.loaded) {
        const redisReply* top = replies[1].get();
        if (top->type == REDIS_REPLY_ARRAY && top->elements > 0 && top->element[0]->type == REDIS_REPLY_ARRAY &&
            top->element[0]->elements > 0 &&
            !takeOverRecent(service, stringOf(top->element[0]->element[0]), s, error)) {
            return false;
        }
    }
    if (!s.loaded || server.entryNo >= s.state.entryNo) {
        s.state = server;
        s.loaded = true;
        return true;
    }
    // The server lost entries it had confirmed (it restarted without its last writes, or a
    // replica that lagged took over): send them again with the numbers they had.
    std::vector<stream::Entry> again;
    for (const stream::Entry& e : s.recent) {
        if (e.entryNo > server.entryNo) {
            again.push_back(e);
        }
    }
    const std::int64_t firstHeld = again.empty() ? s.state.entryNo + 1 : again.front().entryNo;
    if (firstHeld > server.entryNo + 1) {
        m_stats.lostForGood += static_cast<std::uint64_t>(firstHeld - server.entryNo - 1);
    }
    if (!commit(service, again, s.state, error)) {
        return false;
    }
    m_stats.resent += again.size();
    return true;
}

bool StreamPublisher::takeOverRecent(unsigned char service, std::string_view newestId, Service& s, std::string& error) {
    s.recent.clear();
    const auto newest = stream::parseEntryId(newestId);
    if (!newest || m_options.retain == 0 || m_options.takeOver.count() <= 0) {
        return true;
    }
    const auto span = static_cast<std::uint64_t>(m_options.takeOver.count());
    const std::uint64_t from = newest->first > span ? newest->first - span : 0;
    const RedisReply tail = m_connection.command({"XREVRANGE", stream::streamKey(service), "+", std::to_string(from),
                                                  "COUNT", std::to_string(m_options.retain)});
    if (!tail || tail.isError()) {
        error = tail ? "Redis refused to read the stream of service " + std::to_string(service) + ": " + tail.text()
                     : m_connection.lastError();
        return false;
    }
    // Newest first in the reply; kept oldest first. An entry that does not decode cannot be
    // sent again and is left out.
    std::vector<std::pair<std::string_view, std::string_view>> fields;
    for (std::size_t i = 0; tail.get()->type == REDIS_REPLY_ARRAY && i < tail.get()->elements; ++i) {
        const redisReply* entry = tail.get()->element[i];
        if (entry->type != REDIS_REPLY_ARRAY || entry->elements < 2 || entry->element[1]->type != REDIS_REPLY_ARRAY) {
            continue;
        }
        fields.clear();
        const redisReply* list = entry->element[1];
        for (std::size_t f = 0; f + 1 < list->elements; f += 2) {
            fields.emplace_back(stringOf(list->element[f]), stringOf(list->element[f + 1]));
        }
        std::string why;
        if (std::optional<stream::Entry> decoded = stream::decode(fields, why)) {
            s.recent.push_front(std::move(*decoded));
        }
    }
    return true;
}

std::vector<std::string> StreamPublisher::xadd(unsigned char service, const stream::Entry& entry) const {
    std::vector<std::string> args{"XADD", stream::streamKey(service)};
    if (m_options.maxLength > 0) {
        args.insert(args.end(), {"MAXLEN", "~", std::to_string(m_options.maxLength)});
    } else {
        // Trimmed by age: whatever the rate, at least the kept days stay readable.
        const std::int64_t cutoff = nowMs() - static_cast<std::int64_t>(std::max(1, m_options.keepDays)) * 86400000;
        if (cutoff > 0) {
            args.insert(args.end(), {"MINID", "~", std::to_string(cutoff)});
        }
    }
    args.emplace_back("*");
    for (auto& [field, value] : stream::encode(entry)) {
        args.push_back(std::move(field));
        args.push_back(std::move(value));
    }
    return args;
}

std::vector<std::string> StreamPublisher::saveState(unsigned char service, const PublisherState& state) const {
    return {"HSET", stream::stateKey(service),
            "n",    std::to_string(state.entryNo),
            "day",  std::to_string(state.day),
            "seq",  std::to_string(state.lastSeq),
            "run",  state.run,
            "src",  std::to_string(state.source)};
}

bool StreamPublisher::commit(unsigned char service, const std::vector<stream::Entry>& entries,
                             const PublisherState& state, std::string& error) {
    std::vector<Transaction> one{Transaction{service, &entries, &state}};
    return commitAll(one, error);
}

bool StreamPublisher::commitAll(std::vector<Transaction>& transactions, std::string& error) {
    std::vector<std::vector<std::string>> commands;
    std::size_t count = 0;
    for (const Transaction& t : transactions) {
        count += t.entries->size() + 3; // MULTI, the entries, the state, EXEC
    }
    commands.reserve(count);
    std::vector<std::size_t> execAt; // the index of each transaction's EXEC among the commands
    for (const Transaction& t : transactions) {
        commands.push_back({"MULTI"});
        for (const stream::Entry& e : *t.entries) {
            commands.push_back(xadd(t.service, e));
        }
        commands.push_back(saveState(t.service, *t.state));
        commands.push_back({"EXEC"});
        execAt.push_back(commands.size() - 1);
    }
    const std::vector<RedisReply> replies = m_connection.pipeline(commands);
    if (replies.size() != commands.size()) {
        // The link failed: whatever the server applied of it, connect() reads back.
        error = m_connection.lastError();
        return false;
    }
    std::string failure; // the first refusal
    const auto refuse = [&failure](unsigned char service, std::string_view why) {
        if (failure.empty()) {
            failure = "Redis refused to append to the stream of service ";
            failure += std::to_string(service);
            failure += ": ";
            failure += why;
        }
    };
    std::size_t from = 0;
    for (std::size_t t = 0; t < transactions.size(); from = execAt[t] + 1, ++t) {
        const RedisReply& exec = replies[execAt[t]];
        if (exec.get()->type != REDIS_REPLY_ARRAY) {
            // A refused command (an old server without MINID, a key of another type) aborts the
            // transaction; its first refusal says why.
            std::string why = exec.text();
            for (std::size_t i = from; i < execAt[t]; ++i) {
                if (replies[i].isError()) {
                    why = replies[i].text();
                    break;
                }
            }
            refuse(transactions[t].service, why);
            continue;
        }
        const auto failed = std::find_if(exec.get()->element, exec.get()->element + exec.get()->elements,
                                         [](const redisReply* r) { return r->type == REDIS_REPLY_ERROR; });
        if (failed != exec.get()->element + exec.get()->elements) {
            refuse(transactions[t].service, stringOf(*failed));
            continue;
        }
        transactions[t].confirmed = true;
    }
    if (!failure.empty()) {
        error = failure;
        return false;
    }
    return true;
}

bool StreamPublisher::publish(const std::vector<FeedEvent>& events, std::int64_t source, std::string& error) {
    struct Pending {
        std::vector<stream::Entry> entries;
        PublisherState state;
    };
    std::map<unsigned char, Pending> pending;
    const std::int64_t now = nowMs();
    for (std::size_t i = 0; i < events.size(); ++i) {
        const FeedEvent& e = events[i];
        if (e.kind == FeedEventKind::Disconnect || e.kind == FeedEventKind::Reconnect ||
            e.kind == FeedEventKind::StreamMark) {
            continue; // the link of each terminal is its own business
        }
        const unsigned char service = serviceOf(e);
        if (service == 0) {
            continue;
        }
        Service& s = m_services[service];
        if (!s.loaded && !load(service, s, error)) {
            return false;
        }
        auto [it, fresh] = pending.try_emplace(service);
        Pending& p = it->second;
        if (fresh) {
            p.state = s.state;
        }
        const std::int64_t position = source < 0 ? -1 : source + static_cast<std::int64_t>(i);
        if (p.state.run != m_options.run) {
            p.state.run = m_options.run; // another source: its positions start afresh
            p.state.source = -1;
        }
        if (position >= 0 && position <= p.state.source) {
            ++m_stats.skipped; // a restarted source: this one is on the server already
            continue;
        }
        stream::Entry entry;
        entry.entryNo = ++p.state.entryNo;
        entry.publishedMs = now;
        entry.event = e;
        entry.event.lost = false; // the stream is the server: nothing on it is lost
        if (e.kind == FeedEventKind::NewDay) {
            p.state.day = e.day != 0 ? e.day : p.state.day;
            p.state.lastSeq = 0;
        } else if (e.kind == FeedEventKind::Headline) {
            p.state.lastSeq = std::max(p.state.lastSeq, e.seq);
        }
        p.state.source = std::max(p.state.source, position);
        p.entries.push_back(std::move(entry));
    }
    // Every service's transaction goes out in one round trip: the last service of a batch is
    // appended as soon as the first, not after a wait for each reply before it.
    std::vector<Transaction> transactions;
    for (const auto& [service, p] : pending) {
        if (!p.entries.empty()) {
            transactions.push_back(Transaction{service, &p.entries, &p.state});
        }
    }
    const bool all = commitAll(transactions, error);
    for (const Transaction& t : transactions) {
        if (!t.confirmed) {
            continue; // not published: a retry after connect() sends it
        }
        Pending& p = pending[t.service];
        Service& s = m_services[t.service];
        s.state = p.state;
        m_stats.published += p.entries.size();
        for (stream::Entry& e : p.entries) {
            s.recent.push_back(std::move(e));
        }
        while (s.recent.size() > m_options.retain) {
            s.recent.pop_front();
        }
    }
    return all;
}

} // namespace embedded
