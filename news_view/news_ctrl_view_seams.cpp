// Operations of the view whose work belongs to parts of the module that are not built yet: the
// relation and warning-term dialogs. Each one does the least
// that keeps the view consistent (no data is made up) until its part replaces it.
#include "news_view/news_ctrl_view.h"

// ---- Search dialogs ----

void TRVNewsCtrlView::OnRelationSearchDlg() {
    // Opens the keyword-set dialog once it exists.
}
