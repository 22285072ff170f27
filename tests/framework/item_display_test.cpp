#include <gtest/gtest.h>

#include "host/framework/item_display.h"
#include "host/framework/sync_info.h"

namespace {

// Category colours are remembered per id, so a colour the host changes later (a new colour
// scheme) must still reach the next row written, and a reset must bring the defaults back.
TEST(TRVItemDisplay, NewsCategoryColoursFollowChangesOfTheNamedColours) {
    CSyncInfo& sync = CSyncInfo::Get();
    sync.reset();
    const COLORREF normalText = sync.SYS_crGetOtherColor("COLOR_LISTCTL_NORMALTEXT");
    const COLORREF normalBack = sync.SYS_crGetOtherColor("COLOR_LISTCTL_BACKGROUND");
    COLORREF text = 1;
    COLORREF back = 1;
    TRVItemDisplay::GetNewsCatColor(7, text, back);
    EXPECT_EQ(text, normalText);
    EXPECT_EQ(back, normalBack);

    sync.setOtherColor("COLOR_NEWSCAT_7", 0x00FF00);
    sync.setOtherColor("COLOR_NEWSCAT_BK_7", 0x000080);
    TRVItemDisplay::GetNewsCatColor(7, text, back);
    EXPECT_EQ(text, 0x00FF00u);
    EXPECT_EQ(back, 0x000080u);
    TRVItemDisplay::GetNewsCatColor(70, text, back);
    EXPECT_EQ(text, normalText) << "category 70 is not category 7";

    sync.setOtherColor("COLOR_LISTCTL_NORMALTEXT", 0x123456);
    TRVItemDisplay::GetNewsCatColor(70, text, back);
    EXPECT_EQ(text, 0x123456u) << "a category without colours follows the list's text colour";

    sync.reset();
    TRVItemDisplay::GetNewsCatColor(7, text, back);
    EXPECT_EQ(text, normalText);
    EXPECT_EQ(back, normalBack);
}

} // namespace
