#pragma once

#include <QString>

namespace newsterm {

// The terminal's two colour schemes for the news view.
enum class ColorScheme { Dark, Light };

QString schemeName(ColorScheme scheme);          // "dark", "light"
ColorScheme schemeFromName(const QString& name); // anything unknown: Dark

// Sets the host's named colours of a scheme. Views made afterwards start with them.
void setSchemeColors(ColorScheme scheme);
// Sets the colours and tells every quote view, as the host does on a colour change: each view
// gets its two row background colours and then vChangeCast.
void applyColorScheme(ColorScheme scheme);

} // namespace newsterm
