#include "embedded_backend/stream_entry.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>

#include "embedded_backend/day_math.h"
#include "embedded_backend/news_records.h"

namespace embedded::stream {

namespace {

constexpr char kUnitSeparator = '\x1F';   // between a symbol's code and name
constexpr char kRecordSeparator = '\x1E'; // between symbols

std::string kindName(FeedEventKind kind) {
    switch (kind) {
    case FeedEventKind::Headline:
        return "headline";
    case FeedEventKind::Resend:
        return "resend";
    case FeedEventKind::Story:
        return "story";
    case FeedEventKind::NewDay:
        return "newday";
    case FeedEventKind::Quote:
        return "quote";
    case FeedEventKind::Disconnect:
    case FeedEventKind::Reconnect:
    case FeedEventKind::StreamMark:
        break;
    }
    return {};
}

std::optional<FeedEventKind> kindOf(std::string_view name) {
    if (name == "headline") {
        return FeedEventKind::Headline;
    }
    if (name == "resend") {
        return FeedEventKind::Resend;
    }
    if (name == "story") {
        return FeedEventKind::Story;
    }
    if (name == "newday") {
        return FeedEventKind::NewDay;
    }
    if (name == "quote") {
        return FeedEventKind::Quote;
    }
    return std::nullopt;
}

std::string symbolsText(const std::vector<CSymbolInfo>& symbols) {
    std::string out;
    for (const CSymbolInfo& s : symbols) {
        if (!out.empty()) {
            out += kRecordSeparator;
        }
        out += std::to_string(s.m_byMarket);
        out += kUnitSeparator;
        out += s.m_strCode;
        out += kUnitSeparator;
        out += s.m_strName;
    }
    return out;
}

// A whole decimal number (optional minus sign) within [low, high].
bool parseNumber(std::string_view text, std::int64_t low, std::int64_t high, std::int64_t& out) {
    std::int64_t value = 0;
    const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || ec != std::errc{} || end != text.data() + text.size() || value < low || value > high) {
        return false;
    }
    out = value;
    return true;
}

// The field names a reader knows. A name of one or two lower-case letters maps straight to its
// slot, so an entry's fields are sorted into slots in one pass rather than searched by name.
constexpr std::array<std::string_view, 19> kKnownFields{"n", "p", "k",  "s",  "t",  "q",  "c",  "cn", "h", "y",
                                                        "b", "d", "qc", "qn", "qr", "ql", "qb", "qa", "qv"};

constexpr int letterCode(std::string_view name) {
    const auto letter = [](char c) { return c >= 'a' && c <= 'z' ? c - 'a' : -1; };
    if (name.empty() || name.size() > 2 || letter(name[0]) < 0) {
        return -1;
    }
    if (name.size() == 1) {
        return letter(name[0]);
    }
    return letter(name[1]) < 0 ? -1 : 26 + letter(name[0]) * 26 + letter(name[1]);
}

constexpr std::array<std::int8_t, 26 + 26 * 26> kSlotOfCode = [] {
    std::array<std::int8_t, 26 + 26 * 26> slots{};
    slots.fill(-1);
    for (std::size_t i = 0; i < kKnownFields.size(); ++i) {
        slots[static_cast<std::size_t>(letterCode(kKnownFields[i]))] = static_cast<std::int8_t>(i);
    }
    return slots;
}();

// The slot of a known field name; -1 for any other name.
int slotOf(std::string_view name) {
    const int code = letterCode(name);
    return code < 0 ? -1 : kSlotOfCode[static_cast<std::size_t>(code)];
}
static_assert(static_cast<std::size_t>(letterCode("zz")) + 1 == kSlotOfCode.size(),
              "every name of one or two letters has its code");

class FieldReader {
public:
    FieldReader(const std::vector<std::pair<std::string_view, std::string_view>>& fields, std::string& error)
        : m_error(error) {
        for (const auto& [key, value] : fields) {
            const int slot = slotOf(key);
            if (slot >= 0 && m_count[static_cast<std::size_t>(slot)]++ == 0) {
                m_value[static_cast<std::size_t>(slot)] = value;
            }
        }
    }

    // The value of a field; nullopt when absent (or repeated, which sets the error).
    std::optional<std::string_view> text(std::string_view name) {
        const int known = slotOf(name);
        if (known < 0) {
            return std::nullopt;
        }
        const auto slot = static_cast<std::size_t>(known);
        if (m_count[slot] > 1) {
            fail("field \"" + std::string(name) + "\" appears twice");
            return std::nullopt;
        }
        return m_count[slot] == 0 ? std::nullopt : std::optional<std::string_view>(m_value[slot]);
    }
    bool number(std::string_view name, std::int64_t low, std::int64_t high, std::int64_t& out, bool required) {
        const std::optional<std::string_view> value = text(name);
        if (!value) {
            if (required) {
                fail("field \"" + std::string(name) + "\" is missing");
            }
            return !required && m_error.empty();
        }
        if (!parseNumber(*value, low, high, out)) {
            fail("field \"" + std::string(name) + "\" is not a number from " + std::to_string(low) + " to " +
                 std::to_string(high));
            return false;
        }
        return true;
    }
    bool ok() const { return m_error.empty(); }
    void fail(std::string message) {
        if (m_error.empty()) {
            m_error = std::move(message);
        }
    }

private:
    std::array<std::string_view, kKnownFields.size()> m_value{};
    std::array<std::size_t, kKnownFields.size()> m_count{};
    std::string& m_error;
};

constexpr std::int64_t kInt32Max = std::numeric_limits<std::int32_t>::max();
constexpr std::int64_t kInt32Min = std::numeric_limits<std::int32_t>::min();

bool readDay(FieldReader& r, int& day) {
    std::int64_t value = 0;
    if (!r.number("d", 0, 99991231, value, false)) {
        return false;
    }
    if (value != 0 && !isValidDay(static_cast<int>(value))) {
        r.fail("field \"d\" is not a date");
        return false;
    }
    day = static_cast<int>(value);
    return true;
}

using FieldViews = std::vector<std::pair<std::string_view, std::string_view>>;

// The packed value of field "e": each field as its name (lower-case letters), the length of its
// value in decimal, ':' and the value's bytes, one after the other.
void packInto(std::string& out, std::string_view name, std::string_view value) {
    out += name;
    out += std::to_string(value.size());
    out += ':';
    out += value;
}

bool unpack(std::string_view packed, FieldViews& out) {
    std::size_t at = 0;
    while (at < packed.size()) {
        const std::size_t nameStart = at;
        while (at < packed.size() && packed[at] >= 'a' && packed[at] <= 'z') {
            ++at;
        }
        const std::size_t lengthStart = at;
        std::size_t length = 0;
        const auto [end, ec] = std::from_chars(packed.data() + at, packed.data() + packed.size(), length);
        at = static_cast<std::size_t>(end - packed.data());
        if (lengthStart == nameStart || ec != std::errc{} || at >= packed.size() || packed[at] != ':' ||
            length > packed.size() - at - 1) {
            return false;
        }
        ++at;
        out.emplace_back(packed.substr(nameStart, lengthStart - nameStart), packed.substr(at, length));
        at += length;
    }
    return true;
}

bool readSymbols(std::string_view text, std::vector<CSymbolInfo>& out) {
    while (!text.empty()) {
        const std::size_t end = text.find(kRecordSeparator);
        const std::string_view one = text.substr(0, end);
        // market, code and name; the name may be empty, the code may not
        const std::size_t first = one.find(kUnitSeparator);
        const std::size_t second = first == std::string_view::npos ? first : one.find(kUnitSeparator, first + 1);
        std::int64_t market = 0;
        if (second == std::string_view::npos || second == first + 1 ||
            !parseNumber(one.substr(0, first), 0, 255, market)) {
            return false;
        }
        CSymbolInfo symbol;
        symbol.m_byMarket = static_cast<unsigned char>(market);
        symbol.m_strCode = std::string(one.substr(first + 1, second - first - 1));
        symbol.m_strName = std::string(one.substr(second + 1));
        out.push_back(std::move(symbol));
        if (end == std::string_view::npos) {
            break;
        }
        text.remove_prefix(end + 1);
        if (text.empty()) {
            return false; // a trailing separator
        }
    }
    return true;
}

} // namespace

std::string streamKey(unsigned char service) {
    return "news:{" + std::to_string(service) + "}";
}

std::string stateKey(unsigned char service) {
    return "news:{" + std::to_string(service) + "}:publisher";
}

namespace {

// Every field of an entry, one by one.
std::vector<Field> fieldsOf(const Entry& entry) {
    const FeedEvent& e = entry.event;
    const std::string kind = kindName(e.kind);
    if (kind.empty()) {
        return {};
    }
    std::vector<Field> out;
    out.emplace_back("n", std::to_string(entry.entryNo));
    if (entry.publishedMs != 0) {
        out.emplace_back("p", std::to_string(entry.publishedMs));
    }
    out.emplace_back("k", kind);
    if (e.kind == FeedEventKind::Quote) {
        const QuoteTick& q = e.quote;
        out.emplace_back("s", std::to_string(q.service));
        out.emplace_back("t", std::to_string(q.time));
        out.emplace_back("qc", q.code);
        out.emplace_back("qn", q.name);
        out.emplace_back("qr", std::to_string(q.reference));
        out.emplace_back("ql", std::to_string(q.last));
        out.emplace_back("qb", std::to_string(q.bid));
        out.emplace_back("qa", std::to_string(q.ask));
        out.emplace_back("qv", std::to_string(q.volume));
        return out;
    }
    out.emplace_back("s", std::to_string(e.service));
    out.emplace_back("t", std::to_string(e.time));
    if (e.kind == FeedEventKind::NewDay) {
        out.emplace_back("d", std::to_string(e.day));
        return out;
    }
    out.emplace_back("q", std::to_string(e.seq));
    if (e.kind == FeedEventKind::Story) {
        out.emplace_back("d", std::to_string(e.day));
        out.emplace_back("b", e.story.value_or(CString{}));
        return out;
    }
    out.emplace_back("c", std::to_string(e.category));
    if (!e.categoryName.empty()) {
        out.emplace_back("cn", e.categoryName);
    }
    out.emplace_back("h", e.title);
    if (!e.symbols.empty()) {
        out.emplace_back("y", symbolsText(e.symbols));
    }
    if (e.story) {
        out.emplace_back("b", *e.story);
    }
    return out;
}

std::optional<Entry> decodeFields(const FieldViews& fields, std::string& error) {
    FieldReader r(fields, error);
    Entry entry;
    FeedEvent& e = entry.event;
    std::int64_t value = 0;
    if (!r.number("n", 1, std::numeric_limits<std::int64_t>::max(), entry.entryNo, true) ||
        !r.number("p", 0, std::numeric_limits<std::int64_t>::max(), entry.publishedMs, false)) {
        return std::nullopt;
    }
    const std::optional<std::string_view> kindText = r.text("k");
    const std::optional<FeedEventKind> kind = kindText ? kindOf(*kindText) : std::nullopt;
    if (!kind) {
        r.fail(kindText ? "unknown kind \"" + std::string(*kindText) + "\"" : "field \"k\" is missing");
        return std::nullopt;
    }
    e.kind = *kind;
    if (!r.number("s", 1, 255, value, true)) {
        return std::nullopt;
    }
    const auto service = static_cast<unsigned char>(value);
    std::int64_t time = 0;
    if (!r.number("t", 0, kMaxTime, time, true)) {
        return std::nullopt;
    }
    if (e.kind == FeedEventKind::Quote) {
        QuoteTick& q = e.quote;
        q.service = service;
        q.time = time;
        const std::optional<std::string_view> code = r.text("qc");
        if (!code || code->empty()) {
            r.fail("field \"qc\" is missing");
            return std::nullopt;
        }
        q.code = std::string(*code);
        q.name = std::string(r.text("qn").value_or(std::string_view{}));
        std::int64_t reference = 0;
        std::int64_t last = 0;
        std::int64_t bid = 0;
        std::int64_t ask = 0;
        std::int64_t volume = 0;
        if (!r.number("qr", kInt32Min, kInt32Max, reference, false) ||
            !r.number("ql", kInt32Min, kInt32Max, last, true) || !r.number("qb", kInt32Min, kInt32Max, bid, false) ||
            !r.number("qa", kInt32Min, kInt32Max, ask, false) || !r.number("qv", 0, kInt32Max, volume, false)) {
            return std::nullopt;
        }
        q.reference = static_cast<std::int32_t>(reference);
        q.last = static_cast<std::int32_t>(last);
        q.bid = static_cast<std::int32_t>(bid);
        q.ask = static_cast<std::int32_t>(ask);
        q.volume = static_cast<std::int32_t>(volume);
        return r.ok() ? std::optional<Entry>(std::move(entry)) : std::nullopt;
    }
    e.service = service;
    e.time = time;
    if (e.kind == FeedEventKind::NewDay) {
        return readDay(r, e.day) && r.ok() ? std::optional<Entry>(std::move(entry)) : std::nullopt;
    }
    if (!r.number("q", 0, kMaxSeq, value, true)) {
        return std::nullopt;
    }
    e.seq = static_cast<std::int32_t>(value);
    if (e.kind == FeedEventKind::Story) {
        const std::optional<std::string_view> text = r.text("b");
        if (!text) {
            r.fail("field \"b\" is missing");
            return std::nullopt;
        }
        e.story = CString(*text);
        return readDay(r, e.day) && r.ok() ? std::optional<Entry>(std::move(entry)) : std::nullopt;
    }
    if (!r.number("c", kInt32Min, kInt32Max, value, true)) {
        return std::nullopt;
    }
    e.category = static_cast<std::int32_t>(value);
    const std::optional<std::string_view> title = r.text("h");
    if (!title || title->empty()) {
        r.fail("field \"h\" is missing");
        return std::nullopt;
    }
    e.title = CString(*title);
    e.categoryName = CString(r.text("cn").value_or(std::string_view{}));
    if (const std::optional<std::string_view> symbols = r.text("y")) {
        if (!readSymbols(*symbols, e.symbols)) {
            r.fail("field \"y\" is not a list of symbols");
            return std::nullopt;
        }
    }
    if (const std::optional<std::string_view> story = r.text("b")) {
        e.story = CString(*story);
    }
    return r.ok() ? std::optional<Entry>(std::move(entry)) : std::nullopt;
}

} // namespace

std::vector<Field> encode(const Entry& entry) {
    std::vector<Field> fields = fieldsOf(entry);
    if (fields.empty()) {
        return fields;
    }
    // The entry number stays a field of its own (the publisher finds the newest number without
    // unpacking); everything else travels packed in "e".
    std::string packed;
    for (std::size_t i = 1; i < fields.size(); ++i) {
        packInto(packed, fields[i].first, fields[i].second);
    }
    std::vector<Field> out;
    out.reserve(2);
    out.push_back(std::move(fields.front()));
    out.emplace_back("e", std::move(packed));
    return out;
}

std::optional<Entry> decode(const FieldViews& fields, std::string& error) {
    error.clear();
    const FieldViews::const_iterator packed =
        std::find_if(fields.begin(), fields.end(), [](const auto& field) { return field.first == "e"; });
    if (packed == fields.end()) {
        return decodeFields(fields, error);
    }
    // Unpacked into a list kept per thread: a reader decodes thousands of entries a second.
    thread_local FieldViews all;
    all.clear();
    for (FieldViews::const_iterator it = fields.begin(); it != fields.end(); ++it) {
        if (it != packed) {
            if (it->first == "e") {
                error = "field \"e\" appears twice";
                return std::nullopt;
            }
            all.push_back(*it);
        }
    }
    if (!unpack(packed->second, all)) {
        error = "field \"e\" is not a list of packed fields";
        return std::nullopt;
    }
    return decodeFields(all, error);
}

std::optional<std::pair<std::uint64_t, std::uint64_t>> parseEntryId(std::string_view id) {
    const std::size_t dash = id.find('-');
    if (dash == std::string_view::npos) {
        return std::nullopt;
    }
    std::uint64_t ms = 0;
    std::uint64_t n = 0;
    const std::string_view a = id.substr(0, dash);
    const std::string_view b = id.substr(dash + 1);
    const auto ra = std::from_chars(a.data(), a.data() + a.size(), ms);
    const auto rb = std::from_chars(b.data(), b.data() + b.size(), n);
    if (a.empty() || b.empty() || ra.ec != std::errc{} || rb.ec != std::errc{} || ra.ptr != a.data() + a.size() ||
        rb.ptr != b.data() + b.size()) {
        return std::nullopt;
    }
    return std::make_pair(ms, n);
}

int compareEntryIds(std::string_view a, std::string_view b) {
    const auto pa = parseEntryId(a);
    const auto pb = parseEntryId(b);
    if (!pa || !pb) {
        return pa ? 1 : (pb ? -1 : 0);
    }
    return *pa < *pb ? -1 : (*pb < *pa ? 1 : 0);
}

} // namespace embedded::stream
