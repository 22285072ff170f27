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

    // Reads the file; a missing file is a first start. A file that exists but cannot be used
    // (damaged, cut short, unreadable, or written by a newer version) is moved aside, kept
    // under a name that says why, and the settings start from the defaults (nothing of it is
    // half-applied); the message for the user says so and names the kept file. When the file
    // cannot be moved aside, it is never written over: save() refuses.
    QString load();
    // Writes the file (temporary file + rename); returns the reason on failure.
    QString save() const;
    // Where an unusable file was kept by load(); empty when none.
    const QString& keptAside() const { return m_keptAside; }

    TRVCfgIO2& layout() { return m_store; }
    QByteArray windowGeometry() const;
    void setWindowGeometry(const QByteArray& geometry);
    QString language() const; // empty when never chosen
    void setLanguage(const QString& language);
    QString colorScheme() const; // empty when never chosen
    void setColorScheme(const QString& scheme);
    // The news distribution to read (HOST:PORT) when the command line names none; empty: none.
    QString redis() const;
    void setRedis(const QString& address);
    // The font size in percent as stored (validFontPercent() makes it a usable one); 100 when
    // never chosen or not a number.
    int fontPercent() const;
    void setFontPercent(int percent);

    // Whether a warning-term hit beeps (off unless the user turned it on).
    bool alertBeep() const;
    void setAlertBeep(bool on);
    QString symbol() const; // the terminal's current symbol; empty when never chosen
    void setSymbol(const QString& symbol);
    const QString& path() const { return m_path; }

    static QString defaultPath();

private:
    QString m_path;
    CfgFileStore m_store;
    QString m_keptAside;
    QString m_saveRefusal; // why save() must not write the file; empty when it may
};

} // namespace newsterm
