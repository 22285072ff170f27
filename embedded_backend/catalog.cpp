#include "embedded_backend/catalog.h"

#include <algorithm>
#include <array>

#include "embedded_backend/generator_data.h"
#include "host/text/cp950.h"
#include "host/text/profile.h"

namespace embedded {

namespace {

constexpr unsigned char kWarrantService = 52;
constexpr const char* kListDelimiters = " ,\n";

std::string symbolKey(const CString& code) {
    return cp950::toUpper(code);
}

} // namespace

Catalog::Service& Catalog::ensure(unsigned char id) {
    auto it = m_services.find(id);
    if (it == m_services.end()) {
        m_order.push_back(id);
        Service s;
        s.id = id;
        // A service only a feed named: its number stands for its names until it is configured.
        s.fullName = cp950::fromUtf8("新聞服務 ") + std::to_string(id);
        s.shortName = std::to_string(id);
        s.marketLabel = std::to_string(id);
        it = m_services.emplace(id, std::move(s)).first;
    }
    return it->second;
}

void Catalog::loadBuiltIn() {
    for (const BuiltinService& b : builtinCatalog().services) {
        Service& s = ensure(b.id);
        s.fullName = b.fullName;
        s.shortName = b.shortName;
        s.marketLabel = b.marketLabel;
        for (const BuiltinCategory& c : b.categories) {
            addCategory(b.id, c.id, c.name);
        }
        for (const BuiltinSymbol& sym : b.symbols) {
            if (s.symbolIndex.emplace(symbolKey(sym.code), s.symbols.size()).second) {
                s.symbols.push_back(Symbol{sym.code, sym.name, sym.category, cp950::toUpper(sym.code)});
            }
        }
    }
}

bool Catalog::loadIni(const std::string& path) {
    ProfileFile ini;
    if (!ini.load(path)) {
        return false;
    }
    auto readList = [&](const std::string& section, std::vector<CString>& ids, std::vector<CString>& names) {
        ids = cp950::tokenize(ini.getString(section, "CatId", ""), kListDelimiters);
        names = cp950::tokenize(ini.getString(section, "SHORTNAME", ""), kListDelimiters);
        return !ids.empty() && ids.size() == names.size();
    };
    std::vector<CString> commonIds;
    std::vector<CString> commonNames;
    const bool common = readList("CONFIG", commonIds, commonNames);
    for (const unsigned char id : m_order) {
        Service& s = m_services[id];
        const std::string section = "SERVICE" + std::to_string(id);
        std::vector<CString> ids;
        std::vector<CString> names;
        if (!readList(section, ids, names)) {
            if (!common || id == kWarrantService) {
                ids.clear();
                names.clear();
            } else {
                ids = commonIds;
                names = commonNames;
            }
        }
        if (!ids.empty()) {
            // The configured catalogue leads; built-in categories it lacks follow.
            std::vector<CString> oldIds = std::move(s.categoryIds);
            std::vector<CString> oldNames = std::move(s.categoryNames);
            s.categoryIds = ids;
            s.categoryNames = names;
            for (std::size_t i = 0; i < oldIds.size(); ++i) {
                if (std::find(ids.begin(), ids.end(), oldIds[i]) == ids.end()) {
                    s.categoryIds.push_back(oldIds[i]);
                    s.categoryNames.push_back(oldNames[i]);
                }
            }
        }
        const std::string full = ini.getString(section, "FullName", "");
        const std::string brief = ini.getString(section, "BriefName", "");
        if (!full.empty()) {
            s.fullName = full;
        }
        if (!brief.empty()) {
            s.shortName = brief;
        }
    }
    return true;
}

bool Catalog::addService(unsigned char id) {
    const bool known = m_services.count(id) > 0;
    ensure(id);
    return !known;
}

bool Catalog::addCategory(unsigned char service, std::int32_t id, const CString& name) {
    Service& s = ensure(service);
    const CString text = std::to_string(id);
    if (std::find(s.categoryIds.begin(), s.categoryIds.end(), text) != s.categoryIds.end()) {
        return false;
    }
    s.categoryIds.push_back(text);
    s.categoryNames.push_back(name.empty() ? text : name);
    return true;
}

void Catalog::addSymbol(unsigned char service, const CString& code, const CString& name) {
    if (code.empty()) {
        return;
    }
    Service& s = ensure(service);
    const auto [it, added] = s.symbolIndex.emplace(symbolKey(code), s.symbols.size());
    if (added) {
        s.symbols.push_back(Symbol{code, name, 0, cp950::toUpper(code)});
    } else if (s.symbols[it->second].name.empty()) {
        s.symbols[it->second].name = name;
    }
}

const Catalog::Service* Catalog::service(unsigned char id) const {
    const auto it = m_services.find(id);
    return it == m_services.end() ? nullptr : &it->second;
}

const Catalog::Symbol* Catalog::symbol(unsigned char service, const CString& code) const {
    const Service* s = this->service(service);
    if (s == nullptr) {
        return nullptr;
    }
    const auto it = s->symbolIndex.find(symbolKey(code));
    return it == s->symbolIndex.end() ? nullptr : &s->symbols[it->second];
}

std::vector<CString> Catalog::findCandidates(const CString& text, std::size_t limit) const {
    const CString typed = cp950::trim(text);
    if (typed.empty() || limit == 0) {
        return {};
    }
    const CString upper = cp950::toUpper(typed);
    // Ranks: 0 the code itself, 1 a code starting with the text, 2 a name starting with it,
    // 3 a name containing it. One pass; each rank keeps at most `limit`, so a short text
    // matching thousands of names costs no more than the pass.
    std::array<std::vector<const Symbol*>, 4> ranked;
    std::array<std::vector<const Service*>, 4> owners;
    for (const unsigned char id : m_order) {
        const Service& s = m_services.at(id);
        for (const Symbol& sym : s.symbols) {
            int rank = -1;
            if (sym.upperCode.size() >= upper.size() && sym.upperCode.compare(0, upper.size(), upper) == 0) {
                rank = sym.upperCode.size() == upper.size() ? 0 : 1;
            } else if (const std::size_t at = cp950::find(sym.name, typed); at != std::string::npos) {
                rank = at == 0 ? 2 : 3;
            }
            if (rank >= 0 && ranked[static_cast<std::size_t>(rank)].size() < limit) {
                ranked[static_cast<std::size_t>(rank)].push_back(&sym);
                owners[static_cast<std::size_t>(rank)].push_back(&s);
            }
        }
    }
    std::vector<CString> out;
    for (std::size_t rank = 0; rank < ranked.size() && out.size() < limit; ++rank) {
        for (std::size_t i = 0; i < ranked[rank].size() && out.size() < limit; ++i) {
            out.push_back("[" + owners[rank][i]->marketLabel + "] " + ranked[rank][i]->code + " " +
                          ranked[rank][i]->name);
        }
    }
    return out;
}

} // namespace embedded
