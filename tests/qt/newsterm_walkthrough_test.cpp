// The terminal driven the way a person drives it: real mouse clicks and key presses on the
// newsterm window, checked against what the window then shows.
#include <QAbstractItemView>
#include <QApplication>
#include <QCalendarWidget>
#include <QComboBox>
#include <QDateEdit>
#include <QDateTime>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QStyle>
#include <QStyleOptionComboBox>
#include <QTabBar>
#include <QTableView>
#include <QTest>
#include <map>
#include <set>
#include <utility>

#include <gtest/gtest.h>

#include "adapters/qt/qt_ui_host.h"
#include "adapters/qt/text_codec.h"
#include "apps/newsterm/flash_line.h"
#include "apps/newsterm/main_window.h"
#include "headline_list/headline_columns.h"
#include "host/framework/sync_info.h"
#include "host/ui/controls.h"
#include "host/ui/sheet.h"
#include "news_view/news_ctrl_view.h"
#include "news_view/news_ids.h"
#include "search/news_relate_symbol_quote_view.h"
#include "story/news_story_dlg.h"
#include "story/news_story_view.h"
#include "story/quote_dlg_tip_msg.h"
#include "tests/qt/newsterm_window_fixture.h"
#include "tests/qt/qt_test_support.h"

namespace {

using qttest::FeedHeadline;
using qttest::waitUntil;

class NewstermWalkthroughTest : public qttest::NewstermWindowTest {
protected:
    static bool today(const FeedHeadline& h) { return h.day == 1; }

    // The title of the newest headline of the feed that matches.
    template <class Pred> static QString newestTitle(Pred pred) {
        const FeedHeadline* newest = nullptr;
        for (const FeedHeadline& h : feed()) {
            if (pred(h) && (newest == nullptr || std::pair(h.day, h.minute) > std::pair(newest->day, newest->minute))) {
                newest = &h;
            }
        }
        return newest == nullptr ? QString() : newest->title;
    }

    // Waits until the grid of a mode holds rows headlines, the newest first.
    bool showsList(int mode, int rows, const QString& first) const {
        return waitUntil([&] { return rowCount(mode) == rows && title(mode, 0) == first; });
    }

    // Every written row of a mode's grid is about the symbol (and at least the first is written).
    bool allRowsAbout(int mode, const QString& symbol) const {
        const QString tag = QStringLiteral("(%1)").arg(symbol);
        if (rowCount(mode) <= 0 || !title(mode, 0).contains(tag)) {
            return false;
        }
        for (int row = 0; row < rowCount(mode); ++row) {
            const QString text = title(mode, row);
            if (!text.isEmpty() && !text.contains(tag)) {
                return false;
            }
        }
        return true;
    }

    QMenu* openServiceMenu() {
        click(widget<QPushButton>(news::kIdServiceButton));
        return qobject_cast<QMenu*>(openPopup());
    }

    static std::vector<bool> checkMarks(const QMenu& menu) {
        std::vector<bool> marks;
        for (const QAction* action : menu.actions()) {
            if (!action->isSeparator()) {
                marks.push_back(action->isChecked());
            }
        }
        return marks;
    }

    // Clicks the entry of a combo's open list whose text starts with prefix.
    void chooseFromList(QComboBox* combo, const QString& prefix) {
        click(combo);
        QWidget* popup = openPopup();
        ASSERT_NE(popup, nullptr) << "the list did not open";
        QAbstractItemView* list = combo->view();
        const int row = combo->findText(prefix, Qt::MatchStartsWith);
        ASSERT_GE(row, 0) << qPrintable(prefix);
        list->scrollTo(list->model()->index(row, 0));
        click(list->viewport(), list->visualRect(list->model()->index(row, 0)).center());
        ASSERT_TRUE(noPopup());
    }

    QString lastTip() const { return qthost::toQString(view().GetLastTipText()); }
    // The tip message window on screen: shown inside the all-news grid, with the last tip as
    // its text, on a background of its own.
    ::testing::AssertionResult tipShownOverGrid() const {
        const CQuoteDlgTipMsg* tip = view().GetTipMsg();
        QWidget* tipWidget = tip != nullptr ? qthost::QtUiHost::widgetOf(tip->GetWnd()) : nullptr;
        if (tipWidget == nullptr || !tipWidget->isVisible()) {
            return ::testing::AssertionFailure() << "no tip on screen with " << qPrintable(lastTip());
        }
        const QTableView* list = grid(news::kModeAllNews);
        const QRect gridArea(list->mapToGlobal(QPoint(0, 0)), list->size());
        const QRect tipArea(tipWidget->mapToGlobal(QPoint(0, 0)), tipWidget->size());
        if (!gridArea.contains(tipArea)) {
            return ::testing::AssertionFailure() << "the tip is not over the grid";
        }
        const auto* label = tipWidget->findChild<QLabel*>();
        if (label == nullptr || label->text() != lastTip()) {
            return ::testing::AssertionFailure() << "the tip shows " << (label ? qPrintable(label->text()) : "nothing");
        }
        if (tipWidget->isWindow() || tipWidget->focusPolicy() != Qt::NoFocus) {
            return ::testing::AssertionFailure() << "the tip must sit in the grid and never take the keyboard";
        }
        return ::testing::AssertionSuccess();
    }
    static QString lang(const char* utf8) { return QString::fromUtf8(utf8); }

    // Focus row of a mode's grid and whether it is on screen.
    int focusRow(int mode) const { return sheet(mode)->cptGetFocusNdx().y; }
    bool focusRowVisible(int mode) const {
        const QTableView* table = grid(mode);
        const QRect cellRect = table->visualRect(table->model()->index(focusRow(mode), 0));
        return table->viewport()->rect().contains(cellRect);
    }

    // How the story of a feed headline starts in a story display: its first paragraph, a line
    // break where the feed marked one ("@@@@"), the second paragraph.
    static QString storyStart(const QString& title) {
        return title + QStringLiteral(" 第1段：市場消息。\r\n") + title + QStringLiteral(" 第2段");
    }
    // The story pane's widget and the text of its story control.
    QWidget* storyPane() const {
        const NewsStoryView* pane = view().GetStoryPane();
        return pane != nullptr ? qthost::QtUiHost::widgetOf(pane->GetWnd()) : nullptr;
    }
    QString paneStory() const {
        const NewsStoryView* pane = view().GetStoryPane();
        return pane != nullptr ? qthost::toQString(pane->GetStoryControl()->text()) : QString();
    }
    QString paneTitle() const {
        const NewsStoryView* pane = view().GetStoryPane();
        return pane != nullptr ? qthost::toQString(pane->GetTitleControl()->text()) : QString();
    }

    void clickRow(int mode, int row) {
        QTableView* table = grid(mode);
        click(table->viewport(), table->visualRect(table->model()->index(row, news::kColTitleThree)).center());
    }
};

TEST_F(NewstermWalkthroughTest, ServiceMenuTogglesServicesWithCheckMarksButNeverTheLastOne) {
    const int all = countFeed(today);
    const int hongKong = countFeed([](const FeedHeadline& h) { return today(h) && h.service == 22; });
    const int emerging = countFeed([](const FeedHeadline& h) { return today(h) && h.service == 122; });
    ASSERT_TRUE(showsList(news::kModeAllNews, all, newestTitle(today)));

    QMenu* menu = openServiceMenu();
    ASSERT_NE(menu, nullptr) << "the service button opened no menu";
    ASSERT_EQ(menu->actions().size(), 3) << "one item per service, the warrant service has a tab of its own";
    EXPECT_EQ(menu->actions()[2]->text(), lang("香港股市新聞"));
    EXPECT_EQ(checkMarks(*menu), (std::vector<bool>{true, true, true}));

    // Hong Kong off with the mouse: its headlines leave the list.
    click(menu, menu->actionGeometry(menu->actions()[2]).center());
    ASSERT_TRUE(noPopup());
    EXPECT_TRUE(showsList(news::kModeAllNews, all - hongKong,
                          newestTitle([](const FeedHeadline& h) { return today(h) && h.service != 22; })));
    menu = openServiceMenu();
    ASSERT_NE(menu, nullptr);
    EXPECT_EQ(checkMarks(*menu), (std::vector<bool>{true, true, false}));

    // The emerging market off with the keyboard.
    pressKey(Qt::Key_Down);
    pressKey(Qt::Key_Down);
    EXPECT_EQ(menu->activeAction(), menu->actions()[1]);
    pressKey(Qt::Key_Return);
    ASSERT_TRUE(noPopup());
    const int exchangeOnly = all - hongKong - emerging;
    const QString newestExchange = newestTitle([](const FeedHeadline& h) { return today(h) && h.service == 16; });
    EXPECT_TRUE(showsList(news::kModeAllNews, exchangeOnly, newestExchange));

    // The last checked service stays checked and the list stays as it is.
    menu = openServiceMenu();
    ASSERT_NE(menu, nullptr);
    EXPECT_EQ(checkMarks(*menu), (std::vector<bool>{true, false, false}));
    click(menu, menu->actionGeometry(menu->actions()[0]).center());
    ASSERT_TRUE(noPopup());
    qttest::drainEvents();
    EXPECT_EQ(rowCount(news::kModeAllNews), exchangeOnly);
    EXPECT_EQ(title(news::kModeAllNews, 0), newestExchange);
    menu = openServiceMenu();
    ASSERT_NE(menu, nullptr);
    EXPECT_EQ(checkMarks(*menu), (std::vector<bool>{true, false, false})) << "the last check mark stays";

    // Checking a service again brings its news back.
    click(menu, menu->actionGeometry(menu->actions()[2]).center());
    ASSERT_TRUE(noPopup());
    const QString newestKept = newestTitle([](const FeedHeadline& h) { return today(h) && h.service != 122; });
    EXPECT_TRUE(showsList(news::kModeAllNews, exchangeOnly + hongKong, newestKept));

    // Escape closes the menu and changes nothing.
    menu = openServiceMenu();
    ASSERT_NE(menu, nullptr);
    EXPECT_EQ(checkMarks(*menu), (std::vector<bool>{true, false, true}));
    pressKey(Qt::Key_Escape);
    ASSERT_TRUE(noPopup());
    qttest::drainEvents();
    EXPECT_EQ(rowCount(news::kModeAllNews), exchangeOnly + hongKong);
    EXPECT_EQ(title(news::kModeAllNews, 0), newestKept);
}

TEST_F(NewstermWalkthroughTest, TabsSwitchModesAndShowTheControlsOfEach) {
    // The controls each mode shows; every other control of the row is hidden.
    const std::map<int, std::set<int>> shown{
        {news::kModeAllNews, {news::kIdServiceButton, news::kIdDatePicker}},
        {news::kModeCategory, {news::kIdServiceButton, news::kIdCategoryCombo}},
        {news::kModeSymbol, {news::kIdServiceButton, news::kIdServiceCombo, news::kIdSymbolCombo}},
        {news::kModeSearch,
         {news::kIdServiceButton, news::kIdSearchEdit, news::kIdSearchButton, news::kIdDealsSearchButton}},
        {news::kModeWarrant, {}},
        {news::kModeWarningSearch, {news::kIdWarningSearchButton}},
    };
    const int rowControls[] = {news::kIdServiceButton,      news::kIdDatePicker,        news::kIdCategoryCombo,
                               news::kIdServiceCombo,       news::kIdSymbolCombo,       news::kIdSearchEdit,
                               news::kIdSearchButton,       news::kIdDealsSearchButton, news::kIdRelationSearchButton,
                               news::kIdWarningSearchButton};
    auto* tabs = widget<QTabBar>(news::kIdTabStrip);
    ASSERT_NE(tabs, nullptr);
    ASSERT_EQ(tabs->count(), static_cast<int>(shown.size()));

    // Every other tab, then back to the first, as a person tries them out.
    std::vector<int> order;
    for (const auto& [mode, ids] : shown) {
        if (mode != news::kModeAllNews) {
            order.push_back(mode);
        }
    }
    order.push_back(news::kModeAllNews);
    for (const int mode : order) {
        clickTab(mode);
        EXPECT_EQ(shownMode(), mode) << "the grid of mode " << mode;
        EXPECT_EQ(view().iGetCurrFunction(), mode);
        for (const int id : rowControls) {
            const QWidget* w = controlWidget(id);
            ASSERT_NE(w, nullptr) << "control " << id;
            EXPECT_EQ(w->isVisible(), shown.at(mode).count(id) == 1) << "control " << id << " in mode " << mode;
        }
        EXPECT_EQ(QApplication::focusWidget(), grid(mode)) << "the keyboard goes to the list of mode " << mode;
    }
    EXPECT_EQ(rowCount(news::kModeAllNews), countFeed(today));
}

TEST_F(NewstermWalkthroughTest, SymbolTabCombosChangeTheListByMouseAndKeyboard) {
    clickTab(news::kModeSymbol);
    auto* services = widget<QComboBox>(news::kIdServiceCombo);
    auto* symbols = widget<QComboBox>(news::kIdSymbolCombo);
    ASSERT_TRUE(services != nullptr && symbols != nullptr);
    EXPECT_EQ(services->currentText(), lang("台灣證券"));
    EXPECT_TRUE(symbols->currentText().startsWith(QStringLiteral("2330 ")))
        << "a fresh terminal follows its first-start symbol: " << qPrintable(symbols->currentText());
    const auto about = [](int service, const char* symbol) {
        return countFeed(
            [=](const FeedHeadline& h) { return h.service == service && h.symbol == QLatin1String(symbol); });
    };

    // The symbols come sorted by code.
    for (int i = 1; i < symbols->count(); ++i) {
        ASSERT_LT(symbols->itemText(i - 1).section(QLatin1Char(' '), 0, 0),
                  symbols->itemText(i).section(QLatin1Char(' '), 0, 0));
    }

    // A symbol picked from the open list with the mouse.
    chooseFromList(symbols, QStringLiteral("2308 "));
    EXPECT_TRUE(symbols->currentText().startsWith(QStringLiteral("2308 ")));
    EXPECT_TRUE(waitUntil([&] { return rowCount(news::kModeSymbol) == about(16, "2308"); }));

    // The arrow keys are the news list's wherever the keyboard is in the view: on the closed box
    // they leave the symbol as it is (kept: traders page the news with them from anywhere).
    ASSERT_EQ(QApplication::focusWidget(), symbols);
    const int current = symbols->currentIndex();
    pressKey(Qt::Key_Down);
    pressKey(Qt::Key_Down, Qt::AltModifier);
    qttest::drainEvents();
    EXPECT_EQ(symbols->currentIndex(), current);
    EXPECT_TRUE(noPopup());

    // The next symbol with the keyboard in the list opened by the mouse.
    const int next = current + 1;
    ASSERT_TRUE(symbols->itemText(next).startsWith(QStringLiteral("2317 "))) << qPrintable(symbols->itemText(next));
    click(symbols);
    ASSERT_NE(openPopup(), nullptr);
    pressKey(Qt::Key_Down);
    pressKey(Qt::Key_Return);
    ASSERT_TRUE(noPopup());
    EXPECT_EQ(symbols->currentIndex(), next);
    EXPECT_TRUE(waitUntil([&] { return rowCount(news::kModeSymbol) == about(16, "2317"); }))
        << "the symbol chosen with the keyboard did not change the list";
    EXPECT_TRUE(allRowsAbout(news::kModeSymbol, QStringLiteral("2317")));

    // Another market: its symbols replace the list of the symbol box.
    chooseFromList(services, lang("興櫃"));
    EXPECT_EQ(services->currentText(), lang("興櫃股票"));
    EXPECT_TRUE(waitUntil([&] { return symbols->findText(QStringLiteral("7721 "), Qt::MatchStartsWith) >= 0; }));
    EXPECT_EQ(symbols->findText(QStringLiteral("2330 "), Qt::MatchStartsWith), -1);

    // Its first symbol with the keyboard in the open list.
    click(symbols);
    ASSERT_NE(openPopup(), nullptr);
    const int target = symbols->findText(QStringLiteral("7721 "), Qt::MatchStartsWith);
    for (int step = 0; step <= symbols->count() && symbols->view()->currentIndex().row() != target; ++step) {
        pressKey(Qt::Key_Down);
    }
    ASSERT_EQ(symbols->view()->currentIndex().row(), target);
    pressKey(Qt::Key_Return);
    ASSERT_TRUE(noPopup());
    EXPECT_TRUE(symbols->currentText().startsWith(QStringLiteral("7721 ")));
    EXPECT_TRUE(waitUntil([&] { return rowCount(news::kModeSymbol) == about(122, "7721"); }));
    EXPECT_TRUE(allRowsAbout(news::kModeSymbol, QStringLiteral("7721")));
}

TEST_F(NewstermWalkthroughTest, DatePickerLoadsTheChosenDayAndPutsBackDaysOutOfRange) {
    const QDate yesterday = kToday.addDays(-1);
    const int todayRows = countFeed(today);
    const QString todayFirst = newestTitle(today);
    ASSERT_EQ(pickerDate(), kToday);
    ASSERT_TRUE(showsList(news::kModeAllNews, todayRows, todayFirst));

    // Yesterday, clicked in the calendar.
    QCalendarWidget* calendar = openCalendar();
    ASSERT_NE(calendar, nullptr) << "the calendar did not open";
    clickDay(calendar, yesterday.day());
    ASSERT_TRUE(noPopup());
    EXPECT_EQ(pickerDate(), yesterday);
    EXPECT_TRUE(showsList(news::kModeAllNews, countFeed([](const FeedHeadline& h) { return h.day == 0; }),
                          newestTitle([](const FeedHeadline& h) { return h.day == 0; })));

    // The arrow keys in the date field are the news list's: the day stays (kept: the view pages
    // the news with them wherever the keyboard is).
    auto* field = widget<QDateEdit>(news::kIdDatePicker)->findChild<QLineEdit*>();
    ASSERT_NE(field, nullptr);
    click(field, QPoint(field->width() - 3, field->height() / 2));
    ASSERT_EQ(QApplication::focusWidget(), widget<QDateEdit>(news::kIdDatePicker));
    pressKey(Qt::Key_Up);
    EXPECT_EQ(pickerDate(), yesterday);

    // Today again, chosen with the keyboard in the calendar.
    calendar = openCalendar();
    ASSERT_NE(calendar, nullptr);
    pressKey(Qt::Key_Right);
    pressKey(Qt::Key_Return);
    ASSERT_TRUE(noPopup());
    EXPECT_EQ(pickerDate(), kToday);
    EXPECT_TRUE(showsList(news::kModeAllNews, todayRows, todayFirst));
    EXPECT_TRUE(lastTip().isEmpty()) << qPrintable(lastTip());

    // One day more is tomorrow: refused with a tip, the picker shows today again.
    calendar = openCalendar();
    ASSERT_NE(calendar, nullptr);
    pressKey(Qt::Key_Right);
    pressKey(Qt::Key_Return);
    ASSERT_TRUE(noPopup());
    EXPECT_EQ(lastTip(), lang("不能選擇今天以後的日期"));
    EXPECT_TRUE(tipShownOverGrid());
    EXPECT_EQ(pickerDate(), kToday);
    EXPECT_TRUE(showsList(news::kModeAllNews, todayRows, todayFirst));

    // A month back, chosen with the keyboard in the calendar: older than the kept range.
    calendar = openCalendar();
    ASSERT_NE(calendar, nullptr);
    pressKey(Qt::Key_PageUp);
    EXPECT_EQ(calendar->selectedDate(), kToday.addMonths(-1));
    pressKey(Qt::Key_Return);
    ASSERT_TRUE(noPopup());
    EXPECT_EQ(lastTip(), lang("只能選擇最近29天內的日期"));
    EXPECT_TRUE(tipShownOverGrid());
    EXPECT_EQ(pickerDate(), kToday);
    EXPECT_TRUE(showsList(news::kModeAllNews, todayRows, todayFirst));
}

TEST_F(NewstermWalkthroughTest, WhileTheCalendarIsOpenClicksElsewhereDoNothing) {
    const int todayRows = countFeed(today);
    ASSERT_TRUE(showsList(news::kModeAllNews, todayRows, newestTitle(today)));

    // Browsing the open calendar loads nothing yet.
    QCalendarWidget* calendar = openCalendar();
    ASSERT_NE(calendar, nullptr);
    pressKey(Qt::Key_Left);
    EXPECT_EQ(calendar->selectedDate(), kToday.addDays(-1));
    qttest::drainEvents();
    EXPECT_EQ(rowCount(news::kModeAllNews), todayRows) << "a day browsed in the open calendar is not loaded";

    // A click on another tab only closes the calendar; the day it shows then is the one loaded.
    clickTab(news::kModeCategory);
    ASSERT_TRUE(noPopup());
    qttest::drainEvents(); // a click passed on to the window below would arrive now
    EXPECT_EQ(view().iGetCurrFunction(), news::kModeAllNews);
    EXPECT_EQ(shownMode(), news::kModeAllNews);
    EXPECT_EQ(widget<QTabBar>(news::kIdTabStrip)->currentIndex(), 0);
    EXPECT_FALSE(controlWidget(news::kIdCategoryCombo)->isVisible());
    EXPECT_EQ(pickerDate(), kToday.addDays(-1));
    const int yesterdayRows = countFeed([](const FeedHeadline& h) { return h.day == 0; });
    EXPECT_TRUE(
        showsList(news::kModeAllNews, yesterdayRows, newestTitle([](const FeedHeadline& h) { return h.day == 0; })));

    // A click on the service button only closes the calendar: no menu opens.
    clickRow(news::kModeAllNews, 2);
    ASSERT_EQ(focusRow(news::kModeAllNews), 2);
    ASSERT_NE(openCalendar(), nullptr);
    click(widget<QPushButton>(news::kIdServiceButton));
    ASSERT_TRUE(noPopup());
    qttest::drainEvents();
    EXPECT_EQ(QApplication::activePopupWidget(), nullptr) << "the service menu opened";

    // Nor does a click on another row of the list select it.
    ASSERT_NE(openCalendar(), nullptr);
    clickRow(news::kModeAllNews, 4);
    ASSERT_TRUE(noPopup());
    qttest::drainEvents();
    EXPECT_EQ(focusRow(news::kModeAllNews), 2);
    EXPECT_EQ(rowCount(news::kModeAllNews), yesterdayRows);
    EXPECT_EQ(pickerDate(), kToday.addDays(-1));
}

TEST_F(NewstermWalkthroughTest, ShowTypeButtonCyclesTheStoryLayout) {
    auto* button = widget<QPushButton>(news::kIdShowTypeButton);
    ASSERT_NE(button, nullptr);
    QWidget* area = viewWidget();
    QTableView* list = grid(news::kModeAllNews);
    QWidget* pane = storyPane();
    ASSERT_NE(pane, nullptr);

    // A fresh terminal reads beside the list, on the newest story.
    EXPECT_EQ(view().GetStoryShowType(), 1);
    EXPECT_NEAR(list->geometry().width(), area->width() / 2, 1) << "the list keeps the left half";
    EXPECT_TRUE(pane->isVisible());
    EXPECT_GT(pane->geometry().left(), list->geometry().right());
    EXPECT_TRUE(waitUntil([&] { return paneStory().contains(storyStart(newestTitle(today))); }))
        << qPrintable(paneStory());
    EXPECT_TRUE(paneTitle().contains(newestTitle(today))) << "the headline is there, only not shown beside the list";
    const QRect beside = list->geometry();

    // Layout 2: the story below the list.
    click(button);
    EXPECT_EQ(view().GetStoryShowType(), 2);
    EXPECT_EQ(list->geometry().width(), area->width());
    EXPECT_LT(list->geometry().bottom(), area->height() - 100) << "room for the story below";
    EXPECT_GT(pane->geometry().top(), list->geometry().bottom());
    EXPECT_EQ(QApplication::focusWidget(), list) << "the keyboard goes back to the list";

    // Layout 0: the list alone.
    click(button);
    EXPECT_EQ(view().GetStoryShowType(), 0);
    EXPECT_EQ(list->geometry().right(), area->width() - 1) << "without a story the list takes the whole width";
    EXPECT_EQ(list->geometry().bottom(), area->height() - 1) << "and the whole height";
    EXPECT_FALSE(pane->isVisible());
    EXPECT_EQ(QApplication::focusWidget(), list);

    // And round again to the story beside the list.
    click(button);
    EXPECT_EQ(view().GetStoryShowType(), 1);
    EXPECT_EQ(list->geometry(), beside);
}

} // namespace

namespace {

class NewstermReadingTest : public NewstermWalkthroughTest {
protected:
    // The story the pane shows is the one of a row of the all-news list: its title, then the
    // second paragraph on a line of its own.
    ::testing::AssertionResult paneShowsRow(int row) const {
        // Rows on screen are written by the view's deferred refresh.
        if (!waitUntil([&] { return !title(news::kModeAllNews, row).isEmpty(); })) {
            return ::testing::AssertionFailure() << "row " << row << " was never written";
        }
        const QString expected = storyStart(title(news::kModeAllNews, row));
        if (!waitUntil([&] { return paneStory().contains(expected); })) {
            return ::testing::AssertionFailure()
                   << "row " << row << " (" << qPrintable(expected) << "): the pane shows " << qPrintable(paneStory());
        }
        return ::testing::AssertionSuccess();
    }
    QWidget* storyWindow() const {
        const TRVNewsStory* window = view().GetStoryDlg();
        return window != nullptr ? qthost::QtUiHost::widgetOf(window->GetWnd()) : nullptr;
    }
    QString windowStory() const { return qthost::toQString(view().GetStoryDlg()->GetStoryControl()->text()); }
};

TEST_F(NewstermReadingTest, ReadFiveStoriesWithTheKeyboardAlone) {
    const int rows = countFeed(today);
    ASSERT_TRUE(showsList(news::kModeAllNews, rows, newestTitle(today)));
    // The terminal opens on the newest story, with the keyboard in the list.
    ASSERT_TRUE(waitUntil([&] { return QApplication::focusWidget() == grid(news::kModeAllNews); }));
    EXPECT_EQ(focusRow(news::kModeAllNews), 0);
    EXPECT_TRUE(paneShowsRow(0));

    // Down, story by story.
    for (int row = 1; row < 5; ++row) {
        pressKey(Qt::Key_Down);
        EXPECT_EQ(focusRow(news::kModeAllNews), row);
        EXPECT_TRUE(paneShowsRow(row));
    }
    // A page further (the list scrolls to it), the last, a page back, the first, and back up
    // one from the second; the top row is the top.
    const int page = sheet(news::kModeAllNews)->iGetRowsPerPage();
    ASSERT_LT(page + 6, rows) << "the test needs a list longer than a page";
    pressKey(Qt::Key_PageDown);
    EXPECT_EQ(focusRow(news::kModeAllNews), 4 + page);
    EXPECT_TRUE(focusRowVisible(news::kModeAllNews));
    EXPECT_GT(sheet(news::kModeAllNews)->iGetFirstVisibleRow(), 0);
    EXPECT_TRUE(paneShowsRow(4 + page));
    pressKey(Qt::Key_End);
    EXPECT_EQ(focusRow(news::kModeAllNews), rows - 1);
    EXPECT_TRUE(focusRowVisible(news::kModeAllNews));
    EXPECT_TRUE(paneShowsRow(rows - 1)) << "rows scrolled into view are written";
    pressKey(Qt::Key_PageUp);
    EXPECT_EQ(focusRow(news::kModeAllNews), rows - 1 - page);
    pressKey(Qt::Key_Home);
    EXPECT_EQ(sheet(news::kModeAllNews)->iGetFirstVisibleRow(), 0);
    EXPECT_TRUE(paneShowsRow(0));
    pressKey(Qt::Key_Down);
    pressKey(Qt::Key_Up);
    pressKey(Qt::Key_Up);
    EXPECT_EQ(focusRow(news::kModeAllNews), 0);
    EXPECT_TRUE(paneShowsRow(0));
    // Enter shows the focused row's story again.
    pressKey(Qt::Key_Return);
    EXPECT_TRUE(paneShowsRow(0));
    EXPECT_EQ(QApplication::focusWidget(), grid(news::kModeAllNews)) << "the keyboard never left the list";

    // A click in the date field takes the keyboard; a click on a row brings it back to the list.
    auto* field = widget<QDateEdit>(news::kIdDatePicker)->findChild<QLineEdit*>();
    ASSERT_NE(field, nullptr);
    click(field);
    ASSERT_NE(QApplication::focusWidget(), grid(news::kModeAllNews));
    clickRow(news::kModeAllNews, 2);
    EXPECT_EQ(QApplication::focusWidget(), grid(news::kModeAllNews));
    pressKey(Qt::Key_Down);
    EXPECT_EQ(focusRow(news::kModeAllNews), 3);
}

TEST_F(NewstermReadingTest, WithoutThePaneStoriesOpenInTheirOwnWindow) {
    const int rows = countFeed(today);
    ASSERT_TRUE(showsList(news::kModeAllNews, rows, newestTitle(today)));
    auto* showType = widget<QPushButton>(news::kIdShowTypeButton);
    click(showType);
    click(showType);
    ASSERT_EQ(view().GetStoryShowType(), 0);
    QWidget* window = storyWindow();
    ASSERT_NE(window, nullptr);
    EXPECT_FALSE(window->isVisible());

    // A double-click opens the row's story in a window of its own, on top.
    QTableView* table = grid(news::kModeAllNews);
    QTest::mouseDClick(table->viewport(), Qt::LeftButton, Qt::NoModifier,
                       table->visualRect(table->model()->index(3, news::kColTitleThree)).center());
    ASSERT_TRUE(waitUntil([&] { return window->isVisible(); }));
    EXPECT_TRUE(window->isWindow());
    EXPECT_TRUE(window->windowFlags().testFlag(Qt::WindowStaysOnTopHint));
    EXPECT_TRUE(waitUntil([&] { return windowStory().contains(title(news::kModeAllNews, 3)); }));

    // Its buttons read print, save-as, next, previous; next moves the list with it.
    const auto button = [&](int id) {
        return qobject_cast<QPushButton*>(qthost::QtUiHost::widgetOf(view().GetStoryDlg()->GetWnd()->child(id)));
    };
    EXPECT_LT(button(news::kIdPrintButton)->x(), button(news::kIdSaveAsButton)->x());
    EXPECT_LT(button(news::kIdSaveAsButton)->x(), button(8068)->x());
    EXPECT_LT(button(8068)->x(), button(8067)->x());
    click(button(8068));
    EXPECT_EQ(focusRow(news::kModeAllNews), 4);
    EXPECT_TRUE(waitUntil([&] { return windowStory().contains(title(news::kModeAllNews, 4)); }));

    // The View menu's setting makes it an ordinary window.
    QAction* onTop =
        window->window() != nullptr ? this->window().findChild<QAction*>(QStringLiteral("storyWindowOnTop")) : nullptr;
    ASSERT_NE(onTop, nullptr);
    onTop->trigger();
    EXPECT_FALSE(window->windowFlags().testFlag(Qt::WindowStaysOnTopHint));
    EXPECT_TRUE(window->isVisible()) << "changing its z-order keeps it on screen";

    // Escape in it closes it.
    QTest::keyClick(window, Qt::Key_Escape);
    EXPECT_TRUE(waitUntil([&] { return !window->isVisible(); }));

    // The context menu of a row offers the detailed story, which opens the window again.
    click(table->viewport(), table->visualRect(table->model()->index(1, news::kColTitleThree)).center(),
          Qt::RightButton);
    auto* menu = qobject_cast<QMenu*>(openPopup());
    ASSERT_NE(menu, nullptr);
    QStringList items;
    for (const QAction* action : menu->actions()) {
        items << (action->isSeparator() ? QStringLiteral("---") : action->text());
    }
    EXPECT_EQ(items, (QStringList{lang("顯示類別欄"), QStringLiteral("---"), lang("重新取得新聞列表"),
                                  lang("重新取得新聞內容"), lang("詳細內容"), lang("列印新聞"), lang("另存新聞")}));
    click(menu, menu->actionGeometry(menu->actions()[4]).center());
    ASSERT_TRUE(noPopup());
    EXPECT_TRUE(waitUntil([&] { return window->isVisible(); }));
    EXPECT_TRUE(waitUntil([&] { return windowStory().contains(title(news::kModeAllNews, 1)); }));
}

TEST_F(NewstermReadingTest, TheFlashLineOpensTheNewestStoryInTheBareViewer) {
    newsterm::FlashLine& flash = window().flashLine();
    EXPECT_FALSE(flash.button()->isVisible()) << "nothing flashed before news arrives";
    const FeedHeadline* newest = nullptr;
    for (const FeedHeadline& h : feed()) {
        if (today(h) && (newest == nullptr || h.minute > newest->minute)) {
            newest = &h;
        }
    }
    ASSERT_NE(newest, nullptr);
    CHeadline pushed;
    pushed.m_byService = static_cast<unsigned char>(newest->service);
    pushed.m_iSeqNo = newest->seq;
    pushed.m_tTime = QDateTime(kToday, QTime(9, 0)).addSecs(newest->minute * 60).toSecsSinceEpoch();
    pushed.m_strTitle = qthost::fromQString(newest->title);
    flash.RecvNewHeadLine(&pushed, "", "");
    ASSERT_TRUE(waitUntil([&] { return flash.button()->isVisible(); }));
    EXPECT_TRUE(flash.button()->text().contains(newest->title));

    click(flash.button());
    ASSERT_NE(flash.viewer(), nullptr);
    QWidget* viewer = qthost::QtUiHost::widgetOf(flash.viewer()->GetWnd());
    ASSERT_TRUE(waitUntil([&] { return viewer->isVisible(); }));
    const QString story = qthost::toQString(flash.viewer()->GetStoryControl()->text());
    EXPECT_TRUE(story.contains(storyStart(newest->title))) << qPrintable(story);
    EXPECT_FALSE(qthost::QtUiHost::widgetOf(flash.viewer()->GetWnd()->child(8068))->isVisible())
        << "the bare viewer has no buttons";
}

} // namespace

namespace {

TEST_F(NewstermReadingTest, TheStorysSymbolShowsItsLiveQuoteAndADoubleClickLinksIt) {
    const int rows = countFeed(today);
    ASSERT_TRUE(showsList(news::kModeAllNews, rows, newestTitle(today)));
    ASSERT_TRUE(paneShowsRow(0));
    // The newest headlines are emerging-board and Hong Kong news; the next one is the newest
    // of the exchange, about a listed symbol.
    const int row = countFeed([](const FeedHeadline& h) { return h.day == 1 && h.service != 16; });
    ASSERT_TRUE(waitUntil([&] { return title(news::kModeAllNews, row).startsWith(QStringLiteral("T16")); }));
    const QString code = title(news::kModeAllNews, row).section(QLatin1Char('('), 1).chopped(1);
    QTableView* table = grid(news::kModeAllNews);
    click(table->viewport(), table->visualRect(table->model()->index(row, news::kColTitleThree)).center());
    ASSERT_TRUE(paneShowsRow(row));

    CNewsRelateSymbolQuoteView* list = view().GetRelateQuoteView();
    ASSERT_NE(list, nullptr);
    auto* quotes = qobject_cast<QTableView*>(qthost::QtUiHost::widgetOf(list->GetGrid()));
    ASSERT_NE(quotes, nullptr);
    EXPECT_TRUE(quotes->isVisible());
    const auto cell = [&](int column) { return quotes->model()->index(0, column).data().toString(); };
    ASSERT_TRUE(waitUntil([&] { return quotes->model()->rowCount() == 1 && cell(0) == code; }));
    // The simulated exchange trades every listed symbol a few times a minute: wait for one.
    EXPECT_TRUE(waitUntil([&] { return !cell(QuoteListBaseView::kColLast).isEmpty(); }, 20000))
        << "no trade of " << qPrintable(code);

    // A double-click on the quote makes it the link group's symbol; the news view follows it.
    QTest::mouseDClick(quotes->viewport(), Qt::LeftButton, Qt::NoModifier,
                       quotes->visualRect(quotes->model()->index(0, QuoteListBaseView::kColName)).center());
    EXPECT_TRUE(waitUntil([&] { return qthost::toQString(view().GetSymbolCode()) == code; }));
    EXPECT_EQ(qthost::toQString(CSyncInfo::Get().SYS_cszGetCurrentSymbol(view().GetLinkGroup())), code);
}

} // namespace
