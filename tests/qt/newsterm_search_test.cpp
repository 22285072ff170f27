// Searching in the terminal as a person does: the search tab by keyboard alone, and the
// advanced search dialog, over the embedded back end's store.
#include <QApplication>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QTabBar>
#include <QTableView>
#include <QTest>
#include <QTimer>
#include <QTreeWidget>

#include <gtest/gtest.h>

#include "adapters/qt/qt_ui_host.h"
#include "adapters/qt/text_codec.h"
#include "apps/newsterm/main_window.h"
#include "host/ui/controls.h"
#include "host/ui/sheet.h"
#include "news_view/news_ctrl_view.h"
#include "news_view/news_ids.h"
#include "story/news_story_view.h"
#include "tests/qt/newsterm_window_fixture.h"
#include "tests/qt/qt_test_support.h"

namespace {

using qttest::FeedHeadline;
using qttest::waitUntil;

class NewstermSearchTest : public qttest::NewstermWindowTest {
protected:
    // The search tab shows the answers of its searches only with the warning-term tab off:
    // with it on, every search answer goes to the warning-term list.
    QByteArray applicationIni() const override {
        return "[NewsCtrlSearchView]\r\nShowNormalSearch=1\r\nShowWarningSearch=0\r\n";
    }

    // The titles of the search list, top to bottom.
    QStringList searchTitles() const {
        QStringList titles;
        for (int row = 0; row < rowCount(news::kModeSearch); ++row) {
            titles << title(news::kModeSearch, row);
        }
        return titles;
    }

    // The feed's titles holding a keyword, newest first.
    static QStringList expectedTitles(const QString& keyword) {
        std::vector<const FeedHeadline*> hits;
        for (const FeedHeadline& h : feed()) {
            if (h.title.contains(keyword)) {
                hits.push_back(&h);
            }
        }
        std::stable_sort(hits.begin(), hits.end(), [](const FeedHeadline* a, const FeedHeadline* b) {
            return std::pair(a->day, a->minute) > std::pair(b->day, b->minute);
        });
        QStringList titles;
        for (const FeedHeadline* h : hits) {
            titles << h->title;
        }
        return titles;
    }

    // The story pane's selection as text: the hit it marks.
    QString paneSelection() const {
        const NewsStoryView* pane = view().GetStoryPane();
        if (pane == nullptr || pane->GetStoryControl() == nullptr) {
            return {};
        }
        const auto [start, end] = pane->GetStoryControl()->selection();
        // Positions count a line break as one character, as rich edits do.
        QString text = qthost::toQString(pane->GetStoryControl()->text());
        text.replace(QStringLiteral("\r\n"), QStringLiteral("\r"));
        return start >= 0 && end > start ? text.mid(start, end - start) : QString();
    }

    // Types a keyword into the search edit and presses Enter, as a person does.
    void searchByKeyboard(const QString& keyword) {
        auto* edit = widget<QLineEdit>(news::kIdSearchEdit);
        ASSERT_NE(edit, nullptr);
        click(edit);
        edit->selectAll();
        QTest::keyClick(edit, Qt::Key_Delete);
        QTest::keyClicks(edit, keyword);
        QTest::keyClick(edit, Qt::Key_Return);
    }
};

TEST_F(NewstermSearchTest, OneAndSixCharacterKeywordsFindTheirHeadlinesWithTheHitSelectedInTheStory) {
    clickTab(news::kModeSearch);
    ASSERT_EQ(view().iGetCurrFunction(), news::kModeSearch);
    for (const QString& keyword : {QStringLiteral("Y"), QStringLiteral("HK22-0")}) {
        const QStringList expected = expectedTitles(keyword);
        ASSERT_FALSE(expected.isEmpty());
        searchByKeyboard(keyword);
        EXPECT_TRUE(waitUntil([&] { return searchTitles() == expected; }, 5000))
            << qPrintable(keyword) << ": " << qPrintable(searchTitles().join(QStringLiteral(" / ")));
        EXPECT_TRUE(waitUntil([&] { return paneSelection() == keyword; }))
            << "the story shows the hit selected: " << qPrintable(paneSelection());
    }
    if (const QString shot = QString::fromLocal8Bit(qgetenv("NEWS_SEARCH_WINDOW_SHOT")); !shot.isEmpty()) {
        window().grab().save(shot, "PNG");
    }
}

TEST_F(NewstermSearchTest, AdvancedSearchDialogTakesKeywordsByKeyboardAndSearchesEveryService) {
    clickTab(news::kModeSearch);
    auto* advanced = widget<QPushButton>(news::kIdDealsSearchButton);
    ASSERT_NE(advanced, nullptr);
    bool played = false;
    QTimer::singleShot(0, [&] {
        QWidget* dialog = QApplication::activeModalWidget();
        ASSERT_NE(dialog, nullptr);
        host::ui::Window* wnd = qthost::QtUiHost::windowOf(dialog);
        ASSERT_NE(wnd, nullptr);
        auto* keywordEdit = qobject_cast<QLineEdit*>(qthost::QtUiHost::widgetOf(wnd->child(2061)));
        ASSERT_NE(keywordEdit, nullptr);
        EXPECT_TRUE(waitUntil([&] { return keywordEdit->hasFocus(); })) << "the dialog opens in the keyword edit";
        // Enter adds the typed keyword; two keywords with OR find the news of either.
        QTest::keyClicks(keywordEdit, QStringLiteral("HK22-01"));
        QTest::keyClick(keywordEdit, Qt::Key_Return);
        QTest::keyClicks(keywordEdit, QStringLiteral("E122-05"));
        QTest::keyClick(keywordEdit, Qt::Key_Return);
        auto* condition = dynamic_cast<host::ui::ListBox*>(wnd->child(2060));
        ASSERT_NE(condition, nullptr);
        EXPECT_EQ(condition->count(), 2);
        const QString shot = QString::fromLocal8Bit(qgetenv("NEWS_SEARCH_DIALOG_SHOT"));
        if (!shot.isEmpty()) {
            dialog->grab().save(shot, "PNG");
        }
        played = true;
        auto* ok = qobject_cast<QPushButton*>(qthost::QtUiHost::widgetOf(wnd->child(1)));
        ASSERT_NE(ok, nullptr);
        click(ok);
    });
    click(advanced);
    ASSERT_TRUE(played);
    const QStringList expected = {QStringLiteral("HK22-01 (00700)"), QStringLiteral("E122-05 (6872)")};
    EXPECT_TRUE(waitUntil([&] { return searchTitles() == expected; }, 5000))
        << qPrintable(searchTitles().join(QStringLiteral(" / ")));
    ASSERT_EQ(view().GetRecentSearches().size(), 1U);
    EXPECT_EQ(view().GetRecentSearches().front().m_byMethod, CSearch::kMethodOr);
}

TEST_F(NewstermSearchTest, SymbolPickerIsATreeOfMarketsWhoseSymbolsJoinTheCondition) {
    clickTab(news::kModeSearch);
    auto* advanced = widget<QPushButton>(news::kIdDealsSearchButton);
    ASSERT_NE(advanced, nullptr);
    QStringList added;
    QTimer::singleShot(0, [&] {
        QWidget* dialog = QApplication::activeModalWidget();
        ASSERT_NE(dialog, nullptr);
        host::ui::Window* wnd = qthost::QtUiHost::windowOf(dialog);
        auto* tabs = qobject_cast<QTabBar*>(qthost::QtUiHost::widgetOf(wnd->child(2094)));
        ASSERT_NE(tabs, nullptr);
        click(tabs, tabs->tabRect(1).center());
        auto* pickerButton = qobject_cast<QPushButton*>(qthost::QtUiHost::widgetOf(wnd->child(9000)));
        ASSERT_TRUE(pickerButton != nullptr && pickerButton->isVisible());
        click(pickerButton);
        QTreeWidget* tree = nullptr;
        ASSERT_TRUE(waitUntil([&] {
            tree = dialog->findChild<QTreeWidget*>();
            return tree != nullptr && tree->isVisible();
        }));
        // Markets at the top, their symbols below; the first market's first symbol, chosen
        // with a double click.
        ASSERT_GT(tree->topLevelItemCount(), 0);
        QTreeWidgetItem* market = tree->topLevelItem(0);
        ASSERT_GT(market->childCount(), 0);
        tree->expandItem(market);
        QTreeWidgetItem* symbol = market->child(0);
        tree->scrollToItem(symbol);
        const QRect cell = tree->visualItemRect(symbol);
        QTest::mouseClick(tree->viewport(), Qt::LeftButton, Qt::NoModifier, cell.center());
        QTest::mouseDClick(tree->viewport(), Qt::LeftButton, Qt::NoModifier, cell.center());
        auto* condition = dynamic_cast<host::ui::ListBox*>(wnd->child(2060));
        ASSERT_NE(condition, nullptr);
        for (int i = 0; i < condition->count(); ++i) {
            added << qthost::toQString(condition->itemText(i));
        }
        const QStringList parts = symbol->text(0).split(QLatin1Char(' '));
        EXPECT_EQ(added.value(0), parts.value(0)) << "the code, then the name";
        EXPECT_EQ(added.value(1), parts.mid(1).join(QString()));
        if (const QString shot = QString::fromLocal8Bit(qgetenv("NEWS_SEARCH_PICKER_SHOT")); !shot.isEmpty()) {
            tree->window()->grab().save(shot, "PNG");
        }
        QTest::keyClick(dialog, Qt::Key_Escape);
    });
    click(advanced);
    EXPECT_EQ(added.size(), 2);
}

} // namespace
