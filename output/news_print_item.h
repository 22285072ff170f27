#pragma once

#include <vector>

#include "host/backend/news_records.h"

// One selected row as the print and save jobs take it: its headline-table entry, its title
// and its printable story, and whether each of the two has arrived.
struct NewsPrintItem {
    CHeadlineTable m_entry;
    CString m_strTitle;
    CString m_strStory;
    unsigned char m_byHasTitle = 0;
    unsigned char m_byHasStory = 0;

    bool bIsComplete() const { return m_byHasTitle != 0 && m_byHasStory != 0; }
};

// The items of one print or save request, in the order of the selected rows.
using NewsPrintList = std::vector<NewsPrintItem>;

// Whether every item has its title and its story (an empty list has nothing missing).
inline bool bIsComplete(const NewsPrintList& items) {
    for (const NewsPrintItem& item : items) {
        if (!item.bIsComplete()) {
            return false;
        }
    }
    return true;
}
