// The hand-over of the back end's answers to the story displays and the related-symbol quote
// view. Each display takes its share only while it exists; the view reaches the pane and the
// dialog through these few operations alone.
#include "news_view/news_ctrl_view.h"

void TRVNewsCtrlView::vPassHeadlinesToStoryPane(const std::vector<CHeadlineTable>& /*entries*/) {
    // The story pane keeps its headline positions from these once its class is part of the module.
}

void TRVNewsCtrlView::vPassStoryToStoryPane(const CHeadlineTable& /*entry*/) {
    // The story pane shows a story it waits for once its class is part of the module.
}

void TRVNewsCtrlView::vPassStoryToStoryDialog(const CHeadlineTable& /*entry*/) {
    // The story dialog, when shown, takes a story it waits for once its class is part of the module.
}

void TRVNewsCtrlView::vPassStoryUpdateToDisplays(const CHeadlineTable& /*entry*/) {
    // The story dialog, else the story pane, reloads a changed story once their classes are part
    // of the module.
}

void TRVNewsCtrlView::vPassSymbolsToRelateQuoteView(const CNewsSymLst& /*symbols*/) {
    // The related-symbol quote view lists these once its class is part of the module.
}

bool TRVNewsCtrlView::bStoryDialogShown() const {
    return false; // no story dialog exists yet
}

int TRVNewsCtrlView::iGetStoryPanePosition() const {
    return -1; // no story pane exists yet
}

int TRVNewsCtrlView::iGetStoryDisplayPosition() {
    return -1; // neither the story pane nor the story dialog exists yet
}
