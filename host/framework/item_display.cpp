#include "host/framework/item_display.h"

#include <cstdint>
#include <string>
#include <unordered_map>
#include <utility>

#include "host/framework/sync_info.h"

namespace {

std::pair<COLORREF, COLORREF> lookUpNewsCatColor(const CSyncInfo& sync, int categoryId) {
    const std::string id = std::to_string(categoryId);
    COLORREF text = 0;
    COLORREF background = 0;
    if (!sync.SYS_bFindOtherColor("COLOR_NEWSCAT_" + id, text)) {
        text = sync.SYS_crGetOtherColor("COLOR_LISTCTL_NORMALTEXT");
    }
    if (!sync.SYS_bFindOtherColor("COLOR_NEWSCAT_BK_" + id, background)) {
        background = sync.SYS_crGetOtherColor("COLOR_LISTCTL_BACKGROUND");
    }
    return {text, background};
}

} // namespace

void TRVItemDisplay::GetNewsCatColor(int categoryId, COLORREF& text, COLORREF& background) {
    // Every written row asks, with a handful of distinct ids: the answers are kept until a
    // named colour changes, instead of building two names and searching for them each time.
    static std::unordered_map<int, std::pair<COLORREF, COLORREF>> answers;
    static std::uint64_t answersVersion = 0;
    const CSyncInfo& sync = CSyncInfo::Get();
    if (sync.colorVersion() != answersVersion) {
        answers.clear();
        answersVersion = sync.colorVersion();
    }
    auto it = answers.find(categoryId);
    if (it == answers.end()) {
        it = answers.emplace(categoryId, lookUpNewsCatColor(sync, categoryId)).first;
    }
    text = it->second.first;
    background = it->second.second;
}
