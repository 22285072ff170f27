#include "search/keyword_entry_dlg.h"

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

constexpr int kItemDisplayName = 1019;
constexpr int kItemDisplayNameRealMonth = 2020;

bool contains(const std::vector<CString>& list, const CString& text) {
    return std::find(list.begin(), list.end(), text) != list.end();
}

bool beginsWithIgnoreCase(const CString& text, const CString& prefix) {
    return text.size() >= prefix.size() &&
           cp950::equalsIgnoreCase(std::string_view(text).substr(0, prefix.size()), prefix);
}

} // namespace

CKeywordEntryDlg::CKeywordEntryDlg(int templateId, host::ui::Window* parent, const CSearch& condition,
                                   const std::vector<CString>& pool, int methodIndex)
    : CDialog(templateId, parent), m_search(condition), m_vPool(pool), m_iMethod(methodIndex) {}

CKeywordEntryDlg::~CKeywordEntryDlg() = default;

CString CKeywordEntryDlg::Lang(const char* key) {
    BKQuoteInterface* bk = BKQuoteInterface::GetBKInterface();
    return bk != nullptr ? bk->LangGetLangString(key) : CString(key);
}

const host::MessageMap<CKeywordEntryDlg>& CKeywordEntryDlg::GetMessageMap() {
    using Map = host::MessageMap<CKeywordEntryDlg>;
    using T = CKeywordEntryDlg;
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
        Map::commandCode<&T::OnChangeSymbolEdit>(kIdSymbolEdit, win::EN_CHANGE),
        Map::command<&T::OnSymbolPicker>(kIdPickerButton),
        Map::registered<&T::OnChangeSymbolBySearch>(news::kMsgChangeSymbolBySearch),
        Map::registered<&T::OnSymbolUpdateTreeDlg>(news::kMsgSymbolUpdateTreeDlg),
    };
    return map;
}

std::optional<LRESULT> CKeywordEntryDlg::dispatchMessageMap(const host::ui::Message& message) {
    return GetMessageMap().dispatch(*this, message);
}

void CKeywordEntryDlg::DoDataExchange(CDataExchange* pDX) {
    DDX_Text(pDX, kIdKeywordEdit, m_strKeyword);
    DDX_Radio(pDX, kIdMethodFirst, m_iMethod);
    DDX_Text(pDX, kIdSymbolEdit, m_strSymbolEdit);
}

void CKeywordEntryDlg::vInitKeywordPart() {
    m_pPickerButton = GetDlgItemAs<host::ui::Button>(kIdPickerButton);
    m_pTab = GetDlgItemAs<host::ui::TabStrip>(kIdTab);
    m_pCandidates = GetDlgItemAs<host::ui::ListBox>(kIdCandidateList);
    m_pPoolList = GetDlgItemAs<host::ui::ListBox>(kIdPoolList);
    m_pConditionList = GetDlgItemAs<host::ui::ListBox>(kIdConditionList);
    if (host::ui::Window* hidden = GetDlgItem(kIdAddTyped)) {
        hidden->show(false);
        hidden->setFocus();
    }
    if (m_pPickerButton != nullptr) {
        m_pPickerButton->invalidate();
    }
    if (m_pTab != nullptr) {
        m_pTab->deleteAllItems();
        m_pTab->insertItem(0, Lang("IDS_DIALOG-DEAL-SEARCH_GROUP1"), 0);
        m_pTab->insertItem(1, Lang("IDS_DIALOG-DEAL-SEARCH_SYMBOL"), 1);
    }
}

void CKeywordEntryDlg::vShowKeywordPart(const char* titleKey) {
    if (GetWnd() != nullptr) {
        GetWnd()->setText(Lang(titleKey));
    }
    vFillPool(CString{});
    vSwitchTab(0);
    vLoadKeywords();
    UpdateData(false);
}

void CKeywordEntryDlg::vInitStoredList(host::ui::ListCtrl& list, unsigned style,
                                       std::initializer_list<ListColumn> fixed, int otherWidths) {
    list.setExtendedStyle(style);
    int column = 0;
    for (const ListColumn& c : fixed) {
        list.insertColumn(column++, Lang(c.titleKey), c.width, c.align);
    }
    list.insertColumn(column, Lang("IDS_DIALOG-DEAL-SEARCH_SEARCH_CONTENTS"), list.clientRect().Width() - otherWidths,
                      host::ui::ListCtrl::Align::kLeft);
}

CString CKeywordEntryDlg::MethodText(bool bAnd) {
    return Lang(bAnd ? "IDS_DIALOG-DEAL-SEARCH_AND_BUTTON" : "IDS_DIALOG-DEAL-SEARCH_OR_BUTTON");
}

CString CKeywordEntryDlg::RowKeywords(const std::vector<CString>& keywords) {
    CString text;
    for (const CString& keyword : keywords) {
        text += keyword;
        text += ' ';
    }
    return text;
}

std::vector<CString> CKeywordEntryDlg::vReadKeywords() const {
    std::vector<CString> keywords;
    if (m_pConditionList == nullptr) {
        return keywords;
    }
    for (int i = 0; i < m_pConditionList->count(); ++i) {
        CString text = m_pConditionList->itemText(i);
        if (!text.empty()) {
            keywords.push_back(std::move(text));
        }
    }
    return keywords;
}

void CKeywordEntryDlg::vLoadKeywords(const std::vector<int>& select) {
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

void CKeywordEntryDlg::vRemoveAllKeywords(const char* questionKey) {
    if (m_search.m_vKeywords.empty()) {
        return;
    }
    host::ui::UiHost* ui = host::HostContext::current().ui;
    if (ui == nullptr || ui->dialogs().messageBox(GetWnd(), Lang(questionKey), CString{},
                                                  win::MB_YESNO | win::MB_ICONQUESTION) != win::IDYES) {
        return;
    }
    // The radios are read first so that reloading the controls leaves them as the user set them.
    UpdateData(true);
    m_search.m_vKeywords.clear();
    vLoadKeywords();
    UpdateData(false);
}

void CKeywordEntryDlg::vFillPool(const CString& filter, const CString& select) {
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

void CKeywordEntryDlg::vSwitchTab(int tab) {
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

void CKeywordEntryDlg::OnSelchangeTab(const NotifyInfo& /*info*/) {
    if (m_pTab != nullptr) {
        vSwitchTab(m_pTab->curSel());
    }
}

int CKeywordEntryDlg::iAddKeyword(const CString& keyword) {
    const auto found = std::find(m_search.m_vKeywords.begin(), m_search.m_vKeywords.end(), keyword);
    if (found != m_search.m_vKeywords.end()) {
        return static_cast<int>(found - m_search.m_vKeywords.begin());
    }
    m_search.m_vKeywords.push_back(keyword);
    return static_cast<int>(m_search.m_vKeywords.size()) - 1;
}

std::vector<int> CKeywordEntryDlg::selectedItems(const host::ui::ListBox* list) {
    return list != nullptr ? list->selectedIndexes() : std::vector<int>{};
}

void CKeywordEntryDlg::vFocusEdit(int id) {
    if (auto* edit = GetDlgItemAs<host::ui::Edit>(id)) {
        edit->setFocus();
        edit->setSelection(0, -1);
    }
}

// ---- Adding and removing keywords ----

void CKeywordEntryDlg::OnAddTypedKeyword() {
    auto* edit = GetDlgItemAs<host::ui::Edit>(kIdKeywordEdit);
    const CString typed = edit != nullptr ? edit->text() : m_strKeyword;
    if (!typed.empty()) {
        if (!contains(m_vPool, typed)) {
            m_vPool.push_back(typed);
        }
        vLoadKeywords({iAddKeyword(typed)});
    }
    // Emptying the edit refills the pool unfiltered; the refill after it selects the keyword.
    m_strKeyword.clear();
    if (edit != nullptr) {
        edit->setText(CString{});
    }
    vFillPool(CString{}, typed);
}

void CKeywordEntryDlg::OnChangeKeywordEdit() {
    if (auto* edit = GetDlgItemAs<host::ui::Edit>(kIdKeywordEdit)) {
        m_strKeyword = edit->text();
    }
    vFillPool(m_strKeyword);
}

void CKeywordEntryDlg::OnAddSelected() {
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
        vLoadKeywords(added);
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
    vLoadKeywords(added);
    vFocusEdit(kIdSymbolEdit);
}

void CKeywordEntryDlg::OnDblclkPool() {
    OnAddSelected();
}

void CKeywordEntryDlg::OnDblclkCandidate() {
    OnAddSelected();
    vFocusEdit(kIdSymbolEdit);
}

void CKeywordEntryDlg::OnRemoveSelected() {
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
    vLoadKeywords();
}

void CKeywordEntryDlg::OnDeletePoolKeys() {
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

// ---- Symbol candidates ----

void CKeywordEntryDlg::OnChangeSymbolEdit() {
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

void CKeywordEntryDlg::OnTimer(unsigned id) {
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

void CKeywordEntryDlg::OnSymbolPicker() {
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

LRESULT CKeywordEntryDlg::OnChangeSymbolBySearch(host::ui::WPARAM wParam, host::ui::LPARAM /*lParam*/) {
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
    vLoadKeywords(added);
    vFocusEdit(kIdSymbolEdit);
    return 0;
}

LRESULT CKeywordEntryDlg::OnSymbolUpdateTreeDlg(host::ui::WPARAM wParam, host::ui::LPARAM /*lParam*/) {
    if (m_pSymbolPicker != nullptr) {
        m_pSymbolPicker->vDoSymbolUpdateTreeNode(wParam);
    }
    return 1;
}

// ---- Default button by focus ----

void CKeywordEntryDlg::vSetDefaultButton(int id) {
    if (auto* previous = GetDlgItemAs<host::ui::Button>(GetDefID())) {
        previous->setDefault(false);
    }
    SetDefID(id);
    if (auto* button = GetDlgItemAs<host::ui::Button>(id)) {
        button->setDefault(true);
    }
}

void CKeywordEntryDlg::OnSetFocusKeywordEdit() {
    vSetDefaultButton(kIdAddTyped);
}

void CKeywordEntryDlg::OnSetFocusCandidates() {
    vSetDefaultButton(kIdAdd);
}

void CKeywordEntryDlg::OnSetFocusCondition() {
    vSetDefaultButton(win::IDOK);
}

void CKeywordEntryDlg::OnDestroy() {
    // The picker object stays until the dialog object goes; its window dies with this one.
    KillTimer(kTimerSymbolSearch);
    CDialog::OnDestroy();
}
