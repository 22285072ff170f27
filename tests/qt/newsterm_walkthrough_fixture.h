// The terminal window on a recorded feed with the helpers its walkthrough tests share:
// what the feed holds, what a grid or the story pane shows, clicks on rows and lists.
#pragma once

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

namespace qttest {

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

} // namespace qttest
