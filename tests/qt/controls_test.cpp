// Controls: ids, notifications the module reads, and the bytes it gets back.
#include <QAbstractButton>
#include <QCalendarWidget>
#include <QComboBox>
#include <QDateEdit>
#include <QLabel>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPrinter>
#include <QTabBar>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

#include "adapters/qt/controls_basic.h"
#include "adapters/qt/controls_date.h"
#include "adapters/qt/dialog_service.h"
#include "adapters/qt/qt_ui_host.h"
#include "adapters/qt/text_codec.h"
#include "host/ui/controls.h"
#include "tests/qt/qt_test_support.h"

namespace {

namespace win = host::ui::win;
using host::ui::Rect;
using qthost::QtUiHost;
using qttest::RecordingHandler;

class ControlsTest : public ::testing::Test {
protected:
    void SetUp() override {
        view = host.createWindow(nullptr, 1, Rect{0, 0, 500, 400}, &handler);
        qttest::showActive(QtUiHost::widgetOf(view));
        handler.clear();
    }
    void TearDown() override {
        view->destroy();
        qttest::drainEvents();
    }
    template <class T> T* qt(host::ui::Window* window) const { return qobject_cast<T*>(QtUiHost::widgetOf(window)); }

    QtUiHost host;
    RecordingHandler handler;
    host::ui::Window* view = nullptr;
};

TEST_F(ControlsTest, ButtonsReportClicksByIdAndKeepTheStateTheirStyleGivesThem) {
    host::ui::Button* push = view->createButton(8067, Rect{0, 0, 80, 24}, "\xA4\x55\xAD\xB6"); // 下頁
    host::ui::Button* autoCheck = view->createButton(8070, Rect{0, 30, 80, 54}, "a", qthost::kBsAutoCheckBox);
    host::ui::Button* manualCheck = view->createButton(8071, Rect{0, 60, 80, 84}, "m", qthost::kBsCheckBox);
    EXPECT_EQ(view->child(8067), push);
    EXPECT_EQ(view->child(8070), autoCheck);
    EXPECT_EQ(push->id(), 8067);
    EXPECT_EQ(push->parent(), view);
    EXPECT_EQ(qt<QAbstractButton>(push)->text(), QString::fromUtf8("下頁"));

    QTest::mouseClick(qt<QAbstractButton>(push), Qt::LeftButton);
    const auto clicks = handler.handled(win::WM_COMMAND);
    ASSERT_EQ(clicks.size(), 1u);
    EXPECT_EQ(clicks[0].message.wParam, host::ui::MAKEWPARAM(8067, win::BN_CLICKED));
    EXPECT_EQ(clicks[0].message.lParam, reinterpret_cast<host::ui::LPARAM>(push));
    EXPECT_EQ(clicks[0].message.target, push);

    qt<QAbstractButton>(autoCheck)->click();
    EXPECT_TRUE(autoCheck->isChecked());
    qt<QAbstractButton>(manualCheck)->click();
    EXPECT_FALSE(manualCheck->isChecked()) << "the parent decides a manual check box";
    EXPECT_EQ(handler.commandCodes(8071), std::vector<unsigned>{win::BN_CLICKED});
    manualCheck->setCheck(true);
    EXPECT_TRUE(manualCheck->isChecked());
    EXPECT_EQ(handler.commandCodes(8071).size(), 1u) << "setting the state notifies nobody";
}

TEST_F(ControlsTest, ComboNotifiesDropDownCloseUpAndUserSelectionsOnly) {
    host::ui::ComboBox* combo = view->createComboBox(2001, Rect{0, 0, 150, 24}, win::CBS_DROPDOWNLIST);
    EXPECT_EQ(combo->addString("\xA5\x78\xAA\xD1"), 0); // 台股
    EXPECT_EQ(combo->addString("US"), 1);
    EXPECT_EQ(combo->insertString(1, "HK"), 1);
    combo->setItemData(2, 42);
    EXPECT_EQ(combo->curSel(), -1) << "a new drop-down list has no selection";
    EXPECT_EQ(combo->itemText(0), "\xA5\x78\xAA\xD1");
    EXPECT_EQ(combo->itemData(2), 42);
    EXPECT_EQ(combo->findStringExact(-1, "US"), 2);
    EXPECT_EQ(combo->findStringExact(2, "US"), 2) << "the search wraps around";
    EXPECT_EQ(combo->findStringExact(-1, "us"), -1);
    combo->setCurSel(1);
    EXPECT_TRUE(handler.handled(win::WM_COMMAND).empty()) << "the module's own selection is silent";

    QComboBox* box = qt<QComboBox>(combo);
    box->showPopup();
    EXPECT_EQ(handler.commandCodes(2001), std::vector<unsigned>{win::CBN_DROPDOWN});
    box->hidePopup();
    ASSERT_TRUE(qttest::waitUntil([&] { return handler.commandCodes(2001).size() == 2; }));
    EXPECT_EQ(handler.commandCodes(2001)[1], win::CBN_CLOSEUP);

    // A choice on the closed box is complete at once: the close-up follows the selection.
    handler.clear();
    box->setFocus();
    QTest::keyClick(box, Qt::Key_Down);
    EXPECT_EQ(combo->curSel(), 2);
    EXPECT_EQ(handler.commandCodes(2001), (std::vector<unsigned>{win::CBN_SELCHANGE, win::CBN_CLOSEUP}));

    // A choice from the open list closes it once, after the selection.
    handler.clear();
    box->showPopup();
    QTest::keyClick(box->view(), Qt::Key_Up);
    QTest::keyClick(box->view(), Qt::Key_Return);
    ASSERT_TRUE(qttest::waitUntil([&] { return handler.commandCodes(2001).size() >= 3; }));
    qttest::drainEvents();
    EXPECT_EQ(combo->curSel(), 1);
    EXPECT_EQ(handler.commandCodes(2001),
              (std::vector<unsigned>{win::CBN_DROPDOWN, win::CBN_SELCHANGE, win::CBN_CLOSEUP}));

    combo->setItemColors(2, host::ui::RGB(255, 0, 0), host::ui::RGB(0, 0, 255));
    EXPECT_EQ(box->itemData(2, Qt::ForegroundRole).value<QColor>(), QColor(255, 0, 0));

    // A text longer than the box is shown whole in the open list.
    combo->addString("00700 Tencent Holdings Limited (Hong Kong main board)");
    box->showPopup();
    const QFontMetrics metrics(box->view()->font());
    EXPECT_GE(box->view()->width(),
              metrics.horizontalAdvance(QStringLiteral("00700 Tencent Holdings Limited (Hong Kong main board)")));
    box->hidePopup();
}

TEST_F(ControlsTest, DatePickerCalendarOpenAndCloseAndUserChanges) {
    host::ui::DatePicker* picker = view->createDatePicker(2002, Rect{0, 0, 140, 24});
    auto* qtPicker = dynamic_cast<qthost::QtDatePicker*>(picker);
    ASSERT_NE(qtPicker, nullptr);
    picker->setDate(host::ui::Date{2024, 2, 29});
    host::ui::Date date;
    ASSERT_TRUE(picker->date(date));
    EXPECT_EQ(date, (host::ui::Date{2024, 2, 29}));
    EXPECT_TRUE(handler.handled(win::WM_NOTIFY).empty()) << "setting the date is silent";

    QWidget* popup = qtPicker->calendarPopup();
    ASSERT_NE(popup, nullptr);
    popup->show();
    EXPECT_TRUE(picker->isDroppedDown());
    popup->hide();
    EXPECT_FALSE(picker->isDroppedDown());
    EXPECT_EQ(handler.notifyCodes(2002), (std::vector<int>{win::DTN_DROPDOWN, win::DTN_CLOSEUP}));

    // The user steps the day with the arrow key of the picker's field.
    handler.clear();
    picker->setDate(host::ui::Date{2024, 3, 30});
    auto* edit = qt<QDateEdit>(picker);
    edit->setFocus();
    edit->setSelectedSection(QDateTimeEdit::DaySection);
    QTest::keyClick(edit, Qt::Key_Up);
    ASSERT_EQ(handler.notifyCodes(2002), std::vector<int>{win::DTN_DATETIMECHANGE});
    ASSERT_TRUE(picker->date(date));
    EXPECT_EQ(date, (host::ui::Date{2024, 3, 31}));
}

TEST_F(ControlsTest, EditTabsListsRichEditAndTipKeepTheModulesBytes) {
    host::ui::Edit* edit = view->createEdit(3008, Rect{0, 0, 100, 24});
    edit->setText("\xB3\x5C"); // 許: a backslash as second byte
    EXPECT_EQ(edit->text(), "\xB3\x5C");
    EXPECT_EQ(handler.commandCodes(3008), (std::vector<unsigned>{win::EN_UPDATE, win::EN_CHANGE}));

    host::ui::TabStrip* tabs = view->createTabStrip(2005, Rect{0, 30, 300, 54});
    tabs->insertItem(0, "\xB7\x73\xBB\x44", 16); // 新聞
    tabs->insertItem(1, "B", 17);
    EXPECT_EQ(tabs->itemCount(), 2);
    EXPECT_EQ(tabs->itemData(1), 17);
    EXPECT_EQ(tabs->itemCaption(0), "\xB7\x73\xBB\x44");
    tabs->setCurSel(1);
    EXPECT_TRUE(handler.notifyCodes(2005).empty());
    QTabBar* bar = qt<QTabBar>(tabs);
    QTest::mouseClick(bar, Qt::LeftButton, {}, bar->tabRect(0).center());
    ASSERT_EQ(handler.notifyCodes(2005), std::vector<int>{win::TCN_SELCHANGE});
    EXPECT_EQ(tabs->curSel(), 0);

    host::ui::ListBox* list = view->createListBox(2010, Rect{0, 60, 200, 160}, true, true);
    list->addString("a");
    list->addString("\xA5\x5C"); // 功
    list->addString("c");
    list->setSel(0, true);
    list->setSel(2, true);
    list->setCheck(1, true);
    EXPECT_EQ(list->selectedIndexes(), (std::vector<int>{0, 2}));
    EXPECT_TRUE(list->isChecked(1));
    EXPECT_EQ(list->itemText(1), "\xA5\x5C");
    EXPECT_TRUE(handler.commandCodes(2010).empty());

    host::ui::ListCtrl* report = view->createListCtrl(2011, Rect{0, 170, 300, 300}, true);
    report->insertColumn(0, "Code", 60, host::ui::ListCtrl::Align::kLeft);
    report->insertColumn(1, "Name", 80, host::ui::ListCtrl::Align::kRight);
    EXPECT_EQ(report->insertItem(0, "2330"), 0);
    EXPECT_EQ(report->insertItem(0, "2317"), 0);
    report->setItemText(1, 1, "\xA5\x78\xBF\x6E"); // 台積
    report->setCheck(1, true);
    report->setItemSelected(1, true);
    EXPECT_EQ(report->itemText(1, 0), "2330");
    EXPECT_EQ(report->itemText(1, 1), "\xA5\x78\xBF\x6E");
    EXPECT_TRUE(report->isChecked(1));
    EXPECT_FALSE(report->isChecked(0));
    EXPECT_EQ(report->selectedRows(), std::vector<int>{1});

    host::ui::RichEdit* story = view->createRichEdit(2012, Rect{0, 310, 300, 390}, win::ES_READONLY);
    story->setText("Line one\r\nTSMC \xA5\x78\xBF\x6E up");
    EXPECT_EQ(story->findText(0, "tsmc"), (std::pair<int, int>{9, 13})) << "case-insensitive, CR LF one break";
    EXPECT_EQ(story->findText(0, "\xA5\x78\xBF\x6E"), (std::pair<int, int>{14, 16}));
    EXPECT_EQ(story->findText(15, "tsmc"), (std::pair<int, int>{-1, -1}));
    story->setSelection(9, 13);
    EXPECT_EQ(story->selection(), (std::pair<int, int>{9, 13}));
    EXPECT_EQ(story->text(), "Line one\r\nTSMC \xA5\x78\xBF\x6E up");

    host::ui::TipWindow* tip = view->createTipWindow();
    tip->showTip("", "\xB7\x73\xBB\x44", host::ui::Point{100, 100}, 3, 0, 2000);
    EXPECT_TRUE(tip->isTipShown());
    EXPECT_EQ(tip->tipText(), "\xB7\x73\xBB\x44");
    EXPECT_TRUE(qt<QLabel>(tip)->text().contains(QString::fromUtf8("新聞")));
    tip->hideTip();
    EXPECT_FALSE(tip->isTipShown());
}

TEST_F(ControlsTest, RichEditMarksStayVisibleWithoutTheFocusOnlyWhenAskedAndSearchTheCurrentText) {
    host::ui::RichEdit* story = view->createRichEdit(2012, Rect{0, 0, 300, 200}, win::ES_READONLY);
    auto* edit = qt<QPlainTextEdit>(story);
    story->setText("alpha beta alpha");
    EXPECT_EQ(story->findText(1, "ALPHA"), (std::pair<int, int>{11, 16}));
    story->setText("beta only");
    EXPECT_EQ(story->findText(0, "alpha"), (std::pair<int, int>{-1, -1})) << "the new text is searched";
    story->setText("beta alpha");
    EXPECT_EQ(story->findText(0, "alpha"), (std::pair<int, int>{5, 10}));

    const auto inactive = [&] { return edit->palette().color(QPalette::Inactive, QPalette::Highlight); };
    const QColor background = edit->palette().color(QPalette::Inactive, QPalette::Base);
    EXPECT_EQ(inactive(), background) << "by default a selection is hidden without the focus";
    story->hideSelection(false);
    EXPECT_NE(inactive(), background) << "marks show while the list has the keyboard";
    EXPECT_EQ(inactive(), edit->palette().color(QPalette::Active, QPalette::Highlight));
    // A run of selections (a keyword marking) shows the last one once the events are handled.
    story->setSelection(0, 4);
    story->setSelection(5, 10);
    EXPECT_EQ(story->selection(), (std::pair<int, int>{5, 10}));
    qttest::drainEvents();
    EXPECT_EQ(edit->textCursor().selectedText(), QStringLiteral("alpha"));
    story->setSelection(1, 2);
    story->setText("new text");
    qttest::drainEvents();
    EXPECT_FALSE(edit->textCursor().hasSelection()) << "a new text drops a selection asked for before it";
}

TEST(DialogServiceTest, QuestionsAreMappedBothWaysAndPrintingCanGoToAPdfOnce) {
    qthost::QtDialogService dialogs;
    qthost::QtDialogService::MessageQuestion asked;
    dialogs.setMessagePrompter([&](const qthost::QtDialogService::MessageQuestion& q) {
        asked = q;
        return QMessageBox::No;
    });
    EXPECT_EQ(dialogs.messageBox(nullptr, "\xA7\x52\xB0\xA3?", "T", win::MB_YESNO | win::MB_ICONQUESTION), win::IDNO);
    EXPECT_EQ(asked.buttons, QMessageBox::Yes | QMessageBox::No);
    EXPECT_EQ(asked.icon, QMessageBox::Question);
    EXPECT_EQ(asked.text, QString::fromUtf8("刪除?"));
    dialogs.setMessagePrompter([](const auto&) { return QMessageBox::NoButton; });
    EXPECT_EQ(dialogs.messageBox(nullptr, "x", "y", win::MB_OKCANCEL), win::IDCANCEL) << "closing is Cancel";

    EXPECT_EQ(qthost::QtDialogService::toQtFilter(QStringLiteral("Text (*.txt)|*.txt|All files|*.*||")),
              QStringLiteral("Text (*.txt);;All files (*.*)"));
    qthost::QtDialogService::SaveQuestion saved;
    dialogs.setSavePrompter([&](const qthost::QtDialogService::SaveQuestion& q) {
        saved = q;
        return std::optional<QString>(QStringLiteral("/tmp/news"));
    });
    std::string path;
    ASSERT_TRUE(dialogs.saveFileDialog(nullptr, "Text (*.txt)|*.txt||", "txt", win::OFN_HIDEREADONLY, path));
    EXPECT_EQ(path, "/tmp/news.txt") << "the default extension is added";
    dialogs.setSavePrompter([](const auto&) { return std::optional<QString>(); });
    EXPECT_FALSE(dialogs.saveFileDialog(nullptr, "Text (*.txt)|*.txt||", "txt", 0, path));

    dialogs.setPrintPrompter([](QWidget*) { return std::unique_ptr<QPrinter>(); });
    EXPECT_EQ(dialogs.printDialog(nullptr, 0), nullptr) << "a cancelled print dialog";
    // What the PDF holds is read back in the printing tests; here only that the answer is used once.
    QTemporaryDir dir;
    dialogs.printNextToPdf(dir.filePath(QStringLiteral("news.pdf")));
    EXPECT_NE(dialogs.printDialog(nullptr, 0), nullptr);
    EXPECT_EQ(dialogs.printDialog(nullptr, 0), nullptr) << "the PDF answer is used once";
}

} // namespace
