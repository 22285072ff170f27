// The terminal losing its link and getting it back, its recovery commands, its colour schemes,
// and its settings across a restart, on the real newsterm window.
#include <QAction>
#include <QDateTime>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QStatusBar>
#include <QTableView>
#include <QTest>
#include <QToolBar>

#include <gtest/gtest.h>

#include "apps/newsterm/backend_session.h"
#include "apps/newsterm/main_window.h"
#include "embedded_backend/embedded_backend.h"
#include "headline_list/headline_columns.h"
#include "host/framework/cfg_store.h"
#include "host/framework/sync_info.h"
#include "news_view/news_ctrl_view.h"
#include "news_view/news_ids.h"
#include "tests/qt/newsterm_window_fixture.h"
#include "tests/qt/qt_test_support.h"

namespace {

using qttest::waitUntil;

class NewstermRecoveryTest : public qttest::NewstermWindowTest {
protected:
    QString status() const { return window().statusBar()->currentMessage(); }
    QAction* action(const char* name) const { return window().findChild<QAction*>(QString::fromLatin1(name)); }
    // A click on the toolbar's link button: down when up, up when down.
    void clickLink() {
        auto* bar = window().findChild<QToolBar*>(QStringLiteral("mainToolbar"));
        ASSERT_NE(bar, nullptr);
        QAction* link = action("linkAction");
        ASSERT_NE(link, nullptr);
        click(bar->widgetForAction(link));
    }
    static embedded::FeedEvent headline(int service, int seq, int minute, bool lost = false) {
        embedded::FeedEvent e;
        e.kind = embedded::FeedEventKind::Headline;
        e.service = static_cast<unsigned char>(service);
        e.seq = seq;
        e.time = QDateTime(kToday, QTime(12, 0)).toSecsSinceEpoch() + minute * 60;
        e.title = "BURST-" + std::to_string(service) + "-" + std::to_string(seq);
        e.symbols.push_back(CSymbolInfo{e.service, "2330", {}});
        e.lost = lost;
        return e;
    }
    // The all-news list as the view holds it and the rows on its first page as painted.
    struct Shown {
        std::vector<CHeadlineTable> entries;
        std::vector<QString> cells;
        bool operator==(const Shown&) const = default;
    };
    Shown shown() const {
        Shown s;
        s.entries = view().GetTable(news::kModeAllNews)->toVector();
        for (int row = 0; row < std::min(rowCount(news::kModeAllNews), 20); ++row) {
            for (int column = 0; column < 3; ++column) {
                s.cells.push_back(cell(news::kModeAllNews, row, column));
            }
        }
        return s;
    }
    static std::vector<std::string> lines(const CfgFileStore& store) {
        std::vector<std::string> out;
        for (const CfgFileStore::Entry& e : store.entries()) {
            out.push_back(e.key + " = " + e.value);
        }
        return out;
    }
    bool firstPageWritten() const {
        const int rows = std::min(rowCount(news::kModeAllNews), 20);
        for (int row = 0; row < rows; ++row) {
            if (title(news::kModeAllNews, row).isEmpty()) {
                return false;
            }
        }
        return rows > 0;
    }
};

TEST_F(NewstermRecoveryTest, ADisconnectABurstAndAReconnectEndWithTheRowsOfATerminalThatNeverLostItsLink) {
    const int before = rowCount(news::kModeAllNews);
    ASSERT_GT(before, 0);
    clickLink();
    EXPECT_TRUE(status().contains(QStringLiteral("已中斷連線"))) << qPrintable(status());
    EXPECT_EQ(session().backend().bIsConnect(), 0);

    // A burst while the link is down, one headline of it lost on the way besides.
    std::vector<embedded::FeedEvent> burst;
    for (int i = 0; i < 30; ++i) {
        burst.push_back(headline(16, 61 + i, i));
    }
    burst.push_back(headline(22, 5, 31, true));
    burst.push_back(headline(22, 6, 32));
    for (int i = 0; i < 8; ++i) {
        burst.push_back(headline(122, 6 + i, 33 + i));
    }
    session().backend().ingest(burst);
    qttest::drainEvents();
    EXPECT_EQ(rowCount(news::kModeAllNews), before) << "nothing reaches the view while the link is down";

    clickLink();
    ASSERT_TRUE(waitUntil([&] { return status().contains(QStringLiteral("補回 40 則")); }, 10000))
        << qPrintable(status());
    // The count stays in a place of its own, beside the flash line that fills the status bar.
    const auto* count = window().findChild<QLabel*>(QStringLiteral("recoveredCount"));
    ASSERT_NE(count, nullptr);
    EXPECT_TRUE(count->text().contains(QStringLiteral("補回 40 則"))) << qPrintable(count->text());
    ASSERT_TRUE(waitUntil([&] { return rowCount(news::kModeAllNews) == before + 40 && firstPageWritten(); }));
    const Shown recovered = shown();
    EXPECT_EQ(recovered.cells[2], QStringLiteral("BURST-122-13")) << "the newest is on top";

    // A terminal started now never lost its link: it builds the list from the back end.
    restartWindow();
    ASSERT_TRUE(waitUntil([&] { return rowCount(news::kModeAllNews) == before + 40 && firstPageWritten(); }));
    EXPECT_TRUE(shown() == recovered);
}

TEST_F(NewstermRecoveryTest, TheNewsMenuFetchesTheSelectedHeadlinesAgain) {
    QTableView* list = grid(news::kModeAllNews);
    ASSERT_NE(list, nullptr);
    const QString first = title(news::kModeAllNews, 0);
    click(list->viewport(), list->visualRect(list->model()->index(0, 1)).center());
    QAction* reload = nullptr;
    for (QAction* a : window().menuBar()->actions()) {
        if (a->menu() != nullptr) {
            for (QAction* item : a->menu()->actions()) {
                if (item->text().startsWith(QStringLiteral("重新取得選取的新聞"))) {
                    reload = item;
                }
            }
        }
    }
    ASSERT_NE(reload, nullptr);
    reload->trigger();
    EXPECT_EQ(title(news::kModeAllNews, 0), QStringLiteral("讀取中…")) << "a placeholder until the answer";
    EXPECT_TRUE(waitUntil([&] { return title(news::kModeAllNews, 0) == first; })) << "the answer rewrites the row";
}

TEST_F(NewstermRecoveryTest, TheColourSchemeOfTheViewMenuRecoloursTheListsAndIsKept) {
    QAction* light = action("scheme-light");
    ASSERT_NE(light, nullptr);
    light->trigger();
    EXPECT_EQ(grid(news::kModeAllNews)->palette().color(QPalette::Base), QColor(255, 255, 255));
    EXPECT_EQ(view().GetStripeColor(), CSyncInfo::Get().SYS_crGetOtherColor("COLOR_LISTCTL_BACKGROUNDSLASH"));
    restartWindow();
    EXPECT_TRUE(action("scheme-light")->isChecked());
    EXPECT_EQ(grid(news::kModeAllNews)->palette().color(QPalette::Base), QColor(255, 255, 255))
        << "the restarted terminal paints in the kept scheme";
    action("scheme-dark")->trigger();
    EXPECT_EQ(grid(news::kModeAllNews)->palette().color(QPalette::Base), QColor(0, 0, 0));
}

TEST_F(NewstermRecoveryTest, EverySettingOfTheViewAndTheWindowGeometrySurviveAQuitAndARestart) {
    // A person's changes: another tab, the category column off, one service unchecked, a
    // symbol, search state, and the window moved and resized.
    TRVNewsCtrlView& v = view();
    v.SwitchFunction(news::kModeSearch);
    v.OnChangeCategoryState();
    v.OnSelectCheckService(news::kCmdFirstService + 1);
    auto* entry = window().findChild<QLineEdit*>(QStringLiteral("symbolEntry"));
    ASSERT_NE(entry, nullptr);
    entry->setText(QStringLiteral("2317"));
    QTest::keyClick(entry, Qt::Key_Return);
    v.KeywordPool() = {"台積電", "AI,5G", "100%"};
    CSearch recent;
    recent.m_vKeywords = {"法說", "營收"};
    recent.m_byMethod = CSearch::kMethodAnd;
    v.RecentSearches() = {recent};
    v.NewsKeys() = {CNewsKey(1, {3, 7}, {"A", "B"})};
    v.WarningItems() = {recent};
    v.SetWarningItemOrder(1);
    window().resize(1111, 701);
    window().move(37, 41);
    qttest::drainEvents();
    const QRect geometry = window().geometry();

    CfgFileStore before;
    v.SaveViewInfo(&before, "Main", 0, 0);
    restartWindow();
    CfgFileStore after;
    view().SaveViewInfo(&after, "Main", 0, 0);
    EXPECT_EQ(lines(after), lines(before));
    EXPECT_EQ(view().iGetCurrFunction(), news::kModeSearch);
    EXPECT_EQ(window().geometry(), geometry);
    EXPECT_EQ(window().findChild<QLineEdit*>(QStringLiteral("symbolEntry"))->text(), QStringLiteral("2317"));
}

} // namespace
