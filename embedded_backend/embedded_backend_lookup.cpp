// The synchronous look-ups of the embedded back end: cache and catalogue reads on the UI thread.
#include <cstdlib>

#include "embedded_backend/chinese_text.h"
#include "embedded_backend/day_math.h"
#include "embedded_backend/embedded_backend.h"
#include "embedded_backend/ui_state.h"

namespace embedded {

namespace {

constexpr const char* kSearchKey = "SEARCH";
constexpr int kItemDisplayName = 1019;
constexpr int kItemDisplayNameRealMonth = 2020;
constexpr std::size_t kMaxCandidates = 50;

bool parseCategory(const CString& text, std::int32_t& category) {
    if (text.empty()) {
        return false;
    }
    char* end = nullptr;
    const long value = std::strtol(text.c_str(), &end, 10);
    if (end != text.c_str() + text.size()) {
        return false;
    }
    category = static_cast<std::int32_t>(value);
    return true;
}

} // namespace

int EmbeddedBackend::BKQNEWS_iGetHeadlineTable(std::vector<CHeadlineTable>& table, unsigned char service,
                                               const CSymbolInfo& symbol) {
    return m_ui->cache.symbolTable(service, symbol.m_strCode, table);
}

int EmbeddedBackend::BKQNEWS_iGetHeadlineTable(unsigned char service, std::vector<CHeadlineTable>& table, int kind,
                                               const CString& key) {
    switch (kind) {
    case kByDate: {
        const std::optional<int> day = parseDayText(key);
        return day ? m_ui->cache.dateTable(service, *day, table) : 0;
    }
    case kByCategory: {
        std::int32_t category = 0;
        return parseCategory(key, category) ? m_ui->cache.categoryTable(service, category, table) : 0;
    }
    case kBySymbol:
        return m_ui->cache.symbolTable(service, key, table);
    case kSearch:
    case kSecondSearch:
        return key == kSearchKey ? m_ui->cache.searchResults(service, kind, table) : 0;
    default:
        return 0;
    }
}

int EmbeddedBackend::BKQNEWS_iGetHeadline(unsigned char service, std::vector<CHeadline>& headlines,
                                          const std::vector<CHeadlineTable>& entries) {
    return m_ui->cache.headlines(service, entries, headlines);
}

bool EmbeddedBackend::BKQNEWS_bGetStory(CStory& story, const CHeadlineTable& entry) {
    if (!m_ui->cache.story(entry, story)) {
        story = CStory{entry, 0, {}}; // nothing held: no text of an earlier story may remain
        return false;
    }
    return true;
}

bool EmbeddedBackend::BKNEWS_GetSymbolListBySeqNo(CNewsSymLst& symbols, const CHeadlineTable& entry) {
    const std::vector<CSymbolInfo>* related = m_ui->cache.symbols(entry);
    if (related == nullptr) {
        return false;
    }
    symbols.m_vSymbols = *related;
    return true;
}

bool EmbeddedBackend::BKQNEWS_bGetAllNewsService(std::vector<unsigned char>& services) {
    services = m_ui->catalog.serviceIds();
    return !services.empty();
}

bool EmbeddedBackend::BKQNEWS_bGetFullNameByService(CString& name, unsigned char service) {
    const Catalog::Service* s = m_ui->catalog.service(service);
    if (s == nullptr) {
        return false;
    }
    name = s->fullName;
    return true;
}

bool EmbeddedBackend::BKQNEWS_bGetShortNameByService(CString& name, unsigned char service) {
    const Catalog::Service* s = m_ui->catalog.service(service);
    if (s == nullptr) {
        return false;
    }
    name = s->shortName;
    return true;
}

CString EmbeddedBackend::BKQNEWS_cszGetCurrDateByService(unsigned char service) {
    const int day = m_ui->cache.currentDay(service);
    return day == 0 ? CString{} : dayText(day);
}

unsigned char EmbeddedBackend::BKQbyGetNewsDateRange() {
    return static_cast<unsigned char>(std::min(255, m_options.daysToKeep - 1));
}

bool EmbeddedBackend::bNewsAPI_GetNewsCatId(unsigned char service, std::vector<CString>& ids,
                                            std::vector<CString>& names) {
    const Catalog::Service* s = m_ui->catalog.service(service);
    if (s == nullptr) {
        return false;
    }
    ids = s->categoryIds;
    names = s->categoryNames;
    return true;
}

int EmbeddedBackend::bIsConnect() {
    return m_ui->connected ? 1 : 0;
}

bool EmbeddedBackend::bGetAllServiceID(std::vector<unsigned char>& services) {
    return BKQNEWS_bGetAllNewsService(services);
}

int EmbeddedBackend::BKQCheckAuthSupport(unsigned char service) {
    return m_ui->catalog.service(service) != nullptr ? 1 : 0;
}

bool EmbeddedBackend::bGetServiceID2Delay(unsigned char, unsigned char&) {
    return false;
}

bool EmbeddedBackend::bGetSymbolID(unsigned char service, std::vector<CString>& codes, std::vector<CString>& names) {
    return GetSymbolsByService(service, codes, names, 0);
}

int EmbeddedBackend::bIsSymbolIDExist(unsigned char service, const CString& code) {
    return m_ui->catalog.symbol(service, code) != nullptr ? 1 : 0;
}

int EmbeddedBackend::bIsFromTheSameAuthServiceID(unsigned char service, unsigned char other) {
    return service == other ? 1 : 0;
}

bool EmbeddedBackend::bGetCategorybySymbolID(int& category, unsigned char service, const CString& code) {
    const Catalog::Symbol* s = m_ui->catalog.symbol(service, code);
    if (s == nullptr) {
        return false;
    }
    category = s->category;
    return true;
}

bool EmbeddedBackend::bGetCommodityIDBySymbolID(CString& commodity, unsigned char service, const CString& code) {
    const Catalog::Symbol* s = m_ui->catalog.symbol(service, code);
    if (s == nullptr) {
        return false;
    }
    commodity = s->code; // symbols here trade as themselves
    return true;
}

bool EmbeddedBackend::bGetItemDataByItemNo(CString& value, unsigned char service, const CString& code, int item) {
    if (item != kItemDisplayName && item != kItemDisplayNameRealMonth) {
        return false;
    }
    const Catalog::Symbol* s = m_ui->catalog.symbol(service, code);
    if (s == nullptr || s->name.empty()) {
        return false;
    }
    value = s->name;
    return true;
}

bool EmbeddedBackend::bSymbolNameIsShowRealMonth() {
    return false;
}

CString EmbeddedBackend::LangGetLangString(const CString& key) {
    return m_ui->language.text(key);
}

bool EmbeddedBackend::LangIsConvertToSimplified(const unsigned char&) {
    return m_options.convertToSimplified;
}

bool EmbeddedBackend::LangConvertToSimplifiedChinese(const CString& in, CString& out) {
    return toSimplified(in, out);
}

CString EmbeddedBackend::PathGetSysPath() {
    CString path = m_options.systemPath;
    while (path.size() > 1 && (path.back() == '/' || path.back() == '\\')) {
        path.pop_back();
    }
    return path;
}

int EmbeddedBackend::AppInfoGetProductID() {
    return m_options.productId;
}

bool EmbeddedBackend::GetSymbolsByService(unsigned char service, std::vector<CString>& codes,
                                          std::vector<CString>& names, int) {
    if (m_ui->catalog.service(service) == nullptr) {
        return false;
    }
    codes.clear();
    names.clear();
    for (const Catalog::Symbol* symbol : m_ui->catalog.symbolsByCode(service)) {
        codes.push_back(symbol->code);
        names.push_back(symbol->name);
    }
    return true;
}

bool EmbeddedBackend::FindSearchList(const CString& text, std::vector<CString>& candidates) {
    candidates = m_ui->catalog.findCandidates(text, kMaxCandidates);
    return !candidates.empty();
}

} // namespace embedded
