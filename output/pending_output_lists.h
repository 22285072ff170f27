#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <unordered_map>
#include <vector>

#include "headline_list/entry_equality.h"
#include "output/news_print_item.h"

// The print or save requests that wait for titles or stories the back end has not delivered
// yet. Items are indexed by the day key of their entries, so an arriving headline or story
// reaches its items without comparing it with every waiting item: the cost of an answer
// depends on how many items wait for that headline, not on how many wait in all.
// Thread: UI thread. Not re-entrant: callers take a list out before they print it.
class PendingOutputLists {
public:
    PendingOutputLists() = default;
    PendingOutputLists(const PendingOutputLists&) = delete;
    PendingOutputLists& operator=(const PendingOutputLists&) = delete;

    // Appends a request at the end of the queue.
    void vAppend(NewsPrintList items);
    bool empty() const { return m_lists.empty(); }
    std::size_t size() const { return m_lists.size(); }
    // The waiting requests, first to last.
    std::vector<const NewsPrintList*> vLists() const;

    // Every waiting item equal to a headline takes its title (a later headline wins).
    void vFillTitles(const std::vector<CHeadline>& headlines);
    // Every waiting item equal to entry that already has its title is offered to fetch, which
    // returns the item's story when the back end has it. fetch may be called several times.
    using StoryFetch = std::function<std::optional<CString>(const NewsPrintItem& item)>;
    void vFillStories(const CHeadlineTable& entry, const StoryFetch& fetch);

    // Takes the last request whose items are all complete out of the queue; none when no
    // request is complete.
    std::optional<NewsPrintList> takeLastComplete();

private:
    struct List {
        NewsPrintList items;
        std::size_t incomplete = 0;
    };
    struct ItemRef {
        std::uint64_t list = 0;
        std::size_t item = 0;
    };
    // Applies a change to one item and keeps the list's count of incomplete items right.
    template <class Change> void vUpdate(List& list, std::size_t item, Change change);
    void vUnindex(std::uint64_t id, const List& list);

    std::map<std::uint64_t, List> m_lists; // by arrival: the last request has the largest id
    std::uint64_t m_nextId = 1;
    std::unordered_map<EntryEquality::DayKey, std::vector<ItemRef>, EntryEquality::DayKeyHash> m_index;
    EntryEquality m_equality;
};
