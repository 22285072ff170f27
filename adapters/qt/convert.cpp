#include "adapters/qt/convert.h"

#include <QFontMetrics>
#include <algorithm>
#include <cstdlib>

#include "adapters/qt/text_codec.h"

namespace qthost {

QFont toQFont(const host::ui::Font& font) {
    QFont result(font.faceName.empty() ? QString::fromLatin1(kDefaultFontFamily) : toQString(font.faceName));
    // Without an explicit family fallback Qt may pick a Simplified or Hong Kong variant for
    // Han characters the named face lacks.
    result.setFamilies({result.family(), QString::fromLatin1(kDefaultFontFamily)});
    result.setWeight(static_cast<QFont::Weight>(std::clamp(font.weight == 0 ? 400 : font.weight, 1, 1000)));
    result.setItalic(font.italic);
    result.setStyleStrategy(QFont::PreferAntialias);
    const int height = std::max(1, std::abs(font.height == 0 ? 12 : font.height));
    if (font.height >= 0) {
        // Cell height: scale the character height so that ascent + descent come out right.
        result.setPixelSize(height);
        const int cell = QFontMetrics(result).height();
        if (cell > 0 && cell != height) {
            result.setPixelSize(std::max(1, height * height / cell));
        }
    } else {
        result.setPixelSize(height);
    }
    return result;
}

} // namespace qthost
