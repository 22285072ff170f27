#include "search/warn_term_dlg.h"

#include <algorithm>

#include "host/backend/bk_quote_interface.h"
#include "host/framework/host_context.h"
#include "host/ui/controls.h"
#include "host/ui/messages.h"
#include "host/ui/ui_host.h"
#include "search/adv_search_dlg.h"
#include "search/warn_term_config_dlg.h"

namespace win = host::ui::win;

namespace {

enum : int {
    kIdAdd = 3,
    kIdEdit = 4,
    kIdList = 2047,
    kIdDelete = 2051,
};

constexpr int kNumberWidth = 24;
constexpr int kScopeWidth = 72;
constexpr int kMethodWidth = 72;
constexpr int kContentsWidth = 128;
constexpr unsigned kListStyle = 0x31; // grid lines, header drag-and-drop, full-row select

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

CString methodText(unsigned char method) {
    switch (method) {
    case CSearch::kMethodAnd:
        return Lang("IDS_DIALOG-DEAL-SEARCH_AND_BUTTON");
    case CSearch::kMethodOr:
        return Lang("IDS_DIALOG-DEAL-SEARCH_OR_BUTTON");
    default:
        return CString{}; // a stored item with another method shows none
    }
}

CString joinedKeywords(const std::vector<CString>& keywords) {
    CString text;
    for (std::size_t i = 0; i < keywords.size(); ++i) {
        if (i > 0) {
            text += ", ";
        }
        text += keywords[i];
    }
    return text;
}

// What the item dialog gave back differs from what it was opened on.
bool bChanged(const CSearch& before, const CWarnTermConfigDlg& dialog) {
    return dialog.GetMethod() != before.m_byMethod || dialog.GetScope() != before.m_byScope ||
           dialog.GetKeywords() != before.m_vKeywords;
}

} // namespace

CWarnTermDlg::CWarnTermDlg(const std::vector<CString>& pool, const std::vector<CSearch>& items, const CSearch& chosen,
                           int chosenNumber, host::ui::Window* parent)
    : CDialog(IDD, parent), m_vPool(pool), m_vItems(items), m_chosen(chosen), m_iChosenNumber(chosenNumber) {}

const host::MessageMap<CWarnTermDlg>& CWarnTermDlg::GetMessageMap() {
    using Map = host::MessageMap<CWarnTermDlg>;
    using T = CWarnTermDlg;
    static const Map map{
        Map::command<&T::OnAdd>(kIdAdd),
        Map::command<&T::OnEdit>(kIdEdit),
        Map::command<&T::OnDelete>(kIdDelete),
        Map::notify<&T::OnDblclkList>(kIdList, win::NM_DBLCLK),
    };
    return map;
}

std::optional<host::ui::LRESULT> CWarnTermDlg::dispatchMessageMap(const host::ui::Message& message) {
    return GetMessageMap().dispatch(*this, message);
}

bool CWarnTermDlg::OnInitDialog() {
    CDialog::OnInitDialog();
    m_pList = GetDlgItemAs<host::ui::ListCtrl>(kIdList);
    if (m_pList != nullptr) {
        using Align = host::ui::ListCtrl::Align;
        m_pList->insertColumn(0, " ", kNumberWidth, Align::kLeft);
        m_pList->insertColumn(1, Lang("IDS_DIALOG-DEAL-SEARCH_SEARCH_SCOPE"), kScopeWidth, Align::kLeft);
        m_pList->insertColumn(2, Lang("IDS_DIALOG-DEAL-SEARCH_SEARCH_METHOD"), kMethodWidth, Align::kCenter);
        m_pList->insertColumn(3, Lang("IDS_DIALOG-DEAL-SEARCH_SEARCH_CONTENTS"), kContentsWidth, Align::kLeft);
        m_pList->setExtendedStyle(kListStyle);
        for (const CSearch& item : m_vItems) {
            vAppendRow(item);
        }
        m_pList->setFocus();
    }
    return true;
}

void CWarnTermDlg::vAppendRow(const CSearch& item) {
    if (m_pList == nullptr) {
        return;
    }
    const int row = m_pList->itemCount();
    m_pList->insertItem(row, std::to_string(row + 1));
    m_pList->setItemText(row, 1, Lang(scopeKey(item.m_byScope)));
    m_pList->setItemText(row, 2, methodText(item.m_byMethod));
    m_pList->setItemText(row, 3, joinedKeywords(item.m_vKeywords));
}

int CWarnTermDlg::iFirstSelectedRow() const {
    if (m_pList == nullptr) {
        return -1;
    }
    const std::vector<int> rows = m_pList->selectedRows();
    return rows.empty() ? -1 : *std::min_element(rows.begin(), rows.end());
}

// ---- Adding, editing, deleting ----

void CWarnTermDlg::OnAdd() {
    CSearch start;
    start.m_byMethod = CSearch::kMethodAnd;
    start.m_byScope = CSearch::kScopeHeadline;
    CWarnTermConfigDlg dialog(start, GetWnd());
    if (dialog.DoModal() != win::IDOK || !bChanged(start, dialog) || dialog.GetKeywords().empty()) {
        return;
    }
    CSearch item;
    item.m_vKeywords = dialog.GetKeywords();
    item.m_byMethod = dialog.GetMethod();
    item.m_byScope = dialog.GetScope();
    vAppendRow(item);
    m_vItems.push_back(std::move(item));
}

void CWarnTermDlg::OnEdit() {
    const int row = iFirstSelectedRow();
    if (row < 0) {
        return;
    }
    const CSearch before = m_vItems[static_cast<std::size_t>(row)];
    CWarnTermConfigDlg dialog(before, GetWnd());
    if (dialog.DoModal() != win::IDOK || !bChanged(before, dialog)) {
        return;
    }
    // Kept on purpose: the edited item leaves its place and joins the end of the list.
    CSearch edited = before;
    edited.m_vKeywords = dialog.GetKeywords();
    edited.m_byMethod = dialog.GetMethod();
    edited.m_byScope = dialog.GetScope();
    m_vItems.erase(m_vItems.begin() + row);
    if (m_pList != nullptr) {
        m_pList->deleteItem(row);
    }
    vAppendRow(edited);
    m_vItems.push_back(std::move(edited));
}

void CWarnTermDlg::OnDblclkList(const host::ui::NotifyInfo& /*info*/) {
    OnEdit();
}

void CWarnTermDlg::OnDelete() {
    const int row = iFirstSelectedRow();
    if (row < 0) {
        return;
    }
    // Kept on purpose: the rows below keep the numbers they show until the dialog opens again.
    m_vItems.erase(m_vItems.begin() + row);
    if (m_pList != nullptr) {
        m_pList->deleteItem(row);
    }
}

// ---- Choosing ----

void CWarnTermDlg::OnOK() {
    const int row = iFirstSelectedRow();
    if (row < 0) {
        if (host::ui::UiHost* ui = host::HostContext::current().ui) {
            ui->dialogs().messageBox(GetWnd(), Lang("IDS_DIALOG-DEAL-SEARCH_ERRMSG"), CString{}, win::MB_OK);
        }
        return;
    }
    const CSearch& item = m_vItems[static_cast<std::size_t>(row)];
    m_chosen.m_vKeywords = item.m_vKeywords;
    m_chosen.m_byScope = item.m_byScope == CSearch::kScopeHeadline || item.m_byScope == CSearch::kScopeStory
                             ? item.m_byScope
                             : static_cast<unsigned char>(CSearch::kScopeBoth);
    if (item.m_byMethod == CSearch::kMethodAnd || item.m_byMethod == CSearch::kMethodOr) {
        m_chosen.m_byMethod = item.m_byMethod;
    }
    // A choice that no stored item equals (its method or scope read differently) joins the list.
    if (!m_chosen.m_vKeywords.empty() && std::none_of(m_vItems.begin(), m_vItems.end(), [this](const CSearch& stored) {
            return CAdvSearchDlg::bIsSameSearch(stored, m_chosen);
        })) {
        m_vItems.push_back(m_chosen);
    }
    m_iChosenNumber = row + 1;
    EndDialog(win::IDOK);
}
