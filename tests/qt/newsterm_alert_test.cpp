// The warning-term tab in the terminal: an item made and chosen with mouse and keyboard, its
// hits in the warning-term list, and the count of hits on the tab while it is not shown.
#include <QApplication>
#include <QLineEdit>
#include <QPushButton>
#include <QTabBar>
#include <QTableWidget>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

#include "adapters/qt/qt_ui_host.h"
#include "apps/newsterm/alert_watch.h"
#include "apps/newsterm/main_window.h"
#include "host/ui/controls.h"
#include "news_view/news_ctrl_view.h"
#include "news_view/news_ids.h"
#include "tests/qt/newsterm_window_fixture.h"
#include "tests/qt/qt_test_support.h"

namespace {

using qttest::waitUntil;

CSearch terms(std::vector<CString> keywords, unsigned char scope, unsigned char method) {
    CSearch s;
    s.m_vKeywords = std::move(keywords);
    s.m_byScope = scope;
    s.m_byMethod = method;
    return s;
}

TEST(AlertMatch, FindsTheTermsAsTheBackEndSearchDoes) {
    EXPECT_TRUE(newsterm::alertMatches(terms({"tsmc", "營收"}, 0, 1), "TSMC 營收創新高", ""));
    EXPECT_FALSE(newsterm::alertMatches(terms({"TSMC", "法說"}, 0, 1), "TSMC 營收創新高", ""));
    EXPECT_TRUE(newsterm::alertMatches(terms({"TSMC", "法說"}, 0, 2), "TSMC 營收創新高", ""));
    // A method never set reads as AND, like the search the back end runs.
    EXPECT_FALSE(newsterm::alertMatches(terms({"TSMC", "法說"}, 0, 0), "TSMC 營收創新高", ""));
    // The scope decides where the terms are looked for.
    EXPECT_FALSE(newsterm::alertMatches(terms({"法說"}, 0, 1), "TSMC", "法說會"));
    EXPECT_TRUE(newsterm::alertMatches(terms({"法說"}, 1, 1), "TSMC", "法說會"));
    EXPECT_FALSE(newsterm::alertMatches(terms({"TSMC"}, 1, 1), "TSMC", "法說會"));
    EXPECT_TRUE(newsterm::alertMatches(terms({"TSMC", "法說"}, 2, 1), "TSMC", "法說會"));
    // Big5 bytes never match across characters: 許 (B3 5C) holds no backslash.
    EXPECT_FALSE(newsterm::alertMatches(terms({"\\"}, 0, 1), "\xB3\x5C", ""));
    EXPECT_FALSE(newsterm::alertMatches(terms({}, 0, 1), "TSMC", ""));
}

class NewstermAlertTest : public qttest::NewstermWindowTest {
protected:
    QTabBar* tabBar() const { return widget<QTabBar>(news::kIdTabStrip); }
    int tabOf(int mode) const {
        auto* strip = dynamic_cast<host::ui::TabStrip*>(control(news::kIdTabStrip));
        for (int i = 0; strip != nullptr && i < strip->itemCount(); ++i) {
            if (strip->itemData(i) == mode) {
                return i;
            }
        }
        return -1;
    }
    static host::ui::Window* modalWindow() {
        QWidget* dialog = QApplication::activeModalWidget();
        return dialog != nullptr ? qthost::QtUiHost::windowOf(dialog) : nullptr;
    }
    template <class W> static W* in(host::ui::Window* dialog, int id) {
        return qobject_cast<W*>(qthost::QtUiHost::widgetOf(dialog->child(id)));
    }
};

TEST_F(NewstermAlertTest, AnItemIsMadeAndChosenAndItsHitsAreCountedOnTheTabUntilItIsViewed) {
    clickTab(news::kModeWarningSearch);
    auto* open = widget<QPushButton>(news::kIdWarningSearchButton);
    ASSERT_TRUE(open != nullptr && open->isVisible());
    bool played = false;
    QTimer::singleShot(0, [&] {
        host::ui::Window* list = modalWindow();
        ASSERT_NE(list, nullptr);
        // The item dialog: the keyword typed, AND over headlines as it opens; Enter is OK.
        QTimer::singleShot(0, [&] {
            host::ui::Window* item = modalWindow();
            ASSERT_TRUE(item != nullptr && item != list);
            auto* edit = in<QLineEdit>(item, 2043);
            ASSERT_NE(edit, nullptr);
            EXPECT_TRUE(waitUntil([&] { return edit->hasFocus(); }));
            QTest::keyClicks(edit, QStringLiteral("HK22"));
            const QString shot = QString::fromLocal8Bit(qgetenv("NEWS_WARNTERM_ITEM_SHOT"));
            if (!shot.isEmpty()) {
                QApplication::activeModalWidget()->grab().save(shot, "PNG");
            }
            QTest::keyClick(edit, Qt::Key_Return);
        });
        click(in<QPushButton>(list, 3));
        auto* rows = in<QTableWidget>(list, 2047);
        ASSERT_TRUE(rows != nullptr && rows->rowCount() == 1);
        click(rows->viewport(), rows->visualItemRect(rows->item(0, 3)).center());
        const QString shot = QString::fromLocal8Bit(qgetenv("NEWS_WARNTERM_LIST_SHOT"));
        if (!shot.isEmpty()) {
            QApplication::activeModalWidget()->grab().save(shot, "PNG");
        }
        played = true;
        click(in<QPushButton>(list, 1));
    });
    click(open);
    ASSERT_TRUE(played);
    ASSERT_EQ(view().WarningItems().size(), 1U);
    EXPECT_EQ(view().GetWarningItemOrder(), 1);
    const int hits = countFeed([](const qttest::FeedHeadline& h) { return h.title.contains(QLatin1String("HK22")); });
    EXPECT_TRUE(waitUntil([&] { return rowCount(news::kModeWarningSearch) == hits; }, 5000))
        << rowCount(news::kModeWarningSearch) << " of " << hits;

    // Away from the tab, a pushed hit counts on it (and beeps when asked); other news does not.
    clickTab(news::kModeAllNews);
    newsterm::AlertWatch& watch = window().alertWatch();
    const CHeadline hit{22, view().GetCreateTime(), 9001, "HK22-99 (00700)"};
    const CHeadline other{22, view().GetCreateTime(), 9002, "E122-99 (6872)"};
    watch.RecvNewHeadLine(&other, "1", "");
    watch.RecvNewHeadLine(&hit, "1", "");
    watch.RecvNewHeadLine(&hit, "1", "");
    EXPECT_EQ(watch.unseenHits(), 2);
    EXPECT_EQ(tabBar()->tabText(tabOf(news::kModeWarningSearch)), QStringLiteral("警示新聞 (2)"));
    const QString shots = QString::fromLocal8Bit(qgetenv("NEWS_WARNTERM_TAB_SHOT"));
    if (!shots.isEmpty()) {
        qttest::drainEvents();
        window().grab().save(shots + QStringLiteral("-count.png"), "PNG");
    }
    clickTab(news::kModeWarningSearch);
    EXPECT_TRUE(
        waitUntil([&] { return tabBar()->tabText(tabOf(news::kModeWarningSearch)) == QStringLiteral("警示新聞"); }));
    if (!shots.isEmpty()) {
        qttest::drainEvents();
        window().grab().save(shots + QStringLiteral("-hits.png"), "PNG");
    }
    EXPECT_EQ(watch.unseenHits(), 0);

    // The beep is off until the user turns it on.
    EXPECT_FALSE(watch.beepOn());
    int beeps = 0;
    newsterm::AlertWatch counting(
        nullptr, [this] { return &view(); }, [&beeps] { ++beeps; });
    counting.RecvNewHeadLine(&hit, "1", "");
    counting.setBeepOn(true);
    counting.RecvNewHeadLine(&hit, "1", "");
    counting.RecvNewHeadLine(&other, "1", "");
    EXPECT_EQ(beeps, 1);
}

} // namespace
