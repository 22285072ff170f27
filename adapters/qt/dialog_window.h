#pragma once

#include "adapters/qt/window_core.h"
#include "host/ui/dialog_template.h"

class QEventLoop;

namespace qthost {

class DialogWidget;

// A dialog of the module on a QDialog: a top-level window of the template's client size and
// frame (titled with a close button, or a borderless pop-up that never takes the keyboard),
// placed centred over its owner's window and owned by it. It paints through its handler and
// turns mouse presses, the close button and Escape into WM_LBUTTONDOWN, WM_CLOSE and
// IDCANCEL. A modal loop runs on a local event loop with the rest of the application blocked.
class QtDialogWindow final : public WindowImpl<host::ui::Window> {
public:
    QtDialogWindow(QWidget* owner, const host::ui::DialogTemplate& dialog, host::ui::WindowHandler* handler);
    ~QtDialogWindow() override;
    QtDialogWindow(const QtDialogWindow&) = delete;
    QtDialogWindow& operator=(const QtDialogWindow&) = delete;

    // A dialog given a parent window becomes a child of it (a tip pinned over a grid); given
    // none it is a top-level window with its own frame again.
    void setParent(host::ui::Window* parent) override;
    void destroy() override;

    int runModal();
    void endModal(int result);
    bool isBorderless() const { return m_borderless; }

private:
    friend class DialogWidget;
    bool filterEvent(QObject* watched, QEvent* event) override;
    void deliver(unsigned message, host::ui::WPARAM wParam, host::ui::LPARAM lParam);
    Qt::WindowFlags topLevelFlags() const;

    bool m_borderless;
    bool m_resizable;
    QEventLoop* m_loop = nullptr; // the running modal loop, on the stack of runModal
    int m_result = host::ui::win::IDCANCEL;
};

} // namespace qthost
