#include "apps/newsterm/font_size.h"

#include <QApplication>
#include <QFont>
#include <algorithm>
#include <array>
#include <cstdlib>
#include <iterator>

#include "adapters/qt/convert.h"

namespace newsterm {

namespace {

constexpr std::array<int, 8> kSteps{80, 90, 100, 110, 125, 150, 175, 200};
constexpr int kLargestStoredPercent = 1000;

} // namespace

int steppedFontPercent(int percent, int direction) {
    if (direction == 0) {
        return kNormalFontPercent;
    }
    const int current = validFontPercent(percent);
    const auto at = std::find(kSteps.begin(), kSteps.end(), current);
    if (direction > 0) {
        return std::next(at) == kSteps.end() ? current : *std::next(at);
    }
    return at == kSteps.begin() ? current : *std::prev(at);
}

int validFontPercent(int stored) {
    if (stored < kSteps.front() / 2 || stored > kLargestStoredPercent) {
        return kNormalFontPercent;
    }
    return *std::min_element(kSteps.begin(), kSteps.end(),
                             [stored](int a, int b) { return std::abs(a - stored) < std::abs(b - stored); });
}

void applyFontPercent(int percent) {
    // The application's font as it was before any size was applied is the normal size.
    static const QFont normal = QApplication::font();
    const double scale = validFontPercent(percent) / 100.0;
    qthost::setFontScale(scale);
    QFont font = normal;
    if (normal.pointSizeF() > 0) {
        font.setPointSizeF(normal.pointSizeF() * scale);
    } else {
        font.setPixelSize(std::max(1, qthost::scaledLength(normal.pixelSize())));
    }
    QApplication::setFont(font);
}

} // namespace newsterm
