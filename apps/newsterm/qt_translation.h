#pragma once

#include <QString>

namespace newsterm {

// Makes Qt's own texts (the calendar, the file and print dialogs, message-box buttons, the
// context menus of text fields) speak the terminal's language, from the translations of Qt
// that Debian installs (qt6-translations-l10n). English needs none. Replaces the translation
// installed before; returns false when the language's file is missing (Qt then speaks
// English). Thread: UI thread, after the application object exists.
bool useQtTranslation(const QString& language);

} // namespace newsterm
