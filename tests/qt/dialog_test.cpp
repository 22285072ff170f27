// The dialog engine on Qt: a template made into a real QDialog, with its controls found by id,
// its frame as the template says, and a modal loop that ends with the dialog's answer.
#include <QCheckBox>
#include <QDialog>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTabBar>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

#include "adapters/qt/qt_ui_host.h"
#include "host/framework/dialog.h"
#include "host/framework/host_context.h"
#include "host/ui/dialog_templates.h"
#include "tests/qt/qt_test_support.h"

namespace {

namespace win = host::ui::win;
using host::ui::Rect;
using qthost::QtUiHost;

const char* const kTemplate = "dialog 7101\n"
                              "caption \"Search\"\n"
                              "size 320 200\n"
                              "button 1 230 160 80 26 \"OK\" default\n"
                              "button 2 140 160 80 26 \"Cancel\"\n"
                              "checkbox 10 10 10 120 20 \"Titles\"\n"
                              "radio 20 10 40 60 20 \"And\" group\n"
                              "radio 21 80 40 60 20 \"Or\"\n"
                              "edit 30 10 70 140 22 \"start\"\n"
                              "edit 31 160 70 150 60 multiline\n"
                              "static 40 10 100 100 20 \"Label\" disabled\n"
                              "tabs 50 10 130 120 24 tab \"One\" tab \"Two\"\n"
                              "richedit 60 160 140 40 10 readonly hidden\n";

const char* const kTipTemplate = "dialog 7102\nsize 100 22\nstyle borderless\nstatic 2349 0 0 100 22\n";

class Dialog7101 : public CDialog {
public:
    using CDialog::CDialog;
    CString m_text;
    int m_method = 0;

protected:
    void DoDataExchange(CDataExchange* pDX) override {
        DDX_Text(pDX, 30, m_text);
        DDX_Radio(pDX, 20, m_method);
    }
};

class QtDialogTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(m_dir.isValid());
        for (const auto& [name, text] : {std::pair{"7101.dlg", kTemplate}, std::pair{"7102.dlg", kTipTemplate}}) {
            QFile file(m_dir.filePath(QString::fromLatin1(name)));
            ASSERT_TRUE(file.open(QIODevice::WriteOnly));
            file.write(text);
        }
        host::ui::DialogTemplateStore::instance().setDirectory(QFile::encodeName(m_dir.path()).toStdString());
        m_previous = host::HostContext::current();
        host::HostContext::current().ui = &m_host;
        m_owner = m_host.createWindow(nullptr, 1, Rect{0, 0, 600, 400}, &m_ownerHandler);
        qttest::showActive(QtUiHost::widgetOf(m_owner));
    }
    void TearDown() override {
        m_owner->destroy();
        qttest::drainEvents();
        host::HostContext::current() = m_previous;
        host::ui::DialogTemplateStore::instance().setDirectory({});
    }
    template <class T> T* qt(CDialog& dialog, int id) {
        return qobject_cast<T*>(QtUiHost::widgetOf(dialog.GetDlgItem(id)));
    }

    QTemporaryDir m_dir;
    QtUiHost m_host;
    host::HostContext m_previous;
    qttest::RecordingHandler m_ownerHandler;
    host::ui::Window* m_owner = nullptr;
};

TEST_F(QtDialogTest, TheTemplateBecomesAQDialogWithItsControlsById) {
    Dialog7101 dialog(7101, m_owner);
    ASSERT_TRUE(dialog.Create(m_owner)) << dialog.GetCreateError();
    auto* frame = qobject_cast<QDialog*>(QtUiHost::widgetOf(dialog.GetWnd()));
    ASSERT_NE(frame, nullptr);
    EXPECT_TRUE(frame->isWindow());
    EXPECT_FALSE(frame->isVisible()) << "made hidden";
    EXPECT_EQ(frame->windowTitle(), QStringLiteral("Search"));
    EXPECT_EQ(frame->size(), QSize(320, 200));
    EXPECT_EQ(frame->minimumSize(), frame->maximumSize()) << "not resizable: a fixed size";

    EXPECT_TRUE(qt<QPushButton>(dialog, 1)->isDefault());
    EXPECT_NE(qt<QCheckBox>(dialog, 10), nullptr);
    EXPECT_NE(qt<QRadioButton>(dialog, 20), nullptr);
    EXPECT_EQ(qt<QLineEdit>(dialog, 30)->text(), QStringLiteral("start"));
    EXPECT_NE(qt<QPlainTextEdit>(dialog, 31), nullptr) << "a multi-line edit";
    EXPECT_FALSE(qt<QLabel>(dialog, 40)->isEnabled());
    EXPECT_EQ(qt<QTabBar>(dialog, 50)->count(), 2);
    EXPECT_TRUE(qt<QPlainTextEdit>(dialog, 60)->isHidden());
    EXPECT_EQ(qt<QPushButton>(dialog, 1)->geometry(), QRect(230, 160, 80, 26));

    // Radio buttons of a group stay exclusive, whichever is clicked.
    dialog.ShowWindow(true);
    ASSERT_TRUE(qttest::waitUntil([&] { return frame->isVisible(); }));
    QTest::mouseClick(qt<QRadioButton>(dialog, 21), Qt::LeftButton);
    EXPECT_TRUE(qt<QRadioButton>(dialog, 21)->isChecked());
    QTest::mouseClick(qt<QRadioButton>(dialog, 20), Qt::LeftButton);
    EXPECT_TRUE(qt<QRadioButton>(dialog, 20)->isChecked());
    EXPECT_FALSE(qt<QRadioButton>(dialog, 21)->isChecked());
    QTest::mouseClick(qt<QRadioButton>(dialog, 20), Qt::LeftButton);
    EXPECT_TRUE(qt<QRadioButton>(dialog, 20)->isChecked()) << "a second click keeps it checked";
}

TEST_F(QtDialogTest, AModalLoopEndsWithTheButtonTheUserPressed) {
    Dialog7101 dialog(7101, m_owner);
    QTimer::singleShot(0, [&] {
        auto* frame = QtUiHost::widgetOf(dialog.GetWnd());
        ASSERT_NE(frame, nullptr);
        EXPECT_TRUE(frame->isModal() || frame->windowModality() != Qt::NonModal);
        QLineEdit* edit = qt<QLineEdit>(dialog, 30);
        edit->setFocus();
        QTest::keyClicks(edit, QStringLiteral(" more"));
        QTest::mouseClick(qt<QRadioButton>(dialog, 21), Qt::LeftButton);
        QTest::mouseClick(qt<QPushButton>(dialog, 1), Qt::LeftButton);
    });
    EXPECT_EQ(dialog.DoModal(), win::IDOK);
    EXPECT_EQ(dialog.m_text, "start more") << "OK read the controls";
    EXPECT_EQ(dialog.m_method, 1);
    EXPECT_EQ(dialog.GetWnd(), nullptr);

    Dialog7101 second(7101, m_owner);
    QTimer::singleShot(0, [&] { QTest::keyClick(qt<QLineEdit>(second, 30), Qt::Key_Escape); });
    EXPECT_EQ(second.DoModal(), win::IDCANCEL);

    Dialog7101 third(7101, m_owner);
    QTimer::singleShot(0, [&] { QTest::keyClick(qt<QLineEdit>(third, 30), Qt::Key_Return); });
    EXPECT_EQ(third.DoModal(), win::IDOK) << "Enter presses the default button";
}

TEST_F(QtDialogTest, ABorderlessDialogIsAPopUpThatNeverTakesTheKeyboardAndCanSitInAWindow) {
    CDialog tip(7102, m_owner);
    ASSERT_TRUE(tip.Create(nullptr));
    QWidget* frame = QtUiHost::widgetOf(tip.GetWnd());
    EXPECT_TRUE(frame->windowFlags().testFlag(Qt::FramelessWindowHint));
    EXPECT_EQ(frame->windowType(), Qt::ToolTip);
    EXPECT_TRUE(frame->testAttribute(Qt::WA_ShowWithoutActivating));
    tip.GetWnd()->setParent(m_owner);
    tip.GetWnd()->move(Rect{20, 30, 120, 52});
    tip.ShowWindow(true);
    EXPECT_FALSE(frame->isWindow()) << "a child of its new parent";
    EXPECT_EQ(frame->parentWidget(), QtUiHost::widgetOf(m_owner));
    EXPECT_EQ(frame->geometry(), QRect(20, 30, 100, 22));
    EXPECT_TRUE(qttest::waitUntil([&] { return frame->isVisible(); }));
}

} // namespace
