#include "embedded_backend/news_cache.h"

#include <algorithm>
#include <limits>
#include <unordered_set>

namespace embedded {

void NewsCache::eraseEntry(Table& table, const CHeadlineTable& entry) {
    // Recent headlines are re-sent far more often than old ones: search from the end.
    for (auto it = table.rbegin(); it != table.rend(); ++it) {
        if (bSameKey(*it, entry)) {
            table.erase(std::next(it).base());
            return;
        }
    }
}

const NewsCache::Item* NewsCache::find(const CHeadlineTable& entry) const {
    const std::uint32_t* slot = m_byEntry.find(keyOf(entry));
    return slot == nullptr ? nullptr : &m_items[*slot];
}

void NewsCache::removeItem(std::uint32_t slot, bool keepStory, std::optional<Story>* story) {
    Item& item = m_items[slot];
    const CHeadline& h = item.headline;
    const CHeadlineTable entry{h.m_byService, h.m_tTime, h.m_iSeqNo, 0, 0};
    if (const std::uint32_t* byEntry = m_byEntry.find(keyOf(entry)); byEntry != nullptr && *byEntry == slot) {
        m_byEntry.erase(keyOf(entry));
    }
    if (const auto d = m_dateTables.find(tableKey(h.m_byService, item.day)); d != m_dateTables.end()) {
        eraseEntry(d->second, entry);
    }
    if (const auto c = m_categoryTables.find(tableKey(h.m_byService, h.m_iCategory)); c != m_categoryTables.end()) {
        eraseEntry(c->second, entry);
    }
    for (const CSymbolInfo& s : item.symbols) {
        if (const auto t = m_symbolTables.find(symbolKey(h.m_byService, s.m_strCode)); t != m_symbolTables.end()) {
            eraseEntry(t->second, entry);
        }
    }
    if (keepStory && story != nullptr) {
        *story = std::move(item.story);
    }
    item = Item{};
    m_free.push_back(slot);
}

void NewsCache::load(std::vector<HeadlineRecord> headlines, const std::vector<StoryRecord>& stories,
                     const std::map<unsigned char, int>& currentDays) {
    m_items.reserve(m_items.size() + headlines.size());
    m_byEntry.reserve(m_byEntry.size() + headlines.size());
    m_byDaySeq.reserve(m_byDaySeq.size() + headlines.size());
    for (HeadlineRecord& h : headlines) {
        putHeadline(std::move(h));
    }
    for (const StoryRecord& s : stories) {
        putStory(s);
    }
    for (const auto& [service, day] : currentDays) {
        m_currentDays[service] = day;
    }
}

NewsCache::PutResult NewsCache::putHeadline(HeadlineRecord r) {
    PutResult result;
    result.entry = CHeadlineTable{r.service, r.time, r.seq, 0, 0};
    const DayKey daySeq{r.service, r.day, r.seq};
    std::optional<Story> story;
    if (const std::uint32_t* old = m_byDaySeq.find(daySeq); old != nullptr) {
        // A re-sent headline replaces the earlier version and keeps its story.
        const std::uint32_t oldSlot = *old;
        const Item& previous = m_items[oldSlot];
        result.replaced = true;
        result.previousEntry = CHeadlineTable{r.service, previous.headline.m_tTime, r.seq, 0, 0};
        result.previousCategory = previous.headline.m_iCategory;
        for (const CSymbolInfo& s : previous.symbols) {
            result.previousSymbols.push_back(s.m_strCode);
        }
        removeItem(oldSlot, true, &story);
        m_byDaySeq.erase(daySeq);
    }
    if (const auto waiting = m_waitingStories.find(daySeq); waiting != m_waitingStories.end()) {
        story = std::move(waiting->second);
        m_waitingStories.erase(waiting);
    }
    std::uint32_t slot = 0;
    if (!m_free.empty()) {
        slot = m_free.back();
        m_free.pop_back();
    } else {
        slot = static_cast<std::uint32_t>(m_items.size());
        m_items.emplace_back();
    }
    Item& item = m_items[slot];
    item.headline.m_byService = r.service;
    item.headline.m_tTime = r.time;
    item.headline.m_iSeqNo = r.seq;
    item.headline.m_strTitle = std::move(r.title);
    item.headline.m_iCategory = r.category;
    item.day = r.day;
    item.symbols = std::move(r.symbols);
    item.story = std::move(story);

    // Two headlines with one key cannot both be reached by key: the newer one wins.
    if (const std::uint32_t* clash = m_byEntry.find(keyOf(result.entry)); clash != nullptr) {
        const std::uint32_t clashSlot = *clash;
        const Item& other = m_items[clashSlot];
        m_byDaySeq.erase(DayKey{other.headline.m_byService, other.day, other.headline.m_iSeqNo});
        removeItem(clashSlot, false, nullptr);
    }
    m_byEntry.set(keyOf(result.entry), slot);
    m_byDaySeq.set(daySeq, slot);
    m_dateTables[tableKey(r.service, r.day)].push_back(result.entry);
    m_categoryTables[tableKey(r.service, r.category)].push_back(result.entry);
    const std::vector<CSymbolInfo>& symbols = m_items[slot].symbols;
    for (std::size_t i = 0; i < symbols.size(); ++i) {
        const CString& code = symbols[i].m_strCode;
        const bool repeated = std::any_of(symbols.begin(), symbols.begin() + static_cast<std::ptrdiff_t>(i),
                                          [&](const CSymbolInfo& s) { return s.m_strCode == code; });
        if (!repeated) {
            m_symbolTables[symbolKey(r.service, code)].push_back(result.entry);
        }
    }
    return result;
}

std::optional<CHeadlineTable> NewsCache::putStory(const StoryRecord& s, bool* replaced) {
    const DayKey key{s.service, s.day, s.seq};
    const std::uint32_t* slot = m_byDaySeq.find(key);
    if (slot == nullptr) {
        if (replaced != nullptr) {
            *replaced = m_waitingStories.count(key) != 0;
        }
        m_waitingStories[key] = Story{s.time, s.text};
        return std::nullopt;
    }
    Item& item = m_items[*slot];
    if (replaced != nullptr) {
        *replaced = item.story.has_value();
    }
    item.story = Story{s.time, s.text};
    return CHeadlineTable{s.service, item.headline.m_tTime, s.seq, 0, 0};
}

void NewsCache::dropBefore(unsigned char service, int keepFrom) {
    std::vector<std::uint32_t> slots;
    for (auto it = m_dateTables.begin(); it != m_dateTables.end();) {
        const auto tableService = static_cast<unsigned char>(it->first >> 32);
        const auto day = static_cast<int>(static_cast<std::uint32_t>(it->first));
        if (tableService != service || day >= keepFrom) {
            ++it;
            continue;
        }
        for (const CHeadlineTable& e : it->second) {
            if (const std::uint32_t* found = m_byEntry.find(keyOf(e)); found != nullptr) {
                slots.push_back(*found);
            }
        }
        it = m_dateTables.erase(it);
    }
    if (slots.empty()) {
        std::erase_if(m_waitingStories,
                      [&](const auto& w) { return w.first.service == service && w.first.day < keepFrom; });
        return;
    }
    std::unordered_set<EntryKey, EntryHash> gone;
    for (const std::uint32_t slot : slots) {
        Item& item = m_items[slot];
        const CHeadline& h = item.headline;
        gone.insert(EntryKey{h.m_byService, h.m_iSeqNo, h.m_tTime});
        m_byEntry.erase(EntryKey{h.m_byService, h.m_iSeqNo, h.m_tTime});
        m_byDaySeq.erase(DayKey{h.m_byService, item.day, h.m_iSeqNo});
        item = Item{};
        m_free.push_back(slot);
    }
    // One pass over the service's other tables rather than a search per dropped entry.
    auto sweep = [&](auto& table) {
        std::erase_if(table, [&](const CHeadlineTable& e) { return gone.count(keyOf(e)) > 0; });
    };
    for (auto& [key, table] : m_categoryTables) {
        if (static_cast<unsigned char>(key >> 32) == service) {
            sweep(table);
        }
    }
    for (auto& [key, table] : m_symbolTables) {
        if (static_cast<unsigned char>(key[0]) == service) {
            sweep(table);
        }
    }
    for (auto& [key, table] : m_searchResults) {
        if (key.first == service) {
            sweep(table);
        }
    }
    std::erase_if(m_waitingStories,
                  [&](const auto& w) { return w.first.service == service && w.first.day < keepFrom; });
}

void NewsCache::setSearchResults(unsigned char service, int kind, std::vector<CHeadlineTable> entries) {
    m_searchResults[{service, kind}] = std::move(entries);
}

namespace {

template <class Table>
int append(const Table& from, std::vector<CHeadlineTable>& out,
           std::size_t limit = std::numeric_limits<std::size_t>::max()) {
    const std::size_t count = std::min(limit, from.size());
    out.insert(out.end(), from.end() - static_cast<std::ptrdiff_t>(count), from.end());
    return static_cast<int>(count);
}

} // namespace

int NewsCache::dateTable(unsigned char service, int day, std::vector<CHeadlineTable>& out) const {
    const auto it = m_dateTables.find(tableKey(service, day));
    return it == m_dateTables.end() ? 0 : append(it->second, out);
}

int NewsCache::categoryTable(unsigned char service, std::int32_t category, std::vector<CHeadlineTable>& out) const {
    const auto it = m_categoryTables.find(tableKey(service, category));
    return it == m_categoryTables.end() ? 0 : append(it->second, out, m_tableDepth);
}

int NewsCache::symbolTable(unsigned char service, const CString& code, std::vector<CHeadlineTable>& out) const {
    const auto it = m_symbolTables.find(symbolKey(service, code));
    return it == m_symbolTables.end() ? 0 : append(it->second, out, m_tableDepth);
}

int NewsCache::searchResults(unsigned char service, int kind, std::vector<CHeadlineTable>& out) const {
    const auto it = m_searchResults.find({service, kind});
    return it == m_searchResults.end() ? 0 : append(it->second, out);
}

int NewsCache::headlines(unsigned char service, const std::vector<CHeadlineTable>& entries,
                         std::vector<CHeadline>& out) const {
    int count = 0;
    for (const CHeadlineTable& e : entries) {
        if (e.m_byService != service) {
            continue;
        }
        if (const Item* item = find(e)) {
            out.push_back(item->headline);
            ++count;
        }
    }
    return count;
}

bool NewsCache::holds(const CHeadlineTable& entry) const {
    return find(entry) != nullptr;
}

const CHeadline* NewsCache::headline(const CHeadlineTable& entry) const {
    const Item* item = find(entry);
    return item == nullptr ? nullptr : &item->headline;
}

std::optional<NewsCache::StoryKey> NewsCache::storyKey(const CHeadlineTable& entry) const {
    const Item* item = find(entry);
    if (item == nullptr) {
        return std::nullopt;
    }
    return StoryKey{entry.m_byService, item->day, entry.m_iSeqNo};
}

bool NewsCache::story(const CHeadlineTable& entry, CStory& out) const {
    const Item* item = find(entry);
    if (item == nullptr || !item->story) {
        return false;
    }
    out.m_entry = entry;
    out.m_tTime = item->story->time;
    out.m_strText = item->story->text;
    return true;
}

bool NewsCache::hasStory(const CHeadlineTable& entry) const {
    const Item* item = find(entry);
    return item != nullptr && item->story.has_value();
}

const std::vector<CSymbolInfo>* NewsCache::symbols(const CHeadlineTable& entry) const {
    const Item* item = find(entry);
    return item == nullptr ? nullptr : &item->symbols;
}

int NewsCache::currentDay(unsigned char service) const {
    const auto it = m_currentDays.find(service);
    return it == m_currentDays.end() ? 0 : it->second;
}

} // namespace embedded
