#include "apps/newsterm/term_settings.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>
#include <string>

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
    m_keptAside.clear();
    m_saveRefusal.clear();
    const CfgFileStore::LoadResult result = m_store.load(QFile::encodeName(m_path).toStdString());
    if (result.ok() || result.status == CfgFileStore::LoadStatus::kMissing) {
        return {};
    }
    const QString reason = QString::fromStdString(result.error);
    // Kept beside the original under a name that says why and when, never over an earlier one.
    const QString why =
        result.status == CfgFileStore::LoadStatus::kTooNew ? QStringLiteral("newer") : QStringLiteral("damaged");
    const QString stamp = QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-HHmmss"));
    QString aside = QStringLiteral("%1.%2-%3").arg(m_path, why, stamp);
    for (int n = 2; QFileInfo::exists(aside); ++n) {
        aside = QStringLiteral("%1.%2-%3-%4").arg(m_path, why, stamp).arg(n);
    }
    if (!QFile::rename(m_path, aside)) {
        m_saveRefusal = QStringLiteral("%1 could not be used and could not be moved aside, so it is left as it "
                                       "was; the settings of this session are not saved")
                            .arg(m_path);
        return QStringLiteral("The settings file %1 cannot be used (%2) and could not be moved aside. The terminal "
                              "starts with default settings and will not write over it.")
            .arg(m_path, reason);
    }
    m_keptAside = aside;
    return QStringLiteral("The settings file %1 cannot be used (%2). It was kept as %3; the terminal starts with "
                          "default settings.")
        .arg(m_path, reason, aside);
}

QString TermSettings::save() const {
    if (!m_saveRefusal.isEmpty()) {
        return m_saveRefusal;
    }
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

QString TermSettings::redis() const {
    std::string value;
    return m_store.GetViewInfo(kSection, 0, 0, kWindowKey, "redis", value) ? QString::fromStdString(value) : QString();
}

void TermSettings::setRedis(const QString& address) {
    m_store.SetViewInfo(kSection, 0, 0, kWindowKey, "redis", address.toStdString());
}

void TermSettings::setLanguage(const QString& language) {
    m_store.SetViewInfo(kSection, 0, 0, kWindowKey, "language", language.toStdString());
}

QString TermSettings::colorScheme() const {
    CString value;
    return m_store.GetViewInfo(kSection, 0, 0, kWindowKey, "colorScheme", value) ? QString::fromStdString(value)
                                                                                 : QString();
}

void TermSettings::setColorScheme(const QString& scheme) {
    m_store.SetViewInfo(kSection, 0, 0, kWindowKey, "colorScheme", scheme.toStdString());
}

int TermSettings::fontPercent() const {
    CString value;
    if (!m_store.GetViewInfo(kSection, 0, 0, kWindowKey, "fontPercent", value)) {
        return 100;
    }
    bool ok = false;
    const int percent = QString::fromStdString(value).toInt(&ok);
    return ok ? percent : 100;
}

void TermSettings::setFontPercent(int percent) {
    m_store.SetViewInfo(kSection, 0, 0, kWindowKey, "fontPercent", std::to_string(percent));
}

bool TermSettings::alertBeep() const {
    CString value;
    return m_store.GetViewInfo(kSection, 0, 0, kWindowKey, "alertBeep", value) && value == "1";
}

void TermSettings::setAlertBeep(bool on) {
    m_store.SetViewInfo(kSection, 0, 0, kWindowKey, "alertBeep", on ? "1" : "0");
}

QString TermSettings::symbol() const {
    CString value;
    return m_store.GetViewInfo(kSection, 0, 0, kWindowKey, "symbol", value) ? QString::fromStdString(value) : QString();
}

void TermSettings::setSymbol(const QString& symbol) {
    m_store.SetViewInfo(kSection, 0, 0, kWindowKey, "symbol", symbol.toStdString());
}

} // namespace newsterm
