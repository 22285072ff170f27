// The symbol the view follows: the symbol combo of the symbol-news mode, symbol changes from
// linked views and the user, and the symbol's news.
#include <algorithm>

#include "host/backend/bk_quote_interface.h"
#include "host/backend/search_control.h"
#include "host/framework/cfg_io.h"
#include "host/framework/sync_info.h"
#include "host/text/format.h"
#include "news_view/news_ctrl_view.h"
#include "search/news_relate_symbol_quote_view.h"
#include "story/news_story_view.h"

using host::ui::CSuperSheetWnd;

namespace {

// The symbol a symbol-news view opens with when its own symbol is unknown.
constexpr const char* kFallbackSymbol = "6214";
// What the symbol mode reports as its symbol while nothing is selected.
constexpr const char* kNoSelectionSymbol = "#001";
constexpr const char* kSettingSymbolId = "SymbolID";

} // namespace

// ---- Symbol combo ----

int TRVNewsCtrlView::iInitSymbolComboBox(unsigned char service) {
    if (m_pSymbolCombo == nullptr) {
        return -1;
    }
    std::vector<CString> codes;
    std::vector<CString> names;
    if (service == news::kServiceEmerging) {
        if (BKQuoteInterface* bk = BKQuoteInterface::GetBKInterface()) {
            bk->bGetSymbolID(service, codes, names);
        }
    } else if (SearchObjInterface* search = SearchControl::GetSearchObjInterface()) {
        search->GetSymbolsByService(service, codes, names, 1);
    }
    if (codes.empty() || codes.size() != names.size()) {
        // A service without a usable symbol list leaves the service combo for good.
        const auto it = std::find(m_vSymbolService.begin(), m_vSymbolService.end(), service);
        if (it != m_vSymbolService.end()) {
            if (m_pServiceCombo != nullptr) {
                m_pServiceCombo->deleteString(static_cast<int>(it - m_vSymbolService.begin()));
            }
            m_vSymbolService.erase(it);
        }
        return -1;
    }
    m_vSymbol.clear();
    m_mapSymbolIndex.clear();
    m_pSymbolCombo->setRedraw(false);
    m_pSymbolCombo->resetContent();
    int selectedIndex = -1;
    for (std::size_t i = 0; i < codes.size(); ++i) {
        if (IsSupportNews(service, codes[i]) == 0) {
            continue;
        }
        const int index = m_pSymbolCombo->addString(text::format("%s %s", codes[i].c_str(), names[i].c_str()));
        m_vSymbol.push_back(NewsSymbolRecord{service, codes[i]});
        m_mapSymbolIndex.emplace(codes[i], index);
        if (codes[i] == m_strNewsSymbolCode) {
            m_pSymbolCombo->setCurSel(index);
            selectedIndex = index;
        }
    }
    m_pSymbolCombo->setRedraw(true);
    return selectedIndex;
}

int TRVNewsCtrlView::IsSupportNews(unsigned char service, const CString& code) const {
    BKQuoteInterface* bk = BKQuoteInterface::GetBKInterface();
    if (bk == nullptr) {
        return 0;
    }
    const bool candidate = bIsNormalTWSESymbolID(service, code) ||
                           (service == news::kServiceEmerging && (code.empty() || code.front() != '#')) ||
                           bk->bIsFromTheSameAuthServiceID(service, news::kServiceHongKong) == 1;
    if (!candidate) {
        return 0;
    }
    if (service != news::kServiceHongKong) {
        return 1;
    }
    // Only Hong Kong symbols of category 1 carry news.
    int category = 0;
    return bk->bGetCategorybySymbolID(category, news::kServiceHongKong, code) && category == 1 ? 1 : 0;
}

CString TRVNewsCtrlView::selectedSymbolCode() const {
    if (m_pSymbolCombo == nullptr) {
        return {};
    }
    const int sel = m_pSymbolCombo->curSel();
    if (sel < 0 || static_cast<std::size_t>(sel) >= m_vSymbol.size()) {
        return {};
    }
    return m_vSymbol[static_cast<std::size_t>(sel)].m_strCode;
}

void TRVNewsCtrlView::showSymbolControls(bool show) {
    if (m_pSheet[news::kModeSymbol] != nullptr) {
        m_pSheet[news::kModeSymbol]->show(show);
    }
    for (host::ui::Window* control :
         {static_cast<host::ui::Window*>(m_pServiceButton), static_cast<host::ui::Window*>(m_pServiceCombo),
          static_cast<host::ui::Window*>(m_pSymbolCombo)}) {
        if (control != nullptr) {
            control->show(show);
        }
    }
}

void TRVNewsCtrlView::OnSelchangeComboService() {
    if (m_pSheet[news::kModeSymbol] == nullptr || m_pServiceCombo == nullptr) {
        return;
    }
    const int sel = m_pServiceCombo->curSel();
    if (sel < 0 || static_cast<std::size_t>(sel) >= m_vSymbolService.size()) {
        return;
    }
    const unsigned char service = m_vSymbolService[static_cast<std::size_t>(sel)];
    if (service == m_byNewsSymbolService) {
        m_pServiceCombo->setCurSel(sel);
        return;
    }
    m_byPrevSymbolService = m_byNewsSymbolService;
    m_byNewsSymbolService = service;
    if (iInitSymbolComboBox(service) == -1 && m_pSymbolCombo != nullptr) {
        m_pSymbolCombo->setCurSel(-1);
    }
    OnSelchangeComboSymbol();
    vSetComponentPos();
}

void TRVNewsCtrlView::OnSelchangeComboSymbol() {
    if (m_pSheet[news::kModeSymbol] == nullptr || m_pSymbolCombo == nullptr) {
        return;
    }
    const int sel = m_pSymbolCombo->curSel();
    if (sel < 0 || static_cast<std::size_t>(sel) >= m_vSymbol.size()) {
        return;
    }
    const NewsSymbolRecord& record = m_vSymbol[static_cast<std::size_t>(sel)];
    if (record.m_strCode == m_strNewsSymbolCode) {
        m_pSymbolCombo->setCurSel(sel);
        return;
    }
    m_iShowedStoryRow = -1;
    m_byNewsSymbolService = record.m_byService;
    m_strNewsSymbolCode = record.m_strCode;
    m_bSymbolFromLink = false;
    GetSymbolNews(m_strNewsSymbolCode);
    SendChangeSymbol(this, GetLinkGroup());
}

void TRVNewsCtrlView::vOnChangeServiceCombobox(unsigned char service) {
    if (m_iCurrFunction != news::kModeSymbol || m_pServiceCombo == nullptr || m_pSymbolCombo == nullptr) {
        return;
    }
    const auto it = std::find(m_vSymbolService.begin(), m_vSymbolService.end(), service);
    if (it == m_vSymbolService.end()) {
        return;
    }
    const int serviceIndex = static_cast<int>(it - m_vSymbolService.begin());
    const int symbolIndex = iInitSymbolComboBox(service);
    if (symbolIndex == -1) {
        return;
    }
    m_pServiceCombo->setCurSel(serviceIndex);
    m_pSymbolCombo->setCurSel(symbolIndex);
}

void TRVNewsCtrlView::vOnChangeSymbolCombobox() {
    if (m_iCurrFunction != news::kModeSymbol || m_pSymbolCombo == nullptr || m_strNewsSymbolCode.empty()) {
        return;
    }
    const auto it = m_mapSymbolIndex.find(m_strNewsSymbolCode);
    if (it == m_mapSymbolIndex.end()) {
        return;
    }
    for (host::ui::Window* control :
         {static_cast<host::ui::Window*>(m_pServiceCombo), static_cast<host::ui::Window*>(m_pSymbolCombo),
          static_cast<host::ui::Window*>(m_pServiceButton)}) {
        if (control != nullptr) {
            control->show(true);
        }
    }
    m_pSymbolCombo->setCurSel(it->second);
    reloadSymbolTable();
}

// ---- Symbol changes ----

void TRVNewsCtrlView::ChangeSymbol(const TRVQuoteBaseView* sender, unsigned char group, unsigned char service,
                                   const CString& code, const CString& name) {
    // Another view's symbol is only followed inside the same, real link group.
    if (sender != this && (GetLinkGroup() == 0 || group != GetLinkGroup())) {
        return;
    }
    if (service == m_byNewsSymbolService && code == m_strNewsSymbolCode) {
        return;
    }
    BKQuoteInterface* bk = BKQuoteInterface::GetBKInterface();
    if (bk != nullptr && bk->bIsSymbolIDExist(service, code) == 1) {
        SetSymbol(service, code);
    } else {
        SetSymbol(0, CString{});
    }
    m_byPrevSymbolService = m_byNewsSymbolService;
    m_byNewsSymbolService = service;
    m_strNewsSymbolCode = code;
    m_bSymbolFromLink = sender != this;

    vDoNormalChangeSymbol(service, code);
    // A copy: the search may replace the symbols of the stored condition it was given.
    const CSearch condition = m_iCurrFunction == news::kModeRelation        ? m_secondSearchCondition
                              : m_iCurrFunction == news::kModeWarningSearch ? m_warningCondition
                                                                            : m_searchCondition;
    vDoSearchChangeSymbol(condition, service, code);

    if ((m_uFunctionMask & news::kMaskSymbol) != 0) {
        if (IsSupportNews(service, code) != 0) {
            SetDataState(kDataNormal);
            if (m_iCurrFunction == news::kModeSymbol && m_pSheet[news::kModeSymbol] != nullptr) {
                m_pSheet[news::kModeSymbol]->show(true);
            }
            if (m_pSheet[news::kModeSymbol] != nullptr) {
                GetSymbolNews(code);
            }
        } else if (m_iNewsType == 2) {
            // A view that shows nothing but symbol news says so instead of showing stale rows.
            SetDataState(kDataNotSupported);
            showSymbolControls(false);
            Invalidate();
        }
    }
    if (m_pRelateQuoteView != nullptr) {
        m_pRelateQuoteView->ChangeSymbol(sender, group, service, code, name);
    }
}

void TRVNewsCtrlView::vDoNormalChangeSymbol(unsigned char service, const CString& code) {
    const bool supported = IsSupportNews(service, code) != 0;
    if (supported) {
        vOnChangeServiceCombobox(service);
        m_strNewsSymbolCode = code;
        vOnChangeSymbolCombobox();
    }
    if (m_iCurrFunction == news::kModeSymbol && !m_vSymbol.empty() && supported) {
        const auto it = m_mapSymbolIndex.find(code);
        if (it != m_mapSymbolIndex.end() && m_pSymbolCombo != nullptr) {
            m_pSymbolCombo->setCurSel(it->second);
            OnSelchangeComboSymbol();
        }
    }
}

void TRVNewsCtrlView::reloadSymbolTable() {
    CSuperSheetWnd* grid = m_pSheet[news::kModeSymbol];
    if (grid == nullptr) {
        return;
    }
    HeadlineTableList& table = m_vHeadlineTable[news::kModeSymbol];
    grid->vClearAllRows();
    grid->vResetScroll();
    table.clear();
    std::vector<CHeadlineTable> entries;
    if (BKQuoteInterface* bk = BKQuoteInterface::GetBKInterface()) {
        // Kept: always the current news symbol, whatever code the caller had in hand.
        const CSymbolInfo symbol{m_byNewsSymbolService, m_strNewsSymbolCode};
        for (const NewsServiceEntry& entry : m_vService) {
            if (entry.m_bySelected != 0) {
                bk->BKQNEWS_iGetHeadlineTable(entries, entry.m_byService, symbol);
            }
        }
    }
    if (entries.empty()) {
        return;
    }
    table.assign(entries);
    table.sortNewestFirst();
    vFillHeadlineTable(grid, table, true);
    vFillHeadline(news::kModeSymbol, grid, table, true);
}

void TRVNewsCtrlView::GetSymbolNews(const CString& /*code*/) {
    if (m_pStoryView != nullptr) {
        m_pStoryView->OnClearStory();
    }
    vClearRelateQuoteList();
    reloadSymbolTable();
}

void TRVNewsCtrlView::OnSelSymbol(const CString& code) {
    if (m_pSheet[news::kModeSymbol] != nullptr) {
        GetSymbolNews(code);
    }
}

void TRVNewsCtrlView::vDoSymbolUpdate(const std::vector<CSymbolUpdateInfo>& updates) {
    if (m_pRelateQuoteView != nullptr) {
        m_pRelateQuoteView->vDoSymbolUpdate(updates);
    }
    // The first supported symbol in the update is enough to rebuild the symbol list.
    for (const CSymbolUpdateInfo& update : updates) {
        if (IsSupportNews(update.m_byService, update.m_strCode) == 0) {
            continue;
        }
        if (std::find(m_vSymbolService.begin(), m_vSymbolService.end(), m_byNewsSymbolService) !=
            m_vSymbolService.end()) {
            if (iInitSymbolComboBox(m_byNewsSymbolService) != -1 && m_iNewsType == 2) {
                OnSelchangeComboSymbol();
            }
        }
        break;
    }
}

bool TRVNewsCtrlView::bUpdateSymbolVec() {
    if (std::find(m_vSymbolService.begin(), m_vSymbolService.end(), m_byNewsSymbolService) != m_vSymbolService.end()) {
        iInitSymbolComboBox(m_byNewsSymbolService);
    }
    return true;
}

int TRVNewsCtrlView::GetCurrSymbolInfo(unsigned char& service, CString& code) {
    if (m_iCurrFunction != news::kModeSymbol) {
        return TRVQuoteBaseView::GetCurrSymbolInfo(service, code);
    }
    const int sel = m_pSymbolCombo != nullptr ? m_pSymbolCombo->curSel() : -1;
    if (sel < 0 || static_cast<std::size_t>(sel) >= m_vSymbol.size()) {
        service = news::kServiceStock;
        code = kNoSelectionSymbol;
        return 1;
    }
    service = m_vSymbol[static_cast<std::size_t>(sel)].m_byService;
    code = m_vSymbol[static_cast<std::size_t>(sel)].m_strCode;
    return 1;
}

bool TRVNewsCtrlView::bInitialSymbolInfo(TRVCfgIO2* cfg, const CString& section, int layout1, int layout2) {
    unsigned char service = 0;
    const int serviceIndex = iInitServiceComboBox(service);
    const int symbolIndex = serviceIndex >= 0 ? iInitSymbolComboBox(service) : -1;
    vSetComponentPos();
    // Kept: any -1 from the symbol combo counts as a failure, a filled list without a
    // selection too, so a view without a current symbol opens in the not-supported state.
    const bool symbolsFailed = symbolIndex < 0;
    if (serviceIndex < 0 || (symbolsFailed && m_strNewsSymbolCode.empty())) {
        SetDataState(kDataNotSupported);
        showSymbolControls(false);
        Invalidate();
        return true;
    }

    // A view opened for linked news takes its group's symbol as it is, without the saved one.
    const CSyncInfo& sync = CSyncInfo::Get();
    CString code = sync.SYS_cszGetCurrentSymbol(GetLinkGroup());
    if (code.empty() && !sync.SYS_bGetIsLinkNews() && cfg != nullptr) {
        cfg->GetViewInfo(section, layout1, layout2, news::kViewKey, kSettingSymbolId, code);
    }
    auto it = m_mapSymbolIndex.find(code);
    if (it == m_mapSymbolIndex.end()) {
        it = m_mapSymbolIndex.find(kFallbackSymbol);
    }
    if (m_pSymbolCombo != nullptr) {
        m_pSymbolCombo->setCurSel(it != m_mapSymbolIndex.end() ? it->second : -1);
    }
    if (m_iFocusedTab == news::kModeSymbol) {
        OnSelchangeComboSymbol();
    }
    return true;
}
