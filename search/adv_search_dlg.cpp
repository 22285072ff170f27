#include "search/adv_search_dlg.h"

#include <algorithm>

#include "host/ui/messages.h"

using host::ui::LRESULT;
using host::ui::NotifyInfo;
namespace win = host::ui::win;

namespace {

enum : int {
    kIdRemoveAll = 2076,
    kIdScopeFirst = 2068,
    kIdRecentList = 2074,
};

constexpr int kRecentScopeWidth = 100;
constexpr int kRecentMethodWidth = 80;
constexpr int kRecentOtherWidths = 198;     // the two fixed columns, the border and the scroll bar
constexpr unsigned kRecentListStyle = 0x31; // grid lines, header drag-and-drop, full-row select

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

} // namespace

CAdvSearchDlg::CAdvSearchDlg(const CSearch& condition, const std::vector<CString>& pool,
                             const std::vector<CSearch>& recent, host::ui::Window* parent)
    : CKeywordEntryDlg(IDD, parent, condition, pool, -1), m_vRecent(recent) {}

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
        Map::command<&T::OnRemoveAll>(kIdRemoveAll),
        Map::notify<&T::OnClickRecent>(kIdRecentList, win::NM_CLICK),
        Map::notify<&T::OnDblclkRecent>(kIdRecentList, win::NM_DBLCLK),
    };
    return map;
}

std::optional<LRESULT> CAdvSearchDlg::dispatchMessageMap(const host::ui::Message& message) {
    if (std::optional<LRESULT> result = GetMessageMap().dispatch(*this, message)) {
        return result;
    }
    return CKeywordEntryDlg::dispatchMessageMap(message);
}

void CAdvSearchDlg::DoDataExchange(CDataExchange* pDX) {
    CKeywordEntryDlg::DoDataExchange(pDX);
    DDX_Radio(pDX, kIdScopeFirst, m_iScope);
}

// ---- Initialisation ----

bool CAdvSearchDlg::OnInitDialog() {
    CDialog::OnInitDialog();
    m_pRecentList = GetDlgItemAs<host::ui::ListCtrl>(kIdRecentList);
    vInitKeywordPart();
    if (m_pRecentList != nullptr) {
        using Align = host::ui::ListCtrl::Align;
        vInitStoredList(*m_pRecentList, kRecentListStyle,
                        {{"IDS_DIALOG-DEAL-SEARCH_SEARCH_SCOPE", kRecentScopeWidth, Align::kLeft},
                         {"IDS_DIALOG-DEAL-SEARCH_SEARCH_METHOD", kRecentMethodWidth, Align::kCenter}},
                        kRecentOtherWidths);
    }
    vFillRecent();
    vLoadRadios();
    vShowKeywordPart("IDS_DIALOG-DEAL-SEARCH_TITLE");
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
        m_pRecentList->setItemText(row, 1, MethodText(search.m_byMethod == CSearch::kMethodAnd));
        m_pRecentList->setItemText(row, 2, RowKeywords(search.m_vKeywords));
    }
}

// ---- The condition and its controls ----

void CAdvSearchDlg::vLoadRadios() {
    // Only AND has a radio of its own: every other method, 0 included, shows as OR.
    m_iMethod = m_search.m_byMethod == CSearch::kMethodAnd ? 1 : 0;
    m_iScope = m_search.m_byScope == CSearch::kScopeHeadline ? 0 : m_search.m_byScope == CSearch::kScopeStory ? 1 : 2;
}

void CAdvSearchDlg::vLoadCondition(const std::vector<int>& select) {
    vLoadRadios();
    vLoadKeywords(select);
}

void CAdvSearchDlg::vReadCondition() {
    m_search.m_byMethod = m_iMethod == 1 ? CSearch::kMethodAnd : CSearch::kMethodOr;
    m_search.m_byScope = m_iScope == 0   ? CSearch::kScopeHeadline
                         : m_iScope == 1 ? CSearch::kScopeStory
                                         : CSearch::kScopeBoth;
    m_search.m_vKeywords = vReadKeywords();
}

void CAdvSearchDlg::OnRemoveAll() {
    vRemoveAllKeywords("IDS_DIALOG-DEAL-SEARCH_REQDELALL");
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
