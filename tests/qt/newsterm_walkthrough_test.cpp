// The terminal driven the way a person drives it: real mouse clicks and key presses on the
// newsterm window, checked against what the window then shows.
#include "tests/qt/newsterm_walkthrough_fixture.h"

namespace {

using qttest::FeedHeadline;
using qttest::NewstermWalkthroughTest;
using qttest::waitUntil;

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
