#include "host/backend/search_control.h"

namespace {
SearchObjInterface* g_searchObj = nullptr;
}

SearchObjInterface* SearchControl::GetSearchObjInterface() {
    return g_searchObj;
}

void SearchControl::SetSearchObjInterface(SearchObjInterface* instance) {
    g_searchObj = instance;
}

bool SearchControl::FindSearchList(const CString& text, std::vector<CString>& candidates) {
    return g_searchObj != nullptr && g_searchObj->FindSearchList(text, candidates);
}
