#include "apps/newsterm/qt_translation.h"

#include <QCoreApplication>
#include <QLibraryInfo>
#include <QTranslator>
#include <memory>

namespace newsterm {

bool useQtTranslation(const QString& language) {
    static std::unique_ptr<QTranslator> installed;
    if (installed) {
        QCoreApplication::removeTranslator(installed.get());
        installed.reset();
    }
    if (language == QStringLiteral("en")) {
        return true;
    }
    // zh-TW -> qtbase_zh_TW.qm
    QString name = language;
    name.replace(QLatin1Char('-'), QLatin1Char('_'));
    auto translator = std::make_unique<QTranslator>();
    if (!translator->load(QStringLiteral("qtbase_") + name, QLibraryInfo::path(QLibraryInfo::TranslationsPath))) {
        return false;
    }
    QCoreApplication::installTranslator(translator.get());
    installed = std::move(translator);
    return true;
}

} // namespace newsterm
