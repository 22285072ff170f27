#include "apps/newsterm/problem_report.h"

#include <QGuiApplication>
#include <QMessageBox>
#include <cstdio>

namespace newsterm {

bool hasScreen() {
    const QString platform = QGuiApplication::platformName();
    return platform != QStringLiteral("offscreen") && platform != QStringLiteral("minimal");
}

void reportProblem(QWidget* parent, const QString& title, const QString& text) {
    std::fprintf(stderr, "newsterm: %s: %s\n", qUtf8Printable(title), qUtf8Printable(text));
    if (hasScreen()) {
        QMessageBox::warning(parent, title, text);
    }
}

} // namespace newsterm
