#include "search/news_key_search_dlg.h"

#include <algorithm>
#include <string>

#include "host/framework/host_context.h"
#include "host/text/format.h"
#include "host/ui/messages.h"
#include "host/ui/ui_host.h"

using host::ui::LRESULT;
using host::ui::NotifyInfo;
namespace win = host::ui::win;

namespace {

enum : int {
    kIdTitle = 2088,
    kIdRemoveAll = 2068,
    kIdNewsTypeList = 2062,
    kIdAllNewsTypes = 2034,
    kIdAllKeySets = 2096,
    kIdKeySetList = 2089,
    kIdSaveKeySet = 2091,
    kIdDeleteKeySets = 2092,
};

constexpr int kMethodColumnWidth = 90;
constexpr int kNewsTypeColumnWidth = 160;
constexpr int kOtherColumnWidths = 268; // the two fixed columns, the border and the scroll bar

} // namespace

CNewsKeySearchDlg::CNewsKeySearchDlg(const std::vector<CString>& pool, const std::map<int, CString>& categories,
                                     const std::vector<CNewsKey>& keySets, host::ui::Window* parent)
    : CKeywordEntryDlg(IDD, parent, CSearch{}, pool, 1), m_mapCategory(categories), m_vNewsKey(keySets) {
    // A key set for every news type opens with each type of the map, so that its row and its
    // news-type ticks show them all.
    for (CNewsKey& key : m_vNewsKey) {
        if (key.m_vNewsType.size() == 1 && key.m_vNewsType.front() == CNewsKey::kEveryNewsType) {
            key.m_vNewsType.clear();
            for (const auto& [id, name] : m_mapCategory) {
                key.m_vNewsType.push_back(id);
            }
        }
    }
}

CNewsKeySearchDlg::~CNewsKeySearchDlg() = default;

const host::MessageMap<CNewsKeySearchDlg>& CNewsKeySearchDlg::GetMessageMap() {
    using Map = host::MessageMap<CNewsKeySearchDlg>;
    using T = CNewsKeySearchDlg;
    static const Map map{
        Map::command<&T::OnSaveKeySet>(kIdSaveKeySet),
        Map::command<&T::OnDeleteKeySets>(kIdDeleteKeySets),
        Map::command<&T::OnRemoveAll>(kIdRemoveAll),
        Map::command<&T::OnAllNewsTypes>(kIdAllNewsTypes),
        Map::command<&T::OnAllKeySets>(kIdAllKeySets),
        Map::notify<&T::OnClickKeySet>(kIdKeySetList, win::NM_CLICK),
        Map::notify<&T::OnDblclkKeySet>(kIdKeySetList, win::NM_DBLCLK),
        Map::notify<&T::OnRclickKeySet>(kIdKeySetList, win::NM_RCLICK),
        Map::commandCode<&T::OnSetFocusPool>(kIdPoolList, win::LBN_SETFOCUS),
        Map::commandCode<&T::OnSetFocusNewsTypes>(kIdNewsTypeList, win::LBN_SETFOCUS),
    };
    return map;
}

std::optional<LRESULT> CNewsKeySearchDlg::dispatchMessageMap(const host::ui::Message& message) {
    if (std::optional<LRESULT> result = GetMessageMap().dispatch(*this, message)) {
        return result;
    }
    return CKeywordEntryDlg::dispatchMessageMap(message);
}

// ---- Initialisation ----

bool CNewsKeySearchDlg::OnInitDialog() {
    CDialog::OnInitDialog();
    vInitKeywordPart();
    m_pNewsTypeList = GetDlgItemAs<host::ui::ListBox>(kIdNewsTypeList);
    m_pAllNewsTypes = GetDlgItemAs<host::ui::Button>(kIdAllNewsTypes);
    m_pAllKeySets = GetDlgItemAs<host::ui::Button>(kIdAllKeySets);
    m_pKeySetList = GetDlgItemAs<host::ui::ListCtrl>(kIdKeySetList);
    if (host::ui::Window* caption = GetDlgItem(kIdTitle)) {
        caption->setText(Lang("IDS_DIALOG-DEAL-SEARCH_RELATION_TITLE"));
    }
    for (host::ui::Button* box : {m_pAllNewsTypes, m_pAllKeySets}) {
        if (box != nullptr) {
            box->setCheck(false);
        }
    }
    if (m_pNewsTypeList != nullptr) {
        m_pNewsTypeList->resetContent();
        for (const auto& [id, name] : m_mapCategory) {
            m_pNewsTypeList->addString(name);
        }
    }
    if (m_pKeySetList != nullptr) {
        using Align = host::ui::ListCtrl::Align;
        vInitStoredList(*m_pKeySetList, kKeySetListStyle,
                        {{"IDS_DIALOG-DEAL-SEARCH_SEARCH_METHOD", kMethodColumnWidth, Align::kCenter},
                         {"IDS_DIALOG-DEAL-SEARCH_NEWSTYPE", kNewsTypeColumnWidth, Align::kLeft}},
                        kOtherColumnWidths);
        m_pKeySetList->deleteAllItems();
        for (int row = 0; row < static_cast<int>(m_vNewsKey.size()); ++row) {
            m_pKeySetList->insertItem(row, CString{});
            vSetRowTexts(row);
        }
    }
    vShowKeywordPart("IDS_DIALOG-DEAL-SEARCH_RELATION_TITLE");
    return true;
}

void CNewsKeySearchDlg::vSetRowTexts(int row) {
    if (m_pKeySetList == nullptr || row < 0 || row >= static_cast<int>(m_vNewsKey.size())) {
        return;
    }
    const CNewsKey& key = m_vNewsKey[static_cast<std::size_t>(row)];
    m_pKeySetList->setItemText(row, 0, MethodText(key.m_iMethod == CNewsKey::kMethodAnd));
    CString types;
    if (key.m_vNewsType.size() == m_mapCategory.size()) {
        types = Lang("IDS_DIALOG-DEAL-SEARCH_ALL_NEWSTYPE");
    } else {
        for (const int id : key.m_vNewsType) {
            // A type the services no longer name shows as its number.
            const auto found = m_mapCategory.find(id);
            types += found != m_mapCategory.end() ? found->second : CString(std::to_string(id));
            types += ' ';
        }
    }
    m_pKeySetList->setItemText(row, 1, types);
    m_pKeySetList->setItemText(row, 2, RowKeywords(key.m_vKeyword));
}

// ---- Saving, editing and deleting key sets ----

CNewsKey CNewsKeySearchDlg::MakeKeySet() {
    UpdateData(true);
    CNewsKey key;
    key.m_iMethod = m_iMethod == 0 ? CNewsKey::kMethodOr : CNewsKey::kMethodAnd;
    if (m_pNewsTypeList != nullptr) {
        for (int i = 0; i < m_pNewsTypeList->count(); ++i) {
            if (!m_pNewsTypeList->isChecked(i)) {
                continue;
            }
            // Looked up by name: the first id of the map with that name.
            const CString name = m_pNewsTypeList->itemText(i);
            const auto found = std::find_if(m_mapCategory.begin(), m_mapCategory.end(),
                                            [&](const auto& entry) { return entry.second == name; });
            if (found != m_mapCategory.end()) {
                key.m_vNewsType.push_back(found->first);
            }
        }
    }
    key.m_vKeyword = m_search.m_vKeywords;
    return key;
}

void CNewsKeySearchDlg::vShowError(const char* key) {
    if (host::ui::UiHost* ui = host::HostContext::current().ui) {
        ui->dialogs().messageBox(GetWnd(), Lang(key), CString{}, win::MB_OK | win::MB_ICONEXCLAMATION);
    }
}

void CNewsKeySearchDlg::OnSaveKeySet() {
    const CNewsKey key = MakeKeySet();
    if (key.m_vNewsType.empty()) {
        vShowError("IDS_DIALOG-DEAL-SEARCH_ERROR_NEWSTYPE");
        return;
    }
    if (key.m_vKeyword.empty()) {
        vShowError("IDS_DIALOG-DEAL-SEARCH_ERROR_NEWSKEY");
        return;
    }
    int row = -1;
    if (m_iEditIndex < 0) {
        const auto same = std::find_if(m_vNewsKey.begin(), m_vNewsKey.end(),
                                       [&](const CNewsKey& stored) { return stored.bSameKeySet(key); });
        if (same != m_vNewsKey.end()) {
            row = static_cast<int>(same - m_vNewsKey.begin());
            *same = key;
        } else {
            m_vNewsKey.push_back(key);
            row = static_cast<int>(m_vNewsKey.size()) - 1;
            if (m_pKeySetList != nullptr) {
                m_pKeySetList->insertItem(row, CString{});
            }
        }
    } else if (m_iEditIndex < static_cast<int>(m_vNewsKey.size())) {
        row = m_iEditIndex;
        m_vNewsKey[static_cast<std::size_t>(row)] = key;
    } else {
        return;
    }
    vSetRowTexts(row);
    m_bModified = true;
    vLeaveEditMode();
    if (m_pKeySetList != nullptr) {
        m_pKeySetList->setCheck(row, true);
    }
}

void CNewsKeySearchDlg::vLeaveEditMode() {
    m_iEditIndex = -1;
    if (host::ui::Window* save = GetDlgItem(kIdSaveKeySet)) {
        save->setText(Lang("IDS_DIALOG-DEAL-SEARCH_ADD_KEYSET"));
    }
    m_search.m_vKeywords.clear();
    vLoadKeywords();
    if (m_pKeySetList != nullptr) {
        m_pKeySetList->setSelectionMark(-1);
    }
}

void CNewsKeySearchDlg::OnClickKeySet(const NotifyInfo& info) {
    if (m_pKeySetList == nullptr || info.item < 0 || info.item >= static_cast<int>(m_vNewsKey.size())) {
        return;
    }
    // Only the keywords are taken into the controls; method and news types stay as they are.
    m_iEditIndex = info.item;
    m_search.m_vKeywords = m_vNewsKey[static_cast<std::size_t>(info.item)].m_vKeyword;
    vLoadKeywords();
    m_pKeySetList->setSelectionMark(info.item);
    if (host::ui::Window* save = GetDlgItem(kIdSaveKeySet)) {
        save->setText(Lang("IDS_DIALOG-DEAL-SEARCH_EDIT_KEYSET"));
    }
}

void CNewsKeySearchDlg::OnRclickKeySet(const NotifyInfo& info) {
    vLeaveEditMode();
    if (m_pKeySetList != nullptr && info.item >= 0 && info.item < m_pKeySetList->itemCount()) {
        m_pKeySetList->setItemSelected(info.item, false);
    }
}

void CNewsKeySearchDlg::OnDblclkKeySet(const NotifyInfo& info) {
    if (info.item < 0 || info.item >= static_cast<int>(m_vNewsKey.size())) {
        return;
    }
    vDeleteKeySets({m_vNewsKey[static_cast<std::size_t>(info.item)]});
    vLeaveEditMode();
}

void CNewsKeySearchDlg::OnDeleteKeySets() {
    if (m_pKeySetList == nullptr) {
        return;
    }
    std::vector<CNewsKey> doomed;
    for (int row = 0; row < m_pKeySetList->itemCount() && row < static_cast<int>(m_vNewsKey.size()); ++row) {
        if (m_pKeySetList->isChecked(row)) {
            doomed.push_back(m_vNewsKey[static_cast<std::size_t>(row)]);
        }
    }
    // Nothing ticked: there is nothing to ask about.
    if (!doomed.empty()) {
        vDeleteKeySets(doomed);
    }
}

void CNewsKeySearchDlg::vDeleteKeySets(const std::vector<CNewsKey>& doomed) {
    host::ui::UiHost* ui = host::HostContext::current().ui;
    const CString question =
        text::formatCount(Lang("IDS_DIALOG-DEAL-SEARCH_REQDEL_KEY"), static_cast<int>(doomed.size()));
    if (ui == nullptr ||
        ui->dialogs().messageBox(GetWnd(), question, CString{}, win::MB_YESNO | win::MB_ICONQUESTION) != win::IDYES) {
        return;
    }
    // From the end, so that row i keeps showing key set i while rows go; the ticks of the rows
    // that stay are kept.
    for (int row = static_cast<int>(m_vNewsKey.size()) - 1; row >= 0; --row) {
        const CNewsKey& stored = m_vNewsKey[static_cast<std::size_t>(row)];
        const bool remove =
            std::any_of(doomed.begin(), doomed.end(), [&](const CNewsKey& key) { return key.bSameKeySet(stored); });
        if (!remove) {
            continue;
        }
        m_vNewsKey.erase(m_vNewsKey.begin() + row);
        if (m_pKeySetList != nullptr && row < m_pKeySetList->itemCount()) {
            m_pKeySetList->deleteItem(row);
        }
    }
    m_bModified = true;
    if (m_pKeySetList != nullptr) {
        m_pKeySetList->invalidate();
    }
    vLeaveEditMode();
}

void CNewsKeySearchDlg::OnRemoveAll() {
    vRemoveAllKeywords("IDS_DIALOG-DEAL-SEARCH_REQDELALL_KEY");
}

// ---- The two "all" check boxes ----

void CNewsKeySearchDlg::OnAllNewsTypes() {
    if (m_pAllNewsTypes == nullptr || m_pNewsTypeList == nullptr) {
        return;
    }
    const bool ticked = m_pAllNewsTypes->isChecked();
    for (int i = 0; i < m_pNewsTypeList->count(); ++i) {
        m_pNewsTypeList->setCheck(i, ticked);
        m_pNewsTypeList->setSel(i, ticked);
    }
}

void CNewsKeySearchDlg::OnAllKeySets() {
    if (m_pAllKeySets == nullptr || m_pKeySetList == nullptr) {
        return;
    }
    const bool ticked = m_pAllKeySets->isChecked();
    for (int row = 0; row < m_pKeySetList->itemCount(); ++row) {
        m_pKeySetList->setCheck(row, ticked);
    }
}

// ---- Default button by focus ----

void CNewsKeySearchDlg::OnSetFocusPool() {
    vSetDefaultButton(kIdAdd);
}

void CNewsKeySearchDlg::OnSetFocusNewsTypes() {
    vSetDefaultButton(kIdSaveKeySet);
}

// ---- OK ----

void CNewsKeySearchDlg::OnOK() {
    m_vTickedKey.clear();
    if (m_pKeySetList != nullptr) {
        for (int row = 0; row < m_pKeySetList->itemCount() && row < static_cast<int>(m_vNewsKey.size()); ++row) {
            if (m_pKeySetList->isChecked(row)) {
                m_vTickedKey.push_back(m_vNewsKey[static_cast<std::size_t>(row)]);
            }
        }
    }
    EndDialog(win::IDOK);
}
