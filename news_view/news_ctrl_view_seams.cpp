// Operations of the view whose work belongs to parts of the module that are not built yet: the
// relation and warning-term dialogs and the related-symbol quote view. Each one does the least
// that keeps the view consistent (no data is made up) until its part replaces it.
#include "news_view/news_ctrl_view.h"

// ---- Search dialogs ----

void TRVNewsCtrlView::OnRelationSearchDlg() {
    // Opens the keyword-set dialog once it exists.
}

void TRVNewsCtrlView::OnWarningSearchDlg() {
    // Opens the warning-term dialog once it exists.
}

// ---- Related-symbol quote view ----

void TRVNewsCtrlView::InitialNewsRelateQuoteView() {
    // Creates the related-symbol quote view beside the story once it exists.
}

void TRVNewsCtrlView::vReRegisterSymbols() {
    // Forwarded to the related-symbol quote view once it exists.
}

void TRVNewsCtrlView::vUnregisterViewSymbol() {
    // Forwarded to the related-symbol quote view once it exists.
}
