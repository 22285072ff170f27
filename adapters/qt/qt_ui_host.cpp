#include "adapters/qt/qt_ui_host.h"

#include <QApplication>
#include <QScreen>
#include <QStyle>

#include "adapters/qt/dialog_service.h"
#include "adapters/qt/dialog_window.h"
#include "adapters/qt/input_router.h"
#include "adapters/qt/popup_menu.h"
#include "adapters/qt/view_window.h"
#include "adapters/qt/window_core.h"
#include "host/ui/dialog_builder.h"

namespace qthost {

QtUiHost::QtUiHost() : m_router(std::make_unique<InputRouter>()), m_dialogs(std::make_unique<QtDialogService>()) {}

QtUiHost::~QtUiHost() {
    for (const QPointer<QWidget>& widget : m_topLevels) {
        delete widget.data();
    }
}

host::ui::Window* QtUiHost::createWindow(host::ui::Window* parent, int id, const host::ui::Rect& rect,
                                         host::ui::WindowHandler* handler) {
    if (parent != nullptr) {
        WindowCore* parentWindow = WindowCore::fromWindow(parent);
        return parentWindow == nullptr ? nullptr : parentWindow->createChildWindow(id, rect, handler);
    }
    // A top-level window starts hidden, like a platform window created without WS_VISIBLE.
    QtViewWindow* window = WindowCore::create<QtViewWindow>(nullptr, id, handler);
    window->place(rect);
    std::erase_if(m_topLevels, [](const QPointer<QWidget>& w) { return w.isNull(); });
    m_topLevels.emplace_back(window->widget());
    return window->announceCreation() ? window : nullptr;
}

std::unique_ptr<host::ui::PopupMenu> QtUiHost::createPopupMenu() {
    return std::make_unique<QtPopupMenu>();
}

host::ui::DialogService& QtUiHost::dialogs() {
    return *m_dialogs;
}

host::ui::Window* QtUiHost::activeWindow() const {
    const QWidget* active = QApplication::activeWindow();
    WindowCore* window = active == nullptr ? nullptr : WindowCore::fromWidget(active);
    return window == nullptr ? nullptr : &window->hostWindow();
}

bool QtUiHost::isKeyDown(unsigned virtualKey) const {
    return m_router->isKeyDown(virtualKey);
}

int QtUiHost::systemMetricCaptionButtonWidth() const {
    const int width = QApplication::style()->pixelMetric(QStyle::PM_TitleBarButtonSize);
    return width > 0 ? width : 18;
}

int QtUiHost::logicalDpi() const {
    const QScreen* screen = QGuiApplication::primaryScreen();
    return screen != nullptr ? static_cast<int>(screen->logicalDotsPerInch() + 0.5) : 96;
}

host::ui::Window* QtUiHost::createDialog(host::ui::Window* owner, const host::ui::DialogTemplate& dialog,
                                         host::ui::WindowHandler* handler) {
    WindowCore* ownerWindow = WindowCore::fromWindow(owner);
    if (owner != nullptr && (ownerWindow == nullptr || !ownerWindow->isAlive())) {
        return nullptr;
    }
    QtDialogWindow* window =
        WindowCore::create<QtDialogWindow>(ownerWindow != nullptr ? ownerWindow->widget() : nullptr, dialog, handler);
    if (ownerWindow == nullptr) {
        std::erase_if(m_topLevels, [](const QPointer<QWidget>& w) { return w.isNull(); });
        m_topLevels.emplace_back(window->widget());
    }
    if (!window->announceCreation()) {
        return nullptr;
    }
    host::ui::buildDialogControls(*window, dialog);
    return window;
}

int QtUiHost::runModalLoop(host::ui::Window* dialog) {
    auto* window = dynamic_cast<QtDialogWindow*>(WindowCore::fromWindow(dialog));
    return window != nullptr && window->isAlive() ? window->runModal() : host::ui::win::IDCANCEL;
}

void QtUiHost::endModalLoop(host::ui::Window* dialog, int result) {
    if (auto* window = dynamic_cast<QtDialogWindow*>(WindowCore::fromWindow(dialog))) {
        window->endModal(result);
    }
}

host::ui::Window* QtUiHost::wrapWidget(QWidget* widget, host::ui::WindowHandler* handler) {
    if (WindowCore* existing = WindowCore::fromWidget(widget)) {
        return &existing->hostWindow();
    }
    return WindowCore::create<QtForeignWindow>(widget, handler);
}

QWidget* QtUiHost::widgetOf(const host::ui::Window* window) {
    WindowCore* core = WindowCore::fromWindow(window);
    return core == nullptr ? nullptr : core->widget();
}

host::ui::Window* QtUiHost::windowOf(const QWidget* widget) {
    WindowCore* core = WindowCore::fromWidget(widget);
    return core == nullptr ? nullptr : &core->hostWindow();
}

} // namespace qthost
