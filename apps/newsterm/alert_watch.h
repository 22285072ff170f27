#pragma once

#include <QObject>
#include <QTimer>
#include <functional>

#include "host/backend/news_receiver.h"
#include "host/backend/search.h"

class TRVNewsCtrlView;

namespace newsterm {

// Whether a headline (its title, and its story when the condition's scope asks for it)
// holds the keywords of a search condition the way the back end's search finds them:
// character-exact, Latin letters in either case; every keyword for AND (and for a method
// never set), any for OR. A condition without keywords matches nothing.
bool alertMatches(const CSearch& condition, const CString& title, const CString& story);

// Makes a warning-term hit hard to miss. Every pushed headline of a service the news view has
// selected that the view's active warning terms match is a hit: while the warning-term tab is
// not the one shown, its caption counts the hits ("警示新聞 (3)") until the user views it,
// and, when the user wants it, each hit beeps. The news view's lists and rules are untouched:
// the watch only reads the view's active condition and rewrites one tab caption.
// Ownership: a QObject child of the main window; the view is looked up on every use (it is
// rebuilt when the language changes). Thread: UI thread.
class AlertWatch final : public QObject, public NewsReceiver {
public:
    AlertWatch(QObject* parent, std::function<TRVNewsCtrlView*()> findView, std::function<void()> beep);
    ~AlertWatch() override;
    AlertWatch(const AlertWatch&) = delete;
    AlertWatch& operator=(const AlertWatch&) = delete;

    void setBeepOn(bool on) { m_beepOn = on; }
    bool beepOn() const { return m_beepOn; }
    // Hits since the warning-term tab was last shown.
    int unseenHits() const { return m_unseen; }
    // Resets the count when the warning-term tab is shown and writes its caption.
    void refreshTab();

    // NewsReceiver
    void RecvNewHeadLine(const CHeadline* headline, const CString& categoryId, const CString& symbolCode) override;

private:
    void subscribe();

    std::function<TRVNewsCtrlView*()> m_findView;
    std::function<void()> m_beep;
    QTimer m_poll;
    bool m_beepOn = false;
    int m_unseen = 0;
};

} // namespace newsterm
