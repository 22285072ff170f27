#include "embedded_backend/news_generator.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>

#include "embedded_backend/day_math.h"
#include "host/text/cp950.h"

namespace embedded {

namespace {

bool laterFirst(const auto& a, const auto& b) {
    return a.time != b.time ? a.time > b.time : a.order > b.order;
}

std::string fixed(double value, int decimals) {
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%.*f", decimals, value);
    return buffer;
}

std::string number(long long value) {
    return std::to_string(value);
}

// The generator walks one sequence of numbers; the seed picks where. Hashed, so that seeds 7
// and 8 start far apart instead of one step apart (a stream that draws once more would
// otherwise fall in step with its neighbour's).
std::uint64_t startOf(std::uint64_t seed) {
    std::uint64_t z = seed + 0x2545F4914F6CDD1Dull;
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
    return z ^ (z >> 31);
}

} // namespace

NewsGenerator::NewsGenerator(GeneratorOptions options)
    : m_options(std::move(options)), m_state(startOf(m_options.seed)),
      m_clock(static_cast<double>(m_options.startTime)), m_lastTime(m_options.startTime),
      m_day(m_options.startDay != 0 ? m_options.startDay : localDayOf(m_options.startTime)),
      m_nextNewDay(m_options.firstNewDayAt) {
    const BuiltinCatalog& catalog = builtinCatalog();
    for (const BuiltinService& s : catalog.services) {
        const bool wanted =
            m_options.services.empty() ||
            std::find(m_options.services.begin(), m_options.services.end(), s.id) != m_options.services.end();
        if (wanted) {
            m_services.push_back(s.id);
            m_weights.push_back(s.weight);
            m_totalWeight += s.weight;
        }
    }
    if (m_options.headlinesPerSecond <= 0) {
        m_options.headlinesPerSecond = 1;
    }
    m_options.maxSentences = std::max(m_options.maxSentences, m_options.minSentences);
}

// splitmix64: small, fast and the same everywhere.
std::uint64_t NewsGenerator::random() {
    std::uint64_t z = (m_state += 0x9E3779B97F4A7C15ull);
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
    return z ^ (z >> 31);
}

double NewsGenerator::unit() {
    return static_cast<double>(random() >> 11) * 0x1.0p-53;
}

std::size_t NewsGenerator::pick(std::size_t count) {
    return count == 0 ? 0 : std::min(count - 1, static_cast<std::size_t>(unit() * static_cast<double>(count)));
}

CString NewsGenerator::word(const char* slot) {
    const std::vector<CString>* list = builtinCatalog().wordList(slot);
    return list == nullptr || list->empty() ? CString{} : (*list)[pick(list->size())];
}

void NewsGenerator::schedule(std::int64_t time, FeedEvent event) {
    m_pending.push_back(Pending{time, m_order++, std::move(event)});
    std::push_heap(m_pending.begin(), m_pending.end(),
                   [](const Pending& a, const Pending& b) { return laterFirst(a, b); });
}

FeedEvent NewsGenerator::next() {
    if (!m_ready.empty()) {
        FeedEvent e = std::move(m_ready.front());
        m_ready.erase(m_ready.begin());
        return e;
    }
    const double interval = (0.2 + 1.6 * unit()) / m_options.headlinesPerSecond;
    const double candidate = m_clock + interval;
    const auto headlineTime = static_cast<std::int64_t>(std::floor(candidate));
    const std::int64_t pendingTime =
        m_pending.empty() ? std::numeric_limits<std::int64_t>::max() : m_pending.front().time;
    const std::int64_t dayTime = m_nextNewDay > 0 ? m_nextNewDay : std::numeric_limits<std::int64_t>::max();

    if (dayTime <= std::min(headlineTime, pendingTime)) {
        return startNewDay(dayTime);
    }
    if (pendingTime <= headlineTime) {
        std::pop_heap(m_pending.begin(), m_pending.end(),
                      [](const Pending& a, const Pending& b) { return laterFirst(a, b); });
        Pending p = std::move(m_pending.back());
        m_pending.pop_back();
        m_clock = std::max(m_clock, static_cast<double>(p.time));
        m_lastTime = p.time;
        return std::move(p.event);
    }
    m_clock = candidate;
    m_lastTime = headlineTime;
    return headline(headlineTime);
}

FeedEvent NewsGenerator::startNewDay(std::int64_t time) {
    m_day = addDays(m_day, 1);
    m_seq.clear();
    // A correction is only ever sent on its headline's day; late stories name their day.
    std::erase_if(m_pending, [](const Pending& p) { return p.event.kind == FeedEventKind::Resend; });
    std::make_heap(m_pending.begin(), m_pending.end(),
                   [](const Pending& a, const Pending& b) { return laterFirst(a, b); });
    m_nextNewDay = time + std::max<std::int64_t>(1, m_options.dayLength);
    m_clock = std::max(m_clock, static_cast<double>(time));
    m_lastTime = time;
    for (const unsigned char service : m_services) {
        FeedEvent e;
        e.kind = FeedEventKind::NewDay;
        e.service = service;
        e.time = time;
        e.day = m_day;
        m_ready.push_back(std::move(e));
    }
    FeedEvent first = std::move(m_ready.front());
    m_ready.erase(m_ready.begin());
    return first;
}

NewsGenerator::Values NewsGenerator::values(const BuiltinSymbol& symbol, bool warrant) {
    Values v;
    const int month = m_day / 100 % 100;
    const int later = addDays(m_day, 1 + static_cast<int>(pick(30)));
    char md[8];
    std::snprintf(md, sizeof md, "%02d/%02d", later / 100 % 100, later % 100);
    v["month"] = number(month);
    v["md"] = md;
    v["year"] = number(m_day / 10000 - (month <= 3 ? 1 : 0));
    v["amt"] = fixed(1 + unit() * 2000, 2);
    v["pct"] = fixed(unit() * 80, 1);
    v["div"] = fixed(0.3 + unit() * 18, 2);
    v["shares"] = number(static_cast<long long>(100 + pick(500) * 100));
    v["q"] = number(static_cast<long long>(1 + pick(4)));
    v["eps"] = fixed(unit() * 40 - 2, 2);
    v["price"] = fixed(5 + unit() * 995, 1);
    v["vol"] = number(static_cast<long long>(200 + pick(60000)));
    v["days"] = number(static_cast<long long>(2 + pick(9)));
    v["count"] = number(static_cast<long long>(1 + pick(12)));
    v["ratio"] = fixed(0.01 + unit() * 0.2, 3);
    for (const char* slot : {"asset", "media", "topic", "period", "updown"}) {
        v[slot] = word(slot);
    }
    if (warrant) {
        v["wname"] = symbol.name;
        v["wcode"] = symbol.code;
        v["uname"] = symbol.underlying;
        v["issuer"] = symbol.issuer;
        v["name"] = symbol.underlying;
    } else {
        v["name"] = symbol.name;
        v["code"] = symbol.code;
        v["issuer"] = word("issuer");
    }
    return v;
}

CString NewsGenerator::story(bool warrant, const Values& values) {
    const BuiltinCatalog& catalog = builtinCatalog();
    const std::vector<TextTemplate>& sentences = warrant ? catalog.warrantSentences : catalog.stockSentences;
    const int span = m_options.maxSentences - m_options.minSentences + 1;
    const int count = m_options.minSentences + static_cast<int>(pick(static_cast<std::size_t>(span)));
    CString text;
    int inParagraph = 0;
    std::vector<std::size_t> unused(sentences.size());
    for (std::size_t i = 0; i < unused.size(); ++i) {
        unused[i] = i;
    }
    for (int i = 0; i < count; ++i) {
        // Paragraphs of one to three sentences, separated by the "@@@@" mark.
        if (i > 0 && (inParagraph >= 3 || (inParagraph >= 1 && unit() < 0.4))) {
            text += "@@@@";
            inParagraph = 0;
        }
        const bool closing = count >= 3 && i == count - 1;
        if (closing || unused.empty()) {
            text += renderTemplate(catalog.closingSentences[pick(catalog.closingSentences.size())], values);
        } else {
            // No sentence twice in one story.
            const std::size_t at = pick(unused.size());
            text += renderTemplate(sentences[unused[at]], values);
            unused.erase(unused.begin() + static_cast<std::ptrdiff_t>(at));
        }
        ++inParagraph;
    }
    return m_options.wrapBytes > 0 ? wrapForTransport(text, m_options.wrapBytes) : text;
}

FeedEvent NewsGenerator::headline(std::int64_t time) {
    const BuiltinCatalog& catalog = builtinCatalog();
    FeedEvent e;
    e.kind = FeedEventKind::Headline;
    e.time = time;
    int roll = static_cast<int>(pick(static_cast<std::size_t>(std::max(1, m_totalWeight))));
    std::size_t index = 0;
    while (index + 1 < m_services.size() && roll >= m_weights[index]) {
        roll -= m_weights[index++];
    }
    e.service = m_services.empty() ? 16 : m_services[index];
    e.seq = ++m_seq[e.service];
    const BuiltinService* service = catalog.service(e.service);
    const bool warrant = service->kind == ServiceKind::Warrants;
    const BuiltinSymbol& symbol = service->symbols[pick(service->symbols.size())];
    const std::vector<CategoryTemplates>& families = warrant ? catalog.warrantTitles : catalog.stockTitles;
    const CategoryTemplates& family = families[pick(families.size())];
    const Values v = values(symbol, warrant);
    e.category = family.category;
    e.title = renderTemplate(family.titles[pick(family.titles.size())], v);
    e.symbols.push_back(CSymbolInfo{e.service, symbol.code, symbol.name});

    const double storyRoll = unit();
    if (storyRoll >= m_options.noStoryShare) {
        CString text = story(warrant, v);
        if (unit() < m_options.storyCorrectionShare) {
            // Sent again later with its first sentence corrected: the terminal shows the change.
            FeedEvent corrected;
            corrected.kind = FeedEventKind::Story;
            corrected.service = e.service;
            corrected.seq = e.seq;
            corrected.day = m_day;
            corrected.time = time + m_options.lateStoryMaxDelay + 10 + static_cast<std::int64_t>(pick(300));
            corrected.story = catalog.resendMark + story(warrant, v);
            schedule(corrected.time, std::move(corrected));
        }
        if (storyRoll < m_options.noStoryShare + m_options.lateStoryShare) {
            FeedEvent late;
            late.kind = FeedEventKind::Story;
            late.service = e.service;
            late.seq = e.seq;
            late.day = m_day;
            late.time =
                time + 3 +
                static_cast<std::int64_t>(pick(static_cast<std::size_t>(std::max(1, m_options.lateStoryMaxDelay))));
            late.story = std::move(text);
            schedule(late.time, std::move(late));
        } else {
            e.story = std::move(text);
        }
    }
    // Drawn only when asked for, so that other options give the same news as before.
    if (m_options.lossShare > 0 && unit() < m_options.lossShare) {
        e.lost = true;
    }
    if (unit() < m_options.resendShare) {
        FeedEvent again = e;
        again.kind = FeedEventKind::Resend;
        again.time = time + 30 + static_cast<std::int64_t>(pick(600));
        again.title = catalog.resendMark + e.title;
        again.story.reset();
        again.lost = false;
        schedule(again.time, std::move(again));
    }
    return e;
}

CString renderTemplate(const TextTemplate& text, const std::map<std::string, CString, std::less<>>& values) {
    CString out;
    for (const TemplatePiece& piece : text) {
        if (piece.slot.empty()) {
            out += piece.literal;
        } else if (const auto it = values.find(piece.slot); it != values.end()) {
            out += it->second;
        }
    }
    return out;
}

CString wrapForTransport(std::string_view text, std::size_t width) {
    if (width == 0) {
        return CString(text);
    }
    CString out;
    out.reserve(text.size() + text.size() / width * 2 + 2);
    while (text.size() > width) {
        std::size_t cut = cp950::cutLength(text, width);
        if (cut == 0) {
            cut = std::max<std::size_t>(1, cp950::charLength(text, 0));
        }
        out.append(text.substr(0, cut));
        out += "\r\n";
        text.remove_prefix(cut);
    }
    out.append(text);
    return out;
}

void GeneratorFeed::start(GeneratorFeedOptions options, Sink sink) {
    m_thread.start([this, options = std::move(options), sink = std::move(sink)] {
        NewsGenerator generator(options.generator);
        const auto begin = std::chrono::steady_clock::now();
        std::vector<FeedEvent> batch;
        const std::size_t batchSize = std::max<std::size_t>(1, options.batchSize);
        for (std::uint64_t n = 0; options.maxEvents == 0 || n < options.maxEvents; ++n) {
            if (options.eventsPerSecond > 0) {
                const auto due =
                    begin + std::chrono::duration_cast<std::chrono::steady_clock::duration>(
                                std::chrono::duration<double>(static_cast<double>(n) / options.eventsPerSecond));
                if (!m_thread.waitUntil(due)) {
                    return;
                }
                sink({generator.next()});
                continue;
            }
            if (m_thread.stopping()) {
                return;
            }
            batch.push_back(generator.next());
            if (batch.size() >= batchSize) {
                sink(std::move(batch));
                batch.clear();
            }
        }
        if (!batch.empty()) {
            sink(std::move(batch));
        }
    });
}

} // namespace embedded
