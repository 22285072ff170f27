// The seven headline lists of the news view and their grids: creating a grid, rebuilding a
// list from the back end, and writing only the rows that are on screen.
#include <algorithm>

#include "headline_list/headline_columns.h"
#include "headline_list/news_ctrl_view_clock.h"
#include "host/backend/bk_quote_interface.h"
#include "host/framework/sync_info.h"
#include "host/text/cp950.h"
#include "host/text/format.h"
#include "news_view/news_ctrl_view.h"

using host::ui::CSuperSheetWnd;
using host::ui::Rect;

namespace {

constexpr const char* kRecoverKey = "IDS_NEWSCTRLVIEW_STRING_RECOVER";

// Two decimal digits of a value in 0..99 (every field written here: month, day, hour, minute).
void putTwoDigits(char* out, int value) {
    out[0] = static_cast<char>('0' + value / 10);
    out[1] = static_cast<char>('0' + value % 10);
}

// "HH:MM" (time-only lists) or "MM/DD HH:MM" in local time; empty when the time cannot be
// broken down. Written by hand: this runs for every pushed row of every list, and a printf
// call costs more than the rest of the row.
CString timeText(std::int64_t time, bool showDate) {
    news::LocalClock local;
    if (!news::localClock(time, local)) {
        return CString{};
    }
    char text[11] = {'0', '0', '/', '0', '0', ' ', '0', '0', ':', '0', '0'};
    putTwoDigits(text, local.month);
    putTwoDigits(text + 3, local.day);
    putTwoDigits(text + 6, local.hour);
    putTwoDigits(text + 9, local.minute);
    return showDate ? CString(text, sizeof text) : CString(text + 6, 5);
}

// The picker's date as eight digits; a picker without a date gives -1 fields (a key no table
// has). Without a picker the date in force stands in.
CString dateKey(const host::ui::DatePicker* picker, const host::ui::Date& inForce) {
    host::ui::Date date = inForce;
    if (picker != nullptr && !picker->date(date)) {
        date = host::ui::Date{-1, -1, -1};
    }
    return text::format("%04d%02d%02d", date.year, date.month, date.day);
}

bool isListIndex(int list) {
    return list >= 0 && list < news::kModeCount;
}

} // namespace

// ---- Grids ----

void TRVNewsCtrlView::vInitialSheetWnd(CSuperSheetWnd*& grid, const Rect& rect, int gridId) {
    grid = nullptr;
    if (GetWnd() == nullptr) {
        return;
    }
    CSuperSheetWnd* sheet = GetWnd()->createSheet(gridId, rect);
    if (sheet == nullptr) {
        return;
    }
    host::ui::CSheetBuilder builder;
    builder.m_iHeaderRowHeight = news::kSheetHeaderRowHeight;
    builder.m_iRowHeight = news::kSheetRowHeight;
    if (!sheet->bCreateSheet(builder)) {
        sheet->destroy();
        return;
    }
    sheet->vSetThinBar(CSyncInfo::Get().GetSettingCFG()->CApi_GetThinBarStatus());
    sheet->show(true);
    sheet->vSetSmoothHScroll(true);
    sheet->vSetHeaderRowHeight(news::kSheetHeaderRowHeight);
    sheet->vSetRowHeight(news::kSheetRowHeight);
    if (m_iNewsType == news::kNewsTypeTwoColumns) {
        sheet->iInsertCol(news::kColTime, news::kColTimeWidth);
        sheet->iInsertCol(news::kColTitleTwo, news::kColTitleWidth);
        sheet->vSetHeaderText(news::kColTime, Lang("IDS_NEWSCTRLVIEW_STRING_TIME"));
        sheet->vSetHeaderText(news::kColTitleTwo, Lang("IDS_NEWSCTRLVIEW_STRING_TITLE"));
    } else {
        sheet->iInsertCol(news::kColTime, news::kColTimeWidth);
        sheet->iInsertCol(news::kColCategory, news::kColCategoryWidth);
        sheet->iInsertCol(news::kColTitleThree, news::kColTitleWidth);
        sheet->vSetHeaderText(news::kColTime, Lang("IDS_NEWSCTRLVIEW_STRING_TIME"));
        sheet->vSetHeaderText(news::kColCategory, Lang("IDS_NEWSCTRLVIEW_STRING_CATEGORY"));
        sheet->vSetHeaderText(news::kColTitleThree, Lang("IDS_NEWSCTRLVIEW_STRING_TITLE"));
    }
    grid = sheet;
}

void TRVNewsCtrlView::vFillHeadlineTable(CSuperSheetWnd* grid, const HeadlineTableList& table, bool /*flag*/) {
    if (grid == nullptr) {
        return;
    }
    grid->vClearAllRows();
    grid->vAddRows(table.size());
    grid->vResetRowBkColor();
    grid->vResetScroll();
    grid->invalidate(true);
    grid->update();
}

// ---- Rebuilding a list ----

bool TRVNewsCtrlView::InitialHeadlineTable(int list) {
    if (list < 0 || list > news::kModeWarrant) {
        return false;
    }
    CSuperSheetWnd* grid = m_pSheet[static_cast<std::size_t>(list)];
    BKQuoteInterface* bk = BKQuoteInterface::GetBKInterface();
    if (grid == nullptr || bk == nullptr) {
        return false;
    }
    HeadlineTableList& table = m_vHeadlineTable[static_cast<std::size_t>(list)];

    switch (list) {
    case news::kModeAllNews:
    case news::kModeRelation: {
        std::vector<CHeadlineTable> entries;
        if (list == news::kModeAllNews) {
            const CString date = dateKey(m_pDateTime, pickedDate());
            for (const NewsServiceEntry& service : m_vService) {
                if (service.m_bySelected != 0) {
                    bk->BKQNEWS_iGetHeadlineTable(service.m_byService, entries, BKQuoteInterface::kByDate, date);
                }
            }
        } else {
            const CString today = text::formatLocalTime("%Y%m%d", tNow());
            for (const NewsServiceEntry& service : m_vService) {
                if (service.m_bySelected == 0) {
                    continue;
                }
                std::vector<CHeadlineTable> serviceTable;
                std::vector<CHeadline> headlines;
                bk->BKQNEWS_iGetHeadlineTable(service.m_byService, serviceTable, BKQuoteInterface::kByDate, today);
                bk->BKQNEWS_iGetHeadline(service.m_byService, headlines, serviceTable);
                // Headline i stands for table entry i of the same service.
                for (std::size_t i = 0; i < headlines.size() && i < serviceTable.size(); ++i) {
                    if (CheckIsRelationSearch(headlines[i], headlines[i].m_iCategory, CString{})) {
                        entries.push_back(serviceTable[i]);
                    }
                }
            }
        }
        table.assign(entries);
        vFillHeadlineTable(grid, table, false);
        if (table.empty()) {
            SetCaptionText(CString{});
            return false;
        }
        table.sortNewestFirst();
        vFillHeadline(list, grid, table, false);
        return true;
    }
    case news::kModeCategory:
        grid->vClearAllRows();
        grid->vAddRows(table.size());
        vFillHeadline(list, grid, table, true);
        return true;
    case news::kModeSymbol: {
        const CString code = m_strNewsSymbolCode;
        if (!code.empty() && m_pSymbolCombo != nullptr) {
            const auto found = std::find_if(m_vSymbol.begin(), m_vSymbol.end(),
                                            [&code](const NewsSymbolRecord& r) { return r.m_strCode == code; });
            if (found != m_vSymbol.end()) {
                m_pSymbolCombo->setCurSel(static_cast<int>(found - m_vSymbol.begin()));
            }
        }
        if (!m_bSymbolFromLink) {
            GetSymbolNews(code);
        } else {
            OnSelchangeComboSymbol();
        }
        return !code.empty();
    }
    case news::kModeSearch: {
        // Search lists hold what the answers brought; nothing is fetched here.
        const bool warningResults =
            m_bWarningSearch && (m_iCurrFunction == news::kModeWarningSearch || m_bWarningResults);
        const int shown = warningResults ? news::kModeWarningSearch : news::kModeSearch;
        CSuperSheetWnd* shownGrid = m_pSheet[static_cast<std::size_t>(shown)];
        const HeadlineTableList& shownTable = m_vHeadlineTable[static_cast<std::size_t>(shown)];
        vFillHeadlineTable(shownGrid, shownTable, true);
        vFillHeadline(shown, shownGrid, shownTable, true);
        return true;
    }
    case news::kModeWarrant: {
        if (m_iWarrantIndex < 0 || static_cast<std::size_t>(m_iWarrantIndex) >= m_vService.size()) {
            return false;
        }
        m_vService[static_cast<std::size_t>(m_iWarrantIndex)].m_bySelected = 1;
        RegisterService(news::kServiceWarrant);
        std::vector<CHeadlineTable> entries;
        bk->BKQNEWS_iGetHeadlineTable(news::kServiceWarrant, entries, BKQuoteInterface::kByDate,
                                      dateKey(m_pDateTime, pickedDate()));
        table.assign(entries);
        if (table.empty()) {
            SetCaptionText(CString{});
            vFillHeadlineTable(grid, table, true);
            return true;
        }
        table.sortNewestFirst();
        vFillHeadlineTable(grid, table, true);
        vFillHeadline(list, grid, table, true);
        return true;
    }
    default:
        return false;
    }
}

// ---- Visible rows ----

void TRVNewsCtrlView::vGetVisibleRows(const CSuperSheetWnd* grid, const HeadlineTableList& table, std::size_t& first,
                                      std::size_t& count) const {
    first = 0;
    count = 0;
    if (grid == nullptr) {
        return;
    }
    first = static_cast<std::size_t>(std::max(grid->iGetFirstVisibleRow(), 0));
    if (first >= table.size()) {
        return;
    }
    const auto perPage = static_cast<std::size_t>(std::max(grid->iGetRowsPerPage(), 0)) + 1;
    count = std::min(perPage, table.size() - first);
}

std::vector<unsigned char> TRVNewsCtrlView::vGetListServices(int list) const {
    std::vector<unsigned char> services;
    if (list == news::kModeWarrant) {
        services.push_back(news::kServiceWarrant);
        return services;
    }
    const bool everyService = list == news::kModeSearch || list == news::kModeWarningSearch;
    for (const NewsServiceEntry& entry : m_vService) {
        if (everyService || entry.m_bySelected != 0) {
            services.push_back(entry.m_byService);
        }
    }
    return services;
}

void TRVNewsCtrlView::vGetShowedHeadlineTable(std::vector<CHeadlineTable>& out, CSuperSheetWnd* grid,
                                              const HeadlineTableList& table) const {
    out.clear();
    std::size_t first = 0;
    std::size_t count = 0;
    vGetVisibleRows(grid, table, first, count);
    table.copyRange(first, count, out);
}

void TRVNewsCtrlView::vFillHeadline(int list, CSuperSheetWnd* grid, const HeadlineTableList& table, bool showDate) {
    BKQuoteInterface* bk = BKQuoteInterface::GetBKInterface();
    if (grid == nullptr || bk == nullptr || grid->iGetRowCount() == 0 || table.empty()) {
        return;
    }
    std::vector<CHeadlineTable> visible;
    vGetShowedHeadlineTable(visible, grid, table);
    if (visible.empty()) {
        return;
    }
    vUpdateHeadline(list, grid, visible, table, showDate);
}

void TRVNewsCtrlView::vFillTempHeadline(CSuperSheetWnd* grid, const HeadlineTableList& table, bool showDate) {
    if (grid == nullptr || table.empty()) {
        return;
    }
    std::size_t first = 0;
    std::size_t count = 0;
    vGetVisibleRows(grid, table, first, count);
    const CString recover = Lang(kRecoverKey);
    const int recoverCategory = GetCategoryIDbyName(recover);
    const std::size_t rows = grid->iGetRowCount();
    for (std::size_t row = first; row < first + count && row < rows; ++row) {
        CString time;
        vGetTimeString(time, table[row], showDate);
        if (grid->cszGetCellText(row, news::kColTime) != time) {
            vFillSheet(grid, row, time, recover, recover, recoverCategory);
            grid->vInvalidateRow(row);
        }
    }
}

void TRVNewsCtrlView::vRealUpdateView() {
    if (!isListIndex(m_iCurrFunction)) {
        return;
    }
    const auto list = static_cast<std::size_t>(m_iCurrFunction);
    CSuperSheetWnd* grid = m_pSheet[list];
    if (grid == nullptr) {
        return;
    }
    const bool showDate = m_iCurrFunction != news::kModeAllNews && m_iCurrFunction != news::kModeRelation;
    vFillHeadline(m_iCurrFunction, grid, m_vHeadlineTable[list], showDate);
    vFillTempHeadline(grid, m_vHeadlineTable[list], showDate);
}

// ---- Rows ----

CString TRVNewsCtrlView::cszShowText(unsigned char service, const CString& text) const {
    BKQuoteInterface* bk = BKQuoteInterface::GetBKInterface();
    if (bk == nullptr || !bk->LangIsConvertToSimplified(service)) {
        return text;
    }
    CString converted = text;
    if (!bk->LangConvertToSimplifiedChinese(text, converted)) {
        converted = text;
    }
    // The converted news term reads wrong on its own; the language file names its replacement.
    const CString from = Lang("IDS_NEWSCTRLVIEW_STRING_REPLASE_NEWS");
    return from.empty() ? converted
                        : cp950::replaceAll(converted, from, Lang("IDS_NEWSCTRLVIEW_STRING_REPLASE_MESSAGE"));
}

void TRVNewsCtrlView::vFillSheet(CSuperSheetWnd* grid, std::size_t row, const CString& time, const CString& category,
                                 const CString& title, int categoryId) {
    if (grid == nullptr) {
        return;
    }
    grid->vSetCellText(row, news::kColTime, time);
    if (m_iNewsType == news::kNewsTypeTwoColumns) {
        grid->vSetCellText(row, news::kColTitleTwo, title);
    } else {
        grid->vSetCellText(row, news::kColCategory, category);
        grid->vSetCellText(row, news::kColTitleThree, title);
        COLORREF text = 0;
        COLORREF background = 0;
        if (bGetCategoryColorById(categoryId, text, background)) {
            grid->vSetCellFgColor(row, news::kColCategory, text);
        } else {
            grid->vResetCellColor(row, news::kColCategory);
        }
    }
    ChangeCurrViewCategoryState(m_byCategoryState != 0);
}

void TRVNewsCtrlView::vUpdateHeadline(CSuperSheetWnd* grid, std::size_t row, const CHeadline& headline, bool showDate) {
    if (grid == nullptr) {
        return;
    }
    const int titleCol = m_iNewsType == news::kNewsTypeTwoColumns ? news::kColTitleTwo : news::kColTitleThree;
    if (grid->cszGetCellText(row, titleCol) == headline.m_strTitle) {
        return;
    }
    CString time;
    vGetTimeString(time, headline, showDate);
    const CString category = cszShowText(headline.m_byService, cszTransferCatIDToCatName(headline.m_iCategory));
    const CString title = cszShowText(headline.m_byService, headline.m_strTitle);
    vFillSheet(grid, row, time, category, title, headline.m_iCategory);
    grid->vInvalidateRow(row);
}

void TRVNewsCtrlView::vGetTimeString(CString& out, const CHeadline& headline, bool showDate) const {
    out = timeText(headline.m_tTime, showDate);
}

void TRVNewsCtrlView::vGetTimeString(CString& out, const CHeadlineTable& entry, bool showDate) const {
    out = timeText(entry.m_tTime, showDate);
}

// ---- Accessors ----

CHeadlineTable TRVNewsCtrlView::GetHeadlineTable(int row) const {
    CHeadlineTable entry{};
    if (isListIndex(m_iCurrFunction)) {
        bGetHeadlineTable(entry, m_iCurrFunction, row);
    }
    return entry;
}

bool TRVNewsCtrlView::bGetHeadlineTable(CHeadlineTable& entry, int list, int row) const {
    if (!isListIndex(list) || row < 0) {
        return false;
    }
    const HeadlineTableList& table = m_vHeadlineTable[static_cast<std::size_t>(list)];
    if (static_cast<std::size_t>(row) >= table.size()) {
        return false;
    }
    entry = table[static_cast<std::size_t>(row)];
    return true;
}

int TRVNewsCtrlView::iGetHeadlineTableSize(int list) const {
    if (!isListIndex(list)) {
        return -1;
    }
    return static_cast<int>(m_vHeadlineTable[static_cast<std::size_t>(list)].size());
}

CSuperSheetWnd* TRVNewsCtrlView::pGetCurrSheetView() const {
    return GetSheet(m_iCurrFunction);
}

CSuperSheetWnd* TRVNewsCtrlView::GetSheet(int list) const {
    return isListIndex(list) ? m_pSheet[static_cast<std::size_t>(list)] : nullptr;
}

const HeadlineTableList* TRVNewsCtrlView::GetTable(int list) const {
    return isListIndex(list) ? &m_vHeadlineTable[static_cast<std::size_t>(list)] : nullptr;
}

int TRVNewsCtrlView::GetSheetWidth() const {
    const int width = GetClientRect().Width();
    if (m_iNewsType != 0) {
        return width;
    }
    switch (m_wStoryShowType) {
    case 0:
    case 2:
        return width;
    case 1:
        return width / 2;
    default:
        return 0;
    }
}
