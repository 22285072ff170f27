#include "tests/qt/newsterm_window_fixture.h"

#include <QAction>
#include <QApplication>
#include <QCalendarWidget>
#include <QDateEdit>
#include <QDateTime>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QGuiApplication>
#include <QStyle>
#include <QStyleOptionComboBox>
#include <QTabBar>
#include <QTableView>
#include <QTest>
#include <QWindow>
#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <utility>

#include "adapters/qt/qt_ui_host.h"
#include "apps/newsterm/backend_session.h"
#include "apps/newsterm/main_window.h"
#include "apps/newsterm/term_clock.h"
#include "apps/newsterm/term_options.h"
#include "apps/newsterm/term_settings.h"
#include "embedded_backend/embedded_backend.h"
#include "headline_list/headline_columns.h"
#include "host/framework/host_context.h"
#include "host/text/cp950.h"
#include "host/ui/controls.h"
#include "news_view/news_ctrl_view.h"
#include "news_view/news_ids.h"
#include "news_view/news_module.h"
#include "tests/qt/qt_test_support.h"

namespace qttest {

const QDate NewstermWindowTest::kToday(2024, 5, 15);

namespace {

constexpr int kSecondsPerDay = 24 * 60 * 60;

// Copies a folder with everything in it.
void copyTree(const QString& from, const QString& to) {
    QDir().mkpath(to);
    QDirIterator it(from, QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        const QString target = to + path.mid(from.size());
        if (it.fileInfo().isDir()) {
            QDir().mkpath(target);
        } else {
            QFile::copy(path, target);
        }
    }
}

std::vector<FeedHeadline> makeFeed() {
    std::vector<FeedHeadline> feed;
    const auto add = [&feed](int day, int service, int seq, int minute, const char* tag, const char* symbol) {
        feed.push_back(FeedHeadline{day, service, seq, minute,
                                    QStringLiteral("%1-%2 (%3)")
                                        .arg(QLatin1String(tag))
                                        .arg(seq, 2, 10, QLatin1Char('0'))
                                        .arg(QLatin1String(symbol)),
                                    QString::fromLatin1(symbol)});
    };
    // Yesterday: a few headlines of the exchange and of the emerging market.
    for (int seq = 1; seq <= 3; ++seq) {
        add(0, 16, seq, 10 * seq, "Y16", "2330");
    }
    for (int seq = 1; seq <= 2; ++seq) {
        add(0, 122, seq, 10 * seq + 5, "Y122", "7721");
    }
    // Today: more exchange news than a page holds, then emerging and Hong Kong news; the Hong
    // Kong headlines are the newest.
    for (int seq = 1; seq <= 60; ++seq) {
        add(1, 16, seq, seq, "T16", seq % 2 == 1 ? "2330" : "2317");
    }
    for (int seq = 1; seq <= 5; ++seq) {
        add(1, 122, seq, 61 + seq, "E122", seq <= 3 ? "7721" : "6872");
    }
    for (int seq = 1; seq <= 4; ++seq) {
        add(1, 22, seq, 120 + seq, "HK22", "00700");
    }
    return feed;
}

// The feed as a recorded JSON Lines file: yesterday's news, the new day of every service,
// then today's news. Offsets count from 09:00 yesterday.
QByteArray feedFile(std::vector<FeedHeadline> feed) {
    std::stable_sort(feed.begin(), feed.end(), [](const FeedHeadline& a, const FeedHeadline& b) {
        return std::pair(a.day, a.minute) < std::pair(b.day, b.minute);
    });
    QByteArray out;
    bool newDay = false;
    for (const FeedHeadline& h : feed) {
        if (h.day == 1 && !newDay) {
            newDay = true;
            for (const int service : {16, 122, 22}) {
                out += QStringLiteral("{\"at\":%1,\"event\":\"newday\",\"service\":%2,\"date\":\"%3\"}\n")
                           .arg(kSecondsPerDay - 60)
                           .arg(service)
                           .arg(NewstermWindowTest::kToday.toString(QStringLiteral("yyyyMMdd")))
                           .toUtf8();
            }
        }
        QStringList paragraphs;
        for (int i = 1; i <= NewstermWindowTest::storyParagraphs(h); ++i) {
            paragraphs.push_back(QStringLiteral("%1 第%2段：市場消息。").arg(h.title).arg(i));
        }
        out += QStringLiteral("{\"at\":%1,\"event\":\"headline\",\"service\":%2,\"seq\":%3,\"title\":\"%4\","
                              "\"symbols\":[\"%5\"],\"story\":\"%6\"}\n")
                   .arg(h.day * kSecondsPerDay + h.minute * 60)
                   .arg(h.service)
                   .arg(h.seq)
                   .arg(h.title, h.symbol, paragraphs.join(QStringLiteral("@@@@")))
                   .toUtf8();
    }
    return out;
}

} // namespace

const std::vector<FeedHeadline>& NewstermWindowTest::feed() {
    static const std::vector<FeedHeadline> headlines = makeFeed();
    return headlines;
}

NewstermWindowTest::NewstermWindowTest() = default;
NewstermWindowTest::~NewstermWindowTest() = default;

std::int64_t NewstermWindowTest::localSeconds(QDate day, int hour, int minute) {
    return QDateTime(day, QTime(hour, minute)).toSecsSinceEpoch();
}

void NewstermWindowTest::SetUp() {
    // The recording plays yesterday; the terminal then opens at noon today.
    TerminalStart start;
    start.feed = feedFile(feed());
    start.replayAt = localSeconds(kToday.addDays(-1), 9);
    start.openAt = localSeconds(kToday, 12);
    start.cached = feed().size();
    const QStringList problems = startTerminal(start);
    ASSERT_TRUE(problems.isEmpty()) << qPrintable(problems.join(QLatin1Char('\n')));
    embedded::EmbeddedBackend& backend = m_session->backend();
    ASSERT_TRUE(backend.replayReport().errors.empty()) << backend.replayReport().errors.front().message;
    ASSERT_NE(viewWidget(), nullptr) << "the news view is not in the window";
}

QStringList NewstermWindowTest::startTerminal(const TerminalStart& start) {
    [&] { ASSERT_TRUE(m_dir.isValid()); }();
    newsterm::TermOptions options;
    options.speed = start.generated ? 1 : 0;
    options.redis = start.redis;
    const bool replaying = !start.generated && start.redis.isEmpty();
    if (replaying) {
        options.feedFile = m_dir.filePath(QStringLiteral("feed.jsonl"));
        QFile file(options.feedFile);
        if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
            ADD_FAILURE() << "cannot write the feed";
            return {};
        }
        file.write(start.feed);
    }
    options.dataDir = m_dir.filePath(QStringLiteral("data"));
    options.language = start.language;
    options.resourcesDir = QStringLiteral(NEWS_RESOURCES_DIR);
    if (const QByteArray ini = applicationIni(); !ini.isEmpty()) {
        // A copy of the shipped resources with the test's own switches.
        options.resourcesDir = m_dir.filePath(QStringLiteral("resources"));
        copyTree(QStringLiteral(NEWS_RESOURCES_DIR), options.resourcesDir);
        QFile file(options.resourcesDir + QStringLiteral("/Application.ini"));
        if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(ini) != ini.size()) {
            return {QStringLiteral("cannot write the test's Application.ini")};
        }
    }

    m_clock.set(start.replayAt);
    m_termClock = std::make_unique<newsterm::TermClock>(m_clock);
    m_dispatcher = std::make_unique<qthost::QtUiDispatcher>();
    m_ui = std::make_unique<qthost::QtUiHost>();
    host::HostContext::current() = host::HostContext{m_ui.get(), m_termClock.get(), m_dispatcher.get()};
    m_session = std::make_unique<newsterm::BackendSession>(options, *m_dispatcher, *m_termClock);
    if (start.followNewsDays) {
        m_session->followNewsDays(*m_termClock);
    }
    QStringList problems = m_session->start();
    EXPECT_FALSE(m_session->feedFailed()) << qPrintable(problems.join(QLatin1Char('\n')));
    if (replaying) {
        EXPECT_TRUE(m_session->backend().waitReplayFinished(std::chrono::seconds(10)));
    }
    if (start.cached != 0) {
        EXPECT_TRUE(waitUntil([&] { return m_session->backend().cachedHeadlines() == start.cached; }, 10000));
    }
    drainEvents();
    m_clock.set(start.openAt);

    RegisterNewsModule();
    m_settings = std::make_unique<newsterm::TermSettings>(settingsPath());
    EXPECT_TRUE(m_settings->load().isEmpty());
    m_window = std::make_unique<newsterm::MainWindow>(*m_ui, *m_session, *m_settings, start.language);
    showActive(m_window.get());
    return problems;
}

void NewstermWindowTest::stopTerminal() {
    if (m_window) {
        m_window->close();
    }
    m_window.reset();
    drainEvents();
    // Answers still queued for the UI thread die with the dispatcher, before the back end.
    m_session.reset();
    m_dispatcher.reset();
    host::HostContext::current() = host::HostContext{};
    m_ui.reset();
    m_settings.reset();
    m_termClock.reset();
    drainEvents();
}

std::int64_t NewstermWindowTest::nowSeconds() const {
    return m_termClock->nowMs() / 1000;
}

void NewstermWindowTest::push(int service, int seq, const char* title, const char* symbol) {
    embedded::FeedEvent e;
    e.kind = embedded::FeedEventKind::Headline;
    e.service = static_cast<unsigned char>(service);
    e.seq = seq;
    e.time = nowSeconds();
    e.title = cp950::fromUtf8(title);
    e.symbols.push_back(CSymbolInfo{e.service, symbol, {}});
    m_session->backend().ingest({e});
}

QAction* NewstermWindowTest::action(const char* text) const {
    for (QAction* candidate : m_window->findChildren<QAction*>()) {
        if (candidate->text() == QString::fromUtf8(text)) {
            return candidate;
        }
    }
    ADD_FAILURE() << "no action " << text;
    return nullptr;
}

QString NewstermWindowTest::settingsPath() const {
    return m_dir.filePath(QStringLiteral("layout.cfg"));
}

void NewstermWindowTest::restartWindow() {
    m_window->close();
    m_window.reset();
    drainEvents();
    m_settings = std::make_unique<newsterm::TermSettings>(settingsPath());
    ASSERT_TRUE(m_settings->load().isEmpty());
    m_window = std::make_unique<newsterm::MainWindow>(*m_ui, *m_session, *m_settings, QStringLiteral("zh-TW"));
    showActive(m_window.get());
    ASSERT_NE(viewWidget(), nullptr) << "the news view is not in the restarted window";
}

void NewstermWindowTest::TearDown() {
    stopTerminal();
}

TRVNewsCtrlView& NewstermWindowTest::view() const {
    for (TRVQuoteBaseView* v : TRVQuoteBaseView::AllViews()) {
        if (auto* news = dynamic_cast<TRVNewsCtrlView*>(v)) {
            return *news;
        }
    }
    ADD_FAILURE() << "no news view";
    std::abort();
}

QWidget* NewstermWindowTest::viewWidget() const {
    for (TRVQuoteBaseView* v : TRVQuoteBaseView::AllViews()) {
        if (dynamic_cast<TRVNewsCtrlView*>(v) != nullptr && v->GetWnd() != nullptr) {
            return qthost::QtUiHost::widgetOf(v->GetWnd());
        }
    }
    return nullptr;
}

host::ui::Window* NewstermWindowTest::control(int id) const {
    return view().GetWnd()->child(id);
}

QWidget* NewstermWindowTest::controlWidget(int id) const {
    host::ui::Window* window = control(id);
    return window == nullptr ? nullptr : qthost::QtUiHost::widgetOf(window);
}

QTableView* NewstermWindowTest::grid(int mode) const {
    return widget<QTableView>(news::kIdFirstGrid + mode);
}

host::ui::CSuperSheetWnd* NewstermWindowTest::sheet(int mode) const {
    return dynamic_cast<host::ui::CSuperSheetWnd*>(control(news::kIdFirstGrid + mode));
}

int NewstermWindowTest::rowCount(int mode) const {
    const QTableView* table = grid(mode);
    return table == nullptr ? -1 : table->model()->rowCount();
}

QString NewstermWindowTest::cell(int mode, int row, int column) const {
    const QTableView* table = grid(mode);
    return table == nullptr ? QString() : table->model()->index(row, column).data().toString();
}

QString NewstermWindowTest::title(int mode, int row) const {
    return cell(mode, row, news::kColTitleThree);
}

int NewstermWindowTest::shownMode() const {
    int shown = -1;
    for (int mode = 0; mode < news::kModeCount; ++mode) {
        if (const QTableView* table = grid(mode); table != nullptr && table->isVisible()) {
            EXPECT_EQ(shown, -1) << "two grids are visible: " << shown << " and " << mode;
            shown = mode;
        }
    }
    return shown;
}

void NewstermWindowTest::click(QWidget* widget, QPoint pos, Qt::MouseButton button, Qt::KeyboardModifiers modifiers) {
    ASSERT_NE(widget, nullptr);
    if (pos == QPoint(-1, -1)) {
        pos = widget->rect().center();
    }
    QWidget* top = widget->window();
    ASSERT_NE(top->windowHandle(), nullptr);
    QTest::mouseClick(top->windowHandle(), button, modifiers, widget->mapTo(top, pos));
}

void NewstermWindowTest::pressKey(Qt::Key key, Qt::KeyboardModifiers modifiers) {
    QWindow* target = QGuiApplication::focusWindow();
    ASSERT_NE(target, nullptr) << "no window has the keyboard";
    QTest::keyClick(target, key, modifiers);
}

QWidget* NewstermWindowTest::openPopup() {
    QWidget* popup = nullptr;
    (void)waitUntil([&] {
        popup = QApplication::activePopupWidget();
        return popup != nullptr && popup->isVisible();
    });
    return popup;
}

bool NewstermWindowTest::noPopup() {
    return waitUntil([] { return QApplication::activePopupWidget() == nullptr; });
}

void NewstermWindowTest::clickTab(int mode) {
    auto* tabs = widget<QTabBar>(news::kIdTabStrip);
    auto* strip = dynamic_cast<host::ui::TabStrip*>(control(news::kIdTabStrip));
    ASSERT_TRUE(tabs != nullptr && strip != nullptr);
    for (int i = 0; i < strip->itemCount(); ++i) {
        if (strip->itemData(i) == mode) {
            click(tabs, tabs->tabRect(i).center());
            return;
        }
    }
    FAIL() << "no tab for mode " << mode;
}

QCalendarWidget* NewstermWindowTest::openCalendar() {
    auto* picker = widget<QDateEdit>(news::kIdDatePicker);
    QStyleOptionComboBox option;
    option.initFrom(picker);
    option.editable = true;
    option.subControls = QStyle::SC_All;
    const QRect arrow = picker->style()->subControlRect(QStyle::CC_ComboBox, &option, QStyle::SC_ComboBoxArrow, picker);
    click(picker, arrow.center());
    return openPopup() != nullptr ? picker->calendarWidget() : nullptr;
}

void NewstermWindowTest::clickDay(QCalendarWidget* calendar, int day) {
    auto* days = calendar->findChild<QTableView*>(QStringLiteral("qt_calendar_calendarview"));
    ASSERT_NE(days, nullptr);
    const QAbstractItemModel* model = days->model();
    // Rows 1 to 6 hold the weeks; a day in the middle of the month is shown once.
    for (int row = 1; row < model->rowCount(); ++row) {
        for (int column = 1; column < model->columnCount(); ++column) {
            const QModelIndex index = model->index(row, column);
            if (index.data().toString() == QString::number(day)) {
                click(days->viewport(), days->visualRect(index).center());
                return;
            }
        }
    }
    FAIL() << "day " << day << " is not in the calendar";
}

QDate NewstermWindowTest::pickerDate() const {
    return widget<QDateEdit>(news::kIdDatePicker)->date();
}

} // namespace qttest
