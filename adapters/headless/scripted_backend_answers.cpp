#include <algorithm>

#include "adapters/headless/scripted_backend.h"
#include "host/backend/news_receiver.h"
#include "host/backend/subscriptions.h"
#include "host/text/cp950.h"
#include "host/text/format.h"

namespace headless {

namespace {
std::string quoted(const CString& text) {
    return "\"" + text + "\"";
}
} // namespace

// --- Requests ---

bool ScriptedBackend::request(Request pending) {
    // A disconnected back end cannot send a request: it says so and remembers nothing.
    log([&] { return std::string(pending.description + " -> " + (m_connected ? "true" : "false")); });
    if (m_connected) {
        m_pending.push_back(std::move(pending));
    }
    return m_connected;
}

void ScriptedBackend::settle(Request::Kind kind, unsigned char service, int tableKind, const CString& key) {
    const auto it = std::find_if(m_pending.begin(), m_pending.end(), [&](const Request& r) {
        if (r.kind != kind || r.service != service) {
            return false;
        }
        switch (kind) {
        case Request::Kind::kTable:
        case Request::Kind::kSearch:
            return r.tableKind == tableKind && (kind == Request::Kind::kSearch || r.key == key);
        case Request::Kind::kSymbolTable:
            return r.key == key;
        case Request::Kind::kStory:
            return std::to_string(r.entry.m_tTime) + "/" + std::to_string(r.entry.m_iSeqNo) == key;
        case Request::Kind::kRecover:
            return true;
        case Request::Kind::kMemory:
            return r.key == key;
        }
        return false;
    });
    if (it != m_pending.end()) {
        m_pending.erase(it);
    }
}

bool ScriptedBackend::BKQNews_bReRequestHeadlineStory(const CHeadlineTable& entry) {
    Request r;
    r.kind = Request::Kind::kStory;
    r.service = entry.m_byService;
    r.entry = entry;
    r.description = "BKQNews_bReRequestHeadlineStory(" + describeEntry(entry) + ")";
    return request(std::move(r));
}

bool ScriptedBackend::BKNEWS_bReRequestHeadlineTable(unsigned char service, const CSymbolInfo& symbol) {
    Request r;
    r.kind = Request::Kind::kSymbolTable;
    r.service = service;
    r.tableKind = kBySymbol;
    r.key = symbol.m_strCode;
    r.description = "BKNEWS_bReRequestHeadlineTable(" + std::to_string(service) + ", symbol " +
                    std::to_string(symbol.m_byMarket) + ":" + symbol.m_strCode + ")";
    return request(std::move(r));
}

bool ScriptedBackend::BKNEWS_bReRequestHeadlineTable(unsigned char service, int kind, const CString& key) {
    Request r;
    r.kind = Request::Kind::kTable;
    r.service = service;
    r.tableKind = kind;
    r.key = key;
    r.description = "BKNEWS_bReRequestHeadlineTable(" + std::to_string(service) + ", kind " + std::to_string(kind) +
                    ", " + quoted(key) + ")";
    return request(std::move(r));
}

bool ScriptedBackend::BKQNEWS_bReCoverHeadline(unsigned char service, std::vector<CHeadline>& headlines,
                                               const std::vector<CHeadlineTable>& entries) {
    // What the cache holds comes back at once; the answer (RespHeadLine) comes when the test says.
    for (const CHeadlineTable& entry : entries) {
        if (const CHeadline* h = entry.m_byService == service ? headline(entry) : nullptr) {
            headlines.push_back(*h);
        }
    }
    Request r;
    r.kind = Request::Kind::kRecover;
    r.service = service;
    r.entries = entries;
    r.description = "BKQNEWS_bReCoverHeadline(" + std::to_string(service) + ", " + describeEntries(entries) + ")";
    return request(std::move(r));
}

bool ScriptedBackend::BKQNEWS_bSearchNews(unsigned char service, int kind, const CSearch& condition) {
    Request r;
    r.kind = Request::Kind::kSearch;
    r.service = service;
    r.tableKind = kind;
    r.key = "SEARCH";
    r.condition = condition;
    r.description = "BKQNEWS_bSearchNews(" + std::to_string(service) + ", kind " + std::to_string(kind) + ", " +
                    describeSearch(condition) + ")";
    return request(std::move(r));
}

// --- Deliveries ---

template <class Deliver> int ScriptedBackend::deliverTo(unsigned char service, Deliver deliver) {
    NewsSubscriptions& subscriptions = NewsSubscriptions::instance();
    // A copy: receivers may register and unregister while the callbacks run.
    const std::vector<NewsReceiver*> receivers = subscriptions.receiversFor(service);
    int reached = 0;
    for (NewsReceiver* receiver : receivers) {
        if (subscriptions.isRegistered(receiver, service)) {
            deliver(*receiver);
            ++reached;
        }
    }
    return reached;
}

int ScriptedBackend::pushHeadline(const CHeadline& pushed, const CString& categoryId, const CString& symbolCode) {
    if (!m_connected) {
        return -1;
    }
    const CHeadlineTable entry = entryOf(pushed);
    m_headlines[keyOf(entry)] = pushed;
    appendUnique(pushed.m_byService, kByDate, dateKey(pushed.m_tTime), entry);
    appendUnique(pushed.m_byService, kByCategory, categoryId.empty() ? std::to_string(pushed.m_iCategory) : categoryId,
                 entry);
    if (!symbolCode.empty()) {
        appendUnique(pushed.m_byService, kBySymbol, symbolCode, entry);
    }
    return deliverTo(pushed.m_byService, [&](NewsReceiver& r) {
        const CHeadline copy = pushed; // each receiver gets its own, whatever the others did
        r.RecvNewHeadLine(&copy, categoryId, symbolCode);
    });
}

int ScriptedBackend::answerHeadlines(const std::vector<CHeadlineTable>& entries) {
    if (entries.empty()) {
        return 0;
    }
    const unsigned char service = entries.front().m_byService;
    settle(Request::Kind::kRecover, service, 0, {});
    return deliverTo(service, [&](NewsReceiver& r) { r.RespHeadLine(entries); });
}

int ScriptedBackend::answerStory(const CHeadlineTable& entry) {
    settle(Request::Kind::kStory, entry.m_byService, 0,
           std::to_string(entry.m_tTime) + "/" + std::to_string(entry.m_iSeqNo));
    return deliverTo(entry.m_byService, [&](NewsReceiver& r) { r.RespStory(entry); });
}

int ScriptedBackend::storyUpdated(const CHeadlineTable& entry) {
    return deliverTo(entry.m_byService, [&](NewsReceiver& r) {
        const CHeadlineTable copy = entry;
        r.StoryUpdateNotify(&copy);
    });
}

int ScriptedBackend::answerSearch(const CSearch& condition, unsigned char service, int kind,
                                  const std::vector<CHeadlineTable>& entries) {
    setTable(service, kind, "SEARCH", entries);
    settle(Request::Kind::kSearch, service, kind, "SEARCH");
    return deliverTo(service, [&](NewsReceiver& r) { r.RespSearchHeadLineTable(condition, service); });
}

int ScriptedBackend::recoverDateTable(unsigned char service, const CString& date,
                                      const std::vector<CHeadlineTable>& entries, signed char status) {
    if (status >= 0) {
        setTable(service, kByDate, date, entries);
    }
    settle(Request::Kind::kTable, service, kByDate, date);
    const CHeadlineTableInfo info{service, status, date};
    return deliverTo(service, [&](NewsReceiver& r) { r.vRecvAllHeadlineTableRecovery(&info); });
}

int ScriptedBackend::recoverCategoryTable(unsigned char service, const CString& categoryId,
                                          const std::vector<CHeadlineTable>& entries, signed char status) {
    if (status >= 0) {
        setTable(service, kByCategory, categoryId, entries);
    }
    settle(Request::Kind::kTable, service, kByCategory, categoryId);
    const CHeadlineTableInfo info{service, status, categoryId};
    return deliverTo(service, [&](NewsReceiver& r) { r.vRecvCatHeadlineTableRecovery(&info); });
}

int ScriptedBackend::recoverSymbolTable(unsigned char service, const CString& code,
                                        const std::vector<CHeadlineTable>& entries, signed char status) {
    if (status >= 0) {
        setTable(service, kBySymbol, code, entries);
    }
    settle(Request::Kind::kSymbolTable, service, kBySymbol, code);
    settle(Request::Kind::kTable, service, kBySymbol, code);
    const CHeadlineTableInfo info{service, status, code};
    return deliverTo(service, [&](NewsReceiver& r) { r.vRecvSymHeadlineTableRecovery(&info); });
}

int ScriptedBackend::recoverRelatedSymbols(const CHeadlineTable& entry, const std::vector<CSymbolInfo>& symbols) {
    setRelatedSymbols(entry, symbols);
    const CNewsSymlistInfo info{entry.m_byService, entry.m_tTime, entry.m_iSeqNo, CNewsSymLst{symbols}};
    return deliverTo(entry.m_byService, [&](NewsReceiver& r) { r.vRecvNewsRelateSymbolListRecovery(&info); });
}

int ScriptedBackend::marketStatus(unsigned char service, std::int32_t date) {
    setCurrentDate(service, text::format("%08d", date));
    const CMarketStatus status{service, date};
    return deliverTo(service, [&](NewsReceiver& r) { r.vRecvNewMarketStatus(&status); });
}

// --- Symbol search ---

CString ScriptedBackend::marketLabel(unsigned char service) const {
    for (const Service& s : m_services) {
        if (s.id == service && !s.shortName.empty()) {
            return s.shortName;
        }
    }
    for (const auto& [id, name] : m_quoteServices) {
        if (id == service && !name.empty()) {
            return name;
        }
    }
    return std::to_string(service);
}

bool ScriptedSymbolSearch::GetSymbolsByService(unsigned char service, std::vector<CString>& codes,
                                               std::vector<CString>& names, int flag) {
    const auto it = m_backend.m_symbols.find(service);
    const bool found = it != m_backend.m_symbols.end();
    if (found) {
        for (const auto& s : it->second) {
            codes.push_back(s.code);
            names.push_back(s.name);
        }
    }
    m_backend.log([&] {
        return "SearchObj.GetSymbolsByService(" + std::to_string(service) + ", flag " + std::to_string(flag) + ") -> " +
               (found ? std::to_string(it->second.size()) : std::string("false"));
    });
    return found;
}

bool ScriptedSymbolSearch::FindSearchList(const CString& text, std::vector<CString>& candidates) {
    const CString wanted = cp950::toUpper(text);
    std::vector<CString> exact;
    std::vector<CString> prefix;
    std::vector<CString> byName;
    if (!wanted.empty()) {
        for (const unsigned char service : m_backend.m_symbolServiceOrder) {
            for (const auto& s : m_backend.m_symbols.at(service)) {
                const CString code = cp950::toUpper(s.code);
                const CString line = "[" + m_backend.marketLabel(service) + "] " + s.code + " " + s.name;
                if (code == wanted) {
                    exact.push_back(line);
                } else if (code.compare(0, wanted.size(), wanted) == 0) {
                    prefix.push_back(line);
                } else if (cp950::contains(s.name, text)) {
                    byName.push_back(line);
                }
            }
        }
    }
    const std::size_t before = candidates.size();
    for (auto* group : {&exact, &prefix, &byName}) {
        candidates.insert(candidates.end(), group->begin(), group->end());
    }
    const std::size_t found = candidates.size() - before;
    m_backend.log([&] { return "SearchObj.FindSearchList(" + quoted(text) + ") -> " + std::to_string(found); });
    return found > 0;
}

} // namespace headless
