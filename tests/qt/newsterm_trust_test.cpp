// The terminal a trader can trust all day, walked through as a user would: the news day, its
// clock and the store tell one story across a restart; Hong Kong symbols; where the news comes
// from and whether the link is live; a bad feed line; stopping by signal; the first window.
#include <QAction>
#include <QApplication>
#include <QCalendarWidget>
#include <QDateEdit>
#include <QDateTime>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QScrollBar>
#include <QStatusBar>
#include <QStyle>
#include <QStyleOptionComboBox>
#include <QTabBar>
#include <QTableView>
#include <QTest>
#include <QWheelEvent>
#include <chrono>
#include <csignal>

#include "adapters/qt/qt_ui_host.h"
#include "apps/newsterm/backend_session.h"
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

// The real window, opened and closed on one data folder as often as a test likes: each start
// is a new session, a new clock over the same base time and the settings saved last time.
class NewstermTrustTest : public NewstermWindowTest {
protected:
    void SetUp() override { ASSERT_TRUE(m_folder.isValid()); }
    void TearDown() override { stop(); }

    void start(const QByteArray& feed) {
        const QString feedPath = m_folder.filePath(QStringLiteral("feed.jsonl"));
        {
            QFile file(feedPath);
            ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
            file.write(feed);
        }
        m_clock = std::make_unique<newsterm::TermClock>(m_base);
        m_dispatcher = std::make_unique<qthost::QtUiDispatcher>();
        m_ui = std::make_unique<qthost::QtUiHost>();
        host::HostContext::current() = host::HostContext{m_ui.get(), m_clock.get(), m_dispatcher.get()};
        newsterm::TermOptions options;
        options.feedFile = feedPath;
        options.speed = 0;
        options.dataDir = m_folder.filePath(QStringLiteral("data"));
        options.language = QStringLiteral("zh-TW");
        options.resourcesDir = QStringLiteral(NEWS_RESOURCES_DIR);
        m_session = std::make_unique<newsterm::BackendSession>(options, *m_dispatcher, *m_clock);
        m_session->followNewsDays(*m_clock);
        const QStringList problems = m_session->start();
        ASSERT_FALSE(m_session->feedFailed()) << qPrintable(problems.join(QLatin1Char('\n')));
        ASSERT_TRUE(m_session->backend().waitReplayFinished(std::chrono::seconds(10)));
        drainEvents();
        RegisterNewsModule();
        m_settings = std::make_unique<newsterm::TermSettings>(m_folder.filePath(QStringLiteral("layout.cfg")));
        ASSERT_TRUE(m_settings->load().isEmpty());
        m_window = std::make_unique<newsterm::MainWindow>(*m_ui, *m_session, *m_settings, QStringLiteral("zh-TW"));
        showActive(m_window.get());
    }

    void stop() {
        if (m_window) {
            m_window->close();
        }
        m_window.reset();
        drainEvents();
        m_session.reset();
        m_dispatcher.reset();
        host::HostContext::current() = host::HostContext{};
        m_ui.reset();
        m_settings.reset();
        drainEvents();
    }

    // A headline the feed sends now, on the service's current day.
    void push(int service, int seq, const char* title, const char* symbol) {
        embedded::FeedEvent e;
        e.kind = embedded::FeedEventKind::Headline;
        e.service = static_cast<unsigned char>(service);
        e.seq = seq;
        e.time = m_clock->now();
        e.title = cp950::fromUtf8(title);
        e.symbols.push_back(CSymbolInfo{e.service, symbol, {}});
        m_session->backend().ingest({e});
    }

    QAction* toolbarAction(const char* label) const {
        for (QAction* action : m_window->findChildren<QAction*>()) {
            if (action->text() == utf8(label)) {
                return action;
            }
        }
        ADD_FAILURE() << "no action " << label;
        return nullptr;
    }
    QDate pickerDate() const { return widget<QDateEdit>(news::kIdDatePicker)->date(); }
    int clockDay() const { return embedded::localDayOf(m_clock->now()); }
    bool allTitlesStartWith(int mode, const QString& prefix) const {
        for (int row = 0; row < rowCount(mode); ++row) {
            if (!title(mode, row).startsWith(prefix)) {
                return false;
            }
        }
        return true;
    }
    void clickTab(int mode) {
        auto* tabs = widget<QTabBar>(news::kIdTabStrip);
        auto* strip = dynamic_cast<host::ui::TabStrip*>(control(news::kIdTabStrip));
        for (int i = 0; i < strip->itemCount(); ++i) {
            if (strip->itemData(i) == mode) {
                click(tabs, tabs->tabRect(i).center());
                return;
            }
        }
        FAIL() << "no tab for mode " << mode;
    }
    // A day clicked in the date picker's calendar, the way a person pages the days.
    void pickDay(QDate day) {
        auto* picker = widget<QDateEdit>(news::kIdDatePicker);
        QStyleOptionComboBox option;
        option.initFrom(picker);
        option.editable = true;
        option.subControls = QStyle::SC_All;
        const QRect arrow =
            picker->style()->subControlRect(QStyle::CC_ComboBox, &option, QStyle::SC_ComboBoxArrow, picker);
        click(picker, arrow.center());
        ASSERT_NE(openPopup(), nullptr) << "the calendar did not open";
        auto* days = picker->calendarWidget()->findChild<QTableView*>(QStringLiteral("qt_calendar_calendarview"));
        ASSERT_NE(days, nullptr);
        const QAbstractItemModel* model = days->model();
        for (int row = 1; row < model->rowCount(); ++row) {
            for (int column = 1; column < model->columnCount(); ++column) {
                const QModelIndex index = model->index(row, column);
                if (index.data().toString() == QString::number(day.day())) {
                    click(days->viewport(), days->visualRect(index).center());
                    ASSERT_TRUE(noPopup());
                    return;
                }
            }
        }
        FAIL() << "day " << day.day() << " is not in the calendar";
    }

    SetClock m_base;
    QTemporaryDir m_folder;
    std::unique_ptr<newsterm::TermClock> m_clock;
    std::unique_ptr<qthost::QtUiDispatcher> m_dispatcher;
    std::unique_ptr<qthost::QtUiHost> m_ui;
    std::unique_ptr<newsterm::BackendSession> m_session;
    std::unique_ptr<newsterm::TermSettings> m_settings;
    std::unique_ptr<newsterm::MainWindow> m_window;
};

TEST_F(NewstermTrustTest, ASimulatedNewDayMovesTheClockKeepsItsNewsApartAndSurvivesARestart) {
    const QDate today(2024, 5, 15);
    const QDate tomorrow = today.addDays(1);
    m_base.set(QDateTime(today, QTime(12, 0)).toSecsSinceEpoch());
    QByteArray feed;
    for (int seq = 1; seq <= 3; ++seq) {
        feed += headlineLine(16, seq, "今日新聞", "2330");
    }
    start(feed);
    ASSERT_TRUE(waitUntil([&] { return rowCount(news::kModeAllNews) == 3; }));

    QAction* newDay = toolbarAction("新的新聞日");
    ASSERT_NE(newDay, nullptr);
    newDay->trigger();
    ASSERT_TRUE(waitUntil([&] { return pickerDate() == tomorrow; })) << "the view follows the new day";
    EXPECT_EQ(clockDay(), 20240516) << "the terminal's clock moved with the news day";
    EXPECT_EQ(m_session->latestNewsDay(), 20240516);
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
    stop();
    start(QByteArray());
    EXPECT_EQ(clockDay(), 20240516);
    EXPECT_EQ(pickerDate(), tomorrow);
    ASSERT_TRUE(waitUntil([&] { return rowCount(news::kModeAllNews) == 1; }));
    push(16, 2, "明日新聞二", "2330");
    ASSERT_TRUE(waitUntil([&] { return rowCount(news::kModeAllNews) == 2; }));
    EXPECT_TRUE(allTitlesStartWith(news::kModeAllNews, utf8("明日新聞")));
}

TEST_F(NewstermTrustTest, HongKongSymbolsSourceLinkBadLinesAndAStopBySignal) {
    m_base.set(QDateTime(QDate(2024, 5, 15), QTime(10, 0)).toSecsSinceEpoch());
    QByteArray feed = headlineLine(16, 1, "台積電新聞", "2330");
    feed += "{\"at\":0,\"event\":\"headline\",\"service\":22}\n";
    feed += headlineLine(22, 1, "騰訊控股新聞一", "00700");
    feed += headlineLine(22, 2, "騰訊控股新聞二", "00700");
    start(feed);
    newsterm::StatusPanel& panel = m_window->statusPanel();
    EXPECT_TRUE(waitUntil([&] { return m_window->statusBar()->currentMessage().contains(utf8("第 2 行")); }))
        << "the bad line is reported with its number: " << qPrintable(m_window->statusBar()->currentMessage());
    EXPECT_EQ(panel.sourceText(), utf8("重播：feed.jsonl"));
    EXPECT_TRUE(panel.linkText().contains(utf8("即時連線")));

    // 00700 typed in the symbol box is followed by the symbol tab.
    auto* symbolBox = m_window->findChild<QLineEdit*>(QStringLiteral("symbolEntry"));
    ASSERT_NE(symbolBox, nullptr);
    symbolBox->setText(QStringLiteral("00700"));
    QTest::keyClick(symbolBox, Qt::Key_Return);
    EXPECT_TRUE(m_window->statusBar()->currentMessage().contains(QStringLiteral("00700")))
        << qPrintable(m_window->statusBar()->currentMessage());
    clickTab(news::kModeSymbol);
    ASSERT_TRUE(waitUntil([&] { return rowCount(news::kModeSymbol) == 2; }))
        << "Hong Kong news of 00700: " << rowCount(news::kModeSymbol);
    EXPECT_TRUE(allTitlesStartWith(news::kModeSymbol, utf8("騰訊控股")));

    // The link indicator stays what the link is, whatever message passes.
    QAction* link = toolbarAction("連線中");
    ASSERT_NE(link, nullptr);
    link->trigger();
    EXPECT_TRUE(waitUntil([&] { return panel.linkText().contains(utf8("已斷線")); }));
    m_window->statusBar()->showMessage(QStringLiteral("passing"));
    EXPECT_TRUE(panel.linkText().contains(utf8("已斷線")));
    link->trigger();
    EXPECT_TRUE(waitUntil([&] { return panel.linkText().contains(utf8("即時連線")); }));

    // A symbol of the exchange typed last is the one the box shows after a restart.
    symbolBox->setText(QStringLiteral("2317"));
    QTest::keyClick(symbolBox, Qt::Key_Return);

    // SIGTERM closes the window like a person would, and the symbol comes back next time.
    {
        const newsterm::QuitSignals quitSignals([this](int) { m_window->close(); });
        ASSERT_TRUE(quitSignals.active());
        std::raise(SIGTERM);
        ASSERT_TRUE(waitUntil([&] { return !m_window->isVisible(); }));
    }
    ASSERT_TRUE(QFile::exists(m_folder.filePath(QStringLiteral("layout.cfg"))));
    stop();
    start(QByteArray());
    EXPECT_EQ(m_window->findChild<QLineEdit*>(QStringLiteral("symbolEntry"))->text(), QStringLiteral("2317"));
}

TEST_F(NewstermTrustTest, GeneratedNewsIsMarkedInTheTitleAndTheStatusBar) {
    m_base.set(QDateTime(QDate(2024, 5, 15), QTime(10, 0)).toSecsSinceEpoch());
    m_clock = std::make_unique<newsterm::TermClock>(m_base);
    m_dispatcher = std::make_unique<qthost::QtUiDispatcher>();
    m_ui = std::make_unique<qthost::QtUiHost>();
    host::HostContext::current() = host::HostContext{m_ui.get(), m_clock.get(), m_dispatcher.get()};
    newsterm::TermOptions options;
    options.speed = 1;
    options.dataDir = m_folder.filePath(QStringLiteral("data"));
    options.language = QStringLiteral("en");
    options.resourcesDir = QStringLiteral(NEWS_RESOURCES_DIR);
    m_session = std::make_unique<newsterm::BackendSession>(options, *m_dispatcher, *m_clock);
    EXPECT_TRUE(m_session->start().isEmpty());
    RegisterNewsModule();
    m_settings = std::make_unique<newsterm::TermSettings>(m_folder.filePath(QStringLiteral("layout.cfg")));
    m_window = std::make_unique<newsterm::MainWindow>(*m_ui, *m_session, *m_settings, QStringLiteral("en"));
    EXPECT_TRUE(m_window->windowTitle().contains(QStringLiteral("generated")));
    EXPECT_TRUE(m_window->statusPanel().sourceText().startsWith(QStringLiteral("Generated news")));
}

TEST_F(NewstermTrustTest, ATerminalOnTheDistributionNamesItAndSaysWhyItIsDisconnected) {
    m_base.set(QDateTime(QDate(2024, 5, 15), QTime(10, 0)).toSecsSinceEpoch());
    m_clock = std::make_unique<newsterm::TermClock>(m_base);
    m_dispatcher = std::make_unique<qthost::QtUiDispatcher>();
    m_ui = std::make_unique<qthost::QtUiHost>();
    host::HostContext::current() = host::HostContext{m_ui.get(), m_clock.get(), m_dispatcher.get()};
    newsterm::TermOptions options;
    options.dataDir = m_folder.filePath(QStringLiteral("data"));
    options.language = QStringLiteral("en");
    options.resourcesDir = QStringLiteral(NEWS_RESOURCES_DIR);
    options.redis = QStringLiteral("127.0.0.1:1"); // nobody listens there
    m_session = std::make_unique<newsterm::BackendSession>(options, *m_dispatcher, *m_clock);
    EXPECT_TRUE(m_session->start().isEmpty());
    RegisterNewsModule();
    m_settings = std::make_unique<newsterm::TermSettings>(m_folder.filePath(QStringLiteral("layout.cfg")));
    m_window = std::make_unique<newsterm::MainWindow>(*m_ui, *m_session, *m_settings, QStringLiteral("en"));
    EXPECT_FALSE(m_window->windowTitle().contains(QStringLiteral("generated")));
    EXPECT_EQ(m_window->statusPanel().sourceText(), QStringLiteral("Distribution: 127.0.0.1:1"));
    EXPECT_EQ(m_window->statusPanel().linkText().trimmed(), QStringLiteral("○ Disconnected"));
    EXPECT_TRUE(QTest::qWaitFor(
        [&] { return m_session->distributionProblem().contains(QStringLiteral("cannot reach Redis")); }, 10000));
}

// The list stays put while the user reads further down: new headlines arriving at the top do
// not move the rows on screen. Back at the top, new headlines show as they come.
TEST_F(NewstermTrustTest, TheListStaysPutWhileScrolledAwayFromTheTop) {
    m_base.set(QDateTime(QDate(2024, 5, 15), QTime(10, 0)).toSecsSinceEpoch());
    QByteArray feed;
    for (int seq = 1; seq <= 80; ++seq) {
        feed += QStringLiteral("{\"at\":%1,\"event\":\"headline\",\"service\":16,\"seq\":%1,\"title\":\"舊聞%1\","
                               "\"symbols\":[\"2330\"]}\n")
                    .arg(seq)
                    .toUtf8();
    }
    m_base.set(QDateTime(QDate(2024, 5, 15), QTime(9, 0)).toSecsSinceEpoch());
    start(feed);
    m_base.set(QDateTime(QDate(2024, 5, 15), QTime(10, 0)).toSecsSinceEpoch());
    ASSERT_TRUE(waitUntil([&] { return rowCount(news::kModeAllNews) == 80; }));
    QTableView* table = grid(news::kModeAllNews);
    const auto topTitle = [&] { return title(news::kModeAllNews, table->rowAt(0)); };
    ASSERT_EQ(topTitle(), utf8("舊聞80"));

    // Three notches of the wheel down, as a person reads on.
    const QPoint at(table->viewport()->width() / 2, table->viewport()->height() / 2);
    QWheelEvent wheel(at, table->viewport()->mapToGlobal(at), QPoint(), QPoint(0, -360), Qt::NoButton, Qt::NoModifier,
                      Qt::NoScrollPhase, false);
    QApplication::sendEvent(table->viewport(), &wheel);
    const QString reading = topTitle();
    ASSERT_NE(reading, utf8("舊聞80")) << "the wheel did not scroll";
    for (int seq = 81; seq <= 85; ++seq) {
        push(16, seq, "新聞", "2330");
    }
    ASSERT_TRUE(waitUntil([&] { return rowCount(news::kModeAllNews) == 85; }));
    drainEvents();
    EXPECT_EQ(topTitle(), reading) << "the rows on screen moved";

    // Home: the newest first, and what comes now shows at the top.
    table->verticalScrollBar()->setValue(0);
    m_base.set(QDateTime(QDate(2024, 5, 15), QTime(10, 5)).toSecsSinceEpoch());
    push(16, 86, "最新新聞", "2330");
    ASSERT_TRUE(waitUntil([&] { return rowCount(news::kModeAllNews) == 86; }));
    EXPECT_TRUE(waitUntil([&] { return topTitle() == utf8("最新新聞"); })) << qPrintable(topTitle());
}

// Another language applies at once, to the terminal, the news view and Qt's own dialogs.
TEST_F(NewstermTrustTest, ALanguageChosenInTheMenuAppliesAtOnce) {
    m_base.set(QDateTime(QDate(2024, 5, 15), QTime(10, 0)).toSecsSinceEpoch());
    start(headlineLine(16, 1, "台積電新聞", "2330"));
    ASSERT_TRUE(newsterm::useQtTranslation(QStringLiteral("zh-TW"))) << "qt6-translations-l10n is missing";
    EXPECT_EQ(QCoreApplication::translate("QPlatformTheme", "Cancel"), utf8("取消"));
    auto* tabs = widget<QTabBar>(news::kIdTabStrip);
    ASSERT_NE(tabs, nullptr);
    EXPECT_EQ(tabs->tabText(0), utf8("全部新聞"));

    QAction* english = toolbarAction("English");
    ASSERT_NE(english, nullptr);
    english->trigger();
    drainEvents();
    EXPECT_EQ(m_window->windowTitle(), QStringLiteral("News terminal"));
    tabs = widget<QTabBar>(news::kIdTabStrip);
    ASSERT_NE(tabs, nullptr);
    EXPECT_EQ(tabs->tabText(0), QStringLiteral("All News"));
    EXPECT_EQ(QCoreApplication::translate("QPlatformTheme", "Cancel"), QStringLiteral("Cancel"));
    EXPECT_TRUE(m_window->statusPanel().linkText().contains(QStringLiteral("Live")));
    ASSERT_TRUE(waitUntil([&] { return rowCount(news::kModeAllNews) == 1; })) << "the view came back with its news";
    EXPECT_EQ(m_settings->language(), QStringLiteral("en"));
    newsterm::useQtTranslation(QStringLiteral("en"));
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
