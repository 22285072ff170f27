// Recovery: the user's requests to have headlines, tables and stories sent again, and the back
// end's answers, merged into the lists and passed on to the story displays and the output jobs.
#include "host/backend/bk_quote_interface.h"
#include "host/text/format.h"
#include "news_view/news_ctrl_view.h"
#include "search/news_relate_symbol_quote_view.h"

using host::ui::CSuperSheetWnd;

namespace {

constexpr const char* kRecoverKey = "IDS_NEWSCTRLVIEW_STRING_RECOVER";
constexpr const char* kInvalidDateKey = "IDS_NEWSCTRLVIEW_STRING_INVALID_DATE1";
constexpr const char* kCategoryNotFoundKey = "IDS_NEWSCTRLVIEW_STRING_NEWS_CLASS_NOT_FOUND";
constexpr const char* kSymbolNotFoundKey = "IDS_NEWSCTRLVIEW_STRING_SYMBOL_NEWS_NOT_FOUND";
constexpr std::size_t kDateKeyLength = 8;

// Lists 0 and 4 show the time only; every other list shows month/day and time.
bool showsDate(int list) {
    return list != news::kModeAllNews && list != news::kModeRelation;
}

CString dateText(const host::ui::Date& date) {
    return text::format("%04d%02d%02d", date.year, date.month, date.day);
}

} // namespace

// ---- Shared steps ----

const NewsServiceEntry* TRVNewsCtrlView::findServiceEntry(unsigned char service) const {
    for (const NewsServiceEntry& entry : m_vService) {
        if (entry.m_byService == service) {
            return &entry;
        }
    }
    return nullptr;
}

void TRVNewsCtrlView::vReportNoData(unsigned char service, CSuperSheetWnd* grid, const char* separator,
                                    const char* tipKey) {
    CString shortName;
    if (BKQuoteInterface* bk = BKQuoteInterface::GetBKInterface()) {
        bk->BKQNEWS_bGetShortNameByService(shortName, service);
    }
    CString caption = GetCaptionText();
    // The name stays in the caption until the caption is rebuilt, so a second answer adds nothing.
    if (caption.find(shortName) == CString::npos) {
        caption += shortName + " ";
        SetCaptionText(caption);
    }
    // "%s%s" or "%s %s" of the caption text and the key's text.
    showGridTip(grid, caption + separator + Lang(tipKey));
}

void TRVNewsCtrlView::vSetRecoveredList(int list, std::vector<CHeadlineTable>& entries) {
    CSuperSheetWnd* grid = m_pSheet[static_cast<std::size_t>(list)];
    HeadlineTableList& table = m_vHeadlineTable[static_cast<std::size_t>(list)];
    table.assignNewestFirst(entries);
    // Row i stays entry i: an empty answer leaves an empty grid too.
    vFillHeadlineTable(grid, table, true);
    vFillHeadline(list, grid, table, showsDate(list));
}

// ---- User commands ----

void TRVNewsCtrlView::OnReCoverHeadline() {
    CSuperSheetWnd* grid = pGetCurrSheetView();
    BKQuoteInterface* bk = BKQuoteInterface::GetBKInterface();
    if (grid == nullptr || bk == nullptr) {
        return;
    }
    const int list = m_iCurrFunction;
    const HeadlineTableList& table = m_vHeadlineTable[static_cast<std::size_t>(list)];
    std::vector<int> rows;
    grid->vGetAllSelectionNdx(rows);
    const CString recover = Lang(kRecoverKey);
    // The placeholder names a category only when the catalogue happens to hold that text.
    const int recoverCategory = GetCategoryIDbyName(recover);
    std::vector<CHeadlineTable> request;
    for (const int row : rows) {
        if (row < 0 || static_cast<std::size_t>(row) >= table.size() ||
            static_cast<std::size_t>(row) >= grid->iGetRowCount()) {
            continue;
        }
        const auto at = static_cast<std::size_t>(row);
        request.push_back(table[at]);
        CString time;
        vGetTimeString(time, table[at], showsDate(list));
        vFillSheet(grid, at, time, recover, recover, recoverCategory);
        grid->vInvalidateRow(at);
    }
    if (request.empty()) {
        return;
    }
    std::vector<CHeadline> headlines; // the answer comes through RespHeadLine; the rows wait for it
    if (list == news::kModeWarrant) {
        bk->BKQNEWS_bReCoverHeadline(news::kServiceWarrant, headlines, request);
        return;
    }
    const bool everyService = list == news::kModeSearch || list == news::kModeWarningSearch;
    for (const NewsServiceEntry& entry : m_vService) {
        if (everyService || entry.m_bySelected != 0) {
            bk->BKQNEWS_bReCoverHeadline(entry.m_byService, headlines, request);
        }
    }
}

void TRVNewsCtrlView::OnReCoverHeadlineTable() {
    BKQuoteInterface* bk = BKQuoteInterface::GetBKInterface();
    if (bk == nullptr) {
        return;
    }
    const auto toSelected = [this](const auto& send) {
        for (const NewsServiceEntry& entry : m_vService) {
            if (entry.m_bySelected != 0) {
                send(entry.m_byService);
            }
        }
    };
    switch (m_iCurrFunction) {
    case news::kModeAllNews: {
        const CString date = dateText(pickedDate());
        toSelected([&](unsigned char s) { bk->BKNEWS_bReRequestHeadlineTable(s, BKQuoteInterface::kByDate, date); });
        break;
    }
    case news::kModeCategory: {
        const CString category = cszGetSelectedCategoryID();
        if (!category.empty()) {
            toSelected([&](unsigned char s) {
                bk->BKNEWS_bReRequestHeadlineTable(s, BKQuoteInterface::kByCategory, category);
            });
        }
        break;
    }
    case news::kModeSymbol: {
        const CSymbolInfo symbol{m_byNewsSymbolService, m_strNewsSymbolCode};
        toSelected([&](unsigned char s) { bk->BKNEWS_bReRequestHeadlineTable(s, symbol); });
        break;
    }
    default:
        break;
    }
}

void TRVNewsCtrlView::OnReCoverStory() {
    const int position = iGetStoryDisplayPosition();
    CHeadlineTable entry;
    if (position >= 0 && bGetHeadlineTable(entry, m_iCurrFunction, position)) {
        if (BKQuoteInterface* bk = BKQuoteInterface::GetBKInterface()) {
            bk->BKQNews_bReRequestHeadlineStory(entry);
        }
    }
}

// ---- Tables sent again ----

void TRVNewsCtrlView::vRecvAllHeadlineTableRecovery(const CHeadlineTableInfo* info) {
    BKQuoteInterface* bk = BKQuoteInterface::GetBKInterface();
    if (info == nullptr || bk == nullptr) {
        return;
    }
    // A key of another length is not a date and is not checked.
    if (info->m_strKey.size() == kDateKeyLength && info->m_strKey != dateText(pickedDate())) {
        return;
    }
    int list = -1;
    if (info->m_byService == news::kServiceWarrant) {
        const bool selected = m_iWarrantIndex >= 0 && static_cast<std::size_t>(m_iWarrantIndex) < m_vService.size() &&
                              m_vService[static_cast<std::size_t>(m_iWarrantIndex)].m_bySelected != 0;
        if (!selected || m_pSheet[news::kModeWarrant] == nullptr) {
            return;
        }
        list = news::kModeWarrant;
    } else {
        const NewsServiceEntry* entry = findServiceEntry(info->m_byService);
        if (entry == nullptr || entry->m_bySelected == 0) {
            return;
        }
        if (m_iCurrFunction == news::kModeAllNews || m_iCurrFunction == news::kModeRelation) {
            list = m_iCurrFunction;
        }
        if (list < 0 || m_pSheet[static_cast<std::size_t>(list)] == nullptr) {
            return;
        }
    }

    std::vector<CHeadlineTable> entries;
    if (list == news::kModeWarrant) {
        bk->BKQNEWS_iGetHeadlineTable(news::kServiceWarrant, entries, BKQuoteInterface::kByDate, info->m_strKey);
    } else if (list == news::kModeAllNews) {
        appendSelectedTables(entries, BKQuoteInterface::kByDate, info->m_strKey);
    } else {
        const CString today = text::formatLocalTime("%Y%m%d", tNow());
        for (const NewsServiceEntry& entry : m_vService) {
            if (entry.m_bySelected != 0) {
                std::vector<CHeadlineTable> serviceEntries;
                bk->BKQNEWS_iGetHeadlineTable(entry.m_byService, serviceEntries, BKQuoteInterface::kByDate, today);
                appendRelationEntries(entries, entry.m_byService, serviceEntries);
            }
        }
    }
    vSetRecoveredList(list, entries);
    if (entries.empty() && info->m_cStatus < 0) {
        vReportNoData(info->m_byService, m_pSheet[static_cast<std::size_t>(list)], "", kInvalidDateKey);
        return;
    }
    // Kept: with the warning-term tab on, its list becomes a copy of the all-news list after
    // every date table sent again, whichever list was rebuilt.
    if (m_byShowWarningSearch == 1 && m_pSheet[news::kModeWarningSearch] != nullptr) {
        HeadlineTableList& warning = m_vHeadlineTable[news::kModeWarningSearch];
        warning.assign(m_vHeadlineTable[news::kModeAllNews].toVector());
        vFillHeadlineTable(m_pSheet[news::kModeWarningSearch], warning, true);
        vFillHeadline(news::kModeWarningSearch, m_pSheet[news::kModeWarningSearch], warning, true);
    }
}

void TRVNewsCtrlView::vRecvCatHeadlineTableRecovery(const CHeadlineTableInfo* info) {
    if (info == nullptr || m_pSheet[news::kModeCategory] == nullptr) {
        return;
    }
    const CString category = cszGetSelectedCategoryID();
    const NewsServiceEntry* entry = findServiceEntry(info->m_byService);
    if (category.empty() || category != info->m_strKey || entry == nullptr || entry->m_bySelected == 0) {
        return;
    }
    std::vector<CHeadlineTable> entries;
    appendSelectedTables(entries, BKQuoteInterface::kByCategory, info->m_strKey);
    vSetRecoveredList(news::kModeCategory, entries);
    if (entries.empty() && info->m_cStatus < 0) {
        vReportNoData(info->m_byService, m_pSheet[news::kModeCategory], " ", kCategoryNotFoundKey);
    }
}

void TRVNewsCtrlView::vRecvSymHeadlineTableRecovery(const CHeadlineTableInfo* info) {
    BKQuoteInterface* bk = BKQuoteInterface::GetBKInterface();
    if (info == nullptr || bk == nullptr || m_pSheet[news::kModeSymbol] == nullptr) {
        return;
    }
    // A symbol that came from a linked view is compared as it came; otherwise the list's own.
    const CString symbol = m_bSymbolFromLink ? m_strNewsSymbolCode : selectedSymbolCode();
    const NewsServiceEntry* entry = findServiceEntry(info->m_byService);
    if (symbol.empty() || symbol != info->m_strKey || entry == nullptr || entry->m_bySelected == 0) {
        return;
    }
    std::vector<CHeadlineTable> entries;
    const CSymbolInfo current{m_byNewsSymbolService, symbol};
    for (const NewsServiceEntry& service : m_vService) {
        if (service.m_bySelected != 0) {
            bk->BKQNEWS_iGetHeadlineTable(entries, service.m_byService, current);
        }
    }
    vSetRecoveredList(news::kModeSymbol, entries);
    if (entries.empty() && info->m_cStatus < 0) {
        vReportNoData(info->m_byService, m_pSheet[news::kModeSymbol], " ", kSymbolNotFoundKey);
    }
}

// ---- Headlines and stories available ----

void TRVNewsCtrlView::RespHeadLine(const std::vector<CHeadlineTable>& entries) {
    // Kept: this test can never fail (no index is both below 0 and above 6); every place that
    // sets the current list keeps it inside 0 to 6 instead.
    const bool below = m_iCurrFunction < 0;
    const bool above = m_iCurrFunction >= news::kModeCount;
    if (below && above) {
        return;
    }
    const auto list = static_cast<std::size_t>(m_iCurrFunction);
    vUpdateHeadline(m_iCurrFunction, m_pSheet[list], entries, m_vHeadlineTable[list], showsDate(m_iCurrFunction));
    if (bPaneShowsStory()) {
        vPassHeadlinesToStoryPane(entries);
    }
    vPassHeadlinesToOutput(entries);
}

void TRVNewsCtrlView::RespStory(const CHeadlineTable& entry) {
    if (bPaneShowsStory()) {
        vPassStoryToStoryPane(entry);
    } else {
        vPassStoryToStoryDialog(entry);
    }
    vPassStoryToOutput(entry);
}

void TRVNewsCtrlView::StoryUpdateNotify(const CHeadlineTable* entry) {
    if (entry == nullptr) {
        return;
    }
    if (!bPaneShowsStory() && !bStoryDialogShown() && m_pStoryView == nullptr) {
        return;
    }
    const HeadlineTableList* table = GetTable(m_iCurrFunction);
    if (table != nullptr && bFindHeadlineTable(*entry, *table)) {
        vPassStoryUpdateToDisplays(*entry);
    }
}

// ---- Related symbols and quotes ----

void TRVNewsCtrlView::vRecvNewsRelateSymbolListRecovery(const CNewsSymlistInfo* info) {
    if (info == nullptr || m_pRelateQuoteView == nullptr || m_pStoryView == nullptr) {
        return;
    }
    CHeadlineTable entry;
    if (!bGetHeadlineTable(entry, m_iCurrFunction, iGetStoryPanePosition())) {
        return;
    }
    if (entry.m_byService == info->m_byService && entry.m_tTime == info->m_tTime && entry.m_iSeqNo == info->m_iSeqNo) {
        vPassSymbolsToRelateQuoteView(info->m_symbols);
    }
}

void TRVNewsCtrlView::vRecvNewMemory(const CMemoryInfo* info) {
    if (m_pRelateQuoteView != nullptr) {
        m_pRelateQuoteView->vRecvNewMemory(info);
    }
}

void TRVNewsCtrlView::vRecvMemoryRecovery(const CMemoryInfo* info) {
    if (m_pRelateQuoteView != nullptr) {
        m_pRelateQuoteView->vRecvMemoryRecovery(info);
    }
}

void TRVNewsCtrlView::vRecvMultiSymbolMemoryRecovery(const std::vector<CMemoryInfo>* infos) {
    if (m_pRelateQuoteView != nullptr) {
        m_pRelateQuoteView->vRecvMultiSymbolMemoryRecovery(infos);
    }
}
