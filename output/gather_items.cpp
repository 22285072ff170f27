#include "output/gather_items.h"

#include <unordered_map>
#include <vector>

#include "headline_list/entry_equality.h"
#include "headline_list/local_day_cache.h"
#include "host/backend/bk_quote_interface.h"
#include "host/ui/sheet.h"
#include "news_view/news_ctrl_view.h"
#include "output/news_output_text.h"

namespace news_output {

void vTakeTitles(NewsPrintList& items, const std::vector<CHeadline>& headlines) {
    // The items are indexed by day key first, so each headline finds its items at once instead
    // of being compared with all of them.
    EntryEquality equality;
    std::unordered_map<EntryEquality::DayKey, std::vector<std::size_t>, EntryEquality::DayKeyHash> index;
    index.reserve(items.size());
    for (std::size_t i = 0; i < items.size(); ++i) {
        index[equality.key(items[i].m_entry)].push_back(i);
    }
    for (const CHeadline& headline : headlines) {
        const auto found = index.find(equality.key(headline));
        if (found == index.end()) {
            continue;
        }
        for (const std::size_t i : found->second) {
            items[i].m_strTitle = headline.m_strTitle;
            items[i].m_byHasTitle = 1;
        }
    }
}

bool bGatherItems(const TRVNewsCtrlView& view, StoryForm form, NewsPrintList& items) {
    items.clear();
    const host::ui::CSuperSheetWnd* grid = view.pGetCurrSheetView();
    if (grid == nullptr) {
        return false;
    }
    std::vector<int> rows;
    grid->vGetAllSelectionNdx(rows);
    if (rows.empty()) {
        return false;
    }
    BKQuoteInterface* bk = BKQuoteInterface::GetBKInterface();
    LocalDayCache days(LocalDayCache::ZoneChanges::Follow);
    items.reserve(rows.size());
    std::vector<CHeadlineTable> entries;
    entries.reserve(rows.size());
    for (const int row : rows) {
        NewsPrintItem item;
        // A row the list no longer holds has no entry to print.
        if (!view.bGetHeadlineTable(item.m_entry, view.iGetCurrFunction(), row)) {
            continue;
        }
        CStory story;
        if (bk != nullptr && bk->BKQNEWS_bGetStory(story, item.m_entry)) {
            item.m_strStory =
                form == StoryForm::kPrint ? cszStoryDateLine(days, story.m_tTime) + story.m_strText : story.m_strText;
            TRVNewsCtrlView::Linefeed(item.m_strStory);
            item.m_byHasStory = 1;
        }
        entries.push_back(item.m_entry);
        items.push_back(std::move(item));
    }
    std::vector<unsigned char> services;
    view.vGetNewsActiveService(services);
    std::vector<CHeadline> headlines;
    if (bk != nullptr && !entries.empty()) {
        for (const unsigned char service : services) {
            bk->BKQNEWS_iGetHeadline(service, headlines, entries);
        }
    }
    vTakeTitles(items, headlines);
    return true;
}

} // namespace news_output
