#pragma once

#include "adapters/qt/window_core.h"

class QPaintEvent;

namespace qthost {

class ViewWidget;

// A window with a handler of its own (a view or a dialog of the module): paints through the
// handler and turns mouse, wheel, focus, context-menu and close events into Windows
// messages. A null parent makes a hidden top-level window.
class QtViewWindow final : public WindowImpl<host::ui::Window> {
public:
    QtViewWindow(QWidget* parent, int id, host::ui::WindowHandler* handler);
    ~QtViewWindow() override;
    QtViewWindow(const QtViewWindow&) = delete;
    QtViewWindow& operator=(const QtViewWindow&) = delete;

private:
    friend class ViewWidget;
    void paint(QPaintEvent* event);
    bool filterEvent(QObject* watched, QEvent* event) override;
    void deliver(unsigned message, host::ui::WPARAM wParam, host::ui::LPARAM lParam);
};

// A widget the application owns (a main window's central widget) seen as a host window, so
// that views can be created inside it. It has no handler unless one is given; destroying it
// through the host interface only detaches it.
class QtForeignWindow final : public WindowImpl<host::ui::Window> {
public:
    QtForeignWindow(QWidget* widget, host::ui::WindowHandler* handler);
    void destroy() override { markDestroyed(); }
};

} // namespace qthost
