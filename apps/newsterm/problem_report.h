#pragma once

#include <QString>

class QWidget;

namespace newsterm {

// Tells the user about a problem the terminal can live with (a missing font, an unusable
// data folder, a bad feed file): a message box on a screen, a line on stderr without one
// (the offscreen platform, a screenshot run).
void reportProblem(QWidget* parent, const QString& title, const QString& text);
bool hasScreen();

} // namespace newsterm
