// The view's half of the warning-term search: the warning-term list opened from the view, and
// its chosen item sent as the search of the warning-term list.
#include "host/ui/messages.h"
#include "news_view/news_ctrl_view.h"
#include "search/warn_term_dlg.h"

void TRVNewsCtrlView::OnWarningSearchDlg() {
    CWarnTermDlg dialog(m_vKeywordPool, m_vWarningItems, m_warningCondition, m_iWarningItemOrder, GetWnd());
    const int result = dialog.DoModal();
    // Whatever the result: the chosen condition also becomes the one the deals dialog starts
    // from, so a cancelled list still changes both (kept on purpose).
    m_searchEdited = dialog.GetChosen();
    m_warningCondition = m_searchEdited;
    m_vKeywordPool = dialog.GetPool();
    m_vWarningItems = dialog.GetItems();
    if (result == host::ui::win::IDOK) {
        OnDealsSearch();
    }
    m_iWarningItemOrder = dialog.GetChosenNumber();
}
