// Keyboard, mouse, timer and message delivery of the Qt host, read as the module reads them.
#include <QApplication>
#include <QContextMenuEvent>
#include <QInputMethodEvent>
#include <QLineEdit>
#include <QMenu>
#include <QTest>
#include <QWidget>
#include <memory>

#include <gtest/gtest.h>

#include "adapters/qt/qt_ui_host.h"
#include "adapters/qt/text_codec.h"
#include "host/ui/controls.h"
#include "host/ui/menu.h"
#include "tests/qt/qt_test_support.h"

namespace {

namespace win = host::ui::win;
using host::ui::Rect;
using qthost::QtUiHost;
using qttest::RecordingHandler;

class InputMappingTest : public ::testing::Test {
protected:
    void SetUp() override {
        top = host.createWindow(nullptr, 1, Rect{0, 0, 400, 300}, &topHandler);
        ASSERT_NE(top, nullptr);
        view = top->createChildWindow(100, Rect{10, 10, 390, 290}, &viewHandler);
        ASSERT_NE(view, nullptr);
        qttest::showActive(QtUiHost::widgetOf(top));
        topHandler.clear();
        viewHandler.clear();
    }
    void TearDown() override {
        if (top != nullptr) {
            top->destroy();
        }
        qttest::drainEvents();
    }
    QWidget* widget(host::ui::Window* window) const { return QtUiHost::widgetOf(window); }

    QtUiHost host;
    RecordingHandler topHandler;
    RecordingHandler viewHandler;
    host::ui::Window* top = nullptr;
    host::ui::Window* view = nullptr;
};

TEST_F(InputMappingTest, KeysReachTheViewAsVirtualKeysAfterEveryPreTranslateOfTheChain) {
    widget(view)->setFocus();
    ASSERT_TRUE(view->hasFocus());
    const std::pair<Qt::Key, unsigned> keys[] = {
        {Qt::Key_Return, 13}, {Qt::Key_Enter, 13}, {Qt::Key_PageUp, 33}, {Qt::Key_PageDown, 34},
        {Qt::Key_End, 35},    {Qt::Key_Home, 36},  {Qt::Key_Left, 37},   {Qt::Key_Up, 38},
        {Qt::Key_Right, 39},  {Qt::Key_Down, 40},  {Qt::Key_Insert, 45}, {Qt::Key_F5, 116},
    };
    for (const auto& [qtKey, vk] : keys) {
        viewHandler.clear();
        topHandler.clear();
        QTest::keyPress(widget(view), qtKey);
        const auto viewPre = viewHandler.preTranslated(win::WM_KEYDOWN);
        const auto topPre = topHandler.preTranslated(win::WM_KEYDOWN);
        const auto handled = viewHandler.handled(win::WM_KEYDOWN);
        ASSERT_EQ(viewPre.size(), 1u) << "key " << vk;
        ASSERT_EQ(topPre.size(), 1u) << "key " << vk;
        ASSERT_EQ(handled.size(), 1u) << "key " << vk;
        EXPECT_EQ(handled[0].message.wParam, vk);
        EXPECT_EQ(handled[0].message.target, view);
        EXPECT_EQ(topPre[0].message.target, view) << "the chain sees the focused window as the target";
        EXPECT_LT(viewPre[0].sequence, topPre[0].sequence) << "innermost view first";
        EXPECT_LT(topPre[0].sequence, handled[0].sequence) << "pre-translation before dispatch";
        QTest::keyRelease(widget(view), qtKey);
        ASSERT_EQ(viewHandler.handled(win::WM_KEYUP).size(), 1u);
        EXPECT_EQ(viewHandler.handled(win::WM_KEYUP)[0].message.wParam, vk);
    }
    EXPECT_TRUE(topHandler.handled(win::WM_KEYDOWN).empty()) << "keys of a child view stay with it";
}

TEST_F(InputMappingTest, AConsumedKeyGoesNoFurther) {
    topHandler.consumeKeys = {win::VK_NEXT};
    widget(view)->setFocus();
    QTest::keyClick(widget(view), Qt::Key_PageDown);
    EXPECT_EQ(viewHandler.preTranslated(win::WM_KEYDOWN).size(), 1u);
    EXPECT_TRUE(viewHandler.handled(win::WM_KEYDOWN).empty());
    QTest::keyClick(widget(view), Qt::Key_PageUp);
    EXPECT_EQ(viewHandler.handled(win::WM_KEYDOWN).size(), 1u);
}

TEST_F(InputMappingTest, KeysOfANativeEditAreOfferedToItsViewsAndThenTypedIntoIt) {
    host::ui::Edit* edit = view->createEdit(3008, Rect{5, 5, 200, 30});
    auto* line = qobject_cast<QLineEdit*>(widget(edit));
    ASSERT_NE(line, nullptr);
    line->setFocus();
    QTest::keyClicks(line, QStringLiteral("ab"));
    EXPECT_EQ(edit->text(), "ab");
    const auto offered = viewHandler.preTranslated(win::WM_KEYDOWN);
    ASSERT_EQ(offered.size(), 2u);
    EXPECT_EQ(offered[0].message.wParam, static_cast<host::ui::WPARAM>('A'));
    EXPECT_EQ(offered[0].message.target, edit);
    EXPECT_TRUE(viewHandler.handled(win::WM_KEYDOWN).empty()) << "a native control keeps its keys";

    // Enter is ignored by a line edit; it must not travel on to the view as the view's key.
    QTest::keyClick(line, Qt::Key_Return);
    EXPECT_TRUE(viewHandler.handled(win::WM_KEYDOWN).empty());
    EXPECT_TRUE(topHandler.handled(win::WM_KEYDOWN).empty());

    viewHandler.consumeKeys = {'C'};
    QTest::keyClicks(line, QStringLiteral("c"));
    EXPECT_EQ(edit->text(), "ab") << "a consumed key never reaches the edit";
}

TEST_F(InputMappingTest, InputMethodCompositionAnnouncesKey229AndCommitsCodePage950Text) {
    host::ui::Edit* edit = view->createEdit(3008, Rect{5, 5, 200, 30});
    QWidget* line = widget(edit);
    line->setFocus();
    QInputMethodEvent preedit(QStringLiteral("xu"), {});
    QApplication::sendEvent(line, &preedit);
    QInputMethodEvent commit;
    commit.setCommitString(QString::fromUtf8("許功"));
    QApplication::sendEvent(line, &commit);
    const auto offered = viewHandler.preTranslated(win::WM_KEYDOWN);
    ASSERT_EQ(offered.size(), 2u);
    EXPECT_EQ(offered[0].message.wParam, win::VK_PROCESSKEY);
    EXPECT_EQ(offered[0].message.target, edit);
    EXPECT_EQ(edit->text(), "\xB3\x5C\xA5\x5C");

    // A view typed into directly gets the committed text as code page 950 WM_CHAR bytes.
    viewHandler.clear();
    widget(view)->setFocus();
    QInputMethodEvent toView;
    toView.setCommitString(QString::fromUtf8("許"));
    QApplication::sendEvent(widget(view), &toView);
    ASSERT_EQ(viewHandler.handled(win::WM_KEYDOWN).size(), 1u);
    EXPECT_EQ(viewHandler.handled(win::WM_KEYDOWN)[0].message.wParam, win::VK_PROCESSKEY);
    const auto chars = viewHandler.handled(win::WM_CHAR);
    ASSERT_EQ(chars.size(), 2u);
    EXPECT_EQ(chars[0].message.wParam, 0xB3u);
    EXPECT_EQ(chars[1].message.wParam, 0x5Cu);
}

TEST_F(InputMappingTest, MouseAndContextMenuArriveInWindowsTerms) {
    QTest::mouseClick(widget(view), Qt::LeftButton, Qt::ShiftModifier, QPoint(12, 34));
    const auto down = viewHandler.handled(win::WM_LBUTTONDOWN);
    ASSERT_EQ(down.size(), 1u);
    EXPECT_EQ(down[0].message.wParam, win::MK_LBUTTON | win::MK_SHIFT);
    EXPECT_EQ(host::ui::GET_X_LPARAM(down[0].message.lParam), 12);
    EXPECT_EQ(host::ui::GET_Y_LPARAM(down[0].message.lParam), 34);
    ASSERT_EQ(viewHandler.handled(win::WM_LBUTTONUP).size(), 1u);
    EXPECT_EQ(viewHandler.handled(win::WM_LBUTTONUP)[0].message.wParam, win::MK_SHIFT);
    EXPECT_TRUE(view->hasFocus()) << "a click focuses the view";

    QTest::mouseDClick(widget(view), Qt::LeftButton, {}, QPoint(3, 4));
    EXPECT_EQ(viewHandler.handled(win::WM_LBUTTONDBLCLK).size(), 1u);

    const QPoint global = widget(view)->mapToGlobal(QPoint(20, 30));
    QContextMenuEvent menu(QContextMenuEvent::Mouse, QPoint(20, 30), global);
    QApplication::sendEvent(widget(view), &menu);
    const auto context = viewHandler.handled(win::WM_CONTEXTMENU);
    ASSERT_EQ(context.size(), 1u);
    EXPECT_EQ(context[0].message.wParam, reinterpret_cast<host::ui::WPARAM>(view));
    EXPECT_EQ(host::ui::GET_X_LPARAM(context[0].message.lParam), global.x()) << "screen coordinates";
    EXPECT_EQ(host::ui::GET_Y_LPARAM(context[0].message.lParam), global.y());
}

TEST_F(InputMappingTest, CreationSizeTimersAndPostedMessages) {
    RecordingHandler child;
    host::ui::Window* window = view->createChildWindow(7, Rect{0, 0, 120, 80}, &child);
    ASSERT_EQ(child.handled(win::WM_CREATE).size(), 1u);
    ASSERT_EQ(child.handled(win::WM_SIZE).size(), 1u);
    EXPECT_EQ(child.handled(win::WM_SIZE)[0].message.lParam, host::ui::MAKELPARAM(120, 80));
    EXPECT_EQ(child.handled(win::WM_CREATE)[0].message.target, window) << "the creator has no pointer yet";
    EXPECT_EQ(view->child(7), window);

    window->move(Rect{0, 0, 150, 90});
    ASSERT_EQ(child.handled(win::WM_SIZE).size(), 2u) << "a move reports the new size at once";
    window->move(Rect{5, 5, 155, 95});
    EXPECT_EQ(child.handled(win::WM_SIZE).size(), 2u) << "same size, no WM_SIZE";

    window->postMessage(win::WM_USER + 5, 1, 2);
    EXPECT_TRUE(child.handled(win::WM_USER + 5).empty()) << "posted messages wait for the event loop";
    EXPECT_EQ(window->sendMessage(win::WM_USER + 6), 0);
    EXPECT_EQ(child.handled(win::WM_USER + 6).size(), 1u);
    ASSERT_TRUE(qttest::waitUntil([&] { return !child.handled(win::WM_USER + 5).empty(); }));

    window->setTimer(29062, 1);
    window->setTimer(29063, 1);
    ASSERT_TRUE(qttest::waitUntil([&] {
        bool first = false;
        bool second = false;
        for (const auto& r : child.handled(win::WM_TIMER)) {
            first = first || r.message.wParam == 29062;
            second = second || r.message.wParam == 29063;
        }
        return first && second;
    }));
    window->killTimer(29062);
    window->killTimer(29063);
    qttest::drainEvents();
    const std::size_t fired = child.handled(win::WM_TIMER).size();
    window->postMessage(win::WM_USER + 7);
    ASSERT_TRUE(qttest::waitUntil([&] { return !child.handled(win::WM_USER + 7).empty(); }));
    EXPECT_EQ(child.handled(win::WM_TIMER).size(), fired) << "killed timers stay quiet";

    struct Refuser : RecordingHandler {
        host::ui::LRESULT handleMessage(const host::ui::Message& m) override {
            RecordingHandler::handleMessage(m);
            return m.message == win::WM_CREATE ? -1 : 0;
        }
    } refuser;
    EXPECT_EQ(view->createChildWindow(8, Rect{0, 0, 10, 10}, &refuser), nullptr);
    EXPECT_EQ(view->child(8), nullptr);
    window->destroy(); // before its handler goes out of scope
}

TEST_F(InputMappingTest, DestroyingWindowsTellsEveryViewOnceAndDropsTheirMessages) {
    RecordingHandler childHandler;
    RecordingHandler grandHandler;
    host::ui::Window* child = view->createChildWindow(20, Rect{0, 0, 100, 100}, &childHandler);
    child->createChildWindow(21, Rect{0, 0, 50, 50}, &grandHandler);
    child->postMessage(win::WM_USER + 1);
    child->setTimer(1, 1);

    // A button whose click destroys it (and its parent view), from inside the notification.
    host::ui::Button* button = child->createButton(2001, Rect{0, 60, 80, 90}, "X");
    childHandler.onMessage = [&](const host::ui::Message& m) {
        if (m.message == win::WM_COMMAND && host::ui::LOWORD(m.wParam) == 2001) {
            child->destroy();
        }
    };
    QTest::mouseClick(QtUiHost::widgetOf(button), Qt::LeftButton);
    ASSERT_EQ(childHandler.handled(win::WM_DESTROY).size(), 1u);
    ASSERT_EQ(grandHandler.handled(win::WM_DESTROY).size(), 1u);
    EXPECT_LT(childHandler.handled(win::WM_DESTROY)[0].sequence, grandHandler.handled(win::WM_DESTROY)[0].sequence);
    EXPECT_EQ(view->child(20), nullptr);
    qttest::drainEvents();
    EXPECT_TRUE(childHandler.handled(win::WM_USER + 1).empty());
    EXPECT_TRUE(childHandler.handled(win::WM_TIMER).empty());
    EXPECT_EQ(childHandler.handled(win::WM_DESTROY).size(), 1u);

    // A view whose widget dies with its parent hears WM_DESTROY too.
    RecordingHandler orphan;
    view->createChildWindow(30, Rect{0, 0, 10, 10}, &orphan);
    top->destroy();
    top = nullptr;
    EXPECT_EQ(orphan.handled(win::WM_DESTROY).size(), 1u);
    EXPECT_EQ(viewHandler.handled(win::WM_DESTROY).size(), 1u);
}

TEST_F(InputMappingTest, ChoosingAPopupMenuItemSendsItsCommandToTheOwner) {
    std::unique_ptr<host::ui::PopupMenu> menu = host.createPopupMenu();
    menu->appendItem(5061, qthost::fromQString(QString::fromUtf8("顯示類別")), true);
    menu->appendSeparator();
    menu->appendItem(2053, "Recover");
    EXPECT_EQ(menu->itemCount(), 3);
    EXPECT_EQ(menu->itemId(1), 0u);
    EXPECT_TRUE(menu->isCheckedByPosition(0));
    menu->track(view->clientToScreen(host::ui::Point{5, 5}), view, true);
    menu.reset(); // the module destroys its menu right after tracking it

    QMenu* shown = nullptr;
    ASSERT_TRUE(qttest::waitUntil([&] {
        shown = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        return shown != nullptr;
    }));
    ASSERT_EQ(shown->actions().size(), 3);
    EXPECT_EQ(shown->actions()[0]->text(), QString::fromUtf8("顯示類別"));
    EXPECT_TRUE(shown->actions()[0]->isChecked());
    // Chosen with the keyboard: the menu takes its own keys, the view it belongs to hears none.
    viewHandler.clear();
    QTest::keyClick(shown, Qt::Key_Down);
    QTest::keyClick(shown, Qt::Key_Down);
    EXPECT_EQ(shown->activeAction(), shown->actions()[2]) << "the separator is skipped";
    QTest::keyClick(shown, Qt::Key_Return);
    EXPECT_TRUE(qttest::waitUntil([] { return QApplication::activePopupWidget() == nullptr; }));
    EXPECT_TRUE(viewHandler.preTranslated(win::WM_KEYDOWN).empty());
    EXPECT_TRUE(viewHandler.handled(win::WM_KEYDOWN).empty());
    const auto commands = viewHandler.handled(win::WM_COMMAND);
    ASSERT_EQ(commands.size(), 1u);
    EXPECT_EQ(host::ui::LOWORD(commands[0].message.wParam), 2053u);
}

} // namespace
