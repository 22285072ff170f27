// The terminal a trader can trust all day, walked through as a user would: the news day, its
// clock and the store tell one story across a restart; Hong Kong symbols; where the news comes
// from and whether the link is live; a bad feed line; stopping by signal; the first window.
#include <QAction>
#include <QApplication>
#include <QCalendarWidget>
#include <QDateEdit>
#include <QDateTime>
#include <QFile>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QStatusBar>
#include <QStyle>
#include <QStyleOptionComboBox>
#include <QTabBar>
#include <QTableView>
#include <QTest>
#include <chrono>
#include <csignal>

#include "adapters/qt/qt_ui_host.h"
#include "adapters/qt/sheet_model.h"
#include "adapters/qt/sheet_window.h"
#include "apps/newsterm/backend_session.h"
#include "apps/newsterm/font_size.h"
#include "apps/newsterm/main_window.h"
#include "apps/newsterm/qt_translation.h"
#include "apps/newsterm/quit_signals.h"
#include "apps/newsterm/status_panel.h"
#include "apps/newsterm/term_clock.h"
#include "apps/newsterm/term_options.h"
#include "apps/newsterm/term_settings.h"
#include "apps/newsterm/window_fit.h"
#include "embedded_backend/day_math.h"
#include "embedded_backend/embedded_backend.h"
#include "headline_list/headline_columns.h"
#include "host/framework/host_context.h"
#include "host/text/cp950.h"
#include "host/ui/window.h"
#include "news_view/news_ctrl_view.h"
#include "news_view/news_ids.h"
#include "news_view/news_module.h"
#include "tests/qt/newsterm_window_fixture.h"
#include "tests/qt/qt_test_support.h"

namespace qttest {
namespace {

QString utf8(const char* text) {
    return QString::fromUtf8(text);
}

QByteArray headlineLine(int service, int seq, const char* title, const char* symbol) {
    return QStringLiteral(
               "{\"at\":0,\"event\":\"headline\",\"service\":%1,\"seq\":%2,\"title\":\"%3\",\"symbols\":[\"%4\"]}\n")
        .arg(service)
        .arg(seq)
        .arg(utf8(title), utf8(symbol))
        .toUtf8();
}

// The real window on a feed of each test's own, its clock following the news day as newsterm's
// does; a restart stops the back end too and starts both again on the same data folder.
class NewstermTrustTest : public NewstermWindowTest {
protected:
    void SetUp() override {}

    void start(const QByteArray& feed, std::int64_t replayAt, std::int64_t openAt) {
        TerminalStart terminal;
        terminal.feed = feed;
        terminal.replayAt = replayAt;
        terminal.openAt = openAt;
        terminal.followNewsDays = true;
        startTerminal(terminal);
    }
    void start(const QByteArray& feed, std::int64_t at) { start(feed, at, at); }
    void restart() {
        const std::int64_t at = baseClock().nowMs() / 1000;
        stopTerminal();
        start(QByteArray(), at);
    }

    int clockDay() const { return embedded::localDayOf(nowSeconds()); }
    bool allTitlesStartWith(int mode, const QString& prefix) const {
        for (int row = 0; row < rowCount(mode); ++row) {
            if (!title(mode, row).startsWith(prefix)) {
                return false;
            }
        }
        return true;
    }
    // A day clicked in the date picker's calendar, the way a person pages the days.
    void pickDay(QDate day) {
        QCalendarWidget* calendar = openCalendar();
        ASSERT_NE(calendar, nullptr) << "the calendar did not open";
        clickDay(calendar, day.day());
        ASSERT_TRUE(noPopup());
    }
};

TEST_F(NewstermTrustTest, ASimulatedNewDayMovesTheClockKeepsItsNewsApartAndSurvivesARestart) {
    const QDate today(2024, 5, 15);
    const QDate tomorrow = today.addDays(1);
    QByteArray feed;
    for (int seq = 1; seq <= 3; ++seq) {
        feed += headlineLine(16, seq, "今日新聞", "2330");
    }
    start(feed, localSeconds(today, 12));
    ASSERT_TRUE(waitUntil([&] { return rowCount(news::kModeAllNews) == 3; }));

    QAction* newDay = action("新的新聞日");
    ASSERT_NE(newDay, nullptr);
    newDay->trigger();
    ASSERT_TRUE(waitUntil([&] { return pickerDate() == tomorrow; })) << "the view follows the new day";
    EXPECT_EQ(clockDay(), 20240516) << "the terminal's clock moved with the news day";
    EXPECT_EQ(session().latestNewsDay(), 20240516);
    EXPECT_EQ(rowCount(news::kModeAllNews), 0);
    push(16, 1, "明日新聞一", "2330");
    ASSERT_TRUE(waitUntil([&] { return rowCount(news::kModeAllNews) == 1; }));

    // Back to the day before, then the live day again: it can be picked.
    pickDay(today);
    ASSERT_EQ(pickerDate(), today);
    EXPECT_TRUE(waitUntil([&] { return rowCount(news::kModeAllNews) == 3; }));
    pickDay(tomorrow);
    EXPECT_EQ(pickerDate(), tomorrow) << "the live day was refused as a day in the future";
    EXPECT_TRUE(waitUntil([&] { return rowCount(news::kModeAllNews) == 1; }));
    EXPECT_EQ(title(news::kModeAllNews, 0), utf8("明日新聞一"));

    // A restart at the same wall-clock time opens on the stored day, and its pushes land on
    // its own list, never on the day before's.
    restart();
    EXPECT_EQ(clockDay(), 20240516);
    EXPECT_EQ(pickerDate(), tomorrow);
    ASSERT_TRUE(waitUntil([&] { return rowCount(news::kModeAllNews) == 1; }));
    push(16, 2, "明日新聞二", "2330");
    ASSERT_TRUE(waitUntil([&] { return rowCount(news::kModeAllNews) == 2; }));
    EXPECT_TRUE(allTitlesStartWith(news::kModeAllNews, utf8("明日新聞")));
}

TEST_F(NewstermTrustTest, HongKongSymbolsSourceLinkBadLinesAndAStopBySignal) {
    QByteArray feed = headlineLine(16, 1, "台積電新聞", "2330");
    feed += "{\"at\":0,\"event\":\"headline\",\"service\":22}\n";
    feed += headlineLine(22, 1, "騰訊控股新聞一", "00700");
    feed += headlineLine(22, 2, "騰訊控股新聞二", "00700");
    start(feed, localSeconds(kToday, 10));
    newsterm::StatusPanel& panel = window().statusPanel();
    EXPECT_TRUE(waitUntil([&] { return window().statusBar()->currentMessage().contains(utf8("第 2 行")); }))
        << "the bad line is reported with its number: " << qPrintable(window().statusBar()->currentMessage());
    EXPECT_EQ(panel.sourceText(), utf8("重播：feed.jsonl"));
    EXPECT_TRUE(panel.linkText().contains(utf8("即時連線")));

    // 00700 typed in the symbol box is followed by the symbol tab.
    auto* symbolBox = window().findChild<QLineEdit*>(QStringLiteral("symbolEntry"));
    ASSERT_NE(symbolBox, nullptr);
    symbolBox->setText(QStringLiteral("00700"));
    QTest::keyClick(symbolBox, Qt::Key_Return);
    EXPECT_TRUE(window().statusBar()->currentMessage().contains(QStringLiteral("00700")))
        << qPrintable(window().statusBar()->currentMessage());
    clickTab(news::kModeSymbol);
    ASSERT_TRUE(waitUntil([&] { return rowCount(news::kModeSymbol) == 2; }))
        << "Hong Kong news of 00700: " << rowCount(news::kModeSymbol);
    EXPECT_TRUE(allTitlesStartWith(news::kModeSymbol, utf8("騰訊控股")));

    // The link indicator stays what the link is, whatever message passes.
    QAction* link = action("連線中");
    ASSERT_NE(link, nullptr);
    link->trigger();
    EXPECT_TRUE(waitUntil([&] { return panel.linkText().contains(utf8("已斷線")); }));
    window().statusBar()->showMessage(QStringLiteral("passing"));
    EXPECT_TRUE(panel.linkText().contains(utf8("已斷線")));
    link->trigger();
    EXPECT_TRUE(waitUntil([&] { return panel.linkText().contains(utf8("即時連線")); }));

    // A symbol of the exchange typed last is the one the box shows after a restart.
    symbolBox->setText(QStringLiteral("2317"));
    QTest::keyClick(symbolBox, Qt::Key_Return);

    // SIGTERM closes the window like a person would, and the symbol comes back next time.
    {
        const newsterm::QuitSignals quitSignals([this](int) { window().close(); });
        ASSERT_TRUE(quitSignals.active());
        std::raise(SIGTERM);
        ASSERT_TRUE(waitUntil([&] { return !window().isVisible(); }));
    }
    ASSERT_TRUE(QFile::exists(settingsPath()));
    restart();
    EXPECT_EQ(window().findChild<QLineEdit*>(QStringLiteral("symbolEntry"))->text(), QStringLiteral("2317"));
}

TEST_F(NewstermTrustTest, GeneratedNewsIsMarkedInTheTitleAndTheStatusBar) {
    TerminalStart generated;
    generated.generated = true;
    generated.replayAt = generated.openAt = localSeconds(kToday, 10);
    generated.language = QStringLiteral("en");
    EXPECT_TRUE(startTerminal(generated).isEmpty());
    EXPECT_TRUE(window().windowTitle().contains(QStringLiteral("generated")));
    EXPECT_TRUE(window().statusPanel().sourceText().startsWith(QStringLiteral("Generated news")));
}

TEST_F(NewstermTrustTest, ATerminalOnTheDistributionNamesItAndSaysWhyItIsDisconnected) {
    TerminalStart distributed;
    distributed.redis = QStringLiteral("127.0.0.1:1"); // nobody listens there
    distributed.replayAt = distributed.openAt = localSeconds(kToday, 10);
    distributed.language = QStringLiteral("en");
    EXPECT_TRUE(startTerminal(distributed).isEmpty());
    EXPECT_FALSE(window().windowTitle().contains(QStringLiteral("generated")));
    EXPECT_EQ(window().statusPanel().sourceText(), QStringLiteral("Distribution: 127.0.0.1:1"));
    EXPECT_EQ(window().statusPanel().linkText().trimmed(), QStringLiteral("○ Disconnected"));
    EXPECT_TRUE(QTest::qWaitFor(
        [&] { return session().distributionProblem().contains(QStringLiteral("cannot reach Redis")); }, 10000));
}

// What a trader's keyboard and eyes expect of the window: tabs by key from the grid and from the
// symbol box, Ctrl+L to the symbol box, English texts, a font size the layout follows and that
// survives a restart, pushed rows marked.
TEST_F(NewstermWindowTest, KeysFontSizeAndNewRowsInTheWindow) {
    // Another language applies at once, to the terminal, the news view and Qt's own dialogs.
    const int listed = rowCount(news::kModeAllNews);
    ASSERT_TRUE(newsterm::useQtTranslation(QStringLiteral("zh-TW"))) << "qt6-translations-l10n is missing";
    EXPECT_EQ(QCoreApplication::translate("QPlatformTheme", "Cancel"), utf8("取消"));
    action("English")->trigger();
    drainEvents();
    EXPECT_EQ(window().windowTitle(), QStringLiteral("News terminal"));
    EXPECT_EQ(widget<QTabBar>(news::kIdTabStrip)->tabText(0), QStringLiteral("All News"));
    EXPECT_EQ(QCoreApplication::translate("QPlatformTheme", "Cancel"), QStringLiteral("Cancel"));
    EXPECT_TRUE(window().statusPanel().linkText().contains(QStringLiteral("Live")));
    EXPECT_TRUE(waitUntil([&] { return rowCount(news::kModeAllNews) == listed; }))
        << "the view came back with its news: " << rowCount(news::kModeAllNews) << " of " << listed;
    {
        newsterm::TermSettings saved(settingsPath());
        ASSERT_TRUE(saved.load().isEmpty());
        EXPECT_EQ(saved.language(), QStringLiteral("en"));
    }
    const int rowHeight = grid(news::kModeAllNews)->verticalHeader()->defaultSectionSize();
    const int gridTop = grid(news::kModeAllNews)->geometry().top();
    pressKey(Qt::Key_Plus, Qt::ControlModifier);
    pressKey(Qt::Key_Plus, Qt::ControlModifier);
    EXPECT_GT(grid(news::kModeAllNews)->verticalHeader()->defaultSectionSize(), rowHeight);
    EXPECT_GT(grid(news::kModeAllNews)->geometry().top(), gridTop) << "the tab and control rows did not grow";
    const int largerRows = grid(news::kModeAllNews)->verticalHeader()->defaultSectionSize();
    restartWindow();
    EXPECT_EQ(grid(news::kModeAllNews)->verticalHeader()->defaultSectionSize(), largerRows)
        << "the font size did not survive a restart";
    pressKey(Qt::Key_0, Qt::ControlModifier);
    EXPECT_EQ(grid(news::kModeAllNews)->verticalHeader()->defaultSectionSize(), rowHeight);
    newsterm::useQtTranslation(QStringLiteral("en"));

    // Tabs by key, from the grid and from the symbol box, which Ctrl+L reaches.
    auto* tabs = widget<QTabBar>(news::kIdTabStrip);
    auto* strip = dynamic_cast<host::ui::TabStrip*>(control(news::kIdTabStrip));
    ASSERT_TRUE(tabs != nullptr && strip != nullptr && tabs->count() >= 3);
    const int last = tabs->count() - 1;
    click(grid(shownMode())->viewport());
    pressKey(Qt::Key_2, Qt::ControlModifier);
    EXPECT_TRUE(waitUntil([&] { return shownMode() == static_cast<int>(strip->itemData(1)); }))
        << "the view did not follow the tab";
    pressKey(Qt::Key_Tab, Qt::ControlModifier);
    EXPECT_EQ(tabs->currentIndex(), 2);
    pressKey(Qt::Key_1, Qt::ControlModifier);
    pressKey(Qt::Key_Backtab, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(tabs->currentIndex(), last) << "Ctrl+Shift+Tab wraps round to the last tab";

    auto* symbolBox = window().findChild<QLineEdit*>(QStringLiteral("symbolEntry"));
    pressKey(Qt::Key_L, Qt::ControlModifier);
    EXPECT_EQ(QApplication::focusWidget(), symbolBox);
    pressKey(Qt::Key_1, Qt::ControlModifier);
    EXPECT_TRUE(waitUntil([&] { return shownMode() == static_cast<int>(strip->itemData(0)); }))
        << "tab keys work from the symbol box too";

    // A pushed headline is marked, the rows of the list's fill are not.
    auto* allNews = dynamic_cast<qthost::QtSheet*>(sheet(news::kModeAllNews));
    ASSERT_NE(allNews, nullptr);
    allNews->model().setFadeClock([] { return std::int64_t{5000}; }); // time stands still
    push(16, 61, "台積電法說會", "2330");
    ASSERT_TRUE(waitUntil([&] { return title(news::kModeAllNews, 0) == utf8("台積電法說會"); }));
    EXPECT_GT(allNews->model().fadeStrength(0), 0.0);
    EXPECT_EQ(allNews->model().fadeStrength(1), 0.0);
}

// The font size ladder: steps stop at its ends, and a stored size (edited by hand, damaged)
// becomes a size of the ladder or the normal size, never a font too small or too large to use.
TEST(NewstermFontSize, StepsStopAtTheEndsAndStoredSizesSnapToTheLadder) {
    EXPECT_EQ(newsterm::steppedFontPercent(100, 1), 110);
    EXPECT_EQ(newsterm::steppedFontPercent(100, -1), 90);
    EXPECT_EQ(newsterm::steppedFontPercent(200, 1), 200);
    EXPECT_EQ(newsterm::steppedFontPercent(80, -1), 80);
    EXPECT_EQ(newsterm::steppedFontPercent(150, 0), 100);
    EXPECT_EQ(newsterm::steppedFontPercent(112, 1), 125) << "from the nearest step";
    for (const int unusable : {-5, 0, 39, 1001, 100000}) {
        EXPECT_EQ(newsterm::validFontPercent(unusable), 100) << unusable;
    }
    EXPECT_EQ(newsterm::validFontPercent(40), 80);
    EXPECT_EQ(newsterm::validFontPercent(1000), 200);
    EXPECT_EQ(newsterm::validFontPercent(112), 110);
}

TEST(NewstermWindowFit, TheFirstWindowFitsTheScreenAtAnyScale) {
    const QSize wanted(1200, 760);
    EXPECT_EQ(newsterm::fittedGeometry(wanted, QRect(0, 0, 1920, 1080)).size(), wanted);
    // A 1920x1080 screen at scale 2 offers 960x540 device-independent pixels.
    for (const QRect available : {QRect(0, 0, 960, 540), QRect(100, 40, 1280, 700), QRect(0, 0, 640, 400)}) {
        const QRect placed = newsterm::fittedGeometry(wanted, available);
        EXPECT_TRUE(available.contains(placed)) << available.width() << "x" << available.height();
        EXPECT_GE(placed.width(), available.width() / 2);
    }
}

} // namespace
} // namespace qttest
