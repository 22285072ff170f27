// Search results intake: the quick search of the search box, the back end's answers to a
// search, pushed headlines for the warning-term results, and a search re-run for a new symbol.
#include <algorithm>

#include "host/backend/bk_quote_interface.h"
#include "host/framework/host_context.h"
#include "host/framework/sync_info.h"
#include "host/text/cp950.h"
#include "host/ui/messages.h"
#include "host/ui/ui_host.h"
#include "news_view/news_ctrl_view.h"
#include "story/quote_dlg_tip_msg.h"

using host::ui::CSuperSheetWnd;

namespace {

constexpr const char* kSearchKey = "SEARCH";
constexpr unsigned char kMarketLetterM = 0x6D; // trades under commodity ids, like market 1's family
constexpr int kItemDisplayName = 1019;
constexpr int kNotFoundTipMs = 1000;
constexpr int kTipTop = 30;
constexpr int kTipLeft = 20;

} // namespace

// ---- Quick search ----

void TRVNewsCtrlView::OnSearch() {
    m_iShowedStoryRow = -1;
    const bool anySelected = std::any_of(m_vService.begin(), m_vService.end(),
                                         [](const NewsServiceEntry& e) { return e.m_bySelected != 0; });
    if (!anySelected) {
        OnDealsSearch();
        return;
    }
    const CString text = cp950::trim(m_pSearchEdit != nullptr ? m_pSearchEdit->text() : m_strSearchText);
    if (text.empty()) {
        const host::ui::Rect area =
            m_pSearchEdit != nullptr ? m_pSearchEdit->clientToScreen(m_pSearchEdit->clientRect()) : host::ui::Rect{};
        vShowTip(area, Lang("IDS_NEWSCTRLVIEW_STRING_INVALIDATE_SEARCH"));
        return;
    }
    // The words AND and OR are operators of the advanced search; the quick search takes one
    // plain keyword, so any text holding them (STANDARD included) is refused. Compared by
    // character, so a double-byte character whose second byte is a capital letter never counts.
    if (cp950::contains(text, "AND") || cp950::contains(text, "OR")) {
        if (host::ui::UiHost* ui = host::HostContext::current().ui) {
            ui->dialogs().messageBox(GetWnd(), Lang("IDS_NEWSCTRLVIEW_STRING_REINPUT"), CString{},
                                     host::ui::win::MB_ICONEXCLAMATION);
        }
        return;
    }
    if (std::find(m_vSearchHistory.begin(), m_vSearchHistory.end(), text) == m_vSearchHistory.end()) {
        m_vSearchHistory.push_back(text);
    }
    m_searchCondition.m_byScope = CSearch::kScopeHeadline;
    m_searchCondition.m_byMethod = CSearch::kMethodAnd;
    m_searchCondition.m_tTime = tNow();
    m_searchCondition.m_vKeywords.assign(1, text);
    OnDealsSearch();
}

// ---- Answers ----

void TRVNewsCtrlView::RespSearchHeadLineTable(const CSearch& condition, unsigned char service) {
    int kind = 0;
    if (condition == m_searchCondition || condition == m_warningCondition) {
        kind = BKQuoteInterface::kSearch;
    } else if (condition == m_secondSearchCondition) {
        kind = BKQuoteInterface::kSecondSearch;
    } else {
        return; // an answer to a search that is no longer shown
    }
    const int list =
        kind == BKQuoteInterface::kSearch && m_byShowWarningSearch != 0 ? news::kModeWarningSearch : news::kModeSearch;
    CSuperSheetWnd* grid = m_pSheet[static_cast<std::size_t>(list)];
    BKQuoteInterface* bk = BKQuoteInterface::GetBKInterface();
    if (grid == nullptr || bk == nullptr) {
        return;
    }
    // Every service's cached results, asked or not: a service that was not asked holds none.
    std::vector<CHeadlineTable> entries;
    for (const NewsServiceEntry& entry : m_vService) {
        bk->BKQNEWS_iGetHeadlineTable(entry.m_byService, entries, kind, kSearchKey);
    }
    HeadlineTableList& table = m_vHeadlineTable[static_cast<std::size_t>(list)];
    table.assign(entries);

    bool stillWaiting = false;
    if (kind == BKQuoteInterface::kSearch) {
        for (NewsServiceEntry& entry : m_vService) {
            if (entry.m_byService == service) {
                entry.m_bySearchPending = 0;
            }
        }
        stillWaiting = std::any_of(m_vService.begin(), m_vService.end(),
                                   [](const NewsServiceEntry& e) { return e.m_bySearchPending != 0; });
    }
    if (!stillWaiting && m_pTipMsg != nullptr) {
        m_pTipMsg->vStop();
    }

    if (table.empty()) {
        // No rows without entries: row i must always be entry i.
        grid->vClearAllRows();
        grid->vResetScroll();
        grid->update();
        if (!stillWaiting) {
            showSearchTip(grid, Lang("IDS_NEWSCTRLVIEW_STRING_NEWS_NOT_FOUND"), kNotFoundTipMs);
        }
        return;
    }
    table.sortNewestFirst();
    vFillHeadlineTable(grid, table, true);
    vFillHeadline(news::kModeSearch, grid, table, true);
    grid->vSetActiveSelection(0, -1);
    if (m_iNewsType == 0 && m_wStoryShowType != 0) {
        // The list was rebuilt: row 0 may hold another headline than the row shown before.
        m_iShowedStoryRow = -1;
        OnShowStory();
    }
}

void TRVNewsCtrlView::showSearchTip(CSuperSheetWnd* grid, const CString& text, int durationMs) {
    if (m_pTipMsg == nullptr || grid == nullptr) {
        return;
    }
    const CSyncInfo& colors = CSyncInfo::Get();
    m_pTipMsg->vSetInfo(nullptr, text.c_str(), colors.SYS_crGetOtherColor("COLOR_TIP_TEXT"),
                        colors.SYS_crGetOtherColor("COLOR_TIP_BACKGROUND"), durationMs);
    m_pTipMsg->vShow(grid, kTipTop, kTipLeft, false);
}

// ---- Pushed headlines for the warning-term results ----

void TRVNewsCtrlView::ProcessNewSearchHeadline(CSearch& condition, CSuperSheetWnd* grid, HeadlineTableList& table,
                                               const CHeadline& headline, const CString& key) {
    BKQuoteInterface* bk = BKQuoteInterface::GetBKInterface();
    if (bk == nullptr) {
        return;
    }
    if (condition.m_vKeywords.size() >= 2 && condition.m_byMethod == CSearch::kMethodUnset) {
        condition.m_byMethod = CSearch::kMethodAnd;
    }
    const unsigned char service = headline.m_byService;
    const int kind = m_iCurrFunction;
    bk->BKQNEWS_bSearchNews(service, kind, condition);

    // Kept as the list has always worked: the table becomes the pushing service's cached
    // results, newest first, and the pushed headline is inserted where that service's copy of
    // it stands. Re-reading and sorting the results on every push costs the whole table, so
    // the view keeps sorted results by service with the back end's stamp of what they were
    // made from: the table itself, once the entry the previous push inserted is taken out
    // again (when nothing else changed it since), and the results of the other services that
    // pushed before. Results whose stamp still holds are used as they are.
    const std::uint64_t stamp = bk->BKQNEWS_ullGetHeadlineTableStamp(service, kind, key);
    SearchPushState& last = m_searchPush;
    const auto usable = [&](std::uint64_t keptStamp, int keptKind, const CString& keptKey) {
        return stamp != 0 && keptStamp == stamp && keptKind == kind && keptKey == key;
    };
    const bool intact = last.table == &table && last.tableVersion == table.version() && last.stamp != 0;
    if (intact && last.insertedRow) {
        table.erase(*last.insertedRow);
    }
    if (!(intact && last.service == service && usable(last.stamp, last.kind, last.key))) {
        if (intact) {
            m_searchPushKept[last.service] = KeptSearchResults{std::move(table), last.stamp, last.kind, last.key};
        }
        const auto kept = m_searchPushKept.find(service);
        if (kept != m_searchPushKept.end() && usable(kept->second.stamp, kept->second.kind, kept->second.key)) {
            table = std::move(kept->second.sorted);
            m_searchPushKept.erase(kept);
        } else {
            std::vector<CHeadlineTable> entries;
            bk->BKQNEWS_iGetHeadlineTable(service, entries, kind, key);
            // A list moved into the kept results above reads as empty and takes new entries.
            table.assignNewestFirst(std::move(entries)); // NOLINT(bugprone-use-after-move)
        }
    }
    const std::optional<std::size_t> row = table.findFirstSameSeq(service, headline.m_iSeqNo);
    if (row) {
        table.insert(*row, CHeadlineTable{service, headline.m_tTime, headline.m_iSeqNo});
        vInsertHeadline(grid, headline, true, *row);
    }
    last = SearchPushState{&table, table.version(), service, kind, key, stamp, row};
}

// ---- A new symbol for the shown search ----

void TRVNewsCtrlView::vDoSearchChangeSymbol(const CSearch& condition, unsigned char market, const CString& symbolCode) {
    BKQuoteInterface* bk = BKQuoteInterface::GetBKInterface();
    if (bk == nullptr) {
        return;
    }
    CString symbol = symbolCode;
    // Markets of the same authorisation family as market 1, and market m, search news by
    // commodity id rather than by the quote code.
    if (bk->bIsFromTheSameAuthServiceID(1, market) == 1 || market == kMarketLetterM) {
        CString commodity;
        if (!bk->bGetCommodityIDBySymbolID(commodity, market, symbolCode)) {
            return;
        }
        symbol = commodity;
    }
    const bool warningBound = m_iCurrFunction == news::kModeWarningSearch && !condition.m_vSymbols.empty() &&
                              !condition.m_vSymbols.front().empty();
    if (warningBound || (m_iCurrFunction != news::kModeSearch && m_iCurrFunction != news::kModeWarningSearch)) {
        OnDealsSearch();
        return;
    }
    // The name is looked up by the quote code: the record is the market's, whatever id the
    // news is searched by.
    CString name;
    if (!bk->bGetItemDataByItemNo(name, market, symbolCode, kItemDisplayName)) {
        return;
    }
    // Compared before any is changed: the copy names the stored condition it came from.
    const bool ordinary = condition == m_searchCondition;
    const bool second = condition == m_secondSearchCondition;
    const bool warning = condition == m_warningCondition;
    if (ordinary) {
        m_searchCondition.m_vSymbols.assign(1, symbol);
    }
    if (second) {
        m_secondSearchCondition.m_vSymbols.assign(1, symbol);
    }
    if (warning) {
        m_warningCondition.m_vSymbols.assign(1, symbol);
    }
    OnDealsSearch();
}
