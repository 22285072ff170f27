#include "adapters/qt/convert.h"

#include <QFontMetrics>
#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "adapters/qt/text_codec.h"

namespace qthost {

namespace {
double g_fontScale = 1.0;
} // namespace

void setFontScale(double scale) {
    g_fontScale = scale > 0.0 ? scale : 1.0;
}

double fontScale() {
    return g_fontScale;
}

int scaledLength(int length) {
    return static_cast<int>(std::lround(length * g_fontScale));
}

QFont toQFont(const host::ui::Font& font) {
    return toQFontAtScale(font, g_fontScale);
}

QFont toQFontAtScale(const host::ui::Font& font, double scale) {
    QFont result(font.faceName.empty() ? QString::fromLatin1(kDefaultFontFamily) : toQString(font.faceName));
    // Without an explicit family fallback Qt may pick a Simplified or Hong Kong variant for
    // Han characters the named face lacks.
    result.setFamilies({result.family(), QString::fromLatin1(kDefaultFontFamily)});
    result.setWeight(static_cast<QFont::Weight>(std::clamp(font.weight == 0 ? 400 : font.weight, 1, 1000)));
    result.setItalic(font.italic);
    result.setStyleStrategy(QFont::PreferAntialias);
    const int height =
        std::max(1, static_cast<int>(std::lround(std::abs(font.height == 0 ? 12 : font.height) * scale)));
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
