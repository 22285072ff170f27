// The printer's waiting queue: requests whose titles or stories the back end delivers later.
#include <optional>

#include "host/backend/bk_quote_interface.h"
#include "output/news_output_text.h"
#include "output/news_print.h"

void TRVNewsPrint::vOutput(const NewsPrintList& items, host::ui::Window* parent) {
    const bool wasBusy = m_bBusy;
    m_bBusy = true;
    Print(items, parent);
    m_bBusy = wasBusy;
    vOutputCompleteLists();
}

void TRVNewsPrint::vAddPending(NewsPrintList items) {
    m_pending.vAppend(std::move(items));
}

void TRVNewsPrint::RespHeadLine(const std::vector<CHeadlineTable>& entries,
                                const std::vector<unsigned char>& activeServices) {
    BKQuoteInterface* bk = BKQuoteInterface::GetBKInterface();
    if (bk == nullptr || m_pending.empty()) {
        return;
    }
    std::vector<CHeadline> headlines;
    for (const unsigned char service : activeServices) {
        bk->BKQNEWS_iGetHeadline(service, headlines, entries);
    }
    m_pending.vFillTitles(headlines);
    vOutputCompleteLists();
}

void TRVNewsPrint::RespStory(const CHeadlineTable& entry) {
    BKQuoteInterface* bk = BKQuoteInterface::GetBKInterface();
    if (bk == nullptr || m_pending.empty()) {
        return;
    }
    EntryEquality equality;
    m_pending.vFillStories(entry, [&](const NewsPrintItem& item) -> std::optional<CString> {
        CStory story;
        if (!bk->BKQNEWS_bGetStory(story, item.m_entry) || !equality.equal(story.m_entry, item.m_entry)) {
            return std::nullopt;
        }
        // Kept: a late story prints whole, with its date line (a story at hand is cut).
        return news_output::cszWholeStory(news_output::cszStoryDateLine(m_days, story.m_tTime) + story.m_strText);
    });
    vOutputCompleteLists();
}

void TRVNewsPrint::vOutputCompleteLists() {
    // A job that is running (its dialog may run a nested event loop) finishes first; the
    // requests completed meanwhile are output when it returns.
    while (!m_bBusy) {
        std::optional<NewsPrintList> ready = m_pending.takeLastComplete();
        if (!ready) {
            break;
        }
        m_bBusy = true;
        Print(*ready, nullptr);
        m_bBusy = false;
    }
}
