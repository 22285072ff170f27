// The relation search in the terminal as a person uses it: a key set made in its dialog with
// the keyboard and the mouse, ticked, and the live news it matches landing in the relation
// list as it arrives.
#include <QApplication>
#include <QCheckBox>
#include <QDateTime>
#include <QLineEdit>
#include <QPushButton>
#include <QTabBar>
#include <QTableView>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

#include "adapters/qt/qt_ui_host.h"
#include "adapters/qt/text_codec.h"
#include "apps/newsterm/backend_session.h"
#include "apps/newsterm/main_window.h"
#include "embedded_backend/embedded_backend.h"
#include "host/text/cp950.h"
#include "host/ui/controls.h"
#include "news_view/news_ctrl_view.h"
#include "news_view/news_ids.h"
#include "tests/qt/newsterm_window_fixture.h"
#include "tests/qt/qt_test_support.h"

namespace {

using qttest::waitUntil;

class NewstermKeySetTest : public qttest::NewstermWindowTest {
protected:
    // The relation tab needs its switch; the warning-term tab is off with it (both on would make
    // every tab load the search list).
    QByteArray applicationIni() const override {
        return "[NewsCtrlSearchView]\r\nShowNormalSearch=1\r\nShowWarningSearch=0\r\n";
    }

    // A headline of category 1 as the feed delivers it, at 12:MINUTE today.
    void push(int seq, const char* title, int minute) {
        embedded::FeedEvent e;
        e.kind = embedded::FeedEventKind::Headline;
        e.service = 16;
        e.seq = seq;
        e.category = 1;
        e.time = QDateTime(kToday, QTime(12, minute)).toSecsSinceEpoch();
        e.title = cp950::fromUtf8(title);
        e.symbols.push_back(CSymbolInfo{e.service, "2330", {}});
        session().backend().ingest({e});
    }

    template <class W> static W* dialogWidget(host::ui::Window* dialog, int id) {
        return qobject_cast<W*>(qthost::QtUiHost::widgetOf(dialog->child(id)));
    }
};

TEST_F(NewstermKeySetTest, AKeySetMadeAndTickedInTheDialogCatchesLiveNews) {
    clickTab(news::kModeRelation);
    ASSERT_EQ(view().iGetCurrFunction(), news::kModeRelation);
    auto* open = widget<QPushButton>(news::kIdRelationSearchButton);
    ASSERT_TRUE(open != nullptr && open->isVisible());
    bool played = false;
    const auto play = [&](QWidget* dialog, host::ui::Window* wnd) {
        auto* keywordEdit = dialogWidget<QLineEdit>(wnd, 2061);
        ASSERT_NE(keywordEdit, nullptr);
        // Enter in the keyword edit adds the keyword; the check box ticks every news type.
        click(keywordEdit);
        QTest::keyClicks(keywordEdit, QStringLiteral("TSMC"));
        QTest::keyClick(keywordEdit, Qt::Key_Return);
        auto* allTypes = dialogWidget<QCheckBox>(wnd, 2034);
        ASSERT_NE(allTypes, nullptr);
        click(allTypes, QPoint(8, allTypes->height() / 2)); // on its box: the text does not fill the control
        auto* types = dynamic_cast<host::ui::ListBox*>(wnd->child(2062));
        ASSERT_TRUE(types != nullptr && types->count() > 0) << "the services name their news types";
        ASSERT_TRUE(types->isChecked(types->count() - 1)) << "the check box ticks every news type";
        click(dialogWidget<QPushButton>(wnd, 2091));
        auto* keySets = dynamic_cast<host::ui::ListCtrl*>(wnd->child(2089));
        ASSERT_NE(keySets, nullptr);
        ASSERT_EQ(keySets->itemCount(), 1);
        EXPECT_TRUE(keySets->isChecked(0)) << "a saved key set is ticked";
        EXPECT_EQ(qthost::toQString(keySets->itemText(0, 1)), QStringLiteral("全部類別"));
        if (const QString shot = QString::fromLocal8Bit(qgetenv("NEWS_KEYSET_DIALOG_SHOT")); !shot.isEmpty()) {
            dialog->grab().save(shot, "PNG");
        }
        played = true;
    };
    QTimer::singleShot(0, [&] {
        QWidget* dialog = QApplication::activeModalWidget();
        host::ui::Window* wnd = dialog != nullptr ? qthost::QtUiHost::windowOf(dialog) : nullptr;
        ASSERT_NE(wnd, nullptr);
        play(dialog, wnd);
        // OK when the walk went through, Escape otherwise: the dialog never stays open.
        if (played) {
            click(dialogWidget<QPushButton>(wnd, 1));
        } else {
            QTest::keyClick(dialog, Qt::Key_Escape);
        }
    });
    click(open);
    ASSERT_TRUE(played);
    ASSERT_EQ(view().GetRelationConditions().size(), 1U);
    EXPECT_EQ(view().NewsKeys().size(), 1U);

    // Live news, numbered on from the feed's last: only what the ticked key set matches joins.
    push(61, "TSMC法說會", 1);
    push(62, "鴻海新品", 2);
    push(63, "TSMC擴產", 3);
    ASSERT_TRUE(waitUntil([&] { return rowCount(news::kModeRelation) == 2; }, 5000));
    const HeadlineTableList& list = *view().GetTable(news::kModeRelation);
    ASSERT_EQ(list.size(), 2U);
    EXPECT_EQ(list[0].m_iSeqNo, 63);
    EXPECT_EQ(list[1].m_iSeqNo, 61);
    if (const QString shot = QString::fromLocal8Bit(qgetenv("NEWS_KEYSET_WINDOW_SHOT")); !shot.isEmpty()) {
        window().grab().save(shot, "PNG");
    }
}

} // namespace
