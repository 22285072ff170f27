#include "apps/newsterm/term_settings.h"

#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

namespace newsterm {

namespace {

// The terminal's own settings live beside the view's, under a section no view uses.
constexpr const char* kSection = "newsterm";
constexpr const char* kWindowKey = "MainWindow";

QString xdgFolder(const char* variable, QStandardPaths::StandardLocation fallback) {
    const QString base = qEnvironmentVariable(variable);
    return (base.isEmpty() ? QStandardPaths::writableLocation(fallback) : base) + QStringLiteral("/newsterm");
}

} // namespace

QString defaultDataDir() {
    return xdgFolder("XDG_DATA_HOME", QStandardPaths::GenericDataLocation);
}
QString configDir() {
    return xdgFolder("XDG_CONFIG_HOME", QStandardPaths::GenericConfigLocation);
}

TermSettings::TermSettings(QString path) : m_path(std::move(path)) {}

QString TermSettings::defaultPath() {
    return configDir() + QStringLiteral("/layout.cfg");
}

QString TermSettings::load() {
    const CfgFileStore::LoadResult result = m_store.load(QFile::encodeName(m_path).toStdString());
    if (result.ok() || result.status == CfgFileStore::LoadStatus::kMissing) {
        return {};
    }
    QString reason = QString::fromStdString(result.error);
    if (result.line != 0) {
        reason += QStringLiteral(" (line %1)").arg(result.line);
    }
    return reason;
}

QString TermSettings::save() const {
    if (!QDir().mkpath(QFileInfo(m_path).absolutePath())) {
        return QStringLiteral("cannot create the folder %1").arg(QFileInfo(m_path).absolutePath());
    }
    std::string error;
    if (!m_store.save(QFile::encodeName(m_path).toStdString(), &error)) {
        return QString::fromStdString(error);
    }
    return {};
}

QByteArray TermSettings::windowGeometry() const {
    CString value;
    if (!m_store.GetViewInfo(kSection, 0, 0, kWindowKey, "geometry", value)) {
        return {};
    }
    return QByteArray::fromBase64(QByteArray(value.data(), static_cast<qsizetype>(value.size())));
}

void TermSettings::setWindowGeometry(const QByteArray& geometry) {
    m_store.SetViewInfo(kSection, 0, 0, kWindowKey, "geometry", geometry.toBase64().toStdString());
}

QString TermSettings::language() const {
    CString value;
    return m_store.GetViewInfo(kSection, 0, 0, kWindowKey, "language", value) ? QString::fromStdString(value)
                                                                              : QString();
}

void TermSettings::setLanguage(const QString& language) {
    m_store.SetViewInfo(kSection, 0, 0, kWindowKey, "language", language.toStdString());
}

} // namespace newsterm
