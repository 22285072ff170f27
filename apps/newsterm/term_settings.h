#pragma once

#include <QByteArray>
#include <QString>

#include "host/framework/cfg_store.h"

namespace newsterm {

// Where the terminal keeps its files, following the XDG base directories.
QString defaultDataDir(); // $XDG_DATA_HOME/newsterm (~/.local/share/newsterm)
QString configDir();      // $XDG_CONFIG_HOME/newsterm (~/.config/newsterm)

// The terminal's settings: the view's layout (through TRVCfgIO2), the window geometry and the
// language, in one human-readable file that is replaced atomically on every save.
class TermSettings {
public:
    explicit TermSettings(QString path);

    // Reads the file; a missing file is a first start. Returns the reason when the file
    // exists but cannot be used (its settings are then ignored, never half-applied).
    QString load();
    // Writes the file (temporary file + rename); returns the reason on failure.
    QString save() const;

    TRVCfgIO2& layout() { return m_store; }
    QByteArray windowGeometry() const;
    void setWindowGeometry(const QByteArray& geometry);
    QString language() const; // empty when never chosen
    void setLanguage(const QString& language);
    const QString& path() const { return m_path; }

    static QString defaultPath();

private:
    QString m_path;
    CfgFileStore m_store;
};

} // namespace newsterm
