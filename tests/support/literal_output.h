#pragma once

#include <functional>
#include <optional>
#include <vector>

#include "host/backend/news_records.h"
#include "output/news_print_item.h"

// The print and save jobs' matching done the literal way: every headline or answer compared
// with every waiting item, dates broken down with the C library each time. Differential tests
// hold the indexed versions to it.
namespace literal_output {

// Same service, same local year, month and day (or the same time where there is no local
// date), same news number; entries also compare their two back-end values.
bool bEqual(const CHeadlineTable& a, const CHeadlineTable& b);
bool bEqual(const CHeadlineTable& entry, const CHeadline& headline);

// Every item equal to a headline takes its title, headline by headline, item by item.
void vTakeTitles(NewsPrintList& items, const std::vector<CHeadline>& headlines);

// A queue of waiting requests scanned item by item.
class PendingQueue {
public:
    void vAppend(NewsPrintList items) { m_lists.push_back(std::move(items)); }
    const std::vector<NewsPrintList>& lists() const { return m_lists; }
    void vFillTitles(const std::vector<CHeadline>& headlines);
    void vFillStories(const CHeadlineTable& entry,
                      const std::function<std::optional<CString>(const NewsPrintItem&)>& fetch);
    std::optional<NewsPrintList> takeLastComplete();

private:
    std::vector<NewsPrintList> m_lists;
};

} // namespace literal_output
