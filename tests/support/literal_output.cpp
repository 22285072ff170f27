#include "tests/support/literal_output.h"

#include <ctime>

#include "host/text/format.h"

namespace literal_output {

namespace {

bool sameDay(std::int64_t a, std::int64_t b) {
    std::tm ta{};
    std::tm tb{};
    const bool hasA = text::localTime(a, ta);
    const bool hasB = text::localTime(b, tb);
    if (!hasA || !hasB) {
        return !hasA && !hasB && a == b;
    }
    return ta.tm_year == tb.tm_year && ta.tm_mon == tb.tm_mon && ta.tm_mday == tb.tm_mday;
}

} // namespace

bool bEqual(const CHeadlineTable& a, const CHeadlineTable& b) {
    return a.m_byService == b.m_byService && sameDay(a.m_tTime, b.m_tTime) && a.m_iSeqNo == b.m_iSeqNo &&
           a.m_llValue2 == b.m_llValue2 && a.m_ullLast == b.m_ullLast;
}

bool bEqual(const CHeadlineTable& entry, const CHeadline& headline) {
    return entry.m_byService == headline.m_byService && sameDay(entry.m_tTime, headline.m_tTime) &&
           entry.m_iSeqNo == headline.m_iSeqNo;
}

void vTakeTitles(NewsPrintList& items, const std::vector<CHeadline>& headlines) {
    for (const CHeadline& headline : headlines) {
        for (NewsPrintItem& item : items) {
            if (bEqual(item.m_entry, headline)) {
                item.m_strTitle = headline.m_strTitle;
                item.m_byHasTitle = 1;
            }
        }
    }
}

void PendingQueue::vFillTitles(const std::vector<CHeadline>& headlines) {
    for (NewsPrintList& list : m_lists) {
        vTakeTitles(list, headlines);
    }
}

void PendingQueue::vFillStories(const CHeadlineTable& entry,
                                const std::function<std::optional<CString>(const NewsPrintItem&)>& fetch) {
    for (NewsPrintList& list : m_lists) {
        for (NewsPrintItem& item : list) {
            if (item.m_byHasTitle != 0 && bEqual(item.m_entry, entry)) {
                if (std::optional<CString> story = fetch(item)) {
                    item.m_strStory = *story;
                    item.m_byHasStory = 1;
                }
            }
        }
    }
}

std::optional<NewsPrintList> PendingQueue::takeLastComplete() {
    for (std::size_t i = m_lists.size(); i-- > 0;) {
        if (bIsComplete(m_lists[i])) {
            NewsPrintList list = std::move(m_lists[i]);
            m_lists.erase(m_lists.begin() + static_cast<std::ptrdiff_t>(i));
            return list;
        }
    }
    return std::nullopt;
}

} // namespace literal_output
