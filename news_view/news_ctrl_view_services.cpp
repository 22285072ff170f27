// News services: their registration with the host, the service menu and the service combo.
#include <algorithm>

#include "host/backend/bk_quote_interface.h"
#include "host/text/format.h"
#include "news_view/news_ctrl_view.h"

namespace {

// Combo labels of the symbol-news services, code page 950.
constexpr const char* kLabelStock = "\xA5\x78\xC6\x57\xC3\xD2\xA8\xE9";    // 台灣證券
constexpr const char* kLabelEmerging = "\xBF\xB3\xC2\x64\xAA\xD1\xB2\xBC"; // 興櫃股票
constexpr const char* kLabelHongKong = "\xAD\xBB\xB4\xE4\xAA\xD1\xA5\xAB"; // 香港股市

bool contains(const std::vector<unsigned char>& ids, unsigned char id) {
    return std::find(ids.begin(), ids.end(), id) != ids.end();
}

} // namespace

// ---- Registration ----

bool TRVNewsCtrlView::RegisterService(unsigned char service) {
    C_RegisterSymbol(this, {CSymbolInfo{service, CString{}}}, {});
    return true;
}

bool TRVNewsCtrlView::UnRegisterService(unsigned char service) {
    C_RegisterSymbol(this, {}, {CSymbolInfo{service, CString{}}});
    return true;
}

bool TRVNewsCtrlView::RegisterService() {
    std::vector<CSymbolInfo> added;
    for (const NewsServiceEntry& entry : m_vService) {
        added.push_back(CSymbolInfo{entry.m_byService, CString{}});
    }
    // Kept: the registration bits are left as they are; only CheckRegisterService keeps them.
    C_RegisterSymbol(this, added, {});
    return true;
}

bool TRVNewsCtrlView::UnRegisterService() {
    std::vector<CSymbolInfo> removed;
    for (const NewsServiceEntry& entry : m_vService) {
        removed.push_back(CSymbolInfo{entry.m_byService, CString{}});
    }
    C_RegisterSymbol(this, {}, removed);
    return true;
}

void TRVNewsCtrlView::CheckRegisterService() {
    m_vRegistered.resize(m_vService.size(), false);
    for (std::size_t i = 0; i < m_vService.size(); ++i) {
        const bool selected = m_vService[i].m_bySelected != 0;
        if (selected && !m_vRegistered[i]) {
            RegisterService(m_vService[i].m_byService);
            m_vRegistered[i] = true;
        } else if (!selected && m_vRegistered[i]) {
            UnRegisterService(m_vService[i].m_byService);
            m_vRegistered[i] = false;
        }
    }
}

int TRVNewsCtrlView::iBeSelectNewsNum() const {
    return static_cast<int>(std::count_if(m_vService.begin(), m_vService.end(),
                                          [](const NewsServiceEntry& e) { return e.m_bySelected != 0; }));
}

// ---- Service menu ----

void TRVNewsCtrlView::vCheckServiceMenuItem(int position, bool checked) {
    if (m_pServiceMenu != nullptr && position >= 0 && position < m_pServiceMenu->itemCount()) {
        m_pServiceMenu->checkItemByPosition(position, checked);
    }
}

void TRVNewsCtrlView::OnSelectService() {
    if (m_pServiceMenu == nullptr || m_pServiceButton == nullptr) {
        return;
    }
    const host::ui::Point bottomLeft =
        m_pServiceButton->clientToScreen(host::ui::Point{0, m_pServiceButton->clientRect().bottom});
    m_pServiceMenu->track(bottomLeft, GetWnd(), true);
}

void TRVNewsCtrlView::OnSelectCheckService(unsigned id) {
    if (id < static_cast<unsigned>(news::kCmdFirstService)) {
        return;
    }
    const std::size_t index = id - static_cast<unsigned>(news::kCmdFirstService);
    if (index >= m_vService.size()) {
        return;
    }
    NewsServiceEntry& entry = m_vService[index];
    // Kept: the mark is set at the record's index as a menu position (see SwitchFunction).
    const int position = static_cast<int>(index);
    if (entry.m_bySelected == 0) {
        vCheckServiceMenuItem(position, true);
        entry.m_bySelected = 1;
    } else {
        // The last checked service stays checked: a view without a service would show nothing.
        if (iBeSelectNewsNum() < 2) {
            return;
        }
        vCheckServiceMenuItem(position, false);
        entry.m_bySelected = 0;
    }
    m_vServiceSaved = m_vService;

    // Every list that exists is rebuilt for the new set of services.
    if (m_pSheet[news::kModeAllNews] != nullptr) {
        // A picker without a date gives a key that no table has, and so an empty list.
        host::ui::Date date;
        if (m_pDateTime == nullptr || !m_pDateTime->date(date)) {
            date = host::ui::Date{-1, -1, -1};
        }
        vChangeNewsTable(m_pSheet[news::kModeAllNews], m_vHeadlineTable[news::kModeAllNews], BKQuoteInterface::kByDate,
                         text::format("%04d%02d%02d", date.year, date.month, date.day));
    }
    if (m_pSheet[news::kModeCategory] != nullptr) {
        CString category;
        if (m_pCategoryCombo != nullptr && m_pCategoryCombo->curSel() >= 0) {
            category = m_pCategoryCombo->itemText(m_pCategoryCombo->curSel());
        }
        vRefreshCategoryCombo(category);
    }
    if (m_pSheet[news::kModeSymbol] != nullptr) {
        const CString code = selectedSymbolCode();
        if (!code.empty()) {
            vChangeNewsTable(m_pSheet[news::kModeSymbol], m_vHeadlineTable[news::kModeSymbol],
                             BKQuoteInterface::kBySymbol, code);
        }
    }
    if (m_pSheet[news::kModeRelation] != nullptr) {
        vChangeNewsTable(m_pSheet[news::kModeRelation], m_vHeadlineTable[news::kModeRelation],
                         BKQuoteInterface::kByDate, text::formatLocalTime("%Y%m%d", tNow()));
    }
    if (m_pSheet[news::kModeSearch] != nullptr && m_iCurrFunction == news::kModeSearch) {
        OnSearch();
    }

    CheckRegisterService();
    m_iShowedStoryRow = -1;
    OnShowStory();
    Invalidate();
}

void TRVNewsCtrlView::vGetNewsActiveService(std::vector<unsigned char>& services) const {
    services.clear();
    switch (m_iCurrFunction) {
    case news::kModeWarrant:
        if (m_iWarrantIndex >= 0 && static_cast<std::size_t>(m_iWarrantIndex) < m_vService.size()) {
            services.push_back(m_vService[static_cast<std::size_t>(m_iWarrantIndex)].m_byService);
        }
        break;
    case news::kModeAllNews:
    case news::kModeCategory:
    case news::kModeSymbol:
    case news::kModeRelation:
        for (const NewsServiceEntry& entry : m_vService) {
            if (entry.m_bySelected != 0) {
                services.push_back(entry.m_byService);
            }
        }
        break;
    case news::kModeSearch:
    case news::kModeWarningSearch:
        // Searches cover every service, checked or not.
        for (const NewsServiceEntry& entry : m_vService) {
            services.push_back(entry.m_byService);
        }
        break;
    default:
        break;
    }
}

// ---- Service combo of the symbol-news mode ----

int TRVNewsCtrlView::iInitServiceComboBox(unsigned char& selected) {
    BKQuoteInterface* bk = BKQuoteInterface::GetBKInterface();
    std::vector<unsigned char> all;
    if (m_pServiceCombo == nullptr || bk == nullptr || !bk->bGetAllServiceID(all)) {
        return -1;
    }
    m_pServiceCombo->setRedraw(false);
    m_pServiceCombo->resetContent();
    m_vSymbolService.clear();
    const auto offer = [&](unsigned char service, const char* label) {
        if (contains(all, service) && bk->BKQCheckAuthSupport(service) != 0) {
            m_pServiceCombo->addString(label);
            m_vSymbolService.push_back(service);
            return true;
        }
        return false;
    };
    offer(news::kServiceStock, kLabelStock);
    offer(news::kServiceEmerging, kLabelEmerging);
    if (!offer(news::kServiceHongKong, kLabelHongKong)) {
        // Hong Kong news may only be delivered under its delayed id; it keeps the same label.
        unsigned char delayed = 0;
        if (bk->bGetServiceID2Delay(news::kServiceHongKong, delayed)) {
            offer(delayed, kLabelHongKong);
        }
    }
    if (m_vSymbolService.empty()) {
        m_pServiceCombo->setRedraw(true);
        return -1;
    }
    const auto it = std::find(m_vSymbolService.begin(), m_vSymbolService.end(), m_byNewsSymbolService);
    const int index = it == m_vSymbolService.end() ? 0 : static_cast<int>(it - m_vSymbolService.begin());
    m_pServiceCombo->setCurSel(index);
    selected = m_vSymbolService[static_cast<std::size_t>(index)];
    m_pServiceCombo->setRedraw(true);
    return index;
}
