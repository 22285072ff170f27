#include "embedded_backend/replay_feed.h"

#include <cmath>
#include <cstdio>
#include <fstream>
#include <sstream>

#include "embedded_backend/chinese_text.h"
#include "embedded_backend/day_math.h"
#include "embedded_backend/json.h"
#include "host/backend/quote_price.h"
#include "host/text/cp950.h"

namespace embedded {

namespace {

bool integerField(const JsonValue& object, const char* name, long long low, long long high, long long& out,
                  std::string& error, bool required = true) {
    const JsonValue* v = object.find(name);
    if (v == nullptr) {
        if (required) {
            error = std::string("missing \"") + name + "\"";
        }
        return !required;
    }
    const double d = v->isNumber() ? v->numberValue() : std::nan("");
    if (!v->isNumber() || d != std::floor(d) || d < static_cast<double>(low) || d > static_cast<double>(high)) {
        error = std::string("\"") + name + "\" must be an integer from " + std::to_string(low) + " to " +
                std::to_string(high);
        return false;
    }
    out = static_cast<long long>(d);
    return true;
}

// Characters without a code page 950 form met by the line being parsed on this thread.
thread_local std::size_t t_replacedCharacters = 0;

bool textField(const JsonValue& object, const char* name, bool required, std::string& out, std::string& error) {
    const JsonValue* v = object.find(name);
    if (v == nullptr) {
        if (required) {
            error = std::string("missing \"") + name + "\"";
        }
        return !required;
    }
    if (!v->isString()) {
        error = std::string("\"") + name + "\" must be a string";
        return false;
    }
    Big5Text converted = toBig5(v->stringValue());
    t_replacedCharacters += converted.replaced;
    out = std::move(converted.text);
    return true;
}

bool dateField(const JsonValue& object, int& day, std::string& error) {
    const JsonValue* v = object.find("date");
    if (v == nullptr) {
        day = 0;
        return true;
    }
    const std::optional<int> parsed = v->isString() ? parseDayText(v->stringValue()) : std::nullopt;
    if (!parsed) {
        error = "\"date\" must be a valid date written yyyymmdd";
        return false;
    }
    day = *parsed;
    return true;
}

bool symbolsField(const JsonValue& object, unsigned char service, std::vector<CSymbolInfo>& out, std::string& error) {
    const JsonValue* v = object.find("symbols");
    if (v == nullptr) {
        return true;
    }
    if (!v->isArray()) {
        error = "\"symbols\" must be an array";
        return false;
    }
    for (const JsonValue& item : v->items()) {
        CSymbolInfo s;
        s.m_byMarket = service;
        if (item.isString()) {
            Big5Text code = toBig5(item.stringValue());
            t_replacedCharacters += code.replaced;
            s.m_strCode = std::move(code.text);
        } else if (item.isObject()) {
            long long market = service;
            if (!textField(item, "code", true, s.m_strCode, error) ||
                !textField(item, "name", false, s.m_strName, error) ||
                !integerField(item, "market", 0, 255, market, error, false)) {
                error = "symbol: " + error;
                return false;
            }
            s.m_byMarket = static_cast<unsigned char>(market);
        } else {
            error = "a symbol must be a code or an object";
            return false;
        }
        if (s.m_strCode.empty()) {
            error = "a symbol code is empty";
            return false;
        }
        out.push_back(std::move(s));
    }
    return true;
}

LineStatus parseLine(std::string_view line, std::int64_t baseTime, FeedEvent& event, double& at, std::string& error);

// A price in the currency unit with at most two decimals, kept in hundredths. 0 is allowed
// only where the field may say "none".
bool priceField(const JsonValue& object, const char* name, bool required, std::int32_t& out, std::string& error) {
    const JsonValue* v = object.find(name);
    if (v == nullptr) {
        if (required) {
            error = std::string("missing \"") + name + "\"";
        }
        return !required;
    }
    const double d = v->isNumber() ? v->numberValue() : std::nan("");
    const double hundredths = d * 100.0;
    if (!v->isNumber() || !(d >= 0) || d > 1000000.0 || std::fabs(hundredths - std::round(hundredths)) > 1e-6 ||
        (required && std::llround(hundredths) == 0)) {
        error = std::string("\"") + name + "\" must be a price from " + (required ? "0.01" : "0") +
                " to 1000000 with at most two decimals";
        return false;
    }
    out = static_cast<std::int32_t>(std::llround(hundredths));
    if (out != 0 && !quote_price::onTick(out)) {
        error = std::string("\"") + name + "\" is not on the tick ladder of its price band";
        return false;
    }
    return true;
}

} // namespace

LineStatus parseReplayLine(std::string_view line, std::int64_t baseTime, FeedEvent& event, double& at,
                           std::string& error, std::size_t* replaced) {
    t_replacedCharacters = 0;
    const LineStatus status = parseLine(line, baseTime, event, at, error);
    if (replaced != nullptr) {
        *replaced = status == LineStatus::Event ? t_replacedCharacters : 0;
    }
    return status;
}

namespace {

LineStatus parseLine(std::string_view line, std::int64_t baseTime, FeedEvent& event, double& at, std::string& error) {
    while (!line.empty() && (line.back() == '\r' || line.back() == ' ' || line.back() == '\t')) {
        line.remove_suffix(1);
    }
    if (line.substr(0, 3) == "\xEF\xBB\xBF") {
        line.remove_prefix(3); // a byte-order mark written by some editors
    }
    if (line.find_first_not_of(" \t") == std::string_view::npos) {
        return LineStatus::Blank;
    }
    JsonError jsonError;
    const std::optional<JsonValue> parsed = parseJson(line, &jsonError);
    if (!parsed) {
        error = "column " + std::to_string(jsonError.offset + 1) + ": " + jsonError.message;
        return LineStatus::Bad;
    }
    if (!parsed->isObject()) {
        error = "a line must hold one JSON object";
        return LineStatus::Bad;
    }
    const JsonValue& o = *parsed;
    std::string kind;
    const JsonValue* kindValue = o.find("event");
    if (kindValue == nullptr || !kindValue->isString()) {
        error = "missing \"event\"";
        return LineStatus::Bad;
    }
    kind = kindValue->stringValue();
    const JsonValue* atValue = o.find("at");
    if (atValue == nullptr || !atValue->isNumber() || !(atValue->numberValue() >= 0) || atValue->numberValue() > 1e9) {
        error = "\"at\" must be a number of seconds from 0";
        return LineStatus::Bad;
    }
    // Offsets count to the millisecond, as replayLine writes them; the event's time is the
    // whole seconds of the offset so rounded, so a line written back reads as the same event.
    at = std::round(atValue->numberValue() * 1000) / 1000;
    event = FeedEvent{};
    event.time = baseTime + static_cast<std::int64_t>(std::floor(at));

    long long service = 0;
    long long seq = 0;
    long long category = 0;
    if (kind == "headline" || kind == "resend") {
        event.kind = kind == "headline" ? FeedEventKind::Headline : FeedEventKind::Resend;
        CString story;
        const bool ok = integerField(o, "service", 1, 255, service, error) &&
                        integerField(o, "seq", 0, INT32_MAX, seq, error) &&
                        textField(o, "title", true, event.title, error) &&
                        integerField(o, "category", INT32_MIN, INT32_MAX, category, error, false) &&
                        textField(o, "categoryName", false, event.categoryName, error) &&
                        symbolsField(o, static_cast<unsigned char>(service), event.symbols, error) &&
                        textField(o, "story", false, story, error);
        if (!ok) {
            return LineStatus::Bad;
        }
        if (event.title.empty()) {
            error = "\"title\" is empty";
            return LineStatus::Bad;
        }
        if (o.find("story") != nullptr) {
            event.story = std::move(story);
        }
        if (const JsonValue* lost = o.find("lost"); lost != nullptr) {
            if (!lost->isBool()) {
                error = "\"lost\" must be true or false";
                return LineStatus::Bad;
            }
            event.lost = lost->boolValue();
        }
    } else if (kind == "story") {
        event.kind = FeedEventKind::Story;
        CString text;
        if (!integerField(o, "service", 1, 255, service, error) || !integerField(o, "seq", 0, INT32_MAX, seq, error) ||
            !textField(o, "text", true, text, error) || !dateField(o, event.day, error)) {
            return LineStatus::Bad;
        }
        event.story = std::move(text);
    } else if (kind == "newday") {
        event.kind = FeedEventKind::NewDay;
        if (!integerField(o, "service", 1, 255, service, error) || !dateField(o, event.day, error)) {
            return LineStatus::Bad;
        }
    } else if (kind == "quote") {
        event.kind = FeedEventKind::Quote;
        QuoteTick& q = event.quote;
        long long volume = 0;
        if (!integerField(o, "service", 1, 255, service, error) || !textField(o, "code", true, q.code, error) ||
            !textField(o, "name", false, q.name, error) || !priceField(o, "ref", false, q.reference, error) ||
            !priceField(o, "last", true, q.last, error) || !priceField(o, "bid", false, q.bid, error) ||
            !priceField(o, "ask", false, q.ask, error) || !integerField(o, "volume", 0, INT32_MAX, volume, error)) {
            return LineStatus::Bad;
        }
        if (q.code.empty()) {
            error = "\"code\" is empty";
            return LineStatus::Bad;
        }
        if (q.bid != 0 && q.ask != 0 && q.bid > q.ask) {
            error = "\"bid\" is above \"ask\"";
            return LineStatus::Bad;
        }
        q.service = static_cast<unsigned char>(service);
        q.time = event.time;
        q.volume = static_cast<std::int32_t>(volume);
    } else if (kind == "disconnect") {
        event.kind = FeedEventKind::Disconnect;
    } else if (kind == "reconnect") {
        event.kind = FeedEventKind::Reconnect;
    } else {
        error = "unknown event \"" + kind + "\"";
        return LineStatus::Bad;
    }
    event.service = static_cast<unsigned char>(service);
    event.seq = static_cast<std::int32_t>(seq);
    event.category = static_cast<std::int32_t>(category);
    return LineStatus::Event;
}

} // namespace

bool ReplayFeed::start(ReplayOptions options, Sink sink, std::string* error) {
    stop();
    std::ifstream file(options.path, std::ios::binary);
    if (!file) {
        if (error != nullptr) {
            *error = "cannot open the replay file " + options.path;
        }
        return false;
    }
    std::ostringstream content;
    content << file.rdbuf();
    {
        std::lock_guard lock(m_mutex);
        m_report = ReplayReport{};
    }
    m_thread.start([this, options = std::move(options), sink = std::move(sink), text = content.str()]() mutable {
        run(options, sink, std::move(text));
    });
    return true;
}

void ReplayFeed::run(const ReplayOptions& options, const Sink& sink, std::string content) {
    const auto begin = std::chrono::steady_clock::now();
    std::vector<FeedEvent> batch;
    const std::size_t batchSize = std::max<std::size_t>(1, options.batchSize);
    auto handOver = [&] {
        if (batch.empty()) {
            return;
        }
        const std::size_t count = batch.size();
        sink(std::move(batch));
        batch.clear();
        std::lock_guard lock(m_mutex);
        m_report.events += count;
    };
    std::size_t lineNumber = 0;
    std::size_t pos = 0;
    while (pos < content.size()) {
        const std::size_t end = std::min(content.find('\n', pos), content.size());
        const std::string_view line(content.data() + pos, end - pos);
        pos = end + 1;
        ++lineNumber;
        FeedEvent event;
        double at = 0;
        std::string error;
        std::size_t replaced = 0;
        const LineStatus status = parseReplayLine(line, options.baseTime, event, at, error, &replaced);
        {
            std::lock_guard lock(m_mutex);
            m_report.lines = lineNumber;
            m_report.replacedCharacters += replaced;
            if (status == LineStatus::Bad) {
                m_report.errors.push_back(ReplayLineError{lineNumber, error});
            }
        }
        if (status != LineStatus::Event) {
            continue;
        }
        if (options.speed > 0) {
            const auto due = begin + std::chrono::duration_cast<std::chrono::steady_clock::duration>(
                                         std::chrono::duration<double>(at / options.speed));
            if (due > std::chrono::steady_clock::now()) {
                handOver(); // what is due now goes out before the wait
                if (!m_thread.waitUntil(due)) {
                    return;
                }
            }
        } else if (m_thread.stopping()) {
            return;
        }
        batch.push_back(std::move(event));
        if (batch.size() >= batchSize) {
            handOver();
        }
    }
    handOver();
    std::lock_guard lock(m_mutex);
    m_report.finished = true;
}

ReplayReport ReplayFeed::report() const {
    std::lock_guard lock(m_mutex);
    return m_report;
}

namespace {

std::string symbolsJson(const std::vector<CSymbolInfo>& symbols, unsigned char service) {
    std::string out = "[";
    for (std::size_t i = 0; i < symbols.size(); ++i) {
        const CSymbolInfo& s = symbols[i];
        out += i > 0 ? "," : "";
        out += "{\"code\":" + jsonQuote(cp950::toUtf8(s.m_strCode));
        if (!s.m_strName.empty()) {
            out += ",\"name\":" + jsonQuote(cp950::toUtf8(s.m_strName));
        }
        if (s.m_byMarket != service) {
            out += ",\"market\":" + std::to_string(s.m_byMarket);
        }
        out += "}";
    }
    return out + "]";
}

} // namespace

std::string replayLine(const FeedEvent& e, double at) {
    char offset[32];
    std::snprintf(offset, sizeof offset, "%.3f", at);
    std::string text = offset; // "%.3f" always writes a point: trim its trailing zeros
    while (text.back() == '0') {
        text.pop_back();
    }
    if (text.back() == '.') {
        text.pop_back();
    }
    std::string out = "{\"at\":" + text + ",\"event\":";
    const std::string service = std::to_string(e.service);
    switch (e.kind) {
    case FeedEventKind::Headline:
    case FeedEventKind::Resend:
        out += e.kind == FeedEventKind::Headline ? "\"headline\"" : "\"resend\"";
        out += ",\"service\":" + service + ",\"seq\":" + std::to_string(e.seq);
        out += ",\"category\":" + std::to_string(e.category);
        if (!e.categoryName.empty()) {
            out += ",\"categoryName\":" + jsonQuote(cp950::toUtf8(e.categoryName));
        }
        out += ",\"title\":" + jsonQuote(cp950::toUtf8(e.title));
        if (!e.symbols.empty()) {
            out += ",\"symbols\":" + symbolsJson(e.symbols, e.service);
        }
        if (e.story) {
            out += ",\"story\":" + jsonQuote(cp950::toUtf8(*e.story));
        }
        if (e.lost) {
            out += ",\"lost\":true";
        }
        break;
    case FeedEventKind::Story:
        out += "\"story\",\"service\":" + service + ",\"seq\":" + std::to_string(e.seq);
        if (e.day != 0) {
            out += ",\"date\":\"" + dayText(e.day) + "\"";
        }
        out += ",\"text\":" + jsonQuote(cp950::toUtf8(e.story.value_or(CString{})));
        break;
    case FeedEventKind::NewDay:
        out += "\"newday\",\"service\":" + service;
        if (e.day != 0) {
            out += ",\"date\":\"" + dayText(e.day) + "\"";
        }
        break;
    case FeedEventKind::Disconnect:
        out += "\"disconnect\"";
        break;
    case FeedEventKind::Reconnect:
        out += "\"reconnect\"";
        break;
    case FeedEventKind::StreamMark:
        return {}; // a reader's bookmark, never part of a recorded feed
    case FeedEventKind::Quote: {
        const QuoteTick& q = e.quote;
        const auto price = [](std::int32_t hundredths) {
            char buffer[32];
            std::snprintf(buffer, sizeof buffer, "%d.%02d", hundredths / 100, hundredths % 100);
            return std::string(buffer);
        };
        out += "\"quote\",\"service\":" + std::to_string(q.service) + ",\"code\":" + jsonQuote(cp950::toUtf8(q.code));
        if (!q.name.empty()) {
            out += ",\"name\":" + jsonQuote(cp950::toUtf8(q.name));
        }
        if (q.reference != 0) {
            out += ",\"ref\":" + price(q.reference);
        }
        out += ",\"last\":" + price(q.last);
        if (q.bid != 0) {
            out += ",\"bid\":" + price(q.bid);
        }
        if (q.ask != 0) {
            out += ",\"ask\":" + price(q.ask);
        }
        out += ",\"volume\":" + std::to_string(q.volume);
        break;
    }
    }
    return out + "}";
}

} // namespace embedded
