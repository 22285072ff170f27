#include "search/adv_search_dlg.h"

#include <algorithm>

#include "host/backend/bk_quote_interface.h"
#include "host/backend/search_control.h"
#include "host/framework/host_context.h"
#include "host/framework/quote_change_symbol.h"
#include "host/text/cp950.h"
#include "host/ui/messages.h"
#include "host/ui/ui_host.h"
#include "news_view/news_ids.h"

using host::ui::LRESULT;
using host::ui::NotifyInfo;
namespace win = host::ui::win;

namespace {

enum : int {
    kIdTab = 2094,
    kIdKeywordEdit = 2061,
    kIdPoolList = 2059,
    kIdDeleteKey = 2065,
    kIdSymbolEdit = 2086,
    kIdCandidateList = 2093,
    kIdPickerButton = 9000,
    kIdAdd = 2066,
    kIdConditionList = 2060,
    kIdRemove = 2067,
    kIdRemoveAll = 2076,
    kIdScopeFirst = 2068,
    kIdMethodFirst = 2072,
    kIdRecentList = 2074,
    kIdAddTyped = 2063,
};

constexpr int kRecentScopeWidth = 100;
constexpr int kRecentMethodWidth = 80;
constexpr int kRecentOtherWidths = 198;     // the two fixed columns, the border and the scroll bar
constexpr unsigned kRecentListStyle = 0x31; // grid lines, header drag-and-drop, full-row select
constexpr int kItemDisplayName = 1019;
constexpr int kItemDisplayNameRealMonth = 2020;

CString Lang(const char* key) {
    BKQuoteInterface* bk = BKQuoteInterface::GetBKInterface();
    return bk != nullptr ? bk->LangGetLangString(key) : CString(key);
}

const char* scopeKey(unsigned char scope) {
    switch (scope) {
    case CSearch::kScopeHeadline:
        return "IDS_DIALOG-DEAL-SEARCH_HEADLINE_SEARCH";
    case CSearch::kScopeStory:
        return "IDS_DIALOG-DEAL-SEARCH_STORY_SEARCH";
    default:
        return "IDS_DIALOG-DEAL-SEARCH_HEARLINE_AND_STORY_SEARCH";
    }
}

bool contains(const std::vector<CString>& list, const CString& text) {
    return std::find(list.begin(), list.end(), text) != list.end();
}

bool beginsWithIgnoreCase(const CString& text, const CString& prefix) {
    return text.size() >= prefix.size() &&
           cp950::equalsIgnoreCase(std::string_view(text).substr(0, prefix.size()), prefix);
}

} // namespace

CAdvSearchDlg::CAdvSearchDlg(const CSearch& condition, const std::vector<CString>& pool,
                             const std::vector<CSearch>& recent, host::ui::Window* parent)
    : CDialog(IDD, parent), m_search(condition), m_vPool(pool), m_vRecent(recent) {}

CAdvSearchDlg::~CAdvSearchDlg() = default;

void CAdvSearchDlg::vGetResult(CSearch& condition, std::vector<CString>& pool, std::vector<CSearch>& recent) const {
    condition = m_search;
    pool = m_vPool;
    recent = m_vRecent;
}

bool CAdvSearchDlg::bIsSameSearch(const CSearch& a, const CSearch& b) {
    if (a.m_byScope != b.m_byScope || a.m_byMethod != b.m_byMethod) {
        return false;
    }
    if (a.m_vKeywords == b.m_vKeywords) {
        return true;
    }
    if (a.m_vKeywords.size() != b.m_vKeywords.size()) {
        return false;
    }
    return std::all_of(a.m_vKeywords.begin(), a.m_vKeywords.end(),
                       [&](const CString& k) { return contains(b.m_vKeywords, k); });
}

const host::MessageMap<CAdvSearchDlg>& CAdvSearchDlg::GetMessageMap() {
    using Map = host::MessageMap<CAdvSearchDlg>;
    using T = CAdvSearchDlg;
    static const Map map{
        Map::notify<&T::OnSelchangeTab>(kIdTab, win::TCN_SELCHANGE),
        Map::command<&T::OnAddTypedKeyword>(kIdAddTyped),
        Map::commandCode<&T::OnChangeKeywordEdit>(kIdKeywordEdit, win::EN_CHANGE),
        Map::commandCode<&T::OnSetFocusKeywordEdit>(kIdKeywordEdit, win::EN_SETFOCUS),
        Map::command<&T::OnAddSelected>(kIdAdd),
        Map::commandCode<&T::OnDblclkPool>(kIdPoolList, win::LBN_DBLCLK),
        Map::commandCode<&T::OnDblclkCandidate>(kIdCandidateList, win::LBN_DBLCLK),
        Map::commandCode<&T::OnSetFocusCandidates>(kIdCandidateList, win::LBN_SETFOCUS),
        Map::command<&T::OnRemoveSelected>(kIdRemove),
        Map::commandCode<&T::OnRemoveSelected>(kIdConditionList, win::LBN_DBLCLK),
        Map::commandCode<&T::OnSetFocusCondition>(kIdConditionList, win::LBN_SETFOCUS),
        Map::command<&T::OnDeletePoolKeys>(kIdDeleteKey),
        Map::command<&T::OnRemoveAll>(kIdRemoveAll),
        Map::commandCode<&T::OnChangeSymbolEdit>(kIdSymbolEdit, win::EN_CHANGE),
        Map::command<&T::OnSymbolPicker>(kIdPickerButton),
        Map::notify<&T::OnClickRecent>(kIdRecentList, win::NM_CLICK),
        Map::notify<&T::OnDblclkRecent>(kIdRecentList, win::NM_DBLCLK),
        Map::registered<&T::OnChangeSymbolBySearch>(news::kMsgChangeSymbolBySearch),
        Map::registered<&T::OnSymbolUpdateTreeDlg>(news::kMsgSymbolUpdateTreeDlg),
    };
    return map;
}

std::optional<LRESULT> CAdvSearchDlg::dispatchMessageMap(const host::ui::Message& message) {
    return GetMessageMap().dispatch(*this, message);
}

void CAdvSearchDlg::DoDataExchange(CDataExchange* pDX) {
    DDX_Text(pDX, kIdKeywordEdit, m_strKeyword);
    DDX_Radio(pDX, kIdMethodFirst, m_iMethod);
    DDX_Radio(pDX, kIdScopeFirst, m_iScope);
    DDX_Text(pDX, kIdSymbolEdit, m_strSymbolEdit);
}

// ---- Initialisation ----

bool CAdvSearchDlg::OnInitDialog() {
    CDialog::OnInitDialog();
    m_pPickerButton = GetDlgItemAs<host::ui::Button>(kIdPickerButton);
    m_pTab = GetDlgItemAs<host::ui::TabStrip>(kIdTab);
    m_pCandidates = GetDlgItemAs<host::ui::ListBox>(kIdCandidateList);
    m_pRecentList = GetDlgItemAs<host::ui::ListCtrl>(kIdRecentList);
    m_pPoolList = GetDlgItemAs<host::ui::ListBox>(kIdPoolList);
    m_pConditionList = GetDlgItemAs<host::ui::ListBox>(kIdConditionList);
    if (host::ui::Window* hidden = GetDlgItem(kIdAddTyped)) {
        hidden->show(false);
        hidden->setFocus();
    }
    if (m_pPickerButton != nullptr) {
        m_pPickerButton->invalidate();
    }
    if (GetWnd() != nullptr) {
        GetWnd()->setText(Lang("IDS_DIALOG-DEAL-SEARCH_TITLE"));
    }
    if (m_pTab != nullptr) {
        m_pTab->deleteAllItems();
        m_pTab->insertItem(0, Lang("IDS_DIALOG-DEAL-SEARCH_GROUP1"), 0);
        m_pTab->insertItem(1, Lang("IDS_DIALOG-DEAL-SEARCH_SYMBOL"), 1);
    }
    if (m_pRecentList != nullptr) {
        using Align = host::ui::ListCtrl::Align;
        m_pRecentList->insertColumn(0, Lang("IDS_DIALOG-DEAL-SEARCH_SEARCH_SCOPE"), kRecentScopeWidth, Align::kLeft);
        m_pRecentList->insertColumn(1, Lang("IDS_DIALOG-DEAL-SEARCH_SEARCH_METHOD"), kRecentMethodWidth,
                                    Align::kCenter);
        m_pRecentList->insertColumn(2, Lang("IDS_DIALOG-DEAL-SEARCH_SEARCH_CONTENTS"),
                                    m_pRecentList->clientRect().Width() - kRecentOtherWidths, Align::kLeft);
        m_pRecentList->setExtendedStyle(kRecentListStyle);
    }
    vFillRecent();
    vFillPool(CString{});
    vSwitchTab(0);
    vLoadCondition();
    UpdateData(false);
    return true;
}

void CAdvSearchDlg::vFillRecent() {
    if (m_pRecentList == nullptr) {
        return;
    }
    m_pRecentList->deleteAllItems();
    // Newest first: row 0 is the last entry of the list.
    const int count = static_cast<int>(m_vRecent.size());
    for (int row = 0; row < count; ++row) {
        const CSearch& search = m_vRecent[static_cast<std::size_t>(count - row - 1)];
        m_pRecentList->insertItem(row, Lang(scopeKey(search.m_byScope)));
        m_pRecentList->setItemText(row, 1,
                                   Lang(search.m_byMethod == CSearch::kMethodAnd ? "IDS_DIALOG-DEAL-SEARCH_AND_BUTTON"
                                                                                 : "IDS_DIALOG-DEAL-SEARCH_OR_BUTTON"));
        CString keywords;
        for (const CString& keyword : search.m_vKeywords) {
            keywords += keyword;
            keywords += ' ';
        }
        m_pRecentList->setItemText(row, 2, keywords);
    }
}

void CAdvSearchDlg::vFillPool(const CString& filter, const CString& select) {
    if (m_pPoolList == nullptr) {
        return;
    }
    m_pPoolList->setRedraw(false);
    m_pPoolList->resetContent();
    for (const CString& keyword : m_vPool) {
        if (filter.empty() || cp950::contains(keyword, filter)) {
            const int index = m_pPoolList->addString(keyword);
            if (!select.empty() && keyword == select) {
                m_pPoolList->setSel(index, true);
            }
        }
    }
    m_pPoolList->setRedraw(true);
}

void CAdvSearchDlg::vSwitchTab(int tab) {
    if (tab != 0 && tab != 1) {
        return;
    }
    const bool keywords = tab == 0;
    for (const int id : {kIdKeywordEdit, kIdPoolList, kIdDeleteKey}) {
        if (host::ui::Window* control = GetDlgItem(id)) {
            control->show(keywords);
        }
    }
    for (const int id : {kIdSymbolEdit, kIdCandidateList, kIdPickerButton}) {
        if (host::ui::Window* control = GetDlgItem(id)) {
            control->show(!keywords);
        }
    }
    if (m_pTab != nullptr && m_pTab->curSel() != tab) {
        m_pTab->setCurSel(tab);
    }
    if (host::ui::Window* edit = GetDlgItem(keywords ? kIdKeywordEdit : kIdSymbolEdit)) {
        edit->setFocus();
    }
    m_iCurTab = tab;
}

void CAdvSearchDlg::OnSelchangeTab(const NotifyInfo& /*info*/) {
    if (m_pTab != nullptr) {
        vSwitchTab(m_pTab->curSel());
    }
}

// ---- The condition and its controls ----

void CAdvSearchDlg::vLoadCondition(const std::vector<int>& select) {
    // Only AND has a radio of its own: every other method, 0 included, shows as OR.
    m_iMethod = m_search.m_byMethod == CSearch::kMethodAnd ? 1 : 0;
    m_iScope = m_search.m_byScope == CSearch::kScopeHeadline ? 0 : m_search.m_byScope == CSearch::kScopeStory ? 1 : 2;
    if (m_pConditionList == nullptr) {
        return;
    }
    m_pConditionList->setRedraw(false);
    m_pConditionList->resetContent();
    for (const CString& keyword : m_search.m_vKeywords) {
        m_pConditionList->addString(keyword);
    }
    for (const int index : select) {
        if (index >= 0 && index < m_pConditionList->count()) {
            m_pConditionList->setSel(index, true);
        }
    }
    m_pConditionList->setRedraw(true);
}

void CAdvSearchDlg::vReadCondition() {
    m_search.m_byMethod = m_iMethod == 1 ? CSearch::kMethodAnd : CSearch::kMethodOr;
    m_search.m_byScope = m_iScope == 0   ? CSearch::kScopeHeadline
                         : m_iScope == 1 ? CSearch::kScopeStory
                                         : CSearch::kScopeBoth;
    m_search.m_vKeywords.clear();
    if (m_pConditionList == nullptr) {
        return;
    }
    for (int i = 0; i < m_pConditionList->count(); ++i) {
        CString text = m_pConditionList->itemText(i);
        if (!text.empty()) {
            m_search.m_vKeywords.push_back(std::move(text));
        }
    }
}

int CAdvSearchDlg::iAddKeyword(const CString& keyword) {
    const auto found = std::find(m_search.m_vKeywords.begin(), m_search.m_vKeywords.end(), keyword);
    if (found != m_search.m_vKeywords.end()) {
        return static_cast<int>(found - m_search.m_vKeywords.begin());
    }
    m_search.m_vKeywords.push_back(keyword);
    return static_cast<int>(m_search.m_vKeywords.size()) - 1;
}

std::vector<int> CAdvSearchDlg::selectedItems(const host::ui::ListBox* list) {
    return list != nullptr ? list->selectedIndexes() : std::vector<int>{};
}

void CAdvSearchDlg::vFocusEdit(int id) {
    if (auto* edit = GetDlgItemAs<host::ui::Edit>(id)) {
        edit->setFocus();
        edit->setSelection(0, -1);
    }
}

// ---- Adding and removing keywords ----

void CAdvSearchDlg::OnAddTypedKeyword() {
    auto* edit = GetDlgItemAs<host::ui::Edit>(kIdKeywordEdit);
    const CString typed = edit != nullptr ? edit->text() : m_strKeyword;
    if (!typed.empty()) {
        if (!contains(m_vPool, typed)) {
            m_vPool.push_back(typed);
        }
        vLoadCondition({iAddKeyword(typed)});
    }
    // Emptying the edit refills the pool unfiltered; the refill after it selects the keyword.
    m_strKeyword.clear();
    if (edit != nullptr) {
        edit->setText(CString{});
    }
    vFillPool(CString{}, typed);
}

void CAdvSearchDlg::OnChangeKeywordEdit() {
    if (auto* edit = GetDlgItemAs<host::ui::Edit>(kIdKeywordEdit)) {
        m_strKeyword = edit->text();
    }
    vFillPool(m_strKeyword);
}

void CAdvSearchDlg::OnAddSelected() {
    std::vector<int> added;
    if (m_iCurTab == 0) {
        if (m_pPoolList == nullptr) {
            return;
        }
        for (const int index : selectedItems(m_pPoolList)) {
            const CString keyword = m_pPoolList->itemText(index);
            if (!keyword.empty()) {
                added.push_back(iAddKeyword(keyword));
            }
            m_pPoolList->setSel(index, false);
        }
        vLoadCondition(added);
        vFocusEdit(kIdKeywordEdit);
        return;
    }
    if (m_pCandidates == nullptr) {
        return;
    }
    for (const int index : selectedItems(m_pCandidates)) {
        const CString candidate = m_pCandidates->itemText(index);
        m_pCandidates->setSel(index, false);
        if (candidate.empty()) {
            continue;
        }
        // "[market] code name": the code and the name (its blanks removed) become two keywords.
        const std::size_t bracket = candidate.find(']');
        CString rest = bracket == CString::npos ? candidate : candidate.substr(bracket + 1);
        rest.erase(0, rest.find_first_not_of(' ')); // the blank after the market is no part of the code
        if (rest.empty()) {
            continue;
        }
        const std::size_t blank = rest.find(' ');
        const CString code = rest.substr(0, blank);
        CString name = blank == CString::npos ? rest : rest.substr(blank + 1);
        std::erase(name, ' ');
        for (const CString& keyword : {code, name}) {
            if (!keyword.empty()) {
                added.push_back(iAddKeyword(keyword));
            }
        }
    }
    vLoadCondition(added);
    vFocusEdit(kIdSymbolEdit);
}

void CAdvSearchDlg::OnDblclkPool() {
    OnAddSelected();
}

void CAdvSearchDlg::OnDblclkCandidate() {
    OnAddSelected();
    vFocusEdit(kIdSymbolEdit);
}

void CAdvSearchDlg::OnRemoveSelected() {
    if (m_pConditionList == nullptr) {
        return;
    }
    std::vector<CString> removed;
    for (const int index : selectedItems(m_pConditionList)) {
        removed.push_back(m_pConditionList->itemText(index));
    }
    for (const CString& keyword : removed) {
        const auto found = std::find(m_search.m_vKeywords.begin(), m_search.m_vKeywords.end(), keyword);
        if (found != m_search.m_vKeywords.end()) {
            m_search.m_vKeywords.erase(found);
        }
    }
    vLoadCondition();
}

void CAdvSearchDlg::OnDeletePoolKeys() {
    if (m_pPoolList != nullptr) {
        std::vector<CString> removed;
        for (const int index : selectedItems(m_pPoolList)) {
            removed.push_back(m_pPoolList->itemText(index));
        }
        for (const CString& keyword : removed) {
            const auto found = std::find(m_vPool.begin(), m_vPool.end(), keyword);
            if (found != m_vPool.end()) {
                m_vPool.erase(found);
            }
        }
    }
    m_strKeyword.clear();
    if (host::ui::Window* edit = GetDlgItem(kIdKeywordEdit)) {
        edit->setText(CString{});
    }
    vFillPool(CString{});
}

void CAdvSearchDlg::OnRemoveAll() {
    if (m_search.m_vKeywords.empty()) {
        return;
    }
    host::ui::UiHost* ui = host::HostContext::current().ui;
    if (ui == nullptr || ui->dialogs().messageBox(GetWnd(), Lang("IDS_DIALOG-DEAL-SEARCH_REQDELALL"), CString{},
                                                  win::MB_YESNO | win::MB_ICONQUESTION) != win::IDYES) {
        return;
    }
    m_search.m_vKeywords.clear();
    vLoadCondition();
    UpdateData(false);
}

// ---- Symbol candidates ----

void CAdvSearchDlg::OnChangeSymbolEdit() {
    KillTimer(kTimerSymbolSearch);
    if (auto* edit = GetDlgItemAs<host::ui::Edit>(kIdSymbolEdit)) {
        m_strSymbolEdit = edit->text();
    }
    if (m_strSymbolEdit.empty()) {
        if (m_pCandidates != nullptr) {
            m_pCandidates->resetContent();
        }
        return;
    }
    // The search runs once typing pauses, not on every key.
    SetTimer(kTimerSymbolSearch, kSymbolSearchDelayMs);
}

void CAdvSearchDlg::OnTimer(unsigned id) {
    if (id != kTimerSymbolSearch) {
        CDialog::OnTimer(id);
        return;
    }
    KillTimer(kTimerSymbolSearch);
    if (m_pCandidates == nullptr) {
        return;
    }
    m_pCandidates->resetContent();
    std::vector<CString> candidates;
    SearchControl::FindSearchList(m_strSymbolEdit, candidates);
    for (const CString& candidate : candidates) {
        m_pCandidates->addString(candidate);
    }
    for (int i = 0; i < m_pCandidates->count(); ++i) {
        if (beginsWithIgnoreCase(m_pCandidates->itemText(i), m_strSymbolEdit)) {
            m_pCandidates->setSel(i, true);
            m_pCandidates->setCurSel(i);
            break;
        }
    }
}

void CAdvSearchDlg::OnSymbolPicker() {
    if (m_pSymbolPicker == nullptr) {
        m_pSymbolPicker = std::make_unique<QuoteTRVChangeSymbol>(GetWnd(), 1);
        if (!m_pSymbolPicker->Create()) {
            m_pSymbolPicker.reset();
            return;
        }
    }
    m_pSymbolPicker->ShowWindow(true);
    m_pSymbolPicker->vActivate();
    m_pSymbolPicker->CenterWindow();
    m_pSymbolPicker->vSetShowStatus(true);
}

LRESULT CAdvSearchDlg::OnChangeSymbolBySearch(host::ui::WPARAM wParam, host::ui::LPARAM /*lParam*/) {
    const auto* symbol = reinterpret_cast<const CSymbolInfo*>(wParam);
    if (m_pSymbolPicker == nullptr || symbol == nullptr) {
        return 0;
    }
    std::vector<int> added;
    if (!symbol->m_strCode.empty()) {
        added.push_back(iAddKeyword(symbol->m_strCode));
    }
    BKQuoteInterface* bk = BKQuoteInterface::GetBKInterface();
    CString name;
    if (bk != nullptr) {
        const int item = bk->bSymbolNameIsShowRealMonth() ? kItemDisplayNameRealMonth : kItemDisplayName;
        if (bk->bGetItemDataByItemNo(name, symbol->m_byMarket, symbol->m_strCode, item) && !name.empty()) {
            added.push_back(iAddKeyword(name));
        }
    }
    if (m_pCandidates != nullptr) {
        for (int i = 0; i < m_pCandidates->count(); ++i) {
            m_pCandidates->setSel(i, false);
        }
    }
    vLoadCondition(added);
    vFocusEdit(kIdSymbolEdit);
    return 0;
}

LRESULT CAdvSearchDlg::OnSymbolUpdateTreeDlg(host::ui::WPARAM wParam, host::ui::LPARAM /*lParam*/) {
    if (m_pSymbolPicker != nullptr) {
        m_pSymbolPicker->vDoSymbolUpdateTreeNode(wParam);
    }
    return 1;
}

// ---- Recent searches ----

void CAdvSearchDlg::vSelectRecent(int row) {
    if (m_pRecentList == nullptr) {
        return;
    }
    const int index = static_cast<int>(m_vRecent.size()) - row - 1;
    if (row < 0 || index < 0 || index >= static_cast<int>(m_vRecent.size())) {
        m_iSelRecent = -1;
        m_pRecentList->setSelectionMark(-1);
        return;
    }
    m_iSelRecent = row;
    m_search = m_vRecent[static_cast<std::size_t>(index)];
    vLoadCondition();
    UpdateData(false);
    m_pRecentList->setItemSelected(row, true);
    m_pRecentList->setSelectionMark(row);
}

void CAdvSearchDlg::OnClickRecent(const NotifyInfo& info) {
    vSelectRecent(info.item);
}

void CAdvSearchDlg::OnDblclkRecent(const NotifyInfo& info) {
    vSelectRecent(info.item);
    if (GetWnd() != nullptr) {
        GetWnd()->postMessage(win::WM_COMMAND, host::ui::MAKEWPARAM(win::IDOK, win::BN_CLICKED), 0);
    }
}

// ---- Default button by focus ----

void CAdvSearchDlg::vSetDefaultButton(int id) {
    if (auto* previous = GetDlgItemAs<host::ui::Button>(GetDefID())) {
        previous->setDefault(false);
    }
    SetDefID(id);
    if (auto* button = GetDlgItemAs<host::ui::Button>(id)) {
        button->setDefault(true);
    }
}

void CAdvSearchDlg::OnSetFocusKeywordEdit() {
    vSetDefaultButton(kIdAddTyped);
}

void CAdvSearchDlg::OnSetFocusCandidates() {
    vSetDefaultButton(kIdAdd);
}

void CAdvSearchDlg::OnSetFocusCondition() {
    vSetDefaultButton(win::IDOK);
}

// ---- OK and the end ----

void CAdvSearchDlg::OnOK() {
    UpdateData(true);
    vReadCondition();
    const bool known = std::any_of(m_vRecent.begin(), m_vRecent.end(),
                                   [&](const CSearch& recent) { return bIsSameSearch(recent, m_search); });
    if (!known) {
        if (m_vRecent.size() >= kMaxRecent) {
            m_vRecent.erase(m_vRecent.begin());
        }
        m_vRecent.push_back(m_search);
    }
    EndDialog(win::IDOK);
}

void CAdvSearchDlg::OnDestroy() {
    // The picker object stays until the dialog object goes; its window dies with this one.
    KillTimer(kTimerSymbolSearch);
    CDialog::OnDestroy();
}
