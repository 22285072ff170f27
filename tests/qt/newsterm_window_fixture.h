#pragma once

#include <QByteArray>
#include <QDate>
#include <QPoint>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <QWidget>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include <gtest/gtest.h>

#include "adapters/qt/services.h"
#include "host/framework/clock.h"

class QAction;
class QCalendarWidget;
class QTableView;
class TRVNewsCtrlView;
namespace host::ui {
class CSuperSheetWnd;
class Window;
} // namespace host::ui
namespace qthost {
class QtUiHost;
}
namespace newsterm {
class BackendSession;
class MainWindow;
class TermClock;
class TermSettings;
} // namespace newsterm

namespace qttest {

// A clock the test sets by hand: the back end files news under its days and the view takes
// "today" from it, so the dates a test picks mean the same on every run.
class SetClock final : public host::Clock {
public:
    std::int64_t nowMs() const override { return m_ms; }
    void set(std::int64_t seconds) { m_ms = seconds * 1000; }

private:
    std::int64_t m_ms = 0;
};

// One headline of the recorded feed the terminal replays.
struct FeedHeadline {
    int day = 0; // 0: the day before today, 1: today
    int service = 0;
    int seq = 0;
    int minute = 0; // minutes after 09:00 of its day
    QString title;
    QString symbol;
};

// How a test starts the terminal (startTerminal).
struct TerminalStart {
    QByteArray feed;             // the recorded feed (JSON Lines) the back end replays
    bool generated = false;      // generated news instead of a feed
    QString redis;               // the news distribution (HOST:PORT) instead of a feed
    std::int64_t replayAt = 0;   // the clock while the feed plays (seconds)
    std::int64_t openAt = 0;     // the clock when the window opens
    bool followNewsDays = false; // the terminal's clock follows the news day, as newsterm does
    QString language = QStringLiteral("zh-TW");
    std::size_t cached = 0; // when set, the window opens once the back end holds this many headlines
};

// The real newsterm window (MainWindow with the news view on the Qt host and the embedded
// back end). By default over a recorded feed of two news days, 2024-05-14 and 2024-05-15, with
// the clock at noon of the second; a test that needs another feed overrides SetUp and calls
// startTerminal itself. Controls are found the way the module knows them, by id.
class NewstermWindowTest : public ::testing::Test {
public:
    static const QDate kToday;
    // The story of a headline of the feed: service 16 has two paragraphs per sequence number
    // (so its later headlines run over several printed pages), the others two.
    static int storyParagraphs(const FeedHeadline& h) { return h.service == 16 ? 2 * h.seq : 2; }

protected:
    NewstermWindowTest();
    ~NewstermWindowTest() override;
    NewstermWindowTest(const NewstermWindowTest&) = delete;
    NewstermWindowTest& operator=(const NewstermWindowTest&) = delete;

    void SetUp() override;
    void TearDown() override;
    // The host's switches file for this test; empty: the shipped one.
    virtual QByteArray applicationIni() const { return {}; }

    // Starts the back end and opens the window on the data folder of the test (its settings and
    // store survive a stopTerminal). The problems the session reported on start.
    QStringList startTerminal(const TerminalStart& start);
    // Closes the window as a person does and stops the back end.
    void stopTerminal();
    // A headline the feed sends now, on the service's current day.
    void push(int service, int seq, const char* title, const char* symbol);
    // An action of the window (menus, toolbar) by its text.
    QAction* action(const char* text) const;
    // Local time (the tests run with TZ=Asia/Taipei, as the view and the back end read it).
    static std::int64_t localSeconds(QDate day, int hour, int minute = 0);
    SetClock& baseClock() { return m_clock; }
    std::int64_t nowSeconds() const;
    QString dataPath(const QString& name) const { return m_dir.filePath(name); }

    // Every headline of the feed.
    static const std::vector<FeedHeadline>& feed();

    // How many headlines of the feed match.
    template <class Pred> static int countFeed(Pred pred) {
        int n = 0;
        for (const FeedHeadline& h : feed()) {
            n += pred(h) ? 1 : 0;
        }
        return n;
    }

    QWidget* viewWidget() const;
    TRVNewsCtrlView& view() const;
    host::ui::Window* control(int id) const;
    QWidget* controlWidget(int id) const;
    template <class W> W* widget(int id) const { return qobject_cast<W*>(controlWidget(id)); }
    QTableView* grid(int mode) const;
    host::ui::CSuperSheetWnd* sheet(int mode) const;
    // Rows of a mode's grid, and the text of a cell as painted (empty until it is written).
    int rowCount(int mode) const;
    QString cell(int mode, int row, int column) const;
    QString title(int mode, int row) const;
    // The visible grid of the current mode, or -1.
    int shownMode() const;

    // Input as the window system delivers it: through the top-level window under the point,
    // so pop-ups, grabs and focus behave as they do for a person.
    static void click(QWidget* widget, QPoint pos = QPoint(-1, -1), Qt::MouseButton button = Qt::LeftButton,
                      Qt::KeyboardModifiers modifiers = Qt::NoModifier);
    static void pressKey(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier);
    // The open pop-up (a menu, a combo's list, the calendar), waiting for it to show.
    static QWidget* openPopup();
    static bool noPopup();

    // A click on the tab of a mode.
    void clickTab(int mode);
    // Opens the date picker's calendar with a click on its drop-down arrow.
    QCalendarWidget* openCalendar();
    // Clicks a day of the open calendar's month.
    static void clickDay(QCalendarWidget* calendar, int day);
    QDate pickerDate() const;

    newsterm::MainWindow& window() const { return *m_window; }
    qthost::QtUiHost& ui() const { return *m_ui; }
    newsterm::BackendSession& session() const { return *m_session; }
    QString settingsPath() const;
    // Quits the window as a person does (its settings are saved on close) and starts a new one
    // on the same back end, reading the settings file again: a restart of the terminal.
    void restartWindow();

private:
    SetClock m_clock;
    std::unique_ptr<newsterm::TermClock> m_termClock;
    QTemporaryDir m_dir;
    std::unique_ptr<qthost::QtUiDispatcher> m_dispatcher;
    std::unique_ptr<qthost::QtUiHost> m_ui;
    std::unique_ptr<newsterm::BackendSession> m_session;
    std::unique_ptr<newsterm::TermSettings> m_settings;
    std::unique_ptr<newsterm::MainWindow> m_window;
};

} // namespace qttest
