#pragma once

#include <QRect>
#include <QSize>

class QWidget;

namespace newsterm {

// Where a window of the wanted size goes on a screen's available area: as wanted when it fits,
// otherwise shrunk to fit with a small margin (never below a usable minimum), centred.
QRect fittedGeometry(QSize wanted, const QRect& available);

// Puts a top-level window at its fitted place on its screen (or the primary one); a window
// that already fits stays where it is.
void fitOnScreen(QWidget& window, QSize wanted);

} // namespace newsterm
