// Operations of the view whose work belongs to parts of the module that are not built yet: the
// warning-term dialog. Each one does the least
// that keeps the view consistent (no data is made up) until its part replaces it.
#include "news_view/news_ctrl_view.h"

// ---- Search dialogs ----

void TRVNewsCtrlView::OnWarningSearchDlg() {
    // Opens the warning-term dialog once it exists.
}
