#include "adapters/headless/scripted_backend.h"

#include <algorithm>
#include <ctime>

#include "host/text/cp950.h"
#include "host/text/format.h"

namespace headless {

namespace {
std::string quoted(const CString& text) {
    return "\"" + text + "\"";
}
std::string yes(bool value) {
    return value ? "true" : "false";
}
} // namespace

std::string describeEntry(const CHeadlineTable& entry) {
    std::string time = text::formatLocalTime("%H:%M:%S", entry.m_tTime);
    if (time.empty()) {
        time = std::to_string(entry.m_tTime);
    }
    return std::to_string(entry.m_byService) + "#" + std::to_string(entry.m_iSeqNo) + "@" + time;
}

std::string describeEntries(const std::vector<CHeadlineTable>& entries) {
    constexpr std::size_t kShown = 8;
    std::string out = "[";
    for (std::size_t i = 0; i < entries.size() && i < kShown; ++i) {
        out += (i > 0 ? " " : "") + describeEntry(entries[i]);
    }
    if (entries.size() > kShown) {
        out += " +" + std::to_string(entries.size() - kShown) + " more";
    }
    return out + "]";
}

std::string describeSearch(const CSearch& condition) {
    std::string out = "search(";
    for (std::size_t i = 0; i < condition.m_vKeywords.size(); ++i) {
        out += (i > 0 ? "," : "") + quoted(condition.m_vKeywords[i]);
    }
    out += " scope=" + std::to_string(condition.m_byScope) + " method=" + std::to_string(condition.m_byMethod);
    if (!condition.m_vSymbols.empty()) {
        out += " symbols=";
        for (std::size_t i = 0; i < condition.m_vSymbols.size(); ++i) {
            out += (i > 0 ? "," : "") + condition.m_vSymbols[i];
        }
    }
    return out + ")";
}

ScriptedBackend::ScriptedBackend() = default;

ScriptedBackend::~ScriptedBackend() {
    uninstall();
}

void ScriptedBackend::install() {
    BKQuoteInterface::SetBKInterface(this);
    SearchControl::SetSearchObjInterface(&m_symbolSearch);
    m_installed = true;
}

void ScriptedBackend::uninstall() {
    if (!m_installed) {
        return;
    }
    if (BKQuoteInterface::GetBKInterface() == this) {
        BKQuoteInterface::SetBKInterface(nullptr);
    }
    if (SearchControl::GetSearchObjInterface() == &m_symbolSearch) {
        SearchControl::SetSearchObjInterface(nullptr);
    }
    m_installed = false;
}

// --- Content ---

ScriptedBackend::Service* ScriptedBackend::findService(unsigned char service) {
    const auto it =
        std::find_if(m_services.begin(), m_services.end(), [&](const Service& s) { return s.id == service; });
    return it != m_services.end() ? &*it : nullptr;
}

void ScriptedBackend::addService(unsigned char service, const CString& fullName, const CString& shortName,
                                 const CString& currentDate) {
    if (Service* existing = findService(service)) {
        *existing = Service{service, fullName, shortName, currentDate};
        return;
    }
    m_services.push_back(Service{service, fullName, shortName, currentDate});
}

void ScriptedBackend::setCurrentDate(unsigned char service, const CString& date) {
    if (Service* s = findService(service)) {
        s->currentDate = date;
    }
}

CString ScriptedBackend::serviceDate(unsigned char service) const {
    for (const Service& s : m_services) {
        if (s.id == service) {
            return s.currentDate;
        }
    }
    return {};
}

std::vector<unsigned char> ScriptedBackend::serviceIds() const {
    std::vector<unsigned char> ids;
    for (const Service& s : m_services) {
        ids.push_back(s.id);
    }
    return ids;
}

void ScriptedBackend::addQuoteService(unsigned char service, const CString& name) {
    m_quoteServices.emplace_back(service, name);
}

void ScriptedBackend::setAuthorized(unsigned char service, bool authorized) {
    m_authorized[service] = authorized;
}

void ScriptedBackend::setSameAuthGroup(unsigned char a, unsigned char b) {
    m_sameAuth.emplace_back(a, b);
}

void ScriptedBackend::setCategories(unsigned char service,
                                    const std::vector<std::pair<CString, CString>>& idsAndNames) {
    m_categories[service] = idsAndNames;
}

void ScriptedBackend::addCategory(unsigned char service, const CString& id, const CString& name) {
    m_categories[service].emplace_back(id, name);
}

void ScriptedBackend::addSymbol(unsigned char service, const CString& code, const CString& name, int category,
                                const CString& commodity) {
    if (m_symbols.find(service) == m_symbols.end()) {
        m_symbolServiceOrder.push_back(service);
    }
    m_symbols[service].push_back(Symbol{code, name, category, commodity, {}});
}

void ScriptedBackend::setSymbolItem(unsigned char service, const CString& code, int item, const CString& value) {
    auto it = m_symbols.find(service);
    if (it == m_symbols.end()) {
        return;
    }
    for (Symbol& s : it->second) {
        if (s.code == code) {
            s.items[item] = value;
        }
    }
}

const ScriptedBackend::Symbol* ScriptedBackend::findSymbol(unsigned char service, const CString& code) const {
    const auto it = m_symbols.find(service);
    if (it == m_symbols.end()) {
        return nullptr;
    }
    const auto found =
        std::find_if(it->second.begin(), it->second.end(), [&](const Symbol& s) { return s.code == code; });
    return found != it->second.end() ? &*found : nullptr;
}

CHeadlineTable ScriptedBackend::entryOf(const CHeadline& headline) {
    CHeadlineTable entry;
    entry.m_byService = headline.m_byService;
    entry.m_tTime = headline.m_tTime;
    entry.m_iSeqNo = headline.m_iSeqNo;
    entry.m_llValue2 = headline.m_iSeqNo;
    entry.m_ullLast = 0;
    return entry;
}

CString ScriptedBackend::dateKey(std::int64_t time) {
    std::tm local{};
    if (!text::localTime(time, local)) {
        return {};
    }
    return text::format("%04d%02d%02d", local.tm_year + 1900, local.tm_mon + 1, local.tm_mday);
}

void ScriptedBackend::appendUnique(unsigned char service, int kind, const CString& key, const CHeadlineTable& entry) {
    std::vector<CHeadlineTable>& entries = m_tables[TableKey{service, kind, key}];
    if (std::none_of(entries.begin(), entries.end(), [&](const CHeadlineTable& e) { return bSameKey(e, entry); })) {
        entries.push_back(entry);
        m_tableStamps[TableKey{service, kind, key}] = ++m_lastStamp;
    }
}

CHeadlineTable ScriptedBackend::addHeadline(const CHeadline& headline, const std::vector<CSymbolInfo>& related) {
    const CHeadlineTable entry = entryOf(headline);
    m_headlines[keyOf(entry)] = headline;
    appendUnique(headline.m_byService, kByDate, dateKey(headline.m_tTime), entry);
    appendUnique(headline.m_byService, kByCategory, std::to_string(headline.m_iCategory), entry);
    if (!related.empty()) {
        setRelatedSymbols(entry, related);
    }
    return entry;
}

void ScriptedBackend::setStory(const CHeadlineTable& entry, const CString& text, std::int64_t storyTime) {
    m_partialStories.erase(keyOf(entry));
    m_stories[keyOf(entry)] = CStory{entry, storyTime != 0 ? storyTime : entry.m_tTime, text};
}

void ScriptedBackend::setPartialStory(const CHeadlineTable& entry, const CString& text) {
    m_stories.erase(keyOf(entry));
    m_partialStories[keyOf(entry)] = CStory{entry, entry.m_tTime, text};
}

void ScriptedBackend::removeStory(const CHeadlineTable& entry) {
    m_stories.erase(keyOf(entry));
    m_partialStories.erase(keyOf(entry));
}

void ScriptedBackend::setRelatedSymbols(const CHeadlineTable& entry, const std::vector<CSymbolInfo>& symbols) {
    m_related[keyOf(entry)] = CNewsSymLst{symbols};
    for (const CSymbolInfo& s : symbols) {
        appendUnique(entry.m_byService, kBySymbol, s.m_strCode, entry);
    }
}

void ScriptedBackend::setTable(unsigned char service, int kind, const CString& key,
                               const std::vector<CHeadlineTable>& entries) {
    m_tables[TableKey{service, kind, key}] = entries;
    m_tableStamps[TableKey{service, kind, key}] = ++m_lastStamp;
}

std::uint64_t ScriptedBackend::BKQNEWS_ullGetHeadlineTableStamp(unsigned char service, int kind, const CString& key) {
    // A table never set has the stamp of an empty table that has not changed yet.
    const auto it = m_tableStamps.find(TableKey{service, kind, key});
    return it != m_tableStamps.end() ? it->second : 1;
}

const std::vector<CHeadlineTable>* ScriptedBackend::table(unsigned char service, int kind, const CString& key) const {
    const auto it = m_tables.find(TableKey{service, kind, key});
    return it != m_tables.end() ? &it->second : nullptr;
}

const CHeadline* ScriptedBackend::headline(const CHeadlineTable& entry) const {
    const auto it = m_headlines.find(keyOf(entry));
    return it != m_headlines.end() ? &it->second : nullptr;
}

const CHeadline* ScriptedBackend::headlineBySeq(unsigned char service, std::int32_t seqNo) const {
    const CHeadline* newest = nullptr;
    for (const auto& [key, h] : m_headlines) {
        if (h.m_byService == service && h.m_iSeqNo == seqNo && (newest == nullptr || h.m_tTime >= newest->m_tTime)) {
            newest = &h;
        }
    }
    return newest;
}

std::vector<std::string> ScriptedBackend::callsSince(std::size_t mark) const {
    if (mark >= m_calls.size()) {
        return {};
    }
    return std::vector<std::string>(m_calls.begin() + static_cast<std::ptrdiff_t>(mark), m_calls.end());
}

std::size_t ScriptedBackend::countCalls(std::string_view operation, std::size_t since) const {
    std::size_t count = 0;
    for (std::size_t i = since; i < m_calls.size(); ++i) {
        const std::string_view call = m_calls[i];
        if (call.substr(0, call.find('(')) == operation) {
            ++count;
        }
    }
    return count;
}

// --- Look-ups ---

int ScriptedBackend::BKQNEWS_iGetHeadlineTable(std::vector<CHeadlineTable>& out, unsigned char service,
                                               const CSymbolInfo& symbol) {
    const std::vector<CHeadlineTable>* entries = table(service, kBySymbol, symbol.m_strCode);
    const int count = entries != nullptr ? static_cast<int>(entries->size()) : 0;
    if (entries != nullptr) {
        out.insert(out.end(), entries->begin(), entries->end());
    }
    log([&] {
        return std::string("BKQNEWS_iGetHeadlineTable(" + std::to_string(service) + ", symbol " +
                           std::to_string(symbol.m_byMarket) + ":" + symbol.m_strCode + ") -> " +
                           std::to_string(count));
    });
    return count;
}

int ScriptedBackend::BKQNEWS_iGetHeadlineTable(unsigned char service, std::vector<CHeadlineTable>& out, int kind,
                                               const CString& key) {
    const std::vector<CHeadlineTable>* entries = table(service, kind, key);
    const int count = entries != nullptr ? static_cast<int>(entries->size()) : 0;
    if (entries != nullptr) {
        out.insert(out.end(), entries->begin(), entries->end());
    }
    log([&] {
        return std::string("BKQNEWS_iGetHeadlineTable(" + std::to_string(service) + ", kind " + std::to_string(kind) +
                           ", " + quoted(key) + ") -> " + std::to_string(count));
    });
    return count;
}

int ScriptedBackend::BKQNEWS_iGetHeadline(unsigned char service, std::vector<CHeadline>& headlines,
                                          const std::vector<CHeadlineTable>& entries) {
    int added = 0;
    for (const CHeadlineTable& entry : entries) {
        if (entry.m_byService != service) {
            continue;
        }
        if (const CHeadline* h = headline(entry)) {
            headlines.push_back(*h);
            ++added;
        }
    }
    log([&] {
        return std::string("BKQNEWS_iGetHeadline(" + std::to_string(service) + ", " + describeEntries(entries) +
                           ") -> " + std::to_string(added));
    });
    return added;
}

bool ScriptedBackend::BKQNEWS_bGetStory(CStory& story, const CHeadlineTable& entry) {
    const auto it = m_stories.find(keyOf(entry));
    const bool found = it != m_stories.end();
    const auto partial = m_partialStories.find(keyOf(entry));
    story = found ? it->second : partial != m_partialStories.end() ? partial->second : CStory{entry, 0, {}};
    log([&] { return std::string("BKQNEWS_bGetStory(" + describeEntry(entry) + ") -> " + yes(found)); });
    return found;
}

bool ScriptedBackend::BKNEWS_GetSymbolListBySeqNo(CNewsSymLst& symbols, const CHeadlineTable& entry) {
    const auto it = m_related.find(keyOf(entry));
    const bool found = it != m_related.end();
    if (found) {
        symbols = it->second;
    }
    log([&] {
        return std::string("BKNEWS_GetSymbolListBySeqNo(" + describeEntry(entry) + ") -> " +
                           (found ? std::to_string(it->second.m_vSymbols.size()) + " symbols" : std::string("false")));
    });
    return found;
}

bool ScriptedBackend::BKQNEWS_bGetAllNewsService(std::vector<unsigned char>& services) {
    for (const Service& s : m_services) {
        services.push_back(s.id);
    }
    log([&] { return std::string("BKQNEWS_bGetAllNewsService() -> " + std::to_string(m_services.size())); });
    return !m_services.empty();
}

bool ScriptedBackend::BKQNEWS_bGetFullNameByService(CString& name, unsigned char service) {
    const Service* s = findService(service);
    if (s != nullptr) {
        name = s->fullName;
    }
    log([&] {
        return std::string("BKQNEWS_bGetFullNameByService(" + std::to_string(service) + ") -> " +
                           (s ? quoted(s->fullName) : "false"));
    });
    return s != nullptr;
}

bool ScriptedBackend::BKQNEWS_bGetShortNameByService(CString& name, unsigned char service) {
    const Service* s = findService(service);
    if (s != nullptr) {
        name = s->shortName;
    }
    log([&] {
        return std::string("BKQNEWS_bGetShortNameByService(" + std::to_string(service) + ") -> " +
                           (s ? quoted(s->shortName) : "false"));
    });
    return s != nullptr;
}

CString ScriptedBackend::BKQNEWS_cszGetCurrDateByService(unsigned char service) {
    const Service* s = findService(service);
    CString date = s != nullptr ? s->currentDate : CString{};
    log([&] {
        return std::string("BKQNEWS_cszGetCurrDateByService(" + std::to_string(service) + ") -> " + quoted(date));
    });
    return date;
}

unsigned char ScriptedBackend::BKQbyGetNewsDateRange() {
    log([&] { return std::string("BKQbyGetNewsDateRange() -> " + std::to_string(m_dateRange)); });
    return m_dateRange;
}

bool ScriptedBackend::bNewsAPI_GetNewsCatId(unsigned char service, std::vector<CString>& ids,
                                            std::vector<CString>& names) {
    const auto it = m_categories.find(service);
    const bool found = it != m_categories.end();
    if (found) {
        for (const auto& [id, name] : it->second) {
            ids.push_back(id);
            names.push_back(name);
        }
    }
    log([&] {
        return std::string("bNewsAPI_GetNewsCatId(" + std::to_string(service) + ") -> " +
                           (found ? std::to_string(it->second.size()) : std::string("false")));
    });
    return found;
}

int ScriptedBackend::bIsConnect() {
    log([&] { return std::string(std::string("bIsConnect() -> ") + (m_connected ? "1" : "0")); });
    return m_connected ? 1 : 0;
}

bool ScriptedBackend::bGetAllServiceID(std::vector<unsigned char>& services) {
    std::size_t count = 0;
    for (const Service& s : m_services) {
        services.push_back(s.id);
        ++count;
    }
    for (const auto& [id, name] : m_quoteServices) {
        services.push_back(id);
        ++count;
    }
    log([&] { return std::string("bGetAllServiceID() -> " + std::to_string(count)); });
    return count > 0;
}

int ScriptedBackend::BKQCheckAuthSupport(unsigned char service) {
    const auto it = m_authorized.find(service);
    const bool declared =
        findService(service) != nullptr ||
        std::any_of(m_quoteServices.begin(), m_quoteServices.end(), [&](const auto& q) { return q.first == service; });
    const bool authorized = it != m_authorized.end() ? it->second : declared;
    log([&] {
        return std::string("BKQCheckAuthSupport(" + std::to_string(service) + ") -> " + (authorized ? "1" : "0"));
    });
    return authorized ? 1 : 0;
}

bool ScriptedBackend::bGetServiceID2Delay(unsigned char service, unsigned char& delayed) {
    const auto it = m_delayed.find(service);
    const bool found = it != m_delayed.end();
    if (found) {
        delayed = it->second;
    }
    log([&] {
        return std::string("bGetServiceID2Delay(" + std::to_string(service) + ") -> " +
                           (found ? std::to_string(it->second) : std::string("false")));
    });
    return found;
}

bool ScriptedBackend::bGetSymbolID(unsigned char service, std::vector<CString>& codes, std::vector<CString>& names) {
    const auto it = m_symbols.find(service);
    const bool found = it != m_symbols.end();
    if (found) {
        for (const Symbol& s : it->second) {
            codes.push_back(s.code);
            names.push_back(s.name);
        }
    }
    log([&] {
        return std::string("bGetSymbolID(" + std::to_string(service) + ") -> " +
                           (found ? std::to_string(it->second.size()) : std::string("false")));
    });
    return found;
}

int ScriptedBackend::bIsSymbolIDExist(unsigned char service, const CString& code) {
    const bool exists = findSymbol(service, code) != nullptr;
    log([&] {
        return std::string("bIsSymbolIDExist(" + std::to_string(service) + ", " + quoted(code) + ") -> " +
                           (exists ? "1" : "0"));
    });
    return exists ? 1 : 0;
}

int ScriptedBackend::bIsFromTheSameAuthServiceID(unsigned char service, unsigned char other) {
    const bool same = service == other || std::any_of(m_sameAuth.begin(), m_sameAuth.end(), [&](const auto& p) {
                          return (p.first == service && p.second == other) || (p.first == other && p.second == service);
                      });
    log([&] {
        return std::string("bIsFromTheSameAuthServiceID(" + std::to_string(service) + ", " + std::to_string(other) +
                           ") -> " + (same ? "1" : "0"));
    });
    return same ? 1 : 0;
}

bool ScriptedBackend::bGetCategorybySymbolID(int& category, unsigned char service, const CString& code) {
    const Symbol* s = findSymbol(service, code);
    if (s != nullptr) {
        category = s->category;
    }
    log([&] {
        return std::string("bGetCategorybySymbolID(" + std::to_string(service) + ", " + quoted(code) + ") -> " +
                           (s ? std::to_string(s->category) : std::string("false")));
    });
    return s != nullptr;
}

bool ScriptedBackend::bGetCommodityIDBySymbolID(CString& commodity, unsigned char service, const CString& code) {
    const Symbol* s = findSymbol(service, code);
    const bool found = s != nullptr && !s->commodity.empty();
    if (found) {
        commodity = s->commodity;
    }
    log([&] {
        return std::string("bGetCommodityIDBySymbolID(" + std::to_string(service) + ", " + quoted(code) + ") -> " +
                           (found ? quoted(s->commodity) : std::string("false")));
    });
    return found;
}

bool ScriptedBackend::bGetItemDataByItemNo(CString& value, unsigned char service, const CString& code, int item) {
    const Symbol* s = findSymbol(service, code);
    bool found = false;
    if (s != nullptr) {
        const auto it = s->items.find(item);
        if (it != s->items.end()) {
            value = it->second;
            found = true;
        } else if (item == 1019 || item == 2020) {
            value = s->name;
            found = true;
        }
    }
    log([&] {
        return std::string("bGetItemDataByItemNo(" + std::to_string(service) + ", " + quoted(code) + ", " +
                           std::to_string(item) + ") -> " + (found ? quoted(value) : std::string("false")));
    });
    return found;
}

bool ScriptedBackend::bSymbolNameIsShowRealMonth() {
    log([&] { return std::string("bSymbolNameIsShowRealMonth() -> " + yes(m_showRealMonth)); });
    return m_showRealMonth;
}

CString ScriptedBackend::LangGetLangString(const CString& key) {
    CString text = m_language.text(key);
    log([&] { return std::string("LangGetLangString(" + quoted(key) + ") -> " + quoted(text)); });
    return text;
}

bool ScriptedBackend::LangIsConvertToSimplified(const unsigned char& service) {
    const auto it = m_simplified.find(service);
    const bool convert = it != m_simplified.end() && it->second;
    log([&] { return std::string("LangIsConvertToSimplified(" + std::to_string(service) + ") -> " + yes(convert)); });
    return convert;
}

bool ScriptedBackend::LangConvertToSimplifiedChinese(const CString& in, CString& out) {
    CString result;
    std::size_t pos = 0;
    while (pos < in.size()) {
        // Longest table entry starting here wins; otherwise one character is copied.
        std::size_t matched = 0;
        for (const auto& [from, to] : m_conversion) {
            if (from.size() > matched && in.compare(pos, from.size(), from) == 0 &&
                cp950::isCharBoundary(in, pos + from.size())) {
                matched = from.size();
            }
        }
        if (matched > 0) {
            result += m_conversion.at(in.substr(pos, matched));
            pos += matched;
        } else {
            const std::size_t length = std::max<std::size_t>(1, cp950::charLength(in, pos));
            result.append(in, pos, length);
            pos += length;
        }
    }
    out = result;
    log([&] { return std::string("LangConvertToSimplifiedChinese(" + quoted(in) + ") -> " + quoted(out)); });
    return true;
}

CString ScriptedBackend::PathGetSysPath() {
    log([&] { return std::string("PathGetSysPath() -> " + quoted(m_sysPath)); });
    return m_sysPath;
}

int ScriptedBackend::AppInfoGetProductID() {
    log([&] { return std::string("AppInfoGetProductID() -> " + std::to_string(m_productId)); });
    return m_productId;
}

} // namespace headless
