// The category catalogue: id <-> short name, category colours, the category combo of the
// category mode, showing or hiding the category column, and the colour scheme of the view.
#include <algorithm>
#include <cstdlib>
#include <set>

#include "headline_list/headline_columns.h"
#include "host/backend/bk_quote_interface.h"
#include "host/framework/cfg_io.h"
#include "host/framework/item_display.h"
#include "host/framework/sync_info.h"
#include "host/framework/tab_color_set.h"
#include "host/text/cp950.h"
#include "host/text/profile.h"
#include "news_view/news_ctrl_view.h"

namespace {

constexpr const char* kCatalogueFile = "/NewsService.ini";
constexpr const char* kCatalogueSection = "CONFIG";
constexpr std::size_t kCatalogueValueMax = 1024;
constexpr const char* kCatalogueDelimiters = " ,\n";
constexpr const char* kKeyCategoryId = "CategoryID";

// Pairs ids with names into both maps; false (maps left empty) when the lists differ in length.
bool bFillCatalogue(const std::vector<CString>& ids, const std::vector<CString>& names,
                    std::map<int, CString>& idToName, std::map<CString, int>& nameToId) {
    idToName.clear();
    nameToId.clear();
    if (ids.size() != names.size()) {
        return false;
    }
    for (std::size_t i = 0; i < ids.size(); ++i) {
        const int id = std::atoi(ids[i].c_str());
        idToName.emplace(id, names[i]);
        nameToId.emplace(names[i], id);
    }
    return true;
}

} // namespace

// ---- Catalogues ----

bool TRVNewsCtrlView::bInitialTransferCatObject() {
    m_mapCatIdToName.clear();
    m_mapCatNameToId.clear();
    BKQuoteInterface* bk = BKQuoteInterface::GetBKInterface();
    if (bk == nullptr) {
        return false;
    }
    ProfileFile ini;
    ini.load(bk->PathGetSysPath() + kCatalogueFile);
    const std::vector<CString> ids =
        cp950::tokenize(ini.getString(kCatalogueSection, "CatId", "", kCatalogueValueMax), kCatalogueDelimiters);
    const std::vector<CString> names =
        cp950::tokenize(ini.getString(kCatalogueSection, "SHORTNAME", "", kCatalogueValueMax), kCatalogueDelimiters);
    return bFillCatalogue(ids, names, m_mapCatIdToName, m_mapCatNameToId);
}

bool TRVNewsCtrlView::bInitialTransferWarrantCatObject() {
    m_mapWarrantCatIdToName.clear();
    m_mapWarrantCatNameToId.clear();
    BKQuoteInterface* bk = BKQuoteInterface::GetBKInterface();
    std::vector<CString> ids;
    std::vector<CString> names;
    if (bk == nullptr || !bk->bNewsAPI_GetNewsCatId(news::kServiceWarrant, ids, names)) {
        return false;
    }
    return bFillCatalogue(ids, names, m_mapWarrantCatIdToName, m_mapWarrantCatNameToId);
}

CString TRVNewsCtrlView::cszTransferCatIDToCatName(int id) const {
    const auto it = m_mapCatIdToName.find(id);
    // An unknown id shows the "being fetched" text rather than an empty cell.
    return it != m_mapCatIdToName.end() ? it->second : Lang("IDS_NEWSCTRLVIEW_STRING_RECOVER");
}

int TRVNewsCtrlView::GetCategoryIDbyName(const CString& name) const {
    const auto it = m_mapCatNameToId.find(name);
    return it != m_mapCatNameToId.end() ? it->second : -1;
}

bool TRVNewsCtrlView::bGetCategoryColorById(int id, COLORREF& text, COLORREF& background) const {
    if (m_mapCatIdToName.find(id) == m_mapCatIdToName.end()) {
        return false;
    }
    TRVItemDisplay::GetNewsCatColor(id, text, background);
    return true;
}

int TRVNewsCtrlView::GetCategoryColor(const CString& name, COLORREF& text, COLORREF& background) const {
    const auto it = m_mapCatNameToId.find(name);
    if (it == m_mapCatNameToId.end()) {
        return 0;
    }
    TRVItemDisplay::GetNewsCatColor(it->second, text, background);
    return 1;
}

// ---- Category combo and list 1 ----

CString TRVNewsCtrlView::cszGetSelectedCategoryID() const {
    if (m_pCategoryCombo == nullptr) {
        return CString{};
    }
    const int sel = m_pCategoryCombo->curSel();
    // The id text exactly as the back end gave it: pushes and answers are compared with it.
    return sel >= 0 && static_cast<std::size_t>(sel) < m_vCategoryIdText.size()
               ? m_vCategoryIdText[static_cast<std::size_t>(sel)]
               : CString{};
}

void TRVNewsCtrlView::vForEachServiceCategory(
    bool selectedOnly,
    const std::function<void(unsigned char service, const CString& id, const CString& name)>& visit) const {
    BKQuoteInterface* bk = BKQuoteInterface::GetBKInterface();
    if (bk == nullptr) {
        return;
    }
    for (const NewsServiceEntry& entry : m_vService) {
        if ((selectedOnly && entry.m_bySelected == 0) || entry.m_byService == news::kServiceWarrant) {
            continue;
        }
        std::vector<CString> ids;
        std::vector<CString> names;
        if (!bk->bNewsAPI_GetNewsCatId(entry.m_byService, ids, names)) {
            continue;
        }
        for (std::size_t i = 0; i < ids.size() && i < names.size(); ++i) {
            visit(entry.m_byService, ids[i], names[i]);
        }
    }
}

void TRVNewsCtrlView::vFillCategoryCombo(const CString& selectId) {
    if (m_pCategoryCombo == nullptr || BKQuoteInterface::GetBKInterface() == nullptr) {
        return;
    }
    m_pCategoryCombo->setRedraw(false);
    m_pCategoryCombo->resetContent();
    m_vCategoryIdText.clear();
    // Categories of the selected services in service order, each id once.
    std::set<CString> seen;
    int selectIndex = -1;
    vForEachServiceCategory(true, [&](unsigned char service, const CString& idText, const CString& name) {
        if (!seen.insert(idText).second) {
            return;
        }
        const int id = std::atoi(idText.c_str());
        const int index = m_pCategoryCombo->addString(cszShowText(service, name));
        if (index < 0) {
            return;
        }
        m_vCategoryIdText.insert(
            m_vCategoryIdText.begin() +
                std::min(static_cast<std::ptrdiff_t>(index), static_cast<std::ptrdiff_t>(m_vCategoryIdText.size())),
            idText);
        m_pCategoryCombo->setItemData(index, id);
        COLORREF text = 0;
        COLORREF background = 0;
        if (bGetCategoryColorById(id, text, background)) {
            m_pCategoryCombo->setItemColors(index, text, background);
        }
        if (!selectId.empty() && idText == selectId) {
            selectIndex = index;
        }
    });
    if (selectIndex < 0 && m_pCategoryCombo->count() > 0) {
        selectIndex = 0;
    }
    m_pCategoryCombo->setCurSel(selectIndex);
    m_pCategoryCombo->setRedraw(true);
}

void TRVNewsCtrlView::vLoadCategoryTable() {
    host::ui::CSuperSheetWnd* grid = m_pSheet[news::kModeCategory];
    BKQuoteInterface* bk = BKQuoteInterface::GetBKInterface();
    if (grid == nullptr || bk == nullptr) {
        return;
    }
    HeadlineTableList& table = m_vHeadlineTable[news::kModeCategory];
    std::vector<CHeadlineTable> entries;
    const CString categoryId = cszGetSelectedCategoryID();
    if (!categoryId.empty()) {
        for (const NewsServiceEntry& entry : m_vService) {
            if (entry.m_bySelected != 0) {
                bk->BKQNEWS_iGetHeadlineTable(entry.m_byService, entries, BKQuoteInterface::kByCategory, categoryId);
            }
        }
    }
    table.assign(entries);
    table.sortNewestFirst();
    vFillHeadlineTable(grid, table, true);
    if (table.empty()) {
        SetCaptionText(CString{});
        return;
    }
    vFillHeadline(news::kModeCategory, grid, table, true);
}

bool TRVNewsCtrlView::bInitialCategoryInfo(TRVCfgIO2* cfg, const CString& section, int layout1, int layout2) {
    CString savedId;
    if (cfg != nullptr) {
        cfg->GetViewInfo(section, layout1, layout2, news::kViewKey, kKeyCategoryId, savedId);
    }
    vFillCategoryCombo(savedId);
    vLoadCategoryTable();
    return m_pCategoryCombo != nullptr && m_pCategoryCombo->count() > 0;
}

void TRVNewsCtrlView::vRefreshCategoryCombo(const CString& select) {
    if (m_pCategoryCombo == nullptr) {
        return;
    }
    vFillCategoryCombo(CString{});
    if (!select.empty()) {
        const int index = m_pCategoryCombo->findStringExact(0, select);
        if (index >= 0) {
            m_pCategoryCombo->setCurSel(index);
        }
    }
    vLoadCategoryTable();
}

void TRVNewsCtrlView::OnSelchangeComboIndex() {
    vLoadCategoryTable();
    m_iShowedStoryRow = -1;
    vRestartRefreshTimer();
}

// ---- Category column ----

void TRVNewsCtrlView::ChangeCurrViewCategoryState(bool show) {
    if (m_iNewsType == news::kNewsTypeTwoColumns) {
        return;
    }
    if (host::ui::CSuperSheetWnd* grid = pGetCurrSheetView()) {
        // Hidden by zero width, not removed: the title stays column 2 either way.
        grid->vSetColWidth(news::kColCategory, show ? news::kColCategoryWidth : 0);
        grid->invalidate(false);
    }
}

void TRVNewsCtrlView::OnChangeCategoryState() {
    m_byCategoryState = m_byCategoryState != 0 ? 0 : 1;
    ChangeCurrViewCategoryState(m_byCategoryState != 0);
}

// ---- Colours and font ----

void TRVNewsCtrlView::vChangeCast() {
    InitFont();
    m_font = GetViewFont();
    const CSyncInfo& sync = CSyncInfo::Get();

    if (m_pTab != nullptr) {
        m_pTab->setFont(m_font);
        const TRVTabColorSet colorSet;
        colorSet.SetColorSet(*m_pTab);
    }
    host::ui::Window* controls[] = {m_pServiceButton, m_pRelationButton, m_pDealsButton, m_pSearchButton,
                                    m_pWarningButton, m_pShowTypeButton, m_pDateTime,    m_pServiceCombo,
                                    m_pCategoryCombo, m_pSymbolCombo,    m_pSearchEdit};
    for (host::ui::Window* control : controls) {
        if (control != nullptr) {
            control->setFont(m_font, true);
        }
    }
    for (host::ui::Button* button : m_pFunctionBtn) {
        if (button != nullptr) {
            button->setFont(m_font, true);
        }
    }

    // Seven reads in this order, the normal text twice. The stripe and grey focus colours are
    // read with the rest but no grid setter takes them: the rows wear the view's own two
    // background colours, which the host keeps.
    const COLORREF focusText = sync.SYS_crGetOtherColor("COLOR_LISTCTL_NORMALTEXT");
    sync.SYS_crGetOtherColor("COLOR_LISTCTL_BACKGROUNDSLASH");
    const COLORREF focusBack = sync.SYS_crGetOtherColor("COLOR_LISTCTL_CLICKLINE");
    sync.SYS_crGetOtherColor("COLOR_LISTCTL_CLICKLINE_GRAY");
    const COLORREF headerBack = sync.SYS_crGetOtherColor("COLOR_LISTCTL_HDBkCOLOR1");
    const COLORREF headerText = sync.SYS_crGetOtherColor("COLOR_LISTCTL_HDTEXTCOLOR1");
    const COLORREF text = sync.SYS_crGetOtherColor("COLOR_LISTCTL_NORMALTEXT");

    m_crBackground = GetBackColor();
    m_crRowBack1 = GetBackColor();
    m_crRowBack2 = GetStripeColor();
    for (host::ui::CSuperSheetWnd* grid : m_pSheet) {
        if (grid == nullptr) {
            continue;
        }
        grid->vSetHeaderRowBkColor(headerBack);
        grid->vSetHeaderRowFgColor(headerText);
        grid->vSetFrameColor(headerBack);
        grid->vSetBkColor(m_crRowBack1, m_crRowBack2);
        grid->vSetFocusColor(true, focusText, focusBack);
        grid->vSetFgColor(text);
        grid->vSetFont(m_font);
    }
    Invalidate(true);
}
