#include "output/pending_output_lists.h"

#include <algorithm>

void PendingOutputLists::vAppend(NewsPrintList items) {
    const std::uint64_t id = m_nextId++;
    List list;
    list.items = std::move(items);
    for (std::size_t i = 0; i < list.items.size(); ++i) {
        list.incomplete += list.items[i].bIsComplete() ? 0 : 1;
        m_index[m_equality.key(list.items[i].m_entry)].push_back(ItemRef{id, i});
    }
    m_lists.emplace(id, std::move(list));
}

std::vector<const NewsPrintList*> PendingOutputLists::vLists() const {
    std::vector<const NewsPrintList*> lists;
    lists.reserve(m_lists.size());
    for (const auto& [id, list] : m_lists) {
        lists.push_back(&list.items);
    }
    return lists;
}

template <class Change> void PendingOutputLists::vUpdate(List& list, std::size_t item, Change change) {
    NewsPrintItem& target = list.items[item];
    const bool wasComplete = target.bIsComplete();
    change(target);
    if (!wasComplete && target.bIsComplete()) {
        --list.incomplete;
    }
}

void PendingOutputLists::vFillTitles(const std::vector<CHeadline>& headlines) {
    for (const CHeadline& headline : headlines) {
        const auto found = m_index.find(m_equality.key(headline));
        if (found == m_index.end()) {
            continue;
        }
        for (const ItemRef& ref : found->second) {
            vUpdate(m_lists.at(ref.list), ref.item, [&](NewsPrintItem& item) {
                item.m_strTitle = headline.m_strTitle;
                item.m_byHasTitle = 1;
            });
        }
    }
}

void PendingOutputLists::vFillStories(const CHeadlineTable& entry, const StoryFetch& fetch) {
    const auto found = m_index.find(m_equality.key(entry));
    if (found == m_index.end()) {
        return;
    }
    // fetch reaches the back end; the references are copied so that nothing it causes can
    // pull the vector away under the loop.
    const std::vector<ItemRef> refs = found->second;
    for (const ItemRef& ref : refs) {
        const auto list = m_lists.find(ref.list);
        if (list == m_lists.end()) {
            continue;
        }
        const NewsPrintItem& item = list->second.items[ref.item];
        if (item.m_byHasTitle == 0 || !m_equality.equal(item.m_entry, entry)) {
            continue;
        }
        if (std::optional<CString> story = fetch(item)) {
            vUpdate(list->second, ref.item, [&](NewsPrintItem& target) {
                target.m_strStory = std::move(*story);
                target.m_byHasStory = 1;
            });
        }
    }
}

void PendingOutputLists::vUnindex(std::uint64_t id, const List& list) {
    for (const NewsPrintItem& item : list.items) {
        const auto found = m_index.find(m_equality.key(item.m_entry));
        if (found == m_index.end()) {
            continue;
        }
        std::erase_if(found->second, [id](const ItemRef& ref) { return ref.list == id; });
        if (found->second.empty()) {
            m_index.erase(found);
        }
    }
}

std::optional<NewsPrintList> PendingOutputLists::takeLastComplete() {
    for (auto it = m_lists.rbegin(); it != m_lists.rend(); ++it) {
        if (it->second.incomplete == 0) {
            const std::uint64_t id = it->first;
            List list = std::move(it->second);
            m_lists.erase(id);
            vUnindex(id, list);
            return std::move(list.items);
        }
    }
    return std::nullopt;
}
