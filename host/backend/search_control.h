#pragma once

#include <vector>

#include "host/backend/news_records.h"

// The host's symbol search services. Thread: UI thread. Ownership: the host owns the
// installed object.
class SearchObjInterface {
public:
    virtual ~SearchObjInterface() = default;
    // Codes and names of a service's symbols, in the host's order.
    virtual bool GetSymbolsByService(unsigned char service, std::vector<CString>& codes, std::vector<CString>& names,
                                     int flag) = 0;
    // Candidate texts ("[market] code name") for a typed text, best first.
    virtual bool FindSearchList(const CString& text, std::vector<CString>& candidates) = 0;
};

class SearchControl {
public:
    static SearchObjInterface* GetSearchObjInterface();
    static void SetSearchObjInterface(SearchObjInterface* instance);
    static bool FindSearchList(const CString& text, std::vector<CString>& candidates);
};
