#pragma once

#include <QObject>
#include <set>

#include "host/ui/messages.h"

namespace qthost {

class WindowCore;

// Turns the keyboard into the module's key messages, application-wide, the way a message
// loop does: a key aimed at one of the host's windows becomes WM_KEYDOWN / WM_KEYUP (and
// WM_CHAR for typed text) with its virtual-key code and is offered first to
// preTranslateMessage of every view from the focused window up to the top; a view that
// returns true consumes it. Otherwise views and the grid handle it as a message, while
// native controls (edits, combos, ...) get the Qt event as usual. Input-method composition
// announces itself as WM_KEYDOWN with code 229. Widgets of the application that are not
// host windows, and pop-ups Qt opens for a host window (a menu, a combo's list, the
// calendar), are left alone. Thread: UI thread.
class InputRouter final : public QObject {
public:
    InputRouter();
    ~InputRouter() override;
    InputRouter(const InputRouter&) = delete;
    InputRouter& operator=(const InputRouter&) = delete;

    // Whether a key is down now, from the keys this router saw and the modifier state.
    bool isKeyDown(unsigned virtualKey) const;

    // Delivers a key message (WM_KEYDOWN, WM_KEYUP, WM_CHAR) that the module sent to a native
    // control as a Qt key event, without translating it again.
    static void sendNativeKey(QWidget* widget, const host::ui::Message& message);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    // The host window whose keys receiver gets, or null when they are not the host's.
    static WindowCore* keyWindow(const QWidget* receiver);
    bool routeKey(QWidget* receiver, QEvent* event);
    bool routeInputMethod(QWidget* receiver, QEvent* event);
    // preTranslateMessage of each view from window up; true when one consumed the message.
    static bool preTranslate(WindowCore& window, const host::ui::Message& message);

    std::set<unsigned> m_keysDown;
};

} // namespace qthost
