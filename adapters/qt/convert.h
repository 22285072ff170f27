#pragma once

#include <QColor>
#include <QFont>
#include <QPoint>
#include <QRect>

#include "host/ui/geometry.h"

// Value conversions between the host's Windows-style types and Qt's.
namespace qthost {

// The family a font falls back to when the module names none.
inline constexpr const char* kDefaultFontFamily = "Noto Sans CJK TC";

// Host rectangles exclude right and bottom; QRect::right() is inclusive, so only
// position and size are carried over.
inline QRect toQRect(const host::ui::Rect& r) {
    return QRect(r.left, r.top, r.Width(), r.Height());
}
inline host::ui::Rect toHostRect(const QRect& r) {
    return host::ui::Rect{r.x(), r.y(), r.x() + r.width(), r.y() + r.height()};
}
inline QPoint toQPoint(host::ui::Point p) {
    return QPoint(p.x, p.y);
}
inline host::ui::Point toHostPoint(QPoint p) {
    return host::ui::Point{p.x(), p.y()};
}

inline QColor toQColor(COLORREF c) {
    return QColor(host::ui::GetRValue(c), host::ui::GetGValue(c), host::ui::GetBValue(c));
}
inline COLORREF toColorRef(const QColor& c) {
    return host::ui::RGB(static_cast<std::uint8_t>(c.red()), static_cast<std::uint8_t>(c.green()),
                         static_cast<std::uint8_t>(c.blue()));
}

// The terminal's font size: every host font comes out this many times its given size, and grids
// scale their row heights and column widths with it. 1 unless the user chose otherwise.
// Thread: UI thread.
void setFontScale(double scale);
double fontScale();
// A module length (a row height, a column width) at the current font size.
int scaledLength(int length);

// A QFont for a host font. A negative height is the character height in pixels, a positive
// one the cell height (ascent plus descent), as with LOGFONT; the weight scale is the same. The
// height is taken at the current font size (fontScale()).
QFont toQFont(const host::ui::Font& font);
// The same at a given scale: printing uses 1, paper does not follow the screen's font size.
QFont toQFontAtScale(const host::ui::Font& font, double scale);

} // namespace qthost
