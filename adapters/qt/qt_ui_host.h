#pragma once

#include <QPointer>
#include <QWidget>
#include <memory>
#include <vector>

#include "host/ui/ui_host.h"

namespace qthost {

class InputRouter;
class QtDialogService;

// The windowing system of the Qt host. Create it after the QApplication and before any view;
// it routes the keyboard to the host's windows for as long as it lives. Top-level windows
// it created and the module did not destroy are deleted with it.
// Thread: UI thread.
class QtUiHost final : public host::ui::UiHost {
public:
    QtUiHost();
    ~QtUiHost() override;
    QtUiHost(const QtUiHost&) = delete;
    QtUiHost& operator=(const QtUiHost&) = delete;

    host::ui::Window* createWindow(host::ui::Window* parent, int id, const host::ui::Rect& rect,
                                   host::ui::WindowHandler* handler) override;
    std::unique_ptr<host::ui::PopupMenu> createPopupMenu() override;
    host::ui::DialogService& dialogs() override;
    QtDialogService& qtDialogs() { return *m_dialogs; }
    host::ui::Window* activeWindow() const override;
    bool isKeyDown(unsigned virtualKey) const override;
    int systemMetricCaptionButtonWidth() const override;
    int logicalDpi() const override;
    host::ui::Window* createDialog(host::ui::Window* owner, const host::ui::DialogTemplate& dialog,
                                   host::ui::WindowHandler* handler) override;
    int runModalLoop(host::ui::Window* dialog) override;
    void endModalLoop(host::ui::Window* dialog, int result) override;

    // A widget of the application seen as a host window (a parent for views); it lives as
    // long as the widget. handler (optional, not owned) hears the messages sent to it.
    host::ui::Window* wrapWidget(QWidget* widget, host::ui::WindowHandler* handler = nullptr);
    // The widget of a host window, or null for a window of another host.
    static QWidget* widgetOf(const host::ui::Window* window);
    // The host window of a widget, or null.
    static host::ui::Window* windowOf(const QWidget* widget);

private:
    std::unique_ptr<InputRouter> m_router;
    std::unique_ptr<QtDialogService> m_dialogs;
    std::vector<QPointer<QWidget>> m_topLevels;
};

} // namespace qthost
