// Date paging of the all-news list, a new news day announced by the back end, and rebuilding
// lists after the set of checked services changed.
#include "headline_list/news_ctrl_view_clock.h"
#include "host/backend/bk_quote_interface.h"
#include "host/framework/sync_info.h"
#include "host/text/format.h"
#include "news_view/news_ctrl_view.h"
#include "story/quote_dlg_tip_msg.h"

using host::ui::CSuperSheetWnd;
using host::ui::Date;

namespace {

constexpr std::int64_t kSecondsPerDay = 24 * 60 * 60;

// The local calendar date of a moment; all zero when it cannot be broken down.
Date localDate(std::int64_t seconds) {
    news::LocalClock local;
    if (!news::localClock(seconds, local)) {
        return {};
    }
    return Date{local.year, local.month, local.day};
}

bool earlier(const Date& a, const Date& b) {
    if (a.year != b.year) {
        return a.year < b.year;
    }
    if (a.month != b.month) {
        return a.month < b.month;
    }
    return a.day < b.day;
}

CString dateKey(const Date& date) {
    return text::format("%04d%02d%02d", date.year, date.month, date.day);
}

// Lists 0 and 4 show the time only; every other list shows month/day and time.
bool showsDate(int list) {
    return list != news::kModeAllNews && list != news::kModeRelation;
}

} // namespace

// ---- Shared list helpers ----

Date TRVNewsCtrlView::pickedDate() const {
    // Until a date is taken the picker shows the current news day.
    return m_dtPicked.year != 0 ? m_dtPicked : localDate(currentNewsDay());
}

std::int64_t TRVNewsCtrlView::currentNewsDay() const {
    if (m_tCurrNewsDay != 0) {
        return m_tCurrNewsDay;
    }
    const Date created = localDate(m_tCreateTime);
    std::int64_t midnight = 0;
    return news::localMidnightOf(created.year, created.month, created.day, midnight) ? midnight : 0;
}

int TRVNewsCtrlView::listOfGrid(const CSuperSheetWnd* grid) const {
    for (int list = 0; list < news::kModeCount; ++list) {
        if (grid != nullptr && m_pSheet[static_cast<std::size_t>(list)] == grid) {
            return list;
        }
    }
    return -1;
}

void TRVNewsCtrlView::showGridTip(CSuperSheetWnd* grid, const CString& text) {
    // Kept on the view as well, so that the last tip can be read back.
    m_strLastTip = text;
    if (grid == nullptr) {
        return;
    }
    // For a second, near the top of the list where the eyes are after picking a date: long
    // enough to read a short warning, short enough not to hide rows the user looks at next.
    constexpr int kGridTipMs = 1000;
    constexpr int kTipTop = 30;
    constexpr int kTipLeft = 20;
    if (m_pTipMsg != nullptr) {
        const CSyncInfo& colors = CSyncInfo::Get();
        m_pTipMsg->vSetInfo(nullptr, text.c_str(), colors.SYS_crGetOtherColor("COLOR_TIP_TEXT"),
                            colors.SYS_crGetOtherColor("COLOR_TIP_BACKGROUND"), kGridTipMs);
        m_pTipMsg->vShow(grid, kTipTop, kTipLeft, false);
    }
}

void TRVNewsCtrlView::appendSelectedTables(std::vector<CHeadlineTable>& out, int kind, const CString& key) const {
    BKQuoteInterface* bk = BKQuoteInterface::GetBKInterface();
    if (bk == nullptr) {
        return;
    }
    for (const NewsServiceEntry& entry : m_vService) {
        if (entry.m_bySelected != 0) {
            bk->BKQNEWS_iGetHeadlineTable(entry.m_byService, out, kind, key);
        }
    }
}

void TRVNewsCtrlView::appendRelationEntries(std::vector<CHeadlineTable>& out, unsigned char service,
                                            const std::vector<CHeadlineTable>& entries) const {
    BKQuoteInterface* bk = BKQuoteInterface::GetBKInterface();
    if (bk == nullptr || entries.empty()) {
        return;
    }
    std::vector<CHeadline> headlines;
    bk->BKQNEWS_iGetHeadline(service, headlines, entries);
    // Kept: headline i goes with entry i. When the back end lacks a headline the later ones
    // pair with the entry one place early, and that entry is the one kept.
    for (std::size_t i = 0; i < headlines.size() && i < entries.size(); ++i) {
        if (CheckIsRelationSearch(headlines[i], headlines[i].m_iCategory, CString{})) {
            out.push_back(entries[i]);
        }
    }
}

void TRVNewsCtrlView::clearList(int list) {
    CSuperSheetWnd* grid = m_pSheet[static_cast<std::size_t>(list)];
    if (grid != nullptr) {
        grid->vClearAllRows();
        grid->vResetScroll();
        grid->update();
    }
    m_vHeadlineTable[static_cast<std::size_t>(list)].clear();
}

void TRVNewsCtrlView::setListEntries(int list, const std::vector<CHeadlineTable>& entries) {
    CSuperSheetWnd* grid = m_pSheet[static_cast<std::size_t>(list)];
    HeadlineTableList& table = m_vHeadlineTable[static_cast<std::size_t>(list)];
    table.assign(entries);
    if (grid == nullptr || table.empty()) {
        return;
    }
    table.sortNewestFirst();
    vFillHeadlineTable(grid, table, true);
    vFillHeadline(list, grid, table, showsDate(list));
}

// ---- Date picker ----

void TRVNewsCtrlView::OnDateTimeDropDown(const host::ui::NotifyInfo& /*info*/) {
    m_bDateDropDown = true;
}

void TRVNewsCtrlView::OnDateTimeChange(const host::ui::NotifyInfo& info) {
    // While the calendar is open every click is ignored; the date in force at close-up counts.
    if (m_bDateDropDown || info.date == nullptr) {
        return;
    }
    bChangeDate(*info.date);
}

void TRVNewsCtrlView::OnDateTimeCloseUp(const host::ui::NotifyInfo& /*info*/) {
    m_bDateDropDown = false;
    Date date;
    if (m_pDateTime != nullptr && m_pDateTime->date(date)) {
        bChangeDate(date);
    }
}

bool TRVNewsCtrlView::bChangeDate(const Date& date) {
    CSuperSheetWnd* grid = m_pSheet[news::kModeAllNews];
    if (grid == nullptr) {
        return false;
    }
    const std::int64_t now = tNow();
    const Date today = localDate(now);
    const Date oldest = localDate(now - static_cast<std::int64_t>(m_byDateRange) * kSecondsPerDay);
    const Date inForce = pickedDate();
    if (earlier(date, oldest) || earlier(today, date)) {
        CString tip;
        if (earlier(date, oldest)) {
            tip = text::format("%s%d%s", Lang("IDS_NEWSCTRLVIEW_STRING_ONLYSELECT").c_str(), m_byDateRange,
                               Lang("IDS_NEWSCTRLVIEW_STRING_INSOMEDAYS").c_str());
        } else {
            tip = Lang("IDS_NEWSCTRLVIEW_STRING_AFTERDAYS");
        }
        showGridTip(grid, tip);
        if (m_pDateTime != nullptr) {
            m_pDateTime->setDate(inForce);
        }
        return false;
    }
    if (date == inForce) {
        return false;
    }
    m_dtPicked = date;
    clearList(news::kModeAllNews);
    std::vector<CHeadlineTable> entries;
    appendSelectedTables(entries, BKQuoteInterface::kByDate, dateKey(date));
    if (entries.empty()) {
        SetCaptionText(CString{});
        return false;
    }
    setListEntries(news::kModeAllNews, entries);
    return true;
}

// ---- New news day ----

void TRVNewsCtrlView::vRecvNewMarketStatus(const CMarketStatus* status) {
    if (status == nullptr || m_pSheet[news::kModeAllNews] == nullptr) {
        return;
    }
    const NewsServiceEntry* changed = nullptr;
    for (const NewsServiceEntry& entry : m_vService) {
        if (entry.m_byService != status->m_byService) {
            continue;
        }
        if (entry.m_bySelected == 0) {
            return; // a service the user does not follow never moves the view's day
        }
        if (entry.m_iDate != status->m_iDate) {
            changed = &entry;
            break;
        }
    }
    if (changed == nullptr) {
        return;
    }
    const int year = status->m_iDate / 10000;
    const int month = status->m_iDate / 100 % 100;
    const int day = status->m_iDate % 100;
    std::int64_t midnight = 0;
    if (year < 1900 || month < 1 || month > 12 || day < 1 || day > 31 ||
        !text::localMidnight(year, month, day, midnight)) {
        return; // a malformed report changes nothing
    }
    // Kept: the entry's date is never written, so the same report arriving again pages the
    // lists again.
    m_tCurrNewsDay = midnight;
    if (m_pDateTime != nullptr) {
        m_pDateTime->setDate(Date{year, month, day});
        Date shown;
        m_dtPicked = m_pDateTime->date(shown) ? shown : Date{year, month, day};
    } else {
        m_dtPicked = Date{year, month, day};
    }

    CString name;
    if (BKQuoteInterface* bk = BKQuoteInterface::GetBKInterface()) {
        bk->BKQNEWS_bGetShortNameByService(name, status->m_byService);
    }
    const bool relationShown = m_iCurrFunction == news::kModeRelation && m_pSheet[news::kModeRelation] != nullptr;
    showGridTip(m_pSheet[relationShown ? news::kModeRelation : news::kModeAllNews],
                name + " " + Lang("IDS_NEWSCTRLVIEW_STRING_CLEAR_SERVICE"));
    bChangeDateByNewHeadLine();
}

bool TRVNewsCtrlView::bChangeDateByNewHeadLine() {
    BKQuoteInterface* bk = BKQuoteInterface::GetBKInterface();
    if (m_pSheet[news::kModeAllNews] != nullptr) {
        clearList(news::kModeAllNews);
        std::vector<CHeadlineTable> entries;
        for (const NewsServiceEntry& entry : m_vService) {
            if (bk != nullptr && entry.m_bySelected != 0) {
                bk->BKQNEWS_iGetHeadlineTable(entry.m_byService, entries, BKQuoteInterface::kByDate,
                                              bk->BKQNEWS_cszGetCurrDateByService(entry.m_byService));
            }
        }
        setListEntries(news::kModeAllNews, entries);
    }
    if (m_pSheet[news::kModeRelation] != nullptr) {
        clearList(news::kModeRelation);
        std::vector<CHeadlineTable> entries;
        for (const NewsServiceEntry& entry : m_vService) {
            if (bk != nullptr && entry.m_bySelected != 0) {
                std::vector<CHeadlineTable> serviceEntries;
                bk->BKQNEWS_iGetHeadlineTable(entry.m_byService, serviceEntries, BKQuoteInterface::kByDate,
                                              bk->BKQNEWS_cszGetCurrDateByService(entry.m_byService));
                appendRelationEntries(entries, entry.m_byService, serviceEntries);
            }
        }
        setListEntries(news::kModeRelation, entries);
    }
    return m_pSheet[news::kModeAllNews] != nullptr && m_pSheet[news::kModeRelation] != nullptr;
}

// ---- Rebuilding after a change of services ----

void TRVNewsCtrlView::vChangeNewsTable(CSuperSheetWnd* grid, HeadlineTableList& table, int kind, const CString& key) {
    const int list = listOfGrid(grid);
    if (list < 0) {
        return;
    }
    if (!table.empty()) {
        grid->vClearAllRows();
        grid->vResetScroll();
        table.clear();
    }
    BKQuoteInterface* bk = BKQuoteInterface::GetBKInterface();
    if (bk == nullptr) {
        return;
    }
    std::vector<CHeadlineTable> entries;
    for (const NewsServiceEntry& entry : m_vService) {
        if (entry.m_bySelected == 0) {
            continue;
        }
        std::vector<CHeadlineTable> serviceEntries;
        if (kind == BKQuoteInterface::kBySymbol) {
            bk->BKQNEWS_iGetHeadlineTable(serviceEntries, entry.m_byService,
                                          CSymbolInfo{m_byNewsSymbolService, m_strNewsSymbolCode});
        } else {
            bk->BKQNEWS_iGetHeadlineTable(entry.m_byService, serviceEntries, kind, key);
        }
        // Kept: the filter follows the current list, not the rebuilt one, so the all-news list
        // rebuilt while the relation list is shown keeps only related news.
        if (m_iCurrFunction == news::kModeRelation) {
            appendRelationEntries(entries, entry.m_byService, serviceEntries);
        } else {
            entries.insert(entries.end(), serviceEntries.begin(), serviceEntries.end());
        }
    }
    if (entries.empty()) {
        return;
    }
    table.assign(entries);
    table.sortNewestFirst();
    vFillHeadlineTable(grid, table, true);
    vFillHeadline(list, grid, table, showsDate(list));
}
