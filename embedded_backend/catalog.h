#pragma once

#include <string>
#include <unordered_map>
#include <vector>

#include "host/backend/news_records.h"

namespace embedded {

// The services, their names, categories and symbols. Built from the built-in demo market,
// NewsService.ini and what the feeds name. Thread: UI thread only.
//
// NewsService.ini: section [CONFIG], keys CatId and SHORTNAME (lists split at blanks, commas
// and newlines, paired by position) give the categories of every service except the warrant
// service (52), which has its own catalogue. A section [SERVICE<id>] may give one service its
// own CatId / SHORTNAME lists and its names (FullName, BriefName).
class Catalog {
public:
    struct Symbol {
        CString code;
        CString name;
        std::int32_t category = 0;
        CString upperCode; // the code upper-cased once, for the symbol search of every keystroke
    };
    struct Service {
        unsigned char id = 0;
        CString fullName;
        CString shortName;
        CString marketLabel;
        std::vector<CString> categoryIds; // decimal texts
        std::vector<CString> categoryNames;
        std::vector<Symbol> symbols;
        std::unordered_map<std::string, std::size_t> symbolIndex; // code -> position
    };

    // The built-in services with their categories and symbols.
    void loadBuiltIn();
    // Categories (and names) configured in NewsService.ini come first; built-in ones fill gaps.
    // False when the file cannot be read (the built-in catalogue stays).
    bool loadIni(const std::string& path);

    // Adds a service a feed named; false when known.
    bool addService(unsigned char id);
    // Adds a category unless the service has that id; false when known.
    bool addCategory(unsigned char service, std::int32_t id, const CString& name);
    // Adds a symbol unless known (a known symbol without a name takes the given one).
    void addSymbol(unsigned char service, const CString& code, const CString& name);

    const std::vector<unsigned char>& serviceIds() const { return m_order; }
    const Service* service(unsigned char id) const;
    const Symbol* symbol(unsigned char service, const CString& code) const;
    // "[label] code name" candidates for typed text (Latin letters of codes in any case): the
    // exact code, codes starting with the text, names starting with it, then names containing
    // it; catalogue order within each; at most `limit`.
    std::vector<CString> findCandidates(const CString& text, std::size_t limit) const;

private:
    Service& ensure(unsigned char id);

    std::vector<unsigned char> m_order;
    std::unordered_map<unsigned char, Service> m_services;
};

} // namespace embedded
