#include "host/framework/item_display.h"

#include <string>

#include "host/framework/sync_info.h"

void TRVItemDisplay::GetNewsCatColor(int categoryId, COLORREF& text, COLORREF& background) {
    const CSyncInfo& sync = CSyncInfo::Get();
    const std::string id = std::to_string(categoryId);
    if (!sync.SYS_bFindOtherColor("COLOR_NEWSCAT_" + id, text)) {
        text = sync.SYS_crGetOtherColor("COLOR_LISTCTL_NORMALTEXT");
    }
    if (!sync.SYS_bFindOtherColor("COLOR_NEWSCAT_BK_" + id, background)) {
        background = sync.SYS_crGetOtherColor("COLOR_LISTCTL_BACKGROUND");
    }
}
