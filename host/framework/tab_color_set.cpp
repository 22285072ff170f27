#include "host/framework/tab_color_set.h"

#include "host/framework/sync_info.h"
#include "host/ui/controls.h"

TRVTabColorSet::TRVTabColorSet() {
    // Tabs wear the colours of a list's header row; the selected tab those of its focus line.
    const CSyncInfo& sync = CSyncInfo::Get();
    m_crText = sync.SYS_crGetOtherColor("COLOR_LISTCTL_HDTEXTCOLOR1");
    m_crBackground = sync.SYS_crGetOtherColor("COLOR_LISTCTL_HDBkCOLOR1");
    m_crSelected = sync.SYS_crGetOtherColor("COLOR_LISTCTL_CLICKLINE");
}

void TRVTabColorSet::SetColorSet(host::ui::TabStrip& strip) const {
    strip.setColors(m_crText, m_crBackground, m_crSelected);
}
