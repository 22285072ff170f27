// The news view's side of printing and saving: the print and save buttons and commands, the
// printable form of a story, and the back-end answers passed on to jobs that wait for them.
#include "host/framework/sync_info.h"
#include "news_view/news_ctrl_view.h"
#include "output/gather_items.h"
#include "output/news_output_text.h"
#include "output/news_print.h"
#include "output/save_to_file.h"

void TRVNewsCtrlView::vCreateOutputJobs() {
    m_pNewsPrint = news::MakeLateOwned<TRVNewsPrint>(this);
    m_pSaveToFile = news::MakeLateOwned<TRVSaveToFile>(this);
}

void TRVNewsCtrlView::Linefeed(CString& text) {
    news_output::vCutAtFirstLineBreak(text);
}

void TRVNewsCtrlView::OnBtnPrint() {
    OnPrintNews();
}

void TRVNewsCtrlView::OnBtnSaveas() {
    OnSaveNews();
}

void TRVNewsCtrlView::OnPrintNews() {
    vOutputSelection(*m_pNewsPrint, news_output::StoryForm::kPrint, news::kIdPrintButton);
}

void TRVNewsCtrlView::OnSaveNews() {
    vOutputSelection(*m_pSaveToFile, news_output::StoryForm::kSave, news::kIdSaveAsButton);
}

void TRVNewsCtrlView::vOutputSelection(TRVNewsPrint& job, news_output::StoryForm form, int controlId) {
    NewsPrintList items;
    if (!news_output::bGatherItems(*this, form, items)) {
        return;
    }
    if (!bIsComplete(items)) {
        job.vAddPending(std::move(items));
        return;
    }
    host::ui::Window* dialog = pGetStoryDialogWnd();
    if (dialog == nullptr) {
        job.vOutput(items, nullptr);
        return;
    }
    // The job's dialog belongs to the story dialog; the view's own button stays off meanwhile
    // so that the same job cannot be started twice.
    host::ui::Window* control = GetWnd() != nullptr ? GetWnd()->child(controlId) : nullptr;
    if (control != nullptr) {
        control->enable(false);
    }
    job.vOutput(items, dialog);
    if (control != nullptr) {
        control->enable(true);
    }
    dialog->setZOrder(CSyncInfo::Get().SYS_eGetPopupWndPosition() == 1 ? host::ui::ZOrder::kNotTopMost
                                                                       : host::ui::ZOrder::kTopMost);
}

void TRVNewsCtrlView::vPassHeadlinesToOutput(const std::vector<CHeadlineTable>& entries) {
    if (!m_pNewsPrint->bHasPending() && !m_pSaveToFile->bHasPending()) {
        return;
    }
    std::vector<unsigned char> services;
    vGetNewsActiveService(services);
    if (m_pNewsPrint->bHasPending()) {
        m_pNewsPrint->RespHeadLine(entries, services);
    }
    if (m_pSaveToFile->bHasPending()) {
        m_pSaveToFile->RespHeadLine(entries, services);
    }
}

void TRVNewsCtrlView::vPassStoryToOutput(const CHeadlineTable& entry) {
    if (m_pNewsPrint->bHasPending()) {
        m_pNewsPrint->RespStory(entry);
    }
    if (m_pSaveToFile->bHasPending()) {
        m_pSaveToFile->RespStory(entry);
    }
}
