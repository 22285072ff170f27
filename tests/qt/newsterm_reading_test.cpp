// Reading stories in the terminal window: the keyboard through the list, the story pane,
// the story window, the flash line and the quote of a story's symbol.
#include "tests/qt/newsterm_walkthrough_fixture.h"

namespace {

using qttest::FeedHeadline;
using qttest::NewstermWalkthroughTest;
using qttest::waitUntil;

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