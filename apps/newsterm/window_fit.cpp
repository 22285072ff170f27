#include "apps/newsterm/window_fit.h"

#include <QGuiApplication>
#include <QScreen>
#include <QWidget>
#include <algorithm>

namespace newsterm {

namespace {
// Room left for the window frame and a panel or two of the desktop.
constexpr int kMargin = 24;
constexpr int kMinWidth = 480;
constexpr int kMinHeight = 320;
} // namespace

QRect fittedGeometry(QSize wanted, const QRect& available) {
    if (!available.isValid()) {
        return QRect(QPoint(0, 0), wanted);
    }
    const int width = std::max(std::min(wanted.width(), available.width() - 2 * kMargin), kMinWidth);
    const int height = std::max(std::min(wanted.height(), available.height() - 2 * kMargin), kMinHeight);
    QRect rect(0, 0, width, height);
    rect.moveCenter(available.center());
    return rect;
}

void fitOnScreen(QWidget& window, QSize wanted) {
    QScreen* screen = window.screen() != nullptr ? window.screen() : QGuiApplication::primaryScreen();
    if (screen == nullptr) {
        window.resize(wanted);
        return;
    }
    const QRect available = screen->availableGeometry();
    const QRect current = window.frameGeometry();
    if (window.testAttribute(Qt::WA_Resized) && available.contains(current)) {
        return;
    }
    const QRect fitted = fittedGeometry(wanted, available);
    // The frame comes on top of the client area; keep it inside the screen too.
    const QSize frame = current.size() - window.geometry().size();
    window.resize(fitted.size() - frame.expandedTo(QSize(0, 0)));
    window.move(fitted.topLeft());
}

} // namespace newsterm
