#pragma once

#include <QObject>
#include <QString>
#include <cstddef>

class QLabel;
class QStatusBar;
class QTimer;

namespace newsterm {

class BackendSession;

// The permanent part of the terminal's status bar: where the news comes from (generated or
// the replayed file) and whether the link to the news server is live. Passing messages never
// cover them. It also reports each unusable line of a replayed file, with its number, in the
// status bar and on standard error, as soon as the replay gets past it.
// Ownership: the labels and the timer are children of the status bar and of this object; the
// session outlives it. Thread: UI thread.
class StatusPanel final : public QObject {
public:
    StatusPanel(QStatusBar& bar, BackendSession& session, bool english);

    // Reads the link state and the replay's problems now (also done twice a second).
    void refresh();
    // Shows the fields in the other language.
    void setEnglish(bool english);
    QString linkText() const;
    QString sourceText() const;

private:
    void showSource();
    QString text(const char* chinese, const char* english) const;

    QStatusBar& m_bar;
    BackendSession& m_session;
    bool m_english;
    QLabel* m_source = nullptr;
    QLabel* m_link = nullptr;
    QTimer* m_timer = nullptr;
    int m_connected = -1;       // last shown: 1 live, 0 disconnected, -1 not yet
    std::size_t m_replaced = 0; // replacement marks of the replay last shown
};

} // namespace newsterm
