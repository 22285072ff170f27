#include "apps/newsterm/color_scheme.h"

#include <utility>
#include <vector>

#include "host/framework/base_views.h"
#include "host/framework/sync_info.h"
#include "host/ui/geometry.h"

namespace newsterm {

namespace {

using host::ui::RGB;

// The light scheme: dark text on white rows with a pale stripe, a blue focus line. The dark
// scheme is the host's own palette of a quote screen.
const std::vector<std::pair<const char*, COLORREF>>& lightColors() {
    static const std::vector<std::pair<const char*, COLORREF>> colors = {
        {"COLOR_LISTCTL_NORMALTEXT", RGB(32, 32, 32)},
        {"COLOR_LISTCTL_BACKGROUND", RGB(255, 255, 255)},
        {"COLOR_LISTCTL_BACKGROUNDSLASH", RGB(240, 244, 250)},
        {"COLOR_LISTCTL_CLICKLINE", RGB(204, 224, 255)},
        {"COLOR_LISTCTL_CLICKLINE_GRAY", RGB(224, 224, 224)},
        {"COLOR_LISTCTL_HDBkCOLOR1", RGB(228, 232, 240)},
        {"COLOR_LISTCTL_HDTEXTCOLOR1", RGB(16, 32, 64)},
        {"COLOR_OTHERLINES", RGB(192, 192, 192)},
        {"COLOR_TIP_TEXT", RGB(0, 0, 0)},
        {"COLOR_TIP_BACKGROUND", RGB(255, 255, 225)},
    };
    return colors;
}

} // namespace

QString schemeName(ColorScheme scheme) {
    return scheme == ColorScheme::Light ? QStringLiteral("light") : QStringLiteral("dark");
}

ColorScheme schemeFromName(const QString& name) {
    return name == QStringLiteral("light") ? ColorScheme::Light : ColorScheme::Dark;
}

void setSchemeColors(ColorScheme scheme) {
    CSyncInfo& sync = CSyncInfo::Get();
    if (scheme == ColorScheme::Dark) {
        // The host's default palette is the dark one.
        for (const auto& [name, color] : CSyncInfo::DefaultColors()) {
            sync.setOtherColor(name, color);
        }
        return;
    }
    for (const auto& [name, color] : lightColors()) {
        sync.setOtherColor(name, color);
    }
}

void applyColorScheme(ColorScheme scheme) {
    setSchemeColors(scheme);
    const CSyncInfo& sync = CSyncInfo::Get();
    // A copy: a view may come or go while it takes the change.
    const std::vector<TRVQuoteBaseView*> views = TRVQuoteBaseView::AllViews();
    for (TRVQuoteBaseView* view : views) {
        view->SetBackColor(sync.SYS_crGetOtherColor("COLOR_LISTCTL_BACKGROUND"));
        view->SetStripeColor(sync.SYS_crGetOtherColor("COLOR_LISTCTL_BACKGROUNDSLASH"));
        view->vChangeCast();
    }
}

} // namespace newsterm
