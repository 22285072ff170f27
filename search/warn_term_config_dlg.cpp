#include "search/warn_term_config_dlg.h"

#include "host/backend/bk_quote_interface.h"
#include "host/framework/host_context.h"
#include "host/ui/controls.h"
#include "host/ui/messages.h"
#include "host/ui/ui_host.h"

namespace win = host::ui::win;

namespace {

enum : int {
    kIdKeywordEdit = 2043,
    kIdAnd = 2057,
    kIdHeadline = 2058,
    kIdOr = 2059,
    kIdStory = 2060,
    kIdBoth = 2061,
};

constexpr std::string_view kSeparators = " ,\n";

CString Lang(const char* key) {
    BKQuoteInterface* bk = BKQuoteInterface::GetBKInterface();
    return bk != nullptr ? bk->LangGetLangString(key) : CString(key);
}

} // namespace

CWarnTermConfigDlg::CWarnTermConfigDlg(const CSearch& condition, host::ui::Window* parent)
    : CDialog(IDD, parent), m_vKeywords(condition.m_vKeywords), m_byMethod(condition.m_byMethod),
      m_byScope(condition.m_byScope) {}

std::vector<CString> CWarnTermConfigDlg::SplitKeywords(std::string_view text) {
    std::vector<CString> keywords;
    std::size_t start = 0;
    while (start <= text.size()) {
        const std::size_t end = text.find_first_of(kSeparators, start);
        const std::string_view piece = text.substr(start, end == std::string_view::npos ? end : end - start);
        if (!piece.empty()) {
            keywords.emplace_back(piece);
        }
        if (end == std::string_view::npos) {
            break;
        }
        start = end + 1;
    }
    return keywords;
}

const host::MessageMap<CWarnTermConfigDlg>& CWarnTermConfigDlg::GetMessageMap() {
    using Map = host::MessageMap<CWarnTermConfigDlg>;
    using T = CWarnTermConfigDlg;
    static const Map map{
        Map::command<&T::OnClickAnd>(kIdAnd),           Map::command<&T::OnClickOr>(kIdOr),
        Map::command<&T::OnClickHeadline>(kIdHeadline), Map::command<&T::OnClickStory>(kIdStory),
        Map::command<&T::OnClickBoth>(kIdBoth),
    };
    return map;
}

std::optional<host::ui::LRESULT> CWarnTermConfigDlg::dispatchMessageMap(const host::ui::Message& message) {
    return GetMessageMap().dispatch(*this, message);
}

bool CWarnTermConfigDlg::OnInitDialog() {
    CDialog::OnInitDialog();
    // Only AND has a button of its own in the method group: any other method shows as OR.
    vCheckOnly(m_byMethod == CSearch::kMethodAnd ? kIdAnd : kIdOr, {kIdAnd, kIdOr});
    vCheckOnly(m_byScope == CSearch::kScopeHeadline ? kIdHeadline
               : m_byScope == CSearch::kScopeStory  ? kIdStory
                                                    : kIdBoth,
               {kIdHeadline, kIdStory, kIdBoth});
    if (!m_vKeywords.empty()) {
        CString joined;
        for (std::size_t i = 0; i < m_vKeywords.size(); ++i) {
            if (i > 0) {
                joined += ", ";
            }
            joined += m_vKeywords[i];
        }
        if (host::ui::Window* edit = GetDlgItem(kIdKeywordEdit)) {
            edit->setText(joined);
        }
    }
    if (host::ui::Window* edit = GetDlgItem(kIdKeywordEdit)) {
        edit->setFocus();
    }
    return true;
}

void CWarnTermConfigDlg::OnOK() {
    const host::ui::Window* edit = GetDlgItem(kIdKeywordEdit);
    std::vector<CString> keywords = SplitKeywords(edit != nullptr ? edit->text() : CString{});
    if (keywords.empty()) {
        // An item without keywords could never be searched: say so and let the user type one.
        if (host::ui::UiHost* ui = host::HostContext::current().ui) {
            ui->dialogs().messageBox(GetWnd(), Lang("IDS_DIALOG-DEAL-SEARCH_ERROR_NEWSKEY"), CString{},
                                     win::MB_ICONEXCLAMATION);
        }
        return;
    }
    m_vKeywords = std::move(keywords);
    m_byMethod = bIsChecked(kIdAnd) ? CSearch::kMethodAnd : CSearch::kMethodOr;
    m_byScope = bIsChecked(kIdHeadline) ? CSearch::kScopeHeadline
                : bIsChecked(kIdStory)  ? CSearch::kScopeStory
                                        : CSearch::kScopeBoth;
    EndDialog(win::IDOK);
}

void CWarnTermConfigDlg::vCheckOnly(int id, std::initializer_list<int> group) {
    for (const int member : group) {
        if (auto* button = GetDlgItemAs<host::ui::Button>(member)) {
            button->setCheck(member == id);
        }
    }
}

bool CWarnTermConfigDlg::bIsChecked(int id) const {
    const auto* button = GetDlgItemAs<host::ui::Button>(id);
    return button != nullptr && button->isChecked();
}

void CWarnTermConfigDlg::OnClickAnd() {
    vCheckOnly(kIdAnd, {kIdAnd, kIdOr});
}

void CWarnTermConfigDlg::OnClickOr() {
    vCheckOnly(kIdOr, {kIdAnd, kIdOr});
}

void CWarnTermConfigDlg::OnClickHeadline() {
    vCheckOnly(kIdHeadline, {kIdHeadline, kIdStory, kIdBoth});
}

void CWarnTermConfigDlg::OnClickStory() {
    vCheckOnly(kIdStory, {kIdHeadline, kIdStory, kIdBoth});
}

void CWarnTermConfigDlg::OnClickBoth() {
    vCheckOnly(kIdBoth, {kIdHeadline, kIdStory, kIdBoth});
}
