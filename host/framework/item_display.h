#pragma once

#include "host/backend/news_records.h"

// The host's item display settings as far as news views read them: the colours of news
// categories. A host sets a category's colours as the named colours "COLOR_NEWSCAT_<id>"
// (text) and "COLOR_NEWSCAT_BK_<id>" (background) of CSyncInfo; a category without its own
// colours is shown in the list's normal text and background colours.
// Thread: UI thread.
class TRVItemDisplay {
public:
    static void GetNewsCatColor(int categoryId, COLORREF& text, COLORREF& background);
};
